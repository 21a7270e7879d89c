// Walking a held catalog document in document order, the shape checks that every walk makes, and
// the clipping references a walk builds.
#include <algorithm>
#include <string_view>

#include "library/catalog_document_internal.h"
#include "library/item_paths.h"

namespace clipcat::internal {
namespace {

bool IsBlankText(pugi::xml_node node) {
  if (node.type() != pugi::node_pcdata && node.type() != pugi::node_cdata) return false;
  return std::string_view(node.value()).find_first_not_of(" \t\r\n") == std::string_view::npos;
}

bool Named(pugi::xml_node node, const char* name) { return std::string_view(node.name()) == name; }

// A folder's children with those marked deleted first, each group in document order: an import
// adds (and trashes) them before a live item of the same name is there, which the store would
// refuse.
std::vector<pugi::xml_node> MarkedFirst(std::vector<pugi::xml_node> children) {
  std::stable_partition(children.begin(), children.end(), [](pugi::xml_node child) {
    return static_cast<bool>(child.attribute(doc::kDeleted));
  });
  return children;
}

}  // namespace

std::vector<pugi::xml_node> Children(pugi::xml_node element,
                                     std::initializer_list<const char*> allowed) {
  std::vector<pugi::xml_node> children;
  for (pugi::xml_node child : element.children()) {
    if (IsBlankText(child)) continue;
    bool known = false;
    if (child.type() == pugi::node_element) {
      for (const char* name : allowed) known = known || Named(child, name);
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

void CheckRoot(pugi::xml_node root) {
  if (!root || !Named(root, doc::kRoot)) {
    InvalidDocument("the top element is not <" + std::string(doc::kRoot) + ">");
  }
  const std::string version = RequiredAttribute(root, doc::kVersionAttribute);
  if (version != doc::kVersion) InvalidDocument("version " + version + " is not known");
}

void WalkDocument(pugi::xml_node root, DocumentVisitor& visitor) {
  const std::vector<pugi::xml_node> parts =
      Children(root, {doc::kFolder, doc::kCategory, doc::kLink});
  size_t folders = 0;
  for (pugi::xml_node part : parts) folders += Named(part, doc::kFolder) ? 1 : 0;
  if (folders != 1) InvalidDocument("it must hold exactly one top <folder>");
  for (pugi::xml_node part : parts) {
    if (Named(part, doc::kCategory)) {
      visitor.Category(part);
      continue;
    }
    if (Named(part, doc::kLink)) {
      visitor.Link(part);
      continue;
    }
    // The folder tree, depth first without recursion: for each open folder, what it still holds.
    struct Open {
      std::vector<pugi::xml_node> children;
      size_t next = 0;
    };
    visitor.FolderStart(part);
    std::vector<Open> open;
    open.push_back({MarkedFirst(Children(part, {doc::kFolder, doc::kClipping}))});
    while (!open.empty()) {
      Open& at = open.back();
      if (at.next == at.children.size()) {
        open.pop_back();
        visitor.FolderEnd();
        continue;
      }
      const pugi::xml_node child = at.children[at.next++];
      if (Named(child, doc::kClipping)) {
        visitor.Clipping(child);
        continue;
      }
      visitor.FolderStart(child);
      open.push_back({MarkedFirst(Children(child, {doc::kFolder, doc::kClipping}))});
    }
  }
}

ClippingReferences::ClippingReferences(pugi::xml_node root) {
  class Builder : public DocumentVisitor {
   public:
    explicit Builder(ClippingReferences& references) : references_(references) {}
    void FolderStart(pugi::xml_node folder) override { references_.EnterFolder(folder); }
    void FolderEnd() override { references_.LeaveFolder(); }
    void Clipping(pugi::xml_node clipping) override { references_.AddClipping(clipping); }

   private:
    ClippingReferences& references_;
  };
  Builder builder(*this);
  WalkDocument(root, builder);
}

void ClippingReferences::EnterFolder(pugi::xml_node folder) {
  const bool marked = static_cast<bool>(folder.attribute(doc::kDeleted));
  if (open_.empty()) {
    open_.push_back({"", !marked});
    return;
  }
  const OpenFolder& parent = open_.back();
  open_.push_back(
      {parent.path + PathStep(TextAttribute(folder, doc::kName)) + "/", parent.live && !marked});
}

void ClippingReferences::LeaveFolder() { open_.pop_back(); }

void ClippingReferences::AddClipping(pugi::xml_node clipping) {
  const size_t number = paths_.size();
  if (const pugi::xml_attribute id = clipping.attribute(doc::kId)) by_id_[id.value()] = number;
  const OpenFolder& folder = open_.back();
  if (!folder.live || clipping.attribute(doc::kDeleted)) {
    paths_.push_back(std::nullopt);
    return;
  }
  std::string path = folder.path + PathStep(TextAttribute(clipping, doc::kName));
  const auto [it, added] = by_path_.emplace(path, number);
  if (!added) it->second = kShared;
  paths_.push_back(std::move(path));
}

size_t ClippingReferences::Find(pugi::xml_node member) const {
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
  if (found->second == kShared)
    InvalidDocument("a member names a path two clippings share: " + key);
  return found->second;
}

std::optional<std::string> ClippingReferences::LivePath(size_t clipping) const {
  return paths_.at(clipping);
}

}  // namespace clipcat::internal
