#include "engine/sqlite_cursor.h"

#include <cstdint>

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
  SqliteStatement statement(*session_, sql, /*may_share=*/false);
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

void SqliteCursor::InsertPendingRow(std::optional<size_t> zero_column, size_t zero_bytes) {
  std::string names;
  std::string marks;
  std::vector<size_t> bound;
  for (size_t i = 0; i < values_.size(); ++i) {
    if (!values_[i].has_value() && zero_column != i) continue;
    names += (names.empty() ? "" : ", ") + QuoteIdentifier(origins_[i]);
    marks += marks.empty() ? "?" : ", ?";
    bound.push_back(i);
  }
  const std::string sql =
      "INSERT INTO " + QuoteIdentifier(table_) +
      (bound.empty() ? " DEFAULT VALUES" : " (" + names + ") VALUES (" + marks + ")");
  SqliteSession::Deadline deadline(*session_);
  SqliteStatement statement(*session_, sql);
  for (size_t k = 0; k < bound.size(); ++k) {
    const int index = static_cast<int>(k) + 1;
    const size_t column = bound[k];
    if (zero_column == column) {
      if (sqlite3_bind_zeroblob64(statement.get(), index, zero_bytes) != SQLITE_OK) {
        session_->RaiseError();
      }
    } else {
      statement.Bind(index, *values_[column], date_columns_[column]);
    }
  }
  statement.Run();
  rowid_ = sqlite3_last_insert_rowid(session_->db());
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
  for (auto it = long_values_.begin(); it != long_values_.end(); ++it) {
    if (it->column != column) continue;
    if (it->blob != nullptr) sqlite3_blob_close(it->blob);
    long_values_.erase(it);
    break;
  }
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
  for (auto it = long_values_.begin(); it != long_values_.end(); ++it) {
    if (it->column != column) continue;
    if (it->blob != nullptr) sqlite3_blob_close(it->blob);
    long_values_.erase(it);
    break;
  }
  if (!inserted_) {
    values_[column].reset();
    Exec("SAVEPOINT " + savepoint_);
    try {
      InsertPendingRow(column, total_bytes);
    } catch (const AutomationError&) {
      IgnoreErrors([&] {
        Exec("ROLLBACK TO " + savepoint_);
        Exec("RELEASE " + savepoint_);
      });
      throw;
    }
    inserted_ = true;
    session_->set_long_value_holder(this);
  } else {
    RunOnRow("UPDATE " + QuoteIdentifier(table_) + " SET " + QuoteIdentifier(origins_[column]) +
                 " = ? WHERE rowid = ?",
             column, nullptr, total_bytes);
  }
  LongValue long_value{column, total_bytes};
  if (total_bytes > 0 &&
      sqlite3_blob_open(session_->db(), "main", table_.c_str(), origins_[column].c_str(), rowid_, 1,
                        &long_value.blob) != SQLITE_OK) {
    session_->RaiseError();
  }
  long_values_.push_back(long_value);
}

void SqliteCursor::AppendLongValue(size_t column, std::string_view bytes) {
  LongValue* target = nullptr;
  for (LongValue& long_value : long_values_) {
    if (long_value.column == column) target = &long_value;
  }
  if (target == nullptr || !pending_) RaiseRuntimeError(err::kInvalidProcedureCall);
  if (bytes.size() > target->total - target->written) {
    throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                          "The piece runs past the announced length of the long value.");
  }
  if (bytes.empty()) return;
  if (sqlite3_blob_write(target->blob, bytes.data(), static_cast<int>(bytes.size()),
                         static_cast<int>(target->written)) != SQLITE_OK) {
    session_->RaiseError();
  }
  target->written += bytes.size();
  if (target->written == target->total) {
    sqlite3_blob_close(target->blob);
    target->blob = nullptr;
  }
}

void SqliteCursor::Update() {
  if (!pending_) RaiseRecordsetError(err::kNoCurrentRecord);
  if (!inserted_) {
    try {
      session_->RequireNoLongValuePending(this);
      InsertPendingRow(std::nullopt, 0);
    } catch (const AutomationError&) {
      Discard();
      throw;
    }
    Discard();
    return;
  }
  for (const LongValue& long_value : long_values_) {
    if (long_value.written != long_value.total) {
      const std::string message = "The long value of field " + rows_.columns[long_value.column] +
                                  " received " + std::to_string(long_value.written) + " of " +
                                  std::to_string(long_value.total) + " bytes.";
      Discard();
      throw AutomationError(err::kInvalidProcedureCall, kComponentSource, message);
    }
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
