// The locale facts that date reading and writing depend on: weekday and month names and the order
// of day and month in numeric dates. The environment's LC_TIME supplies them unless a thread
// installs its own with ScopedDateLocale; no function here calls setlocale.
#pragma once

#include <array>
#include <string>

namespace clipcat {

enum class DateOrder { kDayMonthYear, kMonthDayYear, kYearMonthDay };

struct DateLocale {
  // Index 0 is Sunday.
  std::array<std::string, 7> weekday_names;
  std::array<std::string, 7> weekday_abbreviations;
  // Index 0 is January.
  std::array<std::string, 12> month_names;
  std::array<std::string, 12> month_abbreviations;
  std::string am = "AM";
  std::string pm = "PM";
  DateOrder order = DateOrder::kMonthDayYear;

  // English names with the given numeric order; needs no system locale.
  static DateLocale English(DateOrder order);

  // The facts of the environment's LC_TIME (LC_ALL, LC_TIME, LANG), read through newlocale and
  // nl_langinfo_l. Falls back to English month-first when the environment names no usable locale.
  static DateLocale FromEnvironment();
};

// The locale in force on this thread: the innermost ScopedDateLocale, else the environment's
// (read once per process).
const DateLocale& CurrentDateLocale();

// Installs `locale` for the calling thread for the lifetime of this object.
class ScopedDateLocale {
 public:
  explicit ScopedDateLocale(DateLocale locale);
  ~ScopedDateLocale();
  ScopedDateLocale(const ScopedDateLocale&) = delete;
  ScopedDateLocale& operator=(const ScopedDateLocale&) = delete;

 private:
  DateLocale locale_;
  const DateLocale* previous_;
};

}  // namespace clipcat
