#include "engine/sqlite_session.h"

#include <unistd.h>

#include <filesystem>
#include <thread>

#include "engine/database_backend.h"
#include "engine/sql_tokenizer.h"
#include "engine/sqlite_file_header.h"
#include "engine/sqlite_functions.h"
#include "util/date.h"
#include "util/date_text.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat {
namespace {

[[noreturn]] void RaiseEngineText(const std::string& text) {
  throw AutomationError(err::kDatabaseError, kSqliteSource, text);
}

[[noreturn]] void RaiseDamaged(const std::string& path, const std::string& reason) {
  throw AutomationError(err::kCatalogDamaged, kSqliteSource,
                        CatalogDamagedDescription(path, reason));
}

// Damage as the engine reports it: corruption, a file that is no database, a short read, and
// the full-text index's own words for a damaged record of its configuration (it reports that
// as a plain error).
bool IsDamage(int extended_code, std::string_view message) {
  const int primary = extended_code & 0xff;
  return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB ||
         extended_code == SQLITE_IOERR_SHORT_READ ||
         message.rfind("invalid fts5 file format", 0) == 0;
}

bool Writable(const std::filesystem::path& path) { return access(path.c_str(), W_OK) == 0; }

// `path` as a URI file name: the characters that end a URI's path part escaped.
std::string FileUri(const std::string& path) {
  std::string uri = "file:";
  for (const char c : path) {
    if (c == '%' || c == '?' || c == '#') {
      static constexpr char kHex[] = "0123456789ABCDEF";
      uri += '%';
      uri += kHex[static_cast<unsigned char>(c) >> 4];
      uri += kHex[static_cast<unsigned char>(c) & 15];
    } else {
      uri += c;
    }
  }
  return uri;
}

// sqlite3_column_text and sqlite3_column_blob answer null both for an empty value and for one
// they could not copy for want of memory; the second must raise, not read as an empty value.
void RaiseIfOutOfMemory(sqlite3_stmt* stmt) {
  sqlite3* db = sqlite3_db_handle(stmt);
  if (sqlite3_errcode(db) == SQLITE_NOMEM) RaiseEngineText(sqlite3_errmsg(db));
}

// A text column of the current row, raising when the engine could not give it.
std::string ColumnText(sqlite3_stmt* stmt, int column) {
  const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
  if (data == nullptr) RaiseIfOutOfMemory(stmt);
  return data == nullptr
             ? std::string()
             : std::string(data, static_cast<size_t>(sqlite3_column_bytes(stmt, column)));
}

// Start the keys under which statements are kept by the text as the caller wrote it (translated
// only when first prepared): one written with values apart (sql_values.h), and one whose
// parameters the caller binds. Neither meets the other, nor a key of a statement kept by its
// translated text.
constexpr char kWrittenTextMark = '\x01';
constexpr char kOwnParametersMark = '\x02';

bool TailIsEmpty(std::string_view tail) {
  for (const SqlToken& token : TokenizeSql(tail)) {
    if (!IsInsignificant(token) && token.text != ";") return false;
  }
  return true;
}

}  // namespace

SqliteSession::SqliteSession(const std::string& path, const SqliteOpenOptions& options)
    : path_(path) {
  // Writers need the file and, for the log and the shared index beside it, its folder.
  const std::filesystem::path file(path);
  read_only_ = options.read_only || (std::filesystem::exists(file) && !Writable(file));
  std::string name = path;
  int flags = SQLITE_OPEN_NOMUTEX | (read_only_ ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE);
  if (read_only_) {
    const std::filesystem::path folder =
        file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
    std::error_code error;
    const bool has_log = std::filesystem::exists(path + "-wal", error) ||
                         std::filesystem::exists(path + "-shm", error);
    // Nobody can write a file whose folder takes no log: nothing changes under the reader.
    if (!Writable(folder) && !has_log) {
      name = FileUri(path) + "?immutable=1";
      flags |= SQLITE_OPEN_URI;
    }
  }
  const int rc = sqlite3_open_v2(name.c_str(), &db_, flags, nullptr);
  if (rc != SQLITE_OK) {
    const std::string message = db_ != nullptr ? sqlite3_errmsg(db_) : sqlite3_errstr(rc);
    const int code = db_ != nullptr ? sqlite3_extended_errcode(db_) : rc;
    sqlite3_close_v2(db_);
    if (IsDamage(code, message) && !foreign_file_) RaiseDamaged(path, message);
    RaiseEngineText(message);
  }
  // The header is read through the engine's own handle: opening the file again and closing it
  // would drop the locks of this process's other connections to it.
  if (const auto header = ReadSqliteFileHeaderOf(db_)) {
    foreign_file_ = IsForeignFile(*header);
    const auto problems = options.check_header
                              ? SqliteHeaderProblems(*header, SqliteLogHoldsFrames(path))
                              : std::vector<std::string>{};
    if (!problems.empty()) {
      sqlite3_close_v2(db_);
      RaiseDamaged(path, problems.front());
    }
  }
  sqlite3_extended_result_codes(db_, 1);
  sqlite3_busy_handler(db_, &SqliteSession::OnBusy, this);
  sqlite3_progress_handler(db_, 1000, &SqliteSession::OnProgress, this);
  try {
    // Pages are checked as they are read, so that damage is reported instead of read as rows.
    if (sqlite3_exec(db_, "PRAGMA cell_size_check = ON", nullptr, nullptr, nullptr) != SQLITE_OK) {
      RaiseError();
    }
    RegisterSqlFunctions(db_);
    LoadDateColumns();  // also proves that the file is a database
  } catch (...) {
    statement_cache_.Clear();
    sqlite3_close_v2(db_);
    throw;
  }
}

SqliteSession::~SqliteSession() {
  statement_cache_.Clear();
  sqlite3_close_v2(db_);
}

void SqliteSession::LoadDateColumns() {
  statement_cache_.Clear();
  Deadline deadline(*this);
  SqliteStatement statement(
      *this,
      "SELECT lower(p.name), p.type FROM sqlite_schema AS m JOIN pragma_table_info(m.name) AS p "
      "WHERE m.type = 'table'");
  DateColumnSet columns;
  while (statement.Step()) {
    if (IsDateType(ColumnText(statement.get(), 1).c_str())) {
      columns.insert(ColumnText(statement.get(), 0));
    }
  }
  date_columns_ = std::move(columns);
}

void SqliteSession::RaiseError() const {
  if (timed_out_ && (sqlite3_errcode(db_) & 0xff) == SQLITE_INTERRUPT) {
    RaiseEngineText("Query timeout expired");
  }
  if (IsDamage(sqlite3_extended_errcode(db_), sqlite3_errmsg(db_)) && !foreign_file_) {
    RaiseDamaged(path_, sqlite3_errmsg(db_));
  }
  RaiseEngineText(sqlite3_errmsg(db_));
}

void SqliteSession::RequireNoLongValuePending(const void* cursor) const {
  if (long_value_holder_ != nullptr && long_value_holder_ != cursor) {
    RaiseEngineText(kLongValuePendingMessage);
  }
}

int SqliteSession::OnProgress(void* opaque) {
  auto* session = static_cast<SqliteSession*>(opaque);
  if (session->deadline_set_ && std::chrono::steady_clock::now() >= session->deadline_) {
    session->timed_out_ = true;
    return 1;
  }
  return 0;
}

int SqliteSession::OnBusy(void* opaque, int attempts) {
  auto* session = static_cast<SqliteSession*>(opaque);
  const auto now = std::chrono::steady_clock::now();
  const auto deadline = session->deadline_set_ ? session->deadline_ : now + kStatementTimeout;
  if (now >= deadline) return 0;
  // Short waits first, for locks held only for a moment by another writer.
  static constexpr int kDelaysMs[] = {1, 2, 5, 10, 15, 20, 25, 25, 25, 50, 50, 100};
  const int steps = static_cast<int>(std::size(kDelaysMs));
  const auto delay = std::chrono::milliseconds(kDelaysMs[attempts < steps ? attempts : steps - 1]);
  std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(delay, deadline - now));
  if (!session->deadline_set_ && attempts * 100 > kStatementTimeout.count()) return 0;
  return 1;
}

SqliteSession::Deadline::Deadline(SqliteSession& session) : session_(session) {
  session_.deadline_ = std::chrono::steady_clock::now() + kStatementTimeout;
  session_.deadline_set_ = true;
  session_.timed_out_ = false;
}

SqliteSession::Deadline::~Deadline() { session_.deadline_set_ = false; }

SqliteStatement::SqliteStatement(SqliteSession& session, std::string_view sql, Reuse reuse)
    : session_(session) {
  Prepare(sql, reuse);
}

SqliteStatement::SqliteStatement(SqliteSession& session, std::string_view sql,
                                 const SqlValues& values)
    : session_(session) {
  if (const auto bound = BindableSqlValues(values)) {
    // Kept by the text as the caller wrote it, translated only when first prepared: the kept
    // statements are dropped whenever the date columns, the translation's other input, change.
    std::string key(1, kWrittenTextMark);
    key += sql;
    if (PrepareShared(key, bound->size(), false,
                      [&] { return TranslateSqlForSqlite(sql, session.date_columns()); }) &&
        BindShared(*bound)) {
      return;
    }
  }
  Prepare(SpliceSqlValues(sql, values), Reuse::kByValues);
}

void SqliteStatement::Prepare(std::string_view sql, Reuse reuse) {
  if (reuse == Reuse::kByText) {
    std::string key(1, kOwnParametersMark);
    key += sql;
    if (PrepareShared(key, 0, true,
                      [&] { return TranslateSqlForSqlite(sql, session_.date_columns()); })) {
      return;
    }
    PrepareOwn(TranslateSqlForSqlite(sql, session_.date_columns()));
    return;
  }
  std::vector<SqlToken> tokens;  // of `sql`, when the translation left it as it was
  std::string text = TranslateSqlForSqlite(sql, session_.date_columns(), tokens);
  if (reuse == Reuse::kByValues) {
    const auto shared = tokens.empty() ? ParameteriseSql(text) : ParameteriseSql(sql, tokens);
    if (shared &&
        PrepareShared(shared->text, shared->values.size(), false, [&] { return shared->text; }) &&
        BindShared(shared->values)) {
      return;
    }
  }
  PrepareOwn(text);
}

bool SqliteStatement::PrepareShared(const std::string& key, size_t value_count, bool own_parameters,
                                    const std::function<std::string()>& text_of) {
  SqliteStatementCache& cache = session_.statement_cache();
  sqlite3_stmt* stmt = cache.Take(key);
  bool shared = stmt != nullptr;
  if (stmt == nullptr) {
    const std::string text = text_of();
    const char* tail = nullptr;
    const int rc = sqlite3_prepare_v3(session_.db(), text.c_str(), static_cast<int>(text.size()),
                                      SQLITE_PREPARE_PERSISTENT, &stmt, &tail);
    const bool usable =
        rc == SQLITE_OK && stmt != nullptr &&
        TailIsEmpty(
            std::string_view(tail, static_cast<size_t>(text.data() + text.size() - tail))) &&
        (own_parameters || sqlite3_bind_parameter_count(stmt) == static_cast<int>(value_count));
    if (!usable) {
      sqlite3_finalize(stmt);
      return false;
    }
    shared = cache.Put(key, stmt);
  }
  stmt_ = stmt;
  shared_ = shared;
  return true;
}

bool SqliteStatement::BindShared(const std::vector<SqlLiteralValue>& values) {
  for (size_t i = 0; i < values.size(); ++i) {
    const SqlLiteralValue& value = values[i];
    const int index = static_cast<int>(i) + 1;
    const int rc = value.is_text
                       ? sqlite3_bind_text(stmt_, index, value.text.data(),
                                           static_cast<int>(value.text.size()), SQLITE_TRANSIENT)
                       : sqlite3_bind_int64(stmt_, index, value.integer);
    if (rc != SQLITE_OK) {
      if (shared_) {
        session_.statement_cache().Release(stmt_);
      } else {
        sqlite3_finalize(stmt_);
      }
      stmt_ = nullptr;
      shared_ = false;
      return false;
    }
  }
  return true;
}

void SqliteStatement::PrepareOwn(const std::string& text) {
  SqliteSession& session = session_;
  const char* tail = nullptr;
  const int rc =
      sqlite3_prepare_v2(session.db(), text.c_str(), static_cast<int>(text.size()), &stmt_, &tail);
  if (rc != SQLITE_OK) session.RaiseError();
  if (stmt_ == nullptr) RaiseEngineText("The statement text is empty.");
  const std::string_view rest(tail, static_cast<size_t>(text.data() + text.size() - tail));
  if (!TailIsEmpty(rest)) {
    sqlite3_finalize(stmt_);
    stmt_ = nullptr;
    RaiseEngineText("Characters found after end of SQL statement.");
  }
}

SqliteStatement::~SqliteStatement() {
  if (shared_) {
    session_.statement_cache().Release(stmt_);
  } else {
    sqlite3_finalize(stmt_);
  }
}

bool SqliteStatement::Step() {
  const int rc = sqlite3_step(stmt_);
  if (rc == SQLITE_ROW) return true;
  if (rc == SQLITE_DONE) return false;
  sqlite3_reset(stmt_);
  session_.RaiseError();
}

void SqliteStatement::Run() {
  while (Step()) {
  }
}

RowSet SqliteStatement::Collect(size_t max_rows) {
  RowSet rows;
  // The columns are read after the first step: a kept statement is prepared again there when
  // the schema changed, and "*" may then stand for other columns.
  bool more = Step();
  const int count = sqlite3_column_count(stmt_);
  std::vector<SqliteColumnKind> kinds;
  kinds.reserve(static_cast<size_t>(count));
  rows.columns.reserve(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) {
    const char* name = sqlite3_column_name(stmt_, i);
    if (name == nullptr) RaiseEngineText("out of memory");  // a result column always has a name
    rows.columns.emplace_back(name);
    kinds.push_back(KindOfDeclaredType(sqlite3_column_decltype(stmt_, i)));
  }
  while (more) {
    std::vector<StoredValue> row;
    row.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) row.push_back(ReadColumn(stmt_, i, kinds[i]));
    rows.rows.push_back(std::move(row));
    if (max_rows != 0 && rows.rows.size() >= max_rows) break;
    more = Step();
  }
  return rows;
}

void SqliteStatement::Bind(int index, const Variant& value, bool date_column) {
  int rc = SQLITE_OK;
  switch (value.type()) {
    case Variant::Type::kEmpty:
    case Variant::Type::kNull:
      rc = sqlite3_bind_null(stmt_, index);
      break;
    case Variant::Type::kBoolean:
      rc = sqlite3_bind_int(stmt_, index, value.AsBoolean() ? 1 : 0);
      break;
    case Variant::Type::kInteger:
    case Variant::Type::kLong:
      rc = sqlite3_bind_int64(stmt_, index, value.ToLong());
      break;
    case Variant::Type::kDouble:
      rc = sqlite3_bind_double(stmt_, index, value.ToDouble());
      break;
    case Variant::Type::kDate: {
      const std::string iso = FormatIsoDate(value.ToDate());
      rc = sqlite3_bind_text(stmt_, index, iso.data(), static_cast<int>(iso.size()),
                             SQLITE_TRANSIENT);
      break;
    }
    case Variant::Type::kString: {
      std::string text = value.AsString();
      if (date_column) {
        const auto date = ParseDateText(text);
        if (date && date->IsValid()) text = FormatIsoDate(*date);
      }
      rc = sqlite3_bind_text(stmt_, index, text.data(), static_cast<int>(text.size()),
                             SQLITE_TRANSIENT);
      break;
    }
    case Variant::Type::kObject:
      RaiseRuntimeError(err::kTypeMismatch);
  }
  if (rc != SQLITE_OK) session_.RaiseError();
}

SqliteColumnKind KindOfDeclaredType(const char* declared_type) {
  if (declared_type == nullptr) return SqliteColumnKind::kPlain;
  const std::string_view type(declared_type);
  if (StartsWithIgnoreCase(type, "BOOL")) return SqliteColumnKind::kBoolean;
  if (FindIgnoreCase(type, "SMALLINT") != std::string_view::npos ||
      FindIgnoreCase(type, "TINYINT") != std::string_view::npos) {
    return SqliteColumnKind::kSmallInteger;
  }
  if (IsDateType(declared_type)) return SqliteColumnKind::kDate;
  return SqliteColumnKind::kPlain;
}

StoredValue ReadColumn(sqlite3_stmt* stmt, int column, SqliteColumnKind kind) {
  StoredValue out;
  const bool boolean = kind == SqliteColumnKind::kBoolean;
  switch (sqlite3_column_type(stmt, column)) {
    case SQLITE_NULL:
      out.value = Variant::Null();
      break;
    case SQLITE_BLOB: {
      const auto* data = static_cast<const char*>(sqlite3_column_blob(stmt, column));
      if (data == nullptr) RaiseIfOutOfMemory(stmt);
      const int size = sqlite3_column_bytes(stmt, column);
      out.is_binary = true;
      if (data != nullptr) out.bytes.assign(data, static_cast<size_t>(size));
      break;
    }
    case SQLITE_INTEGER: {
      const sqlite3_int64 v = sqlite3_column_int64(stmt, column);
      const bool small = kind == SqliteColumnKind::kSmallInteger;
      if (boolean) {
        out.value = Variant(v != 0);
      } else if (small && v >= INT16_MIN && v <= INT16_MAX) {
        out.value = Variant(static_cast<int16_t>(v));
      } else if (v >= INT32_MIN && v <= INT32_MAX) {
        out.value = Variant(static_cast<int32_t>(v));
      } else {
        out.value = Variant(static_cast<double>(v));
      }
      break;
    }
    case SQLITE_FLOAT: {
      const double v = sqlite3_column_double(stmt, column);
      out.value = boolean ? Variant(v != 0.0) : Variant(v);
      break;
    }
    default: {
      std::string text = ColumnText(stmt, column);
      if (kind == SqliteColumnKind::kDate) {
        if (const auto date = ParseIsoDate(text)) {
          out.value = Variant(*date);
          break;
        }
      }
      out.value = Variant(std::move(text));
      break;
    }
  }
  return out;
}

bool IsDateType(const char* declared_type) {
  if (declared_type == nullptr) return false;
  const std::string_view type(declared_type);
  return StartsWithIgnoreCase(type, "DATE") || StartsWithIgnoreCase(type, "TIMESTAMP");
}

std::string QuoteIdentifier(std::string_view name) {
  return "\"" + ReplaceAll(name, "\"", "\"\"") + "\"";
}

}  // namespace clipcat
