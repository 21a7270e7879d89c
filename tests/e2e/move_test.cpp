// mv: a clipping or a whole folder into another folder. Within a catalog it keeps its id, data,
// memberships and history, and two commands racing on one clipping lose nothing; into another
// catalog it is copied there and the original deleted for good; a move that cannot be made changes
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

TEST_F(Move, AClippingOrAFolderMovesWithItsIdDataCategoriesAndHistory) {
  Ok({"show", greeting_});  // one use in the history
  EXPECT_EQ(Trim(Ok({"mv", greeting_, archive_})), greeting_);
  EXPECT_EQ(FirstColumn(Ok({"ls", archive_})), Ids{greeting_});
  EXPECT_EQ(Ok({"show", greeting_, "--raw", "2"}), "Dear Sir,\r\n");
  EXPECT_EQ(FirstColumn(Ok({"history"})), Ids{greeting_});

  const std::string folder = Ok({"--xml", "mv", drafts_, archive_});
  EXPECT_NE(folder.find("parentid=\"" + archive_ + "\""), std::string::npos) << folder;
  EXPECT_EQ(WithoutTreeIds(Ok({"tree"})),
            "Personal\n  Archive\n    Drafts\n      Old\n  Letters\n");
  EXPECT_EQ(Ok({"show", draft_, "--raw", "3"}), "<Row/>");
  EXPECT_NE(Ok({"search", "Ancient"}).find("  Archive/Drafts/Old  "), std::string::npos);
  EXPECT_EQ(FirstColumn(Ok({"search", "--names-only", "*", "--category", "Work"})),
            (Ids{draft_, greeting_}));
  EXPECT_EQ(FirstColumn(Ok({"categories"})).size(), 1u) << "still one \"Work\"";
}

// Two commands started together on one clipping, again and again: a move beside a move, a
// rename or a tag. Afterwards the clipping is there once, where the later move put it, with
// every rename and tag kept.
TEST_F(Move, CommandsRacingAMoveLoseNothingAndDuplicateNothing) {
  const auto together = [&](const Args& first, const Args& second) {
    Args a = first, b = second;
    a.insert(a.begin(), {"--catalog", catalog_});
    b.insert(b.begin(), {"--catalog", catalog_});
    const std::string out = (dir_ / "race").string();
    const int raw = std::system(("(" + CommandLine(a, {}) + " >/dev/null 2>" + Quote(out + "1") +
                                 "; echo $? >" + Quote(out + "1.status") + ") & (" +
                                 CommandLine(b, {}) + " >/dev/null 2>" + Quote(out + "2") +
                                 "; echo $? >" + Quote(out + "2.status") + "); wait")
                                    .c_str());
    ASSERT_EQ(raw, 0);
    EXPECT_EQ(ReadFile(out + "1.status"), "0\n") << ReadFile(out + "1");
    EXPECT_EQ(ReadFile(out + "2.status"), "0\n") << ReadFile(out + "2");
  };
  const std::string elsewhere = Trim(Ok({"mkdir", "1", "Elsewhere"}));
  for (int round = 0; round < 5; ++round) {
    together({"mv", greeting_, archive_}, {"mv", greeting_, elsewhere});
    const Ids in_archive = FirstColumn(Ok({"ls", archive_}));
    const Ids in_elsewhere = FirstColumn(Ok({"ls", elsewhere}));
    EXPECT_EQ(in_archive.size() + in_elsewhere.size(), 1u) << "round " << round;

    const std::string name = "Greeting " + std::to_string(round);
    together({"mv", greeting_, letters_}, {"rename", greeting_, name});
    EXPECT_EQ(FirstColumn(Ok({"ls", letters_})), Ids{greeting_});
    EXPECT_NE(Ok({"ls", letters_}).find(name), std::string::npos) << "round " << round;

    const std::string category = "Round" + std::to_string(round);
    together({"mv", greeting_, archive_}, {"tag", greeting_, category});
    EXPECT_EQ(FirstColumn(Ok({"ls", archive_})), Ids{greeting_});
    EXPECT_EQ(FirstColumn(Ok({"search", "--names-only", "*", "--category", category})),
              Ids{greeting_});
  }
  EXPECT_EQ(
      Ok({"call", "TORVEL.ClippingDataRead", "GetClippingsFromFolder", letters_}).find("Greeting"),
      std::string::npos);
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
      {{"mv", "1 OR 1=1", archive_}, "error: no folder or clipping \"1 OR 1=1\""},
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
  const Result result = Run({"--catalog", catalog_, "mv", greeting_, team});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "moved into another catalog as a copy with a new id\n");
  const std::string moved = Trim(result.out);
  ASSERT_EQ(moved.rfind("P1C", 0), 0u) << moved;
  EXPECT_EQ(OkOn(shared, {"show", moved.substr(3), "--raw", "2"}), "Dear Sir,\r\n");
  EXPECT_EQ(FirstColumn(OkOn(shared, {"search", "--names-only", "*", "--category", "Work"})),
            Ids{moved.substr(3)});
}

}  // namespace
