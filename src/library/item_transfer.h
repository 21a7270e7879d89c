// Copying and moving folders (with everything below them) and clippings to another folder, within
// a catalog or into another one linked into it. A copy adds new items. A move within a catalog
// gives the item its new parent and keeps its id, GUID, categories, versions and history; a move
// into another catalog is a copy followed by the permanent deletion of the original, so the moved
// items get new ids, GUIDs and update times there. Runs inside the caller's request (see
// catalog.h); not thread-safe.
#pragma once

#include <memory>
#include <string>

#include "entities/clipping.h"
#include "entities/folder.h"
#include "library/catalog.h"
#include "util/progress.h"

namespace clipcat {

// The item a copy or move answers: exactly one of the two is set.
struct TransferredItem {
  std::shared_ptr<Folder> folder;
  std::shared_ptr<Clipping> clipping;
  bool moved_across = false;  // a move into another catalog: a copy there, new ids
};

// Copies the folder or clipping `id` into the folder `parent`. A folder is copied with the folders
// and clippings below it (deleted ones left out), each clipping with all its data items; category
// memberships go along, within a catalog to the same categories, into another catalog to the
// categories of the same names there, made when missing. Answers the copy. A copy that fails
// halfway removes what it added before the error is raised. Refuses a parent that names no folder,
// an id that names nothing, a linked folder, and a folder copied into itself or below itself;
// raises the services' errors, such as a name already taken in `parent`. A folder copy reports a
// step per folder, clipping, category and membership.
TransferredItem CopyItem(Catalog& catalog, const std::string& id, const std::string& parent,
                         const ProgressCallback& progress = {});

// Moves the folder or clipping `id` into the folder `parent`: within its catalog in one
// transaction, keeping its ids; into another catalog by CopyItem, then the original is deleted
// permanently. Answers the moved item as it is after the move (`moved_across` tells which way it
// went). A move to where the item already is changes nothing and answers the item itself. Refuses
// as CopyItem does, and also the top folder of a catalog; a move that fails leaves the item as it
// was and no copy behind. A folder move across catalogs reports as a copy does, and one step more
// for the deletion.
TransferredItem MoveItem(Catalog& catalog, const std::string& id, const std::string& parent,
                         const ProgressCallback& progress = {});

}  // namespace clipcat
