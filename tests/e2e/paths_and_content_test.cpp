// Folders and clippings named by path wherever an id is taken, ambiguity listed, and a
// clipping's content out in one word: cat byte for byte, rich text as its text, copy through the
// desktop's clipboard tool.
#include <sys/stat.h>

#include <string>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

constexpr size_t npos = std::string::npos;

class PathsAndContent : public Cli {
 protected:
  void SetUp() override {
    Cli::SetUp();
    Ok({"init", "--name", "Personal"});
    mail_ = Trim(Ok({"mkdir", "1", "Mail"}));
    replies_ = Trim(Ok({"mkdir", "Mail", "Replies"}));
    signature_ = Trim(Ok({"add", "Mail/Replies", "Signature", "--text", "Regards,\r\nAnn\n"}));
  }

  std::string mail_, replies_, signature_;
};

TEST_F(PathsAndContent, PathsWorkWhereIdsDoAndSayWhatTheyCannotFind) {
  EXPECT_EQ(Ok({"ls", "Mail/Replies"}), Ok({"ls", replies_}));
  EXPECT_EQ(Ok({"cat", "Mail/Replies/Signature"}), "Regards,\r\nAnn\n");
  EXPECT_EQ(Ok({"cat", "/mail/REPLIES/signature/"}), "Regards,\r\nAnn\n") << "case and slashes";
  Ok({"rename", "Mail/Replies/Signature", "Sign-off"});
  EXPECT_EQ(Ok({"cat", signature_}), "Regards,\r\nAnn\n");
  Ok({"mv", "Mail/Replies/Sign-off", "Mail"});
  EXPECT_EQ(FirstColumn(Ok({"ls", "Mail"})), Ids{signature_});
  Ok({"tag", "Mail/Sign-off", "Letters"});
  EXPECT_EQ(
      FirstColumn(Ok({"search", "--names-only", "*", "--folder", "Mail", "--category", "Letters"})),
      Ids{signature_});

  EXPECT_EQ(Fails({"ls", "Mail/Nowhere"}),
            "error: no folder \"Mail/Nowhere\" (error 5, clipcat)\n");
  EXPECT_EQ(Fails({"cat", "Post/Signature"}), "error: no folder \"Post\" (error 5, clipcat)\n");
  // A folder and a clipping of one name: the path names both.
  Ok({"mkdir", "Mail", "Sign-off"});
  const std::string error = Fails({"rm", "Mail/Sign-off"});
  EXPECT_NE(error.find("names more than one item"), npos) << error;
  EXPECT_NE(error.find("clipping " + signature_), npos) << error;
  EXPECT_EQ(Ok({"cat", "Mail/Sign-off"}), "Regards,\r\nAnn\n") << "cat takes only clippings";
}

TEST_F(PathsAndContent, ALinkedCatalogIsReachedUnderItsLinkedFolderName) {
  const std::string shared = (dir_ / "shared.db").string();
  OkOn(shared, {"init", "--name", "Shared"});
  const std::string inner = Trim(OkOn(shared, {"mkdir", "1", "Inner"}));
  const std::string note = Trim(OkOn(shared, {"add", inner, "Note", "--text", "team note"}));
  Ok({"link", "Team", "--connection", FileDetails(shared)});
  EXPECT_EQ(Ok({"cat", "Team/Inner/Note"}), "team note");
  EXPECT_EQ(FirstColumn(Ok({"ls", "team/inner"})), Ids{"P1C" + note});
  // A folder of the personal catalog with the linked folder's name: both are named.
  Ok({"mkdir", "1", "Team"});
  const std::string error = Fails({"ls", "Team/Inner"});
  EXPECT_NE(error.find("\"Team\" names more than one item"), npos) << error;
  EXPECT_NE(error.find("folder P1C1"), npos) << error;
}

TEST_F(PathsAndContent, CatGivesTheBestItemAndTypeGivesAnyItemByteForByte) {
  const std::string rtf = "{\\rtf1\\ansi {\\fonttbl{\\f0 Arial;}}Dear \\b Sir\\b0 ,\\par Yours}";
  const std::string letter = Trim(Ok({"add", "Mail", "Letter", "--type", "1", "--text", rtf}));
  EXPECT_EQ(Ok({"cat", letter}), "Dear Sir,\nYours");
  EXPECT_EQ(Ok({"cat", letter, "--type", "rtf"}), rtf);
  EXPECT_EQ(Ok({"cat", letter, "--type", "1"}), rtf);
  EXPECT_EQ(Fails({"cat", letter, "--type", "text"}),
            "error: clipping " + letter + " has no text item (it has rtf) (error 5, clipcat)\n");
  EXPECT_NE(Fails({"cat", letter, "--type", "pdf"}).find("\"pdf\" is not a data type"), npos);
  // cat is not a use; show is.
  EXPECT_EQ(Ok({"history"}).find(letter), npos);
}

TEST_F(PathsAndContent, CopyHandsTheTextToTheDesktopToolAndCountsAUse) {
  // A stand-in xclip that keeps what it is given.
  const std::string bin = (dir_ / "bin").string();
  const std::string kept = (dir_ / "clipboard").string();
  ASSERT_EQ(mkdir(bin.c_str(), 0755), 0);
  WriteFile(bin + "/xclip", "#!/bin/sh\ncat > " + Quote(kept) + "\n");
  ASSERT_EQ(chmod((bin + "/xclip").c_str(), 0755), 0);
  const std::string path = bin + ":/usr/bin:/bin";
  Result copied = Run({"--catalog", catalog_, "copy", "Mail/Replies/Signature"}, "",
                      {{"PATH", path}, {"DISPLAY", ":9"}});
  EXPECT_EQ(copied.status, 0) << copied.err;
  EXPECT_EQ(copied.out, "copied 14 bytes of text with xclip\n");
  EXPECT_EQ(ReadFile(kept), "Regards,\r\nAnn\n");
  EXPECT_EQ(FirstColumn(Ok({"history"})), Ids{signature_});

  // Without a desktop, or without a tool for it: said plainly.
  const Result no_display =
      Run({"--catalog", catalog_, "copy", signature_}, "", {{"PATH", path}, {"DISPLAY", ""}});
  EXPECT_EQ(no_display.status, 1);
  EXPECT_NE(no_display.err.find("there is no desktop to copy to"), npos) << no_display.err;
  const Result no_tool = Run({"--catalog", catalog_, "copy", signature_}, "",
                             {{"PATH", "/nonexistent"}, {"DISPLAY", ""}, {"WAYLAND_DISPLAY", "w"}});
  EXPECT_EQ(no_tool.status, 1);
  EXPECT_NE(no_tool.err.find("install wl-clipboard"), npos) << no_tool.err;
}

}  // namespace
