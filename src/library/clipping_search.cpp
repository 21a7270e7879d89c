#include "library/clipping_search.h"

#include "entities/search.h"
#include "library/item_lookup.h"

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

}  // namespace clipcat
