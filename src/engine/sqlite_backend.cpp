#include "engine/sqlite_backend.h"

#include "engine/sql_statement_view.h"
#include "engine/sqlite_cursor.h"
#include "engine/sqlite_session.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat {
namespace {

std::string SavepointName(int level) { return "clipcat_transaction_" + std::to_string(level); }

}  // namespace

SqliteBackend::SqliteBackend(const std::string& path, const SqliteOpenOptions& options)
    : session_(std::make_shared<SqliteSession>(path, options)) {}

SqliteBackend::~SqliteBackend() = default;

std::string SqliteBackend::EngineName() const { return kSqliteSource; }

SqliteSession& SqliteBackend::Session() const {
  if (session_ == nullptr) {
    throw AutomationError(err::kDatabaseError, kSqliteSource, "The connection is closed.");
  }
  return *session_;
}

SqliteSession& SqliteBackend::FreeSession() const {
  SqliteSession& session = Session();
  session.RequireNoLongValuePending();
  return session;
}

// The engine ends a transaction by itself after some failures (out of memory, an I/O error, a
// full disk, an interrupted statement), while the caller still holds it. Until the caller rolls
// back, every statement is refused: one run now would run outside the transaction it belongs to
// and stay, whatever became of the rest.
bool SqliteBackend::TransactionLost() const {
  return depth_ > 0 && sqlite3_get_autocommit(Session().db()) != 0;
}

SqliteSession& SqliteBackend::UsableSession() const {
  SqliteSession& session = FreeSession();
  if (TransactionLost()) {
    throw AutomationError(err::kDatabaseError, kSqliteSource,
                          "The transaction was ended by an earlier failure; it must be rolled "
                          "back before anything else runs.");
  }
  return session;
}

void SqliteBackend::Execute(std::string_view sql) {
  SqliteSession& session = UsableSession();
  {
    SqliteSession::Deadline deadline(session);
    SqliteStatement statement(session, sql);
    statement.Run();
  }
  if (MayChangeSchema(sql)) session.LoadDateColumns();
}

RowSet SqliteBackend::Query(std::string_view sql) {
  SqliteSession& session = UsableSession();
  SqliteSession::Deadline deadline(session);
  SqliteStatement statement(session, sql);
  return statement.Collect();
}

RowSet SqliteBackend::QueryAtMost(std::string_view sql, size_t max_records) {
  SqliteSession& session = UsableSession();
  SqliteSession::Deadline deadline(session);
  SqliteStatement statement(session, sql);
  return statement.Collect(max_records);
}

void SqliteBackend::ExecuteWithValues(std::string_view sql, const SqlValues& values) {
  SqliteSession& session = UsableSession();
  {
    SqliteSession::Deadline deadline(session);
    SqliteStatement statement(session, sql, values);
    statement.Run();
  }
  if (MayChangeSchema(sql)) session.LoadDateColumns();
}

RowSet SqliteBackend::QueryWithValues(std::string_view sql, const SqlValues& values,
                                      size_t max_records) {
  SqliteSession& session = UsableSession();
  SqliteSession::Deadline deadline(session);
  SqliteStatement statement(session, sql, values);
  return statement.Collect(max_records);
}

std::unique_ptr<RowCursor> SqliteBackend::OpenCursor(std::string_view sql) {
  UsableSession();
  return std::make_unique<SqliteCursor>(session_, sql);
}

void SqliteBackend::Run(const std::string& sql) {
  SqliteSession& session = Session();
  SqliteSession::Deadline deadline(session);
  // The transaction statements are a handful of fixed texts, run around most reads and writes:
  // each is prepared once and kept.
  SqliteStatement statement(session, sql, SqliteStatement::Reuse::kByText);
  statement.Run();
}

void SqliteBackend::BeginTransaction() {
  UsableSession();
  // IMMEDIATE takes the write lock at once, waiting under the time-out, so that two writers
  // never both read first and then fail to upgrade.
  Run(depth_ == 0 ? "BEGIN IMMEDIATE" : "SAVEPOINT " + SavepointName(depth_));
  ++depth_;
}

void SqliteBackend::CommitTransaction() {
  UsableSession();
  Run(depth_ <= 1 ? "COMMIT" : "RELEASE " + SavepointName(depth_ - 1));
  if (depth_ > 0) --depth_;
}

bool SqliteBackend::InTransaction() { return depth_ > 0; }

bool SqliteBackend::BeginReadTransaction() {
  SqliteSession& session = FreeSession();
  if (sqlite3_get_autocommit(session.db()) == 0) return false;
  // Deferred: the first query takes the read snapshot; no write lock is asked for.
  Run("BEGIN");
  return true;
}

void SqliteBackend::EndReadTransaction() {
  if (sqlite3_get_autocommit(Session().db()) != 0) return;
  Run("COMMIT");
}

void SqliteBackend::RollbackTransaction() {
  FreeSession();
  // What the engine ended is rolled back already.
  if (TransactionLost()) {
    --depth_;
    return;
  }
  if (depth_ <= 1) {
    Run("ROLLBACK");
  } else {
    Run("ROLLBACK TO " + SavepointName(depth_ - 1));
    Run("RELEASE " + SavepointName(depth_ - 1));
  }
  if (depth_ > 0) --depth_;
}

void SqliteBackend::Close() {
  // A cursor may keep the engine connection alive after this; it must not keep the transaction.
  if (session_ != nullptr && sqlite3_get_autocommit(session_->db()) == 0) {
    IgnoreErrors([&] { Run("ROLLBACK"); });
  }
  session_.reset();
  depth_ = 0;
}

}  // namespace clipcat
