// The catalog's entities as JSON for scripts and the HTTP gateway: one fixed, lower-case key set
// per entity, dates in UTC ISO 8601, null for a date that was never set. Paths are written as the
// caller set them (the command line sets the paths of item_paths.h). Stateless and thread-safe. The
// key names and date form are what scripts depend on: frozen once released.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/folder.h"
#include "entities/plain_text.h"
#include "store/clipping_version.h"
#include "store/data_access.h"
#include "store/trash_entry.h"
#include "util/date.h"

namespace clipcat {

// A catalog date (local wall-clock time, read in the machine's time zone) as UTC,
// "2026-11-26T01:40:00Z"; null for day zero, 1899-12-30 00:00:00, the catalog's "never".
nlohmann::json DateJson(const Date& date);

// {"id", "name", "description", "guid", "parent_id", "updated", "offline"} and, when
// `with_children`, "folders": the child folders, each of the same form, recursively.
nlohmann::json FolderJson(const Folder& folder, bool with_children);

// {"id", "name", "description", "guid", "folder_id", "path", "categories", "updated",
// "accessed", "data"}: "data" lists each item as {"type", "type_name", "bytes"}, and with
// `with_content` its "content" too (a string when it is UTF-8, else null with "content_base64").
// "path" is the clipping's PathName (its folder's path), "categories" the names the store composed,
// split at ", ". "accessed" is the clipping's Accessed, or with `last_access` its entry there (null
// when it has none: never used).
nlohmann::json ClippingJson(const Clipping& clipping, bool with_content,
                            const std::map<std::string, Date>* last_access = nullptr);

// {"id", "name", "description", "updated"}.
nlohmann::json CategoryJson(const Category& category);

// {"id", "kind" ("folder" or "clipping"), "name", "folder_id", "path" (the entry's path as it
// is), "deleted" (null when not known), "deleted_by", "items_inside"}.
nlohmann::json TrashEntryJson(const TrashEntry& entry);

// {"version", "replaced", "by", "name", "description", "bytes"}.
nlohmann::json VersionJson(const ClippingVersion& version);

// ClippingJson without content, with the search's "score" and "snippet".
nlohmann::json FoundClippingJson(const FoundClipping& found,
                                 const std::map<std::string, Date>* last_access = nullptr);

}  // namespace clipcat
