#include "library/item_edits.h"

#include "library/item_lookup.h"

namespace clipcat {

void RenameItem(Catalog& catalog, const std::string& id, const std::string& name) {
  if (const auto folder = FolderOrNothing(catalog, id)) {
    folder->SetName(name);
    catalog.write().UpdateFolder(folder, catalog.details(), true);
    return;
  }
  const auto clipping = RequireClipping(catalog, id, false);
  clipping->SetName(name);
  catalog.write().UpdateClipping(clipping, catalog.details(), false, true);
}

void RemoveItem(Catalog& catalog, const std::string& id, bool permanently) {
  if (FolderOrNothing(catalog, id)) {
    catalog.write().DeleteFolder(id, catalog.details(), permanently);
    return;
  }
  RequireClipping(catalog, id, false);
  catalog.write().DeleteClipping(id, catalog.details(), permanently);
}

std::shared_ptr<Category> TagClipping(Catalog& catalog, const std::string& clipping,
                                      const std::string& category) {
  const auto tagged = RequireClipping(catalog, clipping, false);
  auto existing = CategoryNamed(catalog, clipping, category);
  if (!existing) {
    const auto created = Category::Create();
    created->SetName(category);
    existing = catalog.write().AddCategory(created, tagged->FolderID(), catalog.details());
  }
  catalog.write().AddClippingToCategory(clipping, existing->ID(), catalog.details());
  return existing;
}

void UntagClipping(Catalog& catalog, const std::string& clipping, const std::string& category) {
  RequireClipping(catalog, clipping, false);
  const auto existing = CategoryNamed(catalog, clipping, category);
  if (!existing) Refuse("no category is named " + category);
  catalog.write().DeleteClippingFromCategory(clipping, existing->ID(), catalog.details());
}

}  // namespace clipcat
