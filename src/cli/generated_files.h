// What the build writes from the command line's own description and `cmake --install` puts in
// place: the completion scripts and the man page (`clipcat --generate KIND`).
#pragma once

#include <iosfwd>
#include <string>

namespace CLI {
class App;
}  // namespace CLI

namespace clipcat::cli {

// Writes the file `kind` names for `app` to `out`: completion-bash, completion-zsh,
// completion-fish or man. Answers false, writing a line to standard error, for another kind.
bool WriteGenerated(const CLI::App& app, const std::string& kind, const std::string& version,
                    std::ostream& out);

}  // namespace clipcat::cli
