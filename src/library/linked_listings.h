// Listings that reach past the selected catalog into every catalog linked into it that answers:
// the categories and the recent history here, the searches in clipping_search.h. A linked catalog
// that does not answer is left out and named, so that a front end can say what is missing. Runs
// inside the caller's request (see catalog.h); not thread-safe.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "entities/category.h"
#include "entities/clipping.h"
#include "library/catalog.h"

namespace clipcat {

// The catalogs linked into the selected one, as the services see them now.
struct LinkedCatalogs {
  struct Online {
    std::string top_id;  // the linked catalog's top folder ("P7C1")
    std::string name;    // the linked folder's name, the first step of its items' paths
  };
  std::vector<Online> online;
  std::vector<std::string>
      offline;  // the names of the linked folders whose catalogs did not answer
};

// Asks each linked catalog whether it answers, all at once (ProbeLinkedCatalogs). Never raises.
LinkedCatalogs ListLinkedCatalogs(Catalog& catalog);

// A category and the catalog it belongs to.
struct CatalogCategory {
  std::shared_ptr<Category> category;
  std::string catalog;  // "" for the selected catalog, else the linked folder's path ("Team")
};

// The categories of the selected catalog, then, with `with_linked`, those of each linked catalog
// that answers, in link order; each catalog's in its own order. The names of the linked catalogs
// left out go to `offline` when it is given. Raises the selected catalog's errors.
std::vector<CatalogCategory> ListCategories(Catalog& catalog, bool with_linked,
                                            std::vector<std::string>* offline = nullptr);

// The `maximum` most recently used clippings, most recent first, each with its access time
// (ClippingDataRead::GetClippingsHistroy: the selected catalog keeps the use of the clippings of
// linked catalogs too). Without `with_linked` only the selected catalog's own clippings count.
// The names of the linked catalogs that did not answer, whose clippings are missing, go to
// `offline` when it is given. Raises the selected catalog's errors.
std::vector<std::shared_ptr<Clipping>> RecentlyUsed(Catalog& catalog, int32_t maximum,
                                                    bool with_linked,
                                                    std::vector<std::string>* offline = nullptr);

}  // namespace clipcat
