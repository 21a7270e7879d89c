// The exact text of the statements that representative store operations run, in order, seen
// through an engine that records each statement before the SQLite engine runs it. The texts are
// what other programs sharing a catalog and the catalog's indexes were built for: a rewrite that
// changes one must change this test knowingly.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "catalog_fixture.h"
#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/folder.h"
#include "entities/search.h"
#include "recording_backend.h"
#include "store/data_access.h"
#include "util/date.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

class StatementTextTest : public CatalogTest {
 protected:
  void SetUp() override { recorder_.Record(*access_); }

  // The statements `call` runs, dates and GUIDs replaced by placeholders. Fixture rows go in
  // through `db_`, unrecorded.
  Statements Run(const std::function<void()>& call) { return recorder_.Run(call); }

  StatementRecorder recorder_;
};

TEST_F(StatementTextTest, Queries) {
  // The recorder passes the engine's answers on.
  EXPECT_EQ(Run([&] { EXPECT_EQ(access_->GetFolder("1")->Name(), "Personal"); }),
            Statements{"SELECT * From Folder WHERE lFolderId=1"});
  auto held = ClippingsWithIds({"100", "101"});
  auto subtree = Folder::Create();
  subtree->SetID("10");
  auto child = Folder::Create();
  child->SetID("11");
  subtree->ChildFolders()->Add(child);

  const std::vector<std::pair<std::function<void()>, Statements>> cases = {
      {[&] { access_->GetFolder("5"); }, {"SELECT * From Folder WHERE lFolderId=5"}},
      {[&] { access_->GetClippingsFromFolder("10", false, nullptr, false); },
       {"SELECT * FROM Clipping WHERE lFolderID=10  AND iClippingStatus<> 4 ORDER BY sName ASC "}},
      {[&] { access_->GetClippingsFromFolder("10", true, Clippings::Create(), true); },
       {"SELECT * FROM Clipping WHERE lFolderID=10 ORDER BY sName ASC "}},
      {[&] { access_->GetClippingsFromFolder("10", false, held, false); },
       {"SELECT * FROM Clipping WHERE lFolderID=10  AND iClippingStatus<> 4  AND ( "
        "lClippingID=100 OR lClippingID=101  ) ORDER BY sName ASC "}},
      {[&] { access_->GetClippingsForFolderAndChildFolders(subtree, false); },
       {"Select * From Clipping Where  lFolderID=10 OR lFolderID=11"}},
      {[&] { access_->GetClippingsFromCategory("7", false); },
       {" SELECT * FROM Clipping WHERE iClippingStatus <> 4 AND lClippingId IN ( SELECT "
        "ClippingGroupClipping.lClippingID FROM ClippingGroupClipping INNER JOIN GroupClipping ON "
        "ClippingGroupClipping.lGroupClippingId = GroupClipping.lGroupClippingId WHERE "
        "GroupClipping.lGroupCategoryId= 1 AND GroupClipping.lGroupClippingID=7 ) ORDER BY sName "
        "ASC "}},
      {[&] { access_->GetClippingsWithoutCategory("", false); },
       {" SELECT * FROM Clipping WHERE iClippingStatus <> 4 AND lClippingId NOT IN ( SELECT "
        "ClippingGroupClipping.lClippingID FROM ClippingGroupClipping INNER JOIN GroupClipping ON "
        "ClippingGroupClipping.lGroupClippingId = GroupClipping.lGroupClippingId WHERE "
        "GroupClipping.lGroupCategoryId= 1 ) ORDER BY sName ASC "}},
      {[&] { access_->GetDeletedClippingsForCatalog("", false); },
       {"SELECT * FROM Clipping WHERE iClippingStatus=4"}},
      {[&] {
         access_->FindClippings(NewSearch("tax", {"10", "11"}));
       },
       {"SELECT * FROM Clipping WHERE ( sName LIKE '%tax%' OR sDescription LIKE '%tax%') AND NOT "
        "iClippingStatus=4 AND (  lFolderID=10 OR  lFolderID=11 ) "}},
      {[&] { access_->FindClippings(NewSearch("a*b", {})); },
       {"SELECT * FROM Clipping WHERE ( sName LIKE '%a*b%' OR sDescription LIKE '%a*b%') AND NOT "
        "iClippingStatus=4"}},
      {[&] { access_->FindClippings(NewSearch("5_%", {})); },
       {"SELECT * FROM Clipping WHERE ( sName LIKE '%5\\_\\%%' ESCAPE '\\' OR sDescription LIKE "
        "'%5\\_\\%%' ESCAPE '\\') AND NOT iClippingStatus=4"}},
      {[&] { access_->SearchForClippings(NewSearch("Tax", {"10"})); },
       {"SELECT * FROM Clipping WHERE iClippingStatus <>4 AND ( sName LIKE 'Tax' OR sDescription "
        "LIKE 'Tax' )  AND  (  lFolderID=10  ) "}},
      {[&] {
         access_->SearchForClippings(NewSearch("*Tax*", {"10", "11"}, {"Legal", "Le*"}, true));
       },
       {"SELECT * FROM Clipping WHERE iClippingStatus <>4 AND ( sName LIKE '%Tax%' OR "
        "sDescription LIKE '%Tax%' )  AND  (  lFolderID=10 OR lFolderID=11  )  OR lClippingID IN "
        "( Select ClippingGroupClipping.lClippingID FROM Clipping INNER JOIN (GroupClipping INNER "
        "JOIN ClippingGroupClipping ON GroupClipping.lGroupClippingId = "
        "ClippingGroupClipping.lGroupClippingId) ON Clipping.lClippingId = "
        "ClippingGroupClipping.lClippingId WHERE (((Clipping.iClippingStatus)<> 4) AND "
        "((GroupClipping.lGroupCategoryId)=1)AND (  GroupClipping.sName LIKE 'Legal' OR "
        "GroupClipping.sName LIKE 'Le%'  )))"}},
      {[&] { access_->SearchForClippings(NewSearch("50%*", {}, {"100%"}, false)); },
       {"SELECT * FROM Clipping WHERE iClippingStatus <>4 AND ( sName LIKE '50\\%%' ESCAPE '\\' "
        "OR sDescription LIKE '50\\%%' ESCAPE '\\' )  AND lClippingID IN ( Select "
        "ClippingGroupClipping.lClippingID FROM Clipping INNER JOIN (GroupClipping INNER JOIN "
        "ClippingGroupClipping ON GroupClipping.lGroupClippingId = "
        "ClippingGroupClipping.lGroupClippingId) ON Clipping.lClippingId = "
        "ClippingGroupClipping.lClippingId WHERE (((Clipping.iClippingStatus)<> 4) AND "
        "((GroupClipping.lGroupCategoryId)=1)AND (  GroupClipping.sName LIKE '100\\%' ESCAPE '\\' "
        " )))"}},
      {[&] { access_->GetCategoriesForClipping("100"); },
       {"Select GroupClipping.lGroupClippingID, GroupClipping.sName, GroupClipping.tUpdated From "
        "GroupClipping INNER JOIN ClippingGroupClipping ON  GroupClipping.lGroupClippingID= "
        "ClippingGroupClipping.lGroupClippingID Where ClippingGroupClipping.lClippingId=100 AND "
        "GroupClipping.lGroupCategoryId=1 ORDER BY GroupClipping.sName ASC "}},
      {[&] { access_->GetCategoriesFromFolder("10"); },
       {"Select * From GroupClipping Where lGroupCategoryId=1 ORDER BY sName ASC "}},
      {[&] { access_->GetCategory("7"); },
       {"Select * From GroupClipping Where lGroupClippingId=7"}},
      {[&] { access_->CategoryNameExists("It's", ""); },
       {"Select * From GroupClipping WHERE lGroupCategoryId=1 AND sName='It''s'"}},
      {[&] { access_->HaveCategoriesChanged(Date::Now()); },
       {"Select lGroupClippingID From GroupClipping Where  Datediff( 's', tUpdated  ,<date> ) < 0 "
        " AND lGroupCategoryId=1"}},
  };
  for (size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(Run(cases[i].first), cases[i].second);
  }
}

TEST_F(StatementTextTest, ASearchReadsPathAndCategoriesOfEachClippingInTurn) {
  AddFolderRow(10, 1, "Work");
  AddClippingRow(100, 10, "Tax");
  EXPECT_EQ(Run([&] { access_->SearchForClippings(NewSearch("Tax", {})); }),
            (Statements{
                "SELECT * FROM Clipping WHERE iClippingStatus <>4 AND ( sName LIKE 'Tax' OR "
                "sDescription LIKE 'Tax' ) ",
                "SELECT * FROM Clipping WHERE lClippingID=100",
                "Select sName, lParentID From Folder Where lFolderID =10",
                "Select sName, lParentID From Folder Where lFolderID =1",
                "Select GroupClipping.lGroupClippingID, GroupClipping.sName, "
                "GroupClipping.tUpdated From GroupClipping INNER JOIN ClippingGroupClipping ON  "
                "GroupClipping.lGroupClippingID= ClippingGroupClipping.lGroupClippingID Where "
                "ClippingGroupClipping.lClippingId=100 AND GroupClipping.lGroupCategoryId=1 ORDER "
                "BY GroupClipping.sName ASC ",
            }));
}

TEST_F(StatementTextTest, CategoryWrites) {
  auto legal = Category::Create();
  legal->SetName("Legal");
  legal->SetDescription("Court papers");
  const Statements add_statements = {
      "<begin>",
      "Insert Into GroupClippingIDGenerator (sGUID) Values ( <guid> ) ",
      "Select lID From GroupClippingIDGenerator Where sGUID=<guid>",
      "Delete From GroupClippingIDGenerator Where sGUID=<guid>",
      "Insert Into GroupClipping (lGroupClippingID, lGroupCategoryID, sName, sDescription, "
      "iSortOrder, iStatus, tUpdated) Values (1, 1, 'Legal', 'Court papers', 0, 1, <date> ) ",
      "Select * From GroupClipping WHERE lGroupCategoryId=1 AND sName='Legal'",
  };
  Statements expected = add_statements;
  expected.push_back("<commit>");
  EXPECT_EQ(Run([&] { access_->AddCategory(legal, ""); }), expected);

  // A duplicate rolls back the same statements.
  auto again = Category::Create();
  again->SetName("Legal");
  again->SetDescription("Court papers");
  expected = add_statements;
  expected[4].replace(expected[4].find("(1, 1,"), 6, "(2, 1,");
  expected.push_back("<rollback>");
  EXPECT_EQ(Run([&] { EXPECT_ANY_THROW(access_->AddCategory(again, "")); }), expected);

  EXPECT_EQ(Run([&] { access_->UpdateCategory(legal); }),
            (Statements{"<begin>",
                        "Update GroupClipping Set sName='Legal', sDescription='Court papers', "
                        "tUpdated=<date> Where lGroupClippingId =1",
                        "Select * From GroupClipping WHERE lGroupCategoryId=1 AND sName='Legal'",
                        "<commit>"}));
  EXPECT_EQ(Run([&] { access_->AddClippingToCategory("100", "1"); }),
            Statements{"Insert Into ClippingGroupClipping(lClippingId, lGroupClippingId,  "
                       "iSortOrder, tActiveStart, tActiveEnd ) Values ( 100, 1, 0, <date>, "
                       "<date> )"});
  EXPECT_EQ(Run([&] { access_->DeleteClippingFromCategory("100", "1"); }),
            Statements{"Delete From ClippingGroupClipping Where lClippingId=100  And "
                       "lGroupClippingId=1"});
  EXPECT_EQ(Run([&] { access_->DeleteAllCategoriesFromClipping("100"); }),
            Statements{"DELETE FROM ClippingGroupClipping WHERE lGroupClippingID IN ( Select "
                       "ClippingGroupClipping.lGroupClippingID FROM ClippingGroupClipping INNER "
                       "JOIN GroupClipping ON ClippingGroupClipping.lGroupClippingID = "
                       "GroupClipping.lGroupClippingID WHERE ClippingGroupClipping.lClippingID=100 "
                       "AND  GroupClipping.lGroupCategoryID =1 ) AND lClippingID=100"});
  EXPECT_EQ(Run([&] { access_->DeleteCategory("1"); }),
            (Statements{"Delete From ClippingGroupClipping Where lGroupClippingID=1",
                        "Delete From GroupClipping Where lGroupClippingID=1"}));

  // A rename to a taken name neither commits nor rolls back.
  auto tax = Category::Create();
  tax->SetName("Tax");
  access_->AddCategory(tax, "");
  tax->SetName("Legal");
  access_->AddCategory(legal, "");
  EXPECT_EQ(Run([&] { EXPECT_ANY_THROW(access_->UpdateCategory(tax)); }),
            (Statements{"<begin>",
                        "Update GroupClipping Set sName='Legal', sDescription=Null, "
                        "tUpdated=<date> Where lGroupClippingId =" +
                            tax->ID(),
                        "Select * From GroupClipping WHERE lGroupCategoryId=1 AND sName='Legal'"}));
}

TEST_F(StatementTextTest, DatesInStatementsAreTheMomentOfTheCall) {
  const Date before = Date::Now();
  Run([&] { access_->AddClippingToCategory("100", "1"); });
  const Date after = Date::Now();
  ASSERT_EQ(recorder_.log().size(), 1u);
  static const std::regex kDate("'([0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{1,2} [^ ']+ [0-9]{4})'");
  std::smatch match;
  ASSERT_TRUE(std::regex_search(recorder_.log()[0], match, kDate)) << recorder_.log()[0];
  const Date written = ToDateOr(Variant(NormaliseDateText(match[1].str())), Date());
  EXPECT_GE(written.serial(), before.serial());
  EXPECT_LE(written.serial(), after.serial());
}

TEST_F(StatementTextTest, AccessHistory) {
  auto clipping = Clipping::Create();
  clipping->SetID("100");
  clipping->SetGUID("guid-100");
  clipping->SetName("Letter");
  EXPECT_EQ(Run([&] { access_->UpdateClippingHistory(clipping); }),
            (Statements{"Select * From AccessHistory Where sClippingID='100'",
                        "Insert Into AccessHistory (sClippingGUID, lExternalCatalogId, "
                        "sClippingId, sName, bIsFavorite, lAccessCount, tDateLastAccessed) "
                        "Values( 'guid-100', 0, '100', 'Letter', 0, 1, <date> )"}));
  EXPECT_EQ(Run([&] { access_->UpdateClippingHistory(clipping); }),
            (Statements{"Select * From AccessHistory Where sClippingID='100'",
                        "Update AccessHistory Set sName='Letter', lAccessCount=2, "
                        "tDateLastAccessed=<date> Where sClippingGUID='guid-100'"}));
}

}  // namespace
}  // namespace clipcat::testing
