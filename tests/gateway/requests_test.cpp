// Requests in a row and at once: a request that fails half-way leaves nothing open for the next
// one on the same worker, several clients adding at the same time all get their clippings, and
// the error statuses follow the library's numbers.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sqlite3.h>
#include <sys/socket.h>
#include <unistd.h>

#include <set>

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
  EXPECT_EQ(AddAtOnce(folder, kClients, kEach), kClients * kEach);
  std::set<std::string> names;
  for (const json& clipping : Get("/api/folders/" + folder + "/clippings").body) {
    names.insert(clipping["name"]);
  }
  EXPECT_EQ(names.size(), static_cast<size_t>(kClients * kEach));
}

// A connection to the server's port, written and read by hand.
class RawConnection {
 public:
  explicit RawConnection(int port) : fd_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }
  ~RawConnection() { close(fd_); }
  void Send(const std::string& text) {
    EXPECT_EQ(write(fd_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  // Everything the server sends until it closes the connection.
  std::string ReadAll() {
    std::string answer;
    char buffer[4096];
    for (ssize_t n; (n = read(fd_, buffer, sizeof buffer)) > 0;) {
      answer.append(buffer, static_cast<size_t>(n));
    }
    return answer;
  }

 private:
  int fd_;
};

TEST_F(GatewayRequests, StopLetsTheRequestInFlightFinish) {
  const std::string body = json{{"folder", "1"}, {"name", "Late"}, {"text", "in flight"}}.dump();
  RawConnection slow(port());
  slow.Send(
      "POST /api/clippings HTTP/1.1\r\nHost: x\r\nConnection: close\r\n"
      "Content-Type: application/json\r\nContent-Length: " +
      std::to_string(body.size()) + "\r\n\r\n" + body.substr(0, 10));
  // A request answered on a later connection means the server has taken the first one: it
  // accepts connections in the order they came.
  EXPECT_EQ(Get("/api/folders").status, 200);
  RequestStop();
  slow.Send(body.substr(10));
  const std::string answer = slow.ReadAll();
  EXPECT_EQ(answer.rfind("HTTP/1.1 201", 0), 0u) << answer;
  StopServer();

  // The clipping is in the catalog, as the next server started on it sees.
  const Answer listed = Get("/api/folders/1/clippings");
  ASSERT_EQ(listed.body.size(), 1u) << listed.text;
  EXPECT_EQ(listed.body[0]["name"], "Late");
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
