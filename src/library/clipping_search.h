// Searching clippings the way people ask: by the words they hold (content search), or by some of a
// name or description, in some folders or the whole catalog (with the catalogs linked into it),
// in some categories. Runs inside the caller's request (see catalog.h); not thread-safe.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "entities/clipping.h"
#include "library/catalog.h"

namespace clipcat {

struct ClippingQuery {
  // Text to find in names and descriptions, without regard to case. Without "*" it may stand
  // anywhere in them; with one, "*" matches anything and the rest must match as it stands.
  std::string text;
  std::vector<std::string> folders;     // folder ids; empty: the whole catalog
  bool linked = true;                   // without folders: each linked catalog that answers too
  bool subfolders = false;              // the folders below `folders` too
  std::vector<std::string> categories;  // category names; a clipping in any of them
  bool any_category = false;  // a clipping in one of the categories matches whatever its text
};

// The clippings that are not deleted and match `query`, each with its folder path (as the store
// writes it) and category names, folder by folder in the order of `query.folders`; without
// folders the selected catalog's, then those of each linked catalog that answers (with
// `query.linked`). The names of the linked catalogs left out because they did not answer go to
// `offline` when it is given. Raises the services' errors.
std::shared_ptr<Clippings> SearchClippings(Catalog& catalog, const ClippingQuery& query,
                                           std::vector<std::string>* offline = nullptr);

struct ContentQueryOptions {
  std::string text;       // the search text (store/content_query.h)
  std::string folder;     // a folder id: it and the folders below it; empty: every catalog
  bool linked = true;     // without a folder: the linked catalogs that answer too
  std::string category;   // a category name, in the folder's catalog (without a folder: in each
                          // catalog searched that has one of that name); empty: any
  int32_t data_type = 0;  // only clippings with an item of this type; 0: any
  int32_t limit = 50;     // at most this many results
};

// The clippings whose words match `options`, best first, each with its folder path (as the store
// writes it), score and snippet. Without a folder the selected catalog and (with
// `options.linked`) each linked catalog that answers are searched, each on its own engine, and
// the results merged by score; the names of the linked catalogs left out go to `offline` when it
// is given. Raises 5 for a search text without a word to look for or a category that no catalog
// searched has, and the services' errors.
std::vector<FoundClipping> SearchContent(Catalog& catalog, const ContentQueryOptions& options,
                                         std::vector<std::string>* offline = nullptr);

}  // namespace clipcat
