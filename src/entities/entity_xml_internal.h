// The element-level XML readers and writers of the entities, for the entities layer's own use:
// a list or a parent entity appends its members' elements to one document and reads them from
// its parsed tree, so no member's text is printed and parsed again. Not part of the public
// interface. Stateless.
#pragma once

#include <memory>
#include <pugixml.hpp>
#include <string>
#include <utility>

#include "entities/collection.h"
#include "entities/xml_io.h"
#include "util/errors.h"

namespace clipcat {

class Category;
class Clipping;
class ClippingData;
class Folder;

namespace internal {

// Each Append adds the entity's element (and its subtree) as the last child of `parent`. Each
// Read fills the entity from `element`, whose name the caller has checked, and raises as the
// entity's SetXML does after the root was found.
struct FolderXml {
  static void Append(const Folder& folder, pugi::xml_node parent);
  static void Read(Folder& folder, pugi::xml_node element);
};

struct ClippingDataXml {
  static void Append(const ClippingData& data, pugi::xml_node parent);
  static void Read(ClippingData& data, pugi::xml_node element);
};

struct ClippingXml {
  static void Append(const Clipping& clipping, pugi::xml_node parent);
  static void Read(Clipping& clipping, pugi::xml_node element);
};

struct CategoryXml {
  static void Append(const Category& category, pugi::xml_node parent);
  static void Read(Category& category, pugi::xml_node element);
};

// The XML text of a list: "<list_name>", each member's element, "</list_name>". Raises 91 for a
// member that is nullptr.
template <typename T, typename Xml>
std::string ListXml(const char* list_name, const Collection<std::shared_ptr<T>>& items) {
  pugi::xml_document members;
  for (const std::shared_ptr<T>& item : items) {
    if (!item) RaiseRuntimeError(err::kObjectVariableNotSet);
    Xml::Append(*item, members);
  }
  return xml::PrintList(list_name, members);
}

// Appends to `items` a new member for each child of the root `list_name` of `text`. Every
// non-blank child must be a `member_name` element (424 otherwise); members read before a
// failing one stay appended.
template <typename T, typename Xml>
void ReadList(const std::string& text, const char* list_name, const char* member_name,
              Collection<std::shared_ptr<T>>& items) {
  pugi::xml_document document;
  const pugi::xml_node root = xml::LoadRoot(document, text, list_name);
  for (pugi::xml_node node : root.children()) {
    if (xml::IsBlankText(node)) continue;
    auto member = std::make_shared<T>();
    Xml::Read(*member, xml::RequireElement(node, member_name));
    items.Add(std::move(member));
  }
}

}  // namespace internal
}  // namespace clipcat
