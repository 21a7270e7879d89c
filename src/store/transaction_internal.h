// The one way the store operations write several statements as a unit. Internal to the store.
#pragma once

#include <utility>

#include "engine/db_connection.h"
#include "util/errors.h"

namespace clipcat {

// A transaction of `connection` for the life of a block. It begins on construction; Commit ends
// it; a guard that goes out of scope without Commit (an error left the block) rolls back, and a
// failing rollback never hides the error that is leaving. Guards nest: an inner guard commits into
// the outer transaction or rolls back only its own part.
class TransactionGuard {
 public:
  explicit TransactionGuard(DBConnection& connection) : connection_(connection) {
    connection_.BeginTrans();
  }
  ~TransactionGuard() {
    if (open_) IgnoreErrors([&] { connection_.RollbackTrans(); });
  }
  TransactionGuard(const TransactionGuard&) = delete;
  TransactionGuard& operator=(const TransactionGuard&) = delete;

  // A commit that fails leaves the guard open, so that its end rolls back what the engine kept.
  void Commit() {
    connection_.CommitTrans();
    open_ = false;
  }
  // Ends the guard's part by rolling it back; true when the rollback succeeded.
  bool Rollback() {
    open_ = false;
    return IgnoreErrors([&] { connection_.RollbackTrans(); });
  }
  // Leaves the transaction open on purpose, for the connection's next commit or rollback to end.
  // Only an operation described that way may do this, and says why where it does.
  void LeavePending() { open_ = false; }

 private:
  DBConnection& connection_;
  bool open_ = true;
};

// Runs `body` in a transaction of `connection`: committed when the body returns, rolled back when
// it raises, and the body's error raised again unchanged, so that nothing half-written is ever
// visible and no transaction stays open.
template <typename Body>
void InTransaction(DBConnection& connection, Body&& body) {
  TransactionGuard transaction(connection);
  std::forward<Body>(body)();
  transaction.Commit();
}

// Runs `body` in a transaction that is always rolled back, for the trial operations: true when
// the transaction began, `body` raised nothing and the rollback succeeded. Never raises.
template <typename Body>
bool Trial(DBConnection& connection, Body&& body) {
  const bool began = IgnoreErrors([&] { connection.BeginTrans(); });
  if (!began) return false;
  const bool ok = IgnoreErrors(std::forward<Body>(body));
  const bool rolled_back = IgnoreErrors([&] { connection.RollbackTrans(); });
  return ok && rolled_back;
}

}  // namespace clipcat
