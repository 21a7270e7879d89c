// gateway: `clipcat serve` on a catalog of 10,000 clippings (2 KB RTF and 200-byte text each)
// under load from wrk at 32 connections: GET /api/clippings/{id} for random ids, and content
// search for words of the clippings. The server runs as its own process (the built command), so
// its memory is its own; wrk runs on the same two cores. Beside each rate: the in-process call
// through the read service, one thread, as the floor the HTTP path adds to.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

#include "scenario_common.h"
#include "scenarios.h"
#include "service/clipping_data_read.h"
#include "workload.h"

namespace clipcat_bench {
namespace {

constexpr int kConnections = 32;
constexpr int kSeconds = 5;

// The output of a shell command.
std::string Capture(const std::string& command) {
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  Require(pipe != nullptr, "run: " + command);
  char buffer[4096];
  size_t n = 0;
  while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
  pclose(pipe);
  return out;
}

// `clipcat serve` on the catalog at `path`, on a free port, until destroyed.
class Server {
 public:
  explicit Server(const std::string& path) : log_(path + ".serve.log") {
    pid_ = fork();
    Require(pid_ >= 0, "fork");
    if (pid_ == 0) {
      const int fd = open(log_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      dup2(fd, STDERR_FILENO);
      const int null = open("/dev/null", O_WRONLY);
      dup2(null, STDOUT_FILENO);
      execl(CLIPCAT_BINARY, CLIPCAT_BINARY, "--catalog", path.c_str(), "serve", "--listen",
            "127.0.0.1:0", static_cast<char*>(nullptr));
      _exit(127);
    }
    const std::regex listening(R"(listening on [^\n]*:(\d+) )");
    for (int i = 0; i < 200 && port_ == 0; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      std::ifstream in(log_);
      std::stringstream text;
      text << in.rdbuf();
      std::smatch match;
      const std::string seen = text.str();
      if (std::regex_search(seen, match, listening)) port_ = std::stoi(match[1].str());
    }
    Require(port_ != 0, "clipcat serve did not start");
  }
  ~Server() {
    kill(pid_, SIGTERM);
    int status = 0;
    waitpid(pid_, &status, 0);
  }

  int port() const { return port_; }
  // The server's peak resident memory so far, in MB.
  double PeakMB() const {
    std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
    std::string line;
    while (std::getline(status, line)) {
      if (line.rfind("VmHWM:", 0) == 0) return std::stod(line.substr(6)) / 1024.0;
    }
    return NAN;
  }

 private:
  std::string log_;
  pid_t pid_ = -1;
  int port_ = 0;
};

struct Load {
  double requests_per_second = 0;
  double p99_ms = NAN;
  long errors = 0;
};

double Milliseconds(const std::string& value, const std::string& unit) {
  const double number = std::stod(value);
  if (unit == "us") return number / 1000;
  if (unit == "s") return number * 1000;
  return number;
}

// wrk with the request script `lua` for kSeconds at kConnections connections.
Load RunWrk(int port, const std::string& lua) {
  const std::string out =
      Capture("wrk -t2 -c" + std::to_string(kConnections) + " -d" + std::to_string(kSeconds) +
              "s --latency -s " + lua + " http://127.0.0.1:" + std::to_string(port) + " 2>&1");
  Load load;
  std::smatch match;
  Require(std::regex_search(out, match, std::regex(R"(Requests/sec:\s+([\d.]+))")),
          "wrk's rate in: " + out);
  load.requests_per_second = std::stod(match[1].str());
  if (std::regex_search(out, match, std::regex(R"(99%\s+([\d.]+)(us|ms|s))"))) {
    load.p99_ms = Milliseconds(match[1].str(), match[2].str());
  }
  if (std::regex_search(out, match, std::regex(R"(Non-2xx or 3xx responses:\s+(\d+))"))) {
    load.errors = std::stol(match[1].str());
  }
  return load;
}

// A wrk script whose requests take `paths` in random order.
std::string WriteScript(const std::string& file, const std::vector<std::string>& paths) {
  std::ofstream out(file);
  out << "local paths = {\n";
  for (const std::string& path : paths) out << "  \"" << path << "\",\n";
  out << "}\nmath.randomseed(7)\n"
         "request = function()\n"
         "  return wrk.format(nil, paths[math.random(#paths)])\n"
         "end\n";
  return file;
}

}  // namespace

void RunGateway(const Options& options, Report& report) {
  Require(std::system("command -v wrk >/dev/null") == 0, "wrk is installed (scripts/install-deps)");
  TempDir dir;
  const std::string path = dir.File("gateway.catalog");
  NewCatalog(path);
  const int clippings = options.Scaled(10'000, 100);
  std::vector<int64_t> keys;
  std::set<std::string> words;
  {
    const std::vector<Content> contents = MakeContents(256, 2048, 200, 17);
    for (const Content& content : contents) {
      std::istringstream text(content.text);
      std::string word;
      while (text >> word && words.size() < 200) {
        if (word.size() >= 4 && std::isalpha(static_cast<unsigned char>(word[0]))) {
          words.insert(word);
        }
      }
    }
    CatalogFiller filler(path);
    keys = AddSpreadClippings(filler, contents, clippings);
    filler.Finish();
  }
  Require(
      std::system((std::string(CLIPCAT_BINARY) + " --catalog " + path + " reindex >/dev/null 2>&1")
                      .c_str()) == 0,
      "the content index is built");

  // The floor: the same reads in process, one thread.
  const auto details = FileDetails(path);
  clipcat::ClippingDataRead reader;
  std::mt19937 random(3);
  reader.GetClipping(std::to_string(keys[0]), details, true);
  const int calls = options.Scaled(10'000, 100);
  std::vector<double> call_us;
  for (int rep = 0; rep < options.reps; ++rep) {
    call_us.push_back(Seconds([&] {
                        for (int i = 0; i < calls; ++i) {
                          reader.GetClipping(std::to_string(keys[random() % keys.size()]), details,
                                             true);
                        }
                      }) *
                      1e6 / calls);
  }
  const double in_process_rate = 1e6 / Median(call_us);
  const std::vector<std::string> word_list(words.begin(), words.end());
  std::vector<double> search_us;
  for (int rep = 0; rep < options.reps; ++rep) {
    search_us.push_back(Seconds([&] {
                          for (const std::string& word : word_list) {
                            reader.FindContent(word, {}, details);
                          }
                        }) *
                        1e6 / static_cast<double>(word_list.size()));
  }
  const double in_process_search_rate = 1e6 / Median(search_us);

  std::vector<std::string> clipping_paths;
  for (int64_t key : keys) clipping_paths.push_back("/api/clippings/" + std::to_string(key));
  std::vector<std::string> search_paths;
  for (const std::string& word : words) search_paths.push_back("/api/search?q=" + word);

  Server server(path);
  const Load reads = RunWrk(server.port(), WriteScript(dir.File("read.lua"), clipping_paths));
  Require(reads.errors == 0, "every GET answered 200");
  const Load searches = RunWrk(server.port(), WriteScript(dir.File("search.lua"), search_paths));
  Require(searches.errors == 0, "every search answered 200");
  const double peak = server.PeakMB();

  const std::string load = std::to_string(kConnections) + " connections, " +
                           std::to_string(kSeconds) + " s, " + std::to_string(clippings) +
                           " clippings";
  report.AtLeast("GET /api/clippings/{id}, requests per second", "/s", reads.requests_per_second,
                 10'000, load);
  report.AtMost("GET /api/clippings/{id}, 99th percentile", "ms", reads.p99_ms, 10);
  report.Info("GET /api/clippings/{id} against GetClipping in process", "x",
              reads.requests_per_second / in_process_rate,
              "in process " + std::to_string(static_cast<long>(in_process_rate)) +
                  " calls/s on one thread");
  report.AtLeast("GET /api/search?q=WORD, requests per second", "/s", searches.requests_per_second,
                 500, std::to_string(search_paths.size()) + " words of the clippings");
  report.Info("GET /api/search, 99th percentile", "ms", searches.p99_ms);
  report.Info("GET /api/search against FindContent in process", "x",
              searches.requests_per_second / in_process_search_rate,
              "in process " + std::to_string(static_cast<long>(in_process_search_rate)) +
                  " searches/s on one thread (top 50 with snippets)");
  report.AtMost("clipcat serve, peak memory under load", "MB", peak, 100);
}

}  // namespace clipcat_bench
