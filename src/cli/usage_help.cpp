#include "cli/usage_help.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

#include "cli/suggestions.h"

namespace clipcat::cli {
namespace {

// The options of clipcat itself that take a value in the next argument.
bool TakesValue(const std::string& arg) { return arg == "--catalog" || arg == "--connection"; }

std::vector<std::string> Names(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(command->get_name());
  }
  return names;
}

// "--name" and "-n" for every option of `app`.
void AddOptionNames(const CLI::App& app, std::vector<std::string>& names) {
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    for (const std::string& name : option->get_snames()) names.push_back("-" + name);
  }
}

}  // namespace

std::vector<std::string> CommandWords(int argc, char** argv) {
  std::vector<std::string> words;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (!words.empty()) {
      words.push_back(arg);
    } else if (TakesValue(arg)) {
      ++i;
    } else if (arg.empty() || arg[0] != '-') {
      words.push_back(arg);
    }
  }
  return words;
}

std::string DidYouMean(const CLI::App& app, const std::vector<std::string>& words) {
  if (words.empty()) return "";
  const CLI::App* command = nullptr;
  for (const CLI::App* candidate : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (candidate->get_name() == words.front()) command = candidate;
  }
  if (command == nullptr) {
    const std::string closest = ClosestName(words.front(), Names(app));
    return closest.empty() ? "" : "did you mean \"" + closest + "\"?";
  }
  std::vector<std::string> options;
  AddOptionNames(*command, options);
  AddOptionNames(app, options);
  for (size_t i = 1; i < words.size(); ++i) {
    const std::string typed = words[i].substr(0, words[i].find('='));
    if (typed.size() < 2 || typed[0] != '-' || typed == "--") continue;
    if (std::find(options.begin(), options.end(), typed) != options.end()) continue;
    const std::string closest = ClosestName(typed, options);
    if (!closest.empty()) return "did you mean \"" + closest + "\"?";
  }
  return "";
}

bool PrintHelp(const CLI::App& app, const std::vector<std::string>& words) {
  if (words.size() < 2) {
    std::cout << app.help();
    return true;
  }
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (command->get_name() == words[1]) {
      std::cout << command->help("clipcat");
      return true;
    }
  }
  std::cerr << "error: clipcat has no command \"" << words[1] << "\"\n";
  const std::string closest = ClosestName(words[1], Names(app));
  if (!closest.empty()) std::cerr << "did you mean \"" << closest << "\"?\n";
  return false;
}

}  // namespace clipcat::cli
