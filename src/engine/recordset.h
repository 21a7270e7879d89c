// Recordset: a read-only snapshot of the rows one query returned, held in memory and detached
// from the connection, so it stays readable after the connection is closed. Copies share the rows
// (never changed after the query) but keep their own current-row position. A Recordset is used by
// one thread at a time; copies may live on different threads.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "engine/row_set.h"
#include "util/variant.h"

namespace clipcat {

namespace err {
// Recordset errors, numbered as the data-access runtime numbers them. Frozen: callers compare.
inline constexpr int32_t kNoCurrentRecord = 3021;  // at BOF or EOF, or moved past either
inline constexpr int32_t kFieldNotFound = 3265;    // no field of that name
inline constexpr int32_t kObjectClosed = 3704;     // used after Close
}  // namespace err

// Raises recordset error `number` (one of the three above) with its standard description.
[[noreturn]] void RaiseRecordsetError(int32_t number);

class Recordset {
 public:
  // A closed recordset; every member but IsOpen raises err::kObjectClosed.
  Recordset();

  // An open recordset over `rows`, positioned on the first row (at BOF and EOF together when
  // there is none).
  explicit Recordset(std::shared_ptr<const RowSet> rows);

  bool IsOpen() const { return rows_ != nullptr; }

  // True before the first row, and true for both when there are no rows.
  bool Bof() const;
  // True after the last row.
  bool Eof() const;

  // The number of rows.
  int32_t RecordCount() const;

  // Moves to the first row. Raises err::kNoCurrentRecord when there are no rows.
  void MoveFirst();
  // Moves to the next row, which is EOF after the last. Raises err::kNoCurrentRecord at EOF.
  void MoveNext();

  int32_t FieldCount() const;
  // The name of field `index` (from 0) as the query named it. Raises err::kFieldNotFound for an
  // index out of range.
  const std::string& FieldName(int32_t index) const;
  // True when a field of that name exists, names compared without regard to ASCII case.
  bool HasField(std::string_view name) const;

  // The value of field `name` (found without regard to ASCII case) in the current row: Null,
  // Boolean, Integer, Long, Double, Date or String. A long binary value reads as the text its
  // bytes hold as UTF-16LE. Raises err::kFieldNotFound for an unknown name and
  // err::kNoCurrentRecord at BOF or EOF.
  Variant Value(std::string_view name) const;

  // True when field `name` of the current row is Null. Raises as Value does.
  bool IsNull(std::string_view name) const;

  // The bytes of field `name` of the current row as stored: a long binary value as it is, text as
  // its UTF-8 bytes, Null as no bytes. The view lives as long as this recordset or a copy of it.
  // Raises as Value does, and err::kTypeMismatch for a value of another type.
  std::string_view Bytes(std::string_view name) const;

  // Releases the rows. Closing a closed recordset is not an error.
  void Close();

 private:
  const StoredValue& Current(std::string_view name) const;
  void RequireOpen() const;

  std::shared_ptr<const RowSet> rows_;
  // -1 is BOF, rows_->rows.size() is EOF; an empty set is at BOF and EOF together.
  int64_t position_ = 0;
};

// True when `rs` has no rows.
inline bool IsEmpty(const Recordset& rs) { return rs.Bof() && rs.Eof(); }

// What `read` makes of the first row of `rs`, or an empty result (a null pointer) when there is
// no row. Closes `rs`.
template <typename Read>
auto FirstRow(Recordset& rs, Read&& read) -> decltype(read(rs)) {
  decltype(read(rs)) first{};
  if (!IsEmpty(rs)) {
    rs.MoveFirst();
    first = read(rs);
  }
  rs.Close();
  return first;
}

}  // namespace clipcat
