// Automation dates: a count of days since 1899-12-30 00:00:00 whose fraction is the time of day,
// in local wall-clock time with no time zone. Values are plain data; safe to copy between threads.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace clipcat {

struct DateParts {
  int year = 1899;
  int month = 12;
  int day = 30;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

class Date {
 public:
  // Day zero, 1899-12-30 00:00:00.
  constexpr Date() = default;
  constexpr explicit Date(double serial) : serial_(serial) {}

  // The date for the given calendar parts. Answers nothing when a part is out of range (years
  // 100 to 9999, real calendar days, 24-hour times).
  static std::optional<Date> FromParts(const DateParts& parts);

  // The current local time, to the second.
  static Date Now();

  double serial() const { return serial_; }

  // Calendar parts, the time rounded to the nearest second.
  DateParts Parts() const;

  // True when the value lies in the representable years 100 to 9999: its day, as Parts reads
  // it, is one of 0100-01-01 to 9999-12-31, at any time of that day.
  bool IsValid() const;

  friend bool operator==(const Date& a, const Date& b) { return a.serial_ == b.serial_; }

 private:
  // Negative serials count whole days backwards but their fraction still runs forwards from
  // midnight: -1.25 is 1899-12-29 06:00.
  double serial_ = 0.0;
};

// The moment `date` names in seconds since 1970-01-01 00:00:00 UTC, its wall-clock time read in
// the local time zone (with the daylight saving time the zone had on that day); outside what the
// C library converts, the wall-clock time read as UTC.
int64_t UnixSeconds(const Date& date);

// The moment `date` names (UnixSeconds) in UTC as ISO 8601: "2026-11-26T01:40:00Z".
std::string FormatIsoUtc(const Date& date);

// "yyyy-mm-dd hh:nn:ss".
std::string FormatIsoDate(const Date& date);

// Reads "yyyy-mm-dd hh:nn:ss" (and its forms without seconds or time) strictly.
std::optional<Date> ParseIsoDate(const std::string& text);

}  // namespace clipcat
