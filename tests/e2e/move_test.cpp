// mv: a clipping or a whole folder into another folder, by copying it there and then deleting
// the original; data and memberships go along, and a move that cannot be made changes nothing.
#include <regex>
#include <string>
#include <vector>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

class Move : public Cli {
 protected:
  void SetUp() override {
    Cli::SetUp();
    Ok({"init", "--name", "Personal"});
    letters_ = Trim(Ok({"mkdir", "1", "Letters"}));
    drafts_ = Trim(Ok({"mkdir", letters_, "Drafts"}));
    old_ = Trim(Ok({"mkdir", drafts_, "Old"}));
    archive_ = Trim(Ok({"mkdir", "1", "Archive"}));
    greeting_ = Trim(Ok({"add", letters_, "Greeting", "--text", "Dear Sir,\r\n"}));
    draft_ = Trim(Ok({"add", drafts_, "Draft", "--type", "3", "--text", "<Row/>"}));
    ancient_ = Trim(Ok({"add", old_, "Ancient", "--text", "1999"}));
    Ok({"tag", greeting_, "Work"});
    Ok({"tag", draft_, "Work"});
    Ok({"tag", ancient_, "Past"});
  }

  std::string TreeWithoutIds() {
    return std::regex_replace(Ok({"tree"}), std::regex(R"(  \[[^\]]*\])"), "");
  }

  // The id in the one row of `ls FOLDER` that names `name`, or "" when there is none.
  std::string IdIn(const std::string& folder, const std::string& name) {
    const std::string listing = Ok({"ls", folder});
    std::smatch match;
    if (!std::regex_search(listing, match, std::regex("\\n(\\S+)\\s+" + name + "\\s"))) return "";
    return match[1].str();
  }

  std::string letters_, drafts_, old_, archive_, greeting_, draft_, ancient_;
};

TEST_F(Move, AClippingMovesWithItsDataAndCategories) {
  const std::string moved = Trim(Ok({"mv", greeting_, archive_}));
  EXPECT_NE(moved, greeting_) << "a moved clipping is a new one";
  EXPECT_EQ(IdIn(archive_, "Greeting"), moved);
  EXPECT_EQ(IdIn(letters_, "Greeting"), "");
  EXPECT_EQ(Ok({"show", moved, "--raw", "2"}), "Dear Sir,\r\n");
  EXPECT_NE(Ok({"show", moved}).find("Personal\\Archive"), std::string::npos);
  const std::string work = Ok({"search", "*", "--category", "Work"});
  EXPECT_NE(work.find(moved + " "), std::string::npos) << work;
  // The original is gone for good, not only marked deleted.
  EXPECT_EQ(Ok({"call", "TORVEL.ClippingDataRead", "GetClipping", greeting_}), "Nothing\n");
  // Only one "Work" category, still.
  const std::string categories = Ok({"categories"});
  EXPECT_EQ(categories.find("Work"), categories.rfind("Work")) << categories;
}

TEST_F(Move, AFolderMovesWithEverythingBelowIt) {
  const std::string moved = Trim(Ok({"--xml", "mv", drafts_, archive_}));
  EXPECT_EQ(moved.rfind("<Folder ", 0), 0u) << moved;
  EXPECT_NE(moved.find("parentid=\"" + archive_ + "\""), std::string::npos) << moved;
  EXPECT_EQ(TreeWithoutIds(), "Personal\n  Archive\n    Drafts\n      Old\n  Letters\n");
  // The original folder is deleted for good: the service finds no row at all.
  const Result gone = OnCatalog({"call", "TORVEL.ClippingDataRead", "GetFolder", drafts_});
  EXPECT_EQ(gone.status, 1);
  EXPECT_EQ(gone.err.rfind("error 91 ", 0), 0u) << gone.err;
  const std::string found = Ok({"search", "*"});
  EXPECT_NE(found.find("Personal\\Archive\\Drafts\\Old"), std::string::npos) << found;
  EXPECT_EQ(found.find("Letters\\Drafts"), std::string::npos) << found;
  // Content and memberships below it came along.
  const std::string past = Ok({"search", "Ancient", "--category", "Past"});
  EXPECT_NE(past.find("Ancient"), std::string::npos) << past;
  const std::string work = Ok({"search", "Draft", "--category", "Work"});
  std::smatch match;
  ASSERT_TRUE(std::regex_search(work, match, std::regex(R"(\n(\S+)\s+Draft\s)"))) << work;
  EXPECT_NE(match[1].str(), draft_);
  EXPECT_EQ(Ok({"show", match[1].str(), "--raw", "3"}), "<Row/>");
  const std::string categories = Ok({"categories"});
  EXPECT_EQ(categories.find("Past"), categories.rfind("Past")) << categories;
}

TEST_F(Move, AMoveToWhereItIsChangesNothing) {
  EXPECT_EQ(Trim(Ok({"mv", greeting_, letters_})), greeting_);
  EXPECT_EQ(Trim(Ok({"mv", drafts_, letters_})), drafts_);
  EXPECT_EQ(IdIn(letters_, "Greeting"), greeting_);
}

TEST_F(Move, AMoveThatCannotBeMadeChangesNothing) {
  Ok({"add", archive_, "Greeting", "--text", "another"});
  Ok({"mkdir", archive_, "Drafts"});
  const std::string before = Ok({"export"});
  struct Case {
    std::vector<std::string> args;
    std::string error;
  };
  const std::vector<Case> cases = {
      {{"mv", "1", archive_}, "error 5 (clipcat): folder 1 is the top folder of its catalog"},
      {{"mv", letters_, letters_},
       "error 5 (clipcat): folder " + letters_ + " cannot move into itself"},
      {{"mv", letters_, old_},
       "error 5 (clipcat): folder " + letters_ + " cannot move into itself"},
      {{"mv", greeting_, "999"}, "error 5 (clipcat): no folder has the id 999"},
      {{"mv", greeting_, ancient_}, "error 5 (clipcat): no folder has the id " + ancient_},
      {{"mv", "999", archive_}, "error 5 (clipcat): no clipping or folder has the id 999"},
      {{"mv", greeting_, archive_},
       "error -2147220996 (Data Services): The name \"Greeting\" is already in use here. Choose a "
       "unique name."},
      {{"mv", drafts_, archive_},
       "error -2147220997 (Data Services): The name \"Drafts\" is already in use here. Choose a "
       "unique name."},
      {{"mv", "1 OR 1=1", archive_}, "error "},
  };
  for (const Case& c : cases) {
    const Result r = OnCatalog(c.args);
    EXPECT_EQ(r.status, 1) << c.args[1];
    EXPECT_EQ(r.err.rfind(c.error, 0), 0u) << r.err;
    EXPECT_EQ(Ok({"export"}), before) << c.args[1] << " " << c.args[2];
  }
  EXPECT_EQ(OnCatalog({"mv", greeting_}).status, 64);
}

TEST_F(Move, AClippingMovedIntoALinkedCatalogJoinsItsCategoryOfTheSameName) {
  const std::string shared = (dir_ / "shared.db").string();
  OkOn(shared, {"init", "--name", "Shared"});
  const std::string team = Trim(Ok({"link", "Team", "--connection",
                                    "<connectiondetails connectionstring=\"Provider=Microsoft.Jet."
                                    "OLEDB.4.0;Data Source=" +
                                        shared + "\" datasourcetype=\"1\"/>"}));
  const std::string moved = Trim(Ok({"mv", greeting_, team}));
  EXPECT_EQ(moved.rfind("P1C", 0), 0u) << moved;
  EXPECT_EQ(IdIn(letters_, "Greeting"), "");
  // In the shared catalog's own terms: the clipping, its data and a "Work" category made there.
  const std::string local = moved.substr(3);
  EXPECT_EQ(OkOn(shared, {"show", local, "--raw", "2"}), "Dear Sir,\r\n");
  EXPECT_NE(OkOn(shared, {"categories"}).find("Work"), std::string::npos);
  EXPECT_NE(OkOn(shared, {"search", "*", "--category", "Work"}).find("Greeting"),
            std::string::npos);
}

}  // namespace
