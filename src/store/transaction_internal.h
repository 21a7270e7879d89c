// One way for the store operations to write several statements as a unit. Internal to the store.
#pragma once

#include <exception>
#include <utility>

#include "store/db_connection.h"

namespace clipcat {

// Runs `body` in a transaction of `connection`: committed when the body returns, rolled back when
// it raises, and the body's error raised again unchanged, so that nothing half-written is ever
// visible and no transaction stays open. A failing rollback does not hide the body's error.
template <typename Body>
void InTransaction(DBConnection& connection, Body&& body) {
  connection.BeginTrans();
  try {
    std::forward<Body>(body)();
    connection.CommitTrans();
  } catch (...) {
    const std::exception_ptr error = std::current_exception();
    try {
      connection.RollbackTrans();
    } catch (...) {
      // The caller needs the error that stopped the operation, not the rollback's.
    }
    std::rethrow_exception(error);
  }
}

}  // namespace clipcat
