// Content search across the default catalog and its linked catalogs, and making a catalog's
// content index anew.
#include <algorithm>
#include <utility>

#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "service/service_routing.h"
#include "store/content_query.h"
#include "util/errors.h"
#include "util/item_id.h"

namespace clipcat {

using service_internal::DefaultDataAccess;
using service_internal::ItemDataAccess;
using service_internal::LinkedItemID;
using service_internal::Require;

std::vector<FoundClipping> ClippingDataRead::FindContent(const std::string& sQuery,
                                                         const ContentSearchOptions& options,
                                                         const Connection& oDefaultConnection) {
  const ContentQuery query = ParseContentQuery(sQuery);
  std::vector<FoundClipping> found;
  const auto search = [&](DataAccess& catalog, const std::string& folder_id) {
    std::vector<FoundClipping> part = catalog.SearchContent(query, folder_id, options.category_id,
                                                            options.data_type, options.max_items);
    std::move(part.begin(), part.end(), std::back_inserter(found));
  };
  if (!options.folder_id.empty()) {
    const auto catalog = ItemDataAccess(oDefaultConnection, options.folder_id);
    const auto folder = Require(catalog->GetFolder(options.folder_id));
    if (folder->ExternalCatalogID() != 0) {
      search(*ItemDataAccess(oDefaultConnection, LinkedItemID(*folder)), "");
    } else {
      // A catalog's top folder holds all of it: searched as the whole catalog, without the
      // folder filter the others need (on SQLite that filter leaves the index's fast path).
      const std::string& parent = folder->ParentID();
      const bool top =
          parent.empty() || GetLocalItemID(parent, catalog->ExternalCatalogID()) == "0";
      search(*catalog, top ? "" : options.folder_id);
    }
  } else if (!options.category_id.empty()) {
    search(*ItemDataAccess(oDefaultConnection, options.category_id), "");
  } else {
    const auto catalog = DefaultDataAccess(oDefaultConnection);
    search(*catalog, "");
    for (const auto& folder : catalog->GetLinkedFolders()->Items()->Snapshot()) {
      if (folder == nullptr || folder->ExternalCatalogID() == 0) continue;
      const std::string id = LinkedItemID(*folder);
      if (!ConnectionOK(oDefaultConnection, id, false)) continue;
      IgnoreErrors([&] { search(*ItemDataAccess(oDefaultConnection, id), ""); });
    }
  }
  // Stable, so that equal scores keep each catalog's own order.
  std::stable_sort(found.begin(), found.end(), [](const FoundClipping& a, const FoundClipping& b) {
    return a.score > b.score;
  });
  if (found.size() > static_cast<size_t>(std::max(options.max_items, 0))) {
    found.resize(static_cast<size_t>(std::max(options.max_items, 0)));
  }
  return found;
}

std::shared_ptr<Clippings> ClippingDataRead::SearchContent(
    const std::string& sQuery, int32_t lMaximumItems, const Connection& oDefaultConnection,
    const std::string& sFolderID, const std::string& sCategoryID, int32_t lDataType) {
  ContentSearchOptions options;
  options.folder_id = sFolderID;
  options.category_id = sCategoryID;
  options.data_type = lDataType;
  options.max_items = lMaximumItems;
  const auto result = Clippings::Create();
  for (FoundClipping& hit : FindContent(sQuery, options, oDefaultConnection)) {
    result->AddClipping(hit.clipping);
  }
  return result;
}

void ClippingDataWrite::RebuildContentIndex(const std::string& sItemID,
                                            const Connection& oDefaultConnection,
                                            const ProgressCallback& progress) {
  const auto catalog = sItemID.empty() ? DefaultDataAccess(oDefaultConnection)
                                       : ItemDataAccess(oDefaultConnection, sItemID);
  catalog->RebuildContentIndex(progress);
}

}  // namespace clipcat
