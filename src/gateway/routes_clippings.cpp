// The clipping routes: one clipping with its data items as text or one item's bytes, adding,
// changing, deleting, counting a use, and putting it in categories or taking it out.
#include "entities/plain_text.h"
#include "gateway/api_errors.h"
#include "gateway/api_routes.h"
#include "gateway/item_lookup.h"
#include "gateway/json_form.h"
#include "gateway/request_body.h"
#include "library/item_edits.h"
#include "library/item_lookup.h"
#include "library/item_transfer.h"

namespace clipcat::gateway {
namespace {

using nlohmann::json;

// The content type of a data item's bytes.
std::string MimeTypeOf(int32_t type) {
  switch (type) {
    case kRichTextDataType:
      return "application/rtf";
    case kPlainTextDataType:
      return "text/plain; charset=utf-8";
    case kSpreadsheetXmlDataType:
    case kWordProcessorXmlDataType:
    case kCatalogXmlDataType:
      return "application/xml";
    default:
      return "application/octet-stream";
  }
}

json ClippingDetailJson(Catalog& catalog, const std::string& id) {
  const auto clipping = ClippingOr404(catalog, id, true);
  json form = ClippingJson(*clipping, true);
  // The path of the folder just read: the clipping's own path would read the clipping again.
  form["path"] = catalog.read().GetFolderPathName(clipping->FolderID(), catalog.details());
  form["categories"] =
      CategoryListJson(*catalog.read().GetCategoriesForClipping(id, catalog.details()));
  return form;
}

// The bytes of the clipping's item of type `type` (its first item without one).
Reply RawItem(const Clipping& clipping, const std::string& type) {
  int32_t wanted = 0;
  if (!type.empty()) {
    wanted = DataTypeNamed(type);
    if (wanted == 0 && type.size() <= 9 &&
        type.find_first_not_of("0123456789") == std::string::npos) {
      wanted = std::stoi(type);
    }
    if (wanted <= 0) RaiseBadRequest("unknown data item type \"" + type + "\"");
  }
  for (const auto& item : *clipping.ClippingData()) {
    if (wanted == 0 || item->ClippingDataType() == wanted) {
      return Reply::Bytes(item->RawData(), MimeTypeOf(item->ClippingDataType()));
    }
  }
  throw ApiError(kStatusNotFound, "clipping " + clipping.ID() + " has no data item" +
                                      (wanted == 0 ? "" : " of type " + type));
}

}  // namespace

void AddClippingRoutes(ApiRoutes& routes) {
  const std::string one = std::string("/api/clippings/") + kIdGroup;

  routes.Get(one, [](Catalog& catalog, const httplib::Request& request) {
    const std::string id = request.matches[1];
    if (IsTrue(request.get_param_value("raw"))) {
      return RawItem(*ClippingOr404(catalog, id, true), request.get_param_value("type"));
    }
    return Reply::Json(ClippingDetailJson(catalog, id));
  });

  routes.Post("/api/clippings", [](Catalog& catalog, const httplib::Request& request) {
    const json body = ParseObject(request.body);
    const std::string folder = RequiredText(body, "folder");
    const auto clipping = Clipping::Create();
    clipping->SetName(RequiredText(body, "name"));
    clipping->SetDescription(TextField(body, "description").value_or(""));
    auto items = DataItemsOf(body);
    if (!items) RaiseBadRequest("a clipping needs \"text\" or \"items\"");
    clipping->SetClippingData(std::move(*items));
    FolderOr404(catalog, folder);
    const auto added = catalog.write().AddClipping(clipping, folder, catalog.details(), true);
    return Reply::Json(ClippingDetailJson(catalog, added->ID()), 201);
  });

  routes.Patch(one, [](Catalog& catalog, const httplib::Request& request) {
    const json body = ParseObject(request.body);
    const auto clipping = ClippingOr404(catalog, request.matches[1], true);
    const auto name = TextField(body, "name");
    const auto description = TextField(body, "description");
    const auto folder = TextField(body, "folder");
    auto items = DataItemsOf(body);
    if (name || description || items) {
      if (name) clipping->SetName(*name);
      if (description) clipping->SetDescription(*description);
      if (items) clipping->SetClippingData(std::move(*items));
      catalog.write().UpdateClipping(clipping, catalog.details(), items.has_value(), true);
    }
    std::string id = clipping->ID();
    if (folder && *folder != clipping->FolderID()) {
      FolderOr404(catalog, *folder);
      id = MoveItem(catalog, id, *folder).clipping->ID();
    }
    return Reply::Json(ClippingDetailJson(catalog, id));
  });

  routes.Delete(one, [](Catalog& catalog, const httplib::Request& request) {
    const std::string id = request.matches[1];
    ClippingOr404(catalog, id, false);
    catalog.write().DeleteClipping(id, catalog.details(),
                                   IsTrue(request.get_param_value("permanently")));
    return Reply::NoContent();
  });

  routes.Post(one + "/use", [](Catalog& catalog, const httplib::Request& request) {
    const auto clipping = ClippingOr404(catalog, request.matches[1], false);
    catalog.write().UpdateClippingHistory(clipping, catalog.details());
    return Reply::NoContent();
  });

  routes.Get(one + "/categories", [](Catalog& catalog, const httplib::Request& request) {
    const std::string id = request.matches[1];
    ClippingOr404(catalog, id, false);
    return Reply::Json(
        CategoryListJson(*catalog.read().GetCategoriesForClipping(id, catalog.details())));
  });

  routes.Post(one + "/categories", [](Catalog& catalog, const httplib::Request& request) {
    const json body = ParseObject(request.body);
    const std::string id = request.matches[1];
    const std::string name = RequiredText(body, "name");
    ClippingOr404(catalog, id, false);
    return Reply::Json(CategoryJson(*TagClipping(catalog, id, name)), 201);
  });

  routes.Delete(one + "/categories/([^/]+)", [](Catalog& catalog, const httplib::Request& request) {
    const std::string id = request.matches[1];
    const std::string name = request.matches[2];
    ClippingOr404(catalog, id, false);
    if (!CategoryNamed(catalog, id, name)) {
      throw ApiError(kStatusNotFound, "no category is named " + name);
    }
    UntagClipping(catalog, id, name);
    return Reply::NoContent();
  });
}

}  // namespace clipcat::gateway
