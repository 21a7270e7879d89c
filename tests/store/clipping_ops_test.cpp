// Single clippings in the store: adding, reading, updating, deleting, names unique within a
// folder, trial operations, and failures that must leave nothing behind.
#include "catalog_fixture.h"
#include "store/data_access_internal.h"
#include "util/guid.h"
#include "util/messages.h"

namespace clipcat::testing {
namespace {

class ClippingOpsTest : public BothKindsTest {
 protected:
  void SetUp() override {
    db_.ExecuteSQL("INSERT INTO Folder (lFolderID, lParentID) VALUES (2, 1)");
  }

  std::string Add(const std::string& name, const std::string& folder = "1") {
    return access_->AddClipping(NewClipping(name), folder)->ID();
  }

  // "name/description/folder/status/items" of clipping `id` as the store reads it.
  std::string Read(const std::string& id) {
    const auto clipping = access_->GetClipping(id, true);
    if (!clipping) return "none";
    std::string items;
    for (const auto& item : *clipping->ClippingData()) items += "[" + item->RawData() + "]";
    return clipping->Name() + "/" + clipping->Description() + "/" + clipping->FolderID() + "/" +
           std::to_string(clipping->ClippingStatus()) + "/" + items;
  }
};

INSTANTIATE_TEST_SUITE_P(BothKinds, ClippingOpsTest, ::testing::Values(0, 1), KindName);

TEST_P(ClippingOpsTest, AddFillsInTheCallersClippingAndIdsAreNeverSplicedAsSql) {
  const int32_t before = DataAccessInternal::GetNextID(*access_, "Folder", CreateGUIDString());
  auto clipping = NewClipping("Reply", "Dear Sir", "O'Brien's reply");
  const Date now = Date::Now();
  EXPECT_EQ(access_->AddClipping(clipping, "2"), clipping);
  // Clippings draw on the folders' counter: the key follows the last one drawn.
  EXPECT_EQ(clipping->ID(), std::to_string(before + 1));
  EXPECT_GE(clipping->Updated().serial(), now.serial() - 1.0 / 86400);
  EXPECT_EQ(Count("Clipping WHERE lFolderID=2 AND sName='Reply' AND sGUID='" + clipping->GUID() +
                  "' AND tUpdated='" + FormatIsoDate(clipping->Updated()) + "'"),
            1);
  EXPECT_EQ(Read(clipping->ID()), "Reply/O'Brien's reply/2/0/[Dear Sir]");
  EXPECT_NE(access_->AddClipping(NewClipping("Second"), "2")->GUID(), clipping->GUID());
  EXPECT_EQ(clipping->GUID().size() * 10 + Count("FolderIDGenerator"), 320u);
  // Misses answer nothing; ids and names are never spliced as SQL.
  EXPECT_EQ(access_->FindClippingWithGUID("' OR '1'='1", true), nullptr);
  EXPECT_EQ(access_->GetClippingByName("Reply' OR 'a'='a", "2", false), nullptr);
  for (const std::string bad : {"abc", "1 OR 1=1", "1; DELETE FROM Clipping"}) {
    EXPECT_EQ(ErrorOf([&] { access_->GetClipping(bad, false); }).number(), err::kTypeMismatch);
    EXPECT_EQ(ErrorOf([&] { access_->GetClippingByName("Reply", bad, false); }).number(),
              err::kTypeMismatch);
    EXPECT_NE(ErrorOf([&] { access_->DeleteClipping(bad, true); }).number(), 0);
  }
  const AutomationError missing = ErrorOf([&] { access_->GetClippingPathName("777"); });
  EXPECT_EQ(missing.number(), err::kObjectVariableNotSet);
  EXPECT_NE(missing.description().find("777"), std::string::npos);
  EXPECT_EQ(Count("Clipping"), 2);
}

TEST_P(ClippingOpsTest, NamesAreUniqueAmongLiveClippingsOfAFolderAndUpdatesKeepTheFolder) {
  const std::string first = Add("Letter");
  Add("Letter", "2");  // another folder may hold the name
  auto duplicate = NewClipping("LETTER");
  duplicate->SetID("caller's id");
  const AutomationError error = ErrorOf([&] { access_->AddClipping(duplicate, "1"); });
  EXPECT_EQ(error.number(), -2147220996);
  EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {"LETTER"}));
  EXPECT_EQ(duplicate->ID() + "/" + duplicate->GUID(), "caller's id/");
  EXPECT_EQ(Count("Clipping") * 10 + Count("ClippingDataType"), 22);
  // Renaming onto a taken name fails and keeps the old name and content.
  const auto other = access_->AddClipping(NewClipping("Note", "old content"), "1");
  other->SetName("Letter");
  other->ClippingData()->Item(1)->SetRawData("new content");
  EXPECT_EQ(ErrorOf([&] { access_->UpdateClipping(other, true); }).number(), -2147220996);
  EXPECT_EQ(Read(other->ID()), "Note//1/0/[old content]");
  // A deleted clipping's name is free again.
  access_->DeleteClipping(first, false);
  EXPECT_FALSE(access_->ClippingNameExists("Letter", "1"));
  EXPECT_EQ(access_->GetClippingByName("Letter", "1", false), nullptr);
  const std::string reused = Add("Letter");
  EXPECT_EQ(access_->GetClippingByName("Letter", "1", false)->ID(), reused);
  // An update writes text, status (which clients set through the XML form) and time, but
  // leaves the folder and, unless asked, the items.
  db_.ExecuteSQL("UPDATE Clipping SET tUpdated='2001-02-03 04:05:06'");
  const std::string id = other->ID();
  other->SetXML("<clipping Status=\"2\"><clippingdata/></clipping>");
  other->SetID(id);
  other->SetName("Final");
  other->SetDescription("It's done");
  other->SetFolderID("2");
  EXPECT_EQ(access_->UpdateClipping(other, false), other);
  EXPECT_EQ(Read(id), "Final/It's done/1/2/[old content]");
  EXPECT_EQ(Count("Clipping WHERE tUpdated='" + FormatIsoDate(other->Updated()) + "'"), 1);
}

TEST_P(ClippingOpsTest, DeletesKeepOrRemoveTheRowsOfTheClippingOnly) {
  const std::string doomed = Add("Doomed"), kept = Add("Kept");
  // Memberships of a category of group one (1) and of another group (2).
  db_.ExecuteSQL(
      "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName) VALUES "
      "(1, 1, 'One'), (2, 5, 'Other')");
  db_.ExecuteSQL("INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId) VALUES (" +
                 doomed + ", 1), (" + doomed + ", 2), (" + kept + ", 1)");
  // Soft: row and data stay, memberships of group one go, the name is free.
  access_->DeleteClipping(doomed, false);
  EXPECT_EQ(Read(doomed), "Doomed//1/4/[content]");
  EXPECT_EQ(Count("ClippingGroupClipping WHERE lClippingID=" + doomed), 1);
  // Permanent: every row of the clipping goes, those of others stay; unknown keys change
  // nothing.
  access_->DeleteClipping(doomed, true);
  access_->DeleteClipping("424242", true);
  access_->DeleteClipping("424242", false);
  for (const std::string table : {"Clipping", "ClippingDataType", "ClippingGroupClipping"}) {
    EXPECT_EQ(Count(table + " WHERE lClippingID=" + doomed), 0) << table;
    EXPECT_EQ(Count(table + " WHERE lClippingID=" + kept), 1) << table;
  }
  // A folder's clippings: a soft delete marks them, a permanent one also takes those marked.
  const std::string a = Add("A", "2");
  access_->DeleteClippingsFromFolder("2", false);
  EXPECT_EQ(Read(a), "A//2/4/[content]");
  const std::string b = Add("B", "2");
  access_->DeleteClippingsFromFolder("2", true);
  EXPECT_EQ(Count("Clipping WHERE lFolderID=2"), 0);
  EXPECT_EQ(Count("ClippingDataType WHERE lClippingID IN (" + a + ", " + b + ")"), 0);
  EXPECT_EQ(Read(kept), "Kept//1/0/[content]");
}

TEST_P(ClippingOpsTest, TrialsAndFailuresHalfwayLeaveNothingBehind) {
  const auto kept = access_->AddClipping(NewClipping("Kept", "kept content"), "1");
  auto probe = NewClipping("Probe");
  EXPECT_TRUE(access_->CanAddClipping(probe, "1") && access_->CanDeleteClipping(kept->ID(), true) &&
              access_->CanDeleteClipping(kept->ID(), false));
  EXPECT_FALSE(access_->CanAddClipping(probe, "x") || access_->CanAddClipping(nullptr, "1") ||
               access_->CanDeleteClipping("x", true));
  EXPECT_EQ(probe->ID() + probe->GUID() + Read(kept->ID()), "Kept//1/0/[kept content]");
  // The engine refuses data items of type 99, after the clipping row and earlier items went in.
  db_.ExecuteSQL(
      "CREATE TRIGGER RefuseType99 BEFORE INSERT ON ClippingDataType WHEN NEW.lDataTypeId = 99 "
      "BEGIN SELECT RAISE(ABORT, 'type 99 refused'); END");
  auto clipping = NewClipping("Half");
  auto refused = NewClipping("", "refused", "", 99)->ClippingData()->Item(1);
  clipping->ClippingData()->Add(refused);
  const AutomationError error = ErrorOf([&] { access_->AddClipping(clipping, "1"); });
  EXPECT_EQ(error.number(), err::kDatabaseError);
  EXPECT_NE(error.description().find("type 99 refused"), std::string::npos);
  // An update that fails while writing its items keeps the old text and items.
  kept->SetName("Renamed");
  kept->ClippingData()->Add(refused);
  EXPECT_EQ(ErrorOf([&] { access_->UpdateClipping(kept, true); }).number(), err::kDatabaseError);
  EXPECT_EQ(Read(kept->ID()), "Kept//1/0/[kept content]");
  EXPECT_EQ(Count("Clipping") * 10 + Count("ClippingDataType") + Count("FolderIDGenerator"), 11);
  EXPECT_EQ(Count("Clipping WHERE lClippingID=" + Add("Next")), 1);  // nothing was left open
}

}  // namespace
}  // namespace clipcat::testing
