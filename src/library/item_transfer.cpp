#include "library/item_transfer.h"

#include "library/catalog_document_internal.h"
#include "library/item_lookup.h"
#include "library/transfer_internal.h"
#include "util/errors.h"
#include "util/item_id.h"

namespace clipcat {
namespace {

using internal::ProgressCounter;

// How many parents a folder may have before the walk up the tree gives up: far beyond any real
// tree, and it keeps a damaged catalog whose parents run in a circle from looping for ever.
constexpr int kMaxDepth = 100000;

// True when `candidate` is `ancestor` or lies below it.
bool IsWithin(Catalog& catalog, std::string candidate, const std::string& ancestor) {
  for (int depth = 0; depth < kMaxDepth; ++depth) {
    if (candidate == ancestor) return true;
    const auto folder = FolderOrNothing(catalog, candidate);
    if (!folder || IsTopFolder(*folder)) return false;
    candidate = folder->ParentID();
  }
  Refuse("the parents of folder " + candidate + " run in a circle");
}

void RefuseLinkedFolder(const Folder& folder) {
  if (folder.ExternalCatalogID() != 0) Refuse("linked folder " + folder.ID() + " stays at the top");
}

// `verb` says what cannot be done: "move", "be copied".
void RefuseIntoItself(Catalog& catalog, const std::string& id, const std::string& parent,
                      const char* verb) {
  if (IsWithin(catalog, parent, id)) Refuse("folder " + id + " cannot " + verb + " into itself");
}

// The folder's subtree exported and imported again as a new child of `parent`; answers the new
// folder's id.
std::string CopyFolderTree(Catalog& catalog, const std::string& id, const std::string& parent,
                           ProgressCounter& progress) {
  const CatalogDocument document = internal::ExportTree(catalog, id, false, false, progress);
  progress.AddToTotal(internal::ImportSteps(document.counts(), false));
  return internal::ImportTree(catalog, document, parent, true, false, progress).folder_id;
}

// `done` says what was done to it: "moved", "copied".
std::shared_ptr<Folder> ReadBack(Catalog& catalog, const std::string& id, const char* done) {
  auto folder = catalog.read().GetFolder(id, catalog.details());
  if (!folder) Refuse(std::string("the ") + done + " folder " + id + " cannot be read back");
  return folder;
}

// A new clipping in `parent` with the original's name, description, data items and categories.
// Categories belong to a catalog: in another one the copy joins the category of the same name,
// made there when it is missing. One transaction: a failure leaves no part of the copy.
std::shared_ptr<Clipping> CopyClipping(Catalog& catalog, const Clipping& original,
                                       const std::string& parent) {
  const auto& details = catalog.details();
  const auto categories = catalog.read().GetCategoriesForClipping(original.ID(), details);
  const auto copy = Clipping::Create();
  copy->SetName(original.Name());
  copy->SetDescription(original.Description());
  copy->SetClippingData(original.ClippingData());
  std::shared_ptr<Clipping> added;
  catalog.write().WriteAsOneTransaction(parent, details, [&] {
    added = catalog.write().AddClipping(copy, parent, details, true);
    const bool same_catalog = catalog.read().InSameCatalog(original.ID(), added->ID(), details);
    for (const auto& category : *categories->Items()) {
      std::string category_id = category->ID();
      if (!same_catalog) {
        auto there = CategoryNamed(catalog, added->ID(), category->Name());
        if (!there) {
          const auto made = Category::Create();
          made->SetName(category->Name());
          made->SetDescription(category->Description());
          there = catalog.write().AddCategory(made, parent, details, true);
        }
        category_id = there->ID();
      }
      catalog.write().AddClippingToCategory(added->ID(), category_id, details);
    }
  });
  return added;
}

}  // namespace

TransferredItem CopyItem(Catalog& catalog, const std::string& id, const std::string& parent,
                         const ProgressCallback& progress) {
  RequireFolder(catalog, parent);
  if (const auto folder = FolderOrNothing(catalog, id)) {
    RefuseLinkedFolder(*folder);
    RefuseIntoItself(catalog, id, parent, "be copied");
    ProgressCounter counter(progress, 0);
    // Read back inside the copy's transaction: a call that fails leaves no copy behind.
    std::shared_ptr<Folder> copied;
    catalog.write().WriteAsOneTransaction(parent, catalog.details(), [&] {
      copied = ReadBack(catalog, CopyFolderTree(catalog, id, parent, counter), "copied");
    });
    return {copied, nullptr};
  }
  return {nullptr, CopyClipping(catalog, *RequireClipping(catalog, id, true), parent)};
}

TransferredItem MoveItem(Catalog& catalog, const std::string& id, const std::string& parent,
                         const ProgressCallback& progress) {
  const auto target = RequireFolder(catalog, parent);
  const auto& details = catalog.details();
  // A folder that links a catalog stands for that catalog's top folder.
  const bool same_catalog =
      target->ExternalCatalogID() == 0 && catalog.read().InSameCatalog(id, parent, details);
  if (const auto folder = FolderOrNothing(catalog, id)) {
    RefuseLinkedFolder(*folder);
    if (IsTopFolder(*folder)) Refuse("folder " + id + " is the top folder of its catalog");
    if (folder->ParentID() == parent) return {folder, nullptr};
    RefuseIntoItself(catalog, id, parent, "move");
    if (same_catalog) {
      // Read back inside the move's transaction: a call that fails leaves the folder where it was.
      std::shared_ptr<Folder> moved;
      catalog.write().WriteAsOneTransaction(parent, details, [&] {
        catalog.write().MoveFolder(id, parent, details);
        moved = ReadBack(catalog, id, "moved");
      });
      return {moved, nullptr};
    }
    // One count from the export through the deletion, which is its last step. The copy is one
    // transaction and the deletion another, in that order: a move cut short between them leaves
    // both, never neither.
    ProgressCounter counter(progress, 1);
    const std::string copied = CopyFolderTree(catalog, id, parent, counter);
    catalog.write().DeleteFolder(id, details, true);
    counter.Advance();
    return {ReadBack(catalog, copied, "moved"), nullptr, true};
  }
  const auto original = RequireClipping(catalog, id, true);
  if (original->FolderID() == parent) return {nullptr, original};
  if (same_catalog) {
    std::shared_ptr<Clipping> moved;
    catalog.write().WriteAsOneTransaction(parent, details, [&] {
      catalog.write().MoveClipping(id, parent, details);
      moved = RequireClipping(catalog, id, false);
    });
    return {nullptr, moved};
  }
  auto added = CopyClipping(catalog, *original, parent);
  catalog.write().DeleteClipping(id, details, true);
  return {nullptr, added, true};
}

}  // namespace clipcat
