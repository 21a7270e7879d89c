// Tests run once per engine on a new catalog: a file catalog in a temporary directory, or a
// catalog in a new database of the test process's PostgreSQL server. Used by one thread.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "engine/db_connection.h"
#include "store/catalog_schema.h"
#include "store/data_access.h"
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

// An engine's new catalog worked on through a data access object (`access_`), with a second
// connection (`db_`) to look at its rows, and the id of its top folder.
class EngineAccessTest : public EngineCatalogTest {
 protected:
  void SetUp() override {
    EngineCatalogTest::SetUp();
    if (IsSkipped()) return;
    access_->SetConnectionString(connection_string_);
    root_ = access_->GetPersonalCatalogRootFolder()->ID();
    db_.OpenConnection(connection_string_, "", "");
  }

  // A folder named `name` under `parent`; answers its id.
  std::string AddFolder(const std::string& name, const std::string& parent) {
    auto folder = Folder::Create();
    folder->SetName(name);
    return access_->AddFolder(folder, parent, true)->ID();
  }

  std::shared_ptr<DataAccess> access_ = DataAccessSQL::Create();
  DBConnection db_;
  std::string root_;
};

// Names the instances "SQLite" and "PostgreSQL".
inline std::string EngineName(const ::testing::TestParamInfo<bool>& info) {
  return info.param ? "PostgreSQL" : "SQLite";
}

}  // namespace clipcat::testing
