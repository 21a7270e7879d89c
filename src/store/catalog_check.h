// How sound a catalog is: the cheap checks every open of a catalog file makes, and the full check
// of `clipcat check` (the engine's integrity check, rows that belong to nothing, the checksums of
// stored content, the schema against its description), which never writes. Stateless; each call
// works on its own connection.
#pragma once

#include <string>
#include <vector>

namespace clipcat {

class DBConnection;

// Raises err::kCatalogDamaged naming `path` when the catalog file open on `connection` is found
// damaged by what costs next to nothing to check: an empty file, a header whose pages reserve
// bytes or whose text is not UTF-8 (no catalog has either), an application id that is neither
// none nor the catalog's, and a schema version in the header (PRAGMA user_version) that
// disagrees with the catalog's format version; and, for files up to 32 MiB, the engine's quick
// check of every page's structure (a few milliseconds per megabyte). The file's size against its
// page count is checked by the engine as it opens the file (sqlite_file_header.h).
void RequireSoundCatalogFile(DBConnection& connection, const std::string& path);

struct CatalogCheckReport {
  std::string catalog;                // the file checked; for a server catalog, its name
  std::vector<std::string> problems;  // what is wrong, one sentence each; none: sound
  std::vector<std::string> checked;   // what was looked at, one line each, for the reader
};

// Checks the catalog that `connection_string` (with `user_name` and `password`) names, reading
// only: a file catalog is opened read-only, whatever its header says. Problems found and checks
// that could not finish are reported, never raised; raises only the errors of a connection
// string that names no catalog (3706, or an unreadable data link file).
// REQUIRES: this process has no other connection open to a file catalog it checks (its header is
// read by name, which would drop that connection's locks; see sqlite_file_header.h).
CatalogCheckReport CheckCatalog(const std::string& connection_string, const std::string& user_name,
                                const std::string& password);

}  // namespace clipcat
