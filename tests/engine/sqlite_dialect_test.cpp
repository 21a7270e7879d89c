#include "engine/sqlite_dialect.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "util/date_locale.h"

namespace clipcat {
namespace {

// Each statement with what it becomes; an empty answer means the statement stays as written.
void ExpectTranslations(const std::vector<std::pair<std::string, std::string>>& cases,
                        const DateColumnSet& date_columns) {
  const ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  for (const auto& [sql, expected] : cases) {
    EXPECT_EQ(TranslateSqlForSqlite(sql, date_columns), expected.empty() ? sql : expected) << sql;
  }
}

const DateColumnSet kDateColumns = {"tupdated", "tactivestart", "tactiveend", "tdatelastaccessed"};

TEST(SqliteDialect, DateLiteralsInDatePositionsBecomeIsoTextAndNothingElseChanges) {
  ExpectTranslations(
      {{"Select lFolderId From Folder Where tUpdated >= '14:05:09 3 Apr 2002'",
        "Select lFolderId From Folder Where tUpdated >= '2002-04-03 14:05:09'"},
       {"SELECT 1 FROM t WHERE '00:00:00 1 Jan 2020' < GroupClipping.TUPDATED",
        "SELECT 1 FROM t WHERE '2020-01-01 00:00:00' < GroupClipping.TUPDATED"},
       {"Update AccessHistory Set sName='x', tDateLastAccessed='23:59:59 31 Dec 2019' Where a=1",
        "Update AccessHistory Set sName='x', tDateLastAccessed='2019-12-31 23:59:59' Where a=1"},
       {"Select x From GroupClipping Where  Datediff( 's', tUpdated  ,'10:00:00 9 Feb 2021' ) < 0",
        "Select x From GroupClipping Where  Datediff( 's', tUpdated  ,'2021-02-09 10:00:00' ) < 0"},
       {"SELECT 1 FROM Folder WHERE [tUpdated] = /* c */ '12:00:00 29 Feb 2024'",
        "SELECT 1 FROM Folder WHERE [tUpdated] = /* c */ '2024-02-29 12:00:00'"},
       // An INSERT maps its values to its columns by position, row by row.
       {"INSERT INTO Folder ( lFolderID, sName, tUpdated ) Values ( 7, '08:00:00 2 Jan 2021', "
        "'08:00:00 2 Jan 2021' ), (8, 'x', '09:00:00 3 Jan 2021')",
        "INSERT INTO Folder ( lFolderID, sName, tUpdated ) Values ( 7, '08:00:00 2 Jan 2021', "
        "'2021-01-02 08:00:00' ), (8, 'x', '2021-01-03 09:00:00')"},
       // Date text as the value of a text column, in every position the store writes one.
       {"Insert Into Folder (lFolderID, sName, sDescription, tUpdated) Values ( 2, '12:00:00 1 "
        "Jan 2020', 'tUpdated >= ''12:00:00 1 Jan 2020''', Null )",
        ""},
       {"Select * From Clipping WHERE sName LIKE '%12:00:00 1 Jan 2020%'", ""},
       {"Select 1 From t Where Datediff('s', tUpdated, tUpdated) < 0 AND sGUID='1 Jan 2020'", ""},
       {"Select 'tUpdated' = '12:00:00 1 Jan 2020' From Folder", ""}},
      kDateColumns);
}

TEST(SqliteDialect, WholeEqualityChainsOnOneColumnBecomeInLists) {
  ExpectTranslations(
      {{"Select * From Clipping Where lFolderID=1 OR lFolderID=22 OR lFolderID=-3",
        "Select * From Clipping Where lFolderID IN (1,22,-3)"},
       {"SELECT * FROM Clipping WHERE (x) AND ( lFolderID=4 OR lFolderID = Null ) ORDER BY sName",
        "SELECT * FROM Clipping WHERE (x) AND ( lFolderID IN (4,Null) ) ORDER BY sName"},
       {"SELECT 1 FROM t WHERE c.lFolderID=1 OR C.LFOLDERID=2 ORDER BY 1",
        "SELECT 1 FROM t WHERE c.lFolderID IN (1,2) ORDER BY 1"},
       // Where an AND could bind one of the terms, another column or a non-number takes part,
       // or the chain has one term, the condition stays as written.
       {"SELECT 1 FROM t WHERE a=1 AND lFolderID=1 OR lFolderID=2", ""},
       {"SELECT 1 FROM t WHERE lFolderID=1 OR lFolderID=2 AND a=1", ""},
       {"SELECT 1 FROM t WHERE lFolderID=1 OR lParentID=2 OR (lFolderID=1)", ""},
       {"SELECT 1 FROM t WHERE (lFolderID=1 OR lFolderID='2') OR sName='(lFolderID=1 OR "
        "lFolderID=2)'",
        ""}},
      kDateColumns);
}

}  // namespace
}  // namespace clipcat
