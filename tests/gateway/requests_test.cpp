// Requests in a row and at once: a request that fails half-way leaves nothing open for the next
// one on the same worker, several clients adding at the same time all get their clippings, and
// the error statuses follow the library's numbers.
#include <sqlite3.h>

#include <atomic>
#include <set>
#include <thread>

#include "gateway/api_errors.h"
#include "gateway_fixture.h"

namespace clipcat::gateway_test {
namespace {

class GatewayRequests : public GatewayTest {};

TEST_F(GatewayRequests, FailedRequestLeavesNoTransactionForTheNext) {
  // One worker, so that the next request surely runs on the connection the failure used.
  options().threads = 1;
  ASSERT_EQ(Post("/api/categories", {{"name", "First"}}).status, 201);
  ASSERT_EQ(Post("/api/categories", {{"name", "Second"}}).status, 201);
  const std::string first = Get("/api/categories").body[0]["id"];
  // The write service refuses the rename with the category's rename left pending in its
  // transaction; the request's scope rolls it back.
  const Answer refused = Patch("/api/categories/" + first, {{"name", "Second"}});
  ASSERT_EQ(refused.status, 409);

  // Another connection, as another process has, can write at once.
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(path_.c_str(), &db), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
  sqlite3_close(db);

  // The next write on the same worker succeeds and does not commit the refused rename.
  ASSERT_EQ(Post("/api/categories", {{"name", "Third"}}).status, 201);
  std::multiset<std::string> names;
  for (const json& category : Get("/api/categories").body) names.insert(category["name"]);
  EXPECT_EQ(names, (std::multiset<std::string>{"First", "Second", "Third"}));
}

TEST_F(GatewayRequests, ClientsAddingAtOnceAllGetTheirClippings) {
  options().threads = 4;
  const std::string folder = NewFolder("1", "Busy");
  constexpr int kClients = 4;
  constexpr int kEach = 10;
  std::atomic<int> created = 0;
  std::vector<std::thread> clients;
  for (int c = 0; c < kClients; ++c) {
    clients.emplace_back([&, c] {
      httplib::Client own("127.0.0.1", port());
      own.set_read_timeout(60);
      for (int i = 0; i < kEach; ++i) {
        const json body = {{"folder", folder},
                           {"name", "c" + std::to_string(c) + "-" + std::to_string(i)},
                           {"text", "from client " + std::to_string(c)}};
        const auto result = own.Post("/api/clippings", body.dump(), "application/json");
        if (result && result->status == 201) ++created;
      }
    });
  }
  for (auto& client : clients) client.join();
  EXPECT_EQ(created, kClients * kEach);
  std::set<std::string> names;
  for (const json& clipping : Get("/api/folders/" + folder + "/clippings").body) {
    names.insert(clipping["name"]);
  }
  EXPECT_EQ(names.size(), static_cast<size_t>(kClients * kEach));
}

TEST(GatewayErrors, StatusesFollowTheLibraryNumbers) {
  using gateway::StatusForErrorNumber;
  EXPECT_EQ(StatusForErrorNumber(err::kInvalidProcedureCall), 400);
  EXPECT_EQ(StatusForErrorNumber(err::kTypeMismatch), 400);
  EXPECT_EQ(StatusForErrorNumber(err::kObjectRequired), 400);
  EXPECT_EQ(StatusForErrorNumber(err::kFolderNameNotUnique), 409);
  EXPECT_EQ(StatusForErrorNumber(err::kClippingNameNotUnique), 409);
  EXPECT_EQ(StatusForErrorNumber(err::kCategoryNameNotUnique), 409);
  EXPECT_EQ(StatusForErrorNumber(err::kCatalogCannotBeOpened), 503);
  EXPECT_EQ(StatusForErrorNumber(err::kCannotCreateObject), 404);
  EXPECT_EQ(StatusForErrorNumber(err::kUnknownName), 404);
  EXPECT_EQ(StatusForErrorNumber(err::kDatabaseError), 500);
  EXPECT_EQ(StatusForErrorNumber(err::kDataCorrupt), 500);
  EXPECT_EQ(StatusForErrorNumber(err::kNotYetImplemented), 500);
  EXPECT_EQ(gateway::StatusForError(gateway::ApiError(404, "x")), 404);
}

class GatewayOffline : public GatewayTest {};

TEST_F(GatewayOffline, CatalogThatCannotBeOpenedIs503) {
  std::filesystem::remove(path_);
  const Answer answer = Get("/api/folders");
  EXPECT_EQ(answer.status, 503) << answer.text;
  EXPECT_EQ(ErrorNumber(answer), err::kCatalogCannotBeOpened);
}

}  // namespace
}  // namespace clipcat::gateway_test
