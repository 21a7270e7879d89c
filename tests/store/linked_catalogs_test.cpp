// Linked catalogs in the store: the external catalog rows, the top folders that stand for them,
// and links that fail without leaving rows.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "catalog_fixture.h"
#include "store/data_access.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

std::shared_ptr<ConnectionDetails> Details(const std::string& connection_string) {
  auto details = ConnectionDetails::Create();
  details->SetDataSourceType(2);
  details->SetClippingSourceName("Sales & Marketing's");
  details->SetConnectionString(connection_string);
  return details;
}

class LinkedCatalogsTest : public BothKindsTest {};

TEST_P(LinkedCatalogsTest, LinksWriteACatalogRowAndATopFolderAndReadBackInFull) {
  auto access = Make();
  EXPECT_EQ(access->GetExternalCatalogs()->Count(), 0);
  auto sales = Details("postgresql://db.example/sales");
  auto folder = access->AddLinkedFolder(sales, "Sales");
  EXPECT_EQ(folder->Name() + "/" + folder->ParentID(), "Sales/0");
  EXPECT_EQ(folder->Status(), 1);
  const int32_t id = folder->ExternalCatalogID();
  EXPECT_EQ(id, 1);  // the first external catalog of a new catalog
  EXPECT_EQ(Count("ExternalCatalog WHERE bIsOnline=1 AND iConnectionSpeed=0"), 1);  // not -1
  EXPECT_EQ(Count("Folder WHERE lParentID=0 AND sName='Sales' AND lExternalCatalogId=1 AND "
                  "lFolderID=" +
                  SqlNumber(folder->ID())),
            1);
  EXPECT_EQ(access->GetFolderWithExternalCatalog(id)->ID(), folder->ID());
  // A second link gets the next catalog id; the same name is no obstacle for linked folders.
  auto stock = Details("DSN=Stock");
  auto again = access->AddLinkedFolder(stock, "Sales");
  EXPECT_EQ(again->ExternalCatalogID(), id + 1);
  EXPECT_NE(again->ID(), folder->ID());
  EXPECT_EQ(Count("ExternalCatalogIDGenerator"), 0);
  db_.ExecuteSQL(
      "UPDATE ExternalCatalog SET iConnectionSpeed=3, bIsOnline=0 WHERE lExternalCatalogID=2");
  // A row written by another program, with nothing but its key.
  db_.ExecuteSQL(
      "INSERT INTO ExternalCatalog (lExternalCatalogID, sGUID, sConnectString, bIsOnline,"
      " iConnectionSpeed) VALUES (40, NULL, NULL, NULL, NULL)");
  auto catalogs = access->GetExternalCatalogs();
  std::vector<int32_t> ids;
  for (const auto& catalog : *catalogs) ids.push_back(catalog->ID());
  EXPECT_EQ(ids, (std::vector<int32_t>{1, 2, 40}));
  auto one = access->GetExternalCatalog(1);
  EXPECT_EQ(one->ConnectionStringXML(), sales->XML());
  EXPECT_TRUE(one->IsOnline());
  EXPECT_EQ(one->GUID().size(), 32u);
  EXPECT_EQ(one->GUID(), catalogs->Item(1)->GUID());
  auto read = ConnectionDetails::Create();
  read->SetXML(one->ConnectionStringXML());
  EXPECT_EQ(read->ConnectionString(), "postgresql://db.example/sales");
  EXPECT_EQ(read->ClippingSourceName(), "Sales & Marketing's");
  auto two = access->GetExternalCatalog(2);
  EXPECT_FALSE(two->IsOnline());
  EXPECT_EQ(two->ConnectionSpeed(), 3);
  EXPECT_EQ(two->ConnectionStringXML(), stock->XML());
  auto bare = access->GetExternalCatalog(40);
  EXPECT_EQ(bare->GUID() + bare->ConnectionStringXML(), "");
  EXPECT_FALSE(bare->IsOnline());
  EXPECT_EQ(bare->ConnectionSpeed(), 0);
  for (int32_t unknown : {0, 41, -1}) {
    EXPECT_EQ(ErrorOf([&] { access->GetExternalCatalog(unknown); }).number(), err::kNoCurrentRecord)
        << unknown;
  }
  // Deleting removes that row alone; the linked folder is the services' to remove.
  for (int32_t doomed : {1, 0, 99, 1}) access->DeleteExternalCatalog(doomed);
  EXPECT_EQ(Count("ExternalCatalog"), 2);
  EXPECT_NE(access->GetFolderWithExternalCatalog(1), nullptr);
}

TEST_P(LinkedCatalogsTest, TopFoldersAndFoldersNamingACatalogCountAsLinked) {
  AddFolderRow(10, 0, "Zeta shared", 1, 4);
  AddFolderRow(11, 0, "archive", 3);  // deleted, but at the top all the same
  AddFolderRow(12, 0, "Beta shared", 4, 5);
  AddFolderRow(13, 1, "Ordinary");
  AddFolderRow(14, 13, "Names a catalog", 1, 6);
  auto access = Make();
  std::vector<std::string> names;
  const auto linked = access->GetLinkedFolders();
  for (const auto& folder : *linked->Items()) {
    names.push_back(folder->Name());
    EXPECT_EQ(folder->ParentID(), "0");
  }
  EXPECT_EQ(names, (std::vector<std::string>{"archive", "Beta shared", "Personal", "Zeta shared"}));
  for (const std::string linked : {"1", "10", "14"}) EXPECT_TRUE(access->IsLinkedFolder(linked));
  for (const std::string plain : {"13", "99"}) EXPECT_FALSE(access->IsLinkedFolder(plain));
  EXPECT_EQ(ErrorOf([&] { access->IsLinkedFolder("13 OR 1=1"); }).number(), err::kTypeMismatch);
  EXPECT_EQ(access->GetFolderWithExternalCatalog(5)->ID(), "12");
  EXPECT_EQ(access->GetFolderWithExternalCatalog(7), nullptr);
  auto tagged = Make(7);
  EXPECT_TRUE(tagged->IsLinkedFolder("P7C10"));
  EXPECT_EQ(tagged->GetFolderWithExternalCatalog(4)->ID(), "P7C10");
  EXPECT_EQ(tagged->GetLinkedFolders()->Items()->Item(3)->ID(), "P7C1");
}

TEST_P(LinkedCatalogsTest, FailedLinkLeavesNoRows) {
  auto access = Make();
  EXPECT_EQ(ErrorOf([&] { access->AddLinkedFolder(nullptr, "Nothing"); }).number(),
            err::kObjectVariableNotSet);
  // Details whose text XML cannot carry are refused before anything is written.
  EXPECT_EQ(ErrorOf([&] { access->AddLinkedFolder(Details("DSN=\x01"), "Bad"); }).number(),
            err::kInvalidProcedureCall);
  EXPECT_EQ(Count("ExternalCatalog"), 0);
  // A folder that cannot be written takes its catalog row with it.
  db_.ExecuteSQL("ALTER TABLE Folder RENAME TO FolderAway");
  EXPECT_EQ(ErrorOf([&] { access->AddLinkedFolder(Details("DSN=Lost"), "Lost"); }).number(),
            err::kDatabaseError);
  db_.ExecuteSQL("ALTER TABLE FolderAway RENAME TO Folder");
  EXPECT_EQ(Count("ExternalCatalog"), 0);
  EXPECT_EQ(Count("Folder"), 1);
  access->AddLinkedFolder(Details("DSN=Found"), "Found");  // nothing was left open
  EXPECT_EQ(Count("ExternalCatalog") * 10 + Count("Folder"), 12);
}

INSTANTIATE_TEST_SUITE_P(BothKinds, LinkedCatalogsTest, ::testing::Values(0, 1), KindName);

}  // namespace
}  // namespace clipcat::testing
