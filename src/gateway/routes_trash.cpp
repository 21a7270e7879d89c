// The trash (what was deleted, bringing it back, emptying it) and the versions of clippings.
#include "gateway/api_errors.h"
#include "gateway/api_routes.h"
#include "gateway/item_lookup.h"
#include "gateway/json_form.h"
#include "gateway/request_body.h"
#include "library/trash_and_versions.h"

namespace clipcat::gateway {
namespace {

using nlohmann::json;

// Version `text` of clipping `id`, refused with 404 when it has no such version.
int32_t ExistingVersion(Catalog& catalog, const std::string& id, const std::string& text) {
  for (const ClippingVersion& version : ListVersions(catalog, id)) {
    if (std::to_string(version.version) == text) return version.version;
  }
  throw ApiError(kStatusNotFound, "clipping " + id + " has no version " + text);
}

// Refuses with 404 an id that is not in the trash of the catalog that would hold it.
void RequireInTrash(Catalog& catalog, const std::string& id) {
  for (const TrashEntry& entry : ListTrash(catalog, id)) {
    if (entry.id == id) return;
  }
  throw ApiError(kStatusNotFound, "nothing in the trash has the id " + id);
}

}  // namespace

void AddTrashAndVersionRoutes(ApiRoutes& routes) {
  routes.Get("/api/trash", [](Catalog& catalog, const httplib::Request& request) {
    json list = json::array();
    for (const TrashEntry& entry : ListTrash(catalog, request.get_param_value("folder"))) {
      list.push_back(TrashEntryJson(entry));
    }
    return Reply::Json(list);
  });

  routes.Post(std::string("/api/trash/") + kIdGroup + "/restore",
              [](Catalog& catalog, const httplib::Request& request) {
                const std::string id = request.matches[1];
                RequireInTrash(catalog, id);
                const std::string name =
                    RestoreFromTrash(catalog, id, IsTrue(request.get_param_value("rename")));
                return Reply::Json({{"id", id}, {"name", name}});
              });

  routes.Delete("/api/trash", [](Catalog& catalog, const httplib::Request& request) {
    std::optional<int32_t> days;
    if (request.has_param("olderthan")) days = ParseDays(request.get_param_value("olderthan"));
    const int32_t removed = EmptyTrash(catalog, days, request.get_param_value("folder"));
    return Reply::Json({{"removed", removed}});
  });

  const std::string versions = std::string("/api/clippings/") + kIdGroup + "/versions";

  routes.Get(versions, [](Catalog& catalog, const httplib::Request& request) {
    const std::string id = request.matches[1];
    ClippingOr404(catalog, id, false);
    json list = json::array();
    for (const ClippingVersion& version : ListVersions(catalog, id)) {
      list.push_back(VersionJson(version));
    }
    return Reply::Json(list);
  });

  routes.Get(versions + "/([0-9]+)", [](Catalog& catalog, const httplib::Request& request) {
    const std::string id = request.matches[1];
    ClippingOr404(catalog, id, false);
    const int32_t version = ExistingVersion(catalog, id, request.matches[2]);
    json form = ClippingJson(*ClippingAtVersion(catalog, id, version), true);
    form["version"] = version;
    return Reply::Json(form);
  });

  routes.Post(versions + "/([0-9]+)/revert", [](Catalog& catalog, const httplib::Request& request) {
    const std::string id = request.matches[1];
    ClippingOr404(catalog, id, false);
    const int32_t version = ExistingVersion(catalog, id, request.matches[2]);
    return Reply::Json(ClippingJson(*RevertToVersion(catalog, id, version), true));
  });
}

}  // namespace clipcat::gateway
