#include "engine/postgres_dialect.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "util/date_locale.h"

namespace clipcat {
namespace {

// Each statement with what it becomes; an empty answer means the statement stays as written.
void ExpectTranslations(const std::vector<std::pair<std::string, std::string>>& cases) {
  static const PostgresColumnTypes kTypes = {
      {"tupdated", "tactivestart", "tactiveend", "tdatelastaccessed"},
      {"bisleaf", "bisoffline", "biscompressed", "bisfavorite", "bisonline"}};
  const ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  for (const auto& [sql, expected] : cases) {
    EXPECT_EQ(TranslateSqlForPostgres(sql, kTypes), expected.empty() ? sql : expected) << sql;
  }
}

TEST(PostgresDialect, LoneNumbersBesideBooleanColumnsBecomeTrueOrFalse) {
  ExpectTranslations(
      {{"UPDATE Folder Set bIsLeaf=1 WHERE lFolderID=5",
        "UPDATE Folder Set bIsLeaf=TRUE WHERE lFolderID=5"},
       {"SELECT * FROM ExternalCatalog WHERE bIsOnline = -1 AND lExternalCatalogID=-1",
        "SELECT * FROM ExternalCatalog WHERE bIsOnline = TRUE AND lExternalCatalogID=-1"},
       {"SELECT * FROM ExternalCatalog WHERE bIsOnline<>- 1",
        "SELECT * FROM ExternalCatalog WHERE bIsOnline<> TRUE"},
       {"SELECT 1 FROM Folder AS f WHERE 0 = f.bIsOffline OR (-1=Folder.BISLEAF)",
        "SELECT 1 FROM Folder AS f WHERE FALSE = f.bIsOffline OR (TRUE=Folder.BISLEAF)"},
       {"UPDATE Folder SET bIsLeaf=2.5, bIsOffline=0.0, iStatus=1",
        "UPDATE Folder SET bIsLeaf=TRUE, bIsOffline=FALSE, iStatus=1"},
       // Inserted values follow their columns.
       {"INSERT INTO Folder ( lFolderID, sName, sDescription, bIsLeaf, bIsOffline, iStatus, "
        "tUpdated ) Values ( 7, '1', '0', 1, 0, 1, '14:05:09 3 Apr 2002' )",
        "INSERT INTO Folder ( lFolderID, sName, sDescription, bIsLeaf, bIsOffline, iStatus, "
        "tUpdated ) Values ( 7, '1', '0', TRUE, FALSE, 1, '2002-04-03 14:05:09' )"},
       {"INSERT INTO AccessHistory (bIsFavorite, lAccessCount) VALUES (0, 1), (1, 0)",
        "INSERT INTO AccessHistory (bIsFavorite, lAccessCount) VALUES (FALSE, 1), (TRUE, 0)"},
       // Anything but a lone number literal beside a boolean column is left for the server to
       // judge, and numbers beside other columns, or inside text, never change.
       {"UPDATE Folder Set bIsLeaf=1+0 WHERE lFolderID=1", ""},
       {"SELECT * FROM Folder WHERE sName='bIsLeaf=1' AND lParentID - 1 = 0", ""},
       {"INSERT INTO Folder (lFolderID, bIsLeaf) VALUES (1, 1 - 1)", ""},
       {"INSERT INTO Folder (lFolderID, sName) VALUES (1, 0)", ""},
       {"SELECT * FROM Folder WHERE \"bIsLeaf\" IS TRUE", ""}});
}

TEST(PostgresDialect, LikeWithoutEscapeTakesBackslashesLiterallyAndDatesAreRewritten) {
  ExpectTranslations(
      {{"SELECT * FROM Clipping WHERE ( sName LIKE '%a\\b%' OR sDescription LIKE '%a\\b%') AND x",
        "SELECT * FROM Clipping WHERE ( sName LIKE '%a\\b%' ESCAPE '' OR sDescription LIKE "
        "'%a\\b%' ESCAPE '') AND x"},
       {"SELECT * FROM Clipping WHERE sName NOT LIKE 'x'",
        "SELECT * FROM Clipping WHERE sName NOT LIKE 'x' ESCAPE ''"},
       {"SELECT * FROM Clipping WHERE sName LIKE '%50\\%%' ESCAPE '\\'", ""},
       {"SELECT 'LIKE ''x''' FROM Clipping", ""},
       {"Select x From GroupClipping Where  Datediff( 's', tUpdated  ,'10:00:00 9 Feb 2021' ) < 0",
        "Select x From GroupClipping Where  Datediff( 's', tUpdated  ,'2021-02-09 10:00:00' ) < 0"},
       {"UPDATE Folder Set sName='12:00:00 1 Jan 2020', tUpdated='12:00:00 1 Jan 2020'",
        "UPDATE Folder Set sName='12:00:00 1 Jan 2020', tUpdated='2020-01-01 12:00:00'"},
       {"SELECT * FROM Folder -- bIsLeaf=1\nWHERE /* sName LIKE 'x' */ lFolderID=1", ""}});
}

// "=", "<>" and LIKE with ASCII that nothing outside ASCII folds to keep citext and its index; a
// range comparison folds whatever the literal, since the column may hold text that folds into
// ASCII (the Kelvin sign sorts as "k").
TEST(PostgresDialect, RangeComparisonsOnTextFoldEvenForAsciiLiterals) {
  static const PostgresColumnTypes kTypes = {{}, {}, {"sname"}};
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"SELECT * FROM Folder WHERE sName = 'l' OR sName <> 'm' OR sName LIKE 'n%' ESCAPE '!'", ""},
      {"SELECT * FROM Folder WHERE sName < 'l'",
       "SELECT * FROM Folder WHERE clipcat_fold(sName) < clipcat_fold('l')"},
      {"SELECT * FROM Folder WHERE 'a' <= sName AND sName >= 'b' AND sName > 'c'",
       "SELECT * FROM Folder WHERE clipcat_fold('a') <= clipcat_fold(sName) AND "
       "clipcat_fold(sName) >= clipcat_fold('b') AND clipcat_fold(sName) > clipcat_fold('c')"},
  };
  for (const auto& [sql, expected] : cases) {
    EXPECT_EQ(TranslateSqlForPostgres(sql, kTypes), expected.empty() ? sql : expected) << sql;
  }
}

}  // namespace
}  // namespace clipcat
