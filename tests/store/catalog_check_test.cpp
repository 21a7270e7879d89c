// The full check of a catalog (`clipcat check`) on both engines: a sound catalog passes, each kind
// of damage is named by the finding it causes, a catalog of an earlier format is checked without
// being upgraded, and the check of a file never writes to it.
#include "store/catalog_check.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "engine/connection_string.h"
#include "engine/db_connection.h"
#include "engine_catalog.h"
#include "support/postgres_test_server.h"
#include "temp_catalog.h"
#include "util/temp_dir.h"

namespace clipcat::testing {
namespace {

std::string Bytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

// Runs `statements` on a plain SQLite connection to `path`, past the store, as damage would.
void PlainSqlite(const std::string& path, const std::vector<std::string>& statements) {
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
  for (const std::string& sql : statements) {
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK)
        << sql << ": " << (error != nullptr ? error : "");
    sqlite3_free(error);
  }
  sqlite3_close(db);
}

bool Has(const std::vector<std::string>& lines, const std::string& wanted) {
  return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
    return line.find(wanted) != std::string::npos;
  });
}

std::string Joined(const std::vector<std::string>& lines) {
  std::string all;
  for (const std::string& line : lines) all += line + "\n";
  return all;
}

class CatalogCheckTest : public EngineCatalogTest {
 protected:
  // The fixture's catalog, the first time, else a new one of the engine under test, damaged with
  // `statements` through a connection of the engine layer and checked with that connection
  // closed (the check reads a file's header by its name); a file's bytes must not change.
  CatalogCheckReport CheckAfter(const std::vector<std::string>& statements) {
    std::string connection_string = connection_string_;
    std::string path = file_.path();
    if (!last_.empty() && OnServer()) {
      PostgresTestServer* server = PostgresTestServer::Instance(nullptr);
      connection_string = server->ConnectionString(server->CreateDatabase());
      CreateServerCatalog(connection_string, "Personal");
    } else if (!last_.empty()) {
      files_.push_back(std::make_unique<TempCatalog>());
      connection_string = files_.back()->connection_string();
      path = files_.back()->path();
    }
    {
      DBConnection db;
      db.OpenConnection(connection_string, "", "");
      for (const std::string& sql : statements) db.ExecuteSQL(sql);
    }
    const std::string before = OnServer() ? "" : Bytes(path);
    CatalogCheckReport report = CheckCatalog(connection_string, "", "");
    EXPECT_EQ(report.catalog, OnServer() ? "the server catalog" : path);
    EXPECT_EQ(OnServer() ? "" : Bytes(path), before) << "the check wrote to the file";
    last_ = connection_string;
    return report;
  }

  std::vector<std::unique_ptr<TempCatalog>> files_;
  std::string last_;  // the connection string of the catalog checked last
};

TEST_P(CatalogCheckTest, ASoundCatalogPassesAndEachDamageIsNamed) {
  const CatalogCheckReport sound = CheckAfter({});
  EXPECT_TRUE(sound.problems.empty()) << Joined(sound.problems);
  EXPECT_TRUE(Has(sound.checked, "format version 6")) << Joined(sound.checked);
  EXPECT_TRUE(Has(sound.checked, "columns against their description")) << Joined(sound.checked);
  EXPECT_TRUE(Has(sound.checked, "ClippingVersionData: 0 stored items read"));
  EXPECT_EQ(Has(sound.checked, "integrity check"), !OnServer()) << "only files have pages";

  struct Case {
    std::string damage;
    std::string finding;
  };
  const std::vector<Case> cases = {
      {"DROP TABLE ClippingVersionData", "the table ClippingVersionData is missing"},
      {"DROP INDEX ixClipping_sName_lFolderID", "the index ixClipping_sName_lFolderID is missing"},
      {"ALTER TABLE Folder DROP COLUMN sDescription", "the column Folder.sDescription is missing"},
      {"DROP TABLE CatalogProperties", "the database holds no catalog"},
  };
  for (const Case& c : cases) {
    const CatalogCheckReport report = CheckAfter({c.damage});
    EXPECT_TRUE(Has(report.problems, c.finding)) << c.damage << ":\n" << Joined(report.problems);
  }
}

TEST_P(CatalogCheckTest, ACatalogOfAnEarlierFormatIsCheckedAsItIsAndNotUpgraded) {
  // Format 4 had no version tables: orphans of them are not looked for, nor their content read.
  std::vector<std::string> damage = {
      "UPDATE CatalogProperties SET sValue = '4' WHERE sCatalogProperty = 'FormatVersion'",
      "INSERT INTO ClippingVersion (lClippingID, lVersion, tSaved, sSavedBy, sName, sDescription)"
      " VALUES (999, 1, '2026-01-01 00:00:00', 'me', 'orphan', '')"};
  if (!OnServer()) damage.push_back("PRAGMA user_version = 4");
  const CatalogCheckReport report = CheckAfter(damage);
  EXPECT_TRUE(report.problems.empty()) << Joined(report.problems);
  EXPECT_TRUE(Has(report.checked, "schema not compared: format 4 is upgraded to 6"))
      << Joined(report.checked);
  EXPECT_FALSE(Has(report.checked, "ClippingVersionData"));

  DBConnection db;
  db.OpenConnection(last_, "", "");
  Recordset rs = db.GetRecordsetRO(
      "SELECT sValue FROM CatalogProperties WHERE sCatalogProperty = 'FormatVersion'");
  EXPECT_EQ(rs.Value("sValue").ToText(), "4") << "the check upgraded the catalog";
}

INSTANTIATE_TEST_SUITE_P(BothEngines, CatalogCheckTest, ::testing::Bool(), EngineName);

// What only a file can have wrong: its bytes, its header and the engine's pages.
TEST(CatalogFileCheck, EachDamageOfTheFileIsNamed) {
  struct Case {
    std::string what;
    std::vector<std::string> damage;  // run on a plain connection to a new catalog
    std::string finding;
  };
  const std::vector<Case> cases = {
      {"application id",
       {"PRAGMA application_id = 42"},
       "the header's application id 42 is not a catalog's"},
      {"schema version",
       {"PRAGMA user_version = 3"},
       "the header's schema version 3 disagrees with the catalog's format version 6"},
      {"declared type",
       {"ALTER TABLE Folder RENAME COLUMN sDescription TO sOld",
        "ALTER TABLE Folder ADD COLUMN sDescription INTEGER"},
       "the column Folder.sDescription is declared INTEGER, not TEXT"},
      // The index reads another column than its rows were written from.
      {"index entries",
       {"PRAGMA writable_schema = ON",
        "UPDATE sqlite_schema SET sql = replace(sql, '(iStatus)', '(lExternalCatalogId)')"
        " WHERE name = 'ixFolder_iStatus'"},
       "the engine's check of its pages: "},
  };
  for (const Case& c : cases) {
    TempCatalog catalog;
    PlainSqlite(catalog.path(), c.damage);
    const std::string before = Bytes(catalog.path());
    const CatalogCheckReport report = CheckCatalog(catalog.connection_string(), "", "");
    EXPECT_TRUE(Has(report.problems, c.finding)) << c.what << ":\n" << Joined(report.problems);
    EXPECT_EQ(Bytes(catalog.path()), before) << c.what << ": the check wrote to the file";
  }

  TempDir dir;
  const auto check = [&](const std::string& name) {
    return CheckCatalog(FileCatalogConnectionString(dir.File(name)), "", "").problems;
  };
  EXPECT_EQ(check("missing.db"), std::vector<std::string>{"the file cannot be read"});
  std::ofstream(dir.File("notes.db")) << std::string(200, 'x');
  EXPECT_EQ(check("notes.db"), std::vector<std::string>{"the file is not a SQLite database"});
  // A database of another program, written in UTF-16: both findings, and no catalog in it.
  PlainSqlite(dir.File("utf16.db"), {"PRAGMA encoding = 'UTF-16le'", "CREATE TABLE t (x)"});
  EXPECT_EQ(check("utf16.db"),
            (std::vector<std::string>{"the header's text encoding 2 is not a catalog's (UTF-8)",
                                      "the database holds no catalog"}));
}

}  // namespace
}  // namespace clipcat::testing
