// A team catalog on a PostgreSQL server, linked into two users' personal file catalogs: the two
// users (two processes) add, tag and search clippings in it at the same time, each sees the
// other's work, and nothing is lost.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "robustness/robustness_support.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"
#include "support/postgres_test_server.h"
#include "util/errors.h"

namespace clipcat::robustness {
namespace {

constexpr int kUsers = 2;
constexpr int kClippingsPerUser = 150;
constexpr int kSearchEvery = 25;
const char* const kTeamCategory = "Team work";

std::string Prefix(int user) { return "u" + std::to_string(user) + "-"; }
std::string UserCategory(int user) { return "User " + std::to_string(user); }
ItemSet ItemsFor(int user, int i) {
  return {{2, "Clipping " + std::to_string(i) + " of user " + std::to_string(user) +
                  ", 'quoted' \r\n" +
                  std::string(static_cast<size_t>(i % 7) * 600, static_cast<char>('a' + user))}};
}

struct User {
  std::shared_ptr<ConnectionDetails> personal;
  std::string linked_folder;  // the team catalog's folder in the personal catalog
  std::string done_mark;      // a file the user makes when it has done its work
};

// The clippings found by a search in the user's linked team folder and its subfolders.
std::vector<std::shared_ptr<Clipping>> Search(ClippingDataRead& read, const User& user,
                                              const std::string& text,
                                              const std::string& category) {
  auto search = clipcat::Search::Create();
  search->SetSearchText(text);
  search->SetSearchSubFolders(true);
  search->FolderIDs()->Add(user.linked_folder);
  search->CategoryNames()->Add(category);
  return read.SearchForClippings(search, user.personal)->Items()->Snapshot();
}

int CountNamed(const std::vector<std::shared_ptr<Clipping>>& found, const std::string& prefix) {
  int count = 0;
  for (const auto& clipping : found) count += clipping->Name().rfind(prefix, 0) == 0 ? 1 : 0;
  return count;
}

// One user: adds and tags clippings in the team catalog through the personal catalog, searching
// now and then; then, once the other user is done too, checks that all of the other's work is
// there. Writes "seen <n>" (the other user's clippings a search found while both were at work)
// and "error ..." lines.
void RunUser(const std::vector<User>& users, int user, std::ostream& out) {
  const User& me = users[user];
  const int other = 1 - user;
  ClippingDataWrite write;
  ClippingDataRead read;
  try {
    const auto own =
        write.AddCategory(NewCategory(UserCategory(user)), me.linked_folder, me.personal);
    auto categories = Categories::Create();
    categories->AddCategory(own);
    for (const auto& category :
         read.GetCategoriesFromLinkedFolder(me.linked_folder, me.personal)->Items()->Snapshot()) {
      if (category->Name() == kTeamCategory) categories->AddCategory(category);
    }
    if (categories->Items()->Count() != 2) out << "error no team category\n";
    for (int i = 0; i < kClippingsPerUser; ++i) {
      const auto clipping = NewClipping(Prefix(user) + std::to_string(i), "", ItemsFor(user, i));
      const std::string id = write.AddClipping(clipping, me.linked_folder, me.personal)->ID();
      write.AddClippingToCategories(id, categories, me.personal);
      if ((i + 1) % kSearchEvery == 0) {
        const auto found = Search(read, me, "*", kTeamCategory);
        const int mine = CountNamed(found, Prefix(user));
        if (mine != i + 1) out << "error: a search found " << mine << " of " << i + 1 << "\n";
        out << "seen " << CountNamed(found, Prefix(other)) << "\n";
      }
    }
  } catch (const AutomationError& e) {
    out << "error " << e.what() << "\n";
  }
  std::ofstream(me.done_mark) << "done\n";
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
  while (!std::filesystem::exists(users[other].done_mark)) {
    if (std::chrono::steady_clock::now() > deadline) {
      out << "error the other user did not finish\n";
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }

  // The other user's work, as this user finds it (an error here ends the user).
  const auto found = Search(read, me, Prefix(other) + "*", UserCategory(other));
  std::set<std::string> names;
  std::set<std::string> expected;
  for (const auto& clipping : found) names.insert(clipping->Name());
  for (int i = 0; i < kClippingsPerUser; ++i) expected.insert(Prefix(other) + std::to_string(i));
  if (names != expected || found.size() != expected.size()) {
    out << "error found " << found.size() << " clippings of the other user, not all of them\n";
  }
  for (const auto& clipping : found) {
    const auto whole = read.GetClipping(clipping->ID(), me.personal, true);
    const int i = std::stoi(clipping->Name().substr(Prefix(other).size()));
    if (ItemsOf(*whole) != ItemsFor(other, i)) out << "error content of " << i << "\n";
    const std::string names_text = read.GetCategoriesNamesForClipping(whole->ID(), me.personal);
    if (names_text.find(kTeamCategory) == std::string::npos ||
        names_text.find(UserCategory(other)) == std::string::npos) {
      out << "error categories of " << i << ": " << names_text << "\n";
    }
  }
}

TEST(TeamCatalog, TwoUsersLinkingOneServerCatalogSeeEachOthersWorkAndLoseNothing) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  ScratchDir dir;
  const std::string database = server->CreateDatabase();
  CreateServerCatalog(server->ConnectionString(database), "Team");
  const auto team = ServerDetails(server->ConnectionString(database));

  std::vector<User> users(kUsers);
  for (int user = 0; user < kUsers; ++user) {
    const std::string path = dir.File("personal-" + std::to_string(user) + ".db");
    CreateCatalog(path, "Personal " + std::to_string(user));
    users[user].personal = FileDetails(path);
    users[user].done_mark = dir.File("done-" + std::to_string(user));
    users[user].linked_folder =
        ClippingDataWrite().AddLinkedFolder(team, "Team", users[user].personal)->ID();
  }
  ClippingDataWrite().AddCategory(NewCategory(kTeamCategory), users[0].linked_folder,
                                  users[0].personal);
  ReleaseAccessManager();  // no open catalog may cross the fork
  double seconds = 0;
  const auto lines = RunTogether(
      kUsers, [&](int user, std::ostream& out) { RunUser(users, user, out); }, seconds);
  std::vector<int> seen(kUsers, 0);  // the most of the other's clippings one user's search saw
  for (int user = 0; user < kUsers; ++user) {
    for (const std::string& line : lines[user]) {
      if (line.rfind("seen ", 0) == 0) seen[user] = std::max(seen[user], std::stoi(line.substr(5)));
    }
  }

  // The team catalog itself holds every clipping once, with its item and both memberships (their
  // content each user has checked for the other's).
  RawServerCatalog raw(server->Conninfo(database));
  EXPECT_EQ(raw.Count("SELECT count(*) FROM Clipping"), kUsers * kClippingsPerUser);
  EXPECT_EQ(raw.Count("SELECT count(DISTINCT sName) FROM Clipping"), kUsers * kClippingsPerUser);
  EXPECT_EQ(raw.Count("SELECT count(*) FROM ClippingDataType"), kUsers * kClippingsPerUser);
  EXPECT_EQ(raw.Count("SELECT count(*) FROM ClippingGroupClipping"),
            2 * kUsers * kClippingsPerUser);
  ExpectNoLeftovers(raw);
  ReleaseAccessManager();
  std::printf(
      "[ measured ] %d users x %d clippings on one team catalog in %.2f s; while both were at "
      "work, user 0's searches saw up to %d of user 1's clippings and user 1's up to %d of "
      "user 0's\n",
      kUsers, kClippingsPerUser, seconds, seen[0], seen[1]);
}

}  // namespace
}  // namespace clipcat::robustness
