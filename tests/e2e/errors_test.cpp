// Errors people understand: one line, a plain sentence first and the number and source after it;
// ids that name nothing or are no ids named in the sentence; "did you mean" for a mistyped
// command or option; the command list for bare clipcat and clipcat help.
#include <string>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

constexpr size_t npos = std::string::npos;

TEST_F(Cli, ErrorsAreOnePlainLineWithTheNumberAfterIt) {
  Ok({"init", "--name", "Personal"});
  const std::string letters = Trim(Ok({"mkdir", "1", "Letters"}));
  const std::string greeting = Trim(Ok({"add", letters, "Greeting", "--text", "x"}));
  const std::string no_folder = "error: no folder has the id 9999 (error 5, clipcat)\n";
  EXPECT_EQ(Fails({"ls", "9999"}), no_folder);
  EXPECT_EQ(Fails({"add", "9999", "X", "--text", "x"}), no_folder);
  EXPECT_EQ(Fails({"mkdir", "9999", "X"}), no_folder);
  EXPECT_EQ(Fails({"search", "x", "--folder", "9999"}), no_folder);
  // What is not an id is a path, and a path that names nothing says which part is missing.
  EXPECT_EQ(Fails({"search", "x", "--folder", "Mail"}),
            "error: no folder \"Mail\" (error 5, clipcat)\n");
  EXPECT_EQ(Fails({"show", "Signature"}), "error: no clipping \"Signature\" (error 5, clipcat)\n");
  EXPECT_EQ(Fails({"ls", "P1/Mail"}), "error: no folder \"P1\" (error 5, clipcat)\n");
  EXPECT_EQ(Fails({"show", "9999"}),
            "error: no clipping or folder has the id 9999 (error 5, clipcat)\n");
  // The component's own numbers show as 507 ... 512.
  EXPECT_EQ(Fails({"add", letters, "greeting", "--text", "y"}).rfind("error: The name", 0), 0u);
  const std::string other = Trim(Ok({"add", letters, "Other", "--text", "y"}));
  EXPECT_NE(Fails({"rename", other, "GREETING"}).find("(error 508, Data Services)\n"), npos);
  // Engine messages in plain words, only their first line.
  const std::string text = (dir_ / "text.db").string();
  WriteFile(text, std::string(4096, 'x'));
  EXPECT_EQ(Run({"--catalog", text, "ls", "1"}).err,
            "error: the file is not a clipcat catalog (error -2147467259, SQLite)\n")
      << "a file that is no catalog is not a missing folder";
  EXPECT_EQ(Run({"--catalog", text, "tree"}).err,
            "error: the file is not a clipcat catalog (error -2147467259, SQLite)\n");
  for (const Args& args : {Args{"ls", "9999"}, Args{"show", "x"}, Args{"show", "9999"}}) {
    const std::string err = Fails(args);
    EXPECT_EQ(err.find('\n'), err.size() - 1) << "one line: " << err;
    EXPECT_EQ(err.find("Type mismatch"), npos) << err;
    EXPECT_EQ(err.find("Object variable"), npos) << err;
  }
}

TEST_F(Cli, MistypedCommandsAndOptionsGetTheClosestNameAndHelpListsTheCommands) {
  Ok({"init", "--name", "Personal"});
  Result r = Run({"--catalog", catalog_, "serach", "mail"});
  EXPECT_EQ(r.status, 64);
  EXPECT_EQ(r.err.rfind("error: clipcat has no command \"serach\"\ndid you mean \"search\"?\n", 0),
            0u)
      << r.err;
  r = Run({"--catalog", catalog_, "rm", "2", "--forse"});
  EXPECT_EQ(r.status, 64);
  EXPECT_NE(r.err.find("\ndid you mean \"--force\"?\n"), npos) << r.err;
  r = Run({"tre"});
  EXPECT_NE(r.err.find("did you mean \"tree\"?"), npos) << r.err;
  r = Run({"--catalog", catalog_, "search", "x", "--nams-only"});
  EXPECT_NE(r.err.find("did you mean \"--names-only\"?"), npos) << r.err;
  r = Run({"xyzzy"});
  EXPECT_EQ(r.status, 64);
  EXPECT_EQ(r.err.find("did you mean"), npos) << "nothing is close to xyzzy: " << r.err;

  const Result help = Run({"help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out, Run({"--help"}).out);
  EXPECT_NE(help.out.find("\n  search "), npos);
  const Result one = Run({"help", "rm"});
  EXPECT_EQ(one.status, 0);
  EXPECT_EQ(one.out, Run({"rm", "--help"}).out);
  EXPECT_EQ(Run({"help", "serach"}).status, 64);
  const Result bare = Run({});
  EXPECT_EQ(bare.status, 64);
  EXPECT_EQ(bare.out, "");
  EXPECT_NE(bare.err.find("\n  search "), npos) << bare.err;
}

}  // namespace
