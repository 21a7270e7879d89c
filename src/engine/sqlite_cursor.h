// Internal to the SQLite backend: the updatable cursor. A new row is inserted inside a savepoint
// as soon as its first long value is announced, with that value reserved as zeros; the pieces are
// then written straight into the stored value with SQLite's incremental blob I/O, and Update
// releases the savepoint (CancelUpdate rolls it back). Until then the row holds the connection
// (database_backend.h). Used by one thread at a time.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/database_backend.h"
#include "engine/row_set.h"

namespace clipcat {

class SqliteSession;

class SqliteCursor : public RowCursor {
 public:
  // Runs `sql`, which must select only columns of one table of the main database.
  SqliteCursor(std::shared_ptr<SqliteSession> session, std::string_view sql);
  ~SqliteCursor() override;

  SqliteCursor(const SqliteCursor&) = delete;
  SqliteCursor& operator=(const SqliteCursor&) = delete;

  const RowSet& Rows() const override { return rows_; }
  void AddNew() override;
  void SetValue(size_t column, const Variant& value) override;
  void BeginLongValue(size_t column, size_t total_bytes) override;
  void AppendLongValue(size_t column, std::string_view bytes) override;
  void Update() override;
  void CancelUpdate() override;

 private:
  struct LongValue {
    size_t column;
    size_t total;
    size_t written = 0;
    sqlite3_blob* blob = nullptr;  // open while bytes are missing
  };

  void InsertPendingRow(std::optional<size_t> zero_column, size_t zero_bytes);
  void RunOnRow(const std::string& sql, size_t column, const Variant* value, size_t zero_bytes);
  void Exec(const std::string& sql);
  void CloseBlobs();
  void Discard();

  std::shared_ptr<SqliteSession> session_;
  RowSet rows_;
  std::string table_;                           // the one table the query selected from
  std::vector<std::string> origins_;            // the table column behind each result column
  std::vector<bool> date_columns_;              // per result column: declared as a date
  bool pending_ = false;                        // a row was added and not yet updated or cancelled
  std::vector<std::optional<Variant>> values_;  // values set before the row was inserted
  bool inserted_ = false;  // the pending row is in the table, inside savepoint_
  sqlite3_int64 rowid_ = 0;
  std::vector<LongValue> long_values_;
  std::string savepoint_;
};

}  // namespace clipcat
