#include "store/postgres_backend.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "store/blob_field.h"
#include "store/catalog_schema.h"
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

namespace clipcat::testing {
namespace {

using Texts = std::vector<std::string>;

Texts Column(DBConnection& db, const std::string& sql, size_t max = 0) {
  Recordset rs = db.GetRecordsetRO(sql, max);
  Texts values;
  for (; !rs.Eof(); rs.MoveNext()) values.push_back(rs.Value(rs.FieldName(0)).ToText());
  return values;
}

std::string Single(DBConnection& db, const std::string& sql) {
  const Texts values = Column(db, sql);
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
    connection_string_ = server->ConnectionString(server->CreateDatabase());
    CreateServerCatalog(connection_string_, "Team");
    db_.OpenConnection(connection_string_, "", "");
    sqlite_.OpenConnection(file_.connection_string(), "", "");
  }

  ScopedDateLocale locale_{DateLocale::English(DateOrder::kDayMonthYear)};
  PostgresTestServer* server_ = nullptr;
  std::string connection_string_;
  DBConnection db_;
  TempCatalog file_;
  DBConnection sqlite_;  // a file catalog to compare with
};

TEST_F(PostgresCatalogTest, NewCatalogHasTheFileCatalogsTablesRootAndKeys) {
  for (const std::string table :
       {"Folder", "Clipping", "ClippingDataType", "GroupClipping", "ClippingGroupClipping",
        "AccessHistory", "ExternalCatalog", "CatalogProperties", "FolderIDGenerator",
        "GroupClippingIDGenerator", "ExternalCatalogIDGenerator"}) {
    Recordset ours = db_.GetRecordsetRO("SELECT * FROM " + table + " WHERE 1=0");
    Recordset theirs = sqlite_.GetRecordsetRO("SELECT * FROM " + table + " WHERE 1=0");
    ASSERT_EQ(ours.FieldCount(), theirs.FieldCount()) << table;
    for (int32_t i = 0; i < ours.FieldCount(); ++i) {
      EXPECT_EQ(ours.FieldName(i), theirs.FieldName(i)) << table;
    }
  }
  Recordset root = db_.GetRecordsetRO("SELECT * FROM Folder");
  ASSERT_EQ(root.RecordCount(), 1);
  EXPECT_EQ(root.Value("lFolderID"), Variant(kRootFolderKey));
  EXPECT_EQ(root.Value("lParentID"), Variant(0));
  EXPECT_EQ(root.Value("sName").ToText(), "Team");
  EXPECT_TRUE(root.IsNull("sDescription"));
  EXPECT_EQ(root.Value("iStatus"), Variant(int16_t{1}));
  EXPECT_EQ(root.Value("bIsLeaf"), Variant(true));
  EXPECT_EQ(root.Value("sGUID").ToText().size(), 32u);
  ASSERT_EQ(root.Value("tUpdated").type(), Variant::Type::kDate);
  EXPECT_LT(Date::Now().serial() - root.Value("tUpdated").ToDate().serial(), 1.0 / 24);
  for (const auto& [property, value] : std::vector<std::pair<std::string, std::string>>{
           {"catalogname", "Team"}, {"FormatVersion", std::to_string(kCatalogFormatVersion)}}) {
    EXPECT_EQ(Single(db_, "SELECT sValue FROM CatalogProperties WHERE sCatalogProperty='" +
                              property + "'"),
              value);
  }
  // Folder keys continue after the root; the other generators start at 1.
  for (const auto& [table, first] : std::vector<std::pair<std::string, int32_t>>{
           {"FolderIDGenerator", 2}, {"GroupClippingIDGenerator", 1}}) {
    for (int32_t draw = 0; draw < 2; ++draw) {
      db_.ExecuteSQL("Insert Into " + table + " (sGUID) Values ( 'g' ) ");
      EXPECT_EQ(Single(db_, "Select lID From " + table + " Where sGUID='G'"),
                std::to_string(first + draw));
      db_.ExecuteSQL("Delete From " + table + " Where sGUID='g'");
    }
  }
  // A second catalog is refused and the first stays as it was.
  const AutomationError again = ErrorOf([&] { CreateServerCatalog(connection_string_, "Other"); });
  EXPECT_EQ(again.number(), err::kDatabaseError);
  EXPECT_NE(again.description().find("already holds a catalog"), std::string::npos);
  EXPECT_EQ(Column(db_, "SELECT sName FROM Folder"), Texts{"Team"});
}

TEST_F(PostgresCatalogTest, FailedCreationLeavesNothingBehind) {
  const std::string other = server_->CreateDatabase();
  const std::string target = server_->ConnectionString(other);
  EXPECT_EQ(ErrorOf([&] { CreateServerCatalog(target, "   "); }).number(),
            err::kInvalidProcedureCall);
  EXPECT_EQ(ErrorOf([&] { CreateServerCatalog("Provider=SQLOLEDB;Server=db1", "X"); }).number(),
            err::kProviderNotFound);
  // A type that takes the name of a table the catalog needs makes the deployment fail half-way:
  // the extension it had installed goes again with everything else.
  ASSERT_EQ(server_->Admin("CREATE TYPE GroupClipping AS (x integer)", other), "");
  const AutomationError failed = ErrorOf([&] { CreateServerCatalog(target, "X"); });
  EXPECT_EQ(failed.number(), err::kDatabaseError);
  EXPECT_EQ(failed.source(), kPostgresSource);
  DBConnection db;
  db.OpenConnection(target, "", "");
  EXPECT_EQ(Single(db, "SELECT count(*) FROM pg_catalog.pg_tables WHERE schemaname='public'"), "0");
  EXPECT_EQ(Single(db, "SELECT count(*) FROM pg_catalog.pg_extension WHERE extname='citext'"), "0");
  ASSERT_EQ(server_->Admin("DROP TYPE GroupClipping", other), "");
  CreateServerCatalog(target, "X");
  EXPECT_EQ(Column(db, "SELECT sName FROM Folder"), Texts{"X"});
}

TEST_F(PostgresCatalogTest, SessionSettingsHoldAndValuesReadBackTyped) {
  EXPECT_EQ(Single(db_, "SELECT pg_catalog.current_setting('statement_timeout') AS t"), "10s");
  Recordset rs = db_.GetRecordsetRO(
      "SELECT count(*) AS n, 2.5::float8 AS d, 7::smallint AS i, NULL AS z,"
      " 3000000000::bigint AS big FROM Folder");
  EXPECT_EQ(rs.Value("n"), Variant(1));
  EXPECT_EQ(rs.Value("d"), Variant(2.5));
  EXPECT_EQ(rs.Value("i"), Variant(int16_t{7}));
  EXPECT_TRUE(rs.IsNull("z"));
  EXPECT_EQ(rs.Value("big").ToDouble(), 3000000000.0);
  // Standard strings: a backslash is a plain character; a doubled quote is one quote.
  EXPECT_EQ(Single(db_, "SELECT 'a\\b''c' AS t"), "a\\b'c");
  // The numbers the store writes for booleans are read as booleans.
  AddFolder(db_, 2, "F", Date::Now());
  for (const auto& [number, expected] :
       std::vector<std::pair<std::string, bool>>{{"0", false}, {"-1", true}, {"1", true}}) {
    db_.ExecuteSQL("UPDATE Folder Set bIsLeaf=" + number + " WHERE lFolderID=2");
    EXPECT_EQ(db_.GetRecordsetRO("SELECT bIsLeaf FROM Folder WHERE lFolderID=2").Value("bIsLeaf"),
              Variant(expected))
        << number;
  }
  EXPECT_EQ(Column(db_, "SELECT lFolderID FROM Folder WHERE bIsLeaf = -1 ORDER BY lFolderID"),
            (Texts{"1", "2"}));
  EXPECT_EQ(Column(db_, "SELECT lFolderID FROM Folder WHERE 0 = bIsLeaf"), Texts{});
  // So are the rows a recordset answers, up to its maximum.
  for (size_t max = 0; max <= 3; ++max) {
    EXPECT_EQ(Column(db_, "SELECT lFolderID FROM Folder ORDER BY lFolderID DESC", max).size(),
              max == 0 ? 2u : std::min<size_t>(max, 2))
        << max;
  }
}

TEST_F(PostgresCatalogTest, DatesCompareInTimeOrderAndDatediffCountsBoundaries) {
  std::vector<Date> dates;
  for (const DateParts& parts : std::vector<DateParts>{{2019, 12, 31, 23, 59, 59},
                                                       {2020, 1, 1, 0, 0, 0},
                                                       {2020, 2, 29, 12, 0, 0},
                                                       {2020, 3, 1, 0, 0, 1},
                                                       {2020, 12, 27, 0, 0, 0},
                                                       {2021, 1, 2, 23, 59, 59},
                                                       {1999, 6, 15, 8, 30, 0}}) {
    dates.push_back(*Date::FromParts(parts));
  }
  for (size_t i = 0; i < dates.size(); ++i) {
    AddFolder(db_, static_cast<int32_t>(10 + i), "F" + std::to_string(i), dates[i]);
  }
  const std::vector<std::string> intervals = {"yyyy", "q", "m", "y", "d", "w", "ww", "h", "n", "s"};
  for (const Date& a : dates) {
    size_t later = 0;
    for (const Date& other : dates) later += other.serial() >= a.serial() ? 1 : 0;
    EXPECT_EQ(Column(db_, "Select lFolderId From Folder Where tUpdated >= " + SqlDate(a) +
                              " AND lFolderID > 1")
                  .size(),
              later)
        << FormatIsoDate(a);
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
            (Texts{"12", "13", "14", "15"}));
  EXPECT_TRUE(
      db_.GetRecordsetRO("SELECT Datediff('d', NULL, " + SqlDate(dates[0]) + ") AS n").IsNull("n"));
  EXPECT_EQ(ErrorOf([&] {
              db_.GetRecordsetRO("SELECT Datediff('fortnight', tUpdated, tUpdated) FROM Folder");
            }).description(),
            "Invalid procedure call or argument");
  // A name that looks like a date is not a date.
  AddFolder(db_, 30, "12:00:00 1 Jan 2020", dates[0]);
  EXPECT_EQ(Single(db_, "SELECT lFolderID FROM Folder WHERE sName = '12:00:00 1 Jan 2020'"), "30");
}

TEST_F(PostgresCatalogTest, TextComparesAsAFileCatalogComparesIt) {
  const Texts names = {"apple",
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
    AddFolder(sqlite_, key++, name, Date::Now());
  }
  const std::vector<std::pair<std::string, size_t>> cases = {
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
  for (const auto& [where, count] : cases) {
    const std::string sql =
        "SELECT sName FROM Folder WHERE lFolderID > 1 AND " + where + " ORDER BY sName, lFolderID";
    const Texts ours = Column(db_, sql);
    EXPECT_EQ(ours.size(), count) << where;
    EXPECT_EQ(ours, Column(sqlite_, sql)) << where;
  }
  const std::string order =
      "SELECT sName FROM Folder WHERE lFolderID > 1 ORDER BY sName DESC, lFolderID";
  EXPECT_EQ(Column(db_, order), Column(sqlite_, order));
}

TEST_F(PostgresCatalogTest, OnlyTheFirstStatementEverRunsAndServerErrorsKeepTheirMessage) {
  for (const std::string sql :
       {"DELETE FROM Folder; DROP TABLE Clipping", "SELECT 1 /* ; */ ; DELETE FROM Folder",
        "UPDATE Folder SET sName='x';\n-- c\nDELETE FROM Folder",
        "SELECT 'a;'; DELETE FROM Folder WHERE sName=';'"}) {
    const AutomationError error = ErrorOf([&] { db_.ExecuteSQL(sql); });
    EXPECT_EQ(error.number(), err::kDatabaseError) << sql;
    EXPECT_EQ(error.source(), kPostgresSource);
    EXPECT_EQ(error.description(), "Characters found after end of SQL statement.") << sql;
    EXPECT_EQ(ErrorOf([&] { db_.GetRecordsetRO(sql); }).number(), err::kDatabaseError);
  }
  EXPECT_EQ(Column(db_, "SELECT count(*) FROM Clipping ; -- done\n ;"), Texts{"0"});
  EXPECT_EQ(ErrorOf([&] { db_.ExecuteSQL("-- nothing"); }).description(),
            "The statement text is empty.");
  const std::string hostile = "x'; DROP TABLE Folder; --\\";
  AddFolder(db_, 5, hostile, Date::Now());
  EXPECT_EQ(Single(db_, "SELECT sName FROM Folder WHERE lFolderID=5"), hostile);
  // Below the store's check the server refuses a second statement in the same call too.
  PostgresSession session(*PostgresParametersFor(connection_string_, "", ""));
  EXPECT_EQ(ErrorOf([&] { session.Run("SELECT 1; DELETE FROM Folder"); }).number(),
            err::kDatabaseError);
  EXPECT_EQ(Column(db_, "SELECT sName FROM Folder ORDER BY lFolderID"), (Texts{"Team", hostile}));
  for (const auto& [sql, message] : std::vector<std::pair<std::string, std::string>>{
           {"SELECT * FROM NoSuchTable", "relation \"nosuchtable\" does not exist"},
           {"SELEKT 1", "syntax error at or near \"SELEKT\""},
           {"INSERT INTO Folder (lFolderID) VALUES (5)", "duplicate key"}}) {
    const AutomationError error = ErrorOf([&] { db_.ExecuteSQL(sql); });
    EXPECT_EQ(error.number(), -2147467259);
    EXPECT_EQ(error.source(), "PostgreSQL");
    EXPECT_EQ(error.description().find(message), 0u) << error.description();
  }
}

TEST_F(PostgresCatalogTest, TransactionsNestAndOutliveFailedStatements) {
  const auto keys = [&] { return Column(db_, "SELECT lFolderID FROM Folder ORDER BY lFolderID"); };
  db_.BeginTrans();
  AddFolder(db_, 2, "a", Date::Now());
  db_.BeginTrans();
  AddFolder(db_, 3, "b", Date::Now());
  db_.RollbackTrans();
  // A failed statement undoes only itself; the transaction goes on.
  EXPECT_EQ(ErrorOf([&] { db_.ExecuteSQL("INSERT INTO NoSuchTable VALUES (1)"); }).number(),
            err::kDatabaseError);
  EXPECT_EQ(ErrorOf([&] { AddFolder(db_, 2, "duplicate key", Date::Now()); }).number(),
            err::kDatabaseError);
  db_.BeginTrans();
  AddFolder(db_, 4, "c", Date::Now());
  db_.CommitTrans();
  DBConnection other;  // another session sees nothing of it before the commit
  other.OpenConnection(connection_string_, "", "");
  EXPECT_EQ(Column(other, "SELECT lFolderID FROM Folder"), Texts{"1"});
  db_.CommitTrans();
  EXPECT_EQ(keys(), (Texts{"1", "2", "4"}));
  EXPECT_EQ(Column(other, "SELECT lFolderID FROM Folder ORDER BY lFolderID"), keys());
  for (const auto& end : {+[](DBConnection& db) { db.CommitTrans(); },
                          +[](DBConnection& db) { db.RollbackTrans(); }}) {
    EXPECT_EQ(ErrorOf([&] { end(db_); }).source(), kPostgresSource);
  }
  // Closing drops an open transaction.
  db_.BeginTrans();
  AddFolder(db_, 9, "h", Date::Now());
  db_.CloseConnection();
  db_.OpenConnection(connection_string_, "", "");
  EXPECT_EQ(keys(), (Texts{"1", "2", "4"}));
}

TEST_F(PostgresCatalogTest, LongBinaryValuesRoundTripThroughTheUpdatableRecordset) {
  const auto bytes_of = [](size_t size) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 37 + size) % 256);
    return bytes;
  };
  const std::vector<size_t> sizes = {1, 4095, 4096, 4097, 8193, 100000};
  const std::string text =
      "Gr\xC3\xBC\xC3\x9F"
      "e \xF0\x9F\x98\x80";
  UpdatableRecordset rs =
      db_.GetRecordsetRW("SELECT * FROM ClippingDataType WHERE lClippingID=NULL");
  for (size_t size : sizes) {
    rs.AddNew();
    rs.SetValue("lClippingID", Variant(static_cast<int32_t>(size)));
    rs.SetValue("bIsCompressed", Variant(true));
    WriteBlobBytes(bytes_of(size), rs, "ClippingData");
    rs.Update();
  }
  rs.AddNew();
  rs.SetValue("lClippingID", Variant(0));
  WriteBlobBytes("", rs, "ClippingData");  // no bytes store Null
  rs.Update();
  rs.AddNew();
  rs.SetValue("lClippingID", Variant(-1));
  WriteBlobField(text, rs, "ClippingData");
  rs.Update();
  for (size_t size : sizes) {
    Recordset row = db_.GetRecordsetRO("SELECT * FROM ClippingDataType WHERE lClippingID=" +
                                       std::to_string(size));
    EXPECT_EQ(ReadBlobBytes(row, "ClippingData"), bytes_of(size)) << size;
    EXPECT_EQ(row.Value("bIsCompressed"), Variant(true));
  }
  EXPECT_TRUE(db_.GetRecordsetRO("SELECT * FROM ClippingDataType WHERE lClippingID=0")
                  .IsNull("ClippingData"));
  Recordset read = db_.GetRecordsetRO("SELECT * FROM ClippingDataType WHERE lClippingID=-1");
  EXPECT_EQ(ReadBlobField(read, "ClippingData"), text);
  const auto count = [&] { return Single(db_, "SELECT count(*) FROM ClippingDataType"); };
  // A value the column cannot take fails the row alone; added rows follow the caller's
  // transaction.
  rs.AddNew();
  rs.SetValue("lClippingID", Variant(std::string("not a number")));
  EXPECT_EQ(ErrorOf([&] { rs.Update(); }).number(), err::kDatabaseError);
  db_.BeginTrans();
  rs.AddNew();
  rs.SetValue("lClippingID", Variant(79));
  rs.Update();
  EXPECT_EQ(count(), std::to_string(sizes.size() + 3));
  db_.RollbackTrans();
  EXPECT_EQ(count(), std::to_string(sizes.size() + 2));
  rs.Close();
  // Other column types take the automation values; text reaches the row as it is.
  UpdatableRecordset folders = db_.GetRecordsetRW("SELECT * FROM Folder WHERE lFolderID=0");
  const std::string hostile = "'); DROP TABLE Folder; --";
  folders.AddNew();
  folders.SetValue("lFolderID", Variant(50));
  folders.SetValue("sName", Variant(hostile));
  folders.SetValue("bIsLeaf", Variant(false));
  folders.SetValue("iStatus", Variant(static_cast<int16_t>(3)));
  folders.SetValue("tUpdated", Variant(*Date::FromParts({2021, 5, 6, 7, 8, 9})));
  folders.Update();
  Recordset row = db_.GetRecordsetRO("SELECT * FROM Folder WHERE lFolderID=50");
  EXPECT_EQ(row.Value("sName").ToText(), hostile);
  EXPECT_EQ(row.Value("bIsLeaf"), Variant(false));
  EXPECT_EQ(row.Value("iStatus").ToLong(), 3);
  EXPECT_EQ(FormatIsoDate(row.Value("tUpdated").ToDate()), "2021-05-06 07:08:09");
  EXPECT_EQ(ErrorOf([&] { db_.GetRecordsetRW("SELECT count(*) FROM Folder"); }).number(),
            err::kDatabaseError);
}

}  // namespace
}  // namespace clipcat::testing
