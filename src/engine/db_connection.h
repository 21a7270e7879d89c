// DBConnection: the one way the store talks to a catalog database. It refuses to open a catalog
// whose file or server cannot be reached, runs one complete SQL statement per call, and hands out
// read-only snapshots and updatable recordsets. Every statement is bounded by a 10-second
// time-out. A DBConnection owns its engine connection: not copyable, used by one thread at a time.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "engine/database_backend.h"
#include "engine/recordset.h"
#include "engine/sql_values.h"
#include "engine/updatable_recordset.h"
#include "util/variant.h"

namespace clipcat {

// Opens the backend for a connection string, user name and password.
using BackendOpener = std::function<std::unique_ptr<DatabaseBackend>(
    const std::string& connection_string, const std::string& user_name,
    const std::string& password)>;

class DBConnection {
 public:
  // A closed connection whose catalogs are opened by OpenBackend (backend_factory.h).
  DBConnection();
  // A closed connection whose catalogs are opened by `opener`, for engines of the caller's own.
  explicit DBConnection(BackendOpener opener);
  // Closes the connection if it is open; errors are suppressed.
  ~DBConnection();

  DBConnection(const DBConnection&) = delete;
  DBConnection& operator=(const DBConnection&) = delete;

  // Opens the catalog that `connection_string` names. Raises err::kCatalogCannotBeOpened when
  // TestConnection answers false, before the engine is asked for anything; otherwise the
  // engine's errors (err::kDatabaseError, or err::kProviderNotFound for an unknown provider).
  // On an open connection the old engine connection is dropped and replaced.
  void OpenConnection(const std::string& connection_string, const std::string& user_name,
                      const std::string& password);

  // Closes the engine connection; an open transaction is rolled back. Raises
  // err::kObjectVariableNotSet (91) when the connection is not open.
  void CloseConnection();

  bool IsOpen() const { return backend_ != nullptr; }

  // The engine's name ("SQLite", "PostgreSQL"), the source of its errors. Raises 91 when the
  // connection is not open.
  std::string EngineName();

  // Runs one statement (INSERT, UPDATE, DELETE ...). Text after the first statement raises
  // err::kDatabaseError and nothing runs. A failing statement changes nothing else: an open
  // transaction stays open. Raises 91 when the connection is not open.
  void ExecuteSQL(const std::string& sql);

  // Runs one query and answers all its rows as a snapshot that stays readable after the
  // connection closes. With `max_records` above zero the snapshot holds at most the query's first
  // `max_records` rows (zero: all of them). Raises as ExecuteSQL does.
  // A column's values read as its type says (dates as Date, booleans as Boolean) on every engine.
  // What an expression works out of them follows the engine: SQLite takes the type from a
  // column's declaration, which "max(tWhen)" lacks, and reads such a date as its ISO text, where
  // PostgreSQL answers a Date. Callers convert values worked out so (ToDate, ToBoolean ...).
  Recordset GetRecordsetRO(const std::string& sql, size_t max_records = 0);

  // ExecuteSQL and GetRecordsetRO for a statement written with "?" where each of `values` goes
  // (sql_values.h): they run as the text with the values' literals in their places would, and
  // raise what that would raise. An engine that keeps prepared statements reuses one for every
  // run of the same text, whatever the values. Raises err::kDatabaseError when the places and the
  // values disagree, running nothing.
  void ExecuteSQL(const std::string& sql, const SqlValues& values);
  Recordset GetRecordsetRO(const std::string& sql, const SqlValues& values, size_t max_records = 0);

  // Runs one query over a single table and answers a recordset bound to this connection that adds
  // rows to that table. Raises as ExecuteSQL does. From BeginLongValue until its row is updated
  // or cancelled, the recordset holds the connection: ExecuteSQL, GetRecordsetRO, GetRecordsetRW
  // and the transaction calls other than InTransaction raise err::kDatabaseError and run nothing
  // (database_backend.h).
  UpdatableRecordset GetRecordsetRW(const std::string& sql);

  // Explicit transactions. BeginTrans inside a transaction nests (the inner level commits into
  // the outer one or rolls back alone). CommitTrans and RollbackTrans without a transaction raise
  // the engine's error.
  void BeginTrans();
  void CommitTrans();
  void RollbackTrans();
  // True while a transaction, at any level, is open.
  bool InTransaction();
  // Rolls back every open level of transaction; nothing happens when none is open. For the end of
  // a request whose operation deliberately left its transaction open.
  void RollbackAll();

  // Runs `read`, a series of queries, so that all of them see one state of the catalog where the
  // engine offers that (SQLite: one read transaction, unless a transaction is open already; on
  // PostgreSQL each query sees its own). Whatever `read` raises reaches the caller, the read
  // transaction ended. For reads only. Raises 91 when the connection is not open.
  void ReadConsistently(const std::function<void()>& read);

  // A Boolean: true when the catalog `connection_string` names can be reached. A string holding
  // "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" is tested by the text after its first
  // "Data Source=" as a file, one holding "File Name=" by the text after it as a file (this wins
  // when both occur), any other by its server. Markers are matched with case. Does not open
  // anything; raises only what the probe raises (5 for a bare "\\server").
  Variant TestConnection(const std::string& connection_string);

 private:
  DatabaseBackend& Backend();

  BackendOpener opener_;
  std::unique_ptr<DatabaseBackend> backend_;  // null while closed
};

}  // namespace clipcat
