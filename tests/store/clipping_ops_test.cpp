// Single clippings in the store: reading by key, GUID and name, adding, updating, deleting, names
// unique within a folder, trial operations, and failures that must leave nothing behind.
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
  // Clients set a clipping's status through its XML form only; the rest is kept.
  static void SetStatus(Clipping& clipping, int32_t status) {
    const auto data = clipping.ClippingData();
    const std::string id = clipping.ID(), guid = clipping.GUID(), folder = clipping.FolderID();
    const std::string name = clipping.Name(), description = clipping.Description();
    clipping.SetXML("<clipping Status=\"" + std::to_string(status) +
                    "\"><clippingdata/></clipping>");
    clipping.SetID(id);
    clipping.SetGUID(guid);
    clipping.SetFolderID(folder);
    clipping.SetName(name);
    clipping.SetDescription(description);
    clipping.SetClippingData(data);
  }

  std::string Add(const std::string& name, const std::string& folder = "1") {
    return access_->AddClipping(NewClipping(name), folder)->ID();
  }

  // Every row of the tables a clipping writes, so that a test can prove nothing changed.
  int32_t ClippingRows() { return Count("Clipping"); }
  int32_t DataRows() { return Count("ClippingDataType"); }

  // Puts clipping `id` into a new category of group `group` through plain rows.
  void AddToCategory(const std::string& id, int32_t category, int32_t group) {
    db_.ExecuteSQL(
        "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName, iStatus) "
        "VALUES (" +
        SqlNumber(category) + ", " + SqlNumber(group) + ", 'Category " + std::to_string(category) +
        "', 1)");
    db_.ExecuteSQL("INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId) VALUES (" +
                   SqlNumber(Variant(id)) + ", " + SqlNumber(category) + ")");
  }

  // True when a second connection sees what `access_` committed: proves that it left no
  // transaction open.
  bool VisibleElsewhere(const std::string& id) {
    DBConnection other;
    other.OpenConnection(catalog_.connection_string(), "", "");
    return other
               .GetRecordsetRO("SELECT * FROM Clipping WHERE lClippingID=" + SqlNumber(Variant(id)))
               .RecordCount() == 1;
  }
};

INSTANTIATE_TEST_SUITE_P(BothKinds, ClippingOpsTest, ::testing::Values(0, 1), KindName);

TEST_P(ClippingOpsTest, AddAnswersTheCallersClippingWithKeyGuidAndTime) {
  AddFolderRow(2, 1, "Letters");
  const int32_t before = DataAccessInternal::GetNextID(*access_, "Folder", CreateGUIDString());
  auto clipping = NewClipping("Reply", "Dear Sir", "O'Brien's reply");
  SetStatus(*clipping, 1);
  const auto added = access_->AddClipping(clipping, "2");
  EXPECT_EQ(added, clipping);  // the same object, filled in
  // Clippings draw on the folders' counter: the key follows the last one drawn.
  EXPECT_EQ(added->ID(), std::to_string(before + 1));
  EXPECT_EQ(added->FolderID(), "2");
  EXPECT_EQ(added->GUID().size(), 32u);
  EXPECT_LT(std::fabs(added->Updated().serial() - Date::Now().serial()), 10.0 / 86400);

  Recordset row = db_.GetRecordsetRO("SELECT * FROM Clipping WHERE lClippingID=" + added->ID());
  ASSERT_EQ(row.RecordCount(), 1);
  EXPECT_EQ(row.Value("lFolderID").ToLong(), 2);
  EXPECT_EQ(row.Value("sGUID").ToText(), added->GUID());
  EXPECT_EQ(row.Value("sName").ToText(), "Reply");
  EXPECT_EQ(row.Value("sDescription").ToText(), "O'Brien's reply");
  EXPECT_EQ(row.Value("iClippingStatus").ToLong(), 1);

  // Keys never repeat, and a second clipping gets its own GUID.
  const auto second = access_->AddClipping(NewClipping("Second"), "2");
  EXPECT_GT(std::stoi(second->ID()), std::stoi(added->ID()));
  EXPECT_NE(second->GUID(), added->GUID());
  EXPECT_EQ(Count("FolderIDGenerator"), 0);
}

TEST_P(ClippingOpsTest, ReadsByKeyGuidAndName) {
  AddFolderRow(2, 1, "Other");
  const auto added = access_->AddClipping(NewClipping("Memo", "body", "notes"), "1");
  Add("Memo", "2");  // the same name in another folder

  const std::vector<std::shared_ptr<Clipping>> found = {
      access_->GetClipping(added->ID(), false), access_->FindClippingWithGUID(added->GUID(), false),
      access_->GetClippingByName("Memo", "1", false)};
  for (const auto& clipping : found) {
    ASSERT_NE(clipping, nullptr);
    EXPECT_EQ(clipping->ID(), added->ID());
    EXPECT_EQ(clipping->FolderID(), "1");
    EXPECT_EQ(clipping->GUID(), added->GUID());
    EXPECT_EQ(clipping->Name(), "Memo");
    EXPECT_EQ(clipping->Description(), "notes");
    EXPECT_EQ(clipping->ClippingStatus(), 0);
    EXPECT_EQ(FormatIsoDate(clipping->Updated()), FormatIsoDate(added->Updated()));
    EXPECT_EQ(clipping->ClippingData()->Count(), 0);
  }
  EXPECT_EQ(access_->GetClippingByName("Memo", "2", true)->ClippingData()->Count(), 1);
  EXPECT_NE(access_->GetClippingByName("Memo", "2", false)->ID(), added->ID());
  EXPECT_TRUE(access_->ClippingNameExists("Memo", "1"));
  EXPECT_TRUE(access_->ClippingNameExists("Memo", "2"));

  // Misses answer nothing; ids and names are never spliced as SQL.
  EXPECT_EQ(access_->GetClipping("99999", true), nullptr);
  EXPECT_EQ(access_->FindClippingWithGUID("NOSUCHGUID", true), nullptr);
  EXPECT_EQ(access_->FindClippingWithGUID("' OR '1'='1", true), nullptr);
  EXPECT_EQ(access_->GetClippingByName("Memo", "3", false), nullptr);
  EXPECT_EQ(access_->GetClippingByName("Memo' OR 'a'='a", "1", false), nullptr);
  EXPECT_FALSE(access_->ClippingNameExists("Letter", "1"));
  EXPECT_FALSE(access_->ClippingNameExists("Memo", "3"));
  for (const std::string bad : {"abc", "1 OR 1=1", "1; DELETE FROM Clipping"}) {
    EXPECT_EQ(ErrorOf([&] { access_->GetClipping(bad, false); }).number(), err::kTypeMismatch);
    EXPECT_EQ(ErrorOf([&] { access_->GetClippingByName("Memo", bad, false); }).number(),
              err::kTypeMismatch);
  }
  EXPECT_EQ(ClippingRows(), 2);
}

TEST_P(ClippingOpsTest, ExternalCatalogIdsAreStrippedAndTagged) {
  access_->SetExternalCatalogID(Variant(int32_t{7}));
  const auto added = access_->AddClipping(NewClipping("Shared"), "P7C1");
  EXPECT_EQ(added->ID().rfind("P7C", 0), 0u) << added->ID();
  const std::string key = added->ID().substr(3);
  EXPECT_EQ(Count("Clipping WHERE lFolderID=1 AND lClippingID=" + key), 1);

  const auto read = access_->GetClipping(added->ID(), true);
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->ID(), added->ID());
  EXPECT_EQ(read->FolderID(), "P7C1");
  EXPECT_EQ(access_->GetClippingByName("Shared", "P7C1", false)->ID(), added->ID());
  EXPECT_EQ(access_->FindClippingWithGUID(added->GUID(), false)->ID(), added->ID());
  EXPECT_EQ(access_->GetClippingPathName(added->ID()), "Personal");
}

TEST_P(ClippingOpsTest, NamesAreUniqueAmongLiveClippingsOfAFolder) {
  AddFolderRow(2, 1, "Other");
  const std::string first = Add("Letter");
  Add("Letter", "2");  // another folder may hold the name

  const int32_t rows = ClippingRows();
  const int32_t data = DataRows();
  auto duplicate = NewClipping("LETTER");  // names compare without regard to case
  duplicate->SetID("caller's id");
  duplicate->SetGUID("caller's guid");
  const AutomationError error = ErrorOf([&] { access_->AddClipping(duplicate, "1"); });
  EXPECT_EQ(error.number(), -2147220996);
  EXPECT_EQ(error.source(), "Data Services");
  EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {"LETTER"}));
  EXPECT_NE(error.description().find("LETTER"), std::string::npos);
  EXPECT_EQ(ClippingRows(), rows);
  EXPECT_EQ(DataRows(), data);
  EXPECT_EQ(duplicate->ID(), "caller's id");  // a failed add leaves the caller's object alone
  EXPECT_EQ(duplicate->GUID(), "caller's guid");

  // Renaming onto a taken name fails and keeps the old name and content.
  const auto other = access_->AddClipping(NewClipping("Note", "old content"), "1");
  other->SetName("Letter");
  other->ClippingData()->Item(1)->SetRawData("new content");
  EXPECT_EQ(ErrorOf([&] { access_->UpdateClipping(other, true); }).number(), -2147220996);
  const auto kept = access_->GetClipping(other->ID(), true);
  EXPECT_EQ(kept->Name(), "Note");
  EXPECT_EQ(kept->ClippingData()->Item(1)->RawData(), "old content");

  // A deleted clipping's name is free again.
  access_->DeleteClipping(first, false);
  EXPECT_FALSE(access_->ClippingNameExists("Letter", "1"));
  const std::string reused = Add("Letter");
  EXPECT_NE(reused, first);
  EXPECT_EQ(access_->GetClippingByName("Letter", "1", false)->ID(), reused);
  EXPECT_TRUE(VisibleElsewhere(reused));
}

TEST_P(ClippingOpsTest, UpdateWritesTextStatusAndTimeButNotTheFolder) {
  AddFolderRow(2, 1, "Elsewhere");
  const auto clipping = access_->AddClipping(NewClipping("Draft"), "1");
  const std::string id = clipping->ID();
  const std::string guid = clipping->GUID();
  db_.ExecuteSQL("UPDATE Clipping SET tUpdated='2001-02-03 04:05:06' WHERE lClippingID=" + id);

  clipping->SetName("Final");
  clipping->SetDescription("It's done");
  SetStatus(*clipping, 2);
  clipping->SetFolderID("2");  // the folder is not something an update changes
  EXPECT_EQ(access_->UpdateClipping(clipping, false), clipping);

  const auto read = access_->GetClipping(id, true);
  EXPECT_EQ(read->Name(), "Final");
  EXPECT_EQ(read->Description(), "It's done");
  EXPECT_EQ(read->ClippingStatus(), 2);
  EXPECT_EQ(read->FolderID(), "1");
  EXPECT_EQ(read->GUID(), guid);
  EXPECT_EQ(FormatIsoDate(read->Updated()), FormatIsoDate(clipping->Updated()));
  EXPECT_GT(read->Updated().serial(), 40000.0);  // moved on from 2001
  EXPECT_EQ(read->ClippingData()->Count(), 1);
  EXPECT_EQ(ClippingRows(), 1);
}

TEST_P(ClippingOpsTest, SoftDeleteKeepsRowAndDataButDropsCategoryLinks) {
  const std::string id = Add("Old");
  const std::string guid = access_->GetClipping(id, false)->GUID();
  AddToCategory(id, 1, 1);
  AddToCategory(id, 2, 5);  // a category of another group keeps its member

  access_->DeleteClipping(id, false);
  const auto deleted = access_->GetClipping(id, true);
  ASSERT_NE(deleted, nullptr);
  EXPECT_EQ(deleted->ClippingStatus(), 4);
  EXPECT_EQ(deleted->ClippingData()->Count(), 1);
  ASSERT_NE(access_->FindClippingWithGUID(guid, false), nullptr);
  EXPECT_EQ(access_->GetClippingByName("Old", "1", false), nullptr);
  EXPECT_FALSE(access_->ClippingNameExists("Old", "1"));
  EXPECT_EQ(Count("ClippingGroupClipping WHERE lGroupClippingId=1"), 0);
  EXPECT_EQ(Count("ClippingGroupClipping WHERE lGroupClippingId=2"), 1);
  EXPECT_EQ(Count("GroupClipping"), 2);
}

TEST_P(ClippingOpsTest, PermanentDeleteRemovesEveryRowOfTheClippingOnly) {
  const std::string doomed = Add("Doomed");
  const std::string kept = Add("Kept");
  AddToCategory(doomed, 1, 1);
  AddToCategory(doomed, 2, 5);
  db_.ExecuteSQL("INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId) VALUES (" +
                 kept + ", 1)");

  access_->DeleteClipping(doomed, true);
  EXPECT_EQ(access_->GetClipping(doomed, true), nullptr);
  EXPECT_EQ(Count("Clipping WHERE lClippingID=" + doomed), 0);
  EXPECT_EQ(Count("ClippingDataType WHERE lClippingID=" + doomed), 0);
  EXPECT_EQ(Count("ClippingGroupClipping WHERE lClippingID=" + doomed), 0);
  EXPECT_EQ(access_->GetClipping(kept, true)->ClippingData()->Count(), 1);
  EXPECT_EQ(Count("ClippingGroupClipping WHERE lClippingID=" + kept), 1);

  // A soft-deleted clipping can still be removed for good.
  access_->DeleteClipping(kept, false);
  access_->DeleteClipping(kept, true);
  EXPECT_EQ(ClippingRows(), 0);
  EXPECT_EQ(DataRows(), 0);

  // Unknown keys change nothing; text that is not a key changes nothing and raises.
  const std::string survivor = Add("Survivor");
  access_->DeleteClipping("424242", true);
  access_->DeleteClipping("424242", false);
  for (const std::string bad : {"x", "1 OR 1=1", ""}) {
    EXPECT_NE(ErrorOf([&] { access_->DeleteClipping(bad, true); }).number(), 0);
  }
  EXPECT_EQ(ClippingRows(), 1);
  EXPECT_EQ(access_->GetClipping(survivor, false)->ClippingStatus(), 0);
  EXPECT_TRUE(VisibleElsewhere(Add("After")));
}

TEST_P(ClippingOpsTest, DeletingAFoldersClippingsReachesOnlyThatFolder) {
  AddFolderRow(2, 1, "Box");
  const std::string a = Add("A", "2");
  const std::string b = Add("B", "2");
  const std::string outside = Add("Outside", "1");

  access_->DeleteClippingsFromFolder("2", false);
  for (const std::string& id : {a, b}) {
    EXPECT_EQ(access_->GetClipping(id, false)->ClippingStatus(), 4) << id;
  }
  EXPECT_EQ(access_->GetClipping(outside, false)->ClippingStatus(), 0);

  // A permanent delete also takes the clippings that were only marked deleted.
  const std::string c = Add("C", "2");
  access_->DeleteClippingsFromFolder("2", true);
  for (const std::string& id : {a, b, c}) EXPECT_EQ(access_->GetClipping(id, false), nullptr);
  EXPECT_EQ(Count("ClippingDataType WHERE lClippingID IN (" + a + ", " + b + ", " + c + ")"), 0);
  EXPECT_NE(access_->GetClipping(outside, true), nullptr);
  EXPECT_TRUE(VisibleElsewhere(outside));
}

TEST_P(ClippingOpsTest, TrialsAnswerAndLeaveNoRows) {
  const std::string id = Add("Existing");
  const int32_t rows = ClippingRows();
  const int32_t data = DataRows();

  auto probe = NewClipping("Probe");
  probe->SetID("unchanged");
  EXPECT_TRUE(access_->CanAddClipping(probe, "1"));
  EXPECT_EQ(probe->ID(), "unchanged");
  EXPECT_EQ(probe->GUID(), "");
  EXPECT_FALSE(access_->CanAddClipping(probe, "not a folder"));
  EXPECT_FALSE(access_->CanAddClipping(nullptr, "1"));

  for (bool permanently : {false, true}) {
    EXPECT_TRUE(access_->CanDeleteClipping(id, permanently));
  }
  EXPECT_FALSE(access_->CanDeleteClipping("not a key", true));

  EXPECT_EQ(ClippingRows(), rows);
  EXPECT_EQ(DataRows(), data);
  EXPECT_EQ(Count("FolderIDGenerator"), 0);
  EXPECT_EQ(access_->GetClipping(id, true)->ClippingStatus(), 0);
  EXPECT_EQ(access_->GetClipping(id, true)->ClippingData()->Count(), 1);
  EXPECT_TRUE(VisibleElsewhere(Add("After trials")));
}

TEST_P(ClippingOpsTest, FailureInTheMiddleOfAWriteLeavesNothingBehind) {
  // The engine refuses data items of type 99, after the clipping row and earlier items went in.
  db_.ExecuteSQL(
      "CREATE TRIGGER RefuseType99 BEFORE INSERT ON ClippingDataType WHEN NEW.lDataTypeId = 99 "
      "BEGIN SELECT RAISE(ABORT, 'type 99 refused'); END");
  const auto kept = access_->AddClipping(NewClipping("Kept", "kept content"), "1");
  const int32_t rows = ClippingRows();
  const int32_t data = DataRows();

  auto clipping = NewClipping("Half");
  auto refused = ClippingData::Create();
  refused->SetClippingDataType(99);
  refused->SetRawData("refused");
  clipping->ClippingData()->Add(refused);
  const AutomationError error = ErrorOf([&] { access_->AddClipping(clipping, "1"); });
  EXPECT_EQ(error.number(), err::kDatabaseError);
  EXPECT_NE(error.description().find("type 99 refused"), std::string::npos);
  EXPECT_EQ(ClippingRows(), rows);
  EXPECT_EQ(DataRows(), data);
  EXPECT_EQ(access_->GetClippingByName("Half", "1", false), nullptr);

  // An update that fails while writing its items keeps the old text and items.
  kept->SetName("Renamed");
  kept->ClippingData()->Add(refused);
  EXPECT_EQ(ErrorOf([&] { access_->UpdateClipping(kept, true); }).number(), err::kDatabaseError);
  const auto read = access_->GetClipping(kept->ID(), true);
  EXPECT_EQ(read->Name(), "Kept");
  ASSERT_EQ(read->ClippingData()->Count(), 1);
  EXPECT_EQ(read->ClippingData()->Item(1)->RawData(), "kept content");

  // No transaction stayed open: the next add is committed for every other connection to see.
  const std::string next = Add("Next");
  EXPECT_TRUE(VisibleElsewhere(next));
  EXPECT_TRUE(VisibleElsewhere(kept->ID()));
}

TEST_P(ClippingOpsTest, PathNameIsThatOfTheHoldingFolder) {
  AddFolderRow(2, 1, "Projects");
  AddFolderRow(3, 2, "2002");
  const std::string deep = Add("Deep", "3");
  const std::string top = Add("Top", "1");
  EXPECT_EQ(access_->GetClippingPathName(deep), "Personal\\Projects\\2002");
  EXPECT_EQ(access_->GetClippingPathName(deep), access_->GetFolderPathName("3"));
  EXPECT_EQ(access_->GetClippingPathName(top), "Personal");
  const AutomationError missing = ErrorOf([&] { access_->GetClippingPathName("777"); });
  EXPECT_EQ(missing.number(), err::kObjectVariableNotSet);
  EXPECT_NE(missing.description().find("777"), std::string::npos);
}

}  // namespace
}  // namespace clipcat::testing
