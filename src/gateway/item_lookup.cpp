#include "gateway/item_lookup.h"

#include "gateway/api_errors.h"
#include "library/item_lookup.h"

namespace clipcat::gateway {

std::shared_ptr<Folder> FolderOr404(Catalog& catalog, const std::string& id) {
  auto folder = FolderOrNothing(catalog, id);
  if (!folder) RaiseNotFound("folder", id);
  return folder;
}

std::shared_ptr<Clipping> ClippingOr404(Catalog& catalog, const std::string& id, bool data) {
  auto clipping = catalog.read().GetClipping(id, catalog.details(), data);
  if (!clipping) RaiseNotFound("clipping", id);
  return clipping;
}

}  // namespace clipcat::gateway
