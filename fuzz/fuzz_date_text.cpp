// The forgiving date reader on arbitrary text, under each numeric order. A date it reads is
// written in the catalog form and the ISO form, and each reads back to the same text.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz_check.h"
#include "util/date.h"
#include "util/date_locale.h"
#include "util/date_text.h"

namespace {

using clipcat::fuzz::Require;

void ReadUnder(std::string_view text, clipcat::DateOrder order) {
  const clipcat::ScopedDateLocale locale(clipcat::DateLocale::English(order));
  const auto date = clipcat::ParseDateText(text);
  if (!date || !date->IsValid()) return;
  const std::string catalog = clipcat::FormatCatalogDateText(*date);
  const auto catalog_again = clipcat::ParseDateText(catalog);
  Require(catalog_again.has_value(), "the catalog form of a date reads as a date");
  Require(clipcat::FormatCatalogDateText(*catalog_again) == catalog,
          "the catalog form reads back to the same text");
  const std::string iso = clipcat::FormatIsoDate(*date);
  const auto iso_again = clipcat::ParseIsoDate(iso);
  Require(iso_again.has_value() && clipcat::FormatIsoDate(*iso_again) == iso,
          "the ISO form reads back to the same text");
  (void)clipcat::FormatLocaleDate(*date);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  ReadUnder(text, clipcat::DateOrder::kDayMonthYear);
  ReadUnder(text, clipcat::DateOrder::kMonthDayYear);
  ReadUnder(text, clipcat::DateOrder::kYearMonthDay);
  return 0;
}
