#include "service/service_routing.h"

#include "service/connection_handler.h"
#include "util/item_id.h"
#include "util/values.h"

namespace clipcat::service_internal {

std::shared_ptr<DataAccess> ItemDataAccess(const std::shared_ptr<ConnectionDetails>& connection,
                                           const std::string& item_id) {
  const auto manager = GetAccessManager(connection);
  return Require(manager->GetDataAccessObject(item_id, Require(connection)->IsPersonalCatalog()));
}

std::shared_ptr<DataAccess> DefaultDataAccess(
    const std::shared_ptr<ConnectionDetails>& connection) {
  return Require(GetAccessManager(connection)->GetDefaultDataAccessObject());
}

std::string LinkedItemID(const Folder& folder) {
  return ComposeItemID(folder.ID(), folder.ExternalCatalogID());
}

std::shared_ptr<DataAccess> LinkedDataAccess(const std::shared_ptr<ConnectionDetails>& connection,
                                             const std::string& folder_id) {
  const auto folder = Require(ItemDataAccess(connection, folder_id)->GetFolder(folder_id));
  return ItemDataAccess(connection, LinkedItemID(*folder));
}

int32_t CatalogIDOf(const std::string& item_id) {
  return ToLongOr(Variant(GetCatalogIDFromItemID(item_id)), 0);
}

}  // namespace clipcat::service_internal
