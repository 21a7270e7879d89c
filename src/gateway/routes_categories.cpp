// The category routes: a catalog's categories, one category and its clippings, and adding,
// changing and deleting categories. Putting clippings in categories is a clipping route.
#include "gateway/api_errors.h"
#include "gateway/api_routes.h"
#include "gateway/item_lookup.h"
#include "gateway/json_form.h"
#include "gateway/request_body.h"
#include "library/item_lookup.h"

namespace clipcat::gateway {
namespace {

using nlohmann::json;

std::shared_ptr<Category> CategoryOr404(Catalog& catalog, const std::string& id) {
  std::shared_ptr<Category> category;
  // An id of a catalog that is not linked names nothing either.
  IgnoreErrors([&] { category = catalog.read().GetCategory(id, catalog.details()); });
  if (!category) RaiseNotFound("category", id);
  return category;
}

// The folder whose catalog a request means: "folder" given, else the selected catalog's top.
std::string CatalogFolder(Catalog& catalog, const std::optional<std::string>& folder) {
  if (folder && !folder->empty()) return FolderOr404(catalog, *folder)->ID();
  return RequireTopFolder(catalog)->ID();
}

}  // namespace

void AddCategoryRoutes(ApiRoutes& routes) {
  const std::string one = std::string("/api/categories/") + kIdGroup;

  routes.Get("/api/categories", [](Catalog& catalog, const httplib::Request& request) {
    const std::string folder = CatalogFolder(catalog, request.get_param_value("folder"));
    return Reply::Json(
        CategoryListJson(*catalog.read().GetCategoriesFromFolder(folder, catalog.details())));
  });

  routes.Get(one, [](Catalog& catalog, const httplib::Request& request) {
    return Reply::Json(CategoryJson(*CategoryOr404(catalog, request.matches[1])));
  });

  routes.Get(one + "/clippings", [](Catalog& catalog, const httplib::Request& request) {
    const std::string id = request.matches[1];
    CategoryOr404(catalog, id);
    return Reply::Json(
        ClippingListJson(*catalog.read().GetClippingsFromCategory(id, false, catalog.details())));
  });

  routes.Post("/api/categories", [](Catalog& catalog, const httplib::Request& request) {
    const json body = ParseObject(request.body);
    const auto category = Category::Create();
    category->SetName(RequiredText(body, "name"));
    category->SetDescription(TextField(body, "description").value_or(""));
    const std::string folder = CatalogFolder(catalog, TextField(body, "folder"));
    const auto added = catalog.write().AddCategory(category, folder, catalog.details(), true);
    return Reply::Json(CategoryJson(*added), 201);
  });

  routes.Patch(one, [](Catalog& catalog, const httplib::Request& request) {
    const json body = ParseObject(request.body);
    const auto category = CategoryOr404(catalog, request.matches[1]);
    if (const auto name = TextField(body, "name")) category->SetName(*name);
    if (const auto description = TextField(body, "description")) {
      category->SetDescription(*description);
    }
    const auto updated = catalog.write().UpdateCategory(category, catalog.details(), true);
    return Reply::Json(CategoryJson(*updated));
  });

  routes.Delete(one, [](Catalog& catalog, const httplib::Request& request) {
    const std::string id = request.matches[1];
    CategoryOr404(catalog, id);
    catalog.write().DeleteCategory(id, catalog.details());
    return Reply::NoContent();
  });
}

}  // namespace clipcat::gateway
