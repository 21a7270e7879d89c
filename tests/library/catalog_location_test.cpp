// Choosing the catalog: connection details before a path, a path before $CLIPCAT_CATALOG, that
// before the default catalog; only the default catalog is made on first use, and making a catalog
// names its top folder after the file unless told otherwise.
#include "library/catalog_location.h"

#include <filesystem>

#include "library/item_lookup.h"
#include "library_fixture.h"
#include "util/errors.h"

namespace clipcat::library_test {
namespace {

namespace fs = std::filesystem;
using testing::ScopedEnv;

std::string Details(const std::string& connection_string) {
  return "<connectiondetails connectionstring=\"" + connection_string + "\"/>";
}

class CatalogLocationTest : public LibraryTest {
 protected:
  ScopedEnv data_home_{"XDG_DATA_HOME", dir_.File("data")};
  ScopedEnv catalog_env_{"CLIPCAT_CATALOG", nullptr};
};

TEST_F(CatalogLocationTest, EachChoiceGivesWayOnlyToTheOnesBeforeIt) {
  const std::string details = Details("Provider=PostgreSQL;Host=h;Database=d");
  const std::string given = dir_.File("given.db"), from_env = dir_.File("env.db");
  const std::string fallback = dir_.File("data") + "/clipcat/catalog.db";
  struct Case {
    std::string path, connection, env, want_path, want_connection;
    bool want_default;
  };
  for (const Case& c : std::vector<Case>{{given, details, from_env, "", details, false},
                                         {given, "", from_env, given, "", false},
                                         {"", "", from_env, from_env, "", false},
                                         {"", "", "", fallback, "", true}}) {
    ScopedEnv env("CLIPCAT_CATALOG", c.env);
    const CatalogLocation location = SelectCatalog(c.path, c.connection);
    EXPECT_EQ(location.path, c.want_path);
    EXPECT_EQ(location.connection_xml, c.want_connection);
    EXPECT_EQ(location.is_default, c.want_default);
  }
  EXPECT_FALSE(fs::exists(fallback)) << "choosing touches no file";
  EXPECT_EQ(SelectCatalog("sub/../clips.db", "").path, (fs::current_path() / "clips.db").string());
  ScopedEnv unset("XDG_DATA_HOME", "");
  ScopedEnv home("HOME", "/h");
  EXPECT_EQ(DefaultCatalogPath(), "/h/.local/share/clipcat/catalog.db");
}

TEST_F(CatalogLocationTest, OnlyTheDefaultCatalogIsMadeAndOnlyOnce) {
  const CatalogLocation named = SelectCatalog(dir_.File("typo.db"), "");
  EXPECT_FALSE(EnsureDefaultCatalog(named));
  EXPECT_EQ(RaisedNumber([&] { RequireReachable(Open(named.path)); }), err::kCatalogCannotBeOpened);
  EXPECT_FALSE(fs::exists(named.path));

  const CatalogLocation fallback = SelectCatalog("", "");
  EXPECT_TRUE(EnsureDefaultCatalog(fallback));
  EXPECT_FALSE(EnsureDefaultCatalog(fallback));
  EXPECT_EQ(RequireTopFolder(Open(fallback.path))->Name(), "Personal");
}

TEST_F(CatalogLocationTest, FileDetailsAreThoseOfAPersonalFileCatalog) {
  const auto file = ConnectionDetailsFor(SelectCatalog(dir_.File("a.db"), ""));
  EXPECT_EQ(file->DataSourceType(), 1);
  EXPECT_NE(file->XML().find("ispersonalcatalog=\"true\""), std::string::npos) << file->XML();
  EXPECT_EQ(file->ConnectionString(),
            "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + dir_.File("a.db"));
  const auto given = ConnectionDetailsFor(SelectCatalog("", Details("DSN=clips")));
  EXPECT_EQ(given->ConnectionString(), "DSN=clips");
  EXPECT_EQ(given->XML().find("ispersonalcatalog=\"true\""), std::string::npos);
  EXPECT_EQ(RaisedNumber([] { ConnectionDetailsFor(SelectCatalog("", "not xml")); }),
            err::kObjectRequired);
}

TEST_F(CatalogLocationTest, AMadeFileCatalogIsNamedAfterItsFileUnlessToldOtherwise) {
  const std::string path = dir_.File("new/dir/Team Notes.db");
  EXPECT_EQ(CreateCatalogAt(SelectCatalog(path, ""), "").file, path);
  EXPECT_EQ(RequireTopFolder(Open(path))->Name(), "Team Notes");
  EXPECT_EQ(RaisedNumber([&] { CreateCatalogAt(SelectCatalog(path, ""), "Other"); }),
            err::kDatabaseError);

  const std::string named = dir_.File("named.db");
  const CreatedCatalog made = CreateCatalogAt(
      SelectCatalog("", Details("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + named)), "Mine");
  EXPECT_EQ(made.file, named);
  EXPECT_EQ(made.server_top, "");
  EXPECT_EQ(RequireTopFolder(Open(named))->Name(), "Mine");
  EXPECT_EQ(ErrorOf([] {
              CreateCatalogAt(SelectCatalog("", Details("Provider=Microsoft.Jet.OLEDB.4.0")), "");
            }).description(),
            "the connection string names no Data Source file");
}

}  // namespace
}  // namespace clipcat::library_test
