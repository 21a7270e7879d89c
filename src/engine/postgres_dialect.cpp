#include "engine/postgres_dialect.h"

#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "engine/case_folding.h"
#include "engine/sql_statement_view.h"
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

// The catalog's function that folds text (postgres_schema.h).
constexpr std::string_view kFoldFunction = "clipcat_fold(";

// One side of a comparison or LIKE that is a single text column or string literal.
struct TextOperand {
  size_t first;  // meaningful tokens [first, last]
  size_t last;
  bool literal;  // a string literal; otherwise a text column
};

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
    if (!types_.texts.empty()) {
      MarkTextComparisons();
      MarkTextOrdering();
    }
    MarkLikePatterns();
    std::string out;
    for (size_t i = 0; i < tokens_.size(); ++i) {
      const auto prefix = prefixes_.find(i);
      if (prefix != prefixes_.end()) out += prefix->second;
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
      if (like_patterns_done_.count(k + 1) != 0) continue;
      if (k + 2 < n && (IsWord(Sig(k + 2), "escape") || !EndsOperand(Sig(k + 2)))) continue;
      additions_[view_.TokenIndex(k + 1)] += " ESCAPE ''";
    }
  }

  bool IsTextColumn(const SqlToken& token) const {
    return IsName(token) && types_.texts.count(ToLowerAscii(IdentifierName(token))) != 0;
  }

  // The operand that ends right before meaningful token `end`, when it is a lone text column or
  // string literal: nothing that binds tighter than the comparison stands before it.
  std::optional<TextOperand> OperandBefore(size_t end) const {
    if (end == 0) return std::nullopt;
    const size_t last = end - 1;
    size_t first = last;
    const bool literal = Sig(last).kind == SqlTokenKind::kString;
    if (!literal) {
      if (!IsTextColumn(Sig(last))) return std::nullopt;
      while (first >= 2 && Sig(first - 1).text == "." && IsName(Sig(first - 2))) first -= 2;
    }
    if (first > 0 && !StartsOperand(Sig(first - 1))) return std::nullopt;
    return TextOperand{first, last, literal};
  }

  // The operand that starts at meaningful token `first`, when it is a lone text column or string
  // literal: nothing that binds tighter than the comparison follows it.
  std::optional<TextOperand> OperandAfter(size_t first) const {
    if (first >= Count()) return std::nullopt;
    const bool literal = Sig(first).kind == SqlTokenKind::kString;
    const size_t last = literal ? first : LastNamePart(first);
    if (!literal && !IsTextColumn(Sig(last))) return std::nullopt;
    if (last + 1 < Count() && !EndsOperand(Sig(last + 1))) return std::nullopt;
    return TextOperand{first, last, literal};
  }

  void Wrap(const TextOperand& operand, std::string_view before, std::string_view after) {
    prefixes_[view_.TokenIndex(operand.first)] += before;
    additions_[view_.TokenIndex(operand.last)] += after;
  }

  // Where the assignments of an UPDATE are: from SET to WHERE (or the end) outside parentheses.
  // Their "=" assigns rather than compares.
  std::pair<size_t, size_t> Assignments() const {
    const size_t n = Count();
    if (n == 0 || !IsWord(Sig(0), "update")) return {0, 0};
    size_t set = n;
    int depth = 0;
    for (size_t k = 1; k < n; ++k) {
      const std::string_view t = Sig(k).text;
      depth += t == "(" ? 1 : t == ")" ? -1 : 0;
      if (depth != 0) continue;
      if (set == n && IsWord(Sig(k), "set")) set = k;
      if (set != n && IsWord(Sig(k), "where")) return {set, k};
    }
    return {set, n};
  }

  // Text columns compare and match LIKE by folded case (case_folding.h), as a SQLite catalog's
  // NOCASE columns do, where citext would fold ASCII letters only: "col op 'text'", "'text' op
  // col" and "col op col" fold both sides through the catalog's function; LIKE as RewriteLike
  // says. "=", "<>" and LIKE with a literal for which ASCII case suffices (AsciiCaseSuffices)
  // keep the plain citext comparison: it answers the same, and the column's own index serves
  // it. "<", ">" ... always fold: text that folds into ASCII (the Kelvin sign, the long s) sorts
  // by the letter it folds to, whatever the literal, where citext sorts it after all of ASCII.
  void MarkTextComparisons() {
    const size_t n = Count();
    const auto [assign_from, assign_to] = Assignments();
    std::vector<int> depths(n, 0);
    for (size_t k = 0, depth = 0; k < n; ++k) {
      if (Sig(k).text == ")" && depth > 0) --depth;
      depths[k] = static_cast<int>(depth);
      if (Sig(k).text == "(") ++depth;
    }
    for (size_t k = 1; k + 1 < n; ++k) {
      const bool like = IsWord(Sig(k), "like") || IsWord(Sig(k), "ilike");
      if (!like && !IsComparison(Sig(k))) continue;
      if (!like && k > assign_from && k < assign_to && depths[k] == 0) continue;
      const bool negated = like && IsWord(Sig(k - 1), "not");
      const auto left = OperandBefore(negated ? k - 1 : k);
      const auto right = OperandAfter(k + 1);
      if (!left || !right || (left->literal && right->literal)) continue;
      if (like && left->literal) continue;
      const TextOperand& literal = left->literal ? *left : *right;
      const std::string value =
          left->literal || right->literal ? StringLiteralValue(Sig(literal.first)) : "";
      if (like && right->literal) {
        if (!AsciiCaseSuffices(value)) RewriteLike(k, negated, *left, *right, value);
        continue;
      }
      const bool equality =
          Sig(k).text == "=" || Sig(k).text == "==" || Sig(k).text == "<>" || Sig(k).text == "!=";
      if (equality && (left->literal || right->literal) && AsciiCaseSuffices(value)) continue;
      Wrap(*left, kFoldFunction, ")");
      Wrap(*right, kFoldFunction, ")");
    }
  }

  // The text of meaningful tokens [first, last] as written, what lies between them included.
  std::string Text(size_t first, size_t last) const {
    std::string text;
    for (size_t i = view_.TokenIndex(first); i <= view_.TokenIndex(last); ++i) {
      text += tokens_[i].text;
    }
    return text;
  }

  // "col [NOT] LIKE 'pattern' [ESCAPE 'c']" (at meaningful token `like`) as
  //   (col LIKE 'sieve' ESCAPE 'c' AND clipcat_fold(col) LIKE clipcat_fold('pattern') ESCAPE 'c')
  // The sieve is the pattern with every character that ASCII case does not suffice for made
  // "_": whatever the folded pattern matches, citext matches the sieve, so the cheap sieve comes
  // first and leaves few rows to fold (NOT LIKE: OR and NOT LIKE). A pattern with an escape
  // character that has other cases is folded here instead, since the server would fold the
  // escape character as well.
  void RewriteLike(size_t like, bool negated, const TextOperand& column, const TextOperand& pattern,
                   const std::string& value) {
    const std::optional<char32_t> escape = EscapeAfter(pattern.last);
    const bool declared = pattern.last + 2 < Count() && IsWord(Sig(pattern.last + 1), "escape");
    const size_t end = declared ? pattern.last + 2 : pattern.last;
    const std::string escape_clause =
        declared ? " ESCAPE " + std::string(Sig(end).text) : std::string(" ESCAPE ''");
    const std::string col = Text(column.first, column.last);
    const std::string op = (negated ? " NOT " : " ") + std::string(Sig(like).text) + " ";
    std::string text = std::string(kFoldFunction) + col + ")" + op;
    if (escape && !IsCaseInert(*escape)) {
      text += QuoteStringLiteral(FoldLikePattern(value, escape)) + escape_clause;
    } else {
      text = "(" + col + op + QuoteStringLiteral(LikeSieve(value, escape)) + escape_clause +
             (negated ? " OR " : " AND ") + text + std::string(kFoldFunction) +
             std::string(Sig(pattern.first).text) + ")" + escape_clause + ")";
    }
    replacements_[view_.TokenIndex(column.first)] = text;
    for (size_t i = view_.TokenIndex(column.first) + 1; i <= view_.TokenIndex(end); ++i) {
      replacements_[i] = "";
    }
    like_patterns_done_.insert(pattern.first);
  }

  // `pattern` with each character for which ASCII case does not suffice made "_" (escaped ones
  // too, unescaped then): a pattern that citext matches wherever the folded pattern matches the
  // folded text. `escape` must be inert (IsCaseInert).
  static std::string LikeSieve(const std::string& pattern, std::optional<char32_t> escape) {
    std::string sieve;
    size_t at = 0;
    while (at < pattern.size()) {
      const size_t start = at;
      const char32_t c = NextCodePoint(pattern, &at);
      size_t literal = start;  // where the character that stands for itself starts
      if (escape && c == *escape) {
        if (at == pattern.size()) {
          sieve += pattern.substr(start);
          break;
        }
        literal = at;
        NextCodePoint(pattern, &at);
      } else if (c == '%' || c == '_') {
        sieve += static_cast<char>(c);
        continue;
      }
      const std::string_view character(pattern.data() + literal, at - literal);
      if (AsciiCaseSuffices(character)) {
        sieve += pattern.substr(start, at - start);
      } else {
        sieve += '_';
      }
    }
    return sieve;
  }

  // The escape character of "ESCAPE 'c'" after meaningful token `pattern`, when one is declared.
  std::optional<char32_t> EscapeAfter(size_t pattern) const {
    if (pattern + 2 >= Count() || !IsWord(Sig(pattern + 1), "escape") ||
        Sig(pattern + 2).kind != SqlTokenKind::kString) {
      return std::nullopt;
    }
    const std::string escape = StringLiteralValue(Sig(pattern + 2));
    if (escape.empty()) return std::nullopt;
    size_t at = 0;
    const char32_t c = NextCodePoint(escape, &at);
    return at == escape.size() ? std::optional<char32_t>(c) : std::nullopt;
  }

  // "ORDER BY col" on a text column sorts by the folded text, as a SQLite catalog's NOCASE
  // columns do. Left alone under DISTINCT and set operations, where the sort keys must be
  // columns of the result.
  void MarkTextOrdering() {
    const size_t n = Count();
    for (size_t k = 0; k < n; ++k) {
      if (IsWord(Sig(k), "distinct") || IsWord(Sig(k), "union") || IsWord(Sig(k), "intersect") ||
          IsWord(Sig(k), "except")) {
        return;
      }
    }
    for (size_t k = 0; k + 1 < n; ++k) {
      if (!IsWord(Sig(k), "order") || !IsWord(Sig(k + 1), "by")) continue;
      int depth = 0;
      bool item_start = true;
      for (size_t at = k + 2; at < n; ++at) {
        const SqlToken& token = Sig(at);
        if (token.text == "(") ++depth;
        if (token.text == ")" && --depth < 0) break;
        if (depth == 0 && (token.text == ";" || IsWord(token, "limit") || IsWord(token, "offset") ||
                           IsWord(token, "fetch"))) {
          break;
        }
        if (depth == 0 && token.text == ",") {
          item_start = true;
          continue;
        }
        if (!item_start) continue;
        item_start = false;
        const size_t last = LastNamePart(at);
        if (!IsTextColumn(Sig(last))) continue;
        const bool alone = last + 1 == n || Sig(last + 1).text == "," ||
                           Sig(last + 1).text == ")" || Sig(last + 1).text == ";" ||
                           IsWord(Sig(last + 1), "asc") || IsWord(Sig(last + 1), "desc") ||
                           IsWord(Sig(last + 1), "nulls") || IsWord(Sig(last + 1), "limit") ||
                           IsWord(Sig(last + 1), "offset");
        if (alone) Wrap(TextOperand{at, last, false}, kFoldFunction, ") COLLATE \"C\"");
      }
    }
  }

  std::string text_;  // the statement with its date literals rewritten; tokens_ view into it
  SqlStatementView view_;
  const std::vector<SqlToken>& tokens_;  // every token, spaces and comments included
  const PostgresColumnTypes& types_;
  std::set<size_t> like_patterns_done_;         // meaningful tokens of patterns rewritten whole
  std::map<size_t, std::string> prefixes_;      // token index -> text written before it
  std::map<size_t, std::string> replacements_;  // token index -> text written instead
  std::map<size_t, std::string> additions_;     // token index -> text written after it
};

}  // namespace

std::string TranslateSqlForPostgres(std::string_view sql, const PostgresColumnTypes& types) {
  return Translator(sql, types).Run();
}

}  // namespace clipcat
