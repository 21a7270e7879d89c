// Statements that differ only in their literals share one prepared statement with the values
// bound; these tests hold that every result and error stays what the text as written gives.
// Also the maximum row count of read-only recordsets.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <string>
#include <vector>

#include "store/db_connection.h"
#include "store/sqlite_session.h"
#include "temp_catalog.h"
#include "util/date.h"
#include "util/date_locale.h"
#include "util/error_of.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

using Texts = std::vector<std::string>;

class StatementCacheTest : public ::testing::Test {
 protected:
  void SetUp() override {
    db_.OpenConnection(catalog_.connection_string(), "", "");
    for (int32_t key = 2; key <= 9; ++key) {
      db_.ExecuteSQL("INSERT INTO Folder (lFolderID, lParentID, sName, tUpdated) VALUES (" +
                     SqlNumber(key) + ", 1, 'F" + std::to_string(key) + "', '2002-04-0" +
                     std::to_string(key) + " 10:00:00')");
    }
  }

  Texts Column(const std::string& sql, size_t max = 0) {
    Recordset rs = db_.GetRecordsetRO(sql, max);
    Texts values;
    for (; !rs.Eof(); rs.MoveNext()) values.push_back(rs.Value(rs.FieldName(0)).ToText());
    return values;
  }

  // One statement on a session of the test's own.
  RowSet Run(SqliteSession& session, const std::string& sql) {
    SqliteSession::Deadline deadline(session);
    SqliteStatement statement(session, sql);
    return statement.Collect();
  }

  ScopedDateLocale locale_{DateLocale::English(DateOrder::kDayMonthYear)};
  TempCatalog catalog_;
  DBConnection db_;
};

TEST_F(StatementCacheTest, EachRunGetsItsOwnValuesAndNamesAndPositionsStayAsWritten) {
  // Up, down, and the same value twice, so that a value left bound from an earlier run shows.
  for (int32_t key : {2, 3, 9, 9, 4, 2, 8, 5, 3}) {
    EXPECT_EQ(Column("SELECT lFolderID FROM Folder WHERE sName='F" + std::to_string(key) +
                     "' AND lFolderID > 1"),
              Texts{std::to_string(key)});
  }
  EXPECT_TRUE(Column("SELECT sName FROM Folder WHERE lFolderID=77").empty());
  // Negative numbers, alone and after operators, commas and parentheses.
  db_.ExecuteSQL("UPDATE Folder SET lParentID=-5 WHERE lFolderID=2");
  db_.ExecuteSQL("UPDATE Folder SET lParentID= - 6, sName='50%_\\' WHERE lFolderID=3");
  for (const auto& [where, count] : std::vector<std::pair<std::string, std::string>>{
           {"lParentID=-5", "1"},
           {"lParentID = -6 OR lFolderID=2", "2"},
           {"lParentID IN (-6,-5)", "2"},
           {"lParentID+-1=(-7) OR lParentID-1=-6", "2"},
           {"sName LIKE '50\\%%' ESCAPE '\\' OR lParentID=-5", "2"},
           {"sName LIKE '5_\\%' ESCAPE '\\'", "0"}}) {
    EXPECT_EQ(Column("SELECT count(*) FROM Folder WHERE " + where), Texts{count}) << where;
  }
  // Catalog dates are translated before they are bound: they compare as dates.
  EXPECT_EQ(Column("SELECT lFolderID FROM Folder WHERE tUpdated > '10:00:00 7 Apr 2002' AND "
                   "tUpdated < '00:00:00 1 Jan 2003' ORDER BY lFolderID"),
            (Texts{"8", "9"}));
  std::string list;
  for (int32_t k = 2; k <= 9; ++k) {
    list += (list.empty() ? "" : ", ") + std::to_string(k);
    EXPECT_EQ(Column("SELECT Count(*) FROM Folder WHERE lFolderID IN (" + list + ")"),
              Texts{std::to_string(k - 1)});
  }
  // Result columns, orderings and limits keep their literals.
  EXPECT_EQ(Column("SELECT sName, 1 FROM Folder WHERE 1 = 1 GROUP BY 1 HAVING count(*) > 0 ORDER "
                   "BY 1 DESC LIMIT 1, 2"),
            (Texts{"F9", "F8"}));
  EXPECT_EQ(db_.GetRecordsetRO("SELECT 'a', 2").FieldName(0), "'a'");
  // A syntax error near a literal quotes the literal, not the parameter that stood in for it.
  EXPECT_EQ(ErrorOf([&] {
              db_.GetRecordsetRO("SELECT * FROM Folder WHERE sName = 'a' 'b'");
            }).description(),
            "near \"'b'\": syntax error");
}

TEST_F(StatementCacheTest, SchemaChangesAreSeenAndDdlIsNotKept) {
  SqliteSession session(catalog_.path());
  const size_t before = session.statement_cache().size();
  Run(session, "CREATE TABLE Extra (lKey INTEGER, tWhen DATETIME)");
  EXPECT_EQ(session.statement_cache().size(), before);
  session.LoadDateColumns();  // what the backend does after a schema change
  Run(session, "INSERT INTO Extra (lKey, tWhen) VALUES (1, '10:00:00 3 Apr 2002')");
  const size_t kept = session.statement_cache().size();
  Run(session, "INSERT INTO Extra (lKey, tWhen) VALUES (2, '11:00:00 3 Apr 2002')");
  EXPECT_EQ(session.statement_cache().size(), kept);  // the same shape reuses the statement
  RowSet rows = Run(session, "SELECT * FROM Extra WHERE lKey=2");
  ASSERT_EQ(rows.rows.size(), 1u);
  EXPECT_EQ(FormatIsoDate(rows.rows[0][1].value.ToDate()), "2002-04-03 11:00:00");
  // A change of schema through another connection: the kept statement sees the new columns.
  db_.ExecuteSQL("ALTER TABLE Extra ADD COLUMN sNote TEXT");
  EXPECT_EQ(Run(session, "SELECT * FROM Extra WHERE lKey=1").columns.size(), 3u);
  db_.ExecuteSQL("DROP TABLE Extra");
  EXPECT_EQ(ErrorOf([&] { Run(session, "SELECT * FROM Extra WHERE lKey=1"); }).description(),
            "no such table: Extra");
}

TEST_F(StatementCacheTest, KeepsFewStatementsAndSharesNoneInUse) {
  SqliteSession session(catalog_.path());
  for (int shape = 0; shape < 3 * static_cast<int>(kStatementCacheCapacity); ++shape) {
    const RowSet rows =
        Run(session, "SELECT lFolderID AS c" + std::to_string(shape) +
                         " FROM Folder WHERE lFolderID=" + std::to_string(2 + shape % 8));
    ASSERT_EQ(rows.rows.size(), 1u);
    EXPECT_EQ(rows.rows[0][0].value.ToText(), std::to_string(2 + shape % 8));
    EXPECT_LE(session.statement_cache().size(), kStatementCacheCapacity + 1);
  }
  // Two statements of one text at once: each steps through its own rows, and one left
  // half-read starts from the first row when its text runs again.
  SqliteSession::Deadline deadline(session);
  const std::string sql = "SELECT lFolderID FROM Folder WHERE lFolderID > 1 ORDER BY lFolderID";
  {
    SqliteStatement outer(session, sql);
    ASSERT_TRUE(outer.Step());
    SqliteStatement inner(session, sql);
    EXPECT_NE(inner.get(), outer.get());
    EXPECT_EQ(inner.Collect().rows.size(), 8u);
    ASSERT_TRUE(outer.Step());
    EXPECT_EQ(sqlite3_column_int(outer.get(), 0), 3);
  }
  SqliteStatement again(session, sql);
  ASSERT_TRUE(again.Step());
  EXPECT_EQ(sqlite3_column_int(again.get(), 0), 2);
}

TEST_F(StatementCacheTest, RecordsetsStopAtTheirMaximum) {
  const Texts all = {"9", "8", "7", "6", "5", "4", "3", "2"};
  for (size_t max = 0; max <= all.size() + 2; ++max) {
    const size_t expected = max == 0 ? all.size() : std::min(max, all.size());
    EXPECT_EQ(
        Column("SELECT lFolderID FROM Folder WHERE lFolderID > 1 ORDER BY tUpdated DESC", max),
        Texts(all.begin(), all.begin() + static_cast<long>(expected)))
        << max;
  }
}

}  // namespace
}  // namespace clipcat::testing
