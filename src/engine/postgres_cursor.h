// Internal to the PostgreSQL backend: the updatable cursor. A new row is gathered in memory,
// long values piece by piece, and stored by Update with one INSERT whose values travel as
// parameters (long values as bytea bytes), never spliced into the statement. From the first long
// value until then the row holds the connection (database_backend.h). Used by one thread at a
// time.
#pragma once

#include <libpq-fe.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/database_backend.h"
#include "engine/row_set.h"

namespace clipcat {

class PostgresSession;

class PostgresCursor : public RowCursor {
 public:
  // Runs `sql`, which must select only columns of one table.
  PostgresCursor(std::shared_ptr<PostgresSession> session, std::string_view sql);
  ~PostgresCursor() override;

  PostgresCursor(const PostgresCursor&) = delete;
  PostgresCursor& operator=(const PostgresCursor&) = delete;

  const RowSet& Rows() const override { return rows_; }
  void AddNew() override;
  void SetValue(size_t column, const Variant& value) override;
  void BeginLongValue(size_t column, size_t total_bytes) override;
  void AppendLongValue(size_t column, std::string_view bytes) override;
  void Update() override;
  void CancelUpdate() override;

 private:
  struct LongValue {
    size_t total;
    std::string bytes;  // the pieces received so far
  };

  void Discard();

  std::shared_ptr<PostgresSession> session_;
  RowSet rows_;
  std::string table_;                           // the table the query selected from, as an SQL name
  std::vector<std::string> origins_;            // the table column behind each result column
  std::vector<Oid> types_;                      // the (base) type of that table column
  bool pending_ = false;                        // a row was added and not yet updated or cancelled
  std::vector<std::optional<Variant>> values_;  // values set on the pending row
  std::map<size_t, LongValue> long_values_;     // long values of the pending row, by column
};

}  // namespace clipcat
