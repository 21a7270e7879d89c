// The stages of export and import, for the library's own use: moving a folder runs an export and
// an import as one operation with one progress count.
#pragma once

#include <string>
#include <vector>

#include "library/catalog.h"
#include "library/catalog_document.h"
#include "library/catalog_import.h"
#include "library/progress_internal.h"

namespace clipcat::internal {

// The subtree of `folder_id` as ExportFolder writes it, or with `whole_catalog` as ExportCatalog
// writes it (given the top folder's id). Raises the total by the folders and categories it finds
// and advances a step for each.
// With `with_history` the document also holds versions and the trash below the folder. With
// `unreadable` not null, clippings that a damaged catalog cannot give are noted there and left out
// (ExportCatalog).
CatalogDocument ExportTree(Catalog& catalog, const std::string& folder_id, bool whole_catalog,
                           bool with_history, ProgressCounter& progress,
                           std::vector<std::string>* unreadable = nullptr);

// Writes `document` into the catalog. With `as_child` its top folder becomes a new child of
// `target`; otherwise it is merged into `target` as ImportDocument describes. Advances a step per
// element of the document (see ImportSteps). Writes in one transaction of the target's catalog
// (WriteAsOneTransaction), so a failure leaves nothing; a caller's own transaction around it takes
// the import in.
// With `with_history` the document's versions and trash are written too; without, they are left
// out. A name already taken is dealt with as `on_conflict` says (see ImportDocument).
ImportResult ImportTree(Catalog& catalog, const CatalogDocument& document,
                        const std::string& target, bool as_child, bool with_history,
                        ProgressCounter& progress, OnConflict on_conflict = OnConflict::kFail);

}  // namespace clipcat::internal
