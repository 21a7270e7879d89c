#include "library/clipping_details.h"

#include "library/item_paths.h"
#include "util/errors.h"

namespace clipcat {

void AddPaths(Catalog& catalog, const std::vector<std::shared_ptr<Clipping>>& clippings) {
  FolderPaths paths(catalog);
  for (const auto& clipping : clippings) clipping->SetPathName(paths.Of(clipping->FolderID()));
}

void AddPathsAndCategories(Catalog& catalog,
                           const std::vector<std::shared_ptr<Clipping>>& clippings) {
  AddPaths(catalog, clippings);
  for (const auto& clipping : clippings) {
    IgnoreErrors([&] {
      clipping->SetCategories(
          catalog.read().GetCategoriesNamesForClipping(clipping->ID(), catalog.details()));
    });
  }
}

}  // namespace clipcat
