// The everyday commands that the other end-to-end tests leave out: categories, history, links,
// the search options, deletion for good, the XML output, init from connection details, and the
// tour on the default catalog.
#include <algorithm>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

class Everyday : public Cli {
 protected:
  void SetUp() override {
    Cli::SetUp();
    Ok({"init", "--name", "Personal"});
    letters_ = Trim(Ok({"mkdir", "1", "Letters"}));
    inner_ = Trim(Ok({"mkdir", letters_, "Inner"}));
    greeting_ = Trim(Ok({"add", letters_, "Greeting", "--text", "Dear", "--description", "hello"}));
    closing_ = Trim(Ok({"add", letters_, "Closing", "--text", "Regards"}));
    deep_ = Trim(Ok({"add", inner_, "Deep greeting", "--text", "x"}));
  }

  // The ids in the first column of a table, in order.
  static std::vector<std::string> Ids(const std::string& table) {
    std::vector<std::string> ids;
    std::istringstream lines(table);
    std::string line;
    std::getline(lines, line);  // the header
    while (std::getline(lines, line)) ids.push_back(line.substr(0, line.find(' ')));
    return ids;
  }

  static std::vector<std::string> Sorted(std::vector<std::string> ids) {
    std::sort(ids.begin(), ids.end());
    return ids;
  }

  std::string letters_, inner_, greeting_, closing_, deep_;
};

TEST_F(Everyday, CategoriesAreMadeByTagAndLeftByUntag) {
  Ok({"tag", greeting_, "Work"});
  Ok({"tag", closing_, "work"});  // the same category: names compare without regard to case
  Ok({"tag", closing_, "Home"});
  EXPECT_EQ(Ids(Ok({"categories"})).size(), 2u) << Ok({"categories"});
  const std::string xml = Ok({"--xml", "categories"});
  EXPECT_EQ(xml.rfind("<Categories><category Name=\"Home\"", 0), 0u) << xml;
  EXPECT_EQ(Ids(Ok({"search", "*", "--category", "Work"})),
            (std::vector<std::string>{greeting_, closing_}));
  // Several categories: a clipping in any of them.
  EXPECT_EQ(Sorted(Ids(Ok({"search", "*", "--category", "Home", "--category", "Work"}))),
            Sorted({greeting_, closing_}));
  EXPECT_EQ(Ids(Ok({"search", "Deep*", "--category", "Home"})), std::vector<std::string>{});
  // --any-category: the text, or one of the categories.
  EXPECT_EQ(Sorted(Ids(Ok({"search", "Deep*", "--category", "Home", "--any-category"}))),
            Sorted({closing_, deep_}));
  Ok({"untag", greeting_, "WORK"});
  EXPECT_EQ(Ids(Ok({"search", "*", "--category", "Work"})), (std::vector<std::string>{closing_}));
  const Result r = OnCatalog({"untag", greeting_, "Nowhere"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "error 5 (clipcat): no category is named Nowhere\n");
}

TEST_F(Everyday, SearchNarrowsByTextAndFolders) {
  EXPECT_EQ(Ids(Ok({"search", "greeting"})), (std::vector<std::string>{greeting_, deep_}));
  EXPECT_EQ(Ids(Ok({"search", "hell"})), (std::vector<std::string>{greeting_}))
      << "descriptions are searched too";
  EXPECT_EQ(Ids(Ok({"search", "greeting", "--folder", letters_})),
            (std::vector<std::string>{greeting_}));
  EXPECT_EQ(Ids(Ok({"search", "greeting", "--folder", letters_, "--subfolders"})),
            (std::vector<std::string>{greeting_, deep_}));
  EXPECT_EQ(Ids(Ok({"search", "Greet*"})), (std::vector<std::string>{greeting_}))
      << "with a \"*\" the text is a pattern of the whole name";
  EXPECT_EQ(Ids(Ok({"search", "50%"})), std::vector<std::string>{});
  const std::string xml = Ok({"search", "closing", "--xml"});
  EXPECT_EQ(xml.rfind("<clippings><clipping ClippingID=\"" + closing_ + "\"", 0), 0u) << xml;
}

TEST_F(Everyday, ShowCountsAsAUseInTheHistory) {
  EXPECT_EQ(Ids(Ok({"history"})), std::vector<std::string>{});
  Ok({"show", greeting_});
  Ok({"show", closing_, "--raw", "2"});
  Ok({"show", greeting_});
  const std::string history = Ok({"history"});
  EXPECT_EQ(history.rfind("ID  NAME      UPDATED  ", 0), 0u) << history;
  EXPECT_NE(history.find("ACCESSED"), std::string::npos);
  // Access times are kept to the second, so uses within one second have no order to test.
  EXPECT_EQ(Sorted(Ids(history)), Sorted({greeting_, closing_}));
  const std::vector<std::string> newest = Ids(Ok({"history", "--max", "1"}));
  ASSERT_EQ(newest.size(), 1u);
  EXPECT_TRUE(newest[0] == greeting_ || newest[0] == closing_) << newest[0];
  EXPECT_EQ(OnCatalog({"history", "--max", "many"}).status, 64);
  // A clipping deleted for good leaves the history.
  Ok({"rm", greeting_, "--permanently"});
  EXPECT_EQ(Ids(Ok({"history"})), (std::vector<std::string>{closing_}));
}

TEST_F(Everyday, RemoveMarksDeletedOrRemovesForGood) {
  Ok({"rm", closing_});
  EXPECT_EQ(Ids(Ok({"ls", letters_})), (std::vector<std::string>{greeting_}));
  const std::string marked = Ok({"call", "TORVEL.ClippingDataRead", "GetClipping", closing_});
  EXPECT_NE(marked.find("Status=\"4\""), std::string::npos) << "still there, marked deleted";
  Ok({"rm", greeting_, "--permanently"});
  EXPECT_EQ(Ok({"call", "TORVEL.ClippingDataRead", "GetClipping", greeting_}), "Nothing\n");
  // A folder takes what is below it along.
  Ok({"rm", letters_, "--permanently"});
  EXPECT_EQ(Trim(Ok({"tree"})), "Personal  [1]");
  EXPECT_EQ(Ok({"call", "TORVEL.ClippingDataRead", "GetClipping", deep_}), "Nothing\n");
  const Result r = OnCatalog({"rm", "999"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "error 5 (clipcat): no clipping or folder has the id 999\n");
}

TEST_F(Everyday, RenameWorksOnFoldersAndClippingsAndChecksNames) {
  Ok({"rename", inner_, "Outer"});
  EXPECT_NE(Ok({"tree"}).find("    Outer  [" + inner_ + "]"), std::string::npos);
  const Result taken = OnCatalog({"rename", closing_, "greeting"});
  EXPECT_EQ(taken.status, 1);
  EXPECT_NE(taken.err.find("error -2147220996 (Data Services)"), std::string::npos) << taken.err;
  EXPECT_NE(Ok({"ls", letters_}).find("Closing"), std::string::npos);
}

TEST_F(Everyday, XmlOutputIsTheEntitiesOwn) {
  const std::string tree = Ok({"tree", "--xml"});
  EXPECT_EQ(tree.rfind("<Folders><Folder Folderid=\"1\"", 0), 0u) << tree;
  EXPECT_EQ(tree.back(), '\n');
  const std::string listing = Ok({"--xml", "ls", inner_});
  EXPECT_EQ(listing.rfind("<clippings><clipping ClippingID=\"" + deep_ + "\"", 0), 0u) << listing;
  const std::string shown = Ok({"--xml", "show", greeting_});
  EXPECT_NE(shown.find("<clippingdataitem datatype=\"2\">Dear</clippingdataitem>"),
            std::string::npos)
      << shown;
  EXPECT_EQ(Ok({"--xml", "mkdir", "1", "Made"}).rfind("<Folder ", 0), 0u);
  EXPECT_EQ(Ok({"--xml", "add", "1", "Made", "--text", "t"}).rfind("<clipping ", 0), 0u);
}

TEST_F(Everyday, LinkShowsAnotherCatalogAndUnlinkTakesItAway) {
  const std::string shared = (dir_ / "shared.db").string();
  OkOn(shared, {"init", "--name", "Shared"});
  OkOn(shared, {"mkdir", "1", "Offers"});
  const std::string details =
      "<connectiondetails connectionstring=\"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" +
      shared + "\" datasourcetype=\"1\"/>";
  const std::string linked = Trim(Ok({"link", "Team", "--connection", details}));
  std::string tree = Ok({"tree"});
  EXPECT_NE(tree.find("\nTeam  [P1C1]\n  Offers  [P1C2]\n"), std::string::npos) << tree;
  // Writes under the linked folder go into the linked catalog.
  const std::string offer = Trim(Ok({"add", "P1C2", "Spring offer", "--text", "10% off"}));
  EXPECT_EQ(offer.rfind("P1C", 0), 0u) << offer;
  EXPECT_EQ(OkOn(shared, {"show", offer.substr(3), "--raw", "2"}), "10% off");
  // A linked catalog that goes away shows as offline, and comes back.
  fs::rename(shared, shared + ".away");
  tree = Ok({"tree"});
  EXPECT_NE(tree.find("Team  [" + linked + "] (offline)"), std::string::npos) << tree;
  fs::rename(shared + ".away", shared);
  Ok({"unlink", linked});
  EXPECT_EQ(Trim(Ok({"tree"})).find("Team"), std::string::npos);
  EXPECT_TRUE(fs::exists(shared)) << "unlinking leaves the other catalog alone";
  EXPECT_EQ(OnCatalog({"link", "Team"}).status, 64) << "--connection is required";
}

TEST_F(Everyday, InitTakesItsCatalogFromConnectionDetails) {
  const std::string file = (dir_ / "sub" / "made.db").string();
  const std::string details =
      "<connectiondetails connectionstring=\"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + file +
      "\" datasourcetype=\"1\"/>";
  Result r = Run({"--connection", details, "init", "--name", "Made"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "created " + file + "\n");
  EXPECT_EQ(Trim(Run({"--connection", details, "tree"}).out), "Made  [1]");
  // The same through a data link file.
  const fs::path udl = dir_ / "other.udl";
  WriteFile(udl, "[oledb]\r\nProvider=Microsoft.Jet.OLEDB.4.0;Data Source=" +
                     (dir_ / "linked.db").string() + "\r\n");
  r = Run({"--connection",
           "<connectiondetails connectionstring=\"File Name=" + udl.string() + "\"/>", "init"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(fs::exists(dir_ / "linked.db"));

  // A server that cannot be reached, and a provider nobody knows, make nothing.
  r = Run({"--connection",
           "<connectiondetails connectionstring=\"Provider=PostgreSQL;Host=db.invalid;"
           "Database=clips\" datasourcetype=\"2\"/>",
           "init"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("error -2147220994 (clipcat): ", 0), 0u) << r.err;
  r = Run({"--connection", "<connectiondetails connectionstring=\"Provider=Nothing\"/>", "init"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err,
            "error 3706 (clipcat): Provider cannot be found. It may not be properly "
            "installed.\n");
  r = Run({"--connection", "not xml", "init"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("error 424 ", 0), 0u) << r.err;
  r = Run({"--catalog", catalog_, "--connection", details, "tree"});
  EXPECT_EQ(r.status, 64) << "a catalog is named one way only";
}

TEST_F(Everyday, TheTourSeedsANewDefaultCatalogOnceAndThenOnlyReads) {
  const fs::path catalog = dir_ / "data" / "clipcat" / "catalog.db";
  Result r = Run({"tour"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("Created a new catalog with a sample library: " + catalog.string()),
            std::string::npos)
      << r.out;
  for (const char* part : {"Letters", "Snippets", "Spreadsheets", "Greeting", "Correspondence",
                           "Dear Sir or Madam,"}) {
    EXPECT_NE(r.out.find(part), std::string::npos) << part;
  }
  const std::string before = Run({"export"}).out;
  const std::string history = Run({"history"}).out;
  r = Run({"tour"});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("Catalog: " + catalog.string()), std::string::npos) << r.out;
  EXPECT_EQ(Run({"export"}).out, before);
  EXPECT_EQ(Run({"history"}).out, history) << "the tour does not count as a use";
  // A named catalog is never seeded.
  r = OnCatalog({"tour"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out.find("sample library"), std::string::npos);
}

}  // namespace
