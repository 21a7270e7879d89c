#include "cli/command_reference.h"

#include <CLI/CLI.hpp>
#include <sstream>

namespace clipcat::cli {
namespace {

// Options and arguments whose value is a file: completed with file names.
bool NamesFile(const CLI::Option& option) {
  for (const std::string& name : option.get_lnames()) {
    if (name == "catalog" || name == "file") return true;
  }
  return option.get_positional() && option.get_name() == "FILE";
}

// The help's usage line of `command`, whose parents' names are `parents` ("" for the program).
std::string UsageLine(const CLI::App& command, const std::string& parents) {
  std::istringstream lines(command.help(parents));
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("Usage: ", 0) == 0) return line.substr(7);
  }
  return parents.empty() ? command.get_name() : parents + " " + command.get_name();
}

CommandReference Describe(const CLI::App& command, const std::string& parents) {
  CommandReference reference;
  reference.name = command.get_name();
  reference.description = command.get_description();
  reference.usage = UsageLine(command, parents);
  reference.footer = command.get_footer();
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_group().empty()) continue;
    OptionReference entry;
    entry.description = option->get_description();
    entry.file = NamesFile(*option);
    if (option->nonpositional()) {
      for (const std::string& name : option->get_snames()) entry.names.push_back("-" + name);
      for (const std::string& name : option->get_lnames()) entry.names.push_back("--" + name);
      if (entry.names == std::vector<std::string>{"-h", "--help"}) continue;
      entry.takes_value = option->get_expected_max() > 0;
      reference.options.push_back(entry);
    } else {
      entry.names.push_back(option->get_name());
      entry.takes_value = true;
      reference.arguments.push_back(entry);
    }
  }
  for (const CLI::App* sub : command.get_subcommands([](const CLI::App*) { return true; })) {
    reference.commands.push_back(
        Describe(*sub, parents.empty() ? command.get_name() : parents + " " + command.get_name()));
  }
  return reference;
}

}  // namespace

CommandReference DescribeCommandLine(const CLI::App& app) { return Describe(app, ""); }

}  // namespace clipcat::cli
