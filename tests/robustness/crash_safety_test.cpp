// A writer process killed at random moments of its work (adds, updates, deletes, category work)
// never leaves the catalog damaged: after each kill the file passes SQLite's integrity check,
// every clipping has exactly the data items it was written with, no key generator row or open
// transaction is left behind, and the next writer opens the catalog and writes at once.
//
// Each clipping's description holds a token from which its data items follow, so that the
// catalog alone says what it must hold.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <new>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "robustness/robustness_support.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"

namespace clipcat::robustness {
namespace {

constexpr int kKills = 200;
constexpr long kCalibrationOps = 60;  // operations of the first writer, which is not killed
constexpr uint64_t kDefaultSeed = 0x5eed'2002'0403ULL;
// Above this many clippings the writer deletes more than it adds, so that the catalog, and the
// time each check takes, stay small.
constexpr int64_t kManyClippings = 60;
const char* const kRoot = "1";

// The data items of the clipping whose description holds `token`: one to three, now and then one
// of several 4096-byte pieces, so that kills land inside one.
ItemSet ItemsFor(uint64_t token) {
  std::mt19937_64 rng(token);
  ItemSet items(1 + rng() % 3);
  for (auto& [type, content] : items) {
    const size_t size = rng() % 4 == 0 ? 5000 + rng() % 40000 : 1 + rng() % 3000;
    type = static_cast<int32_t>(1 + rng() % 5);
    content = Letters(rng(), size);
  }
  std::sort(items.begin(), items.end());
  return items;
}

// Reads a description back; false when it is not one the writer wrote.
bool TokenOf(const std::string& description, uint64_t& token) {
  token = std::strtoull(description.c_str(), nullptr, 10);
  return std::to_string(token) == description;
}

// What a step may work on, read from the catalog before each step: clippings not marked deleted,
// clippings marked deleted, categories, memberships, and pairs of clipping and category that are
// not yet one.
const char* const kActive = "SELECT lClippingID FROM Clipping WHERE iClippingStatus IS NOT 4";
const char* const kMarked = "SELECT lClippingID FROM Clipping WHERE iClippingStatus = 4";
const char* const kCategories = "SELECT lGroupClippingID FROM GroupClipping";
const char* const kMemberships = "SELECT lClippingId, lGroupClippingId FROM ClippingGroupClipping";
const char* const kNotMembers =
    "SELECT c.lClippingID, g.lGroupClippingID FROM Clipping c, GroupClipping g WHERE "
    "c.iClippingStatus IS NOT 4 AND NOT EXISTS (SELECT 1 FROM ClippingGroupClipping m WHERE "
    "m.lClippingId = c.lClippingID AND m.lGroupClippingId = g.lGroupClippingID)";

// A writer's services and its own view of the catalog; the operations below work through it.
struct Writer {
  std::mt19937_64 rng;
  std::shared_ptr<ConnectionDetails> details;
  RawCatalog raw;
  ClippingDataRead read;
  ClippingDataWrite write;

  // A random row of `sql`; none when there are none.
  std::vector<std::string> Pick(const std::string& sql) {
    const auto rows = raw.Rows(sql);
    return rows.empty() ? std::vector<std::string>() : rows[rng() % rows.size()];
  }
  std::string FreshName(const char* prefix) { return prefix + std::to_string(rng()); }
  // New data items for `clipping`, and the description that says what they are.
  const std::shared_ptr<Clipping>& Fill(const std::shared_ptr<Clipping>& clipping) {
    const uint64_t token = rng() >> 1;
    clipping->SetDescription(std::to_string(token));
    clipping->SetClippingData(NewClipping("", "", ItemsFor(token))->ClippingData());
    return clipping;
  }
  // Gives a clipping new data items, or only a new name.
  void Update(bool with_data) {
    auto clipping = read.GetClipping(Pick(kActive)[0], details, false);
    if (with_data) {
      Fill(clipping);
    } else {
      clipping->SetName(FreshName("r"));
    }
    write.UpdateClipping(clipping, details, with_data);
  }
};

// What the writer may be doing: the group of work the test must have interrupted, how often the
// writer picks it, and the step itself.
enum Group { kAddWork, kUpdateWork, kDeleteWork, kCategoryWork, kGroups };
const char* const kGroupNames[] = {"add", "update", "delete", "category"};
struct Op {
  const char* name;
  int group;
  int weight;
  void (*run)(Writer&);
};
const Op kOps[] = {
    {"open or choose", kGroups, 0, [](Writer&) {}},
    {"add", kAddWork, 30,
     [](Writer& w) {
       w.write.AddClipping(w.Fill(NewClipping(w.FreshName("c"), "", {})), kRoot, w.details);
     }},
    {"update with data", kUpdateWork, 12, [](Writer& w) { w.Update(true); }},
    {"rename", kUpdateWork, 6, [](Writer& w) { w.Update(false); }},
    {"mark delete", kDeleteWork, 6,
     [](Writer& w) { w.write.DeleteClipping(w.Pick(kActive)[0], w.details, false); }},
    {"delete", kDeleteWork, 10,
     [](Writer& w) {
       // Now and then one marked deleted before.
       auto id = w.rng() % 3 == 0 ? w.Pick(kMarked) : std::vector<std::string>();
       w.write.DeleteClipping(id.empty() ? w.Pick(kActive)[0] : id[0], w.details, true);
     }},
    {"add category", kCategoryWork, 5,
     [](Writer& w) { w.write.AddCategory(NewCategory(w.FreshName("k")), kRoot, w.details); }},
    {"delete category", kCategoryWork, 2,
     [](Writer& w) { w.write.DeleteCategory(w.Pick(kCategories)[0], w.details); }},
    {"tag", kCategoryWork, 10,
     [](Writer& w) {
       const auto pair = w.Pick(kNotMembers);
       if (!pair.empty()) w.write.AddClippingToCategory(pair[0], pair[1], w.details);
     }},
    {"tag with many", kCategoryWork, 5,
     [](Writer& w) {
       const std::string clipping = w.Pick(kActive)[0];
       auto rows = w.raw.Rows(std::string(kNotMembers) + " AND c.lClippingID = " + clipping);
       std::shuffle(rows.begin(), rows.end(), w.rng);
       auto categories = Categories::Create();
       for (size_t i = 0; i < rows.size() && i < 3; ++i) {
         categories->AddCategory(NewCategory("", rows[i][1]));
       }
       w.write.AddClippingToCategories(clipping, categories, w.details);
     }},
    {"untag", kCategoryWork, 5,
     [](Writer& w) {
       const auto pair = w.Pick(kMemberships);
       if (!pair.empty()) w.write.DeleteClippingFromCategory(pair[0], pair[1], w.details);
     }},
    {"untag all", kCategoryWork, 3,
     [](Writer& w) { w.write.DeleteAllCategoriesFromClipping(w.Pick(kActive)[0], w.details); }},
};
constexpr int kOpCount = std::size(kOps);
// Positions in kOps of the steps the writer falls back on.
constexpr int kBetween = 0, kAdd = 1, kDeleteForGood = 5, kAddCategory = 6;

// Shared with the writer: what it is doing.
struct Progress {
  std::atomic<int> op;
  std::atomic<int> ops_done;
};

// The writer: opens the catalog and chooses its first step, says so on `ready_fd` (when there is
// one), then works until it is killed or has completed `max_ops` operations (0 for no limit).
// Raises what a call raises.
void RunWriter(const std::string& path, uint64_t seed, int ready_fd, Progress& progress,
               long max_ops = 0) {
  progress.op = kBetween;
  Writer w{std::mt19937_64(seed), FileDetails(path), RawCatalog(path), {}, {}};
  std::vector<int> weights;
  for (const Op& op : kOps) weights.push_back(op.weight);
  std::discrete_distribution<int> choose(weights.begin(), weights.end());
  w.read.GetFolder(kRoot, w.details);
  for (long done = 0; max_ops == 0 || done < max_ops; ++done) {
    progress.op = kBetween;
    int op = choose(w.rng);
    if (w.raw.Count("SELECT count(*) FROM Clipping") > kManyClippings && w.rng() % 2 == 0) {
      op = kDeleteForGood;
    }
    if (w.raw.Rows(kActive).empty() && op != kAddCategory) op = kAdd;
    if (w.raw.Rows(kCategories).empty() && kOps[op].group == kCategoryWork) op = kAddCategory;
    progress.op = op;
    const char ready = 'R';  // once the first step is chosen, so that kills land in steps
    if (done == 0 && ready_fd >= 0 && ::write(ready_fd, &ready, 1) != 1) return;
    kOps[op].run(w);
    ++progress.ops_done;
  }
}

// Everything a kill must not break, checked past the library first and then through it. Adds
// failures to the running test.
void CheckCatalogAfterKill(const std::string& path) {
  std::map<std::string, uint64_t> token_of;
  {
    RawCatalog raw(path);  // the first connection after the kill: recovers the log
    ASSERT_EQ(raw.Rows("PRAGMA integrity_check").at(0).at(0), "ok");
    ExpectNoLeftovers(raw);
    for (const auto& row : raw.Rows("SELECT lClippingID, sDescription FROM Clipping")) {
      ASSERT_TRUE(TokenOf(row[1], token_of[row[0]]))
          << "clipping " << row[0] << " has the description " << Printable(row[1]);
    }
  }

  // The next writer: opens the catalog, reads every clipping with its items back (each must hold
  // exactly the items it was written with) and draws new keys.
  const auto details = FileDetails(path);
  {
    ClippingDataRead read;
    const auto clippings = read.GetClippingsForFolderAndChildFolders(kRoot, "True", details);
    EXPECT_EQ(static_cast<size_t>(clippings->Items()->Count()), token_of.size());
    for (const auto& clipping : clippings->Items()->Snapshot()) {
      const auto found = token_of.find(clipping->ID());
      ASSERT_NE(found, token_of.end()) << clipping->ID();
      EXPECT_TRUE(ItemsOf(*clipping) == ItemsFor(found->second))
          << "clipping " << clipping->ID() << " does not hold the content it was written with";
    }
    ClippingDataWrite write;
    EXPECT_NO_THROW({
      const std::string id = write.AddClipping(NewClipping("probe", "", {}), kRoot, details)->ID();
      const std::string category = write.AddCategory(NewCategory("probe"), kRoot, details)->ID();
      write.AddClippingToCategory(id, category, details);
      write.DeleteCategory(category, details);
      write.DeleteClipping(id, details, true);
    }) << "the next writer failed";
  }
  ReleaseAccessManager();
}

TEST(CrashSafety, WriterKilledAtRandomMomentsLeavesACatalogTheNextWriterCanUse) {
  const char* seed_text = std::getenv("CLIPCAT_ROBUSTNESS_SEED");
  const uint64_t seed = seed_text != nullptr ? std::strtoull(seed_text, nullptr, 0) : kDefaultSeed;
  SCOPED_TRACE("seed " + std::to_string(seed) + " (set CLIPCAT_ROBUSTNESS_SEED to repeat)");
  ScratchDir dir;
  const std::string path = dir.File("catalog.db");
  CreateCatalog(path, "Personal");

  // A first writer, not killed, fills the catalog so that every kind of operation has something
  // to work on from the start, and tells how long one operation takes on this machine.
  std::mt19937_64 rng(seed);
  Progress calibration{};
  const auto begun = std::chrono::steady_clock::now();
  ASSERT_NO_THROW(RunWriter(path, rng(), -1, calibration, kCalibrationOps))
      << "during " << kOps[calibration.op.load()].name;
  const double operation_us = SecondsSince(begun) * 1e6 / kCalibrationOps;
  ReleaseAccessManager();
  CheckCatalogAfterKill(path);
  // Kills from 20 microseconds after the writer is ready to about three operations later, evenly
  // on a log scale: as many early in an operation as late in it, whatever the machine's speed.
  const double longest_delay_us = std::clamp(3 * operation_us, 2000.0, 50000.0);

  void* shared =
      mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(shared, MAP_FAILED);
  auto* progress = new (shared) Progress();
  std::array<int, kOpCount> kills_during{};
  long ops_done = 0;
  const auto started = std::chrono::steady_clock::now();
  for (int kill_number = 0; kill_number < kKills && !::testing::Test::HasFailure(); ++kill_number) {
    const uint64_t writer_seed = rng();
    const auto delay = std::chrono::microseconds(static_cast<int64_t>(std::exp(
        std::uniform_real_distribution<double>(std::log(20.0), std::log(longest_delay_us))(rng))));
    progress->op = kBetween;
    progress->ops_done = 0;
    Pipe ready;
    const pid_t writer = StartChild([&] {
      ready.Close(0);
      RunWriter(path, writer_seed, ready.fds[1], *progress);
      return 0;
    });
    ready.Close(1);
    char byte = 0;
    const bool opened = read(ready.fds[0], &byte, 1) == 1;  // end of file: the writer ended
    if (opened) std::this_thread::sleep_for(delay);
    kill(writer, SIGKILL);
    const std::string status = WaitChild(writer);
    SCOPED_TRACE("kill " + std::to_string(kill_number) + " after " + std::to_string(delay.count()) +
                 " us, during " + kOps[progress->op.load()].name);
    // A writer that stopped on its own wrote why to standard error.
    ASSERT_TRUE(opened && status == "killed by signal 9") << "opened: " << opened << ", " << status;
    ++kills_during[progress->op.load()];
    ops_done += progress->ops_done.load();
    CheckCatalogAfterKill(path);
  }
  const double seconds = SecondsSince(started);
  munmap(progress, sizeof(Progress));

  std::array<int, kGroups + 1> kills_in_group{};
  std::string figures;
  for (int op = 0; op < kOpCount; ++op) {
    kills_in_group[kOps[op].group] += kills_during[op];
    figures += std::string(" ") + kOps[op].name + "=" + std::to_string(kills_during[op]);
  }
  for (int group = 0; group < kGroups; ++group) {
    EXPECT_GT(kills_in_group[group], 0) << "no kill landed during " << kGroupNames[group];
  }
  std::printf(
      "[ measured ] %d kills in %.2f s (one operation takes %.0f us here), %ld "
      "operations completed between them; kills during:%s\n",
      kKills, seconds, operation_us, ops_done, figures.c_str());
}

}  // namespace
}  // namespace clipcat::robustness
