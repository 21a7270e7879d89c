// The folder path and category names of clippings that were read without them (a folder's
// listing, the history, a search), for front ends that show them. Not thread-safe: works through
// a Catalog, which belongs to one thread.
#pragma once

#include <memory>
#include <vector>

#include "entities/clipping.h"
#include "library/catalog.h"

namespace clipcat {

// Sets each clipping's PathName to its folder's path as ResolveItem reads it back
// ("Team/Replies", "" for the top folder; see FolderPaths). The folder tree is read once. A
// clipping whose folder cannot be read gets "". Never raises.
void AddPaths(Catalog& catalog, const std::vector<std::shared_ptr<Clipping>>& clippings);

// AddPaths, and sets each clipping's Categories (its category names as the store composes them).
// A clipping whose catalog cannot be read keeps the categories it had; never raises.
void AddPathsAndCategories(Catalog& catalog,
                           const std::vector<std::shared_ptr<Clipping>>& clippings);

}  // namespace clipcat
