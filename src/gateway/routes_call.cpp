// The late-bound call route: POST /api/call/{ProgID}/{Member} with the arguments as a JSON array
// runs what `clipcat call` runs (automation/late_call.h) on the served catalog.
#include "automation/entity_objects.h"
#include "automation/late_call.h"
#include "gateway/api_errors.h"
#include "gateway/api_routes.h"
#include "gateway/call_values.h"
#include "gateway/request_body.h"

namespace clipcat::gateway {
namespace {

// A request may not name a catalog of its own choosing: connection details name files and
// servers of the machine the gateway runs on.
void RefuseConnectionArguments(const ParamInfo& param, const Variant&) {
  if (param.name.find("Connection") != std::string::npos ||
      param.object_type == "ConnectionDetails") {
    RaiseBadRequest("the gateway does not take connection details (" + param.name + ")");
  }
}

}  // namespace

void AddCallRoute(ApiRoutes& routes) {
  routes.Post("/api/call/([A-Za-z0-9_.]+)/([A-Za-z0-9_]+)",
              [](Catalog& catalog, const httplib::Request& request) {
                std::vector<Variant> arguments =
                    CallArguments(ParseArray(request.body.empty() ? "[]" : request.body));
                const LateCallResult result =
                    CallLateBound(request.matches[1], request.matches[2], std::move(arguments),
                                  Wrap(catalog.details()).AsObject(), RefuseConnectionArguments);
                if (!result.has_value) return Reply::NoContent();
                return Reply::Json({{"result", ResultJson(result.value)}});
              });
}

}  // namespace clipcat::gateway
