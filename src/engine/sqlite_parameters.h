// Internal to the SQLite backend: turns the literal values the store splices into a statement
// back into parameters, so that statements differing only in their values share one prepared
// statement. Stateless; thread-safe.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/sql_tokenizer.h"
#include "engine/sql_values.h"

namespace clipcat {

// One value taken out of a statement's text: a string literal's text or an integer literal.
struct SqlLiteralValue {
  bool is_text = false;
  std::string text;     // when is_text
  int64_t integer = 0;  // otherwise
};

// A statement with some of its literals replaced by "?", and their values in order.
struct ParameterisedSql {
  std::string text;
  std::vector<SqlLiteralValue> values;
};

// `sql` (already in the engine's dialect) with each literal whose replacement by a bound value
// cannot change what the statement means or returns replaced by "?": string literals and integer
// literals that fit 64 bits, in WHERE, SET, VALUES, ON and HAVING expressions. Literals are left
// as written in result columns (they name the columns), in ORDER BY, GROUP BY and LIMIT (a number
// there is a column position or a count), in table and column lists, after AS, and every real,
// hexadecimal or out-of-range number. A sign stays in the text ("-5" becomes "- ?").
// Answers nothing for any statement that is not a SELECT, INSERT, UPDATE or DELETE, or that has
// parameters of its own: those must be prepared from their own text.
std::optional<ParameterisedSql> ParameteriseSql(std::string_view sql);

// The same for a statement already lexed: `tokens` are the tokens of `sql`.
std::optional<ParameterisedSql> ParameteriseSql(std::string_view sql,
                                                const std::vector<SqlToken>& tokens);

// The values to bind in place of `values`' literals so that a statement runs as it would with
// the literals spliced in and translated: an integer literal that fits 64 bits, a string
// literal's text, and a date literal's text as the dialect rewrites it (ISO text for one that
// reads as a date). Answers nothing when one literal is anything else (Null, a real or signed
// number): that statement is run from its spliced text.
std::optional<std::vector<SqlLiteralValue>> BindableSqlValues(const SqlValues& values);

}  // namespace clipcat
