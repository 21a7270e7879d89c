#include "engine/recordset.h"

#include "util/errors.h"
#include "util/text.h"
#include "util/utf16.h"

namespace clipcat {
void RaiseRecordsetError(int32_t number) {
  switch (number) {
    case err::kNoCurrentRecord:
      throw AutomationError(number, kComponentSource,
                            "Either BOF or EOF is True, or the current record has been deleted. "
                            "Requested operation requires a current record.");
    case err::kFieldNotFound:
      throw AutomationError(number, kComponentSource,
                            "Item cannot be found in the collection corresponding to the "
                            "requested name or ordinal.");
    default:
      throw AutomationError(number, kComponentSource,
                            "Operation is not allowed when the object is closed.");
  }
}

Recordset::Recordset() = default;

Recordset::Recordset(std::shared_ptr<const RowSet> rows) : rows_(std::move(rows)) {
  if (rows_ == nullptr) rows_ = std::make_shared<const RowSet>();
}

void Recordset::RequireOpen() const {
  if (rows_ == nullptr) RaiseRecordsetError(err::kObjectClosed);
}

bool Recordset::Bof() const {
  RequireOpen();
  return position_ < 0 || rows_->rows.empty();
}

bool Recordset::Eof() const {
  RequireOpen();
  return position_ >= static_cast<int64_t>(rows_->rows.size());
}

int32_t Recordset::RecordCount() const {
  RequireOpen();
  return static_cast<int32_t>(rows_->rows.size());
}

void Recordset::MoveFirst() {
  RequireOpen();
  if (rows_->rows.empty()) RaiseRecordsetError(err::kNoCurrentRecord);
  position_ = 0;
}

void Recordset::MoveNext() {
  if (Eof()) RaiseRecordsetError(err::kNoCurrentRecord);
  ++position_;
}

int32_t Recordset::FieldCount() const {
  RequireOpen();
  return static_cast<int32_t>(rows_->columns.size());
}

const std::string& Recordset::FieldName(int32_t index) const {
  RequireOpen();
  if (index < 0 || index >= FieldCount()) RaiseRecordsetError(err::kFieldNotFound);
  return rows_->columns[index];
}

bool Recordset::HasField(std::string_view name) const {
  RequireOpen();
  for (const std::string& column : rows_->columns) {
    if (EqualsIgnoreCase(column, name)) return true;
  }
  return false;
}

const StoredValue& Recordset::Current(std::string_view name) const {
  RequireOpen();
  size_t column = 0;
  while (column < rows_->columns.size() && !EqualsIgnoreCase(rows_->columns[column], name)) {
    ++column;
  }
  if (column == rows_->columns.size()) RaiseRecordsetError(err::kFieldNotFound);
  if (Bof() || Eof()) RaiseRecordsetError(err::kNoCurrentRecord);
  return rows_->rows[static_cast<size_t>(position_)][column];
}

Variant Recordset::Value(std::string_view name) const {
  const StoredValue& stored = Current(name);
  if (stored.is_binary) return Variant(Utf16LEToUtf8(stored.bytes));
  return stored.value;
}

bool Recordset::IsNull(std::string_view name) const {
  const StoredValue& stored = Current(name);
  return !stored.is_binary && stored.value.IsNull();
}

std::string_view Recordset::Bytes(std::string_view name) const {
  const StoredValue& stored = Current(name);
  if (stored.is_binary) return stored.bytes;
  if (stored.value.IsNull()) return {};
  if (stored.value.type() == Variant::Type::kString) return stored.value.AsString();
  RaiseRuntimeError(err::kTypeMismatch);
}

void Recordset::Close() {
  rows_.reset();
  position_ = 0;
}

}  // namespace clipcat
