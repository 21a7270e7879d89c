#include "engine/postgres_connect.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "engine/db_connection.h"
#include "support/postgres_test_server.h"
#include "temp_catalog.h"
#include "util/error_of.h"
#include "util/errors.h"

namespace clipcat::testing {
namespace {

// The values libpq takes (the last non-empty one of each keyword) as "keyword=value" in keyword
// order, but for those every connection has; "URI" first when the database name is one.
std::string Describe(const std::string& connection_string, const std::string& user = "",
                     const std::string& password = "") {
  const auto parameters = PostgresParametersFor(connection_string, user, password);
  if (!parameters) return "someone else's";
  std::map<std::string, std::string> values;
  for (const auto& [key, value] : parameters->keywords) {
    if (!value.empty()) values[key] = value;
  }
  EXPECT_EQ(values["client_encoding"], "UTF8");
  for (const char* fixed :
       {"client_encoding", "fallback_application_name", "keepalives", "keepalives_count",
        "keepalives_idle", "keepalives_interval", "tcp_user_timeout"}) {
    values.erase(fixed);  // the same for every connection
  }
  std::string text = parameters->expand_dbname ? "URI" : "";
  for (const auto& [key, value] : values) text += (text.empty() ? "" : " ") + key + "=" + value;
  return text;
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

TEST(PostgresConnect, TheConnectionsOwnParametersOverrideTheTimeOutDefaults) {
  // libpq takes the last value of a keyword, and a URI's parameters where the URI stands: the
  // defaults come first so that the URI's and the string's own win.
  for (const std::string text :
       {"postgresql://db1/team?tcp_user_timeout=9000", "Provider=PostgreSQL;Host=db1"}) {
    const auto parameters = PostgresParametersFor(text, "", "");
    ASSERT_TRUE(parameters.has_value());
    const auto& keywords = parameters->keywords;
    const auto position = [&](const std::string& keyword) {
      for (size_t i = 0; i < keywords.size(); ++i) {
        if (keywords[i].first == keyword) return i;
      }
      return keywords.size();
    };
    EXPECT_LT(position("tcp_user_timeout"), position(text[0] == 'p' ? "dbname" : "host")) << text;
    EXPECT_LT(position("keepalives_idle"), position(text[0] == 'p' ? "dbname" : "host")) << text;
  }
}

TEST(PostgresConnect, ConnectionStringsBecomeLibpqKeywordsValueByValue) {
  ScopedOdbcIni ini(
      "[ODBC Data Sources]\nteam = PostgreSQL Unicode\n\n[team]\nDriver = PostgreSQL Unicode\n"
      "Servername = db2\nPort = 5433\nDatabase = sales\nUsername = bob\nPassword = pw\n\n"
      "[other]\nServer = db3\nUID = carol\nPWD = x\n");
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"Provider=PostgreSQL;Host=db1;Port=6543;Database=team;User ID=ann;Password=secret",
       "dbname=team host=db1 password=secret port=6543 user=ann"},
      {"provider=postgresql; Server = db2 ;Initial Catalog=sales;UID=bob;PWD=pw;SSL Mode=require",
       "dbname=sales host=db2 password=pw sslmode=require user=bob"},
      {"Provider=PostgreSQL;Data Source=/run/pg;Username=carol;Application Name=mine",
       "application_name=mine host=/run/pg user=carol"},
      // Quoted values keep what would otherwise end or start an item: no value becomes a key.
      {"Provider=PostgreSQL;Host=db1;Password='a;b=c host=evil ''x''';Database=\"t;u\"",
       "dbname=t;u host=db1 password=a;b=c host=evil 'x'"},
      {"Provider=PostgreSQL;Host=db1;Connect Timeout=7", "connect_timeout=7 host=db1"},
      // A later item wins; unknown items are ignored.
      {"Provider=PostgreSQL;Host=a;Persist Security Info=False;Host=b;options=-c x=y", "host=b"},
      // Data sources come from odbc.ini; items of the string override the data source's.
      {"DSN=team", "dbname=sales host=db2 password=pw port=5433 user=bob"},
      {"Provider=MSDASQL;DSN=OTHER;User ID=dan", "host=db3 password=x user=dan"},
      {"postgresql://ann@db1:6543/team?sslmode=require",
       "URI dbname=postgresql://ann@db1:6543/team?sslmode=require"},
      {"  POSTGRES://db1/team", "URI dbname=POSTGRES://db1/team"},
      // Strings that name no PostgreSQL database are someone else's.
      {"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=/tmp/x.db", "someone else's"},
      {"Host=db1", "someone else's"},
      {"", "someone else's"},
      {"mysql://db1/team", "someone else's"}};
  for (const auto& [connection_string, expected] : cases) {
    EXPECT_EQ(Describe(connection_string), expected) << connection_string;
  }
  // The user name and password given to the open override the string's.
  EXPECT_EQ(Describe("Provider=PostgreSQL;Host=h;User ID=ann;Password=a", "bob", "b"),
            "host=h password=b user=bob");
  EXPECT_EQ(PostgresParametersFor("Provider=PostgreSQL;Host=h;Search Path=team, public", "", "")
                ->search_path,
            "team, public");
  const AutomationError missing = ErrorOf([] { PostgresParametersFor("DSN=nosuch", "", ""); });
  EXPECT_EQ(missing.number(), err::kDatabaseError);
  EXPECT_EQ(missing.source(), kComponentSource);
  EXPECT_NE(missing.description().find("nosuch"), std::string::npos);
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
  std::ofstream(dir.File("team.udl")) << "[oledb]\n; comment\n" << plain << "\n";
  const auto name = [](const std::string& connection_string) {  // of the catalog's top folder
    DBConnection db;
    db.OpenConnection(connection_string, "postgres", "");
    return db.GetRecordsetRO("SELECT sName FROM Folder").Value("sName").ToText();
  };
  for (const std::string& form :
       {plain, server->Uri(database), std::string("DSN=team"),
        std::string("Provider=MSDASQL;DSN=team"), "File Name=" + dir.File("team.udl"),
        "Provider=PostgreSQL;Host=" + server->socket_dir() +
            ";Port=" + std::to_string(server->port()) + ";Database=" + database}) {
    EXPECT_EQ(name(form), "Team") << form;
  }
}

}  // namespace
}  // namespace clipcat::testing
