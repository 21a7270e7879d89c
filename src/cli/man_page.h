// The manual page clipcat(1), written from the command line's own description (see
// DescribeCommandLine), so that it says what `clipcat --help` and `clipcat help COMMAND` say.
#pragma once

#include <string>

#include "cli/command_reference.h"

namespace clipcat::cli {

// The page in man(7) roff: name, synopsis, the program's options, every command with its usage
// line, arguments and options, and the exit status. `version` goes in the page's footer.
std::string ManPage(const CommandReference& program, const std::string& version);

}  // namespace clipcat::cli
