#include "automation/service_objects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "automation/entity_objects.h"
#include "automation/progid_registry.h"
#include "automation/register_classes.h"
#include "service/connection_handler.h"
#include "store/temp_catalog.h"
#include "util/errors.h"

namespace clipcat {
namespace {

const char* const kRead = "TORVEL.ClippingDataRead";
const char* const kWrite = "TORVEL.ClippingDataWrite";

std::shared_ptr<Dispatch> New(const std::string& progid) {
  RegisterClasses();
  return CreateObject(progid);
}

// Tables are shared by every object of a class and outlive them.
const MemberTable& TableOf(const char* progid) {
  return std::dynamic_pointer_cast<AutomationObject>(New(progid))->Members();
}

AutomationError ErrorOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const AutomationError& e) {
    return e;
  }
  return AutomationError(0, "", "");
}

// A member as "Name(a, [b])": optional parameters in brackets.
std::string Signature(const MemberInfo& m) {
  std::string text = m.name + "(";
  for (size_t i = 0; i < m.params.size(); ++i) {
    if (i > 0) text += ", ";
    text += m.params[i].optional ? "[" + m.params[i].name + "]" : m.params[i].name;
  }
  return text + ")";
}

std::vector<std::string> Names(const MemberTable& table) {
  std::vector<std::string> names;
  for (const MemberInfo& m : table.members()) names.push_back(m.name);
  return names;
}

TEST(ServiceObjects, TablesListEveryMemberInTheInterfaceOrder) {
  const std::vector<std::string> read = {"GetClippingPathName",
                                         "GetFolderPathName",
                                         "GetCatalogsRootFolder",
                                         "CatalogsConnectionOK",
                                         "GetPersonalCatalogRootFolder",
                                         "SearchForClippings",
                                         "GetCategoriesFromLinkedFolders",
                                         "HaveCategoriesChanged",
                                         "HaveFoldersChanged",
                                         "CategoryNameExists",
                                         "FolderNameExists",
                                         "GetFolderByName",
                                         "ClippingNameExists",
                                         "ClippingExists",
                                         "GetCategory",
                                         "IsLinkedFolder",
                                         "ConnectionOK",
                                         "GetCategoriesFromLinkedFolder",
                                         "GetCategoriesFromFolder",
                                         "GetCategoriesForClipping",
                                         "GetCategoriesNamesForClipping",
                                         "InSameCatalog",
                                         "GetClippingsForFolderAndChildFolders",
                                         "GetClippingsFromCategory",
                                         "GetClippingsWithoutCategory",
                                         "GetClippingsHistroy",
                                         "GetDeletedClippingsForCatalog",
                                         "GetLinkedFolders",
                                         "GetConnectionDetails",
                                         "GetExternalCatalogs",
                                         "FindClippings",
                                         "GetFolder",
                                         "GetFolders",
                                         "GetFoldersForLinkedFolder",
                                         "GetChildFolders",
                                         "GetChildrenFolders",
                                         "GetCategoryByName",
                                         "GetClippingByName",
                                         "GetClipping",
                                         "FindClippingWithGUID",
                                         "GetClippingsFromFolder"};
  const std::vector<std::string> write = {"DeleteAllCategoriesFromClipping",
                                          "DeleteLinkedFolder",
                                          "AddFolderToCategory",
                                          "DeleteAllCategoriesFromFolder",
                                          "AddLinkedFolder",
                                          "AddDefaultFolderToLinkedCatalog",
                                          "AddCategory",
                                          "DeleteCategory",
                                          "UpdateCategory",
                                          "AddClippingToCategory",
                                          "UpdateClippingHistory",
                                          "AddClippingToCategories",
                                          "DeleteClippingFromCategory",
                                          "AddFolder",
                                          "AddClipping",
                                          "CanAddFolder",
                                          "CanAddClipping",
                                          "CanDeleteClipping",
                                          "CanDeleteFolder",
                                          "CanUpdateFolder",
                                          "CanUpdateClipping",
                                          "DeleteClipping",
                                          "DeleteFolder",
                                          "UpdateFolder",
                                          "UpdateClipping"};
  ASSERT_EQ(read.size(), 41u);
  ASSERT_EQ(write.size(), 25u);
  EXPECT_EQ(Names(TableOf(kRead)), read);
  EXPECT_EQ(Names(TableOf(kWrite)), write);
  EXPECT_EQ(TableOf(kRead).type_name(), "ClippingDataRead");
  EXPECT_EQ(TableOf(kWrite).type_name(), "ClippingDataWrite");
  EXPECT_EQ(TableOf(kRead).source(), kRead);
  EXPECT_EQ(TableOf(kWrite).source(), kWrite);
}

TEST(ServiceObjects, ParametersCarryTheirInterfaceNamesAndOptionality) {
  const std::map<std::string, std::string> read = {
      {"GetClippingPathName", "GetClippingPathName(sClippingID, oDefualtConnection)"},
      {"GetFolderPathName", "GetFolderPathName(sFolderId, oDefualtConnection)"},
      {"ConnectionOK", "ConnectionOK(oDefaultConnection, [sItemID], [bItemIDIsLinkedFolder])"},
      {"GetClippingsForFolderAndChildFolders",
       "GetClippingsForFolderAndChildFolders(sFolderId, bGetData, oDefaultConnection)"},
      {"GetClippingByName", "GetClippingByName(sName, sFolderId, bGetData, oDefaultConnection)"},
      {"GetFolders", "GetFolders(oDefaultConnection, [bGetExternalFolders])"},
      {"GetFoldersForLinkedFolder", "GetFoldersForLinkedFolder(oFolder, oDefualtConnection)"},
      {"GetChildFolders", "GetChildFolders(sFolderId, oDefaultConnection, [bGetExternalFolders])"},
      {"GetClippingsFromFolder",
       "GetClippingsFromFolder(sFolderId, oDefaultConnection, [bGetData], [oClippings])"},
      {"HaveCategoriesChanged",
       "HaveCategoriesChanged(tDateTimeCategoriesChecked, oDefaultConnection)"},
      {"CategoryNameExists", "CategoryNameExists(sName, sLinkedCatalogID, oDefaultConnection)"},
  };
  const std::map<std::string, std::string> write = {
      {"AddLinkedFolder",
       "AddLinkedFolder(oNewConnectionDetails, sFolderName, oDefaultConnection)"},
      {"AddCategory", "AddCategory(oCategory, sFolderId, oDefaultConnection, [bCheckNameUnique])"},
      {"CanUpdateClipping", "CanUpdateClipping(oClipping, oDefaultConnection, [bUpdateData])"},
      {"DeleteFolder", "DeleteFolder(sFolderId, oDefaultConnection, [bDeletePermanently])"},
      {"UpdateClipping",
       "UpdateClipping(oClipping, oDefaultConnection, bUpdateData, [bCheckNameUnique])"},
      {"AddClippingToCategories",
       "AddClippingToCategories(sClippingID, oCategories, oDefaultConnection)"},
  };
  for (const auto& [progid, expected] : {std::pair{kRead, read}, std::pair{kWrite, write}}) {
    for (const auto& [member, signature] : expected) {
      const MemberInfo* m = TableOf(progid).Find(member, InvokeKind::kMethod);
      ASSERT_NE(m, nullptr) << member;
      EXPECT_EQ(Signature(*m), signature);
    }
  }
}

// Every parameter's declared type follows its prefix, except the two the interface declares as
// strings; optional parameters only ever follow required ones; every member takes the default
// connection under one of its two spellings.
TEST(ServiceObjects, DeclaredTypesFollowThePrefixes) {
  const std::set<std::string> declared_as_string = {
      "ClippingExists.oDefaultConnection", "GetClippingsForFolderAndChildFolders.bGetData"};
  std::set<std::string> misspelt;
  int string_exceptions = 0;
  for (const char* progid : {kRead, kWrite}) {
    for (const MemberInfo& m : TableOf(progid).members()) {
      SCOPED_TRACE(m.name);
      EXPECT_EQ(m.kind, InvokeKind::kMethod);
      bool has_connection = false;
      bool seen_optional = false;
      for (const ParamInfo& p : m.params) {
        SCOPED_TRACE(p.name);
        if (p.name == "oDefualtConnection") misspelt.insert(m.name);
        if (p.name == "oDefaultConnection" || p.name == "oDefualtConnection") has_connection = true;
        EXPECT_TRUE(!seen_optional || p.optional);
        seen_optional = seen_optional || p.optional;
        if (declared_as_string.count(m.name + "." + p.name) > 0) {
          EXPECT_EQ(p.type, ParamType::kString);
          ++string_exceptions;
          continue;
        }
        switch (p.name[0]) {
          case 's':
            EXPECT_EQ(p.type, ParamType::kString);
            break;
          case 'b':
            EXPECT_EQ(p.type, ParamType::kBoolean);
            break;
          case 'l':
            EXPECT_EQ(p.type, ParamType::kLong);
            break;
          case 't':
            EXPECT_EQ(p.type, ParamType::kDate);
            break;
          case 'o':
            EXPECT_EQ(p.type, ParamType::kObject);
            EXPECT_FALSE(p.object_type.empty());
            break;
          default:
            ADD_FAILURE() << "unexpected prefix";
        }
        if (p.name.find("Connection") != std::string::npos && p.type == ParamType::kObject) {
          EXPECT_EQ(p.object_type, "ConnectionDetails");
        }
      }
      EXPECT_TRUE(has_connection);
    }
  }
  EXPECT_EQ(string_exceptions, 2);
  EXPECT_EQ(misspelt, (std::set<std::string>{"GetClippingPathName", "GetFolderPathName",
                                             "GetFoldersForLinkedFolder"}));
}

TEST(ServiceObjects, OptionalDefaultsAndResultTypes) {
  struct Default {
    const char* progid;
    const char* member;
    const char* param;
    Variant value;
  };
  const Default defaults[] = {
      {kRead, "GetFolders", "bGetExternalFolders", Variant(true)},
      {kRead, "GetChildFolders", "bGetExternalFolders", Variant(true)},
      {kRead, "GetChildrenFolders", "bGetExternalFolders", Variant(true)},
      {kRead, "GetClipping", "bGetData", Variant(false)},
      {kRead, "FindClippingWithGUID", "bGetData", Variant(false)},
      {kRead, "GetClippingsFromFolder", "bGetData", Variant(false)},
      {kRead, "ConnectionOK", "sItemID", Variant("")},
      {kRead, "ConnectionOK", "bItemIDIsLinkedFolder", Variant(false)},
      {kWrite, "CanDeleteClipping", "bDeletePermanently", Variant(false)},
      {kWrite, "DeleteClipping", "bDeletePermanently", Variant(false)},
      {kWrite, "AddFolder", "bCheckNameUnique", Variant(false)},
      {kWrite, "CanUpdateClipping", "bUpdateData", Variant(false)},
  };
  for (const Default& d : defaults) {
    SCOPED_TRACE(std::string(d.member) + "." + d.param);
    const MemberInfo* m = TableOf(d.progid).Find(d.member, InvokeKind::kMethod);
    ASSERT_NE(m, nullptr);
    const ParamInfo* param = nullptr;
    for (const ParamInfo& p : m->params) {
      if (p.name == d.param) param = &p;
    }
    ASSERT_NE(param, nullptr);
    EXPECT_TRUE(param->optional);
    EXPECT_EQ(param->default_value.type(), d.value.type());
    EXPECT_EQ(param->default_value.ToText(), d.value.ToText());
  }
  const MemberInfo* from_folder =
      TableOf(kRead).Find("GetClippingsFromFolder", InvokeKind::kMethod);
  ASSERT_NE(from_folder, nullptr);
  const Variant& nothing = from_folder->params[3].default_value;
  EXPECT_TRUE(nothing.IsObject());
  EXPECT_EQ(nothing.AsObject(), nullptr);

  // Members without a result are subs; the others declare what they answer.
  const std::set<std::string> subs = {
      "DeleteAllCategoriesFromClipping", "DeleteLinkedFolder",    "DeleteCategory",
      "AddClippingToCategory",           "UpdateClippingHistory", "AddClippingToCategories",
      "DeleteClippingFromCategory",      "DeleteClipping",        "DeleteFolder"};
  for (const char* progid : {kRead, kWrite}) {
    for (const MemberInfo& m : TableOf(progid).members()) {
      EXPECT_EQ(m.returns_value, subs.count(m.name) == 0) << m.name;
    }
  }
  const std::map<std::string, std::string> results = {
      {"GetFolder", "Folder"},
      {"GetFolders", "Folders"},
      {"GetChildFolders", "Folder"},
      {"GetChildrenFolders", "Folders"},
      {"GetClipping", "Clipping"},
      {"SearchForClippings", "Clippings"},
      {"GetCategory", "Category"},
      {"GetCategoriesFromFolder", "Categories"},
      {"GetExternalCatalogs", "Collection"},
      {"GetConnectionDetails", "ConnectionDetails"},
  };
  for (const auto& [member, type] : results) {
    const MemberInfo* m = TableOf(kRead).Find(member, InvokeKind::kMethod);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->result, ParamType::kObject) << member;
    EXPECT_EQ(m->result_object_type, type) << member;
  }
  EXPECT_EQ(TableOf(kRead).Find("GetFolderPathName", InvokeKind::kMethod)->result,
            ParamType::kString);
  EXPECT_EQ(TableOf(kRead).Find("ConnectionOK", InvokeKind::kMethod)->result, ParamType::kBoolean);
  EXPECT_EQ(TableOf(kWrite).Find("AddFolderToCategory", InvokeKind::kMethod)->result,
            ParamType::kString);
}

TEST(ServiceObjects, RegistrationIsIdempotentAndCreatesNewObjects) {
  RegisterClasses();
  RegisterClasses();
  const auto ids = RegisteredProgIDs();
  for (const std::string progid : {"TORVEL.ClippingDataRead", "TORVEL.ClippingDataWrite",
                                   "TORVEL.Folder", "TORVEL.ConnectionDetails", "TORVEL.Search"}) {
    EXPECT_EQ(std::count(ids.begin(), ids.end(), progid), 1) << progid;
  }
  const auto read = CreateObject("torvel.clippingdataread");
  const auto write = CreateObject("TORVEL.CLIPPINGDATAWRITE");
  EXPECT_EQ(read->TypeName(), "ClippingDataRead");
  EXPECT_EQ(write->TypeName(), "ClippingDataWrite");
  EXPECT_NE(CreateObject(kRead), read);
}

// Late-binding errors name the service's ProgID and are raised before the service runs.
TEST(ServiceObjects, WrongCallsRaiseTheLateBindingErrors) {
  for (const char* progid : {kRead, kWrite}) {
    const auto object = New(progid);
    for (const MemberInfo& m : TableOf(progid).members()) {
      SCOPED_TRACE(m.name);
      std::vector<Variant> too_many(m.params.size() + 1, Variant("1"));
      auto e = ErrorOf([&] { CallMember(object, m.name, too_many); });
      EXPECT_EQ(e.number(), err::kBadParamCount);
      EXPECT_EQ(e.source(), progid);
      EXPECT_EQ(e.description(), "Invalid number of parameters.");
      const size_t required = m.RequiredCount();
      ASSERT_GT(required, 0u);
      std::vector<Variant> too_few(required - 1, Variant("1"));
      e = ErrorOf([&] { CallMember(object, m.name, too_few); });
      EXPECT_EQ(e.number(), err::kBadParamCount);
      EXPECT_EQ(e.source(), progid);
    }
    const auto unknown = ErrorOf([&] { CallMember(object, "GetFolderz", {}); });
    EXPECT_EQ(unknown.number(), err::kUnknownName);
    EXPECT_EQ(unknown.source(), progid);
    EXPECT_EQ(unknown.description(), "Unknown name.");
  }
  const auto read = New(kRead);
  const auto folder = New("TORVEL.Folder");
  // Text that is no number, and an object of the wrong class for the connection.
  for (const auto& args : {std::vector<Variant>{Variant("ten"), Variant(folder)},
                           std::vector<Variant>{Variant("10"), Variant(folder)},
                           std::vector<Variant>{Variant("10"), Variant("connection")}}) {
    const auto e = ErrorOf([&] { CallMember(read, "GetClippingsHistroy", args); });
    EXPECT_EQ(e.number(), err::kArgumentTypeMismatch);
    EXPECT_EQ(e.source(), kRead);
  }
}

// Each object owns its service: dropping the object drops the thread's catalogs.
TEST(ServiceObjects, DestroyingAnObjectReleasesTheThreadsManager) {
  for (const char* progid : {kRead, kWrite}) {
    auto object = New(progid);
    const auto details = ConnectionDetails::Create();
    const auto before = GetAccessManager(details);
    EXPECT_EQ(GetAccessManager(details), before);
    object.reset();
    EXPECT_NE(GetAccessManager(details), before) << progid;
    ReleaseAccessManager();
  }
}

// Drives both services by name on file catalogs, every argument but objects given as text, and
// checks at the end that every member of both tables was called.
class ServiceCalls : public ::testing::Test {
 protected:
  void SetUp() override {
    RegisterClasses();
    personal_path_ = dir_.File("personal.db");
    shared_path_ = dir_.File("shared.db");
    CreateCatalog(personal_path_, "Personal");
    CreateCatalog(shared_path_, "Shared");
    connection_ = Details(personal_path_);
    read_ = New(kRead);
    write_ = New(kWrite);
  }

  void TearDown() override {
    read_.reset();
    write_.reset();
  }

  static Variant Details(const std::string& path) {
    const auto details = New("TORVEL.ConnectionDetails");
    SetProperty(details, "DataSourceType", Variant("1"));
    SetProperty(details, "ConnectionString",
                Variant("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + path));
    return Variant(details);
  }

  static Variant NewEntity(const std::string& class_name,
                           std::initializer_list<std::pair<const char*, const char*>> props = {}) {
    const auto object = New("TORVEL." + class_name);
    for (const auto& [name, value] : props) SetProperty(object, name, Variant(value));
    return Variant(object);
  }

  Variant Call(const char* progid, const std::string& member, std::vector<Variant> args) {
    called_.insert(std::string(progid) + "." + member);
    return CallMember(std::string(progid) == kRead ? read_ : write_, member, std::move(args));
  }
  Variant R(const std::string& member, std::vector<Variant> args) {
    return Call(kRead, member, std::move(args));
  }
  Variant W(const std::string& member, std::vector<Variant> args) {
    return Call(kWrite, member, std::move(args));
  }

  // The error a call raises (number 0 when it raises none).
  AutomationError Fails(const char* progid, const std::string& member, std::vector<Variant> args) {
    return ErrorOf([&] { Call(progid, member, std::move(args)); });
  }

  static std::string Prop(const Variant& object, const char* name) {
    return GetProperty(object.AsObject(), name).ToText();
  }
  static bool IsNothing(const Variant& v) { return v.IsObject() && v.AsObject() == nullptr; }

  // The items of an entity list (Folders, Clippings, Categories) or of a plain Collection.
  static std::vector<Variant> Items(const Variant& list) {
    auto items = list.AsObject();
    if (items->TypeName() != kCollectionClassName)
      items = GetProperty(items, items->TypeName()).AsObject();
    std::vector<Variant> out;
    const int32_t count = GetProperty(items, "Count").ToLong();
    for (int32_t i = 1; i <= count; ++i) out.push_back(CallMember(items, "Item", {Variant(i)}));
    return out;
  }
  static std::vector<std::string> NamesOf(const Variant& list) {
    std::vector<std::string> names;
    for (const Variant& item : Items(list)) names.push_back(Prop(item, "Name"));
    return names;
  }

  void ExerciseFolders();
  void ExerciseClippings();
  void ExerciseCategories();
  void ExerciseHistory();
  void ExerciseLinkedCatalog();
  void ExerciseDeletes();
  void ExerciseNotImplemented();

  testing::TempDir dir_;
  std::string personal_path_;
  std::string shared_path_;
  Variant connection_;
  std::shared_ptr<Dispatch> read_;
  std::shared_ptr<Dispatch> write_;
  std::set<std::string> called_;

  std::string letters_;   // a folder under the root, later renamed "Mail"
  std::string drafts_;    // a folder under letters_
  std::string greeting_;  // a clipping in letters_, later renamed "Hello"
  std::string farewell_;  // a clipping in drafts_
};

void ServiceCalls::ExerciseFolders() {
  const Variant& c = connection_;
  EXPECT_TRUE(R("ConnectionOK", {c}).ToBoolean());
  const Variant root = R("GetPersonalCatalogRootFolder", {c});
  EXPECT_EQ(Prop(root, "ID"), "1");
  EXPECT_EQ(Prop(root, "Name"), "Personal");

  const Variant letters = W("AddFolder", {NewEntity("Folder", {{"Name", "Letters"}}), "1", c});
  letters_ = Prop(letters, "ID");
  EXPECT_EQ(Prop(letters, "ParentID"), "1");
  EXPECT_EQ(Prop(R("GetFolder", {Variant(letters_), c}), "Name"), "Letters");
  drafts_ = Prop(
      W("AddFolder", {NewEntity("Folder", {{"Name", "Drafts"}}), Variant(letters_), c, "True"}),
      "ID");
  EXPECT_NE(drafts_, letters_);

  // A duplicate sibling name is refused when asked for, and leaves no row behind.
  const auto duplicate =
      Fails(kWrite, "AddFolder", {NewEntity("Folder", {{"Name", "Letters"}}), "1", c, "True"});
  EXPECT_EQ(duplicate.number(), err::kFolderNameNotUnique);
  EXPECT_EQ(NamesOf(R("GetChildrenFolders", {"1", c})), std::vector<std::string>{"Letters"});

  EXPECT_TRUE(W("CanAddFolder", {NewEntity("Folder", {{"Name", "Trial"}}), "1", c}).ToBoolean());
  EXPECT_FALSE(R("FolderNameExists", {"Trial", "1", c}).ToBoolean());
  EXPECT_TRUE(R("FolderNameExists", {"Letters", "1", c}).ToBoolean());
  EXPECT_EQ(Prop(R("GetFolderByName", {"Drafts", Variant(letters_), c}), "ID"), drafts_);
  EXPECT_TRUE(IsNothing(R("GetFolderByName", {"Drafts", "1", c})));

  const Variant renamed = R("GetFolder", {Variant(letters_), c});
  SetProperty(renamed.AsObject(), "Name", Variant("Mail"));
  EXPECT_EQ(Prop(W("UpdateFolder", {renamed, c}), "Name"), "Mail");
  EXPECT_EQ(Prop(R("GetFolder", {Variant(letters_), c}), "Name"), "Mail");
  EXPECT_EQ(R("GetFolderPathName", {Variant(drafts_), c}).ToText(), "Personal\\Mail\\Drafts");

  const Variant tree = R("GetChildFolders", {Variant(letters_), c});
  EXPECT_EQ(Prop(tree, "ID"), letters_);
  EXPECT_EQ(NamesOf(Variant(GetProperty(tree.AsObject(), "ChildFolders"))),
            std::vector<std::string>{"Drafts"});
  EXPECT_EQ(NamesOf(R("GetChildrenFolders", {Variant(letters_), c, "False"})),
            std::vector<std::string>{"Drafts"});

  EXPECT_TRUE(W("CanDeleteFolder", {Variant(letters_), c, "True"}).ToBoolean());
  EXPECT_EQ(Prop(R("GetFolder", {Variant(drafts_), c}), "Name"), "Drafts");
  EXPECT_TRUE(R("HaveFoldersChanged", {"2000-01-01 00:00:00", c}).ToBoolean());
  EXPECT_FALSE(R("HaveFoldersChanged", {"1 Jan 2100", c}).ToBoolean());
  EXPECT_TRUE(R("CatalogsConnectionOK", {"1", c}).ToBoolean());
  EXPECT_EQ(Prop(R("GetCatalogsRootFolder", {Variant(drafts_), c}), "ID"), "1");
  EXPECT_TRUE(R("IsLinkedFolder", {"1", c}).ToBoolean());
  EXPECT_FALSE(R("IsLinkedFolder", {Variant(letters_), c}).ToBoolean());
  EXPECT_FALSE(R("InSameCatalog", {"12", "P3C12", c}).ToBoolean());
  EXPECT_TRUE(R("InSameCatalog", {"P3C1", "P3C9", c}).ToBoolean());
  // An unknown folder is an error, not nothing.
  EXPECT_EQ(Fails(kRead, "GetFolder", {"999", c}).number(), err::kObjectVariableNotSet);
}

void ServiceCalls::ExerciseClippings() {
  const Variant& c = connection_;
  const Variant clipping = NewEntity("Clipping", {{"Name", "Greeting"}, {"Description", "hi"}});
  const Variant data = NewEntity("ClippingData", {{"RawData", "Dear friend"}});
  SetProperty(data.AsObject(), "ClippingDataType", Variant("2"));
  CallMember(GetProperty(clipping.AsObject(), "ClippingData").AsObject(), "Add", {data});
  EXPECT_TRUE(W("CanAddClipping", {clipping, Variant(letters_), c}).ToBoolean());
  EXPECT_FALSE(R("ClippingNameExists", {"Greeting", Variant(letters_), c}).ToBoolean());
  greeting_ = Prop(W("AddClipping", {clipping, Variant(letters_), c}), "ID");
  farewell_ = Prop(W("AddClipping",
                     {NewEntity("Clipping", {{"Name", "Farewell"}}), Variant(drafts_), c, "False"}),
                   "ID");
  EXPECT_TRUE(R("ClippingNameExists", {"Greeting", Variant(letters_), c}).ToBoolean());

  // bGetData left out reads no data; "True" reads it.
  const Variant plain = R("GetClipping", {Variant(greeting_), c});
  EXPECT_EQ(Prop(plain, "Name"), "Greeting");
  EXPECT_TRUE(Items(GetProperty(plain.AsObject(), "ClippingData")).empty());
  const auto with_data = Items(
      GetProperty(R("GetClipping", {Variant(greeting_), c, "True"}).AsObject(), "ClippingData"));
  ASSERT_EQ(with_data.size(), 1u);
  EXPECT_EQ(Prop(with_data[0], "RawData"), "Dear friend");

  const std::string guid = Prop(plain, "GUID");
  EXPECT_EQ(Prop(R("GetClippingByName", {"Greeting", Variant(letters_), "False", c}), "GUID"),
            guid);
  EXPECT_EQ(R("GetClippingPathName", {Variant(greeting_), c}).ToText(), "Personal\\Mail");

  SetProperty(plain.AsObject(), "Name", Variant("Hello"));
  EXPECT_EQ(Prop(W("UpdateClipping", {plain, c, "False"}), "Name"), "Hello");
  // The update kept the data it was not asked to write.
  EXPECT_EQ(Items(GetProperty(R("GetClipping", {Variant(greeting_), c, "True"}).AsObject(),
                              "ClippingData"))
                .size(),
            1u);

  // A new list is answered; the one passed in is left alone.
  const Variant given = NewEntity("Clippings");
  const Variant in_folder = R("GetClippingsFromFolder", {Variant(letters_), c, "True", given});
  EXPECT_NE(in_folder.AsObject(), given.AsObject());
  EXPECT_EQ(NamesOf(in_folder), std::vector<std::string>{"Hello"});
  EXPECT_TRUE(Items(given).empty());
  EXPECT_EQ(NamesOf(R("GetClippingsFromFolder", {Variant(drafts_), c})),
            std::vector<std::string>{"Farewell"});
  const auto subtree =
      NamesOf(R("GetClippingsForFolderAndChildFolders", {Variant(letters_), "False", c}));
  EXPECT_EQ(std::set<std::string>(subtree.begin(), subtree.end()),
            (std::set<std::string>{"Hello", "Farewell"}));

  const Variant search = NewEntity("Search", {{"SearchText", "Hel"}});
  EXPECT_EQ(NamesOf(R("FindClippings", {search, c})), std::vector<std::string>{"Hello"});

  EXPECT_TRUE(W("CanDeleteClipping", {Variant(greeting_), c, "True"}).ToBoolean());
  EXPECT_EQ(Prop(R("GetClipping", {Variant(greeting_), c}), "Name"), "Hello");
}

void ServiceCalls::ExerciseCategories() {
  const Variant& c = connection_;
  const Variant work = W("AddCategory", {NewEntity("Category", {{"Name", "Work"}}), "1", c});
  const std::string work_id = Prop(work, "ID");
  EXPECT_FALSE(work_id.empty());
  EXPECT_EQ(
      Fails(kWrite, "AddCategory", {NewEntity("Category", {{"Name", "Work"}}), "1", c, "True"})
          .number(),
      err::kCategoryNameNotUnique);
  EXPECT_TRUE(R("CategoryNameExists", {"Work", "1", c}).ToBoolean());
  SetProperty(work.AsObject(), "Name", Variant("Office"));
  EXPECT_EQ(Prop(W("UpdateCategory", {work, c}), "Name"), "Office");
  EXPECT_EQ(Prop(R("GetCategory", {Variant(work_id), c}), "Name"), "Office");
  EXPECT_EQ(NamesOf(R("GetCategoriesFromFolder", {"1", c})), std::vector<std::string>{"Office"});
  // The store refuses its own by-name query on these catalogs; the error passes through.
  const auto by_name = Fails(kRead, "GetCategoryByName", {"Office", "1", c});
  EXPECT_EQ(by_name.number(), err::kDatabaseError);
  EXPECT_EQ(by_name.source(), "SQLite");

  const Variant g(greeting_);
  const Variant f(farewell_);
  W("AddClippingToCategory", {g, Variant(work_id), c});
  EXPECT_EQ(R("GetCategoriesNamesForClipping", {g, c}).ToText(), "Office");
  EXPECT_EQ(NamesOf(R("GetCategoriesForClipping", {g, c})), std::vector<std::string>{"Office"});
  EXPECT_EQ(NamesOf(R("GetClippingsFromCategory", {Variant(work_id), "False", c})),
            std::vector<std::string>{"Hello"});
  EXPECT_EQ(NamesOf(R("GetClippingsWithoutCategory", {"1", "False", c})),
            std::vector<std::string>{"Farewell"});
  W("DeleteClippingFromCategory", {g, Variant(work_id), c});
  EXPECT_EQ(R("GetCategoriesNamesForClipping", {g, c}).ToText(), "");

  const Variant list = NewEntity("Categories");
  CallMember(list.AsObject(), "AddCategory", {R("GetCategory", {Variant(work_id), c})});
  W("AddClippingToCategories", {g, list, c});
  EXPECT_EQ(R("GetCategoriesNamesForClipping", {g, c}).ToText(), "Office");
  W("DeleteAllCategoriesFromClipping", {g, c});
  EXPECT_EQ(R("GetCategoriesNamesForClipping", {g, c}).ToText(), "");

  // A folder's category reaches the clippings of its whole subtree.
  EXPECT_EQ(W("AddFolderToCategory", {Variant(letters_), Variant(work_id), c}).ToText(), "");
  EXPECT_EQ(R("GetCategoriesNamesForClipping", {f, c}).ToText(), "Office");
  EXPECT_EQ(R("GetCategoriesNamesForClipping", {g, c}).ToText(), "Office");
  EXPECT_EQ(W("DeleteAllCategoriesFromFolder", {Variant(letters_), c}).ToText(), "");
  EXPECT_EQ(R("GetCategoriesNamesForClipping", {f, c}).ToText(), "");

  W("DeleteCategory", {Variant(work_id), c});
  EXPECT_TRUE(IsNothing(R("GetCategory", {Variant(work_id), c})));
}

void ServiceCalls::ExerciseHistory() {
  const Variant& c = connection_;
  W("UpdateClippingHistory", {R("GetClipping", {Variant(greeting_), c}), c});
  W("UpdateClippingHistory", {R("GetClipping", {Variant(farewell_), c}), c});
  std::set<std::string> ids;
  for (const Variant& item : Items(R("GetClippingsHistroy", {"10", c}))) {
    ids.insert(Prop(item, "ID"));
    EXPECT_FALSE(Prop(item, "Name").empty());
  }
  EXPECT_EQ(ids, (std::set<std::string>{greeting_, farewell_}));
  EXPECT_EQ(Items(R("GetClippingsHistroy", {"1", c})).size(), 1u);
}

void ServiceCalls::ExerciseLinkedCatalog() {
  const Variant& c = connection_;
  const Variant shared = Details(shared_path_);
  const Variant link = W("AddLinkedFolder", {shared, "Team", c});
  const std::string link_id = Prop(link, "ID");
  const std::string catalog = Prop(link, "ExternalCatalogID");
  ASSERT_NE(catalog, "0");
  const std::string shared_root = "P" + catalog + "C1";
  EXPECT_TRUE(R("IsLinkedFolder", {Variant(link_id), c}).ToBoolean());
  EXPECT_TRUE(R("ConnectionOK", {c, Variant(link_id), "True"}).ToBoolean());
  EXPECT_TRUE(R("CatalogsConnectionOK", {Variant(shared_root), c}).ToBoolean());

  const auto catalogs = Items(R("GetExternalCatalogs", {c}));
  ASSERT_EQ(catalogs.size(), 1u);
  EXPECT_EQ(Prop(catalogs[0], "ID"), catalog);
  EXPECT_EQ(Prop(R("GetConnectionDetails", {Variant(link_id), c}), "ConnectionString"),
            Prop(shared, "ConnectionString"));

  // The linked catalog's root shows under the linking folder's name.
  EXPECT_EQ(Prop(R("GetCatalogsRootFolder", {Variant(shared_root), c}), "Name"), "Shared");
  EXPECT_EQ(Prop(R("GetFolder", {Variant(shared_root), c}), "Name"), "Team");
  EXPECT_EQ(NamesOf(R("GetLinkedFolders", {c})), (std::vector<std::string>{"Personal", "Team"}));
  const auto in_link = Items(R("GetFoldersForLinkedFolder", {link, c}));
  ASSERT_FALSE(in_link.empty());
  EXPECT_EQ(Prop(in_link[0], "ID"), shared_root);

  const Variant inbox = W("AddDefaultFolderToLinkedCatalog", {link, "Inbox", c});
  EXPECT_EQ(Prop(inbox, "ID").rfind("P" + catalog + "C", 0), 0u);
  EXPECT_EQ(R("GetFolderPathName", {Variant(Prop(inbox, "ID")), c}).ToText(), "Shared\\Inbox");
  EXPECT_EQ(NamesOf(R("GetFolders", {c})), (std::vector<std::string>{"Personal", "Team"}));
  EXPECT_EQ(NamesOf(R("GetFolders", {c, "False"})), std::vector<std::string>{"Personal"});

  // New items under the linked folder land in the linked catalog's root.
  const Variant memo =
      W("AddClipping", {NewEntity("Clipping", {{"Name", "Memo"}}), Variant(link_id), c});
  const std::string memo_id = Prop(memo, "ID");
  EXPECT_EQ(memo_id.rfind("P" + catalog + "C", 0), 0u);
  EXPECT_EQ(Prop(R("FindClippingWithGUID", {Variant(Prop(memo, "GUID")), c}), "ID"), memo_id);
  EXPECT_EQ(NamesOf(R("GetClippingsWithoutCategory", {Variant(link_id), "False", c})),
            std::vector<std::string>{"Memo"});
  EXPECT_TRUE(Items(R("GetDeletedClippingsForCatalog", {Variant(link_id), "False", c})).empty());

  // One search across both catalogs, merged in the order of its folders.
  const Variant search = NewEntity("Search", {{"SearchText", "*"}});
  const auto folder_ids = GetProperty(search.AsObject(), "FolderIDs").AsObject();
  CallMember(folder_ids, "Add", {Variant(letters_)});
  CallMember(folder_ids, "Add", {Variant(link_id)});
  EXPECT_EQ(NamesOf(R("SearchForClippings", {search, c})),
            (std::vector<std::string>{"Hello", "Memo"}));

  W("AddCategory", {NewEntity("Category", {{"Name", "Topics"}}), Variant(link_id), c});
  EXPECT_EQ(NamesOf(R("GetCategoriesFromLinkedFolder", {Variant(link_id), c})),
            std::vector<std::string>{"Topics"});
  EXPECT_TRUE(R("CategoryNameExists", {"Topics", Variant(link_id), c}).ToBoolean());
  EXPECT_FALSE(R("CategoryNameExists", {"Topics", "1", c}).ToBoolean());
  EXPECT_EQ(NamesOf(R("GetCategoriesFromLinkedFolders", {R("GetLinkedFolders", {c}), c})),
            std::vector<std::string>{"Topics"});
  EXPECT_TRUE(R("HaveCategoriesChanged", {"2000-01-01", c}).ToBoolean());
  EXPECT_FALSE(R("HaveCategoriesChanged", {"2100-01-01", c}).ToBoolean());

  // Renaming the linked catalog's root renames the linking folder.
  const Variant root = R("GetFolder", {Variant(shared_root), c});
  SetProperty(root.AsObject(), "Name", Variant("Team B"));
  W("UpdateFolder", {root, c, "False"});
  EXPECT_EQ(Prop(R("GetFolder", {Variant(link_id), c}), "Name"), "Team B");

  // A catalog root's id removes nothing; the linked folder's id removes it and its record.
  W("DeleteLinkedFolder", {"1", c});
  EXPECT_EQ(Items(R("GetExternalCatalogs", {c})).size(), 1u);
  W("DeleteLinkedFolder", {Variant(link_id), c});
  EXPECT_TRUE(Items(R("GetExternalCatalogs", {c})).empty());
  EXPECT_EQ(NamesOf(R("GetLinkedFolders", {c})), std::vector<std::string>{"Personal"});
}

void ServiceCalls::ExerciseDeletes() {
  const Variant& c = connection_;
  W("DeleteClipping", {Variant(farewell_), c});
  EXPECT_EQ(NamesOf(R("GetDeletedClippingsForCatalog", {"1", "False", c})),
            std::vector<std::string>{"Farewell"});
  EXPECT_TRUE(IsNothing(R("GetClippingByName", {"Farewell", Variant(drafts_), "False", c})));

  // A permanent delete of the folder takes its deleted clipping too; history forgets it.
  W("DeleteFolder", {Variant(drafts_), c, "True"});
  EXPECT_FALSE(R("FolderNameExists", {"Drafts", Variant(letters_), c}).ToBoolean());
  EXPECT_TRUE(Items(R("GetDeletedClippingsForCatalog", {"1", "False", c})).empty());
  std::vector<std::string> history;
  for (const Variant& item : Items(R("GetClippingsHistroy", {"10", c}))) {
    history.push_back(Prop(item, "ID"));
  }
  EXPECT_EQ(history, std::vector<std::string>{greeting_});
}

void ServiceCalls::ExerciseNotImplemented() {
  const Variant& c = connection_;
  const std::pair<const char*, std::pair<const char*, std::vector<Variant>>> calls[] = {
      {kRead, {"ClippingExists", {"<Search/>", "<ConnectionDetails/>"}}},
      {kWrite, {"CanUpdateFolder", {NewEntity("Folder"), c}}},
      {kWrite, {"CanUpdateClipping", {NewEntity("Clipping"), c, "True"}}},
  };
  for (const auto& [progid, call] : calls) {
    const auto e = Fails(progid, call.first, call.second);
    EXPECT_EQ(e.number(), err::kNotYetImplemented) << call.first;
    EXPECT_EQ(e.source(), call.first);
    EXPECT_EQ(e.description(), "Not yet implemented!!");
  }
}

TEST_F(ServiceCalls, EveryMemberRunsByNameWithTextArguments) {
  ExerciseFolders();
  ExerciseClippings();
  ExerciseCategories();
  ExerciseHistory();
  ExerciseLinkedCatalog();
  ExerciseDeletes();
  ExerciseNotImplemented();
  for (const char* progid : {kRead, kWrite}) {
    for (const MemberInfo& m : TableOf(progid).members()) {
      EXPECT_EQ(called_.count(std::string(progid) + "." + m.name), 1u) << m.name << " not called";
    }
  }
}

}  // namespace
}  // namespace clipcat
