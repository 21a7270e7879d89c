// A temporary directory with a fresh catalog, removed at the end of the test: never a user's.
#pragma once

#include <string>

#include "engine/connection_string.h"
#include "store/catalog_schema.h"
#include "util/temp_dir.h"  // the tests' own, beside the util tests

namespace clipcat::testing {

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
