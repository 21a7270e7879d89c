#include "library/clipping_content.h"

#include <cstdlib>

#include "entities/plain_text.h"
#include "library/item_lookup.h"

namespace clipcat {
namespace {

constexpr int32_t kNamedTypes[] = {kRichTextDataType, kPlainTextDataType, kSpreadsheetXmlDataType,
                                   kWordProcessorXmlDataType, kCatalogXmlDataType};

std::string TypesOf(const Clipping& clipping) {
  std::string types;
  for (const auto& item : *clipping.ClippingData()) {
    types += (types.empty() ? "" : ", ") + DataTypeName(item->ClippingDataType());
  }
  return types.empty() ? "no data items" : types;
}

}  // namespace

ClippingContent BestContent(const Clipping& clipping, int32_t type) {
  const auto& items = *clipping.ClippingData();
  if (type > 0) {
    for (const auto& item : items) {
      if (item->ClippingDataType() == type) return {item->RawData(), type, false};
    }
    Refuse("clipping " + clipping.ID() + " has no " + DataTypeName(type) + " item (it has " +
           TypesOf(clipping) + ")");
  }
  for (const auto& item : items) {
    if (item->ClippingDataType() == kPlainTextDataType) {
      return {item->RawData(), kPlainTextDataType, false};
    }
  }
  for (const auto& item : items) {
    for (const int32_t named : kNamedTypes) {
      if (item->ClippingDataType() == named) {
        return {PlainTextOf(named, item->RawData()), named, true};
      }
    }
  }
  Refuse("clipping " + clipping.ID() + " holds no text (it has " + TypesOf(clipping) +
         "); --type gives an item's bytes");
}

int32_t RequireDataType(const std::string& name) {
  if (const int32_t type = DataTypeNamed(name); type != 0) return type;
  std::string names;
  for (const int32_t type : kNamedTypes) names += (names.empty() ? "" : ", ") + DataTypeName(type);
  char* end = nullptr;
  const long number = std::strtol(name.c_str(), &end, 10);
  if (!name.empty() && *end == '\0' && number >= 1 && number <= INT32_MAX) {
    return static_cast<int32_t>(number);
  }
  Refuse("\"" + name + "\" is not a data type: " + names + ", or a number");
}

}  // namespace clipcat
