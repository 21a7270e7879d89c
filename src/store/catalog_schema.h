// The creation of a new, empty catalog, a SQLite file or a database on a PostgreSQL server, with
// the tables and indexes of its description (schema_description.h). Stateless; thread-safe (each
// call works on its own catalog).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "store/schema_description.h"  // kCatalogFormatVersion

namespace clipcat {

// Stored in the file header of every SQLite catalog (PRAGMA application_id), with
// kCatalogFormatVersion (PRAGMA user_version). Frozen: it identifies a catalog.
inline constexpr int32_t kCatalogApplicationId = 0x436C4374;  // "ClCt"

// The key of the catalog's root folder, the one folder at the top of a new catalog.
inline constexpr int32_t kRootFolderKey = 1;

// Catalog property keys (CatalogProperties.sCatalogProperty) written on creation. Frozen.
inline constexpr std::string_view kCatalogPropertyName = "CatalogName";
inline constexpr std::string_view kCatalogPropertyFormatVersion = "FormatVersion";

// Creates a new SQLite catalog file at `path` in WAL mode: every table and index, a root folder
// with key 1 named `name` at the top of the tree (parent 0, status 1, a leaf), and the folder key
// generator continuing after it. Raises err::kInvalidProcedureCall for a blank name and
// err::kDatabaseError when the file exists already or cannot be made; on failure no file is left.
void CreateCatalog(const std::string& path, const std::string& name);

// Creates a new catalog on a PostgreSQL server, in the database (and the first schema of the
// search path) that `connection_string` names: "Provider=PostgreSQL;...", a "postgresql://" URI,
// "DSN=NAME" or "File Name=X.udl" holding one of them. Deploys the citext extension when it is
// missing, every table and index, the Datediff function, a root folder with key 1 named `name`
// and the folder key generator continuing after it, all in one transaction. `user_name` and
// `password`, when not empty, override the connection string's. Raises
// err::kInvalidProcedureCall for a blank name, err::kProviderNotFound (3706) for a connection
// string naming no PostgreSQL database, err::kCatalogCannotBeOpened when no server answers,
// err::kDatabaseError (source "clipcat") when the schema already holds a catalog, and the
// server's errors (source "PostgreSQL"); on failure nothing is left in the database.
void CreateServerCatalog(const std::string& connection_string, const std::string& name,
                         const std::string& user_name = "", const std::string& password = "");

}  // namespace clipcat
