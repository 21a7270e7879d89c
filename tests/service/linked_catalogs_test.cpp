// Linked catalogs that cannot be reached: the read service shows their linked folders with status
// 4 instead of failing, keeps serving the other catalogs, and picks the catalog up again once it
// is back. The catalog's folder is moved away to take it offline.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "service/service_fixture.h"
#include "util/item_id.h"

namespace clipcat::service_test {
namespace {

// 2000-01-01: before anything a test writes.
constexpr Date kLongAgo(36526.0);

class LinkedCatalogs : public ServiceFixture {
 protected:
  void SetUp() override {
    ServiceFixture::SetUp();
    l_ = BuildLayout();
  }

  Layout l_;
};

TEST_F(LinkedCatalogs, GetFoldersShowsAnOfflineCatalogAsItsLinkedFolderWithStatusFour) {
  TakeOffline("a");
  std::shared_ptr<Folders> all;
  ASSERT_EQ(RaisedBy([&] { all = read_.GetFolders(personal_); }).number, 0);
  EXPECT_EQ(IdsOf(all), (std::vector<std::string>{l_.a.linked->ID(), l_.b.Root(), "1"}));
  const auto alpha = all->Items()->Item(1);
  EXPECT_EQ(alpha->Status(), kStatusError);
  EXPECT_EQ(alpha->Name(), "Alpha");
  EXPECT_EQ(alpha->ExternalCatalogID(), l_.a.id);
  EXPECT_EQ(alpha->ChildFolders()->Count(), 0);
  // The others are as they were.
  const auto beta = all->Items()->Item(2);
  EXPECT_EQ(beta->Name(), "Beta");
  EXPECT_NE(beta->Status(), kStatusError);
  ASSERT_EQ(beta->ChildFolders()->Count(), 1);
  EXPECT_EQ(beta->ChildFolders()->Item(1)->ID(), l_.bee);
  EXPECT_EQ(all->Items()->Item(3)->ChildFolders()->Item(1)->ID(), l_.letters);
  EXPECT_EQ(IdsOf(read_.GetFolders(personal_, false)), std::vector<std::string>{"1"});
  // The mark is not stored.
  const auto personal = OpenDirect(personal_path_);
  EXPECT_NE(personal->GetFolder(l_.a.linked->ID())->Status(), kStatusError);
  personal->CloseCatalog();

  BringOnline("a");
  const auto again = read_.GetFolders(personal_);
  EXPECT_EQ(IdsOf(again), (std::vector<std::string>{l_.a.Root(), l_.b.Root(), "1"}));
  EXPECT_NE(again->Items()->Item(1)->Status(), kStatusError);
  EXPECT_EQ(again->Items()->Item(1)->Name(), "Alpha");
}

TEST_F(LinkedCatalogs, GetLinkedFoldersShowsAnOfflineCatalogWithStatusFour) {
  // Either catalog, or both, offline.
  for (const std::vector<std::string>& away :
       std::vector<std::vector<std::string>>{{"a"}, {"b"}, {"a", "b"}}) {
    for (const auto& folder : away) TakeOffline(folder);
    std::shared_ptr<Folders> linked;
    ASSERT_EQ(RaisedBy([&] { linked = read_.GetLinkedFolders(personal_); }).number, 0);
    const bool a_away = away.front() == "a";
    const bool b_away = away.back() == "b";
    EXPECT_EQ(IdsOf(linked),
              (std::vector<std::string>{a_away ? l_.a.linked->ID() : l_.a.Root(),
                                        b_away ? l_.b.linked->ID() : l_.b.Root(), "1"}));
    EXPECT_EQ(NamesOf(linked), (std::vector<std::string>{"Alpha", "Beta", "Personal"}));
    EXPECT_EQ(linked->Items()->Item(1)->Status() == kStatusError, a_away);
    EXPECT_EQ(linked->Items()->Item(2)->Status() == kStatusError, b_away);
    EXPECT_NE(linked->Items()->Item(3)->Status(), kStatusError);
    for (const auto& folder : away) BringOnline(folder);
  }
}

TEST_F(LinkedCatalogs, GetFolderOfAnOfflineCatalogsRootAnswersTheLinkedFolder) {
  TakeOffline("a");
  const auto root = read_.GetFolder(l_.a.Root(), personal_);
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->ID(), l_.a.Root());
  EXPECT_EQ(root->Status(), kStatusError);
  EXPECT_EQ(root->Name(), "Alpha");
  EXPECT_EQ(root->ExternalCatalogID(), l_.a.id);
  EXPECT_EQ(root->GUID(), l_.a.linked->GUID());

  // Any other folder of the catalog fails as the catalog does.
  for (const std::string& id : std::vector<std::string>{l_.shared, l_.deeper}) {
    EXPECT_EQ(RaisedBy([&] { read_.GetFolder(id, personal_); }).number, err::kCatalogCannotBeOpened)
        << id;
  }
  EXPECT_EQ(RaisedBy([&] { read_.GetClipping(l_.top_note, personal_); }).number,
            err::kCatalogCannotBeOpened);
  // The other catalogs answer.
  EXPECT_EQ(read_.GetFolder(l_.b.Root(), personal_)->Name(), "Beta");
  EXPECT_EQ(read_.GetFolder(l_.old, personal_)->Name(), "Old");

  EXPECT_FALSE(read_.ConnectionOK(personal_, l_.a.Root()));
  EXPECT_FALSE(read_.ConnectionOK(personal_, l_.a.linked->ID(), true));
  EXPECT_FALSE(read_.CatalogsConnectionOK(l_.shared, personal_));
  EXPECT_TRUE(read_.ConnectionOK(personal_, l_.bee));
  EXPECT_TRUE(read_.ConnectionOK(personal_));

  BringOnline("a");
  const auto back = read_.GetFolder(l_.a.Root(), personal_);
  EXPECT_NE(back->Status(), kStatusError);
  EXPECT_EQ(back->Name(), "Alpha");
  EXPECT_EQ(back->ExternalCatalogID(), 0);
}

TEST_F(LinkedCatalogs, FindClippingWithGUIDPassesOverAnOfflineCatalog) {
  const std::string in_a = read_.GetClipping(l_.deep_note, personal_)->GUID();
  const std::string in_b = read_.GetClipping(l_.bee_note, personal_)->GUID();
  TakeOffline("a");
  std::shared_ptr<Clipping> found;
  ASSERT_EQ(RaisedBy([&] { found = read_.FindClippingWithGUID(in_b, personal_); }).number, 0);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->ID(), l_.bee_note);
  ASSERT_EQ(RaisedBy([&] { found = read_.FindClippingWithGUID(in_a, personal_); }).number, 0);
  EXPECT_EQ(found, nullptr);
  BringOnline("a");
  found = read_.FindClippingWithGUID(in_a, personal_);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->ID(), l_.deep_note);
}

TEST_F(LinkedCatalogs, HistoryOfAnOfflineCatalogIsKeptButNotAnswered) {
  for (const auto& id : {l_.top_note, l_.bee_note, l_.dear}) {
    write_.UpdateClippingHistory(read_.GetClipping(id, personal_), personal_);
  }
  TakeOffline("a");
  std::shared_ptr<Clippings> history;
  ASSERT_EQ(RaisedBy([&] { history = read_.GetClippingsHistroy(10, personal_); }).number, 0);
  EXPECT_EQ(Sorted(IdsOf(history)), Sorted({l_.bee_note, l_.dear}));
  // Unreachable is not gone: the entry stays for when the catalog is back.
  const auto personal = OpenDirect(personal_path_);
  EXPECT_EQ(personal->GetClippingsHistroy(10)->Items()->Count(), 3);
  personal->CloseCatalog();
  BringOnline("a");
  EXPECT_EQ(Sorted(IdsOf(read_.GetClippingsHistroy(10, personal_))),
            Sorted({l_.top_note, l_.bee_note, l_.dear}));
}

TEST_F(LinkedCatalogs, SearchingAnOfflineCatalogPassesItsErrorOn) {
  TakeOffline("a");
  for (const std::string& folder : std::vector<std::string>{l_.a.linked->ID(), l_.shared}) {
    auto search = Search::Create();
    search->SetSearchText("*");
    search->FolderIDs()->Add(folder);
    EXPECT_EQ(RaisedBy([&] { read_.SearchForClippings(search, personal_); }).number,
              err::kCatalogCannotBeOpened)
        << folder;
  }
  auto search = Search::Create();
  search->SetSearchText("*");
  search->FolderIDs()->Add(l_.bee);
  EXPECT_EQ(IdsOf(read_.SearchForClippings(search, personal_)),
            std::vector<std::string>{l_.bee_note});
}

TEST_F(LinkedCatalogs, CategoriesOfTheReachableCatalogsAreStillAsked) {
  const auto b = OpenDirect(l_.b.path);
  auto category = Category::Create();
  category->SetName("Bees");
  b->AddCategory(category, "1");
  b->CloseCatalog();
  TakeOffline("a");
  bool changed = false;
  ASSERT_EQ(RaisedBy([&] { changed = read_.HaveCategoriesChanged(kLongAgo, personal_); }).number,
            0);
  EXPECT_TRUE(changed);
}

TEST_F(LinkedCatalogs, WritesUnderAnOfflineLinkedFolderFailAndLeaveNothing) {
  TakeOffline("a");
  const auto folder = NewFolder("Nowhere");
  EXPECT_EQ(RaisedBy([&] { write_.AddFolder(folder, l_.a.linked->ID(), personal_); }).number,
            err::kCatalogCannotBeOpened);
  EXPECT_EQ(folder->ID(), "");
  const auto clipping = NewClipping("Nowhere");
  EXPECT_EQ(RaisedBy([&] { write_.AddClipping(clipping, l_.a.linked->ID(), personal_); }).number,
            err::kCatalogCannotBeOpened);
  EXPECT_EQ(clipping->ID(), "");
  const auto personal = OpenDirect(personal_path_);
  for (const std::string& parent : std::vector<std::string>{"0", "1", l_.a.linked->ID()}) {
    EXPECT_FALSE(personal->FolderNameExists("Nowhere", parent)) << parent;
    EXPECT_FALSE(personal->ClippingNameExists("Nowhere", parent)) << parent;
  }
  personal->CloseCatalog();
  BringOnline("a");
  const auto a = OpenDirect(l_.a.path);
  EXPECT_FALSE(a->FolderNameExists("Nowhere", "1"));
  EXPECT_FALSE(a->ClippingNameExists("Nowhere", "1"));
  a->CloseCatalog();
}

TEST_F(LinkedCatalogs, AnOfflineLinkedFolderCanStillBeRemoved) {
  TakeOffline("a");
  write_.DeleteLinkedFolder(l_.a.linked->ID(), personal_);
  EXPECT_EQ(IdsOf(read_.GetLinkedFolders(personal_)), (std::vector<std::string>{l_.b.Root(), "1"}));
  for (int32_t held : HeldCatalogIDs()) EXPECT_NE(held, l_.a.id);
  EXPECT_EQ(read_.GetExternalCatalogs(personal_)->Count(), 1);
}

}  // namespace
}  // namespace clipcat::service_test
