// The trash and the versions of clippings from a front end's side: what is listed, brought back,
// removed for good, compared and made current again. Not thread-safe: works through a Catalog.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "entities/clipping.h"
#include "library/catalog.h"
#include "store/clipping_version.h"
#include "store/trash_entry.h"
#include "util/line_diff.h"

namespace clipcat {

// The trash of the selected catalog, or with `catalog_folder` of the catalog that folder links.
std::vector<TrashEntry> ListTrash(Catalog& catalog, const std::string& catalog_folder = "");

// Brings `id` back from the trash; answers the name it has now. A name taken meanwhile raises
// the catalog's error (-2147220997 for a folder, -2147220996 for a clipping) unless `rename`.
std::string RestoreFromTrash(Catalog& catalog, const std::string& id, bool rename);

// Removes for good what was deleted more than `older_than_days` days ago (all of it without),
// answers how many folders and clippings went.
int32_t EmptyTrash(Catalog& catalog, std::optional<int32_t> older_than_days,
                   const std::string& catalog_folder = "");

// The number of days a duration such as "30d", "2w", "12h" or "45" (days) stands for, rounded
// down for hours; refuses other text.
int32_t ParseDays(const std::string& text);

// The versions of clipping `id`, oldest first; refuses an id that names no clipping.
std::vector<ClippingVersion> ListVersions(Catalog& catalog, const std::string& id);

// Clipping `id` as version `version` left it, with its data; refuses a version it does not have.
std::shared_ptr<Clipping> ClippingAtVersion(Catalog& catalog, const std::string& id,
                                            int32_t version);

// Makes version `version` of clipping `id` current; the state it replaces becomes a version.
std::shared_ptr<Clipping> RevertToVersion(Catalog& catalog, const std::string& id, int32_t version);

// A line diff of the text of two states of clipping `id` (rich text and XML compared as their
// text): version `from` (the newest version without it) against version `to` (the current state
// without it).
std::vector<DiffLine> DiffVersions(Catalog& catalog, const std::string& id,
                                   std::optional<int32_t> from, std::optional<int32_t> to);

// Sets how many versions the selected catalog keeps per clipping.
void KeepVersions(Catalog& catalog, int32_t maximum);

// What the selected catalog's versions take.
VersionSpace VersionsSpace(Catalog& catalog);

}  // namespace clipcat
