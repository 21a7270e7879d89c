#include "engine/updatable_recordset.h"

#include <utility>

#include "util/errors.h"
#include "util/text.h"

namespace clipcat {

UpdatableRecordset::UpdatableRecordset(std::unique_ptr<RowCursor> cursor)
    : cursor_(std::move(cursor)) {
  auto rows = std::make_shared<RowSet>(cursor_->Rows());
  rows_ = Recordset(std::move(rows));
}

UpdatableRecordset::~UpdatableRecordset() {
  IgnoreErrors([&] { Close(); });
}

UpdatableRecordset::UpdatableRecordset(UpdatableRecordset&& other) noexcept
    : cursor_(std::move(other.cursor_)),
      rows_(std::move(other.rows_)),
      adding_(std::exchange(other.adding_, false)) {}

UpdatableRecordset& UpdatableRecordset::operator=(UpdatableRecordset&& other) noexcept {
  if (this != &other) {
    IgnoreErrors([&] { Close(); });
    cursor_ = std::move(other.cursor_);
    rows_ = std::move(other.rows_);
    adding_ = std::exchange(other.adding_, false);
  }
  return *this;
}

RowCursor& UpdatableRecordset::Cursor() const {
  if (cursor_ == nullptr) RaiseRecordsetError(err::kObjectClosed);
  return *cursor_;
}

size_t UpdatableRecordset::ColumnOf(std::string_view name) const {
  const auto& columns = Cursor().Rows().columns;
  for (size_t i = 0; i < columns.size(); ++i) {
    if (EqualsIgnoreCase(columns[i], name)) return i;
  }
  RaiseRecordsetError(err::kFieldNotFound);
}

void UpdatableRecordset::AddNew() {
  Cursor().AddNew();
  adding_ = true;
}

void UpdatableRecordset::SetValue(std::string_view name, const Variant& value) {
  const size_t column = ColumnOf(name);
  if (!adding_) RaiseRecordsetError(err::kNoCurrentRecord);
  Cursor().SetValue(column, value);
}

void UpdatableRecordset::BeginLongValue(std::string_view name, size_t total_bytes) {
  const size_t column = ColumnOf(name);
  if (!adding_) RaiseRecordsetError(err::kNoCurrentRecord);
  Cursor().BeginLongValue(column, total_bytes);
}

void UpdatableRecordset::AppendChunk(std::string_view name, std::string_view bytes) {
  const size_t column = ColumnOf(name);
  if (!adding_) RaiseRuntimeError(err::kInvalidProcedureCall);
  Cursor().AppendLongValue(column, bytes);
}

void UpdatableRecordset::Update() {
  if (!adding_) RaiseRecordsetError(err::kNoCurrentRecord);
  adding_ = false;  // a failed update has dropped the row: nothing stays pending
  Cursor().Update();
}

void UpdatableRecordset::CancelUpdate() {
  if (cursor_ != nullptr) cursor_->CancelUpdate();
  adding_ = false;
}

void UpdatableRecordset::Close() {
  if (cursor_ == nullptr) return;
  std::unique_ptr<RowCursor> cursor = std::move(cursor_);
  adding_ = false;
  rows_.Close();
  cursor->CancelUpdate();
}

}  // namespace clipcat
