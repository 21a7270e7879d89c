// The completion scripts and the man page the build writes from clipcat's own command line: they
// offer and describe every command and option its help lists, and `cmake --install` puts them
// where bash, zsh, fish and man look.
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

const fs::path kGenerated = CLIPCAT_GENERATED_DIR;

// The first words of the two-space indented lines under `heading` in a help text.
std::vector<std::string> Listed(const std::string& help, const std::string& heading) {
  std::vector<std::string> names;
  std::istringstream lines(help);
  bool in_block = false;
  for (std::string line; std::getline(lines, line);) {
    if (line == heading) {
      in_block = true;
    } else if (line.rfind("  ", 0) != 0) {
      in_block = false;
    } else if (in_block && line.rfind("   ", 0) != 0) {
      names.push_back(line.substr(2, line.find(' ', 2) - 2));
    }
  }
  return names;
}

// "-f,--force" as its names.
std::vector<std::string> Names(const std::string& listed) {
  std::vector<std::string> names;
  std::istringstream parts(listed);
  for (std::string name; std::getline(parts, name, ',');) names.push_back(name);
  return names;
}

std::set<std::string> Words(const std::string& text) {
  std::istringstream in(text);
  std::set<std::string> words;
  for (std::string word; in >> word;) words.insert(word);
  return words;
}

// `text` with every run of blanks and line breaks as one space.
std::string Squeezed(const std::string& text) {
  return std::regex_replace(text, std::regex(R"(\s+)"), " ");
}

class Completion : public Cli {
 protected:
  // What the bash completion offers for the command line `line` (words split at spaces; a
  // trailing space starts a new, empty word), run in `cwd`.
  std::set<std::string> Offered(const std::string& line, const fs::path& cwd = {}) {
    std::vector<std::string> words;
    std::istringstream in(line);
    for (std::string word; in >> word;) words.push_back(word);
    if (line.back() == ' ') words.push_back("");
    std::string array;
    for (const std::string& word : words) array += " " + Quote(word);
    const std::string script =
        "source " + Quote((kGenerated / "clipcat.bash").string()) + " || exit 3\n" +
        (cwd.empty() ? "" : "cd " + Quote(cwd.string()) + "\n") + "COMP_WORDS=(" + array +
        ")\nCOMP_CWORD=" + std::to_string(words.size() - 1) +
        "\n_clipcat\nprintf '%s\\n' \"${COMPREPLY[@]}\"\n";
    WriteFile(dir_ / "complete.sh", script);
    const std::string out = (dir_ / "offered").string();
    const int raw =
        std::system(("bash --norc --noprofile " + Quote((dir_ / "complete.sh").string()) + " >" +
                     Quote(out) + " 2>&1")
                        .c_str());
    EXPECT_EQ(WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, 0) << ReadFile(out);
    return Words(ReadFile(out));
  }
};

TEST_F(Completion, BashOffersEveryCommandAndEachCommandsOptions) {
  const Result top = Run({"--help"});
  ASSERT_EQ(top.status, 0);
  const std::vector<std::string> commands = Listed(top.out, "Subcommands:");
  ASSERT_GT(commands.size(), 20u);
  const std::set<std::string> first = Offered("clipcat ");
  for (const std::string& command : commands) EXPECT_EQ(first.count(command), 1u) << command;
  EXPECT_EQ(first.count("help"), 1u);
  EXPECT_EQ(Offered("clipcat se"), (std::set<std::string>{"search", "serve"}));
  EXPECT_EQ(Offered("clipcat --catalog x.db tr"), (std::set<std::string>{"tree", "trash"}))
      << "a global option's value is not the command";

  const std::vector<std::string> global = Listed(top.out, "Options:");
  for (const std::string& command : commands) {
    if (command == "call") continue;  // what follows is the member's
    const std::set<std::string> offered = Offered("clipcat " + command + " -");
    for (const std::string& listed : Listed(Run({command, "--help"}).out, "Options:")) {
      for (const std::string& name : Names(listed)) {
        if (name == "-h" || name == "--help") continue;
        EXPECT_EQ(offered.count(name), 1u) << command << " " << name;
      }
    }
    for (const char* name : {"--json", "--tsv", "--quiet", "--catalog"}) {
      EXPECT_EQ(offered.count(name), 1u) << command << " " << name;
    }
  }
  EXPECT_EQ(Offered("clipcat rm --f"), (std::set<std::string>{"--force"}));
  EXPECT_EQ(Offered("clipcat trash e"), (std::set<std::string>{"empty"}));
  EXPECT_EQ(Offered("clipcat trash empty --o"), (std::set<std::string>{"--older-than"}));

  // File names where a file is taken; nothing made up for other values.
  fs::create_directories(dir_ / "files");
  WriteFile(dir_ / "files" / "catalog-export.xml", "");
  EXPECT_EQ(Offered("clipcat import cat", dir_ / "files"),
            (std::set<std::string>{"catalog-export.xml"}));
  EXPECT_EQ(Offered("clipcat --catalog cat", dir_ / "files"),
            (std::set<std::string>{"catalog-export.xml"}));
  EXPECT_EQ(Offered("clipcat add 1 Name --file cat", dir_ / "files"),
            (std::set<std::string>{"catalog-export.xml"}));
  EXPECT_TRUE(Offered("clipcat search --limit ").empty());
  // After a flag, which takes no value, the command's words again.
  EXPECT_EQ(Offered("clipcat search --json --names-").count("--names-only"), 1u);
  EXPECT_EQ(Offered("clipcat -q ").count("tree"), 1u);
}

TEST_F(Completion, ZshAndFishNameEveryCommandAndOption) {
  const std::string zsh = ReadFile(kGenerated / "_clipcat");
  const std::string fish = ReadFile(kGenerated / "clipcat.fish");
  EXPECT_EQ(zsh.rfind("#compdef clipcat\n", 0), 0u);
  const Result top = Run({"--help"});
  for (const std::string& command : Listed(top.out, "Subcommands:")) {
    EXPECT_NE(zsh.find("\n        '" + command + ":"), std::string::npos) << command;
    EXPECT_NE(fish.find("-n '__fish_use_subcommand' -a " + command + " -d "), std::string::npos)
        << command;
    if (command == "call") continue;
    for (const std::string& listed : Listed(Run({command, "--help"}).out, "Options:")) {
      for (const std::string& name : Names(listed)) {
        if (name == "-h" || name == "--help") continue;
        EXPECT_NE(zsh.find("'" + name + "["), std::string::npos) << command << " " << name;
        const std::string fish_name =
            name.rfind("--", 0) == 0 ? " -l " + name.substr(2) : " -s " + name.substr(1);
        EXPECT_NE(fish.find("__fish_seen_subcommand_from " + command), std::string::npos);
        EXPECT_NE(fish.find(fish_name), std::string::npos) << command << " " << name;
      }
    }
  }
  // A description's quote, bracket or colon cannot end the spec it sits in.
  EXPECT_NE(zsh.find("'help:Print the command list, or one command'\\''s help'"),
            std::string::npos);
  EXPECT_NE(zsh.find("--tsv[Print tables as a header line and tab-separated rows (\\\\t \\\\n "
                     "\\\\\\\\)]'"),
            std::string::npos);
  for (const char* shell : {"zsh", "fish"}) {
    if (std::system((std::string("command -v ") + shell + " >/dev/null 2>&1").c_str()) != 0) {
      continue;  // not installed here: the text checks above stand
    }
    const fs::path file = kGenerated / (std::string(shell) == "zsh" ? "_clipcat" : "clipcat.fish");
    EXPECT_EQ(std::system((std::string(shell) + " -n " + Quote(file.string())).c_str()), 0)
        << shell;
  }
  // fish can also be asked what it would offer.
  if (std::system("command -v fish >/dev/null 2>&1") == 0) {
    const fs::path offered = dir_ / "fish-offered";
    const std::string script = "source " + Quote((kGenerated / "clipcat.fish").string()) +
                               "; complete -C 'clipcat tr'; complete -C 'clipcat trash empty --o'";
    ASSERT_EQ(
        std::system(
            ("fish --no-config -c " + Quote(script) + " >" + Quote(offered.string())).c_str()),
        0);
    std::set<std::string> first_words;
    std::istringstream lines(ReadFile(offered));
    for (std::string line; std::getline(lines, line);) {
      first_words.insert(line.substr(0, line.find('\t')));
    }
    EXPECT_EQ(first_words, (std::set<std::string>{"tree", "trash", "--older-than"}));
  }
}

TEST_F(Completion, TheManPageRendersAndHoldsEveryCommandAndOption) {
  const std::string roff = ReadFile(kGenerated / "clipcat.1");
  EXPECT_EQ(roff.find(".TH CLIPCAT 1 "), roff.find('\n') + 1);
  const fs::path rendered = dir_ / "rendered", warnings = dir_ / "warnings";
  // -ww: every warning groff knows; a roff mistake in the page shows there.
  ASSERT_EQ(std::system(("groff -man -Tutf8 -ww " + Quote((kGenerated / "clipcat.1").string()) +
                         " >" + Quote(rendered.string()) + " 2>" + Quote(warnings.string()))
                            .c_str()),
            0);
  EXPECT_EQ(ReadFile(warnings), "");
  // The page's text without its bold and underline overstrikes and hyphenation.
  std::string text = std::regex_replace(ReadFile(rendered), std::regex(".\b"), "");
  text = std::regex_replace(text, std::regex(R"(\x1b\[[0-9;]*m)"), "");
  EXPECT_NE(text.find("clipcat - a catalog of named, reusable clippings"), std::string::npos);
  const Result top = Run({"--help"});
  for (const std::string& listed : Listed(top.out, "Options:")) {
    for (const std::string& name : Names(listed)) {
      if (name != "-h" && name != "--help") {
        EXPECT_NE(text.find(name), std::string::npos) << name;
      }
    }
  }
  for (const std::string& command : Listed(top.out, "Subcommands:")) {
    const Result help = Run({command, "--help"});
    const std::string description = help.out.substr(0, help.out.find('\n'));
    const size_t at = help.out.find("Usage: ");
    const std::string usage = help.out.substr(at + 7, help.out.find('\n', at) - at - 7);
    const size_t at_section = text.find("\n   " + command + "\n");
    ASSERT_NE(at_section, std::string::npos) << command;
    // The section up to the next command's, with lines filled and justified: compared with
    // runs of blanks as one space.
    std::smatch next;
    const std::string rest = text.substr(at_section + 1);
    std::regex_search(rest, next, std::regex("\n   [^ ]"));
    const std::string section = Squeezed(next.empty() ? rest : rest.substr(0, next.position(0)));
    EXPECT_NE(section.find(Squeezed(usage)), std::string::npos) << section;
    EXPECT_NE(section.find(Squeezed(description)), std::string::npos) << section;
    for (const std::string& listed : Listed(help.out, "Options:")) {
      for (const std::string& name : Names(listed)) {
        if (name != "-h" && name != "--help") {
          EXPECT_NE(section.find(name), std::string::npos) << command << " " << name;
        }
      }
    }
  }
  EXPECT_NE(text.find("EXIT STATUS"), std::string::npos);
}

TEST_F(Completion, InstallPutsTheFilesWhereTheShellsAndManLook) {
  const fs::path root = dir_ / "root";
  const std::string command =
      "DESTDIR=" + Quote(root.string()) + " cmake --install " + Quote(CLIPCAT_BUILD_DIR) +
      " --prefix /usr --component shell_files >" + Quote((dir_ / "install.log").string()) + " 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0) << ReadFile(dir_ / "install.log");
  for (const auto& [installed, generated] : std::vector<std::pair<std::string, std::string>>{
           {"usr/share/bash-completion/completions/clipcat", "clipcat.bash"},
           {"usr/share/zsh/site-functions/_clipcat", "_clipcat"},
           {"usr/share/fish/vendor_completions.d/clipcat.fish", "clipcat.fish"},
           {"usr/share/man/man1/clipcat.1", "clipcat.1"}}) {
    ASSERT_TRUE(fs::exists(root / installed)) << installed;
    EXPECT_EQ(ReadFile(root / installed), ReadFile(kGenerated / generated)) << installed;
  }
  // man finds the page in the installed tree.
  if (std::system("command -v man >/dev/null 2>&1") == 0) {
    const fs::path shown = dir_ / "man";
    const int raw = std::system(("MANPATH=" + Quote((root / "usr/share/man").string()) +
                                 " MANWIDTH=100 man clipcat >" + Quote(shown.string()) + " 2>&1")
                                    .c_str());
    EXPECT_EQ(raw, 0) << ReadFile(shown);
    EXPECT_NE(ReadFile(shown).find("SYNOPSIS"), std::string::npos) << ReadFile(shown);
  }
}

}  // namespace
