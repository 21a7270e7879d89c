#include "store/catalog_schema.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "store/db_connection.h"
#include "temp_catalog.h"
#include "util/errors.h"

namespace clipcat {
namespace {

using ::clipcat::testing::TempCatalog;
using ::clipcat::testing::TempDir;

// Rows of `sql` run on a plain SQLite connection, as the stock shell would open the file: none of
// the store's functions or settings.
std::vector<std::vector<std::string>> PlainQuery(const std::string& path, const std::string& sql) {
  sqlite3* db = nullptr;
  EXPECT_EQ(sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  sqlite3_stmt* stmt = nullptr;
  EXPECT_EQ(sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr), SQLITE_OK) << sql;
  std::vector<std::vector<std::string>> rows;
  while (stmt != nullptr && sqlite3_step(stmt) == SQLITE_ROW) {
    std::vector<std::string> row;
    for (int i = 0; i < sqlite3_column_count(stmt); ++i) {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, i));
      row.emplace_back(text != nullptr ? text : "NULL");
    }
    rows.push_back(row);
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  return rows;
}

TEST(CatalogSchema, TablesHaveTheCatalogsColumnsAndTypes) {
  TempCatalog catalog;
  const std::map<std::string, std::vector<std::string>> expected = {
      {"Folder",
       {"lFolderID INTEGER", "sGUID TEXT", "lParentID INTEGER", "sName TEXT", "sDescription TEXT",
        "lExternalCatalogId INTEGER", "bIsLeaf BOOLEAN", "bIsOffline BOOLEAN", "iStatus SMALLINT",
        "tUpdated DATETIME"}},
      {"Clipping",
       {"lClippingID INTEGER", "lFolderID INTEGER", "sGUID TEXT", "sName TEXT", "sDescription TEXT",
        "iClippingStatus SMALLINT", "tUpdated DATETIME"}},
      {"ClippingDataType",
       {"lClippingID INTEGER", "lDataTypeId INTEGER", "bIsCompressed BOOLEAN",
        "ClippingData BLOB"}},
      {"GroupClipping",
       {"lGroupClippingID INTEGER", "lGroupCategoryID INTEGER", "sName TEXT", "sDescription TEXT",
        "iSortOrder SMALLINT", "iStatus SMALLINT", "tUpdated DATETIME"}},
      {"ClippingGroupClipping",
       {"lClippingId INTEGER", "lGroupClippingId INTEGER", "iSortOrder SMALLINT",
        "tActiveStart DATETIME", "tActiveEnd DATETIME"}},
      {"AccessHistory",
       {"sClippingGUID TEXT", "lExternalCatalogId INTEGER", "sClippingId TEXT", "sName TEXT",
        "bIsFavorite BOOLEAN", "lAccessCount INTEGER", "tDateLastAccessed DATETIME"}},
      {"ExternalCatalog",
       {"lExternalCatalogID INTEGER", "sGUID TEXT", "sConnectString TEXT", "bIsOnline BOOLEAN",
        "iConnectionSpeed SMALLINT"}},
      {"CatalogProperties", {"sCatalogProperty TEXT", "sValue TEXT"}},
      {"FolderIDGenerator", {"lID INTEGER", "sGUID TEXT"}},
      {"GroupClippingIDGenerator", {"lID INTEGER", "sGUID TEXT"}},
      {"ExternalCatalogIDGenerator", {"lID INTEGER", "sGUID TEXT"}},
  };
  for (const auto& [table, columns] : expected) {
    std::vector<std::string> actual;
    for (const auto& row :
         PlainQuery(catalog.path(), "SELECT name, type FROM pragma_table_info('" + table + "')")) {
      actual.push_back(row[0] + " " + row[1]);
    }
    EXPECT_EQ(actual, columns) << table;
  }
  const auto tables = PlainQuery(
      catalog.path(),
      "SELECT count(*) FROM sqlite_schema WHERE type='table' AND name NOT LIKE 'sqlite%'");
  EXPECT_EQ(tables[0][0], std::to_string(expected.size()));
}

TEST(CatalogSchema, EveryColumnTheStoreSearchesIsIndexed) {
  TempCatalog catalog;
  const std::vector<std::pair<std::string, std::string>> searched = {
      {"Folder", "lFolderID"},
      {"Folder", "lParentID"},
      {"Folder", "lExternalCatalogId"},
      {"Folder", "sName"},
      {"Folder", "iStatus"},
      {"Folder", "tUpdated"},
      {"Clipping", "lClippingID"},
      {"Clipping", "lFolderID"},
      {"Clipping", "sGUID"},
      {"Clipping", "sName"},
      {"Clipping", "sDescription"},
      {"Clipping", "iClippingStatus"},
      {"ClippingDataType", "lClippingID"},
      {"GroupClipping", "lGroupClippingID"},
      {"GroupClipping", "lGroupCategoryID"},
      {"GroupClipping", "sName"},
      {"GroupClipping", "tUpdated"},
      {"ClippingGroupClipping", "lClippingId"},
      {"ClippingGroupClipping", "lGroupClippingId"},
      {"AccessHistory", "sClippingGUID"},
      {"AccessHistory", "sClippingId"},
      {"AccessHistory", "tDateLastAccessed"},
      {"ExternalCatalog", "lExternalCatalogID"},
      {"CatalogProperties", "sCatalogProperty"},
      {"FolderIDGenerator", "sGUID"},
      {"GroupClippingIDGenerator", "sGUID"},
      {"ExternalCatalogIDGenerator", "sGUID"},
  };
  for (const auto& [table, column] : searched) {
    // An index whose first column it is, or the integer primary key itself.
    const auto indexed = PlainQuery(
        catalog.path(), "SELECT count(*) FROM pragma_index_list('" + table +
                            "') AS l "
                            "JOIN pragma_index_info(l.name) AS i WHERE i.seqno = 0 AND i.name = '" +
                            column + "' COLLATE NOCASE");
    const auto primary =
        PlainQuery(catalog.path(), "SELECT count(*) FROM pragma_table_info('" + table +
                                       "') WHERE pk = 1 "
                                       "AND type = 'INTEGER' AND name = '" +
                                       column + "' COLLATE NOCASE");
    EXPECT_TRUE(indexed[0][0] != "0" || primary[0][0] != "0") << table << "." << column;
  }
}

TEST(CatalogSchema, NewCatalogHasItsRootFolderAndSettings) {
  TempCatalog catalog;
  const auto root =
      PlainQuery(catalog.path(),
                 "SELECT lFolderID, lParentID, sName, iStatus, lExternalCatalogId, bIsLeaf, "
                 "length(sGUID), tUpdated FROM Folder");
  ASSERT_EQ(root.size(), 1u);
  EXPECT_EQ(root[0][0], "1");
  EXPECT_EQ(root[0][1], "0");
  EXPECT_EQ(root[0][2], "Personal");
  EXPECT_EQ(root[0][3], "1");
  EXPECT_EQ(root[0][4], "0");
  EXPECT_EQ(root[0][5], "1");
  EXPECT_EQ(root[0][6], "32");
  EXPECT_TRUE(ParseIsoDate(root[0][7]).has_value()) << root[0][7];
  EXPECT_EQ(PlainQuery(catalog.path(), "PRAGMA journal_mode")[0][0], "wal");
  EXPECT_EQ(PlainQuery(catalog.path(), "PRAGMA application_id")[0][0],
            std::to_string(kCatalogApplicationId));
  EXPECT_EQ(PlainQuery(catalog.path(), "PRAGMA user_version")[0][0],
            std::to_string(kCatalogFormatVersion));
  EXPECT_EQ(PlainQuery(catalog.path(), "PRAGMA integrity_check")[0][0], "ok");
  for (std::string table : {"FolderIDGenerator", "GroupClippingIDGenerator",
                            "ExternalCatalogIDGenerator", "Clipping", "GroupClipping"}) {
    EXPECT_EQ(PlainQuery(catalog.path(), "SELECT count(*) FROM " + table)[0][0], "0") << table;
  }
}

TEST(CatalogSchema, KeyGeneratorContinuesAfterTheRootFolder) {
  TempCatalog catalog;
  DBConnection db;
  db.OpenConnection(catalog.connection_string(), "", "");
  for (int32_t expected = 2; expected <= 4; ++expected) {
    db.ExecuteSQL("Insert Into FolderIDGenerator (sGUID) Values ( 'G' ) ");
    Recordset rs = db.GetRecordsetRO("Select lID From FolderIDGenerator Where sGUID='G'");
    EXPECT_EQ(rs.Value("lID"), Variant(expected));
    db.ExecuteSQL("Delete From FolderIDGenerator Where sGUID='G'");
  }
  db.ExecuteSQL("Insert Into GroupClippingIDGenerator (sGUID) Values ( 'G' ) ");
  EXPECT_EQ(db.GetRecordsetRO("Select lID From GroupClippingIDGenerator").Value("lID"),
            Variant(int32_t{1}));
}

TEST(CatalogSchema, CreateRefusesBlankNamesAndExistingFiles) {
  TempDir dir;
  for (std::string name : {"", "   "}) {
    const std::string path = dir.File("blank.db");
    try {
      CreateCatalog(path, name);
      ADD_FAILURE() << "'" << name << "'";
    } catch (const AutomationError& e) {
      EXPECT_EQ(e.number(), err::kInvalidProcedureCall);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
  }
  const std::string existing = dir.File("existing.db");
  std::ofstream(existing) << "keep me";
  try {
    CreateCatalog(existing, "Personal");
    ADD_FAILURE();
  } catch (const AutomationError& e) {
    EXPECT_EQ(e.number(), err::kDatabaseError);
  }
  std::ifstream in(existing);
  std::string content;
  std::getline(in, content);
  EXPECT_EQ(content, "keep me");
  try {
    CreateCatalog(dir.File("no/such/dir/x.db"), "Personal");
    ADD_FAILURE();
  } catch (const AutomationError& e) {
    EXPECT_EQ(e.number(), err::kDatabaseError);
  }
}

}  // namespace
}  // namespace clipcat
