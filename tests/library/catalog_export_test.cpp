// Exporting: a whole catalog carries every category and link, a folder only what belongs to its
// subtree; deleted items never travel, and names that XML cannot carry travel in base64 rather
// than failing the export.
#include "library/catalog_export.h"

#include <sstream>

#include "library/catalog_document_internal.h"
#include "library_fixture.h"
#include "util/errors.h"

namespace clipcat::library_test {
namespace {

class CatalogExportTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    Open(NewCatalog("catalog.db"));
    letters_ = AddFolder("1", "Letters");
    inner_ = AddFolder(letters_, "Inner");
    other_ = AddFolder("1", "Other");
    kept_ = AddClipping(inner_, "Kept");
    const std::string gone = AddClipping(inner_, "Gone");
    const std::string elsewhere = AddClipping(other_, "Elsewhere");
    const std::string inside = AddCategory("Inside");
    const std::string outside = AddCategory("Outside");
    AddCategory("Unused");
    Tag(kept_, inside);
    Tag(gone, inside);
    Tag(elsewhere, outside);
    catalog_->write().DeleteClipping(gone, catalog_->details());
    const std::string deleted = AddFolder(letters_, "Deleted");
    catalog_->write().DeleteFolder(deleted, catalog_->details());
  }

  std::string letters_, inner_, other_, kept_;
};

TEST_F(CatalogExportTest, AFolderCarriesItsSubtreeAndOnlyTheCategoriesOfItsClippings) {
  ProgressLog progress;
  const CatalogDocument document = ExportFolder(*catalog_, letters_, progress.Callback());
  // The deleted folder and clipping stay behind, and so do the categories without the clipping.
  EXPECT_EQ(Counted(document.counts()), (std::vector<size_t>{2, 1, 1, 1, 0}));
  // A step per folder and per category of the catalog looked at.
  EXPECT_EQ(progress.last, std::make_pair(size_t{5}, size_t{5}));
  EXPECT_EQ(WithoutIds(ExportText(letters_)),
            "<?xml version=\"1.0\"?>\n"
            "<clipcat-catalog version=\"1\">\n"
            "  <folder name=\"Letters\" description=\"\">\n"
            "    <folder name=\"Inner\" description=\"\">\n"
            "      <clipping id=\"#0\" name=\"Kept\" description=\"\">\n"
            "        <data type=\"2\">text</data>\n"
            "      </clipping>\n"
            "    </folder>\n"
            "  </folder>\n"
            "  <category name=\"Inside\" description=\"\">\n"
            "    <member clipping=\"#0\" />\n"
            "  </category>\n"
            "</clipcat-catalog>\n");
}

TEST_F(CatalogExportTest, TheWholeCatalogCarriesEveryCategoryAndLink) {
  const std::string linked = NewCatalog("linked.db", "Team");
  Link(linked, "Team");
  // The linked catalog's own tree is not copied.
  EXPECT_EQ(Counted(ExportCatalog(*catalog_).counts()), (std::vector<size_t>{4, 2, 3, 2, 1}));
  const std::string text = ExportText();
  EXPECT_NE(text.find("<category name=\"Unused\" description=\"\" />"), std::string::npos) << text;
  EXPECT_NE(text.find("Data Source=" + linked), std::string::npos);
}

TEST_F(CatalogExportTest, TextsXmlCannotCarryTravelInBase64AndReadBackExactly) {
  auto clipping = catalog_->read().GetClipping(kept_, catalog_->details(), true);
  clipping->SetName(std::string("bell\x07"));
  clipping->SetDescription(std::string("nul \x01 and \xff"));
  catalog_->write().UpdateClipping(clipping, catalog_->details(), false);
  const CatalogDocument document = ExportCatalog(*catalog_);
  std::ostringstream out;
  document.Write(out);
  const std::string text = out.str();
  EXPECT_NE(text.find("name=\"YmVsbAc=\" name-encoding=\"base64\""), std::string::npos) << text;
  EXPECT_NE(text.find("description-encoding=\"base64\""), std::string::npos) << text;
  // Read back, the clipping carries the very bytes.
  const CatalogDocument read = CatalogDocument::Parse(text);
  const pugi::xml_node kept = read.xml().select_node("//clipping[@name-encoding='base64']").node();
  ASSERT_TRUE(kept);
  const auto back = internal::ReadClipping(kept);
  EXPECT_EQ(back->Name(), "bell\x07");
  EXPECT_EQ(back->Description(), "nul \x01 and \xff");
}

}  // namespace
}  // namespace clipcat::library_test
