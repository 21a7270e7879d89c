#include "automation/entity_objects.h"

#include "automation/automation_test_helpers.h"

namespace clipcat {
namespace {

using test::New;
using test::RaisedNumber;
using test::TableOf;

// The members in table order: "P" a read-only property (no setter: late binding refuses to set
// it), "P=x" one clients may also set (x the setter parameter's prefix), "M(params)" a method.
std::string Describe(const MemberTable& table) {
  std::string out;
  for (const MemberInfo& m : table.members()) {
    if (m.kind == InvokeKind::kPropertyPut) {
      out +=
          (out.ends_with(" " + m.name) ? "=" : " " + m.name + "=") + m.params[0].name.substr(0, 1);
    } else if (m.kind == InvokeKind::kPropertyGet) {
      out += " " + m.name;
    } else {
      out += " " + m.name + "(";
      for (const ParamInfo& p : m.params) out += p.name;
      out += ")";
    }
  }
  return out.substr(1);
}

TEST(EntityObjects, EveryClassIsCreatableAndListsItsMembersWithOnlyClientSetters) {
  const std::pair<const char*, const char*> classes[] = {
      {"Folder",
       "ID=s GUID ParentID Status ExternalCatalogID Name=s Description=s Updated XML=s "
       "ChildFolders=v"},
      {"Folders", "Folders XML=s ClearFolders() AddFolders(colFolders) AddFolder(oFolder)"},
      {"ClippingData", "RawData=s IsCompressed ClippingDataType=l XML=s"},
      {"Clipping",
       "ID=s GUID=s FolderID=s Name=s Description=s ClippingStatus Keywords=s Updated Accessed "
       "XML=s ClippingData=v PathName=s Categories=s"},
      {"Clippings",
       "Clippings XML=s ClearClippings() AddClippings(colClippings) AddClipping(oClipping)"},
      {"Category", "ID=s Name=s Description=s Updated=t XML=s"},
      {"Categories",
       "Categories XML=s ClearCategories() AddCategories(colCategories) AddCategory(oCategory)"},
      {"ConnectionDetails",
       "DataSourceType=l IsPersonalCatalog=b ClippingManagerServerName=s ClippingSourceName=s "
       "ConnectionString=s XML=s"},
      {"ExternalCatalog", "ID=l GUID=s ConnectionStringXML=s IsOnline=b ConnectionSpeed=i"},
      {"Search",
       "SearchText=s FolderIDs=v CategoryNames=v SearchSubFolders=b OrClippingBelongsToCategory=b "
       "XML=s ClearFolderIDs() ClearCategoryNames()"},
  };
  for (const auto& [name, members] : classes) {
    SCOPED_TRACE(name);
    auto object = New(name);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->TypeName(), name);
    EXPECT_EQ(TableOf(object).source(), std::string("TORVEL.") + name);
    EXPECT_EQ(Describe(TableOf(object)), members);
  }
  EXPECT_EQ(RaisedNumber([] { SetProperty(New("Folder"), "GUID", "x"); }), err::kUnknownName);
}

TEST(EntityObjects, CreateEntityFromXMLMakesAnObjectOfTheNamedClass) {
  const auto folder = CreateEntityFromXML("fOLDER", "<Folder name=\"n\"><Folder/></Folder>");
  EXPECT_EQ(folder->TypeName(), "Folder");
  EXPECT_EQ(GetProperty(folder, "Name"), Variant("n"));
  EXPECT_EQ(GetProperty(GetProperty(folder, "ChildFolders").AsObject(), "Count"), Variant(1));
  EXPECT_EQ(GetProperty(CreateEntityFromXML("Search", "<search searchtext=\"Qz\"/>"), "SearchText"),
            Variant("Qz"));
  for (const char* name : {"ExternalCatalog", "Widget"})
    EXPECT_EQ(RaisedNumber([&] { CreateEntityFromXML(name, "<Folder/>"); }), err::kTypeMismatch);
  EXPECT_EQ(RaisedNumber([] { CreateEntityFromXML("Folder", "<folder/>"); }), err::kObjectRequired);
}

// The list classes and their collections share the owner's list with C++ code.
TEST(EntityObjects, ListClassesAddAppendThemselvesAndClear) {
  for (const auto& [list_name, member_name] :
       {std::pair{"Folders", "Folder"}, std::pair{"Clippings", "Clipping"},
        std::pair{"Categories", "Category"}}) {
    SCOPED_TRACE(list_name);
    const std::string list_class = list_name;
    auto list = New(list_class);
    auto member = New(member_name);
    CallMember(list, "Add" + std::string(member_name), {Variant(member)});
    CallMember(list, "Add" + list_class, {Variant(list)});  // a list appended to itself doubles
    const auto items = GetProperty(list, list_class).AsObject();
    EXPECT_EQ(GetProperty(items, "Count"), Variant(int32_t{2}));
    // The items are the member itself: a change through one shows in the other.
    SetProperty(CallMember(items, "Item", {Variant(int32_t{2})}).AsObject(), "Name", "same");
    EXPECT_EQ(GetProperty(member, "Name"), Variant("same"));
    EXPECT_EQ(RaisedNumber([&] { CallMember(items, "Item", {Variant(int32_t{3})}); }),
              err::kSubscriptOutOfRange);
    EXPECT_EQ(RaisedNumber([&] { CallMember(list, "Add" + list_class, {Variant()}); }),
              err::kObjectVariableNotSet);
    EXPECT_EQ(RaisedNumber([&] { CallMember(list, "Add" + list_class, {Variant(member)}); }),
              err::kArgumentTypeMismatch);
    CallMember(list, "Clear" + list_class);
    EXPECT_EQ(GetProperty(GetProperty(list, list_class).AsObject(), "Count"), Variant(int32_t{0}));
  }
}

}  // namespace
}  // namespace clipcat
