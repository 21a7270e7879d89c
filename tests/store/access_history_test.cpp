// The access history: counting accesses, listing newest first within a maximum, forgetting.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "catalog_fixture.h"
#include "store/data_access.h"
#include "util/date.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

class AccessHistoryTest : public CatalogTest {
 protected:
  void Open(const std::string& id, const std::string& guid, const std::string& name) {
    auto clipping = Clipping::Create();
    clipping->SetID(id);
    clipping->SetGUID(guid);
    clipping->SetName(name);
    access_->UpdateClippingHistory(clipping);
  }

  static Date At(int day, int hour) { return *Date::FromParts({2003, 5, day, hour, 30, 15}); }

  // A history row as an earlier session left it: GUID "G<id>", three accesses.
  void AddRow(const std::string& id, Date accessed) {
    db_.ExecuteSQL(
        "INSERT INTO AccessHistory (sClippingGUID, lExternalCatalogId, sClippingId, sName, "
        "bIsFavorite, lAccessCount, tDateLastAccessed) VALUES ('G" +
        id + "', 0, " + SqlText(Variant(id)) + ", 'Name', 0, 3, " + SqlDate(Variant(accessed)) +
        ")");
  }

  Recordset Row(const std::string& id) {
    return db_.GetRecordsetRO("SELECT * FROM AccessHistory WHERE sClippingId=" +
                              SqlText(Variant(id)));
  }

  static bool IsAboutNow(const Date& date) {
    return std::fabs(date.serial() - Date::Now().serial()) < 10.0 / 86400;
  }
};

TEST_F(AccessHistoryTest, FirstAccessInsertsAndEachFurtherOneCountsByTheRowsGuid) {
  Open("15", "GUID15", "Letter");
  Open("P7C16", "GUIDP7", "Shared");  // a clipping of a linked catalog records its catalog
  Recordset row = Row("15");
  ASSERT_EQ(row.RecordCount(), 1);
  EXPECT_EQ(row.Value("sClippingGUID").ToText(), "GUID15");
  EXPECT_EQ(row.Value("lExternalCatalogId").ToLong(), 0);
  EXPECT_EQ(row.Value("sName").ToText(), "Letter");
  EXPECT_FALSE(row.Value("bIsFavorite").ToBoolean());
  EXPECT_EQ(row.Value("lAccessCount").ToLong(), 1);
  EXPECT_TRUE(IsAboutNow(row.Value("tDateLastAccessed").ToDate()));
  EXPECT_EQ(Row("P7C16").Value("lExternalCatalogId").ToLong(), 7);
  db_.ExecuteSQL("UPDATE AccessHistory SET tDateLastAccessed='2001-01-01 00:00:00'");
  for (int32_t count = 2; count <= 4; ++count) {
    Open("15", "GUID15", "Letter's v" + std::to_string(count));
    row = Row("15");
    ASSERT_EQ(row.RecordCount(), 1);
    EXPECT_EQ(row.Value("lAccessCount").ToLong(), count);
    EXPECT_EQ(row.Value("sName").ToText(), "Letter's v" + std::to_string(count));
    EXPECT_TRUE(IsAboutNow(row.Value("tDateLastAccessed").ToDate()));
  }
  // The row is found by id but changed by GUID: another GUID reads the count, changes nothing.
  AddRow("20", At(1, 9));
  Open("20", "OTHER", "Renamed");
  EXPECT_EQ(Row("20").Value("lAccessCount").ToLong(), 3);
  EXPECT_EQ(Row("20").Value("sName").ToText(), "Name");
  Open("20", "G20", "Renamed");
  EXPECT_EQ(Row("20").Value("lAccessCount").ToLong(), 4);
  EXPECT_EQ(Count("AccessHistory"), 3);
}

TEST_F(AccessHistoryTest, ListsNewestFirstUpToTheMaximum) {
  EXPECT_EQ(access_->GetClippingsHistroy(10)->Items()->Count(), 0);
  // Inserted out of order, so that only the ordering can put them right.
  const std::vector<std::pair<std::string, Date>> rows = {
      {"3", At(3, 8)}, {"P2C5", At(9, 23)}, {"1", At(1, 12)}, {"4", At(9, 22)}, {"2", At(2, 0)}};
  for (const auto& [id, accessed] : rows) AddRow(id, accessed);
  const std::vector<std::string> newest_first = {"P2C5", "4", "3", "2", "1"};
  for (int32_t maximum : {-5, -1, 0, 1, 2, 4, 5, 6, 1000}) {
    const auto history = access_->GetClippingsHistroy(maximum);
    const int32_t expected = std::max(0, std::min(maximum, 5));
    ASSERT_EQ(history->Items()->Count(), expected) << maximum;
    for (int32_t i = 1; i <= expected; ++i) {
      const auto& clipping = history->Items()->Item(i);
      EXPECT_EQ(clipping->ID(), newest_first[static_cast<size_t>(i - 1)]);  // as stored
      EXPECT_EQ(clipping->Name() + clipping->GUID(), "");  // only id and access time are filled
    }
  }
  const auto all = access_->GetClippingsHistroy(5);
  EXPECT_EQ(FormatIsoDate(all->Items()->Item(1)->Accessed()), "2003-05-09 23:30:15");
  EXPECT_EQ(FormatIsoDate(all->Items()->Item(5)->Accessed()), "2003-05-01 12:30:15");
  Open("1", "G1", "Name");  // opening the oldest one makes it the newest
  EXPECT_EQ(access_->GetClippingsHistroy(1)->Items()->Item(1)->ID(), "1");
}

TEST_F(AccessHistoryTest, DeletingForgetsOnlyThatId) {
  AddRow("15", At(1, 1));
  AddRow("P7C15", At(1, 2));
  AddRow("16", At(1, 3));
  for (const std::string id : {"15", "404", "' OR '1'='1", ""}) access_->DeleteClippingHistory(id);
  const auto history = access_->GetClippingsHistroy(10);
  ASSERT_EQ(history->Items()->Count(), 2);
  EXPECT_EQ(history->Items()->Item(1)->ID(), "16");
  EXPECT_EQ(history->Items()->Item(2)->ID(), "P7C15");
  Open("15", "G15", "Again");  // a forgotten clipping starts again at one
  EXPECT_EQ(Row("15").Value("lAccessCount").ToLong(), 1);
}

}  // namespace
}  // namespace clipcat::testing
