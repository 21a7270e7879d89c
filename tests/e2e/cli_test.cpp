// The clipcat command as scripts and people use it: which catalog it opens, the everyday
// commands, their output forms, and the call contract with its error form and exit statuses.
#include <string>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

constexpr const char* kRead = "TORVEL.ClippingDataRead";
constexpr const char* kWrite = "TORVEL.ClippingDataWrite";
constexpr size_t npos = std::string::npos;

TEST_F(Cli, ANamedMissingCatalogIsNeverMadeWhileTheDefaultIsMadeAndSeededOnce) {
  EXPECT_NE(Fails({"tree"}).find("(error 510, clipcat)"), npos);
  EXPECT_FALSE(fs::exists(catalog_));
  EXPECT_EQ(Ok({"init", "--name", "Personal"}), "created " + catalog_ + "\n");
  EXPECT_EQ(Trim(Ok({"tree"})), "Personal  [1]");
  EXPECT_EQ(Fails({"init"}).rfind("error: ", 0), 0u);
  EXPECT_EQ(Ok({"tour"}).find("sample library"), npos) << "a named catalog is never seeded";

  const fs::path other = dir_ / "other";
  EXPECT_EQ(Run({"tree"}, "", {{"XDG_DATA_HOME", other.string()}}).status, 0);
  EXPECT_TRUE(fs::exists(other / "clipcat" / "catalog.db"));
  const std::string path = (dir_ / "data" / "clipcat" / "catalog.db").string();
  const Result tour = Run({"tour"});
  ASSERT_EQ(tour.status, 0) << tour.err;
  EXPECT_NE(tour.out.find("Created a new catalog with a sample library: " + path), npos);
  for (const char* part : {"Spreadsheets", "Greeting", "Correspondence", "Dear Sir or Madam,"}) {
    EXPECT_NE(tour.out.find(part), npos) << part << " in " << tour.out;
  }
  const std::string before = Run({"export"}).out, history = Run({"history"}).out;
  EXPECT_NE(Run({"tour"}).out.find("Catalog: " + path), npos);
  EXPECT_EQ(Run({"export"}).out, before);
  EXPECT_EQ(Run({"history"}).out, history) << "the tour does not count as a use";
}

TEST_F(Cli, FoldersAndClippingsAreMadeShownRenamedAndRemoved) {
  Ok({"init", "--name", "Personal"});
  const std::string letters = Trim(Ok({"mkdir", "1", "Letters"}));
  const std::string inner = Trim(Ok({"mkdir", letters, "Inner"}));
  const std::string greeting =
      Trim(Ok({"add", letters, "Greeting", "--text", "Dear Sir,\r\n\tline two"}));
  const std::string piped = Trim(Ok({"add", letters, "Piped", "--type", "1"}, "{\\rtf1 x}"));
  const std::string deep = Trim(Ok({"add", inner, "Deep", "--text", "x"}));
  EXPECT_EQ(FirstColumn(Ok({"ls", letters})), (Ids{greeting, piped}));
  // --raw writes the content byte for byte, carriage return and tab included.
  EXPECT_EQ(Ok({"show", greeting, "--raw", "2"}), "Dear Sir,\r\n\tline two");
  EXPECT_EQ(Ok({"show", piped, "--raw", "1"}), "{\\rtf1 x}");
  EXPECT_NE(Ok({"show", greeting}).find("  " + letters + "  Letters\n"), npos);

  Ok({"rename", greeting, "Salutation"});
  Ok({"rename", inner, "Outer"});
  EXPECT_EQ(Ok({"tree"}),
            "Personal  [1]\n  Letters  [" + letters + "]\n    Outer  [" + inner + "]\n");
  EXPECT_NE(Ok({"ls", letters}).find("Salutation"), npos);
  EXPECT_NE(Fails({"rename", piped, "salutation"}).find(" (error 508, Data Services)\n"), npos);
  EXPECT_NE(Fails({"add", letters, "Salutation", "--text", "x"}).find("(error 508, "), npos);

  // The entities' own XML on request.
  EXPECT_EQ(Ok({"tree", "--xml"}).rfind("<Folders><Folder Folderid=\"1\"", 0), 0u);
  EXPECT_EQ(Ok({"--xml", "ls", inner}).rfind("<clippings><clipping ClippingID=\"" + deep + "\"", 0),
            0u);
  EXPECT_NE(Ok({"--xml", "show", deep}).find("<clippingdataitem datatype=\"2\">x</"), npos);
  EXPECT_EQ(Ok({"--xml", "mkdir", "1", "Made"}).rfind("<Folder ", 0), 0u);
  EXPECT_EQ(Ok({"--xml", "add", "1", "Made", "--text", "t"}).rfind("<clipping ", 0), 0u);

  // rm marks deleted; --permanently removes, a folder with everything below it.
  Ok({"rm", piped});
  EXPECT_EQ(FirstColumn(Ok({"ls", letters})), Ids{greeting});
  EXPECT_NE(Ok({"call", kRead, "GetClipping", piped}).find("Status=\"4\""), npos);
  Ok({"rm", greeting, "--permanently"});
  EXPECT_EQ(Ok({"call", kRead, "GetClipping", greeting}), "Nothing\n");
  Ok({"rm", letters, "--permanently", "--force"});
  EXPECT_EQ(Ok({"call", kRead, "GetClipping", deep}), "Nothing\n");
  EXPECT_EQ(WithoutTreeIds(Ok({"tree"})), "Personal\n  Made\n");
  EXPECT_EQ(Fails({"rm", "999"}),
            "error: no clipping or folder has the id 999 (error 5, clipcat)\n");
}

TEST_F(Cli, CategoriesSearchAndHistory) {
  Ok({"init", "--name", "Personal"});
  const std::string letters = Trim(Ok({"mkdir", "1", "Letters"}));
  const std::string inner = Trim(Ok({"mkdir", letters, "Inner"}));
  const std::string greeting =
      Trim(Ok({"add", letters, "Greeting", "--text", "Dear", "--description", "hello"}));
  const std::string closing = Trim(Ok({"add", letters, "Closing", "--text", "Regards"}));
  const std::string deep = Trim(Ok({"add", inner, "Deep greeting", "--text", "x"}));
  Ok({"tag", greeting, "Work"});
  Ok({"tag", closing, "work"});  // the same category: names compare without regard to case
  Ok({"tag", closing, "Home"});
  EXPECT_EQ(FirstColumn(Ok({"categories"})).size(), 2u);
  EXPECT_EQ(Ok({"--xml", "categories"}).rfind("<Categories><category Name=\"Home\"", 0), 0u);

  // By words, best first: a word of the name ranks a short name above a long one.
  EXPECT_EQ(FirstColumn(Ok({"search", "greeting"})), (Ids{greeting, deep}));
  EXPECT_EQ(FirstColumn(Ok({"search", "REGARDS"})), Ids{closing}) << "a word of the content";
  EXPECT_EQ(FirstColumn(Ok({"search", "greet*", "--folder", inner})), Ids{deep});
  EXPECT_EQ(FirstColumn(Ok({"search", "greeting -deep"})), Ids{greeting});
  EXPECT_EQ(FirstColumn(Ok({"search", "greeting", "--category", "work"})), Ids{greeting});
  EXPECT_NE(Ok({"search", "regards"}).find("[Regards]"), std::string::npos) << "the snippet";
  Fails({"search", "greeting", "--folder", letters, "--folder", inner}, 64);
  EXPECT_EQ(Fails({"search", "--", "-greeting"}),
            "error: The search text holds no word to look for (a word to leave out needs one to "
            "find). (error 5, Data Services)\n");
  // Some of a name or description, as searches did before words.
  EXPECT_EQ(FirstColumn(Ok({"search", "--names-only", "greeting", "--folder", letters})),
            Ids{greeting});
  EXPECT_EQ(
      FirstColumn(Ok({"search", "--names-only", "greeting", "--folder", letters, "--subfolders"})),
      (Ids{greeting, deep}));
  EXPECT_EQ(FirstColumn(Ok({"search", "--names-only", "Greet*"})), Ids{greeting})
      << "a pattern of the name";
  EXPECT_EQ(Ok({"search", "closing", "--xml"})
                .rfind("<clippings><clipping ClippingID=\"" + closing + "\"", 0),
            0u);
  EXPECT_EQ(FirstColumn(Ok({"search", "--names-only", "*", "--category", "Work"})),
            (Ids{greeting, closing}));
  EXPECT_EQ(
      FirstColumn(Ok({"search", "--names-only", "*", "--category", "Home", "--category", "Work"}))
          .size(),
      2u);
  // Nothing found: the empty table, status 1 and no error line, as grep does.
  const Result none =
      Run({"--catalog", catalog_, "search", "--names-only", "Deep*", "--category", "Home"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.err, "");
  EXPECT_EQ(FirstColumn(none.out), Ids{});
  EXPECT_EQ(Run({"--catalog", catalog_, "search", "nowhere-at-all"}).status, 1);
  EXPECT_EQ(Run({"--catalog", catalog_, "search", "nowhere-at-all", "--xml"}).out,
            "<clippings></clippings>\n");
  EXPECT_EQ(
      FirstColumn(Ok({"search", "--names-only", "Deep*", "--category", "Home", "--any-category"}))
          .size(),
      2u);
  Ok({"untag", greeting, "WORK"});
  EXPECT_EQ(FirstColumn(Ok({"search", "--names-only", "*", "--category", "Work"})), Ids{closing});
  EXPECT_EQ(Fails({"untag", greeting, "Nowhere"}),
            "error: no category is named Nowhere (error 5, clipcat)\n");

  // show counts as a use; access times are kept to the second, so no order is asserted.
  EXPECT_EQ(FirstColumn(Ok({"history"})), Ids{});
  Ok({"show", greeting});
  Ok({"show", closing, "--raw", "2"});
  const std::string history = Ok({"history"});
  EXPECT_EQ(history.rfind("ID  NAME      FOLDER   UPDATED  ", 0), 0u) << history;
  EXPECT_EQ(FirstColumn(history).size(), 2u);
  EXPECT_EQ(FirstColumn(Ok({"history", "--max", "1"})).size(), 1u);
  Fails({"history", "--max", "many"}, 64);
  Ok({"rm", greeting, "--permanently"});
  EXPECT_EQ(FirstColumn(Ok({"history"})), Ids{closing});
}

TEST_F(Cli, OtherCatalogsAreReachedThroughConnectionDetails) {
  const std::string shared = (dir_ / "shared.db").string();
  EXPECT_EQ(Run({"--connection", FileDetails(shared), "init", "--name", "Shared"}).out,
            "created " + shared + "\n");
  OkOn(shared, {"mkdir", "1", "Offers"});
  Ok({"init", "--name", "Personal"});
  const std::string linked = Trim(Ok({"link", "Team", "--connection", FileDetails(shared)}));
  EXPECT_NE(Ok({"tree"}).find("\nTeam  [P1C1]\n  Offers  [P1C2]\n"), npos);
  const std::string offer = Trim(Ok({"add", "P1C2", "Offer", "--text", "10% off"}));
  EXPECT_EQ(OkOn(shared, {"show", offer.substr(3), "--raw", "2"}), "10% off");
  fs::rename(shared, shared + ".away");
  const std::string away = "The catalog \"" + shared + "\" cannot be reached.";
  EXPECT_NE(Ok({"tree"}).find("Team  [" + linked + "] (offline: " + away + ")\n"), npos);
  // A link is checked before it is stored, unless it is said to be offline.
  EXPECT_NE(Fails({"link", "Again", shared}).find(away), npos);
  EXPECT_EQ(Ok({"tree"}).find("Again"), npos);
  const std::string again = Trim(Ok({"link", "Again", shared, "--offline"}));
  EXPECT_NE(Ok({"tree"}).find("Again  [" + again + "] (offline: "), npos);
  Ok({"unlink", again});
  // A file that is no catalog: the plain line, and with --verbose what the engine said.
  WriteFile(dir_ / "junk.db", "not a catalog at all, but long enough to be read as one\n");
  const Result junk =
      Run({"--catalog", catalog_, "--verbose", "link", "Junk", (dir_ / "junk.db").string()});
  EXPECT_EQ(junk.status, 1);
  EXPECT_EQ(junk.err.rfind("error: ", 0), 0u) << junk.err;
  EXPECT_NE(junk.err.find("\n  file is not a database\n"), npos) << junk.err;
  EXPECT_EQ(Fails({"link", "Junk", (dir_ / "junk.db").string()}).find("\n  "), npos);
  fs::rename(shared + ".away", shared);
  Ok({"unlink", linked});
  EXPECT_EQ(Ok({"tree"}).find("Team"), npos);
  EXPECT_TRUE(fs::exists(shared)) << "unlinking leaves the other catalog alone";
  Fails({"link", "Team"}, 64);

  const fs::path udl = dir_ / "other.udl";
  WriteFile(udl, "[oledb]\r\nProvider=Microsoft.Jet.OLEDB.4.0;Data Source=" +
                     (dir_ / "udl.db").string() + "\r\n");
  EXPECT_EQ(
      Run({"--connection",
           "<connectiondetails connectionstring=\"File Name=" + udl.string() + "\"/>", "init"})
          .status,
      0);
  EXPECT_TRUE(fs::exists(dir_ / "udl.db"));
  const std::map<std::string, std::string> refused = {
      {"<connectiondetails connectionstring=\"Provider=PostgreSQL;Host=db.invalid;Database=c\" "
       "datasourcetype=\"2\"/>",
       "(error 510, clipcat)"},
      {"<connectiondetails connectionstring=\"Provider=Nothing\"/>",
       "error: Provider cannot be found. It may not be properly installed. (error 3706, "
       "clipcat)\n"},
      {"not xml", "(error 424, "}};
  for (const auto& [details, error] : refused) {
    const Result r = Run({"--connection", details, "init"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err.rfind("error: ", 0), 0u) << r.err;
    EXPECT_NE(r.err.find(error), npos) << r.err;
  }
  EXPECT_EQ(Run({"--catalog", catalog_, "--connection", FileDetails(shared), "tree"}).status, 64);
}

TEST_F(Cli, CallPrintsEachResultFormAndTakesSpecialArguments) {
  Ok({"init", "--name", "Personal"});
  const std::string folder = Ok({"call", kRead, "GetFolder", "1"});
  EXPECT_EQ(folder.rfind("<Folder ", 0), 0u) << folder;
  EXPECT_EQ(folder.back(), '\n');
  EXPECT_EQ(Ok({"call", kRead, "InSameCatalog", "12", "P3C12"}), "False\n");
  EXPECT_EQ(Ok({"call", kRead, "InSameCatalog", "P3C1", "P3C9"}), "True\n");
  EXPECT_EQ(Ok({"call", kRead, "GetClipping", "999"}), "Nothing\n");
  EXPECT_EQ(Ok({"call", kRead, "GetFolderPathName", "1"}), "Personal\n");
  // An object parameter takes XML text; the optional check flag is left out.
  EXPECT_NE(Ok({"call", kWrite, "AddFolder", "<Folder name=\"X\"/>", "1"}).find("name=\"X\""),
            npos);
  EXPECT_EQ(Ok({"call", kWrite, "DeleteFolder", "2"}), "") << "no result, no output";

  const fs::path xml = dir_ / "folder.xml";
  WriteFile(xml, "<Folder name=\"@home\"/>");
  EXPECT_NE(Ok({"call", kWrite, "AddFolder", "@file:" + xml.string(), "1"}).find("\"@home\""),
            npos);
  // "@@" stands for one "@"; any other "@" form is a usage error, not text.
  EXPECT_EQ(Ok({"call", kRead, "FolderNameExists", "@@home", "1"}), "True\n");
  EXPECT_EQ(Ok({"call", kRead, "FolderNameExists", "@@@home", "1"}), "False\n");
  Fails({"call", kRead, "FolderNameExists", "@home", "1"}, 64);
  EXPECT_EQ(Fails({"call", kWrite, "AddFolder", "@nothing", "1"}).rfind("error: ", 0), 0u);
  EXPECT_NE(Fails({"call", kWrite, "AddFolder", "@file:" + (dir_ / "no.xml").string(), "1"})
                .find("(error 53, clipcat)"),
            npos);
}

TEST_F(Cli, FailuresUseTheErrorFormAndExitStatus) {
  Ok({"init", "--name", "Personal"});
  EXPECT_EQ(Fails({"call", kRead, "ClippingExists", "x"}),
            "error: Not yet implemented!! (error -999999, ClippingExists)\n");
  EXPECT_EQ(Fails({"call", kRead, "NoSuchMember"}),
            "error: Unknown name. (error -2147352570, TORVEL.ClippingDataRead)\n");
  EXPECT_EQ(Fails({"call", kRead, "InSameCatalog", "1", "2", "3"}),
            "error: Invalid number of parameters. (error -2147352562, "
            "TORVEL.ClippingDataRead)\n");
  EXPECT_EQ(Fails({"call", kRead, "GetClippingsHistroy", "many"}),
            "error: Type mismatch. (error -2147352571, TORVEL.ClippingDataRead)\n");
  EXPECT_NE(Fails({"call", "TORVEL.Nothing", "X"}).find("(error 429, "), npos);
  EXPECT_NE(Fails({"call", kRead, "GetFolder", "1 OR 1=1"}).find("(error 13, "), npos);
  EXPECT_FALSE(Fails({"no-such-command"}, 64).empty());
  Fails({"call", kRead}, 64);
}

}  // namespace
