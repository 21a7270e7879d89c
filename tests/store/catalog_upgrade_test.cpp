// Catalogs of an earlier format are brought up to date when the store first opens them, on both
// engines: history rows that concurrent writers doubled are merged, the history index becomes
// unique, the version is recorded, and what was merged is noted.
#include "store/catalog_upgrade.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "engine/db_connection.h"
#include "engine_catalog.h"
#include "store/catalog_schema.h"
#include "store/data_access.h"
#include "support/postgres_test_server.h"
#include "temp_catalog.h"
#include "util/error_of.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

class CatalogUpgradeTest : public EngineCatalogTest {
 protected:
  void SetUp() override {
    EngineCatalogTest::SetUp();
    if (IsSkipped()) return;
    db_.OpenConnection(connection_string_, "", "");
  }

  // Turns the new catalog back into one of the first format, as such catalogs are found: a plain
  // index over the history's clipping ids, rows doubled by racing writers, and version 1.
  void MakeFirstFormat() {
    db_.ExecuteSQL("DROP INDEX ixAccessHistory_sClippingId");
    db_.ExecuteSQL("CREATE INDEX ixAccessHistory_sClippingId ON AccessHistory (sClippingId)");
    db_.ExecuteSQL(
        "UPDATE CatalogProperties SET sValue='1' WHERE sCatalogProperty='FormatVersion'");
    if (!OnServer()) db_.ExecuteSQL("PRAGMA user_version = 1");
    AddRow("G15", "15", 2, "2026-01-02 10:00:00");
    AddRow("G15", "15", 5, "2026-03-04 09:30:00");
    AddRow("G15", "15", 2147483645, "2026-02-01 08:00:00");
    AddRow("G7", "P3C7", 4, "2026-01-05 12:00:00");
    AddRow("GA", "", 1, "2026-01-06 12:00:00");
    AddRow("GB", "", 1, "2026-01-07 12:00:00");
    // Siblings that the first format told apart by case outside ASCII.
    for (const auto& [key, name] : {std::pair{50, "\xc3\x84rger"}, std::pair{51, "\xc3\xa4rger"}}) {
      db_.ExecuteSQL(
          "INSERT INTO Folder (lFolderID, sGuid, lParentID, sName, lExternalCatalogId, bIsLeaf, "
          "bIsOffline, iStatus, tUpdated) VALUES (" +
          std::to_string(key) + ", 'F" + std::to_string(key) + "', 1, " + SqlText(Variant(name)) +
          ", 0, 1, 0, 1, '2026-01-01 00:00:00')");
    }
  }

  void AddRow(const std::string& guid, const std::string& id, int64_t count,
              const std::string& when) {
    db_.ExecuteSQL(
        "INSERT INTO AccessHistory (sClippingGUID, lExternalCatalogId, sClippingId, sName, "
        "bIsFavorite, lAccessCount, tDateLastAccessed) VALUES (" +
        SqlText(Variant(guid)) + ", 0, " + (id.empty() ? "NULL" : SqlText(Variant(id))) +
        ", 'n', 0, " + std::to_string(count) + ", '" + when + "')");
  }

  std::string History() {
    Recordset rs = db_.GetRecordsetRO(
        "SELECT sClippingID, lAccessCount, tDateLastAccessed FROM AccessHistory"
        " ORDER BY sClippingGUID");
    std::string rows;
    for (; !rs.Eof(); rs.MoveNext()) {
      rows += ToTextOr(rs.Value("sClippingID"), "-") + ":" + rs.Value("lAccessCount").ToText() +
              "@" + FormatIsoDate(rs.Value("tDateLastAccessed").ToDate()) + " ";
    }
    return rows;
  }

  std::string Property(const std::string& name) {
    Recordset rs = db_.GetRecordsetRO(
        "SELECT sValue FROM CatalogProperties WHERE sCatalogProperty=" + SqlText(Variant(name)));
    return rs.Eof() ? "(none)" : ToTextOr(rs.Value("sValue"), "");
  }

  // The store's first open of the catalog, as any operation does it.
  void OpenThroughTheStore() {
    DataAccessSQL access;
    access.SetConnectionString(connection_string_);
    access.GetClippingsHistroy(1);
  }

  DBConnection db_;
};

TEST_P(CatalogUpgradeTest, NewCatalogsAreCurrentAndKeepOneHistoryRowPerClipping) {
  EXPECT_EQ(CatalogFormatVersion(db_), kCatalogFormatVersion);
  EXPECT_TRUE(UpgradeCatalog(db_).empty());
  AddRow("G1", "1", 1, "2026-01-01 00:00:00");
  EXPECT_EQ(ErrorOf([&] { AddRow("G1", "1", 1, "2026-01-01 00:00:00"); }).number(),
            err::kDatabaseError);
}

TEST_P(CatalogUpgradeTest, FirstOpenMergesDoubledHistoryRowsOnceAndRecordsTheVersion) {
  MakeFirstFormat();
  ASSERT_EQ(CatalogFormatVersion(db_), 1);
  OpenThroughTheStore();

  // Counts summed up to the largest 32-bit count, the latest access kept; rows without an id and
  // rows of other clippings untouched.
  const std::string merged =
      "15:2147483647@2026-03-04 09:30:00 P3C7:4@2026-01-05 12:00:00 "
      "-:1@2026-01-06 12:00:00 -:1@2026-01-07 12:00:00 ";
  EXPECT_EQ(History(), merged);
  EXPECT_EQ(CatalogFormatVersion(db_), kCatalogFormatVersion);
  if (!OnServer()) {
    EXPECT_EQ(db_.GetRecordsetRO("PRAGMA user_version").Value("user_version").ToLong(),
              kCatalogFormatVersion);
  }
  const std::string notes = Property(kCatalogPropertyUpgradeNotes);
  EXPECT_NE(notes.find("3 rows for clipping 15"), std::string::npos) << notes;
  EXPECT_EQ(notes.find("P3C7"), std::string::npos) << notes;
  // Names that now clash are reported, and both stay.
  EXPECT_NE(notes.find("\"\xc3\x84rger\" (50), \"\xc3\xa4rger\" (51)"), std::string::npos) << notes;
  EXPECT_EQ(
      db_.GetRecordsetRO("SELECT COUNT(*) AS n FROM Folder WHERE lParentID=1").Value("n").ToLong(),
      2);
  // The index is unique now, so racing writers cannot double a row again.
  EXPECT_EQ(ErrorOf([&] { AddRow("G15", "15", 1, "2026-05-01 00:00:00"); }).number(),
            err::kDatabaseError);

  // A second open finds nothing to do and changes nothing.
  OpenThroughTheStore();
  EXPECT_EQ(History(), merged);
  EXPECT_EQ(Property(kCatalogPropertyUpgradeNotes), notes);
}

TEST_P(CatalogUpgradeTest, ANewerOrForeignDatabaseIsLeftAlone) {
  db_.ExecuteSQL("UPDATE CatalogProperties SET sValue='99' WHERE sCatalogProperty='FormatVersion'");
  EXPECT_TRUE(UpgradeCatalog(db_).empty());
  EXPECT_EQ(Property("FormatVersion"), "99");
  db_.ExecuteSQL("DROP TABLE CatalogProperties");
  EXPECT_EQ(CatalogFormatVersion(db_), 0);
  EXPECT_TRUE(UpgradeCatalog(db_).empty());
  EXPECT_FALSE(db_.InTransaction());
}

INSTANTIATE_TEST_SUITE_P(BothEngines, CatalogUpgradeTest, ::testing::Bool(), EngineName);

}  // namespace
}  // namespace clipcat::testing
