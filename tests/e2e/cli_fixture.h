// The fixture of the end-to-end tests: runs the built clipcat command on a temporary catalog,
// with a private data directory so that no user's catalog is ever touched, and collects its exit
// status and both output streams.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace clipcat_e2e {

namespace fs = std::filesystem;

struct Result {
  int status = -1;
  std::string out;
  std::string err;
};

inline std::string Quote(const std::string& arg) {
  std::string quoted = "'";
  for (char c : arg) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

inline std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

inline void WriteFile(const fs::path& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

// An export with its ids replaced by their places in the order of first appearance: ids differ
// from catalog to catalog, everything else of an export of the same catalog must not.
inline std::string WithoutIds(const std::string& document) {
  static const std::regex id_attribute(R"re(( id| clipping)="([^"]*)")re");
  std::map<std::string, int> numbers;
  std::string out;
  auto last = document.cbegin();
  for (std::sregex_iterator it(document.begin(), document.end(), id_attribute), end; it != end;
       ++it) {
    const auto& match = *it;
    out.append(last, match[0].first);
    const auto [entry, added] =
        numbers.emplace(match[2].str(), static_cast<int>(numbers.size()) + 1);
    out += match[1].str() + "=\"#" + std::to_string(entry->second) + "\"";
    last = match[0].second;
  }
  out.append(last, document.cend());
  return out;
}

class Cli : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "clipcat-e2e-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    dir_ = pattern;
    catalog_ = (dir_ / "catalog.db").string();
  }
  void TearDown() override { fs::remove_all(dir_); }

  // The command line that runs clipcat with `args`, with `env` set (and $CLIPCAT_CATALOG unset),
  // without redirections.
  std::string CommandLine(const std::vector<std::string>& args,
                          const std::map<std::string, std::string>& env = {}) const {
    std::string command = "env -u CLIPCAT_CATALOG XDG_DATA_HOME=" + Quote((dir_ / "data").string());
    for (const auto& [name, value] : env) command += " " + name + "=" + Quote(value);
    command += " " + Quote(CLIPCAT_BINARY);
    for (const auto& arg : args) command += " " + Quote(arg);
    return command;
  }

  // Runs clipcat with the given arguments (and standard input).
  Result Run(const std::vector<std::string>& args, const std::string& input = "",
             const std::map<std::string, std::string>& env = {}) {
    const fs::path in = dir_ / "stdin", out = dir_ / "stdout", err = dir_ / "stderr";
    WriteFile(in, input);
    const std::string command = CommandLine(args, env) + " <" + Quote(in.string()) + " >" +
                                Quote(out.string()) + " 2>" + Quote(err.string());
    const int raw = std::system(command.c_str());
    Result result;
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    result.out = ReadFile(out);
    result.err = ReadFile(err);
    return result;
  }

  // Runs a command on `catalog` (the test catalog by default) and expects success; answers its
  // output.
  std::string Ok(std::vector<std::string> args, const std::string& input = "") {
    return OkOn(catalog_, std::move(args), input);
  }
  std::string OkOn(const std::string& catalog, std::vector<std::string> args,
                   const std::string& input = "") {
    args.insert(args.begin(), {"--catalog", catalog});
    const Result r = Run(args, input);
    EXPECT_EQ(r.status, 0) << r.err;
    return r.out;
  }

  Result OnCatalog(std::vector<std::string> args, const std::string& input = "") {
    args.insert(args.begin(), {"--catalog", catalog_});
    return Run(args, input);
  }

  static std::string Trim(std::string s) {
    while (!s.empty() && (s.back() == '\n' || s.back() == ' ')) s.pop_back();
    return s;
  }

  fs::path dir_;
  std::string catalog_;
};

}  // namespace clipcat_e2e
