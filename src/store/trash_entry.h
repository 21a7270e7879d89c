// One entry of a catalog's trash: a folder or clipping marked deleted by a delete of its own, with
// where it was and when it went.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "util/date.h"

namespace clipcat {

struct TrashEntry {
  std::string id;  // the item id of the folder or clipping
  bool is_folder = false;
  std::string name;
  std::string folder_id;  // the folder it was in (a top folder: "0")
  std::string path;       // that folder's path; empty when it is gone
  // When it was deleted and by whom; unknown for items deleted before the catalog kept a trash.
  std::optional<Date> deleted;
  std::string deleted_by;
  int32_t items_inside = 0;  // folders and clippings below it that went with it
};

}  // namespace clipcat
