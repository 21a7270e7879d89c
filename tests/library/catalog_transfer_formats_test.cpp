// Documents that travel: portable exports equal byte for byte for equal catalogs and read back;
// imports that meet names already taken (fail, skip, replace, rename) and still add everything or
// nothing; names old catalogs may hold (empty, blank, control characters) exported and fixed up on
// import; and documents made from a directory of files or from JSON.
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "library/catalog_import.h"
#include "library/catalog_portable.h"
#include "library/catalog_sources.h"
#include "library/item_lookup.h"
#include "library_fixture.h"
#include "util/errors.h"

namespace clipcat::library_test {
namespace {

namespace fs = std::filesystem;
using Kind = ImportNote::Kind;

std::string Text(const CatalogDocument& document) {
  std::ostringstream out;
  document.Write(out);
  return out.str();
}

class TransferFormatsTest : public LibraryTest {
 protected:
  std::string Portable() { return Text(PortableDocument(ExportCatalog(*catalog_))); }

  // The first data item of the clipping named `name` in `folder`.
  std::string Content(const std::string& folder, const std::string& name) {
    const auto clipping =
        catalog_->read().GetClippingByName(name, folder, true, catalog_->details());
    if (!clipping) return "<none>";
    return clipping->ClippingData()->Item(1)->RawData();
  }

  std::string FolderId(const std::string& parent, const std::string& name) {
    const auto folder = catalog_->read().GetFolderByName(name, parent, catalog_->details());
    return folder ? folder->ID() : "";
  }

  std::vector<Kind> Kinds(const ImportResult& result) {
    std::vector<Kind> kinds;
    for (const ImportNote& note : result.notes) kinds.push_back(note.kind);
    return kinds;
  }
};

// The same catalog built in two orders: other ids, other insertion order, one deleted item in
// between that shifts every later id.
TEST_F(TransferFormatsTest, PortableExportsOfEqualCatalogsAreEqualAndReadBack) {
  Open(NewCatalog("a.db", "Mine"));
  {
    const std::string letters = AddFolder("1", "Letters");
    const std::string drafts = AddFolder(letters, "Drafts");
    AddFolder("1", "Archive");
    const std::string work = AddCategory("Work");
    const std::string home = AddCategory("Home");
    Tag(AddClipping(letters, "Zeta", "z"), work);
    Tag(AddClipping(letters, "Alpha", "a"), work);
    Tag(AddClipping(drafts, "Slash/Name", "s"), home);
    AddClipping("1", "Top", "t");
  }
  const std::string first = Portable();
  Open(NewCatalog("b.db", "Mine"));
  {
    catalog_->write().DeleteFolder(AddFolder("1", "Scratch"), catalog_->details(), true);
    const std::string home = AddCategory("Home");
    const std::string work = AddCategory("Work");
    AddClipping("1", "Top", "t");
    AddFolder("1", "Archive");
    const std::string letters = AddFolder("1", "Letters");
    Tag(AddClipping(letters, "Alpha", "a"), work);
    const std::string drafts = AddFolder(letters, "Drafts");
    Tag(AddClipping(drafts, "Slash/Name", "s"), home);
    Tag(AddClipping(letters, "Zeta", "z"), work);
  }
  EXPECT_EQ(Portable(), first);
  const std::string second_plain = Text(ExportCatalog(*catalog_));
  EXPECT_NE(second_plain, Text(ExportCatalog(Open(dir_.File("a.db")))))
      << "the ordinary exports differ (ids, order): the portable form is what makes them equal";
  EXPECT_EQ(first.find(" id="), std::string::npos) << first;
  EXPECT_NE(first.find("<member path=\"Letters/Drafts/Slash\\/Name\" />"), std::string::npos)
      << first;
  // Archive before Letters, Alpha before Zeta, Home before Work.
  EXPECT_LT(first.find("Archive"), first.find("Letters"));
  EXPECT_LT(first.find("Alpha"), first.find("Zeta"));
  EXPECT_LT(first.find("\"Home\""), first.find("\"Work\""));

  const ImportResult result =
      ImportDocument(Open(NewCatalog("copy.db", "Placeholder")), CatalogDocument::Parse(first));
  EXPECT_EQ(Counted(result.counts), (std::vector<size_t>{3, 4, 2, 3, 0}));
  EXPECT_EQ(Portable(), first);
}

class TransferConflictTest : public TransferFormatsTest {
 protected:
  // The target holds Letters/Greeting ("old"), tagged Kept; the document holds Letters with
  // Greeting ("new") and Other, both tagged Work, and a top clipping Loose.
  void SetUp() override {
    TransferFormatsTest::SetUp();
    document_ = CatalogDocument::Parse(
        "<clipcat-catalog version=\"1\"><folder name=\"Doc\">"
        "<clipping name=\"Loose\"><data type=\"2\">loose</data></clipping>"
        "<folder name=\"Letters\">"
        "<clipping name=\"Greeting\" description=\"fresh\"><data type=\"2\">new</data></clipping>"
        "<clipping name=\"Other\"><data type=\"2\">other</data></clipping></folder></folder>"
        "<category name=\"Work\"><member path=\"Letters/Greeting\"/>"
        "<member path=\"Letters/Other\"/></category></clipcat-catalog>");
    Open(NewCatalog("target.db", "Mine"));
    letters_ = AddFolder("1", "Letters");
    greeting_ = AddClipping(letters_, "Greeting", "old");
    Tag(greeting_, AddCategory("Kept"));
  }

  ImportResult Import(OnConflict on_conflict) {
    return ImportDocument(*catalog_, document_, "", {}, {.on_conflict = on_conflict});
  }

  size_t Members(const std::string& category) {
    const auto categories = catalog_->read().GetCategoriesFromFolder("1", catalog_->details());
    for (const auto& found : *categories->Items()) {
      if (found->Name() != category) continue;
      return static_cast<size_t>(
          catalog_->read()
              .GetClippingsFromCategory(found->ID(), false, catalog_->details())
              ->Items()
              ->Count());
    }
    return 0;
  }

  CatalogDocument document_;
  std::string letters_, greeting_;
};

TEST_F(TransferConflictTest, FailRefusesAndLeavesEverythingAsItWas) {
  const std::string before = Text(ExportCatalog(*catalog_));
  EXPECT_EQ(RaisedNumber([&] { Import(OnConflict::kFail); }), err::kFolderNameNotUnique);
  EXPECT_EQ(Text(ExportCatalog(*catalog_)), before);
}

TEST_F(TransferConflictTest, SkipMergesTheFolderAndLeavesTheTakenClippingAlone) {
  const ImportResult result = Import(OnConflict::kSkip);
  EXPECT_EQ(Kinds(result), (std::vector<Kind>{Kind::kMerged, Kind::kSkipped}));
  EXPECT_EQ(result.notes[1].folder, "Letters");
  EXPECT_EQ(result.notes[1].name, "Greeting");
  EXPECT_EQ(Counted(result.counts), (std::vector<size_t>{0, 2, 1, 1, 0}));
  EXPECT_EQ(Content(letters_, "Greeting"), "old");
  EXPECT_EQ(Content(letters_, "Other"), "other");
  EXPECT_EQ(Content("1", "Loose"), "loose");
  EXPECT_EQ(Members("Work"), 1u) << "the skipped clipping does not join the document's category";
  EXPECT_EQ(catalog_->read().GetClippingVersions(greeting_, catalog_->details()).size(), 0u);
}

TEST_F(TransferConflictTest, ReplaceUpdatesTheClippingAndKeepsItsOldStateAsAVersion) {
  const ImportResult result = Import(OnConflict::kReplace);
  EXPECT_EQ(Kinds(result), (std::vector<Kind>{Kind::kMerged, Kind::kReplaced}));
  const auto greeting = catalog_->read().GetClipping(greeting_, catalog_->details(), true);
  ASSERT_TRUE(greeting) << "replaced in place: same id";
  EXPECT_EQ(greeting->ClippingData()->Item(1)->RawData(), "new");
  EXPECT_EQ(greeting->Description(), "fresh");
  const auto versions = catalog_->read().GetClippingVersions(greeting_, catalog_->details());
  ASSERT_EQ(versions.size(), 1u);
  const auto old =
      catalog_->read().GetClippingVersion(greeting_, versions[0].version, catalog_->details());
  EXPECT_EQ(old->ClippingData()->Item(1)->RawData(), "old");
  EXPECT_EQ(Members("Work"), 2u) << "the replaced clipping joins the document's category";
  EXPECT_EQ(Members("Kept"), 1u);
}

TEST_F(TransferConflictTest, TheContentSearchFindsWhatTheImportWroteAndNotWhatItReplaced) {
  Import(OnConflict::kReplace);
  const auto found = [&](const std::string& word) {
    std::vector<std::string> names;
    for (const auto& hit : catalog_->read().FindContent(word, {}, catalog_->details())) {
      names.push_back(hit.clipping->Name());
    }
    std::sort(names.begin(), names.end());
    return names;
  };
  EXPECT_EQ(found("loose"), (std::vector<std::string>{"Loose"}));
  EXPECT_EQ(found("other"), (std::vector<std::string>{"Other"}));
  EXPECT_EQ(found("new"), (std::vector<std::string>{"Greeting"}));
  EXPECT_EQ(found("fresh"), (std::vector<std::string>{"Greeting"})) << "the new description";
  EXPECT_EQ(found("old"), (std::vector<std::string>{})) << "the replaced text is gone";
  // Another write after the import indexes as before.
  AddClipping(letters_, "Later", "afterwards");
  EXPECT_EQ(found("afterwards"), (std::vector<std::string>{"Later"}));
}

TEST_F(TransferConflictTest, RenameAddsUnderTheFirstFreeNumberedName) {
  AddFolder("1", "Letters (2)");
  const ImportResult result = Import(OnConflict::kRename);
  EXPECT_EQ(Kinds(result), (std::vector<Kind>{Kind::kRenamed}));
  EXPECT_EQ(result.notes[0].new_name, "Letters (3)");
  const std::string renamed = FolderId("1", "Letters (3)");
  ASSERT_FALSE(renamed.empty());
  EXPECT_EQ(Content(renamed, "Greeting"), "new");
  EXPECT_EQ(Content(letters_, "Greeting"), "old");
  EXPECT_EQ(Members("Work"), 2u);
}

TEST_F(TransferConflictTest, AFailureAfterAReplaceGivesEverythingBack) {
  // A failure at the very last step (reported through progress, as a cancelled import would
  // be): the folder merged, a clipping replaced, one added, the category made and joined.
  const std::string before = Text(ExportCatalog(*catalog_));
  const ProgressCallback failing = [](size_t done, size_t total) {
    if (done == total) throw AutomationError(75, kComponentSource, "disk full");
  };
  EXPECT_EQ(ErrorOf([&] {
              ImportDocument(*catalog_, document_, "", failing,
                             {.on_conflict = OnConflict::kReplace});
            }).description(),
            "disk full");
  EXPECT_EQ(Text(ExportCatalog(*catalog_)), before);
  EXPECT_EQ(Content(letters_, "Greeting"), "old");
  EXPECT_EQ(catalog_->read().GetClipping(greeting_, catalog_->details(), true)->Description(), "");
}

TEST_F(TransferFormatsTest, NamesTheLibraryRefusesExportAndComeBackFixedUp) {
  Open(NewCatalog("old.db", "Mine"));
  // The services take any name, as old catalogs hold them.
  const std::string folder = AddFolder("1", std::string("Tab\there"));
  AddClipping(folder, "", "empty");
  AddClipping(folder, "   ", "blank");
  AddClipping(folder, std::string("bell\x07", 5), "bell");
  Tag(AddClipping(folder, "Fine", "fine"), AddCategory(std::string("Cat\x01", 4)));
  const std::string exported = Text(ExportCatalog(*catalog_));

  const ImportResult result =
      ImportDocument(Open(NewCatalog("new.db", "Mine")), CatalogDocument::Parse(exported));
  EXPECT_EQ(Counted(result.counts), (std::vector<size_t>{1, 4, 1, 1, 0}));
  const std::string fixed = FolderId("1", "Tab here");
  ASSERT_FALSE(fixed.empty());
  EXPECT_EQ(Content(fixed, "(unnamed)"), "empty");
  EXPECT_EQ(Content(fixed, "(unnamed) (2)"), "blank");
  EXPECT_EQ(Content(fixed, "bell"), "bell");
  std::vector<std::string> names;
  for (const ImportNote& note : result.notes) {
    EXPECT_EQ(note.kind, Kind::kNameFixed);
    names.push_back(note.what + ":" + note.new_name);
  }
  EXPECT_EQ(names,
            (std::vector<std::string>{"folder:Tab here", "clipping:(unnamed)",
                                      "clipping:(unnamed) (2)", "clipping:bell", "category:Cat"}));
}

TEST_F(TransferFormatsTest, ADirectoryBecomesFoldersAndClippingsTypedByExtension) {
  const fs::path root = dir_.File("snippets");
  fs::create_directories(root / "Mail" / "Replies");
  fs::create_directories(root / ".git");
  const auto write = [](const fs::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
  };
  write(root / "Hello.txt", "hello\r\n");
  write(root / "Logo.RTF", "{\\rtf1 logo}");
  write(root / "Sheet.xml", "<sheet/>");
  write(root / "notes.md", std::string("\xff\xfe bytes", 8));
  write(root / ".hidden.txt", "secret");
  write(root / ".git" / "config", "x");
  write(root / "Mail" / "Replies" / "Thanks.txt", "thanks");
  // Neither a link to a folder (it could lead back up) nor a named pipe is read.
  fs::create_directory_symlink(root / "Mail", root / "Again");
  ASSERT_EQ(mkfifo((root / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(DataTypeOfFile("a.Rtf"), 1);

  Open(NewCatalog("dir.db", "Mine"));
  const ImportResult result = ImportDocument(*catalog_, DocumentFromDirectory(root.string()));
  EXPECT_EQ(Counted(result.counts), (std::vector<size_t>{2, 5, 0, 0, 0}));
  EXPECT_EQ(RequireTopFolder(*catalog_)->Name(), "Mine") << "the top folder keeps its name";
  EXPECT_EQ(Content("1", "Hello"), "hello\r\n");
  EXPECT_EQ(Content("1", "notes.md"), std::string("\xff\xfe bytes", 8));
  const auto logo = catalog_->read().GetClippingByName("Logo", "1", true, catalog_->details());
  ASSERT_TRUE(logo);
  EXPECT_EQ(logo->ClippingData()->Item(1)->ClippingDataType(), 1);
  EXPECT_EQ(catalog_->read()
                .GetClippingByName("Sheet", "1", true, catalog_->details())
                ->ClippingData()
                ->Item(1)
                ->ClippingDataType(),
            5);
  EXPECT_EQ(Content(FolderId(FolderId("1", "Mail"), "Replies"), "Thanks"), "thanks");
  EXPECT_EQ(Content("1", ".hidden"), "<none>");
  EXPECT_TRUE(FolderId("1", ".git").empty());
  EXPECT_TRUE(FolderId("1", "Again").empty());

  EXPECT_EQ(RaisedNumber([&] { DocumentFromDirectory(dir_.File("missing")); }), err::kFileNotFound);
}

TEST_F(TransferFormatsTest, AJsonDocumentGivesItsTreeItemsAndCategories) {
  const std::string json = R"({
    "clippings": [{"name": "Top", "description": null,
                   "items": [{"type": "text", "text": "at the top"}]}],
    "folders": [{"name": "Mail", "description": "letters", "clippings": [
        {"name": "Sig", "description": "d", "items": [
          {"type": "text", "text": "Regards"}, {"type": "rtf", "text": "{\\rtf1 R}"},
          {"type": 4, "base64": "AAE="}]}],
      "folders": [{"name": "Sub", "clippings": [{"name": "Deep"}]}]}],
    "categories": [{"name": "Work", "members": ["Mail/Sig", "Mail/Sub/Deep"]}]
  })";
  Open(NewCatalog("json.db", "Mine"));
  const ImportResult result = ImportDocument(*catalog_, ParseDocumentText(json, "x.json"));
  EXPECT_EQ(Counted(result.counts), (std::vector<size_t>{2, 3, 1, 2, 0}));
  const std::string mail = FolderId("1", "Mail");
  EXPECT_EQ(RequireFolder(*catalog_, mail)->Description(), "letters");
  const auto sig = catalog_->read().GetClippingByName("Sig", mail, true, catalog_->details());
  ASSERT_TRUE(sig);
  ASSERT_EQ(sig->ClippingData()->Count(), 3);
  EXPECT_EQ(sig->ClippingData()->Item(2)->ClippingDataType(), 1);
  EXPECT_EQ(sig->ClippingData()->Item(2)->RawData(), "{\\rtf1 R}");
  EXPECT_EQ(sig->ClippingData()->Item(3)->RawData(), std::string("\x00\x01", 2));
  EXPECT_EQ(Content("1", "Top"), "at the top");
  EXPECT_EQ(
      catalog_->read().GetClippingByName("Top", "1", true, catalog_->details())->Description(), "")
      << "null is no value";
  // Chosen by content as well as by name.
  EXPECT_EQ(ParseDocumentText("  " + json).counts().clippings, 3u);

  const std::vector<std::pair<std::string, std::string>> faults = {
      {"{\"folders\": [", "the text is not JSON"},
      {"{\"folders\": {}}", "\"folders\" of the document is not a list"},
      {"{\"clippings\": [{\"items\": []}]}", "clipping 1 of the document has no \"name\""},
      {"{\"clippings\": [{\"name\": \"A\", \"items\": [{\"type\": \"gif\", \"text\": \"\"}]}]}",
       "the type \"gif\" of item 1 of clipping \"A\" is not a data type name"},
      {"{\"clippings\": [{\"name\": \"A\", \"items\": [{\"type\": 2}]}]}",
       "item 1 of clipping \"A\" needs either \"text\" or \"base64\""},
      {"{\"categories\": [{\"name\": \"C\", \"members\": [\"Nowhere\"]}]}",
       "not a clipcat catalog document: a member names no clipping of the document: Nowhere"},
      {"[]", "the document is not an object"},
      {"{\"clippings\": [\"A\"]}", "clipping 1 of the document is not an object"},
      {"{\"folders\": [{\"name\": 7}]}", "\"name\" of folder 1 of the document is not a string"},
      {"{\"clippings\": [{\"name\": \"A\", \"items\": [{\"text\": \"x\"}]}]}",
       "item 1 of clipping \"A\" has no \"type\""},
      {"{\"clippings\": [{\"name\": \"A\", \"items\": [{\"type\": 0, \"text\": \"\"}]}]}",
       "the type of item 1 of clipping \"A\" is not a positive number"},
      {"{\"clippings\": [{\"name\": \"A\", \"items\": [{\"type\": 1.5, \"text\": \"\"}]}]}",
       "the type of item 1 of clipping \"A\" is not a positive number"},
      {"{\"clippings\": [{\"name\": \"A\", \"items\": [{\"type\": 2147483648, \"text\": \"\"}]}]}",
       "the type of item 1 of clipping \"A\" is not a positive number"},
      {"{\"clippings\": [{\"name\": \"A\", \"items\": [{\"type\": 2, \"base64\": \"!\"}]}]}",
       "the base64 of item 1 of clipping \"A\" does not decode"},
      {"{\"categories\": [{\"name\": \"C\", \"members\": [1]}]}",
       "a member of category \"C\" is not a path"},
  };
  for (const auto& [text, what] : faults) {
    const AutomationError error = ErrorOf([&, text = text] { DocumentFromJson(text); });
    EXPECT_EQ(error.number(), err::kInvalidProcedureCall) << text;
    EXPECT_NE(error.description().find(what), std::string::npos) << error.description();
  }
  std::string deep = "{";
  for (int i = 0; i < 300; ++i) deep += "\"folders\": [{\"name\": \"f\", ";
  deep += "\"x\": 1";
  for (int i = 0; i < 300; ++i) deep += "}]";
  deep += "}";
  EXPECT_NE(ErrorOf([&] { DocumentFromJson(deep); }).description().find("nested deeper than"),
            std::string::npos);
}

}  // namespace
}  // namespace clipcat::library_test
