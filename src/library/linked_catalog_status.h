// Whether each catalog linked into the selected one can be reached now, and if not why, found for
// all of them at once: each is tried on a thread of its own, so that a command waits for the
// slowest catalog once rather than for each in turn. A server that did not answer is remembered
// for a short while (the engine does that), so the listings that follow do not wait for it again.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "entities/connection_details.h"
#include "entities/folder.h"
#include "library/catalog.h"
#include "util/errors.h"

namespace clipcat {

struct LinkedCatalogStatus {
  std::string folder_id;  // the linking folder in the selected catalog ("5")
  std::string probe_id;   // the id that routes to the linked catalog ("P3C5")
  std::string item_id;    // when online: the linked catalog's top folder ("P3C1")
  std::string name;       // the linking folder's name
  bool online = false;
  std::string reason;  // when offline: why, in a few words ("authentication failed")
  std::string detail;  // when offline: the error's own description, on one line
};

// The linked catalogs of the selected catalog, in the order of their folders' names. Raises only
// the errors of reading the selected catalog itself.
std::vector<LinkedCatalogStatus> ProbeLinkedCatalogs(Catalog& catalog);

// The same for one linking folder of the selected catalog (ExternalCatalogID() != 0).
LinkedCatalogStatus ProbeLinkedCatalog(Catalog& catalog, const Folder& linking);

// Opens the catalog `details` selects and reads its top folder, on a thread of its own so that
// the calling thread's open catalogs are left alone. Raises what opening it raises, and 5
// (source "clipcat") when it opens but holds no catalog.
void RequireCatalogReachable(const std::shared_ptr<ConnectionDetails>& details);

// Why a catalog could not be reached, in a few words, from the error opening it raised: "no
// route to the server", "the server refused the connection", "the server does not answer",
// "authentication failed", "the database does not exist", "missing rights", "not a catalog";
// otherwise the error's description.
std::string OfflineReason(const AutomationError& error);

}  // namespace clipcat
