#include "entities/search.h"

#include <pugixml.hpp>
#include <string_view>
#include <utility>

#include "entities/xml_io.h"
#include "util/errors.h"

namespace clipcat {
namespace {

// Frozen: clients depend on these exact names and their case. Never change one.
constexpr char kElement[] = "search";
constexpr char kSearchTextAttribute[] = "searchtext";
constexpr char kSearchSubFoldersAttribute[] = "searchsubfolders";
constexpr char kOrClippingBelongsToCategoryAttribute[] = "OrClippingBelongsToCategory";
constexpr char kFolderIDElement[] = "folderid";
constexpr char kCategoryNameElement[] = "categoryname";

}  // namespace

Search::Search()
    : folder_ids_(std::make_shared<TextCollection>()),
      category_names_(std::make_shared<TextCollection>()) {}

void Search::SetFolderIDs(std::shared_ptr<TextCollection> vNewValue) {
  if (!vNewValue) RaiseRuntimeError(err::kObjectVariableNotSet);
  folder_ids_ = std::move(vNewValue);
}

void Search::SetCategoryNames(std::shared_ptr<TextCollection> vNewValue) {
  if (!vNewValue) RaiseRuntimeError(err::kObjectVariableNotSet);
  category_names_ = std::move(vNewValue);
}

void Search::ClearFolderIDs() { folder_ids_ = std::make_shared<TextCollection>(); }

void Search::ClearCategoryNames() { category_names_ = std::make_shared<TextCollection>(); }

std::string Search::XML() const {
  pugi::xml_document document;
  pugi::xml_node element = document.append_child(kElement);
  xml::SetTextAttribute(element, kSearchTextAttribute, search_text_);
  xml::SetBooleanAttribute(element, kSearchSubFoldersAttribute, search_sub_folders_);
  xml::SetBooleanAttribute(element, kOrClippingBelongsToCategoryAttribute,
                           or_clipping_belongs_to_category_);
  for (const std::string& folder_id : *folder_ids_) {
    xml::SetTextContent(element.append_child(kFolderIDElement), folder_id);
  }
  for (const std::string& category_name : *category_names_) {
    xml::SetTextContent(element.append_child(kCategoryNameElement), category_name);
  }
  return xml::Print(element);
}

void Search::SetXML(const std::string& sNewValue) {
  ClearFolderIDs();
  pugi::xml_document document;
  const pugi::xml_node element = xml::LoadRoot(document, sNewValue, kElement);
  search_text_ = xml::ReadText(element, kSearchTextAttribute);
  search_sub_folders_ = xml::ReadBoolean(element, kSearchSubFoldersAttribute);
  or_clipping_belongs_to_category_ =
      xml::ReadBoolean(element, kOrClippingBelongsToCategoryAttribute);
  for (pugi::xml_node child : element.children()) {
    if (child.type() != pugi::node_element) continue;
    const std::string_view name = child.name();
    if (name == kFolderIDElement) {
      folder_ids_->Add(xml::TextContent(child));
    } else if (name == kCategoryNameElement) {
      category_names_->Add(xml::TextContent(child));
    }
  }
}

}  // namespace clipcat
