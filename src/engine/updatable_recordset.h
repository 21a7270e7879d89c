// UpdatableRecordset: a recordset that stays bound to its connection and adds rows to the one
// table its query selected from, long binary fields written in pieces. The rows the query
// selected are readable through Rows(). Owns an engine cursor: not copyable, used by one thread,
// and not to outlive the DBConnection that opened it.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "engine/database_backend.h"
#include "engine/recordset.h"
#include "util/variant.h"

namespace clipcat {

class UpdatableRecordset {
 public:
  explicit UpdatableRecordset(std::unique_ptr<RowCursor> cursor);
  // Drops a row that was added but not updated.
  ~UpdatableRecordset();

  UpdatableRecordset(UpdatableRecordset&&) noexcept;
  UpdatableRecordset& operator=(UpdatableRecordset&&) noexcept;
  UpdatableRecordset(const UpdatableRecordset&) = delete;
  UpdatableRecordset& operator=(const UpdatableRecordset&) = delete;

  // The rows the query selected when it was opened (rows added since are not in it).
  Recordset& Rows() { return rows_; }

  // Starts a new row with every field Null. A row added before and not updated is dropped.
  void AddNew();

  // Sets field `name` (found without regard to ASCII case) of the new row. Raises
  // err::kFieldNotFound for an unknown name and err::kNoCurrentRecord without AddNew.
  void SetValue(std::string_view name, const Variant& value);

  // Announces a long binary value of exactly `total_bytes` for field `name` of the new row; the
  // pieces follow through AppendChunk. Raises as SetValue does.
  void BeginLongValue(std::string_view name, size_t total_bytes);

  // Appends the next piece of the long value of field `name`. Raises err::kInvalidProcedureCall
  // when no long value was announced for it or the pieces would exceed the announced size.
  void AppendChunk(std::string_view name, std::string_view bytes);

  // Stores the new row. Raises err::kNoCurrentRecord without AddNew; raises, and stores nothing,
  // when a long value is incomplete or the engine refuses the row.
  void Update();

  // Drops the new row. Not an error without one.
  void CancelUpdate();

  // Drops a pending row and releases the cursor. Closing twice is not an error.
  void Close();

 private:
  size_t ColumnOf(std::string_view name) const;
  RowCursor& Cursor() const;

  std::unique_ptr<RowCursor> cursor_;
  Recordset rows_;
  bool adding_ = false;  // between AddNew and Update/CancelUpdate
};

}  // namespace clipcat
