#include "engine/sqlite_cursor.h"

#include <cstdint>
#include <utility>

#include "engine/recordset.h"
#include "engine/sqlite_session.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat {
namespace {

[[noreturn]] void RaiseNotUpdatable() {
  throw AutomationError(err::kDatabaseError, kSqliteSource,
                        "Rows can be added only to a query whose columns all come from one table.");
}

}  // namespace

SqliteCursor::SqliteCursor(std::shared_ptr<SqliteSession> session, std::string_view sql)
    : session_(std::move(session)) {
  SqliteSession::Deadline deadline(*session_);
  SqliteStatement statement(*session_, sql, SqliteStatement::Reuse::kNever);
  sqlite3_stmt* stmt = statement.get();
  const int count = sqlite3_column_count(stmt);
  if (count == 0) RaiseNotUpdatable();
  for (int i = 0; i < count; ++i) {
    const char* database = sqlite3_column_database_name(stmt, i);
    const char* table = sqlite3_column_table_name(stmt, i);
    const char* origin = sqlite3_column_origin_name(stmt, i);
    if (database == nullptr || table == nullptr || origin == nullptr ||
        std::string_view(database) != "main" || (i > 0 && !EqualsIgnoreCase(table, table_))) {
      RaiseNotUpdatable();
    }
    table_ = table;
    origins_.emplace_back(origin);
    date_columns_.push_back(IsDateType(sqlite3_column_decltype(stmt, i)));
  }
  rows_ = statement.Collect();
  values_.resize(static_cast<size_t>(count));
  savepoint_ = "clipcat_row_" + std::to_string(reinterpret_cast<uintptr_t>(this));
}

SqliteCursor::~SqliteCursor() {
  IgnoreErrors([&] { Discard(); });
}

void SqliteCursor::Exec(const std::string& sql) {
  SqliteSession::Deadline deadline(*session_);
  SqliteStatement statement(*session_, sql);
  statement.Run();
}

void SqliteCursor::AddNew() {
  Discard();
  pending_ = true;
}

void SqliteCursor::InsertPendingRow(bool reserve_long_values) {
  std::string names;
  std::string marks;
  std::vector<size_t> bound;
  for (size_t i = 0; i < values_.size(); ++i) {
    if (!values_[i].has_value() && FindLongValue(i) == nullptr) continue;
    names += (names.empty() ? "" : ", ") + QuoteIdentifier(origins_[i]);
    marks += marks.empty() ? "?" : ", ?";
    bound.push_back(i);
  }
  const std::string sql =
      "INSERT INTO " + QuoteIdentifier(table_) +
      (bound.empty() ? " DEFAULT VALUES" : " (" + names + ") VALUES (" + marks + ")");
  SqliteSession::Deadline deadline(*session_);
  SqliteStatement statement(*session_, sql, SqliteStatement::Reuse::kByText);
  for (size_t k = 0; k < bound.size(); ++k) {
    const int index = static_cast<int>(k) + 1;
    const size_t column = bound[k];
    const LongValue* long_value = FindLongValue(column);
    if (long_value == nullptr) {
      statement.Bind(index, *values_[column], date_columns_[column]);
      continue;
    }
    // An empty long value is stored as an empty value, not as Null.
    const int rc = reserve_long_values || long_value->collected.empty()
                       ? sqlite3_bind_zeroblob64(statement.get(), index,
                                                 reserve_long_values ? long_value->total : 0)
                       : sqlite3_bind_blob64(statement.get(), index, long_value->collected.data(),
                                             long_value->collected.size(), SQLITE_STATIC);
    if (rc != SQLITE_OK) session_->RaiseError();
  }
  statement.Run();
  rowid_ = sqlite3_last_insert_rowid(session_->db());
}

SqliteCursor::LongValue* SqliteCursor::FindLongValue(size_t column) {
  for (LongValue& long_value : long_values_) {
    if (long_value.column == column) return &long_value;
  }
  return nullptr;
}

void SqliteCursor::DropLongValue(size_t column) {
  for (auto it = long_values_.begin(); it != long_values_.end(); ++it) {
    if (it->column != column) continue;
    if (it->blob != nullptr) sqlite3_blob_close(it->blob);
    long_values_.erase(it);
    return;
  }
}

void SqliteCursor::OpenBlob(LongValue& long_value) {
  if (long_value.total > 0 &&
      sqlite3_blob_open(session_->db(), "main", table_.c_str(), origins_[long_value.column].c_str(),
                        rowid_, 1, &long_value.blob) != SQLITE_OK) {
    session_->RaiseError();
  }
}

void SqliteCursor::WriteBlob(LongValue& long_value, std::string_view bytes, size_t offset) {
  // No handle: opening it failed and was reported; the row cannot take the bytes.
  if (long_value.blob == nullptr) RaiseRuntimeError(err::kInvalidProcedureCall);
  if (sqlite3_blob_write(long_value.blob, bytes.data(), static_cast<int>(bytes.size()),
                         static_cast<int>(offset)) != SQLITE_OK) {
    session_->RaiseError();
  }
  if (offset + bytes.size() == long_value.total) {
    sqlite3_blob_close(long_value.blob);
    long_value.blob = nullptr;
  }
}

void SqliteCursor::RunOnRow(const std::string& sql, size_t column, const Variant* value,
                            size_t zero_bytes) {
  SqliteSession::Deadline deadline(*session_);
  SqliteStatement statement(*session_, sql);
  if (value != nullptr) {
    statement.Bind(1, *value, date_columns_[column]);
  } else if (sqlite3_bind_zeroblob64(statement.get(), 1, zero_bytes) != SQLITE_OK) {
    session_->RaiseError();
  }
  if (sqlite3_bind_int64(statement.get(), 2, rowid_) != SQLITE_OK) session_->RaiseError();
  statement.Run();
}

void SqliteCursor::SetValue(size_t column, const Variant& value) {
  if (!pending_) RaiseRecordsetError(err::kNoCurrentRecord);
  DropLongValue(column);
  if (inserted_) {
    RunOnRow("UPDATE " + QuoteIdentifier(table_) + " SET " + QuoteIdentifier(origins_[column]) +
                 " = ? WHERE rowid = ?",
             column, &value, 0);
  } else {
    values_[column] = value;
  }
}

void SqliteCursor::BeginLongValue(size_t column, size_t total_bytes) {
  if (!pending_) RaiseRecordsetError(err::kNoCurrentRecord);
  if (total_bytes > static_cast<size_t>(INT32_MAX)) RaiseRuntimeError(err::kOverflow);
  session_->RequireNoLongValuePending(this);
  DropLongValue(column);
  if (inserted_) {
    RunOnRow("UPDATE " + QuoteIdentifier(table_) + " SET " + QuoteIdentifier(origins_[column]) +
                 " = ? WHERE rowid = ?",
             column, nullptr, total_bytes);
    LongValue long_value{column, total_bytes, 0, nullptr, {}};
    OpenBlob(long_value);
    long_values_.push_back(std::move(long_value));
    return;
  }
  values_[column].reset();
  long_values_.push_back(LongValue{column, total_bytes, 0, nullptr, {}});
  if (total_bytes <= kBufferedLongValueBytes) {
    long_values_.back().collected.reserve(total_bytes);
    session_->set_long_value_holder(this);
    return;
  }
  Exec("SAVEPOINT " + savepoint_);
  try {
    InsertPendingRow(/*reserve_long_values=*/true);
  } catch (const AutomationError&) {
    IgnoreErrors([&] {
      Exec("ROLLBACK TO " + savepoint_);
      Exec("RELEASE " + savepoint_);
    });
    long_values_.pop_back();
    throw;
  }
  inserted_ = true;
  session_->set_long_value_holder(this);
  // The values collected so far go into the row as the rest will.
  for (LongValue& long_value : long_values_) {
    OpenBlob(long_value);
    if (!long_value.collected.empty()) WriteBlob(long_value, long_value.collected, 0);
    long_value.collected = std::string();
  }
}

void SqliteCursor::AppendLongValue(size_t column, std::string_view bytes) {
  LongValue* target = FindLongValue(column);
  if (target == nullptr || !pending_) RaiseRuntimeError(err::kInvalidProcedureCall);
  if (bytes.size() > target->total - target->written) {
    throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                          "The piece runs past the announced length of the long value.");
  }
  if (bytes.empty()) return;
  if (inserted_) {
    WriteBlob(*target, bytes, target->written);
  } else {
    target->collected.append(bytes);
  }
  target->written += bytes.size();
}

void SqliteCursor::Update() {
  if (!pending_) RaiseRecordsetError(err::kNoCurrentRecord);
  for (const LongValue& long_value : long_values_) {
    if (long_value.written != long_value.total) {
      const std::string message = "The long value of field " + rows_.columns[long_value.column] +
                                  " received " + std::to_string(long_value.written) + " of " +
                                  std::to_string(long_value.total) + " bytes.";
      Discard();
      throw AutomationError(err::kInvalidProcedureCall, kComponentSource, message);
    }
  }
  if (!inserted_) {
    try {
      session_->RequireNoLongValuePending(this);
      InsertPendingRow(/*reserve_long_values=*/false);
    } catch (const AutomationError&) {
      Discard();
      throw;
    }
    Discard();
    return;
  }
  CloseBlobs();
  try {
    Exec("RELEASE " + savepoint_);
  } catch (const AutomationError&) {
    Discard();
    throw;
  }
  inserted_ = false;
  Discard();
}

void SqliteCursor::CancelUpdate() { Discard(); }

void SqliteCursor::CloseBlobs() {
  for (LongValue& long_value : long_values_) {
    if (long_value.blob != nullptr) sqlite3_blob_close(long_value.blob);
    long_value.blob = nullptr;
  }
}

void SqliteCursor::Discard() {
  CloseBlobs();
  long_values_.clear();
  if (inserted_) {
    inserted_ = false;
    IgnoreErrors([&] {
      Exec("ROLLBACK TO " + savepoint_);
      Exec("RELEASE " + savepoint_);
    });
  }
  if (session_->long_value_holder() == this) session_->set_long_value_holder(nullptr);
  for (auto& value : values_) value.reset();
  pending_ = false;
}

}  // namespace clipcat
