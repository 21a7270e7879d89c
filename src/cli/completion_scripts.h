// Shell completion scripts for clipcat, written from the command line's own description (see
// DescribeCommandLine), so that they offer exactly the commands and options the parser takes.
#pragma once

#include <string>

#include "cli/command_reference.h"

namespace clipcat::cli {

// A bash script that defines the function _clipcat and registers it with `complete` for
// clipcat; it needs nothing of the bash-completion package.
std::string BashCompletion(const CommandReference& program);

// A zsh completion function file (#compdef clipcat) for a directory on $fpath, as _clipcat.
std::string ZshCompletion(const CommandReference& program);

// A fish completion file, as clipcat.fish in a vendor_completions.d directory.
std::string FishCompletion(const CommandReference& program);

}  // namespace clipcat::cli
