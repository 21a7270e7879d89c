#include "engine/postgres_session.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <cstdlib>

#include "engine/database_backend.h"
#include "engine/sql_statement_view.h"
#include "engine/sqlite_parameters.h"
#include "util/date.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat {
namespace {

std::atomic<PostgresColumnSpelling> g_column_spelling{nullptr};
std::atomic<uint64_t> g_round_trips{0};
std::atomic<PostgresRoundTripHook> g_round_trip_hook{nullptr};

std::string ColumnSpelling(std::string_view table, std::string_view column) {
  const PostgresColumnSpelling spelling = g_column_spelling.load();
  return spelling != nullptr ? spelling(table, column) : std::string(column);
}

}  // namespace

void SetPostgresColumnSpelling(PostgresColumnSpelling spelling) { g_column_spelling = spelling; }

uint64_t PostgresRoundTripsSoFar() { return g_round_trips.load(); }

void SetPostgresRoundTripHook(PostgresRoundTripHook hook) { g_round_trip_hook = hook; }

namespace {

constexpr const char* kStatementSavepoint = "clipcat_statement";

// Statements kept prepared per connection: more than the store's distinct statement shapes.
constexpr size_t kPreparedStatements = 256;

// The parameter arrays libpq takes, for `params`.
struct ParamArrays {
  explicit ParamArrays(const std::vector<PostgresParam>* params) {
    if (params == nullptr) return;
    for (const PostgresParam& param : *params) {
      values.push_back(param.value ? param.value->data() : nullptr);
      lengths.push_back(param.value ? static_cast<int>(param.value->size()) : 0);
      formats.push_back(param.binary ? 1 : 0);
      types.push_back(param.type);
    }
  }
  int count() const { return static_cast<int>(values.size()); }
  std::vector<const char*> values;
  std::vector<int> lengths;
  std::vector<int> formats;
  std::vector<Oid> types;
};

// What the statement cache knows a statement by: its text and its parameters' types.
std::string CacheKey(const std::string& sql, const std::vector<PostgresParam>& params) {
  std::string key = sql;
  key += '\0';
  for (const PostgresParam& param : params) key += std::to_string(param.type) + ",";
  return key;
}

// `parameterised` (a statement with "?" for its values) with "$1", "$2" ... instead, and its
// values as parameters of the types the literals had: a string literal's type is left to the
// statement, an integer is int4 when it fits and int8 otherwise, as the server types them.
std::optional<std::pair<std::string, std::vector<PostgresParam>>> NumberedParameters(
    const ParameterisedSql& parameterised) {
  std::string text;
  text.reserve(parameterised.text.size() + parameterised.values.size());
  size_t next = 0;
  for (const SqlToken& token : TokenizeSql(parameterised.text)) {
    if (token.kind != SqlTokenKind::kParameter) {
      text += token.text;
      continue;
    }
    if (token.text != "?" || next == parameterised.values.size()) return std::nullopt;
    text += "$" + std::to_string(++next);
  }
  if (next != parameterised.values.size()) return std::nullopt;
  std::vector<PostgresParam> params;
  params.reserve(next);
  for (const SqlLiteralValue& value : parameterised.values) {
    if (value.is_text) {
      params.push_back({value.text});
    } else {
      const bool small = value.integer >= INT32_MIN && value.integer <= INT32_MAX;
      params.push_back({std::to_string(value.integer), false, small ? kInt4Oid : kInt8Oid});
    }
  }
  return std::make_pair(std::move(text), std::move(params));
}

[[noreturn]] void RaiseEngineText(const std::string& text) {
  throw AutomationError(err::kDatabaseError, kPostgresSource, text);
}

// Refuses what is not exactly one statement, before anything reaches the server. The server
// refuses several statements in one parameterised call as well; this check also covers text the
// server would read as empty.
void RequireOneStatement(std::string_view sql) {
  bool seen_statement = false;
  bool seen_end = false;
  for (const SqlToken& token : TokenizeSql(sql)) {
    if (IsInsignificant(token)) continue;
    if (token.kind == SqlTokenKind::kOperator && token.text == ";") {
      seen_end = seen_end || seen_statement;
      continue;
    }
    if (seen_end) RaiseEngineText("Characters found after end of SQL statement.");
    seen_statement = true;
  }
  if (!seen_statement) RaiseEngineText("The statement text is empty.");
}

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

StoredValue ReadValue(const PGresult* result, int row, int column) {
  StoredValue out;
  if (PQgetisnull(result, row, column) != 0) {
    out.value = Variant::Null();
    return out;
  }
  const char* data = PQgetvalue(result, row, column);
  const std::string_view text(data, static_cast<size_t>(PQgetlength(result, row, column)));
  switch (PQftype(result, column)) {
    case kBoolOid:
      out.value = Variant(text == "t");
      return out;
    case kInt2Oid:
      if (const auto v = ParseNumber<int16_t>(text)) {
        out.value = Variant(*v);
        return out;
      }
      break;
    case kInt4Oid:
    case kInt8Oid:
    case kOidOid:
      if (const auto v = ParseNumber<int64_t>(text)) {
        out.value = *v >= INT32_MIN && *v <= INT32_MAX ? Variant(static_cast<int32_t>(*v))
                                                       : Variant(static_cast<double>(*v));
        return out;
      }
      break;
    case kFloat4Oid:
    case kFloat8Oid:
    case kNumericOid: {
      const std::string copy(text);
      char* end = nullptr;
      const double v = std::strtod(copy.c_str(), &end);
      if (end != copy.c_str() && *end == '\0') {
        out.value = Variant(v);
        return out;
      }
      break;
    }
    case kDateOid:
    case kTimestampOid:
      if (const auto date = ParseIsoDate(std::string(text))) {
        out.value = Variant(*date);
        return out;
      }
      break;
    case kByteaOid: {
      size_t length = 0;
      unsigned char* bytes = PQunescapeBytea(reinterpret_cast<const unsigned char*>(data), &length);
      if (bytes == nullptr) RaiseEngineText("out of memory");
      out.is_binary = true;
      out.bytes.assign(reinterpret_cast<const char*>(bytes), length);
      PQfreemem(bytes);
      return out;
    }
    default:
      break;
  }
  out.value = Variant(std::string(text));
  return out;
}

}  // namespace

PostgresResult& PostgresResult::operator=(PostgresResult&& other) noexcept {
  if (this != &other) {
    PQclear(result_);
    result_ = other.result_;
    other.result_ = nullptr;
  }
  return *this;
}

PostgresSession::PostgresSession(const PostgresParameters& parameters)
    : conn_(ConnectPostgres(parameters)), statements_(kPreparedStatements) {
  try {
    std::string sql =
        "SELECT pg_catalog.set_config('statement_timeout', '" +
        std::to_string(kPostgresStatementTimeout.count()) +
        "ms', false), pg_catalog.set_config('standard_conforming_strings', 'on', false), "
        "pg_catalog.set_config('DateStyle', 'ISO, YMD', false), "
        "pg_catalog.set_config('IntervalStyle', 'postgres', false), "
        "pg_catalog.set_config('bytea_output', 'hex', false)";
    std::vector<PostgresParam> params;
    if (!parameters.search_path.empty()) {
      sql += ", pg_catalog.set_config('search_path', $1, false)";
      params.push_back({parameters.search_path});
    }
    Run(sql, params);
    LoadColumnTypes();
  } catch (...) {
    PQfinish(conn_);
    throw;
  }
}

PostgresSession::~PostgresSession() {
  if (conn_ != nullptr) PQfinish(conn_);
}

void PostgresSession::Close() {
  if (conn_ != nullptr) PQfinish(conn_);
  conn_ = nullptr;
}

PGconn* PostgresSession::Conn() const {
  if (conn_ == nullptr) RaiseEngineText("The connection is closed.");
  return conn_;
}

void PostgresSession::RequireNoLongValuePending(const void* cursor) const {
  if (long_value_holder_ != nullptr && long_value_holder_ != cursor) {
    RaiseEngineText(kLongValuePendingMessage);
  }
}

PGTransactionStatusType PostgresSession::TransactionStatus() const {
  return PQtransactionStatus(Conn());
}

void PostgresSession::RaiseError(const PGresult* result) const {
  const char* primary =
      result != nullptr ? PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY) : nullptr;
  if (primary != nullptr) RaiseEngineText(primary);
  std::string message = PQerrorMessage(conn_);
  while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) message.pop_back();
  RaiseEngineText(message.empty() ? "The server did not answer." : message);
}

// A COPY the store never asks for would leave the connection waiting for data: end it.
void PostgresSession::AbandonCopy() {
  PQputCopyEnd(conn_, "COPY is not supported.");
  char* buffer = nullptr;
  while (PQgetCopyData(conn_, &buffer, 0) > 0) PQfreemem(buffer);
  while (PGresult* rest = PQgetResult(conn_)) PQclear(rest);
}

PostgresResult PostgresSession::Run(const std::string& sql,
                                    const std::vector<PostgresParam>& params) {
  PGconn* conn = Conn();
  const ParamArrays arrays(&params);
  // A call with parameters, even none, never runs more than one statement.
  ++round_trips_;
  ++g_round_trips;
  if (const PostgresRoundTripHook hook = g_round_trip_hook.load()) hook(conn);
  PostgresResult result(PQexecParams(conn, sql.c_str(), arrays.count(), arrays.types.data(),
                                     arrays.values.data(), arrays.lengths.data(),
                                     arrays.formats.data(), 0));
  Require(result);
  return result;
}

void PostgresSession::Require(const PostgresResult& result) {
  switch (PQresultStatus(result.get())) {
    case PGRES_COMMAND_OK:
    case PGRES_TUPLES_OK:
      return;
    case PGRES_EMPTY_QUERY:
      RaiseEngineText("The statement text is empty.");
    case PGRES_COPY_IN:
    case PGRES_COPY_OUT:
    case PGRES_COPY_BOTH:
      AbandonCopy();
      RaiseEngineText("COPY is not supported.");
    default:
      RaiseError(result.get());
  }
}

std::vector<PostgresResult> PostgresSession::Exchange(const std::vector<Request>& requests) {
  PGconn* conn = Conn();
  ++round_trips_;
  ++g_round_trips;
  if (const PostgresRoundTripHook hook = g_round_trip_hook.load()) hook(conn);
  if (PQenterPipelineMode(conn) != 1) RaiseError(nullptr);
  bool sent = true;
  for (const Request& request : requests) {
    const ParamArrays arrays(request.params);
    switch (request.kind) {
      case Request::Kind::kRun:
        sent = PQsendQueryParams(conn, request.text.c_str(), arrays.count(), arrays.types.data(),
                                 arrays.values.data(), arrays.lengths.data(), arrays.formats.data(),
                                 0) == 1;
        break;
      case Request::Kind::kPrepare:
        sent = PQsendPrepare(conn, request.text.c_str(), request.sql.c_str(), arrays.count(),
                             arrays.types.data()) == 1;
        break;
      case Request::Kind::kRunPrepared:
        sent = PQsendQueryPrepared(conn, request.text.c_str(), arrays.count(), arrays.values.data(),
                                   arrays.lengths.data(), arrays.formats.data(), 0) == 1;
        break;
    }
    if (!sent) break;
  }
  if (sent) sent = PQpipelineSync(conn) == 1;
  std::vector<PostgresResult> results;
  if (sent) {
    for (size_t i = 0; i < requests.size(); ++i) {
      PGresult* result = PQgetResult(conn);
      results.emplace_back(result);
      if (result == nullptr) break;  // the connection broke
      while (PGresult* rest = PQgetResult(conn)) PQclear(rest);
    }
    while (PGresult* rest = PQgetResult(conn)) {
      const ExecStatusType status = PQresultStatus(rest);
      PQclear(rest);
      if (status == PGRES_PIPELINE_SYNC) break;
    }
  }
  if (PQexitPipelineMode(conn) != 1 || !sent) {
    // A connection in the middle of an exchange serves nothing more.
    const std::string message = PQerrorMessage(conn);
    Close();
    RaiseEngineText(message.empty() ? "The server did not answer." : message);
  }
  results.resize(requests.size());
  return results;
}

PostgresResult PostgresSession::RunGuarded(const std::string& sql,
                                           const std::vector<PostgresParam>& params) {
  bool prepare_failed = false;
  return RunCached(sql, params, &prepare_failed);
}

PostgresResult PostgresSession::RunCached(const std::string& sql,
                                          const std::vector<PostgresParam>& params,
                                          bool* prepare_failed) {
  const bool guarded = TransactionStatus() == PQTRANS_INTRANS;
  std::vector<Request> requests;
  for (const std::string& name : statements_.TakeEvicted()) {
    requests.push_back({Request::Kind::kRun, "DEALLOCATE " + QuotePostgresIdentifier(name)});
  }
  if (guarded) {
    requests.push_back({Request::Kind::kRun, std::string("SAVEPOINT ") + kStatementSavepoint});
  }
  const std::string key = CacheKey(sql, params);
  std::optional<std::string> name = statements_.Find(key);
  const bool fresh = !name.has_value();
  size_t prepare_at = 0;
  if (fresh) {
    name = statements_.NewName();
    prepare_at = requests.size();
    requests.push_back({Request::Kind::kPrepare, *name, &params, sql});
  }
  const size_t run_at = requests.size();
  requests.push_back({Request::Kind::kRunPrepared, *name, &params});
  if (guarded) {
    requests.push_back(
        {Request::Kind::kRun, std::string("RELEASE SAVEPOINT ") + kStatementSavepoint});
  }
  std::vector<PostgresResult> results = Exchange(requests);
  if (fresh && PQresultStatus(results[prepare_at].get()) == PGRES_COMMAND_OK) {
    statements_.Keep(key, *name);
  }
  *prepare_failed = fresh && PQresultStatus(results[prepare_at].get()) != PGRES_COMMAND_OK;
  const auto failed = std::find_if(results.begin(), results.end(), [](const PostgresResult& r) {
    const ExecStatusType status = PQresultStatus(r.get());
    return status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK;
  });
  if (failed == results.end()) return std::move(results[run_at]);
  if (guarded && conn_ != nullptr) {
    IgnoreErrors([&] {
      const std::vector<PostgresResult> undone = Exchange(
          {{Request::Kind::kRun, std::string("ROLLBACK TO SAVEPOINT ") + kStatementSavepoint},
           {Request::Kind::kRun, std::string("RELEASE SAVEPOINT ") + kStatementSavepoint}});
      for (const PostgresResult& result : undone) Require(result);
    });
  }
  Require(*failed);
  RaiseEngineText("The server did not answer.");  // not reached: Require raised
}

PostgresResult PostgresSession::RunStoreStatement(std::string_view sql) {
  Conn();
  RequireOneStatement(sql);
  // The copy protocol would leave the connection waiting for data; statements are sent in a
  // pipeline, where libpq does not take part in it.
  const SqlStatementView view(sql);
  if (view.Count() > 0 && IsWord(view.Sig(0), "copy")) RaiseEngineText("COPY is not supported.");
  const std::string translated = TranslateSqlForPostgres(sql, column_types_);
  // Statements that differ only in their values share one prepared statement. Should the server
  // refuse to prepare the statement with parameters, it runs as written.
  std::optional<std::pair<std::string, std::vector<PostgresParam>>> numbered;
  if (const auto parameterised = ParameteriseSql(translated)) {
    if (!parameterised->values.empty()) numbered = NumberedParameters(*parameterised);
  }
  PostgresResult result;
  bool prepare_failed = false;
  if (numbered) {
    try {
      result = RunCached(numbered->first, numbered->second, &prepare_failed);
    } catch (const AutomationError&) {
      if (!prepare_failed || conn_ == nullptr) throw;
    }
  }
  if (!numbered || prepare_failed) result = RunGuarded(translated);
  if (MayChangeSchema(sql)) {
    LoadColumnTypes();
    if (TransactionStatus() != PQTRANS_IDLE) schema_changed_in_transaction_ = true;
  }
  return result;
}

void PostgresSession::LoadColumnTypes() {
  // Also finds text columns whose citext type the search path does not show: their comparisons
  // would silently fall back to case-sensitive text. The last row tells whether the catalog has
  // its folding function (a catalog of the first format has not).
  const PostgresResult result =
      Run("SELECT DISTINCT pg_catalog.lower(a.attname),"
          " CASE WHEN a.atttypid = 'pg_catalog.bool'::regtype THEN 'b'"
          " WHEN t.typname = 'citext' AND NOT pg_catalog.pg_type_is_visible(t.oid) THEN 'x'"
          " WHEN t.typname = 'citext' THEN 't' ELSE 'd' END, tn.nspname"
          " FROM pg_catalog.pg_attribute AS a"
          " JOIN pg_catalog.pg_class AS c ON c.oid = a.attrelid"
          " JOIN pg_catalog.pg_namespace AS n ON n.oid = c.relnamespace"
          " JOIN pg_catalog.pg_type AS t ON t.oid = a.atttypid"
          " JOIN pg_catalog.pg_namespace AS tn ON tn.oid = t.typnamespace"
          " WHERE c.relkind IN ('r', 'p', 'v', 'm', 'f') AND a.attnum > 0 AND NOT a.attisdropped"
          " AND n.nspname NOT IN ('pg_catalog', 'information_schema')"
          " AND pg_catalog.pg_table_is_visible(c.oid)"
          " AND (a.atttypid IN ('pg_catalog.bool'::regtype, 'pg_catalog.timestamp'::regtype,"
          " 'pg_catalog.timestamptz'::regtype, 'pg_catalog.date'::regtype)"
          " OR t.typname = 'citext')"
          " UNION ALL SELECT '', 'f', '' WHERE EXISTS (SELECT FROM pg_catalog.pg_proc AS p"
          " WHERE p.proname = 'clipcat_fold' AND pg_catalog.pg_function_is_visible(p.oid))");
  PostgresColumnTypes types;
  bool folds = false;
  for (int row = 0; row < PQntuples(result.get()); ++row) {
    const std::string name = PQgetvalue(result.get(), row, 0);
    const std::string_view kind = PQgetvalue(result.get(), row, 1);
    if (kind == "x") {
      RaiseEngineText(std::string("The catalog's text type citext is in schema \"") +
                      PQgetvalue(result.get(), row, 2) +
                      "\", which the search path does not name.");
    }
    if (kind == "f") {
      folds = true;
    } else {
      (kind == "b" ? types.booleans : kind == "t" ? types.texts : types.dates).insert(name);
    }
  }
  if (!folds) types.texts.clear();
  column_types_ = std::move(types);
  table_columns_.clear();
  table_names_.clear();
  // A prepared statement's result columns are fixed when it is prepared.
  if (statements_.size() > 0 || !statements_.TakeEvicted().empty()) {
    statements_.Clear();
    Run("DEALLOCATE ALL");
  }
}

const PostgresTableColumns& PostgresSession::TableColumns(Oid table, bool reload) {
  const auto found = table_columns_.find(table);
  if (found != table_columns_.end() && !reload) return found->second;
  const PostgresResult result = RunGuarded(
      "SELECT c.oid::pg_catalog.regclass::text, a.attnum, a.attname,"
      " CASE WHEN t.typbasetype <> 0 THEN t.typbasetype ELSE t.oid END"
      " FROM pg_catalog.pg_attribute AS a"
      " JOIN pg_catalog.pg_class AS c ON c.oid = a.attrelid"
      " JOIN pg_catalog.pg_type AS t ON t.oid = a.atttypid"
      " WHERE a.attrelid = $1::pg_catalog.oid AND a.attnum > 0 AND NOT a.attisdropped",
      {{std::to_string(table)}});
  PostgresTableColumns columns;
  for (int row = 0; row < PQntuples(result.get()); ++row) {
    columns.table = PQgetvalue(result.get(), row, 0);
    columns.by_number[std::stoi(PQgetvalue(result.get(), row, 1))] = {
        PQgetvalue(result.get(), row, 2),
        static_cast<Oid>(std::stoul(PQgetvalue(result.get(), row, 3)))};
  }
  return table_columns_[table] = std::move(columns);
}

void PostgresSession::AfterRollback() {
  if (!schema_changed_in_transaction_) return;
  schema_changed_in_transaction_ = false;
  LoadColumnTypes();
}

const std::string& PostgresSession::TableName(Oid table) {
  const auto found = table_names_.find(table);
  if (found != table_names_.end()) return found->second;
  const PostgresResult result = RunGuarded(
      "SELECT pg_catalog.lower(relname) FROM pg_catalog.pg_class WHERE oid = $1::pg_catalog.oid",
      {{std::to_string(table)}});
  const std::string name = PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
  return table_names_.emplace(table, name).first->second;
}

RowSet PostgresSession::ReadRows(const PGresult* result, size_t max_rows) {
  RowSet rows;
  const int columns = PQnfields(result);
  for (int i = 0; i < columns; ++i) {
    const Oid table = PQftable(result, i);
    rows.columns.push_back(table == InvalidOid
                               ? std::string(PQfname(result, i))
                               : ColumnSpelling(TableName(table), PQfname(result, i)));
  }
  int count = PQntuples(result);
  if (max_rows > 0 && static_cast<size_t>(count) > max_rows) count = static_cast<int>(max_rows);
  rows.rows.reserve(static_cast<size_t>(count));
  for (int row = 0; row < count; ++row) {
    std::vector<StoredValue> values;
    values.reserve(static_cast<size_t>(columns));
    for (int i = 0; i < columns; ++i) values.push_back(ReadValue(result, row, i));
    rows.rows.push_back(std::move(values));
  }
  return rows;
}

std::string QuotePostgresIdentifier(std::string_view name) {
  return "\"" + ReplaceAll(name, "\"", "\"\"") + "\"";
}

}  // namespace clipcat
