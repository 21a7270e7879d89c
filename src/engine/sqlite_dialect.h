// How the SQLite backend reads the store's SQL: the rewrites it makes before SQLite sees a
// statement. Catalog dates travel in SQL as text literals such as '14:05:09 3 Apr 2002' and are
// stored as ISO text ('2002-04-03 14:05:09') so that SQLite compares and sorts them in time order.
// Stateless; thread-safe.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "engine/sql_tokenizer.h"

namespace clipcat {

// Lower-cased names of the columns that hold dates (declared DATETIME, DATE or TIMESTAMP).
using DateColumnSet = std::set<std::string, std::less<>>;

// `sql` with every string literal that stands for a date in a date position rewritten as its ISO
// text. A date position is the other side of a comparison (=, <>, !=, <, <=, >, >=, BETWEEN ...
// AND) with a column in `date_columns`, an argument after the first of Datediff(...), or the value
// of a column in `date_columns` in "INSERT INTO t (columns) VALUES (values)". A literal that is
// not a date (under the thread's date locale) is left as written.
// A whole condition "c=1 OR c=2 OR ... OR c=n" on one column with number (or Null) literals, right
// after "(" or WHERE and right before ")", the end, ORDER, GROUP or LIMIT, becomes "c IN
// (1,2,...,n)": the same condition without the expression depth that SQLite bounds. Everything else
// in the text, the content of every literal above all, is never changed.
std::string TranslateSqlForSqlite(std::string_view sql, const DateColumnSet& date_columns);

// TranslateSqlForSqlite, handing the tokens it read on to the next reader of the statement when
// they are still the statement's: `tokens` receives the tokens of `sql` (views into `sql`, which
// must outlive them) when the translation changed nothing, and is left empty otherwise.
std::string TranslateSqlForSqlite(std::string_view sql, const DateColumnSet& date_columns,
                                  std::vector<SqlToken>& tokens);

}  // namespace clipcat
