#include "library/item_lookup.h"

#include "util/errors.h"
#include "util/text.h"

namespace clipcat {

void Refuse(const std::string& what) {
  throw AutomationError(err::kInvalidProcedureCall, kComponentSource, what);
}

std::shared_ptr<Folder> FolderOrNothing(Catalog& catalog, const std::string& id) {
  std::shared_ptr<Folder> folder;
  IgnoreErrors([&] { folder = catalog.read().GetFolder(id, catalog.details()); });
  return folder;
}

std::shared_ptr<Folder> RequireFolder(Catalog& catalog, const std::string& id) {
  auto folder = FolderOrNothing(catalog, id);
  if (!folder) Refuse("no folder has the id " + id);
  return folder;
}

std::shared_ptr<Clipping> RequireClipping(Catalog& catalog, const std::string& id, bool data) {
  auto clipping = catalog.read().GetClipping(id, catalog.details(), data);
  if (!clipping) Refuse("no clipping or folder has the id " + id);
  return clipping;
}

void RequireReachable(Catalog& catalog) {
  catalog.read().GetPersonalCatalogRootFolder(catalog.details());
}

std::shared_ptr<Folder> RequireTopFolder(Catalog& catalog) {
  auto top = catalog.read().GetPersonalCatalogRootFolder(catalog.details());
  if (!top) Refuse("the catalog has no top folder");
  return top;
}

std::shared_ptr<Category> CategoryNamed(Catalog& catalog, const std::string& item_id,
                                        const std::string& name) {
  const auto categories = catalog.read().GetCategoriesFromFolder(item_id, catalog.details());
  for (const auto& category : *categories->Items()) {
    if (EqualsIgnoreCase(category->Name(), name)) return category;
  }
  return nullptr;
}

}  // namespace clipcat
