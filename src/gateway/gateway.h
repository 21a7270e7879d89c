// The HTTP/JSON gateway of `clipcat serve`: one server serving one catalog (with the catalogs
// linked into it) to programs over HTTP, on a pool of worker threads that each use their own
// catalog connections. Construct, then Bind, then Run on one thread; Stop may be called from any
// thread (a signal watcher) and lets requests in flight finish.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <string>

#include "library/catalog_location.h"

namespace httplib {
class Server;
}  // namespace httplib

namespace clipcat::gateway {

struct GatewayOptions {
  CatalogLocation location;  // the catalog served
  std::string host = "127.0.0.1";
  int port = 8640;  // 0: any free port (see Gateway::port)
  // When not empty, every request needs "Authorization: Bearer TOKEN", but for the page's files.
  std::string token;
  std::string allow_origin;  // when not empty, the origin CORS lets in; off otherwise
  size_t threads = 32;       // worker threads, each with its own catalog connections
  // The pages all workers' file catalogs cache, together (each worker has its own connections,
  // and each connection would otherwise cache up to its own cache size); 0: no common limit.
  int64_t cache_memory_bytes = 24 << 20;
  size_t max_body_bytes = 64u << 20;
  // Requests one connection may make before the server closes it (the client then connects
  // again); a worker serves one connection at a time, so a kept connection holds its worker.
  size_t requests_per_connection = 100;
  std::time_t timeout_seconds = 10;  // for reading a request and writing an answer
  // Where one line per request goes ("ADDRESS METHOD PATH STATUS BYTES"); nothing when empty.
  std::function<void(const std::string& line)> log;
};

// Reads the token from `path`: its first line without surrounding white space. Raises 53 for a
// file that cannot be read and 5 for one without a token.
std::string ReadTokenFile(const std::string& path);

// Whether `host` is a loopback address (127.0.0.0/8, ::1, "localhost").
bool IsLoopback(const std::string& host);

// Splits "ADDR:PORT" ("[::1]:8640" for IPv6); refuses (5) anything else.
void ParseListenAddress(const std::string& text, std::string& host, int& port);

class Gateway {
 public:
  // Refuses (5) a host off loopback without a token.
  explicit Gateway(GatewayOptions options);
  ~Gateway();
  Gateway(const Gateway&) = delete;
  Gateway& operator=(const Gateway&) = delete;

  // Binds the listening socket; raises 5 when the address cannot be bound.
  void Bind();
  // The port bound (the chosen one for port 0). REQUIRES: Bind succeeded.
  int port() const { return bound_port_; }
  // Serves until Stop; the worker threads and their catalogs are gone when it returns.
  void Run();
  // Stops accepting; Run returns once the requests in flight are answered.
  void Stop();

 private:
  void Configure();

  GatewayOptions options_;
  std::unique_ptr<httplib::Server> server_;
  int bound_port_ = 0;
};

}  // namespace clipcat::gateway
