// The SQLite file header read without the engine, and what the cheap checks find wrong with a
// file: every cut of a database, every header field that holds an impossible value, a damaged
// magic string against a file that is no database at all.
#include "engine/sqlite_file_header.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <fstream>
#include <string>
#include <vector>

#include "engine/sqlite_session.h"
#include "util/errors.h"
#include "util/temp_dir.h"

namespace clipcat {
namespace {

using testing::TempDir;

std::string Bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// A database of several pages, closed (so no log holds anything).
std::string MakeDatabase(const TempDir& dir) {
  const std::string path = dir.File("db.sqlite");
  sqlite3* db = nullptr;
  EXPECT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
  const char* sql =
      "PRAGMA page_size = 1024; PRAGMA journal_mode = WAL; CREATE TABLE t (x TEXT);"
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 200)"
      " INSERT INTO t SELECT printf('%0100d', i) FROM n;";
  EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(db);
  return path;
}

std::vector<std::string> ProblemsOf(const std::string& path) {
  const auto header = ReadSqliteFileHeader(path);
  EXPECT_TRUE(header.has_value());
  return header ? SqliteHeaderProblems(*header, SqliteLogHoldsFrames(path))
                : std::vector<std::string>{"unreadable"};
}

TEST(SqliteFileHeader, AWholeFileHasNoProblemAndEveryCutIsFound) {
  TempDir dir;
  const std::string path = MakeDatabase(dir);
  const std::string whole = Bytes(path);
  const auto header = ReadSqliteFileHeader(path);
  ASSERT_TRUE(header);
  EXPECT_EQ(header->page_size, 1024u);
  EXPECT_EQ(header->page_count * 1024u, whole.size());
  EXPECT_EQ(header->write_version, 2) << "WAL";
  EXPECT_TRUE(ProblemsOf(path).empty());
  // Every cut that keeps the header, at page boundaries and between them.
  for (size_t size = 100; size < whole.size(); size += 1024 / 4) {
    dir.Write("db.sqlite", whole.substr(0, size));
    const auto problems = ProblemsOf(path);
    ASSERT_EQ(problems.size(), 1u) << size;
    EXPECT_NE(problems[0].find("the end of the file is missing"), std::string::npos) << size;
  }
  for (size_t size : {1, 16, 99}) {
    dir.Write("db.sqlite", whole.substr(0, size));
    EXPECT_EQ(ProblemsOf(path).size(), 1u) << size;
  }
  dir.Write("db.sqlite", "");
  EXPECT_TRUE(ProblemsOf(path).empty()) << "an empty file is a new database";
  // A log with frames beside it may hold the pages the file lacks for a moment.
  dir.Write("db.sqlite", whole.substr(0, whole.size() - 1024));
  dir.Write("db.sqlite-wal", std::string(4096, 'w'));
  EXPECT_TRUE(ProblemsOf(path).empty());
}

TEST(SqliteFileHeader, ImpossibleFieldsAndADamagedMagicAreFoundButAForeignFileIsLeftToTheEngine) {
  TempDir dir;
  const std::string path = MakeDatabase(dir);
  const std::string whole = Bytes(path);
  struct Field {
    size_t offset;
    unsigned char value;
  };
  for (const Field& field : std::vector<Field>{{0, 'X'},  // magic
                                               {16, 0x03},
                                               {17, 0x01},  // page size 769
                                               {18, 3},
                                               {19, 0},
                                               {21, 65},
                                               {22, 31},
                                               {23, 33},
                                               {47, 5},
                                               {59, 4},
                                               {80, 1}}) {
    std::string damaged = whole;
    damaged[field.offset] = static_cast<char>(field.value);
    dir.Write("db.sqlite", damaged);
    EXPECT_EQ(ProblemsOf(path).size(), 1u) << "offset " << field.offset;
    // The engine refuses to open it, naming the file.
    try {
      SqliteSession session(path);
      ADD_FAILURE() << "opened with offset " << field.offset << " damaged";
    } catch (const AutomationError& e) {
      EXPECT_EQ(e.number(), err::kCatalogDamaged) << field.offset;
      EXPECT_EQ(e.description().rfind("catalog damaged: " + path + " (", 0), 0u) << e.description();
    }
    EXPECT_EQ(Bytes(path), damaged) << "left untouched";
  }
  dir.Write("db.sqlite", std::string(4096, 'x'));
  const auto foreign = ReadSqliteFileHeader(path);
  ASSERT_TRUE(foreign);
  EXPECT_TRUE(IsForeignFile(*foreign));
  EXPECT_TRUE(ProblemsOf(path).empty());
  try {
    SqliteSession session(path);
    ADD_FAILURE() << "a foreign file opened";
  } catch (const AutomationError& e) {
    EXPECT_EQ(e.number(), err::kDatabaseError) << "not a database, rather than damaged";
  }
}

}  // namespace
}  // namespace clipcat
