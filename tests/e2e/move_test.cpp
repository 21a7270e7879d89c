// mv: a clipping or a whole folder into another folder, by copying it there and deleting the
// original for good; data and memberships go along, and a move that cannot be made changes
// nothing.
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
  }

  std::string letters_, drafts_, old_, archive_, greeting_, draft_, ancient_;
};

TEST_F(Move, AClippingOrAFolderMovesWithItsDataAndCategories) {
  const std::string moved = Trim(Ok({"mv", greeting_, archive_}));
  EXPECT_NE(moved, greeting_) << "a moved clipping is a new one";
  EXPECT_EQ(FirstColumn(Ok({"ls", archive_})), Ids{moved});
  EXPECT_EQ(Ok({"show", moved, "--raw", "2"}), "Dear Sir,\r\n");
  EXPECT_EQ(Ok({"call", "TORVEL.ClippingDataRead", "GetClipping", greeting_}), "Nothing\n");

  const std::string folder = Ok({"--xml", "mv", drafts_, archive_});
  EXPECT_NE(folder.find("parentid=\"" + archive_ + "\""), std::string::npos) << folder;
  EXPECT_EQ(WithoutTreeIds(Ok({"tree"})),
            "Personal\n  Archive\n    Drafts\n      Old\n  Letters\n");
  EXPECT_NE(Fails({"call", "TORVEL.ClippingDataRead", "GetFolder", drafts_}).find("(error 91, "),
            std::string::npos);
  const std::string draft = IdOf(catalog_, "Draft");
  EXPECT_NE(draft, draft_);
  EXPECT_EQ(Ok({"show", draft, "--raw", "3"}), "<Row/>");
  EXPECT_NE(Ok({"search", "Ancient"}).find("Personal\\Archive\\Drafts\\Old"), std::string::npos);
  EXPECT_EQ(FirstColumn(Ok({"search", "--names-only", "*", "--category", "Work"})),
            (Ids{moved, draft}));
  EXPECT_EQ(FirstColumn(Ok({"categories"})).size(), 1u) << "still one \"Work\"";
}

TEST_F(Move, AMoveThatCannotBeMadeChangesNothing) {
  EXPECT_EQ(Trim(Ok({"mv", greeting_, letters_})), greeting_) << "already there";
  EXPECT_EQ(Trim(Ok({"mv", drafts_, letters_})), drafts_);
  Ok({"add", archive_, "Greeting", "--text", "another"});
  Ok({"mkdir", archive_, "Drafts"});
  const std::string before = Ok({"export"});
  const std::string taken = "error: The name \"";
  const std::vector<std::pair<Args, std::string>> cases = {
      {{"mv", "1", archive_}, "error: folder 1 is the top folder of its catalog"},
      {{"mv", letters_, letters_}, "error: folder " + letters_ + " cannot move into"},
      {{"mv", letters_, old_}, "error: folder " + letters_ + " cannot move into"},
      {{"mv", greeting_, ancient_}, "error: no folder has the id " + ancient_},
      {{"mv", "999", archive_}, "error: no clipping or folder has the id 999"},
      {{"mv", greeting_, archive_}, taken + "Greeting\" is already"},
      {{"mv", drafts_, archive_}, taken + "Drafts\" is already"},
      {{"mv", "1 OR 1=1", archive_}, "error: \"1 OR 1=1\" is not an id"},
  };
  for (const auto& [args, error] : cases) {
    EXPECT_EQ(Fails(args).rfind(error, 0), 0u) << args[1] << " " << args[2];
  }
  EXPECT_EQ(Ok({"export"}), before);
  Fails({"mv", greeting_}, 64);
}

TEST_F(Move, AClippingMovedIntoALinkedCatalogJoinsItsCategoryOfTheSameName) {
  const std::string shared = (dir_ / "shared.db").string();
  OkOn(shared, {"init", "--name", "Shared"});
  const std::string team = Trim(Ok({"link", "Team", "--connection", FileDetails(shared)}));
  const std::string moved = Trim(Ok({"mv", greeting_, team}));
  ASSERT_EQ(moved.rfind("P1C", 0), 0u) << moved;
  EXPECT_EQ(OkOn(shared, {"show", moved.substr(3), "--raw", "2"}), "Dear Sir,\r\n");
  EXPECT_EQ(FirstColumn(OkOn(shared, {"search", "--names-only", "*", "--category", "Work"})),
            Ids{moved.substr(3)});
}

}  // namespace
