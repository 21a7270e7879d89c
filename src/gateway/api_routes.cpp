#include "gateway/api_routes.h"

#include "gateway/api_errors.h"
#include "gateway/json_form.h"
#include "library/request_scope.h"
#include "service/connection_handler.h"

namespace clipcat::gateway {
namespace {

// The calling worker thread's handle on the served catalog. The services keep one set of open
// catalogs per thread, so each worker opens its own on its first request and keeps it until the
// server stops and the worker ends, which closes them.
Catalog& WorkerCatalog(const CatalogLocation& location) {
  // The handle's destruction at the thread's end releases the thread's catalogs, so they must be
  // destroyed after it: thread-local objects go in the reverse order of their first use, and this
  // (which does nothing else between requests) is the catalogs' first use on the thread.
  RollbackLeftoverTransactions();
  thread_local std::unique_ptr<Catalog> catalog;
  if (!catalog) catalog = std::make_unique<Catalog>(ConnectionDetailsFor(location));
  return *catalog;
}

void Send(const Reply& reply, httplib::Response& response) {
  response.status = reply.status;
  if (!reply.content_type.empty()) response.set_content(reply.body, reply.content_type.c_str());
}

void SendError(const AutomationError& error, httplib::Response& response) {
  Send(Reply::Json(ErrorBody(error), StatusForError(error)), response);
}

}  // namespace

Reply Reply::Json(const nlohmann::json& body, int status) {
  return {status, DumpJson(body), "application/json"};
}

Reply Reply::Bytes(std::string body, std::string content_type) {
  return {200, std::move(body), std::move(content_type)};
}

Reply Reply::NoContent() { return {204, "", ""}; }

httplib::Server::Handler ApiRoutes::Wrap(Handler handler) const {
  return [handler = std::move(handler), location = location_](const httplib::Request& request,
                                                              httplib::Response& response) {
    try {
      // One request, one scope: what a service member leaves open ends here.
      Send(RunRequest([&] { return handler(WorkerCatalog(location), request); }), response);
    } catch (const AutomationError& error) {
      SendError(error, response);
    } catch (const std::exception& error) {
      SendError(AutomationError(err::kInvalidProcedureCall, kGatewaySource, error.what()),
                response);
      response.status = kStatusInternalError;
    }
  };
}

void ApiRoutes::Get(const std::string& pattern, Handler handler) {
  server_.Get(pattern, Wrap(std::move(handler)));
}

void ApiRoutes::Post(const std::string& pattern, Handler handler) {
  server_.Post(pattern, Wrap(std::move(handler)));
}

void ApiRoutes::Patch(const std::string& pattern, Handler handler) {
  server_.Patch(pattern, Wrap(std::move(handler)));
}

void ApiRoutes::Delete(const std::string& pattern, Handler handler) {
  server_.Delete(pattern, Wrap(std::move(handler)));
}

}  // namespace clipcat::gateway
