// Internal to the SQLite backend: the shared state of one SQLite connection (the handle, the
// statement deadline, the date columns of the schema) and the statement helpers the backend and
// its cursors share. Used by one thread at a time.
#pragma once

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "engine/row_set.h"
#include "engine/sql_values.h"
#include "engine/sqlite_dialect.h"
#include "engine/sqlite_parameters.h"
#include "engine/sqlite_statement_cache.h"
#include "util/variant.h"

namespace clipcat {

// The engine name, and the source of every error the engine reports.
inline constexpr const char* kSqliteSource = "SQLite";

// How long one statement may run, waits for locks included.
inline constexpr std::chrono::milliseconds kStatementTimeout{10'000};

// How many idle prepared statements a connection keeps for reuse.
inline constexpr size_t kStatementCacheCapacity = 64;

// How a connection opens its file.
struct SqliteOpenOptions {
  // Never write, whatever the file and its folder allow.
  bool read_only = false;
  // Refuse, with err::kCatalogDamaged, a file whose header disagrees with the file
  // (SqliteHeaderProblems); off only for a caller that reports what is wrong itself.
  bool check_header = true;
};

// One open SQLite connection, shared by the backend and the cursors it opened, so that a cursor
// left open after the backend is closed still holds a valid handle.
class SqliteSession {
 public:
  // Opens the existing database file `path` for reading and writing; never creates it. Installs
  // the statement time-out and the store's SQL functions and reads the schema's date columns.
  // A file that cannot be written (a read-only file or file system) is opened read-only; one
  // whose folder cannot be written either, with no log beside it, is opened immutable (no lock
  // and no log file needed). Raises err::kCatalogDamaged naming the file for a damaged one.
  explicit SqliteSession(const std::string& path, const SqliteOpenOptions& options = {});
  ~SqliteSession();
  SqliteSession(const SqliteSession&) = delete;
  SqliteSession& operator=(const SqliteSession&) = delete;

  sqlite3* db() const { return db_; }
  const std::string& path() const { return path_; }
  // True when the connection was opened read-only (asked for, or the storage allows no more).
  bool read_only() const { return read_only_; }
  const DateColumnSet& date_columns() const { return date_columns_; }
  SqliteStatementCache& statement_cache() { return statement_cache_; }

  // Re-reads the date columns and drops the kept statements (after a statement that changed the
  // schema).
  void LoadDateColumns();

  // Raises the engine's current error as err::kDatabaseError with source "SQLite". A statement
  // stopped by the time-out is reported as "Query timeout expired"; corruption, a file that is
  // not a database and a short read of the file raise err::kCatalogDamaged naming the file.
  [[noreturn]] void RaiseError() const;

  // The cursor whose row holds the connection with a long value (database_backend.h); null when
  // none does. Set and cleared by that cursor.
  const void* long_value_holder() const { return long_value_holder_; }
  void set_long_value_holder(const void* cursor) { long_value_holder_ = cursor; }

  // Raises err::kDatabaseError with kLongValuePendingMessage when a row with a long value holds
  // the connection, unless it is `cursor`'s own.
  void RequireNoLongValuePending(const void* cursor = nullptr) const;

  // Starts the time-out of one statement. Scoped: the deadline ends with the object.
  class Deadline {
   public:
    explicit Deadline(SqliteSession& session);
    ~Deadline();
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;

   private:
    SqliteSession& session_;
  };

 private:
  static int OnProgress(void* session);
  static int OnBusy(void* session, int attempts);

  std::string path_;
  bool read_only_ = false;
  bool foreign_file_ = false;  // no SQLite file at all: the engine's "not a database" stands
  sqlite3* db_ = nullptr;
  SqliteStatementCache statement_cache_{kStatementCacheCapacity};
  DateColumnSet date_columns_;
  const void* long_value_holder_ = nullptr;
  bool deadline_set_ = false;
  bool timed_out_ = false;
  std::chrono::steady_clock::time_point deadline_;
};

// A prepared statement, finalized (or given back to the session's cache) on destruction.
class SqliteStatement {
 public:
  // Prepares the one statement in `sql` after the dialect's translation. Raises, preparing
  // nothing, when the text is empty or holds anything but blanks, comments and semicolons after
  // the first statement. A query or change whose literals can be bound (ParameteriseSql) reuses
  // the session's statement for its text with the literals' values bound; it runs and answers
  // exactly as the statement as written would. How else a statement may be reused: see Reuse.
  enum class Reuse {
    kByValues,  // share when its literals can be bound (above); prepare anew otherwise
    kNever,     // always prepare anew, for a caller that reads the statement's columns before
                // stepping it (a kept statement learns of another connection's schema change
                // only when it steps)
    kByText,    // a text with parameters of its own, which the caller binds: kept by its text
  };
  SqliteStatement(SqliteSession& session, std::string_view sql, Reuse reuse = Reuse::kByValues);
  // Prepares `sql`, written with "?" for each of `values` (sql_values.h), to run as the text with
  // the values' literals in their places would. When every value can be bound, the session keeps
  // the statement by the text as written and binds the values, lexing and translating the text
  // only the first time; otherwise the text with the literals spliced in is prepared as above.
  // Raises as SpliceSqlValues does when the places and the values disagree.
  SqliteStatement(SqliteSession& session, std::string_view sql, const SqlValues& values);
  ~SqliteStatement();
  SqliteStatement(const SqliteStatement&) = delete;
  SqliteStatement& operator=(const SqliteStatement&) = delete;

  sqlite3_stmt* get() const { return stmt_; }

  // Steps once: true when a row is ready, false when the statement is done. Raises on failure.
  bool Step();

  // Steps until done, discarding rows.
  void Run();

  // Steps until done, collecting every row; with `max_rows` above zero, stops after that many.
  RowSet Collect(size_t max_rows = 0);

  // Binds `value` to parameter `index` (from 1). Dates bind as ISO text, booleans as 1 and 0; text
  // bound to a date column (`date_column`) that reads as a date binds as its ISO text.
  void Bind(int index, const Variant& value, bool date_column);

 private:
  // The first constructor's work, for the second's fallback.
  void Prepare(std::string_view sql, Reuse reuse);
  // Takes the session's statement kept under `key`, or prepares `text_of()` and keeps it so.
  // Answers false, holding nothing, when the text does not prepare as one statement with exactly
  // `value_count` parameters (with `own_parameters`, any number: the caller binds its own): the
  // statement as written then decides (and reports) what happens.
  bool PrepareShared(const std::string& key, size_t value_count, bool own_parameters,
                     const std::function<std::string()>& text_of);
  // Binds `values` to the statement's parameters in order. Answers false, holding nothing, when
  // the engine refuses one.
  bool BindShared(const std::vector<SqlLiteralValue>& values);
  void PrepareOwn(const std::string& text);

  SqliteSession& session_;
  sqlite3_stmt* stmt_ = nullptr;
  bool shared_ = false;  // stmt_ belongs to the session's cache
};

// What a column's declared type says about reading its values.
enum class SqliteColumnKind { kPlain, kBoolean, kSmallInteger, kDate };

// The kind of the declared type `declared_type` (nullptr for an expression): BOOL..., ...SMALLINT
// or ...TINYINT..., DATE... or TIMESTAMP..., compared without case.
SqliteColumnKind KindOfDeclaredType(const char* declared_type);

// The value of column `column` of the statement's current row, typed by the column's kind:
// Boolean columns read as Boolean, small integers as Integer, date text as Date, other integers
// as Long (Double beyond 32 bits), BLOBs as bytes.
StoredValue ReadColumn(sqlite3_stmt* stmt, int column, SqliteColumnKind kind);

// True for a declared type that holds dates.
bool IsDateType(const char* declared_type);

// `name` as a quoted SQLite identifier.
std::string QuoteIdentifier(std::string_view name);

}  // namespace clipcat
