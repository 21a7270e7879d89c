#include "store/catalog_schema.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "engine/connection_string.h"
#include "engine/postgres_connect.h"
#include "engine/postgres_session.h"
#include "engine/sqlite_session.h"
#include "store/postgres_schema.h"
#include "store/schema_description.h"
#include "util/date.h"
#include "util/errors.h"
#include "util/guid.h"
#include "util/text.h"

namespace clipcat {
namespace {

void RemoveCatalogFiles(const std::string& path) {
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
    std::remove((path + suffix).c_str());
  }
}

void Run(SqliteSession& session, std::string_view sql, const std::vector<Variant>& values = {}) {
  SqliteSession::Deadline deadline(session);
  SqliteStatement statement(session, sql);
  for (size_t i = 0; i < values.size(); ++i) {
    statement.Bind(static_cast<int>(i) + 1, values[i], false);
  }
  statement.Run();
}

void FillCatalog(SqliteSession& session, const std::string& name) {
  {
    SqliteSession::Deadline deadline(session);
    SqliteStatement statement(session, "PRAGMA journal_mode = WAL");
    if (!statement.Step() ||
        !EqualsIgnoreCase(reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0)),
                          "wal")) {
      throw AutomationError(err::kDatabaseError, kSqliteSource,
                            "The catalog file cannot use write-ahead logging.");
    }
  }
  Run(session, "PRAGMA application_id = " + std::to_string(kCatalogApplicationId));
  Run(session, "PRAGMA user_version = " + std::to_string(kCatalogFormatVersion));
  Run(session, "BEGIN IMMEDIATE");
  for (const std::string& statement : CreateTablesStatements(SchemaEngine::kSqlite)) {
    Run(session, statement);
  }
  for (const std::string& statement : CreateContentIndexStatements(SchemaEngine::kSqlite)) {
    Run(session, statement);
  }
  const std::string guid = CreateGUIDString();
  Run(session,
      "INSERT INTO Folder (lFolderID, sGUID, lParentID, sName, sDescription, lExternalCatalogId,"
      " bIsLeaf, bIsOffline, iStatus, tUpdated) VALUES (?, ?, 0, ?, NULL, 0, 1, 0, 1, ?)",
      {Variant(kRootFolderKey), Variant(guid), Variant(name), Variant(Date::Now())});
  // The generator's counter now stands at the root folder's key.
  Run(session, "INSERT INTO FolderIDGenerator (lID, sGUID) VALUES (?, ?)",
      {Variant(kRootFolderKey), Variant(guid)});
  Run(session, "DELETE FROM FolderIDGenerator");
  Run(session, "INSERT INTO CatalogProperties (sCatalogProperty, sValue) VALUES (?, ?)",
      {Variant(std::string(kCatalogPropertyName)), Variant(name)});
  Run(session, "INSERT INTO CatalogProperties (sCatalogProperty, sValue) VALUES (?, ?)",
      {Variant(std::string(kCatalogPropertyFormatVersion)),
       Variant(std::to_string(kCatalogFormatVersion))});
  Run(session, "COMMIT");
}

void RequireCatalogName(const std::string& name) {
  if (TrimSpaces(name).empty()) {
    throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                          "A catalog needs a name for its root folder.");
  }
}

}  // namespace

void CreateCatalog(const std::string& path, const std::string& name) {
  RequireCatalogName(name);
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (fd < 0) {
    const int error = errno;
    throw AutomationError(
        err::kDatabaseError, kComponentSource,
        "The catalog file \"" + path + "\" cannot be created: " + std::strerror(error));
  }
  ::close(fd);
  try {
    auto session = std::make_unique<SqliteSession>(path);
    FillCatalog(*session, TrimSpaces(name));
  } catch (...) {
    RemoveCatalogFiles(path);
    throw;
  }
}

void CreateServerCatalog(const std::string& connection_string, const std::string& name,
                         const std::string& user_name, const std::string& password) {
  RequireCatalogName(name);
  UseCatalogColumnSpellings();
  std::string target = connection_string;
  if (const auto data_link = ConnectionStringValue(connection_string, "File Name")) {
    target = ReadDataLinkFile(*data_link);
  }
  const auto parameters = PostgresParametersFor(target, user_name, password);
  if (!parameters) RaiseRuntimeError(err::kProviderNotFound);
  PostgresSession session(*parameters);
  DeployPostgresCatalog(session, TrimSpaces(name));
}

}  // namespace clipcat
