// The same store operations must give the same results on a SQLite and a PostgreSQL catalog: each
// scenario logs every step's outcome (entities' XML with times and GUIDs masked, names, errors)
// on both engines; the logs must agree, and their key lines hold the results promised.
#include <algorithm>
#include <regex>
#include <sstream>

#include "catalog_fixture.h"
#include "store/catalog_schema.h"
#include "support/postgres_test_server.h"
#include "util/date_locale.h"

namespace clipcat::testing {
namespace {

// "label=outcome" for each step, in the order the steps ran.
struct Log : std::vector<std::string> {
  void Add(const std::string& label, const std::string& outcome) {
    push_back(label + "=" + outcome);
  }
};

// The logs must agree line by line and hold each ";"-separated expected line: "label=outcome"
// exactly, "label^text" an outcome that starts with text, "label~text" one that contains it.
void ExpectLogs(const Log& sqlite, const Log& postgres, const std::string& expected) {
  ASSERT_EQ(sqlite.size(), postgres.size());
  for (size_t i = 0; i < sqlite.size(); ++i) EXPECT_EQ(sqlite[i], postgres[i]);
  std::istringstream lines(expected);
  for (std::string line; std::getline(lines, line, ';');) {
    const size_t op = line.find_first_of("=^~");
    const std::string label = line.substr(0, op) + "=", text = line.substr(op + 1);
    const auto step = std::find_if(sqlite.begin(), sqlite.end(), [&](const std::string& got) {
      return got.rfind(label, 0) == 0;
    });
    ASSERT_NE(step, sqlite.end()) << label;
    const std::string outcome = step->substr(label.size());
    EXPECT_TRUE(line[op] == '='   ? outcome == text
                : line[op] == '^' ? outcome.rfind(text, 0) == 0
                                  : outcome.find(text) != std::string::npos)
        << line << " but got " << outcome;
  }
}

// Times and GUIDs differ from run to run; everything else must not.
std::string Masked(const std::string& xml) {
  static const std::regex kVarying("\\b(updated|lastaccessed|guid)=\"[^\"]*\"", std::regex::icase);
  return std::regex_replace(xml, kVarying, "$1=\"*\"");
}

// An error as the caller sees it; the store's, not the engines' own, must read the same.
template <typename Call>
std::string ErrorText(Call&& call) {
  try {
    call();
  } catch (const AutomationError& e) {
    if (e.number() == err::kDatabaseError) return "error " + std::to_string(e.number());
    return "error " + std::to_string(e.number()) + " " + e.source() + ": " + e.description();
  }
  return "no error";
}

std::string YesNo(bool value) { return value ? "yes" : "no"; }

// The names (or masked XML) of a list's items; sorted for listings in the engine's own order.
template <typename List>
std::string Names(const std::shared_ptr<List>& list, bool sorted = false, bool xml = false) {
  std::vector<std::string> names;
  for (const auto& item : *list->Items()) names.push_back(xml ? Masked(item->XML()) : item->Name());
  if (sorted) std::sort(names.begin(), names.end());
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ",") + name;
  return text;
}

std::shared_ptr<Folder> AddFolder(DataAccess& access, const std::string& name,
                                  const std::string& parent) {
  auto folder = Folder::Create();
  folder->SetName(name);
  return access.AddFolder(folder, parent, true);
}

std::shared_ptr<Category> NewCategory(const std::string& name) {
  auto category = Category::Create();
  category->SetName(name);
  category->SetDescription("about " + name);
  return category;
}

const Date kLongAgo = *Date::FromParts({2000, 1, 1});
const Date kFarAhead = *Date::FromParts({2090, 1, 1});

Log FolderScenario(DataAccess& access) {
  Log log;
  const auto root = access.GetPersonalCatalogRootFolder();
  log.Add("root", Masked(root->XML()));
  const auto projects = AddFolder(access, "Projects", root->ID());
  const auto alpha = AddFolder(access, "alpha", projects->ID());
  const auto beta = AddFolder(access, "Beta", projects->ID());
  const auto archive = AddFolder(access, "archive", projects->ID());
  const auto sub = AddFolder(access, "Sub", beta->ID());
  log.Add("keys", projects->ID() + "," + alpha->ID() + "," + beta->ID() + "," + archive->ID() +
                      "," + sub->ID());
  log.Add("same name in other case", ErrorText([&] { AddFolder(access, "BETA", projects->ID()); }));
  beta->SetName("beta renamed");
  access.UpdateFolder(beta, true);
  log.Add("rename onto a sibling", ErrorText([&] {
            auto folder = access.GetFolder(archive->ID());
            folder->SetName("ALPHA");
            access.UpdateFolder(folder, true);
          }));
  access.DeleteFolder(alpha->ID(), false);
  log.Add("children", Names(access.GetChildrenFolders(projects->ID(), false, false)));
  log.Add("children and deleted", Names(access.GetChildrenFolders(projects->ID(), false, true)));
  log.Add("tree", Masked(access.GetFolders(false, false)->XML()));
  log.Add("tree and deleted", Masked(access.GetFolders(false, true)->XML()));
  log.Add("ARCHIVE exists", YesNo(access.FolderNameExists("ARCHIVE", projects->ID())));
  log.Add("deleted alpha exists", YesNo(access.FolderNameExists("alpha", projects->ID())));
  const auto found = access.GetFolderByName("SUB", beta->ID());
  log.Add("sub by name", found ? found->ID() : "none");
  log.Add("path", access.GetFolderPathName(sub->ID()));
  log.Add("changed lately", YesNo(access.HaveFoldersChanged(kLongAgo)));
  log.Add("changed in future", YesNo(access.HaveFoldersChanged(kFarAhead)));
  log.Add("folder", Masked(access.GetFolder(beta->ID())->XML()));
  access.DeleteFolder(projects->ID(), true);
  log.Add("after removal", Masked(access.GetFolders(true, true)->XML()));
  log.Add("removed folder", access.GetFolder(sub->ID()) ? "found" : "none");
  return log;
}

Log ClippingScenario(DataAccess& access) {
  Log log;
  const auto root = access.GetPersonalCatalogRootFolder();
  const auto folder = AddFolder(access, "Clips", root->ID());
  std::string big;
  for (int i = 0; big.size() < 50000; ++i) big += "line " + std::to_string(i) + " \xC3\xA9\n";
  const auto letter =
      NewClipping("Letter", "Dear Ann, \xC3\xBCn\xC3\xAF \xF0\x9F\x98\x80 'quoted'", "to Ann");
  letter->ClippingData()->Add(
      NewClipping("", "{\\rtf1 \\b bold\\b0}", "", 1)->ClippingData()->Item(1));
  access.AddClipping(letter, folder->ID());
  const auto large = NewClipping("big", big);
  access.AddClipping(large, folder->ID());
  log.Add("keys", folder->ID() + "," + letter->ID() + "," + large->ID());
  log.Add("same name in other case",
          ErrorText([&] { access.AddClipping(NewClipping("LETTER"), folder->ID()); }));
  log.Add("letter", Masked(access.GetClipping(letter->ID(), true)->XML()));
  const auto items = access.GetClipping(large->ID(), true)->ClippingData();
  log.Add("big content", items->Count() == 1 && items->Item(1)->RawData() == big ? "ok" : "bad");
  const auto by_name = access.GetClippingByName("letter", folder->ID(), false);
  log.Add("letter by name", by_name ? by_name->ID() : "none");
  log.Add("BIG exists", YesNo(access.ClippingNameExists("BIG", folder->ID())));
  letter->SetName("Letter v2");
  letter->ClippingData()->Remove(2);
  letter->ClippingData()->Item(1)->SetRawData("Hello again");
  access.UpdateClipping(letter, true);
  log.Add("updated letter", Masked(access.GetClipping(letter->ID(), true)->XML()));
  const auto by_guid = access.FindClippingWithGUID(letter->GUID(), false);
  log.Add("letter by guid", by_guid ? by_guid->ID() : "none");
  log.Add("folder", Names(access.GetClippingsFromFolder(folder->ID(), false, nullptr, false)));
  access.DeleteClipping(large->ID(), false);
  log.Add("folder after delete",
          Names(access.GetClippingsFromFolder(folder->ID(), false, nullptr, false)));
  log.Add("folder and deleted",
          Names(access.GetClippingsFromFolder(folder->ID(), false, nullptr, true)));
  log.Add("deleted", Names(access.GetDeletedClippingsForCatalog("", false)));
  access.UpdateClippingHistory(letter);
  access.UpdateClippingHistory(letter);
  access.UpdateClippingHistory(large);
  log.Add("history", std::to_string(access.GetClippingsHistroy(10)->Items()->Count()));
  access.DeleteClippingHistory(letter->ID());
  log.Add("history after forgetting",
          std::to_string(access.GetClippingsHistroy(10)->Items()->Count()));
  log.Add("path", access.GetClippingPathName(letter->ID()));
  access.DeleteClipping(letter->ID(), true);
  log.Add("removed", access.GetClipping(letter->ID(), false) ? "found" : "none");
  return log;
}

Log CategoryScenario(DataAccess& access) {
  Log log;
  const auto root = access.GetPersonalCatalogRootFolder();
  const auto docs = AddFolder(access, "Docs", root->ID());
  const auto other = AddFolder(access, "Other", root->ID());
  const auto ann = NewClipping("Letter to Ann", "Hi", "greeting");
  const auto bob = NewClipping("letter to Bob", "Hey");
  const auto invoice = NewClipping("Invoice 50%", "Sum", "paid");
  const auto path = NewClipping("path\\file");
  const auto under = NewClipping("under_score", "", "x_y");
  for (const auto& clipping : {ann, bob, invoice, path, under}) {
    access.AddClipping(clipping, docs->ID());
  }
  const auto elsewhere = NewClipping("Letter elsewhere");
  access.AddClipping(elsewhere, other->ID());
  const auto work = access.AddCategory(NewCategory("Work"), "");
  const auto home = access.AddCategory(NewCategory("home"), "");
  log.Add("category keys", work->ID() + "," + home->ID());
  log.Add("same category name in other case",
          ErrorText([&] { access.AddCategory(NewCategory("WORK"), ""); }));
  access.AddClippingToCategory(ann->ID(), work->ID());
  access.AddClippingToCategory(invoice->ID(), work->ID());
  access.AddClippingToCategory(bob->ID(), home->ID());
  log.Add("member twice", ErrorText([&] { access.AddClippingToCategory(ann->ID(), work->ID()); }));
  log.Add("categories", Names(access.GetCategoriesFromFolder("")));
  log.Add("categories xml", Masked(access.GetCategoriesFromFolder("")->XML()));
  log.Add("names for ann", access.GetCategoriesNamesForClipping(ann->ID()));
  log.Add("work members", Names(access.GetClippingsFromCategory(work->ID(), false)));
  log.Add("without category", Names(access.GetClippingsWithoutCategory("", false)));
  for (const std::string text : {"LETTER", "50%", "\\", "_", "*", "", "x_Y", "%"}) {
    log.Add("find " + text, Names(access.FindClippings(NewSearch(text)), true));
  }
  log.Add("find letter in docs",
          Names(access.FindClippings(NewSearch("letter", {docs->ID()})), true));
  std::vector<std::pair<std::string, std::shared_ptr<Search>>> searches = {
      {"letter* in wo*", NewSearch("letter*", {}, {"wo*"})},
      {"invoice* or HOME", NewSearch("invoice*", {}, {"HOME"}, true)},
      {"* in other", NewSearch("*", {other->ID()})},
      {"zzz in other or HOME", NewSearch("zzz", {other->ID()}, {"HOME"}, true)}};
  for (const std::string text : {"letter*", "LETTER TO *", "invoice 50%", "under_*", "path\\*",
                                 "under?score", "letter to", ""}) {
    searches.emplace_back(text, NewSearch(text));
  }
  for (const auto& [label, search] : searches) {
    log.Add("search " + label, Names(access.SearchForClippings(search), true));
    log.Add("search " + label + " xml", Names(access.SearchForClippings(search), true, true));
  }
  log.Add("changed lately", YesNo(access.HaveCategoriesChanged(kLongAgo)));
  log.Add("changed in future", YesNo(access.HaveCategoriesChanged(kFarAhead)));
  log.Add("ann's categories", Masked(access.GetCategoriesForClipping(ann->ID())->XML()));
  home->SetName("Home & Garden");
  access.UpdateCategory(home);
  log.Add("renamed", Masked(access.GetCategory(home->ID())->XML()));
  access.DeleteClippingFromCategory(bob->ID(), home->ID());
  access.DeleteCategory(work->ID());
  log.Add("after deletes", Names(access.GetCategoriesFromFolder("")));
  log.Add("without category after deletes", Names(access.GetClippingsWithoutCategory("", false)));
  return log;
}

class PostgresConformance : public ::testing::Test {
 protected:
  void SetUp() override {
    CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
    server_ = server;
  }

  // Runs `scenario` on a fresh file catalog and a fresh server catalog, both with a root folder
  // named "Personal", and expects the same logs, holding `expected`.
  void Run(Log (*scenario)(DataAccess&), const std::string& expected) {
    TempCatalog file;
    const std::string connection_string = server_->ConnectionString(server_->CreateDatabase());
    CreateServerCatalog(connection_string, "Personal");
    auto sqlite = DataAccessMDB::Create();
    sqlite->OpenCatalog(file.connection_string(), "", "");
    auto postgres = DataAccessSQL::Create();
    postgres->OpenCatalog(connection_string, "", "");
    ExpectLogs(scenario(*sqlite), scenario(*postgres), expected);
  }

  ScopedDateLocale locale_{DateLocale::English(DateOrder::kDayMonthYear)};
  PostgresTestServer* server_ = nullptr;
};

TEST_F(PostgresConformance, FoldersGiveTheSameResultsOnBothEngines) {
  Run(FolderScenario,
      "keys=2,3,4,5,6;same name in other case^error -2147220997 Data Services;rename onto a "
      "sibling^error -2147220997;children=archive,beta renamed;children and "
      "deleted=alpha,archive,beta renamed;ARCHIVE exists=yes;deleted alpha exists=no;sub by "
      "name=6;path=Personal\\Projects\\beta renamed\\Sub;changed lately=yes;changed in "
      "future=no;removed folder=none");
}

TEST_F(PostgresConformance, ClippingsAndTheirDataGiveTheSameResultsOnBothEngines) {
  Run(ClippingScenario,
      "keys=2,3,4;same name in other case^error -2147220996;letter~\xF0\x9F\x98\x80 'quoted';big "
      "content=ok;letter by name=3;BIG exists=yes;updated letter~Hello again;letter by "
      "guid=3;folder=big,Letter v2;folder after delete=Letter v2;folder and deleted=big,Letter "
      "v2;deleted=big;history=2;history after forgetting=1;path=Personal\\Clips;removed=none");
}

TEST_F(PostgresConformance, CategoriesAndSearchesGiveTheSameResultsOnBothEngines) {
  Run(CategoryScenario,
      "category keys=1,2;same category name in other case^error -2147220995;member twice=error "
      "-2147467259;categories=home,Work;names for ann=Work;work members=Invoice 50%,Letter to "
      "Ann;without category=Letter elsewhere,path\\file,under_score;find LETTER=Letter "
      "elsewhere,Letter to Ann,letter to Bob;find 50%=Invoice 50%;find \\=path\\file;find "
      "_=under_score;find x_Y=under_score;find *=;find %=Invoice 50%;find letter in docs=Letter to "
      "Ann,letter to Bob;search letter*=Letter elsewhere,Letter to Ann,letter to Bob;search LETTER "
      "TO *=Letter to Ann,letter to Bob;search letter* in wo*=Letter to Ann;search invoice* or "
      "HOME=Invoice 50%,letter to Bob;search * in other=Letter elsewhere;search invoice "
      "50%=Invoice 50%;search under_*=under_score;search path\\*=path\\file;search "
      "under?score=;search letter to=;search =;search zzz in other or HOME=letter to Bob;changed "
      "lately=yes;changed in future=no;renamed~Home &amp;after deletes=Home & "
      "Garden;without category after deletes~Invoice 50%,Letter elsewhere,Letter to Ann,letter to "
      "Bob,");
}

}  // namespace
}  // namespace clipcat::testing
