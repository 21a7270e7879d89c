// Finding clippings: the content search and the history of recently used clippings.
#include <limits>

#include "gateway/api_errors.h"
#include "gateway/api_routes.h"
#include "gateway/json_form.h"
#include "library/clipping_search.h"
#include "library/item_lookup.h"

namespace clipcat::gateway {
namespace {

// Query parameter `name` as a positive number, `fallback` when it is not given.
int32_t PositiveParam(const httplib::Request& request, const char* name, int32_t fallback) {
  if (!request.has_param(name)) return fallback;
  const std::string text = request.get_param_value(name);
  try {
    size_t used = 0;
    const long value = std::stol(text, &used);
    if (used == text.size() && value > 0 && value <= std::numeric_limits<int32_t>::max()) {
      return static_cast<int32_t>(value);
    }
  } catch (const std::exception&) {
  }
  RaiseBadRequest(std::string("\"") + name + "\" must be a positive number");
}

}  // namespace

void AddSearchAndHistoryRoutes(ApiRoutes& routes) {
  routes.Get("/api/search", [](Catalog& catalog, const httplib::Request& request) {
    ContentQueryOptions options;
    options.text = request.get_param_value("q");
    options.folder = request.get_param_value("folder");
    options.category = request.get_param_value("category");
    options.data_type = request.has_param("type") ? PositiveParam(request, "type", 0) : 0;
    options.limit = PositiveParam(request, "limit", options.limit);
    nlohmann::json list = nlohmann::json::array();
    for (const FoundClipping& found : SearchContent(catalog, options)) {
      list.push_back(FoundClippingJson(found));
    }
    return Reply::Json(list);
  });

  routes.Get("/api/history", [](Catalog& catalog, const httplib::Request& request) {
    const int32_t maximum = PositiveParam(request, "max", 20);
    RequireReachable(catalog);
    return Reply::Json(
        ClippingListJson(*catalog.read().GetClippingsHistroy(maximum, catalog.details())));
  });
}

}  // namespace clipcat::gateway
