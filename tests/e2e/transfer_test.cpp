// export and import: a whole catalog as one document, read back into a new catalog as the same
// catalog; documents that are not right refused before anything is written; a failed import
// leaves the catalog as it was.
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

class Transfer : public Cli {
 protected:
  // The id of the one clipping the search for `name` finds.
  std::string IdOf(const std::string& catalog, const std::string& name) {
    const std::string found = OkOn(catalog, {"search", name});
    const std::regex row("\\n(\\S+)\\s+" + name + "\\s");
    std::smatch match;
    EXPECT_TRUE(std::regex_search(found, match, row)) << found;
    return match.size() > 1 ? match[1].str() : "";
  }

  // A catalog with what an export must carry: nested folders with descriptions, clippings with
  // several data items (line ends, tabs, blanks, nothing, bytes XML cannot carry, non-ASCII),
  // categories with and without members, and deleted items that must stay behind.
  void BuildSampleCatalog() {
    Ok({"init", "--name", "Personal"});
    const std::string letters = Trim(
        Ok({"call", "TORVEL.ClippingDataWrite", "AddFolder",
            "<Folder name=\"Letters\" description=\"Say &quot;hi&quot; &amp; more&#9;\"/>", "1"}));
    letters_ = Unwrap(letters, "Folderid");
    drafts_ = Trim(Ok({"mkdir", letters_, "Drafts"}));
    const std::string deep = Trim(Ok({"mkdir", drafts_, "Deeper \xc3\xa9t\xc3\xa9"}));
    Ok({"call", "TORVEL.ClippingDataWrite", "AddClipping",
        "<clipping Name=\"Many\" Description=\"two items\"><clippingdata>"
        "<clippingdataitem datatype=\"2\">line one\r\nline two\ttabbed</clippingdataitem>"
        "<clippingdataitem datatype=\"4\">&lt;w:doc/&gt;</clippingdataitem>"
        "</clippingdata></clipping>",
        letters_});
    Ok({"add", drafts_, "Blank", "--text", "  \t "});
    Ok({"add", deep, "Empty", "--text", ""});  // the store keeps no empty item
    WriteFile(dir_ / "binary", binary_);
    Ok({"add", deep, "Binary", "--type", "1", "--file", (dir_ / "binary").string()});
    const std::string gone = Trim(Ok({"add", letters_, "Gone", "--text", "deleted"}));
    const std::string gone_folder = Trim(Ok({"mkdir", letters_, "Gone folder"}));
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

  // The value of attribute `name` in an XML text.
  static std::string Unwrap(const std::string& xml, const std::string& name) {
    std::smatch match;
    EXPECT_TRUE(std::regex_search(xml, match, std::regex(name + "=\"([^\"]*)\""))) << xml;
    return match.size() > 1 ? match[1].str() : "";
  }

  std::string letters_, drafts_;
  const std::string binary_ = std::string("{\\rtf1 \x01\x02\x00\xff\xfe end}", 17);
};

TEST_F(Transfer, ImportIntoANewCatalogGivesTheSameCatalog) {
  BuildSampleCatalog();
  const fs::path file = dir_ / "export.xml";
  const std::string said = Ok({"export", file.string()});
  EXPECT_EQ(said, "exported 4 folders, 5 clippings, 3 categories, 3 memberships to " +
                      file.string() + "\n");
  const std::string document = ReadFile(file);
  EXPECT_EQ(Ok({"export"}), document) << "standard output and a file get the same document";
  EXPECT_EQ(document.find("Gone"), std::string::npos) << "deleted items stay behind";
  EXPECT_FALSE(fs::exists(file.string() + ".partial"));

  const std::string copy = (dir_ / "copy.db").string();
  OkOn(copy, {"init", "--name", "Something else"});
  EXPECT_EQ(OkOn(copy, {"import", file.string()}),
            "imported 3 folders, 5 clippings, 3 categories, 3 memberships\n");

  // The same tree (the top folder takes the exported name), the same categories and members.
  const std::regex ids(R"(  \[[^\]]*\])");
  EXPECT_EQ(std::regex_replace(OkOn(copy, {"tree"}), ids, ""),
            "Personal\n  Letters\n    Drafts\n      Deeper \xc3\xa9t\xc3\xa9\n");
  EXPECT_EQ(std::regex_replace(OkOn(copy, {"tree"}), ids, ""),
            std::regex_replace(Ok({"tree"}), ids, ""));
  for (const char* category : {"Work", "Home"}) {
    const std::regex first_column(R"((^|\n)\S+ +)");
    const std::string found = Ok({"search", "*", "--category", category});
    EXPECT_NE(found.find('\n'), found.size() - 1) << "members are found: " << found;
    EXPECT_EQ(std::regex_replace(OkOn(copy, {"search", "*", "--category", category}), first_column,
                                 "$1#"),
              std::regex_replace(found, first_column, "$1#"))
        << category;
  }
  EXPECT_NE(OkOn(copy, {"categories"}).find("no members"), std::string::npos);

  // The data byte for byte, each item with its type; descriptions with quotes, tabs, non-ASCII.
  EXPECT_EQ(OkOn(copy, {"show", IdOf(copy, "Binary"), "--raw", "1"}), binary_);
  EXPECT_EQ(OkOn(copy, {"show", IdOf(copy, "Many"), "--raw", "2"}), "line one\r\nline two\ttabbed");
  EXPECT_EQ(OkOn(copy, {"show", IdOf(copy, "Many"), "--raw", "4"}), "<w:doc/>");
  EXPECT_EQ(OkOn(copy, {"show", IdOf(copy, "Blank"), "--raw", "2"}), "  \t ");
  const std::string letters =
      OkOn(copy, {"call", "TORVEL.ClippingDataRead", "GetFolderByName", "Letters", "1"});
  EXPECT_NE(letters.find("description=\"Say &quot;hi&quot; &amp; more&#09;\""), std::string::npos)
      << letters;

  // And the export of the copy is the export of the original, ids aside.
  EXPECT_EQ(WithoutIds(OkOn(copy, {"export"})), WithoutIds(document));
}

TEST_F(Transfer, ImportIntoAFolderMergesWithoutRenamingOrLinking) {
  BuildSampleCatalog();
  const fs::path file = dir_ / "export.xml";
  Ok({"export", file.string()});
  const std::string other = (dir_ / "other.db").string();
  OkOn(other, {"init", "--name", "Mine"});
  const std::string inbox = Trim(OkOn(other, {"mkdir", "1", "Inbox"}));
  OkOn(other, {"tag", Trim(OkOn(other, {"add", inbox, "Own", "--text", "x"})), "work"});
  EXPECT_EQ(OkOn(other, {"import", file.string(), "--into", inbox}),
            "imported 3 folders, 5 clippings, 2 categories, 3 memberships\n")
      << "\"Work\" is found by name without regard to case, not made again";
  const std::regex ids(R"(  \[[^\]]*\])");
  EXPECT_EQ(std::regex_replace(OkOn(other, {"tree"}), ids, ""),
            "Mine\n  Inbox\n    Letters\n      Drafts\n        Deeper \xc3\xa9t\xc3\xa9\n");
  const std::string work = OkOn(other, {"search", "*", "--category", "work"});
  for (const char* name : {"Own", "Many", "Binary"}) {
    EXPECT_NE(work.find(name), std::string::npos) << work;
  }
  // A top folder that holds something keeps its name on a merge into it.
  OkOn(other, {"import", file.string(), "--into", "1"});
  EXPECT_EQ(Trim(OkOn(other, {"tree"})).rfind("Mine  [1]", 0), 0u);
}

TEST_F(Transfer, LinkedCatalogsAreLinkedAgain) {
  const std::string shared = (dir_ / "shared.db").string();
  OkOn(shared, {"init", "--name", "Shared"});
  Ok({"init", "--name", "Personal"});
  const std::string details =
      "<connectiondetails connectionstring=\"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" +
      shared + "\" datasourcetype=\"1\"/>";
  Ok({"link", "Team", "--connection", details});
  const std::string document = Ok({"export"});
  EXPECT_NE(document.find("<link name=\"Team\""), std::string::npos) << document;
  const std::string copy = (dir_ / "copy.db").string();
  OkOn(copy, {"init"});
  EXPECT_EQ(OkOn(copy, {"import", "-"}, document),
            "imported 0 folders, 0 clippings, 0 categories, 0 memberships, 1 link\n");
  EXPECT_NE(OkOn(copy, {"tree"}).find("Team  [P1C1]"), std::string::npos) << OkOn(copy, {"tree"});
}

TEST_F(Transfer, DocumentsThatAreNotRightAreRefusedBeforeAnythingIsWritten) {
  Ok({"init", "--name", "Personal"});
  Ok({"add", "1", "Kept", "--text", "x"});
  const std::string before = Ok({"export"});
  const std::string head = "<clipcat-catalog version=\"1\">";
  const std::string tail = "</clipcat-catalog>";
  // Each document would write something before its fault if it were not checked first.
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"not xml", "<clipcat-catalog"},
      {"wrong root", "<catalog version=\"1\"><folder name=\"A\"/></catalog>"},
      {"later version", "<clipcat-catalog version=\"2\"><folder name=\"A\"/>" + tail},
      {"no version", "<clipcat-catalog><folder name=\"A\"/>" + tail},
      {"no folder", head + tail},
      {"two folders", head + "<folder name=\"A\"/><folder name=\"B\"/>" + tail},
      {"unknown element", head + "<folder name=\"A\"><folder name=\"B\"/><note/></folder>" + tail},
      {"stray text", head + "<folder name=\"A\"><folder name=\"B\"/>text</folder>" + tail},
      {"blank name",
       head + "<folder name=\"A\"><folder name=\"B\"/><folder name=\" \"/></folder>" + tail},
      {"clipping without id",
       head + "<folder name=\"A\"><folder name=\"B\"/><clipping name=\"C\"/></folder>" + tail},
      {"same id twice", head +
                            "<folder name=\"A\"><clipping id=\"1\" name=\"C\"/>"
                            "<clipping id=\"1\" name=\"D\"/></folder>" +
                            tail},
      {"type not a number", head +
                                "<folder name=\"A\"><clipping id=\"1\" name=\"C\">"
                                "<data type=\"two\">x</data></clipping></folder>" +
                                tail},
      {"type zero", head +
                        "<folder name=\"A\"><clipping id=\"1\" name=\"C\">"
                        "<data type=\"0\">x</data></clipping></folder>" +
                        tail},
      {"bad base64", head +
                         "<folder name=\"A\"><clipping id=\"1\" name=\"C\">"
                         "<data type=\"1\" encoding=\"base64\">abc</data></clipping></folder>" +
                         tail},
      {"unknown encoding", head +
                               "<folder name=\"A\"><clipping id=\"1\" name=\"C\">"
                               "<data type=\"1\" encoding=\"hex\">00</data></clipping></folder>" +
                               tail},
      {"member of nothing", head +
                                "<folder name=\"A\"><clipping id=\"1\" name=\"C\"/></folder>"
                                "<category name=\"K\"><member clipping=\"2\"/></category>" +
                                tail},
      {"member twice", head +
                           "<folder name=\"A\"><clipping id=\"1\" name=\"C\"/></folder>"
                           "<category name=\"K\"><member clipping=\"1\"/>"
                           "<member clipping=\"1\"/></category>" +
                           tail},
      {"link without details",
       head + "<folder name=\"A\"/><link name=\"L\" connection=\"x\"/>" + tail},
      {"invalid utf-8", head + "<folder name=\"A\xff\"/>" + tail},
  };
  for (const auto& [what, document] : cases) {
    const Result r = OnCatalog({"import", "-"}, document);
    EXPECT_EQ(r.status, 1) << what;
    EXPECT_EQ(r.err.rfind("error 5 (clipcat): Invalid procedure call or argument: not a clipcat "
                          "catalog document: ",
                          0),
              0u)
        << what << ": " << r.err;
    EXPECT_EQ(Ok({"export"}), before) << what;
  }
  const Result missing = OnCatalog({"import", (dir_ / "missing.xml").string()});
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.err.find("error 53 (clipcat): File not found"), std::string::npos);
  EXPECT_EQ(OnCatalog({"import"}).status, 64);
}

TEST_F(Transfer, AFailedImportTakesOutEverythingItAdded) {
  BuildSampleCatalog();
  const std::string document = Ok({"export"});
  const std::string other = (dir_ / "other.db").string();
  OkOn(other, {"init", "--name", "Mine"});
  // The clipping "Top" is added first, then the folder "Letters" meets one of the same name.
  OkOn(other, {"mkdir", "1", "Letters"});
  const std::string before = OkOn(other, {"export"});
  Result r = Run({"--catalog", other, "import", "-"}, document);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err,
            "error -2147220997 (Data Services): The name \"Letters\" is already in use here. "
            "Choose a unique name.\n");
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
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("error -2147220996 (Data Services): The name \"c\""), std::string::npos)
      << r.err;
  EXPECT_EQ(OkOn(fresh, {"export"}), empty);
  EXPECT_EQ(Trim(OkOn(fresh, {"tree"})), "Fresh  [1]");
}

TEST_F(Transfer, AnExportThatCannotBeWrittenLeavesNoFile) {
  Ok({"init", "--name", "Personal"});
  const fs::path blocked = dir_ / "no-such-folder" / "export.xml";
  const Result r = OnCatalog({"export", blocked.string()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("error 75 (clipcat): Cannot write ", 0), 0u) << r.err;
  EXPECT_FALSE(fs::exists(blocked.parent_path()));
  // A file that exists is replaced whole.
  const fs::path file = dir_ / "export.xml";
  WriteFile(file, std::string(100000, 'x'));
  Ok({"export", file.string()});
  EXPECT_EQ(ReadFile(file), Ok({"export"}));
}

}  // namespace
