// Writing the catalog document: a folder subtree, its clippings with their data, categories with
// their members, and linked catalogs.
#include <set>
#include <utility>
#include <vector>

#include "automation/entity_objects.h"
#include "util/base64.h"
#include "cli/catalog_document.h"
#include "entities/xml_io.h"
#include "util/errors.h"

namespace clipcat::cli {
namespace {

// A name or description goes into the document only when XML can carry it; data that it cannot
// carry travels in base64 instead, but the texts people read must stay readable.
void SetText(pugi::xml_node element, const char* name, const std::string& value,
             const std::string& owner) {
  if (!xml::IsXmlText(value)) {
    RaiseError(err::kInvalidProcedureCall, kComponentSource,
               RuntimeErrorDescription(err::kInvalidProcedureCall) + ": the " + name + " of " +
                   owner + " holds a character that XML cannot carry");
  }
  element.append_attribute(name).set_value(value.c_str());
}

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

void AppendClipping(pugi::xml_node folder, const Clipping& clipping) {
  pugi::xml_node element = folder.append_child(doc::kClipping);
  element.append_attribute(doc::kId).set_value(clipping.ID().c_str());
  const std::string owner = "clipping " + clipping.ID();
  SetText(element, doc::kName, clipping.Name(), owner);
  SetText(element, doc::kDescription, clipping.Description(), owner);
  for (const auto& item : *clipping.ClippingData()) {
    if (item) AppendData(element, *item);
  }
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

// Writes the folders depth first, each folder's clippings before its child folders, without
// recursion so that a deep tree cannot exhaust the stack. Answers the ids of the clippings
// written.
std::set<std::string> AppendTree(Session& session, const std::shared_ptr<Folder>& top,
                                 pugi::xml_node parent, DocumentCounts& counts,
                                 ProgressBar& progress) {
  std::set<std::string> written;
  std::vector<std::pair<std::shared_ptr<Folder>, pugi::xml_node>> pending = {{top, parent}};
  while (!pending.empty()) {
    auto [folder, under] = pending.back();
    pending.pop_back();
    pugi::xml_node element = under.append_child(doc::kFolder);
    const std::string owner = "folder " + folder->ID();
    SetText(element, doc::kName, folder->Name(), owner);
    SetText(element, doc::kDescription, folder->Description(), owner);
    ++counts.folders;
    const auto clippings = Unwrap<Clippings>(
        session.Read("GetClippingsFromFolder", {Variant(folder->ID()), Variant(true)}));
    for (const auto& clipping : *clippings->Items()) {
      AppendClipping(element, *clipping);
      written.insert(clipping->ID());
      ++counts.clippings;
    }
    const auto children = folder->ChildFolders()->Snapshot();
    for (auto it = children.rbegin(); it != children.rend(); ++it)
      pending.push_back({*it, element});
    progress.Advance();
  }
  return written;
}

void AppendCategories(Session& session, const std::string& folder_id,
                      const std::set<std::string>& written, bool whole_catalog, pugi::xml_node root,
                      DocumentCounts& counts, ProgressBar& progress) {
  const auto categories =
      Unwrap<Categories>(session.Read("GetCategoriesFromFolder", {Variant(folder_id)}));
  progress.AddToTotal(categories->Items()->Count());
  for (const auto& category : *categories->Items()) {
    const auto members = Unwrap<Clippings>(
        session.Read("GetClippingsFromCategory", {Variant(category->ID()), Variant(false)}));
    std::vector<std::string> kept;
    for (const auto& member : *members->Items()) {
      if (written.count(member->ID()) > 0) kept.push_back(member->ID());
    }
    progress.Advance();
    if (kept.empty() && !whole_catalog) continue;
    pugi::xml_node element = root.append_child(doc::kCategory);
    const std::string owner = "category " + category->ID();
    SetText(element, doc::kName, category->Name(), owner);
    SetText(element, doc::kDescription, category->Description(), owner);
    for (const std::string& id : kept) {
      element.append_child(doc::kMember)
          .append_attribute(doc::kMemberClipping)
          .set_value(id.c_str());
    }
    ++counts.categories;
    counts.memberships += kept.size();
  }
}

void AppendLinks(Session& session, pugi::xml_node root, DocumentCounts& counts) {
  const auto linked = Unwrap<Folders>(session.Read("GetLinkedFolders"));
  for (const auto& folder : *linked->Items()) {
    // The catalog's own top folder is among them and links nothing.
    const auto details =
        Unwrap<ConnectionDetails>(session.Read("GetConnectionDetails", {Variant(folder->ID())}));
    if (!details) continue;
    pugi::xml_node element = root.append_child(doc::kLink);
    const std::string owner = "linked folder " + folder->ID();
    SetText(element, doc::kName, folder->Name(), owner);
    SetText(element, doc::kConnection, details->XML(), owner);
    ++counts.links;
  }
}

}  // namespace

std::string DescribeCounts(const DocumentCounts& counts) {
  const auto count = [](size_t n, const char* one, const char* many) {
    return std::to_string(n) + " " + (n == 1 ? one : many);
  };
  std::string text = count(counts.folders, "folder", "folders") + ", " +
                     count(counts.clippings, "clipping", "clippings") + ", " +
                     count(counts.categories, "category", "categories") + ", " +
                     count(counts.memberships, "membership", "memberships");
  if (counts.links > 0) text += ", " + count(counts.links, "link", "links");
  return text;
}

DocumentCounts ExportFolderTree(Session& session, const std::string& folder_id, bool whole_catalog,
                                pugi::xml_document& document, ProgressBar& progress) {
  document.reset();
  DocumentCounts counts;
  pugi::xml_node root = document.append_child(doc::kRoot);
  root.append_attribute(doc::kVersionAttribute).set_value(doc::kVersion);
  const auto top =
      Unwrap<Folder>(session.Read("GetChildFolders", {Variant(folder_id), Variant(false)}));
  progress.AddToTotal(CountFolders(top));
  const std::set<std::string> written = AppendTree(session, top, root, counts, progress);
  AppendCategories(session, folder_id, written, whole_catalog, root, counts, progress);
  if (whole_catalog) AppendLinks(session, root, counts);
  return counts;
}

}  // namespace clipcat::cli
