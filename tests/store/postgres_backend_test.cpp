#include "engine/postgres_backend.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/db_connection.h"
#include "engine/postgres_session.h"
#include "store/catalog_schema.h"
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

// The rows of `sql` as their values joined by "|" ("(null)" for Null), with `typed` each led by
// the number of its automation type.
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

// `db_` on a new server catalog named "Team"; `sqlite_` on a file catalog to compare with.
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
    std::string ours, theirs;
    Recordset a = db_.GetRecordsetRO("SELECT * FROM " + table + " WHERE 1=0");
    Recordset b = sqlite_.GetRecordsetRO("SELECT * FROM " + table + " WHERE 1=0");
    for (int32_t i = 0; i < a.FieldCount(); ++i) ours += a.FieldName(i) + " ";
    for (int32_t i = 0; i < b.FieldCount(); ++i) theirs += b.FieldName(i) + " ";
    EXPECT_EQ(ours, theirs);
  }
  ExpectSame(
      "SELECT lFolderID, lParentID, sDescription, lExternalCatalogId, bIsLeaf, bIsOffline, "
      "iStatus, length(sGUID) FROM Folder",
      true);
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

TEST_F(PostgresCatalogTest, SessionSettingsHoldAndValuesReadBackTyped) {
  EXPECT_EQ(Dump(db_, "SELECT pg_catalog.current_setting('statement_timeout')"), Rows{"10s|"});
  // Standard strings: a backslash is a plain character; a doubled quote is one quote.
  EXPECT_EQ(Dump(db_,
                 "SELECT count(*) AS n, 2.5::float8 AS d, 7::smallint AS i, NULL AS z, "
                 "3000000000::bigint AS big, 'a\\b''c' AS t FROM Folder",
                 true),
            Rows{"4:1|5:2.5|3:7|1:(null)|5:3000000000|7:a\\b'c|"});
  for (size_t max = 0; max <= 3; ++max) {  // a recordset stops at its maximum
    EXPECT_EQ(
        db_.GetRecordsetRO("SELECT * FROM pg_catalog.generate_series(1, 2)", max).RecordCount(),
        max == 0 || max > 2 ? 2 : static_cast<int32_t>(max));
  }
}

TEST_F(PostgresCatalogTest, OnlyTheFirstStatementEverRunsAndServerErrorsKeepTheirMessage) {
  for (const std::string sql :
       {"DELETE FROM Folder; DROP TABLE Clipping", "SELECT 1 /* ; */ ; DELETE FROM Folder",
        "UPDATE Folder SET sName='x';\n-- c\nDELETE FROM Folder",
        "SELECT 'a;'; DELETE FROM Folder WHERE sName=';'"}) {
    const AutomationError error = ErrorOf([&, sql = sql] { db_.ExecuteSQL(sql); });
    EXPECT_EQ(std::to_string(error.number()) + " " + error.source() + ": " + error.description(),
              "-2147467259 PostgreSQL: Characters found after end of SQL statement.")
        << sql;
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
    const AutomationError error = ErrorOf([&, sql = sql] { db_.ExecuteSQL(sql); });
    EXPECT_EQ((std::to_string(error.number()) + " " + error.source() + ": " + error.description())
                  .rfind("-2147467259 PostgreSQL: " + message, 0),
              0u)
        << error.description();
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
  EXPECT_EQ(ErrorOf([&] { db_.RollbackTrans(); }).source(), kPostgresSource);  // none open
  // Closing drops an open transaction.
  db_.BeginTrans();
  AddFolder(db_, 9, "h", Date::Now());
  db_.CloseConnection();
  EXPECT_EQ(Dump(other, keys), (Rows{"1|", "2|", "4|"}));
}

}  // namespace
}  // namespace clipcat::testing
