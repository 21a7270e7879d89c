#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "catalog_fixture.h"
#include "entities/category.h"
#include "entities/clipping.h"
#include "store/data_access.h"
#include "store/db_connection.h"
#include "util/date.h"
#include "util/errors.h"
#include "util/messages.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

std::vector<std::string> NamesOf(const std::shared_ptr<Categories>& categories) {
  std::vector<std::string> names;
  for (const auto& category : *categories->Items()) names.push_back(category->Name());
  return names;
}

Date At(int hour, int minute, int second) {
  return *Date::FromParts({2002, 4, 3, hour, minute, second});
}

class CategoryOpsTest : public CatalogTest {
 protected:
  std::shared_ptr<Category> AddCategory(const std::string& name,
                                        const std::string& description = "") {
    auto category = Category::Create();
    category->SetName(name);
    category->SetDescription(description);
    return access_->AddCategory(category, "");
  }

  std::vector<std::string> CommittedCategoryNames() {
    std::vector<std::string> names;
    Recordset rs = db_.GetRecordsetRO("SELECT sName FROM GroupClipping ORDER BY sName");
    for (; !rs.Eof(); rs.MoveNext()) names.push_back(rs.Value("sName").ToText());
    return names;
  }

  bool IsMember(int32_t clipping, const std::string& category_id) {
    return Count("ClippingGroupClipping WHERE lClippingId=" + std::to_string(clipping) +
                 " AND lGroupClippingId=" + category_id) == 1;
  }
};

TEST_F(CategoryOpsTest, AddCategoryWritesARowOfGroupOneAndTagsTheCaller) {
  const Date before = Date::Now();
  auto category = Category::Create();
  category->SetName("O'Brien letters");
  category->SetDescription("Letters to O'Brien");
  category->SetUpdated(Date());
  const auto answer = access_->AddCategory(category, "any folder");
  EXPECT_EQ(answer.get(), category.get());
  EXPECT_GE(category->Updated().serial(), before.serial());
  EXPECT_LE(category->Updated().serial(), Date::Now().serial());

  Recordset rs = db_.GetRecordsetRO("SELECT * FROM GroupClipping");
  ASSERT_EQ(rs.RecordCount(), 1);
  EXPECT_EQ(rs.Value("lGroupClippingID").ToText(), category->ID());
  EXPECT_EQ(rs.Value("lGroupCategoryID").ToLong(), 1);
  EXPECT_EQ(rs.Value("sName").ToText(), "O'Brien letters");
  EXPECT_EQ(rs.Value("sDescription").ToText(), "Letters to O'Brien");
  EXPECT_EQ(rs.Value("iSortOrder").ToLong(), 0);
  EXPECT_EQ(rs.Value("iStatus").ToLong(), 1);
  EXPECT_EQ(rs.Value("tUpdated").ToDate(), category->Updated());
  EXPECT_EQ(Count("GroupClippingIDGenerator"), 0);

  const auto read = access_->GetCategory(category->ID());
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->ID(), category->ID());
  EXPECT_EQ(read->Name(), "O'Brien letters");
  EXPECT_EQ(read->Description(), "Letters to O'Brien");
  EXPECT_EQ(read->Updated(), category->Updated());
}

TEST_F(CategoryOpsTest, KeysGrowAndAreNeverReusedAfterADelete) {
  int32_t last = 0;
  for (int i = 0; i < 5; ++i) {
    const auto category = AddCategory("Category " + std::to_string(i));
    const int32_t key = std::stoi(category->ID());
    EXPECT_GT(key, last);
    last = key;
    access_->DeleteCategory(category->ID());
  }
  EXPECT_EQ(Count("GroupClipping"), 0);
}

TEST_F(CategoryOpsTest, DuplicateNameOnAddRaises509AndLeavesNothing) {
  AddCategory("Legal");
  for (const std::string name : {"Legal", "LEGAL", "legal", "  Legal  "}) {
    SCOPED_TRACE(name);
    auto category = Category::Create();
    category->SetName(name);
    category->SetID("caller's id");
    const Date updated = category->Updated();
    const AutomationError error = ErrorOf([&] { access_->AddCategory(category, ""); });
    EXPECT_EQ(error.number(), -2147220995);
    EXPECT_EQ(error.source(), "Data Services");
    EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {name}));
    // The caller's object comes back as it was, and the row is gone on the store's own
    // connection too (rolled back, not left pending).
    EXPECT_EQ(category->ID(), "caller's id");
    EXPECT_EQ(category->Updated(), updated);
    EXPECT_EQ(access_->GetCategoriesFromFolder("")->Items()->Count(), 1);
    EXPECT_EQ(Count("GroupClipping"), 1);
    EXPECT_EQ(Count("GroupClippingIDGenerator"), 0);
  }
  // No transaction stays open: the next add is committed and seen by other connections.
  AddCategory("Tax");
  EXPECT_EQ(CommittedCategoryNames(), (std::vector<std::string>{"Legal", "Tax"}));
}

TEST_F(CategoryOpsTest, UpdateCategoryRenamesAndCommits) {
  auto category = AddCategory("Draft", "old");
  category->SetName("Final");
  category->SetDescription("new 'quoted'");
  category->SetUpdated(Date());
  const Date before = Date::Now();
  EXPECT_EQ(access_->UpdateCategory(category).get(), category.get());
  EXPECT_GE(category->Updated().serial(), before.serial());
  Recordset rs = db_.GetRecordsetRO("SELECT * FROM GroupClipping");
  ASSERT_EQ(rs.RecordCount(), 1);
  EXPECT_EQ(rs.Value("sName").ToText(), "Final");
  EXPECT_EQ(rs.Value("sDescription").ToText(), "new 'quoted'");
  EXPECT_EQ(rs.Value("tUpdated").ToDate(), category->Updated());
  // Keeping its own name is not a clash with itself.
  access_->UpdateCategory(category);
  EXPECT_EQ(CommittedCategoryNames(), (std::vector<std::string>{"Final"}));
}

TEST_F(CategoryOpsTest, RenameToATakenNameRaises509WithTheUpdatePendingInAnOpenTransaction) {
  AddCategory("Alpha");
  auto beta = AddCategory("Beta");
  beta->SetName("alpha");
  const AutomationError error = ErrorOf([&] { access_->UpdateCategory(beta); });
  EXPECT_EQ(error.number(), err::kCategoryNameNotUnique);
  EXPECT_EQ(error.source(), "Data Services");
  EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {"alpha"}));
  // The store's own connection sees the rename, no other connection does: it is neither
  // committed nor rolled back.
  EXPECT_EQ(NamesOf(access_->GetCategoriesFromFolder("")),
            (std::vector<std::string>{"Alpha", "alpha"}));
  EXPECT_EQ(CommittedCategoryNames(), (std::vector<std::string>{"Alpha", "Beta"}));
  // Closing the catalog drops the pending change.
  access_->CloseCatalog();
  EXPECT_EQ(NamesOf(access_->GetCategoriesFromFolder("")),
            (std::vector<std::string>{"Alpha", "Beta"}));
}

TEST_F(CategoryOpsTest, CategoryNameExistsComparesWithoutCaseAndOnlyInGroupOne) {
  AddCategory("Legal");
  AddCategory("It's");
  db_.ExecuteSQL(
      "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName) "
      "VALUES (900, 2, 'Other group')");
  EXPECT_TRUE(access_->CategoryNameExists("Legal", ""));
  EXPECT_TRUE(access_->CategoryNameExists("lEGAL", "ignored"));
  EXPECT_TRUE(access_->CategoryNameExists("It's", ""));
  EXPECT_FALSE(access_->CategoryNameExists("Lega", ""));
  EXPECT_FALSE(access_->CategoryNameExists("Legal%", ""));
  EXPECT_FALSE(access_->CategoryNameExists("Other group", ""));
  EXPECT_FALSE(access_->CategoryNameExists("x' OR '1'='1", ""));
  // A category of another group neither clashes with a new name nor is listed.
  AddCategory("Other group");
  EXPECT_EQ(NamesOf(access_->GetCategoriesFromFolder("")),
            (std::vector<std::string>{"It's", "Legal", "Other group"}));
}

TEST_F(CategoryOpsTest, HaveCategoriesChangedComparesToTheSecond) {
  AddCategory("Legal");
  db_.ExecuteSQL("UPDATE GroupClipping SET tUpdated='2002-04-03 14:05:09'");
  // A category of another group changed later does not count.
  db_.ExecuteSQL(
      "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName, tUpdated) "
      "VALUES (900, 2, 'Other', '2030-01-01 00:00:00')");
  for (int second = 5; second <= 13; ++second) {
    SCOPED_TRACE(second);
    EXPECT_EQ(access_->HaveCategoriesChanged(At(14, 5, second)), second < 9);
  }
}

TEST_F(CategoryOpsTest, ListsAreOrderedByNameAndCarryTheRowValues) {
  for (const std::string name : {"Tax", "alpha", "Legal", "Beta"}) AddCategory(name, name + " d");
  const auto all = access_->GetCategoriesFromFolder("1");
  EXPECT_EQ(NamesOf(all), (std::vector<std::string>{"alpha", "Beta", "Legal", "Tax"}));
  EXPECT_EQ(all->Items()->Item(3)->Description(), "Legal d");
  EXPECT_EQ(NamesOf(access_->GetCategoriesFromLinkedFolder("1")), NamesOf(all));
  EXPECT_EQ(access_->GetCategory("123456"), nullptr);
}

TEST_F(CategoryOpsTest, GetCategoryByNameIsRefusedByTheDatabase) {
  AddCategory("Legal");
  const AutomationError error = ErrorOf([&] { access_->GetCategoryByName("Legal"); });
  EXPECT_EQ(error.number(), err::kDatabaseError);
  EXPECT_EQ(error.source(), "SQLite");
  EXPECT_NE(error.description().find("sGroupCategoryId"), std::string::npos);
}

TEST_F(CategoryOpsTest, TagAndUntagSingleClippings) {
  AddFolderRow(10, 1, "Work");
  for (int32_t key = 100; key < 103; ++key) AddClippingRow(key, 10, "Clip " + std::to_string(key));
  const auto legal = AddCategory("Legal");
  const auto tax = AddCategory("Tax");

  const Date before = Date::Now();
  access_->AddClippingToCategory("100", legal->ID());
  const Date after = Date::Now();
  Recordset rs = db_.GetRecordsetRO("SELECT * FROM ClippingGroupClipping");
  ASSERT_EQ(rs.RecordCount(), 1);
  EXPECT_EQ(rs.Value("lClippingId").ToLong(), 100);
  EXPECT_EQ(rs.Value("lGroupClippingId").ToText(), legal->ID());
  EXPECT_EQ(rs.Value("iSortOrder").ToLong(), 0);
  EXPECT_EQ(rs.Value("tActiveStart").ToDate(), rs.Value("tActiveEnd").ToDate());
  EXPECT_GE(rs.Value("tActiveStart").ToDate().serial(), before.serial());
  EXPECT_LE(rs.Value("tActiveStart").ToDate().serial(), after.serial());

  // The same pair twice is refused by the catalog and leaves one membership.
  const AutomationError twice =
      ErrorOf([&] { access_->AddClippingToCategory("100", legal->ID()); });
  EXPECT_EQ(twice.number(), err::kDatabaseError);
  EXPECT_EQ(Count("ClippingGroupClipping"), 1);

  access_->AddClippingToCategory("100", tax->ID());
  access_->AddClippingToCategory("101", tax->ID());
  access_->DeleteClippingFromCategory("100", tax->ID());
  EXPECT_TRUE(IsMember(100, legal->ID()));
  EXPECT_FALSE(IsMember(100, tax->ID()));
  EXPECT_TRUE(IsMember(101, tax->ID()));
  // Deleting a membership that does not exist is not an error.
  access_->DeleteClippingFromCategory("102", tax->ID());
  EXPECT_EQ(Count("ClippingGroupClipping"), 2);
}

TEST_F(CategoryOpsTest, NamesOfAClippingAreJoinedInNameOrder) {
  AddFolderRow(10, 1, "Work");
  AddClippingRow(100, 10, "Clip");
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("100"), "");
  EXPECT_EQ(access_->GetCategoriesForClipping("100")->Items()->Count(), 0);
  std::vector<std::string> expected;
  for (const std::string name : {"Tax", "Legal", "Archive"}) {
    const auto category = AddCategory(name, "not selected");
    access_->AddClippingToCategory("100", category->ID());
  }
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("100"), "Archive, Legal, Tax");
  const auto categories = access_->GetCategoriesForClipping("100");
  EXPECT_EQ(NamesOf(categories), (std::vector<std::string>{"Archive", "Legal", "Tax"}));
  for (const auto& category : *categories->Items()) {
    EXPECT_EQ(category->Description(), "");  // the statement does not select it
    const auto stored = access_->GetCategory(category->ID());
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(stored->Name(), category->Name());
    EXPECT_EQ(stored->Updated(), category->Updated());
  }
  // One category alone: its name with no separator.
  AddClippingRow(101, 10, "Other");
  access_->AddClippingToCategory("101", categories->Items()->Item(2)->ID());
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("101"), "Legal");
}

TEST_F(CategoryOpsTest, DeleteAllCategoriesFromClippingKeepsOtherGroupsAndClippings) {
  AddFolderRow(10, 1, "Work");
  AddClippingRow(100, 10, "A");
  AddClippingRow(101, 10, "B");
  const auto legal = AddCategory("Legal");
  const auto tax = AddCategory("Tax");
  db_.ExecuteSQL(
      "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName) "
      "VALUES (900, 2, 'Other group')");
  db_.ExecuteSQL(
      "INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId) VALUES (100, 900)");
  for (const auto& id : {legal->ID(), tax->ID()}) {
    access_->AddClippingToCategory("100", id);
    access_->AddClippingToCategory("101", id);
  }
  access_->DeleteAllCategoriesFromClipping("100");
  EXPECT_FALSE(IsMember(100, legal->ID()));
  EXPECT_FALSE(IsMember(100, tax->ID()));
  EXPECT_TRUE(IsMember(100, "900"));
  EXPECT_TRUE(IsMember(101, legal->ID()));
  EXPECT_TRUE(IsMember(101, tax->ID()));
  access_->DeleteAllCategoriesFromClipping("555");  // no memberships: nothing to do
  EXPECT_EQ(Count("ClippingGroupClipping"), 3);
}

TEST_F(CategoryOpsTest, AddClippingsToCategoryGoesOnPastClippingsThatCannotJoin) {
  AddFolderRow(10, 1, "Work");
  for (int32_t key = 100; key < 104; ++key) AddClippingRow(key, 10, "Clip " + std::to_string(key));
  const auto legal = AddCategory("Legal");
  access_->AddClippingToCategory("101", legal->ID());

  auto clippings = ClippingsWithIds({"100", "101", "not a key", "102"});
  clippings->AddClipping(nullptr);
  clippings->AddClipping(ClippingWithId("103"));

  access_->AddClippingsToCategory(clippings, legal->ID());
  for (int32_t key = 100; key < 104; ++key) EXPECT_TRUE(IsMember(key, legal->ID())) << key;
  EXPECT_EQ(Count("ClippingGroupClipping"), 4);

  // A category id that is no key fails once, loudly, before anything is added.
  AddClippingRow(104, 10, "Clip 104");
  const auto one = ClippingsWithIds({"104"});
  EXPECT_EQ(ErrorOf([&] { access_->AddClippingsToCategory(one, "Legal"); }).number(),
            err::kTypeMismatch);
  EXPECT_EQ(ErrorOf([&] { access_->AddClippingsToCategory(nullptr, legal->ID()); }).number(),
            err::kObjectVariableNotSet);
  EXPECT_EQ(Count("ClippingGroupClipping"), 4);
}

TEST_F(CategoryOpsTest, AddClippingToCategoriesAddsAllOrNothing) {
  AddFolderRow(10, 1, "Work");
  AddClippingRow(100, 10, "Clip");
  const auto a = AddCategory("A");
  const auto b = AddCategory("B");
  const auto c = AddCategory("C");
  access_->AddClippingToCategory("100", b->ID());
  auto categories = Categories::Create();
  for (const auto& category : {a, b, c}) categories->AddCategory(category);
  EXPECT_EQ(ErrorOf([&] { access_->AddClippingToCategories("100", categories); }).number(),
            err::kDatabaseError);
  EXPECT_FALSE(IsMember(100, a->ID()));  // added before the failure, then rolled back
  EXPECT_TRUE(IsMember(100, b->ID()));
  EXPECT_FALSE(IsMember(100, c->ID()));

  access_->DeleteAllCategoriesFromClipping("100");
  access_->AddClippingToCategories("100", categories);
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("100"), "A, B, C");
  EXPECT_EQ(ErrorOf([&] { access_->AddClippingToCategories("100", nullptr); }).number(),
            err::kObjectVariableNotSet);
}

TEST_F(CategoryOpsTest, WholeFoldersAreTaggedAndUntaggedClippingByClipping) {
  // 10 Work -> 11 Letters -> 12 Old; 20 Home is outside the subtree.
  AddFolderRow(10, 1, "Work");
  AddFolderRow(11, 10, "Letters");
  AddFolderRow(12, 11, "Old");
  AddFolderRow(20, 1, "Home");
  AddClippingRow(100, 10, "In Work");
  AddClippingRow(101, 11, "In Letters");
  AddClippingRow(102, 12, "Deleted in Old", "", "4");
  AddClippingRow(103, 20, "In Home");
  const auto legal = AddCategory("Legal");
  const auto tax = AddCategory("Tax");
  access_->AddClippingToCategory("101", legal->ID());  // already a member: skipped, no error
  access_->AddClippingToCategory("103", legal->ID());
  access_->AddClippingToCategory("103", tax->ID());

  access_->AddFolderToCategory("10", legal->ID());
  for (int32_t key : {100, 101, 102}) EXPECT_TRUE(IsMember(key, legal->ID())) << key;
  access_->AddFolderToCategory("11", tax->ID());
  EXPECT_FALSE(IsMember(100, tax->ID()));
  EXPECT_TRUE(IsMember(101, tax->ID()));
  EXPECT_TRUE(IsMember(102, tax->ID()));

  // Membership is per clipping: a clipping added to the folder later is not a member.
  AddClippingRow(104, 10, "Added later");
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("104"), "");

  access_->DeleteAllCategoriesFromFolder("11");
  for (int32_t key : {101, 102})
    EXPECT_EQ(access_->GetCategoriesNamesForClipping(std::to_string(key)), "");
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("100"), "Legal");
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("103"), "Legal, Tax");

  // An unknown folder has no clippings to tag or untag.
  access_->AddFolderToCategory("999", legal->ID());
  access_->DeleteAllCategoriesFromFolder("999");
  EXPECT_EQ(Count("ClippingGroupClipping"), 3);
}

TEST_F(CategoryOpsTest, DeleteCategoryRemovesTheRowAndItsMemberships) {
  AddFolderRow(10, 1, "Work");
  AddClippingRow(100, 10, "Clip");
  const auto legal = AddCategory("Legal");
  const auto tax = AddCategory("Tax");
  access_->AddClippingToCategory("100", legal->ID());
  access_->AddClippingToCategory("100", tax->ID());
  access_->DeleteCategory(legal->ID());
  EXPECT_EQ(access_->GetCategory(legal->ID()), nullptr);
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("100"), "Tax");
  EXPECT_EQ(Count("ClippingGroupClipping"), 1);
  access_->DeleteCategory("424242");  // no such row: both statements run, nothing changes
  EXPECT_EQ(CommittedCategoryNames(), (std::vector<std::string>{"Tax"}));
}

TEST_F(CategoryOpsTest, IdsOfAnExternalCatalogAreTaggedAndStripped) {
  access_->SetExternalCatalogID(Variant(int32_t{7}));
  AddFolderRow(10, 1, "Work");
  AddClippingRow(100, 10, "Clip");
  const auto legal = AddCategory("Legal");
  ASSERT_EQ(legal->ID().rfind("P7C", 0), 0u) << legal->ID();
  const std::string key = legal->ID().substr(3);
  EXPECT_EQ(Count("GroupClipping WHERE lGroupClippingID=" + key), 1);

  access_->AddClippingToCategory("P7C100", legal->ID());
  EXPECT_TRUE(IsMember(100, key));
  const auto categories = access_->GetCategoriesForClipping("P7C100");
  ASSERT_EQ(categories->Items()->Count(), 1);
  EXPECT_EQ(categories->Items()->Item(1)->ID(), legal->ID());
  EXPECT_EQ(access_->GetCategory(legal->ID())->ID(), legal->ID());
  EXPECT_EQ(access_->GetCategoriesFromFolder("")->Items()->Item(1)->ID(), legal->ID());

  legal->SetName("Legal matters");
  access_->UpdateCategory(legal);
  EXPECT_EQ(CommittedCategoryNames(), (std::vector<std::string>{"Legal matters"}));
  access_->DeleteClippingFromCategory("P7C100", legal->ID());
  EXPECT_FALSE(IsMember(100, key));
  access_->AddClippingToCategory("P7C100", legal->ID());
  access_->DeleteAllCategoriesFromClipping("P7C100");
  EXPECT_FALSE(IsMember(100, key));
  access_->DeleteCategory(legal->ID());
  EXPECT_EQ(Count("GroupClipping"), 0);
}

TEST_F(CategoryOpsTest, HostileIdsAndMissingCategoriesAreRefusedBeforeAnyStatementRuns) {
  AddFolderRow(10, 1, "Work");
  AddClippingRow(100, 10, "Clip");
  const auto legal = AddCategory("Legal");
  access_->AddClippingToCategory("100", legal->ID());
  // Empty, spliced SQL, a tag of another catalog, exponent and padded forms of a number.
  const std::vector<std::string> hostile = {"", "100; DELETE FROM GroupClipping", "P7C100", "1e3",
                                            " 100"};
  const std::vector<std::pair<std::string, std::function<void(const std::string&)>>> operations = {
      {"GetCategoriesForClipping",
       [&](const std::string& id) { access_->GetCategoriesForClipping(id); }},
      {"GetCategoriesNamesForClipping",
       [&](const std::string& id) { access_->GetCategoriesNamesForClipping(id); }},
      {"DeleteAllCategoriesFromClipping",
       [&](const std::string& id) { access_->DeleteAllCategoriesFromClipping(id); }},
  };
  for (const auto& [name, operation] : operations) {
    for (const std::string& id : hostile) {
      SCOPED_TRACE(name + " of \"" + id + "\"");
      EXPECT_EQ(ErrorOf([&] { operation(id); }).number(), err::kTypeMismatch);
    }
  }
  // Ids formatted as number literals refuse everything that is not a number.
  const std::vector<std::pair<std::string, std::function<void(const std::string&)>>> literal_ops = {
      {"AddClippingToCategory",
       [&](const std::string& id) { access_->AddClippingToCategory(id, legal->ID()); }},
      {"AddClippingToCategory (category)",
       [&](const std::string& id) { access_->AddClippingToCategory("100", id); }},
      {"DeleteClippingFromCategory",
       [&](const std::string& id) { access_->DeleteClippingFromCategory(id, legal->ID()); }},
      {"DeleteCategory", [&](const std::string& id) { access_->DeleteCategory(id); }},
      {"GetCategory", [&](const std::string& id) { access_->GetCategory(id); }},
      {"UpdateCategory",
       [&](const std::string& id) {
         auto category = Category::Create();
         category->SetID(id);
         category->SetName("Changed");
         access_->UpdateCategory(category);
       }},
  };
  for (const auto& [name, operation] : literal_ops) {
    for (const std::string id : {"100; DELETE FROM GroupClipping", "P9C100"}) {
      SCOPED_TRACE(name + " of \"" + id + "\"");
      EXPECT_EQ(ErrorOf([&] { operation(id); }).number(), err::kTypeMismatch);
    }
  }
  EXPECT_EQ(ErrorOf([&] { access_->AddCategory(nullptr, ""); }).number(),
            err::kObjectVariableNotSet);
  EXPECT_EQ(ErrorOf([&] { access_->UpdateCategory(nullptr); }).number(),
            err::kObjectVariableNotSet);
  EXPECT_EQ(Count("GroupClipping"), 1);
  EXPECT_EQ(Count("ClippingGroupClipping"), 1);
  // No refusal left a transaction open: the next add is committed.
  AddCategory("Committed");
  EXPECT_EQ(CommittedCategoryNames(), (std::vector<std::string>{"Committed", "Legal"}));
}

TEST_F(CategoryOpsTest, HostileNamesAreStoredAndComparedAsText) {
  const std::vector<std::string> names = {
      "x'); DELETE FROM GroupClipping; --",
      "' OR '1'='1",
      "100%",
      "under_score",
      "back\\slash",
      "semi;colon",
      "quote\"double",
  };
  for (const auto& name : names) AddCategory(name);
  EXPECT_EQ(Count("GroupClipping"), static_cast<int32_t>(names.size()));
  for (const auto& name : names) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(access_->CategoryNameExists(name, ""));
    EXPECT_EQ(ErrorOf([&] { AddCategory(name); }).number(), err::kCategoryNameNotUnique);
  }
  EXPECT_FALSE(access_->CategoryNameExists("100x", ""));
  EXPECT_FALSE(access_->CategoryNameExists("underXscore", ""));
  EXPECT_EQ(Count("GroupClipping"), static_cast<int32_t>(names.size()));
}

}  // namespace
}  // namespace clipcat::testing
