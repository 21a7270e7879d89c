// Lists of clippings: by folder, by folder subtree, by category, deleted ones, and the two text
// searches, whose texts and ids must only ever be matched as text or refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "catalog_fixture.h"
#include "entities/category.h"
#include "entities/folder.h"
#include "store/data_access.h"
#include "util/errors.h"

namespace clipcat::testing {
namespace {

using Keys = std::vector<std::string>;

// The ids of a result, sorted, for queries that promise no order.
Keys SortedIds(const std::shared_ptr<Clippings>& clippings) {
  Keys ids;
  for (const auto& clipping : *clippings->Items()) ids.push_back(clipping->ID());
  std::sort(ids.begin(), ids.end());
  return ids;
}

Keys Names(const std::shared_ptr<Clippings>& clippings) {
  Keys names;
  for (const auto& clipping : *clippings->Items()) names.push_back(clipping->Name());
  return names;
}

class ClippingQueriesTest : public CatalogTest {
 protected:
  std::string AddCategory(const std::string& name) {
    auto category = Category::Create();
    category->SetName(name);
    return access_->AddCategory(category, "")->ID();
  }
};

TEST_F(ClippingQueriesTest, FolderListingIsOrderedByNameAndLeavesDeletedOutUnlessAsked) {
  AddFolderRow(10, 1, "Work");
  AddFolderRow(11, 1, "Home");
  AddClippingRow(100, 10, "b", "second");
  AddClippingRow(102, 10, "c deleted", "", "4");
  AddClippingRow(103, 10, "d no status", "", "Null");
  AddClippingRow(104, 10, "e inactive", "", "2");
  AddClippingRow(110, 11, "a elsewhere");
  access_->AddClipping(NewClipping("A", "the content", "first"), "10");
  const auto active = access_->GetClippingsFromFolder("10", false, nullptr, false);
  EXPECT_EQ(Names(active), (Keys{"A", "b", "e inactive"}));
  EXPECT_EQ(active->Items()->Item(2)->GUID(), "guid-100");
  EXPECT_EQ(active->Items()->Item(1)->ClippingData()->Count(), 0);
  const auto with = access_->GetClippingsFromFolder("10", true, nullptr, true);
  EXPECT_EQ(Names(with), (Keys{"A", "b", "c deleted", "d no status", "e inactive"}));
  EXPECT_EQ(with->Items()->Item(1)->ClippingData()->Item(1)->RawData(), "the content");
  // A passed list is the result: an empty one filters nothing; the ids of a filled one are a
  // filter, and the rows found go after what it held.
  auto empty = Clippings::Create();
  EXPECT_EQ(access_->GetClippingsFromFolder("10", false, empty, false).get(), empty.get());
  EXPECT_EQ(Names(empty), (Keys{"A", "b", "e inactive"}));
  auto list = ClippingsWithIds({"100", "110", "102"});
  for (const auto& clipping : *list->Items()) clipping->SetName("held " + clipping->ID());
  access_->GetClippingsFromFolder("10", false, list, false);
  EXPECT_EQ(Names(list), (Keys{"held 100", "held 110", "held 102", "b"}));
  auto with_deleted = ClippingsWithIds({"102", "100"});
  access_->GetClippingsFromFolder("10", false, with_deleted, true);
  EXPECT_EQ(Names(with_deleted), (Keys{"", "", "b", "c deleted"}));
}

TEST_F(ClippingQueriesTest, FolderListingRefusesIdsThatAreNoKeysAndKeepsTheListAsItWas) {
  AddFolderRow(10, 1, "Work");
  AddClippingRow(100, 10, "a");
  for (const std::string id : {"1 OR 1=1", "100) OR (1=1", "", "P7C100", "100;", "1.5"}) {
    SCOPED_TRACE(id);
    auto list = ClippingsWithIds({id});
    EXPECT_EQ(ErrorOf([&] { access_->GetClippingsFromFolder("10", false, list, false); }).number(),
              err::kTypeMismatch);
    EXPECT_EQ(list->Items()->Count(), 1);
    EXPECT_EQ(
        ErrorOf([&] { access_->GetClippingsFromFolder(id + "x", false, nullptr, true); }).number(),
        err::kTypeMismatch);
  }
  auto with_nothing = Clippings::Create();
  with_nothing->AddClipping(nullptr);
  EXPECT_EQ(
      ErrorOf([&] { access_->GetClippingsFromFolder("10", false, with_nothing, false); }).number(),
      err::kObjectVariableNotSet);
}

TEST_F(ClippingQueriesTest, SubtreeQueryCoversTheLoadedChildFoldersOnly) {
  AddFolderRow(10, 1, "Work");
  AddFolderRow(11, 10, "Letters");
  AddFolderRow(12, 11, "Old");
  AddFolderRow(20, 1, "Home");
  AddClippingRow(100, 10, "w");
  AddClippingRow(110, 11, "l");
  AddClippingRow(120, 12, "o deleted", "", "4");
  AddClippingRow(200, 20, "h");
  auto work = access_->GetChildFolders(access_->GetFolder("10"), true, false);
  EXPECT_EQ(SortedIds(access_->GetClippingsForFolderAndChildFolders(work, false)),
            (Keys{"100", "110", "120"}));
  // A folder read without its children is searched alone.
  EXPECT_EQ(
      SortedIds(access_->GetClippingsForFolderAndChildFolders(access_->GetFolder("10"), false)),
      (Keys{"100"}));
  for (const std::string id : {"10 OR 1=1", "10) OR (1=1", "x", "P5C10"}) {
    auto root = access_->GetFolder("10");
    auto child = Folder::Create();
    child->SetID(id);
    root->ChildFolders()->Add(child);
    EXPECT_EQ(ErrorOf([&] { access_->GetClippingsForFolderAndChildFolders(root, false); }).number(),
              err::kTypeMismatch)
        << id;
  }
  EXPECT_EQ(
      ErrorOf([&] { access_->GetClippingsForFolderAndChildFolders(nullptr, false); }).number(),
      err::kObjectVariableNotSet);
  // A tree that holds itself is refused rather than listed for ever; the same folder twice in one
  // tree is no such loop.
  auto letters = work->ChildFolders()->Item(1);
  letters->ChildFolders()->Add(work);
  EXPECT_EQ(ErrorOf([&] { access_->GetClippingsForFolderAndChildFolders(work, false); }).number(),
            err::kInvalidProcedureCall);
  letters->ChildFolders()->Clear();  // so that the tree can be freed
  work->ChildFolders()->Add(letters);
  EXPECT_EQ(SortedIds(access_->GetClippingsForFolderAndChildFolders(work, false)),
            (Keys{"100", "110"}));
}

TEST_F(ClippingQueriesTest, CategoryQueriesSplitTheActiveClippingsAndDeletedOnesStandApart) {
  AddFolderRow(10, 1, "Work");
  AddClippingRow(100, 10, "c");
  AddClippingRow(101, 10, "a");
  AddClippingRow(102, 10, "b deleted", "", "4");
  AddClippingRow(103, 10, "d untagged");
  AddClippingRow(104, 10, "e other group only");
  const std::string legal = AddCategory("Legal");
  for (const std::string id : {"100", "101", "102"}) access_->AddClippingToCategory(id, legal);
  db_.ExecuteSQL(
      "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName) "
      "VALUES (900, 2, 'Other group')");
  db_.ExecuteSQL(
      "INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId) VALUES (104, 900)");
  EXPECT_EQ(Names(access_->GetClippingsFromCategory(legal, false)), (Keys{"a", "c"}));
  EXPECT_EQ(access_->GetClippingsFromCategory("900", false)->Items()->Count(), 0);
  EXPECT_EQ(Names(access_->GetClippingsWithoutCategory("ignored", false)),
            (Keys{"d untagged", "e other group only"}));
  for (const std::string id : {"1 OR 1=1", "x", "P1C1"}) {
    EXPECT_EQ(ErrorOf([&] { access_->GetClippingsFromCategory(id, false); }).number(),
              err::kTypeMismatch);
  }
  const auto gone = NewClipping("Gone", "{\\rtf1 gone}", "", 1);
  access_->AddClipping(gone, "1");
  access_->DeleteClipping(gone->ID(), false);
  AddClippingRow(105, 10, "Status three", "", "3");
  const auto deleted = access_->GetDeletedClippingsForCatalog("", true);
  EXPECT_EQ(SortedIds(deleted), (Keys{"102", gone->ID()}));
  for (const auto& found : *deleted->Items()) {
    EXPECT_EQ(found->ClippingData()->Count(), found->ID() == gone->ID() ? 1 : 0);
  }
}

class TextSearchTest : public ClippingQueriesTest {
 protected:
  void SetUp() override {
    AddFolderRow(10, 1, "Work");
    AddFolderRow(11, 10, "Letters");
    AddFolderRow(20, 1, "Home");
    AddClippingRow(100, 10, "Tax return 2002", "annual");
    AddClippingRow(101, 11, "Letter", "about TAX");
    AddClippingRow(102, 10, "Deleted tax", "", "4");
    AddClippingRow(103, 10, "50% discount");
    AddClippingRow(104, 10, "500 discount");
    AddClippingRow(105, 20, "file_name");
    AddClippingRow(106, 20, "fileXname");
    AddClippingRow(107, 20, "a*b");
    AddClippingRow(108, 20, "aXb");
    AddClippingRow(109, 20, "back\\slash");
    AddClippingRow(110, 20, "O'Brien");
    AddClippingRow(111, 11, "Tax");
  }

  Keys Find(const std::string& text, const Keys& folders = {}) {
    return SortedIds(access_->FindClippings(NewSearch(text, folders)));
  }
  Keys Search(const std::string& text, const Keys& folders = {}, const Keys& categories = {},
              bool or_form = false) {
    return SortedIds(access_->SearchForClippings(NewSearch(text, folders, categories, or_form)));
  }
};

TEST_F(TextSearchTest, FindMatchesTheTextAnywhereInNameOrDescriptionOfTheListedFolders) {
  const std::vector<std::pair<std::string, Keys>> cases = {
      {"tax", {"100", "101", "111"}},
      {"TAX RETURN", {"100"}},
      {"annual", {"100"}},
      {"50%", {"103"}},
      {"file_n", {"105"}},
      {"a*b", {"107"}},  // "*" is no wildcard here
      {"k\\s", {"109"}},
      {"'", {"110"}},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(Find(text), expected) << text;
  EXPECT_EQ(Find("").size(), 11u);
  EXPECT_EQ(access_->FindClippings(NewSearch("annual"))->Items()->Item(1)->PathName(), "");
  EXPECT_EQ(Find("tax", {"11"}), (Keys{"101", "111"}));  // no subfolders of its own accord
  EXPECT_EQ(Find("tax", {"11", "10", "11"}), (Keys{"100", "101", "111"}));
  EXPECT_EQ(Find("", {""}), Keys{});  // an empty id names no folder
  for (const std::string id : {"P7C10", "10) OR (1=1", "10 OR 1=1", "x", "10;"}) {
    EXPECT_EQ(ErrorOf([&] { Find("", {"10", id}); }).number(), err::kTypeMismatch) << id;
  }
  EXPECT_EQ(ErrorOf([&] { access_->FindClippings(nullptr); }).number(), err::kObjectVariableNotSet);
}

TEST_F(TextSearchTest, SearchMatchesWholeNamesAndDescriptionsWithStarsAsWildcards) {
  const std::vector<std::pair<std::string, Keys>> cases = {
      {"tax", {"111"}},
      {"ABOUT tax", {"101"}},
      {"Tax return", {}},
      {"*TAX", {"101", "111"}},
      {"*a*b*", {"101", "107", "108"}},
      {"50%*", {"103"}},
      {"file_*", {"105"}},
      {"file?name", {}},  // "?" stands for itself
      {"*\\*", {"109"}},
      {"O'*", {"110"}},
      {"", {}},  // an empty text matches nothing without a category alternative
  };
  for (const auto& [text, expected] : cases) {
    SCOPED_TRACE(text);
    auto search = NewSearch(text);
    EXPECT_EQ(SortedIds(access_->SearchForClippings(search)), expected);
    // The criteria stay as they were, so the same search twice finds the same clippings.
    EXPECT_EQ(search->SearchText(), text);
    EXPECT_EQ(SortedIds(access_->SearchForClippings(search)), expected);
  }
  EXPECT_EQ(Search("*tax*", {"10", "11"}), (Keys{"100", "101", "111"}));
  EXPECT_EQ(Search("*tax*", {"20"}), Keys{});
  for (const std::string id : {"", "10 OR 1=1", "10) OR (1=1", "P9C10", "1e1", " 10"}) {
    EXPECT_EQ(ErrorOf([&] { Search("*", {"11", id}); }).number(), err::kTypeMismatch) << id;
  }
  EXPECT_EQ(ErrorOf([&] { access_->SearchForClippings(nullptr); }).number(),
            err::kObjectVariableNotSet);
}

TEST_F(TextSearchTest, SearchFillsPathNamesAndCategoryNames) {
  const std::string legal = AddCategory("Legal");
  access_->AddClippingToCategory("101", AddCategory("Tax"));
  access_->AddClippingToCategory("101", legal);
  const auto found = access_->SearchForClippings(NewSearch("*tax*"));
  ASSERT_EQ(found->Items()->Count(), 3);
  for (const auto& clipping : *found->Items()) {
    SCOPED_TRACE(clipping->ID());
    EXPECT_EQ(clipping->PathName(),
              clipping->ID() == "100" ? "Personal\\Work" : "Personal\\Work\\Letters");
    EXPECT_EQ(clipping->Categories(), clipping->ID() == "101" ? "Legal, Tax" : "");
    EXPECT_EQ(clipping->ClippingData()->Count(), 0);
  }
}

TEST_F(TextSearchTest, CategoryNamesNarrowTheSearchOrWidenItInTheOrForm) {
  const std::string legal = AddCategory("Legal");
  for (const std::string id : {"100", "101", "102", "110"}) {
    access_->AddClippingToCategory(id, legal);
  }
  access_->AddClippingToCategory("104", AddCategory("Letters"));
  access_->AddClippingToCategory("105", AddCategory("100%"));
  access_->AddClippingToCategory("106", AddCategory("1000"));
  // AND form: the text, the folders and one of the categories must all hold.
  EXPECT_EQ(Search("*tax*", {"11"}, {"legal"}), (Keys{"101"}));
  EXPECT_EQ(Search("*", {}, {"Le*"}), (Keys{"100", "101", "104", "110"}));
  EXPECT_EQ(Search("*", {}, {"Legal", "Letters"}), (Keys{"100", "101", "104", "110"}));
  EXPECT_EQ(Search("*", {}, {"100%"}), (Keys{"105"}));
  EXPECT_EQ(Search("*", {}, {"Leg"}), Keys{});
  // OR form: AND binds first, so every active clipping of a named category comes back whatever
  // the text and the folders say; the deleted member stays out.
  EXPECT_EQ(Search("Tax", {"11"}, {"Legal"}, true), (Keys{"100", "101", "110", "111"}));
  EXPECT_EQ(Search("no such text", {"20"}, {"Legal"}, true), (Keys{"100", "101", "110"}));
  EXPECT_EQ(Search("Tax", {}, {}, true), (Keys{"111"}));  // no category term, no alternative
}

TEST_F(TextSearchTest, HostileTextsAreMatchedAsText) {
  access_->AddClippingToCategory("100", AddCategory("Legal"));
  const Keys hostile = {"' OR '1'='1",
                        "'; DELETE FROM Clipping; --",
                        "x') OR 1=1 OR sName LIKE ('",
                        "%' OR '%'='",
                        "\\' OR 1=1 --",
                        "*' ESCAPE '*",
                        "\"; DROP TABLE Clipping"};
  for (const auto& text : hostile) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Find(text), Keys{});
    EXPECT_EQ(Search(text), Keys{});
    EXPECT_EQ(Search("*" + text + "*"), Keys{});
    EXPECT_EQ(Search("*", {}, {text}), Keys{});
    EXPECT_EQ(Search("*", {}, {"*" + text + "*"}), Keys{});
  }
  // A clipping named with such a text is found by it, and nothing else is.
  AddClippingRow(300, 20, hostile[0], hostile[1]);
  EXPECT_EQ(Find(hostile[0]), Keys{"300"});
  EXPECT_EQ(Find(hostile[1]), Keys{"300"});
  EXPECT_EQ(Search(hostile[0]), Keys{"300"});
  EXPECT_EQ(Count("Clipping"), 13);
  EXPECT_EQ(Count("GroupClipping"), 1);
}

}  // namespace
}  // namespace clipcat::testing
