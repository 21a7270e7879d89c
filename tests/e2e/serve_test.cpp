// clipcat serve as people start it: the built binary on a temporary catalog answers over HTTP,
// and SIGTERM stops it cleanly with exit status 0, the request log on standard error.
#include <httplib.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "cli_fixture.h"
#include "support/postgres_test_server.h"

namespace {

using namespace clipcat_e2e;

class Serve : public Cli {
 protected:
  // Starts `clipcat serve` with `args` after the catalog options, standard error to a file.
  void Start(const Args& args) {
    Ok({"init"});
    err_ = dir_ / "serve.err";
    server_ = fork();
    ASSERT_GE(server_, 0);
    if (server_ == 0) {
      std::freopen(err_.c_str(), "w", stderr);
      std::vector<std::string> all = {CLIPCAT_BINARY, "--catalog", catalog_, "serve"};
      all.insert(all.end(), args.begin(), args.end());
      std::vector<char*> argv;
      for (auto& arg : all) argv.push_back(arg.data());
      argv.push_back(nullptr);
      execv(CLIPCAT_BINARY, argv.data());
      _exit(127);
    }
  }

  // Waits for the server to answer `path` (up to 30 s); answers the last result.
  httplib::Result WaitFor(httplib::Client& client, const std::string& path) {
    for (int attempt = 0; attempt < 300; ++attempt) {
      auto result = client.Get(path);
      if (result) return result;
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return client.Get(path);
  }

  // Sends `signal` and answers the exit status (-1 when it did not exit normally).
  int StopWith(int signal) {
    kill(server_, signal);
    int status = 0;
    waitpid(server_, &status, 0);
    server_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  void TearDown() override {
    if (server_ > 0) StopWith(SIGKILL);
    Cli::TearDown();
  }

  pid_t server_ = -1;
  fs::path err_;
};

TEST_F(Serve, AnswersAndStopsCleanlyOnSigterm) {
  const int port = clipcat::testing::PostgresTestServer::FreePort();
  ASSERT_GT(port, 0);
  Start({"--listen", "127.0.0.1:" + std::to_string(port)});
  httplib::Client client("127.0.0.1", port);
  const auto tree = WaitFor(client, "/api/folders");
  ASSERT_TRUE(tree) << ReadFile(err_);
  EXPECT_EQ(tree->status, 200);
  EXPECT_NE(tree->body.find("\"name\":\"catalog\""), std::string::npos) << tree->body;
  const auto added =
      client.Post("/api/clippings", R"({"folder": "1", "name": "Hello", "text": "over HTTP"})",
                  "application/json");
  ASSERT_TRUE(added);
  EXPECT_EQ(added->status, 201);

  EXPECT_EQ(StopWith(SIGTERM), 0);
  const std::string log = ReadFile(err_);
  EXPECT_NE(log.find("GET /api/folders 200"), std::string::npos) << log;
  EXPECT_NE(log.find("POST /api/clippings 201"), std::string::npos) << log;
  // What was added over HTTP is in the catalog the command line reads.
  EXPECT_NE(Ok({"ls", "1"}).find("Hello"), std::string::npos);
}

TEST_F(Serve, CtrlCStopsItCleanlyToo) {
  const int port = clipcat::testing::PostgresTestServer::FreePort();
  ASSERT_GT(port, 0);
  Start({"--listen", "127.0.0.1:" + std::to_string(port)});
  httplib::Client client("127.0.0.1", port);
  ASSERT_TRUE(WaitFor(client, "/")) << ReadFile(err_);
  EXPECT_EQ(StopWith(SIGINT), 0);
  EXPECT_NE(ReadFile(err_).find("stopped"), std::string::npos) << ReadFile(err_);
}

TEST_F(Serve, RefusesToServeOffLoopbackWithoutAToken) {
  Ok({"init"});
  const Result refused = Run({"--catalog", catalog_, "serve", "--listen", "0.0.0.0:0"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.err.find("--token-file"), std::string::npos) << refused.err;
  const Result bad = Run({"--catalog", catalog_, "serve", "--listen", "nowhere"});
  EXPECT_EQ(bad.status, 1);
  EXPECT_NE(bad.err.find("ADDR:PORT"), std::string::npos) << bad.err;
}

}  // namespace
