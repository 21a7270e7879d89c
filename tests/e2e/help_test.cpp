// The help texts and docs/cli.md tell the same story: every command has a section there with its
// description, usage line, arguments and options, and the document describes no other command.
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

// The first words of the two-space indented lines in the `heading` blocks of a help text: the
// commands under "Subcommands:", or the names under "Positionals:" and "Options:".
std::vector<std::string> Listed(const std::string& help, const std::set<std::string>& headings) {
  std::vector<std::string> names;
  std::istringstream lines(help);
  bool in_block = false;
  for (std::string line; std::getline(lines, line);) {
    if (headings.count(line) > 0) {
      in_block = true;
    } else if (line.rfind("  ", 0) != 0) {
      in_block = false;
    } else if (in_block && line.rfind("   ", 0) != 0) {
      const std::string name = line.substr(2, line.find(' ', 2) - 2);
      if (name != "-h,--help") names.push_back(name);
    }
  }
  return names;
}

TEST_F(Cli, HelpAndTheCommandLineDocumentAgree) {
  const std::string doc = ReadFile(CLIPCAT_CLI_DOC);
  const Result top = Run({"--help"});
  ASSERT_EQ(top.status, 0);
  const std::vector<std::string> commands = Listed(top.out, {"Subcommands:"});
  const std::set<std::string> listed(commands.begin(), commands.end());
  for (const char* expected :
       {"call",    "init", "tour",   "tree",   "ls",      "show", "add",   "mkdir",
        "rename",  "mv",   "rm",     "search", "reindex", "tag",  "untag", "categories",
        "history", "link", "unlink", "export", "import",  "serve"}) {
    EXPECT_EQ(listed.count(expected), 1u) << expected;
  }
  for (const std::string& command : commands) {
    const size_t start = doc.find("\n### " + command + "\n");
    ASSERT_NE(start, std::string::npos) << "docs/cli.md has no section for " << command;
    const std::string section = doc.substr(start, doc.find("\n#", start + 5) - start);
    const Result help = Run({command, "--help"});
    ASSERT_EQ(help.status, 0) << command;
    const std::string description = help.out.substr(0, help.out.find('\n'));
    EXPECT_NE(section.find("\n" + description + "\n"), std::string::npos) << description;
    const size_t at = help.out.find("Usage: ");
    // call's arguments are its member's, which the help cannot list; the section gives the form.
    const std::string usage =
        command == "call"
            ? "clipcat [--catalog PATH | --connection XML] call PROGID MEMBER [ARG ...]"
            : help.out.substr(at, help.out.find('\n', at) - at);
    EXPECT_NE(section.find("\n" + usage + "\n"), std::string::npos) << usage;
    for (const std::string& name : Listed(help.out, {"Positionals:", "Options:"})) {
      EXPECT_NE(section.find(name), std::string::npos) << command << ": " << name;
    }
  }
  for (size_t at = doc.find("\n### "); at != std::string::npos; at = doc.find("\n### ", at + 1)) {
    EXPECT_EQ(listed.count(doc.substr(at + 5, doc.find('\n', at + 5) - at - 5)), 1u) << at;
  }
  // The error form and the usage exit status that scripts rely on are stated in both.
  for (const char* text : {"error: DESCRIPTION (error NUMBER, SOURCE)", "64"}) {
    EXPECT_NE(top.out.find(text), std::string::npos) << text;
    EXPECT_NE(doc.find(text), std::string::npos) << text;
  }
}

}  // namespace
