// The content index from a front end's side: making it anew on request, and showing how far the
// first build of an older catalog's index has come. Not thread-safe.
#pragma once

#include <string>

#include "library/catalog.h"
#include "util/progress.h"

namespace clipcat {

// Makes the content index of the catalog holding `item_id` (the catalog itself for the empty
// text) anew, in one transaction. Raises the services' errors.
void RebuildContentIndex(Catalog& catalog, const std::string& item_id,
                         const ProgressCallback& progress);

// Where the first build of an older catalog's content index, made when a catalog is opened,
// reports how far it has come. Set once, before the first catalog is opened.
void ReportIndexBuilds(ProgressCallback progress);

}  // namespace clipcat
