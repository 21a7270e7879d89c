// The routes of the JSON API as handlers on the calling worker thread's catalog: each request runs
// inside one RequestScope (library/request_scope.h), so that nothing a request leaves open reaches
// the next request on that worker; its errors become the API's error answers (api_errors.h).
// Registration happens before the server starts; handlers then run on the server's worker
// threads, each with a Catalog of its own.
#pragma once

#include <httplib.h>

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "library/catalog.h"
#include "library/catalog_location.h"

namespace clipcat::gateway {

// What a handler answers: JSON, or bytes of a given content type.
struct Reply {
  int status = 200;
  std::string body;
  std::string content_type;

  static Reply Json(const nlohmann::json& body, int status = 200);
  static Reply Bytes(std::string body, std::string content_type);
  // 204 without a body.
  static Reply NoContent();
};

class ApiRoutes {
 public:
  using Handler = std::function<Reply(Catalog& catalog, const httplib::Request& request)>;

  // Routes on `server`, working on the catalog `location` names.
  ApiRoutes(httplib::Server& server, CatalogLocation location)
      : server_(server), location_(std::move(location)) {}
  ApiRoutes(const ApiRoutes&) = delete;
  ApiRoutes& operator=(const ApiRoutes&) = delete;

  // `pattern` is a regular expression over the whole path; its groups reach the handler as
  // request.matches[1], ...
  void Get(const std::string& pattern, Handler handler);
  void Post(const std::string& pattern, Handler handler);
  void Patch(const std::string& pattern, Handler handler);
  void Delete(const std::string& pattern, Handler handler);

 private:
  httplib::Server::Handler Wrap(Handler handler) const;

  httplib::Server& server_;
  CatalogLocation location_;
};

// The path group of an item id in route patterns: the library's ids are letters and digits.
inline constexpr const char* kIdGroup = "([A-Za-z0-9]+)";

// Every route of the API on `routes` (routes_*.cpp).
void AddFolderRoutes(ApiRoutes& routes);
void AddClippingRoutes(ApiRoutes& routes);
void AddCategoryRoutes(ApiRoutes& routes);
void AddSearchAndHistoryRoutes(ApiRoutes& routes);
void AddTrashAndVersionRoutes(ApiRoutes& routes);
void AddCallRoute(ApiRoutes& routes);

}  // namespace clipcat::gateway
