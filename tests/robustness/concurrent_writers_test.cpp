// Several processes writing one catalog (a SQLite file, a PostgreSQL database) at once through the
// write service: nothing any of them wrote is lost or mixed up, keys never collide, and no call
// fails because another process held a lock.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
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

constexpr int kWriters = 4;
constexpr int kClippingsPerWriter = 500;
// Every writer also tries to add each of these names; exactly one of the writers may win each.
constexpr int kContestedNames = 10;
constexpr int kContestEvery = kClippingsPerWriter / kContestedNames;
const char* const kRoot = "1";
const char* const kSharedCategoryNames[] = {"Red", "Green", "Blue"};

// Deleted clippings: every tenth, half of them for good and half marked deleted.
bool DeletedForGood(int i) { return i % 20 == 0; }
bool MarkedDeleted(int i) { return i % 20 == 10; }

std::string ClippingName(int writer, int i) {
  return "w" + std::to_string(writer) + "-" + std::to_string(i);
}
std::string Description(int writer, int i) {
  return "writer " + std::to_string(writer) + " item " + std::to_string(i);
}
std::string WriterCategory(int writer) { return "Writer " + std::to_string(writer); }

// A text and a Word XML item of letters that do not compress, of sizes on both sides of the
// 4096-byte pieces long values are written in.
ItemSet ItemsFor(int writer, int i) {
  ItemSet items;
  for (int32_t type : {2, 4}) {
    const size_t size = static_cast<size_t>((i * 7919 + type * 1013 + writer * 131) % 9000 + 1);
    const std::string text =
        Letters(static_cast<uint64_t>(writer * 1'000'003 + i * 17 + type), size);
    items.emplace_back(
        type, type == 2 ? text : "<doc w=\"" + std::to_string(writer) + "\">" + text + "</doc>");
  }
  return items;
}

// The shared categories a clipping joins: one or two of the three, by its number.
std::vector<int> SharedCategoriesOf(int i) {
  return i % 2 == 0 ? std::vector{i % 3, (i + 1) % 3} : std::vector{i % 3};
}

// One writer process: adds its clippings with two data items each, tags them with its own
// category and with shared ones, deletes every tenth, and races the other writers for the
// contested names. Writes "key <name> <key>" per clipping and "contested <k> won|lost" per
// contested name. Any other error ends the writer.
void RunWriter(int writer, std::ostream& out, const std::shared_ptr<ConnectionDetails>& details,
               const std::vector<std::string>& shared_ids) {
  ClippingDataWrite write;
  const auto own = write.AddCategory(NewCategory(WriterCategory(writer)), kRoot, details);
  std::vector<std::string> keys(kClippingsPerWriter);
  for (int i = 0; i < kClippingsPerWriter; ++i) {
    const std::string name = ClippingName(writer, i);
    keys[i] = write
                  .AddClipping(NewClipping(name, Description(writer, i), ItemsFor(writer, i)),
                               kRoot, details)
                  ->ID();
    out << "key " << name << " " << keys[i] << "\n";
    const std::vector<int> shared = SharedCategoriesOf(i);
    write.AddClippingToCategory(keys[i], shared_ids[shared[0]], details);
    auto categories = Categories::Create();
    categories->AddCategory(own);
    for (size_t s = 1; s < shared.size(); ++s) {
      categories->AddCategory(NewCategory("", shared_ids[shared[s]]));
    }
    write.AddClippingToCategories(keys[i], categories, details);

    // Deletes trail the adds, so that they interleave with the other writers' adds.
    const int doomed = i - 9;
    if (doomed >= 0 && (DeletedForGood(doomed) || MarkedDeleted(doomed))) {
      write.DeleteClipping(keys[doomed], details, DeletedForGood(doomed));
    }
    if (i % kContestEvery == 0) {
      const std::string contest = std::to_string(i / kContestEvery);
      try {
        write.AddClipping(NewClipping("contested-" + contest, "", {}), kRoot, details);
        out << "contested " << contest << " won\n";
      } catch (const AutomationError& e) {
        if (e.number() != err::kClippingNameNotUnique) throw;
        out << "contested " << contest << " lost\n";
      }
    }
  }
}

// Runs the writers on the catalog of `details` (made, with its root folder, by the caller) and
// checks through `raw` what they left there.
void RunWritersAndCheck(const std::shared_ptr<ConnectionDetails>& details, RawSql& raw) {
  std::vector<std::string> shared_ids;
  {
    ClippingDataWrite write;
    for (const char* name : kSharedCategoryNames) {
      shared_ids.push_back(write.AddCategory(NewCategory(name), kRoot, details)->ID());
    }
  }
  ReleaseAccessManager();  // no open catalog may cross the fork
  double seconds = 0;
  const auto lines = RunTogether(
      kWriters, [&](int writer, std::ostream& out) { RunWriter(writer, out, details, shared_ids); },
      seconds);

  // Keys: every add answered one, no two alike.
  std::map<std::string, std::string> keys;  // clipping name -> key
  std::set<std::string> distinct_keys;
  std::map<int, int> wins;  // contested name number -> wins
  for (const auto& writer_lines : lines) {
    for (const std::string& line : writer_lines) {
      std::istringstream words(line);
      std::string kind, first, second;
      words >> kind >> first >> second;
      if (kind == "key") {
        EXPECT_TRUE(keys.emplace(first, second).second) << line;
        EXPECT_TRUE(distinct_keys.insert(second).second) << "key answered twice: " << line;
      }
      if (kind == "contested") wins[std::stoi(first)] += second == "won" ? 1 : 0;
    }
  }
  EXPECT_EQ(keys.size(), size_t{kWriters * kClippingsPerWriter});
  // Exactly one writer won each contested name, and the catalog holds each once.
  for (int contest = 0; contest < kContestedNames; ++contest) {
    EXPECT_EQ(wins[contest], 1) << "contested-" << contest;
  }
  EXPECT_EQ(raw.Count("SELECT count(*) FROM Clipping WHERE sName LIKE 'contested-%'"),
            kContestedNames);
  ExpectNoLeftovers(raw);
  std::map<std::string, std::set<std::string>> categories_of;  // by clipping name
  for (const auto& row : raw.Rows("SELECT c.sName, g.sName FROM ClippingGroupClipping m JOIN "
                                  "Clipping c ON c.lClippingID = m.lClippingId JOIN GroupClipping "
                                  "g ON g.lGroupClippingID = m.lGroupClippingId")) {
    categories_of[row[0]].insert(row[1]);
  }

  // Every clipping through the read service, with its content.
  ClippingDataRead read;
  std::map<std::string, std::shared_ptr<Clipping>> stored;
  for (const auto& clipping :
       read.GetClippingsForFolderAndChildFolders(kRoot, "True", details)->Items()->Snapshot()) {
    EXPECT_TRUE(stored.emplace(clipping->Name(), clipping).second) << clipping->Name();
  }
  for (int writer = 0; writer < kWriters; ++writer) {
    for (int i = 0; i < kClippingsPerWriter; ++i) {
      const std::string name = ClippingName(writer, i);
      SCOPED_TRACE(name);
      const auto found = stored.find(name);
      if (DeletedForGood(i)) {
        EXPECT_EQ(found, stored.end()) << "deleted for good, still there";
        EXPECT_EQ(categories_of.count(name), 0u);
        continue;
      }
      ASSERT_NE(found, stored.end()) << "lost";
      const Clipping& clipping = *found->second;
      EXPECT_EQ(clipping.ID(), keys[name]);
      EXPECT_EQ(clipping.Description(), Description(writer, i));
      EXPECT_TRUE(ItemsOf(clipping) == ItemsFor(writer, i)) << "other data items";
      EXPECT_EQ(clipping.ClippingStatus() == 4, MarkedDeleted(i)) << clipping.ClippingStatus();
      std::set<std::string> expected;
      if (!MarkedDeleted(i)) {
        expected.insert(WriterCategory(writer));
        for (int shared : SharedCategoriesOf(i)) expected.insert(kSharedCategoryNames[shared]);
      }
      EXPECT_EQ(categories_of[name], expected);
    }
  }
  std::printf(
      "[ measured ] %d writers x %d clippings (2 items, 2-3 categories each, 1 in 10 "
      "deleted) in %.2f s\n",
      kWriters, kClippingsPerWriter, seconds);
}

TEST(ConcurrentWriters, FourProcessesOnOneFileCatalogLoseNothing) {
  ScratchDir dir;
  const std::string path = dir.File("catalog.db");
  CreateCatalog(path, "Personal");
  RawCatalog raw(path);
  RunWritersAndCheck(FileDetails(path), raw);
  EXPECT_EQ(raw.Rows("PRAGMA integrity_check").at(0).at(0), "ok");
}

TEST(ConcurrentWriters, FourProcessesOnOneServerCatalogLoseNothing) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  const std::string database = server->CreateDatabase();
  CreateServerCatalog(server->ConnectionString(database), "Team");
  RawServerCatalog raw(server->Conninfo(database));
  RunWritersAndCheck(ServerDetails(server->ConnectionString(database)), raw);
}

}  // namespace
}  // namespace clipcat::robustness
