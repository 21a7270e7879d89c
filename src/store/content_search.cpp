// Content search store operations: searching the content index, and making it anew.
#include <map>
#include <string>
#include <vector>

#include "store/content_index.h"
#include "store/data_access.h"
#include "store/key_text.h"
#include "store/transaction_internal.h"
#include "util/errors.h"
#include "util/item_id.h"
#include "util/values.h"

namespace clipcat {
namespace {

// The key of item id `id` of catalog `catalog_id`, when one is given. Raises 13 for an id that
// is not a key.
std::optional<int32_t> KeyOf(const std::string& id, int32_t catalog_id) {
  if (id.empty()) return std::nullopt;
  return Variant(RequireKeyText(GetLocalItemID(id, catalog_id))).ToLong();
}

}  // namespace

bool DataAccess::HasContentIndex() {
  EnsureCatalogOpen();
  return has_content_index_;
}

std::vector<FoundClipping> DataAccess::SearchContent(const ContentQuery& query,
                                                     const std::string& sFolderID,
                                                     const std::string& sCategoryID,
                                                     int32_t lDataType, int32_t lMaximumItems) {
  EnsureCatalogOpen();
  ContentFilter filter;
  filter.folder_key = KeyOf(sFolderID, ExternalCatalogID());
  filter.category_key = KeyOf(sCategoryID, ExternalCatalogID());
  if (lDataType != 0) filter.data_type = lDataType;
  if (!has_content_index_) {
    RaiseError(err::kInvalidProcedureCall, kDataServicesSource,
               "The catalog \"" + Name() +
                   "\" has no content index yet: it is made when someone who may change the "
                   "catalog opens it, or by clipcat reindex.");
  }
  std::vector<FoundClipping> found;
  if (lMaximumItems <= 0) return found;
  const std::vector<ContentMatch> matches =
      SearchContentIndex(Connection(), query, filter, static_cast<size_t>(lMaximumItems));
  if (matches.empty()) return found;
  std::string keys;
  for (const ContentMatch& match : matches) {
    keys += (keys.empty() ? "" : ", ") + std::to_string(match.key);
  }
  std::map<int32_t, std::shared_ptr<Clipping>> rows;
  Recordset rs =
      Connection().GetRecordsetRO("SELECT * FROM Clipping WHERE lClippingID IN (" + keys + ")");
  for (; !rs.Eof(); rs.MoveNext()) {
    rows[ToLongOr(rs.Value("lClippingID"), 0)] = ReadClippingRow(rs, false);
  }
  rs.Close();
  for (const ContentMatch& match : matches) {
    const auto row = rows.find(match.key);
    if (row != rows.end()) found.push_back({row->second, match.score, match.snippet});
  }
  return found;
}

void DataAccess::RebuildContentIndex(const ProgressCallback& progress) {
  EnsureCatalogOpen();
  InTransaction(Connection(), [&] { BuildContentIndex(Connection(), progress); });
  has_content_index_ = true;
}

}  // namespace clipcat
