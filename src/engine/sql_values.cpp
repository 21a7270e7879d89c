#include "engine/sql_values.h"

#include "engine/sql_tokenizer.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat {

SqlValue SqlValue::Number(const Variant& value) {
  // Keys come as text of digits alone, which SqlNumber would give back unchanged.
  if (value.type() == Variant::Type::kString) {
    const std::string& text = value.AsString();
    if (!text.empty() && text.size() < 16 &&
        text.find_first_not_of("0123456789") == std::string::npos) {
      return {Kind::kNumber, text};
    }
  }
  if (value.type() == Variant::Type::kLong) {
    return {Kind::kNumber, std::to_string(value.ToLong())};
  }
  return {Kind::kNumber, SqlNumber(value)};
}
SqlValue SqlValue::Text(const Variant& value) { return {Kind::kText, SqlText(value)}; }
SqlValue SqlValue::Date(const Variant& value) { return {Kind::kDate, SqlDate(value)}; }

std::string SpliceSqlValues(std::string_view sql, const SqlValues& values) {
  std::string out;
  out.reserve(sql.size() + values.size() * 8);
  size_t places = 0;
  for (const SqlToken& token : TokenizeSql(sql)) {
    if (token.kind != SqlTokenKind::kParameter) {
      out += token.text;
      continue;
    }
    if (token.text != "?") {
      throw AutomationError(err::kDatabaseError, kComponentSource,
                            "The statement holds a parameter, " + std::string(token.text) +
                                ", that takes no value of the ones given.");
    }
    if (places < values.size()) out += values[places].literal;
    ++places;
  }
  if (places != values.size()) {
    throw AutomationError(err::kDatabaseError, kComponentSource,
                          "The statement has " + std::to_string(places) +
                              " places for values and " + std::to_string(values.size()) +
                              " values were given.");
  }
  return out;
}

}  // namespace clipcat
