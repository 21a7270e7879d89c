// Adding a catalog document (catalog_document.h) to a catalog: its folders, clippings with their
// data, categories with their members and linked catalogs, through the public services and their
// checks, in one transaction: an import adds everything or nothing. Runs inside the caller's
// request (see catalog.h); not thread-safe.
#pragma once

#include <string>
#include <vector>

#include "library/catalog.h"
#include "library/catalog_document.h"
#include "util/progress.h"

namespace clipcat {

// What an import does with a live folder, clipping or link whose name is already taken where it
// goes (names are compared as the catalog compares them).
enum class OnConflict {
  kFail,     // the import fails, and nothing it wrote stays
  kSkip,     // a clipping or link is left out; a folder is merged into the one of that name
  kReplace,  // a clipping's description and data replace the existing one's (UpdateClipping keeps
             // the old state as a version); a folder is merged; a link is left out
  kRename,   // the item is added as "NAME (2)" (or 3, 4, ...: the first name free)
};

struct ImportOptions {
  bool with_history = false;  // also the document's versions and trash
  OnConflict on_conflict = OnConflict::kFail;
};

// One thing an import did other than add an item as the document named it.
struct ImportNote {
  enum class Kind { kSkipped, kMerged, kReplaced, kRenamed, kNameFixed };
  Kind kind;
  std::string what;      // "folder", "clipping", "category" or "link"
  std::string folder;    // the document's folder it is in, "A/B" (PathStep-escaped); "" for the
                         // top folder (and for categories and links)
  std::string name;      // its name in the document
  std::string new_name;  // the name it was given (renamed, fixed), else ""
};

// What an import made.
struct ImportResult {
  std::string folder_id;  // the folder that took the document's top folder
  DocumentCounts counts;  // what was added; categories found by name are not counted, nor are
                          // skipped or replaced items
  std::vector<ImportNote> notes;  // in the order they happened
};

// Merges `document` into the folder `into` (the selected catalog's top folder when empty): the
// document's clippings and child folders are added there. When that folder is its catalog's top
// folder and holds nothing yet, it also takes the document's top folder name (unless that is
// empty, as in documents made from a directory or JSON) and description, so that importing an
// export into a new catalog gives the same catalog. Categories are matched by name, without
// regard to case, with those of the target's catalog and made when missing; linked catalogs are
// linked again only when merging into the top folder. Reports a step per element of the document.
//
// Names the library refuses (empty, only spaces, control characters; see item_names.h), which old
// catalogs may hold and exports carry, are fixed up for live items: each control character becomes
// a space, and a name left blank becomes "(unnamed)" (then "(unnamed) (2)" and so on when taken);
// each fix is noted. A live item whose name is taken is dealt with as `options.on_conflict` says,
// and noted. Members of a skipped clipping are left out; those of a replaced one join it.
//
// The import is one transaction of the target's catalog: on any failure, and when the process dies
// part-way, the catalog is left exactly as it was, and the same import can simply be run again.
// Refuses a target that names no folder; raises the services' errors, such as -2147220996 for a
// clipping name already taken where it is added (with OnConflict::kFail).
//
// With `options.with_history` the document's versions and trash come too: each version is added to
// its clipping with its number, time and user (not to a replaced clipping, which keeps its own),
// and the items marked deleted go to the trash (names there are neither checked nor fixed) with the
// deletion time and user the document gives. Without it they are left out, and so is everything
// below a folder marked deleted.
ImportResult ImportDocument(Catalog& catalog, const CatalogDocument& document,
                            const std::string& into = "", const ProgressCallback& progress = {},
                            const ImportOptions& options = {});

}  // namespace clipcat
