// The everyday changes people make to items named by id: adding folders and clippings, renaming
// or deleting whatever the id names, folder or clipping, linking and unlinking catalogs, and
// putting clippings in a category by its name or taking them out. These are the checks every
// front end shares (usable names, no deletion of a catalog's top folder, unlink only of a link);
// the services below keep doing what an in-process caller asks. Runs inside the caller's request
// (see catalog.h); not thread-safe.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/folder.h"
#include "library/catalog.h"

namespace clipcat {

// Adds a folder named `name` under folder `parent`, the name unique among its siblings (the
// services' errors say when it is not). Refuses a name that RequireUsableName refuses and a parent
// that names no folder. Answers the folder as added.
std::shared_ptr<Folder> AddFolderNamed(Catalog& catalog, const std::string& parent,
                                       const std::string& name);

// Adds `clipping` (with its data items) to `folder`, its name unique there. Refuses what
// AddFolderNamed refuses. Answers the clipping as added.
std::shared_ptr<Clipping> AddClippingTo(Catalog& catalog, const std::string& folder,
                                        const std::shared_ptr<Clipping>& clipping);

// Renames the folder or clipping `id` to `name`, which must be unique among its siblings (the
// services' errors say when it is not). Refuses an id that names neither and a name that
// RequireUsableName (item_names.h) refuses.
void RenameItem(Catalog& catalog, const std::string& id, const std::string& name);

// What deleting `id` takes away: whether it is a folder, its name, and how many folders and
// clippings (not counting those already deleted) lie below it. Reads only. Refuses what
// RemoveItem refuses, with the same errors, so that a dry run fails where the deletion would.
struct RemovalScope {
  bool folder = false;
  std::string name;
  size_t folders = 0;
  size_t clippings = 0;
};
RemovalScope DescribeRemoval(Catalog& catalog, const std::string& id);

// Deletes the folder (with everything below it) or the clipping `id`: marked deleted, or removed
// for good when `permanently`. Refuses an id that names neither, and raises 511
// (err::kTopFolderNotDeletable, source "clipcat") for the top folder of any catalog, the personal
// one or a linked one, and for a folder that links a catalog (unlink removes the link); the
// service's DeleteFolder does neither for its in-process callers.
void RemoveItem(Catalog& catalog, const std::string& id, bool permanently);

// Links the catalog `linked` selects into the personal catalog as a top-level folder named
// `name`. Refuses a name that RequireUsableName refuses. With `check_reachable`, first opens the
// linked catalog (RequireCatalogReachable) and raises what that raises, storing nothing: wrong
// connection details are found now rather than shown later as an offline folder. Answers the
// linking folder.
std::shared_ptr<Folder> LinkCatalog(Catalog& catalog, const std::string& name,
                                    const std::shared_ptr<ConnectionDetails>& linked,
                                    bool check_reachable = true);

// Removes the link that folder `id` (the linking folder's own id, the one AddLinkedFolder
// answered) makes to another catalog, leaving that catalog untouched. Raises 512
// (err::kNotALinkedFolder, source "clipcat") for any other folder, which the service's
// DeleteLinkedFolder would delete for good; refuses an id that names no folder.
void UnlinkFolder(Catalog& catalog, const std::string& id);

// Puts the clipping in the category of its catalog named `category` (without regard to case, as
// the catalog compares names), making the category when there is none. Answers the category.
// It is not an error if the clipping is in the category already: nothing changes. Two writers
// tagging with the same new name at the same moment both end up in the one category. Refuses an
// id that names no clipping and a name that RequireUsableName refuses. One transaction: a failure
// makes no category.
std::shared_ptr<Category> TagClipping(Catalog& catalog, const std::string& clipping,
                                      const std::string& category);

// TagClipping for each of `clippings`, after every id has been found to name a clipping (an id
// that does not refuses before anything changes). Those of one catalog are tagged in one
// transaction: a failure tags none of them. Answers the category of the last one.
std::shared_ptr<Category> TagClippings(Catalog& catalog, const std::vector<std::string>& clippings,
                                       const std::string& category);

// Takes the clipping out of the category of its catalog named `category` (without regard to
// case). Refuses an id that names no clipping and a name that names no category.
void UntagClipping(Catalog& catalog, const std::string& clipping, const std::string& category);

// UntagClipping for each of `clippings`, after every id has been found to name a clipping; those
// of one catalog in one transaction, so that a failure untags none of them.
void UntagClippings(Catalog& catalog, const std::vector<std::string>& clippings,
                    const std::string& category);

}  // namespace clipcat
