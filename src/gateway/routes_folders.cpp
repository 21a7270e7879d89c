// The folder routes: the tree with its linked catalogs, one folder, its clippings, and adding,
// changing and deleting folders.
#include "gateway/api_errors.h"
#include "gateway/api_routes.h"
#include "gateway/item_lookup.h"
#include "gateway/json_form.h"
#include "gateway/request_body.h"
#include "library/item_lookup.h"
#include "library/item_transfer.h"
#include "library/linked_catalog_status.h"

namespace clipcat::gateway {
namespace {

using nlohmann::json;

json FolderDetailJson(Catalog& catalog, const Folder& folder) {
  json form = FolderJson(folder, false);
  form["path"] = catalog.read().GetFolderPathName(folder.ID(), catalog.details());
  const auto folders = catalog.read().GetChildrenFolders(folder.ID(), catalog.details(), true);
  json children = json::array();
  for (const auto& child : *folders->Items()) children.push_back(FolderJson(*child, false));
  form["children"] = std::move(children);
  if (folder.ExternalCatalogID() != 0) {
    // A folder that links a catalog answers for that catalog's state now, as the tree does.
    const LinkedCatalogStatus linked = ProbeLinkedCatalog(catalog, folder);
    if (!linked.online) {
      form["online"] = false;
      form["status"] = kFolderStatusOffline;
      form["offline_reason"] = linked.reason;
    }
  }
  return form;
}

}  // namespace

void AddFolderRoutes(ApiRoutes& routes) {
  const std::string one = std::string("/api/folders/") + kIdGroup;

  routes.Get("/api/folders", [](Catalog& catalog, const httplib::Request&) {
    RequireReachable(catalog);
    return Reply::Json(FolderTreeJson(*catalog.read().GetFolders(catalog.details(), true)));
  });

  routes.Get(one, [](Catalog& catalog, const httplib::Request& request) {
    return Reply::Json(FolderDetailJson(catalog, *FolderOr404(catalog, request.matches[1])));
  });

  routes.Get(one + "/clippings", [](Catalog& catalog, const httplib::Request& request) {
    const std::string id = request.matches[1];
    FolderOr404(catalog, id);
    return Reply::Json(
        ClippingListJson(*catalog.read().GetClippingsFromFolder(id, catalog.details())));
  });

  routes.Post("/api/folders", [](Catalog& catalog, const httplib::Request& request) {
    const json body = ParseObject(request.body);
    const std::string parent = RequiredText(body, "parent");
    FolderOr404(catalog, parent);
    const auto folder = Folder::Create();
    folder->SetName(RequiredText(body, "name"));
    folder->SetDescription(TextField(body, "description").value_or(""));
    const auto added = catalog.write().AddFolder(folder, parent, catalog.details(), true);
    return Reply::Json(FolderDetailJson(catalog, *FolderOr404(catalog, added->ID())), 201);
  });

  routes.Patch(one, [](Catalog& catalog, const httplib::Request& request) {
    const json body = ParseObject(request.body);
    auto folder = FolderOr404(catalog, request.matches[1]);
    const auto name = TextField(body, "name");
    const auto description = TextField(body, "description");
    const auto parent = TextField(body, "parent");
    if (name || description) {
      if (name) folder->SetName(*name);
      if (description) folder->SetDescription(*description);
      catalog.write().UpdateFolder(folder, catalog.details(), true);
    }
    std::string id = folder->ID();
    if (parent && *parent != folder->ParentID()) {
      FolderOr404(catalog, *parent);
      id = MoveItem(catalog, id, *parent).folder->ID();
    }
    return Reply::Json(FolderDetailJson(catalog, *FolderOr404(catalog, id)));
  });

  routes.Delete(one, [](Catalog& catalog, const httplib::Request& request) {
    const std::string id = request.matches[1];
    FolderOr404(catalog, id);
    catalog.write().DeleteFolder(id, catalog.details(),
                                 IsTrue(request.get_param_value("permanently")));
    return Reply::NoContent();
  });
}

}  // namespace clipcat::gateway
