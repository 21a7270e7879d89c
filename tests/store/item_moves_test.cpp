// Moves within a catalog on both engines: the item keeps its id and everything that hangs on it,
// the leaf marks follow, and every move that cannot be made is refused with nothing changed.
#include <gtest/gtest.h>

#include <string>

#include "catalog_fixture.h"
#include "engine/db_connection.h"
#include "engine_catalog.h"
#include "store/data_access.h"
#include "util/error_of.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

class ItemMovesTest : public EngineAccessTest {
 protected:
  std::string Add(const std::string& name, const std::string& folder) {
    return access_->AddClipping(NewClipping(name, "text of " + name), folder)->ID();
  }

  // "parent leaf" of a folder row.
  std::string Row(const std::string& folder) {
    Recordset rs =
        db_.GetRecordsetRO("SELECT lParentID, bIsLeaf FROM Folder WHERE lFolderID=" + folder);
    return ToTextOr(rs.Value("lParentID"), "?") + " " +
           (ToBooleanOr(rs.Value("bIsLeaf"), false) ? "leaf" : "inner");
  }

  // Every folder and clipping row as "id:parent:name", for comparing before and after.
  std::string Dump() {
    std::string text;
    for (const char* sql : {"SELECT lFolderID AS k, lParentID AS p, sName, bIsLeaf AS x FROM "
                            "Folder ORDER BY lFolderID",
                            "SELECT lClippingID AS k, lFolderID AS p, sName, iClippingStatus AS x "
                            "FROM Clipping ORDER BY lClippingID"}) {
      Recordset rs = db_.GetRecordsetRO(sql);
      for (; !rs.Eof(); rs.MoveNext()) {
        text += ToTextOr(rs.Value("k"), "") + ":" + ToTextOr(rs.Value("p"), "") + ":" +
                ToTextOr(rs.Value("sName"), "") + ":" + ToTextOr(rs.Value("x"), "") + " ";
      }
    }
    return text;
  }
};

INSTANTIATE_TEST_SUITE_P(BothEngines, ItemMovesTest, ::testing::Bool(), EngineName);

TEST_P(ItemMovesTest, AMovedItemKeepsItsIdGuidCategoriesAndPlaceOfWhatIsBelow) {
  const std::string letters = AddFolder("Letters", root_);
  const std::string drafts = AddFolder("Drafts", letters);
  const std::string old = AddFolder("Old", drafts);
  const std::string archive = AddFolder("Archive", root_);
  const std::string note = Add("Note", old);
  const auto category = Category::Create();
  category->SetName("Work");
  const std::string work = access_->AddCategory(category, root_)->ID();
  access_->AddClippingToCategory(note, work);
  const std::string guid = access_->GetFolder(drafts)->GUID();

  access_->MoveFolder(drafts, archive);
  EXPECT_EQ(Row(drafts), archive + " inner");
  EXPECT_EQ(Row(letters), root_ + " leaf") << "Letters has no child folder left";
  EXPECT_EQ(Row(archive), root_ + " inner");
  EXPECT_EQ(Row(old), drafts + " leaf");
  EXPECT_EQ(access_->GetFolder(drafts)->GUID(), guid);

  access_->MoveClipping(note, letters);
  const auto moved = access_->GetClipping(note, false);
  EXPECT_EQ(moved->FolderID(), letters);
  EXPECT_EQ(db_.GetRecordsetRO(
                   "SELECT COUNT(*) AS n FROM ClippingGroupClipping WHERE lClippingId=" + note)
                .Value("n")
                .ToLong(),
            1);
  // A move to where it is changes nothing, not even the update time.
  const std::string before = Dump();
  access_->MoveClipping(note, letters);
  access_->MoveFolder(drafts, archive);
  EXPECT_EQ(Dump(), before);
}

TEST_P(ItemMovesTest, MovesThatCannotBeMadeAreRefusedWithNothingChanged) {
  const std::string letters = AddFolder("Letters", root_);
  const std::string drafts = AddFolder("Drafts", letters);
  const std::string archive = AddFolder("Archive", root_);
  AddFolder("Drafts", archive);
  const std::string note = Add("Note", letters);
  Add("NOTE", archive);
  const std::string gone = AddFolder("Gone", root_);
  const std::string deleted_note = Add("Deleted", letters);
  access_->DeleteFolder(gone, false);
  access_->DeleteClipping(deleted_note, false);
  const std::string before = Dump();

  EXPECT_EQ(RaisedNumber([&] { access_->MoveFolder(drafts, archive); }), err::kFolderNameNotUnique);
  EXPECT_EQ(RaisedNumber([&] { access_->MoveClipping(note, archive); }),
            err::kClippingNameNotUnique)
      << "names compare without regard to case";
  for (const auto& [folder, parent] : {std::pair<std::string, std::string>{letters, letters},
                                       {letters, drafts},
                                       {root_, archive},
                                       {gone, archive},
                                       {drafts, gone},
                                       {"9999", archive},
                                       {drafts, "9999"}}) {
    // Captured by name: clang before 16 cannot capture a structured binding.
    EXPECT_EQ(ErrorOf([&, folder = folder, parent = parent] {
                access_->MoveFolder(folder, parent);
              }).source(),
              kDataServicesSource)
        << folder << " into " << parent;
  }
  for (const auto& [clipping, folder] : {std::pair<std::string, std::string>{deleted_note, archive},
                                         {note, gone},
                                         {"9999", archive}}) {
    EXPECT_EQ(RaisedNumber([&, clipping = clipping, folder = folder] {
                access_->MoveClipping(clipping, folder);
              }),
              err::kInvalidProcedureCall)
        << clipping << " into " << folder;
  }
  EXPECT_EQ(Dump(), before);
  // Nothing was left open: a move made now is there for another connection at once.
  access_->MoveClipping(note, drafts);
  EXPECT_EQ(ToTextOr(db_.GetRecordsetRO("SELECT lFolderID FROM Clipping WHERE lClippingID=" + note)
                         .Value("lFolderID"),
                     ""),
            drafts);
}

}  // namespace
}  // namespace clipcat::testing
