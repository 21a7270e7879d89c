// A team catalog whose server stops and comes back: while it is away, commands that need it fail
// with one plain line, the tree says why it is offline and the personal catalog keeps working;
// once it is back the next command works without linking again; a write in flight at the stop
// is there whole or not at all. Runs against a throwaway server of this test process alone.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <iostream>
#include <string>
#include <thread>

#include "cli_fixture.h"
#include "support/postgres_test_server.h"
#include "support/silent_server.h"

namespace {

using namespace clipcat_e2e;

class ServerOutage : public Cli {
 protected:
  void SetUp() override {
    Cli::SetUp();
    CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
    server_ = server;
    const std::string database = server_->CreateDatabase();
    // A commit is written when it is reported (the throwaway server defers that for speed): an
    // immediate shutdown may lose only what was not yet reported.
    ASSERT_EQ(server_->Admin("ALTER DATABASE " + database + " SET synchronous_commit = on"), "");
    team_ = server_->Uri(database);
    const Result made = Run({"--catalog", team_, "init", "--name", "Team"});
    ASSERT_EQ(made.status, 0) << made.err;
    Ok({"init", "--name", "Personal"});
    Ok({"link", "Team", team_});
  }

  void TearDown() override {
    if (server_ != nullptr && stopped_) {
      EXPECT_EQ(server_->Restart(), "");
    }
    Cli::TearDown();
  }

  void StopServer(const std::string& mode) {
    ASSERT_EQ(server_->Stop(mode), "");
    stopped_ = true;
  }

  void RestartServer() {
    ASSERT_EQ(server_->Restart(), "");
    stopped_ = false;
  }

  static size_t Lines(const std::string& text) {
    size_t lines = 0;
    for (const char c : text) lines += c == '\n' ? 1 : 0;
    return lines;
  }

  ::clipcat::testing::PostgresTestServer* server_ = nullptr;
  std::string team_;
  bool stopped_ = false;
};

TEST_F(ServerOutage, CommandsFailPlainlyWhileTheServerIsAwayAndWorkOnceItIsBack) {
  Ok({"add", "Team", "Note", "--text", "shared words"});
  Ok({"add", "/", "Mine", "--text", "my words"});
  for (const std::string mode : {"fast", "immediate"}) {
    SCOPED_TRACE(mode);
    StopServer(mode);
    const std::string tree = Ok({"tree"});
    EXPECT_NE(tree.find("Team  ["), std::string::npos) << tree;
    EXPECT_NE(tree.find("(offline: no server at that address)"), std::string::npos) << tree;

    const std::string error = Fails({"cat", "Team/Note"});
    EXPECT_EQ(error.rfind("error: ", 0), 0u) << error;
    EXPECT_EQ(Lines(error), 1u) << error;
    EXPECT_EQ(Fails({"add", "Team", "Lost", "--text", "x"}).rfind("error: ", 0), 0u);

    // The personal catalog is not held up by the linked one.
    EXPECT_EQ(Ok({"cat", "Mine"}), "my words");
    Ok({"add", "/", "While away " + mode, "--text", "x"});

    RestartServer();
    EXPECT_EQ(Ok({"cat", "Team/Note"}), "shared words");
    EXPECT_EQ(Ok({"tree"}).find("offline"), std::string::npos);
    Ok({"add", "Team", "Back " + mode, "--text", "y"});
  }
  const std::string listed = Ok({"--tsv", "ls", "Team"});
  EXPECT_NE(listed.find("Back fast"), std::string::npos) << listed;
  EXPECT_NE(listed.find("Back immediate"), std::string::npos) << listed;
  EXPECT_EQ(listed.find("Lost"), std::string::npos) << listed;
}

TEST_F(ServerOutage, AnAddInFlightWhenTheServerStopsIsThereWholeOrNotAtAll) {
  // Adds run one after another in a child until the server goes; each success is noted.
  const std::string done = (dir_ / "done").string();
  const std::string content(20000, 'c');
  std::string loop =
      "i=0; while [ $i -lt 400 ]; do " +
      CommandLine({"--catalog", catalog_, "-q", "add", "Team", "NAME", "--text", content}, {}) +
      " >/dev/null 2>&1 || exit 0; echo $i >> " + Quote(done) + "; i=$((i+1)); done";
  loop.replace(loop.find("'NAME'"), 6, "\"n$i\"");
  const pid_t child = fork();
  if (child == 0) {
    execl("/bin/sh", "sh", "-c", loop.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  ASSERT_GT(child, 0);
  while (Lines(ReadFile(done)) < 20) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  StopServer("immediate");
  int status = 0;
  waitpid(child, &status, 0);
  RestartServer();

  const std::string reported = ReadFile(done);
  const size_t succeeded = Lines(reported);
  ASSERT_GE(succeeded, 20u);
  const std::string listed = Ok({"--tsv", "ls", "Team"});
  // Every add reported done is there with all of its content; at most the one in flight is
  // there without having been reported.
  size_t present = 0;
  for (size_t i = 0; i < succeeded + 1; ++i) {
    const Result got = Run({"--catalog", catalog_, "cat", "Team/n" + std::to_string(i)});
    if (got.status != 0) {
      EXPECT_EQ(i, succeeded) << "reported added but missing: n" << i << " " << got.err;
      continue;
    }
    ++present;
    EXPECT_EQ(got.out, content) << "n" << i;
  }
  EXPECT_GE(present, succeeded);
  std::cout << "[ figures  ] " << succeeded << " adds reported before the stop, " << present
            << " clippings there after the restart\n";
  EXPECT_EQ(Lines(listed), present + 1) << listed;  // the header line and one per clipping
}

TEST_F(ServerOutage, AnImportCutShortByAStoppedServerLeavesNothing) {
  // A directory of clippings, one file each, imported into the team catalog.
  const fs::path source = dir_ / "many";
  fs::create_directories(source);
  for (int i = 0; i < 1000; ++i) {
    WriteFile(source / ("c" + std::to_string(i) + ".txt"), std::string(2000, 'x'));
  }
  const pid_t child = fork();
  if (child == 0) {
    const std::string command =
        CommandLine({"--catalog", catalog_, "-q", "import", source.string(), "--into", "Team"},
                    {}) +
        " >/dev/null 2>&1";
    execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  ASSERT_GT(child, 0);
  // Stopped while the import's transaction is open and has written for a while.
  for (int tries = 0;; ++tries) {
    std::string writing;
    ASSERT_EQ(server_->Admin("SELECT count(*) FROM pg_stat_activity WHERE xact_start IS NOT NULL "
                             "AND application_name = 'clipcat' AND now() - xact_start > "
                             "interval '300 milliseconds'",
                             "postgres", false, &writing),
              "");
    if (writing != "0") break;
    ASSERT_LT(tries, 6000) << "the import never held a transaction open";
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  StopServer("immediate");
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << "the import failed";
  RestartServer();
  EXPECT_EQ(Ok({"--tsv", "ls", "Team"}), "ID\tNAME\tUPDATED\n") << "nothing of the import is left";
  // The same import then runs whole.
  Ok({"-q", "import", source.string(), "--into", "Team"});
  EXPECT_EQ(Lines(Ok({"--tsv", "ls", "Team"})), 1001u);
}

TEST_F(ServerOutage, ASilentServerCostsATreeOneWaitAndLinkChecksWhatItStores) {
  ::clipcat::testing::SilentServer silent;
  ASSERT_NE(silent.port(), 0);
  // link refuses what it cannot reach, and stores it when told to.
  const std::string error = Fails({"link", "Hung", silent.Uri("hung")});
  EXPECT_NE(error.find("does not answer"), std::string::npos) << error;
  EXPECT_EQ(Lines(error), 1u) << error;
  EXPECT_EQ(Ok({"tree"}).find("Hung"), std::string::npos);
  Ok({"link", "Hung", silent.Uri("hung"), "--offline"});
  Ok({"link", "Hung too", silent.Uri("hung2"), "--offline"});
  const int before = silent.accepted();

  const std::string tree = Ok({"tree"});
  EXPECT_NE(tree.find("Hung  ["), std::string::npos) << tree;
  EXPECT_NE(tree.find("(offline: the server does not answer)"), std::string::npos) << tree;
  EXPECT_NE(tree.find("Team  ["), std::string::npos) << tree;
  // Each silent catalog is tried once for the whole command (the host's network probe, then the
  // connection that waits): the listing after the probes does not try again.
  EXPECT_EQ(silent.accepted() - before, 4);
}

}  // namespace
