// The everyday changes people make to items named by id: renaming or deleting whatever the id
// names, folder or clipping, and putting a clipping in a category by its name or taking it out.
// Runs inside the caller's request (see catalog.h); not thread-safe.
#pragma once

#include <memory>
#include <string>

#include "entities/category.h"
#include "library/catalog.h"

namespace clipcat {

// Renames the folder or clipping `id` to `name`, which must be unique among its siblings (the
// services' errors say when it is not). Refuses an id that names neither.
void RenameItem(Catalog& catalog, const std::string& id, const std::string& name);

// Deletes the folder (with everything below it) or the clipping `id`: marked deleted, or removed
// for good when `permanently`. Refuses an id that names neither.
void RemoveItem(Catalog& catalog, const std::string& id, bool permanently);

// Puts the clipping in the category of its catalog named `category` (without regard to case),
// making the category when there is none. Answers the category. Refuses an id that names no
// clipping; raises the services' errors, among them the catalog's own for a clipping that is in
// the category already.
std::shared_ptr<Category> TagClipping(Catalog& catalog, const std::string& clipping,
                                      const std::string& category);

// Takes the clipping out of the category of its catalog named `category` (without regard to
// case). Refuses an id that names no clipping and a name that names no category.
void UntagClipping(Catalog& catalog, const std::string& clipping, const std::string& category);

}  // namespace clipcat
