// What clipcat says about its own command line: `clipcat help [COMMAND]`, and "did you mean"
// after a usage error.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace clipcat::cli {

// The arguments that are not options of clipcat itself or their values: the command and what
// follows it ("clipcat --catalog x.db rm 3" gives rm, 3).
std::vector<std::string> CommandWords(int argc, char** argv);

// The line that follows a usage error: "did you mean "search"?" for the known command or option
// closest to the one mistyped in `words` (see ClosestName); "" when none is close.
std::string DidYouMean(const CLI::App& app, const std::vector<std::string>& words);

// `clipcat help [COMMAND]` (`words` begins with "help"): the command list, or one command's help,
// on standard output. For a command that does not exist, says so on standard error (with a "did
// you mean") and answers false.
bool PrintHelp(const CLI::App& app, const std::vector<std::string>& words);

}  // namespace clipcat::cli
