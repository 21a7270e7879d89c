// Internal to the PostgreSQL backend: one open libpq connection, shared by the backend and the
// cursors it opened, with the statement runner that applies the store's rules (one statement per
// call, the dialect's rewrites, a failed statement never spoiling the caller's transaction) and
// the reading of results into rows. Used by one thread at a time.
#pragma once

#include <libpq-fe.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/postgres_connect.h"
#include "engine/postgres_dialect.h"
#include "engine/postgres_statement_cache.h"
#include "engine/row_set.h"

namespace clipcat {

// How long one statement may run on the server, waits for locks included.
inline constexpr std::chrono::milliseconds kPostgresStatementTimeout{10'000};

// Type identifiers of the built-in types the backend reads and binds. Frozen by PostgreSQL.
inline constexpr Oid kBoolOid = 16;
inline constexpr Oid kByteaOid = 17;
inline constexpr Oid kInt8Oid = 20;
inline constexpr Oid kInt2Oid = 21;
inline constexpr Oid kInt4Oid = 23;
inline constexpr Oid kOidOid = 26;
inline constexpr Oid kFloat4Oid = 700;
inline constexpr Oid kFloat8Oid = 701;
inline constexpr Oid kDateOid = 1082;
inline constexpr Oid kTimestampOid = 1114;
inline constexpr Oid kTimestampTzOid = 1184;
inline constexpr Oid kNumericOid = 1700;

// One parameter of a statement the backend builds itself (never of the store's SQL).
struct PostgresParam {
  std::optional<std::string> value;  // nothing is Null
  // True: the bytes as they are, for a bytea column. False: text the server reads as a value of
  // the type the statement gives the parameter.
  bool binary = false;
  // The parameter's type; 0 lets the statement decide, as it does for a quoted literal.
  Oid type = 0;
};

// One column of a table, as the updatable cursor needs it.
struct PostgresTableColumn {
  std::string name;
  Oid type = 0;  // the base type of a domain
};

// The columns of one table, by column number.
struct PostgresTableColumns {
  std::string table;  // the table's name as SQL reads it (schema-qualified when not visible)
  std::map<int, PostgresTableColumn> by_number;
};

// Owns one PGresult.
class PostgresResult {
 public:
  explicit PostgresResult(PGresult* result = nullptr) : result_(result) {}
  ~PostgresResult() { PQclear(result_); }
  PostgresResult(PostgresResult&& other) noexcept : result_(other.result_) {
    other.result_ = nullptr;
  }
  PostgresResult& operator=(PostgresResult&& other) noexcept;
  PostgresResult(const PostgresResult&) = delete;
  PostgresResult& operator=(const PostgresResult&) = delete;

  PGresult* get() const { return result_; }

 private:
  PGresult* result_;
};

// How result columns of a table are spelled. The server folds unquoted names to lower case; a
// program whose tables have names in mixed case sets their spelling once, before sessions read
// rows, so that results name their columns as the program wrote them. Without one, names come as
// the server reports them. Safe to set from any thread.
using PostgresColumnSpelling = std::string (*)(std::string_view table, std::string_view column);
void SetPostgresColumnSpelling(PostgresColumnSpelling spelling);

class PostgresSession {
 public:
  // Connects (see ConnectPostgres for what it raises), then fixes the session's settings: a
  // 10-second statement_timeout, standard_conforming_strings on, ISO date output, hex bytea
  // output and the search path the parameters name. Reads the column types of the tables the
  // search path shows.
  explicit PostgresSession(const PostgresParameters& parameters);
  ~PostgresSession();
  PostgresSession(const PostgresSession&) = delete;
  PostgresSession& operator=(const PostgresSession&) = delete;

  // Runs one statement of the store's SQL. Raises err::kDatabaseError, source "PostgreSQL", and
  // runs nothing when the text is empty or holds anything but blanks, comments and semicolons
  // after its first statement, and refuses COPY ("COPY is not supported."). Otherwise rewrites it
  // for the server (TranslateSqlForPostgres) and runs it as RunGuarded does. A statement that
  // changes the schema re-reads the column types.
  PostgresResult RunStoreStatement(std::string_view sql);

  // Runs `sql` as written with `params` ($1, $2 ...), prepared once per connection and reused
  // (the statement cache). Inside a transaction the statement runs behind a savepoint, so that
  // when it fails the transaction stays usable and only the statement is undone; the savepoint,
  // its release and a statement's first preparation travel with the statement in one round trip.
  // Raises the server's error as err::kDatabaseError, source "PostgreSQL", with the server's
  // message.
  PostgresResult RunGuarded(const std::string& sql, const std::vector<PostgresParam>& params = {});

  // Runs `sql` as written with `params`, unguarded: for transaction control. Raises as RunGuarded.
  PostgresResult Run(const std::string& sql, const std::vector<PostgresParam>& params = {});

  // The server's view of the transaction: PQTRANS_IDLE outside one.
  PGTransactionStatusType TransactionStatus() const;

  // The cursor whose row holds the connection with a long value (database_backend.h); null when
  // none does. Set and cleared by that cursor.
  const void* long_value_holder() const { return long_value_holder_; }
  void set_long_value_holder(const void* cursor) { long_value_holder_ = cursor; }

  // Raises err::kDatabaseError with kLongValuePendingMessage when a row with a long value holds
  // the connection, unless it is `cursor`'s own.
  void RequireNoLongValuePending(const void* cursor = nullptr) const;

  const PostgresColumnTypes& column_types() const { return column_types_; }

  // The columns of table `table`, read once per connection and again after the schema changed
  // (see LoadColumnTypes) or when `reload` is true.
  const PostgresTableColumns& TableColumns(Oid table, bool reload = false);

  // The number of round trips to the server so far: every exchange of requests and answers.
  uint64_t round_trips() const { return round_trips_; }

  // The number of statements prepared and kept on the connection.
  size_t prepared_statements() const { return statements_.size(); }

  // Re-reads which visible columns hold dates, booleans and text, and whether the catalog has
  // its folding function. Forgets the columns read by TableColumns and the prepared statements,
  // which a changed schema may have made wrong.
  void LoadColumnTypes();

  // To be called after a rollback (of a transaction or to a savepoint): re-reads the column types
  // when a statement of the store changed the schema inside a transaction, since the rollback
  // may have taken the change back (a folding function made by an upgrade that then failed).
  void AfterRollback();

  // Every row of `result`, typed by column type: boolean as Boolean, smallint as Integer,
  // integer as Long, bigint as Long (Double beyond 32 bits), floating and numeric types as
  // Double, timestamp and date as Date, bytea as bytes, anything else as String. Columns of
  // catalog tables are named in the catalog's own spelling ("lFolderID"), others as the server
  // names them. A `max_rows` above zero reads only that many rows; zero reads them all.
  RowSet ReadRows(const PGresult* result, size_t max_rows = 0);

  // Ends the connection. Every later call raises "The connection is closed.".
  void Close();

 private:
  // The lower-case name of table `table`, read once per session.
  const std::string& TableName(Oid table);

  // One request of an exchange.
  struct Request {
    enum class Kind { kRun, kPrepare, kRunPrepared } kind;
    std::string text;  // the statement, or the prepared statement's name
    const std::vector<PostgresParam>* params = nullptr;
    std::string sql = {};  // kPrepare: the statement to prepare
  };
  // Sends `requests` together and answers their results, one per request, in one round trip.
  // After a request fails the server skips the rest (PGRES_PIPELINE_ABORTED). A result is null
  // when the connection broke.
  std::vector<PostgresResult> Exchange(const std::vector<Request>& requests);
  // Raises unless `result` is a success.
  void Require(const PostgresResult& result);
  // RunGuarded; `prepare_failed` tells whether the server refused to prepare the statement.
  PostgresResult RunCached(const std::string& sql, const std::vector<PostgresParam>& params,
                           bool* prepare_failed);

  PGconn* Conn() const;
  [[noreturn]] void RaiseError(const PGresult* result) const;
  void AbandonCopy();

  PGconn* conn_ = nullptr;  // null once closed
  PostgresColumnTypes column_types_;
  bool schema_changed_in_transaction_ = false;
  const void* long_value_holder_ = nullptr;
  std::map<Oid, std::string> table_names_;
  std::map<Oid, PostgresTableColumns> table_columns_;
  PostgresStatementCache statements_;
  uint64_t round_trips_ = 0;
};

// The round trips to PostgreSQL servers every session of the process has made so far: for
// measuring what an operation costs. Safe from any thread.
uint64_t PostgresRoundTripsSoFar();

// For tests that make the Nth round trip fail: a function every session calls just before each
// round trip, with the connection it is about to use (a test shuts the connection's socket down
// in it, so that the round trip meets a connection the server has lost). Null, the default,
// calls nothing. Set it while no session is in use.
using PostgresRoundTripHook = void (*)(PGconn* conn);
void SetPostgresRoundTripHook(PostgresRoundTripHook hook);

// `name` as a quoted PostgreSQL identifier.
std::string QuotePostgresIdentifier(std::string_view name);

}  // namespace clipcat
