#include "store/db_connection.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "store/backend_factory.h"
#include "temp_catalog.h"
#include "util/date.h"
#include "util/date_locale.h"
#include "util/error_of.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

int32_t CountRows(DBConnection& db, const std::string& table) {
  Recordset rs = db.GetRecordsetRO("SELECT * FROM " + table);
  return rs.RecordCount();
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

TEST_F(DBConnectionTest, SnapshotStaysReadableAfterClose) {
  for (int32_t key = 2; key <= 4; ++key) {
    AddFolder(db_, key, "F" + std::to_string(key), *Date::FromParts({2020, 1, key}));
  }
  Recordset rs = db_.GetRecordsetRO(
      "Select lFolderId, SNAME, tUpdated, bIsLeaf, iStatus, "
      "sDescription From Folder Where lParentID=1 ORDER BY sName");
  db_.CloseConnection();
  EXPECT_FALSE(db_.IsOpen());
  ASSERT_EQ(rs.RecordCount(), 3);
  EXPECT_FALSE(rs.Bof());
  for (int32_t key = 2; key <= 4; ++key) {
    ASSERT_FALSE(rs.Eof());
    EXPECT_EQ(rs.Value("lfolderid"), Variant(key));
    EXPECT_EQ(rs.Value("sName"), Variant("F" + std::to_string(key)));
    EXPECT_EQ(rs.Value("TUPDATED"), Variant(*Date::FromParts({2020, 1, key})));
    EXPECT_EQ(rs.Value("bIsLeaf"), Variant(true));
    EXPECT_EQ(rs.Value("iStatus"), Variant(int16_t{1}));
    EXPECT_TRUE(rs.Value("sDescription").IsNull());
    rs.MoveNext();
  }
  EXPECT_TRUE(rs.Eof());
  EXPECT_EQ(ErrorOf([&] { rs.MoveNext(); }).number(), err::kNoCurrentRecord);
  EXPECT_EQ(ErrorOf([&] { rs.Value("sName"); }).number(), err::kNoCurrentRecord);
  rs.MoveFirst();
  EXPECT_EQ(rs.Value("sName"), Variant("F2"));
  EXPECT_EQ(ErrorOf([&] { rs.Value("sNoSuchField"); }).number(), err::kFieldNotFound);
}

TEST_F(DBConnectionTest, EmptyResultIsAtBofAndEof) {
  Recordset rs = db_.GetRecordsetRO("SELECT * FROM Folder WHERE lFolderID = 99");
  EXPECT_TRUE(rs.Bof());
  EXPECT_TRUE(rs.Eof());
  EXPECT_EQ(rs.RecordCount(), 0);
  EXPECT_EQ(rs.FieldCount(), 10);
  EXPECT_TRUE(rs.HasField("LPARENTID"));
  EXPECT_EQ(ErrorOf([&] { rs.MoveFirst(); }).number(), err::kNoCurrentRecord);
  rs.Close();
  EXPECT_EQ(ErrorOf([&] { rs.RecordCount(); }).number(), err::kObjectClosed);
}

TEST_F(DBConnectionTest, TransactionsCommitRollBackAndNest) {
  const Date now = Date::Now();
  db_.BeginTrans();
  AddFolder(db_, 10, "rolled back", now);
  EXPECT_EQ(CountRows(db_, "Folder"), 2);
  db_.RollbackTrans();
  EXPECT_EQ(CountRows(db_, "Folder"), 1);

  db_.BeginTrans();
  AddFolder(db_, 11, "committed", now);
  db_.CommitTrans();
  EXPECT_EQ(CountRows(db_, "Folder"), 2);

  // The inner level rolls back alone; the outer one still commits its own row.
  db_.BeginTrans();
  AddFolder(db_, 12, "outer", now);
  db_.BeginTrans();
  AddFolder(db_, 13, "inner", now);
  db_.RollbackTrans();
  db_.BeginTrans();
  AddFolder(db_, 14, "inner kept", now);
  db_.CommitTrans();
  db_.CommitTrans();
  Recordset rs = db_.GetRecordsetRO(
      "SELECT lFolderID FROM Folder WHERE lFolderID >= 12 "
      "ORDER BY lFolderID");
  ASSERT_EQ(rs.RecordCount(), 2);
  EXPECT_EQ(rs.Value("lFolderID"), Variant(int32_t{12}));
  rs.MoveNext();
  EXPECT_EQ(rs.Value("lFolderID"), Variant(int32_t{14}));

  EXPECT_EQ(ErrorOf([&] { db_.CommitTrans(); }).number(), err::kDatabaseError);
  EXPECT_EQ(ErrorOf([&] { db_.RollbackTrans(); }).number(), err::kDatabaseError);
}

TEST_F(DBConnectionTest, FailedStatementLeavesTheTransactionToTheCaller) {
  db_.BeginTrans();
  AddFolder(db_, 20, "first", Date::Now());
  const AutomationError error = ErrorOf([&] { AddFolder(db_, 20, "same key", Date::Now()); });
  EXPECT_EQ(error.number(), err::kDatabaseError);
  EXPECT_EQ(error.source(), "SQLite");
  EXPECT_NE(error.description().find("UNIQUE"), std::string::npos) << error.description();
  EXPECT_EQ(CountRows(db_, "Folder"), 2);  // still inside the transaction
  db_.RollbackTrans();
  EXPECT_EQ(CountRows(db_, "Folder"), 1);
}

TEST_F(DBConnectionTest, ClosingRollsBackAnOpenTransaction) {
  db_.BeginTrans();
  AddFolder(db_, 30, "pending", Date::Now());
  db_.CloseConnection();
  db_.OpenConnection(catalog_.connection_string(), "", "");
  EXPECT_EQ(CountRows(db_, "Folder"), 1);
}

TEST_F(DBConnectionTest, OnlyTheFirstStatementIsEverRun) {
  const std::vector<std::string> refused = {
      "DELETE FROM Folder; DELETE FROM CatalogProperties",
      "DELETE FROM Folder;DELETE FROM CatalogProperties;",
      "DELETE FROM Folder; -- then\n DROP TABLE CatalogProperties",
      "DELETE FROM Folder WHERE sName='x'; SELECT 1",
      "DELETE FROM Folder ; ; garbage",
  };
  for (const std::string& sql : refused) {
    for (int how = 0; how < 2; ++how) {
      const AutomationError error = ErrorOf([&] {
        if (how == 0) {
          db_.ExecuteSQL(sql);
        } else {
          db_.GetRecordsetRO(sql);
        }
      });
      EXPECT_EQ(error.number(), err::kDatabaseError) << sql;
      EXPECT_EQ(error.source(), "SQLite");
      EXPECT_EQ(CountRows(db_, "Folder"), 1) << sql;
      EXPECT_EQ(CountRows(db_, "CatalogProperties"), 2) << sql;
    }
  }
  EXPECT_EQ(ErrorOf([&] { db_.ExecuteSQL("  -- nothing\n"); }).number(), err::kDatabaseError);
  // Trailing blanks, semicolons and comments are not a second statement.
  db_.ExecuteSQL("UPDATE Folder SET sDescription='a' ;  ;\n-- done\n/* really */");
  Recordset rs = db_.GetRecordsetRO("SELECT sDescription FROM Folder;");
  EXPECT_EQ(rs.Value("sDescription"), Variant("a"));
}

TEST_F(DBConnectionTest, LiteralsInsideStringsReachTheRowUnchanged) {
  const std::vector<std::string> names = {
      "a; DELETE FROM Folder",
      "12:00:00 1 Jan 2020",
      "tUpdated >= '12:00:00 1 Jan 2020'",
      "O'Brien -- /* not a comment */",
      "Datediff('s', tUpdated, '12:00:00 1 Jan 2020')",
      "x'; DROP TABLE Folder; --",
  };
  int32_t key = 40;
  for (const std::string& name : names) {
    AddFolder(db_, key, name, Date::Now());
    db_.ExecuteSQL("UPDATE Folder SET sDescription=" + SqlText(name) +
                   " WHERE lFolderID=" + SqlNumber(key));
    Recordset rs =
        db_.GetRecordsetRO("SELECT sName, sDescription FROM Folder WHERE sName=" + SqlText(name));
    ASSERT_EQ(rs.RecordCount(), 1) << name;
    EXPECT_EQ(rs.Value("sName"), Variant(name));
    EXPECT_EQ(rs.Value("sDescription"), Variant(name));
    ++key;
  }
  EXPECT_EQ(CountRows(db_, "Folder"), 1 + static_cast<int32_t>(names.size()));
}

TEST_F(DBConnectionTest, DatesCompareInTimeOrderAcrossMonthsAndYears) {
  // Chosen so that text order of the catalog form, and of day and month numbers, is wrong.
  const std::vector<DateParts> in_order = {
      {2019, 9, 30, 23, 59, 59}, {2019, 10, 1, 0, 0, 0},  {2019, 12, 31, 23, 59, 59},
      {2020, 1, 1, 0, 0, 0},     {2020, 1, 9, 9, 0, 0},   {2020, 1, 10, 10, 0, 0},
      {2020, 2, 1, 0, 0, 0},     {2020, 2, 29, 12, 0, 0}, {2020, 4, 1, 0, 0, 0},
      {2020, 8, 1, 0, 0, 0},     {2021, 1, 1, 0, 0, 0},   {2100, 1, 1, 0, 0, 1},
  };
  const int32_t first_key = 100;
  for (size_t i = 0; i < in_order.size(); ++i) {
    // Inserted backwards so that key order is not time order.
    const size_t j = in_order.size() - 1 - i;
    AddFolder(db_, first_key + static_cast<int32_t>(j), "D" + std::to_string(j),
              *Date::FromParts(in_order[j]));
  }
  Recordset sorted =
      db_.GetRecordsetRO("SELECT sName FROM Folder WHERE lFolderID >= 100 ORDER BY tUpdated ASC");
  for (size_t i = 0; i < in_order.size(); ++i) {
    ASSERT_FALSE(sorted.Eof());
    EXPECT_EQ(sorted.Value("sName"), Variant("D" + std::to_string(i)));
    sorted.MoveNext();
  }
  for (size_t i = 0; i < in_order.size(); ++i) {
    const Date boundary = *Date::FromParts(in_order[i]);
    Recordset later = db_.GetRecordsetRO(
        "Select lFolderId From Folder Where lFolderID >= 100 "
        "AND tUpdated >= " +
        SqlDate(boundary));
    EXPECT_EQ(later.RecordCount(), static_cast<int32_t>(in_order.size() - i)) << i;
    // Datediff('s', tUpdated, t) < 0: changed after t.
    Recordset changed =
        db_.GetRecordsetRO("Select lFolderId From Folder Where  Datediff( 's', tUpdated  ," +
                           SqlDate(boundary) + " ) < 0  AND lFolderID >= 100");
    EXPECT_EQ(changed.RecordCount(), static_cast<int32_t>(in_order.size() - i - 1)) << i;
  }
}

TEST_F(DBConnectionTest, TextComparesWithoutRegardToCase) {
  AddFolder(db_, 50, "Letters", Date::Now());
  for (std::string sql : {"SELECT * FROM Folder WHERE sName='LETTERS'",
                          "SELECT * FROM Folder WHERE sname = 'letters' AND LFOLDERID=50",
                          "SELECT * FROM Folder WHERE sName LIKE 'lett%'",
                          "SELECT * FROM Folder WHERE sName LIKE '%TTER%'"}) {
    EXPECT_EQ(db_.GetRecordsetRO(sql).RecordCount(), 1) << sql;
  }
}

TEST_F(DBConnectionTest, TheStoresJoinsAndEngineErrorsPassThrough) {
  // The nested join form of the search statement.
  Recordset rs = db_.GetRecordsetRO(
      "SELECT * FROM Clipping WHERE iClippingStatus <>4 AND ( sName LIKE '%' OR sDescription "
      "LIKE '%' )  OR lClippingID IN ( Select ClippingGroupClipping.lClippingID FROM Clipping "
      "INNER JOIN (GroupClipping INNER JOIN ClippingGroupClipping ON "
      "GroupClipping.lGroupClippingId = ClippingGroupClipping.lGroupClippingId) ON "
      "Clipping.lClippingId = ClippingGroupClipping.lClippingId WHERE "
      "(((Clipping.iClippingStatus)<> 4) AND ((GroupClipping.lGroupCategoryId)=1)AND ( "
      "GroupClipping.sName LIKE 'a%' )))");
  EXPECT_EQ(rs.RecordCount(), 0);
  const AutomationError error = ErrorOf([&] {
    db_.GetRecordsetRO("Select * From GroupClipping Where sName='x' AND sGroupCategoryId=1");
  });
  EXPECT_EQ(error.number(), err::kDatabaseError);
  EXPECT_EQ(error.source(), "SQLite");
  EXPECT_NE(error.description().find("sGroupCategoryId"), std::string::npos);
}

TEST(DBConnection, UnreachableCatalogFailsBeforeTheEngineIsAsked) {
  TempDir dir;
  int opened = 0;
  DBConnection db([&](const std::string& cs, const std::string& user, const std::string& pw) {
    ++opened;
    return OpenBackend(cs, user, pw);
  });
  const std::string missing = dir.File("missing.db");
  std::filesystem::create_directory(dir.File("folder.db"));
  const std::vector<std::string> unreachable = {
      FileCatalogConnectionString(missing),
      FileCatalogConnectionString(missing) + ";",
      FileCatalogConnectionString(dir.File("folder.db")),
      FileCatalogConnectionString(""),
      "File Name=" + dir.File("missing.udl"),
  };
  for (const std::string& cs : unreachable) {
    EXPECT_FALSE(db.TestConnection(cs).ToBoolean()) << cs;
    const AutomationError error = ErrorOf([&] { db.OpenConnection(cs, "", ""); });
    EXPECT_EQ(error.number(), err::kCatalogCannotBeOpened) << cs;
    EXPECT_EQ(error.number(), -2147220994);
    EXPECT_FALSE(db.IsOpen());
  }
  EXPECT_EQ(opened, 0);
  EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST(DBConnection, ReachableMarkersFollowTheirRules) {
  TempCatalog catalog;
  DBConnection db;
  // A trailing ";" after the file name is dropped; a further parameter is not.
  EXPECT_TRUE(db.TestConnection(catalog.connection_string()).ToBoolean());
  EXPECT_TRUE(db.TestConnection(catalog.connection_string() + ";").ToBoolean());
  EXPECT_FALSE(
      db.TestConnection(catalog.connection_string() + ";Mode=Share Deny None").ToBoolean());
  // Without the full provider prefix the string is a server string, available without a DSN.
  EXPECT_TRUE(db.TestConnection("Data Source=/no/such/file.db").ToBoolean());
  EXPECT_TRUE(db.TestConnection("Provider=SQLOLEDB;Data Source=server1").ToBoolean());
  // Markers are matched with case.
  EXPECT_TRUE(
      db.TestConnection("provider=Microsoft.Jet.OLEDB.4.0;Data Source=/no/x.db").ToBoolean());
  // "File Name=" wins over the Jet marker.
  EXPECT_FALSE(db.TestConnection(catalog.connection_string() + ";File Name=/no/x.udl").ToBoolean());
}

TEST(DBConnection, OpensThroughADataLinkFileAndNeverCreatesACatalog) {
  TempCatalog catalog;
  const std::string udl = catalog.dir().File("catalog.udl");
  std::ofstream(udl) << "[oledb]\n; comment\n" << catalog.connection_string() << "\n";
  DBConnection db;
  db.OpenConnection("File Name=" + udl, "", "");
  EXPECT_EQ(db.GetRecordsetRO("SELECT * FROM Folder").RecordCount(), 1);
  db.CloseConnection();

  const std::string missing = catalog.dir().File("gone.db");
  const std::string dangling = catalog.dir().File("dangling.udl");
  std::ofstream(dangling) << "[oledb]\n" << FileCatalogConnectionString(missing) << "\n";
  const AutomationError error =
      ErrorOf([&] { db.OpenConnection("File Name=" + dangling, "", ""); });
  EXPECT_EQ(error.number(), err::kDatabaseError);
  EXPECT_EQ(error.source(), "SQLite");
  EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST(DBConnection, UnknownProviderAndClosedConnectionRaise) {
  DBConnection db;
  const AutomationError provider =
      ErrorOf([&] { db.OpenConnection("Provider=SQLOLEDB;Data Source=server1", "", ""); });
  EXPECT_EQ(provider.number(), err::kProviderNotFound);
  EXPECT_EQ(provider.source(), "clipcat");
  EXPECT_EQ(provider.description(), "Provider cannot be found. It may not be properly installed.");
  EXPECT_EQ(ErrorOf([&] { db.ExecuteSQL("SELECT 1"); }).number(), err::kObjectVariableNotSet);
  EXPECT_EQ(ErrorOf([&] { db.CloseConnection(); }).number(), err::kObjectVariableNotSet);
  EXPECT_EQ(ErrorOf([&] { db.BeginTrans(); }).number(), err::kObjectVariableNotSet);
}

TEST(DBConnection, AFileThatIsNoDatabaseRaisesTheEnginesError) {
  TempDir dir;
  const std::string path = dir.File("notes.txt");
  std::ofstream(path) << "these are not the pages of a database, just some text that is long "
                         "enough to fill a header";
  DBConnection db;
  const AutomationError error =
      ErrorOf([&] { db.OpenConnection(FileCatalogConnectionString(path), "", ""); });
  EXPECT_EQ(error.number(), err::kDatabaseError);
  EXPECT_EQ(error.source(), "SQLite");
  EXPECT_FALSE(db.IsOpen());
}

}  // namespace
}  // namespace clipcat::testing
