// The fault walk of the clipcat command: each command that writes is run in-process, as its own
// process would run it (it opens the catalog itself), with the Nth SQLite call of one kind failing,
// for N = 1, 2, 3 ... until it exits 0. After each failure the command exited 1 with one line
// "error: DESCRIPTION (error NUMBER, SOURCE)" on standard error, and the walk's checks of a failed
// write hold (walk_driver.h): no transaction open, every table as before, the same command then
// succeeds.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/run_command_line.h"
#include "robustness/fault_walk/walk_catalog.h"
#include "robustness/fault_walk/walk_driver.h"
#include "robustness/robustness_support.h"
#include "service/connection_handler.h"
#include "util/errors.h"

namespace clipcat::robustness {
namespace {

// What one in-process run of the clipcat command did.
struct CommandRun {
  int status = 0;
  std::string out, err;
};

// Runs clipcat with `args`, its standard output and error captured.
CommandRun RunCommand(const std::vector<std::string>& args) {
  std::vector<std::string> words = {"clipcat"};
  words.insert(words.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  std::ostringstream out, err;
  std::streambuf* const real_out = std::cout.rdbuf(out.rdbuf());
  std::streambuf* const real_err = std::cerr.rdbuf(err.rdbuf());
  CommandRun run;
  try {
    run.status = cli::RunCommandLine(static_cast<int>(words.size()), argv.data());
  } catch (...) {
    std::cout.rdbuf(real_out);
    std::cerr.rdbuf(real_err);
    throw;
  }
  std::cout.rdbuf(real_out);
  std::cerr.rdbuf(real_err);
  run.out = out.str();
  run.err = err.str();
  return run;
}

// The command's failure as the error its one "error:" line reports ("error: DESCRIPTION (error
// NUMBER, SOURCE)"), so that the walk checks it as it checks a member's error. Raises
// std::runtime_error when the command failed otherwise: no such line, or more than one, or an
// exit status other than 1 (64 would blame the command line).
[[noreturn]] void RaiseCommandFailure(const CommandRun& run) {
  static const std::regex kErrorLine(R"(error: (.+) \(error ([^,]+), ([^)]+)\))");
  std::istringstream lines(run.err);
  std::vector<std::string> texts;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("error", 0) == 0) texts.push_back(line);
  }
  std::smatch match;
  if (run.status != 1 || texts.size() != 1 || !std::regex_match(texts[0], match, kErrorLine)) {
    throw std::runtime_error("exit " + std::to_string(run.status) +
                             " without one error line with a number and source: " + run.err);
  }
  int32_t number = 0;
  try {
    number = static_cast<int32_t>(std::stoll(match[2].str(), nullptr, 0));
  } catch (const std::exception&) {
    throw std::runtime_error("an error line whose number is not one: " + texts[0]);
  }
  throw AutomationError(number, match[3].str(), match[1].str());
}

// A write made by running clipcat on the catalog at `path` with `args`, which `arguments` makes
// from the walk's items. The command opens the catalog itself, as it does in its own process.
Write CommandWrite(const std::string& path,
                   std::function<std::vector<std::string>(const Items&)> arguments) {
  Write write;
  write.cold = true;
  write.prepare = [path, arguments](Catalog&, const Items& items) -> std::function<void()> {
    std::vector<std::string> args = {"--catalog", path};
    for (std::string& word : arguments(items)) args.push_back(std::move(word));
    return [args] {
      const CommandRun run = RunCommand(args);
      if (run.status != 0) RaiseCommandFailure(run);
    };
  };
  std::string name = "clipcat";
  for (const std::string& word : arguments(Items{"L", "O", "D", "N", "G", "R", "B", nullptr})) {
    name += " " + word;
  }
  write.name = name;
  return write;
}

// Every write of the clipcat command on the catalog at `path`; `document` is the catalog's own
// export, to import (every name taken, so every item renamed).
std::vector<Write> CommandWrites(const std::string& path, const std::string& document) {
  using A = std::vector<std::string>;
  const auto write = [&path](std::function<A(const Items&)> arguments) {
    return CommandWrite(path, std::move(arguments));
  };
  return {
      write([](const Items& i) {
        return A{"add", i.letters, "Fresh", "--text", "fresh"};
      }),
      write([](const Items& i) {
        return A{"mkdir", i.letters, "New"};
      }),
      write([](const Items& i) {
        return A{"rename", i.dear, "Dearest"};
      }),
      write([](const Items& i) {
        return A{"rename", i.letters, "Mail"};
      }),
      write([](const Items& i) {
        return A{"mv", i.old, i.letters};
      }),
      write([](const Items& i) {
        return A{"mv", i.note, i.letters};
      }),
      write([](const Items& i) {
        return A{"rm", i.note};
      }),
      write([](const Items& i) {
        return A{"rm", i.letters, "--force"};
      }),
      write([](const Items& i) {
        return A{"rm", i.dear, "--permanently"};
      }),
      write([](const Items& i) {
        return A{"restore", i.gone};
      }),
      write([](const Items&) {
        return A{"trash", "empty"};
      }),
      write([&document](const Items& i) {
        return A{"import", document, "--into", i.old, "--on-conflict", "rename"};
      }),
      write([](const Items& i) {
        return A{"tag", i.note, "Blue"};
      }),
      write([](const Items& i) {
        return A{"tag", i.note, i.dear, "Green"};
      }),
      write([](const Items& i) {
        return A{"untag", i.dear, "Red"};
      }),
      write([](const Items& i) {
        return A{"show", i.note};
      }),
      write([](const Items& i) {
        return A{"revert", i.dear, "1"};
      }),
      write([](const Items&) {
        return A{"versions", "--keep", "3"};
      }),
  };
}

// The command walk's catalog, with a document exported from it to import, and a data directory
// of its own so that no user's catalog or settings are touched.
class CommandWalk {
 public:
  CommandWalk() {
    home_ = std::make_unique<ScratchDir>();
    setenv("HOME", home_->File("").c_str(), 1);
    setenv("XDG_DATA_HOME", home_->File("data").c_str(), 1);
    setenv("XDG_CONFIG_HOME", home_->File("config").c_str(), 1);
    unsetenv("CLIPCAT_CATALOG");
    document_ = home_->File("letters.xml");
    const CommandRun exported = RunCommand({"--catalog", target_.path(), "export", document_});
    if (exported.status != 0) throw std::runtime_error("export failed: " + exported.err);
    ReleaseAccessManager();
  }
  FileWalkCatalog& target() { return target_; }
  std::vector<Write> writes() const { return CommandWrites(target_.path(), document_); }

 private:
  FileWalkCatalog target_;
  std::unique_ptr<ScratchDir> home_;
  std::string document_;
};

// Commands of each kind of work (an add, a move, tagging with a new category, a use) over every
// kind of I/O failure; the failing allocations, over a thousand per command since each opens the
// catalog, and the other commands are left to the complete walk.
TEST_F(FaultWalk, RepresentativeCommandsFailCleanlyAtEveryInjectedIoFault) {
  CommandWalk walk;
  const std::vector<Write> writes = walk.writes();
  WalkAll(walk.target(), writes, {writes[0].name, writes[5].name, writes[13].name, writes[15].name},
          {FaultKind::kRead, FaultKind::kWrite, FaultKind::kSync, FaultKind::kTruncate,
           FaultKind::kLock});
}

TEST_F(FaultWalk, EveryCommandFailsCleanlyAtEveryInjectedFault) {
  CommandWalk walk;
  WalkAll(walk.target(), walk.writes(), {});
}

}  // namespace
}  // namespace clipcat::robustness
