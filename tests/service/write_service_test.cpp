// ClippingDataWrite with a personal catalog and linked file catalogs: linking, new items under a
// linked folder landing in the linked catalog's root, changes to a linked catalog's root made to
// the linking folder, removal of linked folders, and routing of every write by its ids.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "service/clipping_data_write.h"
#include "service/service_fixture.h"
#include "util/item_id.h"

namespace clipcat::service_test {
namespace {

std::shared_ptr<Category> NewCategory(const std::string& name) {
  auto category = Category::Create();
  category->SetName(name);
  return category;
}

// The names of the folders directly below `parent` in `catalog`, read past the services.
std::vector<std::string> ChildNames(const std::shared_ptr<DataAccess>& catalog,
                                    const std::string& parent) {
  return NamesOf(catalog->GetChildrenFolders(parent, true, false));
}

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

using WriteServiceLinking = ServiceFixture;

TEST_F(WriteServiceLinking, AddLinkedFolderRecordsTheCatalogAndATopFolderForIt) {
  const std::string path_a = NewCatalog("a", "A root");
  const std::string path_b = NewCatalog("b", "B root");
  const auto alpha = write_.AddLinkedFolder(FileDetails(path_a), "Alpha", personal_);
  const auto beta = write_.AddLinkedFolder(FileDetails(path_b), "Beta", personal_);
  for (const auto& folder : {alpha, beta}) {
    ASSERT_NE(folder, nullptr);
    EXPECT_EQ(folder->ParentID(), "0");
    EXPECT_GT(folder->ExternalCatalogID(), 0);
    EXPECT_FALSE(IsExternalItemID(folder->ID())) << folder->ID();
  }
  EXPECT_NE(alpha->ExternalCatalogID(), beta->ExternalCatalogID());
  EXPECT_EQ(alpha->Name(), "Alpha");

  const auto catalogs = read_.GetExternalCatalogs(personal_);
  ASSERT_EQ(catalogs->Count(), 2);
  for (const auto& catalog : *catalogs) {
    const bool is_a = catalog->ID() == alpha->ExternalCatalogID();
    EXPECT_TRUE(is_a || catalog->ID() == beta->ExternalCatalogID());
    EXPECT_TRUE(catalog->IsOnline());
    auto details = ConnectionDetails::Create();
    details->SetXML(catalog->ConnectionStringXML());
    EXPECT_EQ(details->DataSourceType(), kFileCatalog);
    EXPECT_EQ(details->ConnectionString(), FileCatalogConnectionString(is_a ? path_a : path_b));
  }

  // The new folder leads to the catalog it links.
  const std::string root = ComposeItemID("1", alpha->ExternalCatalogID());
  EXPECT_TRUE(read_.ConnectionOK(personal_, alpha->ID(), true));
  EXPECT_EQ(read_.GetCatalogsRootFolder(root, personal_)->Name(), "A root");
  EXPECT_EQ(read_.GetFolder(root, personal_)->Name(), "Alpha");
  EXPECT_TRUE(read_.IsLinkedFolder(alpha->ID(), personal_));
}

TEST_F(WriteService, AddFolderUnderALinkedFolderGoesIntoTheLinkedCatalogsRoot) {
  const auto folder = NewFolder("Projects", "from the personal tree");
  const auto added = write_.AddFolder(folder, l_.a.linked->ID(), personal_);
  EXPECT_EQ(added, folder);
  EXPECT_EQ(GetCatalogIDFromItemID(added->ID()), std::to_string(l_.a.id));
  EXPECT_EQ(added->ParentID(), l_.a.Root());
  EXPECT_EQ(ChildNames(a_, "1"), (std::vector<std::string>{"Projects", "Shared"}));
  EXPECT_EQ(a_->GetFolder(InA(added->ID()))->Description(), "from the personal tree");
  // Nothing of it in the personal catalog.
  EXPECT_TRUE(ChildNames(personal_direct_, l_.a.linked->ID()).empty());
  EXPECT_FALSE(personal_direct_->FolderNameExists("Projects", "0"));
  EXPECT_FALSE(personal_direct_->FolderNameExists("Projects", "1"));
  // Its id routes back to it.
  EXPECT_EQ(read_.GetFolder(added->ID(), personal_)->Name(), "Projects");

  // Below a folder of the linked catalog, or below its root, by tagged ids.
  const auto sub = write_.AddFolder(NewFolder("Sub"), added->ID(), personal_);
  EXPECT_EQ(sub->ParentID(), added->ID());
  EXPECT_EQ(ChildNames(a_, InA(added->ID())), std::vector<std::string>{"Sub"});
  const auto beside = write_.AddFolder(NewFolder("Beside"), l_.a.Root(), personal_);
  EXPECT_EQ(beside->ParentID(), l_.a.Root());
  EXPECT_EQ(ChildNames(a_, "1"), (std::vector<std::string>{"Beside", "Projects", "Shared"}));

  // Names are checked in the linked catalog's root when asked.
  const auto twin = NewFolder("Projects");
  const Raised raised =
      RaisedBy([&] { write_.AddFolder(twin, l_.a.linked->ID(), personal_, true); });
  EXPECT_EQ(raised.number, err::kFolderNameNotUnique);
  EXPECT_EQ(twin->ID(), "");
  EXPECT_EQ(ChildNames(a_, "1"), (std::vector<std::string>{"Beside", "Projects", "Shared"}));
  write_.AddFolder(twin, l_.a.linked->ID(), personal_, false);
  EXPECT_EQ(ChildNames(a_, "1"),
            (std::vector<std::string>{"Beside", "Projects", "Projects", "Shared"}));
}

TEST_F(WriteService, AddFolderUnderAPersonalFolderStaysInThePersonalCatalog) {
  const auto added = write_.AddFolder(NewFolder("Drafts"), l_.letters, personal_);
  EXPECT_FALSE(IsExternalItemID(added->ID()));
  EXPECT_EQ(added->ParentID(), l_.letters);
  EXPECT_EQ(ChildNames(personal_direct_, l_.letters), (std::vector<std::string>{"Drafts", "Old"}));
  EXPECT_EQ(ChildNames(a_, "1"), std::vector<std::string>{"Shared"});
}

TEST_F(WriteService, AddClippingUnderALinkedFolderGoesIntoTheLinkedCatalogsRoot) {
  const auto clipping = NewClipping("Memo", "remember");
  const auto added = write_.AddClipping(clipping, l_.a.linked->ID(), personal_);
  EXPECT_EQ(added, clipping);
  EXPECT_EQ(GetCatalogIDFromItemID(added->ID()), std::to_string(l_.a.id));
  const auto read_back = read_.GetClipping(added->ID(), personal_, true);
  ASSERT_NE(read_back, nullptr);
  EXPECT_EQ(read_back->Name(), "Memo");
  EXPECT_EQ(read_back->FolderID(), l_.a.Root());
  ASSERT_EQ(read_back->ClippingData()->Count(), 1);
  EXPECT_EQ(read_back->ClippingData()->Item(1)->RawData(), "remember");
  EXPECT_EQ(Sorted(IdsOf(a_->GetClippingsFromFolder("1", false, nullptr, false))),
            Sorted({InA(l_.top_note), InA(added->ID())}));
  EXPECT_EQ(personal_direct_->GetClippingsFromFolder(l_.a.linked->ID(), false, nullptr, false)
                ->Items()
                ->Count(),
            0);

  // Under a tagged folder id; clipping names are checked in the catalog the clipping goes to.
  const auto below = write_.AddClipping(NewClipping("Memo"), l_.shared, personal_);
  EXPECT_EQ(read_.GetClipping(below->ID(), personal_)->FolderID(), l_.shared);
  const auto twin = NewClipping("Memo");
  EXPECT_EQ(RaisedBy([&] { write_.AddClipping(twin, l_.a.linked->ID(), personal_); }).number,
            err::kClippingNameNotUnique);
  EXPECT_EQ(twin->ID(), "");
  EXPECT_EQ(a_->GetClippingsFromFolder("1", false, nullptr, false)->Items()->Count(), 2);
}

TEST_F(WriteService, AddDefaultFolderToLinkedCatalogAddsBelowTheLinkedCatalogsRoot) {
  const auto added = write_.AddDefaultFolderToLinkedCatalog(l_.b.linked, "Inbox", personal_);
  ASSERT_NE(added, nullptr);
  EXPECT_EQ(added->Name(), "Inbox");
  EXPECT_EQ(added->ParentID(), l_.b.Root());
  EXPECT_EQ(GetCatalogIDFromItemID(added->ID()), std::to_string(l_.b.id));
  const auto b = OpenDirect(l_.b.path);
  EXPECT_EQ(ChildNames(b, "1"), (std::vector<std::string>{"Bee", "Inbox"}));
  b->CloseCatalog();
  EXPECT_EQ(ChildNames(a_, "1"), std::vector<std::string>{"Shared"});
}

TEST_F(WriteService, UpdateFolderOfALinkedCatalogsRootChangesTheLinkingFolder) {
  const auto root = read_.GetFolder(l_.a.Root(), personal_);
  root->SetName("Team");
  root->SetDescription("Everything we share");
  const auto updated = write_.UpdateFolder(root, personal_);
  EXPECT_EQ(updated, root);
  EXPECT_EQ(updated->ID(), l_.a.Root());

  const auto linking = personal_direct_->GetFolder(l_.a.linked->ID());
  EXPECT_EQ(linking->Name(), "Team");
  EXPECT_EQ(linking->Description(), "Everything we share");
  EXPECT_EQ(linking->ExternalCatalogID(), l_.a.id);
  EXPECT_EQ(linking->ParentID(), "0");
  EXPECT_EQ(linking->Status(), 1);
  EXPECT_EQ(updated->Updated(), linking->Updated());
  // The linked catalog's own root is untouched.
  const auto own_root = a_->GetFolder("1");
  EXPECT_EQ(own_root->Name(), "A root");
  EXPECT_EQ(own_root->Description(), "");
  // Every reader shows the new name.
  EXPECT_EQ(read_.GetFolder(l_.a.Root(), personal_)->Name(), "Team");
  EXPECT_EQ(NamesOf(read_.GetFolders(personal_)),
            (std::vector<std::string>{"Beta", "Personal", "Team"}));
  EXPECT_TRUE(read_.ConnectionOK(personal_, l_.a.linked->ID(), true));

  // A name already used at the top of the personal catalog is refused when asked, and the
  // linking folder keeps its name.
  root->SetName("Personal");
  EXPECT_EQ(RaisedBy([&] { write_.UpdateFolder(root, personal_, true); }).number,
            err::kFolderNameNotUnique);
  EXPECT_EQ(personal_direct_->GetFolder(l_.a.linked->ID())->Name(), "Team");
}

TEST_F(WriteService, UpdateFolderOfAnyOtherFolderChangesItInItsOwnCatalog) {
  const auto shared = read_.GetFolder(l_.shared, personal_);
  shared->SetName("Common");
  const auto updated = write_.UpdateFolder(shared, personal_);
  EXPECT_EQ(updated->ID(), l_.shared);
  EXPECT_EQ(a_->GetFolder(InA(l_.shared))->Name(), "Common");
  EXPECT_EQ(personal_direct_->GetFolder(l_.a.linked->ID())->Name(), "Alpha");
  // The personal folder with the same local key is not touched.
  EXPECT_EQ(personal_direct_->GetFolder(InA(l_.shared))->Name(),
            read_.GetFolder(InA(l_.shared), personal_)->Name());
  EXPECT_NE(personal_direct_->GetFolder(InA(l_.shared))->Name(), "Common");

  const auto letters = read_.GetFolder(l_.letters, personal_);
  letters->SetDescription("Paper");
  write_.UpdateFolder(letters, personal_);
  EXPECT_EQ(personal_direct_->GetFolder(l_.letters)->Description(), "Paper");
}

TEST_F(WriteService, DeleteLinkedFolderRemovesFolderAndRecordAndReleasesTheCatalog) {
  // Catalog a by the linked folder's own id, b by the id of its root as the readers give it.
  for (const LinkedCatalog* catalog : {&l_.a, &l_.b}) {
    SCOPED_TRACE(catalog->folder);
    const std::string id = catalog == &l_.a ? catalog->linked->ID() : catalog->Root();
    read_.GetFolder(catalog->Root(), personal_);
    const auto held = Manager()->Item(Variant("P" + std::to_string(catalog->id)));
    held->OpenCatalog("", "", "");

    write_.DeleteLinkedFolder(id, personal_);

    for (int32_t held_id : HeldCatalogIDs()) EXPECT_NE(held_id, catalog->id);
    EXPECT_FALSE(held->IsOpen());
    EXPECT_EQ(personal_direct_->GetFolder(catalog->linked->ID()), nullptr);
    const auto records = read_.GetExternalCatalogs(personal_);
    for (const auto& record : *records) {
      EXPECT_NE(record->ID(), catalog->id);
    }
    EXPECT_EQ(RaisedBy([&] { read_.GetFolder(catalog->Root(), personal_); }).number,
              err::kObjectVariableNotSet);
  }
  EXPECT_EQ(read_.GetExternalCatalogs(personal_)->Count(), 0);
  EXPECT_EQ(IdsOf(read_.GetFolders(personal_)), std::vector<std::string>{"1"});
  // The linked catalogs themselves keep everything.
  EXPECT_EQ(ChildNames(a_, "1"), std::vector<std::string>{"Shared"});
  EXPECT_EQ(a_->GetClipping(InA(l_.deep_note), false)->Name(), "Deep note");
}

TEST_F(WriteService, DeleteLinkedFolderOfTheCatalogRootChangesNothing) {
  read_.GetFolder(l_.shared, personal_);
  const auto held = Manager()->Item(Variant(2));
  held->OpenCatalog("", "", "");
  const auto before = IdsOf(read_.GetFolders(personal_));

  write_.DeleteLinkedFolder("1", personal_);

  EXPECT_EQ(IdsOf(read_.GetFolders(personal_)), before);
  EXPECT_EQ(read_.GetExternalCatalogs(personal_)->Count(), 2);
  EXPECT_NE(personal_direct_->GetFolder("1"), nullptr);
  EXPECT_NE(personal_direct_->GetFolder(l_.a.linked->ID()), nullptr);
  EXPECT_EQ(Manager()->Item(Variant(2)), held);
  EXPECT_TRUE(held->IsOpen());
}

TEST_F(WriteService, CanUpdateFolderAndCanUpdateClippingAreNotYetImplemented) {
  const auto folder = read_.GetFolder(l_.shared, personal_);
  const auto clipping = read_.GetClipping(l_.top_note, personal_);
  const Raised folder_raised = RaisedBy([&] { write_.CanUpdateFolder(folder, personal_); });
  EXPECT_EQ(folder_raised.number, err::kNotYetImplemented);
  EXPECT_EQ(folder_raised.source, "CanUpdateFolder");
  EXPECT_EQ(folder_raised.description, "Not yet implemented!!");
  for (bool update_data : {false, true}) {
    const Raised raised =
        RaisedBy([&] { write_.CanUpdateClipping(clipping, personal_, update_data); });
    EXPECT_EQ(raised.number, err::kNotYetImplemented);
    EXPECT_EQ(raised.source, "CanUpdateClipping");
    EXPECT_EQ(raised.description, "Not yet implemented!!");
  }
  // Nothing is looked at, not even the arguments.
  EXPECT_EQ(RaisedBy([&] { write_.CanUpdateFolder(nullptr, nullptr); }).number,
            err::kNotYetImplemented);
}

TEST_F(WriteService, ClippingWritesRouteByTheClippingsId) {
  const auto top = read_.GetClipping(l_.top_note, personal_, true);
  top->SetName("Top note, revised");
  top->ClippingData()->Item(1)->SetRawData("revised");
  write_.UpdateClipping(top, personal_, true);
  const auto stored = a_->GetClipping(InA(l_.top_note), true);
  EXPECT_EQ(stored->Name(), "Top note, revised");
  EXPECT_EQ(stored->ClippingData()->Item(1)->RawData(), "revised");
  EXPECT_EQ(top->ID(), l_.top_note);

  EXPECT_TRUE(write_.CanDeleteClipping(l_.shared_note, personal_, true));
  EXPECT_TRUE(write_.CanDeleteFolder(l_.deeper, personal_, true));
  EXPECT_TRUE(write_.CanAddFolder(NewFolder("Trial"), l_.shared, personal_));
  EXPECT_TRUE(write_.CanAddClipping(NewClipping("Trial"), l_.shared, personal_));
  // Trials leave nothing behind.
  EXPECT_EQ(ChildNames(a_, InA(l_.shared)), std::vector<std::string>{"Deeper"});
  EXPECT_EQ(a_->GetClipping(InA(l_.shared_note), false)->ClippingStatus(), 0);
  EXPECT_NE(a_->GetFolder(InA(l_.deeper)), nullptr);

  write_.DeleteClipping(l_.shared_note, personal_);
  EXPECT_EQ(a_->GetClipping(InA(l_.shared_note), false)->ClippingStatus(), 4);
  write_.DeleteClipping(l_.shared_note, personal_, true);
  EXPECT_EQ(a_->GetClipping(InA(l_.shared_note), false), nullptr);
  write_.DeleteFolder(l_.deeper, personal_, true);
  EXPECT_EQ(a_->GetFolder(InA(l_.deeper)), nullptr);
  EXPECT_EQ(a_->GetClipping(InA(l_.deep_note), false), nullptr);
  // The personal items with the same local keys are still there.
  EXPECT_NE(personal_direct_->GetFolder(l_.old), nullptr);
  EXPECT_NE(personal_direct_->GetClipping(l_.dear, false), nullptr);
}

TEST_F(WriteService, AccessHistoryIsKeptInThePersonalCatalogOnly) {
  write_.UpdateClippingHistory(read_.GetClipping(l_.bee_note, personal_), personal_);
  write_.UpdateClippingHistory(read_.GetClipping(l_.top_note, personal_), personal_);
  EXPECT_EQ(Sorted(IdsOf(personal_direct_->GetClippingsHistroy(10))),
            Sorted({l_.bee_note, l_.top_note}));
  EXPECT_EQ(a_->GetClippingsHistroy(10)->Items()->Count(), 0);
  EXPECT_EQ(Sorted(IdsOf(read_.GetClippingsHistroy(10, personal_))),
            Sorted({l_.bee_note, l_.top_note}));
}

TEST_F(WriteService, CategoryWritesRouteToTheCatalogOfTheirIds) {
  // A category added through a linked folder, or any folder of the linked catalog, goes there.
  const auto legal = write_.AddCategory(NewCategory("Legal"), l_.a.linked->ID(), personal_);
  EXPECT_EQ(GetCatalogIDFromItemID(legal->ID()), std::to_string(l_.a.id));
  const auto urgent = write_.AddCategory(NewCategory("Urgent"), l_.deeper, personal_);
  EXPECT_EQ(GetCatalogIDFromItemID(urgent->ID()), std::to_string(l_.a.id));
  const auto home = write_.AddCategory(NewCategory("Home"), l_.letters, personal_);
  EXPECT_FALSE(IsExternalItemID(home->ID()));
  EXPECT_EQ(NamesOf(a_->GetCategoriesFromFolder("1")),
            (std::vector<std::string>{"Legal", "Urgent"}));
  EXPECT_EQ(NamesOf(personal_direct_->GetCategoriesFromFolder("1")),
            std::vector<std::string>{"Home"});
  // Names are unique per catalog: "Legal" is new to b, taken in a.
  EXPECT_EQ(GetCatalogIDFromItemID(
                write_.AddCategory(NewCategory("Legal"), l_.b.Root(), personal_)->ID()),
            std::to_string(l_.b.id));
  EXPECT_EQ(
      RaisedBy([&] { write_.AddCategory(NewCategory("Legal"), l_.shared, personal_); }).number,
      err::kCategoryNameNotUnique);
  EXPECT_EQ(NamesOf(a_->GetCategoriesFromFolder("1")),
            (std::vector<std::string>{"Legal", "Urgent"}));

  legal->SetName("Law");
  write_.UpdateCategory(legal, personal_);
  EXPECT_EQ(read_.GetCategory(legal->ID(), personal_)->Name(), "Law");

  write_.AddClippingToCategory(l_.top_note, legal->ID(), personal_);
  auto both = Categories::Create();
  both->AddCategory(legal);
  both->AddCategory(urgent);
  write_.AddClippingToCategories(l_.deep_note, both, personal_);
  EXPECT_EQ(NamesOf(a_->GetCategoriesForClipping(InA(l_.deep_note))),
            (std::vector<std::string>{"Law", "Urgent"}));
  write_.DeleteClippingFromCategory(l_.deep_note, urgent->ID(), personal_);
  EXPECT_EQ(NamesOf(a_->GetCategoriesForClipping(InA(l_.deep_note))),
            std::vector<std::string>{"Law"});
  // This member's parameter is named for a category but names the clipping.
  write_.DeleteAllCategoriesFromClipping(l_.top_note, personal_);
  EXPECT_EQ(a_->GetCategoriesForClipping(InA(l_.top_note))->Items()->Count(), 0);

  // A folder's clippings, those of its subfolders included.
  EXPECT_EQ(write_.AddFolderToCategory(l_.shared, urgent->ID(), personal_), "");
  EXPECT_EQ(Sorted(IdsOf(read_.GetClippingsFromCategory(urgent->ID(), false, personal_))),
            Sorted({l_.shared_note, l_.deep_note}));
  EXPECT_EQ(write_.DeleteAllCategoriesFromFolder(l_.shared, personal_), "");
  EXPECT_EQ(a_->GetCategoriesForClipping(InA(l_.deep_note))->Items()->Count(), 0);

  write_.DeleteCategory(urgent->ID(), personal_);
  EXPECT_EQ(NamesOf(a_->GetCategoriesFromFolder("1")), std::vector<std::string>{"Law"});
  EXPECT_EQ(NamesOf(personal_direct_->GetCategoriesFromFolder("1")),
            std::vector<std::string>{"Home"});
}

}  // namespace
}  // namespace clipcat::service_test
