// Folders in the store: reading, listings, adding, renaming, deleting subtrees, trial operations,
// and failures that must leave nothing behind.
#include "catalog_fixture.h"
#include "util/messages.h"

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

std::string Outline(const std::shared_ptr<Folders>& folders) {
  std::string text;
  for (const auto& folder : *folders->Items()) text += (text.empty() ? "" : ";") + Outline(*folder);
  return text;
}

class FolderOpsTest : public BothKindsTest {
 protected:
  // "parent/name/description/external catalog/leaf mark/status" of folder `key` ("-" for a
  // Null), or "gone".
  std::string Row(int32_t key) {
    Recordset rs = db_.GetRecordsetRO(
        "SELECT lParentID || '/' || ifnull(sName, '-') || '/' || ifnull(sDescription, '-') || '/' "
        "|| lExternalCatalogId || '/' || bIsLeaf || '/' || iStatus AS r FROM Folder WHERE "
        "lFolderID=" +
        std::to_string(key));
    return rs.Eof() ? "gone" : rs.Value("r").ToText();
  }

  int32_t Add(const std::string& name, int32_t parent, bool check = true) {
    auto folder = Folder::Create();
    folder->SetName(name);
    return Variant(access_->AddFolder(folder, std::to_string(parent), check)->ID()).ToLong();
  }

  // Personal: X (X1 (X1a), X2), Y, built as the services build it; one clipping, with one content
  // item, in each of X, X1a and Y.
  void BuildTree() {
    x_ = Add("X", 1);
    x1_ = Add("X1", x_);
    x1a_ = Add("X1a", x1_);
    x2_ = Add("X2", x_);
    y_ = Add("Y", 1);
    for (int32_t folder : {x_, x1a_, y_}) {
      const std::string clipping = std::to_string(folder + 5000);
      db_.ExecuteSQL("INSERT INTO Clipping (lClippingID, lFolderID, iClippingStatus) VALUES (" +
                     clipping + ", " + std::to_string(folder) + ", 1)");
      db_.ExecuteSQL("INSERT INTO ClippingDataType (lClippingID) VALUES (" + clipping + ")");
    }
  }

  // The statuses of X, X1, X1a, X2, Y, then of the clippings in X, X1a and Y ("-": no row),
  // then the number of content items.
  std::string Statuses() {
    std::string text;
    for (int32_t key : {x_, x1_, x1a_, x2_, y_}) {
      const std::string row = Row(key);
      text += row == "gone" ? "-" : row.substr(row.rfind('/') + 1);
    }
    text += " ";
    for (int32_t key : {x_, x1a_, y_}) {
      Recordset rs = db_.GetRecordsetRO("SELECT iClippingStatus FROM Clipping WHERE lClippingID=" +
                                        std::to_string(key + 5000));
      text += rs.Eof() ? "-" : rs.Value("iClippingStatus").ToText();
    }
    return text + " " + std::to_string(Count("ClippingDataType"));
  }

  int32_t x_ = 0, x1_ = 0, x1a_ = 0, x2_ = 0, y_ = 0;
};

TEST_P(FolderOpsTest, RowsReadBackWithEveryPropertyAndIdsThatAreNoNumbersAreRefused) {
  db_.ExecuteSQL(
      "INSERT INTO Folder (lFolderID, sGUID, lParentID, sName, sDescription, lExternalCatalogId,"
      " bIsLeaf, iStatus, tUpdated) VALUES (42, 'ABCDEF', 1, 'O''Brien', 'Notes', 3, 0, 2,"
      " '2002-03-04 05:06:07'), (300, 'L', 0, 'A linked catalog', Null, 5, 1, 1, Null)");
  // The linked catalog's folder sorts first, but only the catalog's own top folder is its root.
  for (auto root : {access_->GetPersonalCatalogRootFolder(), access_->GetCatalogsRootFolder("P5")})
    EXPECT_EQ(root->ID() + "/" + root->ParentID() + "/" + root->Name(), "1/0/Personal");
  auto folder = access_->GetFolder("42");
  EXPECT_EQ(folder->ParentID() + "/" + folder->GUID() + "/" + folder->Name() + "/" +
                folder->Description() + "/" + FormatIsoDate(folder->Updated()),
            "1/ABCDEF/O'Brien/Notes/2002-03-04 05:06:07");
  EXPECT_EQ(folder->ExternalCatalogID() * 10 + folder->Status(), 32);
  EXPECT_EQ(access_->GetFolder("300")->Description(), "");  // a Null column reads as empty text
  EXPECT_EQ(access_->GetFolder("44"), nullptr);
  for (std::string id : {"42 OR 1=1", "abc", "42; DELETE FROM Folder"}) {
    EXPECT_EQ(ErrorOf([&] { access_->GetFolder(id); }).number(), err::kTypeMismatch) << id;
  }
  EXPECT_EQ(Count("Folder"), 3);
}

TEST_P(FolderOpsTest, ListingsFollowTheIncludeFlagsAndNeverShowStatusFour) {
  //   1 Personal: Alpha, Beta (B1, B2 (B2a, B2gone[3]), B3err[4]), Gamma[3] (G1), Ext[ext 9] (E1)
  //   200 Archive: Old[4];  300 Shared [ext 5];  301 Trash[3]
  db_.ExecuteSQL(
      "INSERT INTO Folder (lFolderID, lParentID, sName, iStatus, lExternalCatalogId) VALUES (101, "
      "1, 'Alpha', 1, 0), (102, 1, 'Beta', 1, 0), (103, 1, 'Gamma', 3, 0), (104, 102, 'B1', 1, 0), "
      "(105, 102, 'B2', 1, 0), (106, 102, 'B3err', 4, 0), (107, 105, 'B2a', 1, 0), (108, 105, "
      "'B2gone', 3, 0), (109, 103, 'G1', 1, 0), (110, 1, 'Ext', 1, 9), (111, 110, 'E1', 1, 0), "
      "(200, 0, 'Archive', 1, 0), (201, 200, 'Old', 4, 0), (300, 0, 'Shared', 1, 5), (301, 0, "
      "'Trash', 3, 0)");
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
    EXPECT_EQ(Outline(access_->GetFolders(c.external, c.deleted)), c.outline);
    // The same subtree through the one-folder walk fills the folder it is given.
    auto beta = access_->GetFolder("102");
    EXPECT_EQ(access_->GetChildFolders(beta, c.external, c.deleted).get(), beta.get());
    EXPECT_EQ(Outline(*beta), c.deleted ? "Beta(B1,B2(B2a,B2gone))" : "Beta(B1,B2(B2a))");
    // One level only.
    EXPECT_EQ(Outline(access_->GetChildrenFolders("1", c.external, c.deleted)),
              std::string("Alpha;Beta") + (c.external ? ";Ext" : "") + (c.deleted ? ";Gamma" : ""));
  }
}

TEST_P(FolderOpsTest, FolderAmongItsOwnAncestorsRaisesInsteadOfLooping) {
  db_.ExecuteSQL(
      "INSERT INTO Folder (lFolderID, lParentID, sName, iStatus) VALUES (50, 51, 'Loop A', 1), "
      "(51, 50, 'Loop B', 1), (60, 60, 'Own parent', 1)");
  for (int32_t key : {50, 51, 60}) {
    auto folder = access_->GetFolder(std::to_string(key));
    const AutomationError error = ErrorOf([&] { access_->GetChildFolders(folder, true, true); });
    EXPECT_EQ(error.number(), err::kDatabaseError) << key;
    EXPECT_NE(error.description().find("circle"), std::string::npos) << error.description();
    EXPECT_EQ(ErrorOf([&] { access_->DeleteFolder(std::to_string(key), true); }).number(),
              err::kDatabaseError);
  }
  EXPECT_EQ(Count("Folder WHERE iStatus=1"), 4);
  EXPECT_EQ(Outline(access_->GetFolders(true, true)), "Personal");
}

TEST_P(FolderOpsTest, AddWritesAnActiveLeafUnderANameUniqueAmongItsLiveSiblings) {
  auto folder = Folder::Create();
  folder->SetXML(R"(<Folder name="Letters" description="Mail, 2002" status="3"/>)");
  EXPECT_EQ(access_->AddFolder(folder, "1", true).get(), folder.get());
  const int32_t key = Variant(folder->ID()).ToLong();
  EXPECT_EQ(folder->ParentID() + "/" + std::to_string(folder->Status()), "1/1");
  EXPECT_EQ(Count("Folder WHERE sGUID='" + folder->GUID() + "' AND tUpdated='" +
                  FormatIsoDate(folder->Updated()) + "'"),
            1);
  EXPECT_EQ(Row(key), "1/Letters/Mail, 2002/0/1/1");
  EXPECT_EQ(Row(1), "0/Personal/-/0/0/1");  // the parent is no leaf any more
  EXPECT_GT(Add("Letters", key), key);      // one level down is another sibling set
  EXPECT_EQ(Row(key), "1/Letters/Mail, 2002/0/0/1");
  // An empty name is stored as Null, which equals nothing: the check cannot find it again.
  for (std::string name : {"Letters", "LETTERS", "  Letters  ", "", "   "}) {
    auto twin = Folder::Create();
    twin->SetName(name);
    twin->SetID("caller's id");
    const AutomationError error = ErrorOf([&] { access_->AddFolder(twin, "1", true); });
    EXPECT_EQ(std::to_string(error.number()) + error.source(), "-2147220997Data Services");
    EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {name}));
    EXPECT_EQ(twin->ID() + "/" + twin->GUID(), "caller's id/");
  }
  EXPECT_EQ(ErrorOf([&] { access_->AddFolder(folder, "1 OR 1=1", true); }).number(),
            err::kTypeMismatch);
  EXPECT_EQ(Count("Folder WHERE lParentID=1") * 10 + Count("FolderIDGenerator"), 10);
  Add("Letters", 1, false);  // without the check a duplicate goes in, committed
  EXPECT_EQ(Count("Folder WHERE lParentID=1 AND sName='Letters'"), 2);
  // Once deleted, a name is free again.
  const int32_t draft = Add("Drafts", 1);
  access_->DeleteFolder(std::to_string(draft), false);
  EXPECT_FALSE(access_->FolderNameExists("Drafts", "1"));
  EXPECT_EQ(access_->GetFolderByName("Drafts", "1"), nullptr);
  EXPECT_NE(Add("Drafts", 1), draft);
  Add("Top", 0);  // at the top of the tree there is no parent to mark
  EXPECT_EQ(Count("Folder WHERE lParentID=0"), 2);
}

TEST_P(FolderOpsTest, UpdateRewritesTheRowButNotItsPlaceAndRollsBackAClash) {
  const int32_t key = Add("Letters", 1);
  Add("Child", key);
  Add("Taken", 1);
  // The store-only properties come from the folder's text, as a client hands them in; the leaf
  // mark of the text lands in the external catalog column.
  auto read = Folder::Create();
  read->SetXML("<Folder Folderid=\"" + std::to_string(key) +
               R"(" parentid="1" name="Mail" description="Renamed" status="2" isleaf="12"/>)");
  db_.ExecuteSQL("UPDATE Folder SET tUpdated='2002-03-04 05:06:07'");
  EXPECT_EQ(access_->UpdateFolder(read, true).get(), read.get());
  EXPECT_EQ(Row(key), "1/Mail/Renamed/12/0/2");
  EXPECT_EQ(Count("Folder WHERE tUpdated='" + FormatIsoDate(read->Updated()) + "'"), 1);
  access_->UpdateFolder(read, true);  // keeping its own name is no clash
  const Date updated = read->Updated();
  read->SetName("taken");
  read->SetDescription("clash");
  const AutomationError error = ErrorOf([&] { access_->UpdateFolder(read, true); });
  EXPECT_EQ(error.number(), err::kFolderNameNotUnique);
  EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {"taken"}));
  EXPECT_EQ(Row(key), "1/Mail/Renamed/12/0/2");
  EXPECT_EQ(read->Updated(), updated);
  access_->UpdateFolder(read, false);  // without the check the rename goes through
  EXPECT_EQ(Row(key), "1/taken/clash/12/0/2");
}

TEST_P(FolderOpsTest, DeleteTakesTheWholeSubtreeAndItsClippings) {
  BuildTree();
  EXPECT_EQ(Statuses(), "11111 111 3");
  EXPECT_EQ(Row(x_) + " " + Row(x1_), "1/X/-/0/0/1 " + std::to_string(x_) + "/X1/-/0/0/1");
  access_->DeleteFolder(std::to_string(x_), false);
  EXPECT_EQ(Statuses(), "33331 441 3");
  // Each folder of the subtree reads as a leaf once its own children are deleted.
  EXPECT_EQ(Row(x_) + " " + Row(x1_), "1/X/-/0/1/3 " + std::to_string(x_) + "/X1/-/0/1/3");
  // The parent reads as a leaf although Y is still there: only the deleted folder's own
  // children are looked at.
  EXPECT_EQ(Row(1), "0/Personal/-/0/1/1");
  EXPECT_EQ(Outline(access_->GetFolders(true, false)), "Personal(Y)");
  // A permanent delete takes the clippings marked deleted but not the subfolders: the child
  // listing leaves those out.
  db_.ExecuteSQL("UPDATE Folder SET iStatus=1 WHERE lFolderID=" + std::to_string(x2_));
  access_->DeleteFolder(std::to_string(x_), true);
  EXPECT_EQ(Statuses(), "-33-1 -41 2");
  for (bool permanently : {false, true}) access_->DeleteFolder("99999", permanently);
  EXPECT_EQ(Count("Folder"), 4);
}

TEST_P(FolderOpsTest, TrialsAndAFailureHalfwayLeaveTheTreeAsItWas) {
  BuildTree();
  auto folder = Folder::Create();
  folder->SetName("Trial");
  EXPECT_TRUE(access_->CanAddFolder(folder, std::to_string(y_)));
  EXPECT_EQ(folder->ID() + folder->GUID(), "");
  EXPECT_FALSE(access_->CanAddFolder(folder, "not a number"));
  EXPECT_FALSE(access_->CanDeleteFolder("not a number", true));
  EXPECT_FALSE(access_->CanDeleteFolder("99999", false));
  for (bool permanently : {false, true}) {
    EXPECT_TRUE(access_->CanDeleteFolder(std::to_string(x_), permanently));
  }
  EXPECT_EQ(Row(y_), "1/Y/-/0/1/1");
  EXPECT_EQ(Count("Folder") * 10 + Count("FolderIDGenerator"), 60);
  auto missing = Make();  // an unreachable catalog answers false too
  missing->SetConnectionString(FileCatalogConnectionString(catalog_.dir().File("none.db")));
  EXPECT_FALSE(missing->CanAddFolder(folder, "1"));
  db_.ExecuteSQL(
      "CREATE TRIGGER refuse_x2 BEFORE DELETE ON Folder WHEN old.sName = 'X2'"
      " BEGIN SELECT RAISE(ABORT, 'X2 is kept'); END");
  EXPECT_EQ(ErrorOf([&] { access_->DeleteFolder(std::to_string(x_), true); }).number(),
            err::kDatabaseError);
  EXPECT_EQ(Statuses(), "11111 111 3");
  db_.ExecuteSQL("DROP TRIGGER refuse_x2");
  // An add whose parent cannot be marked takes back its row and its key.
  db_.ExecuteSQL(
      "CREATE TRIGGER refuse_mark BEFORE UPDATE OF bIsLeaf ON Folder"
      " BEGIN SELECT RAISE(ABORT, 'no marks'); END");
  EXPECT_EQ(ErrorOf([&] { Add("Unmarked", y_); }).number(), err::kDatabaseError);
  EXPECT_EQ(Count("Folder") * 10 + Count("FolderIDGenerator"), 60);
  db_.ExecuteSQL("DROP TRIGGER refuse_mark");
  access_->DeleteFolder(std::to_string(x_), true);  // no transaction was left open
  EXPECT_EQ(Statuses(), "----1 --1 1");
}

INSTANTIATE_TEST_SUITE_P(BothKinds, FolderOpsTest, ::testing::Values(0, 1), KindName);

}  // namespace
}  // namespace clipcat::testing
