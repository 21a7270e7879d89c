// ClippingDataWrite over a personal catalog and linked file catalogs: every write lands in the
// catalog its ids name; a linked folder stands for its catalog's root.
#include "service/service_fixture.h"
#include "util/item_id.h"

namespace clipcat::service_test {
namespace {

class WriteService : public ServiceFixture {
 protected:
  void SetUp() override {
    ServiceFixture::SetUp();
    l_ = BuildLayout();
    a_ = OpenDirect(l_.a.path);
    personal_direct_ = OpenDirect(personal_path_);
  }
  void TearDown() override {
    a_->CloseCatalog();
    personal_direct_->CloseCatalog();
    ServiceFixture::TearDown();
  }

  // The local key of an item of catalog a.
  std::string InA(const std::string& id) const { return GetLocalItemID(id, l_.a.id); }

  Layout l_;
  std::shared_ptr<DataAccess> a_;                // catalog a, past the services
  std::shared_ptr<DataAccess> personal_direct_;  // the personal catalog, past the services
};

TEST_F(WriteService, NewItemsUnderALinkedFolderGoIntoTheLinkedCatalogsRoot) {
  const auto folder = write_.AddFolder(Named<Folder>("Projects"), l_.a.linked->ID(), personal_);
  EXPECT_EQ(folder->ParentID(), l_.a.Root());
  EXPECT_EQ(NamesOf(a_->GetChildrenFolders("1", true, false)), (Ids{"Projects", "Shared"}));
  EXPECT_EQ(personal_direct_->GetChildrenFolders(l_.a.linked->ID(), true, false)->Items()->Count(),
            0);
  // Names are checked in the linked catalog's root when asked.
  EXPECT_EQ(RaisedNumber([&] {
              write_.AddFolder(Named<Folder>("Projects"), l_.a.linked->ID(), personal_, true);
            }),
            err::kFolderNameNotUnique);
  const auto clipping = write_.AddClipping(Named<Clipping>("Memo"), l_.a.linked->ID(), personal_);
  EXPECT_EQ(Sorted(IdsOf(a_->GetClippingsFromFolder("1", false, nullptr, false))),
            Sorted({InA(l_.top_note), InA(clipping->ID())}));
  write_.AddCategory(Named<Category>("Legal"), l_.a.linked->ID(), personal_);
  EXPECT_EQ(NamesOf(a_->GetCategoriesFromFolder("1")), Ids{"Legal"});
}

TEST_F(WriteService, UpdateFolderOfALinkedCatalogsRootChangesTheLinkingFolder) {
  const auto root = read_.GetFolder(l_.a.Root(), personal_);
  root->SetName("Team");
  EXPECT_EQ(write_.UpdateFolder(root, personal_)->ID(), l_.a.Root());
  const auto linking = personal_direct_->GetFolder(l_.a.linked->ID());
  EXPECT_EQ(linking->Name() + "|" + linking->ParentID(), "Team|0");
  EXPECT_EQ(linking->ExternalCatalogID(), l_.a.id);
  EXPECT_EQ(a_->GetFolder("1")->Name(), "A root");
  // A name already used at the top of the personal catalog is refused when asked.
  root->SetName("Personal");
  EXPECT_EQ(RaisedNumber([&] { write_.UpdateFolder(root, personal_, true); }),
            err::kFolderNameNotUnique);
  EXPECT_EQ(personal_direct_->GetFolder(l_.a.linked->ID())->Name(), "Team");
}

TEST_F(WriteService, DeleteLinkedFolderRemovesFolderAndRecordAndReleasesTheCatalog) {
  // "1" is the personal root, not a linked folder: nothing changes.
  write_.DeleteLinkedFolder("1", personal_);
  EXPECT_EQ(read_.GetExternalCatalogs(personal_)->Count(), 2);
  // Catalog a by the linked folder's own id, b by the id of its root as the readers give it.
  for (const LinkedCatalog* catalog : {&l_.a, &l_.b}) {
    SCOPED_TRACE(catalog->folder);
    read_.GetFolder(catalog->Root(), personal_);
    const auto held = GetAccessManager(personal_)->Item(Variant("P" + std::to_string(catalog->id)));
    held->OpenCatalog("", "", "");
    write_.DeleteLinkedFolder(catalog == &l_.a ? catalog->linked->ID() : catalog->Root(),
                              personal_);
    for (int32_t held_id : HeldCatalogIDs()) EXPECT_NE(held_id, catalog->id);
    EXPECT_FALSE(held->IsOpen());
    EXPECT_EQ(personal_direct_->GetFolder(catalog->linked->ID()), nullptr);
  }
  EXPECT_EQ(read_.GetExternalCatalogs(personal_)->Count(), 0);
  // The linked catalogs themselves keep everything.
  EXPECT_EQ(a_->GetClipping(InA(l_.deep_note), false)->Name(), "Deep note");
}

TEST_F(WriteService, WritesOfTaggedItemsChangeTheirOwnCatalogOnly) {
  const auto top = read_.GetClipping(l_.top_note, personal_, true);
  top->ClippingData()->Item(1)->SetRawData("revised");
  write_.UpdateClipping(top, personal_, true);
  EXPECT_EQ(a_->GetClipping(InA(l_.top_note), true)->ClippingData()->Item(1)->RawData(), "revised");
  const auto shared = read_.GetFolder(l_.shared, personal_);
  shared->SetName("Common");
  write_.UpdateFolder(shared, personal_);
  EXPECT_EQ(a_->GetFolder(InA(l_.shared))->Name(), "Common");
  EXPECT_EQ(personal_direct_->GetFolder(InA(l_.shared))->Name(), "Letters");
  const auto urgent = write_.AddCategory(Named<Category>("Urgent"), l_.deeper, personal_);
  write_.AddClippingToCategory(l_.deep_note, urgent->ID(), personal_);
  EXPECT_EQ(NamesOf(a_->GetCategoriesForClipping(InA(l_.deep_note))), Ids{"Urgent"});
  write_.DeleteCategory(urgent->ID(), personal_);
  EXPECT_EQ(a_->GetCategoriesFromFolder("1")->Items()->Count(), 0);
  write_.DeleteClipping(l_.shared_note, personal_, true);
  EXPECT_EQ(a_->GetClipping(InA(l_.shared_note), false), nullptr);
  write_.DeleteFolder(l_.deeper, personal_, true);
  EXPECT_EQ(a_->GetFolder(InA(l_.deeper)), nullptr);
  // The personal items with the same local keys are still there; history stays personal.
  EXPECT_NE(personal_direct_->GetFolder(l_.old), nullptr);
  EXPECT_NE(personal_direct_->GetClipping(l_.dear, false), nullptr);
  write_.UpdateClippingHistory(read_.GetClipping(l_.bee_note, personal_), personal_);
  EXPECT_EQ(IdsOf(personal_direct_->GetClippingsHistroy(10)), Ids{l_.bee_note});
}

}  // namespace
}  // namespace clipcat::service_test
