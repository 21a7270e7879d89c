// The gateway serving a catalog on a PostgreSQL server: the same answers as on a file, several
// clients writing at once, and a refused request that leaves no transaction open on the worker's
// server connection. Runs against a throwaway server; skipped where none can be started, except
// under CI.
#include <set>

#include "gateway_fixture.h"
#include "library/catalog_location.h"
#include "support/postgres_test_server.h"

namespace clipcat::gateway_test {
namespace {

class GatewayServerCatalog : public GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
    server_ = server;
    database_ = server->CreateDatabase();
    const std::string details = "<connectiondetails connectionstring=\"" +
                                server->ConnectionString(database_) +
                                "\" datasourcetype=\"2\" clippingsourcename=\"Team\"/>";
    CreateCatalogAt(SelectCatalog("", details), "");
    options().location = SelectCatalog("", details);
  }

  testing::PostgresTestServer* server_ = nullptr;
  std::string database_;
};

TEST_F(GatewayServerCatalog, RoutesAnswerAsOnAFile) {
  const Answer tree = Get("/api/folders");
  ASSERT_EQ(tree.status, 200) << tree.text;
  EXPECT_EQ(tree.body[0]["name"], "Team");
  const std::string folder = NewFolder("1", "Mail");
  const std::string id = NewClipping(folder, "Reply", "thanks for the quick answer");
  EXPECT_EQ(Get("/api/clippings/" + id).body["items"][0]["text"], "thanks for the quick answer");
  EXPECT_EQ(Post("/api/clippings", {{"folder", folder}, {"name", "REPLY"}, {"text", "x"}}).status,
            409);
  const Answer found = Get("/api/search?q=quick");
  ASSERT_EQ(found.body.size(), 1u) << found.text;
  EXPECT_EQ(found.body[0]["id"], id);
  EXPECT_EQ(Patch("/api/clippings/" + id, {{"text", "later"}}).status, 200);
  EXPECT_EQ(Get("/api/clippings/" + id + "/versions").body.size(), 1u);
  EXPECT_EQ(Delete("/api/clippings/" + id).status, 204);
  EXPECT_EQ(Get("/api/trash").body[0]["id"], id);
}

TEST_F(GatewayServerCatalog, RefusedRenameIsRolledBackBeforeTheNextRequest) {
  options().threads = 1;
  ASSERT_EQ(Post("/api/categories", {{"name", "First"}}).status, 201);
  ASSERT_EQ(Post("/api/categories", {{"name", "Second"}}).status, 201);
  const std::string first = Get("/api/categories").body[0]["id"];
  ASSERT_EQ(Patch("/api/categories/" + first, {{"name", "Second"}}).status, 409);
  // Nothing is left open on the server between requests.
  const std::string open = server_->Admin(
      "DO $$ BEGIN IF EXISTS (SELECT 1 FROM pg_stat_activity WHERE datname = '" + database_ +
      "' AND state LIKE 'idle in transaction%') THEN RAISE EXCEPTION 'open'; END IF; END $$");
  EXPECT_EQ(open, "");
  ASSERT_EQ(Post("/api/categories", {{"name", "Third"}}).status, 201);
  std::multiset<std::string> names;
  for (const json& category : Get("/api/categories").body) names.insert(category["name"]);
  EXPECT_EQ(names, (std::multiset<std::string>{"First", "Second", "Third"}));
}

TEST_F(GatewayServerCatalog, ClientsAddingAtOnceAllGetTheirClippings) {
  options().threads = 4;
  const std::string folder = NewFolder("1", "Busy");
  constexpr int kClients = 4;
  constexpr int kEach = 8;
  EXPECT_EQ(AddAtOnce(folder, kClients, kEach), kClients * kEach);
  EXPECT_EQ(Get("/api/folders/" + folder + "/clippings").body.size(),
            static_cast<size_t>(kClients * kEach));
}

}  // namespace
}  // namespace clipcat::gateway_test
