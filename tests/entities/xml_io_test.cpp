#include "entities/xml_io.h"

#include "entities/entity_test_helpers.h"

namespace clipcat::xml {
namespace {

using test::RaisedNumber;
using test::Texts;

TEST(XmlIo, UncarriableTextIsRefusedBeforeAnythingIsWritten) {
  // Every control character but the layout ones, and bytes that are not shortest-form UTF-8 of
  // a character XML allows.
  Texts texts = {std::string("a\0b", 3)};
  for (char c = 1; c < 0x20; ++c) {
    if (c != '\t' && c != '\n' && c != '\r') texts.push_back(std::string("a") + c + "b");
  }
  for (const char* bytes :
       {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC2", "\xE0\x9F\xBF", "\xED\xA0\x80",
        "\xED\xBF\xBF", "\xEF\xBF\xBE", "\xEF\xBF\xBF", "\xE2\x82", "\xF0\x8F\xBF\xBF",
        "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "\xC3\x28"}) {
    texts.push_back(std::string("x") + bytes + "y");
  }
  for (const std::string& text : texts) {
    SCOPED_TRACE(::testing::PrintToString(text));
    EXPECT_FALSE(IsXmlText(text));
    pugi::xml_document document;
    pugi::xml_node element = document.append_child("e");
    const AutomationError error =
        testing::ErrorOf([&] { SetTextAttribute(element, "name", text); });
    EXPECT_EQ(error.number(), err::kInvalidProcedureCall);
    EXPECT_NE(error.description().find("\"name\""), std::string::npos) << error.description();
    EXPECT_EQ(RaisedNumber([&] { SetTextContent(element, text); }), err::kInvalidProcedureCall);
    EXPECT_EQ(Print(element), "<e/>");
  }
}

TEST(XmlIo, LoadRootTakesOneWellFormedRootOfThatNameOnly) {
  for (const char* text : {"<a/>", "<?xml version=\"1.0\"?><a/>", "<!-- c --><a/><!-- d -->",
                           "\r\n <a/>\n", "<a>&#9;&#xA;&#13;&#x10FFFF;</a>"}) {
    pugi::xml_document document;
    EXPECT_STREQ(LoadRoot(document, text, "a").name(), "a") << text;
  }
  for (const std::string text :
       {"", "   ", "<a", "<a></b>", "<A/>", "<b/>", "<a/><a/>",
        "<!DOCTYPE a [<!ENTITY e \"x\">]><a>&e;</a>",
        "<!DOCTYPE a SYSTEM \"file:///etc/passwd\"><a/>", "<a>&#1;</a>", "<a x=\"&#x1F;\"/>",
        "<a>&#0;</a>", "<a>&#xD800;</a>", "<a>&#xFFFE;</a>", "<a>&#1114112;</a>",
        "<a>&#99999999999999999999;</a>", "<a>\x01</a>", "<a>\xC0\x80</a>"}) {
    pugi::xml_document document;
    EXPECT_EQ(RaisedNumber([&] { LoadRoot(document, text, "a"); }), err::kObjectRequired) << text;
  }
  pugi::xml_document document;
  EXPECT_EQ(RaisedNumber([&] { LoadRoot(document, std::string("<a/>\0", 5), "a"); }),
            err::kObjectRequired);
}

}  // namespace
}  // namespace clipcat::xml
