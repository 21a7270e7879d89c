#include "store/sqlite_functions.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "util/date.h"

namespace clipcat {
namespace {

Date At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return *Date::FromParts({year, month, day, hour, minute, second});
}

TEST(DateDiff, CountsBoundariesCrossedNotElapsedTime) {
  struct Case {
    std::string interval;
    Date from;
    Date to;
    int64_t expected;
  };
  const std::vector<Case> cases = {
      // One second across every kind of boundary.
      {"s", At(2019, 12, 31, 23, 59, 59), At(2020, 1, 1), 1},
      {"n", At(2019, 12, 31, 23, 59, 59), At(2020, 1, 1), 1},
      {"h", At(2019, 12, 31, 23, 59, 59), At(2020, 1, 1), 1},
      {"d", At(2019, 12, 31, 23, 59, 59), At(2020, 1, 1), 1},
      {"y", At(2019, 12, 31, 23, 59, 59), At(2020, 1, 1), 1},
      {"m", At(2019, 12, 31, 23, 59, 59), At(2020, 1, 1), 1},
      {"q", At(2019, 12, 31, 23, 59, 59), At(2020, 1, 1), 1},
      {"yyyy", At(2019, 12, 31, 23, 59, 59), At(2020, 1, 1), 1},
      // Nearly a whole unit without crossing a boundary.
      {"yyyy", At(2020, 1, 1), At(2020, 12, 31, 23, 59, 59), 0},
      {"m", At(2020, 2, 1), At(2020, 2, 29, 23, 59, 59), 0},
      {"q", At(2020, 4, 1), At(2020, 6, 30), 0},
      {"q", At(2020, 3, 31), At(2020, 4, 1), 1},
      {"h", At(2020, 1, 1, 10, 0, 0), At(2020, 1, 1, 10, 59, 59), 0},
      // Leap day and a negative span.
      {"d", At(2020, 2, 28), At(2020, 3, 1), 2},
      {"d", At(2021, 2, 28), At(2021, 3, 1), 1},
      {"s", At(2020, 3, 1), At(2020, 2, 28), -2 * 86400},
      {"S", At(2000, 1, 1), At(2000, 1, 1, 0, 0, 1), 1},
      // Weeks: "w" counts whole seven-day spans, "ww" Sundays crossed (5 Jan 2020 was a Sunday).
      {"w", At(2020, 1, 1), At(2020, 1, 7), 0},
      {"w", At(2020, 1, 1), At(2020, 1, 8), 1},
      {"w", At(2020, 1, 8), At(2020, 1, 1), -1},
      {"ww", At(2020, 1, 4), At(2020, 1, 5), 1},
      {"ww", At(2020, 1, 5), At(2020, 1, 11), 0},
      {"ww", At(2020, 1, 11), At(2020, 1, 4), -1},
      {"ww", At(1899, 12, 30), At(1900, 1, 7), 2},
  };
  for (const Case& c : cases) {
    const auto result = DateDiff(c.interval, c.from, c.to);
    ASSERT_TRUE(result.has_value()) << c.interval;
    EXPECT_EQ(*result, c.expected)
        << c.interval << " " << FormatIsoDate(c.from) << " -> " << FormatIsoDate(c.to);
  }
}

TEST(DateDiff, SecondsAgreeWithElapsedTimeAcrossMonthsAndYears) {
  const Date base = At(2019, 12, 31, 12, 0, 0);
  for (int days = -400; days <= 400; days += 37) {
    const Date later(base.serial() + days);
    EXPECT_EQ(DateDiff("s", base, later).value(), int64_t{days} * 86400) << days;
    EXPECT_EQ(DateDiff("d", base, later).value(), days) << days;
  }
}

TEST(DateDiff, UnknownIntervalsAnswerNothing) {
  for (std::string interval : {"", "x", "ss", "mm", "dd", "yy"}) {
    EXPECT_FALSE(DateDiff(interval, At(2020, 1, 1), At(2021, 1, 1)).has_value()) << interval;
  }
}

}  // namespace
}  // namespace clipcat
