// Fixtures of the store operation tests: a fresh catalog, the data access object under test, and
// a connection of the test's own that sees only what the store committed. Used by one thread.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/db_connection.h"
#include "entities/clipping.h"
#include "entities/search.h"
#include "store/data_access.h"
#include "temp_catalog.h"
#include "util/error_of.h"
#include "util/values.h"

namespace clipcat::testing {

// Names the instances of a test run on DataAccessSQL (0) and DataAccessMDB (1), which must agree.
inline std::string KindName(const ::testing::TestParamInfo<size_t>& info) {
  return info.param == 0 ? "SQL" : "MDB";
}

// A new clipping with one content item of type `type` holding `content`.
inline std::shared_ptr<Clipping> NewClipping(const std::string& name,
                                             const std::string& content = "content",
                                             const std::string& description = "",
                                             int32_t type = 2) {
  auto clipping = Clipping::Create();
  clipping->SetName(name);
  clipping->SetDescription(description);
  auto data = ClippingData::Create();
  data->SetClippingDataType(type);
  data->SetRawData(content);
  clipping->ClippingData()->Add(data);
  return clipping;
}

// New clippings with nothing but the ids `ids`, in order.
inline std::shared_ptr<Clippings> ClippingsWithIds(const std::vector<std::string>& ids) {
  auto clippings = Clippings::Create();
  for (const std::string& id : ids) {
    auto clipping = Clipping::Create();
    clipping->SetID(id);
    clippings->AddClipping(clipping);
  }
  return clippings;
}

// A search for `text` in `folders` among `categories`, in the OR form when `or_category`.
inline std::shared_ptr<Search> NewSearch(const std::string& text,
                                         const std::vector<std::string>& folders = {},
                                         const std::vector<std::string>& categories = {},
                                         bool or_category = false) {
  auto search = Search::Create();
  search->SetSearchText(text);
  for (const auto& folder : folders) search->FolderIDs()->Add(folder);
  for (const auto& category : categories) search->CategoryNames()->Add(category);
  search->SetOrClippingBelongsToCategory(or_category);
  return search;
}

// `access_` on a fresh catalog (opened on its first use), and `db_`, the test's own connection.
class CatalogFixture {
 protected:
  explicit CatalogFixture(std::shared_ptr<DataAccess> access) : access_(std::move(access)) {
    access_->SetConnectionString(catalog_.connection_string());
    db_.OpenConnection(catalog_.connection_string(), "", "");
  }

  // The number of rows of "FROM `from_where`" that `db_` sees ("Folder WHERE iStatus=1").
  int32_t Count(const std::string& from_where) {
    return db_.GetRecordsetRO("SELECT COUNT(*) AS n FROM " + from_where).Value("n").ToLong();
  }

  TempCatalog catalog_;
  DBConnection db_;
  std::shared_ptr<DataAccess> access_;
};

class CatalogTest : public ::testing::Test, protected CatalogFixture {
 protected:
  CatalogTest() : CatalogFixture(DataAccessMDB::Create()) {}
};

// Tests that run on both kinds of data access object, the kind being the parameter.
class BothKindsTest : public ::testing::TestWithParam<size_t>, protected CatalogFixture {
 protected:
  BothKindsTest() : CatalogFixture(Create(GetParam())) {}

  static std::shared_ptr<DataAccess> Create(size_t kind) {
    if (kind == 1) return DataAccessMDB::Create();
    return DataAccessSQL::Create();
  }

  // A further object of the test's kind on the catalog, standing for external catalog
  // `catalog_id` (0: the catalog itself).
  std::shared_ptr<DataAccess> Make(int32_t catalog_id = 0) {
    std::shared_ptr<DataAccess> access = Create(GetParam());
    access->SetConnectionString(catalog_.connection_string());
    access->SetExternalCatalogID(Variant(catalog_id));
    return access;
  }
};

}  // namespace clipcat::testing
