// Categories in the store: the rows they write, unique names, memberships of clippings and
// folders, and ids that must never change the statement they go into.
#include <functional>

#include "catalog_fixture.h"
#include "util/messages.h"

namespace clipcat::testing {
namespace {

// Clippings 100..102 in 10 Work, 110 (deleted) in 11 in Work, 200 in 20; 900 is of group 2.
class CategoryOpsTest : public CatalogTest {
 protected:
  void SetUp() override {
    db_.ExecuteSQL(
        "INSERT INTO Folder (lFolderID, lParentID, sName) VALUES (10, 1, 'Work'), (11, "
        "10, 'Letters'), (20, 1, 'Home')");
    db_.ExecuteSQL(
        "INSERT INTO Clipping (lClippingID, lFolderID, sName, iClippingStatus) VALUES (100, 10, "
        "'a', 1), (101, 10, 'b', 1), (102, 10, 'c', 1), (110, 11, 'd', 4), (200, 20, 'e', 1)");
    db_.ExecuteSQL(
        "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName, tUpdated) VALUES "
        "(900, 2, 'Other group', '2030-01-01 00:00:00')");
  }

  std::string Add(const std::string& name) {
    auto category = Category::Create();
    category->SetName(name);
    return access_->AddCategory(category, "")->ID();
  }

  // The names the store's own connection lists, and, after "|", those another one sees.
  std::string Names() {
    std::string names;
    const auto listed = access_->GetCategoriesFromFolder("");
    for (const auto& category : *listed->Items()) {
      names += category->Name() + ",";
    }
    Recordset rs = db_.GetRecordsetRO("SELECT sName FROM GroupClipping ORDER BY sName");
    for (names += "|"; !rs.Eof(); rs.MoveNext()) names += rs.Value("sName").ToText() + ",";
    return names;
  }

  std::string Of(int32_t clipping) {
    return access_->GetCategoriesNamesForClipping(std::to_string(clipping));
  }
};

TEST_F(CategoryOpsTest, AddWritesARowOfGroupOneUnderAUniqueNameAndKeysAreNeverReused) {
  auto category = Category::Create();
  category->SetName("O'Brien letters");
  category->SetDescription("Letters to O'Brien");
  EXPECT_EQ(access_->AddCategory(category, "any folder").get(), category.get());
  EXPECT_EQ(Count("GroupClipping WHERE lGroupCategoryID=1 AND iSortOrder=0 AND iStatus=1 AND "
                  "sDescription='Letters to O''Brien' AND tUpdated='" +
                  FormatIsoDate(category->Updated()) + "' AND lGroupClippingID=" + category->ID()),
            1);
  EXPECT_EQ(access_->GetCategory(category->ID())->Updated(), category->Updated());
  const std::string next = Add("Next");
  EXPECT_GT(std::stoi(next), std::stoi(category->ID()));
  access_->DeleteCategory(next);
  EXPECT_GT(std::stoi(Add("Next")), std::stoi(next));
  // A duplicate name, in any case or with blanks around it, is refused and rolled back.
  for (const std::string name : {"NEXT", "  Next  "}) {
    auto twin = Category::Create();
    twin->SetName(name);
    twin->SetID("caller's id");
    const AutomationError error = ErrorOf([&] { access_->AddCategory(twin, ""); });
    EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {name}));
    EXPECT_EQ(twin->ID() + std::to_string(error.number()), "caller's id-2147220995");
  }
  EXPECT_EQ(Count("GroupClippingIDGenerator"), 0);
  Add("Tax");  // no transaction stayed open: the next add is committed
  EXPECT_EQ(Names(), "Next,O'Brien letters,Tax,|Next,O'Brien letters,Other group,Tax,");
  // Only group one counts.
  db_.ExecuteSQL(
      "UPDATE GroupClipping SET tUpdated='2002-04-03 14:05:09' WHERE lGroupCategoryID=1");
  EXPECT_EQ(access_->HaveCategoriesChanged(*Date::FromParts({2002, 4, 3, 14, 5, 8})), true);
  EXPECT_EQ(access_->HaveCategoriesChanged(*Date::FromParts({2002, 4, 3, 14, 5, 9})), false);
  EXPECT_TRUE(access_->CategoryNameExists("tAX", "ignored"));
  EXPECT_FALSE(access_->CategoryNameExists("Ta", ""));
  EXPECT_FALSE(access_->CategoryNameExists("Other group", ""));
  // The statement of this member names a column the catalog does not have.
  const AutomationError error = ErrorOf([&] { access_->GetCategoryByName("Tax"); });
  EXPECT_EQ(error.source(), "SQLite");
  EXPECT_NE(error.description().find("sGroupCategoryId"), std::string::npos);
}

TEST_F(CategoryOpsTest, UpdateCommitsButARenameToATakenNameStaysPendingInAnOpenTransaction) {
  Add("Alpha");
  auto beta = access_->GetCategory(Add("Beta"));
  beta->SetName("Final");
  beta->SetDescription("new 'quoted'");
  EXPECT_EQ(access_->UpdateCategory(beta).get(), beta.get());
  access_->UpdateCategory(beta);  // keeping its own name is no clash
  EXPECT_EQ(access_->GetCategory(beta->ID())->Description(), "new 'quoted'");
  beta->SetName("alpha");
  const AutomationError error = ErrorOf([&] { access_->UpdateCategory(beta); });
  EXPECT_EQ(error.number(), err::kCategoryNameNotUnique);
  EXPECT_EQ(error.description(), FormatResourceMessage(kMessageNameNotUnique, {"alpha"}));
  EXPECT_EQ(Names(), "Alpha,alpha,|Alpha,Final,Other group,");
  access_->CloseCatalog();  // closing drops the pending change
  EXPECT_EQ(Names(), "Alpha,Final,|Alpha,Final,Other group,");
}

TEST_F(CategoryOpsTest, MembershipsOfClippingsAndWholeFolders) {
  const std::string legal = Add("Legal"), tax = Add("Tax"), archive = Add("Archive");
  const Date before(Date::Now().serial() - 1.0 / 86400);
  access_->AddClippingToCategory("100", legal);
  EXPECT_EQ(Count("ClippingGroupClipping WHERE iSortOrder=0 AND tActiveStart=tActiveEnd AND "
                  "tActiveStart>='" +
                  FormatIsoDate(before) + "'"),
            1);
  for (const auto& id : {tax, archive}) access_->AddClippingToCategory("100", id);
  access_->AddClippingToCategory("101", tax);
  EXPECT_EQ(Of(100), "Archive, Legal, Tax");
  EXPECT_EQ(access_->GetCategoriesForClipping("100")->Items()->Item(2)->ID(), legal);
  access_->DeleteClippingFromCategory("100", tax);
  access_->DeleteClippingFromCategory("102", tax);  // no such membership: no error
  EXPECT_EQ(Of(100) + "/" + Of(101) + "/" + Of(102), "Archive, Legal/Tax/");
  // Removing all of a clipping's memberships keeps those of other groups and other clippings.
  db_.ExecuteSQL(
      "INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId) VALUES (100, 900)");
  access_->DeleteAllCategoriesFromClipping("100");
  EXPECT_EQ(Count("ClippingGroupClipping"), 2);
  access_->DeleteCategory(tax);
  EXPECT_EQ(Count("ClippingGroupClipping"), 1);
  // Whole folders are tagged clipping by clipping, the subfolders' and deleted ones too; a
  // clipping added later is not a member.
  access_->AddClippingToCategory("101", legal);
  access_->AddFolderToCategory("10", legal);  // skips 101, a member already, without an error
  access_->AddFolderToCategory("11", archive);
  db_.ExecuteSQL("INSERT INTO Clipping (lClippingID, lFolderID, sName) VALUES (103, 10, 'New')");
  EXPECT_EQ(Of(100) + "/" + Of(101) + "/" + Of(102) + "/" + Of(110) + "/" + Of(103) + "/" + Of(200),
            "Legal/Legal/Legal/Archive, Legal//");
  access_->DeleteAllCategoriesFromFolder("11");
  access_->AddFolderToCategory("999", legal);
  access_->DeleteAllCategoriesFromFolder("999");
  EXPECT_EQ(Of(100) + "/" + Of(110), "Legal/");
}

TEST_F(CategoryOpsTest, ListsGoOnPastClippingsThatCannotJoinButAListOfCategoriesIsAllOrNothing) {
  const std::string legal = Add("Legal");
  access_->AddClippingToCategory("101", legal);
  auto clippings = ClippingsWithIds({"100", "101", "not a key"});
  clippings->AddClipping(nullptr);
  clippings->AddClipping(ClippingsWithIds({"102"})->Items()->Item(1));
  access_->AddClippingsToCategory(clippings, legal);
  EXPECT_EQ(Of(100) + Of(101) + Of(102), "LegalLegalLegal");
  // A category id that is no key fails once, before anything is added.
  EXPECT_EQ(
      ErrorOf([&] { access_->AddClippingsToCategory(ClippingsWithIds({"1"}), "Legal"); }).number(),
      err::kTypeMismatch);
  EXPECT_EQ(ErrorOf([&] { access_->AddClippingsToCategory(nullptr, legal); }).number(),
            err::kObjectVariableNotSet);
  EXPECT_EQ(Count("ClippingGroupClipping"), 3);
  auto categories = Categories::Create();
  for (const std::string& id : {Add("A"), legal, Add("C")}) {
    categories->AddCategory(access_->GetCategory(id));
  }
  EXPECT_EQ(ErrorOf([&] { access_->AddClippingToCategories("100", categories); }).number(),
            err::kDatabaseError);
  EXPECT_EQ(Of(100), "Legal");  // A went in, then rolled back
  access_->DeleteAllCategoriesFromClipping("100");
  access_->AddClippingToCategories("100", categories);
  EXPECT_EQ(Of(100), "A, C, Legal");
}

TEST_F(CategoryOpsTest, HostileIdsAreRefusedBeforeAnyStatementRuns) {
  const std::string legal = Add("Legal");
  access_->AddClippingToCategory("100", legal);
  auto changed = Category::Create();
  changed->SetName("Changed");
  // Spliced SQL, a tag of another catalog; where an id is a key, also empty, exponent and padded
  // forms of a number.
  for (const auto& [hostile, operation] :
       std::vector<std::pair<std::vector<std::string>, std::function<void(const std::string&)>>>{
           {{"", "1e3", " 100"}, [&](auto id) { access_->GetCategoriesForClipping(id); }},
           {{"", "1e3", " 100"}, [&](auto id) { access_->GetCategoriesNamesForClipping(id); }},
           {{"", "1e3", " 100"}, [&](auto id) { access_->DeleteAllCategoriesFromClipping(id); }},
           {{}, [&](auto id) { access_->AddClippingToCategory(id, legal); }},
           {{}, [&](auto id) { access_->AddClippingToCategory("100", id); }},
           {{}, [&](auto id) { access_->DeleteClippingFromCategory(id, legal); }},
           {{}, [&](auto id) { access_->DeleteCategory(id); }},
           {{}, [&](auto id) { access_->GetCategory(id); }},
           {{}, [&](auto id) {
              changed->SetID(id);
              access_->UpdateCategory(changed);
            }}}) {
    std::vector<std::string> ids = {"100; DELETE FROM GroupClipping", "P9C100"};
    ids.insert(ids.end(), hostile.begin(), hostile.end());
    // Named again: clang before 16 cannot capture a structured binding in a lambda.
    const auto& run = operation;
    for (const std::string& id : ids) {
      EXPECT_EQ(ErrorOf([&] { run(id); }).number(), err::kTypeMismatch) << id;
    }
  }
  EXPECT_EQ(ErrorOf([&] { access_->AddCategory(nullptr, ""); }).number(),
            err::kObjectVariableNotSet);
  EXPECT_EQ(Count("ClippingGroupClipping"), 1);
  Add("Committed");  // no refusal left a transaction open
  EXPECT_EQ(Names(), "Committed,Legal,|Committed,Legal,Other group,");
}

}  // namespace
}  // namespace clipcat::testing
