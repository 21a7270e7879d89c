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

namespace clipcat::testing {
namespace {

using Keywords = std::vector<std::pair<std::string, std::string>>;

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

TEST(PostgresConnect, ConnectionStringsBecomeLibpqKeywordsValueByValue) {
  ScopedOdbcIni ini(
      "[ODBC Data Sources]\nteam = PostgreSQL Unicode\n\n"
      "[team]\nDriver = PostgreSQL Unicode\nServername = db2\nPort = 5433\nDatabase = sales\n"
      "Username = bob\nPassword = pw\n\n"
      "[other]\nServer = db3\nUID = carol\nPWD = x\n");
  const std::vector<std::pair<std::string, Keywords>> cases = {
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
      // Data sources come from odbc.ini; items of the string override the data source's.
      {"DSN=team",
       {{"host", "db2"},
        {"port", "5433"},
        {"dbname", "sales"},
        {"user", "bob"},
        {"password", "pw"}}},
      {"Provider=MSDASQL;DSN=OTHER;User ID=dan",
       {{"host", "db3"}, {"user", "dan"}, {"password", "x"}}},
  };
  for (const auto& [connection_string, expected] : cases) {
    SCOPED_TRACE(connection_string);
    const auto parameters = PostgresParametersFor(connection_string, "", "");
    ASSERT_TRUE(parameters.has_value());
    EXPECT_FALSE(parameters->expand_dbname);
    for (const auto& [keyword, value] : expected) {
      EXPECT_EQ(Keyword(*parameters, keyword), value) << keyword;
    }
    for (const char* absent : {"options", "service", "hostaddr", "driver"}) {
      EXPECT_FALSE(Keyword(*parameters, absent).has_value()) << absent;
    }
    EXPECT_EQ(Keyword(*parameters, "client_encoding"), "UTF8");
  }
  EXPECT_EQ(PostgresParametersFor("Provider=PostgreSQL;Host=h;Search Path=team, public", "", "")
                ->search_path,
            "team, public");
  const AutomationError missing = ErrorOf([] { PostgresParametersFor("DSN=nosuch", "", ""); });
  EXPECT_EQ(missing.number(), err::kDatabaseError);
  EXPECT_EQ(missing.source(), kComponentSource);
  EXPECT_NE(missing.description().find("nosuch"), std::string::npos);
}

TEST(PostgresConnect, UrisAndTheCallersCredentials) {
  for (const std::string uri : {"postgresql://ann@db1:6543/team?sslmode=require",
                                "  POSTGRES://db1/team", "postgresql:///team?host=/run/pg"}) {
    const auto parameters = PostgresParametersFor(uri, "", "");
    ASSERT_TRUE(parameters.has_value()) << uri;
    EXPECT_TRUE(parameters->expand_dbname);
    ASSERT_FALSE(parameters->keywords.empty());
    EXPECT_EQ(parameters->keywords.front().first, "dbname");
    EXPECT_NE(parameters->keywords.front().second.find("://"), std::string::npos);
  }
  // The user name and password given to the open override the string's.
  const auto overridden =
      PostgresParametersFor("Provider=PostgreSQL;Host=h;User ID=ann;Password=a", "bob", "b");
  EXPECT_EQ(Keyword(*overridden, "user"), "bob");
  EXPECT_EQ(Keyword(*overridden, "password"), "b");
  // Strings that name no PostgreSQL database are someone else's.
  for (const std::string other : {"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=/tmp/x.db",
                                  "Provider=SQLOLEDB;Server=db1;Database=team", "Host=db1", "",
                                  "Provider=SQLOLEDB;DSN=team", "mysql://db1/team"}) {
    EXPECT_FALSE(PostgresParametersFor(other, "", "").has_value()) << other;
  }
}

TEST(PostgresConnect, UnreachableServersFailInOpenConnection) {
  TempDir empty;  // a socket directory where no server listens
  const std::string closed_port = std::to_string(PostgresTestServer::FreePort());
  ScopedOdbcIni ini("[gone]\nServername = nothing.invalid\nDatabase = team\n");
  for (const std::string& connection_string :
       {"Provider=PostgreSQL;Host=" + empty.File("") + ";Database=team",
        std::string("Provider=PostgreSQL;Host=nothing.invalid;Database=team"),
        "Provider=PostgreSQL;Host=127.0.0.1;Port=" + closed_port + ";Database=team",
        std::string("postgresql://ann@nothing.invalid/team"),
        "postgresql://ann@127.0.0.1:" + closed_port + "/team", std::string("DSN=gone")}) {
    DBConnection db;
    const AutomationError error =
        ErrorOf([&] { db.OpenConnection(connection_string, "ann", "pw"); });
    EXPECT_EQ(error.number(), -2147220994) << connection_string;
    EXPECT_EQ(error.source(), kComponentSource) << connection_string;
    EXPECT_FALSE(db.IsOpen());
  }
  // A URI or port libpq cannot read is the connection string's error, not an unreachable server.
  for (const std::string unreadable :
       {"postgresql://[::1/team", "postgresql://h/team?nosuch=1",
        "Provider=PostgreSQL;Host=h;Port=54x32", "Provider=PostgreSQL;Host=h;Port=99999"}) {
    DBConnection db;
    const AutomationError error = ErrorOf([&] { db.OpenConnection(unreadable, "", ""); });
    EXPECT_EQ(error.number(), err::kDatabaseError) << unreadable;
    EXPECT_EQ(error.source(), kPostgresSource) << unreadable;
  }
}

TEST(PostgresConnect, EveryConnectionStringFormOpensTheCatalog) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  const std::string database = server->CreateDatabase();
  const std::string plain = server->ConnectionString(database);
  CreateServerCatalog(plain, "Team");
  // The probe takes a data source's Servername for a network host; a socket directory comes
  // from the environment instead, as libpq reads it.
  ScopedOdbcIni ini("[team]\nPort = " + std::to_string(server->port()) +
                    "\nDatabase = " + database + "\nUsername = postgres\n");
  ScopedEnv host("PGHOST", server->socket_dir());
  TempDir dir;
  const std::string udl = dir.File("team.udl");
  std::ofstream(udl) << "[oledb]\n; Everything after this line is an OLE DB initstring\n"
                     << plain << "\n";
  for (const std::string& form : {plain, server->Uri(database), std::string("DSN=team"),
                                  std::string("Provider=MSDASQL;DSN=team"), "File Name=" + udl,
                                  "Provider=PostgreSQL;Host=" + server->socket_dir() + ";Port=" +
                                      std::to_string(server->port()) + ";Database=" + database}) {
    DBConnection db;
    db.OpenConnection(form, "postgres", "");
    EXPECT_EQ(db.GetRecordsetRO("SELECT sName FROM Folder").Value("sName").ToText(), "Team")
        << form;
  }
  // A catalog in a schema of its own is found through the search path, which must show the
  // schema of the citext type too (here public, where the first catalog installed it).
  ASSERT_EQ(server->Admin("CREATE SCHEMA sales", database), "");
  const std::string hidden_text = plain + ";Search Path=sales";
  const AutomationError refused = ErrorOf([&] { CreateServerCatalog(hidden_text, "Sales"); });
  EXPECT_EQ(refused.number(), err::kDatabaseError);
  EXPECT_NE(refused.description().find("\"public\""), std::string::npos) << refused.description();
  const std::string in_schema = plain + ";Search Path=sales, public";
  CreateServerCatalog(in_schema, "Sales");
  DBConnection db;
  EXPECT_EQ(ErrorOf([&] { db.OpenConnection(hidden_text, "", ""); }).number(), err::kDatabaseError);
  db.OpenConnection(in_schema, "", "");
  EXPECT_EQ(db.GetRecordsetRO("SELECT sName FROM Folder").Value("sName").ToText(), "Sales");
  db.OpenConnection(plain, "", "");
  EXPECT_EQ(db.GetRecordsetRO("SELECT sName FROM Folder").Value("sName").ToText(), "Team");
}

TEST(PostgresConnect, PasswordsAndQuotedValuesNeverBecomeKeywords) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  const std::string database = server->CreateDatabase();
  ASSERT_EQ(server->Admin(std::string("CREATE ROLE ") + PostgresTestServer::kPasswordRole +
                          " LOGIN PASSWORD 'p;w''=d \"x\" host=/nowhere'"),
            "");
  const std::string at = "Provider=PostgreSQL;Host=" + server->socket_dir() +
                         ";Port=" + std::to_string(server->port()) + ";Database=";
  const std::string base = at + database + ";User ID=" + PostgresTestServer::kPasswordRole;
  const auto opens = [](const std::string& connection_string, const std::string& pw) {
    DBConnection db;
    db.OpenConnection(connection_string, "", pw);
    return db.GetRecordsetRO("SELECT 1 AS one").Value("one").ToLong() == 1;
  };
  EXPECT_TRUE(opens(base + ";Password='p;w''=d \"x\" host=/nowhere'", ""));
  EXPECT_TRUE(opens(base, "p;w'=d \"x\" host=/nowhere"));
  const AutomationError wrong = ErrorOf([&] { opens(base + ";Password=p", ""); });
  EXPECT_EQ(wrong.number(), err::kDatabaseError);
  EXPECT_EQ(wrong.source(), kPostgresSource);
  EXPECT_NE(wrong.description().find("password authentication failed"), std::string::npos)
      << wrong.description();
  // A database name is a name, never more parameters or a URI.
  for (const std::string name : {"x host=/nowhere dbname=postgres", "postgresql:///postgres"}) {
    const AutomationError error =
        ErrorOf([&] { opens(at + "'" + name + "';User ID=postgres", ""); });
    EXPECT_EQ(error.number(), err::kDatabaseError) << name;
    EXPECT_NE(error.description().find("database \"" + name + "\" does not exist"),
              std::string::npos)
        << error.description();
  }
}

}  // namespace
}  // namespace clipcat::testing
