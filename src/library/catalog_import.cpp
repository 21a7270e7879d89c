// Writing a checked catalog document into a catalog: folders, clippings, categories, memberships
// and links are added through the services, and taken out again when anything fails.
#include "library/catalog_import.h"

#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "library/catalog_document_internal.h"
#include "library/item_lookup.h"
#include "library/transfer_internal.h"
#include "util/date.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat {
namespace {

using internal::ProgressCounter;
using internal::RequiredAttribute;
using internal::RequiredName;

// Everything the import added, in the order it must be taken out again: linked folders, then
// clippings and folders added to the target itself (a folder takes its subtree with it), then
// new categories, then the target's old name.
class Undo {
 public:
  explicit Undo(Catalog& catalog) : catalog_(catalog) {}
  Undo(const Undo&) = delete;
  Undo& operator=(const Undo&) = delete;

  void AddedLink(std::string id) { links_.push_back(std::move(id)); }
  void AddedClipping(std::string id) { clippings_.push_back(std::move(id)); }
  void AddedFolder(std::string id) { folders_.push_back(std::move(id)); }
  void AddedCategory(std::string id) { categories_.push_back(std::move(id)); }
  void Renamed(std::shared_ptr<Folder> folder, std::string name, std::string description) {
    renamed_ = std::move(folder);
    old_name_ = std::move(name);
    old_description_ = std::move(description);
  }

  // Each step on its own: one that fails must not keep the others from running.
  void Run() {
    ClippingDataWrite& write = catalog_.write();
    const auto& details = catalog_.details();
    for (const auto& id : links_) {
      IgnoreErrors([&] { write.DeleteLinkedFolder(id, details); });
    }
    for (const auto& id : clippings_) {
      IgnoreErrors([&] { write.DeleteClipping(id, details, true); });
    }
    for (const auto& id : folders_) {
      IgnoreErrors([&] { write.DeleteFolder(id, details, true); });
    }
    for (const auto& id : categories_) {
      IgnoreErrors([&] { write.DeleteCategory(id, details); });
    }
    if (renamed_) {
      IgnoreErrors([&] {
        renamed_->SetName(old_name_);
        renamed_->SetDescription(old_description_);
        write.UpdateFolder(renamed_, details, false);
      });
    }
  }

 private:
  Catalog& catalog_;
  std::vector<std::string> links_, clippings_, folders_, categories_;
  std::shared_ptr<Folder> renamed_;
  std::string old_name_, old_description_;
};

class Importer {
 public:
  Importer(Catalog& catalog, const std::string& target, bool as_child, bool with_history,
           ProgressCounter& progress)
      : catalog_(catalog),
        target_(target),
        as_child_(as_child),
        with_history_(with_history),
        progress_(progress),
        undo_(catalog) {}

  ImportResult Run(const CatalogDocument& document) {
    const pugi::xml_node root = document.xml().child(doc::kRoot);
    try {
      AddTree(root.child(doc::kFolder));
      AddCategories(root);
      if (!as_child_ && is_top_) AddLinks(root);
    } catch (...) {
      undo_.Run();
      throw;
    }
    return result_;
  }

 private:
  ClippingDataRead& read() { return catalog_.read(); }
  ClippingDataWrite& write() { return catalog_.write(); }
  const std::shared_ptr<ConnectionDetails>& details() const { return catalog_.details(); }

  // The target's catalog is new when the target is its top folder and holds nothing yet.
  void PrepareMerge(pugi::xml_node top) {
    const auto target = read().GetFolder(target_, details());
    if (!target) internal::InvalidDocument("no folder has the id " + target_);
    const auto catalog_top = read().GetCatalogsRootFolder(target_, details());
    is_top_ = catalog_top && catalog_top->ID() == target->ID();
    if (!is_top_) return;
    const auto children = read().GetChildrenFolders(target_, details(), false);
    const auto clippings = read().GetClippingsFromFolder(target_, details());
    if (children->Items()->Count() > 0 || clippings->Items()->Count() > 0) return;
    const std::string name = RequiredName(top);
    const std::string description = top.attribute(doc::kDescription).value();
    if (name == target->Name() && description == target->Description()) return;
    undo_.Renamed(target, target->Name(), target->Description());
    target->SetName(name);
    target->SetDescription(description);
    write().UpdateFolder(target, details(), false);
  }

  // Names in the trash are not checked: a deleted item may share its name with a live one.
  std::string AddFolder(pugi::xml_node element, const std::string& parent, bool undo,
                        bool in_trash) {
    const auto added =
        write().AddFolder(internal::ReadFolder(element), parent, details(), !in_trash);
    if (undo) undo_.AddedFolder(added->ID());
    ++result_.counts.folders;
    progress_.Advance();
    return added->ID();
  }

  std::string AddClipping(pugi::xml_node element, const std::string& folder, bool undo,
                          bool in_trash) {
    const auto added =
        write().AddClipping(internal::ReadClipping(element), folder, details(), !in_trash);
    if (undo) undo_.AddedClipping(added->ID());
    // Memberships are the live clippings'; the trash keeps none of its own.
    if (!in_trash) clippings_[element.attribute(doc::kId).value()] = added->ID();
    ++result_.counts.clippings;
    progress_.Advance();
    if (!with_history_) return added->ID();
    for (pugi::xml_node version : element.children(doc::kVersionElement)) {
      const auto [head, state] = internal::ReadVersion(version);
      write().AddClippingVersion(added->ID(), head, state, details());
      ++result_.counts.versions;
      progress_.Advance();
    }
    return added->ID();
  }

  // Moves an item marked deleted to the trash, with the time and user the document gives.
  void Trash(pugi::xml_node element, const std::string& id, bool is_folder) {
    if (is_folder) {
      write().DeleteFolder(id, details(), false);
    } else {
      write().DeleteClipping(id, details(), false);
    }
    const std::optional<Date> at = internal::DeletedAt(element);
    const pugi::xml_attribute by = element.attribute(doc::kDeletedBy);
    if (at || by) write().NoteDeletion(id, at.value_or(Date::Now()), by.value(), details());
    ++result_.counts.deleted;
    progress_.Advance();
  }

  // Depth first without recursion, in document order.
  void AddTree(pugi::xml_node top) {
    if (as_child_) {
      top_id_ = AddFolder(top, target_, true, false);
    } else {
      PrepareMerge(top);
      top_id_ = target_;
      progress_.Advance();
    }
    result_.folder_id = top_id_;
    AddBelow(top, top_id_);
  }

  // What the document's folder `top` holds, into the catalog's folder `top_id`: depth first
  // without recursion. In each folder the items marked deleted come first, each added and moved
  // to the trash at once (a folder once what is below it is in), so that a live item of the same
  // name never meets them; without history they stay out.
  void AddBelow(pugi::xml_node top, const std::string& top_id) {
    enum class Kind { kMarkedChildren, kLiveChildren, kTrash };
    struct Step {
      Kind kind;
      pugi::xml_node element;
      std::string id;
      bool in_trash;
    };
    const auto expand = [](std::vector<Step>& steps, pugi::xml_node folder, const std::string& id,
                           bool in_trash) {
      steps.push_back({Kind::kLiveChildren, folder, id, in_trash});
      steps.push_back({Kind::kMarkedChildren, folder, id, in_trash});
    };
    std::vector<Step> steps;
    expand(steps, top, top_id, false);
    while (!steps.empty()) {
      const Step step = steps.back();
      steps.pop_back();
      if (step.kind == Kind::kTrash) {
        Trash(step.element, step.id, true);
        continue;
      }
      // Only what is added to the merge target itself needs undoing; the rest goes with it.
      const bool undo = !as_child_ && step.id == top_id_;
      std::vector<std::vector<Step>> folders;  // the steps of each child folder, in order
      for (pugi::xml_node child : step.element.children()) {
        const std::string name = child.name();
        if (name != doc::kClipping && name != doc::kFolder) continue;
        const bool marked = internal::IsMarkedDeleted(child);
        if (marked != (step.kind == Kind::kMarkedChildren) || (marked && !with_history_)) continue;
        const bool in_trash = step.in_trash || marked;
        if (name == doc::kClipping) {
          const std::string id = AddClipping(child, step.id, undo, in_trash);
          if (marked) Trash(child, id, false);
          continue;
        }
        const std::string id = AddFolder(child, step.id, undo, in_trash);
        std::vector<Step>& group = folders.emplace_back();
        if (marked) group.push_back({Kind::kTrash, child, id, true});
        expand(group, child, id, in_trash);
      }
      // The first folder's steps go last, so that they are done first.
      for (auto it = folders.rbegin(); it != folders.rend(); ++it) {
        steps.insert(steps.end(), it->begin(), it->end());
      }
    }
  }

  void AddCategories(pugi::xml_node root) {
    const auto existing = read().GetCategoriesFromFolder(target_, details());
    // Names as the catalog compares them: a category of the document whose name differs from
    // an earlier one's only in case joins that one.
    std::vector<std::pair<std::string, std::string>> known;  // name, id
    for (const auto& category : *existing->Items()) {
      known.push_back({category->Name(), category->ID()});
    }
    for (pugi::xml_node element : root.children(doc::kCategory)) {
      const std::string name = RequiredName(element);
      std::string id;
      for (const auto& [known_name, known_id] : known) {
        if (EqualsIgnoreCase(known_name, name)) {
          id = known_id;
          break;
        }
      }
      if (id.empty()) {
        const auto category = Category::Create();
        category->SetName(name);
        category->SetDescription(element.attribute(doc::kDescription).value());
        id = write().AddCategory(category, target_, details(), true)->ID();
        undo_.AddedCategory(id);
        known.push_back({name, id});
        ++result_.counts.categories;
      }
      progress_.Advance();
      for (pugi::xml_node member : element.children(doc::kMember)) {
        progress_.Advance();
        const auto found = clippings_.find(member.attribute(doc::kMemberClipping).value());
        if (found == clippings_.end()) continue;  // a clipping of the trash
        const std::string& clipping = found->second;
        if (!joined_.insert({clipping, id}).second) continue;
        write().AddClippingToCategory(clipping, id, details());
        ++result_.counts.memberships;
      }
    }
  }

  void AddLinks(pugi::xml_node root) {
    for (pugi::xml_node element : root.children(doc::kLink)) {
      const auto connection = ConnectionDetails::Create();
      connection->SetXML(RequiredAttribute(element, doc::kConnection));
      const auto added = write().AddLinkedFolder(connection, RequiredName(element), details());
      undo_.AddedLink(added->ID());
      ++result_.counts.links;
      progress_.Advance();
    }
  }

  Catalog& catalog_;
  const std::string target_;
  const bool as_child_;
  const bool with_history_;
  ProgressCounter& progress_;
  Undo undo_;
  bool is_top_ = false;
  ImportResult result_;
  std::map<std::string, std::string> clippings_;          // document id -> id in the catalog
  std::set<std::pair<std::string, std::string>> joined_;  // clipping, category
  std::string top_id_;  // the folder that takes the document's top folder
};

}  // namespace

namespace internal {

ImportResult ImportTree(Catalog& catalog, const CatalogDocument& document,
                        const std::string& target, bool as_child, bool with_history,
                        ProgressCounter& progress) {
  return Importer(catalog, target, as_child, with_history, progress).Run(document);
}

}  // namespace internal

ImportResult ImportDocument(Catalog& catalog, const CatalogDocument& document,
                            const std::string& into, const ProgressCallback& progress,
                            bool with_history) {
  const std::string target = into.empty() ? RequireTopFolder(catalog)->ID() : into;
  RequireFolder(catalog, target);
  ProgressCounter counter(progress, internal::ImportSteps(document.counts(), with_history));
  return internal::ImportTree(catalog, document, target, false, with_history, counter);
}

}  // namespace clipcat
