// ClippingDataRead with a personal catalog and two linked file catalogs, all online: routing of
// plain and tagged ids, ids in results routing back, the merged folder tree, searches, the access
// history and categories across catalogs.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "service/clipping_data_read.h"
#include "service/service_fixture.h"
#include "store/db_connection.h"
#include "util/item_id.h"
#include "util/values.h"

namespace clipcat::service_test {
namespace {

// 2000-01-01 and 2100-01-01: before and after anything a test writes.
constexpr Date kLongAgo(36526.0);
constexpr Date kFarAhead(73051.0);

class ReadService : public ServiceFixture {
 protected:
  void SetUp() override {
    ServiceFixture::SetUp();
    l_ = BuildLayout();
  }

  // Adds the category `name` to the catalog at `path` directly; answers its local id.
  static std::string AddCategoryDirect(const std::string& path, const std::string& name) {
    const auto catalog = OpenDirect(path);
    auto category = Category::Create();
    category->SetName(name);
    const std::string id = catalog->AddCategory(category, "1")->ID();
    catalog->CloseCatalog();
    return id;
  }

  Layout l_;
};

TEST_F(ReadService, ThePersonalFlagReachesTheCatalogAsTheDetailsAnswerIt) {
  // The details answer false to IsPersonalCatalog, whatever was set, and forget the flag in
  // answering: the routed catalogs are told false.
  ReleaseAccessManager();
  personal_->SetIsPersonalCatalog(true);
  EXPECT_EQ(read_.GetFolder(l_.letters, personal_)->Name(), "Letters");
  EXPECT_FALSE(Manager()->GetDefaultDataAccessObject()->IsPersonalCatalog());
  personal_->SetIsPersonalCatalog(true);
  EXPECT_NE(personal_->XML().find("ispersonalcatalog=\"true\""), std::string::npos);
  EXPECT_EQ(read_.GetFolder(l_.shared, personal_)->Name(), "Shared");
  EXPECT_FALSE(Manager()->Item(Variant("P" + std::to_string(l_.a.id)))->IsPersonalCatalog());
  EXPECT_EQ(personal_->XML().find("ispersonalcatalog=\"true\""), std::string::npos);
}

TEST_F(ReadService, InSameCatalogComparesCatalogIdsWithoutTouchingACatalog) {
  struct Case {
    const char* first;
    const char* second;
    bool same;
  };
  const Case cases[] = {
      {"12", "P3C12", false}, {"P3C1", "P3C9", true},  {"1", "2", true},
      {"P7C1", "1", false},   {"P7C1", "P8C1", false}, {"P3C1", "P30C1", false},
      {"P12", "12", true},    {"XP1C2", "5", true},    {"", "0", true},
  };
  ReleaseAccessManager();
  for (const Case& c : cases) {
    EXPECT_EQ(read_.InSameCatalog(c.first, c.second, nullptr), c.same)
        << c.first << " " << c.second;
    EXPECT_EQ(read_.InSameCatalog(c.second, c.first, nullptr), c.same)
        << c.second << " " << c.first;
  }
  // No manager was made on the way.
  EXPECT_EQ(RaisedBy([] { GetAccessManager(nullptr); }).number, err::kObjectVariableNotSet);
}

TEST_F(ReadService, ClippingExistsIsNotYetImplemented) {
  for (const std::string& xml : std::vector<std::string>{"", "<search/>", "garbage"}) {
    const Raised raised = RaisedBy([&] { read_.ClippingExists(xml, personal_->XML()); });
    EXPECT_EQ(raised.number, err::kNotYetImplemented);
    EXPECT_EQ(raised.source, "ClippingExists");
    EXPECT_EQ(raised.description, "Not yet implemented!!");
  }
}

TEST_F(ReadService, PlainIdsReadThePersonalCatalogAndTaggedIdsTheirOwn) {
  // The first folder of each catalog has the same local key: only the tag tells them apart.
  const std::string key = GetLocalItemID(l_.shared, l_.a.id);
  ASSERT_EQ(GetLocalItemID(l_.bee, l_.b.id), key);
  ASSERT_EQ(l_.letters, key);
  EXPECT_EQ(read_.GetFolder(key, personal_)->Name(), "Letters");
  EXPECT_EQ(read_.GetFolder(l_.a.Item(key), personal_)->Name(), "Shared");
  EXPECT_EQ(read_.GetFolder(l_.b.Item(key), personal_)->Name(), "Bee");

  const auto shared = read_.GetFolder(l_.shared, personal_);
  EXPECT_EQ(shared->ID(), l_.shared);
  EXPECT_EQ(shared->ParentID(), l_.a.Root());
  const auto old = read_.GetFolder(l_.old, personal_);
  EXPECT_EQ(old->ID(), l_.old);
  EXPECT_EQ(old->ParentID(), l_.letters);

  const auto top = read_.GetClipping(l_.top_note, personal_);
  EXPECT_EQ(top->Name(), "Top note");
  EXPECT_EQ(top->ID(), l_.top_note);
  EXPECT_EQ(top->FolderID(), l_.a.Root());
  EXPECT_EQ(read_.GetClipping(l_.dear, personal_)->FolderID(), l_.letters);
  EXPECT_EQ(read_.GetClipping(l_.bee_note, personal_)->FolderID(), l_.bee);

  EXPECT_EQ(read_.GetFolderPathName(l_.deeper, personal_), "A root\\Shared\\Deeper");
  EXPECT_EQ(read_.GetFolderPathName(l_.old, personal_), "Personal\\Letters\\Old");
  EXPECT_EQ(read_.GetClippingPathName(l_.deep_note, personal_), "A root\\Shared\\Deeper");
  EXPECT_EQ(read_.GetClippingPathName(l_.bee_note, personal_), "B root\\Bee");

  const auto a_root = read_.GetCatalogsRootFolder(l_.deeper, personal_);
  EXPECT_EQ(a_root->ID(), l_.a.Root());
  EXPECT_EQ(a_root->Name(), "A root");
  EXPECT_EQ(read_.GetCatalogsRootFolder(l_.old, personal_)->ID(), "1");
  const auto personal_root = read_.GetPersonalCatalogRootFolder(personal_);
  EXPECT_EQ(personal_root->ID(), "1");
  EXPECT_EQ(personal_root->Name(), "Personal");
}

TEST_F(ReadService, EveryIdInAResultRoutesBackToItsCatalog) {
  std::vector<std::shared_ptr<Folder>> tree;
  CollectTree(read_.GetFolders(personal_)->Items()->Snapshot(), tree);
  ASSERT_EQ(tree.size(), 8u);  // Personal, Letters, Old, A root, Shared, Deeper, B root, Bee
  std::vector<std::string> clipping_ids;
  for (const auto& folder : tree) {
    SCOPED_TRACE(folder->ID());
    const auto again = read_.GetFolder(folder->ID(), personal_);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->ID(), folder->ID());
    EXPECT_EQ(again->GUID(), folder->GUID());
    EXPECT_EQ(again->Name(), folder->Name());
    for (const auto& child : folder->ChildFolders()->Snapshot()) {
      EXPECT_EQ(child->ParentID(), folder->ID());
    }
    for (const auto& clipping :
         read_.GetClippingsFromFolder(folder->ID(), personal_)->Items()->Snapshot()) {
      EXPECT_EQ(clipping->FolderID(), folder->ID());
      const auto read_back = read_.GetClipping(clipping->ID(), personal_);
      ASSERT_NE(read_back, nullptr) << clipping->ID();
      EXPECT_EQ(read_back->GUID(), clipping->GUID());
      clipping_ids.push_back(clipping->ID());
    }
  }
  EXPECT_EQ(Sorted(clipping_ids), Sorted({l_.root_note, l_.dear, l_.yours, l_.top_note,
                                          l_.shared_note, l_.deep_note, l_.bee_note}));

  for (const auto& id : IdsOf(read_.GetChildrenFolders("0", personal_))) {
    EXPECT_NE(read_.GetFolder(id, personal_), nullptr) << id;
  }
}

TEST_F(ReadService, TheRootOfALinkedCatalogShowsUnderTheLinkingFolder) {
  const auto personal = OpenDirect(personal_path_);
  const auto linking = personal->GetFolder(l_.a.linked->ID());
  linking->SetDescription("Shared with the team");
  personal->UpdateFolder(linking, false);
  const auto stored = personal->GetFolder(l_.a.linked->ID());
  personal->CloseCatalog();
  const auto a = OpenDirect(l_.a.path);
  const auto own_root = a->GetFolder("1");
  a->CloseCatalog();

  const auto root = read_.GetFolder(l_.a.Root(), personal_);
  EXPECT_EQ(root->ID(), l_.a.Root());
  EXPECT_EQ(root->GUID(), own_root->GUID());
  EXPECT_EQ(root->Name(), "Alpha");
  EXPECT_EQ(root->Description(), "Shared with the team");
  EXPECT_EQ(root->Updated(), stored->Updated());
  EXPECT_EQ(root->Status(), 1);
  // Only the root is shown so; its own catalog keeps its name.
  EXPECT_EQ(read_.GetFolder(l_.shared, personal_)->Name(), "Shared");
  EXPECT_EQ(read_.GetCatalogsRootFolder(l_.a.Root(), personal_)->Name(), "A root");
  EXPECT_EQ(read_.GetFolder(l_.b.Root(), personal_)->Name(), "Beta");
}

TEST_F(ReadService, GetFoldersPutsEachLinkedCatalogsTreeInPlaceOfItsFolder) {
  const auto all = read_.GetFolders(personal_);
  // The personal catalog's top folders in name order: Alpha, Beta, Personal.
  EXPECT_EQ(IdsOf(all), (std::vector<std::string>{l_.a.Root(), l_.b.Root(), "1"}));
  EXPECT_EQ(NamesOf(all), (std::vector<std::string>{"Alpha", "Beta", "Personal"}));
  const auto alpha = all->Items()->Item(1);
  const auto personal_catalog = OpenDirect(personal_path_);
  EXPECT_EQ(alpha->Updated(), personal_catalog->GetFolder(l_.a.linked->ID())->Updated());
  personal_catalog->CloseCatalog();
  EXPECT_EQ(alpha->ExternalCatalogID(), 0);
  ASSERT_EQ(alpha->ChildFolders()->Count(), 1);
  const auto shared = alpha->ChildFolders()->Item(1);
  EXPECT_EQ(shared->ID(), l_.shared);
  ASSERT_EQ(shared->ChildFolders()->Count(), 1);
  EXPECT_EQ(shared->ChildFolders()->Item(1)->ID(), l_.deeper);
  const auto personal = all->Items()->Item(3);
  ASSERT_EQ(personal->ChildFolders()->Count(), 1);
  EXPECT_EQ(personal->ChildFolders()->Item(1)->ID(), l_.letters);

  const auto own = read_.GetFolders(personal_, false);
  EXPECT_EQ(IdsOf(own), (std::vector<std::string>{"1"}));
  ASSERT_EQ(own->Items()->Item(1)->ChildFolders()->Count(), 1);
  EXPECT_EQ(own->Items()->Item(1)->ChildFolders()->Item(1)->ChildFolders()->Item(1)->ID(), l_.old);
}

TEST_F(ReadService, GetLinkedFoldersAnswersEachCatalogsRootUnderItsLinkName) {
  const auto linked = read_.GetLinkedFolders(personal_);
  EXPECT_EQ(IdsOf(linked), (std::vector<std::string>{l_.a.Root(), l_.b.Root(), "1"}));
  EXPECT_EQ(NamesOf(linked), (std::vector<std::string>{"Alpha", "Beta", "Personal"}));
  for (const auto& folder : linked->Items()->Snapshot()) {
    EXPECT_EQ(folder->Status(), 1) << folder->ID();
  }
}

TEST_F(ReadService, ChildFolderListingsRouteByTheParentAndTagLinkedFolders) {
  // Linked folders among the children stand for their catalog's root.
  EXPECT_EQ(IdsOf(read_.GetChildrenFolders("0", personal_)),
            (std::vector<std::string>{l_.a.Root(), l_.b.Root(), "1"}));
  EXPECT_EQ(IdsOf(read_.GetChildrenFolders("0", personal_, false)),
            (std::vector<std::string>{"1"}));
  EXPECT_EQ(IdsOf(read_.GetChildrenFolders(l_.a.Root(), personal_)),
            (std::vector<std::string>{l_.shared}));
  EXPECT_EQ(IdsOf(read_.GetChildrenFolders(l_.letters, personal_)),
            (std::vector<std::string>{l_.old}));

  const auto a_root = read_.GetChildFolders(l_.a.Root(), personal_);
  EXPECT_EQ(a_root->ID(), l_.a.Root());
  ASSERT_EQ(a_root->ChildFolders()->Count(), 1);
  EXPECT_EQ(a_root->ChildFolders()->Item(1)->ID(), l_.shared);
  ASSERT_EQ(a_root->ChildFolders()->Item(1)->ChildFolders()->Count(), 1);
  EXPECT_EQ(a_root->ChildFolders()->Item(1)->ChildFolders()->Item(1)->ID(), l_.deeper);

  const auto for_link = read_.GetFoldersForLinkedFolder(l_.b.linked, personal_);
  EXPECT_EQ(IdsOf(for_link), (std::vector<std::string>{l_.b.Root()}));
  EXPECT_EQ(NamesOf(for_link), (std::vector<std::string>{"B root"}));
  ASSERT_EQ(for_link->Items()->Item(1)->ChildFolders()->Count(), 1);
  EXPECT_EQ(for_link->Items()->Item(1)->ChildFolders()->Item(1)->ID(), l_.bee);
}

TEST_F(ReadService, ConnectionOKForEachKindOfId) {
  EXPECT_TRUE(read_.ConnectionOK(personal_));
  EXPECT_TRUE(read_.ConnectionOK(personal_, l_.shared));
  EXPECT_TRUE(read_.ConnectionOK(personal_, l_.bee, false));
  EXPECT_TRUE(read_.ConnectionOK(personal_, l_.a.linked->ID(), true));
  EXPECT_TRUE(read_.CatalogsConnectionOK(l_.deeper, personal_));
  // Never raises: an unknown catalog or a folder that does not exist answer false.
  for (const std::string& id : std::vector<std::string>{"P999C1", "XP1C2"}) {
    bool ok = true;
    EXPECT_EQ(RaisedBy([&] { ok = read_.ConnectionOK(personal_, id); }).number, 0) << id;
    EXPECT_FALSE(ok) << id;
  }
  EXPECT_FALSE(read_.ConnectionOK(personal_, "999999", true));
  EXPECT_FALSE(read_.ConnectionOK(personal_, "P999C1", true));
}

TEST_F(ReadService, ConnectionDetailsOfAnyItemOfALinkedCatalogNameThatCatalog) {
  for (const LinkedCatalog* catalog : {&l_.a, &l_.b}) {
    for (const std::string& id :
         std::vector<std::string>{catalog->linked->ID(), catalog->Root(), catalog->Item("2")}) {
      const auto details = read_.GetConnectionDetails(id, personal_);
      ASSERT_NE(details, nullptr) << id;
      EXPECT_EQ(details->DataSourceType(), kFileCatalog) << id;
      EXPECT_EQ(details->ConnectionString(), FileCatalogConnectionString(catalog->path)) << id;
    }
  }
  const auto catalogs = read_.GetExternalCatalogs(personal_);
  ASSERT_EQ(catalogs->Count(), 2);
  std::vector<std::string> paths;
  for (const auto& catalog : *catalogs) {
    auto details = ConnectionDetails::Create();
    details->SetXML(catalog->ConnectionStringXML());
    paths.push_back(details->ConnectionString());
    EXPECT_TRUE(catalog->ID() == l_.a.id || catalog->ID() == l_.b.id) << catalog->ID();
  }
  EXPECT_EQ(Sorted(paths), Sorted({FileCatalogConnectionString(l_.a.path),
                                   FileCatalogConnectionString(l_.b.path)}));
}

TEST_F(ReadService, SearchForClippingsSearchesEachFolderInItsOwnCatalog) {
  for (bool sub_folders : {false, true}) {
    SCOPED_TRACE(sub_folders ? "with subfolders" : "without subfolders");
    auto search = Search::Create();
    search->SetSearchText("*");
    search->SetSearchSubFolders(sub_folders);
    // A folder of the personal catalog, a linked folder (searched through its catalog's root)
    // and a folder of the other linked catalog by its tagged id.
    search->FolderIDs()->Add(l_.letters);
    search->FolderIDs()->Add(l_.a.linked->ID());
    search->FolderIDs()->Add(l_.bee);
    const auto found = read_.SearchForClippings(search, personal_);
    const std::vector<std::string> ids = IdsOf(found);

    std::vector<std::string> personal_part = {l_.dear};
    std::vector<std::string> a_part = {l_.top_note};
    if (sub_folders) {
      personal_part.push_back(l_.yours);
      a_part.push_back(l_.shared_note);
      a_part.push_back(l_.deep_note);
    }
    ASSERT_EQ(ids.size(), personal_part.size() + a_part.size() + 1);
    // Each folder's results in the order of the folders.
    const auto p_end = ids.begin() + static_cast<long>(personal_part.size());
    const auto a_end = p_end + static_cast<long>(a_part.size());
    EXPECT_EQ(Sorted({ids.begin(), p_end}), Sorted(personal_part));
    EXPECT_EQ(Sorted({p_end, a_end}), Sorted(a_part));
    EXPECT_EQ(ids.back(), l_.bee_note);
    for (const auto& clipping : found->Items()->Snapshot()) {
      EXPECT_EQ(read_.GetClipping(clipping->ID(), personal_)->GUID(), clipping->GUID());
    }
    // The caller's criteria are left as they were.
    EXPECT_EQ(search->FolderIDs()->Count(), 3);
  }
}

TEST_F(ReadService, SearchForClippingsByTaggedFolderIdAndText) {
  for (bool sub_folders : {false, true}) {
    auto search = Search::Create();
    search->SetSearchText("*note");
    search->SetSearchSubFolders(sub_folders);
    search->FolderIDs()->Add(l_.shared);
    const auto ids = IdsOf(read_.SearchForClippings(search, personal_));
    EXPECT_EQ(Sorted(ids), sub_folders ? Sorted({l_.shared_note, l_.deep_note})
                                       : std::vector<std::string>{l_.shared_note});
  }
  auto search = Search::Create();
  search->SetSearchText("Deep note");
  search->SetSearchSubFolders(true);
  search->FolderIDs()->Add(l_.a.linked->ID());
  search->FolderIDs()->Add("1");
  EXPECT_EQ(IdsOf(read_.SearchForClippings(search, personal_)),
            std::vector<std::string>{l_.deep_note});
}

TEST_F(ReadService, SearchForClippingsSkipsFoldersThatDoNotExist) {
  auto search = Search::Create();
  search->SetSearchText("*");
  search->FolderIDs()->Add("999999");
  search->FolderIDs()->Add(l_.a.Item("999999"));
  search->FolderIDs()->Add(l_.letters);
  EXPECT_EQ(IdsOf(read_.SearchForClippings(search, personal_)), std::vector<std::string>{l_.dear});
}

TEST_F(ReadService, ClippingHistoryDropsClippingsThatNoLongerExist) {
  // Newest first: deep note, dear, top note, yours, shared note.
  const std::vector<std::string> order = {l_.deep_note, l_.dear, l_.top_note, l_.yours,
                                          l_.shared_note};
  for (const auto& id : order)
    write_.UpdateClippingHistory(read_.GetClipping(id, personal_), personal_);
  {
    DBConnection connection;
    connection.OpenConnection(FileCatalogConnectionString(personal_path_), "", "");
    for (size_t i = 0; i < order.size(); ++i) {
      const Date when(40000.0 - static_cast<double>(i));
      connection.ExecuteSQL("Update AccessHistory Set tDateLastAccessed=" + SqlDate(Variant(when)) +
                            " Where sClippingID=" + SqlText(Variant(order[i])));
    }
    connection.CloseConnection();
  }
  // Gone for good: deep note (linked catalog a) and dear (personal). Yours is only marked
  // deleted and still exists.
  const auto a = OpenDirect(l_.a.path);
  a->DeleteClipping(GetLocalItemID(l_.deep_note, l_.a.id), true);
  a->CloseCatalog();
  const auto personal = OpenDirect(personal_path_);
  personal->DeleteClipping(l_.dear, true);
  personal->DeleteClipping(l_.yours, false);

  // The newest entry is gone: a maximum of one answers nothing, and forgets it.
  EXPECT_EQ(read_.GetClippingsHistroy(1, personal_)->Items()->Count(), 0);
  EXPECT_EQ(IdsOf(personal->GetClippingsHistroy(10)),
            (std::vector<std::string>{l_.dear, l_.top_note, l_.yours, l_.shared_note}));

  const auto history = read_.GetClippingsHistroy(10, personal_);
  EXPECT_EQ(IdsOf(history), (std::vector<std::string>{l_.top_note, l_.yours, l_.shared_note}));
  const auto entries = personal->GetClippingsHistroy(10);
  EXPECT_EQ(IdsOf(entries), (std::vector<std::string>{l_.top_note, l_.yours, l_.shared_note}));
  for (int32_t i = 1; i <= history->Items()->Count(); ++i) {
    const auto& clipping = history->Items()->Item(i);
    EXPECT_EQ(clipping->Accessed(), entries->Items()->Item(i)->Accessed());
    EXPECT_EQ(clipping->Accessed(), Date(40000.0 - (i == 1 ? 2 : i == 2 ? 3 : 4)));
    EXPECT_FALSE(clipping->Name().empty());
  }
  personal->CloseCatalog();
}

TEST_F(ReadService, FindClippingWithGUIDLooksInTheLinkedCatalogs) {
  const auto deep = read_.GetClipping(l_.deep_note, personal_);
  const auto bee = read_.GetClipping(l_.bee_note, personal_);
  for (const auto& wanted : {deep, bee}) {
    const auto found = read_.FindClippingWithGUID(wanted->GUID(), personal_);
    ASSERT_NE(found, nullptr) << wanted->Name();
    EXPECT_EQ(found->ID(), wanted->ID());
    EXPECT_EQ(found->Name(), wanted->Name());
    EXPECT_EQ(found->ClippingData()->Count(), 0);
    const auto with_data = read_.FindClippingWithGUID(wanted->GUID(), personal_, true);
    ASSERT_NE(with_data, nullptr);
    ASSERT_EQ(with_data->ClippingData()->Count(), 1);
    EXPECT_EQ(with_data->ClippingData()->Item(1)->RawData(), "text");
  }
  for (const std::string& guid :
       std::vector<std::string>{"", "{00000000-0000-0000-0000-000000000000}", "' OR 1=1 --"}) {
    std::shared_ptr<Clipping> found;
    EXPECT_EQ(RaisedBy([&] { found = read_.FindClippingWithGUID(guid, personal_); }).number, 0);
    EXPECT_EQ(found, nullptr) << guid;
  }
}

TEST_F(ReadService, CategoriesAreReadFromTheCatalogOfEachFolder) {
  const std::string legal = l_.a.Item(AddCategoryDirect(l_.a.path, "Legal"));
  const std::string bees = l_.b.Item(AddCategoryDirect(l_.b.path, "Bees"));
  const std::string home = AddCategoryDirect(personal_path_, "Home");

  // The linked folders as the read service lists them: each routes to its catalog.
  const auto all =
      read_.GetCategoriesFromLinkedFolders(read_.GetLinkedFolders(personal_), personal_);
  EXPECT_EQ(NamesOf(all), (std::vector<std::string>{"Legal", "Bees", "Home"}));
  std::vector<std::string> ids;
  for (const auto& category : all->Items()->Snapshot()) ids.push_back(category->ID());
  EXPECT_EQ(ids, (std::vector<std::string>{legal, bees, home}));
  for (const auto& id : ids) EXPECT_EQ(read_.GetCategory(id, personal_)->ID(), id);

  // A linked folder of the personal catalog leads to the catalog it links.
  EXPECT_EQ(NamesOf(read_.GetCategoriesFromLinkedFolder(l_.a.linked->ID(), personal_)),
            std::vector<std::string>{"Legal"});
  EXPECT_EQ(NamesOf(read_.GetCategoriesFromLinkedFolder(l_.b.Root(), personal_)),
            std::vector<std::string>{"Bees"});
  EXPECT_EQ(NamesOf(read_.GetCategoriesFromFolder(l_.shared, personal_)),
            std::vector<std::string>{"Legal"});
  EXPECT_TRUE(read_.CategoryNameExists("Legal", l_.a.linked->ID(), personal_));
  EXPECT_FALSE(read_.CategoryNameExists("Legal", l_.b.linked->ID(), personal_));
  EXPECT_FALSE(read_.CategoryNameExists("Legal", "1", personal_));
  EXPECT_TRUE(read_.CategoryNameExists("Home", "1", personal_));
  // The catalog refuses the statement of GetCategoryByName; its error reaches the caller as the
  // database gave it, whichever catalog the id routes to.
  for (const std::string& id : std::vector<std::string>{l_.deeper, l_.old}) {
    const Raised raised = RaisedBy([&] { read_.GetCategoryByName("Legal", id, personal_); });
    EXPECT_EQ(raised.number, err::kDatabaseError) << id;
    EXPECT_EQ(raised.source, "SQLite") << id;
  }

  // Clippings and categories of a linked catalog, by tagged ids.
  write_.AddClippingToCategory(l_.top_note, legal, personal_);
  EXPECT_EQ(NamesOf(read_.GetCategoriesForClipping(l_.top_note, personal_)),
            std::vector<std::string>{"Legal"});
  EXPECT_EQ(read_.GetCategoriesNamesForClipping(l_.top_note, personal_), "Legal");
  EXPECT_EQ(IdsOf(read_.GetClippingsFromCategory(legal, false, personal_)),
            std::vector<std::string>{l_.top_note});
  EXPECT_EQ(Sorted(IdsOf(read_.GetClippingsWithoutCategory(l_.a.linked->ID(), false, personal_))),
            Sorted({l_.shared_note, l_.deep_note}));
}

TEST_F(ReadService, HaveCategoriesChangedAsksTheLinkedCatalogs) {
  EXPECT_FALSE(read_.HaveCategoriesChanged(kLongAgo, personal_));
  AddCategoryDirect(l_.b.path, "Bees");
  EXPECT_TRUE(read_.HaveCategoriesChanged(kLongAgo, personal_));
  EXPECT_FALSE(read_.HaveCategoriesChanged(kFarAhead, personal_));
}

TEST_F(ReadService, HaveCategoriesChangedPrunesCatalogsThatAreNoLongerLinked) {
  // The thread has opened both linked catalogs.
  read_.GetFolder(l_.shared, personal_);
  read_.GetFolder(l_.bee, personal_);
  ASSERT_EQ(HeldCatalogIDs(), (std::vector<int32_t>{0, l_.a.id, l_.b.id}));
  const auto held_a = Manager()->Item(Variant(2));
  held_a->OpenCatalog("", "", "");

  // Unlink a behind the services' back.
  const auto personal = OpenDirect(personal_path_);
  personal->DeleteFolder(l_.a.linked->ID(), true);
  personal->DeleteExternalCatalog(l_.a.id);
  personal->CloseCatalog();

  // Nothing changed after kFarAhead: the answer is true only because a was dropped.
  EXPECT_TRUE(read_.HaveCategoriesChanged(kFarAhead, personal_));
  EXPECT_EQ(HeldCatalogIDs(), (std::vector<int32_t>{0, l_.b.id}));
  EXPECT_FALSE(held_a->IsOpen());
  EXPECT_FALSE(read_.HaveCategoriesChanged(kFarAhead, personal_));
  EXPECT_EQ(HeldCatalogIDs(), (std::vector<int32_t>{0, l_.b.id}));
}

TEST_F(ReadService, PruningSkipsTheEntryThatMovesIntoARemovedPlace) {
  read_.GetFolder(l_.shared, personal_);
  read_.GetFolder(l_.bee, personal_);
  ASSERT_EQ(HeldCatalogIDs(), (std::vector<int32_t>{0, l_.a.id, l_.b.id}));
  const auto personal = OpenDirect(personal_path_);
  for (const LinkedCatalog* catalog : {&l_.a, &l_.b}) {
    personal->DeleteFolder(catalog->linked->ID(), true);
    personal->DeleteExternalCatalog(catalog->id);
  }
  personal->CloseCatalog();
  // One call removes a; b moves into its place and waits for the next call.
  EXPECT_TRUE(read_.HaveCategoriesChanged(kFarAhead, personal_));
  EXPECT_EQ(HeldCatalogIDs(), (std::vector<int32_t>{0, l_.b.id}));
  EXPECT_TRUE(read_.HaveCategoriesChanged(kFarAhead, personal_));
  EXPECT_EQ(HeldCatalogIDs(), (std::vector<int32_t>{0}));
  EXPECT_FALSE(read_.HaveCategoriesChanged(kFarAhead, personal_));
}

TEST_F(ReadService, ClippingQueriesRouteByTheFolderTheyName) {
  // A list passed in is not filled: the answer is a new list.
  const auto passed = Clippings::Create();
  const auto from_folder = read_.GetClippingsFromFolder(l_.shared, personal_, false, passed);
  EXPECT_NE(from_folder, passed);
  EXPECT_EQ(passed->Items()->Count(), 0);
  EXPECT_EQ(IdsOf(from_folder), std::vector<std::string>{l_.shared_note});

  for (const std::string& get_data : std::vector<std::string>{"True", "False", "-1", "0", "x"}) {
    SCOPED_TRACE(get_data);
    const auto below = read_.GetClippingsForFolderAndChildFolders(l_.a.Root(), get_data, personal_);
    EXPECT_EQ(Sorted(IdsOf(below)), Sorted({l_.top_note, l_.shared_note, l_.deep_note}));
    const bool with_data = get_data == "True" || get_data == "-1";
    for (const auto& clipping : below->Items()->Snapshot()) {
      EXPECT_EQ(clipping->ClippingData()->Count(), with_data ? 1 : 0);
    }
  }

  const auto by_name = read_.GetClippingByName("Deep note", l_.deeper, true, personal_);
  ASSERT_NE(by_name, nullptr);
  EXPECT_EQ(by_name->ID(), l_.deep_note);
  EXPECT_EQ(by_name->ClippingData()->Count(), 1);
  EXPECT_EQ(read_.GetClippingByName("Deep note", l_.shared, false, personal_), nullptr);
  EXPECT_TRUE(read_.ClippingNameExists("Deep note", l_.deeper, personal_));
  EXPECT_FALSE(
      read_.ClippingNameExists("Deep note", GetLocalItemID(l_.deeper, l_.a.id), personal_));
  EXPECT_TRUE(read_.FolderNameExists("Deeper", l_.shared, personal_));
  EXPECT_FALSE(read_.FolderNameExists("Deeper", l_.letters, personal_));
  EXPECT_EQ(read_.GetFolderByName("Deeper", l_.shared, personal_)->ID(), l_.deeper);
  EXPECT_EQ(read_.GetFolderByName("Old", l_.letters, personal_)->ID(), l_.old);

  EXPECT_TRUE(read_.IsLinkedFolder(l_.a.linked->ID(), personal_));
  EXPECT_TRUE(read_.IsLinkedFolder("1", personal_));
  EXPECT_FALSE(read_.IsLinkedFolder(l_.letters, personal_));
  EXPECT_FALSE(read_.IsLinkedFolder(l_.shared, personal_));

  EXPECT_TRUE(read_.HaveFoldersChanged(kLongAgo, personal_));
  EXPECT_FALSE(read_.HaveFoldersChanged(kFarAhead, personal_));

  // FindClippings reads the default catalog only.
  auto search = Search::Create();
  search->SetSearchText("note");
  EXPECT_EQ(IdsOf(read_.FindClippings(search, personal_)), std::vector<std::string>{l_.root_note});
}

TEST_F(ReadService, DeletedClippingsAreListedForTheLinkedCatalog) {
  write_.DeleteClipping(l_.deep_note, personal_);
  write_.DeleteClipping(l_.yours, personal_);
  EXPECT_EQ(IdsOf(read_.GetDeletedClippingsForCatalog(l_.a.linked->ID(), false, personal_)),
            std::vector<std::string>{l_.deep_note});
  EXPECT_EQ(IdsOf(read_.GetDeletedClippingsForCatalog(l_.letters, false, personal_)),
            std::vector<std::string>{l_.yours});
  EXPECT_EQ(read_.GetClipping(l_.deep_note, personal_)->ClippingStatus(), 4);
}

TEST_F(ReadService, MissingFoldersRaise91AndStoreErrorsPassThrough) {
  for (const std::string& id : std::vector<std::string>{"999999", l_.a.Item("999999")}) {
    EXPECT_EQ(RaisedBy([&] { read_.GetFolder(id, personal_); }).number, err::kObjectVariableNotSet)
        << id;
    EXPECT_EQ(RaisedBy([&] { read_.GetChildFolders(id, personal_); }).number,
              err::kObjectVariableNotSet)
        << id;
  }
  // A catalog that is not linked has no data access object.
  EXPECT_EQ(RaisedBy([&] { read_.GetClipping("P999C2", personal_); }).number,
            err::kObjectVariableNotSet);
  // An id that is not a number reaches the store, which refuses it.
  EXPECT_NE(RaisedBy([&] { read_.GetFolder("1 OR 1=1", personal_); }).number, 0);
}

}  // namespace
}  // namespace clipcat::service_test
