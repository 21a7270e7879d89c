// Statements differing only in literals share one prepared statement with the values bound:
// results and errors must stay what the text as written gives.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/db_connection.h"
#include "temp_catalog.h"
#include "util/date_locale.h"
#include "util/error_of.h"

namespace clipcat::testing {
namespace {

TEST(StatementCache, EachRunGetsItsOwnValuesAndNamesAndPositionsStayAsWritten) {
  const ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  TempCatalog catalog;
  DBConnection db;
  db.OpenConnection(catalog.connection_string(), "", "");
  const auto column = [&](const std::string& sql) {
    std::string values;
    for (Recordset rs = db.GetRecordsetRO(sql); !rs.Eof(); rs.MoveNext()) {
      values += rs.Value(rs.FieldName(0)).ToText() + ",";
    }
    return values;
  };
  for (int key = 2; key <= 9; ++key) {
    db.ExecuteSQL("INSERT INTO Folder (lFolderID, lParentID, sName, tUpdated) VALUES (" +
                  std::to_string(key) + ", " + std::to_string(-key) + ", 'F" + std::to_string(key) +
                  "', '0" + std::to_string(key) + ":00:00 3 Apr 2002')");
  }
  // Up, down, and the same value twice, so that a value left bound from an earlier run shows.
  for (int key : {2, 3, 9, 9, 4, 2, 8, 77}) {
    EXPECT_EQ(column("SELECT lFolderID FROM Folder WHERE sName='F" + std::to_string(key) + "'"),
              key == 77 ? "" : std::to_string(key) + ",");
  }
  // Negative numbers after operators, commas and parentheses; escapes; catalog dates, which are
  // translated before they are bound.
  for (const std::string c :
       {"2 lParentID=-5 OR lParentID = - 6", "2 lParentID IN (-6,-5)", "1 lParentID+-1=(-7)",
        "8 sName LIKE 'F_'", "0 sName LIKE 'F\\_' ESCAPE '\\'",
        "2 tUpdated > '07:00:00 3 Apr 2002' AND tUpdated < '00:00:00 1 Jan 2003'"}) {
    EXPECT_EQ(column("SELECT count(*) FROM Folder WHERE lFolderID > 1 AND " + c.substr(2)),
              c.substr(0, 1) + ",")
        << c;
  }
  // Result columns, groupings, orderings and limits keep their literals.
  EXPECT_EQ(column("SELECT sName, 1 FROM Folder GROUP BY 1 HAVING count(*) > 0 ORDER BY 1 DESC "
                   "LIMIT 1, 2"),
            "F9,F8,");
  EXPECT_EQ(db.GetRecordsetRO("SELECT 'a', 2").FieldName(0), "'a'");
  // A syntax error near a literal quotes the literal, not the parameter that stood in for it.
  EXPECT_EQ(ErrorOf([&] {
              db.GetRecordsetRO("SELECT * FROM Folder WHERE sName = 'a' 'b'");
            }).description(),
            "near \"'b'\": syntax error");
}

}  // namespace
}  // namespace clipcat::testing
