#include "store/catalog_schema.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "temp_catalog.h"
#include "util/error_of.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat::testing {
namespace {

// The first column of `sql`'s rows on a plain connection, as the stock shell opens the file.
std::vector<std::string> PlainQuery(const std::string& path, const std::string& sql) {
  sqlite3* db = nullptr;
  EXPECT_EQ(sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  sqlite3_stmt* stmt = nullptr;
  EXPECT_EQ(sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr), SQLITE_OK) << sql;
  std::vector<std::string> rows;
  while (stmt != nullptr && sqlite3_step(stmt) == SQLITE_ROW) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
    rows.emplace_back(text != nullptr ? text : "NULL");
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  return rows;
}

// Each table's columns with their declared types, in order (frozen: other programs read these
// files). "*" marks the columns the store searches or joins on, which must be indexed.
const std::string kTables =
    "Folder: lFolderID* INTEGER sGUID TEXT lParentID* INTEGER sName* TEXT sDescription TEXT "
    "lExternalCatalogId* INTEGER bIsLeaf BOOLEAN bIsOffline BOOLEAN iStatus* SMALLINT tUpdated* "
    "DATETIME; Clipping: lClippingID* INTEGER lFolderID* INTEGER sGUID* TEXT sName* TEXT "
    "sDescription* TEXT iClippingStatus* SMALLINT tUpdated DATETIME; ClippingDataType: "
    "lClippingID* INTEGER lDataTypeId INTEGER bIsCompressed BOOLEAN ClippingData BLOB; "
    "GroupClipping: lGroupClippingID* INTEGER lGroupCategoryID* INTEGER sName* TEXT sDescription "
    "TEXT iSortOrder SMALLINT iStatus SMALLINT tUpdated* DATETIME; ClippingGroupClipping: "
    "lClippingId* INTEGER lGroupClippingId* INTEGER iSortOrder SMALLINT tActiveStart DATETIME "
    "tActiveEnd DATETIME; AccessHistory: sClippingGUID* TEXT lExternalCatalogId INTEGER "
    "sClippingId* TEXT sName TEXT bIsFavorite BOOLEAN lAccessCount INTEGER tDateLastAccessed* "
    "DATETIME; ExternalCatalog: lExternalCatalogID* INTEGER sGUID TEXT sConnectString TEXT "
    "bIsOnline BOOLEAN iConnectionSpeed SMALLINT; ClippingText: lClippingID* INTEGER sName TEXT "
    "sDescription TEXT sText TEXT; CatalogProperties: sCatalogProperty* TEXT sValue "
    "TEXT; FolderIDGenerator: lID INTEGER sGUID* TEXT; GroupClippingIDGenerator: lID INTEGER "
    "sGUID* TEXT; ExternalCatalogIDGenerator: lID INTEGER sGUID* TEXT; ClippingVersion: "
    "lClippingID* INTEGER lVersion INTEGER tSaved DATETIME sSavedBy TEXT sName TEXT sDescription "
    "TEXT; ClippingVersionData: lClippingID* INTEGER lVersion INTEGER lDataTypeId INTEGER "
    "bIsCompressed BOOLEAN ClippingData BLOB; DeletedItem: lItemID* INTEGER bIsFolder BOOLEAN "
    "lDeletionRootID* INTEGER tDeleted DATETIME sDeletedBy TEXT iPreviousStatus SMALLINT "
    "sCategoryIDs TEXT";

TEST(CatalogSchema, NewCatalogHasTheTablesIndexesRootAndSettings) {
  TempCatalog catalog;
  std::istringstream tables(kTables);
  std::string table, columns;
  int count = 0;
  for (; std::getline(tables, table, ':') && std::getline(tables, columns, ';'); ++count) {
    table.erase(0, table.find_first_not_of(' '));
    SCOPED_TRACE(table);
    std::istringstream expected(columns);
    std::string name, type;
    for (const std::string& row :
         PlainQuery(catalog.path(),
                    "SELECT name || ' ' || type FROM pragma_table_info('" + table + "')")) {
      ASSERT_TRUE(expected >> name >> type);
      const bool searched = name.back() == '*';
      if (searched) name.pop_back();
      EXPECT_EQ(row, name + " " + type);
      if (!searched) continue;
      // An index whose first column it is, or the integer primary key itself.
      const std::string indexed = ReplaceAll(
          ReplaceAll("SELECT (SELECT count(*) FROM pragma_index_list('T') l JOIN "
                     "pragma_index_info(l.name) i WHERE i.seqno = 0 AND i.name = 'C' COLLATE "
                     "NOCASE) + (SELECT count(*) FROM pragma_table_info('T') WHERE pk AND name = "
                     "'C' AND type = 'INTEGER')",
                     "'T'", "'" + table + "'"),
          "'C'", "'" + name + "'");
      EXPECT_NE(PlainQuery(catalog.path(), indexed), std::vector<std::string>{"0"}) << name;
    }
    EXPECT_FALSE(expected >> name) << "missing column " << name;
  }
  EXPECT_EQ(PlainQuery(catalog.path(),
                       "SELECT count(*) FROM sqlite_schema WHERE type='table' AND "
                       "name NOT LIKE 'sqlite%' AND name NOT LIKE 'ClippingTextIndex%'"),
            std::vector<std::string>{std::to_string(count)});
  // The root folder, and the settings another program finds.
  const auto root = PlainQuery(catalog.path(),
                               "SELECT lFolderID || '/' || lParentID || '/' || sName || '/' || "
                               "iStatus || '/' || lExternalCatalogId || '/' || bIsLeaf || '/' "
                               "|| length(sGUID) FROM Folder");
  EXPECT_EQ(root, std::vector<std::string>{"1/0/Personal/1/0/1/32"});
  std::string settings;
  for (const std::string pragma :
       {"journal_mode", "application_id", "user_version", "integrity_check"}) {
    settings += PlainQuery(catalog.path(), "PRAGMA " + pragma).at(0) + " ";
  }
  EXPECT_EQ(settings, "wal " + std::to_string(kCatalogApplicationId) + " " +
                          std::to_string(kCatalogFormatVersion) + " ok ");
}

TEST(CatalogSchema, NameChecksAreOneProbeOfTheNameUnderItsParent) {
  // The statements the name checks of adds and renames run: planned on the name with its
  // parent, not on the folder alone (every clipping of the folder) or the name alone.
  TempCatalog catalog;
  const std::pair<std::string, std::string> checks[] = {
      {"Select * From Clipping WHERE sName='Reply' AND lFolderId=2 AND iClippingStatus <>3",
       "ixClipping_sName_lFolderID (sName=? AND lFolderID=?)"},
      {"Select * From Folder WHERE sName='Mail' AND lParentId=1 AND iStatus <>3",
       "ixFolder_sName_lParentID (sName=? AND lParentID=?)"}};
  for (const auto& [sql, index] : checks) {
    std::vector<std::string> plan;
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open_v2(catalog.path().c_str(), &db, SQLITE_OPEN_READONLY, nullptr),
              SQLITE_OK);
    sqlite3_stmt* stmt = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(db, ("EXPLAIN QUERY PLAN " + sql).c_str(), -1, &stmt, nullptr),
              SQLITE_OK);
    while (sqlite3_step(stmt) == SQLITE_ROW) {
      plan.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 3)));
    }
    sqlite3_finalize(stmt);
    sqlite3_close(db);
    ASSERT_EQ(plan.size(), 1u) << sql;
    EXPECT_NE(plan[0].find("USING INDEX " + index), std::string::npos) << sql << "\n" << plan[0];
  }
}

TEST(CatalogSchema, CreateRefusesBlankNamesAndExistingFiles) {
  TempDir dir;
  for (std::string name : {"", "   "}) {
    EXPECT_EQ(ErrorOf([&] { CreateCatalog(dir.File("blank.db"), name); }).number(),
              err::kInvalidProcedureCall);
    EXPECT_FALSE(std::filesystem::exists(dir.File("blank.db")));
  }
  std::ofstream(dir.File("existing.db")) << "keep me";
  for (const std::string& path : {dir.File("existing.db"), dir.File("no/such/dir/x.db")}) {
    EXPECT_EQ(ErrorOf([&] { CreateCatalog(path, "Personal"); }).number(), err::kDatabaseError);
  }
  EXPECT_EQ(std::filesystem::file_size(dir.File("existing.db")), 7u);
}

}  // namespace
}  // namespace clipcat::testing
