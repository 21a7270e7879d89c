// What the command prints can be given back: paths with "/" in every output form (a name's own
// "/" and "\" escaped as path arguments take them), linked catalogs under their linked folder's
// name, search, categories and history across linked catalogs (--local to stay in one, a line on
// standard error for one that does not answer), and import and export under --json and -q.
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;
using nlohmann::json;

constexpr size_t npos = std::string::npos;

// The cells of the table row whose first cell is `id`; empty when there is none.
std::vector<std::string> TsvRow(const std::string& table, const std::string& id) {
  std::istringstream lines(table);
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> cells;
    std::istringstream split(line);
    for (std::string cell; std::getline(split, cell, '\t');) cells.push_back(cell);
    if (!cells.empty() && cells[0] == id) return cells;
  }
  return {};
}

// A personal catalog with "Mail/Replies/Signature" and a folder "A/B" holding "Note", and a file
// catalog linked as "Team" holding "Replies/Thanks"; both clippings hold the word "thanks".
class LinkedPaths : public Cli {
 protected:
  void SetUp() override {
    Cli::SetUp();
    team_ = (dir_ / "team.db").string();
    OkOn(team_, {"init", "--name", "Shared"});
    const std::string replies = Trim(OkOn(team_, {"mkdir", "1", "Replies"}));
    thanks_ = "P1C" + Trim(OkOn(team_, {"add", replies, "Thanks", "--text", "thanks, team"}));
    OkOn(team_, {"tag", "Replies/Thanks", "Shared work"});
    team_replies_ = "P1C" + replies;

    Ok({"init", "--name", "Personal"});
    Ok({"mkdir", "1", "Mail"});
    Ok({"mkdir", "Mail", "Replies"});
    signature_ = Trim(Ok({"add", "Mail/Replies", "Signature", "--text", "thanks, Ann"}));
    Ok({"tag", signature_, "Work"});
    slashed_ = Trim(Ok({"mkdir", "1", "A/B"}));
    note_ = Trim(Ok({"add", slashed_, "Note", "--text", "a note"}));
    Ok({"link", "Team", "--connection", FileDetails(team_)});
  }

  json Json(Args args) {
    args.insert(args.begin(), {"--catalog", catalog_, "--json"});
    const Result r = Run(args);
    EXPECT_EQ(r.status, 0) << r.err;
    return json::parse(r.out);
  }

  std::string team_, thanks_, team_replies_, signature_, slashed_, note_;
};

TEST_F(LinkedPaths, EveryOutputFormShowsSlashPathsThatNameTheItemWhenGivenBack) {
  // show: the clipping's own path and its folder's, in the table, the TSV and JSON.
  const std::string shown = Ok({"show", signature_});
  EXPECT_NE(shown.find("\npath         Mail/Replies/Signature\n"), npos) << shown;
  EXPECT_EQ(shown.find('\\'), npos) << shown;
  EXPECT_EQ(TsvRow(Ok({"--tsv", "show", "A\\/B/Note"}), "path"),
            (std::vector<std::string>{"path", "A\\\\/B/Note"}))
      << "a TSV cell escapes the path's backslash once more";
  EXPECT_EQ(Json({"show", note_})["path"], "A\\/B");
  EXPECT_EQ(Json({"show", thanks_})["path"], "Team/Replies");
  EXPECT_NE(Ok({"show", thanks_}).find("\npath         Team/Replies/Thanks\n"), npos);

  // A path printed is an argument: the folder with "/" in its name, and the linked clipping.
  EXPECT_EQ(FirstColumn(Ok({"ls", "A\\/B"})), Ids{note_});
  EXPECT_EQ(Ok({"cat", "A\\/B/Note"}), "a note");
  EXPECT_EQ(Ok({"cat", "Team/Replies/Thanks"}), "thanks, team");

  // search: the FOLDER column, its TSV cell and the JSON path.
  const std::string found = Ok({"--tsv", "search", "thanks"});
  EXPECT_EQ(TsvRow(found, signature_).at(2), "Mail/Replies") << found;
  EXPECT_EQ(TsvRow(found, thanks_).at(2), "Team/Replies") << found;
  std::set<std::pair<std::string, std::string>> hits;
  for (const json& hit : Json({"search", "thanks"}))
    hits.insert({hit["id"].get<std::string>(), hit["path"].get<std::string>()});
  EXPECT_EQ(hits, (std::set<std::pair<std::string, std::string>>{{signature_, "Mail/Replies"},
                                                                 {thanks_, "Team/Replies"}}));
  const std::string named = Ok({"--tsv", "search", "--names-only", "*"});
  EXPECT_EQ(TsvRow(named, note_).at(2), "A\\\\/B") << named;
  EXPECT_EQ(TsvRow(named, thanks_).at(2), "Team/Replies") << named;
  EXPECT_NE(Ok({"search", "--names-only", "Note"}).find("  A\\/B  "), npos);
  // The top folder, whose path is empty, is "/" in a table.
  const std::string top = Trim(Ok({"add", "1", "At the top", "--text", "thanks"}));
  EXPECT_EQ(TsvRow(Ok({"--tsv", "search", "thanks"}), top).at(2), "/");

  // history: FOLDER beside each clipping, linked ones under the linked folder's name.
  Ok({"show", thanks_});
  Ok({"show", "A\\/B/Note"});
  const std::string used = Ok({"--tsv", "history"});
  EXPECT_EQ(used.substr(0, used.find('\n')), "ID\tNAME\tFOLDER\tUPDATED\tACCESSED");
  EXPECT_EQ(TsvRow(used, thanks_).at(2), "Team/Replies") << used;
  EXPECT_EQ(TsvRow(used, note_).at(2), "A\\\\/B") << used;
  std::set<std::string> paths;
  for (const json& clipping : Json({"history"})) paths.insert(clipping["path"].get<std::string>());
  EXPECT_EQ(paths, (std::set<std::string>{"Mail/Replies", "Team/Replies", "A\\/B"}));

  // trash: WAS IN, and the JSON path.
  Ok({"rm", "A\\/B/Note"});
  Ok({"rm", "Team/Replies/Thanks"});
  EXPECT_EQ(TsvRow(Ok({"--tsv", "trash"}), note_).at(3), "A\\\\/B");
  EXPECT_EQ(Json({"trash"})[0]["path"], "A\\/B");
  EXPECT_EQ(TsvRow(Ok({"--tsv", "trash", "--folder", "P1C1"}), thanks_).at(3), "Team/Replies");
}

TEST_F(LinkedPaths, SearchCategoriesAndHistoryReachLinkedCatalogsUnlessLocal) {
  std::set<std::string> found;
  for (const std::string& id : FirstColumn(Ok({"search", "thanks"}))) found.insert(id);
  EXPECT_EQ(found, (std::set<std::string>{signature_, thanks_}));
  EXPECT_EQ(FirstColumn(Ok({"search", "thanks", "--local"})), Ids{signature_});
  EXPECT_EQ(FirstColumn(Ok({"search", "thanks", "--category", "shared work"})), Ids{thanks_});
  EXPECT_NE(Fails({"search", "thanks", "--category", "shared work", "--local"})
                .find("There is no category named \"shared work\""),
            npos);
  std::set<std::string> named;
  for (const std::string& id : FirstColumn(Ok({"search", "--names-only", "thanks"}))) {
    named.insert(id);
  }
  EXPECT_EQ(named, std::set<std::string>{thanks_});
  EXPECT_EQ(Fails({"search", "--names-only", "thanks", "--local"}), "") << "nothing found: 1";

  // categories: each with the catalog it belongs to.
  const std::string listed = Ok({"--tsv", "categories"});
  EXPECT_EQ(listed.substr(0, listed.find('\n')), "ID\tNAME\tCATALOG\tDESCRIPTION");
  std::set<std::pair<std::string, std::string>> categories;
  for (const json& category : Json({"categories"})) {
    categories.insert(
        {category["name"].get<std::string>(), category["catalog"].get<std::string>()});
    EXPECT_EQ(category["id"].get<std::string>().rfind("P1C", 0) == 0, category["catalog"] == "Team")
        << category;
  }
  EXPECT_EQ(categories,
            (std::set<std::pair<std::string, std::string>>{{"Work", ""}, {"Shared work", "Team"}}));
  EXPECT_EQ(Json({"categories", "--local"}).size(), 1u);
  EXPECT_NE(Ok({"categories"}).find("  Team  "), npos);

  // history: the use of a linked clipping counts; --local leaves it out.
  Ok({"show", signature_});
  Ok({"show", thanks_});
  std::set<std::string> used;
  for (const std::string& id : FirstColumn(Ok({"history"}))) used.insert(id);
  EXPECT_EQ(used, (std::set<std::string>{signature_, thanks_}));
  EXPECT_EQ(FirstColumn(Ok({"history", "--local"})), Ids{signature_});
  EXPECT_EQ(FirstColumn(Ok({"history", "--local", "--max", "1"})), Ids{signature_});
}

TEST_F(LinkedPaths, ALinkedCatalogThatDoesNotAnswerIsNamedOnStandardErrorAndLeftOut) {
  std::filesystem::rename(team_, dir_ / "moved.db");
  const std::string note = "note: linked catalog \"Team\" did not answer: left out\n";
  for (const Args& args : {Args{"search", "thanks"}, Args{"search", "--names-only", "Sig"},
                           Args{"categories"}, Args{"history"}}) {
    Args full = {"--catalog", catalog_};
    full.insert(full.end(), args.begin(), args.end());
    const Result r = Run(full);
    EXPECT_EQ(r.err, note) << args[0];
    EXPECT_EQ(r.status, 0) << r.err;
    full.push_back("-q");
    EXPECT_EQ(Run(full).err, "") << args[0] << " -q";
    full.back() = "--local";
    EXPECT_EQ(Run(full).err, "") << args[0] << " --local asks no linked catalog";
  }
  EXPECT_EQ(FirstColumn(Ok({"search", "thanks"})), Ids{signature_});
}

TEST_F(LinkedPaths, ImportAndExportSummariseInJsonAndSayNothingWhenQuiet) {
  const std::string file = (dir_ / "backup.xml").string();
  const json exported = Json({"export", file});
  EXPECT_EQ(exported["file"], file);
  EXPECT_EQ(exported["portable"], false);
  EXPECT_EQ(exported["counts"], (json{{"folders", 4},
                                      {"clippings", 2},
                                      {"categories", 1},
                                      {"memberships", 1},
                                      {"links", 1},
                                      {"versions", 0},
                                      {"in_trash", 0}}));
  EXPECT_EQ(Ok({"-q", "export", "--portable", file}), "");
  EXPECT_NE(ReadFile(file).find("<member path=\"Mail/Replies/Signature\""), npos);
  // The document itself is standard output's: no summary can share it.
  EXPECT_NE(Fails({"--json", "export"}, 64).find("export --json needs FILE"), npos);
  EXPECT_EQ(Ok({"-q", "export"}).rfind("<?xml", 0), 0u) << "-q keeps the document";

  const std::string other = (dir_ / "other.db").string();
  OkOn(other, {"init", "--name", "Other"});
  const std::string into = Trim(OkOn(other, {"mkdir", "1", "In"}));
  OkOn(other, {"mkdir", "In", "Mail"});
  Result r = Run(
      {"--catalog", other, "--json", "import", file, "--into", "In", "--on-conflict", "rename"});
  ASSERT_EQ(r.status, 0) << r.err;
  const json imported = json::parse(r.out);
  EXPECT_EQ(imported["file"], file);
  EXPECT_EQ(imported["into"], into);
  EXPECT_EQ(imported["into_path"], "In");
  EXPECT_EQ(imported["counts"]["clippings"], 2);
  EXPECT_EQ(imported["counts"]["links"], 0) << "links are linked again only at the top";
  EXPECT_EQ(imported["notes"], (json::array({{{"kind", "renamed"},
                                              {"what", "folder"},
                                              {"folder", ""},
                                              {"name", "Mail"},
                                              {"new_name", "Mail (2)"}}})));
  r = Run({"--catalog", other, "-q", "import", file, "--into", "In", "--on-conflict", "skip"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "");
  r = Run({"--catalog", other, "import", file, "--into", "In", "--on-conflict", "skip"});
  EXPECT_NE(r.out.find("skipped clipping A\\/B/Note: the name is taken"), npos) << r.out;
  r = Run({"--catalog", other, "-q", "--json", "import", "-", "--into", "In"}, ReadFile(file));
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "") << "a failed import prints no summary";
}

}  // namespace
