// Writing a catalog, or a folder of it, as a catalog document (catalog_document.h): the folders,
// the clippings that are not deleted with all of their data items, the categories with their
// members and, for a whole catalog, its linked catalogs. Deleted folders and clippings and the
// access history are left out, unless the export is asked for with history: then the trash (each
// deleted folder and clipping where it was, marked) and the versions of every clipping come too.
// Runs inside the caller's request (see catalog.h); not thread-safe.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "library/catalog.h"
#include "library/catalog_document.h"
#include "util/progress.h"

namespace clipcat {

// The whole selected catalog from its top folder: every category (those without members too) and
// every linked catalog. Reports a step per folder and per category. Raises the services' errors;
// names, descriptions and data that XML text cannot carry are written in base64, so whatever the
// catalog holds can be exported.
// With `unreadable` not null, a clipping that cannot be read from a damaged catalog
// (err::kCatalogDamaged) is left out instead: "ID NAME (in FOLDER PATH)" (or, for a folder whose
// clippings cannot be listed, the folder's path followed by "/*") is added to *unreadable and the
// export goes on with the rest.
CatalogDocument ExportCatalog(Catalog& catalog, const ProgressCallback& progress = {},
                              bool with_history = false,
                              std::vector<std::string>* unreadable = nullptr);

// The export ExportCatalog makes, written to `out` as it is read instead of held: the text
// CatalogDocument::Write gives for ExportCatalog's document, byte for byte, with memory that does
// not grow with the catalog. Answers what was written. On an error, `out` holds part of a document.
DocumentCounts WriteCatalogExport(Catalog& catalog, std::ostream& out,
                                  const ProgressCallback& progress = {}, bool with_history = false,
                                  std::vector<std::string>* unreadable = nullptr);

// WriteCatalogExport into the file `path` the way CatalogDocument::WriteFile writes one: beside it
// first (PATH.partial), renamed into place once complete, never onto a catalog file; same errors.
DocumentCounts ExportCatalogToFile(Catalog& catalog, const std::string& path,
                                   const ProgressCallback& progress = {}, bool with_history = false,
                                   std::vector<std::string>* unreadable = nullptr);

// The folder `folder_id` with the folders below it: only the categories that hold one of the
// written clippings, and no links. Errors as ExportCatalog's.
CatalogDocument ExportFolder(Catalog& catalog, const std::string& folder_id,
                             const ProgressCallback& progress = {}, bool with_history = false);

}  // namespace clipcat
