#include "entities/plain_text.h"

#include <pugixml.hpp>

#include "util/rtf_text.h"
#include "util/search_words.h"

namespace clipcat {
namespace {

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
  return collector.text;
}

// `text` cut to at most `max_bytes` bytes at the end of a word.
std::string CutAtWord(std::string text, size_t max_bytes) {
  if (text.size() <= max_bytes) return text;
  size_t end = 0;
  for (const WordSpan& word : SplitWords(std::string_view(text).substr(0, max_bytes))) {
    if (word.end < max_bytes) end = word.end;
  }
  text.resize(end);
  return text;
}

}  // namespace

std::string PlainTextOf(int32_t type, std::string_view content) {
  switch (type) {
    case kPlainTextDataType:
      return std::string(content);
    case kRichTextDataType:
      return RtfToText(content);
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

}  // namespace clipcat
