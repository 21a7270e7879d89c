#include "store/postgres_backend.h"

#include <gtest/gtest.h>

#include <barrier>
#include <string>
#include <thread>
#include <vector>

#include "store/blob_field.h"
#include "store/catalog_schema.h"
#include "store/data_access.h"
#include "store/db_connection.h"
#include "store/postgres_session.h"
#include "store/sqlite_functions.h"
#include "support/postgres_test_server.h"
#include "temp_catalog.h"
#include "util/date.h"
#include "util/date_locale.h"
#include "util/error_of.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat {
namespace {

using ::clipcat::testing::ErrorOf;
using ::clipcat::testing::PostgresTestServer;
using ::clipcat::testing::TempCatalog;

// Every catalog table, as the store names them.
const std::vector<std::string> kTables = {"Folder",
                                          "Clipping",
                                          "ClippingDataType",
                                          "GroupClipping",
                                          "ClippingGroupClipping",
                                          "AccessHistory",
                                          "ExternalCatalog",
                                          "CatalogProperties",
                                          "FolderIDGenerator",
                                          "GroupClippingIDGenerator",
                                          "ExternalCatalogIDGenerator"};

std::vector<std::string> Column(DBConnection& db, const std::string& sql) {
  Recordset rs = db.GetRecordsetRO(sql);
  std::vector<std::string> values;
  for (; !rs.Eof(); rs.MoveNext()) values.push_back(rs.Value(rs.FieldName(0)).ToText());
  return values;
}

std::string Single(DBConnection& db, const std::string& sql) {
  const std::vector<std::string> values = Column(db, sql);
  EXPECT_EQ(values.size(), 1u) << sql;
  return values.empty() ? "" : values.front();
}

void AddFolder(DBConnection& db, int32_t key, const std::string& name, const Date& updated) {
  db.ExecuteSQL(
      "INSERT INTO Folder ( lFolderID, sGuid, lParentID, sName, sDescription, "
      "lExternalCatalogId, bIsLeaf, bIsOffline, iStatus, tUpdated ) Values ( " +
      SqlNumber(key) + ", 'G" + std::to_string(key) + "', 1, " + SqlText(name) +
      ", Null, 0, 1, 0, 1, " + SqlDate(updated) + " )");
}

class PostgresCatalogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
    server_ = server;
    database_ = server->CreateDatabase();
    connection_string_ = server->ConnectionString(database_);
    CreateServerCatalog(connection_string_, "Team");
    db_.OpenConnection(connection_string_, "", "");
  }

  ScopedDateLocale locale_{DateLocale::English(DateOrder::kDayMonthYear)};
  PostgresTestServer* server_ = nullptr;
  std::string database_;
  std::string connection_string_;
  DBConnection db_;
};

TEST_F(PostgresCatalogTest, NewCatalogHasTheFileCatalogsTablesRootAndKeys) {
  TempCatalog file;
  DBConnection sqlite;
  sqlite.OpenConnection(file.connection_string(), "", "");
  for (const std::string& table : kTables) {
    Recordset ours = db_.GetRecordsetRO("SELECT * FROM " + table + " WHERE 1=0");
    Recordset theirs = sqlite.GetRecordsetRO("SELECT * FROM " + table + " WHERE 1=0");
    ASSERT_EQ(ours.FieldCount(), theirs.FieldCount()) << table;
    for (int32_t i = 0; i < ours.FieldCount(); ++i) {
      EXPECT_EQ(ours.FieldName(i), theirs.FieldName(i)) << table;
    }
  }

  Recordset root = db_.GetRecordsetRO("SELECT * FROM Folder");
  ASSERT_EQ(root.RecordCount(), 1);
  EXPECT_EQ(root.Value("lFolderID").type(), Variant::Type::kLong);
  EXPECT_EQ(root.Value("lFolderID").ToLong(), kRootFolderKey);
  EXPECT_EQ(root.Value("lParentID").ToLong(), 0);
  EXPECT_EQ(root.Value("sName").ToText(), "Team");
  EXPECT_TRUE(root.IsNull("sDescription"));
  EXPECT_EQ(root.Value("iStatus").type(), Variant::Type::kInteger);
  EXPECT_EQ(root.Value("iStatus").ToLong(), 1);
  EXPECT_EQ(root.Value("bIsLeaf").type(), Variant::Type::kBoolean);
  EXPECT_TRUE(root.Value("bIsLeaf").ToBoolean());
  EXPECT_FALSE(root.Value("bIsOffline").ToBoolean());
  EXPECT_EQ(root.Value("sGUID").ToText().size(), 32u);
  ASSERT_EQ(root.Value("tUpdated").type(), Variant::Type::kDate);
  EXPECT_LT(Date::Now().serial() - root.Value("tUpdated").ToDate().serial(), 1.0 / 24);

  EXPECT_EQ(
      Single(db_, "SELECT sValue FROM CatalogProperties WHERE sCatalogProperty='catalogname'"),
      "Team");
  EXPECT_EQ(Single(db_,
                   "SELECT sValue FROM CatalogProperties WHERE sCatalogProperty="
                   "'FormatVersion'"),
            std::to_string(kCatalogFormatVersion));

  // Folder keys continue after the root; the other generators start at 1; none gives a key back.
  const std::vector<std::pair<std::string, int32_t>> first_keys = {
      {"FolderIDGenerator", 2}, {"GroupClippingIDGenerator", 1}, {"ExternalCatalogIDGenerator", 1}};
  for (const auto& [table, first] : first_keys) {
    for (int32_t draw = 0; draw < 3; ++draw) {
      db_.ExecuteSQL("Insert Into " + table + " (sGUID) Values ( 'g' ) ");
      EXPECT_EQ(Single(db_, "Select lID From " + table + " Where sGUID='G'"),
                std::to_string(first + draw))
          << table;
      db_.ExecuteSQL("Delete From " + table + " Where sGUID='g'");
    }
  }

  // A second catalog is refused and the first stays as it was.
  const AutomationError again = ErrorOf([&] { CreateServerCatalog(connection_string_, "Other"); });
  EXPECT_EQ(again.number(), err::kDatabaseError);
  EXPECT_EQ(again.source(), kComponentSource);
  EXPECT_NE(again.description().find("already holds a catalog"), std::string::npos);
  EXPECT_EQ(Column(db_, "SELECT sName FROM Folder"), std::vector<std::string>{"Team"});
}

TEST_F(PostgresCatalogTest, FailedCreationLeavesNothingBehind) {
  const std::string other = server_->CreateDatabase();
  const std::string target = server_->ConnectionString(other);
  EXPECT_EQ(ErrorOf([&] { CreateServerCatalog(target, "   "); }).number(),
            err::kInvalidProcedureCall);
  for (const std::string& not_postgres :
       {FileCatalogConnectionString("/tmp/x.db"), std::string("Provider=SQLOLEDB;Server=db1"),
        std::string("")}) {
    EXPECT_EQ(ErrorOf([&] { CreateServerCatalog(not_postgres, "X"); }).number(),
              err::kProviderNotFound)
        << not_postgres;
  }
  // A type that takes the name of a table the catalog needs makes the deployment fail half-way:
  // the extension it had installed goes again with everything else.
  ASSERT_EQ(server_->Admin("CREATE TYPE GroupClipping AS (x integer)", other), "");
  const AutomationError failed = ErrorOf([&] { CreateServerCatalog(target, "X"); });
  EXPECT_EQ(failed.number(), err::kDatabaseError);
  EXPECT_EQ(failed.source(), kPostgresSource);
  DBConnection db;
  db.OpenConnection(target, "", "");
  EXPECT_EQ(Single(db, "SELECT count(*) AS n FROM pg_catalog.pg_tables WHERE schemaname='public'"),
            "0");
  EXPECT_EQ(Single(db, "SELECT count(*) AS n FROM pg_catalog.pg_extension WHERE extname='citext'"),
            "0");
  ASSERT_EQ(server_->Admin("DROP TYPE GroupClipping", other), "");
  CreateServerCatalog(target, "X");
  db.CloseConnection();
  db.OpenConnection(target, "", "");
  EXPECT_EQ(Column(db, "SELECT sName FROM Folder"), std::vector<std::string>{"X"});
}

TEST_F(PostgresCatalogTest, SessionSettingsHoldAndValuesReadBackTyped) {
  EXPECT_EQ(Single(db_, "SELECT pg_catalog.current_setting('statement_timeout') AS t"), "10s");
  EXPECT_EQ(Single(db_, "SELECT pg_catalog.current_setting('standard_conforming_strings') AS s"),
            "on");
  Recordset rs = db_.GetRecordsetRO(
      "SELECT count(*) AS n, 2.5::float8 AS d, 7::smallint AS i, NULL AS z, 'x' AS s,"
      " 3000000000::bigint AS big FROM Folder");
  EXPECT_EQ(rs.Value("n").type(), Variant::Type::kLong);
  EXPECT_EQ(rs.Value("d").type(), Variant::Type::kDouble);
  EXPECT_EQ(rs.Value("d").ToDouble(), 2.5);
  EXPECT_EQ(rs.Value("i").type(), Variant::Type::kInteger);
  EXPECT_TRUE(rs.IsNull("z"));
  EXPECT_EQ(rs.Value("s").ToText(), "x");
  EXPECT_EQ(rs.Value("big").ToDouble(), 3000000000.0);
  // A backslash is a plain character in a literal; a doubled quote is one quote.
  EXPECT_EQ(Single(db_, "SELECT 'a\\b''c' AS t"), "a\\b'c");
}

TEST_F(PostgresCatalogTest, NumbersTheStoreWritesForBooleansAreRead) {
  db_.ExecuteSQL(
      "INSERT INTO Folder ( lFolderID, sGuid, lParentID, sName, sDescription, lExternalCatalogId,"
      " bIsLeaf, bIsOffline, iStatus, tUpdated ) Values ( 2, 'G', 1, 'F', Null, 0, 0, -1, 1,"
      " '14:05:09 3 Apr 2002' )");
  Recordset rs = db_.GetRecordsetRO("SELECT bIsLeaf, bIsOffline FROM Folder WHERE lFolderID=2");
  EXPECT_FALSE(rs.Value("bIsLeaf").ToBoolean());
  EXPECT_TRUE(rs.Value("bIsOffline").ToBoolean());
  for (const auto& [number, expected] :
       std::vector<std::pair<std::string, bool>>{{"1", true}, {"0", false}, {"-1", true}}) {
    db_.ExecuteSQL("UPDATE Folder Set bIsLeaf=" + number + " WHERE lFolderID=2");
    Recordset after = db_.GetRecordsetRO("SELECT bIsLeaf FROM Folder WHERE lFolderID=2");
    EXPECT_EQ(after.Value("bIsLeaf").ToBoolean(), expected) << number;
  }
  EXPECT_EQ(Column(db_, "SELECT lFolderID FROM Folder WHERE bIsLeaf = -1 ORDER BY lFolderID"),
            (std::vector<std::string>{"1", "2"}));
  EXPECT_EQ(Column(db_, "SELECT lFolderID FROM Folder WHERE 0 = bIsLeaf"),
            std::vector<std::string>{});
  db_.ExecuteSQL(
      "Insert Into ExternalCatalog (lExternalCatalogID, sGuid, sConnectString, bIsOnline)  Values "
      "(3, 'G', 'x', -1)");
  EXPECT_EQ(Single(db_, "SELECT bIsOnline FROM ExternalCatalog"), "True");
}

TEST_F(PostgresCatalogTest, DatesCompareInTimeOrderAndDatediffCountsBoundaries) {
  std::vector<Date> dates;
  for (const DateParts& parts : std::vector<DateParts>{{2019, 12, 31, 23, 59, 59},
                                                       {2020, 1, 1, 0, 0, 0},
                                                       {2020, 2, 29, 12, 0, 0},
                                                       {2020, 3, 1, 0, 0, 1},
                                                       {2020, 12, 27, 0, 0, 0},
                                                       {2021, 1, 2, 23, 59, 59},
                                                       {1999, 6, 15, 8, 30, 0},
                                                       {2002, 4, 3, 14, 5, 9}}) {
    dates.push_back(*Date::FromParts(parts));
  }
  for (size_t i = 0; i < dates.size(); ++i) {
    AddFolder(db_, static_cast<int32_t>(10 + i), "F" + std::to_string(i), dates[i]);
  }
  for (const Date& date : dates) {
    size_t later = 0;
    for (const Date& other : dates) later += other.serial() >= date.serial() ? 1 : 0;
    EXPECT_EQ(Column(db_, "Select lFolderId From Folder Where tUpdated >= " + SqlDate(date) +
                              " AND lFolderID > 1")
                  .size(),
              later)
        << FormatIsoDate(date);
  }
  const std::vector<std::string> intervals = {"yyyy", "q", "m", "y", "d", "w", "ww", "h", "n", "s"};
  for (const Date& a : dates) {
    for (const Date& b : dates) {
      std::string sql = "SELECT ";
      for (const std::string& interval : intervals) {
        sql += "Datediff('" + interval + "', " + SqlDate(a) + ", " + SqlDate(b) + ") AS i" +
               interval + (interval == intervals.back() ? "" : ", ");
      }
      Recordset rs = db_.GetRecordsetRO(sql);
      for (const std::string& interval : intervals) {
        EXPECT_EQ(rs.Value("i" + interval).ToDouble(),
                  static_cast<double>(*DateDiff(interval, a, b)))
            << interval << " " << FormatIsoDate(a) << " " << FormatIsoDate(b);
      }
    }
  }
  // The store's own form: a column against a literal.
  EXPECT_EQ(Column(db_, "Select lFolderID From Folder Where  Datediff( 's', tUpdated  ," +
                            SqlDate(dates[1]) + " ) < 0  AND lFolderID > 1 ORDER BY lFolderID"),
            (std::vector<std::string>{"12", "13", "14", "15"}));
  EXPECT_TRUE(
      db_.GetRecordsetRO("SELECT Datediff('d', NULL, " + SqlDate(dates[0]) + ") AS n").IsNull("n"));
  const AutomationError unknown = ErrorOf(
      [&] { db_.GetRecordsetRO("SELECT Datediff('fortnight', tUpdated, tUpdated) FROM Folder"); });
  EXPECT_EQ(unknown.number(), err::kDatabaseError);
  EXPECT_EQ(unknown.description(), "Invalid procedure call or argument");
  // A name that looks like a date is not a date.
  AddFolder(db_, 30, "12:00:00 1 Jan 2020", dates[0]);
  EXPECT_EQ(Single(db_, "SELECT sName FROM Folder WHERE sName = '12:00:00 1 Jan 2020'"),
            "12:00:00 1 Jan 2020");
}

TEST_F(PostgresCatalogTest, TextComparesAsAFileCatalogComparesIt) {
  TempCatalog file;
  DBConnection sqlite;
  sqlite.OpenConnection(file.connection_string(), "", "");
  const std::vector<std::string> names = {"apple",
                                          "Banana",
                                          "APPLE pie",
                                          "\xC3\x89"
                                          "b\xC3\xA8ne",
                                          "\xC3\xA9"
                                          "b\xC3\xA8ne",
                                          "a\\b",
                                          "50%",
                                          "under_score",
                                          "Zebra",
                                          "aB",
                                          "Ab"};
  int32_t key = 10;
  for (const std::string& name : names) {
    AddFolder(db_, key, name, Date::Now());
    AddFolder(sqlite, key, name, Date::Now());
    ++key;
  }
  struct Case {
    std::string where;
    size_t count;
  };
  const std::vector<Case> cases = {
      {"sName = 'APPLE'", 1},
      {"sName = 'ab'", 2},
      {"sName <> 'ab'", 9},
      {"sName IN ('BANANA', 'zebra')", 2},
      {"sName = '\xC3\xA9"
       "B\xC3\xA8NE'",
       1},  // only ASCII letters fold
      {"sName LIKE 'a%'", 5},
      {"sName LIKE '%PIE'", 1},
      {"sName LIKE 'a\\b'", 1},
      {"sName LIKE 'a_b'", 1},
      {"sName LIKE '50\\%' ESCAPE '\\'", 1},
      {"sName LIKE 'under\\_SCORE' ESCAPE '\\'", 1},
      {"sName LIKE '%\\%%' ESCAPE '\\'", 1},
      {"sName > 'b'", 5},
  };
  for (const Case& c : cases) {
    const std::string sql = "SELECT sName FROM Folder WHERE lFolderID > 1 AND " + c.where +
                            " ORDER BY sName, lFolderID";
    const std::vector<std::string> ours = Column(db_, sql);
    EXPECT_EQ(ours.size(), c.count) << c.where;
    EXPECT_EQ(ours, Column(sqlite, sql)) << c.where;
  }
  const std::string order =
      "SELECT sName FROM Folder WHERE lFolderID > 1 ORDER BY sName DESC, lFolderID";
  EXPECT_EQ(Column(db_, order), Column(sqlite, order));
}

TEST_F(PostgresCatalogTest, OnlyTheFirstStatementEverRuns) {
  for (const std::string& sql :
       {std::string("DELETE FROM Folder; DROP TABLE Clipping"),
        std::string("SELECT 1 /* ; */ ; DELETE FROM Folder"),
        std::string("UPDATE Folder SET sName='x';\n-- c\nDELETE FROM Folder"),
        std::string("SELECT 'a;'; DELETE FROM Folder WHERE sName=';'")}) {
    const AutomationError error = ErrorOf([&] { db_.ExecuteSQL(sql); });
    EXPECT_EQ(error.number(), err::kDatabaseError) << sql;
    EXPECT_EQ(error.source(), kPostgresSource);
    EXPECT_EQ(error.description(), "Characters found after end of SQL statement.") << sql;
    EXPECT_EQ(ErrorOf([&] { db_.GetRecordsetRO(sql); }).number(), err::kDatabaseError);
  }
  EXPECT_EQ(Column(db_, "SELECT sName FROM Folder"), std::vector<std::string>{"Team"});
  EXPECT_EQ(Column(db_, "SELECT count(*) FROM Clipping ; -- done\n ;"),
            std::vector<std::string>{"0"});
  for (const char* empty : {"", "  ", "-- nothing", ";"}) {
    EXPECT_EQ(ErrorOf([&] { db_.ExecuteSQL(empty); }).description(), "The statement text is empty.")
        << empty;
  }
  // The text inside literals reaches the row as it is.
  const std::string hostile = "x'; DROP TABLE Folder; --\\";
  AddFolder(db_, 5, hostile, Date::Now());
  EXPECT_EQ(Single(db_, "SELECT sName FROM Folder WHERE lFolderID=5"), hostile);
  // Below the store's check the server refuses a second statement in the same call too.
  PostgresParameters parameters = *PostgresParametersFor(connection_string_, "", "");
  PostgresSession session(parameters);
  EXPECT_EQ(ErrorOf([&] { session.Run("SELECT 1; DELETE FROM Folder"); }).number(),
            err::kDatabaseError);
  EXPECT_EQ(Column(db_, "SELECT count(*) FROM Folder"), std::vector<std::string>{"2"});
}

TEST_F(PostgresCatalogTest, TransactionsNestAndOutliveFailedStatements) {
  const auto keys = [&] { return Column(db_, "SELECT lFolderID FROM Folder ORDER BY lFolderID"); };
  db_.BeginTrans();
  AddFolder(db_, 2, "a", Date::Now());
  db_.BeginTrans();
  AddFolder(db_, 3, "b", Date::Now());
  db_.RollbackTrans();
  AddFolder(db_, 4, "c", Date::Now());
  db_.BeginTrans();
  AddFolder(db_, 5, "d", Date::Now());
  db_.CommitTrans();
  // Another session sees nothing of it before the commit.
  DBConnection other;
  other.OpenConnection(connection_string_, "", "");
  EXPECT_EQ(Column(other, "SELECT lFolderID FROM Folder"), std::vector<std::string>{"1"});
  db_.CommitTrans();
  EXPECT_EQ(keys(), (std::vector<std::string>{"1", "2", "4", "5"}));
  EXPECT_EQ(Column(other, "SELECT lFolderID FROM Folder ORDER BY lFolderID"), keys());

  // A failed statement undoes only itself; the transaction goes on.
  db_.BeginTrans();
  AddFolder(db_, 6, "e", Date::Now());
  EXPECT_EQ(ErrorOf([&] { db_.ExecuteSQL("INSERT INTO NoSuchTable VALUES (1)"); }).number(),
            err::kDatabaseError);
  EXPECT_EQ(ErrorOf([&] { AddFolder(db_, 6, "duplicate key", Date::Now()); }).number(),
            err::kDatabaseError);
  AddFolder(db_, 7, "f", Date::Now());
  db_.CommitTrans();
  EXPECT_EQ(keys(), (std::vector<std::string>{"1", "2", "4", "5", "6", "7"}));

  db_.BeginTrans();
  AddFolder(db_, 8, "g", Date::Now());
  db_.RollbackTrans();
  for (const auto& end : {+[](DBConnection& db) { db.CommitTrans(); },
                          +[](DBConnection& db) { db.RollbackTrans(); }}) {
    const AutomationError error = ErrorOf([&] { end(db_); });
    EXPECT_EQ(error.number(), err::kDatabaseError);
    EXPECT_EQ(error.source(), kPostgresSource);
  }
  // Closing drops an open transaction.
  db_.BeginTrans();
  AddFolder(db_, 9, "h", Date::Now());
  db_.CloseConnection();
  db_.OpenConnection(connection_string_, "", "");
  EXPECT_EQ(keys(), (std::vector<std::string>{"1", "2", "4", "5", "6", "7"}));
}

TEST_F(PostgresCatalogTest, LongBinaryValuesRoundTripThroughTheUpdatableRecordset) {
  const std::vector<size_t> sizes = {1, 2, 4095, 4096, 4097, 8191, 8192, 8193, 100000};
  {
    UpdatableRecordset rs =
        db_.GetRecordsetRW("SELECT * FROM ClippingDataType WHERE lClippingID=NULL");
    EXPECT_EQ(rs.Rows().RecordCount(), 0);
    for (size_t size : sizes) {
      std::string bytes(size, '\0');
      for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 37 + size) % 256);
      rs.AddNew();
      rs.SetValue("lClippingID", Variant(static_cast<int32_t>(size)));
      rs.SetValue("bIsCompressed", Variant(true));
      rs.SetValue("lDataTypeId", Variant(2));
      WriteBlobBytes(bytes, rs, "ClippingData");
      rs.Update();
    }
    rs.AddNew();
    rs.SetValue("lClippingID", Variant(0));
    WriteBlobBytes("", rs, "ClippingData");  // no bytes store Null
    rs.Update();
    rs.AddNew();
    rs.SetValue("lClippingID", Variant(-1));
    WriteBlobField(
        "Gr\xC3\xBC\xC3\x9F"
        "e \xF0\x9F\x98\x80",
        rs, "ClippingData");
    rs.Update();
    rs.Close();
  }
  for (size_t size : sizes) {
    Recordset rs = db_.GetRecordsetRO("SELECT * FROM ClippingDataType WHERE lClippingID=" +
                                      std::to_string(size));
    ASSERT_EQ(rs.RecordCount(), 1) << size;
    std::string expected(size, '\0');
    for (size_t i = 0; i < size; ++i) expected[i] = static_cast<char>((i * 37 + size) % 256);
    EXPECT_EQ(ReadBlobBytes(rs, "ClippingData"), expected) << size;
    EXPECT_EQ(rs.Value("bIsCompressed").type(), Variant::Type::kBoolean);
    EXPECT_TRUE(rs.Value("bIsCompressed").ToBoolean());
  }
  Recordset empty = db_.GetRecordsetRO("SELECT * FROM ClippingDataType WHERE lClippingID=0");
  EXPECT_TRUE(empty.IsNull("ClippingData"));
  Recordset text = db_.GetRecordsetRO("SELECT * FROM ClippingDataType WHERE lClippingID=-1");
  EXPECT_EQ(ReadBlobField(text, "ClippingData"),
            "Gr\xC3\xBC\xC3\x9F"
            "e \xF0\x9F\x98\x80");

  const auto count = [&] { return Single(db_, "SELECT count(*) FROM ClippingDataType"); };
  const std::string before = count();
  UpdatableRecordset rs = db_.GetRecordsetRW("SELECT * FROM ClippingDataType WHERE lClippingID=1");
  EXPECT_EQ(rs.Rows().RecordCount(), 1);
  // An incomplete value stores nothing; so does a piece too many, or a cancelled row.
  rs.AddNew();
  rs.SetValue("lClippingID", Variant(77));
  rs.BeginLongValue("ClippingData", 10);
  rs.AppendChunk("ClippingData", "12345");
  EXPECT_EQ(ErrorOf([&] { rs.AppendChunk("ClippingData", "678901"); }).number(),
            err::kInvalidProcedureCall);
  EXPECT_EQ(ErrorOf([&] { rs.Update(); }).number(), err::kInvalidProcedureCall);
  rs.AddNew();
  rs.SetValue("lClippingID", Variant(78));
  rs.CancelUpdate();
  // A value the column cannot take fails the row alone.
  rs.AddNew();
  rs.SetValue("lClippingID", Variant(std::string("not a number")));
  EXPECT_EQ(ErrorOf([&] { rs.Update(); }).number(), err::kDatabaseError);
  EXPECT_EQ(count(), before);
  // Added rows follow the caller's transaction.
  db_.BeginTrans();
  rs.AddNew();
  rs.SetValue("lClippingID", Variant(79));
  rs.Update();
  EXPECT_EQ(std::stoi(count()), std::stoi(before) + 1);
  db_.RollbackTrans();
  EXPECT_EQ(count(), before);
  rs.Close();

  // Other column types take the automation values; text reaches the row as it is.
  UpdatableRecordset folders = db_.GetRecordsetRW("SELECT * FROM Folder WHERE lFolderID=0");
  const Date when = *Date::FromParts({2021, 5, 6, 7, 8, 9});
  const std::string hostile = "'); DROP TABLE Folder; --";
  folders.AddNew();
  folders.SetValue("lFolderID", Variant(50));
  folders.SetValue("sName", Variant(hostile));
  folders.SetValue("bIsLeaf", Variant(false));
  folders.SetValue("iStatus", Variant(static_cast<int16_t>(3)));
  folders.SetValue("tUpdated", Variant(when));
  folders.Update();
  Recordset row = db_.GetRecordsetRO("SELECT * FROM Folder WHERE lFolderID=50");
  EXPECT_EQ(row.Value("sName").ToText(), hostile);
  EXPECT_FALSE(row.Value("bIsLeaf").ToBoolean());
  EXPECT_EQ(row.Value("iStatus").ToLong(), 3);
  EXPECT_EQ(FormatIsoDate(row.Value("tUpdated").ToDate()), "2021-05-06 07:08:09");

  for (const std::string& sql : {std::string("SELECT Folder.sName, Clipping.sName FROM Folder, "
                                             "Clipping"),
                                 std::string("SELECT count(*) FROM Folder")}) {
    EXPECT_EQ(ErrorOf([&] { db_.GetRecordsetRW(sql); }).number(), err::kDatabaseError) << sql;
  }
}

TEST_F(PostgresCatalogTest, ServerErrorsKeepTheirMessage) {
  struct Case {
    std::string sql;
    std::string message;
  };
  for (const Case& c : std::vector<Case>{
           {"SELECT * FROM NoSuchTable", "relation \"nosuchtable\" does not exist"},
           {"SELEKT 1", "syntax error at or near \"SELEKT\""},
           {"SELECT nosuchcolumn FROM Folder", "column \"nosuchcolumn\" does not exist"},
       }) {
    const AutomationError error = ErrorOf([&] { db_.GetRecordsetRO(c.sql); });
    EXPECT_EQ(error.number(), err::kDatabaseError);
    EXPECT_EQ(error.source(), kPostgresSource);
    EXPECT_EQ(error.description(), c.message);
  }
  db_.ExecuteSQL("INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId) VALUES (1, 2)");
  const AutomationError duplicate = ErrorOf([&] {
    db_.ExecuteSQL(
        "INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId) VALUES (1, 2)");
  });
  EXPECT_EQ(duplicate.source(), kPostgresSource);
  EXPECT_NE(duplicate.description().find("duplicate key"), std::string::npos);
}

TEST_F(PostgresCatalogTest, WritersAtOnceLoseNothingAndNeverShareAName) {
  // Two users add folders to the same catalog at the same time, each also trying a name the
  // other tries: every folder of one's own arrives, and each contested name is taken once.
  constexpr int kRounds = 30;
  const auto writer = [&](const std::string& who, std::vector<int32_t>* refused) {
    auto access = DataAccessSQL::Create();
    access->OpenCatalog(connection_string_, "", "");
    for (int round = 0; round < kRounds; ++round) {
      for (const std::string& name :
           {who + std::to_string(round), "Both" + std::to_string(round)}) {
        auto folder = Folder::Create();
        folder->SetName(name);
        try {
          access->AddFolder(folder, "1", true);
        } catch (const AutomationError& e) {
          refused->push_back(e.number());
        }
      }
    }
  };
  std::vector<int32_t> refused_ann;
  std::vector<int32_t> refused_bob;
  std::thread ann(writer, "Ann", &refused_ann);
  std::thread bob(writer, "Bob", &refused_bob);
  ann.join();
  bob.join();
  std::vector<int32_t> refused = refused_ann;
  refused.insert(refused.end(), refused_bob.begin(), refused_bob.end());
  EXPECT_EQ(refused, std::vector<int32_t>(kRounds, err::kFolderNameNotUnique));
  for (int round = 0; round < kRounds; ++round) {
    for (const std::string& name : {"Ann" + std::to_string(round), "Bob" + std::to_string(round),
                                    "Both" + std::to_string(round)}) {
      EXPECT_EQ(Single(db_, "SELECT count(*) FROM Folder WHERE sName='" + name + "'"), "1") << name;
    }
  }
  EXPECT_EQ(Single(db_, "SELECT count(DISTINCT lFolderID) FROM Folder"),
            std::to_string(1 + 3 * kRounds));
}

}  // namespace
}  // namespace clipcat
