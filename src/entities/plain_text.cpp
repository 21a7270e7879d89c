#include "entities/plain_text.h"

#include <algorithm>
#include <cctype>
#include <pugixml.hpp>

#include "util/rtf_text.h"
#include "util/search_words.h"
#include "util/utf16.h"

namespace clipcat {
namespace {

// `text` as every engine can store it: bytes that are not UTF-8 become U+FFFD (the round trip
// through UTF-16 replaces them), NUL characters become spaces.
std::string StorableText(std::string_view text) {
  // Most text is well-formed already: only the NULs are left to replace.
  std::string valid =
      IsWellFormedUtf8(text) ? std::string(text) : Utf16LEToUtf8(Utf8ToUtf16LE(text));
  std::replace(valid.begin(), valid.end(), '\0', ' ');
  return valid;
}

std::string XmlText(std::string_view content) {
  pugi::xml_document document;
  // A document that stops parsing keeps the nodes read before the fault.
  document.load_buffer(content.data(), content.size(), pugi::parse_default | pugi::parse_fragment,
                       pugi::encoding_utf8);
  struct Collector : pugi::xml_tree_walker {
    std::string text;
    bool for_each(pugi::xml_node& node) override {
      if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) {
        if (!text.empty()) text += '\n';
        text += node.value();
      }
      return true;
    }
  } collector;
  document.traverse(collector);
  return StorableText(collector.text);
}

// `text` cut to at most `max_bytes` bytes at the end of a word. The words are read a character
// (at most four bytes) past the cut, so that a word ending right at the cut is kept whole.
std::string CutAtWord(std::string text, size_t max_bytes) {
  if (text.size() <= max_bytes) return text;
  size_t end = 0;
  for (const WordSpan& word : SplitWords(std::string_view(text).substr(0, max_bytes + 4))) {
    if (word.end <= max_bytes) end = word.end;
  }
  text.resize(end);
  return text;
}

}  // namespace

std::string PlainTextOf(int32_t type, std::string_view content) {
  switch (type) {
    case kPlainTextDataType:
      return StorableText(content);
    case kRichTextDataType:
      return StorableText(RtfToText(content));
    case kSpreadsheetXmlDataType:
    case kWordProcessorXmlDataType:
    case kCatalogXmlDataType:
      return XmlText(content);
    default:
      return {};
  }
}

std::string PlainTextOfItems(const ClippingDataCollection& items, size_t max_bytes) {
  std::string text;
  for (const std::shared_ptr<ClippingData>& item : items) {
    if (item == nullptr) continue;
    std::string item_text = PlainTextOf(item->ClippingDataType(), item->RawData());
    if (item_text.empty()) continue;
    if (!text.empty()) text += '\n';
    text += item_text;
    if (text.size() > max_bytes) break;
  }
  return CutAtWord(std::move(text), max_bytes);
}

namespace {

struct NamedDataType {
  int32_t type;
  const char* name;
};

constexpr NamedDataType kDataTypeNames[] = {
    {kRichTextDataType, "rtf"},
    {kPlainTextDataType, "text"},
    {kSpreadsheetXmlDataType, "excel-xml"},
    {kWordProcessorXmlDataType, "word-xml"},
    {kCatalogXmlDataType, "catalog-xml"},
};

}  // namespace

std::string DataTypeName(int32_t type) {
  for (const NamedDataType& named : kDataTypeNames) {
    if (named.type == type) return named.name;
  }
  return "type-" + std::to_string(type);
}

int32_t DataTypeNamed(std::string_view name) {
  for (const NamedDataType& named : kDataTypeNames) {
    if (name.size() == std::string_view(named.name).size() &&
        std::equal(name.begin(), name.end(), named.name, [](char a, char b) {
          return std::tolower(static_cast<unsigned char>(a)) == b;
        })) {
      return named.type;
    }
  }
  return 0;
}

}  // namespace clipcat
