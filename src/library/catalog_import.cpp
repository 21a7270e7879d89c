// Writing a checked catalog document into a catalog: folders, clippings, categories, memberships
// and links are added through the services, and taken out again when anything fails.
#include "library/catalog_import.h"

#include <map>
#include <set>
#include <utility>
#include <vector>

#include "library/catalog_document_internal.h"
#include "library/item_lookup.h"
#include "library/transfer_internal.h"
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
  Importer(Catalog& catalog, const std::string& target, bool as_child, ProgressCounter& progress)
      : catalog_(catalog),
        target_(target),
        as_child_(as_child),
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

  std::string AddFolder(pugi::xml_node element, const std::string& parent, bool undo) {
    const auto added = write().AddFolder(internal::ReadFolder(element), parent, details(), true);
    if (undo) undo_.AddedFolder(added->ID());
    ++result_.counts.folders;
    progress_.Advance();
    return added->ID();
  }

  void AddClipping(pugi::xml_node element, const std::string& folder, bool undo) {
    const auto added =
        write().AddClipping(internal::ReadClipping(element), folder, details(), true);
    if (undo) undo_.AddedClipping(added->ID());
    clippings_[element.attribute(doc::kId).value()] = added->ID();
    ++result_.counts.clippings;
    progress_.Advance();
  }

  // Depth first without recursion, in document order.
  void AddTree(pugi::xml_node top) {
    std::string top_id;
    if (as_child_) {
      top_id = AddFolder(top, target_, true);
    } else {
      PrepareMerge(top);
      top_id = target_;
      progress_.Advance();
    }
    result_.folder_id = top_id;
    std::vector<std::pair<pugi::xml_node, std::string>> pending = {{top, top_id}};
    while (!pending.empty()) {
      const auto [element, id] = pending.back();
      pending.pop_back();
      // Only what is added to the merge target itself needs undoing; the rest goes with it.
      const bool undo = !as_child_ && id == top_id;
      std::vector<std::pair<pugi::xml_node, std::string>> folders;
      for (pugi::xml_node child : element.children()) {
        if (std::string(child.name()) == doc::kClipping) AddClipping(child, id, undo);
        if (std::string(child.name()) == doc::kFolder) {
          folders.push_back({child, AddFolder(child, id, undo)});
        }
      }
      for (auto it = folders.rbegin(); it != folders.rend(); ++it) pending.push_back(*it);
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
        const std::string& clipping = clippings_.at(member.attribute(doc::kMemberClipping).value());
        progress_.Advance();
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
  ProgressCounter& progress_;
  Undo undo_;
  bool is_top_ = false;
  ImportResult result_;
  std::map<std::string, std::string> clippings_;          // document id -> id in the catalog
  std::set<std::pair<std::string, std::string>> joined_;  // clipping, category
};

}  // namespace

namespace internal {

ImportResult ImportTree(Catalog& catalog, const CatalogDocument& document,
                        const std::string& target, bool as_child, ProgressCounter& progress) {
  return Importer(catalog, target, as_child, progress).Run(document);
}

}  // namespace internal

ImportResult ImportDocument(Catalog& catalog, const CatalogDocument& document,
                            const std::string& into, const ProgressCallback& progress) {
  const std::string target = into.empty() ? RequireTopFolder(catalog)->ID() : into;
  RequireFolder(catalog, target);
  ProgressCounter counter(progress, internal::ImportSteps(document.counts()));
  return internal::ImportTree(catalog, document, target, false, counter);
}

}  // namespace clipcat
