#include "library/clipping_search.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <utility>

#include "entities/search.h"
#include "library/item_lookup.h"
#include "library/linked_listings.h"
#include "util/errors.h"

namespace clipcat {
namespace {

// The top folders of the catalogs a search without a folder reads: the selected catalog's first.
std::vector<std::string> SearchedCatalogs(Catalog& catalog, bool linked,
                                          std::vector<std::string>* offline) {
  std::vector<std::string> tops = {RequireTopFolder(catalog)->ID()};
  if (!linked) return tops;
  const LinkedCatalogs others = ListLinkedCatalogs(catalog);
  for (const LinkedCatalogs::Online& other : others.online) tops.push_back(other.top_id);
  if (offline != nullptr) *offline = others.offline;
  return tops;
}

}  // namespace

std::shared_ptr<Clippings> SearchClippings(Catalog& catalog, const ClippingQuery& query,
                                           std::vector<std::string>* offline) {
  const auto search = Search::Create();
  // The service matches whole names unless "*" says otherwise; people type some of one.
  search->SetSearchText(query.text.find('*') == std::string::npos ? "*" + query.text + "*"
                                                                  : query.text);
  std::vector<std::string> folders = query.folders;
  bool subfolders = query.subfolders;
  if (folders.empty()) {
    folders = SearchedCatalogs(catalog, query.linked, offline);
    subfolders = true;
  }
  for (const auto& folder : folders) search->FolderIDs()->Add(folder);
  for (const auto& category : query.categories) search->CategoryNames()->Add(category);
  search->SetSearchSubFolders(subfolders);
  search->SetOrClippingBelongsToCategory(query.any_category);
  return catalog.read().SearchForClippings(search, catalog.details());
}

std::vector<FoundClipping> SearchContent(Catalog& catalog, const ContentQueryOptions& options,
                                         std::vector<std::string>* offline) {
  ContentSearchOptions search;
  search.data_type = options.data_type;
  search.max_items = options.limit;
  // A folder is searched as the service searches it; without one, each catalog on its own.
  const std::vector<std::string> tops = options.folder.empty()
                                            ? SearchedCatalogs(catalog, options.linked, offline)
                                            : std::vector<std::string>{options.folder};
  std::vector<FoundClipping> found;
  bool category_found = options.category.empty();
  for (const std::string& top : tops) {
    const bool selected = top == tops.front();
    const auto search_one = [&] {
      search.folder_id = top;
      search.category_id.clear();
      if (!options.category.empty()) {
        const auto category = CategoryNamed(catalog, top, options.category);
        if (category == nullptr) return;
        category_found = true;
        search.category_id = category->ID();
      }
      std::vector<FoundClipping> part =
          catalog.read().FindContent(options.text, search, catalog.details());
      std::move(part.begin(), part.end(), std::back_inserter(found));
    };
    // The selected catalog's errors are the search's; a linked catalog's leave it out.
    if (selected) {
      search_one();
    } else {
      IgnoreErrors(search_one);
    }
  }
  if (!category_found) {
    throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                          "There is no category named \"" + options.category + "\".");
  }
  // Stable, so that equal scores keep each catalog's own order.
  std::stable_sort(found.begin(), found.end(), [](const FoundClipping& a, const FoundClipping& b) {
    return a.score > b.score;
  });
  if (found.size() > static_cast<size_t>(std::max(options.limit, 0))) {
    found.resize(static_cast<size_t>(std::max(options.limit, 0)));
  }
  // Many results share a folder: each folder's path is read once.
  std::map<std::string, std::optional<std::string>> paths;
  for (FoundClipping& hit : found) {
    const std::string& folder = hit.clipping->FolderID();
    auto path = paths.find(folder);
    if (path == paths.end()) {
      std::optional<std::string> read;
      IgnoreErrors([&] { read = catalog.read().GetFolderPathName(folder, catalog.details()); });
      path = paths.emplace(folder, std::move(read)).first;
    }
    if (path->second) hit.clipping->SetPathName(*path->second);
  }
  return found;
}

}  // namespace clipcat
