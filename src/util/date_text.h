// Reading and writing dates as text under a DateLocale: the forgiving reader that automation's
// CDate/IsDate offers, the locale's own short form, and the catalog form "HH:MM:SS D MMM YYYY".
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "util/date.h"
#include "util/date_locale.h"

namespace clipcat {

// Reads a date written in any of the forms users and catalogs produce:
//   "yyyy-mm-dd hh:nn:ss" (seconds or the whole time may be left out),
//   the catalog form "HH:MM:SS D MMM YYYY",
//   a day, a month name (full or abbreviated, any case) and a year, with or without a time,
//   numeric dates in the locale's order with "/", "-" or "." between the parts,
//   12-hour times with am/pm and 24-hour times, or a time alone (on day zero).
// Two-digit years mean 1930 to 2029; years run from 100 to 9999. A date without a year takes the
// current one. Answers nothing for text that is not a date.
std::optional<Date> ParseDateText(std::string_view text,
                                  const DateLocale& locale = CurrentDateLocale());

// The locale's short text of a date, as automation's CStr writes it: the numeric date in the
// locale's order with "/" and a four-digit year, then a 24-hour time "hh:nn:ss". Day zero shows
// only the time and midnight only the date.
std::string FormatLocaleDate(const Date& date, const DateLocale& locale = CurrentDateLocale());

// "HH:MM:SS D MMM YYYY": 24-hour time, day without a leading zero, the locale's abbreviated month
// name, four-digit year. The form catalogs use in SQL and XML.
std::string FormatCatalogDateText(const Date& date, const DateLocale& locale = CurrentDateLocale());

}  // namespace clipcat
