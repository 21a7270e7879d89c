// Importing a catalog document: into a new catalog an export gives the same catalog again, data
// byte for byte; into a folder it merges, categories by name; and an import the catalog refuses
// halfway leaves the catalog exactly as it was.
#include "library/catalog_import.h"

#include "library/catalog_export.h"
#include "library/item_lookup.h"
#include "library/trash_and_versions.h"
#include "library_fixture.h"
#include "util/errors.h"

namespace clipcat::library_test {
namespace {

using Counts = std::vector<size_t>;

class CatalogImportTest : public LibraryTest {
 protected:
  // Nested folders, data that XML text cannot carry, a CR line end, a category with members in
  // two folders, one without members, a link.
  void SetUp() override {
    LibraryTest::SetUp();
    source_ = NewCatalog("source.db", "Mine");
    const std::string linked = NewCatalog("linked.db", "Team");
    Open(source_);
    const std::string letters = AddFolder("1", "Letters");
    const std::string drafts = AddFolder(letters, "Drafts");
    AddFolder("1", "Empty");
    const std::string work = AddCategory("Work");
    AddCategory("Unused");
    Tag(AddClipping(letters, "Greeting", "Dear Sir,\r\nregards"), work);
    Tag(AddClipping(drafts, "Binary", std::string("\x01\x00\xff", 3), 1), work);
    AddClipping("1", "At the top");
    Link(linked, "Team");
  }

  CatalogDocument Exported() { return ExportCatalog(Open(source_)); }

  std::string source_;
};

TEST_F(CatalogImportTest, AnExportImportedIntoANewCatalogGivesTheSameCatalog) {
  const std::string before = ExportText();
  const CatalogDocument document = Exported();
  ProgressLog progress;
  const ImportResult result =
      ImportDocument(Open(NewCatalog("copy.db", "Placeholder")), document, "", progress.Callback());
  EXPECT_EQ(result.folder_id, "1");
  EXPECT_EQ(Counted(result.counts), (Counts{3, 3, 2, 2, 1})) << "the top folder is merged";
  EXPECT_EQ(progress.last, std::make_pair(size_t{12}, size_t{12}));  // all the document's elements
  EXPECT_EQ(WithoutIds(ExportText()), WithoutIds(before));
  EXPECT_EQ(RequireTopFolder(*catalog_)->Name(), "Mine");
  ClippingDataRead& read = catalog_->read();
  const auto letters = read.GetFolderByName("Letters", "1", catalog_->details());
  const auto drafts = read.GetFolderByName("Drafts", letters->ID(), catalog_->details());
  const auto binary = read.GetClippingByName("Binary", drafts->ID(), true, catalog_->details());
  EXPECT_EQ(binary->ClippingData()->Item(1)->RawData(), std::string("\x01\x00\xff", 3));
}

TEST_F(CatalogImportTest, IntoAFolderTheDocumentMergesAndCategoriesJoinByName) {
  const CatalogDocument document = Exported();
  Open(NewCatalog("target.db", "Other"));
  const std::string work = AddCategory("WORK");
  const std::string into = AddFolder("1", "Imported");
  const ImportResult result = ImportDocument(*catalog_, document, into);
  EXPECT_EQ(result.folder_id, into);
  // Only "Unused" is a new category; links only go to a top folder.
  EXPECT_EQ(Counted(result.counts), (Counts{3, 3, 1, 2, 0}));
  EXPECT_EQ(RequireTopFolder(*catalog_)->Name(), "Other");
  EXPECT_EQ(RequireFolder(*catalog_, into)->Name(), "Imported");
  EXPECT_TRUE(catalog_->read().GetFolderByName("Letters", into, catalog_->details()));
  EXPECT_EQ(
      catalog_->read().GetClippingsFromCategory(work, false, catalog_->details())->Items()->Count(),
      2);
}

TEST_F(CatalogImportTest, AnImportRefusedHalfwayLeavesTheCatalogAsItWas) {
  const CatalogDocument document = Exported();
  // The document's top clipping goes in, then its folder "Letters" is refused.
  Open(NewCatalog("target.db", "Placeholder"));
  AddFolder("1", "Letters");
  AddCategory("Kept");
  std::string before = ExportText();
  const AutomationError error = ErrorOf([&] { ImportDocument(*catalog_, document); });
  EXPECT_EQ(error.number(), err::kFolderNameNotUnique);
  EXPECT_EQ(error.source(), kDataServicesSource);
  EXPECT_EQ(ExportText(), before);

  // Into an empty catalog: the top folder is renamed and a folder and a clipping go in before
  // the second clipping's name, the first one's in another case, is refused.
  Open(NewCatalog("empty.db", "Placeholder"));
  before = ExportText();
  const CatalogDocument late = CatalogDocument::Parse(
      "<clipcat-catalog version=\"1\"><folder name=\"New name\"><folder name=\"F\"/>"
      "<clipping id=\"1\" name=\"Same\"/><clipping id=\"2\" name=\"SAME\"/></folder>"
      "<category name=\"Fresh\"><member clipping=\"1\"/></category></clipcat-catalog>");
  EXPECT_EQ(RaisedNumber([&] { ImportDocument(*catalog_, late); }), err::kClippingNameNotUnique);
  EXPECT_EQ(ExportText(), before);
  EXPECT_EQ(RequireTopFolder(*catalog_)->Name(), "Placeholder");
  EXPECT_EQ(ErrorOf([&] { ImportDocument(*catalog_, late, "999"); }).description(),
            "no folder has the id 999");
  EXPECT_EQ(ExportText(), before);
}

TEST_F(CatalogImportTest, NamesAreFixedUpCategoriesOfOneNameJoinOnceAndTheTrashKeepsItsUser) {
  // Control characters of every kind (C0, DEL, C1) in the top folder's and a clipping's names; two
  // categories the catalog takes for one; a deleted clipping whose time is not known.
  const CatalogDocument document = CatalogDocument::Parse(
      "<clipcat-catalog version=\"1\"><folder name=\"Tab&#9;top\">"
      "<clipping id=\"1\" name=\"del&#127;C1&#133;end\"/>"
      "<clipping id=\"2\" name=\"Old\" deleted=\"1\" deleted-by=\"ann\"/></folder>"
      "<category name=\"Work\"><member clipping=\"1\"/></category>"
      "<category name=\"WORK\"><member clipping=\"1\"/></category></clipcat-catalog>");
  const ImportResult result = ImportDocument(Open(NewCatalog("fixed.db", "Placeholder")), document,
                                             "", {}, ImportOptions{.with_history = true});
  EXPECT_EQ(Counted(result.counts), (Counts{0, 2, 1, 1, 0}));
  std::vector<std::string> notes;
  for (const ImportNote& note : result.notes) {
    EXPECT_EQ(note.kind, ImportNote::Kind::kNameFixed);
    notes.push_back(note.what + ":" + note.new_name);
  }
  EXPECT_EQ(notes, (std::vector<std::string>{"folder:Tab top", "clipping:del C1 end"}));
  EXPECT_EQ(RequireTopFolder(*catalog_)->Name(), "Tab top");
  const std::vector<TrashEntry> trash = ListTrash(*catalog_);
  ASSERT_EQ(trash.size(), 1u);
  EXPECT_EQ(trash[0].name, "Old");
  EXPECT_EQ(trash[0].deleted_by, "ann");
  EXPECT_TRUE(trash[0].deleted.has_value()) << "deleted now, for want of a time";

  // The top folder of a new catalog takes the document's description under the same name.
  ImportDocument(Open(NewCatalog("described.db", "Mine")),
                 CatalogDocument::Parse("<clipcat-catalog version=\"1\"><folder name=\"Mine\" "
                                        "description=\"kept\"/></clipcat-catalog>"));
  EXPECT_EQ(RequireTopFolder(*catalog_)->Description(), "kept");
}

}  // namespace
}  // namespace clipcat::library_test
