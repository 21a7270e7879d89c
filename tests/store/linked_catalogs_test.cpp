#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "catalog_fixture.h"
#include "recording_backend.h"
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

TEST_P(LinkedCatalogsTest, AddLinkedFolderWritesTheCatalogRowAndATopFolder) {
  auto access = Make();
  auto details = Details("postgresql://db.example/sales");
  auto folder = access->AddLinkedFolder(details, "Sales");
  ASSERT_NE(folder, nullptr);
  EXPECT_EQ(folder->Name(), "Sales");
  EXPECT_EQ(folder->ParentID(), "0");
  EXPECT_EQ(folder->Status(), 1);
  const int32_t id = folder->ExternalCatalogID();
  EXPECT_EQ(id, 1);  // the first external catalog of a new catalog

  Recordset row = db_.GetRecordsetRO("SELECT * FROM ExternalCatalog");
  ASSERT_EQ(row.RecordCount(), 1);
  EXPECT_EQ(row.Value("lExternalCatalogID").ToLong(), id);
  EXPECT_TRUE(row.Value("bIsOnline").ToBoolean());
  EXPECT_EQ(row.Value("iConnectionSpeed").ToLong(), 0);
  EXPECT_EQ(row.Value("sConnectString").ToText(), details->XML());
  EXPECT_EQ(row.Value("sGUID").ToText().size(), 32u);
  Recordset online = db_.GetRecordsetRO(
      "SELECT COUNT(*) AS n FROM ExternalCatalog"
      " WHERE bIsOnline=1");
  EXPECT_EQ(online.Value("n").ToLong(), 1);  // stored as 1, not as -1

  Recordset folder_row =
      db_.GetRecordsetRO("SELECT * FROM Folder WHERE lFolderID=" + SqlNumber(folder->ID()));
  ASSERT_EQ(folder_row.RecordCount(), 1);
  EXPECT_EQ(folder_row.Value("lParentID").ToLong(), 0);
  EXPECT_EQ(folder_row.Value("lExternalCatalogId").ToLong(), id);
  EXPECT_EQ(folder_row.Value("sName").ToText(), "Sales");

  auto found = access->GetFolderWithExternalCatalog(id);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->ID(), folder->ID());
  EXPECT_EQ(found->ExternalCatalogID(), id);

  // A second link gets the next catalog id and a folder key of its own; the same name is no
  // obstacle, as linked folders are added without the name check.
  auto again = access->AddLinkedFolder(Details("DSN=Sales"), "Sales");
  EXPECT_EQ(again->ExternalCatalogID(), id + 1);
  EXPECT_NE(again->ID(), folder->ID());
  EXPECT_EQ(Count("ExternalCatalog"), 2);
  EXPECT_EQ(Count("Folder WHERE lParentID=0"), 3);
  EXPECT_EQ(Count("ExternalCatalogIDGenerator"), 0);
}

TEST_P(LinkedCatalogsTest, ExternalCatalogRowsReadBackInFull) {
  auto access = Make();
  EXPECT_EQ(access->GetExternalCatalogs()->Count(), 0);
  auto sales = Details("postgresql://db.example/sales");
  auto stock = Details("DSN=Stock");
  const int32_t first = access->AddLinkedFolder(sales, "Sales")->ExternalCatalogID();
  const int32_t second = access->AddLinkedFolder(stock, "Stock")->ExternalCatalogID();
  db_.ExecuteSQL(
      "UPDATE ExternalCatalog SET iConnectionSpeed=3, bIsOnline=0 WHERE"
      " lExternalCatalogID=" +
      std::to_string(second));
  // A row written by another program, with nothing but its key.
  db_.ExecuteSQL(
      "INSERT INTO ExternalCatalog (lExternalCatalogID, sGUID, sConnectString,"
      " bIsOnline, iConnectionSpeed) VALUES (40, NULL, NULL, NULL, NULL)");

  auto catalogs = access->GetExternalCatalogs();
  ASSERT_EQ(catalogs->Count(), 3);
  std::vector<int32_t> ids;
  for (const auto& catalog : *catalogs) ids.push_back(catalog->ID());
  EXPECT_EQ(ids, (std::vector<int32_t>{first, second, 40}));

  auto one = access->GetExternalCatalog(first);
  EXPECT_EQ(one->ID(), first);
  EXPECT_EQ(one->ConnectionStringXML(), sales->XML());
  EXPECT_TRUE(one->IsOnline());
  EXPECT_EQ(one->ConnectionSpeed(), 0);
  EXPECT_EQ(one->GUID().size(), 32u);
  EXPECT_EQ(one->GUID(), catalogs->Item(1)->GUID());
  // The stored text gives the connection details back.
  auto read = ConnectionDetails::Create();
  read->SetXML(one->ConnectionStringXML());
  EXPECT_EQ(read->ConnectionString(), "postgresql://db.example/sales");
  EXPECT_EQ(read->ClippingSourceName(), "Sales & Marketing's");

  auto two = access->GetExternalCatalog(second);
  EXPECT_FALSE(two->IsOnline());
  EXPECT_EQ(two->ConnectionSpeed(), 3);
  EXPECT_EQ(two->ConnectionStringXML(), stock->XML());

  auto bare = access->GetExternalCatalog(40);
  EXPECT_EQ(bare->ID(), 40);
  EXPECT_EQ(bare->GUID(), "");
  EXPECT_EQ(bare->ConnectionStringXML(), "");
  EXPECT_FALSE(bare->IsOnline());
  EXPECT_EQ(bare->ConnectionSpeed(), 0);

  for (int32_t unknown : {0, 41, -1}) {
    EXPECT_EQ(ErrorOf([&] { access->GetExternalCatalog(unknown); }).number(), err::kNoCurrentRecord)
        << unknown;
  }
}

TEST_P(LinkedCatalogsTest, DeleteExternalCatalogRemovesOnlyThatRow) {
  auto access = Make();
  auto first = access->AddLinkedFolder(Details("DSN=One"), "One");
  auto second = access->AddLinkedFolder(Details("DSN=Two"), "Two");
  access->DeleteExternalCatalog(first->ExternalCatalogID());
  auto left = access->GetExternalCatalogs();
  ASSERT_EQ(left->Count(), 1);
  EXPECT_EQ(left->Item(1)->ID(), second->ExternalCatalogID());
  // The linked folder is the services' to remove.
  EXPECT_NE(access->GetFolderWithExternalCatalog(first->ExternalCatalogID()), nullptr);
  for (int32_t unknown : {0, 99, first->ExternalCatalogID()}) {
    access->DeleteExternalCatalog(unknown);
  }
  EXPECT_EQ(Count("ExternalCatalog"), 1);
  EXPECT_EQ(Count("Folder"), 3);
}

TEST_P(LinkedCatalogsTest, LinkedFoldersAreEveryTopFolderInNameOrder) {
  AddFolderRow(10, 0, "Zeta shared", 1, 4);
  AddFolderRow(11, 0, "archive", 3);  // deleted, but at the top all the same
  AddFolderRow(12, 0, "Beta shared", 4, 5);
  AddFolderRow(13, 1, "Below the top", 1, 6);
  auto access = Make();
  auto folders = access->GetLinkedFolders();
  std::vector<std::string> names;
  for (const auto& folder : *folders->Items()) {
    names.push_back(folder->Name());
    EXPECT_EQ(folder->ChildFolders()->Count(), 0);
    EXPECT_EQ(folder->ParentID(), "0");
  }
  EXPECT_EQ(names, (std::vector<std::string>{"archive", "Beta shared", "Personal", "Zeta shared"}));
  EXPECT_EQ(folders->Items()->Item(2)->ExternalCatalogID(), 5);
  EXPECT_EQ(folders->Items()->Item(2)->Status(), 4);

  auto tagged = Make(7)->GetLinkedFolders();
  ASSERT_EQ(tagged->Items()->Count(), 4);
  EXPECT_EQ(tagged->Items()->Item(3)->ID(), "P7C1");
}

TEST_P(LinkedCatalogsTest, TopFoldersAndFoldersNamingACatalogCountAsLinked) {
  AddFolderRow(10, 0, "Shared", 1, 4);
  AddFolderRow(11, 1, "Ordinary");
  AddFolderRow(12, 11, "Deeper");
  AddFolderRow(13, 11, "Names a catalog", 1, 6);
  auto access = Make();
  EXPECT_TRUE(access->IsLinkedFolder("1"));  // a top folder, although it names no catalog
  EXPECT_TRUE(access->IsLinkedFolder("10"));
  EXPECT_TRUE(access->IsLinkedFolder("13"));
  EXPECT_FALSE(access->IsLinkedFolder("11"));
  EXPECT_FALSE(access->IsLinkedFolder("12"));
  EXPECT_FALSE(access->IsLinkedFolder("99"));
  auto tagged = Make(7);
  EXPECT_TRUE(tagged->IsLinkedFolder("P7C10"));
  EXPECT_FALSE(tagged->IsLinkedFolder("P7C12"));
  EXPECT_EQ(ErrorOf([&] { access->IsLinkedFolder("11 OR 1=1"); }).number(), err::kTypeMismatch);
}

TEST_P(LinkedCatalogsTest, FolderOfAnUnknownCatalogIsNothing) {
  AddFolderRow(10, 0, "Shared", 1, 4);
  auto access = Make();
  EXPECT_EQ(access->GetFolderWithExternalCatalog(5), nullptr);
  EXPECT_EQ(access->GetFolderWithExternalCatalog(4)->ID(), "10");
  // Catalog 0 is the catalog's own folders: the first of them answers.
  ASSERT_NE(access->GetFolderWithExternalCatalog(0), nullptr);
  EXPECT_EQ(Make(7)->GetFolderWithExternalCatalog(4)->ID(), "P7C10");
}

TEST_P(LinkedCatalogsTest, FailedLinkLeavesNoRows) {
  auto access = Make();
  EXPECT_EQ(ErrorOf([&] { access->AddLinkedFolder(nullptr, "Nothing"); }).number(),
            err::kObjectVariableNotSet);
  // Details whose text XML cannot carry are refused before anything is written.
  auto bad = Details(std::string("DSN=\x01"));
  EXPECT_EQ(ErrorOf([&] { access->AddLinkedFolder(bad, "Bad"); }).number(),
            err::kInvalidProcedureCall);
  EXPECT_EQ(Count("ExternalCatalog"), 0);
  // A folder that cannot be written takes its catalog row with it.
  db_.ExecuteSQL("ALTER TABLE Folder RENAME TO FolderAway");
  EXPECT_EQ(ErrorOf([&] { access->AddLinkedFolder(Details("DSN=Lost"), "Lost"); }).number(),
            err::kDatabaseError);
  db_.ExecuteSQL("ALTER TABLE FolderAway RENAME TO Folder");
  EXPECT_EQ(Count("ExternalCatalog"), 0);
  EXPECT_EQ(Count("Folder"), 1);
  // Nothing was left open: the next link commits.
  access->AddLinkedFolder(Details("DSN=Found"), "Found");
  EXPECT_EQ(Count("ExternalCatalog"), 1);
  EXPECT_EQ(Count("Folder"), 2);
}

// The exact statements, which other programs sharing the catalog read the same rows by. Dates
// and GUIDs are placeholders.
TEST_P(LinkedCatalogsTest, StatementsRunTheirOwnText) {
  auto access = Make();
  StatementRecorder recorder;
  recorder.Record(*access);
  auto details = Details("DSN=Sales");
  EXPECT_EQ(recorder.Run([&] { access->AddLinkedFolder(details, "Sales"); }),
            (Statements{
                "<begin>",
                "Insert Into ExternalCatalogIDGenerator (sGUID) Values ( <guid> ) ",
                "Select lID From ExternalCatalogIDGenerator Where sGUID=<guid>",
                "Delete From ExternalCatalogIDGenerator Where sGUID=<guid>",
                "Insert Into ExternalCatalog (lExternalCatalogID, sGuid, sConnectString, "
                "bIsOnline)  Values (1, <guid>, " +
                    SqlText(details->XML()) + ", 1)",
                "<begin>",
                "Insert Into FolderIDGenerator (sGUID) Values ( <guid> ) ",
                "Select lID From FolderIDGenerator Where sGUID=<guid>",
                "Delete From FolderIDGenerator Where sGUID=<guid>",
                "INSERT INTO Folder ( lFolderID, sGuid, lParentID, sName, sDescription, "
                "lExternalCatalogId, bIsLeaf, bIsOffline, iStatus, tUpdated ) Values ( 2, <guid>, "
                "0, 'Sales', Null, 1, 1, 0, 1, <date> )",
                "<commit>",
                "<commit>",
            }));
  EXPECT_EQ(recorder.Run([&] { access->GetLinkedFolders(); }),
            Statements{"Select * From Folder Where lParentID=0 ORDER BY sName ASC "});
  EXPECT_EQ(recorder.Run([&] { access->IsLinkedFolder("2"); }),
            Statements{"Select lExternalCatalogId From Folder Where lFolderId=2 AND "
                       "(lExternalCatalogId <> 0 OR lParentID = 0 )"});
  EXPECT_EQ(recorder.Run([&] { access->GetFolderWithExternalCatalog(1); }),
            Statements{"Select * From Folder Where lExternalCatalogID=1"});
  EXPECT_EQ(recorder.Run([&] { access->GetExternalCatalogs(); }),
            Statements{"Select * From ExternalCatalog "});
  EXPECT_EQ(recorder.Run([&] { access->GetExternalCatalog(1); }),
            Statements{"Select * From ExternalCatalog Where lExternalCatalogId=1"});
  EXPECT_EQ(recorder.Run([&] { access->DeleteExternalCatalog(-1); }),
            Statements{"Delete From ExternalCatalog Where lExternalCatalogID=-1"});
}

INSTANTIATE_TEST_SUITE_P(BothKinds, LinkedCatalogsTest, ::testing::Values(0, 1), KindName);

}  // namespace
}  // namespace clipcat::testing
