// mv: a folder or clipping to another folder. The services keep a folder's parent and a
// clipping's folder fixed, so a move is a copy into the new place followed by the permanent
// deletion of the original, in that order: a failure before the deletion leaves the original
// untouched and the copy removed again.
#include <ostream>

#include "automation/entity_objects.h"
#include "cli/catalog_document.h"
#include "cli/commands.h"
#include "cli/item_lookup.h"
#include "cli/progress.h"
#include "cli/session.h"
#include "util/errors.h"
#include "util/item_id.h"

namespace clipcat::cli {
namespace {

// How many parents a folder may have before the walk up the tree gives up: far beyond any real
// tree, and it keeps a damaged catalog whose parents run in a circle from looping for ever.
constexpr int kMaxDepth = 100000;

// A folder whose parent has the local key 0 is at the top of its catalog.
bool IsTopFolder(const Folder& folder) {
  const std::string& parent = folder.ParentID();
  return parent.empty() || GetLocalItemID(parent, std::stoi(GetCatalogIDFromItemID(parent))) == "0";
}

// True when `candidate` is `ancestor` or lies below it.
bool IsWithin(Session& session, std::string candidate, const std::string& ancestor) {
  for (int depth = 0; depth < kMaxDepth; ++depth) {
    if (candidate == ancestor) return true;
    const auto folder = FolderOrNothing(session, candidate);
    if (!folder || IsTopFolder(*folder)) return false;
    candidate = folder->ParentID();
  }
  Refuse("the parents of folder " + candidate + " run in a circle");
}

// The moved item's id, or its XML with --xml (asked for only then: data that XML cannot carry
// must not fail a move that has already been made).
template <typename Entity>
void PrintMoved(const Context& context, const Entity& moved) {
  context.out << (context.xml ? moved.XML() : moved.ID()) << "\n";
}

void MoveFolder(const Context& context, Session& session, const std::shared_ptr<Folder>& folder,
                const std::string& parent) {
  const std::string id = folder->ID();
  if (folder->ExternalCatalogID() != 0) Refuse("linked folder " + id + " stays at the top");
  if (IsTopFolder(*folder)) Refuse("folder " + id + " is the top folder of its catalog");
  if (folder->ParentID() == parent) {
    PrintMoved(context, *folder);
    return;
  }
  if (IsWithin(session, parent, id)) Refuse("folder " + id + " cannot move into itself");
  ProgressBar progress("mv", 1);
  pugi::xml_document document;
  progress.AddToTotal(ImportSteps(ExportFolderTree(session, id, false, document, progress)));
  const ImportResult copied = ImportDocument(session, document, parent, true, progress);
  session.Write("DeleteFolder", {Variant(id), Variant(true)});
  progress.Advance();
  const auto moved = Unwrap<Folder>(session.Read("GetFolder", {Variant(copied.folder_id)}));
  if (!moved) Refuse("the moved folder " + copied.folder_id + " cannot be read back");
  PrintMoved(context, *moved);
}

void MoveClipping(const Context& context, Session& session, const std::string& id,
                  const std::string& parent) {
  const auto original = RequireClipping(session, id, true);
  if (original->FolderID() == parent) {
    PrintMoved(context, *original);
    return;
  }
  const auto categories =
      Unwrap<Categories>(session.Read("GetCategoriesForClipping", {Variant(id)}));
  const auto copy = Clipping::Create();
  copy->SetName(original->Name());
  copy->SetDescription(original->Description());
  copy->SetClippingData(original->ClippingData());
  const auto added =
      Unwrap<Clipping>(session.Write("AddClipping", {Wrap(copy), Variant(parent), Variant(true)}));
  try {
    const bool same_catalog =
        session.Read("InSameCatalog", {Variant(id), Variant(added->ID())}).ToBoolean();
    for (const auto& category : *categories->Items()) {
      std::string category_id = category->ID();
      if (!same_catalog) {
        // Categories belong to a catalog: in another one the clipping joins the category of the
        // same name, made there when it is missing.
        auto there = CategoryNamed(session, added->ID(), category->Name());
        if (!there) {
          const auto made = Category::Create();
          made->SetName(category->Name());
          made->SetDescription(category->Description());
          there = Unwrap<Category>(
              session.Write("AddCategory", {Wrap(made), Variant(parent), Variant(true)}));
        }
        category_id = there->ID();
      }
      session.Write("AddClippingToCategory", {Variant(added->ID()), Variant(category_id)});
    }
  } catch (...) {
    IgnoreErrors([&] { session.Write("DeleteClipping", {Variant(added->ID()), Variant(true)}); });
    throw;
  }
  session.Write("DeleteClipping", {Variant(id), Variant(true)});
  PrintMoved(context, *added);
}

}  // namespace

void MoveCommand(const Context& context, const std::string& id, const std::string& parent) {
  Session session(context.selection);
  RequireFolder(session, parent);
  if (const auto folder = FolderOrNothing(session, id)) {
    MoveFolder(context, session, folder, parent);
    return;
  }
  MoveClipping(context, session, id, parent);
}

}  // namespace clipcat::cli
