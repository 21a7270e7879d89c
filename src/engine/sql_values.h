// Values handed to a statement apart from its text. The store writes a statement once, with "?"
// where each value goes, and hands the values as the SQL literals it would have spliced; every
// engine runs the pair exactly as it would run the text with the literals in their places. An
// engine that keeps prepared statements binds the values instead, so that a statement run for
// many keys is lexed and prepared once. Plain values; thread-safe.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "util/variant.h"

namespace clipcat {

// One value of a statement: its literal as the store writes it, and what kind of place it fills.
struct SqlValue {
  enum class Kind { kNumber, kText, kDate };

  // SqlNumber's literal: raises 13 "Type mismatch" for text that is not a number, as SqlNumber
  // does, before anything runs.
  static SqlValue Number(const Variant& value);
  // SqlText's literal.
  static SqlValue Text(const Variant& value);
  // SqlDate's literal. REQUIRES: the place is one whose date literal the engine translates (a
  // date column's value in an INSERT, or one side of a comparison with a date column).
  static SqlValue Date(const Variant& value);

  Kind kind = Kind::kNumber;
  std::string literal;
};

using SqlValues = std::vector<SqlValue>;

// `sql` with each "?" (outside literals, names and comments) replaced by the literal of the next
// value. Raises err::kDatabaseError (source: the component) when the number of "?" differs from
// the number of values or the text holds a parameter of another form (?NNN, :name ...): the
// statement runs only as it was meant.
std::string SpliceSqlValues(std::string_view sql, const SqlValues& values);

}  // namespace clipcat
