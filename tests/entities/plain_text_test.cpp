#include "entities/plain_text.h"

#include <gtest/gtest.h>
#include <unicode/utf8.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace clipcat::testing {
namespace {

std::shared_ptr<ClippingDataCollection> Items(
    const std::vector<std::pair<int32_t, std::string>>& items) {
  auto collection = ClippingDataCollection::Create();
  for (const auto& [type, content] : items) {
    auto item = ClippingData::Create();
    item->SetClippingDataType(type);
    item->SetRawData(content);
    collection->Add(std::move(item));
  }
  return collection;
}

bool IsValidUtf8(const std::string& text) {
  const auto length = static_cast<int32_t>(text.size());
  for (int32_t i = 0; i < length;) {
    UChar32 c = 0;
    U8_NEXT(text.data(), i, length, c);
    if (c <= 0) return false;
  }
  return true;
}

TEST(PlainTextOf, ReadsEachTextType) {
  EXPECT_EQ(PlainTextOf(kPlainTextDataType, "  Dear Sir,\n\tthanks "), "  Dear Sir,\n\tthanks ");
  EXPECT_EQ(
      PlainTextOf(kRichTextDataType,
                  "{\\rtf1\\ansi{\\fonttbl{\\f0\\fswiss Helvetica;}}{\\colortbl;\\red255\\green0"
                  "\\blue0;}\\f0 Quarterly \\b report\\b0\\par}"),
      "Quarterly report");
  const std::string sheet =
      "<?xml version=\"1.0\"?><Workbook><!-- a comment --><Row><Cell ss:Hidden=\"secret\">"
      "<Data>Total &amp; tax</Data></Cell><Cell><Data>42</Data></Cell></Row>"
      "<Row><Cell><Data><![CDATA[a <b> c]]></Data></Cell></Row></Workbook>";
  for (const int32_t type :
       {kSpreadsheetXmlDataType, kWordProcessorXmlDataType, kCatalogXmlDataType}) {
    EXPECT_EQ(PlainTextOf(type, sheet), "Total & tax\n42\na <b> c") << type;
  }
  // A damaged document gives the text before the damage.
  EXPECT_EQ(PlainTextOf(kWordProcessorXmlDataType,
                        "<doc><p>first</p><p>second</p><p attr=\"x>third</p><p>lost"),
            "first\nsecond");
  EXPECT_EQ(PlainTextOf(kCatalogXmlDataType, "<a>one</b>two"), "one");
  EXPECT_EQ(PlainTextOf(kSpreadsheetXmlDataType, "not markup at all"), "not markup at all");
  EXPECT_EQ(PlainTextOf(kSpreadsheetXmlDataType, ""), "");
  for (const int32_t type : {0, 6, 7, 99, -1}) {
    EXPECT_EQ(PlainTextOf(type, "visible words"), "") << type;
  }
}

TEST(PlainTextOf, TextIsAlwaysValidUtf8WithoutNul) {
  // The text is stored as text on every engine: bytes that are not UTF-8 become U+FFFD, NUL a
  // space.
  EXPECT_EQ(PlainTextOf(kPlainTextDataType, std::string("caf\xe9 \0nul\xff", 10)),
            "caf\ufffd  nul\ufffd");
  EXPECT_EQ(PlainTextOf(kSpreadsheetXmlDataType, "<a>x\xc3(y</a>"), "x\ufffd(y");
  // Rich text that is not RTF at all is read as text, and cleaned the same way.
  EXPECT_EQ(PlainTextOf(kRichTextDataType, std::string("ab\0cd\xff", 6)), "ab cd\ufffd");
  EXPECT_EQ(PlainTextOf(kPlainTextDataType, "\xce\xa3\xe6\x97\xa5"), "\xce\xa3\xe6\x97\xa5");
}

TEST(PlainTextOfItems, JoinsItemsAndCutsAtAWordBoundary) {
  const auto items = Items(
      {{2, "first line"}, {8, "binary"}, {1, "{\\rtf1 second}"}, {2, ""}, {3, "<a>third</a>"}});
  items->Add(nullptr);
  EXPECT_EQ(PlainTextOfItems(*items, 1000), "first line\nsecond\nthird");
  EXPECT_EQ(PlainTextOfItems(*Items({}), 1000), "");
  const auto words = Items({{2, "alpha beta gamma"}});
  EXPECT_EQ(PlainTextOfItems(*words, 16), "alpha beta gamma");
  EXPECT_EQ(PlainTextOfItems(*words, 15), "alpha beta");
  EXPECT_EQ(PlainTextOfItems(*words, 10), "alpha beta") << "the word ends where the cut falls";
  EXPECT_EQ(PlainTextOfItems(*words, 9), "alpha");
  EXPECT_EQ(PlainTextOfItems(*words, 3), "");
  EXPECT_EQ(PlainTextOfItems(*Items({{2, "one two"}, {2, "three"}}), 9), "one two");
  // Never inside a character: "é" is two bytes.
  const std::string cut =
      PlainTextOfItems(*Items({{2, "\xc3\xa9\xc3\xa9\xc3\xa9 \xc3\xa9t\xc3\xa9"}}), 10);
  EXPECT_EQ(cut, "\xc3\xa9\xc3\xa9\xc3\xa9");
  for (size_t max = 0; max < 40; ++max) {
    const std::string text =
        PlainTextOfItems(*Items({{2, "d\xc3\xa9j\xc3\xa0 vu, \xe6\x97\xa5\xe6\x9c\xac x"}}), max);
    EXPECT_LE(text.size(), max);
    EXPECT_TRUE(text.empty() || IsValidUtf8(text)) << max;
  }
}

}  // namespace
}  // namespace clipcat::testing
