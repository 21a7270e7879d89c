// Renaming, deleting and unlinking by id: the library refuses the deletions that would take a
// whole catalog (its top folder, a linked catalog's top folder, the folder that links one) and
// unlinking a folder that links nothing, changing nothing, while the services underneath keep
// doing what their in-process callers ask; a removal is described before it is made.
#include "library/item_edits.h"

#include "library/item_lookup.h"
#include "library_fixture.h"
#include "util/errors.h"

namespace clipcat::library_test {
namespace {

class ItemEditsTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    shared_ = NewCatalog("shared.db", "Shared");
    Open(shared_);
    offers_ = AddFolder("1", "Offers");
    AddClipping(offers_, "Offer");
    Open(NewCatalog("catalog.db"));
    letters_ = AddFolder("1", "Letters");
    inner_ = AddFolder(letters_, "Inner");
    AddClipping(letters_, "Greeting");
    AddClipping(inner_, "Deep");
    AddClipping(inner_, "Deeper");
    CatalogLocation location;
    location.path = shared_;
    link_ = catalog_->write()
                .AddLinkedFolder(ConnectionDetailsFor(location), "Team", catalog_->details())
                ->ID();
  }

  std::string shared_, offers_, letters_, inner_, link_;
};

TEST_F(ItemEditsTest, NoCatalogTopIsDeletedThroughTheLibrary) {
  const std::string before = ExportText();
  // link_ is the folder that links the shared catalog; P1C1 that catalog's top as the tree shows.
  for (const std::string& id : std::vector<std::string>{"1", link_, "P1C1"}) {
    for (const bool permanently : {false, true}) {
      const AutomationError error = ErrorOf([&] { RemoveItem(*catalog_, id, permanently); });
      EXPECT_EQ(error.number(), err::kTopFolderNotDeletable) << id;
      EXPECT_EQ(error.source(), kComponentSource);
      EXPECT_NE(error.description().find("folder " + id + " ("), std::string::npos);
    }
    EXPECT_EQ(RaisedNumber([&] { DescribeRemoval(*catalog_, id); }), err::kTopFolderNotDeletable);
  }
  EXPECT_EQ(ExportText(), before);
  Open(shared_);
  EXPECT_EQ(catalog_->read().GetClippingsFromFolder(offers_, catalog_->details())->Items()->Count(),
            1);
  // The service itself still deletes a top folder for a caller that asks it to.
  catalog_->write().DeleteFolder("1", catalog_->details(), false);
  EXPECT_EQ(catalog_->read().GetClippingsFromFolder(offers_, catalog_->details())->Items()->Count(),
            0);
}

TEST_F(ItemEditsTest, UnlinkTakesOnlyALink) {
  const std::string before = ExportText();
  for (const std::string& id : {letters_, inner_, std::string("1"), std::string("P1C1")}) {
    EXPECT_EQ(RaisedNumber([&] { UnlinkFolder(*catalog_, id); }), err::kNotALinkedFolder) << id;
  }
  EXPECT_EQ(ExportText(), before);
  UnlinkFolder(*catalog_, link_);
  EXPECT_EQ(ExportText().find("Team"), std::string::npos);
  Open(shared_);
  EXPECT_EQ(catalog_->read().GetClippingsFromFolder(offers_, catalog_->details())->Items()->Count(),
            1)
      << "the linked catalog itself is left alone";
}

TEST_F(ItemEditsTest, ARemovalIsDescribedBeforeItIsMade) {
  RemovalScope scope = DescribeRemoval(*catalog_, letters_);
  EXPECT_TRUE(scope.folder);
  EXPECT_EQ(scope.name, "Letters");
  EXPECT_EQ(scope.folders, 1u);
  EXPECT_EQ(scope.clippings, 3u);
  scope = DescribeRemoval(*catalog_, inner_);
  EXPECT_EQ(scope.folders, 0u);
  EXPECT_EQ(scope.clippings, 2u);
  scope = DescribeRemoval(*catalog_, "P1C" + offers_);
  EXPECT_EQ(scope.clippings, 1u) << "a linked catalog's folder below its top";
  RemoveItem(*catalog_, inner_, false);
  scope = DescribeRemoval(*catalog_, letters_);
  EXPECT_EQ(scope.folders, 0u) << "what is deleted already is not counted";
  EXPECT_EQ(scope.clippings, 1u);
  EXPECT_EQ(RaisedNumber([&] { DescribeRemoval(*catalog_, "999"); }), err::kInvalidProcedureCall);
}

TEST_F(ItemEditsTest, IdsAreNumbersOrTaggedNumbersAndAnythingElseIsRefusedAsNoId) {
  for (const auto& [text, is_id] : std::vector<std::pair<std::string, bool>>{{"12", true},
                                                                             {"P1C12", true},
                                                                             {"p1c12", true},
                                                                             {"P1c12", true},
                                                                             {"", false},
                                                                             {"P1", false},
                                                                             {"PC1", false},
                                                                             {"P1X2", false},
                                                                             {"P1C", false},
                                                                             {"1a", false},
                                                                             {"Letters", false}}) {
    EXPECT_EQ(IsItemIdForm(text), is_id) << text;
  }
  const std::string refusal =
      "\"Letters\" is not an id: ids are numbers such as 12 (P1C12 for an item of a linked "
      "catalog)";
  EXPECT_EQ(ErrorOf([&] { RequireFolder(*catalog_, "Letters"); }).description(), refusal);
  EXPECT_EQ(ErrorOf([&] { RequireClipping(*catalog_, "Letters", false); }).description(), refusal);
}

TEST_F(ItemEditsTest, TaggingIsIdempotentAndMatchesNamesAsTheCatalogFoldsThem) {
  const std::string first = AddClipping(letters_, "First");
  const std::string second = AddClipping(letters_, "Second");
  const auto made = TagClippings(*catalog_, {first, second}, "\xc3\x84rger");  // Ärger
  for (const std::string& name : {std::string("\xc3\xa4rger"), std::string("\xc3\x84RGER")}) {
    EXPECT_EQ(TagClipping(*catalog_, first, name)->ID(), made->ID()) << name;
  }
  EXPECT_EQ(catalog_->read().GetCategoriesFromFolder("1", catalog_->details())->Items()->Count(),
            1);
  EXPECT_EQ(catalog_->read()
                .GetClippingsFromCategory(made->ID(), false, catalog_->details())
                ->Items()
                ->Count(),
            2);
  const std::string before = ExportText();
  EXPECT_EQ(RaisedNumber([&] {
              TagClippings(*catalog_, {first, "999"}, "Other");
            }),
            err::kInvalidProcedureCall);
  EXPECT_EQ(RaisedNumber([&] { TagClipping(*catalog_, first, "a\nb"); }),
            err::kInvalidProcedureCall);
  EXPECT_EQ(ErrorOf([&] { TagClippings(*catalog_, {}, "Other"); }).description(),
            "tagging needs at least one clipping");
  EXPECT_EQ(ErrorOf([&] { UntagClippings(*catalog_, {}, "Other"); }).description(),
            "untagging needs at least one clipping");
  EXPECT_EQ(ExportText(), before) << "a refused tagging changes nothing";
}

TEST_F(ItemEditsTest, NamesAreCheckedByTheLibraryNotByTheServices) {
  const std::string before = ExportText();
  for (const std::string& name : {std::string(""), std::string("  "), std::string("a\tb"),
                                  std::string("line\n"), std::string("x\x1b")}) {
    EXPECT_EQ(RaisedNumber([&] { AddFolderNamed(*catalog_, "1", name); }),
              err::kInvalidProcedureCall);
    auto clipping = Clipping::Create();
    clipping->SetName(name);
    EXPECT_EQ(RaisedNumber([&] { AddClippingTo(*catalog_, letters_, clipping); }),
              err::kInvalidProcedureCall);
    EXPECT_EQ(RaisedNumber([&] { RenameItem(*catalog_, letters_, name); }),
              err::kInvalidProcedureCall);
  }
  EXPECT_EQ(ExportText(), before);
  EXPECT_EQ(AddFolderNamed(*catalog_, inner_, "Fine name")->ParentID(), inner_);
  // A C1 control character is refused; other characters of the same lead byte are not.
  EXPECT_EQ(RaisedNumber([&] { AddFolderNamed(*catalog_, inner_, "next\xc2\x85line"); }),
            err::kInvalidProcedureCall);
  EXPECT_EQ(AddFolderNamed(*catalog_, inner_, "\xc2\xa9 2026")->Name(), "\xc2\xa9 2026");
  // The service itself still takes what an in-process caller gives it.
  EXPECT_NE(AddFolder("1", "two\nlines"), "");
}

}  // namespace
}  // namespace clipcat::library_test
