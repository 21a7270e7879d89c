// Tagging as people do it: several clippings at once, names matched without regard to case (as
// the catalog folds case, not only ASCII), a tag that is there already is no error, and two
// people tagging with the same new category at the same moment end up in the one category.
#include <string>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

class Tagging : public Cli {
 protected:
  void SetUp() override {
    Cli::SetUp();
    Ok({"init", "--name", "Personal"});
    for (const char* name : {"Alpha", "Beta", "Gamma"}) {
      ids_.push_back(Trim(Ok({"add", "1", name, "--text", name})));
    }
  }

  // The ids of the clippings in category `name`.
  Ids Members(const std::string& name) {
    return FirstColumn(Ok({"search", "--names-only", "*", "--category", name}));
  }

  Ids ids_;
};

TEST_F(Tagging, SeveralClippingsOneCategoryWhateverTheCase) {
  Ok({"tag", ids_[0], ids_[1], "Email"});
  EXPECT_EQ(Members("email"), (Ids{ids_[0], ids_[1]}));
  // Already there, in any case: no error and no change.
  const std::string before = Ok({"export"});
  EXPECT_EQ(Ok({"tag", ids_[0], "EMAIL"}), "");
  EXPECT_EQ(Ok({"tag", ids_[1], ids_[0], "email"}), "");
  EXPECT_EQ(Ok({"export"}), before);
  Ok({"tag", ids_[2], "eMail"});
  EXPECT_EQ(FirstColumn(Ok({"categories"})).size(), 1u);
  EXPECT_EQ(Members("Email").size(), 3u);
  // Beyond ASCII: Ä and ä, Σ and σ are the same letter in another case.
  Ok({"tag", ids_[0], "ÄRGER ΣΑΣ"});
  Ok({"tag", ids_[1], "ärger σας"});
  EXPECT_EQ(FirstColumn(Ok({"categories"})).size(), 2u);
  EXPECT_EQ(Members("Ärger Σας"), (Ids{ids_[0], ids_[1]}));

  // An id that names no clipping refuses the whole command before anything changes.
  const std::string tagged = Ok({"export"});
  EXPECT_EQ(Fails({"tag", ids_[2], "999", "Home"}),
            "error: no clipping or folder has the id 999 (error 5, clipcat)\n");
  EXPECT_EQ(Ok({"export"}), tagged);
  EXPECT_EQ(Fails({"tag", ids_[0]}, 64).rfind("error: tag takes CLIPPING... CATEGORY", 0), 0u);
  Ok({"untag", ids_[0], ids_[1], "EMAIL"});
  EXPECT_EQ(Members("email"), Ids{ids_[2]});
}

TEST_F(Tagging, TwoProcessesTaggingWithTheSameNewCategoryShareIt) {
  // Each round two commands start together, each tagging its own clipping with a category that
  // does not exist yet; both must succeed, in one category.
  constexpr int kRounds = 12;
  for (int round = 0; round < kRounds; ++round) {
    const std::string category = "Race " + std::to_string(round);
    const std::string first = CommandLine({"--catalog", catalog_, "tag", ids_[0], category}, {});
    const std::string other_case =
        std::string(round % 2 ? "RACE " : "race ") + std::to_string(round);
    const std::string second = CommandLine({"--catalog", catalog_, "tag", ids_[1], other_case}, {});
    const std::string script = first + " 2>" + Quote((dir_ / "e1").string()) + " & a=$!; " +
                               second + " 2>" + Quote((dir_ / "e2").string()) +
                               " & b=$!; wait $a; ra=$?; wait $b; echo $ra $?";
    const std::string out = (dir_ / "statuses").string();
    ASSERT_EQ(std::system(("sh -c " + Quote(script) + " >" + Quote(out)).c_str()), 0);
    EXPECT_EQ(Trim(ReadFile(out)), "0 0")
        << "round " << round << ": " << ReadFile(dir_ / "e1") << ReadFile(dir_ / "e2");
  }
  EXPECT_EQ(FirstColumn(Ok({"categories"})).size(), static_cast<size_t>(kRounds));
  for (int round = 0; round < kRounds; ++round) {
    EXPECT_EQ(Members("race " + std::to_string(round)).size(), 2u) << round;
  }
}

}  // namespace
