// The SQL functions and the collation the store's statements need from SQLite, with the meaning
// the catalog's SQL gives them. Stateless; thread-safe.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <optional>
#include <string_view>

#include "util/date.h"

namespace clipcat {

// Datediff(interval, date1, date2): the number of interval boundaries crossed from date1 to date2,
// negative when date2 is earlier. Intervals (any case): "yyyy" years, "q" quarters, "m" months,
// "y" and "d" days, "w" whole weeks, "ww" calendar weeks (starting on Sunday), "h" hours,
// "n" minutes, "s" seconds. Answers nothing for an unknown interval.
std::optional<int64_t> DateDiff(std::string_view interval, const Date& date1, const Date& date2);

// Registers on `db`:
//   - Datediff. Its date arguments may be ISO text (as catalogs store dates), any other date text,
//     or a day count since 1899-12-30; a Null argument gives Null.
//   - the NOCASE collation, in place of SQLite's own: texts compare by their code points after
//     Unicode simple case folding (CompareFoldedCase), so that "Ärger" = "ärger" and "Σ" = "σ".
//     ASCII text orders exactly as under SQLite's NOCASE, but an index over text outside ASCII
//     is in another order than SQLite's NOCASE gives it: a catalog whose indexes were made
//     without this collation needs a REINDEX before its lookups find such text.
//   - like() with two and three arguments, in place of SQLite's own, so that LIKE finds the
//     cases that NOCASE calls equal (FoldedLikePattern); wildcards, ESCAPE, Null and errors as
//     SQLite's own like().
//   - the FTS5 auxiliary function bm25_best(T, n, weights...), when SQLite has FTS5: for a row
//     that may be among the n best rows of the full-text query (lowest bm25 first), exactly the
//     value FTS5's own bm25(T, weights...) gives it; Null for a row that cannot be, because n rows
//     seen before it score better whatever its length. A row's length costs a lookup of its own,
//     and most rows of a common word are ruled out by their words' counts and places alone. With
//     n = 0 every row gets its value. Within one statement a row asked for twice answers the same.
// Raises err::kDatabaseError when SQLite refuses a registration.
void RegisterSqlFunctions(sqlite3* db);

}  // namespace clipcat
