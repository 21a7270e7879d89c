#include "store/catalog_schema.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "store/connection_string.h"
#include "store/postgres_connect.h"
#include "store/postgres_schema.h"
#include "store/postgres_session.h"
#include "store/sqlite_session.h"
#include "util/date.h"
#include "util/errors.h"
#include "util/guid.h"
#include "util/text.h"

namespace clipcat {
namespace {

// Table, column and index names are frozen: the store's SQL and other programs use them. Text
// columns compare without regard to case (NOCASE), as the store's name checks expect; dates are
// ISO text "yyyy-mm-dd hh:nn:ss", so that they compare in time order.
const std::vector<std::string_view> kSchema = {
    "CREATE TABLE Folder ("
    " lFolderID INTEGER PRIMARY KEY,"
    " sGUID TEXT COLLATE NOCASE,"
    " lParentID INTEGER DEFAULT 0,"
    " sName TEXT COLLATE NOCASE,"
    " sDescription TEXT COLLATE NOCASE,"
    " lExternalCatalogId INTEGER DEFAULT 0,"
    " bIsLeaf BOOLEAN DEFAULT 1,"
    " bIsOffline BOOLEAN DEFAULT 0,"
    " iStatus SMALLINT DEFAULT 1,"
    " tUpdated DATETIME)",
    "CREATE INDEX ixFolder_lParentID ON Folder (lParentID)",
    "CREATE INDEX ixFolder_lExternalCatalogId ON Folder (lExternalCatalogId)",
    "CREATE INDEX ixFolder_sName ON Folder (sName)",
    "CREATE INDEX ixFolder_iStatus ON Folder (iStatus)",
    "CREATE INDEX ixFolder_tUpdated ON Folder (tUpdated)",

    "CREATE TABLE Clipping ("
    " lClippingID INTEGER PRIMARY KEY,"
    " lFolderID INTEGER,"
    " sGUID TEXT COLLATE NOCASE,"
    " sName TEXT COLLATE NOCASE,"
    " sDescription TEXT COLLATE NOCASE,"
    " iClippingStatus SMALLINT DEFAULT 1,"
    " tUpdated DATETIME)",
    "CREATE INDEX ixClipping_lFolderID ON Clipping (lFolderID)",
    "CREATE INDEX ixClipping_sGUID ON Clipping (sGUID)",
    "CREATE INDEX ixClipping_sName ON Clipping (sName)",
    "CREATE INDEX ixClipping_sDescription ON Clipping (sDescription)",
    "CREATE INDEX ixClipping_iClippingStatus ON Clipping (iClippingStatus)",

    "CREATE TABLE ClippingDataType ("
    " lClippingID INTEGER,"
    " lDataTypeId INTEGER,"
    " bIsCompressed BOOLEAN DEFAULT 0,"
    " ClippingData BLOB)",
    "CREATE INDEX ixClippingDataType_lClippingID ON ClippingDataType (lClippingID)",

    "CREATE TABLE GroupClipping ("
    " lGroupClippingID INTEGER PRIMARY KEY,"
    " lGroupCategoryID INTEGER DEFAULT 1,"
    " sName TEXT COLLATE NOCASE,"
    " sDescription TEXT COLLATE NOCASE,"
    " iSortOrder SMALLINT DEFAULT 0,"
    " iStatus SMALLINT DEFAULT 1,"
    " tUpdated DATETIME)",
    "CREATE INDEX ixGroupClipping_lGroupCategoryID ON GroupClipping (lGroupCategoryID)",
    "CREATE INDEX ixGroupClipping_sName ON GroupClipping (sName)",
    "CREATE INDEX ixGroupClipping_tUpdated ON GroupClipping (tUpdated)",

    // A clipping belongs to a category at most once.
    "CREATE TABLE ClippingGroupClipping ("
    " lClippingId INTEGER,"
    " lGroupClippingId INTEGER,"
    " iSortOrder SMALLINT DEFAULT 0,"
    " tActiveStart DATETIME,"
    " tActiveEnd DATETIME)",
    "CREATE UNIQUE INDEX ixClippingGroupClipping_Member"
    " ON ClippingGroupClipping (lClippingId, lGroupClippingId)",
    "CREATE INDEX ixClippingGroupClipping_lGroupClippingId"
    " ON ClippingGroupClipping (lGroupClippingId)",

    "CREATE TABLE AccessHistory ("
    " sClippingGUID TEXT COLLATE NOCASE,"
    " lExternalCatalogId INTEGER DEFAULT 0,"
    " sClippingId TEXT COLLATE NOCASE,"
    " sName TEXT COLLATE NOCASE,"
    " bIsFavorite BOOLEAN DEFAULT 0,"
    " lAccessCount INTEGER DEFAULT 0,"
    " tDateLastAccessed DATETIME)",
    "CREATE INDEX ixAccessHistory_sClippingGUID ON AccessHistory (sClippingGUID)",
    "CREATE UNIQUE INDEX ixAccessHistory_sClippingId ON AccessHistory (sClippingId)",
    "CREATE INDEX ixAccessHistory_tDateLastAccessed ON AccessHistory (tDateLastAccessed)",

    "CREATE TABLE ExternalCatalog ("
    " lExternalCatalogID INTEGER PRIMARY KEY,"
    " sGUID TEXT COLLATE NOCASE,"
    " sConnectString TEXT COLLATE NOCASE,"
    " bIsOnline BOOLEAN DEFAULT 1,"
    " iConnectionSpeed SMALLINT DEFAULT 0)",

    "CREATE TABLE CatalogProperties ("
    " sCatalogProperty TEXT COLLATE NOCASE PRIMARY KEY,"
    " sValue TEXT)",

    // Key generators: AUTOINCREMENT, so that a key is never handed out twice even though every
    // row is deleted right after it is read.
    "CREATE TABLE FolderIDGenerator ("
    " lID INTEGER PRIMARY KEY AUTOINCREMENT,"
    " sGUID TEXT COLLATE NOCASE)",
    "CREATE INDEX ixFolderIDGenerator_sGUID ON FolderIDGenerator (sGUID)",
    "CREATE TABLE GroupClippingIDGenerator ("
    " lID INTEGER PRIMARY KEY AUTOINCREMENT,"
    " sGUID TEXT COLLATE NOCASE)",
    "CREATE INDEX ixGroupClippingIDGenerator_sGUID ON GroupClippingIDGenerator (sGUID)",
    "CREATE TABLE ExternalCatalogIDGenerator ("
    " lID INTEGER PRIMARY KEY AUTOINCREMENT,"
    " sGUID TEXT COLLATE NOCASE)",
    "CREATE INDEX ixExternalCatalogIDGenerator_sGUID ON ExternalCatalogIDGenerator (sGUID)",
};

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
  for (std::string_view statement : kSchema) Run(session, statement);
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

const std::vector<std::string_view>& CatalogSchemaStatements() { return kSchema; }

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
