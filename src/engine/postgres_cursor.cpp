#include "engine/postgres_cursor.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

#include "engine/postgres_session.h"
#include "engine/recordset.h"
#include "util/date.h"
#include "util/date_text.h"
#include "util/errors.h"

namespace clipcat {
namespace {

// Long values are gathered in memory; more than this is not reserved before the bytes arrive.
constexpr size_t kMaxReserve = size_t{16} << 20;

[[noreturn]] void RaiseNotUpdatable() {
  throw AutomationError(err::kDatabaseError, kPostgresSource,
                        "Rows can be added only to a query whose columns all come from one table.");
}

bool IsDateType(Oid type) {
  return type == kTimestampOid || type == kTimestampTzOid || type == kDateOid;
}

// `value` as text the server reads as the same number for a column of any numeric type. A whole
// number within 64 bits is written as its digits, which integer columns read too (they refuse
// "1e+06", the shortest form); any other value in the shortest form that reads back exactly.
std::string DoubleText(double value) {
  constexpr double kTwoTo63 = 9223372036854775808.0;
  if (std::trunc(value) == value && value >= -kTwoTo63 && value < kTwoTo63) {
    return std::to_string(static_cast<int64_t>(value));
  }
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

// `value` as the parameter for a column of type `type`, in the form the server reads for it.
PostgresParam ParamFor(const Variant& value, Oid type) {
  switch (value.type()) {
    case Variant::Type::kEmpty:
    case Variant::Type::kNull:
      return {};
    case Variant::Type::kObject:
      RaiseRuntimeError(err::kTypeMismatch);
    default:
      break;
  }
  if (type == kBoolOid) return {value.ToBoolean() ? "true" : "false"};
  if (type == kByteaOid) {
    return {value.type() == Variant::Type::kString ? value.AsString() : value.ToText(), true};
  }
  if (IsDateType(type)) {
    if (value.type() == Variant::Type::kString) {
      const auto date = ParseDateText(value.AsString());
      if (date && date->IsValid()) return {FormatIsoDate(*date)};
      return {value.AsString()};  // the server says what is wrong with it
    }
    return {FormatIsoDate(value.ToDate())};
  }
  switch (value.type()) {
    case Variant::Type::kBoolean:
      return {value.AsBoolean() ? "1" : "0"};
    case Variant::Type::kInteger:
    case Variant::Type::kLong:
      return {std::to_string(value.ToLong())};
    case Variant::Type::kDouble:
      return {DoubleText(value.ToDouble())};
    case Variant::Type::kDate:
      return {FormatIsoDate(value.ToDate())};
    default:
      return {value.AsString()};
  }
}

}  // namespace

PostgresCursor::PostgresCursor(std::shared_ptr<PostgresSession> session, std::string_view sql)
    : session_(std::move(session)) {
  const PostgresResult result = session_->RunStoreStatement(sql);
  const int count = PQnfields(result.get());
  if (count == 0) RaiseNotUpdatable();
  const Oid table = PQftable(result.get(), 0);
  for (int i = 0; i < count; ++i) {
    if (table == InvalidOid || PQftable(result.get(), i) != table ||
        PQftablecol(result.get(), i) <= 0) {
      RaiseNotUpdatable();
    }
  }
  rows_ = session_->ReadRows(result.get());
  // Columns read before may be out of date: one not known is looked up again.
  const PostgresTableColumns* columns = &session_->TableColumns(table);
  for (int i = 0; i < count; ++i) {
    if (columns->by_number.count(PQftablecol(result.get(), i)) == 0) {
      columns = &session_->TableColumns(table, true);
      break;
    }
  }
  table_ = columns->table;
  for (int i = 0; i < count; ++i) {
    const auto found = columns->by_number.find(PQftablecol(result.get(), i));
    if (found == columns->by_number.end()) RaiseNotUpdatable();  // dropped meanwhile
    origins_.push_back(found->second.name);
    types_.push_back(found->second.type);
  }
  values_.resize(static_cast<size_t>(count));
}

void PostgresCursor::AddNew() {
  Discard();
  pending_ = true;
}

void PostgresCursor::SetValue(size_t column, const Variant& value) {
  if (!pending_) RaiseRecordsetError(err::kNoCurrentRecord);
  long_values_.erase(column);
  values_[column] = value;
}

PostgresCursor::~PostgresCursor() { Discard(); }

void PostgresCursor::BeginLongValue(size_t column, size_t total_bytes) {
  if (!pending_) RaiseRecordsetError(err::kNoCurrentRecord);
  if (total_bytes > static_cast<size_t>(INT32_MAX)) RaiseRuntimeError(err::kOverflow);
  // Nothing reaches the server before Update, yet the row holds the connection as it does on
  // SQLite: what may run meanwhile is the same on both engines.
  session_->RequireNoLongValuePending(this);
  session_->set_long_value_holder(this);
  values_[column].reset();
  LongValue& long_value = long_values_[column];
  long_value.total = total_bytes;
  long_value.bytes.clear();
  long_value.bytes.reserve(std::min(total_bytes, kMaxReserve));
}

void PostgresCursor::AppendLongValue(size_t column, std::string_view bytes) {
  const auto found = long_values_.find(column);
  if (found == long_values_.end() || !pending_) RaiseRuntimeError(err::kInvalidProcedureCall);
  LongValue& target = found->second;
  if (bytes.size() > target.total - target.bytes.size()) {
    throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                          "The piece runs past the announced length of the long value.");
  }
  target.bytes.append(bytes);
}

void PostgresCursor::Update() {
  if (!pending_) RaiseRecordsetError(err::kNoCurrentRecord);
  try {
    session_->RequireNoLongValuePending(this);
    for (const auto& [column, long_value] : long_values_) {
      if (long_value.bytes.size() != long_value.total) {
        throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                              "The long value of field " + rows_.columns[column] + " received " +
                                  std::to_string(long_value.bytes.size()) + " of " +
                                  std::to_string(long_value.total) + " bytes.");
      }
    }
    std::string names;
    std::string marks;
    std::vector<PostgresParam> params;
    for (size_t i = 0; i < values_.size(); ++i) {
      const auto long_value = long_values_.find(i);
      if (long_value != long_values_.end()) {
        params.push_back({std::move(long_value->second.bytes), true});
      } else if (values_[i].has_value()) {
        params.push_back(ParamFor(*values_[i], types_[i]));
      } else {
        continue;
      }
      names += (names.empty() ? "" : ", ") + QuotePostgresIdentifier(origins_[i]);
      marks += (marks.empty() ? "$" : ", $") + std::to_string(params.size());
    }
    session_->RunGuarded(
        "INSERT INTO " + table_ +
            (params.empty() ? " DEFAULT VALUES" : " (" + names + ") VALUES (" + marks + ")"),
        params);
  } catch (const AutomationError&) {
    Discard();
    throw;
  }
  Discard();
}

void PostgresCursor::CancelUpdate() { Discard(); }

void PostgresCursor::Discard() {
  if (session_->long_value_holder() == this) session_->set_long_value_holder(nullptr);
  long_values_.clear();
  for (auto& value : values_) value.reset();
  pending_ = false;
}

}  // namespace clipcat
