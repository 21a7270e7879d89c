// Linked catalogs that cannot be reached (their folder moved away): their linked folders show
// with status 4, the other catalogs are served, and the catalog is picked up again once back.
#include "service/service_fixture.h"

namespace clipcat::service_test {
namespace {

class LinkedCatalogs : public ServiceFixture {
 protected:
  void SetUp() override {
    ServiceFixture::SetUp();
    l_ = BuildLayout();
  }

  Layout l_;
};

TEST_F(LinkedCatalogs, FolderListingsShowAnOfflineCatalogAsItsLinkedFolderWithStatusFour) {
  // Either catalog, or both, offline; GetFolders and GetLinkedFolders alike.
  for (const Ids& away : std::vector<Ids>{{"a"}, {"b"}, {"a", "b"}}) {
    for (const auto& folder : away) SetOnline(folder, false);
    const bool a_away = away.front() == "a";
    const bool b_away = away.back() == "b";
    for (bool linked_only : {false, true}) {
      std::shared_ptr<Folders> all;
      ASSERT_EQ(RaisedNumber([&] {
                  all =
                      linked_only ? read_.GetLinkedFolders(personal_) : read_.GetFolders(personal_);
                }),
                0);
      EXPECT_EQ(IdsOf(all), (Ids{a_away ? l_.a.linked->ID() : l_.a.Root(),
                                 b_away ? l_.b.linked->ID() : l_.b.Root(), "1"}));
      EXPECT_EQ(NamesOf(all), (Ids{"Alpha", "Beta", "Personal"}));
      EXPECT_EQ(all->Items()->Item(1)->Status() == kStatusError, a_away);
      EXPECT_EQ(all->Items()->Item(2)->Status() == kStatusError, b_away);
      EXPECT_NE(all->Items()->Item(3)->Status(), kStatusError);
      EXPECT_TRUE(!a_away || all->Items()->Item(1)->ChildFolders()->Count() == 0);
      if (!b_away && !linked_only) {
        EXPECT_EQ(all->Items()->Item(2)->ChildFolders()->Item(1)->ID(), l_.bee);
      }
    }
    for (const auto& folder : away) SetOnline(folder, true);
  }
  // The mark is not stored.
  const auto personal = OpenDirect(personal_path_);
  EXPECT_NE(personal->GetFolder(l_.a.linked->ID())->Status(), kStatusError);
  personal->CloseCatalog();
}

TEST_F(LinkedCatalogs, GetFolderOfAnOfflineCatalogsRootAnswersTheLinkedFolder) {
  const std::string in_a = read_.GetClipping(l_.deep_note, personal_)->GUID();
  const std::string in_b = read_.GetClipping(l_.bee_note, personal_)->GUID();
  for (const auto& id : {l_.top_note, l_.bee_note, l_.dear})
    write_.UpdateClippingHistory(read_.GetClipping(id, personal_), personal_);
  SetOnline("a", false);
  const auto root = read_.GetFolder(l_.a.Root(), personal_);
  EXPECT_EQ(root->ID(), l_.a.Root());
  EXPECT_EQ(root->Status(), kStatusError);
  EXPECT_EQ(root->Name(), "Alpha");
  EXPECT_EQ(root->ExternalCatalogID(), l_.a.id);
  // Any other item of the catalog fails as the catalog does; the others answer.
  EXPECT_EQ(RaisedNumber([&] { read_.GetFolder(l_.shared, personal_); }),
            err::kCatalogCannotBeOpened);
  EXPECT_EQ(RaisedNumber([&] { read_.GetClipping(l_.top_note, personal_); }),
            err::kCatalogCannotBeOpened);
  EXPECT_EQ(RaisedNumber([&] { read_.SearchForClippings(NewSearch("*", {l_.shared}), personal_); }),
            err::kCatalogCannotBeOpened);
  EXPECT_FALSE(read_.ConnectionOK(personal_, l_.a.linked->ID(), true));
  EXPECT_FALSE(read_.CatalogsConnectionOK(l_.shared, personal_));
  EXPECT_TRUE(read_.ConnectionOK(personal_, l_.bee));
  // FindClippingWithGUID passes over it; the others answer.
  EXPECT_EQ(read_.FindClippingWithGUID(in_b, personal_)->ID(), l_.bee_note);
  std::shared_ptr<Clipping> found;
  EXPECT_EQ(RaisedNumber([&] { found = read_.FindClippingWithGUID(in_a, personal_); }), 0);
  EXPECT_EQ(found, nullptr);
  // The history keeps the catalog's entries without answering them.
  std::shared_ptr<Clippings> history;
  ASSERT_EQ(RaisedNumber([&] { history = read_.GetClippingsHistroy(10, personal_); }), 0);
  EXPECT_EQ(Sorted(IdsOf(history)), Sorted({l_.bee_note, l_.dear}));

  SetOnline("a", true);
  EXPECT_NE(read_.GetFolder(l_.a.Root(), personal_)->Status(), kStatusError);
  EXPECT_EQ(read_.FindClippingWithGUID(in_a, personal_)->ID(), l_.deep_note);
  EXPECT_EQ(IdsOf(read_.GetClippingsHistroy(10, personal_)).size(), 3u);
}

// Members that read one item by id answer nothing for an id that names no item, in the personal
// catalog and in a linked one that is open, and raise only when the store itself fails. GetFolder
// is the exception: a folder that is not there raises 91, as clients of the member rely on, unless
// it is the root of a linked catalog that cannot be read.
TEST_F(LinkedCatalogs, UnknownIdsAnswerNothingAndOnlyStoreFailuresRaise) {
  const std::string unknown_in_a = l_.a.Item("987654");
  for (const std::string& id : {std::string("987654"), unknown_in_a}) {
    SCOPED_TRACE(id);
    std::shared_ptr<Clipping> clipping = Clipping::Create();
    std::shared_ptr<Category> category = Category::Create();
    ASSERT_EQ(RaisedNumber([&] { clipping = read_.GetClipping(id, personal_, true); }), 0);
    EXPECT_EQ(clipping, nullptr);
    ASSERT_EQ(RaisedNumber([&] { category = read_.GetCategory(id, personal_); }), 0);
    EXPECT_EQ(category, nullptr);
    EXPECT_EQ(RaisedNumber([&] { read_.GetFolder(id, personal_); }), err::kObjectVariableNotSet);
  }
  const std::string a_root = l_.a.Root();
  EXPECT_EQ(read_.GetFolderByName("Nothing", a_root, personal_), nullptr);
  EXPECT_EQ(read_.GetClippingByName("Nothing", a_root, false, personal_), nullptr);
  EXPECT_EQ(read_.FindClippingWithGUID("{00000000-0000-0000-0000-000000000000}", personal_),
            nullptr);
  EXPECT_EQ(read_.GetConnectionDetails(l_.letters, personal_), nullptr);
  EXPECT_EQ(RaisedNumber([&] { read_.GetConnectionDetails("P99C1", personal_); }), 3021)
      << "no catalog 99 is linked";

  // The store fails: the linked catalog is offline, then the personal catalog is.
  SetOnline("a", false);
  EXPECT_EQ(RaisedNumber([&] { read_.GetClipping(unknown_in_a, personal_); }),
            err::kCatalogCannotBeOpened);
  EXPECT_EQ(RaisedNumber([&] { read_.GetCategory(unknown_in_a, personal_); }),
            err::kCatalogCannotBeOpened);
  EXPECT_EQ(RaisedNumber([&] { read_.GetFolder(unknown_in_a, personal_); }),
            err::kCatalogCannotBeOpened);
  EXPECT_EQ(RaisedNumber([&] { read_.GetClippingByName("Nothing", a_root, false, personal_); }),
            err::kCatalogCannotBeOpened);
  SetOnline("a", true);
  SetOnline("personal", false);
  for (const std::string& id : {std::string("987654"), l_.dear}) {
    EXPECT_EQ(RaisedNumber([&] { read_.GetClipping(id, personal_); }), err::kCatalogCannotBeOpened);
    EXPECT_EQ(RaisedNumber([&] { read_.GetCategory(id, personal_); }), err::kCatalogCannotBeOpened);
    EXPECT_EQ(RaisedNumber([&] { read_.GetFolder(id, personal_); }), err::kCatalogCannotBeOpened);
  }
  // Listings answer empty, and the check of the connection says why.
  EXPECT_EQ(read_.GetClippingsHistroy(10, personal_)->Items()->Count(), 0);
  EXPECT_EQ(read_.GetLinkedFolders(personal_)->Items()->Count(), 0);
  EXPECT_FALSE(read_.ConnectionOK(personal_, ""));
  SetOnline("personal", true);
  EXPECT_TRUE(read_.ConnectionOK(personal_, ""));
}

TEST_F(LinkedCatalogs, WritesUnderAnOfflineLinkedFolderFailButItCanBeRemoved) {
  SetOnline("a", false);
  const auto folder = Named<Folder>("Nowhere");
  EXPECT_EQ(RaisedNumber([&] { write_.AddFolder(folder, l_.a.linked->ID(), personal_); }),
            err::kCatalogCannotBeOpened);
  EXPECT_EQ(folder->ID(), "");
  write_.DeleteLinkedFolder(l_.a.linked->ID(), personal_);
  EXPECT_EQ(IdsOf(read_.GetLinkedFolders(personal_)), (Ids{l_.b.Root(), "1"}));
  for (int32_t held : HeldCatalogIDs()) EXPECT_NE(held, l_.a.id);
  EXPECT_EQ(read_.GetExternalCatalogs(personal_)->Count(), 1);
}

}  // namespace
}  // namespace clipcat::service_test
