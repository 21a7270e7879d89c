// ClippingDataRead over a personal catalog and two linked file catalogs, all online: every id
// routes to its catalog, in arguments and in results alike.
#include <set>
#include <thread>

#include "service/service_fixture.h"
#include "util/date.h"
#include "util/item_id.h"

namespace clipcat::service_test {
namespace {

class ReadService : public ServiceFixture {
 protected:
  void SetUp() override {
    ServiceFixture::SetUp();
    l_ = BuildLayout();
  }

  Layout l_;
};

TEST_F(ReadService, PlainIdsReadThePersonalCatalogAndTaggedIdsTheirOwn) {
  // The first folder of each catalog has the same local key: only the tag tells them apart.
  const std::string key = GetLocalItemID(l_.shared, l_.a.id);
  ASSERT_EQ(l_.letters, key);
  EXPECT_EQ(read_.GetFolder(key, personal_)->Name(), "Letters");
  EXPECT_EQ(read_.GetFolder(l_.a.Item(key), personal_)->Name(), "Shared");
  EXPECT_EQ(read_.GetFolder(l_.b.Item(key), personal_)->Name(), "Bee");
  EXPECT_EQ(read_.GetFolderPathName(l_.deeper, personal_), "A root\\Shared\\Deeper");
  EXPECT_EQ(read_.GetClippingPathName(l_.bee_note, personal_), "B root\\Bee");
  EXPECT_EQ(read_.GetCatalogsRootFolder(l_.deeper, personal_)->ID(), l_.a.Root());
  EXPECT_EQ(read_.GetCatalogsRootFolder(l_.old, personal_)->ID(), "1");
  for (const LinkedCatalog* catalog : {&l_.a, &l_.b}) {
    for (const std::string& id : {catalog->linked->ID(), catalog->Item("2")}) {
      EXPECT_EQ(read_.GetConnectionDetails(id, personal_)->ConnectionString(),
                FileCatalogConnectionString(catalog->path))
          << id;
    }
  }
  // Missing folders raise 91; so do catalogs that are not linked or ids naming none.
  for (const std::string& id : {std::string("999999"), l_.a.Item("999999"), std::string("P999C2"),
                                std::string("PC1"), std::string("XP1C2")})
    EXPECT_EQ(RaisedNumber([&] { read_.GetFolder(id, personal_); }), err::kObjectVariableNotSet);
}

TEST_F(ReadService, EveryIdInAResultRoutesBackToItsCatalog) {
  std::vector<std::shared_ptr<Folder>> tree = read_.GetFolders(personal_)->Items()->Snapshot();
  for (size_t i = 0; i < tree.size(); ++i) {
    for (const auto& child : tree[i]->ChildFolders()->Snapshot()) tree.push_back(child);
  }
  ASSERT_EQ(tree.size(), 8u);  // Personal, Letters, Old, A root, Shared, Deeper, B root, Bee
  Ids clipping_ids;
  for (const auto& folder : tree) {
    SCOPED_TRACE(folder->ID());
    EXPECT_EQ(read_.GetFolder(folder->ID(), personal_)->GUID(), folder->GUID());
    for (const auto& child : folder->ChildFolders()->Snapshot())
      EXPECT_EQ(child->ParentID(), folder->ID());
    for (const auto& clipping :
         read_.GetClippingsFromFolder(folder->ID(), personal_)->Items()->Snapshot()) {
      EXPECT_EQ(clipping->FolderID(), folder->ID());
      EXPECT_EQ(read_.GetClipping(clipping->ID(), personal_)->GUID(), clipping->GUID());
      clipping_ids.push_back(clipping->ID());
    }
  }
  EXPECT_EQ(Sorted(clipping_ids), Sorted({l_.root_note, l_.dear, l_.yours, l_.top_note,
                                          l_.shared_note, l_.deep_note, l_.bee_note}));
  // Linked folders among the top folders stand for their catalog's root, in name order, and show
  // the linking folder's name; the catalog's own root keeps its name.
  EXPECT_EQ(IdsOf(read_.GetChildrenFolders("0", personal_)), (Ids{l_.a.Root(), l_.b.Root(), "1"}));
  EXPECT_EQ(IdsOf(read_.GetFolders(personal_, false)), Ids{"1"});
  EXPECT_EQ(read_.GetFolder(l_.a.Root(), personal_)->Name(), "Alpha");
  EXPECT_EQ(read_.GetCatalogsRootFolder(l_.a.Root(), personal_)->Name(), "A root");
}

TEST_F(ReadService, SearchForClippingsSearchesEachFolderInItsOwnCatalog) {
  // A personal folder, a linked folder (searched through its catalog's root), a tagged folder of
  // the other catalog, and folders that do not exist; each folder's results in turn.
  auto search =
      NewSearch("*", {l_.letters, "999999", l_.a.linked->ID(), l_.a.Item("999999"), l_.bee});
  search->SetSearchSubFolders(true);
  const Ids ids = IdsOf(read_.SearchForClippings(search, personal_));
  ASSERT_EQ(ids.size(), 6u);
  EXPECT_EQ(Sorted({ids[0], ids[1]}), Sorted({l_.dear, l_.yours}));
  EXPECT_EQ(Sorted({ids[2], ids[3], ids[4]}), Sorted({l_.top_note, l_.shared_note, l_.deep_note}));
  EXPECT_EQ(ids[5], l_.bee_note);
  // A linked folder without its subfolders: the clippings at the top of its catalog.
  EXPECT_EQ(IdsOf(read_.SearchForClippings(NewSearch("*", {l_.a.linked->ID()}), personal_)),
            Ids{l_.top_note});
  // FindClippings reads the default catalog only.
  EXPECT_EQ(IdsOf(read_.FindClippings(NewSearch("note"), personal_)), Ids{l_.root_note});
}

TEST_F(ReadService, ClippingHistoryDropsAndForgetsClippingsThatNoLongerExist) {
  for (const auto& id : {l_.deep_note, l_.dear, l_.top_note, l_.yours})
    write_.UpdateClippingHistory(read_.GetClipping(id, personal_), personal_);
  // Gone for good: deep note (catalog a) and dear (personal). Yours is only marked deleted.
  const auto a = OpenDirect(l_.a.path);
  a->DeleteClipping(GetLocalItemID(l_.deep_note, l_.a.id), true);
  a->CloseCatalog();
  const auto personal = OpenDirect(personal_path_);
  personal->DeleteClipping(l_.dear, true);
  personal->DeleteClipping(l_.yours, false);
  EXPECT_EQ(Sorted(IdsOf(read_.GetClippingsHistroy(10, personal_))),
            Sorted({l_.top_note, l_.yours}));
  EXPECT_EQ(Sorted(IdsOf(personal->GetClippingsHistroy(10))), Sorted({l_.top_note, l_.yours}));
  personal->CloseCatalog();
}

TEST_F(ReadService, CategoriesAndQueriesRouteByTheIdsTheyName) {
  for (const LinkedCatalog* catalog : {&l_.a, &l_.b}) {
    const auto direct = OpenDirect(catalog->path);
    direct->AddCategory(Named<Category>(catalog == &l_.a ? "Legal" : "Bees"), "1");
    direct->CloseCatalog();
  }
  const auto categories =
      read_.GetCategoriesFromLinkedFolders(read_.GetLinkedFolders(personal_), personal_);
  EXPECT_EQ(NamesOf(categories), (Ids{"Legal", "Bees"}));
  const std::string legal = categories->Items()->Item(1)->ID();
  EXPECT_EQ(read_.GetCategory(legal, personal_)->Name(), "Legal");
  // A linked folder of the personal catalog leads to the catalog it links.
  EXPECT_EQ(NamesOf(read_.GetCategoriesFromLinkedFolder(l_.a.linked->ID(), personal_)),
            Ids{"Legal"});
  write_.AddClippingToCategory(l_.top_note, legal, personal_);
  EXPECT_EQ(IdsOf(read_.GetClippingsFromCategory(legal, false, personal_)), Ids{l_.top_note});
  // bGetData is text here: "True" and "-1" get the data, anything else does not.
  for (const std::string get_data : {"True", "-1", "False", "x"}) {
    const auto below = read_.GetClippingsForFolderAndChildFolders(l_.a.Root(), get_data, personal_);
    EXPECT_EQ(below->Items()->Count(), 3);
    EXPECT_EQ(below->Items()->Item(1)->ClippingData()->Count(),
              get_data == "True" || get_data == "-1" ? 1 : 0)
        << get_data;
  }
  EXPECT_EQ(read_.GetClippingByName("Deep note", l_.deeper, true, personal_)->ID(), l_.deep_note);
  EXPECT_EQ(read_.GetFolderByName("Deeper", l_.shared, personal_)->ID(), l_.deeper);
}

TEST_F(ReadService, CategoryChangesAreSeenInEveryLinkedCatalogAndAnUnlinkedOneIsLetGo) {
  const Date past = *ParseIsoDate("2000-01-01 00:00:00");
  const Date future = *ParseIsoDate("2999-01-01 00:00:00");
  EXPECT_FALSE(read_.HaveCategoriesChanged(past, personal_)) << "no catalog has a category";
  write_.AddCategory(Named<Category>("Bees"), l_.b.Root(), personal_);
  EXPECT_TRUE(read_.HaveCategoriesChanged(past, personal_));
  EXPECT_FALSE(read_.HaveCategoriesChanged(future, personal_));
  const auto held = [&] {
    const std::vector<int32_t> ids = HeldCatalogIDs();
    return std::set<int32_t>(ids.begin(), ids.end());
  };
  ASSERT_EQ(held(), (std::set<int32_t>{0, l_.a.id, l_.b.id}));

  // Unlinked on another thread (with a manager of its own): this thread's manager lets the
  // catalog go when it next looks, and that is a change.
  std::thread([&] {
    ClippingDataWrite().DeleteLinkedFolder(l_.a.linked->ID(), personal_);
    ReleaseAccessManager();
  }).join();
  EXPECT_TRUE(read_.HaveCategoriesChanged(future, personal_));
  EXPECT_EQ(held(), (std::set<int32_t>{0, l_.b.id}));
  EXPECT_FALSE(read_.HaveCategoriesChanged(future, personal_));
}

TEST_F(ReadService, ContentSearchCoversEveryCatalogOrWhatTheFolderOrCategoryNames) {
  const auto found = [&](const std::string& folder, const std::string& category,
                         int32_t max_items = 50) {
    ContentSearchOptions options;
    options.folder_id = folder;
    options.category_id = category;
    options.max_items = max_items;
    Ids ids;
    for (const FoundClipping& hit : read_.FindContent("content", options, personal_)) {
      ids.push_back(hit.clipping->ID());
    }
    return Sorted(ids);
  };
  // Every catalog, the linked ones with their own ids; the limit holds over all of them.
  EXPECT_EQ(found("", ""), Sorted({l_.root_note, l_.dear, l_.yours, l_.top_note, l_.shared_note,
                                   l_.deep_note, l_.bee_note}));
  EXPECT_EQ(found("", "", 2).size(), 2u);
  // A linked folder of the personal catalog: the whole catalog it links.
  EXPECT_EQ(found(l_.a.linked->ID(), ""), Sorted({l_.top_note, l_.shared_note, l_.deep_note}));
  // A category alone: its members, in its own catalog.
  const auto b = OpenDirect(l_.b.path);
  const std::string bees = b->AddCategory(Named<Category>("Bees"), "1")->ID();
  b->CloseCatalog();
  write_.AddClippingToCategory(l_.bee_note, l_.b.Item(bees), personal_);
  EXPECT_EQ(found("", l_.b.Item(bees)), Ids{l_.bee_note});
  // A linked catalog's index is rebuilt through any of its ids, and finds the same.
  write_.RebuildContentIndex(l_.b.Root(), personal_, {});
  EXPECT_EQ(found(l_.b.Root(), ""), Ids{l_.bee_note});
}

}  // namespace
}  // namespace clipcat::service_test
