// The data access object itself: opening its catalog, path names and the key generators.
#include <filesystem>

#include "catalog_fixture.h"
#include "store/data_access_internal.h"
#include "util/guid.h"

namespace clipcat::testing {
namespace {

class DataAccessTest : public BothKindsTest {};

TEST_P(DataAccessTest, OpensOnFirstUseAndAFailedOpenKeepsWhatWasOpen) {
  auto& access = access_;
  access->SetExternalCatalogID(Variant(2.5));
  EXPECT_EQ(access->ExternalCatalogID(), 2);  // halves go to the even neighbour
  EXPECT_EQ(ErrorOf([&] { access->SetExternalCatalogID(Variant("seven")); }).number(),
            err::kTypeMismatch);
  EXPECT_EQ(access->ExternalCatalogID(), 2);
  access->SetExternalCatalogID(Variant(0));
  access->CloseCatalog();  // closing a closed catalog is not an error
  EXPECT_EQ(access->GetFolderPathName("1"), "Personal");  // opened on first use
  access->CloseCatalog();
  access->OpenCatalog("", "", "");  // the kept settings
  EXPECT_TRUE(access->IsOpen());
  const std::string missing = catalog_.dir().File("missing.db");
  EXPECT_EQ(
      ErrorOf([&] { access->OpenCatalog(FileCatalogConnectionString(missing), "", ""); }).number(),
      err::kCatalogCannotBeOpened);
  EXPECT_TRUE(access->IsOpen());
  EXPECT_EQ(access->GetFolderPathName("1"), "Personal");
  // A closed object on an unreachable catalog fails its first operation; its check answers.
  auto unreachable = Make();
  unreachable->SetConnectionString(FileCatalogConnectionString(missing));
  EXPECT_EQ(ErrorOf([&] { unreachable->GetFolderPathName("1"); }).number(), -2147220994);
  EXPECT_FALSE(unreachable->CatalogsConnectionOK("1"));
  // The check tells whether the open catalog is still usable.
  auto checked = Make();
  EXPECT_TRUE(checked->CatalogsConnectionOK("1"));
  std::filesystem::rename(catalog_.path(), catalog_.path() + ".moved");
  EXPECT_FALSE(checked->CatalogsConnectionOK("1"));
  std::filesystem::rename(catalog_.path() + ".moved", catalog_.path());
  db_.ExecuteSQL("DROP TABLE CatalogProperties");
  EXPECT_FALSE(checked->CatalogsConnectionOK("1"));
}

TEST_P(DataAccessTest, PathNamesRunFromTheTopDownAndBrokenChainsRaise) {
  db_.ExecuteSQL(
      "INSERT INTO Folder (lFolderID, lParentID, sName) VALUES (2, 1, 'Projects'), (3, "
      "2, '2002'), (5, 0, 'Linked\\'), (6, 99, 'Orphan'), (7, 8, 'A'), (8, 7, 'B')");
  auto& access = access_;
  EXPECT_EQ(access->GetFolderPathName("3"), "Personal\\Projects\\2002");
  EXPECT_EQ(access->GetFolderPathName("5"), "Linked");
  EXPECT_EQ(access->GetFolderPathName("0"), "");
  EXPECT_EQ(Make(7)->GetFolderPathName("P7C2"), "Personal\\Projects");
  EXPECT_EQ(ErrorOf([&] { access->GetFolderPathName("abc"); }).number(), err::kTypeMismatch);
  for (std::string id : {"6", "7", "99"}) {
    EXPECT_EQ(ErrorOf([&] { access->GetFolderPathName(id); }).number(), err::kDatabaseError) << id;
  }
}

TEST_P(DataAccessTest, InterleavedGeneratorsNeverShareAKeyAndRefuseOtherTables) {
  auto first = Make();
  auto second = Make();
  const auto next = [](DataAccess& access, const std::string& table) {
    return DataAccessInternal::GetNextID(access, table, CreateGUIDString());
  };
  for (int32_t key = 2; key < 22; ++key) {  // the root folder's key is 1
    EXPECT_EQ(next(key % 2 == 0 ? *first : *second, "Folder"), key);
  }
  EXPECT_EQ(next(*first, "GroupClipping"), 1);
  EXPECT_EQ(next(*second, "ExternalCatalog"), 1);
  EXPECT_EQ(next(*second, "GroupClipping"), 2);
  EXPECT_EQ(Count("FolderIDGenerator") + Count("GroupClippingIDGenerator") +
                Count("ExternalCatalogIDGenerator"),
            0);
  for (std::string base : {"Clipping", "Folder; DROP TABLE Folder --", ""}) {
    EXPECT_EQ(ErrorOf([&] { DataAccessInternal::GetNextID(*first, base, "G"); }).number(),
              err::kInvalidProcedureCall)
        << base;
  }
  // Without a GUID the row cannot be found again: the move to it fails.
  EXPECT_EQ(ErrorOf([&] { DataAccessInternal::GetNextID(*first, "Folder", ""); }).number(),
            err::kNoCurrentRecord);
  EXPECT_EQ(Count("Folder"), 1);
}

INSTANTIATE_TEST_SUITE_P(BothKinds, DataAccessTest, ::testing::Values(0, 1), KindName);

}  // namespace
}  // namespace clipcat::testing
