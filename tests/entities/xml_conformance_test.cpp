// The XML every entity writes, read by another conforming parser (libxml2): each text and content
// of every character class must parse without error and come back byte for byte, there and in
// our own reader. Content XML cannot carry as text comes back through its base64 form; other
// text XML cannot carry is refused with a clear error.
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxml/xpath.h>

#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/connection_details.h"
#include "entities/entity_test_helpers.h"
#include "entities/folder.h"
#include "entities/search.h"

namespace clipcat {
namespace {

using test::Texts;

// One value of the corpus: the character class it stands for, and whether XML 1.0 can carry it
// as text at all.
struct Case {
  std::string group;
  std::string value;
  bool carriable;
};

// The UTF-8 of code point `c`, written out here so that the corpus does not depend on any
// encoder of the code under test.
std::string Utf8(uint32_t c) {
  std::string out;
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
  return out;
}

std::vector<Case> Corpus() {
  std::vector<Case> corpus;
  const auto carried = [&](const std::string& group, const std::string& value) {
    corpus.push_back({group, value, true});
  };
  const auto uncarriable = [&](const std::string& group, const std::string& value) {
    corpus.push_back({group, value, false});
  };

  carried("empty", "");
  std::string ascii;
  for (char c = 0x20; c < 0x7F; ++c) ascii += c;
  carried("printable ASCII", ascii);
  carried("printable ASCII", "Dear Sir,");
  for (const char* layout : {"\t", "\n", "\r", "\r\n", "\n\r", "\r\r\n\n", "a\rb", "a\r\nb",
                             "line1\r\nline2\n\rline3\tend\r", " \t\r\n "}) {
    carried("tab, line feed and carriage return", layout);
  }
  for (const char* spaces : {" ", "   ", "  leading", "trailing  ", "  both  "}) {
    carried("leading and trailing spaces", spaces);
  }
  for (const char* markup : {"&", "<", ">", "\"", "'", "& < > \" '", "]]>", "a]]>b]]",
                             "&amp; &lt; &#13; &#x1; &unknown;", "<a b=\"c\">x</a>",
                             "<![CDATA[x]]>", "<!-- c -->", "<?pi x?>", "=\"'\""}) {
    carried("markup characters", markup);
  }
  carried("DEL",
          "a\x7F"
          "b");
  std::string c1;
  for (uint32_t c = 0x80; c <= 0x9F; ++c) c1 += Utf8(c);
  carried("C1 controls", c1);
  carried("C1 controls", "next" + Utf8(0x85) + "line");  // a line end only in XML 1.1
  carried("BMP beyond ASCII", "\xC3\xA9\xE2\x82\xAC \xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E");
  carried("BMP beyond ASCII", Utf8(0x2028) + Utf8(0xD7FF) + Utf8(0xE000) + Utf8(0xFEFF));
  carried("U+FFFD", Utf8(0xFFFD));
  carried("U+FFFD", "a" + Utf8(0xFFFC) + Utf8(0xFFFD) + "b");
  carried("beyond the BMP", "\xF0\x9F\x98\x80\xF0\x9F\x91\x8D\xF0\x9F\x8F\xBD");
  carried("beyond the BMP", Utf8(0x10000) + Utf8(0x10FFFF));
  carried("mixed", " \xF0\x9F\x98\x80 <&> \r\n\t\xE6\x97\xA5 ]]> '\"' \r");

  for (char c = 0; c < 0x20; ++c) {
    if (c == '\t' || c == '\n' || c == '\r') continue;
    uncarriable("other C0 controls", std::string("a") + c + "b");
  }
  uncarriable("other C0 controls", std::string(1, '\0'));
  uncarriable("other C0 controls", std::string("\x01\x1B[2J\x0C\r\n\x00z", 10));
  uncarriable("U+FFFE and U+FFFF", Utf8(0xFFFE));
  uncarriable("U+FFFE and U+FFFF", "a" + Utf8(0xFFFF) + "b");
  for (const char* bytes : {"\xFF", "\xFE\xFF", "\x80", "a\xBFz", "\xC0\x80", "\xC0\xAF",
                            "\xC1\xBF", "\xE0\x80\x80", "\xE2\x82", "\xE2\x82z", "\xF0\x8F\xBF\xBF",
                            "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xC3"}) {
    uncarriable("invalid UTF-8", bytes);
  }
  for (const char* surrogate : {"\xED\xA0\x80", "x\xED\xBF\xBFy", "\xED\xA0\xBD\xED\xB8\x80"}) {
    uncarriable("lone surrogates", surrogate);
  }
  std::string every_byte;
  for (int b = 0; b < 256; ++b) every_byte += static_cast<char>(b);
  uncarriable("every byte", every_byte);
  return corpus;
}

// Base64 decoding of our own, for the content written in that form.
std::optional<std::string> FromBase64(const std::string& text) {
  static const std::string kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  if (text.size() % 4 != 0) return std::nullopt;
  std::string out;
  for (size_t i = 0; i < text.size(); i += 4) {
    uint32_t group = 0;
    int padding = 0;
    for (size_t k = 0; k < 4; ++k) {
      const char c = text[i + k];
      size_t at = 0;
      if (c == '=') {
        ++padding;
      } else if ((at = kAlphabet.find(c)) == std::string::npos || padding > 0) {
        return std::nullopt;
      }
      group = (group << 6) | static_cast<uint32_t>(c == '=' ? 0 : at);
    }
    if (padding > 2 || (padding > 0 && i + 4 != text.size())) return std::nullopt;
    for (int k = 0; k < 3 - padding; ++k) out += static_cast<char>((group >> (16 - 8 * k)) & 0xFF);
  }
  return out;
}

// `value` as an attribute value of any writer but ours: references in hexadecimal, ">" raw.
// REQUIRES: XML can carry `value`.
std::string ForeignAttribute(const std::string& value) {
  std::string out;
  for (const char c : value) {
    switch (c) {
      case '&':
        out += "&#x26;";
        break;
      case '<':
        out += "&#x3C;";
        break;
      case '"':
        out += "&#x22;";
        break;
      case '\t':
        out += "&#x9;";
        break;
      case '\n':
        out += "&#xA;";
        break;
      case '\r':
        out += "&#xD;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

// An entity's XML with a given text in each of its text properties and a given content in each
// of its data items, where libxml2 must find them, and what our reader gives back.
struct Carrier {
  std::string name;
  // XPath of every node whose string value must be the text; the first is the attribute (or
  // element) a refusal names.
  std::vector<std::string> text_nodes;
  // XPath of every data item element whose content must be the content.
  std::vector<std::string> data_nodes;
  std::function<std::string(const Case& text, const std::string& content)> write;
  // The texts and contents our own reader gives back from the XML, each of which must equal the
  // text or the content written.
  std::function<std::pair<Texts, Texts>(const std::string& xml)> read;
};

// Names the carrier in test failures instead of dumping its bytes.
void PrintTo(const Carrier& carrier, std::ostream* out) { *out << carrier.name; }

std::shared_ptr<ClippingData> Item(const std::string& content, int32_t type) {
  auto item = ClippingData::Create();
  item->SetRawData(content);
  item->SetClippingDataType(type);
  return item;
}

std::shared_ptr<Folder> TextFolder(const std::string& text) {
  auto folder = Folder::Create();
  folder->SetID(text);
  folder->SetName(text);
  folder->SetDescription(text);
  return folder;
}

std::shared_ptr<Clipping> TextClipping(const std::string& text) {
  auto clipping = Clipping::Create();
  clipping->SetID(text);
  clipping->SetGUID(text);
  clipping->SetFolderID(text);
  clipping->SetName(text);
  clipping->SetDescription(text);
  clipping->SetCategories(text);
  clipping->SetPathName(text);
  return clipping;
}

Texts ClippingTexts(const Clipping& c) {
  return {c.ID(), c.GUID(), c.FolderID(), c.Name(), c.Description(), c.Categories(), c.PathName()};
}

std::vector<std::string> ClippingTextNodes(const std::string& at) {
  std::vector<std::string> nodes;
  for (const char* attribute :
       {"ClippingID", "GUID", "FolderID", "Name", "Description", "Categories", "PathName"}) {
    nodes.push_back(at + "/@" + attribute);
  }
  return nodes;
}

// A clipping with two data items holding `content` around one holding fixed text.
std::shared_ptr<Clipping> DataClipping(const std::string& content) {
  auto clipping = Clipping::Create();
  clipping->SetName("data");
  clipping->ClippingData()->Add(Item(content, 1));
  clipping->ClippingData()->Add(Item("between", 2));
  clipping->ClippingData()->Add(Item(content, 3));
  return clipping;
}

// The contents of a DataClipping read back, checking the fixed item on the way.
Texts DataClippingContents(const Clipping& clipping) {
  const auto& items = *clipping.ClippingData();
  EXPECT_EQ(items.Count(), 3);
  if (items.Count() != 3) return {};
  EXPECT_EQ(items.Item(2)->RawData(), "between");
  EXPECT_EQ(items.Item(3)->ClippingDataType(), 3);
  return {items.Item(1)->RawData(), items.Item(3)->RawData()};
}

std::vector<Carrier> Carriers() {
  const std::string items = "/clipping/clippingdata/clippingdataitem";
  return {
      {"Folder",
       {"/Folder/@Folderid", "/Folder/@guid", "/Folder/@parentid", "/Folder/@name",
        "/Folder/@description", "/Folder/Folder/@Folderid", "/Folder/Folder/@name",
        "/Folder/Folder/@description"},
       {},
       [](const Case& text, const std::string&) {
         auto folder = Folder::Create();
         // Only the store sets the GUID and the parent: they reach a folder through its XML.
         if (text.carriable) {
           folder->SetXML("<Folder guid=\"" + ForeignAttribute(text.value) + "\" parentid=\"" +
                          ForeignAttribute(text.value) + "\"/>");
         }
         folder->SetID(text.value);
         folder->SetName(text.value);
         folder->SetDescription(text.value);
         folder->ChildFolders()->Add(TextFolder(text.value));
         return folder->XML();
       },
       [](const std::string& xml) {
         auto folder = Folder::Create();
         folder->SetXML(xml);
         const auto& child = *folder->ChildFolders()->Item(1);
         return std::pair{
             Texts{folder->ID(), folder->GUID(), folder->ParentID(), folder->Name(),
                   folder->Description(), child.ID(), child.Name(), child.Description()},
             Texts{}};
       }},
      {"Folders",
       {"/Folders/Folder[1]/@Folderid", "/Folders/Folder[1]/@name",
        "/Folders/Folder[1]/@description", "/Folders/Folder[2]/@name",
        "/Folders/Folder[2]/@description"},
       {},
       [](const Case& text, const std::string&) {
         Folders folders;
         folders.Items()->Add(TextFolder(text.value));
         folders.Items()->Add(TextFolder(text.value));
         return folders.XML();
       },
       [](const std::string& xml) {
         Folders folders;
         folders.SetXML(xml);
         const auto& first = *folders.Items()->Item(1);
         const auto& second = *folders.Items()->Item(2);
         return std::pair{Texts{first.ID(), first.Name(), first.Description(), second.Name(),
                                second.Description()},
                          Texts{}};
       }},
      {"Clipping",
       ClippingTextNodes("/clipping"),
       {items + "[1]", items + "[3]"},
       [](const Case& text, const std::string& content) {
         auto clipping = TextClipping(text.value);
         const auto data = DataClipping(content);
         for (const auto& item : *data->ClippingData()) clipping->ClippingData()->Add(item);
         return clipping->XML();
       },
       [](const std::string& xml) {
         auto clipping = Clipping::Create();
         clipping->SetXML(xml);
         return std::pair{ClippingTexts(*clipping), DataClippingContents(*clipping)};
       }},
      {"ClippingData",
       {},
       {"/clippingdataitem"},
       [](const Case&, const std::string& content) { return Item(content, 2)->XML(); },
       [](const std::string& xml) {
         auto item = ClippingData::Create();
         item->SetXML(xml);
         EXPECT_EQ(item->ClippingDataType(), 2);
         return std::pair{Texts{}, Texts{item->RawData()}};
       }},
      {"Clippings",
       ClippingTextNodes("/clippings/clipping[2]"),
       {"/clippings/clipping[1]/clippingdata/clippingdataitem[1]",
        "/clippings/clipping[1]/clippingdata/clippingdataitem[3]"},
       [](const Case& text, const std::string& content) {
         Clippings clippings;
         clippings.Items()->Add(DataClipping(content));
         clippings.Items()->Add(TextClipping(text.value));
         return clippings.XML();
       },
       [](const std::string& xml) {
         Clippings clippings;
         clippings.SetXML(xml);
         return std::pair{ClippingTexts(*clippings.Items()->Item(2)),
                          DataClippingContents(*clippings.Items()->Item(1))};
       }},
      {"Category",
       {"/category/@Name", "/category/@Description", "/category/@ClippingID"},
       {},
       [](const Case& text, const std::string&) {
         auto category = Category::Create();
         category->SetName(text.value);
         category->SetDescription(text.value);
         category->SetID(text.value);
         return category->XML();
       },
       [](const std::string& xml) {
         auto category = Category::Create();
         category->SetXML(xml);
         return std::pair{Texts{category->Name(), category->Description(), category->ID()},
                          Texts{}};
       }},
      {"Categories",
       {"/Categories/category[1]/@Name", "/Categories/category[2]/@Description"},
       {},
       [](const Case& text, const std::string&) {
         Categories categories;
         categories.Items()->Add(Category::Create());
         categories.Items()->Add(Category::Create());
         categories.Items()->Item(1)->SetName(text.value);
         categories.Items()->Item(2)->SetDescription(text.value);
         return categories.XML();
       },
       [](const std::string& xml) {
         Categories categories;
         categories.SetXML(xml);
         return std::pair{
             Texts{categories.Items()->Item(1)->Name(), categories.Items()->Item(2)->Description()},
             Texts{}};
       }},
      // The server name is written but, by design, not read back: libxml2 alone checks it.
      {"ConnectionDetails",
       {"/connectiondetails/@clippingsourcename", "/connectiondetails/@servername",
        "/connectiondetails/@connectionstring"},
       {},
       [](const Case& text, const std::string&) {
         auto details = ConnectionDetails::Create();
         details->SetClippingSourceName(text.value);
         details->SetClippingManagerServerName(text.value);
         details->SetConnectionString(text.value);
         return details->XML();
       },
       [](const std::string& xml) {
         auto details = ConnectionDetails::Create();
         details->SetXML(xml);
         return std::pair{Texts{details->ClippingSourceName(), details->ConnectionString()},
                          Texts{}};
       }},
      {"Search",
       {"/search/@searchtext", "/search/folderid[1]", "/search/folderid[2]",
        "/search/categoryname[1]"},
       {},
       [](const Case& text, const std::string&) {
         auto search = Search::Create();
         search->SetSearchText(text.value);
         search->FolderIDs()->Add(text.value);
         search->FolderIDs()->Add(text.value);
         search->CategoryNames()->Add(text.value);
         return search->XML();
       },
       [](const std::string& xml) {
         auto search = Search::Create();
         search->SetXML(xml);
         Texts texts = {search->SearchText()};
         for (const std::string& id : *search->FolderIDs()) texts.push_back(id);
         for (const std::string& name : *search->CategoryNames()) texts.push_back(name);
         return std::pair{texts, Texts{}};
       }},
  };
}

void IgnoreLibxmlMessage(void*, const char*, ...) {}

// A document libxml2 parsed, and XPath over it.
class Libxml {
 public:
  // Parses `xml` with default options; ok() is false, with the parser's message in error(),
  // when libxml2 reports anything at all.
  explicit Libxml(const std::string& xml) {
    xmlSetGenericErrorFunc(nullptr, IgnoreLibxmlMessage);
    xmlResetLastError();
    document_ = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "entity.xml", nullptr, 0);
    if (const auto* last = xmlGetLastError(); last != nullptr) {
      error_ = last->message != nullptr ? last->message : "an error without a message";
    } else if (document_ == nullptr) {
      error_ = "no document";
    }
    if (document_ != nullptr) context_ = xmlXPathNewContext(document_);
  }
  ~Libxml() {
    if (context_ != nullptr) xmlXPathFreeContext(context_);
    if (document_ != nullptr) xmlFreeDoc(document_);
  }
  Libxml(const Libxml&) = delete;
  Libxml& operator=(const Libxml&) = delete;

  bool ok() const { return error_.empty(); }
  const std::string& error() const { return error_; }

  // The one node `xpath` selects, or nullptr (with a failure) when it selects another number.
  xmlNodePtr Node(const std::string& xpath) {
    xmlXPathObjectPtr result =
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(xpath.c_str()), context_);
    xmlNodePtr node = nullptr;
    const int found =
        result != nullptr && result->nodesetval != nullptr ? result->nodesetval->nodeNr : 0;
    if (found == 1) node = result->nodesetval->nodeTab[0];
    if (result != nullptr) xmlXPathFreeObject(result);
    EXPECT_EQ(found, 1) << xpath;
    return node;
  }

  // The string value of the node (an attribute's value, an element's text).
  static std::string Value(xmlNodePtr node) { return Owned(xmlNodeGetContent(node)); }

  // The attribute's value, or nothing when the element has no such attribute.
  static std::optional<std::string> Attribute(xmlNodePtr node, const char* name) {
    xmlChar* value = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
    if (value == nullptr) return std::nullopt;
    return Owned(value);
  }

 private:
  static std::string Owned(xmlChar* text) {
    std::string out = text != nullptr ? reinterpret_cast<const char*>(text) : "";
    xmlFree(text);
    return out;
  }

  xmlDocPtr document_ = nullptr;
  xmlXPathContextPtr context_ = nullptr;
  std::string error_;
};

// What every carrier writes for a text and a content: a document libxml2 parses without a word,
// in which it finds each text and content exactly (content XML cannot carry in base64 under
// encoding="base64"), and from which our reader gives them back.
void ExpectCarried(const Carrier& carrier, const Case& text, const Case& content) {
  const std::string xml = carrier.write(text, content.value);
  Libxml document(xml);
  ASSERT_TRUE(document.ok()) << document.error() << "\n" << ::testing::PrintToString(xml);
  for (const std::string& xpath : carrier.text_nodes) {
    xmlNodePtr node = document.Node(xpath);
    if (node != nullptr) {
      EXPECT_EQ(Libxml::Value(node), text.value) << xpath;
    }
  }
  for (const std::string& xpath : carrier.data_nodes) {
    xmlNodePtr node = document.Node(xpath);
    if (node == nullptr) continue;
    const std::optional<std::string> encoding = Libxml::Attribute(node, "encoding");
    if (content.carriable) {
      EXPECT_FALSE(encoding.has_value()) << xpath;
      EXPECT_EQ(Libxml::Value(node), content.value) << xpath;
    } else {
      EXPECT_EQ(encoding, "base64") << xpath;
      EXPECT_EQ(FromBase64(Libxml::Value(node)), content.value) << xpath;
    }
  }
  const auto [texts, contents] = carrier.read(xml);
  EXPECT_EQ(texts, Texts(texts.size(), text.value));
  EXPECT_EQ(contents, Texts(carrier.data_nodes.size(), content.value));
}

class XmlConformance : public ::testing::TestWithParam<Carrier> {};

TEST_P(XmlConformance, EveryCharacterClassReadsBackExactlyInLibxml2AndOurReader) {
  const Carrier& carrier = GetParam();
  const Case plain = {"plain", "plain text", true};
  for (const Case& value : Corpus()) {
    SCOPED_TRACE(value.group + ": " + ::testing::PrintToString(value.value));
    if (value.carriable) {
      ExpectCarried(carrier, value, value);
      continue;
    }
    if (!carrier.data_nodes.empty()) ExpectCarried(carrier, plain, value);
    if (carrier.text_nodes.empty()) continue;
    // A text that XML cannot carry is refused, naming where it would have gone.
    const AutomationError error = testing::ErrorOf([&] { carrier.write(value, plain.value); });
    EXPECT_EQ(error.number(), err::kInvalidProcedureCall);
    EXPECT_EQ(error.source(), "clipcat");
    const std::string& first = carrier.text_nodes.front();
    const std::string named = first.substr(first.find_last_of("/@") + 1);
    EXPECT_NE(error.description().find("\"" + named + "\""), std::string::npos)
        << error.description();
    EXPECT_NE(error.description().find("cannot carry"), std::string::npos) << error.description();
  }
}

INSTANTIATE_TEST_SUITE_P(Entities, XmlConformance, ::testing::ValuesIn(Carriers()),
                         [](const ::testing::TestParamInfo<Carrier>& info) {
                           return info.param.name;
                         });

}  // namespace
}  // namespace clipcat
