#include "entities/clipping.h"
#include "entities/clipping_names.h"
#include "entities/entity_xml_internal.h"
#include "entities/xml_io.h"

namespace clipcat {

using namespace clipping_xml;

std::string ClippingData::XML() const {
  pugi::xml_document document;
  internal::ClippingDataXml::Append(*this, document);
  return xml::Print(document.first_child());
}

void ClippingData::SetXML(const std::string& sNewValue) {
  pugi::xml_document document;
  internal::ClippingDataXml::Read(*this, xml::LoadRoot(document, sNewValue, kDataItemElement));
}

namespace internal {

void ClippingDataXml::Append(const ClippingData& data, pugi::xml_node parent) {
  pugi::xml_node element = parent.append_child(kDataItemElement);
  xml::SetLongAttribute(element, kDataTypeAttribute, data.ClippingDataType());
  // Content is any bytes: what XML text cannot carry travels in base64 instead of being refused.
  xml::SetDataContent(element, data.RawData());
}

void ClippingDataXml::Read(ClippingData& data, pugi::xml_node element) {
  data.raw_data_ = xml::DataContent(element);
  // A missing type is Null, which no number can be made of: the item is refused (94).
  data.clipping_data_type_ = xml::AttributeValue(element, kDataTypeAttribute).ToLong();
}

}  // namespace internal
}  // namespace clipcat
