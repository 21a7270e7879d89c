#include "gateway/request_body.h"

#include "entities/plain_text.h"
#include "gateway/api_errors.h"
#include "util/base64.h"

namespace clipcat::gateway {
namespace {

using nlohmann::json;

json Parse(const std::string& body) {
  json parsed = json::parse(body, nullptr, false);
  if (parsed.is_discarded()) RaiseBadRequest("the request body is not JSON");
  return parsed;
}

int32_t ItemType(const json& type) {
  if (type.is_number_integer()) {
    const auto number = type.get<int64_t>();
    if (number < 1 || number > INT32_MAX) RaiseBadRequest("a data item's type must be positive");
    return static_cast<int32_t>(number);
  }
  if (type.is_string()) {
    const int32_t named = DataTypeNamed(type.get<std::string>());
    if (named == 0) RaiseBadRequest("unknown data item type \"" + type.get<std::string>() + "\"");
    return named;
  }
  RaiseBadRequest("a data item needs a \"type\": a name such as \"text\" or a number");
}

std::shared_ptr<ClippingData> DataItem(const json& given) {
  if (!given.is_object()) RaiseBadRequest("each of \"items\" must be an object");
  const auto item = ClippingData::Create();
  item->SetClippingDataType(ItemType(given.contains("type") ? given["type"] : json()));
  const auto text = TextField(given, "text");
  const auto base64 = TextField(given, "base64");
  if (text.has_value() == base64.has_value()) {
    RaiseBadRequest("a data item needs either \"text\" or \"base64\"");
  }
  if (text) {
    item->SetRawData(*text);
  } else {
    auto bytes = DecodeBase64(*base64);
    if (!bytes) RaiseBadRequest("a data item's \"base64\" does not decode");
    item->SetRawData(std::move(*bytes));
  }
  return item;
}

}  // namespace

json ParseObject(const std::string& body) {
  json parsed = Parse(body);
  if (!parsed.is_object()) RaiseBadRequest("the request body must be a JSON object");
  return parsed;
}

json ParseArray(const std::string& body) {
  json parsed = Parse(body);
  if (!parsed.is_array()) RaiseBadRequest("the request body must be a JSON array");
  return parsed;
}

std::optional<std::string> TextField(const json& object, const char* name) {
  const auto found = object.find(name);
  if (found == object.end()) return std::nullopt;
  if (!found->is_string()) RaiseBadRequest(std::string("\"") + name + "\" must be text");
  return found->get<std::string>();
}

std::string RequiredText(const json& object, const char* name) {
  auto text = TextField(object, name);
  if (!text) RaiseBadRequest(std::string("the request needs \"") + name + "\"");
  return std::move(*text);
}

std::optional<std::shared_ptr<ClippingDataCollection>> DataItemsOf(const json& object) {
  const auto text = TextField(object, "text");
  const auto items = object.find("items");
  if (text && items != object.end()) RaiseBadRequest("give \"text\" or \"items\", not both");
  auto collection = std::make_shared<ClippingDataCollection>();
  if (text) {
    const auto item = ClippingData::Create();
    item->SetClippingDataType(kPlainTextDataType);
    item->SetRawData(*text);
    collection->Add(item);
    return collection;
  }
  if (items == object.end()) return std::nullopt;
  if (!items->is_array()) RaiseBadRequest("\"items\" must be a list");
  for (const json& given : *items) collection->Add(DataItem(given));
  return collection;
}

bool IsTrue(const std::string& value) { return value == "1" || value == "true" || value == "yes"; }

}  // namespace clipcat::gateway
