// Checking a catalog document as it is read, and writing one out.
#include "library/catalog_document.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "entities/connection_details.h"
#include "entities/xml_io.h"
#include "library/catalog_document_internal.h"
#include "library/item_paths.h"
#include "util/base64.h"
#include "util/errors.h"

namespace clipcat {
namespace {

using internal::InvalidDocument;
using internal::RequiredAttribute;
using internal::RequiredName;

// Carriage returns in data come back byte for byte (no end-of-line normalisation), and data made
// only of blanks keeps them; layout between elements is dropped.
constexpr unsigned kParseOptions =
    (pugi::parse_default & ~pugi::parse_eol) | pugi::parse_ws_pcdata_single;

// The runtime's "Path/File access error": a file that cannot be written.
constexpr int32_t kPathFileAccessError = 75;

bool IsBlankText(pugi::xml_node node) {
  if (node.type() != pugi::node_pcdata && node.type() != pugi::node_cdata) return false;
  return std::string_view(node.value()).find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// The element children of `element`, each checked to be one of `allowed`; blank text between
// them is layout, anything else is refused.
std::vector<pugi::xml_node> Children(pugi::xml_node element,
                                     std::initializer_list<const char*> allowed) {
  std::vector<pugi::xml_node> children;
  for (pugi::xml_node child : element.children()) {
    if (IsBlankText(child)) continue;
    bool known = false;
    if (child.type() == pugi::node_element) {
      for (const char* name : allowed) known = known || std::string(child.name()) == name;
    }
    if (!known) {
      InvalidDocument("unexpected " +
                      (child.type() == pugi::node_element
                           ? "element <" + std::string(child.name()) + ">"
                           : std::string("text")) +
                      " in <" + element.name() + ">");
    }
    children.push_back(child);
  }
  return children;
}

int32_t DataType(pugi::xml_node data) {
  const std::string text = RequiredAttribute(data, doc::kType);
  char* end = nullptr;
  const long value = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || value < 1 || value > INT32_MAX) {
    InvalidDocument("data type \"" + text + "\" is not a positive number");
  }
  return static_cast<int32_t>(value);
}

// The content of a <data> element, decoded when it is in base64.
std::string DataContent(pugi::xml_node data) {
  std::string text;
  for (pugi::xml_node child : data.children()) {
    if (child.type() != pugi::node_pcdata && child.type() != pugi::node_cdata) {
      InvalidDocument("<data> holds more than text");
    }
    text += child.value();
  }
  const pugi::xml_attribute encoding = data.attribute(doc::kEncoding);
  if (!encoding) return text;
  if (std::string(encoding.value()) != doc::kBase64) {
    InvalidDocument("unknown data encoding \"" + std::string(encoding.value()) + "\"");
  }
  std::optional<std::string> decoded = DecodeBase64(text);
  if (!decoded) InvalidDocument("data in base64 that does not decode");
  return std::move(*decoded);
}

std::shared_ptr<ClippingData> ReadDataItem(pugi::xml_node data) {
  const auto item = ClippingData::Create();
  item->SetClippingDataType(DataType(data));
  item->SetRawData(DataContent(data));
  return item;
}

[[noreturn]] void CannotWrite(const std::string& file) {
  throw AutomationError(kPathFileAccessError, kComponentSource, "Cannot write " + file);
}

// Checks the folder tree under the root: one top folder, every folder and clipping readable, no
// clipping id twice (a portable document has none).
void CheckTree(pugi::xml_node root, DocumentCounts& counts) {
  std::set<std::string> clipping_ids;
  std::vector<pugi::xml_node> pending;
  for (pugi::xml_node child : Children(root, {doc::kFolder, doc::kCategory, doc::kLink})) {
    if (std::string(child.name()) == doc::kFolder) pending.push_back(child);
  }
  if (pending.size() != 1) InvalidDocument("it must hold exactly one top <folder>");
  while (!pending.empty()) {
    const pugi::xml_node folder = pending.back();
    pending.pop_back();
    internal::ReadFolder(folder);
    ++counts.folders;
    for (pugi::xml_node child : Children(folder, {doc::kFolder, doc::kClipping})) {
      if (std::string(child.name()) == doc::kFolder) {
        pending.push_back(child);
        continue;
      }
      const std::string id = child.attribute(doc::kId).value();
      if (child.attribute(doc::kId) && !clipping_ids.insert(id).second) {
        InvalidDocument("two clippings have the id " + id);
      }
      const std::string name = internal::ReadClipping(child)->Name();
      ++counts.clippings;
      std::set<int32_t> numbers;
      for (pugi::xml_node version : child.children(doc::kVersionElement)) {
        const int32_t number = internal::ReadVersion(version).first.version;
        if (!numbers.insert(number).second) {
          InvalidDocument("clipping \"" + name + "\" has version " + std::to_string(number) +
                          " twice");
        }
        ++counts.versions;
      }
      if (internal::IsMarkedDeleted(child)) ++counts.deleted;
    }
    if (internal::IsMarkedDeleted(folder)) ++counts.deleted;
  }
}

void CheckCategories(pugi::xml_node root, DocumentCounts& counts) {
  const internal::ClippingReferences references(root);
  for (pugi::xml_node category : root.children(doc::kCategory)) {
    RequiredName(category);
    internal::TextAttribute(category, doc::kDescription);
    ++counts.categories;
    std::set<pugi::xml_node> members;
    for (pugi::xml_node member : Children(category, {doc::kMember})) {
      if (!members.insert(references.Find(member)).second) {
        InvalidDocument("a clipping is a member twice: " +
                        std::string(member.first_attribute().value()));
      }
      ++counts.memberships;
    }
  }
}

void CheckLinks(pugi::xml_node root, DocumentCounts& counts) {
  for (pugi::xml_node link : root.children(doc::kLink)) {
    RequiredName(link);
    const auto details = ConnectionDetails::Create();
    try {
      RequiredAttribute(link, doc::kConnection);
      details->SetXML(internal::TextAttribute(link, doc::kConnection));
    } catch (const AutomationError&) {
      InvalidDocument("the connection of linked folder \"" + RequiredName(link) +
                      "\" is not connection details");
    }
    ++counts.links;
  }
}

}  // namespace

namespace internal {

void InvalidDocument(const std::string& what) {
  RaiseError(err::kInvalidProcedureCall, kComponentSource,
             RuntimeErrorDescription(err::kInvalidProcedureCall) +
                 ": not a clipcat catalog document: " + what);
}

std::string RequiredAttribute(pugi::xml_node element, const char* name) {
  const pugi::xml_attribute attribute = element.attribute(name);
  if (!attribute) {
    InvalidDocument("<" + std::string(element.name()) + "> without \"" + name + "\"");
  }
  return attribute.value();
}

std::string TextAttribute(pugi::xml_node element, const char* name) {
  const std::string value = element.attribute(name).value();
  const pugi::xml_attribute encoding =
      element.attribute((std::string(name) + doc::kEncodingSuffix).c_str());
  if (!encoding) return value;
  if (std::string(encoding.value()) != doc::kBase64) {
    InvalidDocument("unknown " + std::string(name) + " encoding \"" + encoding.value() + "\"");
  }
  std::optional<std::string> decoded = DecodeBase64(value);
  if (!decoded) InvalidDocument("a " + std::string(name) + " in base64 that does not decode");
  return std::move(*decoded);
}

void SetTextAttribute(pugi::xml_node element, const char* name, const std::string& value) {
  if (xml::IsXmlText(value)) {
    element.append_attribute(name).set_value(value.c_str());
    return;
  }
  element.append_attribute(name).set_value(EncodeBase64(value).c_str());
  element.append_attribute((std::string(name) + doc::kEncodingSuffix).c_str())
      .set_value(doc::kBase64);
}

std::string RequiredName(pugi::xml_node element) {
  RequiredAttribute(element, doc::kName);
  return TextAttribute(element, doc::kName);
}

ClippingReferences::ClippingReferences(pugi::xml_node root) {
  struct Pending {
    pugi::xml_node folder;
    std::string path;  // "" for the top folder, else "A/B/"
    bool live;
  };
  std::vector<Pending> pending;
  for (pugi::xml_node top : root.children(doc::kFolder)) {
    pending.push_back({top, "", !top.attribute(doc::kDeleted)});
  }
  while (!pending.empty()) {
    const Pending at = pending.back();
    pending.pop_back();
    for (pugi::xml_node child : at.folder.children()) {
      const bool live = at.live && !child.attribute(doc::kDeleted);
      const std::string path = at.path + PathStep(TextAttribute(child, doc::kName));
      if (std::string(child.name()) == doc::kFolder) {
        pending.push_back({child, path + "/", live});
        continue;
      }
      if (std::string(child.name()) != doc::kClipping) continue;
      if (const pugi::xml_attribute id = child.attribute(doc::kId)) by_id_[id.value()] = child;
      if (!live) continue;
      paths_[child] = path;
      const auto [it, added] = by_path_.emplace(path, child);
      if (!added) it->second = pugi::xml_node();
    }
  }
}

pugi::xml_node ClippingReferences::Find(pugi::xml_node member) const {
  const pugi::xml_attribute id = member.attribute(doc::kMemberClipping);
  const pugi::xml_attribute path = member.attribute(doc::kMemberPath);
  if (id && path) InvalidDocument("a member names a clipping both by id and by path");
  if (!id && !path) {
    InvalidDocument("<member> without \"" + std::string(doc::kMemberClipping) + "\" or \"" +
                    doc::kMemberPath + "\"");
  }
  const auto& index = id ? by_id_ : by_path_;
  const std::string key = id ? id.value() : path.value();
  const auto found = index.find(key);
  if (found == index.end()) InvalidDocument("a member names no clipping of the document: " + key);
  if (!found->second) InvalidDocument("a member names a path two clippings share: " + key);
  return found->second;
}

std::optional<std::string> ClippingReferences::LivePath(pugi::xml_node clipping) const {
  const auto found = paths_.find(clipping);
  if (found == paths_.end()) return std::nullopt;
  return found->second;
}

std::shared_ptr<Folder> ReadFolder(pugi::xml_node element) {
  auto folder = Folder::Create();
  folder->SetName(RequiredName(element));
  folder->SetDescription(TextAttribute(element, doc::kDescription));
  return folder;
}

std::shared_ptr<Clipping> ReadClipping(pugi::xml_node element) {
  auto clipping = Clipping::Create();
  clipping->SetName(RequiredName(element));
  clipping->SetDescription(TextAttribute(element, doc::kDescription));
  for (pugi::xml_node data : Children(element, {doc::kData, doc::kVersionElement})) {
    if (std::string(data.name()) == doc::kData) clipping->ClippingData()->Add(ReadDataItem(data));
  }
  return clipping;
}

std::pair<ClippingVersion, std::shared_ptr<Clipping>> ReadVersion(pugi::xml_node element) {
  ClippingVersion version;
  const std::string number = RequiredAttribute(element, doc::kNumber);
  char* end = nullptr;
  const long value = std::strtol(number.c_str(), &end, 10);
  if (number.empty() || *end != '\0' || value < 1 || value > INT32_MAX) {
    InvalidDocument("version number \"" + number + "\" is not a positive number");
  }
  version.version = static_cast<int32_t>(value);
  const std::string saved = RequiredAttribute(element, doc::kSaved);
  const std::optional<Date> when = ParseIsoDate(saved);
  if (!when)
    InvalidDocument("version time \"" + saved + "\" is not a time of the form yyyy-mm-dd hh:nn:ss");
  version.saved = *when;
  version.saved_by = TextAttribute(element, doc::kSavedBy);
  version.name = RequiredName(element);
  version.description = TextAttribute(element, doc::kDescription);
  auto state = Clipping::Create();
  for (pugi::xml_node data : Children(element, {doc::kData})) {
    state->ClippingData()->Add(ReadDataItem(data));
  }
  return {std::move(version), std::move(state)};
}

bool IsMarkedDeleted(pugi::xml_node element) {
  const pugi::xml_attribute mark = element.attribute(doc::kDeleted);
  if (!mark) return false;
  if (std::string(mark.value()) != "1") {
    InvalidDocument("deleted=\"" + std::string(mark.value()) + "\" is not \"1\"");
  }
  DeletedAt(element);
  TextAttribute(element, doc::kDeletedBy);
  return true;
}

std::optional<Date> DeletedAt(pugi::xml_node element) {
  const pugi::xml_attribute at = element.attribute(doc::kDeletedAt);
  if (!at) return std::nullopt;
  const std::optional<Date> when = ParseIsoDate(at.value());
  if (!when) {
    InvalidDocument("deletion time \"" + std::string(at.value()) +
                    "\" is not a time of the form yyyy-mm-dd hh:nn:ss");
  }
  return when;
}

}  // namespace internal

CatalogDocument MakeCatalogDocument(pugi::xml_document xml, DocumentCounts counts) {
  CatalogDocument document;
  document.xml_ = std::move(xml);
  document.counts_ = counts;
  return document;
}

CatalogDocument CatalogDocument::Parse(std::string text) {
  if (!xml::IsXmlText(text)) InvalidDocument("the text is not UTF-8 that XML can carry");
  // On the heap, so that moving the document never moves the characters the nodes point into.
  auto owned = std::make_unique<std::string>(std::move(text));
  pugi::xml_document xml;
  const pugi::xml_parse_result parsed =
      xml.load_buffer_inplace(owned->data(), owned->size(), kParseOptions, pugi::encoding_utf8);
  if (!parsed) {
    InvalidDocument(std::string(parsed.description()) + " at offset " +
                    std::to_string(parsed.offset));
  }
  CatalogDocument document = FromXml(std::move(xml));
  document.text_ = std::move(owned);
  return document;
}

CatalogDocument CatalogDocument::FromXml(pugi::xml_document xml) {
  const pugi::xml_node root = xml.child(doc::kRoot);
  if (!root || root != xml.document_element()) {
    InvalidDocument("the top element is not <" + std::string(doc::kRoot) + ">");
  }
  const std::string version = RequiredAttribute(root, doc::kVersionAttribute);
  if (version != doc::kVersion) InvalidDocument("version " + version + " is not known");

  DocumentCounts counts;
  CheckTree(root, counts);
  CheckCategories(root, counts);
  CheckLinks(root, counts);
  return MakeCatalogDocument(std::move(xml), counts);
}

void CatalogDocument::Write(std::ostream& out) const { xml::SaveIndented(xml_, out); }

void CatalogDocument::WriteFile(const std::string& path) const {
  const std::string partial = path + ".partial";
  {
    std::ofstream out(partial, std::ios::binary | std::ios::trunc);
    if (!out) CannotWrite(partial);
    Write(out);
    out.flush();
    if (!out) {
      std::remove(partial.c_str());
      CannotWrite(partial);
    }
  }
  std::error_code error;
  std::filesystem::rename(partial, path, error);
  if (error) {
    std::remove(partial.c_str());
    CannotWrite(path);
  }
}

}  // namespace clipcat
