// A team catalog on a PostgreSQL server, linked into two users' personal file catalogs: the two
// users (two processes) add, tag and search clippings in it at the same time, each sees the
// other's work, and nothing is lost.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
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
constexpr int kDataTypeText = 2;
const char* const kTeamCategory = "Team work";

std::string ClippingName(int user, int i) {
  return "u" + std::to_string(user) + "-" + std::to_string(i);
}
std::string UserCategory(int user) { return "User " + std::to_string(user); }
std::string ContentOf(int user, int i) {
  return "Clipping " + std::to_string(i) + " of user " + std::to_string(user) + ", 'quoted' \r\n" +
         std::string(static_cast<size_t>(i % 7) * 600, static_cast<char>('a' + user));
}

struct UserSetup {
  int user = 0;
  std::shared_ptr<ConnectionDetails> personal;
  std::string linked_folder;  // the team catalog's folder in the personal catalog
  std::string dir;            // where users leave their "done" marks and results
  int start_fd = -1;
};

std::string DoneMark(const std::string& dir, int user) {
  return dir + "/done-" + std::to_string(user);
}

// The clippings found by a search in the user's linked team folder and its subfolders.
std::vector<std::shared_ptr<Clipping>> Search(ClippingDataRead& read, const UserSetup& setup,
                                              const std::string& text,
                                              const std::string& category) {
  auto search = clipcat::Search::Create();
  search->SetSearchText(text);
  search->SetSearchSubFolders(true);
  search->FolderIDs()->Add(setup.linked_folder);
  search->CategoryNames()->Add(category);
  return read.SearchForClippings(search, setup.personal)->Items()->Snapshot();
}

int CountNamed(const std::vector<std::shared_ptr<Clipping>>& found, const std::string& prefix) {
  int count = 0;
  for (const auto& clipping : found) count += clipping->Name().rfind(prefix, 0) == 0 ? 1 : 0;
  return count;
}

// One user: adds and tags clippings in the team catalog through the personal catalog, searching
// now and then; then, once the other user is done too, checks that all of the other's work is
// there. Writes "seen <n>" (the other user's clippings a search found while both were at work)
// and "error ..." lines to its results file; answers 0 when nothing was wrong.
int RunUser(const UserSetup& setup) {
  std::ofstream out(setup.dir + "/user-" + std::to_string(setup.user) + ".txt");
  char go = 0;
  while (read(setup.start_fd, &go, 1) > 0) {
  }
  int errors = 0;
  const auto fail = [&](const std::string& what) {
    out << "error " << what << "\n";
    ++errors;
  };
  const int other = 1 - setup.user;
  ClippingDataWrite write;
  ClippingDataRead read;
  try {
    auto own = Category::Create();
    own->SetName(UserCategory(setup.user));
    own = write.AddCategory(own, setup.linked_folder, setup.personal);
    std::shared_ptr<Category> team;
    for (const auto& category :
         read.GetCategoriesFromLinkedFolder(setup.linked_folder, setup.personal)
             ->Items()
             ->Snapshot()) {
      if (category->Name() == kTeamCategory) team = category;
    }
    if (team == nullptr) {
      fail("no team category");
      return 1;
    }
    for (int i = 0; i < kClippingsPerUser; ++i) {
      auto clipping = Clipping::Create();
      clipping->SetName(ClippingName(setup.user, i));
      auto item = ClippingData::Create();
      item->SetClippingDataType(kDataTypeText);
      item->SetRawData(ContentOf(setup.user, i));
      clipping->ClippingData()->Add(item);
      const std::string id = write.AddClipping(clipping, setup.linked_folder, setup.personal)->ID();
      auto categories = Categories::Create();
      categories->AddCategory(own);
      categories->AddCategory(team);
      write.AddClippingToCategories(id, categories, setup.personal);
      if ((i + 1) % kSearchEvery == 0) {
        const auto found = Search(read, setup, "*", kTeamCategory);
        const std::string mine = "u" + std::to_string(setup.user) + "-";
        if (CountNamed(found, mine) != i + 1) {
          fail("after " + std::to_string(i + 1) + " adds a search found " +
               std::to_string(CountNamed(found, mine)) + " of them");
        }
        out << "seen " << CountNamed(found, "u" + std::to_string(other) + "-") << "\n";
      }
    }
  } catch (const AutomationError& e) {
    fail(e.what());
  }
  std::ofstream(DoneMark(setup.dir, setup.user)) << "done\n";
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
  while (!std::filesystem::exists(DoneMark(setup.dir, other))) {
    if (std::chrono::steady_clock::now() > deadline) {
      fail("the other user did not finish");
      return 1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }

  // The other user's work, as this user finds it.
  try {
    const auto found = Search(read, setup, "u" + std::to_string(other) + "-*", UserCategory(other));
    std::set<std::string> names;
    for (const auto& clipping : found) names.insert(clipping->Name());
    for (int i = 0; i < kClippingsPerUser; ++i) {
      if (names.count(ClippingName(other, i)) == 0) fail("missing " + ClippingName(other, i));
    }
    if (found.size() != static_cast<size_t>(kClippingsPerUser)) {
      fail("found " + std::to_string(found.size()) + " clippings of the other user");
    }
    for (const auto& clipping : found) {
      const auto whole = read.GetClipping(clipping->ID(), setup.personal, true);
      const int i = std::stoi(clipping->Name().substr(clipping->Name().find('-') + 1));
      const auto items = whole->ClippingData()->Snapshot();
      if (items.size() != 1 || items[0]->RawData() != ContentOf(other, i)) {
        fail("content of " + clipping->Name());
      }
      const std::string names_text =
          read.GetCategoriesNamesForClipping(whole->ID(), setup.personal);
      if (names_text.find(kTeamCategory) == std::string::npos ||
          names_text.find(UserCategory(other)) == std::string::npos) {
        fail("categories of " + clipping->Name() + ": " + names_text);
      }
    }
  } catch (const AutomationError& e) {
    fail(e.what());
  }
  return errors == 0 ? 0 : 1;
}

TEST(TeamCatalog, TwoUsersLinkingOneServerCatalogSeeEachOthersWorkAndLoseNothing) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  ScratchDir dir;
  const std::string database = server->CreateDatabase();
  CreateServerCatalog(server->ConnectionString(database), "Team");
  const auto team = ServerDetails(server->ConnectionString(database));

  std::vector<UserSetup> users(kUsers);
  for (int user = 0; user < kUsers; ++user) {
    const std::string path = dir.File("personal-" + std::to_string(user) + ".db");
    CreateCatalog(path, "Personal " + std::to_string(user));
    users[user].user = user;
    users[user].personal = FileDetails(path);
    users[user].dir = dir.File("");
    ClippingDataWrite write;
    users[user].linked_folder = write.AddLinkedFolder(team, "Team", users[user].personal)->ID();
  }
  {
    ClippingDataWrite write;
    auto category = Category::Create();
    category->SetName(kTeamCategory);
    write.AddCategory(category, users[0].linked_folder, users[0].personal);
  }
  // No open catalog may cross the fork.
  ReleaseAccessManager();

  Pipe start;
  std::vector<pid_t> children;
  for (UserSetup& setup : users) {
    setup.start_fd = start.read_end();
    children.push_back(StartChild([&] {
      start.CloseWrite();
      return RunUser(setup);
    }));
  }
  const auto started = std::chrono::steady_clock::now();
  start.CloseWrite();
  std::vector<int> seen_while_working(kUsers, 0);
  for (int user = 0; user < kUsers; ++user) {
    EXPECT_EQ(DescribeStatus(WaitChild(children[user])), "exit 0") << "user " << user;
    std::ifstream in(dir.File("user-" + std::to_string(user) + ".txt"));
    for (std::string line; std::getline(in, line);) {
      if (line.rfind("error", 0) == 0) ADD_FAILURE() << "user " << user << ": " << line;
      if (line.rfind("seen ", 0) == 0) {
        seen_while_working[user] = std::max(seen_while_working[user], std::stoi(line.substr(5)));
      }
    }
  }
  const double seconds = SecondsSince(started);

  // The team catalog itself holds every clipping once, with its item and both memberships.
  RawServerCatalog raw(server->Conninfo(database));
  EXPECT_EQ(raw.Count("SELECT count(*) FROM Clipping"), kUsers * kClippingsPerUser);
  EXPECT_EQ(raw.Count("SELECT count(DISTINCT sName) FROM Clipping"), kUsers * kClippingsPerUser);
  EXPECT_EQ(raw.Count("SELECT count(*) FROM ClippingDataType"), kUsers * kClippingsPerUser);
  EXPECT_EQ(raw.Count("SELECT count(*) FROM ClippingGroupClipping"),
            2 * kUsers * kClippingsPerUser);
  ClippingDataRead read;
  const auto team_clippings =
      read.GetClippingsForFolderAndChildFolders("1", "True", team)->Items()->Snapshot();
  std::map<std::string, std::string> content;
  for (const auto& clipping : team_clippings) {
    const auto items = clipping->ClippingData()->Snapshot();
    content[clipping->Name()] = items.empty() ? "<no item>" : items[0]->RawData();
  }
  for (int user = 0; user < kUsers; ++user) {
    for (int i = 0; i < kClippingsPerUser; ++i) {
      EXPECT_EQ(content[ClippingName(user, i)], ContentOf(user, i)) << ClippingName(user, i);
    }
  }
  ReleaseAccessManager();
  std::printf(
      "[ measured ] %d users x %d clippings on one team catalog in %.2f s; while both were at "
      "work, user 0's searches saw up to %d of user 1's clippings and user 1's up to %d of "
      "user 0's\n",
      kUsers, kClippingsPerUser, seconds, seen_while_working[0], seen_while_working[1]);
}

}  // namespace
}  // namespace clipcat::robustness
