// The items a route names by id in its path, or the 404 answer when the id names none of that
// kind. Works through the calling worker's Catalog; not thread-safe.
#pragma once

#include <memory>
#include <string>

#include "entities/clipping.h"
#include "entities/folder.h"
#include "library/catalog.h"

namespace clipcat::gateway {

// The folder `id`; raises ApiError 404 when the id names no folder.
std::shared_ptr<Folder> FolderOr404(Catalog& catalog, const std::string& id);

// The clipping `id` (with its data items when `data`); raises ApiError 404 when the id names no
// clipping, and the services' errors for one that cannot be read.
std::shared_ptr<Clipping> ClippingOr404(Catalog& catalog, const std::string& id, bool data);

}  // namespace clipcat::gateway
