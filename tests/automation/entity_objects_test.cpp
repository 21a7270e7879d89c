#include "automation/entity_objects.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "automation/progid_registry.h"
#include "util/errors.h"

namespace clipcat {
namespace {

const char* const kClasses[] = {"Folder",          "Folders",  "Clipping",   "ClippingData",
                                "Clippings",       "Category", "Categories", "ConnectionDetails",
                                "ExternalCatalog", "Search"};

std::shared_ptr<Dispatch> New(const std::string& class_name) {
  RegisterEntityClasses();
  return CreateObject("TORVEL." + class_name);
}

int32_t ErrorOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const AutomationError& e) {
    return e.number();
  }
  return 0;
}

const MemberTable& TableOf(const std::shared_ptr<Dispatch>& object) {
  auto automation = std::dynamic_pointer_cast<AutomationObject>(object);
  EXPECT_NE(automation, nullptr);
  return automation->Members();
}

// The members as "Name" (getter), "Name=param" (setter) and "Name(params)" (method).
std::vector<std::string> Describe(const MemberTable& table) {
  std::vector<std::string> out;
  for (const MemberInfo& m : table.members()) {
    std::string text = m.name;
    if (m.kind == InvokeKind::kPropertyPut) {
      text += "=" + m.params[0].name;
    } else if (m.kind == InvokeKind::kMethod) {
      text += "(";
      for (const ParamInfo& p : m.params) text += p.name;
      text += ")";
    }
    out.push_back(text);
  }
  return out;
}

TEST(EntityObjects, EveryClassIsCreatableAndNamesItself) {
  for (const char* name : kClasses) {
    SCOPED_TRACE(name);
    auto object = New(name);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->TypeName(), name);
    EXPECT_EQ(TableOf(object).source(), std::string("TORVEL.") + name);
    EXPECT_NE(New(name), object);
  }
}

TEST(EntityObjects, TablesListEveryPropertyAndOnlyClientSetters) {
  struct Case {
    const char* class_name;
    std::vector<std::string> members;
  };
  const Case cases[] = {
      {"Folder",
       {"ID", "ID=sNewValue", "GUID", "ParentID", "Status", "ExternalCatalogID", "Name",
        "Name=sNewValue", "Description", "Description=sNewValue", "Updated", "XML", "XML=sNewValue",
        "ChildFolders", "ChildFolders=vNewValue"}},
      {"Folders",
       {"Folders", "XML", "XML=sNewValue", "ClearFolders()", "AddFolders(colFolders)",
        "AddFolder(oFolder)"}},
      {"ClippingData",
       {"RawData", "RawData=sNewValue", "IsCompressed", "ClippingDataType",
        "ClippingDataType=lNewValue", "XML", "XML=sNewValue"}},
      {"Clipping",
       {"ID",
        "ID=sNewValue",
        "GUID",
        "GUID=sNewValue",
        "FolderID",
        "FolderID=sNewValue",
        "Name",
        "Name=sNewValue",
        "Description",
        "Description=sNewValue",
        "ClippingStatus",
        "Keywords",
        "Keywords=sNewValue",
        "Updated",
        "Accessed",
        "XML",
        "XML=sNewValue",
        "ClippingData",
        "ClippingData=vNewValue",
        "PathName",
        "PathName=sNewValue",
        "Categories",
        "Categories=sNewValue"}},
      {"Clippings",
       {"Clippings", "XML", "XML=sNewValue", "ClearClippings()", "AddClippings(colClippings)",
        "AddClipping(oClipping)"}},
      {"Category",
       {"ID", "ID=sNewValue", "Name", "Name=sNewValue", "Description", "Description=sNewValue",
        "Updated", "Updated=tNewValue", "XML", "XML=sNewValue"}},
      {"Categories",
       {"Categories", "XML", "XML=sNewValue", "ClearCategories()", "AddCategories(colCategories)",
        "AddCategory(oCategory)"}},
      {"ConnectionDetails",
       {"DataSourceType", "DataSourceType=lNewValue", "IsPersonalCatalog",
        "IsPersonalCatalog=bNewValue", "ClippingManagerServerName",
        "ClippingManagerServerName=sNewValue", "ClippingSourceName", "ClippingSourceName=sNewValue",
        "ConnectionString", "ConnectionString=sNewValue", "XML", "XML=sNewValue"}},
      {"ExternalCatalog",
       {"ID", "ID=lNewValue", "GUID", "GUID=sNewValue", "ConnectionStringXML",
        "ConnectionStringXML=sNewValue", "IsOnline", "IsOnline=bNewValue", "ConnectionSpeed",
        "ConnectionSpeed=iNewValue"}},
      {"Search",
       {"SearchText", "SearchText=sNewValue", "FolderIDs", "FolderIDs=vNewValue", "CategoryNames",
        "CategoryNames=vNewValue", "SearchSubFolders", "SearchSubFolders=bNewValue",
        "OrClippingBelongsToCategory", "OrClippingBelongsToCategory=bNewValue", "XML",
        "XML=sNewValue", "ClearFolderIDs()", "ClearCategoryNames()"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.class_name);
    auto object = New(c.class_name);
    EXPECT_EQ(Describe(TableOf(object)), c.members);
    // A property without a setter refuses to be set, whatever the value.
    for (const MemberInfo& m : TableOf(object).members()) {
      if (m.kind != InvokeKind::kPropertyGet) continue;
      if (TableOf(object).Find(m.name, InvokeKind::kPropertyPut) != nullptr) continue;
      EXPECT_EQ(ErrorOf([&] { SetProperty(object, m.name, Variant("1")); }), err::kUnknownName)
          << m.name;
      EXPECT_EQ(ErrorOf([&] { GetProperty(object, m.name); }), 0) << m.name;
    }
  }
}

TEST(EntityObjects, PropertiesCoerceWhatTheyAreGivenAndReadBack) {
  const Date date = Variant("2002-03-03 14:05:09").ToDate();
  struct Case {
    const char* class_name;
    const char* property;
    Variant given;
    Variant expected;
  };
  const Case cases[] = {
      {"Folder", "ID", Variant(int32_t{42}), Variant("42")},
      {"Folder", "Name", Variant(true), Variant("True")},
      {"Folder", "Description", Variant("a<b>&c"), Variant("a<b>&c")},
      {"ClippingData", "RawData", Variant(2.5), Variant("2.5")},
      {"ClippingData", "ClippingDataType", Variant(" 3 "), Variant(int32_t{3})},
      {"Clipping", "ID", Variant(int16_t{7}), Variant("7")},
      {"Clipping", "GUID", Variant("{A}"), Variant("{A}")},
      {"Clipping", "FolderID", Variant("P7C15"), Variant("P7C15")},
      {"Clipping", "Name", Variant("n"), Variant("n")},
      {"Clipping", "Description", Variant("d"), Variant("d")},
      {"Clipping", "Keywords", Variant("k"), Variant("k")},
      {"Clipping", "PathName", Variant("\\a\\b"), Variant("\\a\\b")},
      {"Clipping", "Categories", Variant("x, y"), Variant("x, y")},
      {"Category", "ID", Variant(int32_t{-1}), Variant("-1")},
      {"Category", "Name", Variant("Legal"), Variant("Legal")},
      {"Category", "Description", Variant("d"), Variant("d")},
      {"Category", "Updated", Variant("2002-03-03 14:05:09"), Variant(date)},
      {"ConnectionDetails", "DataSourceType", Variant("2"), Variant(int32_t{2})},
      {"ConnectionDetails", "ClippingManagerServerName", Variant("srv"), Variant("srv")},
      {"ConnectionDetails", "ClippingSourceName", Variant("src"), Variant("src")},
      {"ConnectionDetails", "ConnectionString", Variant("DSN=x"), Variant("DSN=x")},
      {"ExternalCatalog", "ID", Variant("2147483647"), Variant(int32_t{2147483647})},
      {"ExternalCatalog", "GUID", Variant("{B}"), Variant("{B}")},
      {"ExternalCatalog", "ConnectionStringXML", Variant("<c/>"), Variant("<c/>")},
      {"ExternalCatalog", "IsOnline", Variant("True"), Variant(true)},
      {"ExternalCatalog", "ConnectionSpeed", Variant("-32768"), Variant(int16_t{-32768})},
      {"ExternalCatalog", "ConnectionSpeed", Variant(32767.0), Variant(int16_t{32767})},
      {"Search", "SearchText", Variant("tax"), Variant("tax")},
      {"Search", "SearchSubFolders", Variant(int32_t{-1}), Variant(true)},
      {"Search", "OrClippingBelongsToCategory", Variant("true"), Variant(true)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.class_name) + "." + c.property);
    auto object = New(c.class_name);
    auto other = New(c.class_name);
    const Variant before = GetProperty(other, c.property);
    SetProperty(object, c.property, c.given);
    EXPECT_EQ(GetProperty(object, c.property), c.expected);
    EXPECT_EQ(GetProperty(other, c.property), before);  // the table reached the right object
  }
  // Values that do not fit the declared type are refused and change nothing.
  struct Bad {
    const char* class_name;
    const char* property;
    Variant given;
  };
  const Bad bad[] = {
      {"ExternalCatalog", "ConnectionSpeed", Variant("32768")},
      {"ExternalCatalog", "ConnectionSpeed", Variant(int32_t{-32769})},
      {"ExternalCatalog", "ID", Variant(2147483648.0)},
      {"ConnectionDetails", "DataSourceType", Variant("two")},
      {"Search", "SearchSubFolders", Variant("maybe")},
      {"Category", "Updated", Variant("not a date")},
      {"Folder", "Name", Variant::Null()},
  };
  for (const Bad& b : bad) {
    SCOPED_TRACE(std::string(b.class_name) + "." + b.property);
    auto object = New(b.class_name);
    const Variant before = GetProperty(object, b.property);
    EXPECT_EQ(ErrorOf([&] { SetProperty(object, b.property, b.given); }),
              err::kArgumentTypeMismatch);
    EXPECT_EQ(GetProperty(object, b.property), before);
  }
}

TEST(EntityObjects, ReadOnlyPropertiesShowWhatTheStoreSet) {
  auto folder = New("Folder");
  EXPECT_EQ(GetProperty(folder, "status"), Variant(int32_t{0}));
  EXPECT_EQ(GetProperty(folder, "ExternalCatalogID"), Variant(int32_t{0}));
  EXPECT_EQ(GetProperty(folder, "GUID"), Variant(""));
  EXPECT_EQ(GetProperty(folder, "Updated"), Variant(Unwrap<Folder>(Variant(folder))->Updated()));
  SetProperty(folder, "XML",
              "<Folder Folderid=\"15\" guid=\"{G}\" parentid=\"P7C1\" name=\"n\" status=\"3\" "
              "isleaf=\"9\" updated=\"14:05:09 3 Mar 2002\"/>");
  EXPECT_EQ(GetProperty(folder, "GUID"), Variant("{G}"));
  EXPECT_EQ(GetProperty(folder, "ParentID"), Variant("P7C1"));
  EXPECT_EQ(GetProperty(folder, "Status"), Variant(int32_t{3}));
  EXPECT_EQ(GetProperty(folder, "ExternalCatalogID"), Variant(int32_t{9}));
  EXPECT_EQ(GetProperty(folder, "Updated"), Variant(Variant("2002-03-03 14:05:09").ToDate()));

  auto clipping = New("Clipping");
  EXPECT_EQ(GetProperty(clipping, "ClippingStatus"), Variant(int16_t{0}));
  EXPECT_EQ(GetProperty(clipping, "Accessed"), Variant(Date(0)));
  for (const char* status : {"32767", "-32768", "32768", "-32769"}) {
    SCOPED_TRACE(status);
    SetProperty(clipping, "XML",
                std::string("<clipping Status=\"") + status + "\"><clippingdata/></clipping>");
    const int32_t value = std::stoi(status);
    if (value >= -32768 && value <= 32767) {
      EXPECT_EQ(GetProperty(clipping, "ClippingStatus"), Variant(static_cast<int16_t>(value)));
    } else {
      EXPECT_EQ(ErrorOf([&] { GetProperty(clipping, "ClippingStatus"); }), err::kOverflow);
    }
  }
  EXPECT_EQ(GetProperty(New("ClippingData"), "IsCompressed"), Variant(false));
}

TEST(EntityObjects, PersonalCatalogFlagSurvivesOnlyUntilRead) {
  auto details = New("ConnectionDetails");
  SetProperty(details, "IsPersonalCatalog", "True");
  const std::string before = GetProperty(details, "XML").AsString();
  EXPECT_NE(before.find("ispersonalcatalog=\"true\""), std::string::npos) << before;
  EXPECT_EQ(GetProperty(details, "IsPersonalCatalog"), Variant(false));
  const std::string after = GetProperty(details, "XML").AsString();
  EXPECT_NE(after.find("ispersonalcatalog=\"false\""), std::string::npos) << after;
}

TEST(EntityObjects, XmlCarriesAnObjectToAnother) {
  struct Case {
    const char* class_name;
    std::function<void(const std::shared_ptr<Dispatch>&)> fill;
    const char* root;
  };
  const auto member = [](const char* cls, const char* property, const char* value) {
    auto object = New(cls);
    SetProperty(object, property, value);
    return Variant(object);
  };
  const Case cases[] = {
      {"Folder",
       [&](auto& o) {
         SetProperty(o, "Name", "parent");
         CallMember(GetProperty(o, "ChildFolders").AsObject(), "Add",
                    {member("Folder", "Name", "child")});
       },
       "<Folder"},
      {"Folders", [&](auto& o) { CallMember(o, "AddFolder", {member("Folder", "ID", "3")}); },
       "<Folders>"},
      {"ClippingData",
       [](auto& o) {
         SetProperty(o, "RawData", "a<b>&c");
         SetProperty(o, "ClippingDataType", "2");
       },
       "<clippingdataitem"},
      {"Clipping",
       [&](auto& o) {
         SetProperty(o, "Name", "c");
         CallMember(GetProperty(o, "ClippingData").AsObject(), "Add",
                    {member("ClippingData", "RawData", "x")});
       },
       "<clipping"},
      {"Clippings",
       [&](auto& o) { CallMember(o, "AddClipping", {member("Clipping", "Name", "c")}); },
       "<clippings>"},
      {"Category", [](auto& o) { SetProperty(o, "Name", "Legal"); }, "<category"},
      {"Categories",
       [&](auto& o) { CallMember(o, "AddCategory", {member("Category", "Name", "Tax")}); },
       "<Categories>"},
      {"ConnectionDetails", [](auto& o) { SetProperty(o, "ConnectionString", "DSN=x"); },
       "<connectiondetails"},
      {"Search",
       [](auto& o) {
         SetProperty(o, "SearchText", "tax");
         CallMember(GetProperty(o, "FolderIDs").AsObject(), "Add", {Variant(int32_t{15})});
       },
       "<search"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.class_name);
    auto source = New(c.class_name);
    const std::string empty = GetProperty(source, "XML").AsString();
    c.fill(source);
    const Variant xml = GetProperty(source, "XML");
    ASSERT_EQ(xml.AsString().rfind(c.root, 0), 0u) << xml.AsString();
    EXPECT_NE(xml.AsString(), empty);
    auto target = New(c.class_name);
    SetProperty(target, "xml", xml);
    EXPECT_EQ(GetProperty(target, "XML"), xml);
    // The same text through the route of callers that receive objects as text.
    auto from_text = CreateEntityFromXML(c.class_name, xml.AsString());
    EXPECT_EQ(from_text->TypeName(), c.class_name);
    EXPECT_EQ(GetProperty(from_text, "XML"), xml);
  }
  EXPECT_EQ(ErrorOf([] { GetProperty(New("ExternalCatalog"), "XML"); }), err::kUnknownName);
}

TEST(EntityObjects, CreateEntityFromXmlMatchesNamesAndRefusesOthers) {
  auto folder = CreateEntityFromXML("fOLDER", "<Folder name=\"n\"/>");
  EXPECT_EQ(folder->TypeName(), "Folder");
  EXPECT_EQ(GetProperty(folder, "Name"), Variant("n"));
  for (const char* name : {"ExternalCatalog", "Collection", "Widget", "", "Folder "}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(ErrorOf([&] { CreateEntityFromXML(name, "<Folder/>"); }), err::kTypeMismatch);
  }
  EXPECT_EQ(ErrorOf([] { CreateEntityFromXML("Folder", "<folder/>"); }), err::kObjectRequired);
  EXPECT_EQ(ErrorOf([] { CreateEntityFromXML("Search", "not xml"); }), err::kObjectRequired);
}

TEST(EntityObjects, WrapAndUnwrapKeepIdentity) {
  auto folder = Folder::Create();
  const Variant wrapped = Wrap(folder);
  EXPECT_EQ(wrapped.AsObject()->TypeName(), "Folder");
  EXPECT_EQ(Unwrap<Folder>(wrapped), folder);
  auto catalogs = std::make_shared<ExternalCatalogCollection>();
  EXPECT_EQ(Unwrap<ExternalCatalogCollection>(Wrap(catalogs)), catalogs);
  EXPECT_EQ(Wrap(catalogs).AsObject()->TypeName(), kCollectionClassName);
  auto search = Search::Create();
  EXPECT_EQ(Unwrap<TextCollection>(Wrap(search->FolderIDs())), search->FolderIDs());

  const Variant nothing = Wrap(std::shared_ptr<Folder>());
  ASSERT_TRUE(nothing.IsObject());
  EXPECT_EQ(nothing.AsObject(), nullptr);
  EXPECT_EQ(Unwrap<Folder>(nothing), nullptr);
  EXPECT_EQ(Unwrap<Folder>(Variant()), nullptr);
  EXPECT_EQ(Unwrap<FolderCollection>(Variant()), nullptr);

  const Variant others[] = {Wrap(Clipping::Create()),     Wrap(Folders::Create()),
                            Wrap(folder->ChildFolders()), Variant("<Folder/>"),
                            Variant(int32_t{1}),          Variant::Null()};
  for (const Variant& other : others) {
    EXPECT_EQ(ErrorOf([&] { Unwrap<Folder>(other); }), err::kTypeMismatch);
  }
  EXPECT_EQ(ErrorOf([&] { Unwrap<FolderCollection>(Wrap(Clipping::Create()->ClippingData())); }),
            err::kTypeMismatch);
  EXPECT_EQ(ErrorOf([&] { Unwrap<ExternalCatalogCollection>(wrapped); }), err::kTypeMismatch);
}

TEST(EntityObjects, CollectionsShareTheOwnersList) {
  auto folder = Folder::Create();
  const Variant object = Wrap(folder);
  auto children = GetProperty(object.AsObject(), "ChildFolders").AsObject();
  EXPECT_EQ(children->TypeName(), kCollectionClassName);
  auto first = Folder::Create();
  auto second = Folder::Create();
  CallMember(children, "Add", {Wrap(first)});
  CallMember(children, "add", {Wrap(second)});
  CallMember(children, "Add", {Wrap(first)});  // duplicates are kept
  ASSERT_EQ(folder->ChildFolders()->Count(), 3);
  EXPECT_EQ(GetProperty(children, "Count"), Variant(int32_t{3}));
  EXPECT_EQ(Unwrap<Folder>(CallMember(children, "Item", {Variant("2")})), second);
  CallMember(children, "Remove", {Variant(int32_t{1})});
  EXPECT_EQ(folder->ChildFolders()->Item(1), second);
  for (int32_t index : {0, 3, -1}) {
    EXPECT_EQ(ErrorOf([&] { CallMember(children, "Item", {Variant(index)}); }),
              err::kSubscriptOutOfRange);
    EXPECT_EQ(ErrorOf([&] { CallMember(children, "Remove", {Variant(index)}); }),
              err::kSubscriptOutOfRange);
  }
  EXPECT_EQ(ErrorOf([&] { CallMember(children, "Add", {Wrap(Clipping::Create())}); }),
            err::kArgumentTypeMismatch);
  EXPECT_EQ(folder->ChildFolders()->Count(), 2);

  // Assigning another folder's list makes it this folder's list; other item types are refused.
  auto other = Folder::Create();
  SetProperty(object.AsObject(), "ChildFolders", Wrap(other->ChildFolders()));
  EXPECT_EQ(folder->ChildFolders(), other->ChildFolders());
  EXPECT_EQ(ErrorOf([&] {
              SetProperty(object.AsObject(), "ChildFolders",
                          Wrap(Clipping::Create()->ClippingData()));
            }),
            err::kTypeMismatch);
  EXPECT_EQ(ErrorOf([&] { SetProperty(object.AsObject(), "ChildFolders", Wrap(first)); }),
            err::kArgumentTypeMismatch);
  EXPECT_EQ(ErrorOf([&] {
              SetProperty(object.AsObject(), "ChildFolders", Variant(std::shared_ptr<Dispatch>()));
            }),
            err::kObjectVariableNotSet);
  EXPECT_EQ(folder->ChildFolders(), other->ChildFolders());

  // Text lists take any value as text.
  auto search = Search::Create();
  auto ids = GetProperty(Wrap(search).AsObject(), "FolderIDs").AsObject();
  CallMember(ids, "Add", {Variant(int32_t{15})});
  CallMember(ids, "Add", {Variant("P7C3")});
  ASSERT_EQ(search->FolderIDs()->Count(), 2);
  EXPECT_EQ(search->FolderIDs()->Item(1), "15");
  EXPECT_EQ(CallMember(ids, "Item", {Variant(int32_t{2})}), Variant("P7C3"));
  CallMember(Wrap(search).AsObject(), "ClearFolderIDs");
  EXPECT_EQ(search->FolderIDs()->Count(), 0);
  EXPECT_EQ(GetProperty(ids, "Count"), Variant(int32_t{2}));  // the released list is untouched
}

TEST(EntityObjects, ListClassesAddClearAndAppendThemselves) {
  auto folders = Folders::Create();
  auto object = Wrap(folders).AsObject();
  auto folder = Folder::Create();
  CallMember(object, "AddFolder", {Wrap(folder)});
  CallMember(object, "AddFolders", {Variant(object)});  // a list appended to itself doubles
  ASSERT_EQ(folders->Items()->Count(), 2);
  EXPECT_EQ(folders->Items()->Item(2), folder);
  auto items = GetProperty(object, "Folders").AsObject();
  EXPECT_EQ(GetProperty(items, "Count"), Variant(int32_t{2}));
  EXPECT_EQ(ErrorOf([&] { CallMember(object, "AddFolder", {Wrap(Category::Create())}); }),
            err::kArgumentTypeMismatch);
  EXPECT_EQ(ErrorOf([&] { CallMember(object, "AddFolders", {Wrap(Clippings::Create())}); }),
            err::kArgumentTypeMismatch);
  EXPECT_EQ(ErrorOf([&] { CallMember(object, "AddFolders", {Variant()}); }),
            err::kObjectVariableNotSet);
  CallMember(object, "ClearFolders");
  EXPECT_EQ(folders->Items()->Count(), 0);

  auto clippings = Clippings::Create();
  auto more = Clippings::Create();
  more->AddClipping(Clipping::Create());
  CallMember(Wrap(clippings).AsObject(), "AddClippings", {Wrap(more)});
  CallMember(Wrap(clippings).AsObject(), "AddClipping", {Wrap(Clipping::Create())});
  EXPECT_EQ(clippings->Items()->Count(), 2);
  EXPECT_EQ(clippings->Items()->Item(1), more->Items()->Item(1));

  auto categories = Categories::Create();
  auto category = Category::Create();
  CallMember(Wrap(categories).AsObject(), "AddCategory", {Wrap(category)});
  CallMember(Wrap(categories).AsObject(), "AddCategories", {Wrap(categories)});
  EXPECT_EQ(categories->Items()->Count(), 2);
  EXPECT_EQ(
      Unwrap<Category>(CallMember(GetProperty(Wrap(categories).AsObject(), "Categories").AsObject(),
                                  "Item", {Variant(int32_t{2})})),
      category);
}

}  // namespace
}  // namespace clipcat
