#include "library/clipping_details.h"

#include <map>
#include <string>

#include "util/errors.h"

namespace clipcat {

void AddPathsAndCategories(Catalog& catalog,
                           const std::vector<std::shared_ptr<Clipping>>& clippings) {
  // Listings hold many clippings of one folder: each folder's path is read once.
  std::map<std::string, std::string> paths;
  for (const auto& clipping : clippings) {
    IgnoreErrors([&] {
      auto known = paths.find(clipping->FolderID());
      if (known == paths.end()) {
        known = paths
                    .emplace(clipping->FolderID(), catalog.read().GetFolderPathName(
                                                       clipping->FolderID(), catalog.details()))
                    .first;
      }
      clipping->SetPathName(known->second);
    });
    IgnoreErrors([&] {
      clipping->SetCategories(
          catalog.read().GetCategoriesNamesForClipping(clipping->ID(), catalog.details()));
    });
  }
}

}  // namespace clipcat
