// The catalog document as read and written: everything is checked before an import may start,
// and a file is only ever replaced by a complete document.
#include "library/catalog_document.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "library_fixture.h"
#include "util/errors.h"

namespace clipcat::library_test {
namespace {

namespace fs = std::filesystem;

std::string Document(const std::string& inside) {
  return "<clipcat-catalog version=\"1\">" + inside + "</clipcat-catalog>";
}

// Two folders, two clippings.
const std::string kTree =
    "<folder name=\"Top\"><clipping id=\"a\" name=\"A\"><data type=\"2\">x</data></clipping>"
    "<folder name=\"Sub\"><clipping id=\"b\" name=\"B\"/></folder></folder>";

std::string Written(const CatalogDocument& document) {
  std::ostringstream out;
  document.Write(out);
  return out.str();
}

TEST(CatalogDocument, ParseCountsEverythingAndWhatIsWrittenReadsBackTheSame) {
  const CatalogDocument document = CatalogDocument::Parse(
      Document(kTree + "<category name=\"C\"><member clipping=\"a\"/><member clipping=\"b\"/>" +
               "</category><category name=\"Empty\"/><link name=\"L\" connection=\"" +
               "&lt;connectiondetails connectionstring=&quot;x&quot;/&gt;\"/>"));
  const DocumentCounts& counts = document.counts();
  EXPECT_EQ(counts.folders, 2u);
  EXPECT_EQ(counts.clippings, 2u);
  EXPECT_EQ(counts.categories, 2u);
  EXPECT_EQ(counts.memberships, 2u);
  EXPECT_EQ(counts.links, 1u);
  const std::string written = Written(document);
  EXPECT_EQ(written.rfind("<?xml version=\"1.0\"", 0), 0u) << written;
  EXPECT_EQ(Written(CatalogDocument::Parse(written)), written);

  // Blanks alone in an element are layout, data may come as CDATA, and what was deleted (a time
  // is not required) counts apart from the folders and clippings it holds.
  const CatalogDocument trash = CatalogDocument::Parse(
      Document("<folder name=\"Top\"><clipping name=\"A\"><data type=\"2\"><![CDATA[x<y]]>"
               "</data></clipping><folder name=\"Gone\" deleted=\"1\"> </folder></folder>"));
  EXPECT_EQ(trash.counts().folders, 2u);
  EXPECT_EQ(trash.counts().clippings, 1u);
  EXPECT_EQ(trash.counts().deleted, 1u);
  EXPECT_NE(Written(trash).find("<![CDATA[x<y]]>"), std::string::npos) << Written(trash);
}

TEST(CatalogDocument, EveryFaultIsRefusedWithWhatIsWrong) {
  const std::string clipping = "<folder name=\"T\"><clipping id=\"1\" name=\"A\">";
  const std::string version = "<version saved=\"2026-01-02 03:04:05\" name=\"A\" number=\"";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"<other/>", "the top element is not <clipcat-catalog>"},
      {"<other/>" + Document(kTree), "the top element is not <clipcat-catalog>"},
      {"<clipcat-catalog version=\"2\">" + kTree + "</clipcat-catalog>", "version 2 is not known"},
      {Document(kTree + kTree), "it must hold exactly one top <folder>"},
      {Document("<folder/>"), "<folder> without \"name\""},
      {Document("<folder name=\"T\">text</folder>"), "unexpected text in <folder>"},
      {Document("<folder name=\"T\" name-encoding=\"rot13\"/>"), "unknown name encoding \"rot13\""},
      {Document("<folder name=\"!!\" name-encoding=\"base64\"/>"),
       "a name in base64 that does not decode"},
      {Document(clipping + "</clipping><clipping id=\"1\" name=\"B\"/></folder>"),
       "two clippings have the id 1"},
      {Document(clipping + "<data type=\"2x\"/></clipping></folder>"),
       "data type \"2x\" is not a positive number"},
      {Document(clipping + "<data type=\"\"/></clipping></folder>"),
       "data type \"\" is not a positive number"},
      {Document(clipping + "<data type=\"2147483648\"/></clipping></folder>"),
       "data type \"2147483648\" is not a positive number"},
      {Document(clipping + "<data type=\"2\" encoding=\"base64\">!!</data></clipping></folder>"),
       "data in base64 that does not decode"},
      {Document(clipping + "<data type=\"2\">x<b/></data></clipping></folder>"),
       "<data> holds more than text"},
      {Document(clipping + version + "\"/></clipping></folder>"),
       "version number \"\" is not a positive number"},
      {Document(clipping + version + "1x\"/></clipping></folder>"),
       "version number \"1x\" is not a positive number"},
      {Document(clipping + version + "2147483648\"/></clipping></folder>"),
       "version number \"2147483648\" is not a positive number"},
      {Document("<folder name=\"T\"><clipping name=\"D\"/><clipping name=\"D\"/></folder>"
                "<category name=\"C\"><member path=\"D\"/></category>"),
       "a member names a path two clippings share: D"},
      {Document(kTree + "<category name=\"C\"><member clipping=\"z\"/></category>"),
       "a member names no clipping of the document: z"},
      {Document(kTree + "<category name=\"C\"><member path=\"Sub/A\"/></category>"),
       "a member names no clipping of the document: Sub/A"},
      {Document(kTree + "<category name=\"C\"><member clipping=\"a\" path=\"A\"/></category>"),
       "a member names a clipping both by id and by path"},
      {Document(kTree + "<category name=\"C\"><member/></category>"),
       "<member> without \"clipping\" or \"path\""},
      {Document(kTree + "<category name=\"C\"><member clipping=\"a\"/><member path=\"A\"/>"
                        "</category>"),
       "a clipping is a member twice: A"},
      {Document(kTree + "<link name=\"L\" connection=\"nonsense\"/>"),
       "the connection of linked folder \"L\" is not connection details"},
      {Document("\xff"), "the text is not UTF-8 that XML can carry"},
  };
  for (const auto& [text, what] : cases) {
    const AutomationError error = ErrorOf([&, text = text] { CatalogDocument::Parse(text); });
    EXPECT_EQ(error.number(), err::kInvalidProcedureCall) << text;
    EXPECT_EQ(error.source(), kComponentSource);
    EXPECT_EQ(error.description(),
              "Invalid procedure call or argument: not a clipcat catalog document: " + what);
  }
}

TEST(CatalogDocument, WriteFileReplacesOnlyWithACompleteDocument) {
  TempDir dir;
  const CatalogDocument document = CatalogDocument::Parse(Document(kTree));
  const std::string path = dir.Write("out.xml", "old");
  document.WriteFile(path);
  std::ostringstream content;
  content << std::ifstream(path).rdbuf();
  EXPECT_EQ(content.str(), Written(document));
  EXPECT_FALSE(fs::exists(path + ".partial"));

  if (geteuid() != 0) {  // root writes anywhere
    const std::string blocked = dir.File("blocked");
    fs::create_directory(blocked);
    fs::permissions(blocked, fs::perms::owner_read | fs::perms::owner_exec);
    const AutomationError error = ErrorOf([&] { document.WriteFile(blocked + "/out.xml"); });
    EXPECT_EQ(error.number(), 75);
    EXPECT_EQ(error.description(), "Cannot write " + blocked + "/out.xml.partial");
    fs::permissions(blocked, fs::perms::owner_all);
  }
  // A directory where the file should go: written beside it, then the rename fails.
  const std::string taken = dir.File("taken");
  fs::create_directories(taken + "/x");
  EXPECT_EQ(ErrorOf([&] { document.WriteFile(taken); }).description(), "Cannot write " + taken);
  EXPECT_FALSE(fs::exists(taken + ".partial"));
  EXPECT_TRUE(fs::is_directory(taken + "/x"));
}

}  // namespace
}  // namespace clipcat::library_test
