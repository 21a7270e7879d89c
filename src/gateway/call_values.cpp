#include "gateway/call_values.h"

#include <limits>

#include "automation/automation_object.h"
#include "automation/entity_objects.h"
#include "entities/external_catalog.h"
#include "gateway/api_errors.h"
#include "gateway/json_form.h"

namespace clipcat::gateway {
namespace {

using nlohmann::json;

Variant CallArgument(const json& value) {
  switch (value.type()) {
    case json::value_t::string:
      return Variant(value.get<std::string>());
    case json::value_t::boolean:
      return Variant(value.get<bool>());
    case json::value_t::null:
      return Variant(std::shared_ptr<Dispatch>());
    case json::value_t::number_integer:
    case json::value_t::number_unsigned: {
      const double number = value.get<double>();
      if (number >= std::numeric_limits<int32_t>::min() &&
          number <= std::numeric_limits<int32_t>::max()) {
        return Variant(static_cast<int32_t>(value.get<int64_t>()));
      }
      return Variant(number);
    }
    case json::value_t::number_float:
      return Variant(value.get<double>());
    default:
      RaiseBadRequest("an argument must be text, a number, true, false or null");
  }
}

// The JSON form of an entity the library knows, or null.
json EntityJson(const Variant& value, const std::string& type) {
  if (type == "Folder") return FolderJson(*Unwrap<Folder>(value), true);
  if (type == "Folders") return FolderTreeJson(*Unwrap<Folders>(value));
  if (type == "Clipping") return ClippingJson(*Unwrap<Clipping>(value), true);
  if (type == "Clippings") return ClippingListJson(*Unwrap<Clippings>(value));
  if (type == "Category") return CategoryJson(*Unwrap<Category>(value));
  if (type == "Categories") return CategoryListJson(*Unwrap<Categories>(value));
  if (type == "ExternalCatalog") {
    const auto catalog = Unwrap<ExternalCatalog>(value);
    return {{"id", catalog->ID()},
            {"guid", catalog->GUID()},
            {"isonline", catalog->IsOnline()},
            {"connectionspeed", catalog->ConnectionSpeed()},
            {"connectionstringxml", catalog->ConnectionStringXML()}};
  }
  return nullptr;
}

json ObjectJson(const Variant& value) {
  const std::shared_ptr<Dispatch>& object = value.AsObject();
  if (!object) return nullptr;
  const std::string type = object->TypeName();
  if (type == "Collection") {
    json list = json::array();
    const int32_t count = GetProperty(object, "Count").ToLong();
    for (int32_t i = 1; i <= count; ++i)
      list.push_back(ResultJson(CallMember(object, "Item", {i})));
    return list;
  }
  json xml;  // an external catalog has no XML form
  IgnoreErrors([&] { xml = GetProperty(object, "XML").ToText(); });
  return {{"type", type}, {"xml", xml}, {"object", EntityJson(value, type)}};
}

}  // namespace

std::vector<Variant> CallArguments(const json& array) {
  std::vector<Variant> arguments;
  for (const json& value : array) arguments.push_back(CallArgument(value));
  return arguments;
}

json ResultJson(const Variant& value) {
  switch (value.type()) {
    case Variant::Type::kEmpty:
    case Variant::Type::kNull:
      return nullptr;
    case Variant::Type::kBoolean:
      return value.AsBoolean();
    case Variant::Type::kInteger:
    case Variant::Type::kLong:
      return value.ToLong();
    case Variant::Type::kDouble:
      return value.ToDouble();
    case Variant::Type::kDate:
      return FormatIsoUtc(value.ToDate());
    case Variant::Type::kString:
      return value.AsString();
    case Variant::Type::kObject:
      return ObjectJson(value);
  }
  return nullptr;
}

}  // namespace clipcat::gateway
