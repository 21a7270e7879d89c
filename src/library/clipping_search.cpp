#include "library/clipping_search.h"

#include "entities/search.h"
#include "library/item_lookup.h"
#include "util/errors.h"

namespace clipcat {

std::shared_ptr<Clippings> SearchClippings(Catalog& catalog, const ClippingQuery& query) {
  const auto search = Search::Create();
  // The service matches whole names unless "*" says otherwise; people type some of one.
  search->SetSearchText(query.text.find('*') == std::string::npos ? "*" + query.text + "*"
                                                                  : query.text);
  std::vector<std::string> folders = query.folders;
  bool subfolders = query.subfolders;
  if (folders.empty()) {
    folders.push_back(RequireTopFolder(catalog)->ID());
    subfolders = true;
  }
  for (const auto& folder : folders) search->FolderIDs()->Add(folder);
  for (const auto& category : query.categories) search->CategoryNames()->Add(category);
  search->SetSearchSubFolders(subfolders);
  search->SetOrClippingBelongsToCategory(query.any_category);
  return catalog.read().SearchForClippings(search, catalog.details());
}

std::vector<FoundClipping> SearchContent(Catalog& catalog, const ContentQueryOptions& options) {
  ContentSearchOptions search;
  search.folder_id = options.folder;
  search.data_type = options.data_type;
  search.max_items = options.limit;
  if (!options.category.empty()) {
    const std::string home =
        options.folder.empty() ? RequireTopFolder(catalog)->ID() : options.folder;
    const auto category = CategoryNamed(catalog, home, options.category);
    if (category == nullptr) {
      throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                            "There is no category named \"" + options.category + "\".");
    }
    search.category_id = category->ID();
  }
  std::vector<FoundClipping> found =
      catalog.read().FindContent(options.text, search, catalog.details());
  for (FoundClipping& hit : found) {
    IgnoreErrors([&] {
      hit.clipping->SetPathName(
          catalog.read().GetFolderPathName(hit.clipping->FolderID(), catalog.details()));
    });
  }
  return found;
}

}  // namespace clipcat
