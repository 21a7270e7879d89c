#include "engine/sqlite_parameters.h"

#include <charconv>

#include "engine/sql_tokenizer.h"
#include "util/date.h"
#include "util/date_text.h"
#include "util/text.h"

namespace clipcat {
namespace {

// What the literals of one nesting level (the statement, or one pair of parentheses) stand in.
enum class Clause {
  kExpression,  // WHERE, SET, VALUES, ON, HAVING ...: values
  kResultList,  // SELECT ... FROM, RETURNING ...: the text names the result columns
  kTableList,   // FROM, UPDATE: names (SQLite reads a string there as a name)
  kInsertHead,  // INSERT INTO t (columns): names
  kOrdering,    // ORDER BY, GROUP BY, LIMIT, OFFSET: numbers are positions and counts
};

struct Level {
  Clause clause = Clause::kExpression;
  bool frozen = false;  // inside a level whose literals stay, so these stay too
};

bool IsAnyWord(const SqlToken& token, std::initializer_list<std::string_view> words) {
  if (token.kind != SqlTokenKind::kIdentifier) return false;
  for (std::string_view word : words) {
    if (EqualsIgnoreCase(token.text, word)) return true;
  }
  return false;
}

// True when a literal after `previous` is an operand whose value alone matters.
bool OpensOperand(const SqlToken& previous, Clause clause) {
  if (previous.kind == SqlTokenKind::kOperator) {
    // In a table list a comma separates names.
    if (previous.text == "," || previous.text == "(") return clause != Clause::kTableList;
    static constexpr std::string_view kOperators[] = {"=",  "==", "<>", "!=", "<", "<=", ">",
                                                      ">=", "+",  "-",  "*",  "/", "%",  "||"};
    for (std::string_view op : kOperators) {
      if (previous.text == op) return true;
    }
    return false;
  }
  return IsAnyWord(previous, {"like", "glob", "escape", "and", "or", "not", "between", "is", "then",
                              "else", "when", "case", "where", "on", "having"});
}

std::optional<SqlLiteralValue> LiteralValue(const SqlToken& token) {
  SqlLiteralValue value;
  if (token.kind == SqlTokenKind::kString) {
    value.is_text = true;
    value.text = StringLiteralValue(token);
    // Only a literal that is closed and written the usual way: anything else is left to the
    // engine to read (and refuse) as written.
    if (QuoteStringLiteral(value.text) != token.text) return std::nullopt;
    return value;
  }
  if (token.kind != SqlTokenKind::kNumber) return std::nullopt;
  for (char c : token.text) {
    if (c < '0' || c > '9') return std::nullopt;
  }
  const char* first = token.text.data();
  const char* last = first + token.text.size();
  const auto [end, ec] = std::from_chars(first, last, value.integer);
  if (ec != std::errc() || end != last) return std::nullopt;
  return value;
}

// The text a string literal written as QuoteStringLiteral writes one stands for. Item text of
// many kilobytes comes this way, so it is copied a run between quotes at a time.
std::optional<std::string> QuotedText(std::string_view literal) {
  if (literal.size() < 2 || literal.front() != '\'' || literal.back() != '\'') return std::nullopt;
  const std::string_view inside = literal.substr(1, literal.size() - 2);
  std::string text;
  text.reserve(inside.size());
  for (size_t at = 0;;) {
    const size_t quote = inside.find('\'', at);
    if (quote == std::string_view::npos) {
      text.append(inside.substr(at));
      return text;
    }
    if (quote + 1 >= inside.size() || inside[quote + 1] != '\'') return std::nullopt;
    text.append(inside.substr(at, quote + 1 - at));
    at = quote + 2;
  }
}

}  // namespace

std::optional<std::vector<SqlLiteralValue>> BindableSqlValues(const SqlValues& values) {
  std::vector<SqlLiteralValue> bound;
  bound.reserve(values.size());
  for (const SqlValue& value : values) {
    SqlLiteralValue out;
    if (value.kind == SqlValue::Kind::kNumber) {
      const std::string& digits = value.literal;
      if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
      }
      const auto [end, ec] =
          std::from_chars(digits.data(), digits.data() + digits.size(), out.integer);
      if (ec != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    } else {
      auto text = QuotedText(value.literal);
      if (!text) return std::nullopt;
      out.is_text = true;
      out.text = std::move(*text);
      if (value.kind == SqlValue::Kind::kDate) {
        const auto date = ParseDateText(out.text);
        if (date && date->IsValid()) out.text = FormatIsoDate(*date);
      }
    }
    bound.push_back(std::move(out));
  }
  return bound;
}

std::optional<ParameterisedSql> ParameteriseSql(std::string_view sql) {
  return ParameteriseSql(sql, TokenizeSql(sql));
}

std::optional<ParameterisedSql> ParameteriseSql(std::string_view sql,
                                                const std::vector<SqlToken>& tokens) {
  const SqlToken* first = nullptr;
  for (const SqlToken& token : tokens) {
    if (token.kind == SqlTokenKind::kParameter) return std::nullopt;
    if (first == nullptr && !IsInsignificant(token)) first = &token;
  }
  if (first == nullptr || !IsAnyWord(*first, {"select", "insert", "update", "delete"})) {
    return std::nullopt;
  }

  ParameterisedSql out;
  out.text.reserve(sql.size());
  std::vector<Level> levels(1);
  const SqlToken* previous = nullptr;
  for (const SqlToken& token : tokens) {
    if (IsInsignificant(token)) {
      out.text += token.text;
      continue;
    }
    Level& level = levels.back();
    if (token.kind == SqlTokenKind::kOperator && token.text == "(") {
      const bool frozen = level.frozen || level.clause == Clause::kResultList ||
                          level.clause == Clause::kTableList ||
                          level.clause == Clause::kInsertHead || level.clause == Clause::kOrdering;
      levels.push_back(Level{Clause::kExpression, frozen});
    } else if (token.kind == SqlTokenKind::kOperator && token.text == ")") {
      if (levels.size() > 1) levels.pop_back();
    } else if (token.kind == SqlTokenKind::kIdentifier) {
      if (IsAnyWord(token, {"select", "returning"})) {
        level.clause = Clause::kResultList;
      } else if (IsAnyWord(token, {"from", "update"})) {
        level.clause = Clause::kTableList;
      } else if (IsAnyWord(token, {"insert", "replace"})) {
        level.clause = Clause::kInsertHead;
      } else if (IsAnyWord(token, {"order", "group", "limit", "offset"})) {
        level.clause = Clause::kOrdering;
      } else if (IsAnyWord(token,
                           {"where", "set", "values", "having", "union", "except", "intersect"})) {
        level.clause = Clause::kExpression;
      }
    } else if (!level.frozen && previous != nullptr &&
               (level.clause == Clause::kExpression || level.clause == Clause::kTableList) &&
               OpensOperand(*previous, level.clause)) {
      if (auto value = LiteralValue(token)) {
        out.text += '?';
        out.values.push_back(std::move(*value));
        previous = &token;
        continue;
      }
    }
    out.text += token.text;
    previous = &token;
  }
  return out;
}

}  // namespace clipcat
