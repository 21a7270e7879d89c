// Categories in the store: the rows they write, unique names, memberships of clippings and
// folders, and ids or names that must never change the statement they go into.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "catalog_fixture.h"
#include "entities/category.h"
#include "store/data_access.h"
#include "util/date.h"
#include "util/errors.h"
#include "util/messages.h"

namespace clipcat::testing {
namespace {

using Names = std::vector<std::string>;

Names NamesOf(const std::shared_ptr<Categories>& categories) {
  Names names;
  for (const auto& category : *categories->Items()) names.push_back(category->Name());
  return names;
}

class CategoryOpsTest : public CatalogTest {
 protected:
  void SetUp() override {
    AddFolderRow(10, 1, "Work");
    for (int32_t key = 100; key < 103; ++key) AddClippingRow(key, 10, "C" + std::to_string(key));
  }

  std::shared_ptr<Category> AddCategory(const std::string& name) {
    auto category = Category::Create();
    category->SetName(name);
    return access_->AddCategory(category, "");
  }

  // Names as another connection sees them: only what the store committed.
  Names CommittedNames() {
    Names names;
    Recordset rs = db_.GetRecordsetRO("SELECT sName FROM GroupClipping ORDER BY sName");
    for (; !rs.Eof(); rs.MoveNext()) names.push_back(rs.Value("sName").ToText());
    return names;
  }

  bool IsMember(int32_t clipping, const std::string& category_id) {
    return Count("ClippingGroupClipping WHERE lClippingId=" + std::to_string(clipping) +
                 " AND lGroupClippingId=" + category_id) == 1;
  }

  void AddOtherGroupCategory() {
    db_.ExecuteSQL(
        "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName, tUpdated) "
        "VALUES (900, 2, 'Other group', '2030-01-01 00:00:00')");
  }
};

TEST_F(CategoryOpsTest, AddCategoryWritesARowOfGroupOneAndKeysAreNeverReused) {
  const Date before = Date::Now();
  auto category = Category::Create();
  category->SetName("O'Brien letters");
  category->SetDescription("Letters to O'Brien");
  EXPECT_EQ(access_->AddCategory(category, "any folder").get(), category.get());
  EXPECT_GE(category->Updated().serial(), before.serial());
  Recordset rs = db_.GetRecordsetRO("SELECT * FROM GroupClipping");
  ASSERT_EQ(rs.RecordCount(), 1);
  EXPECT_EQ(rs.Value("lGroupClippingID").ToText(), category->ID());
  EXPECT_EQ(rs.Value("lGroupCategoryID").ToLong(), 1);
  EXPECT_EQ(rs.Value("sDescription").ToText(), "Letters to O'Brien");
  EXPECT_EQ(rs.Value("iSortOrder").ToLong(), 0);
  EXPECT_EQ(rs.Value("iStatus").ToLong(), 1);
  EXPECT_EQ(rs.Value("tUpdated").ToDate(), category->Updated());
  const auto read = access_->GetCategory(category->ID());
  EXPECT_EQ(read->Name() + "/" + read->Description(), "O'Brien letters/Letters to O'Brien");
  EXPECT_EQ(read->Updated(), category->Updated());
  EXPECT_EQ(access_->GetCategory("123456"), nullptr);
  int32_t last = std::stoi(category->ID());
  for (int i = 0; i < 3; ++i) {
    const auto next = AddCategory("Category " + std::to_string(i));
    EXPECT_GT(std::stoi(next->ID()), last);
    last = std::stoi(next->ID());
    access_->DeleteCategory(next->ID());
  }
  EXPECT_EQ(Count("GroupClippingIDGenerator"), 0);
}

TEST_F(CategoryOpsTest, ADuplicateNameOnAddIsRolledBackAndLeavesTheCallersObject) {
  AddCategory("Legal");
  for (const std::string name : {"Legal", "LEGAL", "  Legal  "}) {
    SCOPED_TRACE(name);
    auto category = Category::Create();
    category->SetName(name);
    category->SetID("caller's id");
    const Date updated = category->Updated();
    const AutomationError error = ErrorOf([&] { access_->AddCategory(category, ""); });
    EXPECT_EQ(error.number(), -2147220995);
    EXPECT_EQ(error.source(), "Data Services");
    EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {name}));
    EXPECT_EQ(category->ID(), "caller's id");
    EXPECT_EQ(category->Updated(), updated);
    EXPECT_EQ(access_->GetCategoriesFromFolder("")->Items()->Count(), 1);
    EXPECT_EQ(Count("GroupClippingIDGenerator"), 0);
  }
  AddCategory("Tax");  // no transaction stayed open: the next add is committed
  EXPECT_EQ(CommittedNames(), (Names{"Legal", "Tax"}));
}

TEST_F(CategoryOpsTest, UpdateCommitsButARenameToATakenNameStaysPendingInAnOpenTransaction) {
  AddCategory("Alpha");
  auto beta = AddCategory("Beta");
  beta->SetName("Final");
  beta->SetDescription("new 'quoted'");
  EXPECT_EQ(access_->UpdateCategory(beta).get(), beta.get());
  access_->UpdateCategory(beta);  // keeping its own name is no clash
  EXPECT_EQ(CommittedNames(), (Names{"Alpha", "Final"}));
  EXPECT_EQ(access_->GetCategory(beta->ID())->Description(), "new 'quoted'");
  beta->SetName("alpha");
  const AutomationError error = ErrorOf([&] { access_->UpdateCategory(beta); });
  EXPECT_EQ(error.number(), err::kCategoryNameNotUnique);
  EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {"alpha"}));
  // The store's own connection sees the rename, no other connection does.
  EXPECT_EQ(NamesOf(access_->GetCategoriesFromFolder("")), (Names{"Alpha", "alpha"}));
  EXPECT_EQ(CommittedNames(), (Names{"Alpha", "Final"}));
  access_->CloseCatalog();  // closing drops the pending change
  EXPECT_EQ(NamesOf(access_->GetCategoriesFromFolder("")), (Names{"Alpha", "Final"}));
}

TEST_F(CategoryOpsTest, OnlyGroupOneCountsForNamesListsAndChangeTimes) {
  AddCategory("Legal");
  AddOtherGroupCategory();
  db_.ExecuteSQL(
      "UPDATE GroupClipping SET tUpdated='2002-04-03 14:05:09' WHERE lGroupCategoryID=1");
  for (int second = 5; second <= 13; ++second) {
    SCOPED_TRACE(second);
    EXPECT_EQ(access_->HaveCategoriesChanged(*Date::FromParts({2002, 4, 3, 14, 5, second})),
              second < 9);
  }
  EXPECT_TRUE(access_->CategoryNameExists("lEGAL", "ignored"));
  EXPECT_FALSE(access_->CategoryNameExists("Lega", ""));
  EXPECT_FALSE(access_->CategoryNameExists("Other group", ""));
  AddCategory("Other group");
  EXPECT_EQ(NamesOf(access_->GetCategoriesFromLinkedFolder("1")), (Names{"Legal", "Other group"}));
  // The statement of this member names a column the catalog does not have.
  const AutomationError error = ErrorOf([&] { access_->GetCategoryByName("Legal"); });
  EXPECT_EQ(error.number(), err::kDatabaseError);
  EXPECT_EQ(error.source(), "SQLite");
  EXPECT_NE(error.description().find("sGroupCategoryId"), std::string::npos);
}

TEST_F(CategoryOpsTest, MembershipsOfSingleClippings) {
  const auto legal = AddCategory("Legal");
  const auto tax = AddCategory("Tax");
  const auto archive = AddCategory("Archive");
  const Date before = Date::Now();
  access_->AddClippingToCategory("100", legal->ID());
  Recordset rs = db_.GetRecordsetRO("SELECT * FROM ClippingGroupClipping");
  ASSERT_EQ(rs.RecordCount(), 1);
  EXPECT_EQ(rs.Value("iSortOrder").ToLong(), 0);
  EXPECT_EQ(rs.Value("tActiveStart").ToDate(), rs.Value("tActiveEnd").ToDate());
  EXPECT_GE(rs.Value("tActiveStart").ToDate().serial(), before.serial());
  EXPECT_LE(rs.Value("tActiveStart").ToDate().serial(), Date::Now().serial());
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("100"), "Legal");
  for (const auto& category : {tax, archive}) access_->AddClippingToCategory("100", category->ID());
  access_->AddClippingToCategory("101", tax->ID());
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("100"), "Archive, Legal, Tax");
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("102"), "");
  const auto categories = access_->GetCategoriesForClipping("100");
  EXPECT_EQ(NamesOf(categories), (Names{"Archive", "Legal", "Tax"}));
  EXPECT_EQ(categories->Items()->Item(2)->ID(), legal->ID());
  access_->DeleteClippingFromCategory("100", tax->ID());
  access_->DeleteClippingFromCategory("102", tax->ID());  // no such membership: no error
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("100"), "Archive, Legal");
  // Removing all of a clipping's memberships keeps those of other groups and other clippings.
  AddOtherGroupCategory();
  db_.ExecuteSQL(
      "INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId) VALUES (100, 900)");
  access_->DeleteAllCategoriesFromClipping("100");
  EXPECT_TRUE(IsMember(100, "900"));
  EXPECT_TRUE(IsMember(101, tax->ID()));
  EXPECT_EQ(Count("ClippingGroupClipping"), 2);
  access_->DeleteCategory(tax->ID());
  EXPECT_EQ(Count("ClippingGroupClipping"), 1);
}

TEST_F(CategoryOpsTest, ListsOfClippingsGoOnPastClippingsThatCannotJoin) {
  AddClippingRow(103, 10, "C103");
  const auto legal = AddCategory("Legal");
  access_->AddClippingToCategory("101", legal->ID());
  auto clippings = ClippingsWithIds({"100", "101", "not a key", "102"});
  clippings->AddClipping(nullptr);
  auto last = Clipping::Create();
  last->SetID("103");
  clippings->AddClipping(last);
  access_->AddClippingsToCategory(clippings, legal->ID());
  for (int32_t key = 100; key < 104; ++key) EXPECT_TRUE(IsMember(key, legal->ID())) << key;
  // A category id that is no key fails once, before anything is added.
  EXPECT_EQ(
      ErrorOf([&] { access_->AddClippingsToCategory(ClippingsWithIds({"1"}), "Legal"); }).number(),
      err::kTypeMismatch);
  EXPECT_EQ(ErrorOf([&] { access_->AddClippingsToCategory(nullptr, legal->ID()); }).number(),
            err::kObjectVariableNotSet);
  EXPECT_EQ(Count("ClippingGroupClipping"), 4);
}

TEST_F(CategoryOpsTest, AddClippingToCategoriesAddsAllOrNothing) {
  const auto a = AddCategory("A");
  const auto b = AddCategory("B");
  const auto c = AddCategory("C");
  access_->AddClippingToCategory("100", b->ID());
  auto categories = Categories::Create();
  for (const auto& category : {a, b, c}) categories->AddCategory(category);
  EXPECT_EQ(ErrorOf([&] { access_->AddClippingToCategories("100", categories); }).number(),
            err::kDatabaseError);
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("100"), "B");  // A went in, then rolled back
  access_->DeleteAllCategoriesFromClipping("100");
  access_->AddClippingToCategories("100", categories);
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("100"), "A, B, C");
}

TEST_F(CategoryOpsTest, WholeFoldersAreTaggedAndUntaggedClippingByClipping) {
  // 10 Work (100..102) -> 11 Letters -> 12 Old; 20 Home is outside the subtree.
  AddFolderRow(11, 10, "Letters");
  AddFolderRow(12, 11, "Old");
  AddFolderRow(20, 1, "Home");
  AddClippingRow(110, 11, "In Letters");
  AddClippingRow(120, 12, "Deleted in Old", "", "4");
  AddClippingRow(200, 20, "In Home");
  const auto legal = AddCategory("Legal");
  const auto tax = AddCategory("Tax");
  access_->AddClippingToCategory("110", legal->ID());  // already a member: skipped, no error
  access_->AddClippingToCategory("200", legal->ID());
  access_->AddFolderToCategory("10", legal->ID());
  for (int32_t key : {100, 110, 120}) EXPECT_TRUE(IsMember(key, legal->ID())) << key;
  access_->AddFolderToCategory("11", tax->ID());
  EXPECT_FALSE(IsMember(100, tax->ID()));
  EXPECT_TRUE(IsMember(120, tax->ID()));
  AddClippingRow(104, 10, "Added later");  // membership is per clipping
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("104"), "");
  access_->DeleteAllCategoriesFromFolder("11");
  EXPECT_EQ(
      access_->GetCategoriesNamesForClipping("110") + access_->GetCategoriesNamesForClipping("120"),
      "");
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("100"), "Legal");
  EXPECT_EQ(access_->GetCategoriesNamesForClipping("200"), "Legal");
  access_->AddFolderToCategory("999", legal->ID());
  access_->DeleteAllCategoriesFromFolder("999");
  EXPECT_EQ(Count("ClippingGroupClipping"), 4);
}

TEST_F(CategoryOpsTest, HostileIdsAreRefusedBeforeAnyStatementRuns) {
  const auto legal = AddCategory("Legal");
  access_->AddClippingToCategory("100", legal->ID());
  using Operation = std::function<void(const std::string&)>;
  // Empty, spliced SQL, a tag of another catalog, exponent and padded forms of a number.
  const std::vector<Operation> by_key = {
      [&](const std::string& id) { access_->GetCategoriesForClipping(id); },
      [&](const std::string& id) { access_->GetCategoriesNamesForClipping(id); },
      [&](const std::string& id) { access_->DeleteAllCategoriesFromClipping(id); },
  };
  for (size_t i = 0; i < by_key.size(); ++i) {
    for (const std::string id : {"", "100; DELETE FROM GroupClipping", "P7C100", "1e3", " 100"}) {
      SCOPED_TRACE(::testing::Message() << i << " of \"" << id << "\"");
      EXPECT_EQ(ErrorOf([&] { by_key[i](id); }).number(), err::kTypeMismatch);
    }
  }
  const std::vector<Operation> by_literal = {
      [&](const std::string& id) { access_->AddClippingToCategory(id, legal->ID()); },
      [&](const std::string& id) { access_->AddClippingToCategory("100", id); },
      [&](const std::string& id) { access_->DeleteClippingFromCategory(id, legal->ID()); },
      [&](const std::string& id) { access_->DeleteCategory(id); },
      [&](const std::string& id) { access_->GetCategory(id); },
      [&](const std::string& id) {
        auto category = Category::Create();
        category->SetID(id);
        category->SetName("Changed");
        access_->UpdateCategory(category);
      },
  };
  for (size_t i = 0; i < by_literal.size(); ++i) {
    for (const std::string id : {"100; DELETE FROM GroupClipping", "P9C100"}) {
      SCOPED_TRACE(::testing::Message() << i << " of \"" << id << "\"");
      EXPECT_EQ(ErrorOf([&] { by_literal[i](id); }).number(), err::kTypeMismatch);
    }
  }
  EXPECT_EQ(ErrorOf([&] { access_->AddCategory(nullptr, ""); }).number(),
            err::kObjectVariableNotSet);
  EXPECT_EQ(Count("ClippingGroupClipping"), 1);
  AddCategory("Committed");  // no refusal left a transaction open
  EXPECT_EQ(CommittedNames(), (Names{"Committed", "Legal"}));
}

TEST_F(CategoryOpsTest, HostileNamesAreStoredAndComparedAsText) {
  const Names names = {"x'); DELETE FROM GroupClipping; --",
                       "' OR '1'='1",
                       "100%",
                       "under_score",
                       "back\\slash",
                       "semi;colon",
                       "quote\"double"};
  for (const auto& name : names) AddCategory(name);
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
