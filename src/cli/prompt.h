// Questions the command asks a person at a terminal before it does something that cannot be
// taken back.
#pragma once

#include <string>

namespace clipcat::cli {

// Writes `question` and " [y/N] " to standard error and reads one line from standard input.
// True only for an answer of "y" or "yes" (in any case); an empty answer, anything else or the
// end of input is no.
bool Confirm(const std::string& question);

}  // namespace clipcat::cli
