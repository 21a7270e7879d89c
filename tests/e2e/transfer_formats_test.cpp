// Import and export that travel, through the built command: portable exports equal byte for byte
// for equal catalogs built differently; --on-conflict; names old catalogs hold exported and taken
// back fixed up; a directory of files and JSON (from standard input too) imported.
#include <cstdlib>
#include <string>
#include <vector>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

constexpr size_t npos = std::string::npos;

class TransferFormats : public Cli {
 protected:
  // The first data item of the clipping at `path` on `catalog`, as text.
  std::string Text(const std::string& catalog, const std::string& name) {
    return OkOn(catalog, {"show", IdOf(catalog, name), "--raw", "2"});
  }
};

TEST_F(TransferFormats, PortableExportsOfEqualCatalogsAreEqualAndImportBack) {
  Ok({"init", "--name", "Mine"});
  {
    const std::string mail = Trim(Ok({"mkdir", "1", "Mail"}));
    Ok({"mkdir", "1", "Archive"});
    Ok({"tag", Trim(Ok({"add", mail, "Zeta", "--text", "z"})), "Work"});
    Ok({"tag", Trim(Ok({"add", mail, "Alpha", "--text", "a"})), "Work"});
    Ok({"tag", Trim(Ok({"add", "1", "Top", "--text", "t"})), "Home"});
  }
  const std::string other = (dir_ / "other.db").string();
  OkOn(other, {"init", "--name", "Mine"});
  {
    OkOn(other, {"rm", Trim(OkOn(other, {"add", "1", "Scratch", "--text", "x"}))});
    OkOn(other, {"tag", Trim(OkOn(other, {"add", "1", "Top", "--text", "t"})), "Home"});
    OkOn(other, {"mkdir", "1", "Archive"});
    const std::string mail = Trim(OkOn(other, {"mkdir", "1", "Mail"}));
    OkOn(other, {"tag", Trim(OkOn(other, {"add", mail, "Alpha", "--text", "a"})), "Work"});
    OkOn(other, {"tag", Trim(OkOn(other, {"add", mail, "Zeta", "--text", "z"})), "Work"});
  }
  const std::string first = Ok({"export", "--portable"});
  EXPECT_EQ(OkOn(other, {"export", "--portable"}), first);
  EXPECT_NE(OkOn(other, {"export"}), Ok({"export"})) << "ids and order differ without it";
  EXPECT_EQ(first.find(" id="), npos) << first;
  EXPECT_NE(first.find("<member path=\"Mail/Alpha\" />"), npos) << first;
  EXPECT_LT(first.find("\"Alpha\""), first.find("\"Zeta\""));

  const fs::path file = dir_ / "portable.xml";
  EXPECT_EQ(
      Ok({"export", "--portable", file.string()}),
      "exported 3 folders, 3 clippings, 2 categories, 3 memberships to " + file.string() + "\n");
  const std::string copy = (dir_ / "copy.db").string();
  OkOn(copy, {"init", "--name", "Placeholder"});
  EXPECT_EQ(OkOn(copy, {"import", file.string()}),
            "imported 2 folders, 3 clippings, 2 categories, 3 memberships\n");
  EXPECT_EQ(OkOn(copy, {"export", "--portable"}), first);
}

TEST_F(TransferFormats, OnConflictSkipsReplacesOrRenames) {
  Ok({"init", "--name", "Mine"});
  const std::string mail = Trim(Ok({"mkdir", "1", "Mail"}));
  Ok({"add", mail, "Sig", "--text", "old"});
  const std::string document =
      "<clipcat-catalog version=\"1\"><folder name=\"\"><folder name=\"Mail\">"
      "<clipping name=\"Sig\"><data type=\"2\">new</data></clipping>"
      "<clipping name=\"More\"><data type=\"2\">more</data></clipping>"
      "</folder></folder></clipcat-catalog>";
  const std::string tree = Ok({"tree"});

  const std::string refused = Fails({"import", "-"}, 1, document);
  EXPECT_NE(refused.find("error: "), npos) << refused;
  EXPECT_EQ(Ok({"tree"}), tree) << "nothing was added";
  EXPECT_NE(Fails({"import", "-", "--on-conflict", "merge"}, 64, document).find("--on-conflict"),
            npos);

  EXPECT_EQ(Ok({"import", "-", "--on-conflict", "skip"}, document),
            "imported 0 folders, 1 clipping, 0 categories, 0 memberships; 1 skipped, 1 merged\n"
            "merged folder Mail into the folder of that name\n"
            "skipped clipping Mail/Sig: the name is taken\n");
  EXPECT_EQ(Text(catalog_, "Sig"), "old");
  EXPECT_EQ(Text(catalog_, "More"), "more");

  EXPECT_EQ(Ok({"import", "-", "--on-conflict", "replace"}, document),
            "imported 0 folders, 0 clippings, 0 categories, 0 memberships; 1 merged, 2 replaced\n"
            "merged folder Mail into the folder of that name\n"
            "replaced clipping Mail/Sig (its old content is kept as a version)\n"
            "replaced clipping Mail/More (its old content is kept as a version)\n");
  EXPECT_EQ(Text(catalog_, "Sig"), "new");
  EXPECT_NE(Ok({"versions", IdOf(catalog_, "Sig")}).find("Sig"), npos);

  EXPECT_EQ(Ok({"import", "-", "--on-conflict", "rename"}, document),
            "imported 1 folder, 2 clippings, 0 categories, 0 memberships; 1 renamed\n"
            "renamed folder Mail to \"Mail (2)\": the name is taken\n");
  EXPECT_EQ(WithoutTreeIds(Ok({"tree"})), "Mine\n  Mail\n  Mail (2)\n");
}

TEST_F(TransferFormats, NamesOldCatalogsHoldExportAndComeBackFixedUp) {
  Ok({"init", "--name", "Mine"});
  // The services take any name, as older versions did; the command line no longer does.
  for (const std::string name : {"", "   ", "Tab&#9;in"}) {
    Ok({"call", "TORVEL.ClippingDataWrite", "AddClipping",
        "<clipping Name=\"" + name +
            "\" Description=\"\"><clippingdata><clippingdataitem "
            "datatype=\"2\">x</clippingdataitem>"
            "</clippingdata></clipping>",
        "1"});
  }
  // A control character XML cannot carry at all, written into the file as an old version or
  // another program could have.
  Ok({"add", "1", "Bell", "--text", "ring"});
  ASSERT_EQ(std::system(("sqlite3 " + Quote(catalog_) +
                         " \"UPDATE Clipping SET sName = 'Bell' || char(7) WHERE sName = 'Bell'\"")
                            .c_str()),
            0);
  const fs::path file = dir_ / "old.xml";
  Ok({"export", file.string()});
  const std::string exported = ReadFile(file);
  EXPECT_NE(exported.find("name=\"Tab&#"), npos) << exported;
  EXPECT_NE(exported.find("name=\"QmVsbAc=\" name-encoding=\"base64\""), npos) << exported;

  const std::string copy = (dir_ / "copy.db").string();
  OkOn(copy, {"init", "--name", "Mine"});
  EXPECT_EQ(OkOn(copy, {"import", file.string()}),
            "imported 0 folders, 4 clippings, 0 categories, 0 memberships; 4 with a name fixed\n"
            "named a clipping \"(unnamed)\": its name was empty, blank or held control "
            "characters\n"
            "named a clipping \"(unnamed) (2)\": its name was empty, blank or held control "
            "characters\n"
            "named a clipping \"Bell\": its name was empty, blank or held control characters\n"
            "named a clipping \"Tab in\": its name was empty, blank or held control characters\n");
  EXPECT_EQ(FirstColumn(OkOn(copy, {"ls", "1"})).size(), 4u);
  EXPECT_EQ(Text(copy, "Bell"), "ring");
  // What was fixed exports and imports cleanly again.
  const std::string again = (dir_ / "again.db").string();
  OkOn(again, {"init", "--name", "Mine"});
  EXPECT_EQ(OkOn(again, {"import", "-"}, OkOn(copy, {"export"})),
            "imported 0 folders, 4 clippings, 0 categories, 0 memberships\n");
}

TEST_F(TransferFormats, ADirectoryAndJsonImport) {
  Ok({"init", "--name", "Mine"});
  const fs::path root = dir_ / "snippets";
  fs::create_directories(root / "Mail");
  WriteFile(root / "Hello.txt", "hello");
  WriteFile(root / "Logo.rtf", "{\\rtf1 logo}");
  WriteFile(root / ".hidden", "no");
  WriteFile(root / "Mail" / "Thanks.txt", "thanks");
  EXPECT_EQ(Ok({"import", root.string()}),
            "imported 1 folder, 3 clippings, 0 categories, 0 memberships\n");
  EXPECT_EQ(WithoutTreeIds(Ok({"tree"})), "Mine\n  Mail\n");
  EXPECT_EQ(Text(catalog_, "Thanks"), "thanks");
  EXPECT_EQ(Ok({"show", IdOf(catalog_, "Logo"), "--raw", "1"}), "{\\rtf1 logo}");

  const std::string json =
      R"({"folders": [{"name": "Notes", "clippings": [{"name": "Todo", "items": [)"
      R"({"type": "text", "text": "buy milk"}]}]}],)"
      R"( "categories": [{"name": "Home", "members": ["Notes/Todo"]}]})";
  EXPECT_EQ(Ok({"import", "-"}, json), "imported 1 folder, 1 clipping, 1 category, 1 membership\n");
  EXPECT_EQ(Text(catalog_, "Todo"), "buy milk");
  EXPECT_EQ(FirstColumn(Ok({"search", "--names-only", "*", "--category", "Home"})).size(), 1u);
  const fs::path file = dir_ / "more.json";
  WriteFile(file, R"({"clippings": [{"name": "Loose", "items": [{"type": 2, "text": "l"}]}]})");
  EXPECT_EQ(Ok({"import", file.string()}),
            "imported 0 folders, 1 clipping, 0 categories, 0 memberships\n");

  const std::string bad = Fails({"import", "-"}, 1, "{\"folders\": 3}");
  EXPECT_NE(bad.find("not a clipcat JSON document: \"folders\" of the document is not a list"),
            npos)
      << bad;
  EXPECT_NE(Fails({"import", (dir_ / "missing").string()}, 1).find("File not found"), npos);
}

}  // namespace
