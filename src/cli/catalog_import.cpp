// Reading the catalog document: every part is checked before the first write, then folders,
// clippings, categories, memberships and links are added through the services, and taken out
// again when anything fails.
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "automation/entity_objects.h"
#include "util/base64.h"
#include "cli/catalog_document.h"
#include "entities/xml_io.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat::cli {
namespace {

// Carriage returns in data come back byte for byte (no end-of-line normalisation), and data made
// only of blanks keeps them; layout between elements is dropped.
constexpr unsigned kParseOptions =
    (pugi::parse_default & ~pugi::parse_eol) | pugi::parse_ws_pcdata_single;

[[noreturn]] void Invalid(const std::string& what) {
  RaiseError(err::kInvalidProcedureCall, kComponentSource,
             RuntimeErrorDescription(err::kInvalidProcedureCall) +
                 ": not a clipcat catalog document: " + what);
}

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
      Invalid("unexpected " +
              (child.type() == pugi::node_element ? "element <" + std::string(child.name()) + ">"
                                                  : std::string("text")) +
              " in <" + element.name() + ">");
    }
    children.push_back(child);
  }
  return children;
}

std::string RequiredAttribute(pugi::xml_node element, const char* name) {
  const pugi::xml_attribute attribute = element.attribute(name);
  if (!attribute) Invalid("<" + std::string(element.name()) + "> without \"" + name + "\"");
  return attribute.value();
}

std::string RequiredName(pugi::xml_node element) {
  std::string name = RequiredAttribute(element, doc::kName);
  if (TrimSpaces(name).empty()) Invalid("<" + std::string(element.name()) + "> with a blank name");
  return name;
}

int32_t DataType(pugi::xml_node data) {
  const std::string text = RequiredAttribute(data, doc::kType);
  char* end = nullptr;
  const long value = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || value < 1 || value > INT32_MAX) {
    Invalid("data type \"" + text + "\" is not a positive number");
  }
  return static_cast<int32_t>(value);
}

// The content of a <data> element, decoded when it is in base64.
std::string DataContent(pugi::xml_node data) {
  std::string text;
  for (pugi::xml_node child : data.children()) {
    if (child.type() != pugi::node_pcdata && child.type() != pugi::node_cdata) {
      Invalid("<data> holds more than text");
    }
    text += child.value();
  }
  const pugi::xml_attribute encoding = data.attribute(doc::kEncoding);
  if (!encoding) return text;
  if (std::string(encoding.value()) != doc::kBase64) {
    Invalid("unknown data encoding \"" + std::string(encoding.value()) + "\"");
  }
  std::optional<std::string> decoded = DecodeBase64(text);
  if (!decoded) Invalid("data in base64 that does not decode");
  return std::move(*decoded);
}

std::shared_ptr<Clipping> ReadClipping(pugi::xml_node element) {
  const auto clipping = Clipping::Create();
  clipping->SetName(RequiredName(element));
  clipping->SetDescription(element.attribute(doc::kDescription).value());
  for (pugi::xml_node data : Children(element, {doc::kData})) {
    const auto item = ClippingData::Create();
    item->SetClippingDataType(DataType(data));
    item->SetRawData(DataContent(data));
    clipping->ClippingData()->Add(item);
  }
  return clipping;
}

std::shared_ptr<Folder> ReadFolder(pugi::xml_node element) {
  const auto folder = Folder::Create();
  folder->SetName(RequiredName(element));
  folder->SetDescription(element.attribute(doc::kDescription).value());
  return folder;
}

pugi::xml_node RootOf(const pugi::xml_document& document) { return document.child(doc::kRoot); }

// Everything the import added, in the order it must be taken out again: linked folders, then
// clippings and folders added to the target itself (a folder takes its subtree with it), then
// new categories, then the target's old name.
class Undo {
 public:
  explicit Undo(Session& session) : session_(session) {}
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
    for (const auto& id : links_) {
      IgnoreErrors([&] { session_.Write("DeleteLinkedFolder", {Variant(id)}); });
    }
    for (const auto& id : clippings_) {
      IgnoreErrors([&] { session_.Write("DeleteClipping", {Variant(id), Variant(true)}); });
    }
    for (const auto& id : folders_) {
      IgnoreErrors([&] { session_.Write("DeleteFolder", {Variant(id), Variant(true)}); });
    }
    for (const auto& id : categories_) {
      IgnoreErrors([&] { session_.Write("DeleteCategory", {Variant(id)}); });
    }
    if (renamed_) {
      IgnoreErrors([&] {
        renamed_->SetName(old_name_);
        renamed_->SetDescription(old_description_);
        session_.Write("UpdateFolder", {Wrap(renamed_), Variant(false)});
      });
    }
  }

 private:
  Session& session_;
  std::vector<std::string> links_, clippings_, folders_, categories_;
  std::shared_ptr<Folder> renamed_;
  std::string old_name_, old_description_;
};

class Importer {
 public:
  Importer(Session& session, const std::string& target, bool as_child, ProgressBar& progress)
      : session_(session),
        target_(target),
        as_child_(as_child),
        progress_(progress),
        undo_(session) {}

  ImportResult Run(const pugi::xml_document& document) {
    const pugi::xml_node root = RootOf(document);
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
  // The target's catalog is new when the target is its top folder and holds nothing yet.
  void PrepareMerge(pugi::xml_node top) {
    const auto target = Unwrap<Folder>(session_.Read("GetFolder", {Variant(target_)}));
    if (!target) Invalid("no folder has the id " + target_);
    const auto catalog_top =
        Unwrap<Folder>(session_.Read("GetCatalogsRootFolder", {Variant(target_)}));
    is_top_ = catalog_top && catalog_top->ID() == target->ID();
    if (!is_top_) return;
    const auto children =
        Unwrap<Folders>(session_.Read("GetChildrenFolders", {Variant(target_), Variant(false)}));
    const auto clippings =
        Unwrap<Clippings>(session_.Read("GetClippingsFromFolder", {Variant(target_)}));
    if (children->Items()->Count() > 0 || clippings->Items()->Count() > 0) return;
    const std::string name = RequiredName(top);
    const std::string description = top.attribute(doc::kDescription).value();
    if (name == target->Name() && description == target->Description()) return;
    undo_.Renamed(target, target->Name(), target->Description());
    target->SetName(name);
    target->SetDescription(description);
    session_.Write("UpdateFolder", {Wrap(target), Variant(false)});
  }

  std::string AddFolder(pugi::xml_node element, const std::string& parent, bool undo) {
    const auto added = Unwrap<Folder>(
        session_.Write("AddFolder", {Wrap(ReadFolder(element)), Variant(parent), Variant(true)}));
    if (undo) undo_.AddedFolder(added->ID());
    ++result_.counts.folders;
    progress_.Advance();
    return added->ID();
  }

  void AddClipping(pugi::xml_node element, const std::string& folder, bool undo) {
    const auto added = Unwrap<Clipping>(session_.Write(
        "AddClipping", {Wrap(ReadClipping(element)), Variant(folder), Variant(true)}));
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
    const auto existing =
        Unwrap<Categories>(session_.Read("GetCategoriesFromFolder", {Variant(target_)}));
    // Names as the catalog compares them: a category of the document whose name differs from
    // an earlier one's only in case joins that one.
    std::vector<std::pair<std::string, std::string>> known;  // name, id
    for (const auto& category : *existing->Items())
      known.push_back({category->Name(), category->ID()});
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
        id = Unwrap<Category>(
                 session_.Write("AddCategory", {Wrap(category), Variant(target_), Variant(true)}))
                 ->ID();
        undo_.AddedCategory(id);
        known.push_back({name, id});
        ++result_.counts.categories;
      }
      progress_.Advance();
      for (pugi::xml_node member : element.children(doc::kMember)) {
        const std::string& clipping = clippings_.at(member.attribute(doc::kMemberClipping).value());
        progress_.Advance();
        if (!joined_.insert({clipping, id}).second) continue;
        session_.Write("AddClippingToCategory", {Variant(clipping), Variant(id)});
        ++result_.counts.memberships;
      }
    }
  }

  void AddLinks(pugi::xml_node root) {
    for (pugi::xml_node element : root.children(doc::kLink)) {
      const auto added = Unwrap<Folder>(session_.Write(
          "AddLinkedFolder",
          {Variant(RequiredAttribute(element, doc::kConnection)), Variant(RequiredName(element))}));
      undo_.AddedLink(added->ID());
      ++result_.counts.links;
      progress_.Advance();
    }
  }

  Session& session_;
  const std::string target_;
  const bool as_child_;
  ProgressBar& progress_;
  Undo undo_;
  bool is_top_ = false;
  ImportResult result_;
  std::map<std::string, std::string> clippings_;          // document id -> id in the catalog
  std::set<std::pair<std::string, std::string>> joined_;  // clipping, category
};

}  // namespace

DocumentCounts LoadDocument(const std::string& text, pugi::xml_document& document) {
  if (!xml::IsXmlText(text)) Invalid("the text is not UTF-8 that XML can carry");
  const pugi::xml_parse_result parsed =
      document.load_buffer(text.data(), text.size(), kParseOptions, pugi::encoding_utf8);
  if (!parsed) {
    Invalid(std::string(parsed.description()) + " at offset " + std::to_string(parsed.offset));
  }
  const pugi::xml_node root = RootOf(document);
  if (!root || root != document.document_element()) {
    Invalid("the top element is not <" + std::string(doc::kRoot) + ">");
  }
  const std::string version = RequiredAttribute(root, doc::kVersionAttribute);
  if (version != doc::kVersion) Invalid("version " + version + " is not known");

  DocumentCounts counts;
  std::map<std::string, bool> clipping_ids;
  std::vector<pugi::xml_node> top_folders;
  for (pugi::xml_node child : Children(root, {doc::kFolder, doc::kCategory, doc::kLink})) {
    if (std::string(child.name()) == doc::kFolder) top_folders.push_back(child);
  }
  if (top_folders.size() != 1) Invalid("it must hold exactly one top <folder>");
  std::vector<pugi::xml_node> pending = top_folders;
  while (!pending.empty()) {
    const pugi::xml_node folder = pending.back();
    pending.pop_back();
    ReadFolder(folder);
    ++counts.folders;
    for (pugi::xml_node child : Children(folder, {doc::kFolder, doc::kClipping})) {
      if (std::string(child.name()) == doc::kFolder) {
        pending.push_back(child);
        continue;
      }
      const std::string id = RequiredAttribute(child, doc::kId);
      if (!clipping_ids.emplace(id, true).second) Invalid("two clippings have the id " + id);
      ReadClipping(child);
      ++counts.clippings;
    }
  }
  for (pugi::xml_node category : root.children(doc::kCategory)) {
    RequiredName(category);
    ++counts.categories;
    std::map<std::string, bool> members;
    for (pugi::xml_node member : Children(category, {doc::kMember})) {
      const std::string id = RequiredAttribute(member, doc::kMemberClipping);
      if (clipping_ids.count(id) == 0) Invalid("a member names no clipping of the document: " + id);
      if (!members.emplace(id, true).second) Invalid("a clipping is a member twice: " + id);
      ++counts.memberships;
    }
  }
  for (pugi::xml_node link : root.children(doc::kLink)) {
    RequiredName(link);
    const auto details = ConnectionDetails::Create();
    try {
      details->SetXML(RequiredAttribute(link, doc::kConnection));
    } catch (const AutomationError&) {
      Invalid("the connection of linked folder \"" +
              std::string(link.attribute(doc::kName).value()) + "\" is not connection details");
    }
    ++counts.links;
  }
  return counts;
}

ImportResult ImportDocument(Session& session, const pugi::xml_document& document,
                            const std::string& target, bool as_child, ProgressBar& progress) {
  Importer importer(session, target, as_child, progress);
  return importer.Run(document);
}

}  // namespace clipcat::cli
