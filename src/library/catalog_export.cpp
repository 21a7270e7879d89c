// Writing the catalog document: a folder subtree, its clippings with their data, categories with
// their members, and linked catalogs.
#include "library/catalog_export.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
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

// Where the exporter puts the elements it makes, in document order: each is made under Parent();
// a folder (or the root) is opened before what it holds and closed after it, any other element
// is handed over once complete.
class ElementSink {
 public:
  virtual ~ElementSink() = default;
  virtual pugi::xml_node Parent() = 0;
  // `element`, just made under Parent(), holds what comes until the matching Close(); nothing when
  // `empty`.
  virtual void Open(pugi::xml_node element, bool empty) = 0;
  virtual void Close() = 0;
  virtual void Done(pugi::xml_node element) = 0;
};

// The elements kept in one document, for a CatalogDocument held whole.
class TreeSink : public ElementSink {
 public:
  pugi::xml_node Parent() override { return open_.empty() ? xml_ : open_.back(); }
  void Open(pugi::xml_node element, bool) override { open_.push_back(element); }
  void Close() override { open_.pop_back(); }
  void Done(pugi::xml_node) override {}
  pugi::xml_document TakeDocument() { return std::move(xml_); }

 private:
  pugi::xml_document xml_;
  std::vector<pugi::xml_node> open_;
};

// The elements printed as CatalogDocument::Write prints the whole document, each as soon as it is
// complete and then dropped: the memory an export needs is that of its largest clipping.
class PrintingSink : public ElementSink {
 public:
  explicit PrintingSink(std::ostream& out) : out_(out) { xml::SaveDeclaration(out_); }
  pugi::xml_node Parent() override { return scratch_; }
  void Open(pugi::xml_node element, bool empty) override {
    if (empty) {
      xml::SaveIndentedElement(element, Depth(), out_);
    } else {
      xml::SaveIndentedStartTag(element, Depth(), out_);
    }
    open_.push_back(empty ? "" : element.name());
    scratch_.reset();
  }
  void Close() override {
    const std::string name = std::move(open_.back());
    open_.pop_back();
    if (!name.empty()) xml::SaveIndentedEndTag(name.c_str(), Depth(), out_);
  }
  void Done(pugi::xml_node element) override {
    xml::SaveIndentedElement(element, Depth(), out_);
    scratch_.reset();
  }

 private:
  unsigned Depth() const { return static_cast<unsigned>(open_.size()); }

  std::ostream& out_;
  pugi::xml_document scratch_;
  std::vector<std::string> open_;  // the names of the open elements; "" for one printed empty
};

// The ids of the clippings written, compact: a catalog's ids are numbers, kept as such (8 bytes
// each, sorted once all are in); any other id is kept as text.
class WrittenIds {
 public:
  void Add(const std::string& id) {
    const std::optional<int64_t> number = Number(id);
    if (number) {
      numbers_.push_back(*number);
      sorted_ = false;
    } else {
      others_.insert(id);
    }
  }

  bool Holds(const std::string& id) {
    const std::optional<int64_t> number = Number(id);
    if (!number) return others_.count(id) > 0;
    if (!sorted_) {
      std::sort(numbers_.begin(), numbers_.end());
      sorted_ = true;
    }
    return std::binary_search(numbers_.begin(), numbers_.end(), *number);
  }

 private:
  // The id as a number when it is the decimal digits of one, written without leading zeros.
  static std::optional<int64_t> Number(const std::string& id) {
    if (id.empty() || id.size() > 18 || (id[0] == '0' && id.size() > 1)) return std::nullopt;
    int64_t value = 0;
    for (const char c : id) {
      if (c < '0' || c > '9') return std::nullopt;
      value = value * 10 + (c - '0');
    }
    return value;
  }

  std::vector<int64_t> numbers_;
  bool sorted_ = true;
  std::set<std::string> others_;
};

class Exporter {
 public:
  Exporter(Catalog& catalog, bool with_history, ProgressCounter& progress, ElementSink& sink,
           std::vector<std::string>* unreadable = nullptr)
      : catalog_(catalog),
        with_history_(with_history),
        progress_(progress),
        sink_(sink),
        unreadable_(unreadable) {}

  DocumentCounts Run(const std::string& folder_id, bool whole_catalog) {
    if (with_history_) {
      for (TrashEntry& entry : catalog_.write().GetTrash(folder_id, catalog_.details())) {
        trash_.emplace(entry.id, std::move(entry));
      }
    }
    const auto top = with_history_
                         ? catalog_.read().GetChildFoldersWithTrash(folder_id, catalog_.details())
                         : catalog_.read().GetChildFolders(folder_id, catalog_.details(), false);
    progress_.AddToTotal(CountFolders(top));
    pugi::xml_node root = sink_.Parent().append_child(doc::kRoot);
    root.append_attribute(doc::kVersionAttribute).set_value(doc::kVersion);
    sink_.Open(root, false);
    AppendTree(top);
    AppendCategories(folder_id, whole_catalog);
    if (whole_catalog) AppendLinks();
    sink_.Close();
    return counts_;
  }

 private:
  // The folders depth first, each folder's clippings before its child folders, without recursion
  // so that a deep tree cannot exhaust the stack. A null folder closes the one last opened.
  void AppendTree(const std::shared_ptr<Folder>& top) {
    std::vector<std::shared_ptr<Folder>> pending = {top};
    while (!pending.empty()) {
      const auto folder = pending.back();
      pending.pop_back();
      if (!folder) {
        sink_.Close();
        continue;
      }
      pugi::xml_node element = sink_.Parent().append_child(doc::kFolder);
      SetTextAttribute(element, doc::kName, folder->Name());
      SetTextAttribute(element, doc::kDescription, folder->Description());
      ++counts_.folders;
      MarkIfDeleted(element, folder->ID());
      const auto clippings = ReadableClippings(*folder);
      const auto children = folder->ChildFolders()->Snapshot();
      sink_.Open(element, clippings.empty() && children.empty());
      for (const auto& clipping : clippings) {
        const pugi::xml_node written = AppendClipping(sink_.Parent(), *clipping);
        written_.Add(clipping->ID());
        ++counts_.clippings;
        MarkIfDeleted(written, clipping->ID());
        if (with_history_) AppendVersions(written, clipping->ID());
        sink_.Done(written);
      }
      pending.push_back(nullptr);
      for (auto it = children.rbegin(); it != children.rend(); ++it) pending.push_back(*it);
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
        if (written_.Holds(member->ID())) kept.push_back(member->ID());
      }
      progress_.Advance();
      if (kept.empty() && !whole_catalog) continue;
      pugi::xml_node element = sink_.Parent().append_child(doc::kCategory);
      SetTextAttribute(element, doc::kName, category->Name());
      SetTextAttribute(element, doc::kDescription, category->Description());
      for (const std::string& id : kept) {
        element.append_child(doc::kMember)
            .append_attribute(doc::kMemberClipping)
            .set_value(id.c_str());
      }
      sink_.Done(element);
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
      pugi::xml_node element = sink_.Parent().append_child(doc::kLink);
      SetTextAttribute(element, doc::kName, folder->Name());
      SetTextAttribute(element, doc::kConnection, details->XML());
      sink_.Done(element);
      ++counts_.links;
    }
  }

  Catalog& catalog_;
  const bool with_history_;
  ProgressCounter& progress_;
  ElementSink& sink_;
  std::map<std::string, TrashEntry> trash_;  // by item id, with history only
  DocumentCounts counts_;
  WrittenIds written_;                    // the clippings written
  std::vector<std::string>* unreadable_;  // where skipped clippings go; null: raise
};

}  // namespace

namespace internal {

CatalogDocument ExportTree(Catalog& catalog, const std::string& folder_id, bool whole_catalog,
                           bool with_history, ProgressCounter& progress,
                           std::vector<std::string>* unreadable) {
  TreeSink sink;
  const DocumentCounts counts =
      Exporter(catalog, with_history, progress, sink, unreadable).Run(folder_id, whole_catalog);
  return MakeCatalogDocument(sink.TakeDocument(), counts);
}

}  // namespace internal

CatalogDocument ExportCatalog(Catalog& catalog, const ProgressCallback& progress, bool with_history,
                              std::vector<std::string>* unreadable) {
  const std::string top = RequireTopFolder(catalog)->ID();
  ProgressCounter counter(progress, 0);
  return internal::ExportTree(catalog, top, true, with_history, counter, unreadable);
}

DocumentCounts WriteCatalogExport(Catalog& catalog, std::ostream& out,
                                  const ProgressCallback& progress, bool with_history,
                                  std::vector<std::string>* unreadable) {
  const std::string top = RequireTopFolder(catalog)->ID();
  ProgressCounter counter(progress, 0);
  PrintingSink sink(out);
  return Exporter(catalog, with_history, counter, sink, unreadable).Run(top, true);
}

DocumentCounts ExportCatalogToFile(Catalog& catalog, const std::string& path,
                                   const ProgressCallback& progress, bool with_history,
                                   std::vector<std::string>* unreadable) {
  DocumentCounts counts;
  internal::WriteFileInPlace(path, [&](std::ostream& out) {
    counts = WriteCatalogExport(catalog, out, progress, with_history, unreadable);
  });
  return counts;
}

CatalogDocument ExportFolder(Catalog& catalog, const std::string& folder_id,
                             const ProgressCallback& progress, bool with_history) {
  ProgressCounter counter(progress, 0);
  return internal::ExportTree(catalog, folder_id, false, with_history, counter);
}

}  // namespace clipcat
