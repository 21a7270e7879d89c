#include "engine/db_connection.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "engine/backend_factory.h"
#include "temp_catalog.h"
#include "util/date.h"
#include "util/date_locale.h"
#include "util/error_of.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

int32_t CountRows(DBConnection& db, const std::string& table) {
  return db.GetRecordsetRO("SELECT * FROM " + table).RecordCount();
}

void AddFolder(DBConnection& db, int32_t key, const std::string& name, const Date& updated) {
  db.ExecuteSQL(
      "INSERT INTO Folder ( lFolderID, sGuid, lParentID, sName, sDescription, "
      "lExternalCatalogId, bIsLeaf, bIsOffline, iStatus, tUpdated ) Values ( " +
      SqlNumber(key) + ", 'G" + std::to_string(key) + "', 1, " + SqlText(name) +
      ", Null, 0, 1, 0, 1, " + SqlDate(updated) + " )");
}

class DBConnectionTest : public ::testing::Test {
 protected:
  void SetUp() override { db_.OpenConnection(catalog_.connection_string(), "", ""); }

  ScopedDateLocale locale_{DateLocale::English(DateOrder::kDayMonthYear)};
  TempCatalog catalog_;
  DBConnection db_;
};

TEST_F(DBConnectionTest, SnapshotsAreTypedFoundWithoutCaseAndReadableAfterClose) {
  for (int32_t key = 2; key <= 4; ++key) {
    AddFolder(db_, key, "F" + std::to_string(key), *Date::FromParts({2020, 1, key}));
  }
  Recordset rs = db_.GetRecordsetRO(
      "Select lFolderId, SNAME, tUpdated, bIsLeaf, iStatus, sDescription From Folder Where "
      "lParentID=1 ORDER BY sName");
  db_.CloseConnection();
  ASSERT_EQ(rs.RecordCount(), 3);
  EXPECT_FALSE(rs.Bof());
  for (int32_t key = 2; key <= 4; ++key, rs.MoveNext()) {
    EXPECT_EQ(rs.Value("lfolderid"), Variant(key));
    EXPECT_EQ(rs.Value("TUPDATED"), Variant(*Date::FromParts({2020, 1, key})));
    EXPECT_EQ(rs.Value("bIsLeaf"), Variant(true));
    EXPECT_EQ(rs.Value("iStatus"), Variant(int16_t{1}));
    EXPECT_TRUE(rs.Value("sDescription").IsNull());
  }
  EXPECT_TRUE(rs.Eof());
  EXPECT_EQ(ErrorOf([&] { rs.MoveNext(); }).number(), err::kNoCurrentRecord);
  EXPECT_EQ(ErrorOf([&] { rs.Value("sName"); }).number(), err::kNoCurrentRecord);
  rs.MoveFirst();
  EXPECT_EQ(ErrorOf([&] { rs.Value("sNoSuchField"); }).number(), err::kFieldNotFound);
  db_.OpenConnection(catalog_.connection_string(), "", "");
  Recordset empty = db_.GetRecordsetRO("SELECT * FROM Folder WHERE lFolderID = 99");
  EXPECT_TRUE(empty.Bof() && empty.Eof() && empty.HasField("LPARENTID"));
  EXPECT_EQ(ErrorOf([&] { empty.MoveFirst(); }).number(), err::kNoCurrentRecord);
  empty.Close();
  EXPECT_EQ(ErrorOf([&] { empty.RecordCount(); }).number(), err::kObjectClosed);
}

TEST_F(DBConnectionTest, OnlyTheFirstStatementIsEverRunAndLiteralsStayText) {
  for (const std::string sql :
       {"DELETE FROM Folder; DELETE FROM CatalogProperties",
        "DELETE FROM Folder;DELETE FROM CatalogProperties;",
        "DELETE FROM Folder; -- then\n DROP TABLE CatalogProperties",
        "DELETE FROM Folder WHERE sName='x'; SELECT 1", "DELETE FROM Folder ; ; garbage"}) {
    // Twice each, so that a kept prepared statement gets no tail either.
    for (int how = 0; how < 4; ++how) {
      const AutomationError error =
          ErrorOf([&] { how % 2 == 0 ? db_.ExecuteSQL(sql) : (void)db_.GetRecordsetRO(sql); });
      EXPECT_EQ(error.number(), err::kDatabaseError) << sql;
      EXPECT_EQ(error.source(), "SQLite");
      EXPECT_EQ(error.description(), "Characters found after end of SQL statement.") << sql;
      EXPECT_EQ(CountRows(db_, "Folder") * 10 + CountRows(db_, "CatalogProperties"), 12) << sql;
    }
  }
  EXPECT_EQ(ErrorOf([&] { db_.ExecuteSQL("  -- nothing\n"); }).number(), err::kDatabaseError);
  // Trailing blanks, semicolons and comments are not a second statement.
  db_.ExecuteSQL("UPDATE Folder SET sDescription='a' ;  ;\n-- done\n/* really */");
  EXPECT_EQ(db_.GetRecordsetRO("SELECT sDescription FROM Folder;").Value("sDescription"),
            Variant("a"));
  // Text inside literals reaches the row as it is, and finds it again.
  int32_t key = 40;
  for (const std::string name :
       {"a; DELETE FROM Folder", "12:00:00 1 Jan 2020", "tUpdated >= '12:00:00 1 Jan 2020'",
        "O'Brien -- /* not a comment */", "Datediff('s', tUpdated, '12:00:00 1 Jan 2020')",
        "x'; DROP TABLE Folder; --", "''", "?", ":a", "50%_\\"}) {
    AddFolder(db_, key, name, Date::Now());
    db_.ExecuteSQL("UPDATE Folder SET sDescription=" + SqlText(name) +
                   " WHERE lFolderID=" + SqlNumber(key++));
    Recordset rs =
        db_.GetRecordsetRO("SELECT sName, sDescription FROM Folder WHERE sName=" + SqlText(name));
    ASSERT_EQ(rs.RecordCount(), 1) << name;
    EXPECT_EQ(rs.Value("sName").ToText() + "|" + rs.Value("sDescription").ToText(),
              name + "|" + name);
  }
  EXPECT_EQ(CountRows(db_, "Folder"), 11);
}

TEST(DBConnection, UnreachableFilesFailBeforeTheEngineIsAskedAndAreNeverCreated) {
  TempDir dir;
  int opened = 0;
  DBConnection db([&](const std::string& cs, const std::string& user, const std::string& pw) {
    ++opened;
    return OpenBackend(cs, user, pw);
  });
  const std::string missing = dir.File("missing.db");
  std::filesystem::create_directory(dir.File("folder.db"));
  for (const std::string& cs :
       {FileCatalogConnectionString(missing), FileCatalogConnectionString(missing) + ";",
        FileCatalogConnectionString(dir.File("folder.db")), FileCatalogConnectionString(""),
        "File Name=" + dir.File("missing.udl")}) {
    EXPECT_FALSE(db.TestConnection(cs).ToBoolean()) << cs;
    EXPECT_EQ(ErrorOf([&] { db.OpenConnection(cs, "", ""); }).number(), -2147220994) << cs;
    EXPECT_FALSE(db.IsOpen());
  }
  EXPECT_EQ(opened, 0);
  // A data link file naming a missing catalog, and a file that is no database, get as far as
  // the engine, which creates nothing.
  std::ofstream(dir.File("dangling.udl")) << "[oledb]\n" << FileCatalogConnectionString(missing);
  std::ofstream(dir.File("notes.txt")) << std::string(500, 'x');
  for (const std::string& cs : {"File Name=" + dir.File("dangling.udl"),
                                FileCatalogConnectionString(dir.File("notes.txt"))}) {
    EXPECT_EQ(ErrorOf([&] { db.OpenConnection(cs, "", ""); }).source(), "SQLite") << cs;
    EXPECT_FALSE(db.IsOpen());
  }
  EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST(DBConnection, MarkersDataLinkFilesAndUnknownProviders) {
  TempCatalog catalog;
  DBConnection db;
  // A trailing ";" after the file name is dropped, a further parameter is not.
  EXPECT_TRUE(db.TestConnection(catalog.connection_string() + ";").ToBoolean());
  EXPECT_FALSE(db.TestConnection(catalog.connection_string() + ";Mode=Share").ToBoolean());
  std::ofstream(catalog.dir().File("c.udl")) << "[oledb]\n; comment\n"
                                             << catalog.connection_string();
  db.OpenConnection("File Name=" + catalog.dir().File("c.udl"), "", "");
  EXPECT_EQ(CountRows(db, "Folder"), 1);
  db.CloseConnection();
  const AutomationError provider =
      ErrorOf([&] { db.OpenConnection("Provider=SQLOLEDB;Data Source=server1", "", ""); });
  EXPECT_EQ(
      std::to_string(provider.number()) + " " + provider.source() + ": " + provider.description(),
      "3706 clipcat: Provider cannot be found. It may not be properly installed.");
  EXPECT_EQ(ErrorOf([&] { db.ExecuteSQL("SELECT 1"); }).number(), err::kObjectVariableNotSet);
}

}  // namespace
}  // namespace clipcat::testing
