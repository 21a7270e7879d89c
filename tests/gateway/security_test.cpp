// What the gateway refuses whatever the route: requests without the token, bodies over the
// limit, paths outside the API and the page, other origins, and serving off loopback without a
// token.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fstream>

#include "gateway/web_files.h"
#include "gateway_fixture.h"
#include "util/errors.h"

namespace clipcat::gateway_test {
namespace {

class GatewaySecurity : public GatewayTest {};

TEST_F(GatewaySecurity, TokenIsRequiredOnEveryRequestButThePagesOwnFiles) {
  options().token = "s3cret-token";
  EXPECT_EQ(Get("/api/folders").status, 401);
  // A browser opens the page without the token (the page then asks for it); nothing else is
  // answered without it, not even a 404 that would tell which paths exist.
  for (const gateway::WebFile& file : gateway::WebFiles()) {
    EXPECT_EQ(Get(std::string(file.path)).status, 200) << file.path;
  }
  EXPECT_EQ(Get("/").status, 200);
  for (const std::string path : {"/api/search?q=x", "/api/history", "/nothing", "/app.js/x",
                                 "/index.html/", "/api/folders/1/clippings"}) {
    EXPECT_EQ(Get(path).status, 401) << path;
  }
  EXPECT_EQ(Delete("/index.html").status, 401);
  EXPECT_EQ(Post("/api/folders", {{"parent", "1"}, {"name", "X"}}).status, 401);
  for (const std::string wrong : {"Bearer s3cret-toke", "Bearer s3cret-token2", "s3cret-token",
                                  "Basic s3cret-token", "Bearer S3CRET-TOKEN", "Bearer "}) {
    const Answer answer = Read(client().Get("/api/folders", {{"Authorization", wrong}}));
    EXPECT_EQ(answer.status, 401) << wrong;
    ErrorNumber(answer);
  }
  client().set_bearer_token_auth("s3cret-token");
  EXPECT_EQ(Get("/api/folders").status, 200);
  EXPECT_EQ(Post("/api/folders", {{"parent", "1"}, {"name", "X"}}).status, 201);
  // Only the request with the token added anything.
  EXPECT_EQ(Get("/api/folders").body[0]["children"].size(), 1u);
}

TEST_F(GatewaySecurity, BodiesOverTheLimitAreRefused) {
  options().max_body_bytes = 1024;
  const std::string big(2048, 'x');
  const Answer answer = Post("/api/clippings", {{"folder", "1"}, {"name", "Big"}, {"text", big}});
  EXPECT_EQ(answer.status, 413);
  const std::string fits(512, 'x');
  EXPECT_EQ(Post("/api/clippings", {{"folder", "1"}, {"name", "Small"}, {"text", fits}}).status,
            201);
  EXPECT_EQ(Get("/api/folders/1/clippings").body.size(), 1u);
}

TEST_F(GatewaySecurity, DefaultBodyLimitIs64MB) {
  EXPECT_EQ(gateway::GatewayOptions().max_body_bytes, size_t{64} << 20);
}

TEST_F(GatewaySecurity, OnlyTheApiAndThePageAreServed) {
  const Answer page = Get("/");
  EXPECT_EQ(page.status, 200);
  EXPECT_EQ(page.content_type, "text/html; charset=utf-8");
  EXPECT_NE(page.text.find("<script src=\"/app.js\""), std::string::npos);
  // Every file of the page at its own path, with its type, byte for byte what was compiled in.
  ASSERT_FALSE(gateway::WebFiles().empty());
  for (const gateway::WebFile& file : gateway::WebFiles()) {
    const Answer served = Get(std::string(file.path));
    EXPECT_EQ(served.status, 200) << file.path;
    EXPECT_EQ(served.text, file.content) << file.path;
    EXPECT_EQ(served.content_type, gateway::ContentTypeOf(file.path)) << file.path;
  }
  EXPECT_EQ(Get("/app.js").content_type, "text/javascript; charset=utf-8");
  EXPECT_EQ(Get("/app.css").content_type, "text/css; charset=utf-8");
  for (const std::string path : {"/etc/passwd", "/api", "/appxjs", "/web/app.js", "/../catalog.db",
                                 "/api/folders/1/../../catalog.db", "/api/nothing", "/app.js/x"}) {
    const Answer answer = Get(path);
    EXPECT_EQ(answer.status, 404) << path;
  }
}

TEST_F(GatewaySecurity, SlowOrUnreadableRequestsEndWithTheErrorForm) {
  // A POST without a Content-Length, written by hand: the server reads on until the read timeout
  // ends it, as it does for a client that stops sending.
  options().timeout_seconds = 1;
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  ASSERT_GE(fd, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port()));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  const std::string request = "POST /api/clippings/1/use HTTP/1.1\r\nHost: x\r\n\r\n";
  ASSERT_EQ(write(fd, request.data(), request.size()), static_cast<ssize_t>(request.size()));
  std::string answer;
  char buffer[4096];
  for (ssize_t n; (n = read(fd, buffer, sizeof buffer)) > 0;) {
    answer.append(buffer, static_cast<size_t>(n));
    if (answer.find("}}") != std::string::npos) break;
  }
  close(fd);
  EXPECT_EQ(answer.rfind("HTTP/1.1 400", 0), 0u) << answer;
  EXPECT_NE(answer.find("\"error\":{"), std::string::npos) << answer;
  EXPECT_NE(answer.find("Content-Length"), std::string::npos) << answer;
}

TEST_F(GatewaySecurity, CorsIsOffUnlessAnOriginIsAllowed) {
  const auto plain = client().Get("/api/folders", {{"Origin", "http://evil.example"}});
  ASSERT_TRUE(plain);
  EXPECT_FALSE(plain->has_header("Access-Control-Allow-Origin"));
  StopServer();

  options().allow_origin = "http://app.example";
  const auto allowed = client().Get("/api/folders", {{"Origin", "http://app.example"}});
  ASSERT_TRUE(allowed);
  EXPECT_EQ(allowed->get_header_value("Access-Control-Allow-Origin"), "http://app.example");
  const auto preflight = client().Options("/api/folders");
  ASSERT_TRUE(preflight);
  EXPECT_EQ(preflight->status, 204);
  EXPECT_NE(preflight->get_header_value("Access-Control-Allow-Headers").find("Authorization"),
            std::string::npos);
}

TEST(GatewayStart, OffLoopbackNeedsAToken) {
  gateway::GatewayOptions options;
  options.host = "0.0.0.0";
  EXPECT_THROW(gateway::Gateway{options}, AutomationError);
  options.host = "192.168.1.10";
  EXPECT_THROW(gateway::Gateway{options}, AutomationError);
  options.token = "t";
  EXPECT_NO_THROW(gateway::Gateway{options});
  for (const std::string loopback : {"127.0.0.1", "127.1.2.3", "::1", "localhost"}) {
    EXPECT_TRUE(gateway::IsLoopback(loopback)) << loopback;
  }
  for (const std::string other : {"0.0.0.0", "128.0.0.1", "::", "10.0.0.1", ""}) {
    EXPECT_FALSE(gateway::IsLoopback(other)) << other;
  }
}

TEST(GatewayStart, ListenAddressAndTokenFile) {
  std::string host;
  int port = 0;
  gateway::ParseListenAddress("127.0.0.1:8640", host, port);
  EXPECT_EQ(host, "127.0.0.1");
  EXPECT_EQ(port, 8640);
  gateway::ParseListenAddress("[::1]:0", host, port);
  EXPECT_EQ(host, "::1");
  EXPECT_EQ(port, 0);
  for (const std::string bad : {"127.0.0.1", ":80", "host:", "host:65536", "host:8x", "h:-1"}) {
    EXPECT_THROW(gateway::ParseListenAddress(bad, host, port), AutomationError) << bad;
  }

  testing::TempDir dir;
  EXPECT_EQ(gateway::ReadTokenFile(dir.Write("token", "  abc123 \nsecond line\n")), "abc123");
  EXPECT_THROW(gateway::ReadTokenFile(dir.Write("empty", "\n")), AutomationError);
  EXPECT_THROW(gateway::ReadTokenFile(dir.File("missing")), AutomationError);
}

}  // namespace
}  // namespace clipcat::gateway_test
