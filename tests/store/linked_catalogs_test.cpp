// Linked catalogs in the store: the external catalog rows, the top folders that stand for them,
// and links that fail without leaving rows.
#include "catalog_fixture.h"

namespace clipcat::testing {
namespace {

std::shared_ptr<ConnectionDetails> Details(const std::string& connection_string) {
  auto details = ConnectionDetails::Create();
  details->SetDataSourceType(2);
  details->SetClippingSourceName("Sales & Marketing's");
  details->SetConnectionString(connection_string);
  return details;
}

std::string Describe(const std::shared_ptr<ExternalCatalog>& catalog) {
  return std::to_string(catalog->ID()) + "/" + std::to_string(catalog->GUID().size()) + "/" +
         (catalog->IsOnline() ? "online" : "offline") + "/" +
         std::to_string(catalog->ConnectionSpeed());
}

class LinkedCatalogsTest : public BothKindsTest {};

TEST_P(LinkedCatalogsTest, LinksWriteACatalogRowAndATopFolderAndReadBackInFull) {
  auto& access = access_;
  auto sales = Details("postgresql://db.example/sales");
  auto folder = access->AddLinkedFolder(sales, "Sales");
  EXPECT_EQ(folder->Name() + "/" + folder->ParentID() + "/" + std::to_string(folder->Status()),
            "Sales/0/1");
  EXPECT_EQ(folder->ExternalCatalogID(), 1);  // the first external catalog of a new catalog
  EXPECT_EQ(Count("ExternalCatalog WHERE bIsOnline=1 AND iConnectionSpeed=0"), 1);  // not -1
  EXPECT_EQ(access->GetFolderWithExternalCatalog(1)->ID(), folder->ID());
  EXPECT_EQ(Count("Folder WHERE lParentID=0 AND sName='Sales' AND lExternalCatalogId=1"), 1);
  // A second link gets the next catalog id; the same name is no obstacle for linked folders.
  auto again = access->AddLinkedFolder(Details("DSN=Stock"), "Sales");
  EXPECT_EQ(again->ExternalCatalogID(), 2);
  EXPECT_EQ(Count("Folder") * 10 + Count("ExternalCatalogIDGenerator"), 30);
  db_.ExecuteSQL(
      "UPDATE ExternalCatalog SET iConnectionSpeed=3, bIsOnline=0 WHERE "
      "lExternalCatalogID=2");
  db_.ExecuteSQL(  // a row written by another program, with nothing but its key
      "INSERT INTO ExternalCatalog (lExternalCatalogID, sGUID, sConnectString, bIsOnline, "
      "iConnectionSpeed) VALUES (40, NULL, NULL, NULL, NULL)");
  std::vector<std::string> rows;
  const auto catalogs = access->GetExternalCatalogs();
  for (const auto& catalog : *catalogs) rows.push_back(Describe(catalog));
  EXPECT_EQ(rows, (std::vector<std::string>{"1/32/online/0", "2/32/offline/3", "40/0/offline/0"}));
  EXPECT_EQ(Describe(access->GetExternalCatalog(2)), rows[1]);
  auto read = ConnectionDetails::Create();
  read->SetXML(access->GetExternalCatalog(1)->ConnectionStringXML());
  EXPECT_EQ(read->XML(), sales->XML());
  EXPECT_EQ(read->ClippingSourceName(), "Sales & Marketing's");
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
  db_.ExecuteSQL(  // a deleted folder (11) is at the top all the same
      "INSERT INTO Folder (lFolderID, lParentID, sName, iStatus, lExternalCatalogId) VALUES (10, "
      "0, "
      "'Zeta', 1, 4), (11, 0, 'archive', 3, 0), (12, 0, 'Beta', 4, 5), (13, 1, 'Plain', 1, 0), "
      "(14, 13, 'Names a catalog', 1, 6)");
  auto tagged = Make(7);
  std::string names;
  const auto linked = tagged->GetLinkedFolders();
  for (const auto& folder : *linked->Items()) names += folder->ID() + " " + folder->Name() + ",";
  EXPECT_EQ(names, "P7C11 archive,P7C12 Beta,P7C1 Personal,P7C10 Zeta,");
  std::string linked_ids;
  for (const std::string id : {"1", "10", "13", "14", "99"}) {
    if (access_->IsLinkedFolder(id)) linked_ids += id + " ";
  }
  EXPECT_EQ(linked_ids, "1 10 14 ");
  EXPECT_TRUE(tagged->IsLinkedFolder("P7C10"));
  EXPECT_EQ(ErrorOf([&] { tagged->IsLinkedFolder("13 OR 1=1"); }).number(), err::kTypeMismatch);
  EXPECT_EQ(tagged->GetFolderWithExternalCatalog(4)->ID(), "P7C10");
  EXPECT_EQ(tagged->GetFolderWithExternalCatalog(7), nullptr);
}

TEST_P(LinkedCatalogsTest, FailedLinkLeavesNoRows) {
  auto access = Make();
  // Details whose text XML cannot carry are refused before anything is written.
  EXPECT_EQ(ErrorOf([&] { access->AddLinkedFolder(Details("DSN=\x01"), "Bad"); }).number(),
            err::kInvalidProcedureCall);
  // A folder that cannot be written takes its catalog row with it.
  db_.ExecuteSQL("ALTER TABLE Folder RENAME TO FolderAway");
  EXPECT_EQ(ErrorOf([&] { access->AddLinkedFolder(Details("DSN=Lost"), "Lost"); }).number(),
            err::kDatabaseError);
  db_.ExecuteSQL("ALTER TABLE FolderAway RENAME TO Folder");
  EXPECT_EQ(Count("ExternalCatalog") * 10 + Count("Folder"), 1);
  access->AddLinkedFolder(Details("DSN=Found"), "Found");  // nothing was left open
  EXPECT_EQ(Count("ExternalCatalog") * 10 + Count("Folder"), 12);
}

INSTANTIATE_TEST_SUITE_P(BothKinds, LinkedCatalogsTest, ::testing::Values(0, 1), KindName);

}  // namespace
}  // namespace clipcat::testing
