// Linked catalogs found online or offline all at once, with the reason when not, and links
// checked before they are stored.
#include "library/linked_catalog_status.h"

#include <gtest/gtest.h>

#include <string>

#include "library/item_edits.h"
#include "library/library_fixture.h"
#include "support/postgres_test_server.h"
#include "support/silent_server.h"

namespace clipcat::library_test {
namespace {

using clipcat::testing::PostgresTestServer;
using clipcat::testing::SilentServer;

class LinkedCatalogStatusTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    Open(NewCatalog("personal.db"));
  }

  // The links the open catalog stores.
  size_t LinkCount() {
    return catalog_->read().GetLinkingFolders(catalog_->details())->Items()->Count();
  }

  std::shared_ptr<ConnectionDetails> UriDetails(const std::string& uri) {
    return ConnectionDetailsForTarget(uri);
  }

  // The server the suite starts, or a skip (a failure under CI) when there is none.
  PostgresTestServer* Server() {
    std::string why_not;
    auto* server = PostgresTestServer::Instance(&why_not);
    if (server == nullptr && clipcat::testing::PostgresTestsRequired()) ADD_FAILURE() << why_not;
    return server;
  }
};

TEST_F(LinkedCatalogStatusTest, SilentServersAreTriedTogetherAndWaitedForOnlyOnce) {
  SilentServer silent;
  ASSERT_NE(silent.port(), 0);
  const std::string linked = NewCatalog("linked.db", "Shared files");
  Link(linked, "Files");
  for (const char* database : {"one", "two", "three"}) {
    LinkCatalog(*catalog_, std::string("Silent ") + database, UriDetails(silent.Uri(database)),
                false);
  }

  const auto statuses = ProbeLinkedCatalogs(*catalog_);
  ASSERT_EQ(statuses.size(), 4u);
  int offline = 0;
  for (const auto& status : statuses) {
    if (status.name == "Files") {
      EXPECT_TRUE(status.online);
      EXPECT_EQ(status.reason, "");
      EXPECT_FALSE(status.item_id.empty());
      continue;
    }
    ++offline;
    EXPECT_FALSE(status.online) << status.name;
    EXPECT_EQ(status.reason, "the server does not answer") << status.detail;
    EXPECT_EQ(status.detail.find('\n'), std::string::npos) << status.detail;
  }
  EXPECT_EQ(offline, 3);
  // The three were waited for side by side, not one after another.
  EXPECT_EQ(silent.most_open_at_once(), 3);
  const int accepted = silent.accepted();

  // The listing that follows finds them remembered as silent: no new connection, all offline.
  const auto tree = catalog_->read().GetFolders(catalog_->details(), true);
  int marked = 0;
  for (const auto& folder : *tree->Items()) marked += folder->Status() == 4 ? 1 : 0;
  EXPECT_EQ(marked, 3);
  EXPECT_EQ(silent.accepted(), accepted);
}

TEST_F(LinkedCatalogStatusTest, ALinkThatCannotBeReachedIsRefusedAndNothingIsStored) {
  SilentServer silent;
  ASSERT_NE(silent.port(), 0);
  const size_t before = LinkCount();
  const AutomationError silent_error =
      ErrorOf([&] { LinkCatalog(*catalog_, "Team", UriDetails(silent.Uri("team"))); });
  EXPECT_EQ(OfflineReason(silent_error), "the server does not answer");
  EXPECT_EQ(LinkCount(), before);

  // A file that holds no catalog is refused the same way.
  const std::string missing = dir_.File("nowhere/none.db");
  EXPECT_NE(RaisedNumber([&] { LinkCatalog(*catalog_, "Gone", UriDetails(missing)); }), 0);
  EXPECT_EQ(LinkCount(), before);

  // Told not to check, it is stored, and shows offline with its reason.
  LinkCatalog(*catalog_, "Team", UriDetails(silent.Uri("team")), false);
  EXPECT_EQ(LinkCount(), before + 1);
  const auto statuses = ProbeLinkedCatalogs(*catalog_);
  ASSERT_EQ(statuses.size(), 1u);
  EXPECT_FALSE(statuses[0].online);
  EXPECT_EQ(statuses[0].name, "Team");
}

TEST_F(LinkedCatalogStatusTest, AServerThatAnswersSaysWhyItRefused) {
  PostgresTestServer* server = Server();
  if (server == nullptr) GTEST_SKIP() << "no PostgreSQL server";
  const std::string database = server->CreateDatabase();
  // A database that is there but holds no catalog, one that is not there, a wrong password.
  const auto uri = [&](const std::string& user, const std::string& db,
                       const std::string& password = "") {
    return "postgresql://" + user + (password.empty() ? "" : ":" + password) + "@/" + db +
           "?host=" + server->socket_dir() + "&port=" + std::to_string(server->port());
  };
  server->Admin(std::string("CREATE ROLE ") + PostgresTestServer::kPasswordRole +
                " LOGIN PASSWORD 'right'");
  struct Case {
    std::string uri;
    std::string reason;
  };
  for (const Case& c :
       {Case{uri("postgres", database), "not a catalog"},
        Case{uri("postgres", database + "_missing"), "the database does not exist"},
        Case{uri(PostgresTestServer::kPasswordRole, database, "wrong"), "authentication failed"}}) {
    const AutomationError error =
        ErrorOf([&] { LinkCatalog(*catalog_, "Team", UriDetails(c.uri)); });
    EXPECT_EQ(OfflineReason(error), c.reason) << c.uri << ": " << error.description();
    EXPECT_EQ(error.description().find('\n'), std::string::npos) << error.description();
  }
  EXPECT_EQ(LinkCount(), 0u);
}

}  // namespace
}  // namespace clipcat::library_test
