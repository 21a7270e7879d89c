// The SQLite backend: a catalog in a SQLite database file. Dates are stored as ISO text, text
// compares by folded case through the schema's NOCASE columns and the connection's own NOCASE
// and like() (sqlite_functions.h), and Datediff is a function of the connection. Used by one
// thread at a time.
#pragma once

#include <memory>
#include <string>

#include "engine/database_backend.h"
#include "engine/sqlite_session.h"

namespace clipcat {

class SqliteBackend : public DatabaseBackend {
 public:
  // Opens the existing catalog file `path` for reading and writing; a missing file is an error,
  // never created. Raises err::kDatabaseError with source "SQLite" and the engine's message when
  // the file cannot be opened, err::kCatalogDamaged when it is damaged (SqliteSession).
  explicit SqliteBackend(const std::string& path, const SqliteOpenOptions& options = {});
  ~SqliteBackend() override;

  SqliteBackend(const SqliteBackend&) = delete;
  SqliteBackend& operator=(const SqliteBackend&) = delete;

  std::string EngineName() const override;
  void Execute(std::string_view sql) override;
  RowSet Query(std::string_view sql) override;
  RowSet QueryAtMost(std::string_view sql, size_t max_records) override;
  void ExecuteWithValues(std::string_view sql, const SqlValues& values) override;
  RowSet QueryWithValues(std::string_view sql, const SqlValues& values,
                         size_t max_records) override;
  std::unique_ptr<RowCursor> OpenCursor(std::string_view sql) override;
  void BeginTransaction() override;
  void CommitTransaction() override;
  void RollbackTransaction() override;
  bool InTransaction() override;
  bool BeginReadTransaction() override;
  void EndReadTransaction() override;
  void Close() override;

 private:
  SqliteSession& Session() const;
  // Session(), raising when a row with a long value holds the connection (database_backend.h).
  SqliteSession& FreeSession() const;
  // FreeSession(), raising when the engine ended the caller's transaction (see TransactionLost).
  SqliteSession& UsableSession() const;
  bool TransactionLost() const;
  // Runs a transaction statement (BEGIN, COMMIT, SAVEPOINT ...), kept prepared by its text.
  void Run(const std::string& sql);

  std::shared_ptr<SqliteSession> session_;
  // Nesting of BeginTransaction: the outer level is a transaction, the inner ones savepoints.
  int depth_ = 0;
};

}  // namespace clipcat
