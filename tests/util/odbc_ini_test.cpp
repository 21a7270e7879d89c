// odbc.ini parsing, the standard file order and where a data source keeps its catalog.
#include "util/odbc_ini.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "util/probes_internal.h"
#include "util/temp_dir.h"

namespace clipcat::testing {
namespace {

constexpr const char* kIni =
    "; system data sources\r\n"
    "Orphan = before any section\r\n"
    "[ODBC Data Sources]\r\n"
    "Sales = PostgreSQL\r\n"
    "\r\n"
    "[sales]\r\n"
    "  Driver   =  PostgreSQL Unicode  \r\n"
    "# Servername = commented.out\r\n"
    "  ; Server = also.commented\r\n"
    "SERVERNAME=db1\r\n"
    "servername=ignored-second\r\n"
    "Options = a=b;c=d\r\n"
    "no equals sign here\r\n"
    "= value without key\r\n"
    "[salesX]\r\n"
    "Servername = wrong-section\r\n"
    "[ Sales ]\r\n"
    "Port = 5432\r\n"
    "[broken\r\n"
    "Servername = in-broken-header\r\n"
    "[Empty]\r\n";

TEST(OdbcIniSection, ReadsOneSectionIgnoringCaseCommentsAndBlanks) {
  const std::map<std::string, std::string> sales = OdbcIniSection(kIni, "SALES");
  const std::map<std::string, std::string> expected = {
      {"driver", "PostgreSQL Unicode"},
      {"servername", "db1"},
      {"options", "a=b;c=d"},
      {"port", "5432"},
  };
  EXPECT_EQ(sales, expected);
  EXPECT_EQ(OdbcIniSection(kIni, "salesx"),
            (std::map<std::string, std::string>{{"servername", "wrong-section"}}));
  EXPECT_EQ(OdbcIniSection(kIni, "ODBC Data Sources"),
            (std::map<std::string, std::string>{{"sales", "PostgreSQL"}}));
  for (const char* absent : {"Empty", "broken", "sale", "", "Orphan"}) {
    EXPECT_TRUE(OdbcIniSection(kIni, absent).empty()) << absent;
  }
  EXPECT_TRUE(OdbcIniSection("", "sales").empty());
}

TEST(DefaultOdbcIniPaths, PutsOdbciniThenTheUserFileThenTheSystemFile) {
  {
    ScopedEnv odbcini("ODBCINI", "/opt/app/odbc.ini");
    ScopedEnv home("HOME", "/home/tester");
    EXPECT_EQ(
        DefaultOdbcIniPaths(),
        (std::vector<std::string>{"/opt/app/odbc.ini", "/home/tester/.odbc.ini", "/etc/odbc.ini"}));
  }
  for (const char* unset : {static_cast<const char*>(nullptr), ""}) {
    ScopedEnv odbcini("ODBCINI", unset);
    ScopedEnv home("HOME", "/home/tester");
    EXPECT_EQ(DefaultOdbcIniPaths(),
              (std::vector<std::string>{"/home/tester/.odbc.ini", "/etc/odbc.ini"}));
  }
}

TEST(DataSourceLocation, TakesTheFirstFileThatLocatesTheSource) {
  TempDir dir;
  const std::string user = dir.Write("user.ini",
                                     "[pg]\nDriver=PostgreSQL\nDatabase=sales\nServername=db1\n"
                                     "[nothing]\nDriver=x\nDatabase=plainname\n"
                                     "[sqlite]\nDatabase=/home/Me/Cat.db\nServer=ignored\n");
  const std::string system = dir.Write("system.ini",
                                       "[pg]\nServer=shadowed\n"
                                       "[nothing]\nServer=fallback\n"
                                       "[unc]\nDBQ=\\\\fs9\\Share\\cat.mdb\nServer=ignored\n"
                                       "[dir]\nDefaultDir=\\\\nas\\Dir\n"
                                       "[server]\nServer=Db2.corp\nDefaultDir=/ignored\n"
                                       "[localdir]\nDefaultDir=/data/Catalogs\n");
  const std::string missing = dir.File("missing.ini");
  const std::vector<std::string> paths = {missing, user, system};
  struct Case {
    const char* name;
    const char* location;
  };
  const Case cases[] = {
      {"pg", "\\\\DB1\\"},
      {"nothing", "\\\\FALLBACK\\"},
      {"sqlite", "/home/Me/Cat.db"},
      {"unc", "\\\\FS9\\SHARE\\CAT.MDB"},
      {"dir", "\\\\NAS\\DIR"},
      {"server", "\\\\DB2.CORP\\"},
      {"localdir", "/data/Catalogs"},
      {"absent", ""},
      {"pg;UID=x", ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(DataSourceLocation(c.name, paths), c.location) << c.name;
  }
  EXPECT_EQ(DataSourceLocation("pg", {system, user}), "\\\\SHADOWED\\");
  // A server named by its socket directory is on this machine: the directory is the location,
  // and there is no host to probe.
  const std::string socket = dir.Write("socket.ini", "[local]\nServername=/run/postgresql\n");
  EXPECT_EQ(DataSourceLocation("local", {socket}), "/run/postgresql");
  EXPECT_EQ(ServerFromDsn("DSN=local", {socket}), "");
  EXPECT_EQ(DataSourceLocation("pg", {missing}), "");
  EXPECT_EQ(DataSourceLocation("pg", {dir.path()}), "");
}

}  // namespace
}  // namespace clipcat::testing
