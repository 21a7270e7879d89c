// The clipcat command as scripts and people use it: exit codes, output forms and the call
// contract, on temporary catalogs.
#include <string>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

TEST_F(Cli, InitCreatesOnlyWhatItIsAskedToAndNeverANamedMissingCatalog) {
  // A named catalog that does not exist is unreachable: no file appears.
  Result r = OnCatalog({"tree"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("error -2147220994 ("), std::string::npos) << r.err;
  EXPECT_FALSE(fs::exists(catalog_));

  EXPECT_NE(Ok({"init", "--name", "Personal"}).find("created"), std::string::npos);
  EXPECT_TRUE(fs::exists(catalog_));
  EXPECT_EQ(Trim(Ok({"tree"})), "Personal  [1]");
  r = OnCatalog({"init"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("error ", 0), 0u) << r.err;

  // The default catalog is made on first use, in the private data directory.
  r = Run({"tree"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(fs::exists(dir_ / "data" / "clipcat" / "catalog.db"));
}

TEST_F(Cli, EverydayCommandsWorkOnFoldersAndClippings) {
  Ok({"init", "--name", "Personal"});
  const std::string letters = Trim(Ok({"mkdir", "1", "Letters"}));
  ASSERT_FALSE(letters.empty());
  const std::string greeting =
      Trim(Ok({"add", letters, "Greeting", "--text", "Dear Sir,\r\n\tline two"}));
  const std::string from_stdin = Trim(Ok({"add", letters, "Piped", "--type", "1"}, "{\\rtf1 x}"));
  EXPECT_NE(greeting, from_stdin);

  const std::string tree = Ok({"tree"});
  EXPECT_NE(tree.find("  Letters  [" + letters + "]"), std::string::npos) << tree;

  const std::string listing = Ok({"ls", letters});
  EXPECT_NE(listing.find("Greeting"), std::string::npos);
  EXPECT_NE(listing.find("Piped"), std::string::npos);

  // --raw writes the content byte for byte, carriage return and tab included.
  EXPECT_EQ(Ok({"show", greeting, "--raw", "2"}), "Dear Sir,\r\n\tline two");
  EXPECT_EQ(Ok({"show", from_stdin, "--raw", "1"}), "{\\rtf1 x}");
  EXPECT_NE(Ok({"show", greeting}).find("Personal\\Letters"), std::string::npos);

  Ok({"rename", greeting, "Salutation"});
  EXPECT_NE(Ok({"ls", letters}).find("Salutation"), std::string::npos);

  // A second clipping of the same name in one folder is refused with the store's error.
  const Result dup = OnCatalog({"add", letters, "Salutation", "--text", "x"});
  EXPECT_EQ(dup.status, 1);
  EXPECT_NE(dup.err.find("error -2147220996 (Data Services):"), std::string::npos) << dup.err;

  Ok({"rm", from_stdin});
  EXPECT_EQ(Ok({"ls", letters}).find("Piped"), std::string::npos);
  Ok({"tag", greeting, "Work"});
  EXPECT_NE(Ok({"categories"}).find("Work"), std::string::npos);
  const std::string found = Ok({"search", "Salut"});
  EXPECT_NE(found.find("Salutation"), std::string::npos) << found;
  EXPECT_NE(found.find("Work"), std::string::npos) << found;
  EXPECT_EQ(Ok({"search", "nothing-like-this"}).find("Salutation"), std::string::npos);
}

TEST_F(Cli, CallPrintsEachResultForm) {
  Ok({"init", "--name", "Personal"});
  const std::string folder = Ok({"call", "TORVEL.ClippingDataRead", "GetFolder", "1"});
  EXPECT_EQ(folder.rfind("<Folder ", 0), 0u) << folder;
  EXPECT_EQ(folder.back(), '\n');
  EXPECT_EQ(Ok({"call", "TORVEL.ClippingDataRead", "InSameCatalog", "12", "P3C12"}), "False\n");
  EXPECT_EQ(Ok({"call", "TORVEL.ClippingDataRead", "InSameCatalog", "P3C1", "P3C9"}), "True\n");
  EXPECT_EQ(Ok({"call", "TORVEL.ClippingDataRead", "GetClipping", "999"}), "Nothing\n");
  EXPECT_EQ(Ok({"call", "TORVEL.ClippingDataRead", "GetFolderPathName", "1"}), "Personal\n");

  // An object parameter takes XML text; the optional check flag may be left out.
  const std::string added =
      Ok({"call", "TORVEL.ClippingDataWrite", "AddFolder", "<Folder name=\"From XML\"/>", "1"});
  EXPECT_NE(added.find("name=\"From XML\""), std::string::npos) << added;
  // A member without a result prints nothing at all.
  EXPECT_EQ(Ok({"call", "TORVEL.ClippingDataWrite", "DeleteFolder", "2"}), "");
}

TEST_F(Cli, CallArgumentsBeginningWithAtAreSpecial) {
  Ok({"init", "--name", "Personal"});
  const fs::path xml = dir_ / "folder.xml";
  std::ofstream(xml) << "<Folder name=\"@home\"/>";
  const std::string from_file =
      Ok({"call", "TORVEL.ClippingDataWrite", "AddFolder", "@file:" + xml.string(), "1"});
  EXPECT_NE(from_file.find("name=\"@home\""), std::string::npos) << from_file;
  // "@@" stands for one "@"; the folder "@home" exists, "@@home" does not.
  EXPECT_EQ(Ok({"call", "TORVEL.ClippingDataRead", "FolderNameExists", "@@home", "1"}), "True\n");
  EXPECT_EQ(Ok({"call", "TORVEL.ClippingDataRead", "FolderNameExists", "@@@home", "1"}), "False\n");
  EXPECT_EQ(OnCatalog({"call", "TORVEL.ClippingDataRead", "FolderNameExists", "@home", "1"}).status,
            64);  // an unknown "@" form is a usage error, not text
  const Result nothing =
      OnCatalog({"call", "TORVEL.ClippingDataWrite", "AddFolder", "@nothing", "1"});
  EXPECT_EQ(nothing.status, 1);
  EXPECT_EQ(nothing.err.rfind("error ", 0), 0u) << nothing.err;
  const Result missing = OnCatalog({"call", "TORVEL.ClippingDataWrite", "AddFolder",
                                    "@file:" + (dir_ / "missing.xml").string(), "1"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.err.find("error 53 (clipcat): File not found"), std::string::npos);
}

TEST_F(Cli, FailuresUseTheErrorFormAndExitStatus) {
  Ok({"init", "--name", "Personal"});
  Result r = OnCatalog({"call", "TORVEL.ClippingDataRead", "ClippingExists", "x"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "error -999999 (ClippingExists): Not yet implemented!!\n");
  r = OnCatalog({"call", "TORVEL.ClippingDataRead", "NoSuchMember"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "error -2147352570 (TORVEL.ClippingDataRead): Unknown name.\n");
  r = OnCatalog({"call", "TORVEL.ClippingDataRead", "InSameCatalog", "1", "2", "3"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "error -2147352562 (TORVEL.ClippingDataRead): Invalid number of parameters.\n");
  r = OnCatalog({"call", "TORVEL.ClippingDataRead", "GetClippingsHistroy", "many"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "error -2147352571 (TORVEL.ClippingDataRead): Type mismatch.\n");
  r = OnCatalog({"call", "TORVEL.Nothing", "X"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("error 429 "), std::string::npos);
  // Usage errors exit with 64 and say what is wrong.
  r = Run({"no-such-command"});
  EXPECT_EQ(r.status, 64);
  EXPECT_FALSE(r.err.empty());
  r = OnCatalog({"call", "TORVEL.ClippingDataRead"});
  EXPECT_EQ(r.status, 64);
  // Hostile ids are refused, never spliced.
  r = OnCatalog({"call", "TORVEL.ClippingDataRead", "GetFolder", "1 OR 1=1"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("error 13 "), std::string::npos) << r.err;
}

}  // namespace
