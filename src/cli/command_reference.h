// The command line as data, read from the parser's own declarations: what the completion scripts
// and the man page are written from, so that they say what `clipcat --help` says.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace clipcat::cli {

struct OptionReference {
  std::vector<std::string> names;  // "-q", "--quiet"; for an argument its name, "FOLDER"
  std::string description;
  bool takes_value = false;  // an option followed by a value (arguments always are one)
  bool file = false;         // the value names a file
};

struct CommandReference {
  std::string name;         // "clipcat" for the program itself
  std::string description;  // the help's first line
  std::string usage;        // "clipcat ls [OPTIONS] FOLDER"
  std::vector<OptionReference> arguments;
  std::vector<OptionReference> options;  // --help left out
  std::vector<CommandReference> commands;
  std::string footer;  // what the help prints after the options
};

// The program `app` and its commands (and theirs), in the order the help lists them; hidden
// options (an empty group) are left out.
CommandReference DescribeCommandLine(const CLI::App& app);

}  // namespace clipcat::cli
