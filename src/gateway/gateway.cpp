#include "gateway/gateway.h"

#include <arpa/inet.h>
#include <httplib.h>

#include <fstream>
#include <regex>

#include "automation/register_classes.h"
#include "gateway/api_errors.h"
#include "gateway/api_routes.h"
#include "gateway/json_form.h"
#include "gateway/web_files.h"
#include "service/catalog_memory.h"

namespace clipcat::gateway {
namespace {

// Compares without stopping at the first difference, so that the time taken does not tell how
// much of a guessed token was right.
bool SameSecret(const std::string& given, const std::string& expected) {
  unsigned char difference = given.size() == expected.size() ? 0 : 1;
  for (size_t i = 0; i < given.size(); ++i) {
    difference |= static_cast<unsigned char>(given[i] ^ expected[i % expected.size()]);
  }
  return difference == 0;
}

// The page's own files hold nothing of the catalog, and a browser cannot send a bearer token when
// it opens a page: they are served to anyone, and the page asks for the token its API calls need.
bool IsPageFile(const std::string& path) {
  if (path == "/") return true;
  for (const WebFile& file : WebFiles()) {
    if (file.path == path) return true;
  }
  return false;
}

void SendError(httplib::Response& response, int status, const std::string& description) {
  response.status = status;
  response.set_content(DumpJson(ErrorBody(ApiError(status, description))), "application/json");
}

}  // namespace

std::string ReadTokenFile(const std::string& path) {
  std::ifstream in(path);
  if (!in) throw AutomationError(err::kFileNotFound, kComponentSource, "File not found: " + path);
  std::string line;
  std::getline(in, line);
  const auto first = line.find_first_not_of(" \t\r\n");
  const auto last = line.find_last_not_of(" \t\r\n");
  if (first == std::string::npos) {
    throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                          "the token file " + path + " holds no token");
  }
  return line.substr(first, last - first + 1);
}

bool IsLoopback(const std::string& host) {
  if (host == "localhost" || host == "::1") return true;
  in_addr address{};
  return inet_pton(AF_INET, host.c_str(), &address) == 1 && (ntohl(address.s_addr) >> 24) == 127;
}

void ParseListenAddress(const std::string& text, std::string& host, int& port) {
  const auto colon = text.rfind(':');
  const auto refuse = [&] {
    throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                          "--listen takes ADDR:PORT, such as 127.0.0.1:8640, not " + text);
  };
  if (colon == std::string::npos || colon == 0) refuse();
  host = text.substr(0, colon);
  if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
    host = host.substr(1, host.size() - 2);
  }
  const std::string digits = text.substr(colon + 1);
  if (digits.empty() || digits.size() > 5 ||
      digits.find_first_not_of("0123456789") != std::string::npos) {
    refuse();
  }
  port = std::stoi(digits);
  if (port > 65535) refuse();
}

Gateway::Gateway(GatewayOptions options)
    : options_(std::move(options)), server_(std::make_unique<httplib::Server>()) {
  if (options_.token.empty() && !IsLoopback(options_.host)) {
    throw AutomationError(
        err::kInvalidProcedureCall, kComponentSource,
        "serving on " + options_.host + ", off the loopback interface, needs --token-file");
  }
  Configure();
}

Gateway::~Gateway() = default;

void Gateway::Configure() {
  RegisterClasses();  // for the call route
  LimitCatalogCacheMemory(options_.cache_memory_bytes);
  httplib::Server& server = *server_;
  const size_t threads = options_.threads;
  server.new_task_queue = [threads] { return new httplib::ThreadPool(threads); };
  // An answer goes out as headers and body in separate writes: without this the body waits for
  // the client's delayed acknowledgement, some 40 ms a request.
  server.set_tcp_nodelay(true);
  server.set_payload_max_length(options_.max_body_bytes);
  // The library's default closes a connection after 5 requests: a program making many requests
  // would pay a new connection for every 5, accepted and handed to a worker anew.
  server.set_keep_alive_max_count(options_.requests_per_connection);
  server.set_read_timeout(options_.timeout_seconds);
  server.set_write_timeout(options_.timeout_seconds);

  server.set_pre_routing_handler([this](const httplib::Request& request,
                                        httplib::Response& response) {
    if (!options_.allow_origin.empty()) {
      response.set_header("Access-Control-Allow-Origin", options_.allow_origin);
      response.set_header("Vary", "Origin");
      if (request.method == "OPTIONS") {
        // A browser's preflight carries no credentials: it is answered before the token check.
        response.set_header("Access-Control-Allow-Methods", "GET, POST, PATCH, DELETE");
        response.set_header("Access-Control-Allow-Headers", "Authorization, Content-Type");
        response.status = 204;
        return httplib::Server::HandlerResponse::Handled;
      }
    }
    if (!options_.token.empty() && !(request.method == "GET" && IsPageFile(request.path))) {
      const std::string header = request.get_header_value("Authorization");
      const std::string prefix = "Bearer ";
      const bool bearer = header.rfind(prefix, 0) == 0;
      if (!bearer || !SameSecret(header.substr(prefix.size()), options_.token)) {
        response.set_header("WWW-Authenticate", "Bearer");
        SendError(response, kStatusUnauthorized, "the request needs the gateway's bearer token");
        return httplib::Server::HandlerResponse::Handled;
      }
    }
    return httplib::Server::HandlerResponse::Unhandled;
  });

  // Statuses the server sets itself (an unknown path, a body over the limit, a request it could
  // not read) get the API's error form too.
  server.set_error_handler([](const httplib::Request& request, httplib::Response& response) {
    if (!response.body.empty()) return;
    if (response.status == kStatusNotFound) {
      SendError(response, kStatusNotFound, "no route " + request.method + " " + request.path);
    } else if (response.status == kStatusPayloadTooLarge) {
      SendError(response, kStatusPayloadTooLarge, "the request body is over the gateway's limit");
    } else if (response.status == kStatusBadRequest) {
      // The server reads a POST or PATCH body only by its length.
      SendError(response, kStatusBadRequest,
                "the request could not be read; a POST or PATCH needs a Content-Length, even "
                "for an empty body");
    } else if (response.status >= kStatusBadRequest) {
      SendError(response, response.status, "the request could not be answered");
    }
  });

  if (options_.log) {
    server.set_logger(
        [log = options_.log](const httplib::Request& request, const httplib::Response& response) {
          log(request.remote_addr + " " + request.method + " " + request.path + " " +
              std::to_string(response.status) + " " + std::to_string(response.body.size()));
        });
  }

  // The page: its files, each at one fixed path, index.html also at "/".
  for (const WebFile& file : WebFiles()) {
    const auto serve = [file](const httplib::Request&, httplib::Response& response) {
      response.set_content(std::string(file.content), std::string(ContentTypeOf(file.path)));
    };
    server.Get(std::regex_replace(std::string(file.path), std::regex(R"([.])"), R"(\.)"), serve);
    if (file.path == "/index.html") server.Get("/", serve);
  }

  ApiRoutes routes(server, options_.location);
  AddFolderRoutes(routes);
  AddClippingRoutes(routes);
  AddCategoryRoutes(routes);
  AddSearchAndHistoryRoutes(routes);
  AddTrashAndVersionRoutes(routes);
  AddCallRoute(routes);
}

void Gateway::Bind() {
  const bool bound = options_.port == 0
                         ? (bound_port_ = server_->bind_to_any_port(options_.host)) > 0
                         : server_->bind_to_port(options_.host, options_.port);
  if (options_.port != 0) bound_port_ = options_.port;
  if (!bound) {
    throw AutomationError(
        err::kInvalidProcedureCall, kComponentSource,
        "cannot listen on " + options_.host + ":" + std::to_string(options_.port));
  }
}

void Gateway::Run() { server_->listen_after_bind(); }

void Gateway::Stop() { server_->stop(); }

}  // namespace clipcat::gateway
