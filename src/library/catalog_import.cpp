// Writing a checked catalog document into a catalog: folders, clippings, categories, memberships
// and links are added through the services, all in one transaction, so that a failure (or a
// process that dies part-way) leaves the catalog as it was.
#include "library/catalog_import.h"

#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "engine/case_folding.h"
#include "library/catalog_document_internal.h"
#include "library/item_lookup.h"
#include "library/item_paths.h"
#include "library/transfer_internal.h"
#include "util/date.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat {
namespace {

using internal::ProgressCounter;
using internal::RequiredAttribute;
using internal::RequiredName;
using internal::TextAttribute;

constexpr const char* kUnnamed = "(unnamed)";

// `name` as the library would take it: each control character (C0, DEL, C1) a space, spaces
// around it dropped, and a name left blank "(unnamed)". A usable name comes back as it is.
std::string FixedName(const std::string& name) {
  std::string fixed;
  for (size_t at = 0; at < name.size(); ++at) {
    const auto byte = static_cast<unsigned char>(name[at]);
    if (byte < 0x20 || byte == 0x7F) {
      fixed += ' ';
    } else if (byte == 0xC2 && at + 1 < name.size() &&
               static_cast<unsigned char>(name[at + 1]) >= 0x80 &&
               static_cast<unsigned char>(name[at + 1]) <= 0x9F) {
      fixed += ' ';
      ++at;
    } else {
      fixed += name[at];
    }
  }
  fixed = TrimSpaces(fixed);
  return fixed.empty() ? kUnnamed : fixed;
}

// Whether two names are the same name to the catalog: spaces around them do not count, case does
// not either.
bool SameName(const std::string& a, const std::string& b) {
  return CompareFoldedCase(TrimSpaces(a), TrimSpaces(b)) == 0;
}

// "NAME (n)".
std::string Numbered(const std::string& name, int n) {
  return name + " (" + std::to_string(n) + ")";
}

// How many names rename and fix-ups try before giving up.
constexpr int kMaxNumber = 10000;

bool IsNameTaken(const AutomationError& error) {
  return error.number() == err::kClippingNameNotUnique ||
         error.number() == err::kFolderNameNotUnique;
}

class Importer {
 public:
  Importer(Catalog& catalog, const std::string& target, bool as_child, bool with_history,
           OnConflict on_conflict, ProgressCounter& progress)
      : catalog_(catalog),
        target_(target),
        as_child_(as_child),
        with_history_(with_history),
        on_conflict_(on_conflict),
        progress_(progress) {}

  ImportResult Run(const CatalogDocument& document) {
    const pugi::xml_node root = document.xml().child(doc::kRoot);
    const internal::ClippingReferences references(root);
    write().WriteAsOneTransaction(target_, details(), [&] {
      AddTree(root.child(doc::kFolder));
      AddCategories(root, references);
      if (!as_child_ && is_top_) AddLinks(root);
    });
    return result_;
  }

 private:
  ClippingDataRead& read() { return catalog_.read(); }
  ClippingDataWrite& write() { return catalog_.write(); }
  const std::shared_ptr<ConnectionDetails>& details() const { return catalog_.details(); }

  void Note(ImportNote::Kind kind, const char* what, const std::string& folder,
            const std::string& name, const std::string& new_name = "") {
    result_.notes.push_back({kind, what, folder, name, new_name});
  }

  // Adds a live item that the document names `name` with `add`, under its name fixed up when the
  // library would refuse it. When that name is taken and the item is to be renamed (or its name
  // was fixed up, which must not fail on a second "(unnamed)"), tries "NAME (2)", "NAME (3)", ...
  // Notes a fix or a rename. Answers the added item's id, or "" when the name is taken and the
  // item is to be skipped, merged or replaced (the caller's to do; only a usable name gets there).
  template <typename Add>
  std::string AddNamed(const std::string& name, const char* what, const std::string& folder,
                       Add add) {
    const std::string fixed = FixedName(name);
    const auto added = [&](const std::string& id, const std::string& as) {
      if (as != name) {
        Note(fixed != name ? ImportNote::Kind::kNameFixed : ImportNote::Kind::kRenamed, what,
             folder, name, as);
      }
      return id;
    };
    try {
      return added(add(fixed), fixed);
    } catch (const AutomationError& error) {
      if (!IsNameTaken(error)) throw;
      if (on_conflict_ != OnConflict::kRename && fixed == name) {
        if (on_conflict_ == OnConflict::kFail) throw;
        return "";
      }
      for (int n = 2; n <= kMaxNumber; ++n) {
        try {
          return added(add(Numbered(fixed, n)), Numbered(fixed, n));
        } catch (const AutomationError& again) {
          if (!IsNameTaken(again)) throw;
        }
      }
      throw;
    }
  }

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
    // A document made from a directory or JSON has a top folder without a name.
    const std::string raw_name = RequiredName(top);
    if (raw_name.empty()) return;
    const std::string name = FixedName(raw_name);
    if (name != raw_name) Note(ImportNote::Kind::kNameFixed, "folder", "", raw_name, name);
    const std::string description = TextAttribute(top, doc::kDescription);
    if (name == target->Name() && description == target->Description()) return;
    target->SetName(name);
    target->SetDescription(description);
    write().UpdateFolder(target, details(), false);
  }

  // A folder of the document, added under `parent` (the document's folder `in`, "" for its top).
  // Answers its id. Names in the trash are not checked: a deleted item may share its name with a
  // live one.
  std::string AddFolder(pugi::xml_node element, const std::string& parent, const std::string& in,
                        bool in_trash) {
    const auto folder = internal::ReadFolder(element);
    std::string id;
    if (in_trash) {
      id = write().AddFolder(folder, parent, details(), false)->ID();
    } else {
      const std::string name = folder->Name();
      id = AddNamed(name, "folder", in, [&](const std::string& as) {
        folder->SetName(as);
        return write().AddFolder(folder, parent, details(), true)->ID();
      });
      if (id.empty()) {
        const std::string existing = ChildFolderNamed(parent, name);
        if (existing.empty()) internal::InvalidDocument("no folder named " + name + " to merge");
        Note(ImportNote::Kind::kMerged, "folder", in, name);
        progress_.Advance();
        return existing;
      }
    }
    ++result_.counts.folders;
    progress_.Advance();
    return id;
  }

  std::string ChildFolderNamed(const std::string& parent, const std::string& name) {
    const auto children = read().GetChildrenFolders(parent, details(), false);
    for (const auto& child : *children->Items()) {
      if (SameName(child->Name(), name)) return child->ID();
    }
    return "";
  }

  // A clipping of the document, added to `folder` (the document's folder `in`); answers its id,
  // or "" when left out.
  std::string AddClipping(pugi::xml_node element, const std::string& folder, const std::string& in,
                          bool in_trash) {
    const auto clipping = internal::ReadClipping(element);
    std::string id;
    if (in_trash) {
      id = write().AddClipping(clipping, folder, details(), false)->ID();
    } else {
      const std::string name = clipping->Name();
      id = AddNamed(name, "clipping", in, [&](const std::string& as) {
        clipping->SetName(as);
        return write().AddClipping(clipping, folder, details(), true)->ID();
      });
      if (id.empty()) {
        progress_.Advance();
        if (on_conflict_ == OnConflict::kSkip) {
          Note(ImportNote::Kind::kSkipped, "clipping", in, name);
          return "";
        }
        const std::string replaced = Replace(name, folder, *clipping);
        Note(ImportNote::Kind::kReplaced, "clipping", in, name);
        clippings_[element] = replaced;
        return replaced;
      }
    }
    // Memberships are the live clippings'; the trash keeps none of its own.
    if (!in_trash) clippings_[element] = id;
    ++result_.counts.clippings;
    progress_.Advance();
    if (!with_history_) return id;
    for (pugi::xml_node version : element.children(doc::kVersionElement)) {
      const auto [head, state] = internal::ReadVersion(version);
      write().AddClippingVersion(id, head, state, details());
      ++result_.counts.versions;
      progress_.Advance();
    }
    return id;
  }

  // Gives the clipping named `name` in `folder` the description and data of `from`; the services
  // keep its old state as a version.
  std::string Replace(const std::string& name, const std::string& folder, const Clipping& from) {
    const auto existing = read().GetClippingByName(name, folder, true, details());
    if (!existing) internal::InvalidDocument("no clipping named " + name + " to replace");
    existing->SetDescription(from.Description());
    existing->SetClippingData(from.ClippingData());
    write().UpdateClipping(existing, details(), true);
    return existing->ID();
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
    if (at || by) {
      write().NoteDeletion(id, at.value_or(Date::Now()), TextAttribute(element, doc::kDeletedBy),
                           details());
    }
    ++result_.counts.deleted;
    progress_.Advance();
  }

  // Depth first without recursion, in document order.
  void AddTree(pugi::xml_node top) {
    if (as_child_) {
      top_id_ = AddFolder(top, target_, "", false);
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
      std::string path;  // of the folder in the document: "" for the top folder, else "A/B"
    };
    const auto expand = [](std::vector<Step>& steps, pugi::xml_node folder, const std::string& id,
                           bool in_trash, const std::string& path) {
      steps.push_back({Kind::kLiveChildren, folder, id, in_trash, path});
      steps.push_back({Kind::kMarkedChildren, folder, id, in_trash, path});
    };
    std::vector<Step> steps;
    expand(steps, top, top_id, false, "");
    while (!steps.empty()) {
      const Step step = steps.back();
      steps.pop_back();
      if (step.kind == Kind::kTrash) {
        Trash(step.element, step.id, true);
        continue;
      }
      std::vector<std::vector<Step>> folders;  // the steps of each child folder, in order
      for (pugi::xml_node child : step.element.children()) {
        const std::string name = child.name();
        if (name != doc::kClipping && name != doc::kFolder) continue;
        const bool marked = internal::IsMarkedDeleted(child);
        if (marked != (step.kind == Kind::kMarkedChildren) || (marked && !with_history_)) continue;
        const bool in_trash = step.in_trash || marked;
        if (name == doc::kClipping) {
          const std::string id = AddClipping(child, step.id, step.path, in_trash);
          if (marked) Trash(child, id, false);
          continue;
        }
        const std::string id = AddFolder(child, step.id, step.path, in_trash);
        const std::string path =
            (step.path.empty() ? "" : step.path + "/") + PathStep(RequiredName(child));
        std::vector<Step>& group = folders.emplace_back();
        if (marked) group.push_back({Kind::kTrash, child, id, true, path});
        expand(group, child, id, in_trash, path);
      }
      // The first folder's steps go last, so that they are done first.
      for (auto it = folders.rbegin(); it != folders.rend(); ++it) {
        steps.insert(steps.end(), it->begin(), it->end());
      }
    }
  }

  void AddCategories(pugi::xml_node root, const internal::ClippingReferences& references) {
    const auto existing = read().GetCategoriesFromFolder(target_, details());
    // Names as the catalog compares them: a category of the document whose name differs from
    // an earlier one's only in case joins that one.
    std::vector<std::pair<std::string, std::string>> known;  // name, id
    for (const auto& category : *existing->Items()) {
      known.push_back({category->Name(), category->ID()});
    }
    for (pugi::xml_node element : root.children(doc::kCategory)) {
      const std::string raw_name = RequiredName(element);
      const std::string name = FixedName(raw_name);
      std::string id;
      for (const auto& [known_name, known_id] : known) {
        if (SameName(known_name, name)) {
          id = known_id;
          break;
        }
      }
      if (id.empty()) {
        if (name != raw_name) Note(ImportNote::Kind::kNameFixed, "category", "", raw_name, name);
        const auto category = Category::Create();
        category->SetName(name);
        category->SetDescription(TextAttribute(element, doc::kDescription));
        id = write().AddCategory(category, target_, details(), true)->ID();
        known.push_back({name, id});
        ++result_.counts.categories;
      }
      progress_.Advance();
      for (pugi::xml_node member : element.children(doc::kMember)) {
        progress_.Advance();
        // A clipping of the trash, or one left out.
        const auto found = clippings_.find(references.Find(member));
        if (found == clippings_.end()) continue;
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
      connection->SetXML(TextAttribute(element, doc::kConnection));
      const std::string name = RequiredName(element);
      const std::string id = AddNamed(name, "link", "", [&](const std::string& as) {
        return write().AddLinkedFolder(connection, as, details())->ID();
      });
      progress_.Advance();
      if (id.empty()) {
        Note(ImportNote::Kind::kSkipped, "link", "", name);
        continue;
      }
      ++result_.counts.links;
    }
  }

  Catalog& catalog_;
  const std::string target_;
  const bool as_child_;
  const bool with_history_;
  const OnConflict on_conflict_;
  ProgressCounter& progress_;
  bool is_top_ = false;
  ImportResult result_;
  std::map<pugi::xml_node, std::string> clippings_;       // document element -> id in the catalog
  std::set<std::pair<std::string, std::string>> joined_;  // clipping, category
  std::string top_id_;  // the folder that takes the document's top folder
};

}  // namespace

namespace internal {

ImportResult ImportTree(Catalog& catalog, const CatalogDocument& document,
                        const std::string& target, bool as_child, bool with_history,
                        ProgressCounter& progress, OnConflict on_conflict) {
  return Importer(catalog, target, as_child, with_history, on_conflict, progress).Run(document);
}

}  // namespace internal

ImportResult ImportDocument(Catalog& catalog, const CatalogDocument& document,
                            const std::string& into, const ProgressCallback& progress,
                            const ImportOptions& options) {
  const std::string target = into.empty() ? RequireTopFolder(catalog)->ID() : into;
  RequireFolder(catalog, target);
  ProgressCounter counter(progress, internal::ImportSteps(document.counts(), options.with_history));
  return internal::ImportTree(catalog, document, target, false, options.with_history, counter,
                              options.on_conflict);
}

}  // namespace clipcat
