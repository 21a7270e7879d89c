// The exact text of an export: nested and empty folders, clippings with several item kinds
// (text, RTF, bytes that XML cannot carry), markup characters, carriage returns and tabs in data,
// names that travel in base64, categories with and without members, a linked catalog, and the
// trash and versions of an export with history. Every exporter must give these bytes, so that
// documents written by one version read the same as those written by another, whether the writer
// holds the whole document or writes it as it reads the catalog.
#include <fstream>
#include <regex>
#include <sstream>

#include "library/catalog_export.h"
#include "library_fixture.h"

namespace clipcat::library_test {
namespace {

class ExportTextTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    Open(NewCatalog("catalog.db", "Mine & \"yours\""));
    const std::string letters = AddFolder("1", "Letters <A&B>");
    const std::string inner = AddFolder(letters, "Inner 'quoted'");
    AddFolder(letters, "Empty");
    const std::string other = AddFolder("1", "Other");
    const std::string greeting = AddClipping(inner, "Q&A <1>", "Dear \"Sir\" & <Madam>,\r\n\tyes");
    const std::string rtf = AddClipping(inner, "Styled", "{\\rtf1\\ansi \\b bold\\b0 }", 1);
    const std::string bytes = AddTwoItems(other, std::string("\x01\xff\x00z", 4), "second > first");
    AddClipping(other, "Blank", "   ");
    AddClipping(other, "Nothing", "");
    auto clipping = catalog_->read().GetClipping(bytes, catalog_->details(), true);
    clipping->SetName(std::string("bell\x07"));
    clipping->SetDescription("two items");
    catalog_->write().UpdateClipping(clipping, catalog_->details(), false);
    const std::string work = AddCategory("Work & play");
    Tag(greeting, work);
    Tag(rtf, work);
    Tag(bytes, AddCategory("Odd"));
    AddCategory("Unused");
    const std::string gone = AddClipping(other, "Gone", "old");
    catalog_->write().DeleteClipping(gone, catalog_->details(), false);
    auto changed = catalog_->read().GetClipping(rtf, catalog_->details(), true);
    changed->ClippingData()->Item(1)->SetRawData("{\\rtf1 plain}");
    catalog_->write().UpdateClipping(changed, catalog_->details(), true);
    linked_ = NewCatalog("linked.db", "Team");
    Link(linked_, "Team");
  }

  // A clipping "Bytes" with an item of type 3 holding `bytes` and a text item.
  std::string AddTwoItems(const std::string& folder, const std::string& bytes,
                          const std::string& text) {
    auto clipping = Clipping::Create();
    clipping->SetName("Bytes");
    for (const auto& [type, content] : {std::pair<int32_t, std::string>{3, bytes}, {2, text}}) {
      auto item = ClippingData::Create();
      item->SetClippingDataType(type);
      item->SetRawData(content);
      clipping->ClippingData()->Add(item);
    }
    return catalog_->write().AddClipping(clipping, folder, catalog_->details())->ID();
  }

  // The export with its ids numbered in order of appearance, times and users as "T" and the linked
  // catalog's path as "LINKED".
  std::string Normalized(const std::string& text) const {
    static const std::regex times(R"re(((saved|saved-by|deleted-at|deleted-by)=)"[^"]*")re");
    std::string out = std::regex_replace(WithoutIds(text), times, "$1\"T\"");
    for (size_t at; (at = out.find(linked_)) != std::string::npos;) {
      out.replace(at, linked_.size(), "LINKED");
    }
    return out;
  }

  std::string Exported(bool with_history) {
    std::ostringstream out;
    ExportCatalog(*catalog_, {}, with_history).Write(out);
    return out.str();
  }

  std::string linked_;
};

// What ExportCatalog wrote for this catalog when the whole document was held and then printed.
const char* const kWhole =
    "<?xml version=\"1.0\"?>\n"
    "<clipcat-catalog version=\"1\">\n"
    "  <folder name=\"Mine &amp; &quot;yours&quot;\" description=\"\">\n"
    "    <folder name=\"Letters &lt;A&amp;B>\" description=\"\">\n"
    "      <folder name=\"Empty\" description=\"\" />\n"
    "      <folder name=\"Inner 'quoted'\" description=\"\">\n"
    "        <clipping id=\"#0\" name=\"Q&amp;A &lt;1>\" description=\"\">\n"
    "          <data type=\"2\">Dear \"Sir\" &amp; &lt;Madam&gt;,&#13;\n"
    "\tyes</data>\n"
    "        </clipping>\n"
    "        <clipping id=\"#1\" name=\"Styled\" description=\"\">\n"
    "          <data type=\"1\">{\\rtf1 plain}</data>\n"
    "        </clipping>\n"
    "      </folder>\n"
    "    </folder>\n"
    "    <folder name=\"Other\" description=\"\">\n"
    "      <clipping id=\"#2\" name=\"YmVsbAc=\" name-encoding=\"base64\" description=\"two "
    "items\">\n"
    "        <data type=\"3\" encoding=\"base64\">Af8Aeg==</data>\n"
    "        <data type=\"2\">second &gt; first</data>\n"
    "      </clipping>\n"
    "      <clipping id=\"#3\" name=\"Blank\" description=\"\">\n"
    "        <data type=\"2\">   </data>\n"
    "      </clipping>\n"
    "      <clipping id=\"#4\" name=\"Nothing\" description=\"\" />\n"
    "    </folder>\n"
    "  </folder>\n"
    "  <category name=\"Odd\" description=\"\">\n"
    "    <member clipping=\"#2\" />\n"
    "  </category>\n"
    "  <category name=\"Unused\" description=\"\" />\n"
    "  <category name=\"Work &amp; play\" description=\"\">\n"
    "    <member clipping=\"#0\" />\n"
    "    <member clipping=\"#1\" />\n"
    "  </category>\n"
    "  <link name=\"Team\" connection=\"&lt;connectiondetails clippingsourcename=&quot;&quot; "
    "servername=&quot;&quot; connectionstring=&quot;Provider=Microsoft.Jet.OLEDB.4.0;Data "
    "Source=LINKED&quot; datasourcetype=&quot;1&quot; ispersonalcatalog=&quot;true&quot;/>\" />\n"
    "</clipcat-catalog>\n";

const char* const kWithHistory =
    "<?xml version=\"1.0\"?>\n"
    "<clipcat-catalog version=\"1\">\n"
    "  <folder name=\"Mine &amp; &quot;yours&quot;\" description=\"\">\n"
    "    <folder name=\"Letters &lt;A&amp;B>\" description=\"\">\n"
    "      <folder name=\"Empty\" description=\"\" />\n"
    "      <folder name=\"Inner 'quoted'\" description=\"\">\n"
    "        <clipping id=\"#0\" name=\"Q&amp;A &lt;1>\" description=\"\">\n"
    "          <data type=\"2\">Dear \"Sir\" &amp; &lt;Madam&gt;,&#13;\n"
    "\tyes</data>\n"
    "        </clipping>\n"
    "        <clipping id=\"#1\" name=\"Styled\" description=\"\">\n"
    "          <data type=\"1\">{\\rtf1 plain}</data>\n"
    "          <version number=\"1\" saved=\"T\" saved-by=\"T\" name=\"Styled\" "
    "description=\"\">\n"
    "            <data type=\"1\">{\\rtf1\\ansi \\b bold\\b0 }</data>\n"
    "          </version>\n"
    "        </clipping>\n"
    "      </folder>\n"
    "    </folder>\n"
    "    <folder name=\"Other\" description=\"\">\n"
    "      <clipping id=\"#2\" name=\"YmVsbAc=\" name-encoding=\"base64\" description=\"two "
    "items\">\n"
    "        <data type=\"3\" encoding=\"base64\">Af8Aeg==</data>\n"
    "        <data type=\"2\">second &gt; first</data>\n"
    "        <version number=\"1\" saved=\"T\" saved-by=\"T\" name=\"Bytes\" description=\"\">\n"
    "          <data type=\"3\" encoding=\"base64\">Af8Aeg==</data>\n"
    "          <data type=\"2\">second &gt; first</data>\n"
    "        </version>\n"
    "      </clipping>\n"
    "      <clipping id=\"#3\" name=\"Blank\" description=\"\">\n"
    "        <data type=\"2\">   </data>\n"
    "      </clipping>\n"
    "      <clipping id=\"#4\" name=\"Gone\" description=\"\" deleted=\"1\" deleted-at=\"T\" "
    "deleted-by=\"T\">\n"
    "        <data type=\"2\">old</data>\n"
    "      </clipping>\n"
    "      <clipping id=\"#5\" name=\"Nothing\" description=\"\" />\n"
    "    </folder>\n"
    "  </folder>\n"
    "  <category name=\"Odd\" description=\"\">\n"
    "    <member clipping=\"#2\" />\n"
    "  </category>\n"
    "  <category name=\"Unused\" description=\"\" />\n"
    "  <category name=\"Work &amp; play\" description=\"\">\n"
    "    <member clipping=\"#0\" />\n"
    "    <member clipping=\"#1\" />\n"
    "  </category>\n"
    "  <link name=\"Team\" connection=\"&lt;connectiondetails clippingsourcename=&quot;&quot; "
    "servername=&quot;&quot; connectionstring=&quot;Provider=Microsoft.Jet.OLEDB.4.0;Data "
    "Source=LINKED&quot; datasourcetype=&quot;1&quot; ispersonalcatalog=&quot;true&quot;/>\" />\n"
    "</clipcat-catalog>\n";

TEST_F(ExportTextTest, TheWholeCatalogIsWrittenExactlySo) {
  EXPECT_EQ(Normalized(Exported(false)), kWhole);
  std::ostringstream streamed;
  WriteCatalogExport(*catalog_, streamed);
  EXPECT_EQ(Normalized(streamed.str()), kWhole);
}

TEST_F(ExportTextTest, WithHistoryTheVersionsAndTheTrashAreWrittenExactlySo) {
  EXPECT_EQ(Normalized(Exported(true)), kWithHistory);
  std::ostringstream streamed;
  WriteCatalogExport(*catalog_, streamed, {}, true);
  EXPECT_EQ(Normalized(streamed.str()), kWithHistory);
}

TEST_F(ExportTextTest, AFileExportHoldsTheSameText) {
  const std::string held = dir_.File("held.xml");
  ExportCatalog(*catalog_, {}, true).WriteFile(held);
  const std::string streamed = dir_.File("streamed.xml");
  ExportCatalogToFile(*catalog_, streamed, {}, true);
  for (const std::string& path : {held, streamed}) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    EXPECT_EQ(content.str(), Exported(true)) << path;
  }
}

}  // namespace
}  // namespace clipcat::library_test
