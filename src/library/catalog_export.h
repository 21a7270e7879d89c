// Writing a catalog, or a folder of it, as a catalog document (catalog_document.h): the folders,
// the clippings that are not deleted with all of their data items, the categories with their
// members and, for a whole catalog, its linked catalogs. Deleted folders and clippings and the
// access history are left out, unless the export is asked for with history: then the trash (each
// deleted folder and clipping where it was, marked) and the versions of every clipping come too.
// Runs inside the caller's request (see catalog.h); not thread-safe.
#pragma once

#include <string>

#include "library/catalog.h"
#include "library/catalog_document.h"
#include "util/progress.h"

namespace clipcat {

// The whole selected catalog from its top folder: every category (those without members too) and
// every linked catalog. Reports a step per folder and per category. Raises the services' errors;
// names, descriptions and data that XML text cannot carry are written in base64, so whatever the
// catalog holds can be exported.
CatalogDocument ExportCatalog(Catalog& catalog, const ProgressCallback& progress = {},
                              bool with_history = false);

// The folder `folder_id` with the folders below it: only the categories that hold one of the
// written clippings, and no links. Errors as ExportCatalog's.
CatalogDocument ExportFolder(Catalog& catalog, const std::string& folder_id,
                             const ProgressCallback& progress = {}, bool with_history = false);

}  // namespace clipcat
