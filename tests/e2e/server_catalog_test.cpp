// A catalog on a PostgreSQL server through the command: init deploys it, and export, import, mv
// and search work on it as on a file. Runs against a throwaway server; skipped where none can be
// started, except under CI.
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

  // Runs a command on a new database of the server, or the last one when `fresh` is false.
  Result OnServer(Args args, const std::string& source_name = "", bool fresh = false,
                  const std::string& input = "") {
    if (fresh || database_.empty()) database_ = server_->CreateDatabase();
    args.insert(args.begin(),
                {"--connection",
                 "<connectiondetails connectionstring=\"" + server_->ConnectionString(database_) +
                     "\" datasourcetype=\"2\" clippingsourcename=\"" + source_name + "\"/>"});
    return Run(args, input);
  }

  ::clipcat::testing::PostgresTestServer* server_ = nullptr;
  std::string database_;
};

TEST_F(ServerCatalog, InitDeploysACatalogOnceAndNamesItsTopFolder) {
  EXPECT_EQ(OnServer({"init"}, "Team").out, "created server catalog Team\n");
  EXPECT_NE(OnServer({"init"}, "Team").err.find("(error -2147467259, clipcat)"), std::string::npos);
  EXPECT_EQ(Trim(OnServer({"tree"}, "Team").out), "Team  [1]");
  EXPECT_EQ(OnServer({"init"}, "", true).out, "created server catalog Shared\n");
  EXPECT_EQ(OnServer({"init", "--name", "Sales"}, "Team", true).out,
            "created server catalog Sales\n");
  EXPECT_EQ(Trim(OnServer({"tree"}, "Team").out), "Sales  [1]");
}

TEST_F(ServerCatalog, AFileCatalogExportedAndImportedOnTheServerIsTheSameCatalog) {
  Ok({"init", "--name", "Personal"});
  const std::string letters = Trim(Ok({"mkdir", "1", "Letters"}));
  Ok({"tag", Trim(Ok({"add", letters, "Greeting", "--text", "Dear Sir,\r\n\t"})), "Work"});
  WriteFile(dir_ / "binary", std::string("{\\rtf1 \x01\x00\xff}", 11));
  Ok({"add", letters, "Binary", "--type", "1", "--file", (dir_ / "binary").string()});
  const std::string document = Ok({"export"});

  ASSERT_EQ(OnServer({"init", "--name", "Elsewhere"}, "", true).status, 0);
  EXPECT_EQ(OnServer({"import", "-"}, "", false, document).out,
            "imported 1 folder, 2 clippings, 1 category, 1 membership\n");
  EXPECT_EQ(WithoutIds(OnServer({"export"}).out), WithoutIds(document));
  const std::string drafts = Trim(OnServer({"mkdir", "1", "Drafts"}).out);
  const Ids found = FirstColumn(OnServer({"search", "Greeting", "--category", "Work"}).out);
  ASSERT_EQ(found.size(), 1u);
  const std::string moved = Trim(OnServer({"mv", found[0], drafts}).out);
  EXPECT_EQ(OnServer({"show", moved, "--raw", "2"}).out, "Dear Sir,\r\n\t");
  EXPECT_NE(OnServer({"search", "--names-only", "*", "--category", "Work"}).out.find("  Drafts  "),
            std::string::npos);
}

TEST_F(ServerCatalog, NoSlipDeletesATeamCatalogOrItsTopFolder) {
  ASSERT_EQ(OnServer({"init", "--name", "Team"}, "", true).status, 0);
  const std::string offers = Trim(OnServer({"mkdir", "1", "Offers"}).out);
  OnServer({"add", offers, "Offer", "--text", "10% off"});
  const std::string before = OnServer({"export"}).out;
  for (const Args& rm : {Args{"rm", "1", "--force"}, Args{"rm", "1", "--permanently", "-f"}}) {
    const Result r = OnServer(rm);
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("is the top folder of its catalog and cannot be deleted (error 511, "),
              std::string::npos)
        << r.err;
  }
  EXPECT_NE(OnServer({"unlink", offers}).err.find("(error 512, clipcat)"), std::string::npos);

  // Linked into a personal file catalog: neither the team catalog's top nor the link is deleted.
  Ok({"init", "--name", "Personal"});
  const std::string link =
      Trim(Ok({"link", "Team", "--connection",
               "<connectiondetails connectionstring=\"" + server_->ConnectionString(database_) +
                   "\" datasourcetype=\"2\"/>"}));
  EXPECT_NE(Ok({"tree"}).find("Team  [P1C1]\n  Offers  [P1C" + offers + "]"), std::string::npos);
  EXPECT_NE(Fails({"rm", "P1C1", "--force", "--permanently"}).find("(error 511, clipcat)"),
            std::string::npos);
  EXPECT_NE(Fails({"rm", link, "--force"}).find("(error 511, clipcat)"), std::string::npos);
  EXPECT_NE(Fails({"unlink", "P1C" + offers}).find("(error 512, clipcat)"), std::string::npos);
  EXPECT_EQ(OnServer({"export"}).out, before);
  Ok({"unlink", link});
  EXPECT_EQ(OnServer({"export"}).out, before) << "unlinking leaves the team catalog alone";
}

TEST_F(ServerCatalog, ALinkedTeamCatalogIsSearchedListedAndShownUnderItsLinkedFolderName) {
  ASSERT_EQ(OnServer({"init", "--name", "Shared"}, "", true).status, 0);
  const std::string offers = Trim(OnServer({"mkdir", "1", "Offers"}).out);
  const std::string offer =
      "P1C" + Trim(OnServer({"add", offers, "Offer", "--text", "spring offer"}).out);
  OnServer({"tag", "Offers/Offer", "Sales"});
  Ok({"init", "--name", "Personal"});
  const std::string mine = Trim(Ok({"add", "1", "My offer", "--text", "my spring offer"}));
  Ok({"tag", mine, "Mine"});
  Ok({"link", "Team", "--connection",
      "<connectiondetails connectionstring=\"" + server_->ConnectionString(database_) +
          "\" datasourcetype=\"2\"/>"});

  // search, by words and by names: the team's clipping with its id and its path from "Team".
  const std::string found = Ok({"--tsv", "search", "offer"});
  EXPECT_NE(found.find("\n" + offer + "\tOffer\tTeam/Offers\t"), std::string::npos) << found;
  EXPECT_NE(found.find("\n" + mine + "\tMy offer\t/\t"), std::string::npos) << found;
  EXPECT_EQ(FirstColumn(Ok({"search", "offer", "--local"})), Ids{mine});
  EXPECT_EQ(FirstColumn(Ok({"search", "offer", "--category", "sales"})), Ids{offer});
  const std::string named = Ok({"--tsv", "search", "--names-only", "Offer"});
  EXPECT_NE(named.find("\n" + offer + "\tOffer\tTeam/Offers\tSales\n"), std::string::npos) << named;
  EXPECT_EQ(FirstColumn(Ok({"search", "--names-only", "Offer", "--local"})), Ids{mine});

  // show and cat take the path printed; the use goes into the personal history.
  EXPECT_NE(Ok({"show", "Team/Offers/Offer"}).find("\npath         Team/Offers/Offer\n"),
            std::string::npos);
  EXPECT_EQ(Ok({"cat", "Team/Offers/Offer"}), "spring offer");
  const std::string used = Ok({"--tsv", "history"});
  EXPECT_NE(used.find("\n" + offer + "\tOffer\tTeam/Offers\t"), std::string::npos) << used;
  EXPECT_EQ(FirstColumn(Ok({"history", "--local"})), Ids{});

  // categories: the team's, marked with its catalog, after the personal ones.
  const std::string categories = Ok({"--tsv", "categories"});
  const size_t sales = categories.find("\tSales\tTeam\t");
  EXPECT_NE(sales, std::string::npos) << categories;
  EXPECT_LT(categories.find("\tMine\t/\t"), sales) << categories;
  EXPECT_EQ(categories.substr(categories.rfind('\n', sales) + 1, 3), "P1C") << categories;
  EXPECT_EQ(FirstColumn(Ok({"categories", "--local"})).size(), 1u);
}

TEST_F(ServerCatalog, TwoProcessesTaggingWithTheSameNewCategoryShareIt) {
  ASSERT_EQ(OnServer({"init", "--name", "Team"}, "", true).status, 0);
  const std::string first = Trim(OnServer({"add", "1", "First", "--text", "1"}).out);
  const std::string second = Trim(OnServer({"add", "1", "Second", "--text", "2"}).out);
  const std::string details = "<connectiondetails connectionstring=\"" +
                              server_->ConnectionString(database_) + "\" datasourcetype=\"2\"/>";
  constexpr int kRounds = 6;
  for (int round = 0; round < kRounds; ++round) {
    const std::string name = "Race " + std::to_string(round);
    const std::string a = CommandLine({"--connection", details, "tag", first, name}, {});
    const std::string b =
        CommandLine({"--connection", details, "tag", second, "RACE " + std::to_string(round)}, {});
    const std::string script = a + " 2>" + Quote((dir_ / "e1").string()) + " & p=$!; " + b + " 2>" +
                               Quote((dir_ / "e2").string()) +
                               " & q=$!; wait $p; rp=$?; wait $q; echo $rp $?";
    const std::string out = (dir_ / "statuses").string();
    ASSERT_EQ(std::system(("sh -c " + Quote(script) + " >" + Quote(out)).c_str()), 0);
    EXPECT_EQ(Trim(ReadFile(out)), "0 0")
        << "round " << round << ": " << ReadFile(dir_ / "e1") << ReadFile(dir_ / "e2");
  }
  EXPECT_EQ(FirstColumn(OnServer({"categories"}).out).size(), static_cast<size_t>(kRounds));
  for (int round = 0; round < kRounds; ++round) {
    EXPECT_EQ(FirstColumn(OnServer({"search", "--names-only", "*", "--category",
                                    "race " + std::to_string(round)})
                              .out)
                  .size(),
              2u)
        << round;
  }
}

// A team catalog in three commands: init makes the catalog and its roles, grant lets each member
// in (writing, or only reading), and a member links it by URI.
TEST_F(ServerCatalog, ATeamCatalogTakesItsMembersWithOneCommandEach) {
  database_ = server_->CreateDatabase();
  const std::string owner = server_->Uri(database_);
  const auto as = [&](const std::string& user) {
    std::string uri = owner;
    uri.replace(uri.find("postgres@"), 9, user + "@");
    return uri;
  };
  const std::string writer = database_ + "_bob", reader = database_ + "_carol";
  ASSERT_EQ(server_->Admin("CREATE ROLE " + writer + " LOGIN"), "");
  ASSERT_EQ(server_->Admin("CREATE ROLE " + reader + " LOGIN"), "");

  const Result made = Run({"team", "init", owner, "--name", "Team"});
  ASSERT_EQ(made.status, 0) << made.err;
  EXPECT_NE(made.out.find("clipcat_" + database_ + "_writers"), std::string::npos) << made.out;
  EXPECT_NE(Run({"--catalog", as(writer), "tree"}).status, 0) << "no rights before the grant";
  EXPECT_EQ(Run({"--catalog", owner, "team", "grant", writer}).status, 0);
  EXPECT_EQ(Run({"--catalog", owner, "team", "grant", reader, "--read-only"}).status, 0);

  const Result folder = Run({"--catalog", as(writer), "mkdir", "/", "Notes"});
  ASSERT_EQ(folder.status, 0) << folder.err;
  ASSERT_EQ(Run({"--catalog", as(writer), "add", "Notes", "Hello", "--text", "hi"}).status, 0);
  const Result read = Run({"--catalog", as(reader), "cat", "Notes/Hello"});
  EXPECT_EQ(read.status, 0) << read.err;
  EXPECT_EQ(read.out, "hi");
  EXPECT_EQ(Run({"--catalog", as(reader), "add", "Notes", "Mine", "--text", "x"}).status, 1);

  // A member links it into a personal catalog by its URI.
  Ok({"init", "--name", "Personal"});
  ASSERT_EQ(Run({"--catalog", catalog_, "link", "Team", as(writer)}).status, 0);
  EXPECT_EQ(Ok({"cat", "Team/Notes/Hello"}), "hi");

  // A user name is a name, whatever it holds; a file catalog has no roles.
  EXPECT_EQ(Run({"--catalog", owner, "team", "grant", "x\" TO public; --"}).status, 1);
  EXPECT_EQ(Run({"--catalog", as(reader), "cat", "Notes/Hello"}).out, "hi");
  EXPECT_NE(Fails({"team", "grant", writer}).find("A catalog in a file has no roles"),
            std::string::npos);
}

}  // namespace
