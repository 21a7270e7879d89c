// The folder path and category names of clippings that were read without them (a folder's
// listing, the history, a search by words), for front ends that show them. Not thread-safe:
// works through a Catalog, which belongs to one thread.
#pragma once

#include <memory>
#include <vector>

#include "entities/clipping.h"
#include "library/catalog.h"

namespace clipcat {

// Sets each clipping's PathName (its folder's path as the store gives it) and Categories (its
// category names as the store composes them). A clipping whose catalog cannot be read keeps
// what it had; never raises for one clipping's sake.
void AddPathsAndCategories(Catalog& catalog,
                           const std::vector<std::shared_ptr<Clipping>>& clippings);

}  // namespace clipcat
