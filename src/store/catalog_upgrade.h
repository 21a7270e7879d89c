// Brings a catalog made by an earlier version of clipcat up to the format this version writes:
// one step per format version, run in order, all in one write transaction, when the store first
// opens the catalog. Stateless; a catalog connection is used by one thread at a time.
#pragma once

#include <string>
#include <vector>

#include "util/progress.h"

namespace clipcat {

class DBConnection;

// The catalog property that collects what upgrades found worth telling the user (names that now
// clash, rows merged). Frozen.
inline constexpr const char* kCatalogPropertyUpgradeNotes = "UpgradeNotes";

// Where upgrades that take a while (making the content index) report how far they have come;
// nowhere by default. Set by a front end before it opens catalogs, on one thread: the upgrades of
// every thread report to it.
void SetUpgradeProgress(ProgressCallback progress);

// The format version recorded in the catalog's properties: 1 when a catalog carries no version
// (the first format did not always write it), 0 when the connection holds no catalog at all (no
// CatalogProperties table). Raises the engine's error when the catalog cannot be read.
int CatalogFormatVersion(DBConnection& connection);

// Upgrades the catalog open on `connection` to kCatalogFormatVersion. Nothing happens for a
// current catalog, a newer one or a connection that holds no catalog. The version is read again
// under the write lock, so that two processes opening one old catalog upgrade it once. When a
// step fails (a read-only file, a server role that does not own the tables) every step is rolled
// back and the catalog is used as it is; the next open by someone who may change it upgrades it.
// Answers the notes the steps left (also appended to the UpgradeNotes property), empty when
// nothing was upgraded.
// REQUIRES: no transaction is open on `connection`.
std::vector<std::string> UpgradeCatalog(DBConnection& connection);

}  // namespace clipcat
