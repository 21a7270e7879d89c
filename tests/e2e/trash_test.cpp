// The trash and the versions of clippings as people use them from the command line.
#include <string>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

constexpr size_t npos = std::string::npos;

TEST_F(Cli, ChangesAreKeptAsVersionsThatCanBeShownComparedAndMadeCurrent) {
  Ok({"init", "--name", "Personal"});
  const std::string id = Trim(Ok({"add", "1", "Greeting", "--text", "Dear Sir,\nline two"}));
  EXPECT_EQ(Ok({"versions", id}), "Clipping " + id + " has no earlier versions.\n");
  Ok({"rename", id, "Salutation"});
  Ok({"rename", id, "Hello"});
  const std::string listed = Ok({"versions", id});
  EXPECT_EQ(FirstColumn(listed), (Ids{"1", "2"}));
  EXPECT_NE(listed.find("Greeting"), npos);
  EXPECT_NE(Ok({"show", id, "--version", "1"}).find("name         Greeting"), npos);
  EXPECT_EQ(Ok({"show", id, "--version", "2", "--raw", "2"}), "Dear Sir,\nline two");
  // The text did not change: every line is kept.
  EXPECT_EQ(Ok({"diff", id, "1"}),
            "--- " + id + " version 1\n+++ " + id + " now\n Dear Sir,\n line two\n");
  EXPECT_EQ(Fails({"diff", id, "9"}),
            "error: clipping " + id + " has no version 9 (error 5, clipcat)\n");

  Ok({"revert", id, "1"});
  EXPECT_NE(Ok({"show", id}).find("name         Greeting"), npos);
  EXPECT_EQ(FirstColumn(Ok({"versions", id})), (Ids{"1", "2", "3"}));
  Ok({"versions", "--keep", "1"});
  EXPECT_EQ(FirstColumn(Ok({"versions", id})), Ids{"3"});
  EXPECT_NE(Ok({"info"}).find("at most 1 per clipping"), npos);
}

TEST_F(Cli, DeletedItemsAreListedRestoredAndRemovedForGood) {
  Ok({"init", "--name", "Personal"});
  const std::string mail = Trim(Ok({"mkdir", "1", "Mail"}));
  const std::string reply = Trim(Ok({"add", mail, "Reply", "--text", "Thanks"}));
  EXPECT_EQ(Ok({"trash"}), "The trash is empty.\n");

  // A folder's entry stands for what went with it.
  Ok({"rm", mail, "--force"});
  const std::string trash = Ok({"trash"});
  EXPECT_EQ(FirstColumn(trash), Ids{mail});
  EXPECT_NE(trash.find("1 item"), npos);
  EXPECT_EQ(Ok({"restore", mail}), "Restored " + mail + " as \"Mail\".\n");
  EXPECT_EQ(FirstColumn(Ok({"ls", mail})), Ids{reply});

  // A name taken meanwhile: refused unless renamed.
  Ok({"rm", reply});
  Ok({"add", mail, "reply", "--text", "newer"});
  EXPECT_NE(Fails({"restore", reply}).find(" (error 508, Data Services)\n"), std::string::npos);
  EXPECT_EQ(Ok({"restore", reply, "--rename"}),
            "Restored " + reply + " as \"Reply (restored)\".\n");
  EXPECT_EQ(Fails({"restore", reply}),
            "error: The item " + reply + " is not in the trash. (error 5, Data Services)\n");

  Ok({"rm", reply});
  EXPECT_EQ(Ok({"trash", "empty", "--older-than", "1d"}), "Removed 0 items for good.\n");
  EXPECT_EQ(Fails({"trash", "empty", "--older-than", "soon"}).rfind("error: a duration", 0), 0u);
  EXPECT_EQ(Ok({"trash", "empty"}), "Removed 1 item for good.\n");
  EXPECT_EQ(Ok({"call", "TORVEL.ClippingDataRead", "GetClipping", reply}), "Nothing\n");
  EXPECT_NE(Ok({"info"}).find("0 entries"), npos);
}

TEST_F(Cli, AnExportWithHistoryCarriesTheTrashAndVersionsToAnotherCatalog) {
  Ok({"init", "--name", "Personal"});
  const std::string id = Trim(Ok({"add", "1", "Greeting", "--text", "Dear Sir,"}));
  Ok({"rename", id, "Hello"});
  Ok({"rm", Trim(Ok({"add", "1", "Old", "--text", "gone"}))});
  const std::string file = (dir_ / "history.xml").string();
  EXPECT_EQ(Ok({"export", "--with-history", file}),
            "exported 1 folder, 2 clippings, 0 categories, 0 memberships, 1 version, 1 item in "
            "the trash to " +
                file + "\n");

  const std::string copy = (dir_ / "copy.db").string();
  OkOn(copy, {"init"});
  EXPECT_EQ(OkOn(copy, {"import", "--with-history", file}),
            "imported 0 folders, 2 clippings, 0 categories, 0 memberships, 1 version, 1 item in "
            "the trash\n");
  const std::string trash = OkOn(copy, {"trash"});
  EXPECT_NE(trash.find("Old"), npos);
  const std::string listed = OkOn(copy, {"search", "--names-only", "Hello"});
  const std::string copied = FirstColumn(listed).at(0);
  EXPECT_NE(OkOn(copy, {"versions", copied}).find("Greeting"), npos);

  // Without the option the history stays behind.
  const std::string plain = (dir_ / "plain.db").string();
  OkOn(plain, {"init"});
  EXPECT_EQ(OkOn(plain, {"import", file}),
            "imported 0 folders, 1 clipping, 0 categories, 0 memberships\n");
  EXPECT_EQ(OkOn(plain, {"trash"}), "The trash is empty.\n");
}

}  // namespace
