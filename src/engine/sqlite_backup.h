// A copy of a SQLite database file made with the engine's online backup: one consistent state of
// the database, taken while other connections go on writing. Stateless; thread-safe (each call
// uses its own connections).
#pragma once

#include <string>

namespace clipcat {

// Copies the database file `source` into the file `target`, replacing it, as one consistent
// state: the copy holds every transaction committed before it began and none after. The copy is
// written beside `target` under a temporary name and renamed onto it when complete, so `target`
// is either untouched or the whole copy. Raises err::kDatabaseError (source "SQLite") when the
// source cannot be read or the copy cannot be written, err::kCatalogDamaged when the source is
// damaged; on failure the temporary file is removed.
// REQUIRES: no connection has `target` open (SqliteFileInUse).
void BackupSqliteFile(const std::string& source, const std::string& target);

// True when a connection of another process has the database file `path` open (it holds its
// lock in the shared-memory file beside it), or when its log holds frames that are not in the
// file yet (a writer stopped before it could move them): replacing the file then would lose work.
bool SqliteFileInUse(const std::string& path);

}  // namespace clipcat
