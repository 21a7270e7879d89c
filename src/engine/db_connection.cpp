#include "engine/db_connection.h"

#include <utility>

#include "engine/backend_factory.h"
#include "util/errors.h"
#include "util/probes.h"

namespace clipcat {
namespace {

// The markers TestConnection looks for. Frozen: stored connection strings carry them.
constexpr std::string_view kJetMarker = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=";
constexpr std::string_view kDataSourceMarker = "Data Source=";
constexpr std::string_view kFileNameMarker = "File Name=";

struct TestTarget {
  std::string location;
  bool is_file = false;
};

TestTarget TargetOf(const std::string& connection_string) {
  TestTarget target{connection_string, false};
  if (connection_string.find(kJetMarker) != std::string::npos) {
    const size_t at = connection_string.find(kDataSourceMarker);
    if (at != std::string::npos) {
      target = {connection_string.substr(at + kDataSourceMarker.size()), true};
    }
  }
  const size_t at = connection_string.find(kFileNameMarker);
  if (at != std::string::npos) {
    target = {connection_string.substr(at + kFileNameMarker.size()), true};
  }
  return target;
}

}  // namespace

DBConnection::DBConnection() : DBConnection(&OpenBackend) {}

DBConnection::DBConnection(BackendOpener opener) : opener_(std::move(opener)) {}

DBConnection::~DBConnection() {
  if (backend_ != nullptr) IgnoreErrors([&] { backend_->Close(); });
}

void DBConnection::OpenConnection(const std::string& connection_string,
                                  const std::string& user_name, const std::string& password) {
  if (!TestConnection(connection_string).ToBoolean()) {
    const TestTarget target = TargetOf(connection_string);
    throw AutomationError(err::kCatalogCannotBeOpened, kComponentSource,
                          "The catalog \"" + target.location + "\" cannot be reached.");
  }
  backend_ = opener_(connection_string, user_name, password);
}

void DBConnection::CloseConnection() {
  Backend().Close();
  backend_.reset();
}

DatabaseBackend& DBConnection::Backend() {
  if (backend_ == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  return *backend_;
}

void DBConnection::ExecuteSQL(const std::string& sql) { Backend().Execute(sql); }

Recordset DBConnection::GetRecordsetRO(const std::string& sql, size_t max_records) {
  DatabaseBackend& backend = Backend();
  return Recordset(std::make_shared<const RowSet>(
      max_records == 0 ? backend.Query(sql) : backend.QueryAtMost(sql, max_records)));
}

void DBConnection::ExecuteSQL(const std::string& sql, const SqlValues& values) {
  Backend().ExecuteWithValues(sql, values);
}

Recordset DBConnection::GetRecordsetRO(const std::string& sql, const SqlValues& values,
                                       size_t max_records) {
  return Recordset(
      std::make_shared<const RowSet>(Backend().QueryWithValues(sql, values, max_records)));
}

UpdatableRecordset DBConnection::GetRecordsetRW(const std::string& sql) {
  return UpdatableRecordset(Backend().OpenCursor(sql));
}

void DBConnection::BeginTrans() { Backend().BeginTransaction(); }
void DBConnection::CommitTrans() { Backend().CommitTransaction(); }
void DBConnection::RollbackTrans() { Backend().RollbackTransaction(); }
bool DBConnection::InTransaction() { return Backend().InTransaction(); }
void DBConnection::ReadConsistently(const std::function<void()>& read) {
  DatabaseBackend& backend = Backend();
  const bool began = backend.BeginReadTransaction();
  try {
    read();
  } catch (...) {
    if (began) IgnoreErrors([&] { backend.EndReadTransaction(); });
    throw;
  }
  if (began) backend.EndReadTransaction();
}

void DBConnection::RollbackAll() {
  while (Backend().InTransaction()) Backend().RollbackTransaction();
}
std::string DBConnection::EngineName() { return Backend().EngineName(); }

Variant DBConnection::TestConnection(const std::string& connection_string) {
  const TestTarget target = TargetOf(connection_string);
  return Variant(!IsCatalogUnavailable(target.location, target.is_file));
}

}  // namespace clipcat
