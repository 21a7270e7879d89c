// The engines must behave alike below the store: each test runs on a SQLite file database and on
// a database of the test process's PostgreSQL server, against a plain table of its own, so that
// a difference between the engines fails exactly one of its two instances. Where the engines
// differ by design, a test pins what both promise and what the caller must do about the rest.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "engine/engine_database.h"
#include "util/error_of.h"

namespace clipcat::testing {
namespace {

class EngineConformance : public EngineDatabase {};

TEST_P(EngineConformance, ValuesRoundTripWithTheirTypes) {
  const std::string text = "Ärger über „Zitate“ — O'Brien, 日本, 😀";
  const std::string columns = "lId, iSmall, nBig, sName, sCode, tWhen, bFlag, dAmount";
  db_.ExecuteSQL("INSERT INTO Item (" + columns +
                 ") VALUES (2147483647, 32767, 9223372036854775807, " + SqlText(text) +
                 ", '', '14:05:09 3 Apr 2002', -1, 0.5)");
  db_.ExecuteSQL("INSERT INTO Item (" + columns +
                 ") VALUES (-2147483648, -32768, -9223372036854775808, NULL, NULL, "
                 "'2002-04-03 14:05:10', 0, NULL)");
  // Long values go in pieces: more than one piece, with zero bytes in the first and the last.
  std::string bytes(kBlobChunkBytes + 904, '\0');
  for (size_t i = 1; i + 1 < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 % 256);
  {
    UpdatableRecordset rs = db_.GetRecordsetRW("SELECT * FROM Item WHERE 1=0");
    AddRow(rs,
           {{"LID", Variant(7)},
            {"iSmall", Variant(int16_t{-1})},
            {"nBig", Variant(2147483648.0)},
            {"sName", Variant(text)},
            {"sCode", Variant::Null()},
            {"tWhen", Variant(At(9999, 12, 31, 23, 59, 59))},
            {"bFlag", Variant(true)}},
           bytes);
    // Date text for a date column; no bytes store Null.
    AddRow(rs, {{"lId", Variant(8)}, {"tWhen", Variant("10:00:00 1 Feb 2003")}}, "");
    rs.AddNew();
    rs.SetValue("lId", Variant(9));
    rs.SetValue("tWhen", Variant(At(100, 1, 1, 12)));
    WriteBlobField(text, rs, "oData");
    rs.Update();
  }
  Recordset rs = db_.GetRecordsetRO("SELECT " + columns + " FROM Item ORDER BY lId");
  for (const std::string& row : std::vector<std::string>{
           "Long -2147483648|Integer -32768|Double -9223372036854775808|Null|Null|"
           "Date 2002-04-03 14:05:10|Boolean False|Null|",
           "Long 7|Integer -1|Double 2147483648|String " + text +
               "|Null|Date 9999-12-31 23:59:59|Boolean True|Null|",
           "Long 8|Null|Null|Null|Null|Date 2003-02-01 10:00:00|Null|Null|",
           "Long 9|Null|Null|Null|Null|Date 0100-01-01 12:00:00|Null|Null|",
           "Long 2147483647|Integer 32767|Double 9223372036854775808|String " + text +
               "|String |Date 2002-04-03 14:05:09|Boolean True|Double 0.5|"}) {
    ASSERT_FALSE(rs.Eof());
    EXPECT_EQ(TypedRow(rs), row);
    rs.MoveNext();
  }
  Recordset data = db_.GetRecordsetRO("SELECT oData FROM Item WHERE lId > 0 ORDER BY lId");
  EXPECT_EQ(ReadBlobBytes(data, "oData"), bytes);
  data.MoveNext();
  EXPECT_TRUE(data.IsNull("oData"));
  data.MoveNext();
  EXPECT_EQ(ReadBlobField(data, "oData"), text);
  // 64-bit values read as the nearest Double but are kept exactly.
  EXPECT_EQ(Where("nBig = 9223372036854775807"), "2147483647,");
  EXPECT_EQ(Where("nBig = 9223372036854775806"), "");
  EXPECT_EQ(Where("nBig = -9223372036854775808"), "-2147483648,");
  // Dates compare as dates whichever way the literal is written.
  EXPECT_EQ(Where("tWhen > '14:05:09 3 Apr 2002'"), "-2147483648,7,8,");
  EXPECT_EQ(Where("tWhen BETWEEN '2002-04-03' AND '00:00:00 4 Apr 2002'"),
            "-2147483648,2147483647,");
  EXPECT_EQ(Where("tWhen < '1 Jan 1900'"), "9,");
}

TEST_P(EngineConformance, SnapshotsCountMoveFindFieldsWithoutCaseAndOutliveTheConnection) {
  for (int32_t key = 1; key <= 3; ++key) Add(key, "N" + std::to_string(key));
  Recordset rs = db_.GetRecordsetRO("SELECT lId, sName AS sLabel FROM Item ORDER BY lId DESC");
  Recordset first_two = db_.GetRecordsetRO("SELECT lId FROM Item ORDER BY lId", 2);
  Recordset empty = db_.GetRecordsetRO("SELECT * FROM Item WHERE lId > 3");
  db_.CloseConnection();
  EXPECT_EQ(rs.RecordCount(), 3);
  EXPECT_EQ(first_two.RecordCount(), 2);
  EXPECT_TRUE(rs.HasField("LID") && rs.HasField("slabel") && !rs.HasField("sName"));
  const Recordset copy = rs;  // keeps its own position
  std::string seen;
  EXPECT_FALSE(rs.Bof());
  for (; !rs.Eof(); rs.MoveNext()) seen += TypedRow(rs);
  EXPECT_EQ(seen, "Long 3|String N3|Long 2|String N2|Long 1|String N1|");
  EXPECT_EQ(ErrorOf([&] { rs.MoveNext(); }).number(), err::kNoCurrentRecord);
  EXPECT_EQ(ErrorOf([&] { rs.Value("lId"); }).number(), err::kNoCurrentRecord);
  EXPECT_EQ(Typed(copy.Value("lid")), "Long 3");
  EXPECT_EQ(ErrorOf([&] { copy.Value("sName"); }).number(), err::kFieldNotFound);
  first_two.MoveNext();
  EXPECT_EQ(Typed(first_two.Value("LId")), "Long 2");
  // No rows: at BOF and EOF together, with every column still named.
  EXPECT_TRUE(empty.Bof() && empty.Eof() && empty.RecordCount() == 0 && empty.FieldCount() == 9);
  EXPECT_TRUE(empty.HasField("ODATA") && empty.HasField("tWHEN"));
  EXPECT_EQ(ErrorOf([&] { empty.MoveFirst(); }).number(), err::kNoCurrentRecord);
}

TEST_P(EngineConformance, TextComparesAndSortsByFoldedCase) {
  // U+212A, the Kelvin sign, folds to "k"; "ς" folds to "σ"; "ẞ" folds to "ß", never to "ss".
  // Without ESCAPE a backslash is a plain character in a pattern. sCode compares with case.
  const char* names[] = {"Ärger", "Straße", "\u212A", "ς", "apfel", "Zebra", "50%_\\"};
  for (int32_t key = 1; key <= 7; ++key) Add(key, names[key - 1]);
  db_.ExecuteSQL("UPDATE Item SET sCode = 'Abc' WHERE lId = 1");
  // Each condition, then the keys of the rows it finds.
  std::istringstream cases(
      "sName = 'ÄRGER' -> 1,; 'ärger' = sName -> 1,; sName <> 'ärgeR' -> 2,3,4,5,6,7,; "
      "sName = 'STRASSE' -> ; sName = 'STRAẞE' -> 2,; sName = 'k' -> 3,; sName = 'Σ' -> 4,; "
      "sName = 'σ' -> 4,; sName LIKE 'äR%' -> 1,; sName LIKE '_RGER' -> 1,; "
      "sName LIKE 'stra_e' -> 2,; sName LIKE '%SSE' -> ; sName LIKE 'K' -> 3,; "
      "sName LIKE '%Σ' -> 4,; sName NOT LIKE '%E%' -> 3,4,7,; sName LIKE 'ZEB%' -> 6,; "
      "sName LIKE '50%\\' -> 7,; sName LIKE '50!%!_%' ESCAPE '!' -> 7,; "
      "sName LIKE '50!%!_' ESCAPE '!' -> ; sName LIKE '5!_%' ESCAPE '!' -> ; "
      "sName > 'R' AND sName < 'Zz' -> 2,6,; sName >= 'STRASSE' AND sName < 'STRAT' -> ; "
      "sCode = 'ABC' -> ; sCode = 'Abc' -> 1,;");
  for (std::string line; std::getline(cases >> std::ws, line, ';');) {
    const size_t arrow = line.find(" -> ");
    const std::string condition = line.substr(0, arrow), keys = line.substr(arrow + 4);
    EXPECT_EQ(Where(condition), keys) << condition;
  }
  // Folded code points: digits, ASCII letters, then "ä" and "σ".
  EXPECT_EQ(Column("SELECT lId FROM Item ORDER BY sName"), "7,5,3,2,6,1,4,");
  EXPECT_EQ(Column("SELECT lId FROM Item ORDER BY sName DESC"), "4,1,6,2,3,5,7,");
}

TEST_P(EngineConformance, RecordsetsAddRowsThatLaterQueriesSee) {
  Add(1, "one");
  UpdatableRecordset rs = db_.GetRecordsetRW("SELECT lId, sName, oData FROM Item WHERE lId < 10");
  EXPECT_EQ(rs.Rows().RecordCount(), 1);
  AddRow(rs, {{"lId", Variant(2)}, {"sName", Variant("two")}});
  rs.AddNew();
  rs.SetValue("lId", Variant(3));
  WriteBlobBytes("cancelled", rs, "oData");
  rs.CancelUpdate();
  // A row the engine refuses raises by Update at the latest, leaves nothing behind, and the
  // recordset goes on adding.
  for (const auto& data : {std::optional<std::string>(), std::optional(std::string(5000, 'x'))}) {
    const AutomationError error = ErrorOf([&] { AddRow(rs, {{"lId", Variant(2)}}, data); });
    EXPECT_EQ(error.number(), err::kDatabaseError);
    EXPECT_EQ(error.source(), db_.EngineName());
  }
  AddRow(rs, {{"lId", Variant(4)}}, std::string(3, '\0'));
  EXPECT_EQ(rs.Rows().RecordCount(), 1);  // the rows of the query, as it was opened
  EXPECT_EQ(Column("SELECT sName FROM Item ORDER BY lId"), "one,two,(null),");
  EXPECT_EQ(Where("oData IS NOT NULL"), "4,");
  db_.ExecuteSQL("UPDATE Item SET sName = 'ZWEI' WHERE lId = 2");
  db_.ExecuteSQL("DELETE FROM Item WHERE lId = 1");
  EXPECT_EQ(Column("SELECT sName FROM Item ORDER BY lId"), "ZWEI,(null),");
  EXPECT_EQ(Typed(rs.Rows().Value("sName")), "String one");
  {
    UpdatableRecordset pending = db_.GetRecordsetRW("SELECT * FROM Item WHERE 1=0");
    pending.AddNew();
    pending.SetValue("lId", Variant(5));
    WriteBlobBytes("never updated", pending, "oData");
  }  // goes with its row pending
  EXPECT_EQ(Keys(), "2,4,");
  for (const char* sql : {"SELECT lId, 1 AS lOne FROM Item", "SELECT count(*) AS n FROM Item"}) {
    EXPECT_EQ(ErrorOf([&] { db_.GetRecordsetRW(sql); }).number(), err::kDatabaseError) << sql;
  }
}

TEST_P(EngineConformance, TransactionsCommitRollBackNestAndSurviveFailedStatements) {
  DBConnection other;  // sees only what is committed
  other.OpenConnection(connection_string_, "", "");
  db_.BeginTrans();
  Add(1);
  db_.CommitTrans();
  db_.BeginTrans();
  Add(2);
  EXPECT_TRUE(db_.InTransaction());
  db_.RollbackTrans();
  EXPECT_FALSE(db_.InTransaction());
  EXPECT_EQ(Keys(), "1,");
  db_.BeginTrans();
  Add(3);
  db_.BeginTrans();
  Add(4);
  db_.RollbackTrans();  // the inner level alone
  db_.BeginTrans();
  Add(5);
  db_.CommitTrans();                                                  // into the outer level
  EXPECT_EQ(ErrorOf([&] { Add(3); }).number(), err::kDatabaseError);  // undoes only itself
  EXPECT_TRUE(db_.InTransaction());
  {
    UpdatableRecordset rs = db_.GetRecordsetRW("SELECT lId, oData FROM Item WHERE 1=0");
    AddRow(rs, {{"lId", Variant(6)}}, "in the transaction");
  }
  EXPECT_EQ(Keys(), "1,3,5,6,");
  EXPECT_EQ(Keys(&other), "1,");
  db_.CommitTrans();
  EXPECT_EQ(Keys(&other), "1,3,5,6,");
  // An inner commit is undone with its outer level; RollbackAll ends every level.
  db_.BeginTrans();
  db_.BeginTrans();
  Add(7);
  db_.CommitTrans();
  db_.RollbackTrans();
  db_.BeginTrans();
  Add(8);
  db_.BeginTrans();
  Add(9);
  db_.RollbackAll();
  EXPECT_FALSE(db_.InTransaction());
  EXPECT_EQ(Keys(), "1,3,5,6,");
  for (const auto& end : {&DBConnection::CommitTrans, &DBConnection::RollbackTrans}) {
    const AutomationError error = ErrorOf([&] { (db_.*end)(); });  // none open
    EXPECT_EQ(error.number(), err::kDatabaseError);
    EXPECT_EQ(error.source(), db_.EngineName());
  }
  // Closing drops an open transaction.
  db_.BeginTrans();
  Add(10);
  db_.CloseConnection();
  EXPECT_EQ(Keys(&other), "1,3,5,6,");
}

TEST_P(EngineConformance, FailedStatementsRaiseTheEnginesErrorAndLeaveTheConnectionUsable) {
  EXPECT_EQ(db_.EngineName(), GetParam());
  Add(1);
  db_.BeginTrans();
  Add(2);
  for (const std::string sql :
       {"SELEKT 1", "SELECT * FROM NoSuchTable", "SELECT sNoSuchColumn FROM Item",
        "INSERT INTO Item (lId) VALUES (1)", "UPDATE Item SET lId = 1 WHERE lId = 2",
        "SELECT 1; DELETE FROM Item", "  -- nothing\n"}) {
    for (int how = 0; how < 3; ++how) {
      const AutomationError error = ErrorOf([&] {
        if (how == 0) db_.ExecuteSQL(sql);
        if (how == 1) db_.GetRecordsetRO(sql);
        if (how == 2) db_.GetRecordsetRW(sql);
      });
      EXPECT_EQ(error.number(), err::kDatabaseError) << sql;
      EXPECT_EQ(error.source(), db_.EngineName()) << sql;
      EXPECT_FALSE(error.description().empty()) << sql;
      EXPECT_EQ(error.description().find('\n'), std::string::npos) << error.description();
    }
    EXPECT_TRUE(db_.InTransaction()) << sql;
  }
  Add(3);
  db_.CommitTrans();
  EXPECT_EQ(Keys(), "1,2,3,");
}

TEST_P(EngineConformance, CatalogsThatCannotBeReachedOrReadAreNotOpened) {
  Add(1);
  std::string unreachable, unreadable;
  if (!OnServer()) {
    unreachable = FileCatalogConnectionString(dir_.File("missing.db"));
    unreadable = FileCatalogConnectionString(dir_.Write("notes.txt", std::string(500, 'x')));
  } else {
    // A socket directory in which no server listens, and a database the server does not have.
    unreachable = "Provider=PostgreSQL;Host=" + dir_.path() +
                  ";Port=" + std::to_string(server_->port()) + ";Database=nothing;User ID=postgres";
    unreadable = server_->ConnectionString("no_such_database");
  }
  DBConnection fresh;
  for (DBConnection* db : {&fresh, &db_}) {  // a failed open leaves an open connection as it was
    EXPECT_EQ(ErrorOf([&] { db->OpenConnection(unreachable, "", ""); }).number(),
              err::kCatalogCannotBeOpened);
    const AutomationError error = ErrorOf([&] { db->OpenConnection(unreadable, "", ""); });
    EXPECT_EQ(error.number(), err::kDatabaseError);
    EXPECT_EQ(error.source(), GetParam());
  }
  EXPECT_FALSE(fresh.IsOpen());
  EXPECT_FALSE(std::filesystem::exists(dir_.File("missing.db")));
  EXPECT_EQ(Keys(), "1,");
}

TEST_P(EngineConformance, StatementsDifferingInLiteralsEachGetTheirOwnValues) {
  for (int32_t key = 1; key <= 4; ++key) Add(key, "N" + std::to_string(key));
  // Up, down and the same value twice, so that a value left from an earlier run would show.
  for (int key : {2, 3, 3, 1, 4, 2, 77}) {
    EXPECT_EQ(Where("sName = 'n" + std::to_string(key) + "'"),
              key == 77 ? "" : std::to_string(key) + ",");
  }
  // Text that reads as SQL or as a parameter stays text.
  for (const std::string value : {"a; DELETE FROM Item", "O'Brien -- /* no comment */", "?", ":a",
                                  "$1", "x'); DROP TABLE Item; --", "50%_\\"}) {
    db_.ExecuteSQL("UPDATE Item SET sCode = " + SqlText(value) + " WHERE lId = 1");
    EXPECT_EQ(Column("SELECT sCode FROM Item WHERE sCode = " + SqlText(value)), value + ",");
  }
  EXPECT_EQ(Keys(), "1,2,3,4,");
  // Literals naming result values, negative numbers, positions and counts stay as written.
  EXPECT_EQ(Column("SELECT 'a' AS sX FROM Item WHERE lId = 1") +
                Column("SELECT 'b' AS sX FROM Item WHERE lId = 1"),
            "a,b,");
  EXPECT_EQ(Where("lId - 5 = -3 OR lId = - -4"), "2,4,");
  EXPECT_EQ(Column("SELECT sName, lId FROM Item ORDER BY 1 DESC LIMIT 2 OFFSET 1"), "N3,N2,");
  EXPECT_EQ(Column("SELECT sName, lId FROM Item ORDER BY 2 LIMIT 1"), "N1,");
}

// Values beyond 32 bits read as Doubles: written back through a recordset, those and any other
// whole-number Double must land in an integer column as the integer they hold, every digit kept.
TEST_P(EngineConformance, WholeNumberDoublesStoreIntoIntegerColumns) {
  db_.ExecuteSQL("INSERT INTO Item (lId, nBig) VALUES (1, 3000000000)");
  const Variant big = db_.GetRecordsetRO("SELECT nBig FROM Item").Value("nBig");
  ASSERT_EQ(Typed(big), "Double 3000000000");
  UpdatableRecordset rs = db_.GetRecordsetRW("SELECT lId, iSmall, nBig, dAmount FROM Item");
  EXPECT_EQ(Outcome([&] {
              AddRow(rs, {{"lId", Variant(1000000.0)}, {"iSmall", Variant(100.0)}, {"nBig", big}});
              AddRow(rs, {{"lId", Variant(-2.0)},
                          {"iSmall", Variant(-0.0)},
                          {"nBig", Variant(4611686018427387904.0)},  // 2^62
                          {"dAmount", Variant(1e22)}});
              AddRow(rs, {{"lId", Variant(3)}, {"dAmount", Variant(0.1 + 0.2)}});
            }),
            "ok");
  EXPECT_EQ(Where("lId = 1000000 AND iSmall = 100 AND nBig = 3000000000"), "1000000,");
  EXPECT_EQ(Where("iSmall = 0 AND nBig = 4611686018427387904 AND dAmount = 1e22"), "-2,");
  EXPECT_EQ(Where("nBig = 4611686018427387903 OR nBig = 4611686018427387905"), "");
  // Fractions keep every bit: 0.1 + 0.2 is not 0.3.
  EXPECT_EQ(Typed(db_.GetRecordsetRO("SELECT dAmount FROM Item WHERE lId = 3").Value("dAmount")),
            "Double 0.30000000000000004");
}

// Catalogs hold true as -1 or as 1, as the program that wrote it chose (SqlNumber writes -1,
// literals and recordsets 1), and SQLite keeps the number written. Both engines read either as
// True and agree on "<> 0" and "= 0", which is how booleans are compared (docs/decisions.md);
// "= 1" and "= -1" find only some true rows on SQLite.
TEST_P(EngineConformance, BooleansCompareWithZeroHoweverTrueWasWritten) {
  db_.ExecuteSQL("INSERT INTO Item (lId, bFlag) VALUES (1, " + SqlNumber(Variant(true)) + ")");
  db_.ExecuteSQL("INSERT INTO Item (lId, bFlag) VALUES (2, 1)");
  db_.ExecuteSQL("INSERT INTO Item (lId, bFlag) VALUES (3, " + SqlNumber(Variant(false)) + ")");
  UpdatableRecordset rs = db_.GetRecordsetRW("SELECT lId, bFlag FROM Item WHERE 1=0");
  AddRow(rs, {{"lId", Variant(4)}, {"bFlag", Variant(true)}});
  AddRow(rs, {{"lId", Variant(5)}, {"bFlag", Variant(false)}});
  AddRow(rs, {{"lId", Variant(6)}});
  db_.ExecuteSQL("UPDATE Item SET bFlag = " + SqlNumber(Variant(true)) + " WHERE lId = 5");
  EXPECT_EQ(Column("SELECT bFlag FROM Item ORDER BY lId"), "True,True,False,True,True,(null),");
  EXPECT_EQ(Where("bFlag <> 0"), "1,2,4,5,");
  EXPECT_EQ(Where("0 <> bFlag"), "1,2,4,5,");
  EXPECT_EQ(Where("bFlag = 0"), "3,");
  EXPECT_EQ(Where("NOT bFlag <> 0 OR bFlag IS NULL"), "3,6,");
}

// A series of reads sees one state of the database where the engine offers it (SQLite); on
// PostgreSQL each query sees what is committed when it runs. Either way the read leaves no
// transaction behind, whatever it raises, and inside a transaction it sees that transaction.
TEST_P(EngineConformance, ConsistentReadsEndTheirReadTransactionAndSeeAnOpenOne) {
  // As catalogs are: with a write-ahead log a reader does not hold up a writer's commit.
  if (!OnServer()) db_.ExecuteSQL("PRAGMA journal_mode = WAL");
  DBConnection other;
  other.OpenConnection(connection_string_, "", "");
  Add(1);
  std::string seen;
  db_.ReadConsistently([&] {
    seen = Keys();
    other.ExecuteSQL("INSERT INTO Item (lId) VALUES (2)");
    seen += "|" + Keys();
  });
  EXPECT_EQ(seen, OnServer() ? "1,|1,2," : "1,|1,");
  EXPECT_FALSE(db_.InTransaction());
  EXPECT_EQ(Keys(), "1,2,");
  const AutomationError error = ErrorOf([&] {
    db_.ReadConsistently([&] {
      Keys();
      db_.GetRecordsetRO("SELECT nothing FROM Item");
    });
  });
  EXPECT_EQ(error.number(), err::kDatabaseError);
  other.ExecuteSQL("INSERT INTO Item (lId) VALUES (3)");  // not blocked by a read left open
  db_.BeginTrans();                                       // and a transaction begins as before
  Add(4);
  db_.ReadConsistently([&] { seen = Keys(); });
  EXPECT_EQ(seen, "1,2,3,4,");
  EXPECT_TRUE(db_.InTransaction());
  db_.RollbackTrans();
  EXPECT_EQ(Keys(), "1,2,3,");
}

// A row whose long value is being written holds the connection until it is updated or
// cancelled: whatever else is asked of the connection meanwhile raises and runs nothing, on
// every engine (database_backend.h).
TEST_P(EngineConformance, PendingLongValueHoldsTheConnectionUntilUpdatedOrCancelled) {
  Add(1);
  db_.BeginTrans();
  UpdatableRecordset rs = db_.GetRecordsetRW("SELECT lId, oData FROM Item WHERE 1=0");
  UpdatableRecordset other = db_.GetRecordsetRW("SELECT lId, oData FROM Item WHERE 1=0");
  rs.AddNew();
  rs.SetValue("lId", Variant(2));
  rs.BeginLongValue("oData", 4);
  other.AddNew();  // values are only gathered before Update
  other.SetValue("lId", Variant(3));
  const std::vector<std::pair<std::string, std::function<void()>>> calls = {
      {"ExecuteSQL", [&] { Add(4); }},
      {"GetRecordsetRO", [&] { db_.GetRecordsetRO("SELECT lId FROM Item"); }},
      {"GetRecordsetRW", [&] { db_.GetRecordsetRW("SELECT lId FROM Item"); }},
      {"BeginTrans", [&] { db_.BeginTrans(); }},
      {"CommitTrans", [&] { db_.CommitTrans(); }},
      {"RollbackTrans", [&] { db_.RollbackTrans(); }},
      {"RollbackAll", [&] { db_.RollbackAll(); }},
      {"BeginLongValue", [&] { other.BeginLongValue("oData", 1); }},
      {"Update", [&] { other.Update(); }}};  // drops the other row
  const std::string refused =
      std::to_string(err::kDatabaseError) + " " + GetParam() + ": " + kLongValuePendingMessage;
  for (const auto& [name, call] : calls) EXPECT_EQ(Outcome(call), refused) << name;
  EXPECT_TRUE(db_.InTransaction());
  rs.AppendChunk("oData", "data");
  rs.Update();
  EXPECT_EQ(ReadBlobBytes(db_.GetRecordsetRO("SELECT oData FROM Item WHERE lId = 2"), "oData"),
            "data");
  db_.RollbackTrans();  // the row goes with the transaction it was added in
  EXPECT_EQ(Keys(), "1,");
  // Cancelled, dropped by the next AddNew or with its recordset, it leaves the connection too.
  rs.AddNew();
  rs.SetValue("lId", Variant(5));
  rs.BeginLongValue("oData", 4);
  rs.CancelUpdate();
  Add(6);
  rs.AddNew();
  rs.SetValue("lId", Variant(7));
  rs.BeginLongValue("oData", 4);
  rs.AddNew();
  Add(8);
  rs.SetValue("lId", Variant(9));
  rs.BeginLongValue("oData", 4);
  rs.Close();
  Add(10);
  EXPECT_EQ(Keys(), "1,6,8,10,");
}

// Long values of several sizes in one row, a small one before and after one of several megabytes:
// an engine may keep small values in memory until Update and write large ones through as they
// come, and the row must hold exactly the bytes given either way, or nothing.
TEST_P(EngineConformance, RowsWithLongValuesOfMixedSizesKeepEveryByte) {
  db_.ExecuteSQL(std::string("CREATE TABLE Pair (lId INTEGER PRIMARY KEY, oFirst ") +
                 (OnServer() ? "bytea" : "BLOB") + ", oSecond " + (OnServer() ? "bytea" : "BLOB") +
                 ")");
  std::string large(3 * 1024 * 1024 + 5, '\0');
  for (size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>(i * 131 % 251);
  const std::string small = "small\0value";
  UpdatableRecordset rs = db_.GetRecordsetRW("SELECT lId, oFirst, oSecond FROM Pair WHERE 1=0");
  const auto add = [&](int id, const std::string& first, const std::string& second) {
    rs.AddNew();
    rs.SetValue("lId", Variant(id));
    rs.BeginLongValue("oFirst", first.size());
    rs.AppendChunk("oFirst", std::string_view(first).substr(0, first.size() / 2));
    rs.AppendChunk("oFirst", std::string_view(first).substr(first.size() / 2));
    rs.BeginLongValue("oSecond", second.size());
    WriteBlobBytes(second, rs, "oSecond");  // announces it again, then writes it in pieces
  };
  add(1, small, large);
  rs.Update();
  add(2, large, small);
  rs.Update();
  add(3, small, large);
  rs.CancelUpdate();
  rs.AddNew();
  rs.SetValue("lId", Variant(4));
  rs.BeginLongValue("oFirst", small.size() + 1);
  rs.AppendChunk("oFirst", small);
  EXPECT_EQ(ErrorOf([&] { rs.Update(); }).number(), err::kInvalidProcedureCall);
  rs.Close();
  EXPECT_EQ(Column("SELECT lId FROM Pair ORDER BY lId"), "1,2,");
  for (const auto& [id, first, second] :
       {std::tuple(1, small, large), std::tuple(2, large, small)}) {
    const Recordset row =
        db_.GetRecordsetRO("SELECT oFirst, oSecond FROM Pair WHERE lId = " + std::to_string(id));
    EXPECT_TRUE(ReadBlobBytes(row, "oFirst") == first) << id;
    EXPECT_TRUE(ReadBlobBytes(row, "oSecond") == second) << id;
  }
  Add(5);  // the connection is free again
  EXPECT_EQ(Keys(), "5,");
}

// What a query works out of dates (max, min) reads as a Date on PostgreSQL but as the stored ISO
// text on SQLite, whose values take their type from a column's declared type, which an
// expression lacks (db_connection.h). Converted with ToDate, both give the same date.
TEST_P(EngineConformance, DatesWorkedOutByAQueryConvertToTheSameDates) {
  db_.ExecuteSQL("INSERT INTO Item (lId, tWhen) VALUES (1, '14:05:09 3 Apr 2002')");
  db_.ExecuteSQL("INSERT INTO Item (lId, tWhen) VALUES (2, '2003-01-02 00:00:00')");
  Recordset rs = db_.GetRecordsetRO(
      "SELECT max(tWhen) AS tLatest, min(tWhen) AS tEarliest FROM Item WHERE lId > 0");
  EXPECT_EQ(rs.Value("tLatest").type(), OnServer() ? Variant::Type::kDate : Variant::Type::kString);
  EXPECT_EQ(FormatIsoDate(rs.Value("tLatest").ToDate()), "2003-01-02 00:00:00");
  EXPECT_EQ(FormatIsoDate(rs.Value("tEarliest").ToDate()), "2002-04-03 14:05:09");
  {
    const ScopedDateLocale month_first(DateLocale::English(DateOrder::kMonthDayYear));
    EXPECT_EQ(FormatIsoDate(rs.Value("tLatest").ToDate()), "2003-01-02 00:00:00");
  }
}

// Text outside ASCII that folds into ASCII (the Kelvin sign to "k", the long s to "s") sorts
// by what it folds to against any literal, as equality and LIKE already find it.
TEST_P(EngineConformance, RangeComparisonsFoldTextThatFoldsIntoAscii) {
  Add(1, "\u212A");    // Kelvin sign
  Add(2, "\u017Fun");  // long s
  Add(3, "mond");
  EXPECT_EQ(Where("sName = 'K'"), "1,");
  EXPECT_EQ(Where("sName <> 'k'"), "2,3,");
  EXPECT_EQ(Where("sName LIKE 'SUN'"), "2,");
  EXPECT_EQ(Where("sName < 'l'"), "1,");
  EXPECT_EQ(Where("sName > 'l' AND sName < 't'"), "2,3,");
  EXPECT_EQ(Where("'K' <= sName AND sName <= 'k'"), "1,");
  EXPECT_EQ(Where("sName >= 'SUN'"), "2,");
  EXPECT_EQ(Column("SELECT lId FROM Item ORDER BY sName"), "1,3,2,");
}

// LIKE ignores case on the case-folded text columns, on every engine. On a column that compares
// with case, LIKE follows the engine (postgres_dialect.h): there only a pattern in the text's
// own case is sure to match, and the store searches no such column with LIKE.
TEST_P(EngineConformance, LikeIgnoresCaseOnCaseFoldedColumns) {
  db_.ExecuteSQL("INSERT INTO Item (lId, sName, sCode) VALUES (1, 'Abc', 'Abc')");
  db_.ExecuteSQL("INSERT INTO Item (lId, sName, sCode) VALUES (2, 'xABCx', 'xABCx')");
  EXPECT_EQ(Where("sName = 'aBC'"), "1,");
  EXPECT_EQ(Where("sName LIKE 'aBC'"), "1,");
  EXPECT_EQ(Where("sName LIKE 'a_C%'"), "1,");
  EXPECT_EQ(Where("sName LIKE '%abc%'"), "1,2,");
  EXPECT_EQ(Where("sName NOT LIKE 'ABC'"), "2,");
  EXPECT_EQ(Where("sCode = 'abc'"), "");
  EXPECT_EQ(Where("sCode LIKE 'Abc'"), "1,");
  EXPECT_EQ(Where("sCode LIKE 'xAB%'"), "2,");
}

// Catalog date literals at either end of the date range, time of day and all, find their rows.
TEST_P(EngineConformance, DateLiteralsAtTheEndsOfTheRangeCompareAsDates) {
  const Date dates[] = {At(100, 1, 1), At(100, 1, 1, 12), At(100, 1, 1, 23, 59, 59),
                        At(9999, 12, 31), At(9999, 12, 31, 23, 59, 59)};
  UpdatableRecordset rs = db_.GetRecordsetRW("SELECT lId, tWhen FROM Item WHERE 1=0");
  for (int32_t key = 0; key < 5; ++key) {
    AddRow(rs, {{"lId", Variant(key)}, {"tWhen", Variant(dates[key])}});
    EXPECT_EQ(Where("tWhen = " + SqlDate(Variant(dates[key]))), std::to_string(key) + ",")
        << SqlDate(Variant(dates[key]));
  }
  EXPECT_EQ(Where("tWhen > '1 Jan 0100' AND tWhen < '31 Dec 9999'"), "1,2,");
}

// A statement with its values apart runs as the text with their literals spliced in: the same
// rows for every value (a kept statement must not keep an earlier run's value), dates compared
// as dates, text that reads as SQL kept as text, and values that cannot be bound (Null, signed
// or real numbers) still run.
TEST_P(EngineConformance, StatementsWithValuesApartRunAsTheirSplicedTextRuns) {
  const std::string insert = "INSERT INTO Item (lId, sName, sCode, tWhen) VALUES (?, ?, ?, ?)";
  const std::string codes[] = {"a; DELETE FROM Item", "O'Brien -- /* ? */", "?", ":a", "", "  "};
  for (int32_t key = 1; key <= 6; ++key) {
    db_.ExecuteSQL(
        insert, {SqlValue::Number(Variant(key)), SqlValue::Text(Variant("N" + std::to_string(key))),
                 SqlValue::Text(Variant(codes[key - 1])),
                 SqlValue::Date(Variant(At(2020, key, 2 * key, key, 0, key)))});
  }
  EXPECT_EQ(Keys(), "1,2,3,4,5,6,");
  const auto where = [&](const std::string& condition, const SqlValues& values) {
    std::string keys;
    for (Recordset rs = db_.GetRecordsetRO(
             "SELECT lId FROM Item WHERE " + condition + " ORDER BY lId", values);
         !rs.Eof(); rs.MoveNext()) {
      keys += rs.Value("lId").ToText() + ",";
    }
    return keys;
  };
  for (int key : {2, 3, 3, 1, 6, 2, 77}) {
    const SqlValues by_key{SqlValue::Number(Variant(key))};
    const std::string expected = key == 77 ? "" : std::to_string(key) + ",";
    EXPECT_EQ(where("lId = ?", by_key), expected);
    EXPECT_EQ(where("sName = ?", {SqlValue::Text(Variant("n" + std::to_string(key)))}), expected);
    EXPECT_EQ(where("tWhen = ?", {SqlValue::Date(Variant(At(2020, key, 2 * key, key, 0, key)))}),
              expected);
  }
  for (int key = 1; key <= 6; ++key) {
    const std::string spliced = codes[key - 1].find_first_not_of(' ') == std::string::npos
                                    ? "(null),"  // SqlText writes blank text as Null
                                    : codes[key - 1] + ",";
    EXPECT_EQ(Column("SELECT sCode FROM Item WHERE lId = " + std::to_string(key)), spliced);
  }
  EXPECT_EQ(
      where("tWhen > ? AND tWhen < ? AND sName <> '?'",
            {SqlValue::Date(Variant(At(2020, 2, 4, 2))), SqlValue::Date(Variant(At(2020, 5, 1)))}),
      "2,3,4,");
  // Not bound, spliced: the answers are still those of the text.
  EXPECT_EQ(where("lId = ? OR lId = ?",
                  {SqlValue::Number(Variant("-1")), SqlValue::Number(Variant(" 2.0 "))}),
            "2,");
  EXPECT_EQ(where("sCode = ?", {SqlValue::Text(Variant(""))}), "");
  EXPECT_EQ(where("lId = ?", {SqlValue::Number(Variant(""))}), "");
  // Places and values that disagree, a second statement, or a parameter of another form: an
  // error, and nothing runs.
  const std::string deleted = "DELETE FROM Item WHERE lId = ?";
  EXPECT_EQ(ErrorOf([&] { db_.ExecuteSQL(deleted, {}); }).number(), err::kDatabaseError);
  EXPECT_EQ(ErrorOf([&] {
              db_.ExecuteSQL(deleted, {SqlValue::Number(Variant(1)), SqlValue::Number(Variant(2))});
            }).number(),
            err::kDatabaseError);
  EXPECT_EQ(ErrorOf([&] {
              db_.ExecuteSQL(deleted + "; DELETE FROM Item", {SqlValue::Number(Variant(1))});
            }).number(),
            err::kDatabaseError);
  EXPECT_EQ(ErrorOf([&] {
              db_.ExecuteSQL("DELETE FROM Item WHERE lId = ? OR lId = :b",
                             {SqlValue::Number(Variant(1))});
            }).number(),
            err::kDatabaseError);
  EXPECT_EQ(ErrorOf([&] { db_.ExecuteSQL(deleted, {SqlValue::Number(Variant("1; x"))}); }).number(),
            err::kTypeMismatch);
  EXPECT_EQ(Keys(), "1,2,3,4,5,6,");
  db_.ExecuteSQL(deleted, {SqlValue::Number(Variant(4))});
  EXPECT_EQ(Keys(), "1,2,3,5,6,");
}

INSTANTIATE_TEST_SUITE_P(Engines, EngineConformance, ::testing::Values("SQLite", "PostgreSQL"),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                           return info.param;
                         });

}  // namespace
}  // namespace clipcat::testing
