#include "util/values.h"

#include <cstdio>
#include <optional>

#include "util/date_text.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat {
namespace {

// `convert` applied to `value`, or `fallback` when it raises. Null, which every conversion
// refuses, is answered without raising: rows and XML are full of it.
template <typename T, typename Convert>
T ConvertOr(const Variant& value, Convert convert, T fallback) {
  if (value.type() == Variant::Type::kNull) return fallback;
  try {
    return convert();
  } catch (const AutomationError&) {
    return fallback;
  }
}

}  // namespace

std::string SqlText(const Variant& value) {
  const std::string text = TrimSpaces(ToTextOr(value, std::string()));
  if (text.empty()) return "Null";
  return "'" + ReplaceAll(text, "'", "''") + "'";
}

std::string SqlNumber(const Variant& value) {
  if (value.type() == Variant::Type::kBoolean) return value.AsBoolean() ? "-1" : "0";
  const std::string text = TrimSpaces(ToTextOr(value, std::string()));
  if (text.empty()) return "Null";
  double ignored = 0;
  if (!ParseNumberText(text, ignored)) RaiseRuntimeError(err::kTypeMismatch);
  return text;
}

std::string SqlDate(const Variant& value) {
  const std::string normalised = NormaliseDateText(value.ToText());  // Null raises here
  if (normalised.empty()) return "Null";
  const auto date = ParseIsoDate(normalised);
  if (!date) return "Null";
  return "'" + FormatCatalogDateText(*date) + "'";
}

std::string NormaliseDateText(const std::string& text) {
  std::string t = text;
  t = ReplaceAllIgnoreCase(t, "a.m.", "am");
  t = ReplaceAllIgnoreCase(t, "a.m", "am");
  t = ReplaceAllIgnoreCase(t, "p.m.", "pm");
  t = ReplaceAllIgnoreCase(t, "p.m", "pm");
  t = ReplaceAll(t, ".", "/");
  t = ReplaceAll(t, ",", "");
  const DateLocale& locale = CurrentDateLocale();
  for (int day = 0; day < 7; ++day) {
    t = ReplaceAllIgnoreCase(t, locale.weekday_names[day], "");
    t = ReplaceAllIgnoreCase(t, locale.weekday_abbreviations[day], "");
  }
  const auto date = ParseDateText(t, locale);
  if (!date) return {};
  return FormatIsoDate(*date);
}

std::string FormatCatalogDate(const Date& date) {
  // The locale's short text of a valid date always reads back as the same second, so the detour
  // through it is skipped: this runs for every date of every entity written as XML.
  if (!date.IsValid()) return {};
  return FormatCatalogDateText(date);
}

namespace {

// The date of text written exactly in the catalog form, without the detours of the general
// reader: every date read back from a catalog or an entity's XML has this form.
std::optional<Date> ParseExactCatalogDate(const std::string& text) {
  DateParts p;
  char month[32] = {0};
  int consumed = 0;
  if (std::sscanf(text.c_str(), "%2d:%2d:%2d %2d %31s %4d%n", &p.hour, &p.minute, &p.second, &p.day,
                  month, &p.year, &consumed) != 6 ||
      static_cast<size_t>(consumed) != text.size()) {
    return std::nullopt;
  }
  const DateLocale& locale = CurrentDateLocale();
  for (int m = 0; m < 12; ++m) {
    if (locale.month_abbreviations[m] == month) p.month = m + 1;
  }
  const auto date = Date::FromParts(p);
  // Only the exact form qualifies (leading zeros, single blanks); anything else takes the long way.
  if (!date || FormatCatalogDateText(*date, locale) != text) return std::nullopt;
  return date;
}

}  // namespace

Date ToDateOr(const Variant& value, Date fallback) {
  if (value.type() == Variant::Type::kDate) {
    const Date date = value.ToDate();
    if (date.IsValid()) {
      if (const auto rounded = Date::FromParts(date.Parts())) return *rounded;  // to the second
    }
  }
  if (value.type() == Variant::Type::kString) {
    if (const auto date = ParseExactCatalogDate(value.AsString())) return *date;
  }
  return ConvertOr<Date>(
      value,
      [&] {
        const auto iso = ParseIsoDate(NormaliseDateText(value.ToText()));
        if (!iso) RaiseRuntimeError(err::kTypeMismatch);
        const auto date = ParseDateText(FormatCatalogDateText(*iso));
        if (!date) RaiseRuntimeError(err::kTypeMismatch);
        return *date;
      },
      fallback);
}

std::string ToTextOr(const Variant& value, const std::string& fallback) {
  return ConvertOr<std::string>(
      value, [&] { return value.ToText(); }, fallback);
}

bool ToBooleanOr(const Variant& value, bool fallback) {
  if (value.type() == Variant::Type::kString) {
    if (value.AsString() == "Yes") return true;
    if (value.AsString() == "No") return false;
  }
  return ConvertOr<bool>(
      value, [&] { return value.ToBoolean(); }, fallback);
}

int32_t ToLongOr(const Variant& value, int32_t fallback) {
  return ConvertOr<int32_t>(
      value, [&] { return value.ToLong(); }, fallback);
}

double ToDecimalOr(const Variant& value, double fallback) {
  return ConvertOr<double>(
      value, [&] { return value.ToDouble(); }, fallback);
}

}  // namespace clipcat
