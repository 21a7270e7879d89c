// export and import: a whole catalog as one document, read back into a new catalog as the same
// catalog; documents that are not right refused before anything is written; a failed import or
// export leaves everything as it was.
#include <string>
#include <vector>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

constexpr size_t npos = std::string::npos;

class Transfer : public Cli {
 protected:
  // A catalog with what an export must carry: nested folders with descriptions, clippings with
  // several data items (line ends, tabs, blanks, nothing, bytes XML cannot carry, non-ASCII),
  // categories with and without members, and deleted items that must stay behind.
  void BuildSampleCatalog() {
    Ok({"init", "--name", "Personal"});
    const std::string xml =
        Ok({"call", "TORVEL.ClippingDataWrite", "AddFolder",
            "<Folder name=\"Letters\" description=\"Say &quot;hi&quot; &amp; more&#9;\"/>", "1"});
    std::smatch match;
    ASSERT_TRUE(std::regex_search(xml, match, std::regex("Folderid=\"([^\"]*)\""))) << xml;
    const std::string letters = match[1].str();
    const std::string drafts = Trim(Ok({"mkdir", letters, "Drafts"}));
    const std::string deep = Trim(Ok({"mkdir", drafts, "Deeper \xc3\xa9t\xc3\xa9"}));
    Ok({"call", "TORVEL.ClippingDataWrite", "AddClipping",
        "<clipping Name=\"Many\" Description=\"two items\"><clippingdata>"
        "<clippingdataitem datatype=\"2\">line one\r\nline two\ttabbed</clippingdataitem>"
        "<clippingdataitem datatype=\"4\">&lt;w:doc/&gt;</clippingdataitem>"
        "</clippingdata></clipping>",
        letters});
    Ok({"add", drafts, "Blank", "--text", "  \t "});
    Ok({"add", deep, "Empty", "--text", ""});  // the store keeps no empty item
    WriteFile(dir_ / "binary", binary_);
    Ok({"add", deep, "Binary", "--type", "1", "--file", (dir_ / "binary").string()});
    const std::string gone = Trim(Ok({"add", letters, "Gone", "--text", "deleted"}));
    const std::string gone_folder = Trim(Ok({"mkdir", letters, "Gone folder"}));
    Ok({"add", "1", "Top", "--text", "at the top", "--description", "\xe2\x82\xac 5"});
    Ok({"tag", IdOf(catalog_, "Many"), "Work"});
    Ok({"tag", IdOf(catalog_, "Binary"), "Work"});
    Ok({"tag", IdOf(catalog_, "Top"), "Home"});
    Ok({"tag", gone, "Work"});
    Ok({"call", "TORVEL.ClippingDataWrite", "AddCategory",
        "<category Name=\"Unused\" Description=\"no members\"/>", "1"});
    Ok({"rm", gone});
    Ok({"rm", gone_folder});
  }

  const std::string binary_ = std::string("{\\rtf1 \x01\x02\x00\xff\xfe end}", 17);
};

TEST_F(Transfer, ImportIntoANewCatalogGivesTheSameCatalog) {
  BuildSampleCatalog();
  const fs::path file = dir_ / "export.xml";
  EXPECT_EQ(
      Ok({"export", file.string()}),
      "exported 4 folders, 5 clippings, 3 categories, 3 memberships to " + file.string() + "\n");
  const std::string document = ReadFile(file);
  EXPECT_EQ(Ok({"export"}), document) << "standard output and a file get the same document";
  EXPECT_EQ(document.find("Gone"), npos) << "deleted items stay behind";
  // A conforming parser would read a raw CR LF as LF: CR travels as a character reference.
  EXPECT_EQ(document.find('\r'), npos);
  EXPECT_NE(document.find("line one&#13;\nline two"), npos) << document;

  const std::string copy = (dir_ / "copy.db").string();
  OkOn(copy, {"init", "--name", "Something else"});
  EXPECT_EQ(OkOn(copy, {"import", file.string()}),
            "imported 3 folders, 5 clippings, 3 categories, 3 memberships\n");
  EXPECT_EQ(WithoutTreeIds(OkOn(copy, {"tree"})),
            "Personal\n  Letters\n    Drafts\n      Deeper \xc3\xa9t\xc3\xa9\n");
  EXPECT_EQ(FirstColumn(OkOn(copy, {"search", "--names-only", "*", "--category", "Work"})).size(),
            2u);
  // The data byte for byte, each item with its type.
  EXPECT_EQ(OkOn(copy, {"show", IdOf(copy, "Binary"), "--raw", "1"}), binary_);
  EXPECT_EQ(OkOn(copy, {"show", IdOf(copy, "Many"), "--raw", "2"}), "line one\r\nline two\ttabbed");
  EXPECT_EQ(OkOn(copy, {"show", IdOf(copy, "Many"), "--raw", "4"}), "<w:doc/>");
  EXPECT_EQ(OkOn(copy, {"show", IdOf(copy, "Blank"), "--raw", "2"}), "  \t ");
  // And everything else: the export of the copy is the export of the original, ids aside.
  EXPECT_EQ(WithoutIds(OkOn(copy, {"export"})), WithoutIds(document));
}

TEST_F(Transfer, ImportIntoAFolderMergesCategoriesByName) {
  BuildSampleCatalog();
  const std::string document = Ok({"export"});
  const std::string other = (dir_ / "other.db").string();
  OkOn(other, {"init", "--name", "Mine"});
  const std::string inbox = Trim(OkOn(other, {"mkdir", "1", "Inbox"}));
  OkOn(other, {"tag", Trim(OkOn(other, {"add", inbox, "Own", "--text", "x"})), "work"});
  EXPECT_EQ(OkOn(other, {"import", "-", "--into", inbox}, document),
            "imported 3 folders, 5 clippings, 2 categories, 3 memberships\n");
  EXPECT_EQ(WithoutTreeIds(OkOn(other, {"tree"})),
            "Mine\n  Inbox\n    Letters\n      Drafts\n        Deeper \xc3\xa9t\xc3\xa9\n");
  EXPECT_EQ(FirstColumn(OkOn(other, {"search", "--names-only", "*", "--category", "work"})).size(),
            3u);
  OkOn(other, {"import", "-", "--into", "1"}, document);
  EXPECT_EQ(OkOn(other, {"tree"}).rfind("Mine  [1]", 0), 0u) << "a top folder keeps its name";

  // Linked catalogs are linked again.
  OkOn(other, {"link", "Team", "--connection", FileDetails(catalog_)});
  const std::string fresh = (dir_ / "fresh.db").string();
  OkOn(fresh, {"init"});
  const std::string said = OkOn(fresh, {"import", "-"}, OkOn(other, {"export"}));
  EXPECT_NE(said.find(", 1 link\n"), npos) << said;
  EXPECT_NE(OkOn(fresh, {"tree"}).find("Team  [P1C1]"), npos);
}

TEST_F(Transfer, DocumentsThatAreNotRightAreRefusedBeforeAnythingIsWritten) {
  Ok({"init", "--name", "Personal"});
  Ok({"add", "1", "Kept", "--text", "x"});
  const std::string before = Ok({"export"});
  const std::string head = "<clipcat-catalog version=\"1\">", tail = "</clipcat-catalog>";
  const std::string a = head + "<folder name=\"A\">", c = "<clipping id=\"1\" name=\"C\"";
  // Each document would write something before its fault if it were not checked first.
  for (const std::string& document :
       {std::string("<clipcat-catalog"),
        std::string("<catalog version=\"1\"><folder name=\"A\"/></catalog>"),
        "<clipcat-catalog version=\"2\"><folder name=\"A\"/>" + tail,
        "<clipcat-catalog><folder name=\"A\"/>" + tail, head + tail,
        head + "<folder name=\"A\"/><folder name=\"B\"/>" + tail,
        a + "<folder name=\"B\"/><note/></folder>" + tail,
        a + "<folder name=\"B\"/>text</folder>" + tail,
        a + "<folder name=\"B\"/><folder description=\"no name\"/></folder>" + tail,
        a + c + "/></folder><category name=\"K\"><member path=\"Nowhere\"/></category>" + tail,
        a + c + "/><clipping id=\"1\" name=\"D\"/></folder>" + tail,
        a + c + "><data type=\"two\">x</data></clipping></folder>" + tail,
        a + c + "><data type=\"0\">x</data></clipping></folder>" + tail,
        a + c + "><data type=\"1\" encoding=\"base64\">abc</data></clipping></folder>" + tail,
        a + c + "><data type=\"1\" encoding=\"hex\">00</data></clipping></folder>" + tail,
        a + c + "/></folder><category name=\"K\"><member clipping=\"2\"/></category>" + tail,
        a + c + "/></folder><category name=\"K\"><member clipping=\"1\"/>" +
            "<member clipping=\"1\"/></category>" + tail,
        head + "<folder name=\"A\"/><link name=\"L\" connection=\"x\"/>" + tail,
        head + "<folder name=\"A\xff\"/>" + tail}) {
    EXPECT_EQ(Fails({"import", "-"}, 1, document)
                  .rfind("error: Invalid procedure call or argument: not a clipcat catalog "
                         "document: ",
                         0),
              0u)
        << document;
  }
  EXPECT_EQ(Ok({"export"}), before);
  EXPECT_NE(Fails({"import", (dir_ / "missing.xml").string()}).find("(error 53, clipcat)"), npos);
  Fails({"import"}, 64);
}

TEST_F(Transfer, AFailedImportOrExportLeavesEverythingAsItWas) {
  BuildSampleCatalog();
  const std::string document = Ok({"export"});
  const std::string other = (dir_ / "other.db").string();
  OkOn(other, {"init", "--name", "Mine"});
  // The clipping "Top" is added first, then the folder "Letters" meets one of the same name.
  OkOn(other, {"mkdir", "1", "Letters"});
  const std::string before = OkOn(other, {"export"});
  Result r = Run({"--catalog", other, "import", "-"}, document);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("error: The name \"Letters\" is already", 0), 0u);
  EXPECT_EQ(OkOn(other, {"export"}), before);
  // Into a new catalog: the top folder is renamed, folders and clippings are added, then two
  // clippings of one name meet deep down. All of it is undone, the name included.
  const std::string fresh = (dir_ / "fresh.db").string();
  OkOn(fresh, {"init", "--name", "Fresh"});
  const std::string empty = OkOn(fresh, {"export"});
  r = Run({"--catalog", fresh, "import", "-"},
          "<clipcat-catalog version=\"1\"><folder name=\"Doc\"><clipping id=\"1\" name=\"A\"/>"
          "<folder name=\"Sub\"><clipping id=\"2\" name=\"C\"/><clipping id=\"3\" name=\"c\"/>"
          "</folder></folder><category name=\"K\"><member clipping=\"1\"/></category>"
          "</clipcat-catalog>");
  EXPECT_NE(r.err.find("error: The name \"c\""), npos) << r.err;
  EXPECT_EQ(OkOn(fresh, {"export"}), empty);

  const fs::path blocked = dir_ / "no-such-folder" / "export.xml";
  EXPECT_EQ(Fails({"export", blocked.string()}).rfind("error: Cannot write ", 0), 0u);
  EXPECT_FALSE(fs::exists(blocked.parent_path()));
  const fs::path file = dir_ / "export.xml";
  WriteFile(file, std::string(100000, 'x'));
  Ok({"export", file.string()});
  EXPECT_EQ(ReadFile(file), document) << "a file that exists is replaced whole";
}

}  // namespace
