#include "entities/search.h"

#include "entities/entity_test_helpers.h"

namespace clipcat {
namespace {

using test::RaisedNumber;
using test::ReadBack;
using test::ReadError;
using test::Texts;

TEST(Search, WritesTextAndSwitchesThenFoldersThenCategories) {
  auto search = Search::Create();
  EXPECT_EQ(search->XML(),
            "<search searchtext=\"\" searchsubfolders=\"false\" "
            "OrClippingBelongsToCategory=\"false\"/>");
  search->SetSearchText("tax & <law> \"x\" '\xC3\xA9'\r\n\t");
  search->SetSearchSubFolders(true);
  search->SetOrClippingBelongsToCategory(true);
  for (const char* id : {"15", "P7C3", "15"}) search->FolderIDs()->Add(id);
  search->CategoryNames()->Add("Legal & <Tax>");
  search->CategoryNames()->Add(" \t ");
  const std::string text = search->XML();
  EXPECT_EQ(text,
            "<search searchtext=\"tax &amp; &lt;law> &quot;x&quot; '\xC3\xA9'&#13;&#10;&#09;\" "
            "searchsubfolders=\"true\" OrClippingBelongsToCategory=\"true\"><folderid>15"
            "</folderid><folderid>P7C3</folderid><folderid>15</folderid><categoryname>Legal "
            "&amp; &lt;Tax&gt;</categoryname><categoryname> \t </categoryname></search>");
  auto read = ReadBack(*search);
  EXPECT_EQ(read->FolderIDs()->Snapshot(), (Texts{"15", "P7C3", "15"}));
  EXPECT_EQ(read->CategoryNames()->Snapshot(), (Texts{"Legal & <Tax>", " \t "}));
  EXPECT_EQ(read->XML(), text);
  test::ExpectTextPropertiesCarried<Search>({{&Search::SetSearchText, &Search::SearchText}});
}

TEST(Search, ReadingSortsChildrenByNameAndRefusedTextClearsOnlyTheFolderIds) {
  auto search = Search::Create();
  search->SetXML(
      "<search searchsubfolders=\"Yes\" OrClippingBelongsToCategory=\"-1\"><folderid>1</folderid>"
      "<categoryname>c</categoryname><FolderID>x</FolderID><!-- note --><other/>text"
      "<folderid>2</folderid><folderid/></search>");
  EXPECT_EQ(search->FolderIDs()->Snapshot(), (Texts{"1", "2", ""}));
  EXPECT_EQ(search->CategoryNames()->Snapshot(), (Texts{"c"}));
  EXPECT_TRUE(search->SearchSubFolders() && search->OrClippingBelongsToCategory());
  // Reading again starts the folder ids afresh but adds to the category names; switches and
  // text missing from the text, or named in another case, are false and empty.
  search->SetSearchText("old");
  search->SetXML(
      "<search searchsubfolders=\"yes\" orclippingbelongstocategory=\"true\"><folderid>3"
      "</folderid><categoryname>d</categoryname></search>");
  EXPECT_EQ(search->FolderIDs()->Snapshot(), (Texts{"3"}));
  EXPECT_EQ(search->CategoryNames()->Snapshot(), (Texts{"c", "d"}));
  EXPECT_FALSE(search->SearchSubFolders() || search->OrClippingBelongsToCategory());
  EXPECT_EQ(search->SearchText(), "");
  // Refused text raises after the folder ids are cleared; the rest stays.
  search->SetSearchText("kept");
  EXPECT_EQ(ReadError(*search, "<Search/>"), err::kObjectRequired);
  EXPECT_EQ(search->FolderIDs()->Count(), 0);
  EXPECT_EQ(search->CategoryNames()->Count(), 2);
  EXPECT_EQ(search->SearchText(), "kept");
  EXPECT_EQ(RaisedNumber([&] { search->SetFolderIDs(nullptr); }), err::kObjectVariableNotSet);
}

}  // namespace
}  // namespace clipcat
