#include "engine/sqlite_functions.h"

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

}  // namespace
}  // namespace clipcat
