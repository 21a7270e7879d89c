// The fixture of the end-to-end tests: runs the built clipcat command on a temporary catalog,
// with a private data directory so that no user's catalog is ever touched, and collects its exit
// status and both output streams. Used from the test thread only.
#pragma once

#include <gtest/gtest.h>
#include <pty.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

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
using Args = std::vector<std::string>;
using Ids = std::vector<std::string>;

struct Result {
  int status = -1;
  std::string out, err;
};

inline std::string Quote(const std::string& arg) {
  std::string quoted = "'";
  for (char c : arg) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

inline std::string ReadFile(const fs::path& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}

inline void WriteFile(const fs::path& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

inline std::string Trim(std::string s) {
  while (!s.empty() && (s.back() == '\n' || s.back() == ' ')) s.pop_back();
  return s;
}

// A tree listing without its "  [id]" columns.
inline std::string WithoutTreeIds(const std::string& tree) {
  return std::regex_replace(tree, std::regex(R"(  \[[^\]]*\])"), "");
}

// The ids in the first column of a table, in order, its header left out.
inline Ids FirstColumn(const std::string& table) {
  Ids ids;
  std::istringstream lines(table);
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line)) ids.push_back(line.substr(0, line.find(' ')));
  return ids;
}

// The connection details of the file catalog at `path`.
inline std::string FileDetails(const std::string& path) {
  return "<connectiondetails connectionstring=\"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" +
         path + "\" datasourcetype=\"1\"/>";
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
    out.append(last, (*it)[0].first);
    const auto entry = numbers.emplace((*it)[2].str(), static_cast<int>(numbers.size()) + 1).first;
    out += (*it)[1].str() + "=\"#" + std::to_string(entry->second) + "\"";
    last = (*it)[0].second;
  }
  return out.append(last, document.cend());
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

  // The shell command that runs clipcat with `args` and `env` ($CLIPCAT_CATALOG unset).
  std::string CommandLine(const Args& args, const std::map<std::string, std::string>& env) const {
    std::string command = "env -u CLIPCAT_CATALOG XDG_DATA_HOME=" + Quote((dir_ / "data").string());
    for (const auto& [name, value] : env) command += " " + name + "=" + Quote(value);
    command += " " + Quote(CLIPCAT_BINARY);
    for (const auto& arg : args) command += " " + Quote(arg);
    return command;
  }

  Result Run(const Args& args, const std::string& input = "",
             const std::map<std::string, std::string>& env = {}) {
    const fs::path in = dir_ / "stdin", out = dir_ / "stdout", err = dir_ / "stderr";
    WriteFile(in, input);
    const int raw = std::system((CommandLine(args, env) + " <" + Quote(in.string()) + " >" +
                                 Quote(out.string()) + " 2>" + Quote(err.string()))
                                    .c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, ReadFile(out), ReadFile(err)};
  }

  // Runs clipcat with standard input and standard error on a new terminal, on which `typed` is
  // typed; answers the exit status, standard output (a file) and what the terminal showed.
  Result OnTerminal(const Args& args, const std::string& typed) {
    const fs::path out = dir_ / "terminal-stdout";
    const std::string command = CommandLine(args, {}) + " >" + Quote(out.string());
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
      execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    Result result;
    if (child < 0) {
      ADD_FAILURE() << "forkpty failed";
      return result;
    }
    // The terminal keeps what is typed until the command reads its line.
    EXPECT_EQ(write(terminal, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
    char buffer[4096];
    // read fails with EIO once the child has closed the terminal.
    for (ssize_t n; (n = read(terminal, buffer, sizeof buffer)) > 0;) result.err.append(buffer, n);
    close(terminal);
    int raw = 0;
    waitpid(child, &raw, 0);
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    result.out = ReadFile(out);
    return result;
  }

  // Runs a command on `catalog` and expects success; answers its output.
  std::string OkOn(const std::string& catalog, Args args, const std::string& input = "") {
    args.insert(args.begin(), {"--catalog", catalog});
    const Result r = Run(args, input);
    EXPECT_EQ(r.status, 0) << r.err;
    return r.out;
  }
  std::string Ok(Args args, const std::string& input = "") { return OkOn(catalog_, args, input); }

  // Runs a command on the test catalog and expects it to fail with `status`; answers its
  // standard error.
  std::string Fails(Args args, int status = 1, const std::string& input = "") {
    args.insert(args.begin(), {"--catalog", catalog_});
    const Result r = Run(args, input);
    EXPECT_EQ(r.status, status) << args[2] << ": " << r.err;
    return r.err;
  }

  // The id of the one clipping that a search for `name` on `catalog` finds.
  std::string IdOf(const std::string& catalog, const std::string& name) {
    const std::string found = OkOn(catalog, {"search", name});
    std::smatch match;
    EXPECT_TRUE(std::regex_search(found, match, std::regex("\\n(\\S+)\\s+" + name + "\\s")))
        << found;
    return match.size() > 1 ? match[1].str() : "";
  }

  fs::path dir_;
  std::string catalog_;
};

}  // namespace clipcat_e2e
