// Internal to the SQLite backend: the updatable cursor. A long value of up to
// kBufferedLongValueBytes is collected in memory and the new row is inserted whole at Update, its
// values bound. A larger one makes the row go in inside a savepoint as soon as it is announced,
// with that value reserved as zeros; its pieces are then written straight into the stored value
// with SQLite's incremental blob I/O (values collected so far go the same way), and Update
// releases the savepoint (CancelUpdate rolls it back). Either way the row holds the connection
// from the announcement on (database_backend.h). Used by one thread at a time.
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

// The largest long value a new row collects in memory before it is inserted; above it the value is
// written through to the table piece by piece, never held whole twice.
inline constexpr size_t kBufferedLongValueBytes = 1u << 20;

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
    sqlite3_blob* blob = nullptr;  // open while bytes are missing, once the row is in the table
    std::string collected;         // the bytes so far, until the row is in the table
  };

  // Inserts the pending row with its values; each long value goes in as collected (Update) or,
  // with `reserve_long_values`, as zeros of its announced length, the bytes so far written into
  // it (the row then stays in the table inside the savepoint).
  void InsertPendingRow(bool reserve_long_values);
  LongValue* FindLongValue(size_t column);
  // Forgets the long value announced for `column`, if any.
  void DropLongValue(size_t column);
  void OpenBlob(LongValue& long_value);
  // Writes `bytes` at `offset` of the stored long value; closes its handle once it is complete.
  void WriteBlob(LongValue& long_value, std::string_view bytes, size_t offset);
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
