// The PostgreSQL backend: a catalog in a database on a PostgreSQL server, reached through libpq.
// The store's SQL runs as on SQLite, rewritten only where the server reads it differently (date
// literals, numbers given for booleans, backslashes in LIKE patterns, text compared by folded
// case through the catalog's clipcat_fold); Datediff is a function of the catalog. Used by one
// thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/database_backend.h"
#include "engine/postgres_connect.h"

namespace clipcat {

class PostgresSession;

// The first key of the advisory lock every write transaction takes, with a hash of the schema as
// the second, so that writers of one schema run one after another. Frozen: every version of the
// program that writes a schema must take the same lock ("ClCt", the catalog's application id).
inline constexpr int32_t kWriterLockClass = 0x436C4374;

class PostgresBackend : public DatabaseBackend {
 public:
  // Connects to the database `parameters` name. Raises err::kCatalogCannotBeOpened when no
  // server answers, and err::kDatabaseError with source "PostgreSQL" and libpq's or the server's
  // message when the server refuses the connection.
  explicit PostgresBackend(const PostgresParameters& parameters);
  ~PostgresBackend() override;

  PostgresBackend(const PostgresBackend&) = delete;
  PostgresBackend& operator=(const PostgresBackend&) = delete;

  std::string EngineName() const override;
  void Execute(std::string_view sql) override;
  RowSet Query(std::string_view sql) override;
  RowSet QueryAtMost(std::string_view sql, size_t max_records) override;
  std::unique_ptr<RowCursor> OpenCursor(std::string_view sql) override;
  // The outer transaction also takes the catalog's writer lock (an advisory lock held until it
  // ends), so that writers take turns as they do on a SQLite catalog and a name checked inside a
  // transaction cannot be taken meanwhile by another writer. The wait counts against the
  // statement time-out. Inner levels are savepoints.
  void BeginTransaction() override;
  void CommitTransaction() override;
  void RollbackTransaction() override;
  bool InTransaction() override;
  void Close() override;

 private:
  PostgresSession& Session() const;
  // Session(), raising when a row with a long value holds the connection (database_backend.h).
  PostgresSession& FreeSession() const;
  int Depth();

  std::shared_ptr<PostgresSession> session_;
  // Nesting of BeginTransaction: the outer level is a transaction, the inner ones savepoints.
  int depth_ = 0;
};

}  // namespace clipcat
