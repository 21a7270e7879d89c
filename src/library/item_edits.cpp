#include "library/item_edits.h"

#include "library/item_lookup.h"
#include "util/errors.h"
#include "util/item_id.h"

namespace clipcat {
namespace {

// A folder that stands for a whole catalog: the top folder of the personal or of a linked catalog
// (seen through its id, P1C1), or the folder in the personal catalog that links one.
void RefuseCatalogTop(const Folder& folder, const std::string& id) {
  if (folder.ExternalCatalogID() != 0 && !IsExternalItemID(id)) {
    throw AutomationError(err::kTopFolderNotDeletable, kComponentSource,
                          "folder " + id + " (" + folder.Name() +
                              ") links another catalog and cannot be deleted; unlink " + id +
                              " removes the link and leaves that catalog alone");
  }
  if (folder.ExternalCatalogID() != 0 || IsTopFolder(folder)) {
    throw AutomationError(err::kTopFolderNotDeletable, kComponentSource,
                          "folder " + id + " (" + folder.Name() +
                              ") is the top folder of its catalog and cannot be deleted");
  }
}

void CountBelow(Catalog& catalog, const Folder& folder, RemovalScope& scope) {
  scope.clippings +=
      catalog.read().GetClippingsFromFolder(folder.ID(), catalog.details())->Items()->Count();
  for (const auto& child : *folder.ChildFolders()) {
    ++scope.folders;
    CountBelow(catalog, *child, scope);
  }
}

}  // namespace

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

RemovalScope DescribeRemoval(Catalog& catalog, const std::string& id) {
  RemovalScope scope;
  if (const auto folder = FolderOrNothing(catalog, id)) {
    RefuseCatalogTop(*folder, id);
    scope.folder = true;
    scope.name = folder->Name();
    CountBelow(catalog, *catalog.read().GetChildFolders(id, catalog.details()), scope);
    return scope;
  }
  scope.name = RequireClipping(catalog, id, false)->Name();
  return scope;
}

void RemoveItem(Catalog& catalog, const std::string& id, bool permanently) {
  if (const auto folder = FolderOrNothing(catalog, id)) {
    RefuseCatalogTop(*folder, id);
    catalog.write().DeleteFolder(id, catalog.details(), permanently);
    return;
  }
  RequireClipping(catalog, id, false);
  catalog.write().DeleteClipping(id, catalog.details(), permanently);
}

void UnlinkFolder(Catalog& catalog, const std::string& id) {
  const auto folder = RequireFolder(catalog, id);
  if (IsExternalItemID(id) && (folder->ExternalCatalogID() != 0 || IsTopFolder(*folder))) {
    throw AutomationError(err::kNotALinkedFolder, kComponentSource,
                          "folder " + id + " (" + folder->Name() +
                              ") is the top folder of a linked catalog: unlink takes the id of "
                              "the folder that links it, the one link printed");
  }
  if (IsExternalItemID(id) || folder->ExternalCatalogID() == 0) {
    throw AutomationError(err::kNotALinkedFolder, kComponentSource,
                          "folder " + id + " (" + folder->Name() +
                              ") links no catalog: unlink removes only a link (rm deletes a "
                              "folder)");
  }
  catalog.write().DeleteLinkedFolder(id, catalog.details());
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
