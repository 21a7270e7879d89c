#include "util/values.h"

#include "util/date_text.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat {
namespace {

template <typename T, typename Convert>
T ConvertOr(Convert convert, T fallback) {
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

Date ToDateOr(const Variant& value, Date fallback) {
  return ConvertOr<Date>(
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
  return ConvertOr<std::string>([&] { return value.ToText(); }, fallback);
}

bool ToBooleanOr(const Variant& value, bool fallback) {
  if (value.type() == Variant::Type::kString) {
    if (value.AsString() == "Yes") return true;
    if (value.AsString() == "No") return false;
  }
  return ConvertOr<bool>([&] { return value.ToBoolean(); }, fallback);
}

int32_t ToLongOr(const Variant& value, int32_t fallback) {
  return ConvertOr<int32_t>([&] { return value.ToLong(); }, fallback);
}

double ToDecimalOr(const Variant& value, double fallback) {
  return ConvertOr<double>([&] { return value.ToDouble(); }, fallback);
}

}  // namespace clipcat
