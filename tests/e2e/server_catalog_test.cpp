// A catalog on a PostgreSQL server through the command: init deploys it, and the everyday
// commands, export and import work on it as on a file. Runs against a throwaway server; skipped
// where none can be started, except under CI.
#include <string>

#include "cli_fixture.h"
#include "support/postgres_test_server.h"

namespace {

using namespace clipcat_e2e;

class ServerCatalog : public Cli {
 protected:
  void SetUp() override {
    Cli::SetUp();
    CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
    server_ = server;
  }

  std::string Details(const std::string& database, const std::string& source_name = "") {
    return "<connectiondetails connectionstring=\"" + server_->ConnectionString(database) +
           "\" datasourcetype=\"2\" clippingsourcename=\"" + source_name + "\"/>";
  }

  Result OnServer(const std::string& details, std::vector<std::string> args,
                  const std::string& input = "") {
    args.insert(args.begin(), {"--connection", details});
    return Run(args, input);
  }

  ::clipcat::testing::PostgresTestServer* server_ = nullptr;
};

TEST_F(ServerCatalog, InitDeploysACatalogOnceAndNamesItsTopFolder) {
  const std::string named = Details(server_->CreateDatabase(), "Team");
  Result r = OnServer(named, {"init"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "created server catalog Team\n");
  EXPECT_EQ(Trim(OnServer(named, {"tree"}).out), "Team  [1]");
  r = OnServer(named, {"init"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("error -2147467259 (clipcat): ", 0), 0u) << r.err;
  EXPECT_EQ(Trim(OnServer(named, {"tree"}).out), "Team  [1]");

  const std::string plain = Details(server_->CreateDatabase());
  EXPECT_EQ(OnServer(plain, {"init"}).out, "created server catalog Shared\n");
  const std::string chosen = Details(server_->CreateDatabase(), "Team");
  EXPECT_EQ(OnServer(chosen, {"init", "--name", "Sales"}).out, "created server catalog Sales\n");
  EXPECT_EQ(Trim(OnServer(chosen, {"tree"}).out), "Sales  [1]");
}

TEST_F(ServerCatalog, AFileCatalogExportedAndImportedOnTheServerIsTheSameCatalog) {
  Ok({"init", "--name", "Personal"});
  const std::string letters = Trim(Ok({"mkdir", "1", "Letters"}));
  const std::string greeting = Trim(Ok({"add", letters, "Greeting", "--text", "Dear Sir,\r\n\t"}));
  WriteFile(dir_ / "binary", std::string("{\\rtf1 \x01\x00\xff}", 11));
  Ok({"add", letters, "Binary", "--type", "1", "--file", (dir_ / "binary").string()});
  Ok({"tag", greeting, "Work"});
  const std::string document = Ok({"export"});

  const std::string details = Details(server_->CreateDatabase());
  ASSERT_EQ(OnServer(details, {"init", "--name", "Elsewhere"}).status, 0);
  Result r = OnServer(details, {"import", "-"}, document);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "imported 1 folder, 2 clippings, 1 category, 1 membership\n");
  r = OnServer(details, {"export"});
  EXPECT_EQ(WithoutIds(r.out), WithoutIds(document));

  // mv and search on the server.
  const std::string drafts = Trim(OnServer(details, {"mkdir", "1", "Drafts"}).out);
  const std::string found = OnServer(details, {"search", "Greeting", "--category", "Work"}).out;
  const std::string id =
      found.substr(found.find('\n') + 1, found.find(' ', found.find('\n')) - found.find('\n') - 1);
  r = OnServer(details, {"mv", id, drafts});
  ASSERT_EQ(r.status, 0) << r.err;
  const std::string moved = Trim(r.out);
  EXPECT_EQ(OnServer(details, {"show", moved, "--raw", "2"}).out, "Dear Sir,\r\n\t");
  EXPECT_NE(OnServer(details, {"search", "*", "--category", "Work"}).out.find("Personal\\Drafts"),
            std::string::npos);
}

}  // namespace
