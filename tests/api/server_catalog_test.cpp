// The C++ interface on a catalog on a PostgreSQL server, named by a postgresql:// URI.
#include <clipcat/clipcat.h>
#include <gtest/gtest.h>

#include "support/postgres_test_server.h"

namespace {

TEST(PublicServerCatalogTest, AUriMakesOpensAndSearchesACatalogOnTheServer) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  const std::string uri = server->Uri(server->CreateDatabase());
  std::string added_id;
  {
    auto catalog = clipcat::Catalog::Create(uri, "Team");
    catalog.AddFolder("", "Mail");
    added_id = catalog.AddClipping("Mail", "Reminder", "Your late payment is overdue.").id;
  }
  auto catalog = clipcat::Catalog::Open(uri);
  const std::vector<clipcat::Folder> tree = catalog.Folders();
  ASSERT_EQ(tree.size(), 1u);
  EXPECT_EQ(tree[0].name, "Team");
  ASSERT_EQ(tree[0].children.size(), 1u);
  EXPECT_EQ(tree[0].children[0].path, "Mail");
  const std::vector<clipcat::SearchHit> hits = catalog.Search("late payment");
  ASSERT_EQ(hits.size(), 1u);
  EXPECT_EQ(hits[0].id, added_id);
  EXPECT_EQ(hits[0].path, "Mail/Reminder");
  EXPECT_EQ(catalog.Text("Mail/Reminder"), "Your late payment is overdue.");
}

TEST(PublicServerCatalogTest, AUriOfADatabaseWithoutACatalogFailsToOpen) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  const std::string uri = server->Uri(server->CreateDatabase());
  try {
    clipcat::Catalog::Open(uri);
    FAIL() << "an empty database opened as a catalog";
  } catch (const clipcat::Error& error) {
    EXPECT_NE(error.number(), 0);
    EXPECT_FALSE(error.description().empty());
  }
}

}  // namespace
