#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "catalog_fixture.h"
#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/folder.h"
#include "entities/search.h"
#include "store/data_access.h"
#include "store/db_connection.h"
#include "util/errors.h"
#include "util/values.h"

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

std::vector<std::string> Names(const std::shared_ptr<Clippings>& clippings) {
  std::vector<std::string> names;
  for (const auto& clipping : *clippings->Items()) names.push_back(clipping->Name());
  return names;
}

// Texts that must be taken as nothing but text wherever they go.
const std::vector<std::string> kHostileTexts = {
    "' OR '1'='1",
    "'; DELETE FROM Clipping; --",
    "x') OR 1=1 OR sName LIKE ('",
    "%' OR '%'='",
    "\\' OR 1=1 --",
    "*' ESCAPE '*",
    "\"; DROP TABLE Clipping",
};

class ClippingQueriesTest : public CatalogTest {
 protected:
  std::string AddCategory(const std::string& name) {
    auto category = Category::Create();
    category->SetName(name);
    return access_->AddCategory(category, "")->ID();
  }
};

// ---- By folder ----

TEST_F(ClippingQueriesTest, FolderListingIsOrderedByNameAndLeavesDeletedOutUnlessAsked) {
  AddFolderRow(10, 1, "Work");
  AddFolderRow(11, 1, "Home");
  AddClippingRow(100, 10, "b", "second");
  AddClippingRow(101, 10, "A", "first");
  AddClippingRow(102, 10, "c deleted", "", "4");
  AddClippingRow(103, 10, "d no status", "", "Null");
  AddClippingRow(104, 10, "e inactive", "", "2");
  AddClippingRow(110, 11, "a elsewhere");

  const auto active = access_->GetClippingsFromFolder("10", false, nullptr, false);
  EXPECT_EQ(Names(active), (std::vector<std::string>{"A", "b", "e inactive"}));
  const auto& first = active->Items()->Item(1);
  EXPECT_EQ(first->ID(), "101");
  EXPECT_EQ(first->FolderID(), "10");
  EXPECT_EQ(first->GUID(), "guid-101");
  EXPECT_EQ(first->Description(), "first");
  EXPECT_EQ(first->ClippingData()->Count(), 0);

  EXPECT_EQ(Names(access_->GetClippingsFromFolder("10", false, nullptr, true)),
            (std::vector<std::string>{"A", "b", "c deleted", "d no status", "e inactive"}));
  EXPECT_EQ(access_->GetClippingsFromFolder("12", false, nullptr, true)->Items()->Count(), 0);
}

TEST_F(ClippingQueriesTest, APassedListIsTheResultAndItsIdsAFilter) {
  AddFolderRow(10, 1, "Work");
  AddFolderRow(11, 1, "Home");
  AddClippingRow(100, 10, "b");
  AddClippingRow(101, 10, "a");
  AddClippingRow(102, 10, "c", "", "4");
  AddClippingRow(110, 11, "elsewhere");

  // An empty list filters nothing and is filled.
  auto empty = Clippings::Create();
  EXPECT_EQ(access_->GetClippingsFromFolder("10", false, empty, false).get(), empty.get());
  EXPECT_EQ(Names(empty), (std::vector<std::string>{"a", "b"}));

  // A list with clippings keeps them and gets the rows of the folder among their ids after them.
  auto list = ClippingsWithIds({"100", "110", "102"});
  for (const auto& clipping : *list->Items()) clipping->SetName("held " + clipping->ID());
  EXPECT_EQ(access_->GetClippingsFromFolder("10", false, list, false).get(), list.get());
  EXPECT_EQ(Names(list), (std::vector<std::string>{"held 100", "held 110", "held 102", "b"}));

  auto with_deleted = ClippingsWithIds({"102", "101"});
  access_->GetClippingsFromFolder("10", false, with_deleted, true);
  EXPECT_EQ(Names(with_deleted), (std::vector<std::string>{"", "", "a", "c"}));
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
  }
  auto with_nothing = Clippings::Create();
  with_nothing->AddClipping(nullptr);
  EXPECT_EQ(
      ErrorOf([&] { access_->GetClippingsFromFolder("10", false, with_nothing, false); }).number(),
      err::kObjectVariableNotSet);
  for (const std::string folder : {"10 OR 1=1", "x", "P3C10"}) {
    SCOPED_TRACE(folder);
    EXPECT_EQ(
        ErrorOf([&] { access_->GetClippingsFromFolder(folder, false, nullptr, true); }).number(),
        err::kTypeMismatch);
  }
}

TEST_F(ClippingQueriesTest, FolderListingReadsContentOnlyWhenAsked) {
  AddFolderRow(10, 1, "Work");
  access_->AddClipping(NewClipping("With content", "the content"), "10");

  const auto without = access_->GetClippingsFromFolder("10", false, nullptr, false);
  ASSERT_EQ(without->Items()->Count(), 1);
  EXPECT_EQ(without->Items()->Item(1)->ClippingData()->Count(), 0);
  const auto with = access_->GetClippingsFromFolder("10", true, nullptr, false);
  ASSERT_EQ(with->Items()->Count(), 1);
  ASSERT_EQ(with->Items()->Item(1)->ClippingData()->Count(), 1);
  EXPECT_EQ(with->Items()->Item(1)->ClippingData()->Item(1)->RawData(), "the content");
}

TEST_F(ClippingQueriesTest, IdsOfAnExternalCatalogAreStrippedAndTagged) {
  access_->SetExternalCatalogID(Variant(int32_t{7}));
  AddFolderRow(10, 1, "Work");
  AddFolderRow(11, 10, "Sub");
  AddClippingRow(100, 10, "a");
  AddClippingRow(110, 11, "b");
  const auto clippings = access_->GetClippingsFromFolder("P7C10", false, nullptr, false);
  ASSERT_EQ(clippings->Items()->Count(), 1);
  EXPECT_EQ(clippings->Items()->Item(1)->ID(), "P7C100");
  EXPECT_EQ(clippings->Items()->Item(1)->FolderID(), "P7C10");

  auto folder = access_->GetChildFolders(access_->GetFolder("P7C10"), true, false);
  EXPECT_EQ(SortedIds(access_->GetClippingsForFolderAndChildFolders(folder, false)),
            (Keys{"P7C100", "P7C110"}));
  EXPECT_EQ(SortedIds(access_->SearchForClippings(NewSearch("*", {"P7C11"}))), (Keys{"P7C110"}));
  const std::string legal = AddCategory("Legal");
  access_->AddClippingToCategory("P7C110", legal);
  EXPECT_EQ(SortedIds(access_->GetClippingsFromCategory(legal, false)), (Keys{"P7C110"}));
  EXPECT_EQ(SortedIds(access_->GetClippingsWithoutCategory("", false)), (Keys{"P7C100"}));
  // FindClippings takes its folder ids as keys, untagged.
  EXPECT_EQ(SortedIds(access_->FindClippings(NewSearch("", {"11"}))), (Keys{"P7C110"}));
  EXPECT_EQ(ErrorOf([&] { access_->FindClippings(NewSearch("", {"P7C11"})); }).number(),
            err::kTypeMismatch);
}

// ---- By folder subtree ----

TEST_F(ClippingQueriesTest, SubtreeQueryCoversTheLoadedChildFoldersAndDeletedClippings) {
  AddFolderRow(10, 1, "Work");
  AddFolderRow(11, 10, "Letters");
  AddFolderRow(12, 11, "Old");
  AddFolderRow(13, 10, "Notes");
  AddFolderRow(20, 1, "Home");
  AddClippingRow(100, 10, "w");
  AddClippingRow(110, 11, "l");
  AddClippingRow(120, 12, "o deleted", "", "4");
  AddClippingRow(130, 13, "n");
  AddClippingRow(200, 20, "h");

  auto work = access_->GetChildFolders(access_->GetFolder("10"), true, false);
  EXPECT_EQ(SortedIds(access_->GetClippingsForFolderAndChildFolders(work, false)),
            (Keys{"100", "110", "120", "130"}));
  auto letters = access_->GetChildFolders(access_->GetFolder("11"), true, false);
  EXPECT_EQ(SortedIds(access_->GetClippingsForFolderAndChildFolders(letters, false)),
            (Keys{"110", "120"}));
  // Only the children the entity holds count: a folder read without them is searched alone.
  auto alone = access_->GetFolder("10");
  EXPECT_EQ(SortedIds(access_->GetClippingsForFolderAndChildFolders(alone, false)), (Keys{"100"}));
  EXPECT_EQ(access_->GetClippingsForFolderAndChildFolders(access_->GetFolder("20"), false)
                ->Items()
                ->Count(),
            1);
}

TEST_F(ClippingQueriesTest, SubtreeQueryRefusesIdsThatAreNoKeysAndTreesThatHoldThemselves) {
  AddFolderRow(10, 1, "Work");
  AddClippingRow(100, 10, "w");
  for (const std::string id : {"10 OR 1=1", "10) OR (1=1", "x", "P5C10"}) {
    SCOPED_TRACE(id);
    auto root = Folder::Create();
    root->SetID("10");
    auto child = Folder::Create();
    child->SetID(id);
    root->ChildFolders()->Add(child);
    EXPECT_EQ(ErrorOf([&] { access_->GetClippingsForFolderAndChildFolders(root, false); }).number(),
              err::kTypeMismatch);
  }
  EXPECT_EQ(
      ErrorOf([&] { access_->GetClippingsForFolderAndChildFolders(nullptr, false); }).number(),
      err::kObjectVariableNotSet);
  // A tree that holds itself is refused rather than listed for ever; the same folder twice in one
  // tree is no such loop.
  AddFolderRow(11, 10, "Letters");
  AddClippingRow(110, 11, "l");
  auto work = access_->GetChildFolders(access_->GetFolder("10"), true, false);
  auto letters = work->ChildFolders()->Item(1);
  letters->ChildFolders()->Add(work);
  EXPECT_EQ(ErrorOf([&] { access_->GetClippingsForFolderAndChildFolders(work, false); }).number(),
            err::kInvalidProcedureCall);
  letters->ChildFolders()->Remove(1);  // so that the tree can be freed
  work->ChildFolders()->Add(letters);
  EXPECT_EQ(SortedIds(access_->GetClippingsForFolderAndChildFolders(work, false)),
            (Keys{"100", "110"}));
}

// ---- By category, without category, deleted ----

TEST_F(ClippingQueriesTest, CategoryQueriesSplitTheActiveClippings) {
  AddFolderRow(10, 1, "Work");
  AddClippingRow(100, 10, "c");
  AddClippingRow(101, 10, "a");
  AddClippingRow(102, 10, "b deleted", "", "4");
  AddClippingRow(103, 10, "d untagged");
  AddClippingRow(104, 10, "e other group only");
  AddClippingRow(105, 10, "f tax");
  const std::string legal = AddCategory("Legal");
  const std::string tax = AddCategory("Tax");
  for (const std::string id : {"100", "101", "102"}) access_->AddClippingToCategory(id, legal);
  access_->AddClippingToCategory("105", tax);
  db_.ExecuteSQL(
      "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName) "
      "VALUES (900, 2, 'Other group')");
  db_.ExecuteSQL(
      "INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId) VALUES (104, 900)");

  EXPECT_EQ(Names(access_->GetClippingsFromCategory(legal, false)),
            (std::vector<std::string>{"a", "c"}));
  EXPECT_EQ(Names(access_->GetClippingsFromCategory(tax, false)),
            (std::vector<std::string>{"f tax"}));
  EXPECT_EQ(access_->GetClippingsFromCategory("900", false)->Items()->Count(), 0);
  EXPECT_EQ(access_->GetClippingsFromCategory("4242", false)->Items()->Count(), 0);
  EXPECT_EQ(Names(access_->GetClippingsWithoutCategory("ignored", false)),
            (std::vector<std::string>{"d untagged", "e other group only"}));
  EXPECT_EQ(Names(access_->GetDeletedClippingsForCatalog("ignored", false)),
            (std::vector<std::string>{"b deleted"}));
  for (const std::string id : {"1 OR 1=1", "x", "P1C1"}) {
    EXPECT_EQ(ErrorOf([&] { access_->GetClippingsFromCategory(id, false); }).number(),
              err::kTypeMismatch);
  }
}

TEST_F(ClippingQueriesTest, DeletedClippingsComeFromEveryFolderWithTheirContentWhenAsked) {
  AddFolderRow(10, 1, "Work");
  AddFolderRow(11, 1, "Home");
  const auto clipping = NewClipping("Gone", "{\\rtf1 gone}", "", 1);
  access_->AddClipping(clipping, "11");
  access_->DeleteClipping(clipping->ID(), false);
  AddClippingRow(100, 10, "Also gone", "", "4");
  AddClippingRow(101, 10, "Here");
  AddClippingRow(102, 10, "Status three", "", "3");

  const auto deleted = access_->GetDeletedClippingsForCatalog("", true);
  EXPECT_EQ(SortedIds(deleted), (Keys{"100", clipping->ID()}));
  for (const auto& found : *deleted->Items()) {
    if (found->ID() != clipping->ID()) continue;
    ASSERT_EQ(found->ClippingData()->Count(), 1);
    EXPECT_EQ(found->ClippingData()->Item(1)->RawData(), "{\\rtf1 gone}");
    EXPECT_EQ(found->ClippingStatus(), 4);
  }
}

// ---- FindClippings ----

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
};

TEST_F(TextSearchTest, FindMatchesTheTextAnywhereInNameOrDescription) {
  const std::vector<std::pair<std::string, Keys>> cases = {
      {"tax", {"100", "101", "111"}},
      {"TAX RETURN", {"100"}},
      {"annual", {"100"}},
      {"", {"100", "101", "103", "104", "105", "106", "107", "108", "109", "110", "111"}},
      {"50%", {"103"}},
      {"%", {"103"}},
      {"_", {"105"}},
      {"file_n", {"105"}},
      {"a*b", {"107"}},  // "*" is no wildcard here
      {"*", {"107"}},
      {"\\", {"109"}},
      {"k\\s", {"109"}},
      {"O'Brien", {"110"}},
      {"'", {"110"}},
      {"nothing like it", {}},
  };
  for (const auto& [text, expected] : cases) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Find(text), expected);
  }
  const auto found = access_->FindClippings(NewSearch("Tax return"));
  ASSERT_EQ(found->Items()->Count(), 1);
  EXPECT_EQ(found->Items()->Item(1)->ClippingData()->Count(), 0);
  EXPECT_EQ(found->Items()->Item(1)->PathName(), "");  // only the full search fills it
}

TEST_F(TextSearchTest, FindNarrowsToTheListedFoldersOnly) {
  EXPECT_EQ(Find("tax", {"10"}), (Keys{"100"}));
  EXPECT_EQ(Find("tax", {"11"}), (Keys{"101", "111"}));  // no subfolders of its own accord
  EXPECT_EQ(Find("tax", {"10", "11"}), (Keys{"100", "101", "111"}));
  EXPECT_EQ(Find("tax", {"11", "10", "11"}), (Keys{"100", "101", "111"}));
  EXPECT_EQ(Find("", {"20", "999"}).size(), 6u);
  EXPECT_EQ(Find("", {""}), Keys{});  // an empty id names no folder
  for (const std::string id : {"P7C10", "10) OR (1=1", "10 OR 1=1", "x", "10;"}) {
    SCOPED_TRACE(id);
    EXPECT_EQ(ErrorOf([&] { Find("", {"10", id}); }).number(), err::kTypeMismatch);
  }
  EXPECT_EQ(ErrorOf([&] { access_->FindClippings(nullptr); }).number(), err::kObjectVariableNotSet);
}

// ---- SearchForClippings ----

TEST_F(TextSearchTest, SearchWithoutWildcardsMatchesWholeNamesAndDescriptions) {
  const std::vector<std::pair<std::string, Keys>> cases = {
      {"tax", {"111"}},
      {"ABOUT tax", {"101"}},
      {"Tax return", {}},
      {"Tax*", {"100", "111"}},
      {"*tax*", {"100", "101", "111"}},
      {"*TAX", {"101", "111"}},
      {"*a*b*", {"101", "107", "108"}},
      {"a*b", {"107", "108"}},
      {"50%*", {"103"}},
      {"50*", {"103", "104"}},
      {"file_*", {"105"}},
      {"file?name", {}},  // "?" stands for itself
      {"*\\*", {"109"}},
      {"O'*", {"110"}},
      {"*", {"100", "101", "103", "104", "105", "106", "107", "108", "109", "110", "111"}},
      {"", {}},  // an empty text matches nothing without a category alternative
  };
  for (const auto& [text, expected] : cases) {
    SCOPED_TRACE(text);
    auto search = NewSearch(text);
    EXPECT_EQ(SortedIds(access_->SearchForClippings(search)), expected);
    // The wildcards are read in the statement only: the criteria stay as they were, so the
    // same search twice finds the same clippings.
    EXPECT_EQ(search->SearchText(), text);
    EXPECT_EQ(SortedIds(access_->SearchForClippings(search)), expected);
  }
}

TEST_F(TextSearchTest, SearchNarrowsToTheListedFolders) {
  const auto search = [&](const Keys& folders) {
    return SortedIds(access_->SearchForClippings(NewSearch("*tax*", folders)));
  };
  EXPECT_EQ(search({"10"}), (Keys{"100"}));
  EXPECT_EQ(search({"11"}), (Keys{"101", "111"}));
  EXPECT_EQ(search({"10", "11"}), (Keys{"100", "101", "111"}));
  EXPECT_EQ(search({"20"}), Keys{});
  for (const std::string id : {"", "10 OR 1=1", "10) OR (1=1", "P9C10", "1e1", " 10"}) {
    SCOPED_TRACE(id);
    EXPECT_EQ(ErrorOf([&] { search({"11", id}); }).number(), err::kTypeMismatch);
  }
  EXPECT_EQ(ErrorOf([&] { access_->SearchForClippings(nullptr); }).number(),
            err::kObjectVariableNotSet);
}

TEST_F(TextSearchTest, SearchFillsPathNamesAndCategoryNames) {
  const std::string legal = AddCategory("Legal");
  const std::string tax = AddCategory("Tax");
  access_->AddClippingToCategory("101", tax);
  access_->AddClippingToCategory("101", legal);
  const auto found = access_->SearchForClippings(NewSearch("*tax*"));
  ASSERT_EQ(found->Items()->Count(), 3);
  for (const auto& clipping : *found->Items()) {
    SCOPED_TRACE(clipping->ID());
    if (clipping->ID() == "100") {
      EXPECT_EQ(clipping->PathName(), "Personal\\Work");
      EXPECT_EQ(clipping->Categories(), "");
    } else {
      EXPECT_EQ(clipping->PathName(), "Personal\\Work\\Letters");
      EXPECT_EQ(clipping->Categories(), clipping->ID() == "101" ? "Legal, Tax" : "");
    }
    EXPECT_EQ(clipping->ClippingData()->Count(), 0);
  }
}

TEST_F(TextSearchTest, CategoryNamesNarrowTheSearchOrWidenItInTheOrForm) {
  const std::string legal = AddCategory("Legal");
  const std::string letters = AddCategory("Letters");
  const std::string percent = AddCategory("100%");
  const std::string hundred = AddCategory("1000");
  for (const std::string id : {"100", "101", "102", "110"})
    access_->AddClippingToCategory(id, legal);
  access_->AddClippingToCategory("104", letters);
  access_->AddClippingToCategory("105", percent);
  access_->AddClippingToCategory("106", hundred);

  const auto search = [&](const std::string& text, const Keys& folders,
                          const std::vector<std::string>& categories, bool or_form) {
    return SortedIds(access_->SearchForClippings(NewSearch(text, folders, categories, or_form)));
  };
  // AND form: the text, the folders and one of the categories must all hold.
  EXPECT_EQ(search("*", {}, {"Legal"}, false), (Keys{"100", "101", "110"}));
  EXPECT_EQ(search("*tax*", {}, {"Legal"}, false), (Keys{"100", "101"}));
  EXPECT_EQ(search("*tax*", {"11"}, {"legal"}, false), (Keys{"101"}));
  EXPECT_EQ(search("*", {}, {"Le*"}, false), (Keys{"100", "101", "104", "110"}));
  EXPECT_EQ(search("*", {}, {"Legal", "Letters"}, false), (Keys{"100", "101", "104", "110"}));
  EXPECT_EQ(search("*", {}, {"100%"}, false), (Keys{"105"}));
  EXPECT_EQ(search("*", {}, {"100*"}, false), (Keys{"105", "106"}));
  EXPECT_EQ(search("*", {}, {"Leg"}, false), Keys{});
  // OR form: AND binds first, so every active clipping of a named category comes back whatever
  // the text and the folders say; the deleted member stays out.
  EXPECT_EQ(search("Tax", {"11"}, {"Legal"}, true), (Keys{"100", "101", "110", "111"}));
  EXPECT_EQ(search("no such text", {"20"}, {"Legal"}, true), (Keys{"100", "101", "110"}));
  EXPECT_EQ(search("", {}, {"Letters"}, true), (Keys{"104"}));
  EXPECT_EQ(search("Tax", {}, {}, true), (Keys{"111"}));  // no category term, no alternative
}

TEST_F(TextSearchTest, HostileTextsAreMatchedAsText) {
  const std::string legal = AddCategory("Legal");
  access_->AddClippingToCategory("100", legal);
  for (const auto& text : kHostileTexts) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Find(text), Keys{});
    EXPECT_EQ(SortedIds(access_->SearchForClippings(NewSearch(text))), Keys{});
    EXPECT_EQ(SortedIds(access_->SearchForClippings(NewSearch("*" + text + "*"))), Keys{});
    EXPECT_EQ(SortedIds(access_->SearchForClippings(NewSearch("*", {}, {text}))), Keys{});
    EXPECT_EQ(SortedIds(access_->SearchForClippings(NewSearch("*", {}, {"*" + text + "*"}))),
              Keys{});
  }
  // A clipping named with such a text is found by it, and nothing else is.
  AddClippingRow(300, 20, kHostileTexts[0], kHostileTexts[1]);
  EXPECT_EQ(Find(kHostileTexts[0]), Keys{"300"});
  EXPECT_EQ(Find(kHostileTexts[1]), Keys{"300"});
  EXPECT_EQ(SortedIds(access_->SearchForClippings(NewSearch(kHostileTexts[0]))), Keys{"300"});
  EXPECT_EQ(Count("Clipping"), 13);
  EXPECT_EQ(Count("GroupClipping"), 1);
}

}  // namespace
}  // namespace clipcat::testing
