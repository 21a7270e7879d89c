// Listings across the selected catalog and its linked catalogs (categories, history, searches by
// words and by names) and the paths they are shown with: a linked file catalog and a linked server
// catalog, one that no longer answers, and names holding the path separator.
#include "library/linked_listings.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "library/clipping_details.h"
#include "library/clipping_search.h"
#include "library/item_paths.h"
#include "library_fixture.h"
#include "support/postgres_test_server.h"

namespace clipcat::library_test {
namespace {

using Ids = std::set<std::string>;

// A personal catalog with "Mail/Reply" (categories Work and Home) and a team catalog linked as
// "Team" with "Replies/Thanks" (category Work and Team only), both holding the word "thanks";
// the team catalog is a file or, with the parameter true, a catalog on the test server.
class LinkedListings : public LibraryTest, public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    std::shared_ptr<ConnectionDetails> team;
    if (GetParam()) {
      CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
      CatalogLocation location;
      location.connection_xml = "<connectiondetails connectionstring=\"" +
                                server->ConnectionString(server->CreateDatabase()) +
                                "\" datasourcetype=\"2\"/>";
      CreateCatalogAt(location, "Shared");
      team = ConnectionDetailsFor(location);
    } else {
      CatalogLocation location;
      location.path = NewCatalog("team.db", "Shared");
      team = ConnectionDetailsFor(location);
    }
    catalog_ = std::make_unique<Catalog>(team);
    const std::string replies = AddFolder("1", "Replies");
    thanks_ = AddClipping(replies, "Thanks", "thanks for the quick answer");
    Tag(thanks_, AddCategory("Work"));
    AddCategory("Team only");
    catalog_.reset();
    ReleaseAccessManager();

    Open(NewCatalog("personal.db"));
    const std::string mail = AddFolder("1", "Mail");
    reply_ = AddClipping(mail, "Reply", "thanks a lot");
    Tag(reply_, AddCategory("Work"));
    AddCategory("Home");
    catalog_->write().AddLinkedFolder(team, "Team", catalog_->details());
    // The linked catalog's items as the personal catalog's services name them.
    team_thanks_ = "P1C" + thanks_;
  }

  // A linked file catalog whose file is then removed: it no longer answers.
  void LinkAGoneCatalog() {
    const std::string gone = NewCatalog("gone.db", "Gone");
    Link(gone, "Old team");
    std::filesystem::remove(gone);
  }

  static Ids IdsOf(const std::vector<FoundClipping>& found) {
    Ids ids;
    for (const FoundClipping& hit : found) ids.insert(hit.clipping->ID());
    return ids;
  }

  std::string thanks_, reply_, team_thanks_;
};

TEST_P(LinkedListings, CategoriesComeFromEveryCatalogWithTheCatalogTheyBelongTo) {
  std::vector<std::string> offline = {"stale"};
  const std::vector<CatalogCategory> all = ListCategories(*catalog_, true, &offline);
  std::multiset<std::pair<std::string, std::string>> named;
  for (const CatalogCategory& entry : all) {
    named.insert({entry.category->Name(), entry.catalog});
    // A linked catalog's categories carry its ids, so that they route back to it.
    EXPECT_EQ(entry.category->ID().rfind("P1C", 0) == 0, entry.catalog == "Team")
        << entry.category->ID();
  }
  EXPECT_EQ(named, (std::multiset<std::pair<std::string, std::string>>{
                       {"Home", ""}, {"Work", ""}, {"Work", "Team"}, {"Team only", "Team"}}));
  EXPECT_TRUE(offline.empty());
  ASSERT_EQ(all.size(), 4u);
  EXPECT_EQ(all[0].catalog, "") << "the selected catalog's come first";

  const std::vector<CatalogCategory> local = ListCategories(*catalog_, false);
  EXPECT_EQ(local.size(), 2u);
  for (const CatalogCategory& entry : local) EXPECT_EQ(entry.catalog, "");
}

TEST_P(LinkedListings, ContentSearchMergesTheCatalogsUnlessLocal) {
  ContentQueryOptions options;
  options.text = "thanks";
  std::vector<std::string> offline;
  const std::vector<FoundClipping> found = SearchContent(*catalog_, options, &offline);
  EXPECT_EQ(found.size(), 2u) << "each catalog searched once";
  EXPECT_EQ(IdsOf(found), (Ids{reply_, team_thanks_}));
  EXPECT_TRUE(offline.empty());
  options.linked = false;
  EXPECT_EQ(IdsOf(SearchContent(*catalog_, options)), Ids{reply_});

  // A category is looked for in each catalog searched; one that only the team has narrows to it.
  options.linked = true;
  options.category = "work";
  EXPECT_EQ(IdsOf(SearchContent(*catalog_, options)), (Ids{reply_, team_thanks_}));
  options.category = "Team only";
  EXPECT_EQ(IdsOf(SearchContent(*catalog_, options)), Ids{});
  options.linked = false;
  EXPECT_EQ(RaisedNumber([&] { SearchContent(*catalog_, options); }), 5)
      << "no catalog searched has the category";

  // A catalog's top folder stands for that catalog alone, whichever it is.
  options = {};
  options.text = "thanks";
  options.folder = "1";
  EXPECT_EQ(IdsOf(SearchContent(*catalog_, options)), Ids{reply_});
  options.folder = "P1C1";
  EXPECT_EQ(IdsOf(SearchContent(*catalog_, options)), Ids{team_thanks_});

  // The limit holds across the catalogs.
  options = {};
  options.text = "thanks";
  options.limit = 1;
  EXPECT_EQ(SearchContent(*catalog_, options).size(), 1u);
}

TEST_P(LinkedListings, NameSearchAndHistoryReachTheLinkedCatalogsUnlessLocal) {
  ClippingQuery query;
  query.text = "*";
  // The ids of the clippings a search by names finds.
  const auto named = [&] {
    Ids ids;
    const auto found = SearchClippings(*catalog_, query);
    for (const auto& clipping : *found->Items()) ids.insert(clipping->ID());
    return ids;
  };
  EXPECT_EQ(named(), (Ids{reply_, team_thanks_}));
  query.linked = false;
  EXPECT_EQ(named(), Ids{reply_});

  for (const std::string& id : {team_thanks_, reply_}) {
    catalog_->write().UpdateClippingHistory(catalog_->read().GetClipping(id, catalog_->details()),
                                            catalog_->details());
  }
  const auto both = RecentlyUsed(*catalog_, 10, true);
  ASSERT_EQ(both.size(), 2u);
  const auto local = RecentlyUsed(*catalog_, 10, false);
  ASSERT_EQ(local.size(), 1u);
  EXPECT_EQ(local[0]->ID(), reply_);
  EXPECT_EQ(RecentlyUsed(*catalog_, 1, true).size(), 1u);
  // The local history still fills its maximum when linked uses came last.
  catalog_->write().UpdateClippingHistory(
      catalog_->read().GetClipping(team_thanks_, catalog_->details()), catalog_->details());
  const auto latest_local = RecentlyUsed(*catalog_, 1, false);
  ASSERT_EQ(latest_local.size(), 1u);
  EXPECT_EQ(latest_local[0]->ID(), reply_);

  // Paths start with the linked folder's name.
  AddPaths(*catalog_, both);
  std::set<std::string> paths;
  for (const auto& clipping : both) paths.insert(clipping->PathName());
  EXPECT_EQ(paths, (std::set<std::string>{"Mail", "Team/Replies"}));
}

TEST_P(LinkedListings, ALinkedCatalogThatDoesNotAnswerIsNamedAndLeftOut) {
  LinkAGoneCatalog();
  EXPECT_EQ(ListLinkedCatalogs(*catalog_).offline, std::vector<std::string>{"Old team"});
  EXPECT_EQ(ListLinkedCatalogs(*catalog_).online.size(), 1u);
  std::vector<std::string> offline;
  EXPECT_EQ(ListCategories(*catalog_, true, &offline).size(), 4u);
  EXPECT_EQ(offline, std::vector<std::string>{"Old team"});
  offline.clear();
  ContentQueryOptions options;
  options.text = "thanks";
  EXPECT_EQ(IdsOf(SearchContent(*catalog_, options, &offline)), (Ids{reply_, team_thanks_}));
  EXPECT_EQ(offline, std::vector<std::string>{"Old team"});
  offline.clear();
  ClippingQuery query;
  query.text = "*";
  EXPECT_EQ(SearchClippings(*catalog_, query, &offline)->Items()->Count(), 2);
  EXPECT_EQ(offline, std::vector<std::string>{"Old team"});
  offline.clear();
  RecentlyUsed(*catalog_, 10, true, &offline);
  EXPECT_EQ(offline, std::vector<std::string>{"Old team"});
  // The selected catalog alone asks no linked catalog.
  offline = {"untouched"};
  ListCategories(*catalog_, false, &offline);
  EXPECT_EQ(offline, std::vector<std::string>{"untouched"});
}

INSTANTIATE_TEST_SUITE_P(Engines, LinkedListings, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool>& info) {
                           return info.param ? "LinkedServerCatalog" : "LinkedFileCatalog";
                         });

class PrintedPaths : public LibraryTest {};

TEST_F(PrintedPaths, EveryPathShownNamesItsItemWhenGivenBack) {
  Open(NewCatalog("personal.db"));
  // Separators, escapes and digits in names: each path printed must read back as its item.
  const std::vector<std::string> names = {"A/B", "back\\slash", "12",         "x\\/y",
                                          "/",   "\\",          "trailing\\", "Plain"};
  FolderPaths paths(*catalog_);
  std::string parent = "1";
  std::string expected_parent_path;
  for (const std::string& name : names) {
    const std::string folder = AddFolder(parent, name);
    const std::string clipping = AddClipping(folder, name);
    const std::string path = FolderPath(*catalog_, folder);
    EXPECT_EQ(ResolveItem(*catalog_, path, ItemKind::kFolder), folder) << path;
    EXPECT_EQ(paths.Of(folder), path);
    const std::string clipping_path = FolderPaths(*catalog_).Below(folder, name);
    EXPECT_EQ(ResolveItem(*catalog_, clipping_path, ItemKind::kClipping), clipping)
        << clipping_path;
    parent = folder;
  }
  const std::string top_a = FolderPath(*catalog_, ResolveItem(*catalog_, "A\\/B", ItemKind::kAny));
  EXPECT_EQ(top_a, "A\\/B");
  EXPECT_EQ(FolderPath(*catalog_, ResolveItem(*catalog_, "A\\/B/back\\\\slash", ItemKind::kAny)),
            "A\\/B/back\\\\slash");
  // A path that would read as an id starts with "/"; so does a top folder named "12".
  const std::string twelve = AddFolder("1", "12");
  EXPECT_EQ(FolderPath(*catalog_, twelve), "/12");
  EXPECT_EQ(FolderPaths(*catalog_).Of(twelve), "/12");
  EXPECT_EQ(FolderPaths(*catalog_).Below(twelve, "Note"), "12/Note");
  EXPECT_EQ(FolderPath(*catalog_, "1"), "");
  EXPECT_EQ(PathStep("a/b\\c"), "a\\/b\\\\c");
  // A backslash before anything else stands for itself, as names typed before escapes did.
  const std::string windows = AddFolder("1", "C:\\temp");
  EXPECT_EQ(ResolveItem(*catalog_, "C:\\temp", ItemKind::kFolder), windows);
}

}  // namespace
}  // namespace clipcat::library_test
