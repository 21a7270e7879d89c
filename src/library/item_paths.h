// Naming folders and clippings by path as well as by id: "Mail/Replies/Signature", relative to
// the personal catalog's top folder, with a linked catalog's folders under its linked folder's
// name ("Team/Shared/Greeting"). Not thread-safe: works through a Catalog.
#pragma once

#include <string>

#include "library/catalog.h"

namespace clipcat {

// What a name may stand for.
enum class ItemKind { kFolder, kClipping, kAny };

// The id of the item that `text` names. An id ("12", "P1C12") is answered as it is; anything
// else is a path: segments separated by "/" (empty ones and a leading "/" are ignored; "" and "/"
// name the top folder), each compared with the names of the folders there as the catalog
// compares names, without regard to case; the last one may name a clipping when `kind` allows.
// Refuses (5, "clipcat") a path that names nothing, naming the first segment not found, and a
// path that names more than one item, listing each with its id ("folder 4, clipping 9").
std::string ResolveItem(Catalog& catalog, const std::string& text, ItemKind kind);

// A folder's path as ResolveItem reads it ("Mail/Replies"; "" for the top folder).
std::string FolderPath(Catalog& catalog, const std::string& folder_id);

}  // namespace clipcat
