// odbc.ini parsing and where a data source keeps its catalog.
#include "util/odbc_ini.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "util/error_of.h"
#include "util/errors.h"
#include "util/probes_internal.h"
#include "util/temp_dir.h"

namespace clipcat::testing {
namespace {

TEST(DataSourceLocation, TakesTheFirstFileThatLocatesTheSourceAndServerFromDsnItsHost) {
  TempDir dir;
  // Sections and keys in any case, comments, blanks, lines without "=", the first of a repeated
  // key, a section named again later, and a broken header that starts no section.
  const std::string user = dir.Write("user.ini",
                                     "Orphan = before any section\r\n"
                                     "[PG]\r\n# Servername = commented.out\r\n"
                                     "  ; Server = also.commented\r\nno equals sign here\r\n"
                                     "  SERVERNAME  =  db1  \r\nservername=ignored-second\r\n"
                                     "[nothing]\nDriver=x\nDatabase=plainname\n"
                                     "[sqlite]\nDatabase=/home/Me/Cat.db\nServer=ignored\n"
                                     "[bare]\nDBQ=\\\\fs9\n"
                                     "[ pgx ]\nServer=trimmed\n[broken\nServername=in-broken\n");
  const std::string system = dir.Write("system.ini",
                                       "[pg]\nServer=shadowed\n"
                                       "[nothing]\nServer=fallback\n"
                                       "[unc]\nDBQ=\\\\fs9\\Share\\cat.mdb\nServer=ignored\n"
                                       "[dir]\nDefaultDir=\\\\nas\\Dir\n"
                                       "[server]\nServer=Db2.corp\nDefaultDir=/ignored\n"
                                       "[localdir]\nDefaultDir=/data/Catalogs\n");
  const std::vector<std::string> paths = {dir.File("missing.ini"), dir.path(), user, system};
  const std::pair<const char*, const char*> cases[] = {{"pg", "\\\\DB1\\"},
                                                       {"nothing", "\\\\FALLBACK\\"},
                                                       {"sqlite", "/home/Me/Cat.db"},
                                                       {"unc", "\\\\FS9\\SHARE\\CAT.MDB"},
                                                       {"dir", "\\\\NAS\\DIR"},
                                                       {"server", "\\\\DB2.CORP\\"},
                                                       {"localdir", "/data/Catalogs"},
                                                       {"pgx", "\\\\TRIMMED\\"},
                                                       {"broken", ""},
                                                       {"pg;UID=x", ""}};
  for (const auto& [name, location] : cases) {
    EXPECT_EQ(DataSourceLocation(name, paths), location) << name;
  }
  EXPECT_EQ(DataSourceLocation("pg", {system, user}), "\\\\SHADOWED\\");
  // The host of a data source in a connection string that is nothing but "DSN=" and its name.
  const std::pair<const char*, const char*> servers[] = {
      {"DSN=pg", "\\\\DB1"}, {"DSN=unc", "\\\\FS9"},
      {"DSN=sqlite", ""},    {"DSN=pg;UID=me", ""},
      {"dsn=pg", ""},        {"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=/tmp/cat.mdb", ""}};
  for (const auto& [connection_string, server] : servers) {
    EXPECT_EQ(ServerFromDsn(connection_string, paths), server) << connection_string;
  }
  EXPECT_EQ(RaisedNumber([&] { ServerFromDsn("DSN=bare", paths); }), err::kInvalidProcedureCall);
  // A server named by its socket directory is on this machine: the directory is the location,
  // and there is no host to probe.
  const std::string socket = dir.Write("socket.ini", "[local]\nServername=/run/postgresql\n");
  EXPECT_EQ(DataSourceLocation("local", {socket}), "/run/postgresql");
  EXPECT_EQ(ServerFromDsn("DSN=local", {socket}), "");
}

}  // namespace
}  // namespace clipcat::testing
