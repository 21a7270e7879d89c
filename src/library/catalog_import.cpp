// Writing a checked catalog document into a catalog: folders, clippings, categories, memberships
// and links are added through the services, all in one transaction, so that a failure (or a
// process that dies part-way) leaves the catalog as it was.
#include "library/catalog_import.h"

#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
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

// When and by whom an item marked deleted was deleted, as far as the document knows.
struct Deletion {
  std::optional<Date> at;
  bool by_known = false;
  std::string by;
};

Deletion DeletionOf(pugi::xml_node element) {
  return {internal::DeletedAt(element), static_cast<bool>(element.attribute(doc::kDeletedBy)),
          TextAttribute(element, doc::kDeletedBy)};
}

// Writes what a walk of the document meets, as it meets it: the folders and clippings in document
// order, then, with the walk done, the categories and links the check kept.
class Importer : public internal::DocumentVisitor {
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
    std::unique_ptr<internal::CheckedDocument> own;
    const internal::CheckedDocument* checked = document.checked();
    if (checked == nullptr) {
      // A document an export made: the walk of the check gives the references.
      internal::DocumentChecker checker;
      internal::WalkDocument(document.xml().document_element(), checker);
      own = checker.Finish();
      checked = own.get();
    }
    write().WriteAsOneTransaction(target_, details(), [&] {
      if (document.file().empty()) {
        internal::WalkDocument(document.xml().document_element(), *this);
      } else if (!internal::StreamDocument(document.file(), *this)) {
        internal::InvalidDocument("the file changed while it was imported: " + document.file());
      }
      AddCategories(checked->kept, checked->references);
      if (!as_child_ && is_top_) AddLinks(checked->kept);
    });
    return result_;
  }

  // The document's top folder goes to the target (merged, or as a new child of it); each folder
  // below it is added under its parent, and one marked deleted goes to the trash once what is
  // below it is in. Items marked deleted (and all below them) stay out without history, and those
  // in the trash are added without name checks: a deleted item may share its name with a live one.
  void FolderStart(pugi::xml_node element) override {
    if (open_.empty()) {
      std::string id;
      if (as_child_) {
        id = AddFolder(element, target_, "", false);
      } else {
        PrepareMerge(element);
        id = target_;
        progress_.Advance();
      }
      result_.folder_id = id;
      open_.push_back({id, "", false, false, {}});
      return;
    }
    const OpenFolder& parent = open_.back();
    const bool marked = !parent.left_out && internal::IsMarkedDeleted(element);
    if (parent.left_out || (marked && !with_history_)) {
      open_.push_back({"", "", false, true, {}});
      return;
    }
    const bool in_trash = parent.in_trash || marked;
    const std::string id = AddFolder(element, parent.id, parent.path, in_trash);
    std::optional<Deletion> deletion;
    if (marked) deletion = DeletionOf(element);
    open_.push_back(
        {id, (parent.path.empty() ? "" : parent.path + "/") + PathStep(RequiredName(element)),
         in_trash, false, std::move(deletion)});
  }

  void FolderEnd() override {
    const OpenFolder folder = std::move(open_.back());
    open_.pop_back();
    if (folder.deletion) Trash(*folder.deletion, folder.id, true);
  }

  void Clipping(pugi::xml_node element) override {
    const size_t number = next_clipping_++;
    const OpenFolder& folder = open_.back();
    if (folder.left_out) return;
    const bool marked = internal::IsMarkedDeleted(element);
    if (marked && !with_history_) return;
    const std::string id =
        AddClipping(element, number, folder.id, folder.path, folder.in_trash || marked);
    if (marked) Trash(DeletionOf(element), id, false);
  }

 private:
  struct OpenFolder {
    std::string id;    // in the catalog
    std::string path;  // of the folder in the document: "" for the top folder, else "A/B"
    bool in_trash;
    bool left_out;                     // below an item marked deleted, without history
    std::optional<Deletion> deletion;  // for a folder marked deleted
  };

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
  // Answers its id.
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

  // The document's clipping `number`, added to `folder` (the document's folder `in`); answers its
  // id, or "" when left out.
  std::string AddClipping(pugi::xml_node element, size_t number, const std::string& folder,
                          const std::string& in, bool in_trash) {
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
        clippings_[number] = replaced;
        return replaced;
      }
    }
    // Memberships are the live clippings'; the trash keeps none of its own.
    if (!in_trash) clippings_[number] = id;
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
  std::string Replace(const std::string& name, const std::string& folder,
                      const clipcat::Clipping& from) {
    const auto existing = read().GetClippingByName(name, folder, true, details());
    if (!existing) internal::InvalidDocument("no clipping named " + name + " to replace");
    existing->SetDescription(from.Description());
    existing->SetClippingData(from.ClippingData());
    write().UpdateClipping(existing, details(), true);
    return existing->ID();
  }

  // Moves an item marked deleted to the trash, with the time and user the document gives.
  void Trash(const Deletion& deletion, const std::string& id, bool is_folder) {
    if (is_folder) {
      write().DeleteFolder(id, details(), false);
    } else {
      write().DeleteClipping(id, details(), false);
    }
    if (deletion.at || deletion.by_known) {
      write().NoteDeletion(id, deletion.at.value_or(Date::Now()), deletion.by, details());
    }
    ++result_.counts.deleted;
    progress_.Advance();
  }

  void AddCategories(const pugi::xml_document& kept,
                     const internal::ClippingReferences& references) {
    const auto existing = read().GetCategoriesFromFolder(target_, details());
    // Names as the catalog compares them: a category of the document whose name differs from
    // an earlier one's only in case joins that one.
    std::vector<std::pair<std::string, std::string>> known;  // name, id
    for (const auto& category : *existing->Items()) {
      known.push_back({category->Name(), category->ID()});
    }
    for (pugi::xml_node element : kept.children(doc::kCategory)) {
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

  void AddLinks(const pugi::xml_document& kept) {
    for (pugi::xml_node element : kept.children(doc::kLink)) {
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
  std::vector<OpenFolder> open_;
  size_t next_clipping_ = 0;                              // the number of the next one met
  std::map<size_t, std::string> clippings_;               // document's number -> id in the catalog
  std::set<std::pair<std::string, std::string>> joined_;  // clipping, category
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
  if (!document.file().empty() && options.with_history && document.checked()->marked_after_live) {
    // The trash must go in before live items of the same names, which needs the whole document.
    std::ifstream in(document.file(), std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return ImportDocument(catalog, CatalogDocument::Parse(std::move(text).str()), into, progress,
                          options);
  }
  ProgressCounter counter(progress, internal::ImportSteps(document.counts(), options.with_history));
  return internal::ImportTree(catalog, document, target, false, options.with_history, counter,
                              options.on_conflict);
}

}  // namespace clipcat
