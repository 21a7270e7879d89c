#include "util/date_locale.h"

#include <langinfo.h>
#include <locale.h>

#include <string_view>

namespace clipcat {
namespace {

thread_local const DateLocale* g_thread_locale = nullptr;

DateOrder OrderFromFormat(std::string_view format) {
  const auto day =
      format.find("%d") != std::string_view::npos ? format.find("%d") : format.find("%e");
  const auto month = format.find("%m");
  auto year = format.find("%y");
  if (year == std::string_view::npos) year = format.find("%Y");
  if (day == std::string_view::npos || month == std::string_view::npos) {
    return DateOrder::kMonthDayYear;
  }
  if (year != std::string_view::npos && year < month && month < day)
    return DateOrder::kYearMonthDay;
  return day < month ? DateOrder::kDayMonthYear : DateOrder::kMonthDayYear;
}

}  // namespace

DateLocale DateLocale::English(DateOrder order) {
  DateLocale l;
  l.weekday_names = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
  l.weekday_abbreviations = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  l.month_names = {"January", "February", "March",     "April",   "May",      "June",
                   "July",    "August",   "September", "October", "November", "December"};
  l.month_abbreviations = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                           "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  l.order = order;
  return l;
}

DateLocale DateLocale::FromEnvironment() {
  locale_t loc = newlocale(LC_TIME_MASK, "", static_cast<locale_t>(0));
  if (loc == static_cast<locale_t>(0)) return English(DateOrder::kMonthDayYear);
  DateLocale l;
  for (int i = 0; i < 7; ++i) {
    l.weekday_names[i] = nl_langinfo_l(static_cast<nl_item>(DAY_1 + i), loc);
    l.weekday_abbreviations[i] = nl_langinfo_l(static_cast<nl_item>(ABDAY_1 + i), loc);
  }
  for (int i = 0; i < 12; ++i) {
    l.month_names[i] = nl_langinfo_l(static_cast<nl_item>(MON_1 + i), loc);
    l.month_abbreviations[i] = nl_langinfo_l(static_cast<nl_item>(ABMON_1 + i), loc);
  }
  const std::string am = nl_langinfo_l(AM_STR, loc);
  const std::string pm = nl_langinfo_l(PM_STR, loc);
  if (!am.empty()) l.am = am;
  if (!pm.empty()) l.pm = pm;
  l.order = OrderFromFormat(nl_langinfo_l(D_FMT, loc));
  freelocale(loc);
  return l;
}

const DateLocale& CurrentDateLocale() {
  if (g_thread_locale != nullptr) return *g_thread_locale;
  static const DateLocale environment = DateLocale::FromEnvironment();
  return environment;
}

ScopedDateLocale::ScopedDateLocale(DateLocale locale)
    : locale_(std::move(locale)), previous_(g_thread_locale) {
  g_thread_locale = &locale_;
}

ScopedDateLocale::~ScopedDateLocale() { g_thread_locale = previous_; }

}  // namespace clipcat
