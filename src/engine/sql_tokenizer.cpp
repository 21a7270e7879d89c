#include "engine/sql_tokenizer.h"

namespace clipcat {
namespace {

bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsIdentifierStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}
bool IsIdentifierPart(char c) { return IsIdentifierStart(c) || IsDigit(c) || c == '$'; }

// The end of a quoted run that opened at `start` with `open` and closes with `close`; a doubled
// closing character stands for itself. Runs to the end of the text when never closed.
size_t QuotedEnd(std::string_view sql, size_t start, char close) {
  size_t i = start + 1;
  while (i < sql.size()) {
    if (sql[i] == close) {
      if (i + 1 < sql.size() && sql[i + 1] == close && close != ']') {
        i += 2;
        continue;
      }
      return i + 1;
    }
    ++i;
  }
  return sql.size();
}

size_t TokenEnd(std::string_view sql, size_t i, SqlTokenKind& kind) {
  const char c = sql[i];
  const char next = i + 1 < sql.size() ? sql[i + 1] : '\0';
  if (IsSpace(c)) {
    kind = SqlTokenKind::kSpace;
    while (i < sql.size() && IsSpace(sql[i])) ++i;
    return i;
  }
  if (c == '-' && next == '-') {
    kind = SqlTokenKind::kComment;
    const size_t end = sql.find('\n', i);
    return end == std::string_view::npos ? sql.size() : end;
  }
  if (c == '/' && next == '*') {
    kind = SqlTokenKind::kComment;
    const size_t end = sql.find("*/", i + 2);
    return end == std::string_view::npos ? sql.size() : end + 2;
  }
  if (c == '\'') {
    kind = SqlTokenKind::kString;
    return QuotedEnd(sql, i, '\'');
  }
  if (c == '"' || c == '`' || c == '[') {
    kind = SqlTokenKind::kQuotedIdentifier;
    return QuotedEnd(sql, i, c == '[' ? ']' : c);
  }
  if (IsDigit(c) || (c == '.' && IsDigit(next))) {
    kind = SqlTokenKind::kNumber;
    ++i;
    while (i < sql.size()) {
      const char d = sql[i];
      if ((d == '+' || d == '-') && (sql[i - 1] == 'e' || sql[i - 1] == 'E') &&
          !(i >= 2 && (sql[i - 2] == 'x' || sql[i - 2] == 'X'))) {
        ++i;
      } else if (IsIdentifierPart(d) || d == '.') {
        ++i;
      } else {
        break;
      }
    }
    return i;
  }
  if (IsIdentifierStart(c)) {
    kind = SqlTokenKind::kIdentifier;
    while (i < sql.size() && IsIdentifierPart(sql[i])) ++i;
    return i;
  }
  if (c == '?' || ((c == ':' || c == '@' || c == '$') && IsIdentifierPart(next))) {
    kind = SqlTokenKind::kParameter;
    ++i;
    while (i < sql.size() && IsIdentifierPart(sql[i])) ++i;
    return i;
  }
  kind = SqlTokenKind::kOperator;
  static constexpr std::string_view kPairs[] = {"<=", ">=", "<>", "!=", "==", "||", "<<", ">>"};
  for (std::string_view pair : kPairs) {
    if (sql.substr(i, 2) == pair) return i + 2;
  }
  return i + 1;
}

}  // namespace

std::vector<SqlToken> TokenizeSql(std::string_view sql) {
  std::vector<SqlToken> tokens;
  size_t i = 0;
  while (i < sql.size()) {
    SqlTokenKind kind = SqlTokenKind::kOperator;
    const size_t end = TokenEnd(sql, i, kind);
    tokens.push_back(SqlToken{kind, sql.substr(i, end - i)});
    i = end;
  }
  return tokens;
}

bool IsInsignificant(const SqlToken& token) {
  return token.kind == SqlTokenKind::kSpace || token.kind == SqlTokenKind::kComment;
}

std::string StringLiteralValue(const SqlToken& token) {
  std::string value;
  const std::string_view text = token.text;
  for (size_t i = 1; i < text.size(); ++i) {
    if (text[i] == '\'') {
      if (i + 1 < text.size() && text[i + 1] == '\'') {
        value += '\'';
        ++i;
        continue;
      }
      break;  // the closing quote
    }
    value += text[i];
  }
  return value;
}

std::string QuoteStringLiteral(std::string_view value) {
  std::string literal = "'";
  for (char c : value) {
    literal += c;
    if (c == '\'') literal += '\'';
  }
  literal += '\'';
  return literal;
}

std::string IdentifierName(const SqlToken& token) {
  if (token.kind != SqlTokenKind::kQuotedIdentifier || token.text.empty()) {
    return std::string(token.text);
  }
  const char open = token.text.front();
  const char close = open == '[' ? ']' : open;
  std::string_view body = token.text.substr(1);
  if (!body.empty() && body.back() == close) body.remove_suffix(1);
  std::string name;
  for (size_t i = 0; i < body.size(); ++i) {
    name += body[i];
    if (close != ']' && body[i] == close && i + 1 < body.size() && body[i + 1] == close) ++i;
  }
  return name;
}

}  // namespace clipcat
