// Statements that differ only in their literals share one prepared statement with the values
// bound; these tests hold that every result, refusal and error stays what the text as written
// gives. Also the maximum row count of read-only recordsets.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "recording_backend.h"
#include "store/backend_factory.h"
#include "store/catalog_schema.h"
#include "store/db_connection.h"
#include "store/postgres_backend.h"
#include "store/sqlite_backend.h"
#include "store/sqlite_parameters.h"
#include "store/sqlite_session.h"
#include "support/postgres_test_server.h"
#include "temp_catalog.h"
#include "util/date.h"
#include "util/date_locale.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat {
namespace {

using ::clipcat::testing::PostgresTestServer;
using ::clipcat::testing::RecordingBackend;
using ::clipcat::testing::Statements;
using ::clipcat::testing::TempCatalog;

template <typename Call>
AutomationError ErrorOf(Call&& call) {
  try {
    call();
  } catch (const AutomationError& e) {
    return e;
  }
  ADD_FAILURE() << "no error raised";
  return AutomationError(0, "", "");
}

std::vector<std::string> Column(DBConnection& db, const std::string& sql, size_t max = 0) {
  Recordset rs = db.GetRecordsetRO(sql, max);
  std::vector<std::string> values;
  for (; !rs.Eof(); rs.MoveNext()) values.push_back(rs.Value(rs.FieldName(0)).ToText());
  return values;
}

void AddFolder(DBConnection& db, int32_t key, const std::string& name, const std::string& date) {
  db.ExecuteSQL(
      "INSERT INTO Folder ( lFolderID, sGuid, lParentID, sName, sDescription, "
      "lExternalCatalogId, bIsLeaf, bIsOffline, iStatus, tUpdated ) Values ( " +
      SqlNumber(key) + ", 'G" + std::to_string(key) + "', 1, " + SqlText(name) +
      ", Null, 0, 1, 0, 1, '" + date + "' )");
}

// The texts the store splices, and what may be bound of each.
struct Case {
  const char* sql;
  const char* text;  // expected text; "" when the statement is not parameterised at all
  std::vector<std::string> values;  // texts as 'x', integers as digits
};

std::vector<std::string> Describe(const ParameterisedSql& p) {
  std::vector<std::string> out;
  for (const SqlLiteralValue& v : p.values) {
    out.push_back(v.is_text ? "'" + v.text + "'" : std::to_string(v.integer));
  }
  return out;
}

TEST(StatementCache, OnlyValuesBecomeParameters) {
  const std::vector<Case> cases = {
      {"SELECT * From Folder WHERE lFolderId=15", "SELECT * From Folder WHERE lFolderId=?", {"15"}},
      {"SELECT * FROM Folder WHERE sName='it''s' AND lParentID = -7",
       "SELECT * FROM Folder WHERE sName=? AND lParentID = -?",
       {"'it's'", "7"}},
      {"select * from Folder where sName like 'a\\%b%' escape '\\'",
       "select * from Folder where sName like ? escape ?",
       {"'a\\%b%'", "'\\'"}},
      {"SELECT * FROM Folder WHERE lFolderID IN (1, 2,-3) OR sName IN ('x','y')",
       "SELECT * FROM Folder WHERE lFolderID IN (?, ?,-?) OR sName IN (?,?)",
       {"1", "2", "3", "'x'", "'y'"}},
      {"Update Folder Set sName='n', iStatus=3 Where lFolderID=9",
       "Update Folder Set sName=?, iStatus=? Where lFolderID=?",
       {"'n'", "3", "9"}},
      {"Delete From AccessHistory Where sClippingID='P7C15'",
       "Delete From AccessHistory Where sClippingID=?",
       {"'P7C15'"}},
      {"INSERT INTO Folder (lFolderID, sName) VALUES (5, 'a'), (6, '')",
       "INSERT INTO Folder (lFolderID, sName) VALUES (?, ?), (?, ?)",
       {"5", "'a'", "6", "''"}},
      // Names and positions keep their literals: result columns, string names, orderings.
      {"INSERT INTO Folder ('lFolderID', 'sName') VALUES (5, 'a')",
       "INSERT INTO Folder ('lFolderID', 'sName') VALUES (?, ?)",
       {"5", "'a'"}},
      {"SELECT 'a', 1, lower('B') FROM Folder", "SELECT 'a', 1, lower('B') FROM Folder", {}},
      {"SELECT (SELECT 1 FROM Folder WHERE sName = 'x') AS n FROM Folder WHERE lFolderID = 2",
       "SELECT (SELECT 1 FROM Folder WHERE sName = 'x') AS n FROM Folder WHERE lFolderID = ?",
       {"2"}},
      {"SELECT sName FROM 'Folder' WHERE 1 = 1 GROUP BY 1 HAVING count(*) > 0 ORDER BY 1 "
       "LIMIT 5, 10",
       "SELECT sName FROM 'Folder' WHERE ? = ? GROUP BY 1 HAVING count(*) > ? ORDER BY 1 "
       "LIMIT 5, 10",
       {"1", "1", "0"}},
      {"SELECT * FROM Folder a, 'Clipping' WHERE a.lFolderID = 4",
       "SELECT * FROM Folder a, 'Clipping' WHERE a.lFolderID = ?",
       {"4"}},
      // Numbers that are not plain 64-bit integers, and a literal that never closes.
      {"SELECT * FROM Folder WHERE lFolderID = 1.5 OR lFolderID = 0x10 OR lFolderID = "
       "9223372036854775808 OR lFolderID = 9223372036854775807",
       "SELECT * FROM Folder WHERE lFolderID = 1.5 OR lFolderID = 0x10 OR lFolderID = "
       "9223372036854775808 OR lFolderID = ?",
       {"9223372036854775807"}},
      {"SELECT * FROM Folder WHERE sName = 'abc", "SELECT * FROM Folder WHERE sName = 'abc", {}},
  };
  for (const Case& c : cases) {
    const auto p = ParameteriseSql(c.sql);
    ASSERT_TRUE(p.has_value()) << c.sql;
    EXPECT_EQ(p->text, c.text) << c.sql;
    EXPECT_EQ(Describe(*p), c.values) << c.sql;
  }
  for (const char* sql :
       {"CREATE TABLE t (a TEXT DEFAULT 'x')", "DROP TABLE t", "ALTER TABLE t ADD b INT",
        "PRAGMA user_version = 3", "BEGIN IMMEDIATE", "SELECT * FROM Folder WHERE lFolderID = ?",
        "UPDATE Folder SET sName = :name WHERE lFolderID = 1", "", "  -- nothing"}) {
    EXPECT_FALSE(ParameteriseSql(sql).has_value()) << sql;
  }
}

class StatementCacheTest : public ::testing::Test {
 protected:
  void SetUp() override {
    db_.OpenConnection(catalog_.connection_string(), "", "");
    for (int32_t key = 2; key <= 9; ++key) {
      AddFolder(db_, key, "F" + std::to_string(key),
                "2002-04-0" + std::to_string(key) + " 10:00:00");
    }
  }

  ScopedDateLocale locale_{DateLocale::English(DateOrder::kDayMonthYear)};
  TempCatalog catalog_;
  DBConnection db_;
};

TEST_F(StatementCacheTest, EachRunGetsItsOwnValues) {
  // Every order of reuse: up, down, and the same value twice, so that a value left bound from an
  // earlier run would show.
  std::vector<int32_t> keys = {2, 3, 9, 9, 4, 2, 8, 5, 6, 7, 3};
  for (int32_t key : keys) {
    EXPECT_EQ(Column(db_, "SELECT sName FROM Folder WHERE lFolderID=" + std::to_string(key)),
              std::vector<std::string>{"F" + std::to_string(key)});
    EXPECT_EQ(Column(db_, "SELECT lFolderID FROM Folder WHERE sName='F" + std::to_string(key) +
                              "' AND lFolderID > 1"),
              std::vector<std::string>{std::to_string(key)});
  }
  // A value that matches nothing answers no row, not the last match.
  EXPECT_TRUE(Column(db_, "SELECT sName FROM Folder WHERE lFolderID=77").empty());
  for (int32_t key = 2; key <= 9; ++key) {
    db_.ExecuteSQL("UPDATE Folder SET sDescription='d" + std::to_string(key * 10) +
                   "' WHERE lFolderID=" + std::to_string(key));
  }
  EXPECT_EQ(Column(db_, "SELECT sDescription FROM Folder WHERE lFolderID > 1 ORDER BY lFolderID"),
            (std::vector<std::string>{"d20", "d30", "d40", "d50", "d60", "d70", "d80", "d90"}));
}

TEST_F(StatementCacheTest, AwkwardLiteralsRoundTrip) {
  const std::vector<std::string> names = {"it's",    "''", "'",  "a''b'",  "x -- y",
                                          "/* z */", "?",  ":a", "50%_\\", "; DELETE FROM Folder"};
  int32_t key = 20;
  for (const std::string& name : names) {
    AddFolder(db_, key, name, "2003-01-01 00:00:00");
    EXPECT_EQ(Column(db_, "SELECT sName FROM Folder WHERE lFolderID=" + std::to_string(key)),
              std::vector<std::string>{name});
    EXPECT_EQ(Column(db_, "SELECT lFolderID FROM Folder WHERE sName=" + SqlText(name)),
              std::vector<std::string>{std::to_string(key)});
    ++key;
  }
  // Negative numbers, alone and after operators, commas and parentheses.
  db_.ExecuteSQL("UPDATE Folder SET lParentID=-5 WHERE lFolderID=2");
  db_.ExecuteSQL("UPDATE Folder SET lParentID= - 6 WHERE lFolderID=3");
  for (const auto& [where, expected] : std::vector<std::pair<std::string, std::string>>{
           {"lParentID=-5", "2"},
           {"lParentID = -6", "3"},
           {"lParentID IN (-6,-5) AND lFolderID<>3", "2"},
           {"lParentID+-1=(-7)", "3"},
           {"lParentID-1=-6", "2"}}) {
    EXPECT_EQ(Column(db_, "SELECT lFolderID FROM Folder WHERE " + where),
              std::vector<std::string>{expected})
        << where;
  }
  // Catalog dates are translated before they are bound: they compare as dates.
  EXPECT_EQ(Column(db_, "SELECT lFolderID FROM Folder WHERE tUpdated='10:00:00 4 Apr 2002'"),
            std::vector<std::string>{"4"});
  EXPECT_EQ(Column(db_,
                   "SELECT lFolderID FROM Folder WHERE tUpdated > '10:00:00 7 Apr 2002' AND "
                   "tUpdated < '00:00:00 1 Jan 2003' ORDER BY lFolderID"),
            (std::vector<std::string>{"8", "9"}));
  // LIKE with an escape character, and IN lists of each size.
  EXPECT_EQ(Column(db_, "SELECT lFolderID FROM Folder WHERE sName LIKE '50\\%%' ESCAPE '\\'"),
            std::vector<std::string>{"28"});
  EXPECT_TRUE(
      Column(db_, "SELECT lFolderID FROM Folder WHERE sName LIKE '5_\\%' ESCAPE '\\'").empty());
  std::string list;
  for (int32_t k = 2; k <= 9; ++k) {
    list += (list.empty() ? "" : ", ") + std::to_string(k);
    const auto got = Column(db_, "SELECT Count(*) FROM Folder WHERE lFolderID IN (" + list + ")");
    EXPECT_EQ(got, std::vector<std::string>{std::to_string(k - 1)}) << list;
  }
}

TEST_F(StatementCacheTest, OnlyTheFirstStatementEverRuns) {
  const std::string first = "DELETE FROM Folder WHERE lFolderID=2";
  for (const std::string tail :
       {"; DELETE FROM Folder WHERE lFolderID=3", "; SELECT 1", ";; x", " DELETE FROM Folder"}) {
    // Once before the statement alone is kept, once after.
    for (int pass = 0; pass < 2; ++pass) {
      const AutomationError e = ErrorOf([&] { db_.ExecuteSQL(first + tail); });
      EXPECT_EQ(e.number(), err::kDatabaseError);
      EXPECT_EQ(e.source(), "SQLite");
      if (tail != " DELETE FROM Folder") {
        EXPECT_EQ(e.description(), "Characters found after end of SQL statement.") << tail;
      }
      EXPECT_EQ(Column(db_, "SELECT Count(*) FROM Folder WHERE lFolderID IN (2, 3)"),
                std::vector<std::string>{"2"})
          << tail;
      Column(db_, "SELECT * FROM Folder WHERE lFolderID=2");
    }
  }
}

TEST_F(StatementCacheTest, ErrorsNameTheTextAsWritten) {
  // A syntax error near a literal quotes the literal, not the parameter that stood in for it.
  const AutomationError e =
      ErrorOf([&] { db_.GetRecordsetRO("SELECT * FROM Folder WHERE sName = 'a' 'b'"); });
  EXPECT_EQ(e.description(), "near \"'b'\": syntax error");
  const AutomationError unique = ErrorOf([&] { AddFolder(db_, 2, "again", "2002-01-01"); });
  EXPECT_NE(unique.description().find("UNIQUE"), std::string::npos) << unique.description();
  EXPECT_EQ(ErrorOf([&] { Column(db_, "SELECT * FROM NoSuchTable WHERE a = 1"); }).description(),
            "no such table: NoSuchTable");
}

TEST_F(StatementCacheTest, SchemaChangesAreSeenAndDdlIsNotKept) {
  SqliteSession session(catalog_.path());
  auto run = [&](const std::string& sql) {
    SqliteSession::Deadline deadline(session);
    SqliteStatement statement(session, sql);
    return statement.Collect();
  };
  const size_t before = session.statement_cache().size();
  run("CREATE TABLE Extra (lKey INTEGER, tWhen DATETIME)");
  EXPECT_EQ(session.statement_cache().size(), before);
  session.LoadDateColumns();  // what the backend does after a schema change
  const size_t reloaded = session.statement_cache().size();  // the schema query itself
  run("INSERT INTO Extra (lKey, tWhen) VALUES (1, '10:00:00 3 Apr 2002')");
  const size_t kept = session.statement_cache().size();
  EXPECT_EQ(kept, reloaded + 1);
  // The same shape with other values reuses the kept statement.
  run("INSERT INTO Extra (lKey, tWhen) VALUES (2, '11:00:00 3 Apr 2002')");
  EXPECT_EQ(session.statement_cache().size(), kept);
  RowSet rows = run("SELECT * FROM Extra WHERE lKey=2");
  ASSERT_EQ(rows.rows.size(), 1u);
  EXPECT_EQ(rows.columns.size(), 2u);
  EXPECT_EQ(FormatIsoDate(rows.rows[0][1].value.ToDate()), "2002-04-03 11:00:00");

  // A change of schema through another connection: the kept statement sees the new columns.
  DBConnection other;
  other.OpenConnection(catalog_.connection_string(), "", "");
  other.ExecuteSQL("ALTER TABLE Extra ADD COLUMN sNote TEXT");
  rows = run("SELECT * FROM Extra WHERE lKey=1");
  ASSERT_EQ(rows.rows.size(), 1u);
  EXPECT_EQ(rows.columns.size(), 3u);
  other.ExecuteSQL("DROP TABLE Extra");
  const AutomationError gone = ErrorOf([&] { run("SELECT * FROM Extra WHERE lKey=1"); });
  EXPECT_EQ(gone.description(), "no such table: Extra");
  session.LoadDateColumns();
  EXPECT_EQ(session.statement_cache().size(), reloaded);
}

TEST_F(StatementCacheTest, KeepsFewStatementsAndSharesNoneInUse) {
  SqliteSession session(catalog_.path());
  for (int shape = 0; shape < 3 * static_cast<int>(kStatementCacheCapacity); ++shape) {
    SqliteSession::Deadline deadline(session);
    SqliteStatement statement(session,
                              "SELECT lFolderID AS c" + std::to_string(shape) +
                                  " FROM Folder WHERE lFolderID=" + std::to_string(2 + shape % 8));
    const RowSet rows = statement.Collect();
    ASSERT_EQ(rows.rows.size(), 1u);
    EXPECT_EQ(rows.rows[0][0].value.ToText(), std::to_string(2 + shape % 8));
    EXPECT_LE(session.statement_cache().size(), kStatementCacheCapacity + 1);
  }
  // Two statements of one text at once: each steps through its own rows, and one left
  // half-read starts from the first row when its text runs again.
  SqliteSession::Deadline deadline(session);
  const std::string sql = "SELECT lFolderID FROM Folder WHERE lFolderID > 1 ORDER BY lFolderID";
  {
    SqliteStatement outer(session, sql);
    ASSERT_TRUE(outer.Step());
    EXPECT_EQ(sqlite3_column_int(outer.get(), 0), 2);
    SqliteStatement inner(session, sql);
    EXPECT_NE(inner.get(), outer.get());
    EXPECT_EQ(inner.Collect().rows.size(), 8u);
    ASSERT_TRUE(outer.Step());
    EXPECT_EQ(sqlite3_column_int(outer.get(), 0), 3);
  }
  SqliteStatement again(session, sql);
  ASSERT_TRUE(again.Step());
  EXPECT_EQ(sqlite3_column_int(again.get(), 0), 2);
}

TEST_F(StatementCacheTest, RecordsetsStopAtTheirMaximum) {
  const std::string sql =
      "SELECT lFolderID FROM Folder WHERE lFolderID > 1 ORDER BY lFolderID DESC";
  const std::vector<std::string> all = Column(db_, sql);
  ASSERT_EQ(all.size(), 8u);
  // Through the SQLite backend, and through a backend that only answers whole results.
  Statements log;
  DBConnection recorded([&](const std::string& cs, const std::string&, const std::string&) {
    return std::make_unique<RecordingBackend>(OpenBackend(cs, "", ""), &log);
  });
  recorded.OpenConnection(catalog_.connection_string(), "", "");
  for (DBConnection* db : {&db_, &recorded}) {
    for (size_t max = 0; max <= all.size() + 2; ++max) {
      const size_t expected = max == 0 ? all.size() : std::min(max, all.size());
      EXPECT_EQ(Column(*db, sql, max),
                std::vector<std::string>(all.begin(), all.begin() + static_cast<long>(expected)))
          << max;
    }
  }
  EXPECT_EQ(log.size(), all.size() + 3);
}

TEST(PostgresStatementCache, RecordsetsStopAtTheirMaximum) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  const std::string connection_string = server->ConnectionString(server->CreateDatabase());
  CreateServerCatalog(connection_string, "Team");
  DBConnection db;
  db.OpenConnection(connection_string, "", "");
  for (int32_t key = 2; key <= 6; ++key) {
    AddFolder(db, key, "F" + std::to_string(key), "2002-04-0" + std::to_string(key) + " 10:00:00");
  }
  const std::string sql = "SELECT sName FROM Folder WHERE lFolderID > 1 ORDER BY tUpdated DESC";
  const std::vector<std::string> all = {"F6", "F5", "F4", "F3", "F2"};
  for (size_t max = 0; max <= all.size() + 1; ++max) {
    const size_t expected = max == 0 ? all.size() : std::min(max, all.size());
    EXPECT_EQ(Column(db, sql, max),
              std::vector<std::string>(all.begin(), all.begin() + static_cast<long>(expected)))
        << max;
  }
}

}  // namespace
}  // namespace clipcat
