#include "cli/generated_files.h"

#include <iostream>

#include "cli/command_reference.h"
#include "cli/completion_scripts.h"
#include "cli/man_page.h"

namespace clipcat::cli {

bool WriteGenerated(const CLI::App& app, const std::string& kind, const std::string& version,
                    std::ostream& out) {
  const CommandReference program = DescribeCommandLine(app);
  if (kind == "completion-bash") {
    out << BashCompletion(program);
  } else if (kind == "completion-zsh") {
    out << ZshCompletion(program);
  } else if (kind == "completion-fish") {
    out << FishCompletion(program);
  } else if (kind == "man") {
    out << ManPage(program, version);
  } else {
    std::cerr << "error: --generate takes completion-bash, completion-zsh, completion-fish or "
                 "man\n";
    return false;
  }
  return true;
}

}  // namespace clipcat::cli
