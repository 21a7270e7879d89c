// Lists of clippings: by folder, by folder subtree, by category, deleted ones, and the two text
// searches, whose texts and ids must only ever be matched as text or refused.
#include <algorithm>
#include <functional>

#include "catalog_fixture.h"

namespace clipcat::testing {
namespace {

// "name,name": a result in its own order, or sorted for queries that promise none.
std::string Names(const std::shared_ptr<Clippings>& clippings, bool sorted = false) {
  std::vector<std::string> names;
  for (const auto& clipping : *clippings->Items()) names.push_back(clipping->Name());
  if (sorted) std::sort(names.begin(), names.end());
  std::string text;
  for (size_t i = 0; i < names.size(); ++i) text += (i == 0 ? "" : ",") + names[i];
  return text;
}

// 10 Work (100 b, 101 a, 102 c deleted, 103 d without status, 104 e inactive), 11 Letters in
// Work (110 l), 12 Old in Letters (120 o deleted), 20 Home (200 h); Legal holds 100, 102, 110;
// 900, of another group, holds 103.
class ClippingQueriesTest : public CatalogTest {
 protected:
  void SetUp() override {
    db_.ExecuteSQL(
        "INSERT INTO Folder (lFolderID, lParentID, sName, iStatus, lExternalCatalogId) VALUES (10, "
        "1, 'Work', 1, 0), (11, 10, 'Letters', 1, 0), (12, 11, 'Old', 1, 0), (20, 1, 'Home', 1, "
        "0)");
    db_.ExecuteSQL(
        "INSERT INTO Clipping (lClippingID, lFolderID, sGUID, sName, sDescription, "
        "iClippingStatus) VALUES (100, 10, 'guid-100', 'b', 'second', 1), (101, 10, 'g', 'a', "
        "'first', 1), (102, 10, 'g', 'c deleted', '', 4), (103, 10, 'g', 'd no status', '', Null), "
        "(104, 10, 'g', 'e inactive', '', 2), (110, 11, 'g', 'l', '', 1), (120, 12, 'g', 'o "
        "deleted', '', 4), (200, 20, 'g', 'h', '', 1)");
    auto category = Category::Create();
    category->SetName("Legal");
    legal_ = access_->AddCategory(category, "")->ID();
    for (const std::string id : {"100", "102", "110"}) access_->AddClippingToCategory(id, legal_);
    db_.ExecuteSQL(
        "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName) VALUES (900, 2, "
        "'Other')");
    db_.ExecuteSQL(
        "INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId) VALUES (103, "
        "900)");
  }

  std::shared_ptr<Folder> Tree(const std::string& id) {
    return access_->GetChildFolders(access_->GetFolder(id), true, false);
  }

  std::string legal_;
};

TEST_F(ClippingQueriesTest, FolderListingIsOrderedByNameAndLeavesDeletedOutUnlessAsked) {
  access_->AddClipping(NewClipping("A2", "the content"), "10");
  const auto active = access_->GetClippingsFromFolder("10", false, nullptr, false);
  EXPECT_EQ(Names(active), "a,A2,b,e inactive");
  EXPECT_EQ(active->Items()->Item(2)->ClippingData()->Count(), 0);
  const auto all = access_->GetClippingsFromFolder("10", true, nullptr, true);
  EXPECT_EQ(Names(all), "a,A2,b,c deleted,d no status,e inactive");
  EXPECT_EQ(all->Items()->Item(2)->ClippingData()->Item(1)->RawData(), "the content");
  // A passed list is the result: an empty one filters nothing; the ids of a filled one are a
  // filter, and the rows found go after what it held.
  auto empty = Clippings::Create();
  EXPECT_EQ(access_->GetClippingsFromFolder("10", false, empty, false).get(), empty.get());
  EXPECT_EQ(Names(empty), "a,A2,b,e inactive");
  auto list = ClippingsWithIds({"100", "110", "102"});
  access_->GetClippingsFromFolder("10", false, list, false);
  EXPECT_EQ(Names(list), ",,,b");
  list = ClippingsWithIds({"102", "100"});
  access_->GetClippingsFromFolder("10", false, list, true);
  EXPECT_EQ(Names(list), ",,b,c deleted");
}

TEST_F(ClippingQueriesTest, IdsThatAreNoKeysAreRefusedAndLeaveTheListAsItWas) {
  auto list = Clippings::Create();
  for (const std::function<void(const std::string&)>& query :
       std::vector<std::function<void(const std::string&)>>{
           [&](auto id) {
             list = ClippingsWithIds({id});
             access_->GetClippingsFromFolder("10", false, list, false);
           },
           [&](auto id) { access_->GetClippingsFromFolder(id, false, nullptr, true); },
           [&](auto id) { access_->GetClippingsFromCategory(id, false); },
           [&](auto id) {
             auto root = access_->GetFolder("10");
             root->ChildFolders()->Add(Folder::Create());
             root->ChildFolders()->Item(1)->SetID(id);
             access_->GetClippingsForFolderAndChildFolders(root, false);
           },
           [&](auto id) {
             access_->FindClippings(NewSearch("", {"10", id}));
           },
           [&](auto id) {
             access_->SearchForClippings(NewSearch("*", {"11", id}));
           }}) {
    for (const std::string id : {"1 OR 1=1", "10) OR (1=1", "x", "P7C10", "10;"}) {
      EXPECT_EQ(ErrorOf([&] { query(id); }).number(), err::kTypeMismatch) << id;
    }
  }
  EXPECT_EQ(list->Items()->Count(), 1);  // the refused list is left as it was
  list = Clippings::Create();
  list->AddClipping(nullptr);
  for (const auto& call : std::vector<std::function<void()>>{
           [&] { access_->GetClippingsFromFolder("10", false, list, false); },
           [&] { access_->GetClippingsForFolderAndChildFolders(nullptr, false); },
           [&] { access_->FindClippings(nullptr); },
           [&] { access_->SearchForClippings(nullptr); }}) {
    EXPECT_EQ(ErrorOf(call).number(), err::kObjectVariableNotSet);
  }
}

TEST_F(ClippingQueriesTest, SubtreeQueryCoversTheLoadedChildFoldersOnly) {
  auto work = Tree("10");
  EXPECT_EQ(Names(access_->GetClippingsForFolderAndChildFolders(work, false), true),
            "a,b,c deleted,d no status,e inactive,l,o deleted");
  // A folder read without its children is searched alone.
  EXPECT_EQ(Names(access_->GetClippingsForFolderAndChildFolders(access_->GetFolder("11"), false)),
            "l");
  // A tree that holds itself is refused rather than listed for ever; the same folder twice in one
  // tree is no such loop.
  auto letters = work->ChildFolders()->Item(1);
  letters->ChildFolders()->Add(work);
  EXPECT_EQ(ErrorOf([&] { access_->GetClippingsForFolderAndChildFolders(work, false); }).number(),
            err::kInvalidProcedureCall);
  letters->ChildFolders()->Clear();  // so that the tree can be freed
  work->ChildFolders()->Add(letters);
  EXPECT_EQ(Names(access_->GetClippingsForFolderAndChildFolders(work, false), true),
            "a,b,c deleted,d no status,e inactive,l");
}

TEST_F(ClippingQueriesTest, CategoryQueriesSplitTheActiveClippingsAndDeletedOnesStandApart) {
  EXPECT_EQ(Names(access_->GetClippingsFromCategory(legal_, false)), "b,l");
  EXPECT_EQ(access_->GetClippingsFromCategory("900", false)->Items()->Count(), 0);
  EXPECT_EQ(Names(access_->GetClippingsWithoutCategory("ignored", false)),
            "a,e inactive,h");  // a Null status is neither deleted nor not
  const auto gone = NewClipping("Gone", "{\\rtf1 gone}", "", 1);
  access_->AddClipping(gone, "1");
  access_->DeleteClipping(gone->ID(), false);
  db_.ExecuteSQL("UPDATE Clipping SET iClippingStatus=3 WHERE lClippingID=101");
  const auto deleted = access_->GetDeletedClippingsForCatalog("", true);
  EXPECT_EQ(Names(deleted, true), "Gone,c deleted,o deleted");
  for (const auto& found : *deleted->Items()) {
    EXPECT_EQ(found->ClippingData()->Count(), found->ID() == gone->ID() ? 1 : 0);
  }
}

TEST_F(ClippingQueriesTest, SearchesFillPathsAndCategoriesAndTheOrFormIgnoresTextAndFolders) {
  const auto found = access_->SearchForClippings(NewSearch("*", {"11", "10"}));
  EXPECT_EQ(Names(found, true), "a,b,e inactive,l");
  for (const auto& clipping : *found->Items()) {
    SCOPED_TRACE(clipping->Name());
    EXPECT_EQ(clipping->PathName(),
              clipping->Name() == "l" ? "Personal\\Work\\Letters" : "Personal\\Work");
    EXPECT_EQ(clipping->Categories(),
              clipping->Name() == "b" || clipping->Name() == "l" ? "Legal" : "");
    EXPECT_EQ(clipping->ClippingData()->Count(), 0);
  }
  EXPECT_EQ(access_->FindClippings(NewSearch("h"))->Items()->Item(1)->PathName(), "");
  // FindClippings looks in the listed folders only, not in their subfolders.
  EXPECT_EQ(Names(access_->FindClippings(NewSearch("", {"10", "10", "12", ""})), true),
            "a,b,e inactive");
  // AND binds before OR: every active clipping of a named category comes back whatever the text
  // and the folders say; the deleted member stays out.
  EXPECT_EQ(Names(access_->SearchForClippings(NewSearch("h", {"20"}, {"LEGAL"}, true)), true),
            "b,h,l");
  EXPECT_EQ(Names(access_->SearchForClippings(NewSearch("h", {}, {}, true))), "h");
}

TEST_F(ClippingQueriesTest, HostileTextsAreMatchedAsText) {
  for (const std::string text :
       {"' OR '1'='1", "'; DELETE FROM Clipping; --", "x') OR 1=1 OR sName LIKE ('", "%' OR '%'='",
        "\\' OR 1=1 --", "*' ESCAPE '*", "\"; DROP TABLE Clipping"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Names(access_->FindClippings(NewSearch(text))), "");
    for (const auto& search :
         {NewSearch(text), NewSearch("*" + text + "*"), NewSearch("*", {}, {text}),
          NewSearch("*", {}, {"*" + text + "*"})}) {
      EXPECT_EQ(Names(access_->SearchForClippings(search)), "");
    }
  }
  // A clipping named with such a text is found by it, and nothing else is.
  db_.ExecuteSQL(
      "INSERT INTO Clipping (lClippingID, lFolderID, iClippingStatus, sName, sDescription) "
      "VALUES (300, 20, 1, ''' OR ''1''=''1', 'x'') OR 1=1 OR sName LIKE (''')");
  EXPECT_EQ(Names(access_->FindClippings(NewSearch("x') OR 1=1 OR sName LIKE ('"))), "' OR '1'='1");
  EXPECT_EQ(Names(access_->SearchForClippings(NewSearch("' OR '1'='1"))), "' OR '1'='1");
  EXPECT_EQ(Count("Clipping") * 10 + Count("GroupClipping"), 92);
}

}  // namespace
}  // namespace clipcat::testing
