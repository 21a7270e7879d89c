// Moving and copying: a moved folder or clipping keeps its id, whole tree, data, memberships and
// history under its new parent; a copy leaves the original; a transfer that cannot be made
// changes nothing.
#include "library/item_transfer.h"

#include "library/catalog_export.h"
#include "library/item_lookup.h"
#include "library_fixture.h"
#include "util/errors.h"

namespace clipcat::library_test {
namespace {

class ItemTransferTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    Open(NewCatalog("catalog.db"));
    letters_ = AddFolder("1", "Letters");
    drafts_ = AddFolder(letters_, "Drafts");
    old_ = AddFolder(drafts_, "Old");
    archive_ = AddFolder("1", "Archive");
    draft_ = AddClipping(drafts_, "Draft", "<Row/>", 3);
    ancient_ = AddClipping(old_, "Ancient", "1999");
    greeting_ = AddClipping(letters_, "Greeting", "Dear Sir,\r\n");
    work_ = AddCategory("Work");
    Tag(draft_, work_);
    Tag(greeting_, work_);
  }

  std::string Subtree(const std::string& folder) { return WithoutIds(ExportText(folder)); }
  size_t Members(const std::string& category) {
    return catalog_->read()
        .GetClippingsFromCategory(category, false, catalog_->details())
        ->Items()
        ->Count();
  }

  std::string letters_, drafts_, old_, archive_, draft_, ancient_, greeting_, work_;
};

TEST_F(ItemTransferTest, AMovedFolderKeepsItsIdsTreeAndHistory) {
  const std::string tree = Subtree(drafts_);
  const auto guid = RequireFolder(*catalog_, drafts_)->GUID();
  catalog_->write().UpdateClippingHistory(RequireClipping(*catalog_, ancient_, false),
                                          catalog_->details());
  const TransferredItem moved = MoveItem(*catalog_, drafts_, archive_);
  ASSERT_TRUE(moved.folder);
  EXPECT_FALSE(moved.clipping);
  EXPECT_FALSE(moved.moved_across);
  EXPECT_EQ(moved.folder->ID() + " " + moved.folder->GUID(), drafts_ + " " + guid);
  EXPECT_EQ(moved.folder->ParentID(), archive_);
  EXPECT_EQ(Subtree(drafts_), tree);
  // Everything below kept its id and place under it.
  EXPECT_EQ(RequireFolder(*catalog_, old_)->ParentID(), drafts_);
  EXPECT_EQ(RequireClipping(*catalog_, ancient_, false)->FolderID(), old_);
  EXPECT_EQ(Members(work_), 2u);
  const auto history = catalog_->read().GetClippingsHistroy(10, catalog_->details());
  ASSERT_EQ(history->Items()->Count(), 1);
  EXPECT_EQ(history->Items()->Item(1)->ID(), ancient_);
}

TEST_F(ItemTransferTest, AMovedClippingKeepsItsIdDataAndCategories) {
  const TransferredItem moved = MoveItem(*catalog_, greeting_, archive_);
  ASSERT_TRUE(moved.clipping);
  EXPECT_EQ(moved.clipping->ID(), greeting_);
  EXPECT_EQ(moved.clipping->FolderID(), archive_);
  const auto read = RequireClipping(*catalog_, greeting_, true);
  EXPECT_EQ(read->ClippingData()->Item(1)->RawData(), "Dear Sir,\r\n");
  EXPECT_EQ(catalog_->read().GetCategoriesNamesForClipping(greeting_, catalog_->details()), "Work");
  EXPECT_EQ(
      catalog_->read().GetClippingsFromFolder(letters_, catalog_->details())->Items()->Count(), 0);
}

TEST_F(ItemTransferTest, ACopyLeavesTheOriginal) {
  const std::string tree = Subtree(drafts_);
  const TransferredItem copied = CopyItem(*catalog_, drafts_, archive_);
  ASSERT_TRUE(copied.folder);
  EXPECT_EQ(Subtree(copied.folder->ID()), tree);
  EXPECT_EQ(Subtree(drafts_), tree);
  EXPECT_EQ(Members(work_), 3u);
  const TransferredItem clipping = CopyItem(*catalog_, greeting_, archive_);
  EXPECT_EQ(Members(work_), 4u);
  EXPECT_TRUE(RequireClipping(*catalog_, greeting_, false));
  EXPECT_EQ(RaisedNumber([&] { CopyItem(*catalog_, greeting_, archive_); }),
            err::kClippingNameNotUnique);
  EXPECT_EQ(ErrorOf([&] { CopyItem(*catalog_, letters_, old_); }).description(),
            "folder " + letters_ + " cannot be copied into itself");
}

TEST_F(ItemTransferTest, AMoveThatCannotBeMadeChangesNothing) {
  AddFolder(archive_, "Drafts");
  const std::string before = ExportText();
  const std::vector<std::pair<std::string, std::string>> refused = {
      {"1", "folder 1 is the top folder of its catalog"},
      {letters_, "folder " + letters_ + " cannot move into itself"},
  };
  for (const auto& [id, what] : refused) {
    EXPECT_EQ(ErrorOf([&, id = id] { MoveItem(*catalog_, id, old_); }).description(), what);
  }
  EXPECT_EQ(ErrorOf([&] { MoveItem(*catalog_, greeting_, ancient_); }).description(),
            "no folder has the id " + ancient_);
  EXPECT_EQ(ErrorOf([&] { MoveItem(*catalog_, "999", archive_); }).description(),
            "no clipping or folder has the id 999");
  EXPECT_EQ(RaisedNumber([&] { MoveItem(*catalog_, drafts_, archive_); }),
            err::kFolderNameNotUnique);
  EXPECT_EQ(ExportText(), before);

  // To where it already is: the item itself, unchanged.
  EXPECT_EQ(MoveItem(*catalog_, drafts_, letters_).folder->ID(), drafts_);
  EXPECT_EQ(MoveItem(*catalog_, greeting_, letters_).clipping->ID(), greeting_);
  EXPECT_EQ(ExportText(), before);
}

}  // namespace
}  // namespace clipcat::library_test
