// Catalog files of every earlier format, kept as SQL text in fixtures/ (a catalog of the current
// format with what each later format added taken away: the content index for format 3, folding
// of names outside ASCII for format 2, one history row per clipping for format 1). Each opens
// through the store as a current catalog whose clippings content search finds.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <fstream>
#include <sstream>
#include <string>

#include "engine/connection_string.h"
#include "store/catalog_upgrade.h"
#include "store/content_query.h"
#include "store/data_access.h"
#include "store/schema_description.h"
#include "util/temp_dir.h"

namespace clipcat::testing {
namespace {

// A catalog file made from fixture `catalog_format<version>.sql`, in a temporary directory.
class FormatFixture {
 public:
  explicit FormatFixture(int version) : path_(dir_.File("catalog.db")) {
    std::ifstream file(std::string(CLIPCAT_STORE_FIXTURES) + "/catalog_format" +
                       std::to_string(version) + ".sql");
    std::stringstream sql;
    sql << file.rdbuf();
    sqlite3* db = nullptr;
    EXPECT_EQ(sqlite3_open(path_.c_str(), &db), SQLITE_OK);
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(db, sql.str().c_str(), nullptr, nullptr, &error), SQLITE_OK)
        << (error != nullptr ? error : "");
    sqlite3_free(error);
    sqlite3_close(db);
  }

  // The first column of the rows of `sql`, joined with ";"; "error: ..." when it fails.
  std::string Query(const std::string& sql) {
    sqlite3* db = nullptr;
    sqlite3_open(path_.c_str(), &db);
    sqlite3_stmt* stmt = nullptr;
    std::string rows;
    int rc = sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr);
    while (rc == SQLITE_OK && (rc = sqlite3_step(stmt)) == SQLITE_ROW) {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
      rows += (rows.empty() ? "" : ";") + std::string(text != nullptr ? text : "NULL");
      rc = SQLITE_OK;
    }
    if (rc != SQLITE_DONE) rows = std::string("error: ") + sqlite3_errmsg(db);
    sqlite3_finalize(stmt);
    sqlite3_close(db);
    return rows;
  }

  std::string connection_string() const { return FileCatalogConnectionString(path_); }

 private:
  TempDir dir_;
  std::string path_;
};

std::string FoundIds(DataAccess& catalog, const std::string& words) {
  std::string ids;
  for (const FoundClipping& hit : catalog.SearchContent(ParseContentQuery(words), "", "", 0, 10)) {
    ids += (ids.empty() ? "" : ",") + hit.clipping->ID();
  }
  return ids;
}

class FormatFixturesTest : public ::testing::TestWithParam<int> {};

TEST_P(FormatFixturesTest, OpensAsACurrentCatalogWhoseContentIsFound) {
  const int version = GetParam();
  FormatFixture fixture(version);
  ASSERT_EQ(fixture.Query("PRAGMA user_version"), std::to_string(version));
  DataAccessMDB catalog;
  catalog.SetConnectionString(fixture.connection_string());
  ASSERT_TRUE(catalog.HasContentIndex());
  // The reminder's content is rich text: its words are found, its font table's are not.
  EXPECT_EQ(FoundIds(catalog, "overdue CAFE"), "3");
  EXPECT_EQ(FoundIds(catalog, "arial"), "");
  EXPECT_EQ(FoundIds(catalog, "payment OR nothing"), "3") << "a word of the description";
  EXPECT_EQ(FoundIds(catalog, "welc*"), "4");
  EXPECT_EQ(FoundIds(catalog, "\"hello and\""), "4");
  catalog.CloseCatalog();

  EXPECT_EQ(fixture.Query("PRAGMA user_version"), std::to_string(kCatalogFormatVersion));
  EXPECT_EQ(fixture.Query("SELECT sValue FROM CatalogProperties WHERE sCatalogProperty = "
                          "'FormatVersion'"),
            std::to_string(kCatalogFormatVersion));
  const std::string notes =
      fixture.Query("SELECT sValue FROM CatalogProperties WHERE sCatalogProperty = 'UpgradeNotes'");
  // Format 1 doubled a history row, formats 1 and 2 told two sibling names apart by case.
  EXPECT_EQ(notes.find("2 rows for clipping 3") != std::string::npos, version == 1) << notes;
  EXPECT_EQ(notes.find("\xc3\x84rger") != std::string::npos, version <= 2) << notes;
  EXPECT_EQ(fixture.Query("SELECT sClippingId || ':' || lAccessCount FROM AccessHistory ORDER BY "
                          "sClippingId"),
            version == 1 ? "3:5;4:1" : "3:1;4:1");
  EXPECT_EQ(fixture.Query("INSERT INTO ClippingTextIndex (ClippingTextIndex) VALUES "
                          "('integrity-check')"),
            "");
}

INSTANTIATE_TEST_SUITE_P(EveryEarlierFormat, FormatFixturesTest, ::testing::Values(1, 2, 3),
                         [](const ::testing::TestParamInfo<int>& info) {
                           return "Format" + std::to_string(info.param);
                         });

}  // namespace
}  // namespace clipcat::testing
