// The access history: counting accesses, listing newest first within a maximum, forgetting.
#include <algorithm>

#include "catalog_fixture.h"

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

  // "GUID/catalog/name/favourite/count" of the row of clipping `id`, and whether its last access
  // is the present minute.
  std::string Row(const std::string& id) {
    Recordset rs = db_.GetRecordsetRO(
        "SELECT sClippingGUID || '/' || lExternalCatalogId || '/' || sName || '/' || bIsFavorite "
        "|| '/' || lAccessCount || '/' || (tDateLastAccessed > '" +
        FormatIsoDate(Date(Date::Now().serial() - 60.0 / 86400)) +
        "') AS r FROM AccessHistory WHERE sClippingId=" + SqlText(Variant(id)));
    return rs.RecordCount() == 1 ? rs.Value("r").ToText()
                                 : "rows: " + std::to_string(rs.RecordCount());
  }

  std::vector<std::string> Ids(int32_t maximum) {
    std::vector<std::string> ids;
    const auto history = access_->GetClippingsHistroy(maximum);
    for (const auto& clipping : *history->Items()) {
      EXPECT_EQ(clipping->Name() + clipping->GUID(), "");  // only id and access time are filled
      ids.push_back(clipping->ID());
    }
    return ids;
  }
};

TEST_F(AccessHistoryTest, EachAccessCountsAndTheListIsNewestFirstUpToTheMaximum) {
  Open("15", "GUID15", "Letter");
  Open("P7C16", "GUIDP7", "Shared");  // a clipping of a linked catalog records its catalog
  EXPECT_EQ(Row("15") + " " + Row("P7C16"), "GUID15/0/Letter/0/1/1 GUIDP7/7/Shared/0/1/1");
  db_.ExecuteSQL("UPDATE AccessHistory SET tDateLastAccessed='2003-05-02 00:00:00'");
  Open("15", "GUID15", "Letter's v2");
  Open("15", "GUID15", "Letter's v3");
  EXPECT_EQ(Row("15"), "GUID15/0/Letter's v3/0/3/1");
  // The row is found by id but changed by GUID: another GUID reads the count, changes nothing.
  Open("P7C16", "OTHER", "Renamed");
  EXPECT_EQ(Row("P7C16"), "GUIDP7/7/Shared/0/1/0");
  db_.ExecuteSQL(
      "INSERT INTO AccessHistory (sClippingId, tDateLastAccessed) VALUES ('3', '2003-05-03 "
      "08:30:15'), ('P2C5', '2003-05-09 23:30:15'), ('1', '2003-05-01 12:30:15')");
  const std::vector<std::string> newest_first = {"15", "P2C5", "3", "P7C16", "1"};
  for (int32_t maximum : {-1, 0, 1, 4, 5, 6}) {
    const size_t expected = static_cast<size_t>(std::max(0, std::min(maximum, 5)));
    EXPECT_EQ(Ids(maximum),
              std::vector<std::string>(newest_first.begin(), newest_first.begin() + expected))
        << maximum;
  }
  EXPECT_EQ(FormatIsoDate(access_->GetClippingsHistroy(2)->Items()->Item(2)->Accessed()),
            "2003-05-09 23:30:15");
  // Forgetting takes that id alone; a forgotten clipping starts again at one.
  for (const std::string id : {"P2C5", "404", "' OR '1'='1", ""})
    access_->DeleteClippingHistory(id);
  EXPECT_EQ(Ids(10), (std::vector<std::string>{"15", "3", "P7C16", "1"}));
  Open("P2C5", "G", "Again");
  EXPECT_EQ(Row("P2C5"), "G/2/Again/0/1/1");
}

}  // namespace
}  // namespace clipcat::testing
