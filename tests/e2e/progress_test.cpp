// The progress bar of long commands: drawn on standard error only when that is a terminal and
// the work has run past the delay; never seen by scripts whose standard error is a file or pipe.
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

class Progress : public Cli {
 protected:
  void SetUp() override {
    Cli::SetUp();
    Ok({"init", "--name", "Personal"});
    for (int i = 0; i < 3; ++i) {
      const std::string folder = Trim(Ok({"mkdir", "1", "Folder " + std::to_string(i)}));
      Ok({"add", folder, "Clipping " + std::to_string(i), "--text", "content"});
    }
    document_ = (dir_ / "export.xml").string();
    Ok({"export", document_});
  }

  // Runs clipcat through a shell with standard error on a new terminal and standard output in a
  // file; answers what appeared on the terminal and sets `status`.
  std::string OnTerminal(const std::vector<std::string>& args,
                         const std::map<std::string, std::string>& env, int& status) {
    const std::string command =
        CommandLine(args, env) + " >" + Quote((dir_ / "out").string()) + " </dev/null";
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
    for (;;) {
      const ssize_t n = read(terminal, buffer, sizeof buffer);
      if (n <= 0) break;  // EIO once the child has closed the terminal
      seen.append(buffer, static_cast<size_t>(n));
    }
    close(terminal);
    int raw = 0;
    waitpid(child, &raw, 0);
    status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return seen;
  }

  std::string document_;
};

TEST_F(Progress, AppearsOnATerminalOnceTheDelayHasPassed) {
  int status = -1;
  const std::string fresh = (dir_ / "fresh.db").string();
  OkOn(fresh, {"init"});
  std::string seen = OnTerminal({"--catalog", catalog_, "export", (dir_ / "again.xml").string()},
                                {{"CLIPCAT_PROGRESS_DELAY", "0"}}, status);
  EXPECT_EQ(status, 0) << seen;
  EXPECT_NE(seen.find("\rexport ["), std::string::npos) << seen;
  EXPECT_NE(seen.find("100% 4/4"), std::string::npos) << seen;  // a step per folder
  seen = OnTerminal({"--catalog", fresh, "import", document_}, {{"CLIPCAT_PROGRESS_DELAY", "0"}},
                    status);
  EXPECT_EQ(status, 0) << seen;
  EXPECT_NE(seen.find("\rimport ["), std::string::npos) << seen;
  EXPECT_NE(seen.find("100% 7/7"), std::string::npos) << seen;  // and per clipping
}

TEST_F(Progress, StaysAwayBeforeTheDelayAndWithoutATerminal) {
  int status = -1;
  const std::string seen = OnTerminal({"--catalog", catalog_, "export", document_},
                                      {{"CLIPCAT_PROGRESS_DELAY", "3600"}}, status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(seen, "") << "nothing on the terminal before the delay";
  // Standard error in a file: nothing there either, whatever the delay.
  for (const char* text : {"0", "", "not a number"}) {
    const std::string delay = text;
    const std::map<std::string, std::string> env = {{"CLIPCAT_PROGRESS_DELAY", delay}};
    const std::string fresh = (dir_ / ("fresh" + std::to_string(delay.size()) + ".db")).string();
    OkOn(fresh, {"init"});
    const std::string moving = Trim(Ok({"mkdir", "1", "Moving " + std::to_string(delay.size())}));
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"--catalog", catalog_, "export", (dir_ / "again.xml").string()},
             {"--catalog", catalog_, "export"},
             {"--catalog", fresh, "import", document_},
             {"--catalog", catalog_, "mv", moving, "2"}}) {
      const Result r = Run(args, "", env);
      EXPECT_EQ(r.status, 0) << r.err;
      EXPECT_EQ(r.err, "") << args[2] << " with delay \"" << delay << "\"";
      EXPECT_EQ(r.out.find('\r'), std::string::npos);
    }
  }
}

}  // namespace
