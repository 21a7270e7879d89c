#include "store/postgres_dialect.h"

#include <cstdlib>
#include <map>
#include <optional>
#include <vector>

#include "store/sql_statement_view.h"
#include "util/text.h"

namespace clipcat {
namespace {

bool IsSign(const SqlToken& token) {
  return token.kind == SqlTokenKind::kOperator && (token.text == "-" || token.text == "+");
}

// Tokens after which a literal starts an operand of its own rather than continuing an expression.
bool StartsOperand(const SqlToken& token) {
  if (token.kind == SqlTokenKind::kOperator) {
    return token.text == "(" || token.text == "," || IsComparison(token);
  }
  static constexpr std::string_view kKeywords[] = {"where", "and",  "or",     "not",   "on",
                                                   "set",   "when", "having", "values"};
  for (std::string_view word : kKeywords) {
    if (IsWord(token, word)) return true;
  }
  return false;
}

// Tokens that end an operand: what follows a lone literal when it is the whole operand.
bool EndsOperand(const SqlToken& token) {
  if (token.kind == SqlTokenKind::kOperator) {
    return token.text == ")" || token.text == "," || token.text == ";" || IsComparison(token);
  }
  return token.kind == SqlTokenKind::kIdentifier;  // AND, OR, WHERE, ORDER ...
}

class Translator {
 public:
  Translator(std::string_view sql, const PostgresColumnTypes& types)
      : text_(TranslateSqlForSqlite(sql, types.dates)),
        view_(text_),
        tokens_(view_.tokens()),
        types_(types) {}

  std::string Run() {
    MarkInsertValues();
    MarkComparisons();
    MarkLikePatterns();
    std::string out;
    for (size_t i = 0; i < tokens_.size(); ++i) {
      const auto replaced = replacements_.find(i);
      out += replaced != replacements_.end() ? std::string_view(replaced->second) : tokens_[i].text;
      const auto added = additions_.find(i);
      if (added != additions_.end()) out += added->second;
    }
    return out;
  }

 private:
  const SqlToken& Sig(size_t k) const { return view_.Sig(k); }
  size_t Count() const { return view_.Count(); }
  size_t LastNamePart(size_t k) const { return view_.LastNamePart(k); }

  bool IsBooleanColumn(const SqlToken& token) const {
    return IsName(token) && types_.booleans.count(ToLowerAscii(IdentifierName(token))) != 0;
  }

  // When a signed or unsigned number literal starts at `k`, the index of its number token.
  std::optional<size_t> NumberAt(size_t k) const {
    if (k < Count() && Sig(k).kind == SqlTokenKind::kNumber) return k;
    if (k + 1 < Count() && IsSign(Sig(k)) && Sig(k + 1).kind == SqlTokenKind::kNumber) {
      return k + 1;
    }
    return std::nullopt;
  }

  // Rewrites the literal from `first` to the number token `number` as TRUE or FALSE.
  void MarkBoolean(size_t first, size_t number) {
    const std::string digits(Sig(number).text);
    char* end = nullptr;
    const double value = std::strtod(digits.c_str(), &end);
    if (end == digits.c_str() || *end != '\0') return;  // not a number PostgreSQL would read
    for (size_t k = first; k < number; ++k) replacements_[view_.TokenIndex(k)] = "";
    replacements_[view_.TokenIndex(number)] = value != 0 ? "TRUE" : "FALSE";
  }

  // A boolean column's value in an INSERT that is one number literal and nothing else.
  void MarkInsertValues() {
    view_.ForEachInsertValue([this](const SqlToken& column, size_t first, size_t end) {
      const auto number = NumberAt(first);
      if (number && *number + 1 == end && IsBooleanColumn(column)) MarkBoolean(first, *number);
    });
  }

  // column = literal, literal = column; UPDATE's SET assignments are of the first form.
  void MarkComparisons() {
    const size_t n = Count();
    for (size_t k = 0; k < n; ++k) {
      if (!IsComparison(Sig(k))) continue;
      // Left side a boolean column, right side a lone literal.
      if (k >= 1 && IsBooleanColumn(Sig(k - 1))) {
        const auto number = NumberAt(k + 1);
        if (number && (*number + 1 == n || EndsOperand(Sig(*number + 1)))) {
          MarkBoolean(k + 1, *number);
        }
      }
      // Left side a lone literal, right side a boolean column.
      if (k + 1 < n && IsBooleanColumn(Sig(LastNamePart(k + 1)))) {
        size_t first = k;
        if (first == 0) continue;
        --first;  // the number token
        if (Sig(first).kind != SqlTokenKind::kNumber) continue;
        const size_t number = first;
        if (first >= 1 && IsSign(Sig(first - 1))) --first;
        if (first == 0 || StartsOperand(Sig(first - 1))) MarkBoolean(first, number);
      }
    }
  }

  // LIKE 'pattern' without ESCAPE: the pattern's backslashes are plain characters.
  void MarkLikePatterns() {
    const size_t n = Count();
    for (size_t k = 0; k + 1 < n; ++k) {
      if (!IsWord(Sig(k), "like") && !IsWord(Sig(k), "ilike")) continue;
      if (Sig(k + 1).kind != SqlTokenKind::kString) continue;
      if (k + 2 < n && (IsWord(Sig(k + 2), "escape") || !EndsOperand(Sig(k + 2)))) continue;
      additions_[view_.TokenIndex(k + 1)] = " ESCAPE ''";
    }
  }

  std::string text_;  // the statement with its date literals rewritten; tokens_ view into it
  SqlStatementView view_;
  const std::vector<SqlToken>& tokens_;  // every token, spaces and comments included
  const PostgresColumnTypes& types_;
  std::map<size_t, std::string> replacements_;  // token index -> text written instead
  std::map<size_t, std::string> additions_;     // token index -> text written after it
};

}  // namespace

std::string TranslateSqlForPostgres(std::string_view sql, const PostgresColumnTypes& types) {
  return Translator(sql, types).Run();
}

}  // namespace clipcat
