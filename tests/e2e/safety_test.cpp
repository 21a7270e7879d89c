// What one slip on the command line must not destroy: the top folder of any catalog, a linked
// catalog through its link, a folder unlinked as if it were a link, and a full folder deleted
// without a question; and --dry-run, which says what would go and changes nothing.
#include <string>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

constexpr size_t npos = std::string::npos;

class Safety : public Cli {
 protected:
  void SetUp() override {
    Cli::SetUp();
    Ok({"init", "--name", "Personal"});
    letters_ = Trim(Ok({"mkdir", "1", "Letters"}));
    inner_ = Trim(Ok({"mkdir", letters_, "Inner"}));
    greeting_ = Trim(Ok({"add", letters_, "Greeting", "--text", "Dear"}));
    Ok({"tag", greeting_, "Work"});
    Ok({"add", inner_, "Deep", "--text", "x"});
    empty_ = Trim(Ok({"mkdir", "1", "Empty"}));
  }

  std::string letters_, inner_, greeting_, empty_;
};

TEST_F(Safety, TheTopFolderOfACatalogIsNeverDeleted) {
  const std::string before = Ok({"export"});
  for (const Args& rm : {Args{"rm", "1"}, Args{"rm", "1", "--permanently", "--force"},
                         Args{"rm", "1", "--dry-run"}, Args{"rm", "1", "-f"}}) {
    Args args = rm;
    EXPECT_EQ(Fails(args),
              "error: folder 1 (Personal) is the top folder of its catalog and cannot be deleted "
              "(error 511, clipcat)\n");
  }
  EXPECT_EQ(Ok({"export"}), before);

  // A linked catalog: neither its top folder nor the folder that links it.
  const std::string shared = (dir_ / "shared.db").string();
  OkOn(shared, {"init", "--name", "Shared"});
  OkOn(shared, {"add", Trim(OkOn(shared, {"mkdir", "1", "Offers"})), "Offer", "--text", "10%"});
  const std::string shared_before = OkOn(shared, {"export"});
  const std::string link = Trim(Ok({"link", "Team", "--connection", FileDetails(shared)}));
  EXPECT_NE(Fails({"rm", "P1C1", "--force", "--permanently"})
                .find("folder P1C1 (Team) is the top folder of its catalog and cannot be deleted "
                      "(error 511"),
            npos);
  EXPECT_NE(Fails({"rm", link, "--force"})
                .find("links another catalog and cannot be deleted; "
                      "unlink " +
                      link),
            npos);
  EXPECT_EQ(OkOn(shared, {"export"}), shared_before);
  EXPECT_NE(Ok({"tree"}).find("Team  [P1C1]\n  Offers  [P1C2]"), npos);
  // Below the top, a linked catalog's folders are deleted as any other.
  Ok({"rm", "P1C2", "--force"});
  EXPECT_EQ(Ok({"tree"}).find("Offers"), npos);
}

TEST_F(Safety, UnlinkRemovesOnlyALink) {
  const std::string before = Ok({"export"});
  for (const std::string& id : {letters_, std::string("1")}) {
    EXPECT_NE(Fails({"unlink", id})
                  .find(") links no catalog: unlink removes only a link (rm "
                        "deletes a folder) (error 512, clipcat)\n"),
              npos)
        << id;
  }
  EXPECT_NE(Fails({"unlink", "999"}).find("no folder has the id 999"), npos);
  EXPECT_EQ(Ok({"export"}), before) << "a refused unlink changes nothing";

  const std::string shared = (dir_ / "shared.db").string();
  OkOn(shared, {"init", "--name", "Shared"});
  const std::string link = Trim(Ok({"link", "Team", "--connection", FileDetails(shared)}));
  EXPECT_NE(Fails({"unlink", "P1C1"}).find("(error 512, clipcat)"), npos)
      << "the linked top folder is not the link";
  Ok({"unlink", link});
  EXPECT_EQ(Ok({"tree"}).find("Team"), npos);
  EXPECT_EQ(Trim(OkOn(shared, {"tree"})), "Shared  [1]");
}

TEST_F(Safety, AFullFolderNeedsForceWithoutATerminalAndDryRunChangesNothing) {
  const std::string before = Ok({"export"});
  EXPECT_EQ(
      Ok({"rm", letters_, "--dry-run"}),
      "would delete folder " + letters_ + " (Letters) with 1 folder and 2 clippings below it\n");
  EXPECT_EQ(Ok({"rm", letters_, "-n", "--permanently"}),
            "would delete folder " + letters_ +
                " (Letters) with 1 folder and 2 clippings below it for good\n");
  EXPECT_EQ(Ok({"rm", greeting_, "--dry-run"}),
            "would delete clipping " + greeting_ + " (Greeting)\n");
  EXPECT_EQ(Fails({"rm", letters_}, 1, "y\n"),
            "error: folder " + letters_ +
                " is not empty (1 folder and 2 clippings below it): give --force to delete it "
                "with everything below it (error 5, clipcat)\n")
      << "standard input that is no terminal is never asked";
  EXPECT_EQ(Ok({"export"}), before);

  // An empty folder and a clipping go without a question; --force takes a full folder.
  Ok({"rm", empty_});
  Ok({"rm", inner_, "--force"});
  EXPECT_EQ(WithoutTreeIds(Ok({"tree"})), "Personal\n  Letters\n");
  EXPECT_EQ(FirstColumn(Ok({"ls", letters_})), Ids{greeting_});
}

TEST_F(Safety, OnATerminalAFullFolderGoesOnlyAfterAYes) {
  const Args rm = {"--catalog", catalog_, "rm", letters_};
  const std::string before = Ok({"export"});
  for (const std::string no : {"n\n", "\n", "nope\n", "yess\n"}) {
    const Result r = OnTerminal(rm, no);
    EXPECT_EQ(r.status, 1) << r.err;
    EXPECT_NE(r.err.find("delete folder " + letters_ +
                         " (Letters) with 1 folder and 2 clippings below it? [y/N]"),
              npos)
        << r.err;
    EXPECT_NE(r.err.find("error: nothing was deleted (error 5, clipcat)"), npos) << r.err;
  }
  EXPECT_EQ(Ok({"export"}), before);
  const Result yes = OnTerminal(rm, "Y\n");
  EXPECT_EQ(yes.status, 0) << yes.err;
  EXPECT_EQ(WithoutTreeIds(Ok({"tree"})), "Personal\n  Empty\n");
  // What was deleted with the folder comes back with it, tags included.
  Ok({"restore", letters_});
  EXPECT_EQ(WithoutIds(Ok({"export"})), WithoutIds(before));
}

}  // namespace
