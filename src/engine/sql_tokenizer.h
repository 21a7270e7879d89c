// A lexer for the SQL text the store builds: it splits a statement into tokens that give back the
// text exactly when joined, so that a backend can rewrite single tokens (a date literal) and leave
// every other character, inside string literals above all, as it was. Stateless; thread-safe.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace clipcat {

enum class SqlTokenKind {
  kSpace,             // blanks, tabs, line breaks
  kComment,           // "-- ..." to the end of the line, or "/* ... */"
  kString,            // '...' with '' standing for one quote
  kQuotedIdentifier,  // "...", [...] or `...`
  kIdentifier,        // names and keywords
  kNumber,            // digits, an optional fraction and exponent
  kOperator,          // = <> != < <= > >= || and other punctuation
  kParameter,         // ?, ?NNN, :name, @name, $name
};

struct SqlToken {
  SqlTokenKind kind;
  std::string_view text;  // a view into the lexed statement
};

// The tokens of `sql` in order. Never fails: an unterminated literal or comment runs to the end
// of the text, and a character that starts no token becomes a one-character operator, so that
// joining the texts of the tokens always gives `sql` back.
std::vector<SqlToken> TokenizeSql(std::string_view sql);

// True for tokens that carry no meaning (spaces and comments).
bool IsInsignificant(const SqlToken& token);

// The value a string literal token stands for: the quotes removed and '' made '. An
// unterminated literal gives its text after the opening quote.
// REQUIRES: token.kind == SqlTokenKind::kString.
std::string StringLiteralValue(const SqlToken& token);

// A string literal for `value`: in single quotes, quotes doubled.
std::string QuoteStringLiteral(std::string_view value);

// The name an identifier token stands for, without its quotes ("a""b" gives a"b).
std::string IdentifierName(const SqlToken& token);

}  // namespace clipcat
