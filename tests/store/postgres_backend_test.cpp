#include "store/postgres_backend.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "store/blob_field.h"
#include "store/catalog_schema.h"
#include "store/db_connection.h"
#include "store/postgres_session.h"
#include "support/postgres_test_server.h"
#include "temp_catalog.h"
#include "util/date.h"
#include "util/date_locale.h"
#include "util/error_of.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

using Rows = std::vector<std::string>;

// The rows of `sql`, each as its values' texts joined by "|", a Null as "(null)"; with
// `typed`, each value led by the number of its automation type.
Rows Dump(DBConnection& db, const std::string& sql, bool typed = false) {
  Recordset rs = db.GetRecordsetRO(sql);
  Rows rows;
  for (; !rs.Eof(); rs.MoveNext()) {
    std::string row;
    for (int32_t i = 0; i < rs.FieldCount(); ++i) {
      const Variant value = rs.Value(rs.FieldName(i));
      if (typed) row += std::to_string(static_cast<int>(value.type())) + ":";
      row += (value.IsNull() ? "(null)" : value.ToText()) + "|";
    }
    rows.push_back(row);
  }
  return rows;
}

void AddFolder(DBConnection& db, int32_t key, const std::string& name, const Date& updated) {
  db.ExecuteSQL(
      "INSERT INTO Folder ( lFolderID, sGuid, lParentID, sName, sDescription, "
      "lExternalCatalogId, bIsLeaf, bIsOffline, iStatus, tUpdated ) Values ( " +
      SqlNumber(key) + ", 'G" + std::to_string(key) + "', 1, " + SqlText(name) +
      ", Null, 0, 1, 0, 1, " + SqlDate(updated) + " )");
}

// A new server catalog named "Team", `db_` on it, and `sqlite_` on a new file catalog whose
// answers the server's must equal.
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

  // Runs `sql` on both catalogs and expects the same rows.
  Rows ExpectSame(const std::string& sql, bool typed = false) {
    const Rows ours = Dump(db_, sql, typed);
    EXPECT_EQ(ours, Dump(sqlite_, sql, typed)) << sql;
    return ours;
  }

  ScopedDateLocale locale_{DateLocale::English(DateOrder::kDayMonthYear)};
  PostgresTestServer* server_ = nullptr;
  std::string connection_string_;
  DBConnection db_;
  TempCatalog file_;
  DBConnection sqlite_;
};

TEST_F(PostgresCatalogTest, NewCatalogHasTheFileCatalogsTablesAndRootAndRefusesASecond) {
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
  ExpectSame(
      "SELECT lFolderID, lParentID, sDescription, lExternalCatalogId, bIsLeaf, bIsOffline, "
      "iStatus, length(sGUID) FROM Folder",
      true);
  EXPECT_EQ(Dump(db_, "SELECT sName FROM Folder"), Rows{"Team|"});
  const Date updated = db_.GetRecordsetRO("SELECT tUpdated FROM Folder").Value("tUpdated").ToDate();
  EXPECT_LT(Date::Now().serial() - updated.serial(), 1.0 / 24);
  EXPECT_EQ(Dump(db_,
                 "SELECT sValue FROM CatalogProperties WHERE sCatalogProperty IN "
                 "('catalogname', 'FormatVersion') ORDER BY sValue"),
            (Rows{std::to_string(kCatalogFormatVersion) + "|", "Team|"}));
  const AutomationError again = ErrorOf([&] { CreateServerCatalog(connection_string_, "Other"); });
  EXPECT_EQ(again.number(), err::kDatabaseError);
  EXPECT_NE(again.description().find("already holds a catalog"), std::string::npos);
  EXPECT_EQ(Dump(db_, "SELECT sName FROM Folder"), Rows{"Team|"});
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
  EXPECT_EQ(Dump(db,
                 "SELECT (SELECT count(*) FROM pg_catalog.pg_tables WHERE schemaname="
                 "'public') + (SELECT count(*) FROM pg_catalog.pg_extension WHERE "
                 "extname='citext')"),
            Rows{"0|"});
  ASSERT_EQ(server_->Admin("DROP TYPE GroupClipping", other), "");
  CreateServerCatalog(target, "X");
  EXPECT_EQ(Dump(db, "SELECT sName FROM Folder"), Rows{"X|"});
}

TEST_F(PostgresCatalogTest, ValuesReadBackTypedAndBooleansTakeTheNumbersTheStoreWrites) {
  EXPECT_EQ(Dump(db_, "SELECT pg_catalog.current_setting('statement_timeout')"), Rows{"10s|"});
  // Standard strings: a backslash is a plain character; a doubled quote is one quote.
  EXPECT_EQ(Dump(db_,
                 "SELECT count(*) AS n, 2.5::float8 AS d, 7::smallint AS i, NULL AS z, "
                 "3000000000::bigint AS big, 'a\\b''c' AS t FROM Folder",
                 true),
            Rows{"4:1|5:2.5|3:7|1:(null)|5:3000000000|7:a\\b'c|"});
  AddFolder(db_, 2, "F", Date::Now());
  for (const auto& [number, set, cleared] : std::vector<std::tuple<std::string, Rows, Rows>>{
           {"0", {"1|"}, {"2|"}}, {"-1", {"1|", "2|"}, {}}, {"1", {"1|", "2|"}, {}}}) {
    db_.ExecuteSQL("UPDATE Folder Set bIsLeaf=" + number + " WHERE lFolderID=2");
    EXPECT_EQ(Dump(db_, "SELECT lFolderID FROM Folder WHERE bIsLeaf = -1 ORDER BY 1"), set);
    EXPECT_EQ(Dump(db_, "SELECT lFolderID FROM Folder WHERE 0 = bIsLeaf"), cleared) << number;
  }
}

TEST_F(PostgresCatalogTest, DatesCompareInTimeOrderAndDatediffCountsAsOnAFileCatalog) {
  std::vector<Date> dates;
  for (const char* text :
       {"2019-12-31 23:59:59", "2020-01-01 00:00:00", "2020-02-29 12:00:00", "2020-03-01 00:00:01",
        "2020-12-27 00:00:00", "2021-01-02 23:59:59", "1999-06-15 08:30:00"}) {
    dates.push_back(*ParseIsoDate(text));
    for (DBConnection* db : {&db_, &sqlite_}) {
      AddFolder(*db, static_cast<int32_t>(dates.size() + 9), "F", dates.back());
    }
  }
  for (const Date& a : dates) {
    EXPECT_EQ(ExpectSame("Select lFolderId From Folder Where tUpdated >= " + SqlDate(a) +
                         " AND lFolderID > 1 ORDER BY 1")
                  .size(),
              static_cast<size_t>(std::count_if(dates.begin(), dates.end(), [&](const Date& d) {
                return d.serial() >= a.serial();
              })));
    ExpectSame("Select lFolderID From Folder Where  Datediff( 's', tUpdated  ," + SqlDate(a) +
               " ) < 0  AND lFolderID > 1 ORDER BY lFolderID");
    for (const Date& b : dates) {
      std::string sql = "SELECT Datediff('d', NULL, " + SqlDate(b) + ") AS n";
      for (const std::string interval : {"yyyy", "q", "m", "y", "d", "w", "ww", "h", "n", "s"}) {
        sql += ", Datediff('" + interval + "', " + SqlDate(a) + ", " + SqlDate(b) + ") AS c_" +
               interval;
      }
      ExpectSame(sql);
    }
  }
  EXPECT_EQ(ErrorOf([&] {
              db_.GetRecordsetRO("SELECT Datediff('fortnight', tUpdated, tUpdated) FROM Folder");
            }).description(),
            "Invalid procedure call or argument");
  // A name that looks like a date is not a date.
  AddFolder(db_, 30, "12:00:00 1 Jan 2020", dates[0]);
  EXPECT_EQ(Dump(db_, "SELECT lFolderID FROM Folder WHERE sName = '12:00:00 1 Jan 2020'"),
            Rows{"30|"});
}

TEST_F(PostgresCatalogTest, TextComparesAsAFileCatalogComparesIt) {
  int32_t key = 10;
  for (const std::string name :
       {"apple", "Banana", "APPLE pie", "\u00C9b\u00E8ne", "\u00E9b\u00E8ne", "a\\b", "50%",
        "under_score", "Zebra", "aB", "Ab"}) {
    AddFolder(db_, key, name, Date::Now());
    AddFolder(sqlite_, key++, name, Date::Now());
  }
  const std::vector<std::pair<std::string, size_t>> cases = {
      {"sName = 'APPLE'", 1},
      {"sName = 'ab'", 2},
      {"sName <> 'ab'", 9},
      {"sName IN ('BANANA', 'zebra')", 2},
      {"sName = '\u00E9B\u00E8NE'", 1},
      {"sName LIKE 'a%'", 5},
      {"sName LIKE '%PIE'", 1},
      {"sName LIKE 'a\\b'", 1},
      {"sName LIKE 'a_b'", 1},
      {"sName LIKE '50\\%' ESCAPE '\\'", 1},
      {"sName LIKE 'under\\_SCORE' ESCAPE '\\'", 1},
      {"sName LIKE '%\\%%' ESCAPE '\\'", 1},
      {"sName > 'b'", 5},
      {"1 = 1", 11}};  // only ASCII letters fold
  for (const auto& [where, count] : cases) {
    EXPECT_EQ(ExpectSame("SELECT sName FROM Folder WHERE lFolderID > 1 AND " + where +
                         " ORDER BY sName DESC, lFolderID")
                  .size(),
              count)
        << where;
  }
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
  EXPECT_EQ(Dump(db_, "SELECT count(*) FROM Clipping ; -- done\n ;"), Rows{"0|"});
  EXPECT_EQ(ErrorOf([&] { db_.ExecuteSQL("-- nothing"); }).description(),
            "The statement text is empty.");
  const std::string hostile = "x'; DROP TABLE Folder; --\\";
  AddFolder(db_, 5, hostile, Date::Now());
  // Below the store's check the server refuses a second statement in the same call too.
  PostgresSession session(*PostgresParametersFor(connection_string_, "", ""));
  EXPECT_EQ(ErrorOf([&] { session.Run("SELECT 1; DELETE FROM Folder"); }).number(),
            err::kDatabaseError);
  EXPECT_EQ(Dump(db_, "SELECT sName FROM Folder ORDER BY lFolderID"),
            (Rows{"Team|", hostile + "|"}));
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
  const std::string keys = "SELECT lFolderID FROM Folder ORDER BY lFolderID";
  db_.BeginTrans();
  AddFolder(db_, 2, "a", Date::Now());
  db_.BeginTrans();
  AddFolder(db_, 3, "b", Date::Now());
  db_.RollbackTrans();
  // A failed statement undoes only itself; the transaction goes on.
  EXPECT_EQ(ErrorOf([&] { AddFolder(db_, 2, "duplicate key", Date::Now()); }).number(),
            err::kDatabaseError);
  db_.BeginTrans();
  AddFolder(db_, 4, "c", Date::Now());
  db_.CommitTrans();
  DBConnection other;  // another session sees nothing of it before the commit
  other.OpenConnection(connection_string_, "", "");
  EXPECT_EQ(Dump(other, keys), Rows{"1|"});
  db_.CommitTrans();
  EXPECT_EQ(Dump(other, keys), (Rows{"1|", "2|", "4|"}));
  EXPECT_EQ(ErrorOf([&] { db_.CommitTrans(); }).source(), kPostgresSource);
  EXPECT_EQ(ErrorOf([&] { db_.RollbackTrans(); }).source(), kPostgresSource);
  // Closing drops an open transaction.
  db_.BeginTrans();
  AddFolder(db_, 9, "h", Date::Now());
  db_.CloseConnection();
  EXPECT_EQ(Dump(other, keys), (Rows{"1|", "2|", "4|"}));
}

TEST_F(PostgresCatalogTest, RecordsetsStopAtTheirMaximumAndLongValuesRoundTrip) {
  for (size_t max = 0; max <= 3; ++max) {
    EXPECT_EQ(
        db_.GetRecordsetRO("SELECT * FROM pg_catalog.generate_series(1, 2)", max).RecordCount(),
        max == 0 || max > 2 ? 2 : static_cast<int32_t>(max));
  }
  const auto bytes_of = [](size_t size) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 37 + size) % 256);
    return bytes;
  };
  const std::vector<size_t> sizes = {0, 1, 4095, 4096, 4097, 8193, 100000};
  const std::string text =
      "Gr\xC3\xBC\xC3\x9F"
      "e \xF0\x9F\x98\x80";
  UpdatableRecordset rs = db_.GetRecordsetRW("SELECT * FROM ClippingDataType WHERE lClippingID=0");
  for (size_t size : sizes) {
    rs.AddNew();
    rs.SetValue("lClippingID", Variant(static_cast<int32_t>(size)));
    rs.SetValue("bIsCompressed", Variant(true));
    WriteBlobBytes(bytes_of(size), rs, "ClippingData");  // no bytes store Null
    rs.Update();
  }
  rs.AddNew();
  rs.SetValue("lClippingID", Variant(-1));
  WriteBlobField(text, rs, "ClippingData");
  rs.Update();
  for (size_t size : sizes) {
    Recordset row = db_.GetRecordsetRO("SELECT * FROM ClippingDataType WHERE lClippingID=" +
                                       std::to_string(size));
    EXPECT_EQ(ReadBlobBytes(row, "ClippingData"), bytes_of(size)) << size;
    EXPECT_EQ(row.IsNull("ClippingData"), size == 0);
    EXPECT_EQ(row.Value("bIsCompressed"), Variant(true));
  }
  Recordset read = db_.GetRecordsetRO("SELECT * FROM ClippingDataType WHERE lClippingID=-1");
  EXPECT_EQ(ReadBlobField(read, "ClippingData"), text);
  // A value the column cannot take fails the row alone; added rows follow the caller's
  // transaction.
  rs.AddNew();
  rs.SetValue("lClippingID", Variant(std::string("not a number")));
  EXPECT_EQ(ErrorOf([&] { rs.Update(); }).number(), err::kDatabaseError);
  db_.BeginTrans();
  rs.AddNew();
  rs.SetValue("lClippingID", Variant(79));
  rs.Update();
  db_.RollbackTrans();
  EXPECT_EQ(Dump(db_, "SELECT count(*) FROM ClippingDataType"),
            Rows{std::to_string(sizes.size() + 1) + "|"});
  // Other column types take the automation values; text reaches the row as it is.
  UpdatableRecordset folders = db_.GetRecordsetRW("SELECT * FROM Folder WHERE lFolderID=0");
  folders.AddNew();
  folders.SetValue("lFolderID", Variant(50));
  folders.SetValue("sName", Variant(std::string("'); DROP TABLE Folder; --")));
  folders.SetValue("bIsLeaf", Variant(false));
  folders.SetValue("iStatus", Variant(static_cast<int16_t>(3)));
  folders.SetValue("tUpdated", Variant(*Date::FromParts({2021, 5, 6, 7, 8, 9})));
  folders.Update();
  EXPECT_EQ(Dump(db_, "SELECT sName, bIsLeaf, iStatus, tUpdated FROM Folder WHERE lFolderID=50"),
            Rows{"'); DROP TABLE Folder; --|False|3|" +
                 Variant(*Date::FromParts({2021, 5, 6, 7, 8, 9})).ToText() + "|"});
  EXPECT_EQ(ErrorOf([&] { db_.GetRecordsetRW("SELECT count(*) FROM Folder"); }).number(),
            err::kDatabaseError);
}

}  // namespace
}  // namespace clipcat::testing
