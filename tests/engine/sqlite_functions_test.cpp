#include "engine/sqlite_functions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "util/date.h"

namespace clipcat {
namespace {

Date At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return *Date::FromParts({year, month, day, hour, minute, second});
}

TEST(DateDiff, CountsBoundariesCrossedNotElapsedTime) {
  // One second across every kind of boundary.
  for (std::string interval : {"s", "n", "h", "d", "y", "m", "q", "yyyy"}) {
    EXPECT_EQ(DateDiff(interval, At(2019, 12, 31, 23, 59, 59), At(2020, 1, 1)).value(), 1)
        << interval;
  }
  struct Case {
    std::string interval;
    Date from, to;
    int64_t expected;
  };
  for (const Case& c :
       std::vector<Case>{// Nearly a whole unit without crossing a boundary.
                         {"yyyy", At(2020, 1, 1), At(2020, 12, 31, 23, 59, 59), 0},
                         {"m", At(2020, 2, 1), At(2020, 2, 29, 23, 59, 59), 0},
                         {"q", At(2020, 3, 31), At(2020, 4, 1), 1},
                         // Leap day, a negative span, an upper-case interval.
                         {"d", At(2020, 2, 28), At(2020, 3, 1), 2},
                         {"s", At(2020, 3, 1), At(2020, 2, 28), -2 * 86400},
                         {"S", At(2000, 1, 1), At(2000, 1, 1, 0, 0, 1), 1},
                         // Weeks: "w" counts whole seven-day spans, "ww" Sundays crossed.
                         {"w", At(2020, 1, 1), At(2020, 1, 8), 1},
                         {"w", At(2020, 1, 8), At(2020, 1, 1), -1},
                         {"ww", At(2020, 1, 4), At(2020, 1, 5), 1},  // 5 Jan 2020 was a Sunday
                         {"ww", At(2020, 1, 11), At(2020, 1, 4), -1},
                         {"ww", At(1899, 12, 30), At(1900, 1, 7), 2}}) {
    EXPECT_EQ(DateDiff(c.interval, c.from, c.to).value(), c.expected)
        << c.interval << " " << FormatIsoDate(c.from) << " -> " << FormatIsoDate(c.to);
  }
  const Date base = At(2019, 12, 31, 12, 0, 0);
  for (int days = -400; days <= 400; days += 37) {  // seconds agree with elapsed time
    EXPECT_EQ(DateDiff("s", base, Date(base.serial() + days)).value(), int64_t{days} * 86400);
  }
  for (std::string interval : {"", "x", "ss", "mm", "dd", "yy"}) {
    EXPECT_FALSE(DateDiff(interval, At(2020, 1, 1), At(2021, 1, 1)).has_value()) << interval;
  }
}

// An in-memory database with the store's functions and an FTS5 table of three columns, filled
// with rows of words drawn unevenly from a small vocabulary, so that a few words are everywhere.
class BestBm25Test : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(sqlite3_open(":memory:", &db_), SQLITE_OK);
    RegisterSqlFunctions(db_);
    Exec("CREATE VIRTUAL TABLE t USING fts5(a, b, c)");
    std::mt19937 random(7);
    std::discrete_distribution<int> rank({40, 20, 10, 8, 6, 5, 4, 3, 2, 2, 1, 1});
    const auto words = [&](int count) {
      std::string text;
      for (int i = 0; i < count; ++i) text += " w" + std::to_string(rank(random));
      return text;
    };
    Exec("BEGIN");
    for (int row = 1; row <= 600; ++row) {
      const int length = 5 + static_cast<int>(random() % 120);
      Exec("INSERT INTO t (rowid, a, b, c) VALUES (" + std::to_string(row) + ", '" + words(3) +
           "', '" + words(static_cast<int>(random() % 6)) + "', '" + words(length) + "')");
    }
    Exec("COMMIT");
  }
  void TearDown() override { sqlite3_close(db_); }

  void Exec(const std::string& sql) {
    ASSERT_EQ(sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sql << ": " << sqlite3_errmsg(db_);
  }

  // The rowid and the double of each row of `sql`; a Null as NaN.
  std::vector<std::pair<int64_t, double>> Rows(const std::string& sql) {
    sqlite3_stmt* stmt = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db_, sql.c_str(), -1, &stmt, nullptr), SQLITE_OK)
        << sql << ": " << sqlite3_errmsg(db_);
    std::vector<std::pair<int64_t, double>> rows;
    while (stmt != nullptr && sqlite3_step(stmt) == SQLITE_ROW) {
      rows.emplace_back(sqlite3_column_int64(stmt, 0), sqlite3_column_type(stmt, 1) == SQLITE_NULL
                                                           ? std::nan("")
                                                           : sqlite3_column_double(stmt, 1));
    }
    sqlite3_finalize(stmt);
    return rows;
  }

  sqlite3* db_ = nullptr;
};

TEST_F(BestBm25Test, GivesBm25sOwnValuesAndTheSameBestRows) {
  for (const std::string match : {"w0", "w1 w3", "w2 OR w9", "\"w0 w1\"", "w0 NOT w4", "w1*"}) {
    SCOPED_TRACE(match);
    const std::string where = " FROM t WHERE t MATCH '" + match + "'";
    // Without a limit every row has its value, bit for bit that of bm25().
    const auto all = Rows("SELECT rowid, bm25(t, 4.0, 2.0, 1.0)" + where + " ORDER BY rowid");
    ASSERT_GT(all.size(), 10u);
    EXPECT_EQ(Rows("SELECT rowid, bm25_best(t, 0, 4.0, 2.0, 1.0)" + where + " ORDER BY rowid"),
              all);
    for (int best : {1, 7, 50}) {
      const std::string n = std::to_string(best);
      EXPECT_EQ(
          Rows("SELECT rowid, r FROM (SELECT rowid, bm25_best(t, " + n + ", 4.0, 2.0, 1.0) AS r" +
               where + ") WHERE r IS NOT NULL ORDER BY r, rowid" + " LIMIT " + n),
          Rows("SELECT rowid, bm25(t, 4.0, 2.0, 1.0) AS r" + where + " ORDER BY r, rowid LIMIT " +
               n))
          << best;
    }
  }
  // A word in most rows: most of them are ruled out without their length.
  const auto ruled =
      Rows("SELECT rowid, bm25_best(t, 5, 4.0, 2.0, 1.0) FROM t WHERE t MATCH 'w0' ORDER BY rowid");
  size_t nulls = 0;
  for (const auto& row : ruled) nulls += std::isnan(row.second) ? 1 : 0;
  EXPECT_GT(nulls, ruled.size() / 2);
}

}  // namespace
}  // namespace clipcat
