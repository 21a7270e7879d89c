// What tests touch of the machine they run on, put back when they end: a fresh temporary
// directory removed with everything in it, and an environment variable set for one scope. The
// environment belongs to the whole process: tests that set it must not run on several threads.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace clipcat::testing {

class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "clipcat-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "mkdtemp failed";
    path_ = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }

  // The path of `name` in the directory (nothing is created), and writing `text` to it.
  std::string File(const std::string& name) const { return path_ + "/" + name; }

  std::string Write(const std::string& name, const std::string& text) const {
    const std::string file = File(name);
    std::ofstream(file, std::ios::binary) << text;
    return file;
  }

 private:
  std::string path_;
};

// Sets the environment variable `name` to `value` (nullptr removes it) until the end of the
// scope, then gives it back the value it had, or removes it again.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* old = getenv(name)) old_ = old;
    value != nullptr ? setenv(name, value, 1) : unsetenv(name);
  }
  ScopedEnv(const char* name, const std::string& value) : ScopedEnv(name, value.c_str()) {}
  ~ScopedEnv() { old_ ? setenv(name_, old_->c_str(), 1) : unsetenv(name_); }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  const char* name_;
  std::optional<std::string> old_;
};

}  // namespace clipcat::testing
