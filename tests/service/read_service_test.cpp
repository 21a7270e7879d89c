// ClippingDataRead with a personal catalog and two linked file catalogs, all online: routing of
// plain and tagged ids, ids in results routing back, the merged folder tree, searches, the access
// history and categories across catalogs.
#include "service/service_fixture.h"
#include "util/item_id.h"

namespace clipcat::service_test {
namespace {

class ReadService : public ServiceFixture {
 protected:
  void SetUp() override {
    ServiceFixture::SetUp();
    l_ = BuildLayout();
  }

  // Adds the category `name` to the catalog at `path` directly; answers its local id.
  static std::string AddCategoryDirect(const std::string& path, const std::string& name) {
    const auto catalog = OpenDirect(path);
    const std::string id = catalog->AddCategory(Named<Category>(name), "1")->ID();
    catalog->CloseCatalog();
    return id;
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
  EXPECT_EQ(read_.GetFolder(l_.shared, personal_)->ParentID(), l_.a.Root());
  EXPECT_EQ(read_.GetClipping(l_.top_note, personal_)->FolderID(), l_.a.Root());
  EXPECT_EQ(read_.GetFolderPathName(l_.deeper, personal_), "A root\\Shared\\Deeper");
  EXPECT_EQ(read_.GetClippingPathName(l_.bee_note, personal_), "B root\\Bee");
  EXPECT_EQ(read_.GetCatalogsRootFolder(l_.deeper, personal_)->ID(), l_.a.Root());
  EXPECT_EQ(read_.GetCatalogsRootFolder(l_.old, personal_)->ID(), "1");
  for (const LinkedCatalog* catalog : {&l_.a, &l_.b}) {
    for (const std::string& id : {catalog->linked->ID(), catalog->Root(), catalog->Item("2")}) {
      EXPECT_EQ(read_.GetConnectionDetails(id, personal_)->ConnectionString(),
                FileCatalogConnectionString(catalog->path))
          << id;
    }
  }
  // Missing folders raise 91; so does a catalog that is not linked.
  for (const std::string& id : {std::string("999999"), l_.a.Item("999999"), std::string("P999C2")})
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
  // Linked folders among the top folders stand for their catalog's root, in name order.
  EXPECT_EQ(IdsOf(read_.GetChildrenFolders("0", personal_)), (Ids{l_.a.Root(), l_.b.Root(), "1"}));
  EXPECT_EQ(IdsOf(read_.GetFolders(personal_, false)), Ids{"1"});
}

TEST_F(ReadService, TheRootOfALinkedCatalogShowsUnderTheLinkingFolder) {
  const auto personal = OpenDirect(personal_path_);
  const auto linking = personal->GetFolder(l_.a.linked->ID());
  linking->SetDescription("Shared with the team");
  personal->UpdateFolder(linking, false);
  const Date updated = personal->GetFolder(l_.a.linked->ID())->Updated();
  personal->CloseCatalog();
  for (const auto& root :
       {read_.GetFolder(l_.a.Root(), personal_), read_.GetFolders(personal_)->Items()->Item(1)}) {
    EXPECT_EQ(root->ID() + "|" + root->Name(), l_.a.Root() + "|Alpha");
    EXPECT_EQ(root->Updated(), updated);
  }
  EXPECT_EQ(read_.GetFolder(l_.a.Root(), personal_)->Description(), "Shared with the team");
  // Only the root is shown so; its own catalog keeps its name.
  EXPECT_EQ(read_.GetCatalogsRootFolder(l_.a.Root(), personal_)->Name(), "A root");
}

TEST_F(ReadService, SearchForClippingsSearchesEachFolderInItsOwnCatalog) {
  for (bool sub_folders : {false, true}) {
    SCOPED_TRACE(sub_folders);
    // A personal folder, a linked folder (searched through its catalog's root), a tagged folder
    // of the other catalog, and folders that do not exist; each folder's results in turn.
    auto search =
        NewSearch("*", {l_.letters, "999999", l_.a.linked->ID(), l_.a.Item("999999"), l_.bee});
    search->SetSearchSubFolders(sub_folders);
    const Ids ids = IdsOf(read_.SearchForClippings(search, personal_));
    const Ids expected =
        sub_folders ? Ids{l_.dear, l_.yours, l_.top_note, l_.shared_note, l_.deep_note, l_.bee_note}
                    : Ids{l_.dear, l_.top_note, l_.bee_note};
    ASSERT_EQ(ids.size(), expected.size());
    const long personal_part = sub_folders ? 2 : 1;
    EXPECT_EQ(Sorted({ids.begin(), ids.begin() + personal_part}),
              Sorted({expected.begin(), expected.begin() + personal_part}));
    EXPECT_EQ(Sorted({ids.begin() + personal_part, ids.end() - 1}),
              Sorted({expected.begin() + personal_part, expected.end() - 1}));
    EXPECT_EQ(ids.back(), l_.bee_note);
  }
  // FindClippings reads the default catalog only.
  EXPECT_EQ(IdsOf(read_.FindClippings(NewSearch("note"), personal_)), Ids{l_.root_note});
}

TEST_F(ReadService, ClippingHistoryDropsClippingsThatNoLongerExist) {
  const Date before = Date::Now();
  for (const auto& id : {l_.deep_note, l_.dear, l_.top_note, l_.yours})
    write_.UpdateClippingHistory(read_.GetClipping(id, personal_), personal_);
  // Gone for good: deep note (catalog a) and dear (personal). Yours is only marked deleted.
  const auto a = OpenDirect(l_.a.path);
  a->DeleteClipping(GetLocalItemID(l_.deep_note, l_.a.id), true);
  a->CloseCatalog();
  const auto personal = OpenDirect(personal_path_);
  personal->DeleteClipping(l_.dear, true);
  personal->DeleteClipping(l_.yours, false);
  const auto history = read_.GetClippingsHistroy(10, personal_);
  EXPECT_EQ(Sorted(IdsOf(history)), Sorted({l_.top_note, l_.yours}));
  EXPECT_GE(history->Items()->Item(1)->Accessed().serial(), before.serial() - 2.0 / 86400);
  // The entries of clippings that are gone are forgotten.
  EXPECT_EQ(Sorted(IdsOf(personal->GetClippingsHistroy(10))), Sorted({l_.top_note, l_.yours}));
  personal->CloseCatalog();
}

TEST_F(ReadService, CategoriesAndQueriesRouteByTheIdsTheyName) {
  const std::string legal = l_.a.Item(AddCategoryDirect(l_.a.path, "Legal"));
  const std::string bees = l_.b.Item(AddCategoryDirect(l_.b.path, "Bees"));
  const std::string home = AddCategoryDirect(personal_path_, "Home");
  const Ids ids =
      IdsOf(read_.GetCategoriesFromLinkedFolders(read_.GetLinkedFolders(personal_), personal_));
  EXPECT_EQ(ids, (Ids{legal, bees, home}));
  for (const auto& id : ids) EXPECT_EQ(read_.GetCategory(id, personal_)->ID(), id);
  // A linked folder of the personal catalog leads to the catalog it links.
  EXPECT_EQ(NamesOf(read_.GetCategoriesFromLinkedFolder(l_.a.linked->ID(), personal_)),
            Ids{"Legal"});
  EXPECT_TRUE(read_.CategoryNameExists("Legal", l_.a.linked->ID(), personal_));
  write_.AddClippingToCategory(l_.top_note, legal, personal_);
  EXPECT_EQ(IdsOf(read_.GetClippingsFromCategory(legal, false, personal_)), Ids{l_.top_note});
  // bGetData is text here: "True" and "-1" get the data, anything else does not.
  for (const std::string get_data : {"True", "-1", "False", "x"}) {
    const auto below = read_.GetClippingsForFolderAndChildFolders(l_.a.Root(), get_data, personal_);
    EXPECT_EQ(Sorted(IdsOf(below)), Sorted({l_.top_note, l_.shared_note, l_.deep_note}));
    EXPECT_EQ(below->Items()->Item(1)->ClippingData()->Count(),
              get_data == "True" || get_data == "-1" ? 1 : 0)
        << get_data;
  }
  EXPECT_EQ(read_.GetClippingByName("Deep note", l_.deeper, true, personal_)->ID(), l_.deep_note);
  EXPECT_EQ(read_.GetFolderByName("Deeper", l_.shared, personal_)->ID(), l_.deeper);
  write_.DeleteClipping(l_.deep_note, personal_);
  EXPECT_EQ(IdsOf(read_.GetDeletedClippingsForCatalog(l_.a.linked->ID(), false, personal_)),
            Ids{l_.deep_note});
}

TEST_F(ReadService, HaveCategoriesChangedPrunesOneUnlinkedCatalogPerCall) {
  read_.GetFolder(l_.shared, personal_);
  read_.GetFolder(l_.bee, personal_);
  const auto held_a = GetAccessManager(personal_)->Item(Variant(2));
  held_a->OpenCatalog("", "", "");
  const auto personal = OpenDirect(personal_path_);  // unlinks both behind the services' back
  for (const LinkedCatalog* catalog : {&l_.a, &l_.b}) {
    personal->DeleteFolder(catalog->linked->ID(), true);
    personal->DeleteExternalCatalog(catalog->id);
  }
  personal->CloseCatalog();
  // Nothing changed after 2100: true only because a catalog was dropped. One call removes a; b
  // moves into its place and waits for the next call.
  const Date far_ahead(73051.0);
  EXPECT_TRUE(read_.HaveCategoriesChanged(far_ahead, personal_));
  EXPECT_EQ(HeldCatalogIDs(), (std::vector<int32_t>{0, l_.b.id}));
  EXPECT_FALSE(held_a->IsOpen());
  EXPECT_TRUE(read_.HaveCategoriesChanged(far_ahead, personal_));
  EXPECT_FALSE(read_.HaveCategoriesChanged(far_ahead, personal_));
}

}  // namespace
}  // namespace clipcat::service_test
