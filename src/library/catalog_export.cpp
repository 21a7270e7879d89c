// Writing the catalog document: a folder subtree, its clippings with their data, categories with
// their members, and linked catalogs.
#include "library/catalog_export.h"

#include <map>
#include <set>
#include <utility>
#include <vector>

#include "entities/xml_io.h"
#include "library/catalog_document_internal.h"
#include "library/item_lookup.h"
#include "library/transfer_internal.h"
#include "util/base64.h"
#include "util/date.h"
#include "util/errors.h"

namespace clipcat {
namespace {

using internal::ProgressCounter;

// Names and descriptions that XML cannot carry (control characters from old catalogs) travel in
// base64, as data does: an export never fails on what the catalog holds.
using internal::SetTextAttribute;

void AppendData(pugi::xml_node clipping, const ClippingData& item) {
  pugi::xml_node data = clipping.append_child(doc::kData);
  data.append_attribute(doc::kType).set_value(item.ClippingDataType());
  const std::string& raw = item.RawData();
  if (xml::IsXmlText(raw)) {
    if (!raw.empty()) data.append_child(pugi::node_pcdata).set_value(raw.c_str(), raw.size());
    return;
  }
  data.append_attribute(doc::kEncoding).set_value(doc::kBase64);
  const std::string encoded = EncodeBase64(raw);
  data.append_child(pugi::node_pcdata).set_value(encoded.c_str(), encoded.size());
}

pugi::xml_node AppendClipping(pugi::xml_node folder, const Clipping& clipping) {
  pugi::xml_node element = folder.append_child(doc::kClipping);
  element.append_attribute(doc::kId).set_value(clipping.ID().c_str());
  SetTextAttribute(element, doc::kName, clipping.Name());
  SetTextAttribute(element, doc::kDescription, clipping.Description());
  for (const auto& item : *clipping.ClippingData()) {
    if (item) AppendData(element, *item);
  }
  return element;
}

// Marks the element of a trash entry with when and by whom it was deleted, as far as known.
void MarkDeleted(pugi::xml_node element, const TrashEntry& entry) {
  element.append_attribute(doc::kDeleted).set_value("1");
  if (entry.deleted) {
    element.append_attribute(doc::kDeletedAt).set_value(FormatIsoDate(*entry.deleted).c_str());
  }
  SetTextAttribute(element, doc::kDeletedBy, entry.deleted_by);
}

size_t CountFolders(const std::shared_ptr<Folder>& top) {
  size_t count = 0;
  std::vector<std::shared_ptr<Folder>> pending = {top};
  while (!pending.empty()) {
    const auto folder = pending.back();
    pending.pop_back();
    ++count;
    for (const auto& child : *folder->ChildFolders()) pending.push_back(child);
  }
  return count;
}

class Exporter {
 public:
  Exporter(Catalog& catalog, bool with_history, ProgressCounter& progress,
           std::vector<std::string>* unreadable = nullptr)
      : catalog_(catalog),
        with_history_(with_history),
        progress_(progress),
        unreadable_(unreadable) {
    root_ = xml_.append_child(doc::kRoot);
    root_.append_attribute(doc::kVersionAttribute).set_value(doc::kVersion);
  }

  CatalogDocument Run(const std::string& folder_id, bool whole_catalog) {
    if (with_history_) {
      for (TrashEntry& entry : catalog_.write().GetTrash(folder_id, catalog_.details())) {
        trash_.emplace(entry.id, std::move(entry));
      }
    }
    const auto top = with_history_
                         ? catalog_.read().GetChildFoldersWithTrash(folder_id, catalog_.details())
                         : catalog_.read().GetChildFolders(folder_id, catalog_.details(), false);
    progress_.AddToTotal(CountFolders(top));
    AppendTree(top);
    AppendCategories(folder_id, whole_catalog);
    if (whole_catalog) AppendLinks();
    return MakeCatalogDocument(std::move(xml_), counts_);
  }

 private:
  // The folders depth first, each folder's clippings before its child folders, without recursion
  // so that a deep tree cannot exhaust the stack.
  void AppendTree(const std::shared_ptr<Folder>& top) {
    std::vector<std::pair<std::shared_ptr<Folder>, pugi::xml_node>> pending = {{top, root_}};
    while (!pending.empty()) {
      auto [folder, under] = pending.back();
      pending.pop_back();
      pugi::xml_node element = under.append_child(doc::kFolder);
      SetTextAttribute(element, doc::kName, folder->Name());
      SetTextAttribute(element, doc::kDescription, folder->Description());
      ++counts_.folders;
      MarkIfDeleted(element, folder->ID());
      for (const auto& clipping : ReadableClippings(*folder)) {
        const pugi::xml_node written = AppendClipping(element, *clipping);
        written_.insert(clipping->ID());
        ++counts_.clippings;
        MarkIfDeleted(written, clipping->ID());
        if (with_history_) AppendVersions(written, clipping->ID());
      }
      const auto children = folder->ChildFolders()->Snapshot();
      for (auto it = children.rbegin(); it != children.rend(); ++it) {
        pending.push_back({*it, element});
      }
      progress_.Advance();
    }
  }

  std::vector<std::shared_ptr<Clipping>> ClippingsOf(const Folder& folder, bool with_data) {
    const auto clippings = with_history_ ? catalog_.read().GetClippingsFromFolderWithTrash(
                                               folder.ID(), catalog_.details(), with_data)
                                         : catalog_.read().GetClippingsFromFolder(
                                               folder.ID(), catalog_.details(), with_data);
    return clippings->Items()->Snapshot();
  }

  // The folder's clippings with their data. When some cannot be read and the caller asked to go
  // on, they are read one by one and those that fail are noted instead.
  std::vector<std::shared_ptr<Clipping>> ReadableClippings(const Folder& folder) {
    if (unreadable_ == nullptr) return ClippingsOf(folder, true);
    try {
      return ClippingsOf(folder, true);
    } catch (const AutomationError& e) {
      if (e.number() != err::kCatalogDamaged) throw;
    }
    std::vector<std::shared_ptr<Clipping>> listed;
    try {
      listed = ClippingsOf(folder, false);
    } catch (const AutomationError& e) {
      if (e.number() != err::kCatalogDamaged) throw;
      unreadable_->push_back(PathOf(folder.ID(), true) + "/*");
      return {};
    }
    std::vector<std::shared_ptr<Clipping>> readable;
    for (const auto& clipping : listed) {
      try {
        readable.push_back(catalog_.read().GetClipping(clipping->ID(), catalog_.details(), true));
      } catch (const AutomationError& e) {
        if (e.number() != err::kCatalogDamaged) throw;
        unreadable_->push_back(clipping->ID() + " " + clipping->Name() + " (in " +
                               PathOf(clipping->ID(), false) + ")");
      }
    }
    return readable;
  }

  // The item's path for the list of unreadable ones; its id when even that cannot be read.
  std::string PathOf(const std::string& id, bool folder) {
    try {
      return folder ? catalog_.read().GetFolderPathName(id, catalog_.details())
                    : catalog_.read().GetClippingPathName(id, catalog_.details());
    } catch (const AutomationError&) {
      return "(path unreadable)";
    }
  }

  void MarkIfDeleted(pugi::xml_node element, const std::string& id) {
    const auto entry = trash_.find(id);
    if (entry == trash_.end()) return;
    MarkDeleted(element, entry->second);
    ++counts_.deleted;
  }

  // The kept states of the clipping, oldest first, each with its data.
  void AppendVersions(pugi::xml_node clipping, const std::string& id) {
    for (const ClippingVersion& version :
         catalog_.read().GetClippingVersions(id, catalog_.details())) {
      const auto state =
          catalog_.read().GetClippingVersion(id, version.version, catalog_.details());
      if (state == nullptr) continue;  // dropped meanwhile
      pugi::xml_node element = clipping.append_child(doc::kVersionElement);
      element.append_attribute(doc::kNumber).set_value(version.version);
      element.append_attribute(doc::kSaved).set_value(FormatIsoDate(version.saved).c_str());
      SetTextAttribute(element, doc::kSavedBy, version.saved_by);
      SetTextAttribute(element, doc::kName, version.name);
      SetTextAttribute(element, doc::kDescription, version.description);
      for (const auto& item : *state->ClippingData()) {
        if (item) AppendData(element, *item);
      }
      ++counts_.versions;
    }
  }

  void AppendCategories(const std::string& folder_id, bool whole_catalog) {
    const auto categories = catalog_.read().GetCategoriesFromFolder(folder_id, catalog_.details());
    progress_.AddToTotal(categories->Items()->Count());
    for (const auto& category : *categories->Items()) {
      const auto members =
          catalog_.read().GetClippingsFromCategory(category->ID(), false, catalog_.details());
      std::vector<std::string> kept;
      for (const auto& member : *members->Items()) {
        if (written_.count(member->ID()) > 0) kept.push_back(member->ID());
      }
      progress_.Advance();
      if (kept.empty() && !whole_catalog) continue;
      pugi::xml_node element = root_.append_child(doc::kCategory);
      SetTextAttribute(element, doc::kName, category->Name());
      SetTextAttribute(element, doc::kDescription, category->Description());
      for (const std::string& id : kept) {
        element.append_child(doc::kMember)
            .append_attribute(doc::kMemberClipping)
            .set_value(id.c_str());
      }
      ++counts_.categories;
      counts_.memberships += kept.size();
    }
  }

  void AppendLinks() {
    const auto linked = catalog_.read().GetLinkedFolders(catalog_.details());
    for (const auto& folder : *linked->Items()) {
      // The catalog's own top folder is among them and links nothing.
      const auto details = catalog_.read().GetConnectionDetails(folder->ID(), catalog_.details());
      if (!details) continue;
      pugi::xml_node element = root_.append_child(doc::kLink);
      SetTextAttribute(element, doc::kName, folder->Name());
      SetTextAttribute(element, doc::kConnection, details->XML());
      ++counts_.links;
    }
  }

  Catalog& catalog_;
  const bool with_history_;
  ProgressCounter& progress_;
  std::map<std::string, TrashEntry> trash_;  // by item id, with history only
  pugi::xml_document xml_;
  pugi::xml_node root_;
  DocumentCounts counts_;
  std::set<std::string> written_;         // ids of the clippings written
  std::vector<std::string>* unreadable_;  // where skipped clippings go; null: raise
};

}  // namespace

namespace internal {

CatalogDocument ExportTree(Catalog& catalog, const std::string& folder_id, bool whole_catalog,
                           bool with_history, ProgressCounter& progress,
                           std::vector<std::string>* unreadable) {
  return Exporter(catalog, with_history, progress, unreadable).Run(folder_id, whole_catalog);
}

}  // namespace internal

CatalogDocument ExportCatalog(Catalog& catalog, const ProgressCallback& progress, bool with_history,
                              std::vector<std::string>* unreadable) {
  const std::string top = RequireTopFolder(catalog)->ID();
  ProgressCounter counter(progress, 0);
  return internal::ExportTree(catalog, top, true, with_history, counter, unreadable);
}

CatalogDocument ExportFolder(Catalog& catalog, const std::string& folder_id,
                             const ProgressCallback& progress, bool with_history) {
  ProgressCounter counter(progress, 0);
  return internal::ExportTree(catalog, folder_id, false, with_history, counter);
}

}  // namespace clipcat
