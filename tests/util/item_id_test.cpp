#include "util/item_id.h"

#include <gtest/gtest.h>

namespace clipcat {
namespace {

TEST(ItemID, ComposeTagsOnlyForExternalCatalogs) {
  EXPECT_EQ(ComposeItemID("15", 0), "15");
  EXPECT_EQ(ComposeItemID("P7C15", 0), "P7C15");
  EXPECT_EQ(ComposeItemID("15", 7), "P7C15");
  EXPECT_EQ(ComposeItemID("C15", 7), "P7C15");
  EXPECT_EQ(ComposeItemID("P3C15", 7), "P7P3C15");
  EXPECT_EQ(ComposeItemID("", 7), "P7C");
  EXPECT_EQ(ComposeItemID("15", 123456789), "P123456789C15");
}

TEST(ItemID, GetLocalStripsTheCatalogPrefixTextually) {
  EXPECT_EQ(GetLocalItemID("P7C15", 7), "15");
  EXPECT_EQ(GetLocalItemID("15", 7), "15");
  EXPECT_EQ(GetLocalItemID("P7C15", 0), "P7C15");
  EXPECT_EQ(GetLocalItemID("P12C5", 1), "2C5");
  EXPECT_EQ(GetLocalItemID("P7c15", 7), "c15");    // no upper-case C to remove
  EXPECT_EQ(GetLocalItemID("P7cC15", 7), "c15");   // first upper-case C, wherever it is
  EXPECT_EQ(GetLocalItemID("P8C15", 7), "P8C15");  // another catalog's prefix stays
  EXPECT_EQ(GetLocalItemID("C15", 7), "C15");
  // Round trip for every catalog and id shape that compose produces.
  for (int32_t catalog : {1, 7, 10, 99, 2147483647}) {
    for (const char* id : {"1", "15", "1000000"}) {
      EXPECT_EQ(GetLocalItemID(ComposeItemID(id, catalog), catalog), id);
    }
  }
}

TEST(ItemID, CatalogIDReadsOnlyWellFormedPrefixes) {
  EXPECT_EQ(GetCatalogIDFromItemID("P12C345"), "12");
  // The last does not fit 32 bits.
  for (const char* id : {"12", "P12", "PC5", "XP1C2", "PxC2", "", "P99999999999C2"})
    EXPECT_EQ(GetCatalogIDFromItemID(id), "0") << id;
}

TEST(ItemID, ExternalAndSameCatalog) {
  EXPECT_TRUE(IsExternalItemID("XP1") && IsExternalItemID("P7C15"));
  EXPECT_FALSE(IsExternalItemID("15") || IsExternalItemID("p7c15"));
  EXPECT_TRUE(ItemsInSameCatalog("1", "2") && ItemsInSameCatalog("P7C1", "P7C2"));
  EXPECT_FALSE(ItemsInSameCatalog("P7C1", "1") || ItemsInSameCatalog("P7C1", "P8C1"));
  EXPECT_TRUE(ItemsInSameCatalog("P12", "1"));  // an unreadable prefix counts as catalog 0
}

}  // namespace
}  // namespace clipcat
