#include "entities/connection_details.h"

#include <pugixml.hpp>

#include "entities/xml_io.h"

namespace clipcat {
namespace {

// Frozen: clients and stored linked-catalog rows depend on these exact names. Never change one.
constexpr char kElement[] = "connectiondetails";
constexpr char kClippingSourceNameAttribute[] = "clippingsourcename";
constexpr char kServerNameAttribute[] = "servername";
constexpr char kConnectionStringAttribute[] = "connectionstring";
constexpr char kDataSourceTypeAttribute[] = "datasourcetype";
constexpr char kIsPersonalCatalogAttribute[] = "ispersonalcatalog";

}  // namespace

bool ConnectionDetails::IsPersonalCatalog() {
  is_personal_catalog_ = false;
  return false;
}

std::string ConnectionDetails::XML() const {
  pugi::xml_document document;
  pugi::xml_node element = document.append_child(kElement);
  xml::SetTextAttribute(element, kClippingSourceNameAttribute, clipping_source_name_);
  xml::SetTextAttribute(element, kServerNameAttribute, server_name_);
  xml::SetTextAttribute(element, kConnectionStringAttribute, connection_string_);
  xml::SetLongAttribute(element, kDataSourceTypeAttribute, data_source_type_);
  xml::SetBooleanAttribute(element, kIsPersonalCatalogAttribute, is_personal_catalog_);
  return xml::Print(element);
}

void ConnectionDetails::SetXML(const std::string& sNewValue) {
  pugi::xml_document document;
  const pugi::xml_node element = xml::LoadRoot(document, sNewValue, kElement);
  clipping_source_name_ = xml::ReadText(element, kClippingSourceNameAttribute);
  server_name_read_ = xml::ReadText(element, kServerNameAttribute);
  connection_string_ = xml::ReadText(element, kConnectionStringAttribute);
  data_source_type_ = xml::ReadLong(element, kDataSourceTypeAttribute);
  is_personal_catalog_ = xml::ReadBoolean(element, kIsPersonalCatalogAttribute);
}

}  // namespace clipcat
