#include "automation/service_objects.h"

#include <map>
#include <set>

#include "automation/automation_test_helpers.h"
#include "automation/entity_objects.h"
#include "engine/connection_string.h"
#include "store/catalog_schema.h"
#include "util/temp_dir.h"

namespace clipcat {
namespace {

using test::ErrorOf;
using test::New;
using test::RaisedNumber;

const char* const kRead = "TORVEL.ClippingDataRead";
const char* const kWrite = "TORVEL.ClippingDataWrite";

const MemberTable& TableOf(const char* progid) { return test::TableOf(New(progid)); }

// Every member once, under the service's ProgID, with parameter types by prefix (but for two the
// interface declares as text) so that arguments convert as clients expect.
TEST(ServiceObjects, TablesHoldEveryMemberOnceWithTypesByPrefix) {
  const std::map<char, ParamType> by_prefix = {{'s', ParamType::kString},
                                               {'b', ParamType::kBoolean},
                                               {'l', ParamType::kLong},
                                               {'t', ParamType::kDate},
                                               {'o', ParamType::kObject}};
  const std::set<std::string> declared_as_string = {
      "ClippingExists.oDefaultConnection", "GetClippingsForFolderAndChildFolders.bGetData"};
  for (const auto& [progid, count] : {std::pair{kRead, 43u}, std::pair{kWrite, 29u}}) {
    std::set<std::string> names;
    for (const MemberInfo& m : TableOf(progid).members()) {
      names.insert(m.name);
      EXPECT_EQ(m.kind, InvokeKind::kMethod) << m.name;
      for (const ParamInfo& p : m.params) {
        const bool as_string = declared_as_string.count(m.name + "." + p.name) > 0;
        EXPECT_EQ(p.type, as_string ? ParamType::kString : by_prefix.at(p.name[0]))
            << m.name << "." << p.name;
      }
    }
    EXPECT_EQ(names.size(), count);
    EXPECT_EQ(TableOf(progid).members().size(), count);
    EXPECT_EQ(TableOf(progid).source(), progid);
  }
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
  for (const auto& args : {std::vector<Variant>{"ten", New("ConnectionDetails")},
                           std::vector<Variant>{"10", New("Folder")}}) {
    const auto e = ErrorOf([&] { CallMember(New(kRead), "GetClippingsHistroy", args); });
    EXPECT_EQ(e.number(), err::kArgumentTypeMismatch);
    EXPECT_EQ(e.source(), kRead);
  }
}

// Calls every member of both services by name, with text for every value argument. What each
// member does is the services' own tests' business: each call checks only what a wrongly bound
// member or a badly converted argument would change.
class ServiceCalls : public ::testing::Test {
 protected:
  void SetUp() override {
    c_ = Catalog("Personal");
    shared_ = Catalog("Shared");
  }

  // Connection details of a new file catalog whose root folder is `name`.
  Variant Catalog(const std::string& name) {
    CreateCatalog(dir_.File(name + ".db"), name);
    return Make("ConnectionDetails",
                {{"DataSourceType", "1"},
                 {"ConnectionString", FileCatalogConnectionString(dir_.File(name + ".db"))}});
  }

  // A new entity of class `name` with the given properties set by name.
  static Variant Make(const std::string& name,
                      const std::vector<std::pair<std::string, std::string>>& properties = {}) {
    const auto object = New(name);
    for (const auto& [property, value] : properties) SetProperty(object, property, value);
    return Variant(object);
  }

  // "R.Member" of the read service or "W.Member" of the write service.
  Variant Call(const std::string& member, std::vector<Variant> args) {
    called_.insert(member);
    return CallMember(member[0] == 'R' ? read_ : write_, member.substr(2), std::move(args));
  }

  static std::string Get(const Variant& object, const char* property) {
    return GetProperty(object.AsObject(), property).ToText();
  }

  // `property` of each item of an entity list or a plain Collection, joined by ",".
  static std::string List(const Variant& list, const char* property = "Name") {
    auto items = list.AsObject();
    if (items->TypeName() != kCollectionClassName) {
      items = GetProperty(items, items->TypeName()).AsObject();
    }
    std::string out;
    for (int32_t i = 1; i <= GetProperty(items, "Count").ToLong(); ++i) {
      out += (i > 1 ? "," : "") + Get(CallMember(items, "Item", {Variant(i)}), property);
    }
    return out;
  }

  testing::TempDir dir_;
  Variant c_, shared_;
  std::shared_ptr<Dispatch> read_ = New(kRead);
  std::shared_ptr<Dispatch> write_ = New(kWrite);
  std::set<std::string> called_;
};

TEST_F(ServiceCalls, EveryMemberRunsByNameWithTextArguments) {
  const Variant c = c_;
  // Folders: "Letters" under the root, renamed "Mail", with "Drafts" under it.
  EXPECT_EQ(Get(Call("R.GetPersonalCatalogRootFolder", {c}), "ID"), "1");
  const Variant letters_folder =
      Call("W.AddFolder", {Make("Folder", {{"Name", "Letters"}}), "1", c});
  EXPECT_EQ(Get(letters_folder, "ParentID"), "1");
  const std::string letters = Get(letters_folder, "ID");
  const std::string drafts =
      Get(Call("W.AddFolder", {Make("Folder", {{"Name", "Drafts"}}), letters, c, "True"}), "ID");
  const AutomationError duplicate = ErrorOf([&] {
    Call("W.AddFolder", {Make("Folder", {{"Name", "Letters"}}), "1", c, "True"});
  });
  EXPECT_EQ(duplicate.number(), err::kFolderNameNotUnique);
  EXPECT_FALSE(duplicate.source().empty() || duplicate.description().empty());
  EXPECT_EQ(Call("W.CanAddFolder", {Make("Folder", {{"Name", "Trial"}}), "1", c}), Variant(true));
  EXPECT_EQ(Call("R.FolderNameExists", {"Letters", "1", c}), Variant(true));
  EXPECT_EQ(Get(Call("R.GetFolderByName", {"Drafts", letters, c}), "ID"), drafts);
  const Variant renamed = Call("R.GetFolder", {letters, c});
  SetProperty(renamed.AsObject(), "Name", "Mail");
  EXPECT_EQ(Get(Call("W.UpdateFolder", {renamed, c}), "Name"), "Mail");
  EXPECT_EQ(Call("R.GetFolderPathName", {drafts, c}), Variant("Personal\\Mail\\Drafts"));
  const Variant tree = Call("R.GetChildFolders", {letters, c});
  EXPECT_EQ(Get(tree, "ID") + ":" + List(GetProperty(tree.AsObject(), "ChildFolders")),
            letters + ":Drafts");
  EXPECT_EQ(List(Call("R.GetChildrenFolders", {letters, c, "False"})), "Drafts");
  EXPECT_EQ(Call("W.CanDeleteFolder", {letters, c, "True"}), Variant(true));
  EXPECT_EQ(Call("R.HaveFoldersChanged", {"2000-01-01 00:00:00", c}), Variant(true));
  EXPECT_EQ(Call("R.IsLinkedFolder", {letters, c}), Variant(false));
  EXPECT_EQ(Call("R.InSameCatalog", {"12", "P3C12", c}), Variant(false));
  EXPECT_EQ(RaisedNumber([&] { Call("R.GetFolder", {"999", c}); }), err::kObjectVariableNotSet);

  // Clippings: "Greeting" in Mail with one data item, renamed "Hello"; "Farewell" in Drafts.
  const Variant fresh = Make("Clipping", {{"Name", "Greeting"}});
  CallMember(GetProperty(fresh.AsObject(), "ClippingData").AsObject(), "Add",
             {Make("ClippingData", {{"RawData", "Dear friend"}, {"ClippingDataType", "2"}})});
  EXPECT_EQ(Call("W.CanAddClipping", {fresh, letters, c}), Variant(true));
  const std::string greeting = Get(Call("W.AddClipping", {fresh, letters, c}), "ID");
  const std::string bye = Get(
      Call("W.AddClipping", {Make("Clipping", {{"Name", "Farewell"}}), drafts, c, "False"}), "ID");
  EXPECT_EQ(Call("R.ClippingNameExists", {"Greeting", letters, c}), Variant(true));
  const Variant plain = Call("R.GetClipping", {greeting, c});
  EXPECT_EQ(List(GetProperty(plain.AsObject(), "ClippingData")), "");  // bGetData left out
  EXPECT_EQ(Get(Call("R.GetClippingByName", {"Greeting", letters, "False", c}), "GUID"),
            Get(plain, "GUID"));
  EXPECT_EQ(Call("R.GetClippingPathName", {greeting, c}), Variant("Personal\\Mail"));
  SetProperty(plain.AsObject(), "Name", "Hello");
  EXPECT_EQ(Get(Call("W.UpdateClipping", {plain, c, "False"}), "Name"), "Hello");
  EXPECT_EQ(List(Call("R.GetClippingsFromFolder", {letters, c, "True", Make("Clippings")})),
            "Hello");
  EXPECT_EQ(List(Call("R.GetClippingsForFolderAndChildFolders", {letters, "False", c})),
            "Hello,Farewell");
  EXPECT_EQ(List(Call("R.FindClippings", {Make("Search", {{"SearchText", "Hel"}}), c})), "Hello");
  // Words: all of them, in names and content, best first; narrowed by folder and data type.
  EXPECT_EQ(List(Call("R.SearchContent", {"HELLO", "10", c})), "Hello");
  EXPECT_EQ(List(Call("R.SearchContent", {"hello OR farewell", "10", c})).size(),
            std::string("Hello,Farewell").size());
  EXPECT_EQ(List(Call("R.SearchContent", {"hello OR farewell", "10", c, drafts})), "Farewell");
  EXPECT_EQ(List(Call("R.SearchContent", {"hello OR farewell", "1", c, "", "", "7"})), "");
  EXPECT_EQ(ErrorOf([&] {
              Call("R.SearchContent", {"-hello", "10", c});
            }).number(),
            err::kInvalidProcedureCall);
  EXPECT_EQ(Get(Call("R.FindClippingWithGUID", {Get(plain, "GUID"), c}), "ID"), greeting);
  const Variant search = Make("Search", {{"SearchText", "*"}});
  CallMember(GetProperty(search.AsObject(), "FolderIDs").AsObject(), "Add", {letters});
  EXPECT_EQ(List(Call("R.SearchForClippings", {search, c})), "Hello");
  EXPECT_EQ(Call("W.CanDeleteClipping", {greeting, c, "True"}), Variant(true));

  // Categories: "Work", renamed "Office".
  const Variant work = Call("W.AddCategory", {Make("Category", {{"Name", "Work"}}), "1", c});
  const std::string office = Get(work, "ID");
  EXPECT_EQ(Call("R.CategoryNameExists", {"Work", "1", c}), Variant(true));
  SetProperty(work.AsObject(), "Name", "Office");
  EXPECT_EQ(Get(Call("W.UpdateCategory", {work, c}), "Name"), "Office");
  EXPECT_EQ(Get(Call("R.GetCategory", {office, c}), "Name"), "Office");
  EXPECT_EQ(List(Call("R.GetCategoriesFromFolder", {"1", c})), "Office");
  // The store refuses its own by-name query on these catalogs; the error passes through.
  const AutomationError by_name = ErrorOf([&] { Call("R.GetCategoryByName", {"Office", "1", c}); });
  EXPECT_EQ(by_name.number(), err::kDatabaseError);
  EXPECT_EQ(by_name.source(), "SQLite");
  const auto names = [&](const std::string& id) {
    return Call("R.GetCategoriesNamesForClipping", {id, c}).ToText();
  };
  Call("W.AddClippingToCategory", {greeting, office, c});
  EXPECT_EQ(names(greeting), "Office");
  EXPECT_EQ(List(Call("R.GetCategoriesForClipping", {greeting, c})), "Office");
  EXPECT_EQ(List(Call("R.GetClippingsFromCategory", {office, "False", c})), "Hello");
  EXPECT_EQ(List(Call("R.GetClippingsWithoutCategory", {"1", "False", c})), "Farewell");
  Call("W.DeleteClippingFromCategory", {greeting, office, c});
  EXPECT_EQ(names(greeting), "");
  const Variant list = Make("Categories");
  CallMember(list.AsObject(), "AddCategory", {work});
  Call("W.AddClippingToCategories", {greeting, list, c});
  EXPECT_EQ(names(greeting), "Office");
  Call("W.DeleteAllCategoriesFromClipping", {greeting, c});
  EXPECT_EQ(names(greeting), "");
  EXPECT_EQ(Call("W.AddFolderToCategory", {letters, office, c}), Variant(""));
  EXPECT_EQ(names(bye), "Office");
  EXPECT_EQ(Call("W.DeleteAllCategoriesFromFolder", {letters, c}), Variant(""));
  EXPECT_EQ(names(bye), "");
  Call("W.DeleteCategory", {office, c});
  EXPECT_EQ(Call("R.GetCategory", {office, c}).AsObject(), nullptr);
  Call("W.UpdateClippingHistory", {plain, c});
  EXPECT_EQ(List(Call("R.GetClippingsHistroy", {"10", c})), "Hello");

  // The shared catalog linked as "Team"; its root is P<catalog>C1.
  const Variant link = Call("W.AddLinkedFolder", {shared_, "Team", c});
  const std::string link_id = Get(link, "ID");
  const std::string catalog = Get(link, "ExternalCatalogID");
  const std::string root = "P" + catalog + "C1";
  EXPECT_EQ(Call("R.IsLinkedFolder", {link_id, c}), Variant(true));
  EXPECT_EQ(Call("R.ConnectionOK", {c, link_id, "True"}), Variant(true));
  EXPECT_EQ(Call("R.CatalogsConnectionOK", {root, c}), Variant(true));
  EXPECT_EQ(List(Call("R.GetExternalCatalogs", {c}), "ID"), catalog);
  EXPECT_EQ(Get(Call("R.GetConnectionDetails", {link_id, c}), "ConnectionString"),
            Get(shared_, "ConnectionString"));
  EXPECT_EQ(Get(Call("R.GetCatalogsRootFolder", {root, c}), "Name"), "Shared");
  EXPECT_EQ(List(Call("R.GetFolders", {c})), "Personal,Team");
  const Variant linked = Call("R.GetLinkedFolders", {c});
  EXPECT_EQ(List(Call("R.GetFoldersForLinkedFolder", {link, c}), "ID"), root);
  EXPECT_EQ(Get(Call("W.AddDefaultFolderToLinkedCatalog", {link, "Inbox", c}), "ParentID"), root);
  Call("W.AddCategory", {Make("Category", {{"Name", "Topics"}}), link_id, c});
  EXPECT_EQ(List(Call("R.GetCategoriesFromLinkedFolder", {link_id, c})), "Topics");
  EXPECT_EQ(List(Call("R.GetCategoriesFromLinkedFolders", {linked, c})), "Topics");
  EXPECT_EQ(Call("R.HaveCategoriesChanged", {"2100-01-01", c}), Variant(false));
  Call("W.DeleteLinkedFolder", {link_id, c});
  EXPECT_EQ(List(Call("R.GetExternalCatalogs", {c}), "ID"), "");

  // Deletes: a permanent delete of a folder takes its deleted clipping along.
  Call("W.DeleteClipping", {bye, c});
  EXPECT_EQ(List(Call("R.GetDeletedClippingsForCatalog", {"1", "False", c})), "Farewell");
  Call("W.DeleteFolder", {drafts, c, "True"});
  EXPECT_EQ(List(Call("R.GetDeletedClippingsForCatalog", {"1", "False", c})), "");

  // Versions: the rename kept "Greeting" as version 1; a revert to it keeps "Hello" as version 2.
  EXPECT_EQ(Get(Call("R.GetClippingVersion", {greeting, "1", c}), "Name"), "Greeting");
  EXPECT_EQ(Call("R.GetClippingVersion", {greeting, "9", c}).AsObject(), nullptr);
  EXPECT_EQ(Get(Call("W.RevertClipping", {greeting, "1", c}), "Name"), "Greeting");
  EXPECT_EQ(Get(Call("R.GetClippingVersion", {greeting, "2", c}), "Name"), "Hello");
  Call("W.SetMaximumVersions", {"1", c});
  EXPECT_EQ(Call("R.GetClippingVersion", {greeting, "1", c}).AsObject(), nullptr);
  // The trash: a deleted clipping comes back once; emptying the trash removes it for good.
  Call("W.DeleteClipping", {greeting, c});
  EXPECT_EQ(Call("W.RestoreItem", {greeting, c}), Variant("Greeting"));
  EXPECT_EQ(RaisedNumber([&] {
              Call("W.RestoreItem", {greeting, c});
            }),
            err::kInvalidProcedureCall);
  Call("W.DeleteClipping", {greeting, c});
  EXPECT_EQ(Call("W.EmptyTrash", {c, "-1"}).ToLong(), 1);
  EXPECT_EQ(Call("R.GetClipping", {greeting, c}).AsObject(), nullptr);

  // Members not written yet say so, naming themselves.
  for (const auto& [member, args] :
       {std::pair{"R.ClippingExists", std::vector<Variant>{"<Search/>", "<ConnectionDetails/>"}},
        std::pair{"W.CanUpdateFolder", std::vector<Variant>{Make("Folder"), c}},
        std::pair{"W.CanUpdateClipping", std::vector<Variant>{Make("Clipping"), c, "True"}}}) {
    const AutomationError e = ErrorOf([&, &member = member, &args = args] { Call(member, args); });
    EXPECT_EQ(e.number(), err::kNotYetImplemented);
    EXPECT_EQ(e.source(), std::string(member).substr(2));
    EXPECT_EQ(e.description(), "Not yet implemented!!");
  }
  for (const char* progid : {kRead, kWrite}) {
    for (const MemberInfo& m : TableOf(progid).members()) {
      EXPECT_EQ(called_.count((progid == kRead ? "R." : "W.") + m.name), 1u) << m.name;
    }
  }
}

}  // namespace
}  // namespace clipcat
