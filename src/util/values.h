// The value functions every layer uses to turn loosely typed values into SQL literals, catalog
// date text and typed values. None of them raises, except where a member says so: each answers a
// fallback ("Null", the empty text, or the caller's fallback).
#pragma once

#include <cstdint>
#include <string>

#include "util/date.h"
#include "util/variant.h"

namespace clipcat {

// A SQL string literal: the value as text, trimmed of spaces, quotes doubled, in single quotes.
// Empty text, blanks alone and Null give "Null".
std::string SqlText(const Variant& value);

// A SQL numeric literal: the value's trimmed text. Empty text and Null give "Null". Text that is
// not a number (optional sign, digits, optional fraction and exponent) raises 13 "Type mismatch":
// nothing that is not a number is ever spliced as one. Booleans give -1 and 0.
std::string SqlNumber(const Variant& value);

// A SQL date literal '<HH:MM:SS D MMM YYYY>' of the value's date text, or "Null" when the text is
// not a date. Raises 94 "Invalid use of Null" for a Null value.
std::string SqlDate(const Variant& value);

// "yyyy-mm-dd hh:nn:ss" for any date text the locale can read once "a.m."/"p.m." are shortened,
// "." made "/", "," removed and weekday names dropped; the empty text otherwise.
std::string NormaliseDateText(const std::string& text);

// The catalog form "HH:MM:SS D MMM YYYY" of a date, unquoted. Empty when the date is out of range.
std::string FormatCatalogDate(const Date& date);

// Conversions with a fallback: the value converted, or `fallback` when it does not convert.
Date ToDateOr(const Variant& value, Date fallback);
std::string ToTextOr(const Variant& value, const std::string& fallback);
bool ToBooleanOr(const Variant& value, bool fallback);  // also "Yes"/"No", exactly so written
int32_t ToLongOr(const Variant& value,
                 int32_t fallback);  // halves to even; overflow gives fallback
double ToDecimalOr(const Variant& value, double fallback);

}  // namespace clipcat
