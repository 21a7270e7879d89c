#include "automation/service_objects.h"

#include <algorithm>
#include <map>
#include <set>

#include "automation/automation_test_helpers.h"
#include "automation/entity_objects.h"
#include "service/connection_handler.h"
#include "store/temp_catalog.h"

namespace clipcat {
namespace {

using test::ErrorOf;
using test::New;

const char* const kRead = "TORVEL.ClippingDataRead";
const char* const kWrite = "TORVEL.ClippingDataWrite";

const MemberTable& TableOf(const char* progid) { return test::TableOf(New(progid)); }

// "Name(a, [b=default]) -> Result": optional parameters in brackets with the value an omitted
// one receives, and what the member answers; a member that answers nothing has no arrow.
std::string Signature(const MemberInfo& m) {
  static const char* const kTypes[] = {"String", "Long",   "Integer", "Boolean",
                                       "Date",   "Double", "Variant", "Object"};
  std::string text = m.name + "(";
  for (const ParamInfo& p : m.params) {
    std::string param = p.name;
    if (p.optional) {
      const Variant& d = p.default_value;
      const bool quoted = !d.IsObject() && d.type() == Variant::Type::kString;
      param = "[" + p.name + "=" +
              (d.IsObject() ? "Nothing"
               : quoted     ? '"' + d.ToText() + '"'
                            : d.ToText()) +
              "]";
    }
    text += (text.back() == '(' ? "" : ", ") + param;
  }
  text += ")";
  if (!m.returns_value) return text;
  return text + " -> " +
         (m.result == ParamType::kObject ? m.result_object_type
                                         : kTypes[static_cast<int>(m.result)]);
}

// The names themselves, in their exact spelling, are pinned by the script below, which calls
// every member by name and checks that no member of either table was left out.
TEST(ServiceObjects, TablesHoldEveryMemberOnceUnderTheServicesProgID) {
  for (const auto& [progid, count] : {std::pair{kRead, 41u}, std::pair{kWrite, 25u}}) {
    std::set<std::string> names;
    for (const MemberInfo& m : TableOf(progid).members()) names.insert(m.name);
    EXPECT_EQ(names.size(), count);
    EXPECT_EQ(TableOf(progid).members().size(), count);
    EXPECT_EQ(TableOf(progid).source(), progid);
    EXPECT_EQ("TORVEL." + TableOf(progid).type_name(), progid);
  }
}

TEST(ServiceObjects, SignaturesKeepTheInterfacesNamesDefaultsAndResults) {
  const char* const signatures[] = {
      "GetClippingPathName(sClippingID, oDefualtConnection) -> String",
      "GetFolderPathName(sFolderId, oDefualtConnection) -> String",
      "ConnectionOK(oDefaultConnection, [sItemID=\"\"], [bItemIDIsLinkedFolder=False]) -> Boolean",
      "GetClippingsForFolderAndChildFolders(sFolderId, bGetData, oDefaultConnection) -> Clippings",
      "GetClippingByName(sName, sFolderId, bGetData, oDefaultConnection) -> Clipping",
      "GetFolders(oDefaultConnection, [bGetExternalFolders=True]) -> Folders",
      "GetFoldersForLinkedFolder(oFolder, oDefualtConnection) -> Folders",
      "GetChildFolders(sFolderId, oDefaultConnection, [bGetExternalFolders=True]) -> Folder",
      "GetChildrenFolders(sFolderId, oDefaultConnection, [bGetExternalFolders=True]) -> Folders",
      "GetClippingsFromFolder(sFolderId, oDefaultConnection, [bGetData=False], "
      "[oClippings=Nothing]) -> Clippings",
      "HaveCategoriesChanged(tDateTimeCategoriesChecked, oDefaultConnection) -> Boolean",
      "CategoryNameExists(sName, sLinkedCatalogID, oDefaultConnection) -> Boolean",
      "GetClipping(sClippingID, oDefaultConnection, [bGetData=False]) -> Clipping",
      "FindClippingWithGUID(sClippingGUID, oDefaultConnection, [bGetData=False]) -> Clipping",
      "GetFolder(sFolderId, oDefaultConnection) -> Folder",
      "SearchForClippings(oSearch, oDefaultConnection) -> Clippings",
      "GetCategory(sCategoryID, oDefaultConnection) -> Category",
      "GetCategoriesFromFolder(sFolderId, oDefaultConnection) -> Categories",
      "GetExternalCatalogs(oDefaultConnection) -> Collection",
      "GetConnectionDetails(sFolderId, oDefaultConnection) -> ConnectionDetails",
      "AddLinkedFolder(oNewConnectionDetails, sFolderName, oDefaultConnection) -> Folder",
      "AddCategory(oCategory, sFolderId, oDefaultConnection, [bCheckNameUnique=False]) -> Category",
      "CanUpdateClipping(oClipping, oDefaultConnection, [bUpdateData=False]) -> Boolean",
      "DeleteFolder(sFolderId, oDefaultConnection, [bDeletePermanently=False])",
      "UpdateClipping(oClipping, oDefaultConnection, bUpdateData, [bCheckNameUnique=False]) -> "
      "Clipping",
      "AddClippingToCategories(sClippingID, oCategories, oDefaultConnection)",
      "CanDeleteClipping(sClippingID, oDefaultConnection, [bDeletePermanently=False]) -> Boolean",
      "DeleteClipping(sClippingID, oDefaultConnection, [bDeletePermanently=False])",
      "AddFolder(oFolder, sParentFolderID, oDefaultConnection, [bCheckNameUnique=False]) -> Folder",
      "AddFolderToCategory(sFolderId, sCategoryID, oDefaultConnection) -> String",
  };
  for (const std::string signature : signatures) {
    const std::string name = signature.substr(0, signature.find('('));
    const MemberInfo* m = TableOf(kRead).Find(name, InvokeKind::kMethod);
    if (m == nullptr) m = TableOf(kWrite).Find(name, InvokeKind::kMethod);
    ASSERT_NE(m, nullptr) << name;
    EXPECT_EQ(Signature(*m), signature);
  }
  std::set<std::string> subs;
  for (const char* progid : {kRead, kWrite}) {
    for (const MemberInfo& m : TableOf(progid).members()) {
      if (!m.returns_value) subs.insert(m.name);
    }
  }
  EXPECT_EQ(subs, (std::set<std::string>{
                      "DeleteAllCategoriesFromClipping", "DeleteLinkedFolder", "DeleteCategory",
                      "AddClippingToCategory", "UpdateClippingHistory", "AddClippingToCategories",
                      "DeleteClippingFromCategory", "DeleteClipping", "DeleteFolder"}));
}

// Every parameter's declared type follows its prefix, except the two the interface declares as
// strings; optional parameters only ever follow required ones; every member takes the default
// connection under one of its two spellings.
TEST(ServiceObjects, DeclaredTypesFollowThePrefixes) {
  const std::map<char, ParamType> by_prefix = {{'s', ParamType::kString},
                                               {'b', ParamType::kBoolean},
                                               {'l', ParamType::kLong},
                                               {'t', ParamType::kDate},
                                               {'o', ParamType::kObject}};
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
        if (p.name == "oDefualtConnection") misspelt.insert(m.name);
        has_connection |= p.name == "oDefaultConnection" || p.name == "oDefualtConnection";
        EXPECT_TRUE(!seen_optional || p.optional) << p.name;
        seen_optional |= p.optional;
        const bool as_string = declared_as_string.count(m.name + "." + p.name) > 0;
        string_exceptions += as_string;
        ASSERT_EQ(by_prefix.count(p.name[0]), 1u) << p.name;
        EXPECT_EQ(p.type, as_string ? ParamType::kString : by_prefix.at(p.name[0])) << p.name;
        if (p.type == ParamType::kObject) {
          EXPECT_FALSE(p.object_type.empty()) << p.name;
          if (p.name.find("Connection") != std::string::npos) {
            EXPECT_EQ(p.object_type, "ConnectionDetails");
          }
        }
      }
      EXPECT_TRUE(has_connection);
    }
  }
  EXPECT_EQ(string_exceptions, 2);
  EXPECT_EQ(misspelt, (std::set<std::string>{"GetClippingPathName", "GetFolderPathName",
                                             "GetFoldersForLinkedFolder"}));
}

TEST(ServiceObjects, RegistrationIsIdempotentAndCreatesNewObjects) {
  RegisterClasses();
  RegisterClasses();
  const auto ids = RegisteredProgIDs();
  for (const std::string progid :
       {kRead, kWrite, "TORVEL.Folder", "TORVEL.ConnectionDetails", "TORVEL.Search"}) {
    EXPECT_EQ(std::count(ids.begin(), ids.end(), progid), 1) << progid;
  }
  EXPECT_EQ(CreateObject("torvel.clippingdataread")->TypeName(), "ClippingDataRead");
  EXPECT_EQ(CreateObject("TORVEL.CLIPPINGDATAWRITE")->TypeName(), "ClippingDataWrite");
  EXPECT_NE(CreateObject(kRead), CreateObject(kRead));
}

// Late-binding errors name the service's ProgID and are raised before the service runs.
TEST(ServiceObjects, WrongCallsRaiseTheLateBindingErrors) {
  for (const char* progid : {kRead, kWrite}) {
    const auto object = New(progid);
    for (const MemberInfo& m : TableOf(progid).members()) {
      ASSERT_GT(m.RequiredCount(), 0u) << m.name;
      for (size_t count : {m.RequiredCount() - 1, m.params.size() + 1}) {
        const auto e =
            ErrorOf([&] { CallMember(object, m.name, std::vector(count, Variant("1"))); });
        EXPECT_EQ(e.number(), err::kBadParamCount) << m.name << " with " << count;
        EXPECT_EQ(e.source(), progid);
        EXPECT_EQ(e.description(), "Invalid number of parameters.");
      }
    }
    const auto unknown = ErrorOf([&] { CallMember(object, "GetFolderz", {}); });
    EXPECT_EQ(unknown.number(), err::kUnknownName);
    EXPECT_EQ(unknown.source(), progid);
    EXPECT_EQ(unknown.description(), "Unknown name.");
  }
  // Text that is no number, and an object of the wrong class for the connection.
  const Variant folder = New("Folder");
  for (const auto& args : {std::vector<Variant>{"ten", folder}, std::vector<Variant>{"10", folder},
                           std::vector<Variant>{"10", "connection"}}) {
    const auto e = ErrorOf([&] { CallMember(New(kRead), "GetClippingsHistroy", args); });
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

// One step of a script that drives both services by name on file catalogs. `call` is "R.Member"
// or "W.Member", or one of the script's own: "let" answers its argument, "set" sets a property
// (object, name, value), "call" calls a member of an object (object, name, arguments...).
// Arguments: "$c" the personal catalog's connection, "$v" and "$v.P" a saved result and its
// property, "new Class P=x;Q=y" a new entity; any other text goes as text, every "{v.P}" in it
// replaced by that property's text. `expect` is what the result must show: "=text" its text,
// ".P=text" a property, "[a,b]" the names of a list's items ("[P:a,b]" another property, "~[..]"
// in any order), "#n" the number of items, "nothing", "^text" the start of its text, or
// "!number|source|description" (or the first parts of it) the error the call raises.
struct Step {
  std::string call;
  std::vector<std::string> args;
  std::string expect = "";
  std::string save = "";  // the name the result is kept under, when not empty
};

class ServiceCalls : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"Personal", "Shared"}) {
      CreateCatalog(dir_.File(std::string(name) + ".db"), name);
      const auto details = New("ConnectionDetails");
      SetProperty(details, "DataSourceType", Variant("1"));
      SetProperty(
          details, "ConnectionString",
          "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + dir_.File(std::string(name) + ".db"));
      vars_[name[0] == 'P' ? "c" : "shared"] = details;
    }
    read_ = New(kRead);
    write_ = New(kWrite);
  }

  // "v" or "v.P": a saved result or one of its properties.
  Variant Value(const std::string& path) {
    const size_t dot = path.find('.');
    const Variant& saved = vars_.at(path.substr(0, dot));
    return dot == std::string::npos ? saved : GetProperty(saved.AsObject(), path.substr(dot + 1));
  }

  std::string Expand(std::string text) {
    for (size_t open; (open = text.find('{')) != std::string::npos;) {
      const size_t close = text.find('}', open);
      text.replace(open, close - open + 1, Value(text.substr(open + 1, close - open - 1)).ToText());
    }
    return text;
  }

  Variant Arg(const std::string& text) {
    if (text[0] == '$') return Value(text.substr(1));
    if (text.rfind("new ", 0) != 0) return Variant(Expand(text));
    const size_t space = text.find(' ', 4);
    const auto object = New(text.substr(4, space - 4));
    for (size_t at = space; at != std::string::npos;) {
      const size_t end = text.find(';', at + 1);
      const std::string pair = text.substr(at + 1, end - at - 1);
      SetProperty(object, pair.substr(0, pair.find('=')),
                  Variant(Expand(pair.substr(pair.find('=') + 1))));
      at = end;
    }
    return Variant(object);
  }

  Variant Run(const Step& step) {
    std::vector<Variant> args;
    for (const std::string& arg : step.args) args.push_back(Arg(arg));
    if (step.call == "let") return args[0];
    if (step.call == "set") {
      SetProperty(args[0].AsObject(), step.args[1], args[2]);
      return {};
    }
    if (step.call == "call") {
      return CallMember(args[0].AsObject(), step.args[1], {args.begin() + 2, args.end()});
    }
    called_.insert(step.call);
    return CallMember(step.call[0] == 'R' ? read_ : write_, step.call.substr(2), args);
  }

  // The items of an entity list (Folders, Clippings, Categories) or of a plain Collection.
  static std::vector<Variant> Items(const Variant& list) {
    auto items = list.AsObject();
    if (items->TypeName() != kCollectionClassName) {
      items = GetProperty(items, items->TypeName()).AsObject();
    }
    std::vector<Variant> out;
    for (int32_t i = 1; i <= GetProperty(items, "Count").ToLong(); ++i) {
      out.push_back(CallMember(items, "Item", {Variant(i)}));
    }
    return out;
  }

  // What the step's result shows, in the form of its `expect`.
  std::string Outcome(const Step& step, const std::string& expect) {
    Variant result;
    const AutomationError e = ErrorOf([&] { result = Run(step); });
    if (e.number() != 0) {
      const std::string error =
          "!" + std::to_string(e.number()) + "|" + e.source() + "|" + e.description();
      return expect[0] == '!' ? error.substr(0, expect.size()) : error;
    }
    if (!step.save.empty()) vars_[step.save] = result;
    if (!expect.empty() && expect[0] == '!') return "no error";
    if (expect.empty() || expect[0] == '=') return expect.empty() ? "" : "=" + result.ToText();
    if (expect[0] == '^') return ("^" + result.ToText()).substr(0, expect.size());
    if (expect == "nothing") return result.IsObject() && !result.AsObject() ? "nothing" : "object";
    if (expect[0] == '.') {
      const std::string property = expect.substr(1, expect.find('=') - 1);
      return "." + property + "=" + GetProperty(result.AsObject(), property).ToText();
    }
    const std::vector<Variant> items = Items(result);
    if (expect[0] == '#') return "#" + std::to_string(items.size());
    const size_t open = expect.find('[');
    const size_t colon = expect.find(':');
    const std::string property =
        colon == std::string::npos ? "Name" : expect.substr(open + 1, colon - open - 1);
    std::vector<std::string> values;
    for (const Variant& item : items)
      values.push_back(GetProperty(item.AsObject(), property).ToText());
    if (expect[0] == '~') std::sort(values.begin(), values.end());
    std::string shown = expect.substr(0, colon == std::string::npos ? open + 1 : colon + 1);
    for (const std::string& value : values) shown += value + ",";
    if (!values.empty()) shown.pop_back();
    return shown + "]";
  }

  testing::TempDir dir_;
  std::map<std::string, Variant> vars_;
  std::shared_ptr<Dispatch> read_;
  std::shared_ptr<Dispatch> write_;
  std::set<std::string> called_;
};

std::string Raises(int32_t number, const std::string& rest = "") {
  return "!" + std::to_string(number) + (rest.empty() ? "" : "|" + rest);
}

TEST_F(ServiceCalls, EveryMemberRunsByNameWithTextArguments) {
  const std::string nyi = "|Not yet implemented!!";
  const Step steps[] = {
      // Folders: "Letters" under the root, later renamed "Mail", with "Drafts" under it.
      {"R.ConnectionOK", {"$c"}, "=True"},
      {"R.GetPersonalCatalogRootFolder", {"$c"}, ".ID=1", "root"},
      {"let", {"$root.Name"}, "=Personal"},
      {"W.AddFolder", {"new Folder Name=Letters", "1", "$c"}, ".ParentID=1", "letters"},
      {"R.GetFolder", {"{letters.ID}", "$c"}, ".Name=Letters"},
      {"W.AddFolder", {"new Folder Name=Drafts", "{letters.ID}", "$c", "True"}, "", "drafts"},
      {"W.AddFolder",
       {"new Folder Name=Letters", "1", "$c", "True"},
       Raises(err::kFolderNameNotUnique)},
      {"R.GetChildrenFolders", {"1", "$c"}, "[Letters]"},
      {"W.CanAddFolder", {"new Folder Name=Trial", "1", "$c"}, "=True"},
      {"R.FolderNameExists", {"Trial", "1", "$c"}, "=False"},
      {"R.FolderNameExists", {"Letters", "1", "$c"}, "=True"},
      {"R.GetFolderByName", {"Drafts", "{letters.ID}", "$c"}, ".ID={drafts.ID}"},
      {"R.GetFolderByName", {"Drafts", "1", "$c"}, "nothing"},
      {"R.GetFolder", {"{letters.ID}", "$c"}, "", "renamed"},
      {"set", {"$renamed", "Name", "Mail"}},
      {"W.UpdateFolder", {"$renamed", "$c"}, ".Name=Mail"},
      {"R.GetFolder", {"{letters.ID}", "$c"}, ".Name=Mail"},
      {"R.GetFolderPathName", {"{drafts.ID}", "$c"}, "=Personal\\Mail\\Drafts"},
      {"R.GetChildFolders", {"{letters.ID}", "$c"}, ".ID={letters.ID}", "tree"},
      {"let", {"$tree.ChildFolders"}, "[Drafts]"},
      {"R.GetChildrenFolders", {"{letters.ID}", "$c", "False"}, "[Drafts]"},
      {"W.CanDeleteFolder", {"{letters.ID}", "$c", "True"}, "=True"},
      {"R.GetFolder", {"{drafts.ID}", "$c"}, ".Name=Drafts"},
      {"R.HaveFoldersChanged", {"2000-01-01 00:00:00", "$c"}, "=True"},
      {"R.HaveFoldersChanged", {"1 Jan 2100", "$c"}, "=False"},
      {"R.CatalogsConnectionOK", {"1", "$c"}, "=True"},
      {"R.GetCatalogsRootFolder", {"{drafts.ID}", "$c"}, ".ID=1"},
      {"R.IsLinkedFolder", {"1", "$c"}, "=True"},
      {"R.IsLinkedFolder", {"{letters.ID}", "$c"}, "=False"},
      {"R.InSameCatalog", {"12", "P3C12", "$c"}, "=False"},
      {"R.InSameCatalog", {"P3C1", "P3C9", "$c"}, "=True"},
      {"R.GetFolder",
       {"999", "$c"},
       Raises(err::kObjectVariableNotSet)},  // an error, not nothing
                                             // Clippings: "Greeting" in Mail, later renamed
                                             // "Hello", with one data item; "Farewell" in Drafts.
      {"let", {"new Clipping Name=Greeting;Description=hi"}, "", "new"},
      {"call",
       {"$new.ClippingData", "Add", "new ClippingData RawData=Dear friend;ClippingDataType=2"}},
      {"W.CanAddClipping", {"$new", "{letters.ID}", "$c"}, "=True"},
      {"R.ClippingNameExists", {"Greeting", "{letters.ID}", "$c"}, "=False"},
      {"W.AddClipping", {"$new", "{letters.ID}", "$c"}, "", "greeting"},
      {"W.AddClipping",
       {"new Clipping Name=Farewell", "{drafts.ID}", "$c", "False"},
       "",
       "farewell"},
      {"R.ClippingNameExists", {"Greeting", "{letters.ID}", "$c"}, "=True"},
      {"R.GetClipping", {"{greeting.ID}", "$c"}, ".Name=Greeting", "plain"},
      {"let", {"$plain.ClippingData"}, "#0"},  // bGetData left out reads no data
      {"R.GetClipping", {"{greeting.ID}", "$c", "True"}, "", "full"},
      {"let", {"$full.ClippingData"}, "[RawData:Dear friend]"},
      {"R.GetClippingByName", {"Greeting", "{letters.ID}", "False", "$c"}, ".GUID={plain.GUID}"},
      {"R.GetClippingPathName", {"{greeting.ID}", "$c"}, "=Personal\\Mail"},
      {"set", {"$plain", "Name", "Hello"}},
      {"W.UpdateClipping", {"$plain", "$c", "False"}, ".Name=Hello"},
      {"R.GetClipping", {"{greeting.ID}", "$c", "True"}, "", "full"},
      {"let", {"$full.ClippingData"}, "#1"},  // the update kept the data it was not asked to write
      // A new list is answered; the one passed in is left alone.
      {"let", {"new Clippings"}, "", "given"},
      {"R.GetClippingsFromFolder", {"{letters.ID}", "$c", "True", "$given"}, "[Hello]"},
      {"let", {"$given"}, "#0"},
      {"R.GetClippingsFromFolder", {"{drafts.ID}", "$c"}, "[Farewell]"},
      {"R.GetClippingsForFolderAndChildFolders",
       {"{letters.ID}", "False", "$c"},
       "~[Farewell,Hello]"},
      {"R.FindClippings", {"new Search SearchText=Hel", "$c"}, "[Hello]"},
      {"W.CanDeleteClipping", {"{greeting.ID}", "$c", "True"}, "=True"},
      {"R.GetClipping", {"{greeting.ID}", "$c"}, ".Name=Hello"},
      // Categories: "Work", renamed "Office".
      {"W.AddCategory", {"new Category Name=Work", "1", "$c"}, "", "work"},
      {"W.AddCategory",
       {"new Category Name=Work", "1", "$c", "True"},
       Raises(err::kCategoryNameNotUnique)},
      {"R.CategoryNameExists", {"Work", "1", "$c"}, "=True"},
      {"set", {"$work", "Name", "Office"}},
      {"W.UpdateCategory", {"$work", "$c"}, ".Name=Office"},
      {"R.GetCategory", {"{work.ID}", "$c"}, ".Name=Office", "office"},
      {"R.GetCategoriesFromFolder", {"1", "$c"}, "[Office]"},
      // The store refuses its own by-name query on these catalogs; the error passes through.
      {"R.GetCategoryByName", {"Office", "1", "$c"}, Raises(err::kDatabaseError, "SQLite")},
      {"W.AddClippingToCategory", {"{greeting.ID}", "{work.ID}", "$c"}},
      {"R.GetCategoriesNamesForClipping", {"{greeting.ID}", "$c"}, "=Office"},
      {"R.GetCategoriesForClipping", {"{greeting.ID}", "$c"}, "[Office]"},
      {"R.GetClippingsFromCategory", {"{work.ID}", "False", "$c"}, "[Hello]"},
      {"R.GetClippingsWithoutCategory", {"1", "False", "$c"}, "[Farewell]"},
      {"W.DeleteClippingFromCategory", {"{greeting.ID}", "{work.ID}", "$c"}},
      {"R.GetCategoriesNamesForClipping", {"{greeting.ID}", "$c"}, "="},
      {"let", {"new Categories"}, "", "list"},
      {"call", {"$list", "AddCategory", "$office"}},
      {"W.AddClippingToCategories", {"{greeting.ID}", "$list", "$c"}},
      {"R.GetCategoriesNamesForClipping", {"{greeting.ID}", "$c"}, "=Office"},
      {"W.DeleteAllCategoriesFromClipping", {"{greeting.ID}", "$c"}},
      {"R.GetCategoriesNamesForClipping", {"{greeting.ID}", "$c"}, "="},
      // A folder's category reaches the clippings of its whole subtree.
      {"W.AddFolderToCategory", {"{letters.ID}", "{work.ID}", "$c"}, "="},
      {"R.GetCategoriesNamesForClipping", {"{farewell.ID}", "$c"}, "=Office"},
      {"R.GetCategoriesNamesForClipping", {"{greeting.ID}", "$c"}, "=Office"},
      {"W.DeleteAllCategoriesFromFolder", {"{letters.ID}", "$c"}, "="},
      {"R.GetCategoriesNamesForClipping", {"{farewell.ID}", "$c"}, "="},
      {"W.DeleteCategory", {"{work.ID}", "$c"}},
      {"R.GetCategory", {"{work.ID}", "$c"}, "nothing"},
      // History.
      {"W.UpdateClippingHistory", {"$plain", "$c"}},
      {"W.UpdateClippingHistory", {"$farewell", "$c"}},
      {"R.GetClippingsHistroy", {"10", "$c"}, "~[Farewell,Hello]"},
      {"R.GetClippingsHistroy", {"1", "$c"}, "#1"},
      // The shared catalog linked as "Team"; its root is P<catalog>C1.
      {"W.AddLinkedFolder", {"$shared", "Team", "$c"}, "", "link"},
      {"let", {"P{link.ExternalCatalogID}C1"}, "", "shared_root"},
      {"R.IsLinkedFolder", {"{link.ID}", "$c"}, "=True"},
      {"R.ConnectionOK", {"$c", "{link.ID}", "True"}, "=True"},
      {"R.CatalogsConnectionOK", {"{shared_root}", "$c"}, "=True"},
      {"R.GetExternalCatalogs", {"$c"}, "[ID:{link.ExternalCatalogID}]"},
      {"R.GetConnectionDetails",
       {"{link.ID}", "$c"},
       ".ConnectionString={shared.ConnectionString}"},
      // The linked catalog's root shows under the linking folder's name.
      {"R.GetCatalogsRootFolder", {"{shared_root}", "$c"}, ".Name=Shared"},
      {"R.GetFolder", {"{shared_root}", "$c"}, ".Name=Team"},
      {"R.GetLinkedFolders", {"$c"}, "[Personal,Team]"},
      {"R.GetFoldersForLinkedFolder", {"$link", "$c"}, "[ID:{shared_root}]"},
      {"W.AddDefaultFolderToLinkedCatalog", {"$link", "Inbox", "$c"}, "", "inbox"},
      {"let", {"{inbox.ID}"}, "^P{link.ExternalCatalogID}C"},
      {"R.GetFolderPathName", {"{inbox.ID}", "$c"}, "=Shared\\Inbox"},
      {"R.GetFolders", {"$c"}, "[Personal,Team]"},
      {"R.GetFolders", {"$c", "False"}, "[Personal]"},
      // New items under the linked folder land in the linked catalog's root.
      {"W.AddClipping", {"new Clipping Name=Memo", "{link.ID}", "$c"}, "", "memo"},
      {"let", {"{memo.ID}"}, "^P{link.ExternalCatalogID}C"},
      {"R.FindClippingWithGUID", {"{memo.GUID}", "$c"}, ".ID={memo.ID}"},
      {"R.GetClippingsWithoutCategory", {"{link.ID}", "False", "$c"}, "[Memo]"},
      {"R.GetDeletedClippingsForCatalog", {"{link.ID}", "False", "$c"}, "#0"},
      // One search across both catalogs, merged in the order of its folders.
      {"let", {"new Search SearchText=*"}, "", "search"},
      {"call", {"$search.FolderIDs", "Add", "{letters.ID}"}},
      {"call", {"$search.FolderIDs", "Add", "{link.ID}"}},
      {"R.SearchForClippings", {"$search", "$c"}, "[Hello,Memo]"},
      {"W.AddCategory", {"new Category Name=Topics", "{link.ID}", "$c"}},
      {"R.GetCategoriesFromLinkedFolder", {"{link.ID}", "$c"}, "[Topics]"},
      {"R.CategoryNameExists", {"Topics", "{link.ID}", "$c"}, "=True"},
      {"R.CategoryNameExists", {"Topics", "1", "$c"}, "=False"},
      {"R.GetLinkedFolders", {"$c"}, "", "linked"},
      {"R.GetCategoriesFromLinkedFolders", {"$linked", "$c"}, "[Topics]"},
      {"R.HaveCategoriesChanged", {"2000-01-01", "$c"}, "=True"},
      {"R.HaveCategoriesChanged", {"2100-01-01", "$c"}, "=False"},
      // Renaming the linked catalog's root renames the linking folder.
      {"R.GetFolder", {"{shared_root}", "$c"}, "", "team"},
      {"set", {"$team", "Name", "Team B"}},
      {"W.UpdateFolder", {"$team", "$c", "False"}},
      {"R.GetFolder", {"{link.ID}", "$c"}, ".Name=Team B"},
      // A catalog root's id removes nothing; the linked folder's id removes it and its
      // record.
      {"W.DeleteLinkedFolder", {"1", "$c"}},
      {"R.GetExternalCatalogs", {"$c"}, "#1"},
      {"W.DeleteLinkedFolder", {"{link.ID}", "$c"}},
      {"R.GetExternalCatalogs", {"$c"}, "#0"},
      {"R.GetLinkedFolders", {"$c"}, "[Personal]"},
      // Deletes: a permanent delete of a folder takes its deleted clipping; history forgets
      // it.
      {"W.DeleteClipping", {"{farewell.ID}", "$c"}},
      {"R.GetDeletedClippingsForCatalog", {"1", "False", "$c"}, "[Farewell]"},
      {"R.GetClippingByName", {"Farewell", "{drafts.ID}", "False", "$c"}, "nothing"},
      {"W.DeleteFolder", {"{drafts.ID}", "$c", "True"}},
      {"R.FolderNameExists", {"Drafts", "{letters.ID}", "$c"}, "=False"},
      {"R.GetDeletedClippingsForCatalog", {"1", "False", "$c"}, "#0"},
      {"R.GetClippingsHistroy", {"10", "$c"}, "[ID:{greeting.ID}]"},
      // Members not written yet say so, naming themselves.
      {"R.ClippingExists",
       {"<Search/>", "<ConnectionDetails/>"},
       Raises(err::kNotYetImplemented, "ClippingExists" + nyi)},
      {"W.CanUpdateFolder",
       {"new Folder", "$c"},
       Raises(err::kNotYetImplemented, "CanUpdateFolder" + nyi)},
      {"W.CanUpdateClipping",
       {"new Clipping", "$c", "True"},
       Raises(err::kNotYetImplemented, "CanUpdateClipping" + nyi)},
  };
  for (const Step& step : steps) {
    const std::string expect = Expand(step.expect);
    EXPECT_EQ(Outcome(step, expect), expect) << step.call << " step " << (&step - steps);
  }
  for (const char* progid : {kRead, kWrite}) {
    for (const MemberInfo& m : TableOf(progid).members()) {
      EXPECT_EQ(called_.count((progid == kRead ? "R." : "W.") + m.name), 1u) << m.name;
    }
  }
}

}  // namespace
}  // namespace clipcat
