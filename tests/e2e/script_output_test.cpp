// Output for scripts: --json documents with their fixed keys, dates in UTC and null for never,
// --tsv tables with their escapes, -q, and exit status 1 when what was named finds nothing.
#include <algorithm>
#include <ctime>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;
using nlohmann::json;

// The keys of a JSON object, sorted.
std::set<std::string> Keys(const json& object) {
  std::set<std::string> keys;
  for (const auto& [key, value] : object.items()) keys.insert(key);
  return keys;
}

const std::set<std::string> kFolderKeys = {"id",        "name",    "description", "guid",
                                           "parent_id", "updated", "offline"};
const std::set<std::string> kClippingKeys = {"id",        "name", "description", "guid",
                                             "folder_id", "path", "categories",  "updated",
                                             "accessed",  "data"};

// An ISO 8601 date in UTC to the second: 2026-11-26T01:40:00Z.
bool IsUtcIso(const json& value) {
  return value.is_string() && std::regex_match(value.get<std::string>(),
                                               std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ)"));
}

class ScriptOutput : public Cli {
 protected:
  // Parses the output of a successful command; a document that does not parse fails the test.
  json Json(Args args, const std::map<std::string, std::string>& env = {}) {
    args.insert(args.begin(), {"--catalog", catalog_, "--json"});
    const Result r = Run(args, "", env);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.empty() ? ' ' : r.out.back(), '\n') << "one document, then a newline";
    return json::parse(r.out);
  }
};

TEST_F(ScriptOutput, EveryEntityCommandWritesOneJsonDocumentWithItsKeys) {
  EXPECT_EQ(Json({"init", "--name", "Personal"}),
            (json{{"file", catalog_}, {"top_folder", nullptr}}));
  const json made = Json({"mkdir", "1", "Mail"});
  EXPECT_EQ(Keys(made), kFolderKeys);
  EXPECT_EQ(made["name"], "Mail");
  EXPECT_EQ(made["parent_id"], "1");
  EXPECT_EQ(made["offline"], false);
  const std::string mail = made["id"];
  const std::string replies = Json({"mkdir", mail, "Replies"})["id"];

  const json added =
      Json({"add", replies, "Signature", "--text", "Regards,\nAnn", "--description", "short one"});
  EXPECT_EQ(Keys(added), kClippingKeys);
  const std::string signature = added["id"];
  EXPECT_EQ(added["folder_id"], replies);
  EXPECT_EQ(added["path"], "Mail/Replies");
  EXPECT_EQ(added["description"], "short one");
  EXPECT_TRUE(IsUtcIso(added["updated"])) << added["updated"];
  EXPECT_TRUE(added["accessed"].is_null()) << "never used: null, not 1899";
  ASSERT_EQ(added["data"].size(), 1u);
  EXPECT_EQ(added["data"][0], (json{{"type", 2}, {"type_name", "text"}, {"bytes", 12}}));
  Ok({"tag", signature, "Work"});

  // tree: the top folders, each with its folders below it.
  const json tree = Json({"tree"});
  ASSERT_TRUE(tree.is_array());
  ASSERT_EQ(tree.size(), 1u);
  EXPECT_EQ(tree[0]["name"], "Personal");
  EXPECT_EQ(tree[0]["parent_id"], "0");
  ASSERT_EQ(tree[0]["folders"].size(), 1u);
  EXPECT_EQ(tree[0]["folders"][0]["id"], mail);
  EXPECT_EQ(tree[0]["folders"][0]["folders"][0]["name"], "Replies");
  EXPECT_EQ(tree[0]["folders"][0]["folders"][0]["folders"], json::array());

  const json listed = Json({"ls", replies});
  ASSERT_EQ(listed.size(), 1u);
  EXPECT_EQ(Keys(listed[0]), kClippingKeys);
  EXPECT_EQ(listed[0]["id"], signature);
  EXPECT_EQ(listed[0]["path"], "Mail/Replies");
  EXPECT_EQ(listed[0]["categories"], json::array({"Work"}));

  // show: the clipping with its content, its path with '/' below the top folder, categories.
  const json shown = Json({"show", signature});
  EXPECT_EQ(Keys(shown), kClippingKeys);
  EXPECT_EQ(shown["path"], "Mail/Replies");
  EXPECT_EQ(shown["categories"], json::array({"Work"}));
  EXPECT_EQ(shown["data"][0]["content"], "Regards,\nAnn");
  EXPECT_TRUE(IsUtcIso(shown["accessed"])) << "show counts as a use: " << shown["accessed"];

  EXPECT_EQ(Json({"ls", replies})[0]["accessed"], shown["accessed"]) << "a listing knows it too";
  const json history = Json({"history"});
  ASSERT_EQ(history.size(), 1u);
  EXPECT_EQ(history[0]["id"], signature);
  EXPECT_EQ(history[0]["path"], "Mail/Replies");
  EXPECT_EQ(history[0]["categories"], json::array({"Work"}));
  EXPECT_TRUE(IsUtcIso(history[0]["accessed"]));

  const json found = Json({"search", "regards"});
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0]["id"], signature);
  EXPECT_EQ(found[0]["path"], "Mail/Replies");
  EXPECT_EQ(found[0]["categories"], json::array({"Work"}));
  EXPECT_TRUE(found[0]["score"].is_number());
  EXPECT_NE(found[0]["snippet"].get<std::string>().find("Regards"), std::string::npos);
  const json by_name = Json({"search", "--names-only", "Sign*"});
  ASSERT_EQ(by_name.size(), 1u);
  EXPECT_EQ(by_name[0]["categories"], json::array({"Work"}));

  const json categories = Json({"categories"});
  ASSERT_EQ(categories.size(), 1u);
  EXPECT_EQ(Keys(categories[0]),
            (std::set<std::string>{"id", "name", "description", "updated", "catalog"}));
  EXPECT_EQ(categories[0]["name"], "Work");
  EXPECT_EQ(categories[0]["catalog"], "") << "the selected catalog's";

  // mv keeps the id and prints the moved item.
  const json moved = Json({"mv", signature, mail});
  EXPECT_EQ(moved["id"], signature);
  EXPECT_EQ(moved["folder_id"], mail);
  EXPECT_EQ(moved["path"], "Mail");
  EXPECT_EQ(moved["categories"], json::array({"Work"})) << "a move keeps the categories";

  Ok({"add", mail, "Changing", "--text", "one"});
  const std::string changing = IdOf(catalog_, "Changing");
  Ok({"rename", changing, "Changed"});
  const json versions = Json({"versions", changing});
  ASSERT_EQ(versions.size(), 1u);
  EXPECT_EQ(Keys(versions[0]),
            (std::set<std::string>{"version", "replaced", "by", "name", "description", "bytes"}));
  EXPECT_EQ(versions[0]["version"], 1);
  EXPECT_EQ(versions[0]["name"], "Changing");
  EXPECT_TRUE(IsUtcIso(versions[0]["replaced"]));
  EXPECT_EQ(Json({"versions", signature}), json::array()) << "none is an empty list";
  EXPECT_EQ(Json({"versions", "--keep", "7"}), (json{{"versions_kept", 7}}));
  EXPECT_EQ(Json({"versions", changing, "--keep", "7"}).size(), 1u) << "the versions, once";

  EXPECT_EQ(Json({"trash"}), json::array());
  EXPECT_EQ(Json({"rm", "--dry-run", mail}), (json{{"id", mail},
                                                   {"kind", "folder"},
                                                   {"name", "Mail"},
                                                   {"folders_below", 1},
                                                   {"clippings_below", 2},
                                                   {"permanently", false}}));
  Ok({"rm", "--force", mail});
  const json trash = Json({"trash"});
  ASSERT_EQ(trash.size(), 1u);
  EXPECT_EQ(Keys(trash[0]), (std::set<std::string>{"id", "kind", "name", "folder_id", "path",
                                                   "deleted", "deleted_by", "items_inside"}));
  EXPECT_EQ(trash[0]["id"], mail);
  EXPECT_EQ(trash[0]["kind"], "folder");
  EXPECT_EQ(trash[0]["items_inside"], 3);
  EXPECT_TRUE(IsUtcIso(trash[0]["deleted"]));

  const json info = Json({"info"});
  EXPECT_EQ(Keys(info), (std::set<std::string>{"versions", "clippings_with_versions",
                                               "version_bytes", "versions_kept", "trash"}));
  EXPECT_EQ(info["versions"], 1);
  EXPECT_EQ(info["trash"], 1);

  EXPECT_EQ(Json({"restore", mail}), (json{{"id", mail}, {"name", "Mail"}}));
  EXPECT_EQ(Json({"trash", "empty"}), (json{{"removed", 0}}));
}

TEST_F(ScriptOutput, DatesAreTheCatalogsLocalTimesInUtc) {
  Ok({"init", "--name", "Personal"});
  const std::string id = Trim(Ok({"add", "1", "Dated", "--text", "x"}));
  // The catalog keeps wall-clock times: written under UTC, read under a zone nine hours east
  // (a POSIX rule, which needs no zone files), the same stored time is nine hours earlier.
  Ok({"rm", id});
  const std::string deleted_text = Run({"--catalog", catalog_, "trash"}, "", {{"TZ", "UTC0"}}).out;
  std::smatch local;
  ASSERT_TRUE(
      std::regex_search(deleted_text, local, std::regex(R"((\d{4}-\d\d-\d\d) (\d\d:\d\d:\d\d))")))
      << deleted_text;
  const std::string as_utc = Json({"trash"}, {{"TZ", "UTC0"}})[0]["deleted"];
  const std::string from_east = Json({"trash"}, {{"TZ", "EAST-9"}})[0]["deleted"];
  const std::string from_west = Json({"trash"}, {{"TZ", "WEST5"}})[0]["deleted"];
  const auto seconds = [](const std::string& iso) {
    std::tm parts{};
    std::istringstream(iso) >> std::get_time(&parts, "%Y-%m-%dT%H:%M:%SZ");
    return timegm(&parts);
  };
  EXPECT_EQ(seconds(as_utc) - seconds(from_east), 9 * 3600) << as_utc << " " << from_east;
  EXPECT_EQ(seconds(from_west) - seconds(as_utc), 5 * 3600) << as_utc << " " << from_west;
  // Read as UTC, the stored wall-clock time (which the text form shows) is unchanged.
  const std::string written_zone_free = local[1].str() + "T" + local[2].str() + "Z";
  EXPECT_EQ(Json({"trash"}, {{"TZ", "UTC0"}})[0]["deleted"], written_zone_free)
      << "read as UTC, the stored time is unchanged";
}

TEST_F(ScriptOutput, NothingFoundIsAnEmptyListAndExitStatusOne) {
  Ok({"init", "--name", "Personal"});
  Ok({"add", "1", "Greeting", "--text", "hello"});
  for (const Args& args : {Args{"search", "absent"}, Args{"search", "--names-only", "absent"}}) {
    Args full = {"--catalog", catalog_, "--json"};
    full.insert(full.end(), args.begin(), args.end());
    const Result r = Run(full);
    EXPECT_EQ(r.status, 1) << args.back();
    EXPECT_EQ(json::parse(r.out), json::array()) << r.out;
    EXPECT_EQ(r.err, "");
  }
  // A named folder or clipping that does not exist is an error, not an empty document.
  for (const Args& args : {Args{"ls", "9999"}, Args{"show", "9999"}, Args{"versions", "9999"}}) {
    Args full = {"--catalog", catalog_, "--json"};
    full.insert(full.end(), args.begin(), args.end());
    const Result r = Run(full);
    EXPECT_EQ(r.status, 1) << args.front();
    EXPECT_EQ(r.out, "") << args.front();
    EXPECT_EQ(r.err.rfind("error: ", 0), 0u) << r.err;
  }
  // One form at a time.
  EXPECT_EQ(Run({"--catalog", catalog_, "--json", "--xml", "tree"}).status, 64);
  EXPECT_EQ(Run({"--catalog", catalog_, "--json", "--tsv", "tree"}).status, 64);
}

TEST_F(ScriptOutput, ContentThatIsNotUtf8TravelsAsBase64) {
  Ok({"init", "--name", "Personal"});
  const std::string bytes("\xff\xfe\x01z", 4);
  WriteFile(dir_ / "binary", bytes);
  const std::string id =
      Trim(Ok({"add", "1", "Binary", "--type", "1", "--file", (dir_ / "binary").string()}));
  const json shown = Json({"show", id});
  EXPECT_TRUE(shown["data"][0]["content"].is_null());
  EXPECT_EQ(shown["data"][0]["content_base64"], "//4Beg==");
  EXPECT_EQ(shown["data"][0]["bytes"], 4);
}

TEST_F(ScriptOutput, TsvRowsAreOneLineWithTabsNewlinesAndBackslashesEscaped) {
  Ok({"init", "--name", "Personal"});
  const std::string id = Trim(Ok({"add", "1", "Back\\slash", "--text", "alpha\tbeta\ngamma",
                                  "--description", "two\nlines\tand a tab"}));
  const std::string listed = Ok({"--tsv", "ls", "1"});
  EXPECT_EQ(listed.substr(0, listed.find('\n')), "ID\tNAME\tUPDATED");
  std::smatch row;
  ASSERT_TRUE(std::regex_search(
      listed, row,
      std::regex("\n" + id + R"(\tBack\\\\slash\t(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ)\n$)")))
      << listed;

  const std::string shown = Ok({"show", id, "--tsv"});
  EXPECT_NE(shown.find("\ndescription\ttwo\\nlines\\tand a tab\n"), std::string::npos) << shown;
  EXPECT_NE(shown.find("\nname\tBack\\\\slash\n"), std::string::npos) << shown;
  EXPECT_EQ(shown.find("alpha"), std::string::npos) << "the table alone, not the content";
  for (const std::string command : {"ls", "show", "history", "categories", "trash"}) {
    Args args = {"--tsv", command};
    if (command == "ls" || command == "show") args.push_back(command == "ls" ? "1" : id);
    const std::string table = Ok(args);
    // Every line, header included, has the header's number of cells.
    std::istringstream lines(table);
    std::string line;
    ASSERT_TRUE(std::getline(lines, line)) << command;
    const auto cells = std::count(line.begin(), line.end(), '\t');
    EXPECT_GT(cells, 0) << command;
    while (std::getline(lines, line)) {
      EXPECT_EQ(std::count(line.begin(), line.end(), '\t'), cells) << command << ": " << line;
    }
  }
  // An empty trash is a header line alone, not a sentence.
  EXPECT_EQ(Ok({"--tsv", "trash"}), "ID\tKIND\tNAME\tWAS IN\tDELETED\tBY\tWITH IT\n");
  const std::string tree = Ok({"--tsv", "tree"});
  EXPECT_EQ(tree, "ID\tPARENT\tNAME\n1\t0\tPersonal\n");
}

TEST_F(ScriptOutput, QuietPrintsOnlyWhatTheCommandExistsToProduce) {
  EXPECT_EQ(Ok({"-q", "init", "--name", "Personal"}), "");
  const std::string id = Trim(Ok({"add", "1", "Kept", "--text", "x", "--quiet"}));
  EXPECT_FALSE(id.empty()) << "add exists to give the id";
  EXPECT_EQ(Ok({"-q", "show", id, "--raw", "2"}), "x");
  Ok({"rename", id, "Kept again"});
  EXPECT_EQ(Ok({"-q", "revert", id, "1"}), "");
  EXPECT_EQ(Ok({"-q", "versions", "--keep", "5"}), "");
  EXPECT_EQ(Ok({"-q", "rm", id}), "");
  EXPECT_EQ(Ok({"-q", "restore", id}), "");
  EXPECT_NE(Ok({"-q", "ls", "1"}).find("Kept"), std::string::npos) << "a listing is the product";
  Ok({"rm", id});
  EXPECT_EQ(Ok({"-q", "trash", "empty"}), "");
  // Without -q the same commands say what they did.
  EXPECT_NE(Ok({"versions", "--keep", "5"}), "");
}

}  // namespace
