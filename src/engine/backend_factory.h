// Choosing and opening the database backend that a connection string names. Stateless;
// thread-safe (each call opens its own backend).
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "engine/database_backend.h"

namespace clipcat {

// Opens the catalog that `connection_string` names:
//   "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=PATH" opens the SQLite catalog file PATH (which
//   must exist; it is never created here);
//   a string naming a PostgreSQL database (see PostgresParametersFor: the PostgreSQL provider,
//   a "postgresql://" URI or "DSN=NAME") opens that database on its server;
//   "File Name=PATH" opens the catalog named by the connection string in the data link file PATH.
// The user name and password override a server string's own; a file catalog ignores them.
// Raises err::kProviderNotFound (3706) for a connection string naming any other provider, and the
// engine's error when the catalog cannot be opened.
std::unique_ptr<DatabaseBackend> OpenBackend(const std::string& connection_string,
                                             const std::string& user_name,
                                             const std::string& password);

// The path of the SQLite file that `connection_string` names (directly or through a data link
// file); nothing for any other catalog. Raises as ReadDataLinkFile for an unreadable data link.
std::optional<std::string> FileCatalogPath(const std::string& connection_string);

}  // namespace clipcat
