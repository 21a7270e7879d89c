#include "engine/postgres_backend.h"

#include "engine/postgres_cursor.h"
#include "engine/postgres_session.h"
#include "util/errors.h"

namespace clipcat {
namespace {

[[noreturn]] void RaiseEngineText(const std::string& text) {
  throw AutomationError(err::kDatabaseError, kPostgresSource, text);
}

std::string SavepointName(int level) { return "clipcat_transaction_" + std::to_string(level); }

}  // namespace

PostgresBackend::PostgresBackend(const PostgresParameters& parameters)
    : session_(std::make_shared<PostgresSession>(parameters)) {}

PostgresBackend::~PostgresBackend() {
  IgnoreErrors([&] { Close(); });
}

std::string PostgresBackend::EngineName() const { return kPostgresSource; }

PostgresSession& PostgresBackend::Session() const {
  if (session_ == nullptr) RaiseEngineText("The connection is closed.");
  return *session_;
}

PostgresSession& PostgresBackend::FreeSession() const {
  PostgresSession& session = Session();
  session.RequireNoLongValuePending();
  return session;
}

void PostgresBackend::Execute(std::string_view sql) { FreeSession().RunStoreStatement(sql); }

RowSet PostgresBackend::Query(std::string_view sql) {
  PostgresSession& session = FreeSession();
  const PostgresResult result = session.RunStoreStatement(sql);
  return session.ReadRows(result.get());
}

// The server has sent the whole result by now; only the rows asked for are converted.
RowSet PostgresBackend::QueryAtMost(std::string_view sql, size_t max_records) {
  PostgresSession& session = FreeSession();
  const PostgresResult result = session.RunStoreStatement(sql);
  return session.ReadRows(result.get(), max_records);
}

std::unique_ptr<RowCursor> PostgresBackend::OpenCursor(std::string_view sql) {
  FreeSession();
  return std::make_unique<PostgresCursor>(session_, sql);
}

// The server ends a transaction by itself only when the connection goes; the count follows it.
int PostgresBackend::Depth() {
  if (Session().TransactionStatus() == PQTRANS_IDLE) depth_ = 0;
  return depth_;
}

void PostgresBackend::BeginTransaction() {
  FreeSession();
  const int depth = Depth();
  if (depth > 0) {
    Session().Run("SAVEPOINT " + SavepointName(depth));
  } else {
    Session().Run("BEGIN");
    try {
      Session().Run("SELECT pg_catalog.pg_advisory_xact_lock(" + std::to_string(kWriterLockClass) +
                    ", pg_catalog.hashtext(pg_catalog.current_schema()))");
    } catch (const AutomationError&) {
      IgnoreErrors([&] { Session().Run("ROLLBACK"); });
      throw;
    }
  }
  ++depth_;
}

void PostgresBackend::CommitTransaction() {
  FreeSession();
  const int depth = Depth();
  if (depth == 0) RaiseEngineText("there is no transaction in progress");
  // A failed transaction cannot commit: the server would roll it back and call that a success.
  if (Session().TransactionStatus() != PQTRANS_INTRANS) {
    RollbackTransaction();
    RaiseEngineText("The transaction was rolled back after an error.");
  }
  Session().Run(depth == 1 ? "COMMIT" : "RELEASE SAVEPOINT " + SavepointName(depth - 1));
  --depth_;
}

bool PostgresBackend::InTransaction() { return Depth() > 0; }

void PostgresBackend::RollbackTransaction() {
  FreeSession();
  const int depth = Depth();
  if (depth == 0) RaiseEngineText("there is no transaction in progress");
  if (depth == 1) {
    Session().Run("ROLLBACK");
  } else {
    Session().Run("ROLLBACK TO SAVEPOINT " + SavepointName(depth - 1));
    Session().Run("RELEASE SAVEPOINT " + SavepointName(depth - 1));
  }
  --depth_;
  Session().AfterRollback();
}

void PostgresBackend::Close() {
  if (session_ == nullptr) return;
  // Cursors share the session: closing it ends them as well, transaction and all.
  std::shared_ptr<PostgresSession> session = std::move(session_);
  depth_ = 0;
  session->Close();
}

}  // namespace clipcat
