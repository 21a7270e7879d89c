// When the clippings of a catalog were last used, as its access history holds it: for front ends
// that show the last use beside clippings read without it (a folder's listing, a search). Not
// thread-safe: works through a Catalog, which belongs to one thread.
#pragma once

#include <map>
#include <string>

#include "library/catalog.h"
#include "util/date.h"

namespace clipcat {

// Item id -> the last use, for every clipping of the selected catalog's history that still
// exists. A clipping that is not in the map was never used. Reads each history entry's clipping
// (without data), so it costs one read per clipping ever used.
using AccessTimes = std::map<std::string, Date>;
AccessTimes LastAccessTimes(Catalog& catalog);

// Counts a use of `clipping` in its catalog's history (UpdateClippingHistory). A catalog on
// storage that cannot be written (a read-only file, folder or file system) keeps its history as
// it is: there the use goes uncounted and nothing is raised. Raises the services' other errors.
void CountUse(Catalog& catalog, const std::shared_ptr<Clipping>& clipping);

}  // namespace clipcat
