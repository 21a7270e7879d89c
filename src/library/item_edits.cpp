#include "library/item_edits.h"

#include <functional>

#include "library/item_lookup.h"
#include "library/item_names.h"
#include "library/linked_catalog_status.h"
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

// Tries to make a category this many times when other writers make one of the same name at the
// same moment; each failed try finds theirs on the next look.
constexpr int kCategoryTries = 3;

bool IsMember(Catalog& catalog, const std::string& clipping, const std::string& category) {
  const auto categories = catalog.read().GetCategoriesForClipping(clipping, catalog.details());
  for (const auto& each : *categories->Items()) {
    if (each->ID() == category) return true;
  }
  return false;
}

// The category named `name` (without regard to case) of the catalog that holds `clipping`, made
// when there is none. Two writers making the same new name at once both end up with the one
// category: the store refuses the second name, which then finds the first.
std::shared_ptr<Category> CategoryForTagging(Catalog& catalog, const Clipping& clipping,
                                             const std::string& name) {
  RequireUsableName(name, "category");
  for (int attempt = 1;; ++attempt) {
    if (auto existing = CategoryNamed(catalog, clipping.ID(), name)) return existing;
    const auto created = Category::Create();
    created->SetName(name);
    try {
      return catalog.write().AddCategory(created, clipping.FolderID(), catalog.details());
    } catch (const AutomationError&) {
      if (attempt >= kCategoryTries) throw;
    }
  }
}

}  // namespace

std::shared_ptr<Folder> AddFolderNamed(Catalog& catalog, const std::string& parent,
                                       const std::string& name) {
  RequireUsableName(name, "folder");
  RequireFolder(catalog, parent);
  const auto folder = Folder::Create();
  folder->SetName(name);
  return catalog.write().AddFolder(folder, parent, catalog.details(), true);
}

std::shared_ptr<Clipping> AddClippingTo(Catalog& catalog, const std::string& folder,
                                        const std::shared_ptr<Clipping>& clipping) {
  RequireUsableName(clipping->Name(), "clipping");
  RequireFolder(catalog, folder);
  return catalog.write().AddClipping(clipping, folder, catalog.details(), true);
}

void RenameItem(Catalog& catalog, const std::string& id, const std::string& name) {
  if (const auto folder = FolderOrNothing(catalog, id)) {
    RequireUsableName(name, "folder");
    folder->SetName(name);
    catalog.write().UpdateFolder(folder, catalog.details(), true);
    return;
  }
  const auto clipping = RequireClipping(catalog, id, false);
  RequireUsableName(name, "clipping");
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

std::shared_ptr<Folder> LinkCatalog(Catalog& catalog, const std::string& name,
                                    const std::shared_ptr<ConnectionDetails>& linked,
                                    bool check_reachable) {
  RequireUsableName(name, "folder");
  if (check_reachable) RequireCatalogReachable(linked);
  return catalog.write().AddLinkedFolder(linked, name, catalog.details());
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
  std::shared_ptr<Category> found;
  // A new category and its first member come together: a failure leaves neither.
  catalog.write().WriteAsOneTransaction(tagged->FolderID(), catalog.details(), [&] {
    found = CategoryForTagging(catalog, *tagged, category);
    if (IsMember(catalog, clipping, found->ID())) return;
    try {
      catalog.write().AddClippingToCategory(clipping, found->ID(), catalog.details());
    } catch (const AutomationError&) {
      // Another writer may have put it there meanwhile: then it is where it was asked to be.
      if (!IsMember(catalog, clipping, found->ID())) throw;
    }
  });
  return found;
}

namespace {

// Runs `body` as one transaction of the catalog of the first of `clippings` (each a clipping's
// id), which those of the same catalog join; a clipping of another catalog gets one of its own.
void InTransactionOfFirst(Catalog& catalog, const std::vector<std::string>& clippings,
                          const std::function<void()>& body) {
  const auto first = RequireClipping(catalog, clippings.front(), false);
  catalog.write().WriteAsOneTransaction(first->FolderID(), catalog.details(), body);
}

}  // namespace

std::shared_ptr<Category> TagClippings(Catalog& catalog, const std::vector<std::string>& clippings,
                                       const std::string& category) {
  if (clippings.empty()) Refuse("tagging needs at least one clipping");
  for (const std::string& id : clippings) RequireClipping(catalog, id, false);
  std::shared_ptr<Category> last;
  InTransactionOfFirst(catalog, clippings, [&] {
    for (const std::string& id : clippings) last = TagClipping(catalog, id, category);
  });
  return last;
}

void UntagClipping(Catalog& catalog, const std::string& clipping, const std::string& category) {
  RequireClipping(catalog, clipping, false);
  const auto existing = CategoryNamed(catalog, clipping, category);
  if (!existing) Refuse("no category is named " + category);
  catalog.write().DeleteClippingFromCategory(clipping, existing->ID(), catalog.details());
}

void UntagClippings(Catalog& catalog, const std::vector<std::string>& clippings,
                    const std::string& category) {
  if (clippings.empty()) Refuse("untagging needs at least one clipping");
  for (const std::string& id : clippings) RequireClipping(catalog, id, false);
  InTransactionOfFirst(catalog, clippings, [&] {
    for (const std::string& id : clippings) UntagClipping(catalog, id, category);
  });
}

}  // namespace clipcat
