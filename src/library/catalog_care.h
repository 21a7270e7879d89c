// Looking after a catalog as a whole: the full check of its soundness and a backup copy of a file
// catalog. Neither writes to the catalog. Stateless; each call opens its own connection.
#pragma once

#include <string>

#include "library/catalog_location.h"
#include "store/catalog_check.h"

namespace clipcat {

// The full check of the catalog `location` names (CheckCatalog): the engine's integrity check
// (files), rows that belong to nothing, the checksums of stored content, the schema against its
// description. Reads only; a file catalog is opened read-only. Raises the errors of
// ConnectionDetailsFor; what is wrong with the catalog is reported, not raised.
// REQUIRES: the process has no Catalog open on it (as CheckCatalog).
CatalogCheckReport CheckCatalogAt(const CatalogLocation& location);

// Copies the file catalog `location` names into the file `target` as one consistent state,
// while other programs go on using the catalog (the engine's online backup); `target` is
// replaced only by the complete copy. Refuses, with err::kInvalidProcedureCall and nothing
// written: a server catalog (its server has its own backups), `target` being the catalog itself,
// a `target` that exists and is not a catalog, and a `target` catalog in use (SqliteFileInUse: a
// program has it open, or left work in its log that is not in the file yet).
// Raises the engine's errors, err::kCatalogDamaged for a damaged catalog.
// REQUIRES: the process has no connection open to `target` (its header is read by name).
void BackupCatalog(const CatalogLocation& location, const std::string& target);

}  // namespace clipcat
