// How the PostgreSQL backend reads the store's SQL: the few rewrites it makes before the server
// sees a statement, so that the text the store builds for every engine means on PostgreSQL what
// it means on SQLite. Stateless; thread-safe.
#pragma once

#include <string>
#include <string_view>

#include "engine/sqlite_dialect.h"

namespace clipcat {

// Lower-cased names of the columns whose type needs a rewrite of the literals given for them.
struct PostgresColumnTypes {
  DateColumnSet dates;     // timestamp and date columns
  DateColumnSet booleans;  // boolean columns
  // Text (citext) columns, when the catalog has its folding function clipcat_fold; empty
  // otherwise (a catalog of an earlier format), and text then compares as citext does.
  DateColumnSet texts = {};
};

// `sql` with
//   - every catalog date literal in a date position rewritten as its ISO text, by the rules of
//     TranslateSqlForSqlite with `types.dates`;
//   - every number literal (with an optional sign) in a boolean position rewritten as TRUE, or
//     FALSE for zero: compared with, assigned to or inserted into a column of `types.booleans`
//     ("bIsLeaf=1", "bIsOnline = -1", "VALUES (..., 0, ...)"), since PostgreSQL has no implicit
//     cast from numbers to booleans;
//   - " ESCAPE ''" added after a LIKE pattern literal that declares no escape character:
//     PostgreSQL reads "\" in a pattern as an escape unless told otherwise, SQLite does not;
//   - a column of `types.texts` compared (=, <>, <, ...) with a string literal or another such
//     column, both sides on their own, as "clipcat_fold(col) = clipcat_fold('text')": folded
//     case, as SQLite's NOCASE compares (case_folding.h). "=" and "<>" stay as written when
//     ASCII case suffices for the literal (AsciiCaseSuffices): citext answers the same, through
//     the column's own index. "<", "<=", ">" and ">=" always fold, since text that folds into
//     ASCII (U+212A, the Kelvin sign, folds to "k") sorts by what it folds to. An UPDATE's SET
//     assignments stay as they are; IN lists and expressions other than a lone column or
//     literal compare as citext does;
//   - "col [NOT] LIKE 'pattern' [ESCAPE 'c']" (or ILIKE) likewise, unless ASCII case suffices
//     for the pattern, as "(col LIKE 'sieve' ESCAPE 'c' AND clipcat_fold(col) LIKE
//     clipcat_fold('pattern') ESCAPE 'c')", where the sieve is the pattern with "_" for every
//     character ASCII case does not suffice for: citext matches it wherever the folded pattern
//     matches, so that only the rows it lets through are folded (NOT LIKE: "OR", both negated).
//     A pattern whose escape character has other cases is folded here instead, since the
//     server would fold the escape character too;
//   - "ORDER BY col" on such a column as "ORDER BY clipcat_fold(col) COLLATE "C"", the order of
//     the folded code points; not under DISTINCT, UNION, INTERSECT or EXCEPT.
// Names, keywords and the content of every other literal are never changed. LIKE on a column that
// compares with case (text rather than citext) follows the engine: PostgreSQL matches it with
// case, SQLite's like() (sqlite_functions.h) without; the store searches only its case-folded
// columns with LIKE.
std::string TranslateSqlForPostgres(std::string_view sql, const PostgresColumnTypes& types);

}  // namespace clipcat
