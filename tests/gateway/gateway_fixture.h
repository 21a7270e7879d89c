// The fixture of the gateway tests: a gateway started in this process on a free loopback port
// over a new temporary file catalog, and an HTTP client that goes through real sockets to it.
// Every test gets its own catalog and server; the server stops (its workers and their catalogs
// with it) when the test ends. Requests are made from the test thread.
#pragma once

#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "engine/connection_string.h"
#include "gateway/gateway.h"
#include "library/catalog.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"
#include "util/temp_dir.h"

namespace clipcat::gateway_test {

using nlohmann::json;

class GatewayTest : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = dir_.File("catalog.db");
    CreateCatalog(path_, "Personal");
  }
  void TearDown() override { StopServer(); }

  // The options the server starts with; a test changes them before its first request.
  gateway::GatewayOptions& options() { return options_; }

  void StartServer() {
    if (options_.location.connection_xml.empty()) options_.location.path = path_;
    options_.host = "127.0.0.1";
    options_.port = 0;
    server_ = std::make_unique<gateway::Gateway>(options_);
    server_->Bind();
    runner_ = std::thread([this] { server_->Run(); });
    client_ = std::make_unique<httplib::Client>("127.0.0.1", server_->port());
    client_->set_read_timeout(30);
  }

  // Asks the server to stop, as SIGTERM does, without waiting for it.
  void RequestStop() { server_->Stop(); }

  void StopServer() {
    if (!server_) return;
    server_->Stop();
    runner_.join();
    client_.reset();
    server_.reset();
  }

  // The client, the server started on first use.
  httplib::Client& client() {
    if (!server_) StartServer();
    return *client_;
  }
  int port() {
    client();
    return server_->port();
  }

  // A request's status and its body read as JSON (null for an empty body).
  struct Answer {
    int status = 0;
    json body;
    std::string text;
    std::string content_type;
  };

  static Answer Read(const httplib::Result& result) {
    Answer answer;
    if (!result) {
      ADD_FAILURE() << "no answer: " << httplib::to_string(result.error());
      return answer;
    }
    answer.status = result->status;
    answer.text = result->body;
    answer.content_type = result->get_header_value("Content-Type");
    if (!result->body.empty() && answer.content_type == "application/json") {
      answer.body = json::parse(result->body);
    }
    return answer;
  }

  Answer Get(const std::string& path) { return Read(client().Get(path)); }
  Answer Post(const std::string& path, const json& body) {
    return Read(client().Post(path, body.dump(), "application/json"));
  }
  Answer PostText(const std::string& path, const std::string& body) {
    return Read(client().Post(path, body, "application/json"));
  }
  Answer Patch(const std::string& path, const json& body) {
    return Read(client().Patch(path, body.dump(), "application/json"));
  }
  Answer Delete(const std::string& path) { return Read(client().Delete(path)); }

  // Adds what the API adds and answers the new item's id, expecting 201.
  std::string NewFolder(const std::string& parent, const std::string& name) {
    const Answer answer = Post("/api/folders", {{"parent", parent}, {"name", name}});
    EXPECT_EQ(answer.status, 201) << answer.text;
    return answer.body.value("id", "");
  }
  std::string NewClipping(const std::string& folder, const std::string& name,
                          const std::string& text = "some text") {
    const Answer answer =
        Post("/api/clippings", {{"folder", folder}, {"name", name}, {"text", text}});
    EXPECT_EQ(answer.status, 201) << answer.text;
    return answer.body.value("id", "");
  }

  // `clients` clients, each on a connection of its own, each add `each` clippings named
  // "cC-I" into `folder` at the same time; answers how many were answered 201.
  int AddAtOnce(const std::string& folder, int clients, int each) {
    std::atomic<int> created = 0;
    std::vector<std::thread> threads;
    for (int c = 0; c < clients; ++c) {
      threads.emplace_back([&, c] {
        httplib::Client own("127.0.0.1", port());
        own.set_read_timeout(60);
        for (int i = 0; i < each; ++i) {
          const json body = {{"folder", folder},
                             {"name", "c" + std::to_string(c) + "-" + std::to_string(i)},
                             {"text", "from client " + std::to_string(c)}};
          const auto result = own.Post("/api/clippings", body.dump(), "application/json");
          if (result && result->status == 201) ++created;
        }
      });
    }
    for (auto& thread : threads) thread.join();
    return created;
  }

  // The error number of an error answer, after checking its shape.
  static int64_t ErrorNumber(const Answer& answer) {
    EXPECT_TRUE(answer.body.contains("error")) << answer.text;
    if (!answer.body.contains("error")) return 0;
    const json& error = answer.body["error"];
    EXPECT_TRUE(error["source"].is_string());
    EXPECT_FALSE(error["description"].get<std::string>().empty());
    return error["number"].get<int64_t>();
  }

  // Links the file catalog `file` into the test catalog as folder `name`, through the library on
  // the test thread (the API takes no connection details).
  void LinkCatalog(const std::string& name, const std::string& file) {
    {
      CatalogLocation location;
      location.path = path_;
      Catalog catalog(ConnectionDetailsFor(location));
      const auto linked = ConnectionDetails::Create();
      linked->SetDataSourceType(1);
      linked->SetConnectionString(FileCatalogConnectionString(file));
      catalog.write().AddLinkedFolder(linked, name, catalog.details());
    }
    ReleaseAccessManager();
  }

  testing::TempDir dir_;
  std::string path_;

 private:
  gateway::GatewayOptions options_;
  std::unique_ptr<gateway::Gateway> server_;
  std::thread runner_;
  std::unique_ptr<httplib::Client> client_;
};

}  // namespace clipcat::gateway_test
