// How the PostgreSQL backend reads the store's SQL: the few rewrites it makes before the server
// sees a statement, so that the text the store builds for every engine means on PostgreSQL what
// it means on SQLite. Stateless; thread-safe.
#pragma once

#include <string>
#include <string_view>

#include "store/sqlite_dialect.h"

namespace clipcat {

// Lower-cased names of the columns whose type needs a rewrite of the literals given for them.
struct PostgresColumnTypes {
  DateColumnSet dates;     // timestamp and date columns
  DateColumnSet booleans;  // boolean columns
};

// `sql` with
//   - every catalog date literal in a date position rewritten as its ISO text, by the rules of
//     TranslateSqlForSqlite with `types.dates`;
//   - every number literal (with an optional sign) in a boolean position rewritten as TRUE, or
//     FALSE for zero: compared with, assigned to or inserted into a column of `types.booleans`
//     ("bIsLeaf=1", "bIsOnline = -1", "VALUES (..., 0, ...)"), since PostgreSQL has no implicit
//     cast from numbers to booleans;
//   - " ESCAPE ''" added after a LIKE pattern literal that declares no escape character:
//     PostgreSQL reads "\" in a pattern as an escape unless told otherwise, SQLite does not.
// Names, keywords and the content of every other literal are never changed.
std::string TranslateSqlForPostgres(std::string_view sql, const PostgresColumnTypes& types);

}  // namespace clipcat
