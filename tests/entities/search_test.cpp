#include "entities/search.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "entities/raises.h"

namespace clipcat {
namespace {

using test::RaisedNumber;

std::vector<std::string> Texts(const TextCollection& list) { return list.Snapshot(); }

TEST(Search, NewSearchWritesAnEmptyTextFalseSwitchesAndNoChildren) {
  auto search = Search::Create();
  EXPECT_EQ(search->XML(),
            "<search searchtext=\"\" searchsubfolders=\"false\" "
            "OrClippingBelongsToCategory=\"false\"/>");
}

TEST(Search, FilledSearchWritesFoldersThenCategoriesAndReadsBack) {
  auto search = Search::Create();
  search->SetSearchText("tax & <law> \"x\" '\xC3\xA9'\r\n\t");
  search->SetSearchSubFolders(true);
  search->SetOrClippingBelongsToCategory(true);
  search->FolderIDs()->Add("15");
  search->FolderIDs()->Add("P7C3");
  search->FolderIDs()->Add("15");
  search->CategoryNames()->Add("Legal & <Tax>");
  search->CategoryNames()->Add(" \t ");
  const std::string text = search->XML();
  EXPECT_EQ(text,
            "<search searchtext=\"tax &amp; &lt;law> &quot;x&quot; '\xC3\xA9'&#13;&#10;&#09;\" "
            "searchsubfolders=\"true\" OrClippingBelongsToCategory=\"true\"><folderid>15"
            "</folderid><folderid>P7C3</folderid><folderid>15</folderid><categoryname>Legal "
            "&amp; &lt;Tax&gt;</categoryname><categoryname> \t </categoryname></search>");
  auto read = Search::Create();
  read->SetXML(text);
  EXPECT_EQ(read->SearchText(), search->SearchText());
  EXPECT_TRUE(read->SearchSubFolders());
  EXPECT_TRUE(read->OrClippingBelongsToCategory());
  EXPECT_EQ(Texts(*read->FolderIDs()), (std::vector<std::string>{"15", "P7C3", "15"}));
  EXPECT_EQ(Texts(*read->CategoryNames()), (std::vector<std::string>{"Legal & <Tax>", " \t "}));
  EXPECT_EQ(read->XML(), text);
}

TEST(Search, ChildrenAreSortedByNameInDocumentOrderAndOthersSkipped) {
  auto search = Search::Create();
  search->SetXML(
      "<search><folderid>1</folderid><categoryname>c</categoryname><FolderID>x</FolderID>"
      "<!-- note --><other/>text<folderid>2</folderid><folderid/></search>");
  EXPECT_EQ(Texts(*search->FolderIDs()), (std::vector<std::string>{"1", "2", ""}));
  EXPECT_EQ(Texts(*search->CategoryNames()), (std::vector<std::string>{"c"}));
}

TEST(Search, ReadingTwiceKeepsFolderIdsOnceAndCategoryNamesTwice) {
  const std::string text = "<search><folderid>1</folderid><categoryname>c</categoryname></search>";
  auto search = Search::Create();
  search->SetXML(text);
  search->SetXML(text);
  EXPECT_EQ(Texts(*search->FolderIDs()), (std::vector<std::string>{"1"}));
  EXPECT_EQ(Texts(*search->CategoryNames()), (std::vector<std::string>{"c", "c"}));
  search->ClearCategoryNames();
  search->SetXML(text);
  EXPECT_EQ(Texts(*search->CategoryNames()), (std::vector<std::string>{"c"}));
}

TEST(Search, SwitchesAcceptTheUsualBooleanTextsAndDefaultToFalse) {
  struct Case {
    const char* text;
    bool expected;
  };
  for (const Case& c :
       {Case{"Yes", true}, Case{"true", true}, Case{"TRUE", true}, Case{"-1", true},
        Case{"No", false}, Case{"yes", false}, Case{"0", false}, Case{"on", false}}) {
    auto search = Search::Create();
    search->SetXML(std::string("<search searchsubfolders=\"") + c.text +
                   "\" OrClippingBelongsToCategory=\"" + c.text + "\"/>");
    EXPECT_EQ(search->SearchSubFolders(), c.expected) << c.text;
    EXPECT_EQ(search->OrClippingBelongsToCategory(), c.expected) << c.text;
  }
  auto search = Search::Create();
  search->SetSearchText("old");
  search->SetSearchSubFolders(true);
  search->SetXML("<search orclippingbelongstocategory=\"true\"/>");
  EXPECT_EQ(search->SearchText(), "");
  EXPECT_FALSE(search->SearchSubFolders());
  EXPECT_FALSE(search->OrClippingBelongsToCategory());
}

TEST(Search, RefusedTextRaisesAfterFolderIdsAreCleared) {
  for (const std::string& text :
       {std::string(""), std::string("<Search/>"), std::string("<search>")}) {
    auto search = Search::Create();
    auto folders = search->FolderIDs();
    folders->Add("1");
    search->CategoryNames()->Add("c");
    search->SetSearchText("kept");
    EXPECT_EQ(RaisedNumber([&] { search->SetXML(text); }), err::kObjectRequired) << text;
    EXPECT_EQ(search->FolderIDs()->Count(), 0);
    EXPECT_NE(search->FolderIDs(), folders);
    EXPECT_EQ(folders->Count(), 1);
    EXPECT_EQ(search->CategoryNames()->Count(), 1);
    EXPECT_EQ(search->SearchText(), "kept");
  }
}

TEST(Search, ListsCanBeReplacedButNeverByNothing) {
  auto search = Search::Create();
  auto ids = TextCollection::Create();
  ids->Add("9");
  search->SetFolderIDs(ids);
  EXPECT_EQ(search->FolderIDs(), ids);
  EXPECT_EQ(RaisedNumber([&] { search->SetFolderIDs(nullptr); }), err::kObjectVariableNotSet);
  EXPECT_EQ(RaisedNumber([&] { search->SetCategoryNames(nullptr); }), err::kObjectVariableNotSet);
  auto names = search->CategoryNames();
  search->ClearCategoryNames();
  EXPECT_NE(search->CategoryNames(), names);
  EXPECT_NE(search->XML().find("<folderid>9</folderid>"), std::string::npos);
}

TEST(Search, TextXmlCannotCarryRaisesInvalidProcedureCall) {
  auto search = Search::Create();
  search->CategoryNames()->Add("tab\tok");
  EXPECT_NO_THROW(search->XML());
  search->FolderIDs()->Add("\x7F\x1F");
  EXPECT_EQ(RaisedNumber([&] { search->XML(); }), err::kInvalidProcedureCall);
}

}  // namespace
}  // namespace clipcat
