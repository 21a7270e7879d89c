// The JSON form of what the API answers: folders, clippings with their data items, categories,
// search hits, trash entries and versions. Keys are lower case and frozen (clients read them);
// dates are ISO 8601 in UTC ("2026-03-01T14:05:09Z"), null for never; ids are the library's item
// ids ("15", "P7C15"). Stateless; thread-safe for distinct entities.
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/folder.h"
#include "library/clipping_search.h"
#include "library/trash_and_versions.h"
#include "util/date.h"

namespace clipcat::gateway {

// {"id", "name", "description", "parent", "status", "updated", "linked", "online"}; with
// `children` also "children", the folder's ChildFolders in the same form, all the way down.
// "linked" is true for a folder that stands for a linked catalog (its top folder, or the linking
// folder itself when the catalog does not answer), and "online" false only for one that does not
// answer.
nlohmann::json FolderJson(const Folder& folder, bool children, bool in_linked_catalog = false);

// The folders of `folders` (a tree's roots) with their children.
nlohmann::json FolderTreeJson(const Folders& folders);

// {"id", "name", "description", "folder", "status", "updated", "accessed"} and "path" when the
// store gave one; with `items` also "items", each item's {"type", "typename", "bytes", "text"}
// ("text" null for a type without text).
nlohmann::json ClippingJson(const Clipping& clipping, bool items);

// The clippings of `clippings`, without items.
nlohmann::json ClippingListJson(const Clippings& clippings);

// {"id", "name", "description"}.
nlohmann::json CategoryJson(const Category& category);
nlohmann::json CategoryListJson(const Categories& categories);

// A content search hit: the clipping's form with "score" and "snippet".
nlohmann::json FoundClippingJson(const FoundClipping& found);

// {"id", "kind" ("folder" or "clipping"), "name", "folder", "path", "deleted", "deletedby",
// "itemsinside"}.
nlohmann::json TrashEntryJson(const TrashEntry& entry);

// {"version", "saved", "savedby", "name", "description", "bytes"}.
nlohmann::json VersionJson(const ClippingVersion& version);

// The text of `body` as the API sends it: invalid UTF-8 replaced, never raising.
std::string DumpJson(const nlohmann::json& body);

}  // namespace clipcat::gateway
