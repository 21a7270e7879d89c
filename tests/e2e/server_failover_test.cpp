// A team catalog on a primary server with a streaming standby, reached through a multi-host URI
// as libpq takes it: once the primary stops and the standby is promoted, the same URI finds the
// new primary, and the catalog is there and writable, with what was written before.
#include <chrono>
#include <string>
#include <thread>

#include "cli_fixture.h"
#include "support/postgres_test_server.h"

namespace {

using namespace clipcat_e2e;

TEST_F(Cli, AMultiHostUriFollowsTheCatalogToAPromotedStandby) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  const std::string database = server->CreateDatabase();
  ASSERT_EQ(server->Admin("ALTER DATABASE " + database + " SET synchronous_commit = on"), "");
  const std::string primary = server->Uri(database);
  ASSERT_EQ(Run({"--catalog", primary, "init", "--name", "Team"}).status, 0);
  ASSERT_EQ(server->StartStandby(), "");
  const std::string both = "postgresql://postgres@/" + database + "?host=" + server->socket_dir() +
                           "," + server->socket_dir() + "&port=" + std::to_string(server->port()) +
                           "," + std::to_string(server->standby_port()) +
                           "&target_session_attrs=read-write";

  // Linked by the multi-host URI; writes go to the primary while it runs.
  Ok({"init", "--name", "Personal"});
  Ok({"link", "Team", both});
  Ok({"add", "Team", "Before", "--text", "written on the first primary"});

  // The standby has everything once it has replayed what the primary wrote.
  std::string lsn;
  ASSERT_EQ(server->Admin("SELECT pg_current_wal_lsn()", "postgres", false, &lsn), "");
  for (int tries = 0;; ++tries) {
    std::string caught_up;
    ASSERT_EQ(server->Admin("SELECT pg_last_wal_replay_lsn() >= '" + lsn + "'::pg_lsn", "postgres",
                            true, &caught_up),
              "");
    if (caught_up == "t") break;
    ASSERT_LT(tries, 3000) << "the standby did not catch up";
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }

  ASSERT_EQ(server->Stop("fast"), "");
  ASSERT_EQ(server->PromoteStandby(), "");
  EXPECT_EQ(Ok({"cat", "Team/Before"}), "written on the first primary");
  Ok({"add", "Team", "After", "--text", "written on the promoted standby"});
  EXPECT_EQ(Ok({"cat", "Team/After"}), "written on the promoted standby");
  std::string on_standby;
  ASSERT_EQ(server->Admin("SELECT count(*) FROM Clipping", database, true, &on_standby), "");
  EXPECT_EQ(on_standby, "2");
}

}  // namespace
