// The SQL functions the store's statements call that SQLite lacks, with the meaning the catalog's
// SQL gives them. Stateless; thread-safe.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <optional>
#include <string_view>

#include "util/date.h"

namespace clipcat {

// Datediff(interval, date1, date2): the number of interval boundaries crossed from date1 to date2,
// negative when date2 is earlier. Intervals (any case): "yyyy" years, "q" quarters, "m" months,
// "y" and "d" days, "w" whole weeks, "ww" calendar weeks (starting on Sunday), "h" hours,
// "n" minutes, "s" seconds. Answers nothing for an unknown interval.
std::optional<int64_t> DateDiff(std::string_view interval, const Date& date1, const Date& date2);

// Registers Datediff on `db`. Its date arguments may be ISO text (as catalogs store dates), any
// other date text, or a day count since 1899-12-30; a Null argument gives Null. Raises
// err::kDatabaseError when SQLite refuses the registration.
void RegisterSqlFunctions(sqlite3* db);

}  // namespace clipcat
