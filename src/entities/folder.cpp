#include "entities/folder.h"

#include <unordered_set>
#include <utility>
#include <vector>

#include "entities/entity_xml_internal.h"
#include "entities/folder_names.h"
#include "entities/xml_io.h"
#include "util/errors.h"

namespace clipcat {

using namespace folder_xml;

Folder::Folder() : updated_(Date::Now()), child_folders_(std::make_shared<FolderCollection>()) {}

Folder::~Folder() {
  // A tree read from text can be deeper than the stack allows for destruction by recursion.
  // Subtrees that nobody else holds are therefore taken apart here, level by level, so that each
  // folder dies with an empty child list.
  std::vector<std::shared_ptr<Folder>> pending;
  const auto detach = [&pending](std::shared_ptr<FolderCollection>& list) {
    if (!list || list.use_count() != 1) return;
    for (const std::shared_ptr<Folder>& child : *list) pending.push_back(child);
    list->Clear();
  };
  detach(child_folders_);
  while (!pending.empty()) {
    std::shared_ptr<Folder> folder = std::move(pending.back());
    pending.pop_back();
    if (folder && folder.use_count() == 1) detach(folder->child_folders_);
  }
}

void Folder::SetChildFolders(std::shared_ptr<FolderCollection> vNewValue) {
  if (!vNewValue) RaiseRuntimeError(err::kObjectVariableNotSet);
  child_folders_ = std::move(vNewValue);
}

std::string Folder::XML() const {
  pugi::xml_document document;
  internal::FolderXml::Append(*this, document);
  return xml::Print(document.first_child());
}

void Folder::SetXML(const std::string& sNewValue) {
  child_folders_ = std::make_shared<FolderCollection>();
  pugi::xml_document document;
  internal::FolderXml::Read(*this, xml::LoadRoot(document, sNewValue, kFolderElement));
}

namespace internal {
namespace {

pugi::xml_node AppendFolderElement(const Folder& folder, pugi::xml_node parent) {
  pugi::xml_node element = parent.append_child(kFolderElement);
  xml::SetTextAttribute(element, kIDAttribute, folder.ID());
  xml::SetTextAttribute(element, kGUIDAttribute, folder.GUID());
  xml::SetTextAttribute(element, kParentIDAttribute, folder.ParentID());
  xml::SetTextAttribute(element, kNameAttribute, folder.Name());
  xml::SetTextAttribute(element, kDescriptionAttribute, folder.Description());
  xml::SetLongAttribute(element, kStatusAttribute, folder.Status());
  xml::SetDateAttribute(element, kUpdatedAttribute, folder.Updated());
  xml::SetLongAttribute(element, kExternalCatalogIDAttribute, folder.ExternalCatalogID());
  return element;
}

}  // namespace

void FolderXml::Append(const Folder& folder, pugi::xml_node parent) {
  // Depth first without recursion; `on_path` holds the folders from the top down to the current
  // one, so that a folder placed among its own descendants is refused instead of looping.
  struct Frame {
    const Folder* folder;
    pugi::xml_node element;
    int32_t written;
  };
  std::vector<Frame> path;
  std::unordered_set<const Folder*> on_path;
  path.push_back({&folder, AppendFolderElement(folder, parent), 0});
  on_path.insert(&folder);
  while (!path.empty()) {
    Frame& frame = path.back();
    const FolderCollection& children = *frame.folder->child_folders_;
    if (frame.written == children.Count()) {
      on_path.erase(frame.folder);
      path.pop_back();
      continue;
    }
    const std::shared_ptr<Folder>& child = children.Item(++frame.written);
    if (!child) RaiseRuntimeError(err::kObjectVariableNotSet);
    if (!on_path.insert(child.get()).second) {
      RaiseError(err::kInvalidProcedureCall, kComponentSource,
                 RuntimeErrorDescription(err::kInvalidProcedureCall) +
                     ": a folder is among its own child folders");
    }
    const pugi::xml_node element = AppendFolderElement(*child, frame.element);
    path.push_back({child.get(), element, 0});
  }
}

void FolderXml::Read(Folder& folder, pugi::xml_node element) {
  const auto read_properties = [](Folder& target, pugi::xml_node source) {
    target.id_ = xml::ReadText(source, kIDAttribute);
    target.guid_ = xml::ReadText(source, kGUIDAttribute);
    target.parent_id_ = xml::ReadText(source, kParentIDAttribute);
    target.name_ = xml::ReadText(source, kNameAttribute);
    target.description_ = xml::ReadText(source, kDescriptionAttribute);
    target.status_ = xml::ReadLong(source, kStatusAttribute);
    target.updated_ = xml::ReadDate(source, kUpdatedAttribute);
    target.external_catalog_id_ = xml::ReadLong(source, kExternalCatalogIDAttribute);
  };
  read_properties(folder, element);

  // Depth first without recursion. A child joins its parent's list only once its own subtree has
  // been read, so a failure deep down leaves every ancestor with the children completed before
  // it, as reading each child's text on its own would.
  struct Frame {
    std::shared_ptr<Folder> owner;  // null for `folder` itself
    Folder* folder;
    pugi::xml_node next;
  };
  std::vector<Frame> path;
  path.push_back({nullptr, &folder, element.first_child()});
  while (!path.empty()) {
    Frame& frame = path.back();
    while (frame.next && xml::IsBlankText(frame.next)) frame.next = frame.next.next_sibling();
    if (!frame.next) {
      std::shared_ptr<Folder> done = std::move(frame.owner);
      path.pop_back();
      if (done) path.back().folder->child_folders_->Add(std::move(done));
      continue;
    }
    const pugi::xml_node node = xml::RequireElement(frame.next, kFolderElement);
    frame.next = node.next_sibling();
    auto child = std::make_shared<Folder>();
    read_properties(*child, node);
    Folder* raw = child.get();
    path.push_back({std::move(child), raw, node.first_child()});
  }
}

}  // namespace internal
}  // namespace clipcat
