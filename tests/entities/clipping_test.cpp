#include "entities/clipping.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "entities/raises.h"
#include "util/date_locale.h"
#include "util/values.h"

namespace clipcat {
namespace {

using test::RaisedNumber;

// A clipping with every property set, store-only ones included, as text reaches it.
const char kFilledClipping[] =
    "<clipping ClippingID=\"P2C40\" GUID=\"FFEE0011\" FolderID=\"P2C3\" "
    "Name=\"N &amp; &lt;M> &quot;q&quot; '\xC3\xBC'\" Description=\"d&#13;&#10;e&#09;f\" "
    "Status=\"4\" Updated=\"14:05:09 3 Mar 2002\" lastaccessed=\"01:02:03 31 Dec 2001\" "
    "Categories=\"Legal, Tax\" PathName=\"\\Root\\Sub\"><clippingdata>"
    "<clippingdataitem datatype=\"1\">{\\rtf1 a\r\n\tb}</clippingdataitem>"
    "<clippingdataitem datatype=\"2\">a&lt;b&gt;&amp;c</clippingdataitem>"
    "</clippingdata></clipping>";

std::shared_ptr<ClippingData> Item(const std::string& raw, int32_t type) {
  auto item = ClippingData::Create();
  item->SetRawData(raw);
  item->SetClippingDataType(type);
  return item;
}

// Contents that must come back byte for byte.
std::vector<std::string> Contents() {
  return {"",
          "a<b>&c",
          "{\\rtf1\\ansi\r\n{\\fonttbl\\f0 Arial;}\r\n\\par x\\tab y}\r\n",
          "<?xml version=\"1.0\"?>\r\n<Workbook xmlns=\"urn:x\"><Cell a='1'>1 &amp; 2</Cell>"
          "</Workbook>",
          "<![CDATA[x]]> ]]> ]]&gt;",
          " ",
          " \t\r\n\r ",
          "lone\rcarriage\rreturns",
          "&amp; &lt; &#13; &#x41; &unknown;",
          "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80 \xE6\x97\xA5\xE6\x9C\xAC"};
}

TEST(Clipping, NewClippingWritesDefaultsZeroAccessDateAndEmptyData) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  const Date before = Date::Now();
  auto clipping = Clipping::Create();
  const Date after = Date::Now();
  EXPECT_LE(before.serial(), clipping->Updated().serial());
  EXPECT_LE(clipping->Updated().serial(), after.serial());
  EXPECT_EQ(clipping->Accessed(), Date());
  EXPECT_EQ(clipping->ClippingStatus(), 0);
  ASSERT_NE(clipping->ClippingData(), nullptr);
  EXPECT_EQ(clipping->ClippingData()->Count(), 0);
  EXPECT_EQ(clipping->XML(),
            "<clipping ClippingID=\"\" GUID=\"\" FolderID=\"\" Name=\"\" Description=\"\" "
            "Status=\"0\" Updated=\"" +
                FormatCatalogDate(clipping->Updated()) +
                "\" lastaccessed=\"00:00:00 30 Dec 1899\" Categories=\"\" PathName=\"\">"
                "<clippingdata/></clipping>");
}

TEST(Clipping, FilledClippingReadsEveryPropertyAndWritesTheSameText) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  auto clipping = Clipping::Create();
  clipping->SetXML(kFilledClipping);
  EXPECT_EQ(clipping->ID(), "P2C40");
  EXPECT_EQ(clipping->GUID(), "FFEE0011");
  EXPECT_EQ(clipping->FolderID(), "P2C3");
  EXPECT_EQ(clipping->Name(), "N & <M> \"q\" '\xC3\xBC'");
  EXPECT_EQ(clipping->Description(), "d\r\ne\tf");
  EXPECT_EQ(clipping->ClippingStatus(), 4);
  EXPECT_EQ(clipping->Updated(), *Date::FromParts({2002, 3, 3, 14, 5, 9}));
  EXPECT_EQ(clipping->Accessed(), *Date::FromParts({2001, 12, 31, 1, 2, 3}));
  EXPECT_EQ(clipping->Categories(), "Legal, Tax");
  EXPECT_EQ(clipping->PathName(), "\\Root\\Sub");
  ASSERT_EQ(clipping->ClippingData()->Count(), 2);
  EXPECT_EQ(clipping->ClippingData()->Item(1)->RawData(), "{\\rtf1 a\r\n\tb}");
  EXPECT_EQ(clipping->ClippingData()->Item(1)->ClippingDataType(), 1);
  EXPECT_EQ(clipping->ClippingData()->Item(2)->RawData(), "a<b>&c");
  EXPECT_EQ(clipping->ClippingData()->Item(2)->ClippingDataType(), 2);
  EXPECT_EQ(clipping->XML(), kFilledClipping);

  auto copy = Clipping::Create();
  copy->SetXML(clipping->XML());
  EXPECT_EQ(copy->XML(), kFilledClipping);
}

TEST(Clipping, ContentRoundTripsByteForByteInOrderWithItsTypes) {
  auto clipping = Clipping::Create();
  const std::vector<std::string> contents = Contents();
  for (size_t i = 0; i < contents.size(); ++i) {
    clipping->ClippingData()->Add(Item(contents[i], static_cast<int32_t>(i) - 1));
  }
  clipping->ClippingData()->Add(Item("max", std::numeric_limits<int32_t>::max()));
  clipping->ClippingData()->Add(Item("min", std::numeric_limits<int32_t>::min()));
  auto read = Clipping::Create();
  read->SetXML(clipping->XML());
  ASSERT_EQ(read->ClippingData()->Count(), clipping->ClippingData()->Count());
  for (int32_t i = 1; i <= read->ClippingData()->Count(); ++i) {
    EXPECT_EQ(read->ClippingData()->Item(i)->RawData(),
              clipping->ClippingData()->Item(i)->RawData())
        << "item " << i;
    EXPECT_EQ(read->ClippingData()->Item(i)->ClippingDataType(),
              clipping->ClippingData()->Item(i)->ClippingDataType())
        << "item " << i;
  }
}

TEST(Clipping, TextPropertiesRoundTripAnythingXmlCanCarry) {
  for (const std::string& value : Contents()) {
    auto clipping = Clipping::Create();
    clipping->SetID(value);
    clipping->SetGUID(value);
    clipping->SetFolderID(value);
    clipping->SetName(value);
    clipping->SetDescription(value);
    clipping->SetPathName(value);
    clipping->SetCategories(value);
    auto read = Clipping::Create();
    read->SetXML(clipping->XML());
    for (const std::string* got : {&read->ID(), &read->GUID(), &read->FolderID(), &read->Name(),
                                   &read->Description(), &read->PathName(), &read->Categories()}) {
      EXPECT_EQ(*got, value);
    }
  }
}

TEST(Clipping, TenMegabyteContentRoundTrips) {
  const std::string pattern = "{\\rtf1 <b>&amp;</b>\r\n\t\xC3\xA9\xE2\x82\xAC\"'>}";
  std::string content;
  content.reserve(10 * 1024 * 1024 + pattern.size());
  while (content.size() < 10 * 1024 * 1024) content += pattern;
  auto clipping = Clipping::Create();
  clipping->ClippingData()->Add(Item(content, 1));
  clipping->ClippingData()->Add(Item("tail", 2));
  const std::string text = clipping->XML();
  auto read = Clipping::Create();
  read->SetXML(text);
  ASSERT_EQ(read->ClippingData()->Count(), 2);
  EXPECT_TRUE(read->ClippingData()->Item(1)->RawData() == content);
  EXPECT_EQ(read->ClippingData()->Item(2)->RawData(), "tail");
}

TEST(Clipping, KeywordsAreNotPartOfTheText) {
  auto clipping = Clipping::Create();
  clipping->SetKeywords("alpha beta");
  const std::string text = clipping->XML();
  EXPECT_EQ(text.find("alpha"), std::string::npos);
  auto read = Clipping::Create();
  read->SetXML(text);
  EXPECT_EQ(read->Keywords(), "");
  clipping->SetXML(text);
  EXPECT_EQ(clipping->Keywords(), "alpha beta") << "reading leaves keywords alone";
}

TEST(Clipping, StatusIsStoredIn32BitsAndNarrowedTo16OnReading) {
  struct Case {
    int32_t stored;
    bool overflows;
  };
  for (const Case& c : {Case{std::numeric_limits<int32_t>::min(), true}, Case{-32769, true},
                        Case{-32768, false}, Case{-1, false}, Case{4, false}, Case{32767, false},
                        Case{32768, true}, Case{std::numeric_limits<int32_t>::max(), true}}) {
    auto clipping = Clipping::Create();
    const std::string status = std::to_string(c.stored);
    clipping->SetXML("<clipping Status=\"" + status + "\"><clippingdata/></clipping>");
    if (c.overflows) {
      EXPECT_EQ(RaisedNumber([&] { clipping->ClippingStatus(); }), err::kOverflow) << status;
    } else {
      EXPECT_EQ(clipping->ClippingStatus(), c.stored);
    }
    EXPECT_NE(clipping->XML().find("Status=\"" + status + "\""), std::string::npos) << status;
  }
}

TEST(Clipping, MissingAttributesTakeFallbacksAndUnknownOnesAreIgnored) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  auto clipping = Clipping::Create();
  clipping->SetXML(kFilledClipping);
  const Date before = Date::Now();
  clipping->SetXML("<clipping name=\"lower\" Other=\"x\"><clippingdata/></clipping>");
  const Date after = Date::Now();
  for (const std::string* got :
       {&clipping->ID(), &clipping->GUID(), &clipping->FolderID(), &clipping->Name(),
        &clipping->Description(), &clipping->PathName(), &clipping->Categories()}) {
    EXPECT_EQ(*got, "");
  }
  EXPECT_EQ(clipping->ClippingStatus(), 0);
  for (const Date& date : {clipping->Updated(), clipping->Accessed()}) {
    EXPECT_LE(before.serial(), date.serial());
    EXPECT_LE(date.serial(), after.serial());
  }
  EXPECT_EQ(clipping->ClippingData()->Count(), 0);
}

TEST(Clipping, RefusedTextRaisesObjectRequiredAndChangesNothing) {
  for (const std::string& text :
       {std::string(""), std::string("<clipping"), std::string("<Clipping/>"),
        std::string("<clippings/>"), std::string("<clipping/><clipping/>"),
        std::string("<clipping>\x01</clipping>")}) {
    auto clipping = Clipping::Create();
    clipping->SetName("before");
    auto items = clipping->ClippingData();
    items->Add(Item("kept", 2));
    EXPECT_EQ(RaisedNumber([&] { clipping->SetXML(text); }), err::kObjectRequired) << text;
    EXPECT_EQ(clipping->Name(), "before");
    EXPECT_EQ(clipping->ClippingData(), items);
    EXPECT_EQ(items->Count(), 1);
  }
}

TEST(Clipping, MissingDataElementRaisesAfterPropertiesAndItemsAreReplaced) {
  for (const std::string& text :
       {std::string("<clipping Name=\"new\"/>"),
        std::string("<clipping Name=\"new\"><ClippingData/></clipping>")}) {
    auto clipping = Clipping::Create();
    auto items = clipping->ClippingData();
    items->Add(Item("old", 1));
    EXPECT_EQ(RaisedNumber([&] { clipping->SetXML(text); }), err::kObjectRequired) << text;
    EXPECT_EQ(clipping->Name(), "new");
    EXPECT_NE(clipping->ClippingData(), items);
    EXPECT_EQ(clipping->ClippingData()->Count(), 0);
    EXPECT_EQ(items->Count(), 1);
  }
}

TEST(Clipping, BadItemTypeRaisesAndKeepsTheItemsBeforeIt) {
  struct Case {
    const char* bad_item;
    int32_t number;
  };
  for (const Case& c :
       {Case{"<clippingdataitem>x</clippingdataitem>", err::kInvalidUseOfNull},
        Case{"<clippingdataitem Datatype=\"1\">x</clippingdataitem>", err::kInvalidUseOfNull},
        Case{"<!-- note -->", err::kInvalidUseOfNull}, Case{"stray text", err::kInvalidUseOfNull},
        Case{"<clippingdataitem datatype=\"rtf\">x</clippingdataitem>", err::kTypeMismatch},
        Case{"<clippingdataitem datatype=\"\">x</clippingdataitem>", err::kTypeMismatch},
        Case{"<clippingdataitem datatype=\"4294967296\">x</clippingdataitem>", err::kOverflow}}) {
    auto clipping = Clipping::Create();
    const std::string text =
        std::string(
            "<clipping Name=\"n\"><clippingdata><clippingdataitem datatype=\"1\">a"
            "</clippingdataitem><clippingdataitem datatype=\"2\">b</clippingdataitem>") +
        c.bad_item + "<clippingdataitem datatype=\"3\">c</clippingdataitem></clippingdata>" +
        "</clipping>";
    EXPECT_EQ(RaisedNumber([&] { clipping->SetXML(text); }), c.number) << c.bad_item;
    EXPECT_EQ(clipping->Name(), "n");
    ASSERT_EQ(clipping->ClippingData()->Count(), 2) << c.bad_item;
    EXPECT_EQ(clipping->ClippingData()->Item(2)->RawData(), "b");
  }
}

TEST(Clipping, NonNumericStatusRaisesAndKeepsWhatWasReadBeforeIt) {
  auto clipping = Clipping::Create();
  clipping->SetPathName("old path");
  EXPECT_EQ(RaisedNumber([&] {
              clipping->SetXML(
                  "<clipping ClippingID=\"1\" GUID=\"g\" FolderID=\"f\" Name=\"n\" "
                  "Description=\"d\" Status=\"active\" PathName=\"p\"><clippingdata/>"
                  "</clipping>");
            }),
            err::kTypeMismatch);
  EXPECT_EQ(clipping->ID(), "1");
  EXPECT_EQ(clipping->GUID(), "g");
  EXPECT_EQ(clipping->FolderID(), "f");
  EXPECT_EQ(clipping->Name(), "n");
  EXPECT_EQ(clipping->Description(), "d");
  EXPECT_EQ(clipping->PathName(), "old path");
}

TEST(Clipping, ItemsOfAnyNameAndIndentedTextAreRead) {
  auto clipping = Clipping::Create();
  clipping->SetXML(
      "<clipping>\r\n  <clippingdata>\r\n    <clippingdataitem datatype=\"2\"> x "
      "</clippingdataitem>"
      "\r\n    <item datatype=\"5\"><![CDATA[<cat/>]]></item>\r\n  </clippingdata>\r\n</clipping>");
  ASSERT_EQ(clipping->ClippingData()->Count(), 2);
  EXPECT_EQ(clipping->ClippingData()->Item(1)->RawData(), " x ");
  EXPECT_EQ(clipping->ClippingData()->Item(2)->RawData(), "<cat/>");
  EXPECT_EQ(clipping->ClippingData()->Item(2)->ClippingDataType(), 5);
}

TEST(Clipping, TextXmlCannotCarryRaisesInvalidProcedureCall) {
  for (const std::string& bad : {std::string("\x02"), std::string("a\x1B[0m"), std::string("\xFE"),
                                 std::string("\xED\xA0\x80"), std::string("nul\0", 4)}) {
    auto named = Clipping::Create();
    named->SetName(bad);
    EXPECT_EQ(RaisedNumber([&] { named->XML(); }), err::kInvalidProcedureCall);
    auto content = Clipping::Create();
    content->ClippingData()->Add(Item("fine", 1));
    content->ClippingData()->Add(Item(bad, 2));
    EXPECT_EQ(RaisedNumber([&] { content->XML(); }), err::kInvalidProcedureCall);
  }
}

TEST(Clipping, DataListCanBeReplacedButNeverByNothing) {
  auto clipping = Clipping::Create();
  auto list = ClippingDataCollection::Create();
  list->Add(Item("x", 2));
  clipping->SetClippingData(list);
  EXPECT_EQ(clipping->ClippingData(), list);
  EXPECT_EQ(RaisedNumber([&] { clipping->SetClippingData(nullptr); }), err::kObjectVariableNotSet);
  EXPECT_EQ(clipping->ClippingData(), list);
  list->Add(nullptr);
  EXPECT_EQ(RaisedNumber([&] { clipping->XML(); }), err::kObjectVariableNotSet);
}

TEST(ClippingData, NewItemIsEmptyUncompressedTypeZero) {
  auto item = ClippingData::Create();
  EXPECT_EQ(item->RawData(), "");
  EXPECT_FALSE(item->IsCompressed());
  EXPECT_EQ(item->ClippingDataType(), 0);
  EXPECT_EQ(item->XML(), "<clippingdataitem datatype=\"0\"/>");
}

TEST(ClippingData, ItemTextIsTheClippingsItemElement) {
  for (const std::string& content : Contents()) {
    auto item = Item(content, 3);
    auto clipping = Clipping::Create();
    clipping->ClippingData()->Add(item);
    const std::string text = item->XML();
    EXPECT_NE(clipping->XML().find("<clippingdata>" + text + "</clippingdata>"), std::string::npos);
    auto read = ClippingData::Create();
    read->SetXML(text);
    EXPECT_EQ(read->RawData(), content);
    EXPECT_EQ(read->ClippingDataType(), 3);
  }
}

TEST(ClippingData, RefusedTextAndMissingTypeRaise) {
  auto item = Item("old", 4);
  EXPECT_EQ(RaisedNumber([&] { item->SetXML("<clippingdata/>"); }), err::kObjectRequired);
  EXPECT_EQ(item->RawData(), "old");
  EXPECT_EQ(RaisedNumber([&] { item->SetXML("<clippingdataitem>new</clippingdataitem>"); }),
            err::kInvalidUseOfNull);
  EXPECT_EQ(item->RawData(), "new");
  EXPECT_EQ(item->ClippingDataType(), 4);
}

TEST(Clippings, EmptyListWritesTwoTagsAndReadsBackEmpty) {
  auto clippings = Clippings::Create();
  EXPECT_EQ(clippings->XML(), "<clippings></clippings>");
  clippings->AddClipping(Clipping::Create());
  clippings->SetXML("<clippings></clippings>");
  EXPECT_EQ(clippings->Items()->Count(), 0);
}

TEST(Clippings, FilledListIsItsMembersTextsInOrder) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  auto a = Clipping::Create();
  a->SetXML(kFilledClipping);
  auto b = Clipping::Create();
  b->SetName("b");
  auto clippings = Clippings::Create();
  clippings->AddClipping(a);
  clippings->AddClipping(b);
  const std::string text = clippings->XML();
  EXPECT_EQ(text, "<clippings>" + a->XML() + b->XML() + "</clippings>");
  auto read = Clippings::Create();
  read->SetXML(text);
  ASSERT_EQ(read->Items()->Count(), 2);
  EXPECT_EQ(read->Items()->Item(1)->XML(), kFilledClipping);
  EXPECT_EQ(read->Items()->Item(2)->Name(), "b");
  EXPECT_EQ(read->XML(), text);
}

TEST(Clippings, RefusedTextEmptiesTheListAndKeepsMembersReadBeforeABadOne) {
  for (const std::string& text :
       {std::string("<Clippings></Clippings>"), std::string("<clipping><clippingdata/></clipping>"),
        std::string("<clippings>")}) {
    auto clippings = Clippings::Create();
    clippings->AddClipping(Clipping::Create());
    EXPECT_EQ(RaisedNumber([&] { clippings->SetXML(text); }), err::kObjectRequired) << text;
    EXPECT_EQ(clippings->Items()->Count(), 0);
  }
  auto clippings = Clippings::Create();
  EXPECT_EQ(RaisedNumber([&] {
              clippings->SetXML(
                  "<clippings><clipping Name=\"a\"><clippingdata/></clipping>"
                  "<clipping Name=\"b\"/></clippings>");
            }),
            err::kObjectRequired);
  ASSERT_EQ(clippings->Items()->Count(), 1);
  EXPECT_EQ(clippings->Items()->Item(1)->Name(), "a");
}

TEST(Clippings, AddClippingsAppendsTheSameObjectsAndClearStartsANewCollection) {
  auto a = Clipping::Create();
  auto b = Clipping::Create();
  auto clippings = Clippings::Create();
  clippings->AddClipping(a);
  clippings->AddClipping(b);
  clippings->AddClippings(clippings);
  ASSERT_EQ(clippings->Items()->Count(), 4);
  EXPECT_EQ(clippings->Items()->Item(3), a);
  EXPECT_EQ(clippings->Items()->Item(4), b);
  EXPECT_EQ(RaisedNumber([&] { clippings->AddClippings(nullptr); }), err::kObjectVariableNotSet);
  auto held = clippings->Items();
  clippings->ClearClippings();
  EXPECT_NE(clippings->Items(), held);
  EXPECT_EQ(clippings->Items()->Count(), 0);
  EXPECT_EQ(held->Count(), 4);
}

}  // namespace
}  // namespace clipcat
