#include "library/linked_listings.h"

#include <limits>

#include "library/item_lookup.h"
#include "library/item_paths.h"
#include "library/linked_catalog_status.h"
#include "util/errors.h"
#include "util/item_id.h"

namespace clipcat {
LinkedCatalogs ListLinkedCatalogs(Catalog& catalog) {
  LinkedCatalogs linked;
  std::vector<LinkedCatalogStatus> statuses;
  IgnoreErrors([&] { statuses = ProbeLinkedCatalogs(catalog); });
  for (const LinkedCatalogStatus& status : statuses) {
    if (status.online) {
      linked.online.push_back({status.item_id, status.name});
    } else {
      linked.offline.push_back(status.name);
    }
  }
  return linked;
}

std::vector<CatalogCategory> ListCategories(Catalog& catalog, bool with_linked,
                                            std::vector<std::string>* offline) {
  std::vector<CatalogCategory> listed;
  const auto add = [&](const std::string& top_id, const std::string& name) {
    for (const auto& category :
         catalog.read().GetCategoriesFromFolder(top_id, catalog.details())->Items()->Snapshot()) {
      listed.push_back({category, name});
    }
  };
  add(RequireTopFolder(catalog)->ID(), "");
  if (!with_linked) return listed;
  LinkedCatalogs linked = ListLinkedCatalogs(catalog);
  FolderPaths paths(catalog);
  for (const LinkedCatalogs::Online& other : linked.online) {
    // One that stops answering between the two questions is as good as offline.
    if (!IgnoreErrors([&] { add(other.top_id, paths.Of(other.top_id)); })) {
      linked.offline.push_back(other.name);
    }
  }
  if (offline != nullptr) *offline = linked.offline;
  return listed;
}

std::vector<std::shared_ptr<Clipping>> RecentlyUsed(Catalog& catalog, int32_t maximum,
                                                    bool with_linked,
                                                    std::vector<std::string>* offline) {
  RequireReachable(catalog);
  // Without the linked catalogs the history is read whole and the selected catalog's kept:
  // the store cannot leave the others out.
  const auto history = catalog.read().GetClippingsHistroy(
      with_linked ? maximum : std::numeric_limits<int32_t>::max(), catalog.details());
  std::vector<std::shared_ptr<Clipping>> used;
  for (const auto& clipping : history->Items()->Snapshot()) {
    if (static_cast<int32_t>(used.size()) >= maximum) break;
    if (with_linked || !IsExternalItemID(clipping->ID())) used.push_back(clipping);
  }
  if (with_linked && offline != nullptr) *offline = ListLinkedCatalogs(catalog).offline;
  return used;
}

}  // namespace clipcat
