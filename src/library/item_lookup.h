// Finding the folders, clippings and categories that a front end names by id or by name, with the
// refusals people are shown when an id names nothing. Not thread-safe: works through a Catalog,
// which belongs to one thread.
#pragma once

#include <memory>
#include <string>

#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/folder.h"
#include "library/catalog.h"

namespace clipcat {

// Raises 5 "Invalid procedure call or argument" (source "clipcat") with `what` as the
// description: a request the catalog cannot carry out as asked.
[[noreturn]] void Refuse(const std::string& what);

// The folder `id`, or nullptr when the id names none (it may name a clipping, or nothing). Raises
// only when the catalog could not be opened or read (an I/O error, no memory, a lost connection,
// a damaged file), which is no answer to whether the folder is there.
std::shared_ptr<Folder> FolderOrNothing(Catalog& catalog, const std::string& id);

// True when `folder` is the top folder of its catalog (its parent has the local key 0), the
// personal catalog's or a linked catalog's.
bool IsTopFolder(const Folder& folder);

// True for a number or P<catalog>C<number>: the forms of the ids the tree shows.
bool IsItemIdForm(const std::string& id);

// Refuses an id that is neither a number nor P<catalog>C<number>, naming it: the services would
// raise 13 "Type mismatch".
void RequireIdForm(const std::string& id);

// The folder `id`; refuses "no folder has the id ID" (and what RequireIdForm refuses). Raises
// the selected catalog's own error when that catalog does not open.
std::shared_ptr<Folder> RequireFolder(Catalog& catalog, const std::string& id);

// The clipping `id`, with its data items when `data`; refuses "no clipping or folder has the id
// ID" (a caller asks for a folder first) and what RequireIdForm refuses. Raises the service's
// errors for an id it cannot read.
std::shared_ptr<Clipping> RequireClipping(Catalog& catalog, const std::string& id, bool data);

// Raises the selected catalog's own error (-2147220994 for one that cannot be reached) when it
// does not open: for callers whose next service members never fail.
void RequireReachable(Catalog& catalog);

// The top folder of the selected catalog; raises the catalog's own error (-2147220994) when it
// cannot be reached and refuses "the catalog has no top folder".
std::shared_ptr<Folder> RequireTopFolder(Catalog& catalog);

// The first category, of the catalog that holds `item_id`, named `name` without regard to case
// (Unicode simple case folding, as the catalog compares names); nullptr when there is none.
std::shared_ptr<Category> CategoryNamed(Catalog& catalog, const std::string& item_id,
                                        const std::string& name);

}  // namespace clipcat
