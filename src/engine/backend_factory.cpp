#include "engine/backend_factory.h"

#include "engine/connection_string.h"
#include "engine/postgres_backend.h"
#include "engine/postgres_connect.h"
#include "engine/sqlite_backend.h"
#include "engine/sqlite_session.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat {
namespace {

std::unique_ptr<DatabaseBackend> OpenProvider(const std::string& connection_string,
                                              const std::string& user_name,
                                              const std::string& password) {
  const auto provider = ConnectionStringValue(connection_string, "Provider");
  if (provider && EqualsIgnoreCase(*provider, kFileCatalogProvider)) {
    const std::string path = ConnectionStringValue(connection_string, "Data Source").value_or("");
    // SQLite reads an empty name and ":memory:" as a private in-memory database: no catalog.
    if (path.empty() || path == ":memory:") {
      throw AutomationError(err::kDatabaseError, kSqliteSource, "unable to open database file");
    }
    return std::make_unique<SqliteBackend>(path);
  }
  if (const auto parameters = PostgresParametersFor(connection_string, user_name, password)) {
    return std::make_unique<PostgresBackend>(*parameters);
  }
  RaiseRuntimeError(err::kProviderNotFound);
}

}  // namespace

std::optional<std::string> FileCatalogPath(const std::string& connection_string) {
  std::string text = connection_string;
  if (const auto data_link = ConnectionStringValue(connection_string, "File Name")) {
    text = ReadDataLinkFile(*data_link);
  }
  const auto provider = ConnectionStringValue(text, "Provider");
  if (!provider || !EqualsIgnoreCase(*provider, kFileCatalogProvider)) return std::nullopt;
  const std::string path = ConnectionStringValue(text, "Data Source").value_or("");
  if (path.empty() || path == ":memory:") return std::nullopt;
  return path;
}

std::unique_ptr<DatabaseBackend> OpenBackend(const std::string& connection_string,
                                             const std::string& user_name,
                                             const std::string& password) {
  if (const auto data_link = ConnectionStringValue(connection_string, "File Name")) {
    const std::string linked = ReadDataLinkFile(*data_link);
    if (ConnectionStringValue(linked, "File Name")) {
      throw AutomationError(
          err::kDatabaseError, kComponentSource,
          "The data link file \"" + *data_link + "\" names another data link file.");
    }
    return OpenProvider(linked, user_name, password);
  }
  return OpenProvider(connection_string, user_name, password);
}

}  // namespace clipcat
