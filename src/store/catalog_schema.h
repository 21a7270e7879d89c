// The tables of a catalog and the creation of a new, empty SQLite catalog file. Stateless;
// thread-safe (each call works on its own file).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace clipcat {

// Stored in the file header of every SQLite catalog (PRAGMA application_id and user_version).
// Frozen: they identify a catalog and its format.
inline constexpr int32_t kCatalogApplicationId = 0x436C4374;  // "ClCt"
inline constexpr int32_t kCatalogFormatVersion = 1;

// The key of the catalog's root folder, the one folder at the top of a new catalog.
inline constexpr int32_t kRootFolderKey = 1;

// The statements that create the tables and indexes of a catalog, in order, one statement each.
const std::vector<std::string_view>& CatalogSchemaStatements();

// Creates a new SQLite catalog file at `path` in WAL mode: every table and index, a root folder
// with key 1 named `name` at the top of the tree (parent 0, status 1, a leaf), and the folder key
// generator continuing after it. Raises err::kInvalidProcedureCall for a blank name and
// err::kDatabaseError when the file exists already or cannot be made; on failure no file is left.
void CreateCatalog(const std::string& path, const std::string& name);

}  // namespace clipcat
