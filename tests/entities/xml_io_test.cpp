#include "entities/xml_io.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "entities/raises.h"
#include "util/date_locale.h"
#include "util/values.h"

namespace clipcat::xml {
namespace {

using test::RaisedNumber;

// Characters XML 1.0 can carry, at the edges of every allowed range.
const std::vector<std::string> kCarriable = {"",
                                             "\t",
                                             "\n",
                                             "\r",
                                             " ",
                                             "~\x7F",
                                             "\xC2\x80",
                                             "\xDF\xBF",
                                             "\xE0\xA0\x80",
                                             "\xED\x9F\xBF",
                                             "\xEE\x80\x80",
                                             "\xEF\xBF\xBD",
                                             "\xF0\x90\x80\x80",
                                             "\xF4\x8F\xBF\xBF",
                                             "<&>\"'"};

// Text XML 1.0 cannot carry: control characters, and bytes that are not shortest-form UTF-8 of
// a character it allows.
std::vector<std::string> NotCarriable() {
  std::vector<std::string> texts;
  for (int c = 0; c < 0x20; ++c) {
    if (c == '\t' || c == '\n' || c == '\r') continue;
    texts.push_back("a" + std::string(1, static_cast<char>(c)) + "b");
  }
  for (const char* bytes :
       {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC2", "\xE0\x9F\xBF", "\xED\xA0\x80",
        "\xED\xBF\xBF", "\xEF\xBF\xBE", "\xEF\xBF\xBF", "\xE2\x82", "\xF0\x8F\xBF\xBF",
        "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "\xC3\x28"}) {
    texts.push_back(std::string("x") + bytes + "y");
  }
  return texts;
}

TEST(XmlIo, IsXmlTextAcceptsEveryAllowedRangeEdge) {
  for (const std::string& text : kCarriable) EXPECT_TRUE(IsXmlText(text)) << text;
}

TEST(XmlIo, IsXmlTextRefusesControlCharactersAndBadUtf8) {
  for (const std::string& text : NotCarriable()) {
    EXPECT_FALSE(IsXmlText(text)) << ::testing::PrintToString(text);
  }
  EXPECT_FALSE(IsXmlText(std::string("a\0b", 3)));
}

TEST(XmlIo, WritersRefuseTextXmlCannotCarryWithAClearError) {
  for (const std::string& text : NotCarriable()) {
    pugi::xml_document document;
    pugi::xml_node element = document.append_child("e");
    try {
      SetTextAttribute(element, "name", text);
      ADD_FAILURE() << "no error for " << ::testing::PrintToString(text);
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), err::kInvalidProcedureCall);
      EXPECT_EQ(error.source(), "clipcat");
      EXPECT_NE(error.description().find("\"name\""), std::string::npos) << error.description();
    }
    EXPECT_EQ(RaisedNumber([&] { SetTextContent(element, text); }), err::kInvalidProcedureCall);
    EXPECT_EQ(Print(element), "<e/>") << "nothing is written before the check";
  }
}

TEST(XmlIo, AttributesAndContentSurviveAParseByteForByte) {
  std::vector<std::string> values = kCarriable;
  for (const char* extra : {"\r\n", "\n\r", "  lead and trail  ", " \t\r\n ", "&amp;", "&lt;",
                            "&#13;", "]]>", "a<b>&c", "\xE2\x82\xAC \xF0\x9F\x98\x80"}) {
    values.push_back(extra);
  }
  for (const std::string& value : values) {
    pugi::xml_document document;
    pugi::xml_node element = document.append_child("e");
    SetTextAttribute(element, "a", value);
    SetTextContent(element, value);
    const std::string text = Print(element);
    pugi::xml_document parsed;
    const pugi::xml_node root = LoadRoot(parsed, text, "e");
    EXPECT_EQ(ReadText(root, "a"), value) << text;
    EXPECT_EQ(TextContent(root), value) << text;
  }
}

TEST(XmlIo, PrintWritesNoDeclarationNoLayoutAndEscapesAttributeWhitespace) {
  pugi::xml_document document;
  pugi::xml_node element = document.append_child("e");
  SetTextAttribute(element, "b", "x\ty\rz\n<\"&'");
  SetLongAttribute(element, "l", -2147483647 - 1);
  SetBooleanAttribute(element, "t", true);
  SetBooleanAttribute(element, "f", false);
  element.append_child("c");
  EXPECT_EQ(Print(element),
            "<e b=\"x&#09;y&#13;z&#10;&lt;&quot;&amp;'\" l=\"-2147483648\" t=\"true\" "
            "f=\"false\"><c/></e>");
}

TEST(XmlIo, PrintListWrapsMembersAndWritesAnEmptyListAsTwoTags) {
  pugi::xml_document members;
  EXPECT_EQ(PrintList("Folders", members), "<Folders></Folders>");
  members.append_child("a").append_attribute("x").set_value("1");
  members.append_child("b");
  EXPECT_EQ(PrintList("Folders", members), "<Folders><a x=\"1\"/><b/></Folders>");
}

TEST(XmlIo, SetDateAttributeWritesTheCatalogForm) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  pugi::xml_document document;
  pugi::xml_node element = document.append_child("e");
  SetDateAttribute(element, "d", *Date::FromParts({2002, 3, 3, 14, 5, 9}));
  SetDateAttribute(element, "z", Date());
  EXPECT_EQ(Print(element), "<e d=\"14:05:09 3 Mar 2002\" z=\"00:00:00 30 Dec 1899\"/>");
}

TEST(XmlIo, LoadRootRefusesWhatIsNotOneWellFormedRootOfThatName) {
  const std::vector<std::string> refused = {
      "",
      "   ",
      "<a",
      "<a></b>",
      "<A/>",
      "<b/>",
      "<a/><a/>",
      "<!DOCTYPE a [<!ENTITY e \"x\">]><a>&e;</a>",
      "<!DOCTYPE a SYSTEM \"file:///etc/passwd\"><a/>",
      "<a>&#1;</a>",
      "<a x=\"&#x1F;\"/>",
      "<a>&#0;</a>",
      "<a>&#xD800;</a>",
      "<a>&#xFFFE;</a>",
      "<a>&#1114112;</a>",
      "<a>&#99999999999999999999;</a>",
      std::string("<a>\x01</a>"),
      std::string("<a>\xC0\x80</a>"),
      std::string("<a/>\0", 5),
  };
  for (const std::string& text : refused) {
    pugi::xml_document document;
    EXPECT_EQ(RaisedNumber([&] { LoadRoot(document, text, "a"); }), err::kObjectRequired)
        << ::testing::PrintToString(text);
  }
}

TEST(XmlIo, LoadRootAcceptsDeclarationCommentsAndLayoutAroundTheRoot) {
  for (const std::string& text :
       {std::string("<a/>"), std::string("<?xml version=\"1.0\"?><a/>"),
        std::string("<!-- c --><a/><!-- d -->"), std::string("\r\n <a/>\n"),
        std::string("<a>&#9;&#xA;&#13;&#x10FFFF;</a>")}) {
    pugi::xml_document document;
    EXPECT_STREQ(LoadRoot(document, text, "a").name(), "a") << text;
  }
}

TEST(XmlIo, UnknownEntityReferencesStayLiteralText) {
  pugi::xml_document document;
  const pugi::xml_node root = LoadRoot(document, "<a x=\"&nbsp;\">&unknown;</a>", "a");
  EXPECT_EQ(ReadText(root, "x"), "&nbsp;");
  EXPECT_EQ(TextContent(root), "&unknown;");
}

TEST(XmlIo, AttributeReadersApplyTheirFallbacksAndConversions) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  pugi::xml_document document;
  const pugi::xml_node root =
      LoadRoot(document,
               "<a t=\"x\" n=\" 42 \" h=\"2.5\" big=\"2147483648\" min=\"-2147483648\" bad=\"12x\" "
               "empty=\"\" d=\"14:05:09 3 Mar 2002\" nd=\"no date\"/>",
               "a");
  EXPECT_TRUE(AttributeValue(root, "missing").IsNull());
  EXPECT_EQ(AttributeValue(root, "t"), Variant("x"));
  EXPECT_EQ(ReadText(root, "missing"), "");
  EXPECT_EQ(ReadLong(root, "missing"), 0);
  EXPECT_EQ(ReadLong(root, "n"), 42);
  EXPECT_EQ(ReadLong(root, "h"), 2);
  EXPECT_EQ(ReadLong(root, "min"), -2147483647 - 1);
  EXPECT_EQ(RaisedNumber([&] { ReadLong(root, "big"); }), err::kOverflow);
  EXPECT_EQ(RaisedNumber([&] { ReadLong(root, "bad"); }), err::kTypeMismatch);
  EXPECT_EQ(RaisedNumber([&] { ReadLong(root, "empty"); }), err::kTypeMismatch);
  EXPECT_EQ(ReadDate(root, "d"), *Date::FromParts({2002, 3, 3, 14, 5, 9}));
  for (const char* name : {"missing", "nd"}) {
    const Date before = Date::Now();
    const Date read = ReadDate(root, name);
    const Date after = Date::Now();
    EXPECT_LE(before.serial(), read.serial()) << name;
    EXPECT_LE(read.serial(), after.serial()) << name;
  }
}

TEST(XmlIo, ReadBooleanAcceptsTheWrittenFormAndTheUsualOthers) {
  struct Case {
    const char* text;
    bool expected;
  };
  for (const Case& c :
       {Case{"true", true}, Case{"false", false}, Case{"TRUE", true}, Case{"False", false},
        Case{"Yes", true}, Case{"No", false}, Case{"-1", true}, Case{"1", true}, Case{"0", false},
        Case{"yes", false}, Case{"YES", false}, Case{"maybe", false}, Case{"", false}}) {
    pugi::xml_document document;
    const std::string text = std::string("<a b=\"") + c.text + "\"/>";
    EXPECT_EQ(ReadBoolean(LoadRoot(document, text, "a"), "b"), c.expected) << c.text;
  }
  pugi::xml_document document;
  EXPECT_FALSE(ReadBoolean(LoadRoot(document, "<a/>", "a"), "b"));
}

TEST(XmlIo, TextContentJoinsTextAndCdataUnderTheNode) {
  pugi::xml_document document;
  const pugi::xml_node root =
      LoadRoot(document, "<a>one<![CDATA[<two>]]><b>three<c>four</c></b><!--x-->five</a>", "a");
  EXPECT_EQ(TextContent(root), "one<two>threefourfive");
  EXPECT_EQ(TextContent(root.child("b")), "threefour");
  pugi::xml_document blank;
  EXPECT_EQ(TextContent(LoadRoot(blank, "<a> \r\n\t</a>", "a")), " \r\n\t");
}

TEST(XmlIo, BlankTextIsOnlyWhitespaceText) {
  pugi::xml_document document;
  const pugi::xml_node root = LoadRoot(document, "<a>\r\n <b/> x <!-- c --><![CDATA[ ]]></a>", "a");
  std::vector<bool> blank;
  for (pugi::xml_node node : root.children()) blank.push_back(IsBlankText(node));
  // Layout text between elements is dropped by the parser; what remains is b, " x ", the
  // comment and the CDATA section, none of which a reader may skip.
  EXPECT_EQ(blank, (std::vector<bool>{false, false, false, false}));
  pugi::xml_document single;
  EXPECT_TRUE(IsBlankText(LoadRoot(single, "<a> \t</a>", "a").first_child()));
}

TEST(XmlIo, RequireElementChecksTypeAndExactName) {
  pugi::xml_document document;
  const pugi::xml_node root = LoadRoot(document, "<a><m/><M/><!--m--></a>", "a");
  pugi::xml_node node = root.first_child();
  EXPECT_EQ(RequireElement(node, "m"), node);
  EXPECT_EQ(RaisedNumber([&] { RequireElement(node.next_sibling(), "m"); }), err::kObjectRequired);
  EXPECT_EQ(RaisedNumber([&] { RequireElement(root.last_child(), "m"); }), err::kObjectRequired);
}

}  // namespace
}  // namespace clipcat::xml
