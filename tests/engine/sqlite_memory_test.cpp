#include "engine/sqlite_memory.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace clipcat {
namespace {

// A database file of about 6 MB of rows, and connections that each read all of it.
class SqliteMemoryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/clipcat-sqlite-memory-XXXXXX";
    const int fd = mkstemp(pattern);
    ASSERT_GE(fd, 0);
    close(fd);
    path_ = pattern;
    sqlite3* db = Open();
    Exec(db,
         "CREATE TABLE t (k INTEGER PRIMARY KEY, v BLOB);"
         "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
         "INSERT INTO t SELECT i, randomblob(2000) FROM n;");
    sqlite3_close(db);
  }

  void TearDown() override {
    for (sqlite3* db : connections_) sqlite3_close(db);
    LimitSqliteCacheMemory(0);
    std::remove(path_.c_str());
  }

  sqlite3* Open() {
    sqlite3* db = nullptr;
    EXPECT_EQ(sqlite3_open(path_.c_str(), &db), SQLITE_OK);
    return db;
  }

  static void Exec(sqlite3* db, const char* sql) {
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, &error), SQLITE_OK) << error;
    sqlite3_free(error);
  }

  // Opens `count` connections, each reading every row; the total length each of them read.
  std::vector<int64_t> ReadWithConnections(int count) {
    std::vector<int64_t> totals;
    for (int i = 0; i < count; ++i) {
      sqlite3* db = Open();
      connections_.push_back(db);
      // Each connection may cache the whole file on its own.
      Exec(db, "PRAGMA cache_size = -16000");
      sqlite3_stmt* statement = nullptr;
      EXPECT_EQ(sqlite3_prepare_v2(db, "SELECT sum(length(v)) FROM t", -1, &statement, nullptr),
                SQLITE_OK);
      EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW);
      totals.push_back(sqlite3_column_int64(statement, 0));
      sqlite3_finalize(statement);
    }
    return totals;
  }

  std::string path_;
  std::vector<sqlite3*> connections_;
};

TEST_F(SqliteMemoryTest, ConnectionsWithoutALimitEachKeepTheirPages) {
  const int64_t before = sqlite3_memory_used();
  for (int64_t total : ReadWithConnections(6)) EXPECT_EQ(total, 3000 * 2000);
  // Six copies of some 6 MB of pages.
  EXPECT_GT(sqlite3_memory_used() - before, 30 << 20);
}

TEST_F(SqliteMemoryTest, ALimitKeepsTheConnectionsTogetherNearItAndReadsStillAnswer) {
  LimitSqliteCacheMemory(4 << 20);
  const int64_t before = sqlite3_memory_used();
  for (int64_t total : ReadWithConnections(6)) EXPECT_EQ(total, 3000 * 2000);
  // Each connection keeps a few pages in use and its schema besides the limit's pages.
  EXPECT_LT(sqlite3_memory_used() - before, 8 << 20);
  // Lifted, the connections grow their caches again.
  LimitSqliteCacheMemory(0);
  for (int64_t total : ReadWithConnections(2)) EXPECT_EQ(total, 3000 * 2000);
  EXPECT_GT(sqlite3_memory_used() - before, 10 << 20);
}

}  // namespace
}  // namespace clipcat
