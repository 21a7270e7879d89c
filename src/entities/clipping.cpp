#include "entities/clipping.h"

#include <limits>
#include <utility>

#include "entities/clipping_names.h"
#include "entities/entity_xml_internal.h"
#include "entities/xml_io.h"
#include "util/errors.h"

namespace clipcat {

using namespace clipping_xml;

Clipping::Clipping()
    : updated_(Date::Now()), clipping_data_(std::make_shared<ClippingDataCollection>()) {}

int16_t Clipping::ClippingStatus() const {
  if (status_ < std::numeric_limits<int16_t>::min() ||
      status_ > std::numeric_limits<int16_t>::max()) {
    RaiseRuntimeError(err::kOverflow);
  }
  return static_cast<int16_t>(status_);
}

void Clipping::SetClippingData(std::shared_ptr<ClippingDataCollection> vNewValue) {
  if (!vNewValue) RaiseRuntimeError(err::kObjectVariableNotSet);
  clipping_data_ = std::move(vNewValue);
}

std::string Clipping::XML() const {
  pugi::xml_document document;
  internal::ClippingXml::Append(*this, document);
  return xml::Print(document.first_child());
}

void Clipping::SetXML(const std::string& sNewValue) {
  pugi::xml_document document;
  internal::ClippingXml::Read(*this, xml::LoadRoot(document, sNewValue, kClippingElement));
}

namespace internal {

void ClippingXml::Append(const Clipping& clipping, pugi::xml_node parent) {
  pugi::xml_node element = parent.append_child(kClippingElement);
  xml::SetTextAttribute(element, kIDAttribute, clipping.id_);
  xml::SetTextAttribute(element, kGUIDAttribute, clipping.guid_);
  xml::SetTextAttribute(element, kFolderIDAttribute, clipping.folder_id_);
  xml::SetTextAttribute(element, kNameAttribute, clipping.name_);
  xml::SetTextAttribute(element, kDescriptionAttribute, clipping.description_);
  // The stored 32-bit status: the text keeps what a 16-bit read would refuse.
  xml::SetLongAttribute(element, kStatusAttribute, clipping.status_);
  xml::SetDateAttribute(element, kUpdatedAttribute, clipping.updated_);
  xml::SetDateAttribute(element, kAccessedAttribute, clipping.accessed_);
  xml::SetTextAttribute(element, kCategoriesAttribute, clipping.categories_);
  xml::SetTextAttribute(element, kPathNameAttribute, clipping.path_name_);
  pugi::xml_node data = element.append_child(kDataElement);
  for (const std::shared_ptr<ClippingData>& item : *clipping.clipping_data_) {
    if (!item) RaiseRuntimeError(err::kObjectVariableNotSet);
    ClippingDataXml::Append(*item, data);
  }
}

void ClippingXml::Read(Clipping& clipping, pugi::xml_node element) {
  clipping.id_ = xml::ReadText(element, kIDAttribute);
  clipping.guid_ = xml::ReadText(element, kGUIDAttribute);
  clipping.folder_id_ = xml::ReadText(element, kFolderIDAttribute);
  clipping.name_ = xml::ReadText(element, kNameAttribute);
  clipping.description_ = xml::ReadText(element, kDescriptionAttribute);
  clipping.status_ = xml::ReadLong(element, kStatusAttribute);
  clipping.updated_ = xml::ReadDate(element, kUpdatedAttribute);
  clipping.accessed_ = xml::ReadDate(element, kAccessedAttribute);
  clipping.path_name_ = xml::ReadText(element, kPathNameAttribute);
  clipping.categories_ = xml::ReadText(element, kCategoriesAttribute);
  clipping.clipping_data_ = std::make_shared<ClippingDataCollection>();
  const pugi::xml_node data = element.child(kDataElement);
  if (!data) RaiseRuntimeError(err::kObjectRequired);
  for (pugi::xml_node node : data.children()) {
    if (xml::IsBlankText(node)) continue;
    // Every child is an item whatever its name, as the form has always been read; one without
    // a "datatype" (a comment, stray text) is refused by the item's own read.
    auto item = std::make_shared<ClippingData>();
    ClippingDataXml::Read(*item, node);
    clipping.clipping_data_->Add(std::move(item));
  }
}

}  // namespace internal
}  // namespace clipcat
