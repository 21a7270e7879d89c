// The progress bar of long commands: drawn on standard error only when that is a terminal and
// the work has run past the delay; never seen by scripts whose standard error is a file or pipe.
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <regex>
#include <string>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

class Progress : public Cli {
 protected:
  void SetUp() override {
    Cli::SetUp();
    Ok({"init", "--name", "Personal"});
    for (const std::string n : {"0", "1", "2"}) {
      Ok({"add", Trim(Ok({"mkdir", "1", "Folder " + n})), "Clipping " + n, "--text", "x"});
    }
    document_ = (dir_ / "export.xml").string();
    Ok({"export", document_});
    fresh_ = (dir_ / "fresh.db").string();
    OkOn(fresh_, {"init"});
  }

  // Runs clipcat with standard error on a new terminal and standard output in a file, the
  // progress delay set to `delay`; answers what appeared on the terminal.
  std::string OnTerminal(const Args& args, const std::string& delay) {
    const std::string command = CommandLine(args, {{"CLIPCAT_PROGRESS_DELAY", delay}}) + " >" +
                                Quote((dir_ / "out").string()) + " </dev/null";
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
      execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    std::string seen;
    if (child < 0) {
      ADD_FAILURE() << "forkpty failed";
      return seen;
    }
    char buffer[4096];
    // read fails with EIO once the child has closed the terminal.
    for (ssize_t n; (n = read(terminal, buffer, sizeof buffer)) > 0;) seen.append(buffer, n);
    close(terminal);
    int raw = 0;
    waitpid(child, &raw, 0);
    EXPECT_TRUE(WIFEXITED(raw) && WEXITSTATUS(raw) == 0) << seen;
    return seen;
  }

  std::string document_, fresh_;
};

TEST_F(Progress, AppearsOnlyOnATerminalOnceTheDelayHasPassed) {
  const Args again = {"--catalog", catalog_, "export", (dir_ / "again.xml").string()};
  EXPECT_EQ(OnTerminal(again, "3600"), "") << "nothing before the delay";
  std::string seen = OnTerminal(again, "0");
  EXPECT_NE(seen.find("\rexport ["), std::string::npos) << seen;
  EXPECT_NE(seen.find("100% 4/4"), std::string::npos) << seen;  // a step per folder
  seen = OnTerminal({"--catalog", fresh_, "import", document_}, "0");
  EXPECT_NE(seen.find("\rimport ["), std::string::npos) << seen;
  EXPECT_NE(seen.find("100% 7/7"), std::string::npos) << seen;  // and per clipping
  // The rate follows the count: a number of items per second, never a negative or empty one.
  static const std::regex rate(R"(100% 7/7 [0-9]+ items/s)");
  EXPECT_TRUE(std::regex_search(seen, rate)) << seen;

  // Standard error in a file: nothing there, whatever the delay.
  for (const std::string delay : {"0", "", "not a number"}) {
    const std::string other = (dir_ / (std::to_string(delay.size()) + ".db")).string();
    OkOn(other, {"init"});
    const std::string moving = Trim(Ok({"mkdir", "1", "Moving " + std::to_string(delay.size())}));
    for (const Args& args : {again, Args{"--catalog", catalog_, "export"},
                             Args{"--catalog", other, "import", document_},
                             Args{"--catalog", catalog_, "mv", moving, "2"}}) {
      const Result r = Run(args, "", {{"CLIPCAT_PROGRESS_DELAY", delay}});
      EXPECT_EQ(r.status, 0) << r.err;
      EXPECT_EQ(r.err, "") << args[2] << " with delay \"" << delay << "\"";
      EXPECT_EQ(r.out.find('\r'), std::string::npos);
    }
  }
}

}  // namespace
