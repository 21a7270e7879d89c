// Adding a catalog document (catalog_document.h) to a catalog: its folders, clippings with their
// data, categories with their members and linked catalogs, through the public services and their
// checks. An import adds everything or nothing. Runs inside the caller's request (see catalog.h);
// not thread-safe.
#pragma once

#include <string>

#include "library/catalog.h"
#include "library/catalog_document.h"
#include "util/progress.h"

namespace clipcat {

// What an import made.
struct ImportResult {
  std::string folder_id;  // the folder that took the document's top folder
  DocumentCounts counts;  // what was added; categories found by name are not counted
};

// Merges `document` into the folder `into` (the selected catalog's top folder when empty): the
// document's clippings and child folders are added there. When that folder is its catalog's top
// folder and holds nothing yet, it also takes the document's top folder name and description, so
// that importing an export into a new catalog gives the same catalog. Categories are matched by
// name, without regard to case, with those of the target's catalog and made when missing; linked
// catalogs are linked again only when merging into the top folder. Names are checked as the
// services check them. Reports a step per element of the document.
//
// On any failure everything the import added is removed again (and the top folder given back its
// name) before the error is raised. Refuses a target that names no folder; raises the services'
// errors, such as -2147220996 for a clipping name already taken where it is added.
//
// With `with_history` the document's versions and trash come too: each version is added to its
// clipping with its number, time and user, and the items marked deleted go to the trash (names
// there are not checked) with the deletion time and user the document gives. Without it they are
// left out, and so is everything below a folder marked deleted.
ImportResult ImportDocument(Catalog& catalog, const CatalogDocument& document,
                            const std::string& into = "", const ProgressCallback& progress = {},
                            bool with_history = false);

}  // namespace clipcat
