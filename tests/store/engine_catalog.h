// Tests run once per engine on a new catalog: a file catalog in a temporary directory, or a
// catalog in a new database of the test process's PostgreSQL server. Used by one thread.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "store/catalog_schema.h"
#include "support/postgres_test_server.h"
#include "temp_catalog.h"

namespace clipcat::testing {

// The parameter is true for the server catalog. A subclass that sets up more calls this SetUp
// first and returns when IsSkipped(): without a server the server's instance is skipped (failed
// under CI, where the server tests must run).
class EngineCatalogTest : public ::testing::TestWithParam<bool> {
 protected:
  bool OnServer() const { return GetParam(); }

  void SetUp() override {
    if (!OnServer()) {
      connection_string_ = file_.connection_string();
      return;
    }
    CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
    connection_string_ = server->ConnectionString(server->CreateDatabase());
    CreateServerCatalog(connection_string_, "Personal");
  }

  TempCatalog file_;               // the file catalog, root folder "Personal"
  std::string connection_string_;  // of the catalog under test
};

// Names the instances "SQLite" and "PostgreSQL".
inline std::string EngineName(const ::testing::TestParamInfo<bool>& info) {
  return info.param ? "PostgreSQL" : "SQLite";
}

}  // namespace clipcat::testing
