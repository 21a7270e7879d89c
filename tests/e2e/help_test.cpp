// The help texts and docs/cli.md tell the same story: every command the command knows has a
// section there, with its one-line description, its usage line, its arguments and options, and
// the document describes no command that does not exist.
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

// The commands `clipcat --help` lists under "Subcommands:".
std::vector<std::string> ListedCommands(const std::string& help) {
  std::vector<std::string> commands;
  std::istringstream lines(help);
  std::string line;
  bool in_list = false;
  while (std::getline(lines, line)) {
    if (line == "Subcommands:") {
      in_list = true;
      continue;
    }
    if (!in_list) continue;
    if (line.rfind("  ", 0) != 0) break;
    commands.push_back(line.substr(2, line.find(' ', 2) - 2));
  }
  return commands;
}

// The document's section of `command`: from its "### command" heading to the next heading.
std::string Section(const std::string& doc, const std::string& command) {
  const std::string heading = "\n### " + command + "\n";
  const size_t start = doc.find(heading);
  if (start == std::string::npos) return "";
  const size_t end = doc.find("\n#", start + heading.size());
  return doc.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

// The words of a command's help that name its options ("--type") and arguments ("FOLDER").
std::vector<std::string> Names(const std::string& help) {
  std::vector<std::string> names;
  std::istringstream lines(help);
  std::string line, section;
  while (std::getline(lines, line)) {
    if (line == "Positionals:" || line == "Options:") {
      section = line;
      continue;
    }
    if (line.empty()) section.clear();
    if (section.empty() || line.rfind("  ", 0) != 0 || line.rfind("   ", 0) == 0) continue;
    std::string name = line.substr(2, line.find(' ', 2) - 2);
    if (name == "-h,--help") continue;
    names.push_back(name);
  }
  return names;
}

TEST_F(Cli, HelpAndTheCommandLineDocumentAgree) {
  const std::string doc = ReadFile(CLIPCAT_CLI_DOC);
  ASSERT_FALSE(doc.empty());
  const Result top = Run({"--help"});
  ASSERT_EQ(top.status, 0);
  const std::vector<std::string> commands = ListedCommands(top.out);
  ASSERT_GE(commands.size(), 19u) << top.out;
  std::set<std::string> listed(commands.begin(), commands.end());
  for (const char* expected :
       {"call",       "init",    "tour", "tree",   "ls",     "show",  "add",
        "mkdir",      "rename",  "mv",   "rm",     "search", "tag",   "untag",
        "categories", "history", "link", "unlink", "export", "import"}) {
    EXPECT_EQ(listed.count(expected), 1u) << expected;
  }

  for (const std::string& command : commands) {
    const std::string section = Section(doc, command);
    ASSERT_FALSE(section.empty()) << "docs/cli.md has no section \"### " << command << "\"";
    const Result help = Run({command, "--help"});
    ASSERT_EQ(help.status, 0) << command;
    const std::string description = help.out.substr(0, help.out.find('\n'));
    EXPECT_NE(section.find("\n" + description + "\n"), std::string::npos)
        << command << ": the description \"" << description << "\" is not in its section";
    const size_t usage = help.out.find("Usage: ");
    ASSERT_NE(usage, std::string::npos) << command;
    const std::string usage_line = help.out.substr(usage, help.out.find('\n', usage) - usage);
    // call's arguments are its member's, which the help cannot list: its form stands in the
    // description instead, and the section gives the fixed form.
    const std::string expected_usage =
        command == "call"
            ? "clipcat [--catalog PATH | --connection XML] call PROGID MEMBER [ARG ...]"
            : usage_line;
    EXPECT_NE(section.find("\n" + expected_usage + "\n"), std::string::npos)
        << command << ": \"" << expected_usage << "\" is not in its section";
    for (const std::string& name : Names(help.out)) {
      EXPECT_NE(section.find(name), std::string::npos)
          << command << ": " << name << " is not documented";
    }
  }

  // Every section of the everyday commands is a command that exists.
  for (size_t at = doc.find("\n### "); at != std::string::npos; at = doc.find("\n### ", at + 1)) {
    const std::string heading = doc.substr(at + 5, doc.find('\n', at + 5) - at - 5);
    EXPECT_EQ(listed.count(heading), 1u) << "docs/cli.md documents \"" << heading << "\"";
  }
  // The exit statuses and the error form that scripts rely on are stated in both.
  for (const std::string& text :
       {std::string("error NUMBER (SOURCE): DESCRIPTION"), std::string("64")}) {
    EXPECT_NE(top.out.find(text), std::string::npos) << text;
    EXPECT_NE(doc.find(text), std::string::npos) << text;
  }
}

}  // namespace
