#include <gtest/gtest.h>
#include <sqlite3.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "catalog_fixture.h"
#include "recording_backend.h"
#include "store/data_access.h"
#include "util/errors.h"
#include "util/messages.h"
#include "util/text.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

// "Name(child,child(grandchild))": a folder's subtree as the listing gave it, children in order.
std::string Outline(const Folder& folder) {
  std::string text = folder.Name();
  if (folder.ChildFolders()->Count() == 0) return text;
  text += "(";
  bool first = true;
  for (const std::shared_ptr<Folder>& child : *folder.ChildFolders()) {
    if (!first) text += ",";
    first = false;
    text += Outline(*child);
  }
  return text + ")";
}

std::string Outline(const Folders& folders) {
  std::string text;
  for (const std::shared_ptr<Folder>& folder : *folders.Items()) {
    if (!text.empty()) text += ";";
    text += Outline(*folder);
  }
  return text;
}

std::shared_ptr<Folder> FolderFromXml(const std::string& xml) {
  auto folder = Folder::Create();
  folder->SetXML(xml);
  return folder;
}

std::shared_ptr<Folder> FindByName(const Folder& folder, const std::string& name) {
  if (folder.Name() == name) return nullptr;  // callers look below the given folder
  for (const std::shared_ptr<Folder>& child : *folder.ChildFolders()) {
    if (child->Name() == name) return child;
    if (auto found = FindByName(*child, name)) return found;
  }
  return nullptr;
}

class FolderOpsTest : public BothKindsTest {
 protected:
  Variant Cell(const std::string& column, int32_t folder_key) {
    Recordset rs = db_.GetRecordsetRO("SELECT " + column +
                                      " FROM Folder WHERE lFolderID=" + std::to_string(folder_key));
    if (rs.Eof()) return Variant::Null();
    return rs.Value(column);
  }

  // A whole folder row as a writer of the catalog leaves one: GUID "G<key>", a leaf, last
  // updated 2002-03-04 05:06:07.
  void InsertFolder(int32_t key, int32_t parent, const std::string& name, int32_t status = 1,
                    int32_t external = 0) {
    db_.ExecuteSQL(
        "INSERT INTO Folder (lFolderID, sGUID, lParentID, sName, lExternalCatalogId, bIsLeaf,"
        " iStatus, tUpdated) VALUES (" +
        SqlNumber(key) + ", 'G" + std::to_string(key) + "', " + SqlNumber(parent) + ", " +
        SqlText(name) + ", " + SqlNumber(external) + ", 1, " + SqlNumber(status) +
        ", '2002-03-04 05:06:07')");
  }

  // A clipping with one data item, as another writer would have stored it.
  void InsertClipping(int32_t key, int32_t folder, int32_t status = 1) {
    db_.ExecuteSQL(
        "INSERT INTO Clipping (lClippingID, lFolderID, sGUID, sName, iClippingStatus)"
        " VALUES (" +
        SqlNumber(key) + ", " + SqlNumber(folder) + ", 'C" + std::to_string(key) + "', 'Clip " +
        std::to_string(key) + "', " + SqlNumber(status) + ")");
    db_.ExecuteSQL(
        "INSERT INTO ClippingDataType (lClippingID, lDataTypeId, bIsCompressed)"
        " VALUES (" +
        SqlNumber(key) + ", 2, 0)");
  }

  int32_t ClippingStatus(int32_t key) {
    Recordset rs = db_.GetRecordsetRO("SELECT iClippingStatus FROM Clipping WHERE lClippingID=" +
                                      std::to_string(key));
    return rs.Eof() ? -1 : rs.Value("iClippingStatus").ToLong();
  }

  // Runs SQL that the store's single-statement connection would refuse (triggers).
  void RawSql(const std::string& sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(catalog_.path().c_str(), &db), SQLITE_OK);
    char* message = nullptr;
    EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message), SQLITE_OK)
        << (message ? message : "");
    sqlite3_free(message);
    sqlite3_close(db);
  }

  std::shared_ptr<Folder> Add(DataAccess& access, const std::string& name,
                              const std::string& parent, bool check = true) {
    auto folder = Folder::Create();
    folder->SetName(name);
    return access.AddFolder(folder, parent, check);
  }

  // The tree the listing tests read (keys fixed, so that ids can be checked):
  //   1 Personal: Alpha, Beta (B1, B2 (B2a, B2gone[3]), B3err[4]), Gamma[3] (G1), Ext[ext 9] (E1)
  //   200 Archive: Old[4];  300 Shared [ext 5];  301 Trash[3]
  void InsertTree() {
    InsertFolder(101, 1, "Alpha");
    InsertFolder(102, 1, "Beta");
    InsertFolder(103, 1, "Gamma", 3);
    InsertFolder(104, 102, "B1");
    InsertFolder(105, 102, "B2");
    InsertFolder(106, 102, "B3err", 4);
    InsertFolder(107, 105, "B2a");
    InsertFolder(108, 105, "B2gone", 3);
    InsertFolder(109, 103, "G1");
    InsertFolder(110, 1, "Ext", 1, 9);
    InsertFolder(111, 110, "E1");
    InsertFolder(200, 0, "Archive");
    InsertFolder(201, 200, "Old", 4);
    InsertFolder(300, 0, "Shared", 1, 5);
    InsertFolder(301, 0, "Trash", 3);
  }
};

TEST_P(FolderOpsTest, RootFolderIsTheTopFolderOfThisCatalog) {
  InsertFolder(300, 0, "A linked catalog", 1, 5);  // sorts first, but stands for another catalog
  auto access = Make();
  for (auto root : {access->GetPersonalCatalogRootFolder(), access->GetCatalogsRootFolder("P5")}) {
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->ID(), "1");
    EXPECT_EQ(root->ParentID(), "0");
    EXPECT_EQ(root->Name(), "Personal");
    EXPECT_EQ(root->Status(), 1);
    EXPECT_EQ(root->ExternalCatalogID(), 0);
    EXPECT_EQ(root->GUID().size(), 32u);
  }
  db_.ExecuteSQL("DELETE FROM Folder WHERE lFolderID=1");
  EXPECT_EQ(access->GetPersonalCatalogRootFolder(), nullptr);
  EXPECT_EQ(access->GetCatalogsRootFolder(""), nullptr);
}

TEST_P(FolderOpsTest, RowReaderFillsEveryPropertyAndTagsIds) {
  db_.ExecuteSQL(
      "INSERT INTO Folder (lFolderID, sGUID, lParentID, sName, sDescription, lExternalCatalogId,"
      " bIsLeaf, iStatus, tUpdated) VALUES (42, 'ABCDEF', 1, 'O''Brien', 'Notes', 3, 0, 2,"
      " '2002-03-04 05:06:07')");
  InsertFolder(43, 42, "No description");
  for (int32_t catalog : {0, 7}) {
    auto access = Make(catalog);
    const std::string prefix = catalog == 0 ? "" : "P7C";
    auto folder = access->GetFolder(prefix + "42");
    ASSERT_NE(folder, nullptr) << catalog;
    EXPECT_EQ(folder->ID(), prefix + "42");
    EXPECT_EQ(folder->ParentID(), prefix + "1");
    EXPECT_EQ(folder->GUID(), "ABCDEF");
    EXPECT_EQ(folder->Name(), "O'Brien");
    EXPECT_EQ(folder->Description(), "Notes");
    EXPECT_EQ(folder->ExternalCatalogID(), 3);
    EXPECT_EQ(folder->Status(), 2);
    EXPECT_EQ(FormatIsoDate(folder->Updated()), "2002-03-04 05:06:07");
    EXPECT_EQ(folder->ChildFolders()->Count(), 0);
    auto plain = access->GetFolder(prefix + "43");
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(plain->Description(), "");  // a Null column reads as empty text
    EXPECT_EQ(access->GetFolder(prefix + "44"), nullptr);
  }
  auto access = Make();
  // Ids that are not numbers never reach the SQL as anything but a number.
  for (std::string id : {"42 OR 1=1", "abc", "42; DELETE FROM Folder"}) {
    EXPECT_EQ(ErrorOf([&] { access->GetFolder(id); }).number(), err::kTypeMismatch) << id;
  }
  EXPECT_EQ(Count("Folder"), 3);
}

TEST_P(FolderOpsTest, ListingsFollowTheIncludeFlagsAndNeverShowStatusFour) {
  InsertTree();
  auto access = Make();
  struct Case {
    bool external;
    bool deleted;
    std::string outline;
  };
  const std::vector<Case> cases = {
      {false, false, "Archive;Personal(Alpha,Beta(B1,B2(B2a)))"},
      {false, true, "Archive;Personal(Alpha,Beta(B1,B2(B2a,B2gone)),Gamma(G1));Trash"},
      {true, false, "Archive;Personal(Alpha,Beta(B1,B2(B2a)),Ext(E1));Shared"},
      {true, true,
       "Archive;Personal(Alpha,Beta(B1,B2(B2a,B2gone)),Ext(E1),Gamma(G1));Shared;Trash"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << "external " << c.external << " deleted " << c.deleted);
    auto folders = access->GetFolders(c.external, c.deleted);
    EXPECT_EQ(Outline(*folders), c.outline);
    // The same subtree through the one-folder walk, on a fresh object.
    auto beta = access->GetFolder("102");
    ASSERT_NE(beta, nullptr);
    auto same = access->GetChildFolders(beta, c.external, c.deleted);
    EXPECT_EQ(same.get(), beta.get());
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
    EXPECT_EQ(access->GetChildrenFolders("200", c.external, c.deleted)->Items()->Count(), 0);
  }
  // Ids inside the tree are the rows' keys and parents.
  auto all = access->GetFolders(true, true);
  auto b2a = FindByName(*all->Items()->Item(2), "B2a");
  ASSERT_NE(b2a, nullptr);
  EXPECT_EQ(b2a->ID(), "107");
  EXPECT_EQ(b2a->ParentID(), "105");
}

TEST_P(FolderOpsTest, ListingsOfAnExternalCatalogTagEveryId) {
  InsertTree();
  auto access = Make(7);
  auto folders = access->GetFolders(false, false);
  ASSERT_EQ(folders->Items()->Count(), 2);
  auto personal = folders->Items()->Item(2);
  EXPECT_EQ(personal->ID(), "P7C1");
  auto b2a = FindByName(*personal, "B2a");
  ASSERT_NE(b2a, nullptr);
  EXPECT_EQ(b2a->ID(), "P7C107");
  EXPECT_EQ(b2a->ParentID(), "P7C105");
  auto children = access->GetChildrenFolders("P7C102", false, false);
  ASSERT_EQ(children->Items()->Count(), 2);
  EXPECT_EQ(children->Items()->Item(1)->ID(), "P7C104");
}

TEST_P(FolderOpsTest, FolderAmongItsOwnAncestorsRaisesInsteadOfLooping) {
  InsertFolder(50, 51, "Loop A");
  InsertFolder(51, 50, "Loop B");
  InsertFolder(60, 60, "Own parent");
  auto access = Make();
  for (int32_t key : {50, 51, 60}) {
    auto folder = access->GetFolder(std::to_string(key));
    ASSERT_NE(folder, nullptr);
    const AutomationError error = ErrorOf([&] { access->GetChildFolders(folder, true, true); });
    EXPECT_EQ(error.number(), err::kDatabaseError) << key;
    EXPECT_NE(error.description().find("circle"), std::string::npos) << error.description();
    // Deleting refuses before it changes anything.
    EXPECT_EQ(ErrorOf([&] { access->DeleteFolder(std::to_string(key), true); }).number(),
              err::kDatabaseError);
  }
  EXPECT_EQ(Count("Folder WHERE lFolderID IN (50, 51, 60) AND iStatus=1"), 3);
  // The rest of the tree is not reachable from the loop and lists normally.
  EXPECT_EQ(Outline(*access->GetFolders(true, true)), "Personal");
}

TEST_P(FolderOpsTest, AddFolderWritesAnActiveLeafAndClearsTheParentsLeafMark) {
  auto access = Make();
  EXPECT_TRUE(Cell("bIsLeaf", 1).ToBoolean());
  auto folder = Folder::Create();
  folder->SetName("Letters");
  folder->SetDescription("Mail, 2002");
  const Date before = Date::Now();
  auto added = access->AddFolder(folder, "1", true);
  EXPECT_EQ(added.get(), folder.get());
  const int32_t key = Variant(folder->ID()).ToLong();
  EXPECT_GT(key, 1);
  EXPECT_EQ(folder->ParentID(), "1");
  EXPECT_EQ(folder->Status(), 1);
  EXPECT_EQ(folder->GUID().size(), 32u);
  EXPECT_GE(folder->Updated().serial(), before.serial());
  EXPECT_EQ(Cell("sName", key).ToText(), "Letters");
  EXPECT_EQ(Cell("sDescription", key).ToText(), "Mail, 2002");
  EXPECT_EQ(Cell("sGUID", key).ToText(), folder->GUID());
  EXPECT_EQ(Cell("lParentID", key).ToLong(), 1);
  EXPECT_EQ(Cell("lExternalCatalogId", key).ToLong(), 0);
  EXPECT_EQ(Cell("iStatus", key).ToLong(), 1);
  EXPECT_TRUE(Cell("bIsLeaf", key).ToBoolean());
  EXPECT_FALSE(Cell("bIsOffline", key).ToBoolean());
  EXPECT_EQ(FormatIsoDate(Cell("tUpdated", key).ToDate()), FormatIsoDate(folder->Updated()));
  EXPECT_FALSE(Cell("bIsLeaf", 1).ToBoolean());

  // Whatever status the caller set, a new folder is active; keys only grow, shared with the
  // rest of the folder key space.
  auto child = FolderFromXml(R"(<Folder name="2002" status="3"/>)");
  access->AddFolder(child, folder->ID(), false);
  EXPECT_EQ(child->Status(), 1);
  EXPECT_GT(Variant(child->ID()).ToLong(), key);
  EXPECT_FALSE(Cell("bIsLeaf", key).ToBoolean());
  EXPECT_EQ(Cell("iStatus", Variant(child->ID()).ToLong()).ToLong(), 1);

  // At the top of the tree there is no parent to mark.
  auto top = Add(*access, "Top", "0");
  EXPECT_EQ(top->ParentID(), "0");
  EXPECT_EQ(Count("Folder WHERE lParentID=0"), 2);
}

TEST_P(FolderOpsTest, AddFolderInAnExternalCatalogStripsAndTagsIds) {
  auto access = Make(7);
  auto folder = Add(*access, "Shared letters", "P7C1");
  ASSERT_EQ(folder->ID().rfind("P7C", 0), 0u) << folder->ID();
  EXPECT_EQ(folder->ParentID(), "P7C1");
  const int32_t key = Variant(folder->ID().substr(3)).ToLong();
  EXPECT_EQ(Cell("lParentID", key).ToLong(), 1);
  EXPECT_FALSE(Cell("bIsLeaf", 1).ToBoolean());
  EXPECT_EQ(access->GetFolder(folder->ID())->Name(), "Shared letters");
}

TEST_P(FolderOpsTest, NamesAreUniqueAmongNonDeletedSiblings) {
  auto access = Make();
  auto letters = Add(*access, "Letters", "1");
  Add(*access, "Letters", letters->ID());  // the same name one level down is another sibling set

  for (std::string name : {"Letters", "LETTERS", "  Letters  "}) {
    auto twin = Folder::Create();
    twin->SetName(name);
    twin->SetID("caller's id");
    const AutomationError error = ErrorOf([&] { access->AddFolder(twin, "1", true); });
    EXPECT_EQ(error.number(), -2147220997) << name;
    EXPECT_EQ(error.source(), "Data Services");
    EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {name}));
    // Nothing of the failed add stays, in the catalog or in the caller's object.
    EXPECT_EQ(twin->ID(), "caller's id");
    EXPECT_EQ(twin->GUID(), "");
    EXPECT_EQ(twin->Status(), 0);
    EXPECT_EQ(Count("Folder WHERE lParentID=1"), 1);
  }
  // No transaction was left open: a later add commits and is seen from another connection.
  auto other = Add(*access, "Other", "1");
  EXPECT_EQ(Count("Folder WHERE sName='Other'"), 1);
  EXPECT_TRUE(access->FolderNameExists("letters", "1"));
  EXPECT_FALSE(access->FolderNameExists("Letters", other->ID()));
  EXPECT_FALSE(access->FolderNameExists("Missing", "1"));
  EXPECT_EQ(access->GetFolderByName("LETTERS", "1")->ID(), letters->ID());
  EXPECT_EQ(access->GetFolderByName("Letters", "0"), nullptr);

  // Without the check a duplicate goes in.
  Add(*access, "Letters", "1", false);
  EXPECT_EQ(Count("Folder WHERE lParentID=1 AND sName='Letters'"), 2);

  // Once deleted, a name is free again.
  auto draft = Add(*access, "Drafts", "1");
  access->DeleteFolder(draft->ID(), false);
  EXPECT_FALSE(access->FolderNameExists("Drafts", "1"));
  EXPECT_EQ(access->GetFolderByName("Drafts", "1"), nullptr);
  auto again = Add(*access, "Drafts", "1");
  EXPECT_NE(again->ID(), draft->ID());
  EXPECT_EQ(Count("Folder WHERE sName='Drafts'"), 2);
}

TEST_P(FolderOpsTest, NameCheckRefusesAFolderItCannotFindAgain) {
  // An empty name is stored as Null, which equals nothing: the check finds no row and refuses.
  auto access = Make();
  for (std::string name : {"", "   "}) {
    auto folder = Folder::Create();
    folder->SetName(name);
    EXPECT_EQ(ErrorOf([&] { access->AddFolder(folder, "1", true); }).number(),
              err::kFolderNameNotUnique);
  }
  EXPECT_EQ(Count("Folder"), 1);
  EXPECT_TRUE(Cell("bIsLeaf", 1).ToBoolean());
}

TEST_P(FolderOpsTest, UpdateFolderRewritesTheRowButNotItsPlace) {
  auto access = Make();
  auto folder = Add(*access, "Letters", "1");
  Add(*access, "Child", folder->ID());
  const int32_t key = Variant(folder->ID()).ToLong();
  // The store-only properties come from the folder's text, as a client hands them in.
  auto read = FolderFromXml("<Folder Folderid=\"" + folder->ID() +
                            R"(" parentid="1" name="Mail" description="Renamed" status="2")"
                            R"( isleaf="12"/>)");
  db_.ExecuteSQL("UPDATE Folder SET tUpdated='2002-03-04 05:06:07' WHERE lFolderID=" +
                 std::to_string(key));
  auto updated = access->UpdateFolder(read, true);
  EXPECT_EQ(updated.get(), read.get());
  EXPECT_EQ(read->ID(), folder->ID());
  EXPECT_EQ(FormatIsoDate(Cell("tUpdated", key).ToDate()), FormatIsoDate(read->Updated()));
  EXPECT_GT(read->Updated().serial(), Date::FromParts({2002, 3, 4, 5, 6, 7})->serial());
  EXPECT_EQ(Cell("sName", key).ToText(), "Mail");
  EXPECT_EQ(Cell("sDescription", key).ToText(), "Renamed");
  EXPECT_EQ(Cell("iStatus", key).ToLong(), 2);
  EXPECT_EQ(Cell("lExternalCatalogId", key).ToLong(), 12);
  EXPECT_EQ(Cell("lParentID", key).ToLong(), 1);
  EXPECT_FALSE(Cell("bIsLeaf", key).ToBoolean());  // still has its child
  // Keeping its own name is not a clash.
  access->UpdateFolder(read, true);
  EXPECT_EQ(Cell("sName", key).ToText(), "Mail");
}

TEST_P(FolderOpsTest, UpdateFolderToATakenNameRollsBack) {
  auto access = Make();
  Add(*access, "Letters", "1");
  auto folder = Add(*access, "Mail", "1");
  const int32_t key = Variant(folder->ID()).ToLong();
  const Date updated = folder->Updated();
  folder->SetName("letters");
  folder->SetDescription("clash");
  const AutomationError error = ErrorOf([&] { access->UpdateFolder(folder, true); });
  EXPECT_EQ(error.number(), err::kFolderNameNotUnique);
  EXPECT_EQ(error.source(), kDataServicesSource);
  EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {"letters"}));
  EXPECT_EQ(Cell("sName", key).ToText(), "Mail");
  EXPECT_EQ(Cell("sDescription", key).IsNull(), true);
  EXPECT_EQ(folder->Updated(), updated);
  // Without the check the rename goes through.
  access->UpdateFolder(folder, false);
  EXPECT_EQ(Cell("sName", key).ToText(), "letters");

  // In an external catalog the ids are stripped for the statement and tagged again.
  auto tagged = Make(7)->GetFolder("P7C" + std::to_string(key));
  tagged->SetName("Tagged");
  Make(7)->UpdateFolder(tagged, true);
  EXPECT_EQ(tagged->ID(), "P7C" + std::to_string(key));
  EXPECT_EQ(Cell("sName", key).ToText(), "Tagged");
}

TEST_P(FolderOpsTest, FailingWritesLeaveNoRowsAndNoOpenTransaction) {
  auto access = Make();
  RawSql(
      "CREATE TRIGGER refuse_leaf BEFORE UPDATE OF bIsLeaf ON Folder"
      " BEGIN SELECT RAISE(ABORT, 'leaf mark refused'); END");
  for (bool check : {true, false}) {
    auto folder = Folder::Create();
    folder->SetName("Refused");
    const AutomationError error = ErrorOf([&] { access->AddFolder(folder, "1", check); });
    EXPECT_EQ(error.number(), err::kDatabaseError) << check;
    EXPECT_EQ(folder->ID(), "");
    EXPECT_EQ(Count("Folder"), 1) << check;
  }
  RawSql("DROP TRIGGER refuse_leaf");
  auto ok = Add(*access, "Accepted", "1");
  EXPECT_EQ(Count("Folder"), 2);  // committed: visible to the test's own connection
  EXPECT_EQ(ErrorOf([&] { Add(*access, "Bad parent", "1 OR 1=1"); }).number(), err::kTypeMismatch);
  EXPECT_EQ(Count("Folder"), 2);
  EXPECT_EQ(Count("FolderIDGenerator"), 0);
}

TEST_P(FolderOpsTest, HaveFoldersChangedComparesTheUpdateTimes) {
  InsertFolder(101, 1, "Old");  // 2002-03-04 05:06:07; the root is from today
  auto access = Make();
  const Date now = Date::Now();
  db_.ExecuteSQL("UPDATE Folder SET tUpdated='2002-03-04 05:06:07'");
  const Date changed = *Date::FromParts({2002, 3, 4, 5, 6, 7});
  EXPECT_TRUE(access->HaveFoldersChanged(changed));
  EXPECT_FALSE(access->HaveFoldersChanged(*Date::FromParts({2002, 3, 4, 5, 6, 8})));
  Add(*access, "New", "1");
  EXPECT_TRUE(access->HaveFoldersChanged(Date(now.serial() - 1.0 / 86400)));
}

TEST_P(FolderOpsTest, UpdateParentFolderSetsTheLeafMark) {
  InsertFolder(101, 1, "Child");
  auto access = Make();
  access->UpdateParentFolder("1", false);
  EXPECT_FALSE(Cell("bIsLeaf", 1).ToBoolean());
  access->UpdateParentFolder("1", true);
  EXPECT_TRUE(Cell("bIsLeaf", 1).ToBoolean());
  Make(7)->UpdateParentFolder("P7C101", false);
  EXPECT_FALSE(Cell("bIsLeaf", 101).ToBoolean());
  for (std::string top : {"0", "P7C0"}) Make(7)->UpdateParentFolder(top, false);  // no statement
  EXPECT_EQ(Count("Folder WHERE bIsLeaf=1"), 1);
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

  static int32_t Key(const std::shared_ptr<Folder>& folder) {
    return Variant(folder->ID()).ToLong();
  }

  int32_t Status(int32_t key) {
    Variant status = Cell("iStatus", key);
    return status.IsNull() ? -1 : status.ToLong();
  }

  int32_t x_ = 0, x1_ = 0, x1a_ = 0, x2_ = 0, y_ = 0;
};

TEST_P(FolderDeleteTest, SoftDeleteMarksTheWholeSubtreeAndItsClippings) {
  EXPECT_FALSE(Cell("bIsLeaf", 1).ToBoolean());
  access_->DeleteFolder(std::to_string(x_), false);
  for (int32_t key : {x_, x1_, x1a_, x2_}) EXPECT_EQ(Status(key), 3) << key;
  EXPECT_EQ(Status(y_), 1);
  EXPECT_EQ(ClippingStatus(5001), 4);
  EXPECT_EQ(ClippingStatus(5002), 4);
  EXPECT_EQ(ClippingStatus(5003), 1);
  EXPECT_EQ(Count("ClippingDataType"), 3);
  // The parent reads as a leaf although Y is still there: only the deleted folder's own
  // children are looked at.
  EXPECT_TRUE(Cell("bIsLeaf", 1).ToBoolean());
  EXPECT_EQ(Outline(*access_->GetFolders(true, false)), "Personal(Y)");
  EXPECT_EQ(Outline(*access_->GetFolders(true, true)), "Personal(X(X1(X1a),X2),Y)");
}

TEST_P(FolderDeleteTest, PermanentDeleteRemovesTheSubtreeAndItsClippings) {
  access_->DeleteFolder(std::to_string(x_), true);
  for (int32_t key : {x_, x1_, x1a_, x2_}) EXPECT_EQ(Status(key), -1) << key;
  EXPECT_EQ(Status(y_), 1);
  EXPECT_EQ(Count("Clipping"), 1);
  EXPECT_EQ(ClippingStatus(5003), 1);
  EXPECT_EQ(Count("ClippingDataType WHERE lClippingID <> 5003"), 0);
  EXPECT_TRUE(Cell("bIsLeaf", 1).ToBoolean());
  EXPECT_EQ(Outline(*access_->GetFolders(true, true)), "Personal(Y)");
}

TEST_P(FolderDeleteTest, PermanentDeleteTakesClippingsMarkedDeletedButNotDeletedSubfolders) {
  InsertClipping(5004, x_, 4);  // already marked deleted
  access_->DeleteFolder(std::to_string(x1_), false);
  EXPECT_EQ(ClippingStatus(5002), 4);
  access_->DeleteFolder(std::to_string(x_), true);
  EXPECT_EQ(ClippingStatus(5004), -1);
  EXPECT_EQ(ClippingStatus(5001), -1);
  EXPECT_EQ(Status(x_), -1);
  EXPECT_EQ(Status(x2_), -1);
  // X1 was marked deleted before: the child listing leaves it out, so it and what it holds stay.
  EXPECT_EQ(Status(x1_), 3);
  EXPECT_EQ(Status(x1a_), 3);
  EXPECT_EQ(ClippingStatus(5002), 4);
}

TEST_P(FolderDeleteTest, DeletingALeafMarksItsParentALeaf) {
  for (bool permanently : {false, true}) {
    SCOPED_TRACE(permanently);
    db_.ExecuteSQL("UPDATE Folder SET bIsLeaf=0, iStatus=1 WHERE lFolderID=" + std::to_string(x_));
    const int32_t leaf = Key(Add(*access_, permanently ? "Z2" : "Z1", std::to_string(x_)));
    EXPECT_FALSE(Cell("bIsLeaf", x_).ToBoolean());
    access_->DeleteFolder(std::to_string(leaf), permanently);
    EXPECT_TRUE(Cell("bIsLeaf", x_).ToBoolean());  // although X1 and X2 are still there
    EXPECT_EQ(Status(leaf), permanently ? -1 : 3);
    EXPECT_EQ(Status(x1_), 1);
  }
  // A folder at the top has no parent to mark.
  auto top = Add(*access_, "Top", "0");
  access_->DeleteFolder(top->ID(), true);
  EXPECT_EQ(Count("Folder WHERE lParentID=0"), 1);
}

TEST_P(FolderDeleteTest, DeletingAnUnknownFolderChangesNothing) {
  const int32_t folders = Count("Folder");
  for (bool permanently : {false, true}) access_->DeleteFolder("99999", permanently);
  EXPECT_EQ(Count("Folder"), folders);
  EXPECT_EQ(Count("Folder WHERE iStatus=1"), folders);
  EXPECT_EQ(Count("Clipping WHERE iClippingStatus=1"), 3);
}

TEST_P(FolderDeleteTest, TaggedIdsDeleteInTheirOwnCatalog) {
  auto tagged = Make(7);
  tagged->DeleteFolder("P7C" + std::to_string(x1_), true);
  EXPECT_EQ(Status(x1_), -1);
  EXPECT_EQ(Status(x1a_), -1);
  EXPECT_EQ(ClippingStatus(5002), -1);
  EXPECT_EQ(Status(x_), 1);
  EXPECT_TRUE(Cell("bIsLeaf", x_).ToBoolean());
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
  EXPECT_TRUE(access_->CanAddFolder(folder, "1"));
  EXPECT_TRUE(access_->CanAddFolder(folder, std::to_string(x_)));
  EXPECT_EQ(folder->ID(), "mine");
  EXPECT_EQ(folder->GUID(), "");
  EXPECT_FALSE(access_->CanAddFolder(folder, "not a number"));
  EXPECT_FALSE(access_->CanAddFolder(nullptr, "1"));
  EXPECT_EQ(Count("Folder"), folders);
  EXPECT_EQ(Count("FolderIDGenerator"), 0);
  EXPECT_TRUE(Cell("bIsLeaf", y_).ToBoolean());

  for (bool permanently : {false, true}) {
    EXPECT_TRUE(access_->CanDeleteFolder(std::to_string(x_), permanently));
    EXPECT_TRUE(access_->CanDeleteFolder(std::to_string(x1a_), permanently));
    EXPECT_FALSE(access_->CanDeleteFolder("99999", permanently));
    EXPECT_FALSE(access_->CanDeleteFolder("x", permanently));
  }
  EXPECT_EQ(Count("Folder WHERE iStatus=1"), folders);
  EXPECT_EQ(Count("Clipping WHERE iClippingStatus=1"), 3);
  EXPECT_EQ(Count("ClippingDataType"), 3);

  // No transaction was left open: a real add commits and shows on another connection.
  Add(*access_, "Real", "1");
  EXPECT_EQ(Count("Folder"), folders + 1);

  // An unreachable catalog answers false too.
  auto missing = Make();
  missing->SetConnectionString(FileCatalogConnectionString(catalog_.dir().File("none.db")));
  EXPECT_FALSE(missing->CanAddFolder(folder, "1"));
  EXPECT_FALSE(missing->CanDeleteFolder("1", false));
}

// The folder statements are what other programs sharing a catalog, and the catalog's indexes,
// were made for: a rewrite that changes one must change this test knowingly. Statements of the
// clipping operations that a folder delete calls are left out; dates and GUIDs are placeholders.
class FolderStatementTest : public FolderOpsTest {
 protected:
  void SetUp() override { recorder_.Record(*access_); }

  Statements Run(const std::function<void()>& call) {
    Statements statements = recorder_.Run(call);
    std::erase_if(statements,
                  [](const std::string& sql) { return sql.find("Clipping") != std::string::npos; });
    return statements;
  }

  StatementRecorder recorder_;
};

TEST_P(FolderStatementTest, ReadsRunTheirOwnText) {
  InsertFolder(2, 1, "Mail");
  EXPECT_EQ(Run([&] { access_->GetPersonalCatalogRootFolder(); }),
            Statements{"SELECT * From Folder Where lExternalCatalogId=0 AND lParentId=0"});
  EXPECT_EQ(
      Run([&] { access_->FolderNameExists("O'Neil", "1"); }),
      Statements{"Select * From Folder WHERE sName='O''Neil' AND lParentId=1 AND iStatus <>3"});
  EXPECT_EQ(Run([&] { access_->HaveFoldersChanged(Date::Now()); }),
            Statements{"Select lFolderId From Folder Where tUpdated >= <date>"});
  EXPECT_EQ(Run([&] { access_->GetFolders(false, false); }),
            (Statements{"Select * FROM Folder WHERE lParentID=0 AND lExternalCatalogID=0  AND "
                        "iStatus <> 3  ORDER BY sName ASC ",
                        "SELECT * From  Folder WHERE lParentId=1 AND NOT iStatus=4 AND "
                        "lExternalCatalogId=0  AND iStatus <> 3  ORDER BY sName ASC ",
                        "SELECT * From  Folder WHERE lParentId=2 AND NOT iStatus=4 AND "
                        "lExternalCatalogId=0  AND iStatus <> 3  ORDER BY sName ASC "}));
  EXPECT_EQ(Run([&] { access_->GetFolders(true, true); }),
            (Statements{"SELECT * FROM Folder WHERE lParentId=0   ORDER BY sName ASC ",
                        "SELECT * From  Folder WHERE lParentId=1 AND NOT iStatus=4 ORDER BY sName "
                        "ASC ",
                        "SELECT * From  Folder WHERE lParentId=2 AND NOT iStatus=4 ORDER BY sName "
                        "ASC "}));
  EXPECT_EQ(Run([&] { access_->UpdateParentFolder("0", true); }), Statements{});
}

TEST_P(FolderStatementTest, WritesRunTheirOwnTextInOrder) {
  auto folder = Folder::Create();
  folder->SetName("Mail");
  const Statements add = {
      "<begin>",
      "Insert Into FolderIDGenerator (sGUID) Values ( <guid> ) ",
      "Select lID From FolderIDGenerator Where sGUID=<guid>",
      "Delete From FolderIDGenerator Where sGUID=<guid>",
      "INSERT INTO Folder ( lFolderID, sGuid, lParentID, sName, sDescription, lExternalCatalogId, "
      "bIsLeaf, bIsOffline, iStatus, tUpdated ) Values ( 2, <guid>, 1, 'Mail', Null, 0, 1, 0, 1, "
      "<date> )",
      "Select * From Folder Where sName='Mail' AND lParentId=1 AND iStatus <>3",
      "UPDATE Folder Set bIsLeaf=0 WHERE lFolderID=1",
      "<commit>",
  };
  EXPECT_EQ(Run([&] { access_->AddFolder(folder, "1", true); }), add);
  folder->SetDescription("Letters");
  EXPECT_EQ(Run([&] { access_->UpdateFolder(folder, true); }),
            (Statements{
                "<begin>",
                "UPDATE Folder Set sName='Mail', sDescription='Letters', lExternalCatalogId='0', "
                "iStatus=1, tUpdated=<date> WHERE lFolderID=2",
                "Select * From Folder Where sName='Mail' AND lParentId=1 AND iStatus <>3",
                "<commit>",
            }));
  const Statements removal_of_a_leaf = {
      "<begin>",
      "SELECT * From Folder WHERE lFolderId=2",
      "SELECT * From  Folder WHERE lParentId=2 AND NOT iStatus=4 AND iStatus <> 3  ORDER BY "
      "sName ASC ",
      "<begin>",  // the clippings, once before and once after the row
      "<commit>",
      "Update Folder Set iStatus=3 Where lFolderID=2",
      "Update Folder Set iStatus=3 Where lFolderID=2",
      "<begin>",
      "<commit>",
      "SELECT * From  Folder WHERE lParentId=2 AND NOT iStatus=4 AND iStatus <> 3  ORDER BY "
      "sName ASC ",
      "UPDATE Folder Set bIsLeaf=1 WHERE lFolderID=1",
      "<commit>",
  };
  EXPECT_EQ(Run([&] { access_->DeleteFolder("2", false); }), removal_of_a_leaf);
  Statements permanent = removal_of_a_leaf;
  for (std::string& sql : permanent) {
    if (sql.rfind("Update Folder Set iStatus", 0) == 0)
      sql = "Delete From Folder Where lFolderID=2";
  }
  EXPECT_EQ(Run([&] { access_->DeleteFolder("2", true); }), permanent);
  // A trial add runs the add's statements up to the row itself, then rolls back.
  Statements trial(add.begin(), add.begin() + 5);
  trial[4] = ReplaceAll(ReplaceAll(trial[4], "( 2,", "( 3,"), "Null", "'Letters'");
  trial.push_back("<rollback>");
  EXPECT_EQ(Run([&] { access_->CanAddFolder(folder, "1"); }), trial);
}

INSTANTIATE_TEST_SUITE_P(BothKinds, FolderOpsTest, ::testing::Values(0, 1), KindName);
INSTANTIATE_TEST_SUITE_P(BothKinds, FolderDeleteTest, ::testing::Values(0, 1), KindName);
INSTANTIATE_TEST_SUITE_P(BothKinds, FolderStatementTest, ::testing::Values(0, 1), KindName);

}  // namespace
}  // namespace clipcat::testing
