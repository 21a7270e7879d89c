// The upgrade steps that bring a catalog of the first format to names compared by Unicode simple
// case folding (case_folding.h) instead of by ASCII case only, and the report of the names that
// clash once compared so. Stateless; a catalog connection is used by one thread at a time.
#pragma once

#include <string>
#include <vector>

namespace clipcat {

class DBConnection;

// Upgrades the SQLite catalog open on `connection`: rebuilds every index on its text columns
// (REINDEX NOCASE), since this version's NOCASE collation (sqlite_functions.h) orders text
// outside ASCII otherwise than the one the indexes were made with. Then appends to `notes` one
// line for each set of names that now clash (ReportCaseFoldingClashes). Changes no row.
// Raises the engine's error when a statement fails.
// REQUIRES: a write transaction is open on `connection`.
void UpgradeSqliteCaseFolding(DBConnection& connection, std::vector<std::string>& notes);

// Upgrades the PostgreSQL catalog open on `connection`: creates (or replaces) the function
// clipcat_fold and makes the indexes on folded text anew (postgres_schema.h); from then on the
// connection compares text by folded case. Then appends the clashes to `notes` as
// UpgradeSqliteCaseFolding does. Changes no row. Raises err::kDatabaseError, source "clipcat",
// when the database's encoding is not UTF8, and the server's error when a statement fails (a
// role that does not own the tables may not index them).
// REQUIRES: a transaction is open on `connection`.
void UpgradePostgresCaseFolding(DBConnection& connection, std::vector<std::string>& notes);

// Upgrades the catalog open on `connection` by UpgradeSqliteCaseFolding or
// UpgradePostgresCaseFolding, as its engine is.
// REQUIRES: a write transaction is open on `connection`.
void UpgradeCaseFolding(DBConnection& connection, std::vector<std::string>& notes);

// Appends to `notes` one line for each set of names that are the same by folded case: sibling
// folders, clippings of one folder, categories, deleted folders and clippings left out. Each
// line names every member with its key, such as
//   Folders under folder 1 whose names differ only in case: "Ärger" (2), "ärger" (3).
// Sets come in the order of their parent's key, then of their first member's key; a set's
// members in the order of their keys.
void ReportCaseFoldingClashes(DBConnection& connection, std::vector<std::string>& notes);

}  // namespace clipcat
