// Single clippings in the store: adding, reading, updating, deleting, names unique within a
// folder, trial operations, and failures that must leave nothing behind.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "catalog_fixture.h"
#include "store/data_access.h"
#include "store/data_access_internal.h"
#include "util/errors.h"
#include "util/guid.h"
#include "util/messages.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

class ClippingOpsTest : public BothKindsTest {
 protected:
  std::string Add(const std::string& name, const std::string& folder = "1") {
    return access_->AddClipping(NewClipping(name), folder)->ID();
  }

  // Puts clipping `id` into a new category of group `group` through plain rows.
  void AddToCategory(const std::string& id, int32_t category, int32_t group) {
    db_.ExecuteSQL(
        "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName) VALUES (" +
        SqlNumber(category) + ", " + SqlNumber(group) + ", 'C" + std::to_string(category) + "')");
    db_.ExecuteSQL("INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId) VALUES (" +
                   SqlNumber(Variant(id)) + ", " + SqlNumber(category) + ")");
  }

  // Whether the test's own connection sees clipping `id`: what the store left in an open
  // transaction it does not.
  bool Committed(const std::string& id) {
    return Count("Clipping WHERE lClippingID=" + SqlNumber(Variant(id))) == 1;
  }
};

INSTANTIATE_TEST_SUITE_P(BothKinds, ClippingOpsTest, ::testing::Values(0, 1), KindName);

TEST_P(ClippingOpsTest, AddFillsInTheCallersClippingAndReadsGiveItBack) {
  AddFolderRow(2, 1, "Letters");
  const int32_t before = DataAccessInternal::GetNextID(*access_, "Folder", CreateGUIDString());
  auto clipping = NewClipping("Reply", "Dear Sir", "O'Brien's reply");
  EXPECT_EQ(access_->AddClipping(clipping, "2"), clipping);
  // Clippings draw on the folders' counter: the key follows the last one drawn.
  EXPECT_EQ(clipping->ID(), std::to_string(before + 1));
  EXPECT_EQ(clipping->GUID().size(), 32u);
  EXPECT_LT(std::fabs(clipping->Updated().serial() - Date::Now().serial()), 10.0 / 86400);
  EXPECT_EQ(Count("Clipping WHERE lFolderID=2 AND sName='Reply' AND "
                  "sDescription='O''Brien''s reply' AND sGUID='" +
                  clipping->GUID() + "'"),
            1);
  const auto read = access_->FindClippingWithGUID(clipping->GUID(), false);
  EXPECT_EQ(read->ID() + "/" + read->FolderID() + "/" + FormatIsoDate(read->Updated()),
            clipping->ID() + "/2/" + FormatIsoDate(clipping->Updated()));
  EXPECT_EQ(read->ClippingData()->Count(), 0);  // content only when asked
  EXPECT_EQ(access_->GetClipping(clipping->ID(), true)->ClippingData()->Count(), 1);
  EXPECT_NE(access_->AddClipping(NewClipping("Second"), "2")->GUID(), clipping->GUID());
  EXPECT_EQ(Count("FolderIDGenerator"), 0);
  // Misses answer nothing; ids and names are never spliced as SQL.
  EXPECT_EQ(access_->GetClipping("99999", true), nullptr);
  EXPECT_EQ(access_->FindClippingWithGUID("' OR '1'='1", true), nullptr);
  EXPECT_EQ(access_->GetClippingByName("Reply' OR 'a'='a", "2", false), nullptr);
  for (const std::string bad : {"abc", "1 OR 1=1", "1; DELETE FROM Clipping"}) {
    EXPECT_EQ(ErrorOf([&] { access_->GetClipping(bad, false); }).number(), err::kTypeMismatch);
    EXPECT_EQ(ErrorOf([&] { access_->GetClippingByName("Reply", bad, false); }).number(),
              err::kTypeMismatch);
  }
  const AutomationError missing = ErrorOf([&] { access_->GetClippingPathName("777"); });
  EXPECT_EQ(missing.number(), err::kObjectVariableNotSet);
  EXPECT_NE(missing.description().find("777"), std::string::npos);
}

TEST_P(ClippingOpsTest, NamesAreUniqueAmongLiveClippingsOfAFolder) {
  AddFolderRow(2, 1, "Other");
  const std::string first = Add("Letter");
  Add("Letter", "2");  // another folder may hold the name
  auto duplicate = NewClipping("LETTER");
  duplicate->SetID("caller's id");
  duplicate->SetGUID("caller's guid");
  const AutomationError error = ErrorOf([&] { access_->AddClipping(duplicate, "1"); });
  EXPECT_EQ(error.number(), -2147220996);
  EXPECT_EQ(error.source(), "Data Services");
  EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {"LETTER"}));
  EXPECT_EQ(Count("Clipping") * 10 + Count("ClippingDataType"), 22);
  EXPECT_EQ(duplicate->ID() + "/" + duplicate->GUID(), "caller's id/caller's guid");
  // Renaming onto a taken name fails and keeps the old name and content.
  const auto other = access_->AddClipping(NewClipping("Note", "old content"), "1");
  other->SetName("Letter");
  other->ClippingData()->Item(1)->SetRawData("new content");
  EXPECT_EQ(ErrorOf([&] { access_->UpdateClipping(other, true); }).number(), -2147220996);
  const auto kept = access_->GetClipping(other->ID(), true);
  EXPECT_EQ(kept->Name() + "/" + kept->ClippingData()->Item(1)->RawData(), "Note/old content");
  // A deleted clipping's name is free again.
  access_->DeleteClipping(first, false);
  EXPECT_FALSE(access_->ClippingNameExists("Letter", "1"));
  EXPECT_EQ(access_->GetClippingByName("Letter", "1", false), nullptr);
  const std::string reused = Add("Letter");
  EXPECT_EQ(access_->GetClippingByName("Letter", "1", false)->ID(), reused);
  EXPECT_TRUE(Committed(reused));
}

TEST_P(ClippingOpsTest, UpdateWritesTextStatusAndTimeButNotTheFolder) {
  AddFolderRow(2, 1, "Elsewhere");
  const auto clipping = access_->AddClipping(NewClipping("Draft"), "1");
  const std::string id = clipping->ID();
  db_.ExecuteSQL("UPDATE Clipping SET tUpdated='2001-02-03 04:05:06' WHERE lClippingID=" + id);
  // Clients set a clipping's status through its XML form only.
  clipping->SetXML("<clipping Status=\"2\"><clippingdata/></clipping>");
  clipping->SetID(id);
  clipping->SetName("Final");
  clipping->SetDescription("It's done");
  clipping->SetFolderID("2");
  EXPECT_EQ(access_->UpdateClipping(clipping, false), clipping);
  const auto read = access_->GetClipping(id, true);
  EXPECT_EQ(read->Name() + "/" + read->Description() + "/" + read->FolderID(), "Final/It's done/1");
  EXPECT_EQ(read->ClippingStatus(), 2);
  EXPECT_EQ(FormatIsoDate(read->Updated()), FormatIsoDate(clipping->Updated()));
  EXPECT_GT(read->Updated().serial(), 40000.0);  // moved on from 2001
  EXPECT_EQ(read->ClippingData()->Count(), 1);
}

TEST_P(ClippingOpsTest, DeletesKeepOrRemoveTheRowsOfTheClippingOnly) {
  const std::string doomed = Add("Doomed");
  const std::string kept = Add("Kept");
  AddToCategory(doomed, 1, 1);
  AddToCategory(doomed, 2, 5);  // a category of another group
  db_.ExecuteSQL("INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId) VALUES (" +
                 kept + ", 1)");
  // Soft: row and data stay, memberships of group one go, the name is free.
  access_->DeleteClipping(doomed, false);
  const auto deleted = access_->GetClipping(doomed, true);
  EXPECT_EQ(deleted->ClippingStatus(), 4);
  EXPECT_EQ(deleted->ClippingData()->Count(), 1);
  EXPECT_NE(access_->FindClippingWithGUID(deleted->GUID(), false), nullptr);
  EXPECT_EQ(Count("ClippingGroupClipping WHERE lClippingID=" + doomed), 1);
  EXPECT_EQ(Count("GroupClipping"), 2);
  // Permanent: every row of the clipping goes, those of others stay.
  access_->DeleteClipping(doomed, true);
  for (const std::string table : {"Clipping", "ClippingDataType", "ClippingGroupClipping"}) {
    EXPECT_EQ(Count(table + " WHERE lClippingID=" + doomed), 0) << table;
    EXPECT_EQ(Count(table + " WHERE lClippingID=" + kept), 1) << table;
  }
  // Unknown keys change nothing; text that is not a key changes nothing and raises.
  access_->DeleteClipping("424242", true);
  access_->DeleteClipping("424242", false);
  for (const std::string bad : {"x", "1 OR 1=1", ""}) {
    EXPECT_NE(ErrorOf([&] { access_->DeleteClipping(bad, true); }).number(), 0);
  }
  // A folder's clippings: a soft delete marks them, a permanent one also takes those marked.
  AddFolderRow(2, 1, "Box");
  const std::string a = Add("A", "2");
  access_->DeleteClippingsFromFolder("2", false);
  EXPECT_EQ(access_->GetClipping(a, false)->ClippingStatus(), 4);
  const std::string b = Add("B", "2");
  access_->DeleteClippingsFromFolder("2", true);
  EXPECT_EQ(Count("Clipping WHERE lFolderID=2"), 0);
  EXPECT_EQ(Count("ClippingDataType WHERE lClippingID IN (" + a + ", " + b + ")"), 0);
  EXPECT_EQ(Count("Clipping WHERE iClippingStatus=0"), 1);
  EXPECT_TRUE(Committed(Add("After")));
}

TEST_P(ClippingOpsTest, TrialsAnswerAndLeaveNoRows) {
  const std::string id = Add("Existing");
  auto probe = NewClipping("Probe");
  probe->SetID("unchanged");
  EXPECT_TRUE(access_->CanAddClipping(probe, "1"));
  EXPECT_EQ(probe->ID() + "/" + probe->GUID(), "unchanged/");
  EXPECT_FALSE(access_->CanAddClipping(probe, "not a folder"));
  EXPECT_FALSE(access_->CanAddClipping(nullptr, "1"));
  for (bool permanently : {false, true}) EXPECT_TRUE(access_->CanDeleteClipping(id, permanently));
  EXPECT_FALSE(access_->CanDeleteClipping("not a key", true));
  EXPECT_EQ(Count("Clipping WHERE iClippingStatus=0") * 10 + Count("ClippingDataType"), 11);
  EXPECT_EQ(Count("FolderIDGenerator"), 0);
  EXPECT_TRUE(Committed(Add("After trials")));
}

TEST_P(ClippingOpsTest, FailureInTheMiddleOfAWriteLeavesNothingBehind) {
  // The engine refuses data items of type 99, after the clipping row and earlier items went in.
  db_.ExecuteSQL(
      "CREATE TRIGGER RefuseType99 BEFORE INSERT ON ClippingDataType WHEN NEW.lDataTypeId = 99 "
      "BEGIN SELECT RAISE(ABORT, 'type 99 refused'); END");
  const auto kept = access_->AddClipping(NewClipping("Kept", "kept content"), "1");
  auto clipping = NewClipping("Half");
  auto refused = ClippingData::Create();
  refused->SetClippingDataType(99);
  refused->SetRawData("refused");
  clipping->ClippingData()->Add(refused);
  const AutomationError error = ErrorOf([&] { access_->AddClipping(clipping, "1"); });
  EXPECT_EQ(error.number(), err::kDatabaseError);
  EXPECT_NE(error.description().find("type 99 refused"), std::string::npos);
  EXPECT_EQ(Count("Clipping") * 10 + Count("ClippingDataType"), 11);
  EXPECT_EQ(access_->GetClippingByName("Half", "1", false), nullptr);
  // An update that fails while writing its items keeps the old text and items.
  kept->SetName("Renamed");
  kept->ClippingData()->Add(refused);
  EXPECT_EQ(ErrorOf([&] { access_->UpdateClipping(kept, true); }).number(), err::kDatabaseError);
  const auto read = access_->GetClipping(kept->ID(), true);
  EXPECT_EQ(read->Name(), "Kept");
  ASSERT_EQ(read->ClippingData()->Count(), 1);
  EXPECT_EQ(read->ClippingData()->Item(1)->RawData(), "kept content");
  EXPECT_TRUE(Committed(Add("Next")));  // no transaction stayed open
}

}  // namespace
}  // namespace clipcat::testing
