#include "entities/clipping.h"

#include "entities/entity_test_helpers.h"

namespace clipcat {
namespace {

using test::RaisedNumber;
using test::ReadBack;
using test::ReadError;
using test::Texts;
using test::WriteError;

// A clipping with every property set, store-only ones included, as text reaches it.
const char kFilledClipping[] =
    "<clipping ClippingID=\"P2C40\" GUID=\"FFEE0011\" FolderID=\"P2C3\" "
    "Name=\"N &amp; &lt;M> &quot;q&quot; '\xC3\xBC'\" Description=\"d&#13;&#10;e&#09;f\" "
    "Status=\"4\" Updated=\"14:05:09 3 Mar 2002\" lastaccessed=\"01:02:03 31 Dec 2001\" "
    "Categories=\"Legal, Tax\" PathName=\"\\Root\\Sub\"><clippingdata>"
    "<clippingdataitem datatype=\"1\">{\\rtf1 a&#13;\n\tb}</clippingdataitem>"
    "<clippingdataitem datatype=\"2\">a&lt;b&gt;&amp;c</clippingdataitem>"
    "</clippingdata></clipping>";

std::shared_ptr<ClippingData> Item(const std::string& raw, int32_t type) {
  auto item = ClippingData::Create();
  item->SetRawData(raw);
  item->SetClippingDataType(type);
  return item;
}

// The items as "type:content", in order.
Texts Items(const Clipping& clipping) {
  Texts items;
  for (const auto& item : *clipping.ClippingData()) {
    items.push_back(std::to_string(item->ClippingDataType()) + ":" + item->RawData());
  }
  return items;
}

// The texts of every text property, in the order the XML writes them.
std::string TextsOf(const Clipping& c) {
  return c.ID() + "|" + c.GUID() + "|" + c.FolderID() + "|" + c.Name() + "|" + c.Description() +
         "|" + c.Categories() + "|" + c.PathName();
}

TEST(Clipping, WritesAllAttributesInOrderAndReadsThemBack) {
  ScopedDateLocale locale(test::EnglishDates());
  const Date before = Date::Now();
  auto clipping = Clipping::Create();
  EXPECT_TRUE(test::StampedSince(before, clipping->Updated()));
  EXPECT_EQ(clipping->XML(),
            "<clipping ClippingID=\"\" GUID=\"\" FolderID=\"\" Name=\"\" Description=\"\" "
            "Status=\"0\" Updated=\"" +
                FormatCatalogDate(clipping->Updated()) +
                "\" lastaccessed=\"00:00:00 30 Dec 1899\" Categories=\"\" PathName=\"\">"
                "<clippingdata/></clipping>");
  clipping->SetKeywords("alpha beta");
  clipping->SetXML(kFilledClipping);
  EXPECT_EQ(TextsOf(*clipping),
            "P2C40|FFEE0011|P2C3|N & <M> \"q\" '\xC3\xBC'|d\r\ne\tf|Legal, Tax|\\Root\\Sub");
  EXPECT_EQ(clipping->ClippingStatus(), 4);
  EXPECT_EQ(clipping->Updated(), *Date::FromParts({2002, 3, 3, 14, 5, 9}));
  EXPECT_EQ(clipping->Accessed(), *Date::FromParts({2001, 12, 31, 1, 2, 3}));
  EXPECT_EQ(Items(*clipping), (Texts{"1:{\\rtf1 a\r\n\tb}", "2:a<b>&c"}));
  // Keywords are no part of the text: reading leaves them alone and writing leaves them out.
  EXPECT_EQ(clipping->Keywords(), "alpha beta");
  EXPECT_EQ(clipping->XML(), kFilledClipping);
  EXPECT_EQ(ReadBack(*clipping)->XML(), kFilledClipping);
  // Text from writers that left CR raw in content keeps it: line ends are not normalised.
  std::string raw_cr = kFilledClipping;
  raw_cr.replace(raw_cr.find("&#13;\n\tb"), 5, "\r");
  clipping->SetXML(raw_cr);
  EXPECT_EQ(Items(*clipping), (Texts{"1:{\\rtf1 a\r\n\tb}", "2:a<b>&c"}));
  EXPECT_EQ(clipping->XML(), kFilledClipping);
}

TEST(Clipping, TextsContentsAndTypesRoundTripByteForByte) {
  test::ExpectTextPropertiesCarried<Clipping>({{&Clipping::SetID, &Clipping::ID},
                                               {&Clipping::SetGUID, &Clipping::GUID},
                                               {&Clipping::SetFolderID, &Clipping::FolderID},
                                               {&Clipping::SetName, &Clipping::Name},
                                               {&Clipping::SetDescription, &Clipping::Description},
                                               {&Clipping::SetPathName, &Clipping::PathName},
                                               {&Clipping::SetCategories, &Clipping::Categories}});
  // Content is any bytes: what XML text cannot carry travels in base64 and comes back whole.
  for (const std::string& raw : test::kHardTexts) {
    EXPECT_EQ(ReadBack(*Item(raw, 2))->RawData(), raw);
    EXPECT_EQ(Item(raw, 2)->XML().find("encoding"), std::string::npos) << raw;
  }
  const std::string binary("{\\rtf1 \x01\x02\x00\xff\xfe\r\n", 14);
  EXPECT_EQ(Item(binary, 1)->XML(),
            "<clippingdataitem datatype=\"1\" encoding=\"base64\">e1xydGYxIAECAP/+DQo="
            "</clippingdataitem>");
  EXPECT_EQ(ReadBack(*Item(binary, 1))->RawData(), binary);
  auto read = Item("before", 4);
  read->SetXML(
      "<clippingdataitem encoding=\"base64\" datatype=\"7\">\r\n e1xydGYxIAECAP/+\n DQo=\r\n"
      "</clippingdataitem>");
  EXPECT_EQ(read->RawData(), binary) << "blanks between base64 groups are layout";
  for (const char* bad :
       {"<clippingdataitem encoding=\"hex\" datatype=\"2\">41</clippingdataitem>",
        "<clippingdataitem encoding=\"Base64\" datatype=\"2\">QQ==</clippingdataitem>",
        "<clippingdataitem encoding=\"base64\" datatype=\"2\">QQ=</clippingdataitem>",
        "<clippingdataitem encoding=\"base64\" datatype=\"2\">QQ==QQ==</clippingdataitem>",
        "<clippingdataitem encoding=\"base64\" datatype=\"2\">Q===</clippingdataitem>",
        "<clippingdataitem encoding=\"base64\" datatype=\"2\">QU!=</clippingdataitem>"}) {
    EXPECT_EQ(ReadError(*read, bad), err::kObjectRequired) << bad;
    EXPECT_EQ(read->RawData(), binary) << bad;
    EXPECT_EQ(read->ClippingDataType(), 7) << bad;
  }
  auto clipping = Clipping::Create();
  clipping->ClippingData()->Add(Item("max", std::numeric_limits<int32_t>::max()));
  clipping->ClippingData()->Add(Item("min", std::numeric_limits<int32_t>::min()));
  EXPECT_EQ(Items(*ReadBack(*clipping)), Items(*clipping));
  // An item's own text is the element it has inside its clipping.
  EXPECT_NE(clipping->XML().find(clipping->ClippingData()->Item(2)->XML()), std::string::npos);
  clipping->SetXML(
      "<clipping>\r\n  <clippingdata>\r\n    <clippingdataitem datatype=\"2\"> x "
      "</clippingdataitem>\r\n    <item datatype=\"5\"><![CDATA[<cat/>]]></item>\r\n"
      "  </clippingdata>\r\n</clipping>");
  EXPECT_EQ(Items(*clipping), (Texts{"2: x ", "5:<cat/>"})) << "items of any name, CDATA, layout";
}

TEST(Clipping, StatusIsStoredIn32BitsAndNarrowedTo16OnReading) {
  for (int32_t stored : {std::numeric_limits<int32_t>::min(), -32768, 32767, 32768}) {
    auto clipping = Clipping::Create();
    const std::string status = std::to_string(stored);
    clipping->SetXML("<clipping Status=\"" + status + "\"><clippingdata/></clipping>");
    const bool fits = stored >= -32768 && stored <= 32767;
    EXPECT_EQ(RaisedNumber([&] { EXPECT_EQ(clipping->ClippingStatus(), stored); }),
              fits ? 0 : err::kOverflow)
        << status;
    EXPECT_NE(clipping->XML().find("Status=\"" + status + "\""), std::string::npos) << status;
  }
}

TEST(Clipping, ReadingResetsWhatTheTextLacksRefusesAndStopsAtTheFirstBadValue) {
  ScopedDateLocale locale(test::EnglishDates());
  auto clipping = Clipping::Create();
  clipping->SetXML(kFilledClipping);
  const Date before = Date::Now();
  clipping->SetXML("<clipping name=\"lower\" Other=\"x\"><clippingdata/></clipping>");
  EXPECT_EQ(TextsOf(*clipping), "||||||");
  EXPECT_EQ(clipping->ClippingStatus(), 0);
  EXPECT_TRUE(test::StampedSince(before, clipping->Updated()));
  EXPECT_TRUE(test::StampedSince(before, clipping->Accessed()));
  clipping->SetName("before");
  auto items = clipping->ClippingData();
  items->Add(Item("kept", 2));
  for (const char* text : {"<clipping", "<Clipping/>"}) {
    EXPECT_EQ(ReadError(*clipping, text), err::kObjectRequired) << text;
    EXPECT_EQ(clipping->Name(), "before");
    EXPECT_EQ(clipping->ClippingData(), items);
    EXPECT_EQ(Items(*clipping), Texts{"2:kept"});
  }
  // An error part way keeps what was read before it; an item without a type is a Null type.
  for (const auto& [bad_item, number] :
       {std::pair{"<clippingdataitem>x</clippingdataitem>", err::kInvalidUseOfNull},
        std::pair{"<clippingdataitem datatype=\"4294967296\"/>", err::kOverflow}}) {
    clipping = Clipping::Create();
    EXPECT_EQ(ReadError(*clipping, std::string("<clipping Name=\"n\"><clippingdata>") +
                                       "<clippingdataitem datatype=\"1\">a</clippingdataitem>" +
                                       bad_item + "<item datatype=\"3\">c</item></clippingdata>" +
                                       "</clipping>"),
              number)
        << bad_item;
    EXPECT_EQ(clipping->Name(), "n");
    EXPECT_EQ(Items(*clipping), Texts{"1:a"}) << bad_item;
  }
  clipping = Clipping::Create();
  clipping->SetPathName("old path");
  EXPECT_EQ(
      ReadError(*clipping,
                "<clipping ClippingID=\"1\" GUID=\"g\" FolderID=\"f\" Name=\"n\" "
                "Description=\"d\" Status=\"active\" PathName=\"p\"><clippingdata/></clipping>"),
      err::kTypeMismatch);
  EXPECT_EQ(TextsOf(*clipping), "1|g|f|n|d||old path") << "later attributes are not read";
  // The data list refuses nothing.
  EXPECT_EQ(RaisedNumber([&] { clipping->SetClippingData(nullptr); }), err::kObjectVariableNotSet);
  clipping->ClippingData()->Add(nullptr);
  EXPECT_EQ(WriteError(*clipping), err::kObjectVariableNotSet);
}

}  // namespace
}  // namespace clipcat
