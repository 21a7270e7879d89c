// Folders in the store: reading, listings, adding, renaming, deleting subtrees, trial operations,
// and failures that must leave nothing behind.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "catalog_fixture.h"
#include "store/data_access.h"
#include "util/errors.h"
#include "util/messages.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

// "Name(child,child(grandchild))": a subtree as the listing gave it, children in order.
std::string Outline(const Folder& folder) {
  std::string children;
  for (const auto& child : *folder.ChildFolders()) {
    children += (children.empty() ? "" : ",") + Outline(*child);
  }
  return children.empty() ? folder.Name() : folder.Name() + "(" + children + ")";
}

std::string Outline(const Folders& folders) {
  std::string text;
  for (const auto& folder : *folders.Items()) text += (text.empty() ? "" : ";") + Outline(*folder);
  return text;
}

class FolderOpsTest : public BothKindsTest {
 protected:
  Variant Cell(const std::string& column, int32_t key) {
    Recordset rs = db_.GetRecordsetRO("SELECT " + column +
                                      " FROM Folder WHERE lFolderID=" + std::to_string(key));
    return rs.Eof() ? Variant::Null() : rs.Value(column);
  }

  int32_t Status(int32_t key) {
    const Variant status = Cell("iStatus", key);
    return status.IsNull() ? -1 : status.ToLong();
  }

  int32_t ClippingStatus(int32_t key) {
    Recordset rs = db_.GetRecordsetRO("SELECT iClippingStatus FROM Clipping WHERE lClippingID=" +
                                      std::to_string(key));
    return rs.Eof() ? -1 : rs.Value("iClippingStatus").ToLong();
  }

  // A clipping with one data item, as another writer would have stored it.
  void InsertClipping(int32_t key, int32_t folder, const std::string& status = "1") {
    AddClippingRow(key, folder, "Clip " + std::to_string(key), "", status);
    db_.ExecuteSQL(
        "INSERT INTO ClippingDataType (lClippingID, lDataTypeId, bIsCompressed) VALUES (" +
        SqlNumber(key) + ", 2, 0)");
  }

  // Runs SQL that the store's one-statement connection refuses (triggers).
  void RawSql(const std::string& sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(catalog_.path().c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql;
    sqlite3_close(db);
  }

  std::shared_ptr<Folder> Add(DataAccess& access, const std::string& name,
                              const std::string& parent, bool check = true) {
    auto folder = Folder::Create();
    folder->SetName(name);
    return access.AddFolder(folder, parent, check);
  }

  static int32_t Key(const std::shared_ptr<Folder>& folder) {
    return Variant(folder->ID()).ToLong();
  }
};

TEST_P(FolderOpsTest, RowsReadBackWithEveryPropertyAndIdsThatAreNoNumbersAreRefused) {
  db_.ExecuteSQL(
      "INSERT INTO Folder (lFolderID, sGUID, lParentID, sName, sDescription, lExternalCatalogId,"
      " bIsLeaf, iStatus, tUpdated) VALUES (42, 'ABCDEF', 1, 'O''Brien', 'Notes', 3, 0, 2,"
      " '2002-03-04 05:06:07')");
  AddFolderRow(43, 42, "No description");
  AddFolderRow(300, 0, "A linked catalog", 1, 5);  // sorts first, but stands for another catalog
  auto access = Make();
  for (auto root : {access->GetPersonalCatalogRootFolder(), access->GetCatalogsRootFolder("P5")}) {
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->ID() + "/" + root->ParentID() + "/" + root->Name(), "1/0/Personal");
  }
  auto folder = access->GetFolder("42");
  ASSERT_NE(folder, nullptr);
  EXPECT_EQ(folder->ParentID(), "1");
  EXPECT_EQ(folder->GUID(), "ABCDEF");
  EXPECT_EQ(folder->Name(), "O'Brien");
  EXPECT_EQ(folder->Description(), "Notes");
  EXPECT_EQ(folder->ExternalCatalogID(), 3);
  EXPECT_EQ(folder->Status(), 2);
  EXPECT_EQ(FormatIsoDate(folder->Updated()), "2002-03-04 05:06:07");
  EXPECT_EQ(access->GetFolder("43")->Description(), "");  // a Null column reads as empty text
  EXPECT_EQ(access->GetFolder("44"), nullptr);
  for (std::string id : {"42 OR 1=1", "abc", "42; DELETE FROM Folder"}) {
    EXPECT_EQ(ErrorOf([&] { access->GetFolder(id); }).number(), err::kTypeMismatch) << id;
  }
  EXPECT_EQ(Count("Folder"), 4);
  db_.ExecuteSQL("DELETE FROM Folder WHERE lFolderID=1");
  EXPECT_EQ(access->GetPersonalCatalogRootFolder(), nullptr);
}

TEST_P(FolderOpsTest, ListingsFollowTheIncludeFlagsAndNeverShowStatusFour) {
  //   1 Personal: Alpha, Beta (B1, B2 (B2a, B2gone[3]), B3err[4]), Gamma[3] (G1), Ext[ext 9] (E1)
  //   200 Archive: Old[4];  300 Shared [ext 5];  301 Trash[3]
  const std::vector<std::tuple<int32_t, int32_t, std::string, int32_t, int32_t>> rows = {
      {101, 1, "Alpha", 1, 0}, {102, 1, "Beta", 1, 0},     {103, 1, "Gamma", 3, 0},
      {104, 102, "B1", 1, 0},  {105, 102, "B2", 1, 0},     {106, 102, "B3err", 4, 0},
      {107, 105, "B2a", 1, 0}, {108, 105, "B2gone", 3, 0}, {109, 103, "G1", 1, 0},
      {110, 1, "Ext", 1, 9},   {111, 110, "E1", 1, 0},     {200, 0, "Archive", 1, 0},
      {201, 200, "Old", 4, 0}, {300, 0, "Shared", 1, 5},   {301, 0, "Trash", 3, 0}};
  for (const auto& [key, parent, name, status, external] : rows) {
    AddFolderRow(key, parent, name, status, external);
  }
  auto access = Make();
  struct Case {
    bool external, deleted;
    std::string outline;
  };
  for (const Case& c : std::vector<Case>{
           {false, false, "Archive;Personal(Alpha,Beta(B1,B2(B2a)))"},
           {false, true, "Archive;Personal(Alpha,Beta(B1,B2(B2a,B2gone)),Gamma(G1));Trash"},
           {true, false, "Archive;Personal(Alpha,Beta(B1,B2(B2a)),Ext(E1));Shared"},
           {true, true,
            "Archive;Personal(Alpha,Beta(B1,B2(B2a,B2gone)),Ext(E1),Gamma(G1));Shared;Trash"}}) {
    SCOPED_TRACE(::testing::Message() << "external " << c.external << " deleted " << c.deleted);
    EXPECT_EQ(Outline(*access->GetFolders(c.external, c.deleted)), c.outline);
    // The same subtree through the one-folder walk fills the folder it is given.
    auto beta = access->GetFolder("102");
    EXPECT_EQ(access->GetChildFolders(beta, c.external, c.deleted).get(), beta.get());
    EXPECT_EQ(Outline(*beta), c.deleted ? "Beta(B1,B2(B2a,B2gone))" : "Beta(B1,B2(B2a))");
    // One level only.
    auto children = access->GetChildrenFolders("1", c.external, c.deleted);
    std::string names;
    for (const auto& child : *children->Items()) {
      EXPECT_EQ(child->ChildFolders()->Count(), 0) << child->Name();
      names += child->Name() + ",";
    }
    EXPECT_EQ(names, std::string("Alpha,Beta,") + (c.external ? "Ext," : "") +
                         (c.deleted ? "Gamma," : ""));
  }
}

TEST_P(FolderOpsTest, FolderAmongItsOwnAncestorsRaisesInsteadOfLooping) {
  AddFolderRow(50, 51, "Loop A");
  AddFolderRow(51, 50, "Loop B");
  AddFolderRow(60, 60, "Own parent");
  auto access = Make();
  for (int32_t key : {50, 51, 60}) {
    auto folder = access->GetFolder(std::to_string(key));
    const AutomationError error = ErrorOf([&] { access->GetChildFolders(folder, true, true); });
    EXPECT_EQ(error.number(), err::kDatabaseError) << key;
    EXPECT_NE(error.description().find("circle"), std::string::npos) << error.description();
    EXPECT_EQ(ErrorOf([&] { access->DeleteFolder(std::to_string(key), true); }).number(),
              err::kDatabaseError);
  }
  EXPECT_EQ(Count("Folder WHERE lFolderID IN (50, 51, 60) AND iStatus=1"), 3);
  EXPECT_EQ(Outline(*access->GetFolders(true, true)), "Personal");
}

TEST_P(FolderOpsTest, AddFolderWritesAnActiveLeafAndClearsTheParentsLeafMark) {
  auto access = Make();
  EXPECT_TRUE(Cell("bIsLeaf", 1).ToBoolean());
  auto folder = Folder::Create();
  folder->SetName("Letters");
  folder->SetDescription("Mail, 2002");
  const Date before = Date::Now();
  EXPECT_EQ(access->AddFolder(folder, "1", true).get(), folder.get());
  const int32_t key = Key(folder);
  EXPECT_GT(key, 1);
  EXPECT_EQ(folder->ParentID(), "1");
  EXPECT_EQ(folder->GUID().size(), 32u);
  EXPECT_GE(folder->Updated().serial(), before.serial());
  EXPECT_EQ(Cell("sDescription", key).ToText(), "Mail, 2002");
  EXPECT_EQ(Cell("sGUID", key).ToText(), folder->GUID());
  EXPECT_EQ(Cell("lParentID", key).ToLong(), 1);
  EXPECT_TRUE(Cell("bIsLeaf", key).ToBoolean());
  EXPECT_EQ(FormatIsoDate(Cell("tUpdated", key).ToDate()), FormatIsoDate(folder->Updated()));
  EXPECT_FALSE(Cell("bIsLeaf", 1).ToBoolean());
  // Whatever status the caller set, a new folder is active; keys only grow.
  auto child = Folder::Create();
  child->SetXML(R"(<Folder name="2002" status="3"/>)");
  access->AddFolder(child, folder->ID(), false);
  EXPECT_EQ(child->Status(), 1);
  EXPECT_GT(Key(child), key);
  EXPECT_EQ(Status(Key(child)), 1);
  EXPECT_FALSE(Cell("bIsLeaf", key).ToBoolean());
  // At the top of the tree there is no parent to mark.
  EXPECT_EQ(Add(*access, "Top", "0")->ParentID(), "0");
  EXPECT_EQ(Count("Folder WHERE lParentID=0"), 2);
}

TEST_P(FolderOpsTest, NamesAreUniqueAmongNonDeletedSiblingsAndARefusedAddLeavesNothing) {
  auto access = Make();
  auto letters = Add(*access, "Letters", "1");
  Add(*access, "Letters", letters->ID());  // one level down is another sibling set
  // An empty name is stored as Null, which equals nothing: the check cannot find it again.
  for (std::string name : {"Letters", "LETTERS", "  Letters  ", "", "   "}) {
    auto twin = Folder::Create();
    twin->SetName(name);
    twin->SetID("caller's id");
    const AutomationError error = ErrorOf([&] { access->AddFolder(twin, "1", true); });
    EXPECT_EQ(error.number(), -2147220997) << name;
    EXPECT_EQ(error.source(), "Data Services");
    EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {name}));
    EXPECT_EQ(twin->ID() + "/" + twin->GUID(), "caller's id/");
    EXPECT_EQ(Count("Folder WHERE lParentID=1"), 1);
  }
  // No transaction was left open: a later add is seen from another connection.
  auto other = Add(*access, "Other", "1");
  EXPECT_EQ(Count("Folder WHERE sName='Other'"), 1);
  EXPECT_TRUE(access->FolderNameExists("letters", "1"));
  EXPECT_FALSE(access->FolderNameExists("Letters", other->ID()));
  EXPECT_EQ(access->GetFolderByName("LETTERS", "1")->ID(), letters->ID());
  Add(*access, "Letters", "1", false);  // without the check a duplicate goes in
  EXPECT_EQ(Count("Folder WHERE lParentID=1 AND sName='Letters'"), 2);
  // Once deleted, a name is free again.
  auto draft = Add(*access, "Drafts", "1");
  access->DeleteFolder(draft->ID(), false);
  EXPECT_FALSE(access->FolderNameExists("Drafts", "1"));
  EXPECT_EQ(access->GetFolderByName("Drafts", "1"), nullptr);
  EXPECT_NE(Add(*access, "Drafts", "1")->ID(), draft->ID());
}

TEST_P(FolderOpsTest, UpdateFolderRewritesTheRowButNotItsPlaceAndRollsBackAClash) {
  auto access = Make();
  auto folder = Add(*access, "Letters", "1");
  Add(*access, "Child", folder->ID());
  Add(*access, "Taken", "1");
  const int32_t key = Key(folder);
  // The store-only properties come from the folder's text, as a client hands them in; the leaf
  // mark of the text lands in the external catalog column.
  auto read = Folder::Create();
  read->SetXML("<Folder Folderid=\"" + folder->ID() +
               R"(" parentid="1" name="Mail" description="Renamed" status="2" isleaf="12"/>)");
  db_.ExecuteSQL("UPDATE Folder SET tUpdated='2002-03-04 05:06:07' WHERE lFolderID=" +
                 std::to_string(key));
  EXPECT_EQ(access->UpdateFolder(read, true).get(), read.get());
  EXPECT_EQ(FormatIsoDate(Cell("tUpdated", key).ToDate()), FormatIsoDate(read->Updated()));
  EXPECT_GT(read->Updated().serial(), Date::FromParts({2002, 3, 4, 5, 6, 7})->serial());
  EXPECT_EQ(Cell("sName", key).ToText() + "/" + Cell("sDescription", key).ToText(), "Mail/Renamed");
  EXPECT_EQ(Status(key), 2);
  EXPECT_EQ(Cell("lExternalCatalogId", key).ToLong(), 12);
  EXPECT_EQ(Cell("lParentID", key).ToLong(), 1);
  EXPECT_FALSE(Cell("bIsLeaf", key).ToBoolean());  // still has its child
  access->UpdateFolder(read, true);                // keeping its own name is no clash

  const Date updated = read->Updated();
  read->SetName("taken");
  read->SetDescription("clash");
  const AutomationError error = ErrorOf([&] { access->UpdateFolder(read, true); });
  EXPECT_EQ(error.number(), err::kFolderNameNotUnique);
  EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {"taken"}));
  EXPECT_EQ(Cell("sName", key).ToText() + "/" + Cell("sDescription", key).ToText(), "Mail/Renamed");
  EXPECT_EQ(read->Updated(), updated);
  access->UpdateFolder(read, false);  // without the check the rename goes through
  EXPECT_EQ(Cell("sName", key).ToText(), "taken");
}

TEST_P(FolderOpsTest, FailingWritesLeaveNoRowsAndNoOpenTransaction) {
  auto access = Make();
  RawSql(
      "CREATE TRIGGER refuse_leaf BEFORE UPDATE OF bIsLeaf ON Folder"
      " BEGIN SELECT RAISE(ABORT, 'leaf mark refused'); END");
  for (bool check : {true, false}) {
    auto folder = Folder::Create();
    folder->SetName("Refused");
    EXPECT_EQ(ErrorOf([&] { access->AddFolder(folder, "1", check); }).number(),
              err::kDatabaseError);
    EXPECT_EQ(folder->ID(), "");
    EXPECT_EQ(Count("Folder"), 1) << check;
  }
  RawSql("DROP TRIGGER refuse_leaf");
  Add(*access, "Accepted", "1");
  EXPECT_EQ(Count("Folder"), 2);  // committed: visible to the test's own connection
  EXPECT_EQ(ErrorOf([&] { Add(*access, "Bad parent", "1 OR 1=1"); }).number(), err::kTypeMismatch);
  EXPECT_EQ(Count("Folder"), 2);
  EXPECT_EQ(Count("FolderIDGenerator"), 0);
}

TEST_P(FolderOpsTest, HaveFoldersChangedComparesTheUpdateTimesToTheSecond) {
  auto access = Make();
  db_.ExecuteSQL("UPDATE Folder SET tUpdated='2002-03-04 05:06:07'");
  EXPECT_TRUE(access->HaveFoldersChanged(*Date::FromParts({2002, 3, 4, 5, 6, 7})));
  EXPECT_FALSE(access->HaveFoldersChanged(*Date::FromParts({2002, 3, 4, 5, 6, 8})));
  const Date now = Date::Now();
  Add(*access, "New", "1");
  EXPECT_TRUE(access->HaveFoldersChanged(Date(now.serial() - 1.0 / 86400)));
}

// Personal: X (X1 (X1a), X2), Y, built as the services build it; clippings 5001 in X, 5002 in
// X1a, 5003 in Y.
class FolderDeleteTest : public FolderOpsTest {
 protected:
  void SetUp() override {
    x_ = Key(Add(*access_, "X", "1"));
    x1_ = Key(Add(*access_, "X1", std::to_string(x_)));
    x1a_ = Key(Add(*access_, "X1a", std::to_string(x1_)));
    x2_ = Key(Add(*access_, "X2", std::to_string(x_)));
    y_ = Key(Add(*access_, "Y", "1"));
    InsertClipping(5001, x_);
    InsertClipping(5002, x1a_);
    InsertClipping(5003, y_);
  }

  int32_t x_ = 0, x1_ = 0, x1a_ = 0, x2_ = 0, y_ = 0;
};

TEST_P(FolderDeleteTest, DeleteTakesTheWholeSubtreeAndItsClippings) {
  for (bool permanently : {false, true}) {
    SCOPED_TRACE(permanently);
    EXPECT_FALSE(Cell("bIsLeaf", 1).ToBoolean());
    access_->DeleteFolder(std::to_string(x_), permanently);
    for (int32_t key : {x_, x1_, x1a_, x2_}) EXPECT_EQ(Status(key), permanently ? -1 : 3) << key;
    EXPECT_EQ(ClippingStatus(5001), permanently ? -1 : 4);
    EXPECT_EQ(ClippingStatus(5002), permanently ? -1 : 4);
    EXPECT_EQ(ClippingStatus(5003), 1);
    EXPECT_EQ(Status(y_), 1);
    EXPECT_EQ(Count("ClippingDataType"), permanently ? 1 : 3);
    // The parent reads as a leaf although Y is still there: only the deleted folder's own
    // children are looked at.
    EXPECT_TRUE(Cell("bIsLeaf", 1).ToBoolean());
    EXPECT_EQ(Outline(*access_->GetFolders(true, false)), "Personal(Y)");
    db_.ExecuteSQL("UPDATE Folder SET iStatus=1");
    db_.ExecuteSQL("UPDATE Folder SET bIsLeaf=0 WHERE lFolderID=1");
    db_.ExecuteSQL("UPDATE Clipping SET iClippingStatus=1");
  }
  // Unknown folders change nothing.
  for (bool permanently : {false, true}) access_->DeleteFolder("99999", permanently);
  EXPECT_EQ(Count("Folder"), 2);
}

TEST_P(FolderDeleteTest, PermanentDeleteTakesClippingsMarkedDeletedButNotDeletedSubfolders) {
  InsertClipping(5004, x_, "4");
  access_->DeleteFolder(std::to_string(x1_), false);
  access_->DeleteFolder(std::to_string(x_), true);
  for (int32_t key : {5001, 5004}) EXPECT_EQ(ClippingStatus(key), -1) << key;
  EXPECT_EQ(Status(x_), -1);
  EXPECT_EQ(Status(x2_), -1);
  // X1 was marked deleted before: the child listing leaves it out, so it and what it holds stay.
  EXPECT_EQ(Status(x1_), 3);
  EXPECT_EQ(Status(x1a_), 3);
  EXPECT_EQ(ClippingStatus(5002), 4);
}

TEST_P(FolderDeleteTest, AFailureHalfwayLeavesTheTreeAsItWas) {
  RawSql(
      "CREATE TRIGGER refuse_x2 BEFORE DELETE ON Folder WHEN old.sName = 'X2'"
      " BEGIN SELECT RAISE(ABORT, 'X2 is kept'); END");
  EXPECT_EQ(ErrorOf([&] { access_->DeleteFolder(std::to_string(x_), true); }).number(),
            err::kDatabaseError);
  for (int32_t key : {x_, x1_, x1a_, x2_, y_}) EXPECT_EQ(Status(key), 1) << key;
  EXPECT_EQ(Count("Clipping WHERE iClippingStatus=1"), 3);
  EXPECT_EQ(Count("ClippingDataType"), 3);
  RawSql("DROP TRIGGER refuse_x2");
  access_->DeleteFolder(std::to_string(x_), true);  // no transaction was left open
  EXPECT_EQ(Count("Folder"), 2);
}

TEST_P(FolderDeleteTest, TrialOperationsAnswerWithoutLeavingRows) {
  const int32_t folders = Count("Folder");
  auto folder = Folder::Create();
  folder->SetName("Trial");
  folder->SetID("mine");
  EXPECT_TRUE(access_->CanAddFolder(folder, std::to_string(y_)));
  EXPECT_EQ(folder->ID() + "/" + folder->GUID(), "mine/");
  EXPECT_FALSE(access_->CanAddFolder(folder, "not a number"));
  EXPECT_FALSE(access_->CanAddFolder(nullptr, "1"));
  EXPECT_TRUE(Cell("bIsLeaf", y_).ToBoolean());
  for (bool permanently : {false, true}) {
    EXPECT_TRUE(access_->CanDeleteFolder(std::to_string(x_), permanently));
    EXPECT_FALSE(access_->CanDeleteFolder("99999", permanently));
    EXPECT_FALSE(access_->CanDeleteFolder("x", permanently));
  }
  EXPECT_EQ(Count("Folder WHERE iStatus=1"), folders);
  EXPECT_EQ(Count("Clipping WHERE iClippingStatus=1"), 3);
  EXPECT_EQ(Count("ClippingDataType"), 3);
  EXPECT_EQ(Count("FolderIDGenerator"), 0);
  Add(*access_, "Real", "1");  // no transaction was left open
  EXPECT_EQ(Count("Folder"), folders + 1);
  // An unreachable catalog answers false too.
  auto missing = Make();
  missing->SetConnectionString(FileCatalogConnectionString(catalog_.dir().File("none.db")));
  EXPECT_FALSE(missing->CanAddFolder(folder, "1"));
  EXPECT_FALSE(missing->CanDeleteFolder("1", false));
}

INSTANTIATE_TEST_SUITE_P(BothKinds, FolderOpsTest, ::testing::Values(0, 1), KindName);
INSTANTIATE_TEST_SUITE_P(BothKinds, FolderDeleteTest, ::testing::Values(0, 1), KindName);

}  // namespace
}  // namespace clipcat::testing
