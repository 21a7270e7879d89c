#include "service/clipping_access_manager.h"

#include "util/errors.h"
#include "util/item_id.h"
#include "util/text.h"
#include "util/values.h"

namespace clipcat {
namespace {

constexpr const char* kDefaultKey = "D";

std::string ExternalKey(int32_t catalog_id) { return "P" + std::to_string(catalog_id); }

int32_t CatalogIDOf(const std::string& item_id) {
  return ToLongOr(Variant(GetCatalogIDFromItemID(item_id)), 0);
}

}  // namespace

ClippingAccessManager::~ClippingAccessManager() {
  IgnoreErrors([&] { CloseAllCatalogs(); });
}

int32_t ClippingAccessManager::Count() const { return static_cast<int32_t>(entries_.size()); }

int ClippingAccessManager::FindKey(const std::string& key) const {
  for (size_t i = 0; i < entries_.size(); ++i) {
    if (EqualsIgnoreCase(entries_[i].first, key)) return static_cast<int>(i);
  }
  return -1;
}

int ClippingAccessManager::PositionOf(const Variant& key) const {
  if (key.type() == Variant::Type::kString) return FindKey(key.AsString());
  const int32_t index = key.ToLong();
  if (index < 1 || index > Count()) return -1;
  return index - 1;
}

void ClippingAccessManager::Remove(const Variant& key) {
  IgnoreErrors([&] {
    const int at = PositionOf(key);
    if (at < 0) return;
    const auto data_access = entries_[static_cast<size_t>(at)].second;
    entries_.erase(entries_.begin() + at);
    if (data_access) data_access->CloseCatalog();
  });
}

std::shared_ptr<DataAccess> ClippingAccessManager::Item(const Variant& key) const {
  const int at = PositionOf(key);
  if (at < 0) RaiseRuntimeError(err::kInvalidProcedureCall);
  return entries_[static_cast<size_t>(at)].second;
}

void ClippingAccessManager::RollbackLeftoverTransactions() {
  for (const auto& entry : entries_) {
    if (entry.second) entry.second->RollbackLeftoverTransaction();
  }
}

std::vector<std::shared_ptr<DataAccess>> ClippingAccessManager::Entries() const {
  std::vector<std::shared_ptr<DataAccess>> out;
  for (const auto& entry : entries_) out.push_back(entry.second);
  return out;
}

void ClippingAccessManager::SetDefaultConnectionDetails(
    const std::shared_ptr<ConnectionDetails>& details) {
  if (!details) RaiseRuntimeError(err::kObjectVariableNotSet);
  if (!default_details_) {
    ResetDefaultCatalog(details);
    return;
  }
  const ConnectionDetails& held = *default_details_;
  const bool same = held.DataSourceType() == details->DataSourceType() &&
                    held.ClippingManagerServerName() == details->ClippingManagerServerName() &&
                    held.ClippingSourceName() == details->ClippingSourceName() &&
                    held.ConnectionString() == details->ConnectionString();
  if (!same) ResetDefaultCatalog(details);
}

std::shared_ptr<ConnectionDetails> ClippingAccessManager::DefaultConnectionDetails() const {
  // The getter assigns an object as a value to its unset result: it can never succeed.
  RaiseRuntimeError(err::kObjectVariableNotSet);
}

void ClippingAccessManager::ResetDefaultCatalog(const std::shared_ptr<ConnectionDetails>& details) {
  // The dropped objects are only released; their own teardown closes their catalogs.
  entries_.clear();
  default_details_ = details;
  entries_.emplace_back(kDefaultKey, CreateDataAccessObject(*details));
}

std::shared_ptr<DataAccess> ClippingAccessManager::CreateDataAccessObject(
    const ConnectionDetails& details) {
  std::shared_ptr<DataAccess> data_access;
  switch (details.DataSourceType()) {
    case 1:
      data_access = DataAccessMDB::Create();
      data_access->SetConnectionString(details.ConnectionString());
      break;
    case 2:
      data_access = DataAccessSQL::Create();
      data_access->SetConnectionString(details.ConnectionString());
      break;
    case 3:
      data_access = DataAccessMDB::Create();
      data_access->SetConnectionString(details.XML());
      break;
    default:
      break;
  }
  return data_access;
}

std::shared_ptr<DataAccess> ClippingAccessManager::GetDefaultDataAccessObject() const {
  return Item(Variant(kDefaultKey));
}

std::shared_ptr<DataAccess> ClippingAccessManager::GetDataAccessObject(const std::string& sItemID,
                                                                       bool bIsPersonalCatalog) {
  int32_t catalog_id = 0;
  std::shared_ptr<DataAccess> data_access;
  if (IsExternalItemID(sItemID)) {
    catalog_id = CatalogIDOf(sItemID);
    std::shared_ptr<ExternalCatalog> catalog;
    IgnoreErrors([&] {
      const auto catalogs = GetDefaultDataAccessObject();
      if (!catalogs) RaiseRuntimeError(err::kObjectVariableNotSet);
      catalog = catalogs->GetExternalCatalog(catalog_id);
    });
    const auto details = ConnectionDetails::Create();
    IgnoreErrors([&] {
      if (!catalog) RaiseRuntimeError(err::kObjectVariableNotSet);
      details->SetXML(catalog->ConnectionStringXML());
    });
    const std::string key = ExternalKey(catalog_id);
    const int at = FindKey(key);
    if (at >= 0) {
      data_access = entries_[static_cast<size_t>(at)].second;
    } else {
      IgnoreErrors([&] {
        data_access = CreateDataAccessObject(*details);
        if (data_access) entries_.emplace_back(key, data_access);
      });
    }
  } else {
    IgnoreErrors([&] { data_access = GetDefaultDataAccessObject(); });
  }
  if (data_access) {
    IgnoreErrors([&] { data_access->SetExternalCatalogID(Variant(catalog_id)); });
    data_access->SetIsPersonalCatalog(bIsPersonalCatalog);
  }
  return data_access;
}

void ClippingAccessManager::ReleaseDataAccessObject(const std::string& sItemID) {
  if (!IsExternalItemID(sItemID)) return;
  Remove(Variant(ExternalKey(CatalogIDOf(sItemID))));
}

void ClippingAccessManager::CloseAllCatalogs() {
  for (const auto& entry : entries_) {
    if (entry.second) IgnoreErrors([&] { entry.second->CloseCatalog(); });
  }
  entries_.clear();
}

}  // namespace clipcat
