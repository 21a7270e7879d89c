// A temporary directory with a fresh catalog in it, removed with everything in it at the end of
// the test. Tests never touch a user's catalog.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "store/catalog_schema.h"
#include "store/connection_string.h"

namespace clipcat::testing {

class TempDir {
 public:
  TempDir() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "clipcat-store-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "mkdtemp failed";
    path_ = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  std::string File(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

// A directory holding catalog.db, created with the root folder "Personal".
class TempCatalog {
 public:
  TempCatalog() : path_(dir_.File("catalog.db")) { CreateCatalog(path_, "Personal"); }

  const std::string& path() const { return path_; }
  std::string connection_string() const { return FileCatalogConnectionString(path_); }
  const TempDir& dir() const { return dir_; }

 private:
  TempDir dir_;
  std::string path_;
};

}  // namespace clipcat::testing
