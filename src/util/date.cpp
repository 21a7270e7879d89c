#include "util/date.h"

#include <cmath>
#include <cstdio>
#include <ctime>

namespace clipcat {
namespace {

// Days from 1970-01-01 for a proleptic Gregorian date (H. Hinnant's algorithm).
int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

void CivilFromDays(int64_t z, int& year, int& month, int& day) {
  z += 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const unsigned doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t y = static_cast<int64_t>(yoe) + era * 400;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  year = static_cast<int>(y + (month <= 2));
}

// 1899-12-30 counted from 1970-01-01.
constexpr int64_t kEpochOffset = -25569;

int DaysInMonth(int year, int month) {
  static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays[month - 1];
}

// The first and the last day of the representable years, 0100-01-01 and 9999-12-31.
constexpr int64_t kFirstDay = -657434;
constexpr int64_t kLastDay = 2958465;

// A serial read as a day and a second of that day. The day is the whole part, truncated toward
// zero: the fraction counts forwards from midnight on either side of day zero, so -1.25 is day
// -1 at 06:00. A time that rounds to midnight is the start of the next day.
struct DayAndSecond {
  int64_t day;
  int64_t second;
};
DayAndSecond SplitSerial(double serial) {
  const double whole = std::trunc(serial);
  DayAndSecond split{static_cast<int64_t>(whole),
                     std::llround(std::fabs(serial - whole) * 86400.0)};
  if (split.second >= 86400) {
    split.second -= 86400;
    ++split.day;
  }
  return split;
}

}  // namespace

std::optional<Date> Date::FromParts(const DateParts& p) {
  if (p.year < 100 || p.year > 9999 || p.month < 1 || p.month > 12 || p.day < 1 ||
      p.day > DaysInMonth(p.year, p.month) || p.hour < 0 || p.hour > 23 || p.minute < 0 ||
      p.minute > 59 || p.second < 0 || p.second > 59) {
    return std::nullopt;
  }
  const int64_t days = DaysFromCivil(p.year, p.month, p.day) - kEpochOffset;
  const double fraction = (p.hour * 3600 + p.minute * 60 + p.second) / 86400.0;
  return Date(days >= 0 ? days + fraction : days - fraction);
}

Date Date::Now() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return *FromParts({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                     local.tm_min, local.tm_sec});
}

DateParts Date::Parts() const {
  const DayAndSecond split = SplitSerial(serial_);
  DateParts p;
  CivilFromDays(split.day + kEpochOffset, p.year, p.month, p.day);
  p.hour = static_cast<int>(split.second / 3600);
  p.minute = static_cast<int>(split.second / 60 % 60);
  p.second = static_cast<int>(split.second % 60);
  return p;
}

int64_t UnixSeconds(const Date& date) {
  const DateParts parts = date.Parts();
  std::tm local{};
  local.tm_year = parts.year - 1900;
  local.tm_mon = parts.month - 1;
  local.tm_mday = parts.day;
  local.tm_hour = parts.hour;
  local.tm_min = parts.minute;
  local.tm_sec = parts.second;
  local.tm_isdst = -1;
  const std::time_t moment = std::mktime(&local);
  if (moment != static_cast<std::time_t>(-1)) return static_cast<int64_t>(moment);
  const int64_t days = DaysFromCivil(parts.year, static_cast<unsigned>(parts.month),
                                     static_cast<unsigned>(parts.day));
  return days * 86400 + parts.hour * 3600 + parts.minute * 60 + parts.second;
}

std::string FormatIsoUtc(const Date& date) {
  const std::time_t moment = static_cast<std::time_t>(UnixSeconds(date));
  std::tm utc{};
  gmtime_r(&moment, &utc);
  char text[80];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", utc.tm_year + 1900,
                utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
  return text;
}

bool Date::IsValid() const {
  // Far outside the range first: SplitSerial needs a day that fits 64 bits.
  if (!std::isfinite(serial_) || serial_ <= kFirstDay - 2.0 || serial_ >= kLastDay + 2.0) {
    return false;
  }
  const int64_t day = SplitSerial(serial_).day;
  return day >= kFirstDay && day <= kLastDay;
}

std::string FormatIsoDate(const Date& date) {
  const DateParts p = date.Parts();
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d", p.year, p.month, p.day,
                p.hour, p.minute, p.second);
  return buffer;
}

namespace {

// The number the `count` decimal digits at `s` spell; -1 when one of them is not a digit.
int Digits(const char* s, int count) {
  int value = 0;
  for (int i = 0; i < count; ++i) {
    if (s[i] < '0' || s[i] > '9') return -1;
    value = value * 10 + (s[i] - '0');
  }
  return value;
}

// The form the catalogs store, "YYYY-MM-DD", "YYYY-MM-DD HH:MM" or "YYYY-MM-DD HH:MM:SS", read
// directly; nothing for any other text, which the general reading below decides.
std::optional<DateParts> StoredIsoParts(const std::string& text) {
  const size_t n = text.size();
  if (n != 10 && n != 16 && n != 19) return std::nullopt;
  const char* s = text.data();
  if (s[4] != '-' || s[7] != '-') return std::nullopt;
  DateParts p;
  p.year = Digits(s, 4);
  p.month = Digits(s + 5, 2);
  p.day = Digits(s + 8, 2);
  if (n > 10) {
    if (s[10] != ' ' || s[13] != ':' || (n == 19 && s[16] != ':')) return std::nullopt;
    p.hour = Digits(s + 11, 2);
    p.minute = Digits(s + 14, 2);
    if (n == 19) p.second = Digits(s + 17, 2);
  }
  if (p.year < 0 || p.month < 0 || p.day < 0 || p.hour < 0 || p.minute < 0 || p.second < 0) {
    return std::nullopt;
  }
  return p;
}

}  // namespace

std::optional<Date> ParseIsoDate(const std::string& text) {
  if (const auto stored = StoredIsoParts(text)) return Date::FromParts(*stored);
  DateParts p;
  int consumed = 0;
  const char* s = text.c_str();
  if (std::sscanf(s, "%4d-%2d-%2d%n", &p.year, &p.month, &p.day, &consumed) != 3 ||
      consumed != 10) {
    return std::nullopt;
  }
  if (text.size() > 10) {
    int end = 0;
    const int n =
        std::sscanf(s + 10, " %2d:%2d%n:%2d%n", &p.hour, &p.minute, &end, &p.second, &end);
    if (n < 2 || 10 + static_cast<size_t>(end) != text.size()) return std::nullopt;
  }
  return Date::FromParts(p);
}

}  // namespace clipcat
