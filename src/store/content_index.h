// The content index of a catalog: per clipping, its name, description and the plain text of its
// content (entities/plain_text.h), kept in ClippingText in step with every write of the clipping,
// in the same transaction, and indexed by the engine's full-text search (schema_description.h).
// Every clipping has its row whatever its status; searches leave deleted clippings out. Free
// functions over a catalog connection, used by the store's writes, its upgrade and its searches.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "store/content_query.h"
#include "util/progress.h"

namespace clipcat {

class DBConnection;

// The most text of one clipping's content that is indexed; the rest is not found.
inline constexpr size_t kContentTextLimit = 256 * 1024;

// True when the catalog on `connection` has a content index (format 4 and later).
bool HasContentIndex(DBConnection& connection);

// Writes the index row of clipping `key`, replacing the one it had.
void WriteContentText(DBConnection& connection, int32_t key, const std::string& name,
                      const std::string& description, const std::string& text);

// Writes the name and description of the index row of the clipping keyed `key_sql` (the key as
// the store's SQL writes it), keeping its text; nothing when there is no such row.
void WriteContentNames(DBConnection& connection, const std::string& key_sql,
                       const std::string& name, const std::string& description);

// Removes the index row of the clipping keyed `key_sql`; not an error when there is none.
void RemoveContentText(DBConnection& connection, const std::string& key_sql);

// Writes the index row of each clipping keyed in `keys` (any order, repeats allowed) that has
// none, from its name, description and items: what a write that deferred its index rows
// (DataAccess::RunAsOneTransaction) left to do. Runs in the caller's transaction; reads only the
// rows of those keys, however large the catalog.
void IndexClippingsWithoutText(DBConnection& connection, std::vector<int32_t> keys);

// Makes the content index anew from every clipping of the catalog, creating it when the catalog
// has none. `progress` hears of each clipping done. Runs in the caller's transaction.
void BuildContentIndex(DBConnection& connection, const ProgressCallback& progress);

// What a content search may be narrowed to; each given part must hold.
struct ContentFilter {
  std::optional<int32_t> folder_key;    // the clipping is in this folder or one below it
  std::optional<int32_t> category_key;  // the clipping belongs to this category
  std::optional<int32_t> data_type;     // the clipping has an item of this data type
};

// One clipping a content search found: its key, its score (higher is better; comparable within
// one engine), and where the search's words occur in its text.
struct ContentMatch {
  int32_t key = 0;
  double score = 0;
  std::string snippet;
};

// The best `max_items` clippings that match `query` and `filter`, not deleted, best first.
std::vector<ContentMatch> SearchContentIndex(DBConnection& connection, const ContentQuery& query,
                                             const ContentFilter& filter, size_t max_items);

}  // namespace clipcat
