// The catalog side of DataAccess: settings, opening and closing, path names, the connection check
// and the key generator. The store operations live in the *_ops.cpp files and their kin.
#include "store/data_access.h"

#include <set>
#include <utility>

#include "engine/backend_factory.h"
#include "entities/plain_text.h"
#include "store/catalog_check.h"
#include "store/catalog_upgrade.h"
#include "store/content_index.h"
#include "store/postgres_schema.h"
#include "store/transaction_internal.h"
#include "util/errors.h"
#include "util/item_id.h"
#include "util/paths.h"
#include "util/values.h"

namespace clipcat {
namespace {

// The key generator tables' base names. Frozen: the tables are named after them.
constexpr const char* kGeneratorBaseNames[] = {"Folder", "GroupClipping", "ExternalCatalog"};

// The query that proves a catalog answers. Frozen: catalogs written by other programs may hold
// the row.
constexpr const char* kConnectionCheckQuery =
    "Select * From CatalogProperties Where sCatalogProperty='BMW M3'";

}  // namespace

DataAccess::DataAccess() = default;

DataAccess::~DataAccess() = default;

void DataAccess::SetExternalCatalogID(const Variant& vNewValue) {
  external_catalog_id_ = vNewValue.ToLong();
}

void DataAccess::OpenCatalog(const std::string& sConnectionString, const std::string& sUserName,
                             const std::string& sPassword) {
  if (!sConnectionString.empty()) connection_string_ = sConnectionString;
  if (!sUserName.empty()) user_name_ = sUserName;
  if (!sPassword.empty()) password_ = sPassword;
  UseCatalogColumnSpellings();
  auto connection = std::make_unique<DBConnection>();
  connection->OpenConnection(connection_string_, user_name_, password_);
  // A damaged file is refused before anything, an upgrade included, writes to it.
  if (const auto path = FileCatalogPath(connection_string_)) {
    RequireSoundCatalogFile(*connection, *path);
  }
  UpgradeCatalog(*connection);
  has_content_index_ = ::clipcat::HasContentIndex(*connection);
  has_history_tables_ = CatalogFormatVersion(*connection) >= 5;
  maximum_versions_.reset();
  acting_user_.clear();
  connection_ = std::move(connection);
  is_open_ = true;
}

void DataAccess::CloseCatalog() {
  std::unique_ptr<DBConnection> connection = std::move(connection_);
  is_open_ = false;
  if (connection != nullptr && connection->IsOpen()) connection->CloseConnection();
}

void DataAccess::RollbackLeftoverTransaction() {
  if (connection_ == nullptr || !connection_->IsOpen()) return;
  try {
    connection_->RollbackAll();
  } catch (const AutomationError&) {
    // What cannot be rolled back must not stay: closing the engine connection ends it.
    IgnoreErrors([&] { CloseCatalog(); });
  }
}

void DataAccess::RunAsOneTransaction(const std::function<void()>& body) {
  EnsureCatalogOpen();
  // An inner call leaves the index rows to the outermost one.
  if (content_text_deferred_ || !has_content_index_) {
    InTransaction(Connection(), body);
    return;
  }
  InTransaction(Connection(), [&] {
    content_text_deferred_ = true;
    deferred_text_keys_.clear();
    try {
      body();
    } catch (...) {
      content_text_deferred_ = false;
      deferred_text_keys_.clear();
      throw;
    }
    content_text_deferred_ = false;
    IndexClippingsWithoutText(Connection(), std::move(deferred_text_keys_));
    deferred_text_keys_.clear();
  });
}

void DataAccess::ReadConsistently(const std::function<void()>& body) {
  EnsureCatalogOpen();
  Connection().ReadConsistently(body);
}

void DataAccess::WriteClippingText(int32_t key, const std::string& name,
                                   const std::string& description,
                                   const ClippingDataCollection& items) {
  if (!has_content_index_) return;
  if (content_text_deferred_) {
    RemoveContentText(Connection(), std::to_string(key));
    deferred_text_keys_.push_back(key);
    return;
  }
  WriteContentText(Connection(), key, name, description,
                   PlainTextOfItems(items, kContentTextLimit));
}

void DataAccess::EnsureCatalogOpen() {
  if (!is_open_) OpenCatalog("", "", "");
}

DBConnection& DataAccess::Connection() {
  if (connection_ == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  return *connection_;
}

std::string DataAccess::GetFolderPathName(const std::string& sFolderID) {
  EnsureCatalogOpen();
  std::string key = GetLocalItemID(sFolderID, external_catalog_id_);
  std::string path;
  std::set<std::string> visited;
  // One view of the chain of parents, and the engine's read locks taken once for all of it.
  Connection().ReadConsistently([&] {
    while (Variant(key).ToDouble() != 0) {
      const std::string number = SqlNumber(Variant(key));
      // A parent that names no folder, or a chain that comes back to itself, would walk forever.
      if (!visited.insert(number).second) {
        throw AutomationError(err::kDatabaseError, kComponentSource,
                              "The parents of folder " + sFolderID + " run in a circle.");
      }
      Recordset rs = Connection().GetRecordsetRO(
          "Select sName, lParentID From Folder Where lFolderID =" + number);
      if (rs.Bof() && rs.Eof()) {
        throw AutomationError(err::kDatabaseError, kComponentSource,
                              "Folder " + number + " is missing from the catalog.");
      }
      rs.MoveFirst();
      key = rs.Value("lParentID").ToText();
      path = AppendPath(rs.Value("sName").ToText(), path);
      rs.Close();
    }
  });
  if (!path.empty()) path.pop_back();
  return path;
}

bool DataAccess::CatalogsConnectionOK(const std::string& /*sItemID*/) {
  bool ok = false;
  try {
    if (is_open_) {
      if (Connection().TestConnection(connection_string_).ToBoolean()) {
        Recordset rs = Connection().GetRecordsetRO(kConnectionCheckQuery);
        ok = true;
        rs.Close();
      }
    } else {
      EnsureCatalogOpen();
      ok = true;
    }
  } catch (...) {
    ok = false;
  }
  return ok;
}

int32_t DataAccess::GetNextID(const std::string& sTableBaseName, const std::string& sGUID) {
  bool known = false;
  for (const char* base : kGeneratorBaseNames) known = known || sTableBaseName == base;
  if (!known) RaiseRuntimeError(err::kInvalidProcedureCall);
  EnsureCatalogOpen();
  const std::string table = sTableBaseName + "IDGenerator";
  const SqlValues guid{SqlValue::Text(Variant(sGUID))};
  Connection().ExecuteSQL("Insert Into " + table + " (sGUID) Values ( ? ) ", guid);
  Recordset rs = Connection().GetRecordsetRO("Select lID From " + table + " Where sGUID=?", guid);
  rs.MoveFirst();
  const int32_t id = rs.Value("lID").ToLong();
  rs.Close();
  Connection().ExecuteSQL("Delete From " + table + " Where sGUID=?", guid);
  return id;
}

std::string DataAccessMDB::GetConnectionStringValue(const std::string& sConnectionString,
                                                    const std::string& sKey) {
  const std::string marker = sKey + "=";
  const size_t at = sConnectionString.find(marker);
  if (at == std::string::npos) return {};
  const size_t start = at + marker.size();
  const size_t end = sConnectionString.find(';', start);
  if (end == std::string::npos) RaiseRuntimeError(err::kInvalidProcedureCall);
  return sConnectionString.substr(start, end - start);
}

}  // namespace clipcat
