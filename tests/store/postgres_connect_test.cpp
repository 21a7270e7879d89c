#include "store/postgres_connect.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "store/db_connection.h"
#include "support/postgres_test_server.h"
#include "temp_catalog.h"
#include "util/error_of.h"
#include "util/errors.h"

namespace clipcat {
namespace {

using ::clipcat::testing::ErrorOf;
using ::clipcat::testing::PostgresTestServer;
using ::clipcat::testing::ScopedEnv;
using ::clipcat::testing::TempDir;

// The value libpq takes for `keyword`: the last non-empty one; nothing when none is given.
std::optional<std::string> Keyword(const PostgresParameters& parameters,
                                   const std::string& keyword) {
  std::optional<std::string> found;
  for (const auto& [key, value] : parameters.keywords) {
    if (key == keyword && !value.empty()) found = value;
  }
  return found;
}

// Points $ODBCINI at a file of the test's own holding `text` for as long as it lives.
class ScopedOdbcIni {
 public:
  explicit ScopedOdbcIni(const std::string& text) : env_("ODBCINI", path_) {
    std::ofstream(path_) << text;
  }

 private:
  TempDir dir_;
  std::string path_ = dir_.File("odbc.ini");
  ScopedEnv env_;
};

TEST(PostgresConnect, ProviderKeysBecomeLibpqKeywordsValueByValue) {
  struct Case {
    std::string connection_string;
    std::vector<std::pair<std::string, std::string>> expected;
  };
  const std::vector<Case> cases = {
      {"Provider=PostgreSQL;Host=db1;Port=6543;Database=team;User ID=ann;Password=secret",
       {{"host", "db1"},
        {"port", "6543"},
        {"dbname", "team"},
        {"user", "ann"},
        {"password", "secret"}}},
      {"provider=postgresql; Server = db2 ;Initial Catalog=sales;UID=bob;PWD=pw;SSL Mode=require",
       {{"host", "db2"},
        {"dbname", "sales"},
        {"user", "bob"},
        {"password", "pw"},
        {"sslmode", "require"}}},
      {"Provider=PostgreSQL;Data Source=/run/pg;Username=carol;Application Name=mine",
       {{"host", "/run/pg"}, {"user", "carol"}, {"application_name", "mine"}}},
      // Quoted values keep what would otherwise end or start an item: no value becomes a key.
      {"Provider=PostgreSQL;Host=db1;Password='a;b=c host=evil ''x''';Database=\"t;u\"",
       {{"host", "db1"}, {"password", "a;b=c host=evil 'x'"}, {"dbname", "t;u"}}},
      // A later item wins; unknown items are ignored.
      {"Provider=PostgreSQL;Host=a;Persist Security Info=False;Host=b;options=-c x=y",
       {{"host", "b"}}},
  };
  for (const Case& c : cases) {
    const auto parameters = PostgresParametersFor(c.connection_string, "", "");
    ASSERT_TRUE(parameters.has_value()) << c.connection_string;
    EXPECT_FALSE(parameters->expand_dbname) << c.connection_string;
    for (const auto& [keyword, value] : c.expected) {
      EXPECT_EQ(Keyword(*parameters, keyword), value) << c.connection_string << " " << keyword;
    }
    for (const char* absent : {"options", "service", "hostaddr"}) {
      EXPECT_FALSE(Keyword(*parameters, absent).has_value()) << c.connection_string;
    }
    EXPECT_EQ(Keyword(*parameters, "client_encoding"), "UTF8");
  }
  const auto with_path =
      PostgresParametersFor("Provider=PostgreSQL;Host=h;Search Path=team, public", "", "");
  EXPECT_EQ(with_path->search_path, "team, public");
}

TEST(PostgresConnect, UrisAndTheCallersCredentials) {
  for (const std::string& uri :
       {std::string("postgresql://ann@db1:6543/team?sslmode=require"),
        std::string("  POSTGRES://db1/team"), std::string("postgresql:///team?host=/run/pg")}) {
    const auto parameters = PostgresParametersFor(uri, "", "");
    ASSERT_TRUE(parameters.has_value()) << uri;
    EXPECT_TRUE(parameters->expand_dbname);
    ASSERT_FALSE(parameters->keywords.empty());
    EXPECT_EQ(parameters->keywords.front().first, "dbname");
    EXPECT_EQ(parameters->keywords.front().second.find("://") != std::string::npos, true);
  }
  // The user name and password given to the open override the string's.
  const auto overridden =
      PostgresParametersFor("Provider=PostgreSQL;Host=h;User ID=ann;Password=a", "bob", "b");
  EXPECT_EQ(Keyword(*overridden, "user"), "bob");
  EXPECT_EQ(Keyword(*overridden, "password"), "b");
  const auto kept = PostgresParametersFor("Provider=PostgreSQL;Host=h;User ID=ann", "", "");
  EXPECT_EQ(Keyword(*kept, "user"), "ann");
  // Strings that name no PostgreSQL database are someone else's.
  for (const std::string& other :
       {std::string("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=/tmp/x.db"),
        std::string("Provider=SQLOLEDB;Server=db1;Database=team"), std::string("Host=db1"),
        std::string(""), std::string("Provider=SQLOLEDB;DSN=team"),
        std::string("mysql://db1/team")}) {
    EXPECT_FALSE(PostgresParametersFor(other, "", "").has_value()) << other;
  }
}

TEST(PostgresConnect, DataSourcesComeFromOdbcIni) {
  ScopedOdbcIni ini(
      "[ODBC Data Sources]\nteam = PostgreSQL Unicode\n\n"
      "[team]\nDriver = PostgreSQL Unicode\nServername = db2\nPort = 5433\nDatabase = sales\n"
      "Username = bob\nPassword = pw\n\n"
      "[other]\nServer = db3\nUID = carol\nPWD = x\n");
  const auto team = PostgresParametersFor("DSN=team", "", "");
  ASSERT_TRUE(team.has_value());
  EXPECT_FALSE(team->expand_dbname);
  EXPECT_EQ(Keyword(*team, "host"), "db2");
  EXPECT_EQ(Keyword(*team, "port"), "5433");
  EXPECT_EQ(Keyword(*team, "dbname"), "sales");
  EXPECT_EQ(Keyword(*team, "user"), "bob");
  EXPECT_EQ(Keyword(*team, "password"), "pw");
  EXPECT_FALSE(Keyword(*team, "driver").has_value());
  // Items of the string override the data source's; the ODBC provider may be named.
  const auto other = PostgresParametersFor("Provider=MSDASQL;DSN=OTHER;User ID=dan", "", "");
  ASSERT_TRUE(other.has_value());
  EXPECT_EQ(Keyword(*other, "host"), "db3");
  EXPECT_EQ(Keyword(*other, "user"), "dan");
  EXPECT_EQ(Keyword(*other, "password"), "x");
  const AutomationError missing = ErrorOf([] { PostgresParametersFor("DSN=nosuch", "", ""); });
  EXPECT_EQ(missing.number(), err::kDatabaseError);
  EXPECT_EQ(missing.source(), kComponentSource);
  EXPECT_NE(missing.description().find("nosuch"), std::string::npos);
}

TEST(PostgresConnect, UnreachableServersFailInOpenConnection) {
  TempDir empty;  // a socket directory where no server listens
  const int closed_port = PostgresTestServer::FreePort();
  ASSERT_NE(closed_port, 0);
  ScopedOdbcIni ini("[gone]\nServername = nothing.invalid\nDatabase = team\n");
  const std::vector<std::string> unreachable = {
      "Provider=PostgreSQL;Host=" + empty.File("") + ";Database=team",
      "Provider=PostgreSQL;Host=nothing.invalid;Database=team",
      "Provider=PostgreSQL;Host=127.0.0.1;Port=" + std::to_string(closed_port) + ";Database=team",
      "postgresql://ann@nothing.invalid/team",
      "postgresql://ann@127.0.0.1:" + std::to_string(closed_port) + "/team",
      "DSN=gone",
  };
  for (const std::string& connection_string : unreachable) {
    DBConnection db;
    const AutomationError error =
        ErrorOf([&] { db.OpenConnection(connection_string, "ann", "pw"); });
    EXPECT_EQ(error.number(), err::kCatalogCannotBeOpened) << connection_string;
    EXPECT_EQ(error.source(), kComponentSource) << connection_string;
    EXPECT_FALSE(db.IsOpen());
  }
  // A URI or port libpq cannot read is the connection string's error, not an unreachable server.
  for (const std::string& unreadable :
       {std::string("postgresql://[::1/team"), std::string("postgresql://h/team?nosuch=1"),
        std::string("Provider=PostgreSQL;Host=h;Port=54x32"),
        std::string("Provider=PostgreSQL;Host=h;Port=99999")}) {
    DBConnection db;
    const AutomationError error = ErrorOf([&] { db.OpenConnection(unreadable, "", ""); });
    EXPECT_EQ(error.number(), err::kDatabaseError) << unreadable;
    EXPECT_EQ(error.source(), kPostgresSource) << unreadable;
  }
}

TEST(PostgresConnect, EveryConnectionStringFormOpensTheCatalog) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  const std::string database = server->CreateDatabase();
  CreateServerCatalog(server->ConnectionString(database), "Team");
  // The probe takes a data source's Servername for a network host; a socket directory comes
  // from the environment instead, as libpq reads it.
  ScopedOdbcIni ini("[team]\nPort = " + std::to_string(server->port()) +
                    "\nDatabase = " + database + "\nUsername = postgres\n");
  ScopedEnv host("PGHOST", server->socket_dir());
  TempDir dir;
  const std::string udl = dir.File("team.udl");
  std::ofstream(udl) << "[oledb]\n; Everything after this line is an OLE DB initstring\n"
                     << server->ConnectionString(database) << "\n";
  const std::vector<std::string> forms = {
      server->ConnectionString(database),
      server->Uri(database),
      "DSN=team",
      "Provider=MSDASQL;DSN=team",
      "File Name=" + udl,
      "Provider=PostgreSQL;Host=" + server->socket_dir() +
          ";Port=" + std::to_string(server->port()) + ";Database=" + database,
  };
  for (const std::string& form : forms) {
    DBConnection db;
    db.OpenConnection(form, "postgres", "");
    Recordset rs = db.GetRecordsetRO("SELECT sName FROM Folder");
    ASSERT_EQ(rs.RecordCount(), 1) << form;
    EXPECT_EQ(rs.Value("sName").ToText(), "Team") << form;
    db.CloseConnection();
  }
  // A catalog in a schema of its own is found through the search path, which must show the
  // schema of the citext type too (here public, where the first catalog installed it).
  ASSERT_EQ(server->Admin("CREATE SCHEMA sales", database), "");
  const std::string hidden_text = server->ConnectionString(database) + ";Search Path=sales";
  const AutomationError refused = ErrorOf([&] { CreateServerCatalog(hidden_text, "Sales"); });
  EXPECT_EQ(refused.number(), err::kDatabaseError);
  EXPECT_NE(refused.description().find("\"public\""), std::string::npos) << refused.description();
  const std::string in_schema = server->ConnectionString(database) + ";Search Path=sales, public";
  CreateServerCatalog(in_schema, "Sales");
  DBConnection db;
  EXPECT_EQ(ErrorOf([&] { db.OpenConnection(hidden_text, "", ""); }).number(), err::kDatabaseError);
  db.OpenConnection(in_schema, "", "");
  EXPECT_EQ(db.GetRecordsetRO("SELECT sName FROM Folder").Value("sName").ToText(), "Sales");
  db.OpenConnection(server->ConnectionString(database), "", "");
  EXPECT_EQ(db.GetRecordsetRO("SELECT sName FROM Folder").Value("sName").ToText(), "Team");
}

TEST(PostgresConnect, PasswordsAndQuotedValuesNeverBecomeKeywords) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  const std::string database = server->CreateDatabase();
  const std::string password = "p;w'=d \"x\" host=/nowhere";
  ASSERT_EQ(server->Admin(std::string("CREATE ROLE ") + PostgresTestServer::kPasswordRole +
                          " LOGIN PASSWORD 'p;w''=d \"x\" host=/nowhere'"),
            "");
  const std::string base = "Provider=PostgreSQL;Host=" + server->socket_dir() +
                           ";Port=" + std::to_string(server->port()) + ";Database=" + database +
                           ";User ID=" + PostgresTestServer::kPasswordRole;
  const auto opens = [](const std::string& connection_string, const std::string& pw) {
    DBConnection db;
    db.OpenConnection(connection_string, "", pw);
    return db.GetRecordsetRO("SELECT 1 AS one").Value("one").ToLong() == 1;
  };
  EXPECT_TRUE(opens(base + ";Password='p;w''=d \"x\" host=/nowhere'", ""));
  EXPECT_TRUE(opens(base, password));
  const AutomationError wrong = ErrorOf([&] { opens(base + ";Password=p", ""); });
  EXPECT_EQ(wrong.number(), err::kDatabaseError);
  EXPECT_EQ(wrong.source(), kPostgresSource);
  EXPECT_NE(wrong.description().find("password authentication failed"), std::string::npos)
      << wrong.description();
  // A database name is a name, never more parameters or a URI.
  for (const std::string& name :
       {std::string("x host=/nowhere dbname=postgres"), std::string("postgresql:///postgres")}) {
    const AutomationError error = ErrorOf([&] {
      opens("Provider=PostgreSQL;Host=" + server->socket_dir() + ";Port=" +
                std::to_string(server->port()) + ";User ID=postgres;Database='" + name + "'",
            "");
    });
    EXPECT_EQ(error.number(), err::kDatabaseError) << name;
    EXPECT_NE(error.description().find("database \"" + name + "\" does not exist"),
              std::string::npos)
        << error.description();
  }
}

}  // namespace
}  // namespace clipcat
