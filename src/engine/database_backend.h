// The interface between DBConnection and one database engine. A backend owns one open engine
// connection and runs the store's SQL on it, translating what its engine reads differently
// (date literals, functions, text comparison) so that every engine gives the store the same
// results. A backend, and every cursor it hands out, is used by one thread at a time.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "engine/row_set.h"
#include "engine/sql_values.h"
#include "util/variant.h"

namespace clipcat {

// The description of the error a call raises while a row with a long value holds the connection.
inline constexpr const char* kLongValuePendingMessage =
    "A row with a long value is being added on this connection; update or cancel it first.";

// A connected cursor that adds rows to the one table a query selected from. Rows are added one at
// a time: AddNew, then field values and long values, then Update (or CancelUpdate).
//
// A row with a long value holds the connection from BeginLongValue until Update, CancelUpdate or
// the next AddNew: meanwhile the connection runs nothing else. A statement, a query, a new
// cursor, BeginTransaction, CommitTransaction or RollbackTransaction, and another cursor's
// BeginLongValue or Update, raise err::kDatabaseError (source: the engine) with
// kLongValuePendingMessage and run nothing; Close still closes. The SQLite backend writes the
// long value into the table under a savepoint as it comes, which would take anything run
// meanwhile with it when the row is cancelled; the PostgreSQL backend refuses the same calls so
// that the store cannot come to rely on them on either engine.
class RowCursor {
 public:
  virtual ~RowCursor() = default;

  // The rows the query selected when the cursor was opened, and its column names.
  virtual const RowSet& Rows() const = 0;

  // Starts a new row whose fields are all Null. A row begun but not yet updated is cancelled.
  virtual void AddNew() = 0;

  // Sets field `column` (an index into Rows().columns) of the new row.
  // REQUIRES: AddNew was called and the row is not yet updated.
  virtual void SetValue(size_t column, const Variant& value) = 0;

  // Announces that field `column` of the new row receives a long binary value of exactly
  // `total_bytes` bytes through AppendLongValue. An engine may write each piece through to the
  // database as it comes, so the value is never held whole in memory twice.
  // REQUIRES: AddNew was called and the row is not yet updated.
  virtual void BeginLongValue(size_t column, size_t total_bytes) = 0;

  // Appends the next piece of the long value of `column`. Raises when the pieces would exceed the
  // announced size.
  virtual void AppendLongValue(size_t column, std::string_view bytes) = 0;

  // Stores the new row. Raises, and stores nothing, when a long value received fewer bytes than
  // announced or the engine refuses the row.
  virtual void Update() = 0;

  // Drops the new row; nothing of it stays in the database. No effect without a pending row.
  virtual void CancelUpdate() = 0;
};

class DatabaseBackend {
 public:
  virtual ~DatabaseBackend() = default;

  // The engine's name, the source of the errors it raises ("SQLite").
  virtual std::string EngineName() const = 0;

  // Runs exactly one statement. Text after the first statement (other than blanks, comments and
  // semicolons) raises an error and nothing runs. Rows the statement returns are discarded.
  virtual void Execute(std::string_view sql) = 0;

  // Runs exactly one statement and answers all the rows it returns.
  virtual RowSet Query(std::string_view sql) = 0;

  // Runs exactly one statement and answers at most its first `max_records` rows (all of them when
  // `max_records` is zero). An engine that can stop producing rows early does; the statement is
  // run as written either way.
  virtual RowSet QueryAtMost(std::string_view sql, size_t max_records) {
    RowSet rows = Query(sql);
    if (max_records > 0 && rows.rows.size() > max_records) rows.rows.resize(max_records);
    return rows;
  }

  // Execute and QueryAtMost for `sql` written with "?" for each of `values` (sql_values.h): the
  // same as for the text with the values' literals in their places, which is what these run
  // unless the engine binds the values itself.
  virtual void ExecuteWithValues(std::string_view sql, const SqlValues& values) {
    Execute(SpliceSqlValues(sql, values));
  }
  virtual RowSet QueryWithValues(std::string_view sql, const SqlValues& values,
                                 size_t max_records) {
    const std::string text = SpliceSqlValues(sql, values);
    return max_records == 0 ? Query(text) : QueryAtMost(text, max_records);
  }

  // Runs exactly one query and answers a cursor over its rows that can add rows to the table the
  // query selected from. Raises when the query's columns do not all come from one table.
  virtual std::unique_ptr<RowCursor> OpenCursor(std::string_view sql) = 0;

  // Explicit transactions. Begin inside a transaction nests: the inner Commit keeps the inner
  // changes for the outer transaction to commit or roll back, the inner Rollback undoes only them.
  virtual void BeginTransaction() = 0;
  virtual void CommitTransaction() = 0;
  virtual void RollbackTransaction() = 0;
  // True while a transaction, at any level, is open on the engine connection.
  virtual bool InTransaction() = 0;
  // A read transaction: the queries until EndReadTransaction see one state of the database, and
  // the engine takes its read locks once for all of them. Answers false, beginning nothing, when
  // a transaction is open already (its queries see its own state) or the engine reads each
  // statement on its own (the default). For queries only: InTransaction stays false meanwhile.
  virtual bool BeginReadTransaction() { return false; }
  // Ends the read transaction BeginReadTransaction began; nothing when the engine already ended it.
  virtual void EndReadTransaction() {}

  // Closes the engine connection; an open transaction is rolled back. Calls after Close raise.
  virtual void Close() = 0;
};

}  // namespace clipcat
