// A writer process killed at random moments of its work (adds, updates, deletes, category work)
// never leaves the catalog damaged: after each kill the file passes SQLite's integrity check,
// every clipping has exactly the data items it was written with, no key generator row or open
// transaction is left behind, and the next writer opens the catalog and writes at once.
//
// Each clipping describes its own items in its description ("t=<token>;s=<size>:<type>,...") and
// every item's content follows from the token, so that the catalog alone says what it must hold.
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
#include <cstring>
#include <map>
#include <new>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "robustness/robustness_support.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"
#include "util/errors.h"

namespace clipcat::robustness {
namespace {

constexpr int kKills = 200;
// Operations of the first writer, which is not killed.
constexpr long kCalibrationOps = 60;
constexpr uint64_t kDefaultSeed = 0x5eed'2002'0403ULL;
constexpr int16_t kDeletedClippingStatus = 4;
// Above this many clippings the writer deletes more than it adds, so that the catalog, and the
// time each check takes, stay small.
constexpr size_t kManyClippings = 60;
const char* const kRootFolder = "1";

// What the writer is doing, in the groups the test must have interrupted.
enum Op : int {
  kOpen,
  kAdd,
  kUpdateData,
  kRename,
  kMarkDeleted,
  kDeleteForGood,
  kAddCategory,
  kDeleteCategory,
  kTag,
  kTagMany,
  kUntag,
  kUntagAll,
  kOpCount
};
const char* const kOpNames[] = {
    "open",   "add",          "update with data", "rename", "mark delete",
    "delete", "add category", "delete category",  "tag",    "tag with many",
    "untag",  "untag all"};
enum Group : int { kGroupAdd, kGroupUpdate, kGroupDelete, kGroupCategory, kGroupOther, kGroups };
const char* const kGroupNames[] = {"add", "update", "delete", "category", "other"};

Group GroupOf(int op) {
  switch (op) {
    case kAdd:
      return kGroupAdd;
    case kUpdateData:
    case kRename:
      return kGroupUpdate;
    case kMarkDeleted:
    case kDeleteForGood:
      return kGroupDelete;
    case kOpen:
      return kGroupOther;
    default:
      return kGroupCategory;
  }
}

// Shared with the writer: what it is doing, and why it stopped if it stopped on its own.
struct Progress {
  std::atomic<int> op;
  std::atomic<int> ops_done;
  char failure[512];
};

// One data item as a clipping's description records it.
struct ItemSpec {
  size_t size = 0;
  int32_t type = 0;
};

std::string ItemContent(uint64_t token, size_t index, size_t size) {
  uint64_t state = token * 0x9e3779b97f4a7c15ULL + index + 1;
  std::string text;
  text.reserve(size);
  while (text.size() < size) {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    text += static_cast<char>('a' + (state >> 59) % 26);
  }
  return text;
}

std::string Describe(uint64_t token, const std::vector<ItemSpec>& items) {
  std::string text = "t=" + std::to_string(token) + ";s=";
  for (size_t i = 0; i < items.size(); ++i) {
    if (i > 0) text += ",";
    text += std::to_string(items[i].size) + ":" + std::to_string(items[i].type);
  }
  return text;
}

// Reads a description back; false when it is not one Describe wrote.
bool ParseDescription(const std::string& text, uint64_t& token, std::vector<ItemSpec>& items) {
  unsigned long long t = 0;
  int used = 0;
  if (std::sscanf(text.c_str(), "t=%llu;s=%n", &t, &used) != 1 || used == 0) return false;
  token = t;
  items.clear();
  const char* p = text.c_str() + used;
  while (*p != '\0') {
    unsigned long size = 0;
    int type = 0;
    int length = 0;
    if (std::sscanf(p, "%lu:%d%n", &size, &type, &length) != 2) return false;
    items.push_back({size, type});
    p += length;
    if (*p == ',') ++p;
  }
  return true;
}

// The content items of a clipping as (type, content) pairs, sorted: the store does not promise an
// order.
using ItemSet = std::vector<std::pair<int32_t, std::string>>;

ItemSet ExpectedItems(uint64_t token, const std::vector<ItemSpec>& specs) {
  ItemSet items;
  for (size_t i = 0; i < specs.size(); ++i) {
    items.emplace_back(specs[i].type, ItemContent(token, i, specs[i].size));
  }
  std::sort(items.begin(), items.end());
  return items;
}

// What the catalog holds, as the writer needs to know it to pick its next step.
struct CatalogState {
  std::vector<std::string> active;   // clippings not marked deleted
  std::vector<std::string> deleted;  // clippings marked deleted
  std::vector<std::string> categories;
  std::set<std::pair<std::string, std::string>> memberships;  // (clipping, category)
};

CatalogState ReadState(const std::string& path) {
  CatalogState state;
  RawCatalog raw(path);
  for (const auto& row : raw.Rows("SELECT lClippingID, iClippingStatus FROM Clipping")) {
    (row[1] == std::to_string(kDeletedClippingStatus) ? state.deleted : state.active)
        .push_back(row[0]);
  }
  for (const auto& row : raw.Rows("SELECT lGroupClippingID FROM GroupClipping")) {
    state.categories.push_back(row[0]);
  }
  for (const auto& row : raw.Rows("SELECT lClippingId, lGroupClippingId FROM "
                                  "ClippingGroupClipping")) {
    state.memberships.emplace(row[0], row[1]);
  }
  return state;
}

// The writer: opens the catalog, says so on `ready_fd` (when there is one), then works until it
// is killed or has completed `max_ops` operations (0 for no limit). Answers 0 after `max_ops`,
// 3 when a call failed (the reason in progress.failure).
int RunWriter(const std::string& path, CatalogState state, uint64_t seed, int ready_fd,
              Progress& progress, long max_ops = 0) {
  std::mt19937_64 rng(seed);
  const auto details = FileDetails(path);
  ClippingDataRead read;
  ClippingDataWrite write;
  const auto pick = [&](const auto& list) { return list[rng() % list.size()]; };
  const auto remove = [](std::vector<std::string>& list, const std::string& item) {
    list.erase(std::remove(list.begin(), list.end(), item), list.end());
  };
  const auto new_items = [&](const std::shared_ptr<Clipping>& clipping) {
    const uint64_t token = rng() >> 1;
    std::vector<ItemSpec> specs(1 + rng() % 3);
    auto items = std::make_shared<ClippingDataCollection>();
    for (size_t i = 0; i < specs.size(); ++i) {
      // Now and then an item of several 4096-byte pieces, so that kills land inside one.
      specs[i].size = rng() % 4 == 0 ? 5000 + rng() % 40000 : 1 + rng() % 3000;
      specs[i].type = static_cast<int32_t>(1 + rng() % 5);
      auto item = ClippingData::Create();
      item->SetClippingDataType(specs[i].type);
      item->SetRawData(ItemContent(token, i, specs[i].size));
      items->Add(item);
    }
    clipping->SetDescription(Describe(token, specs));
    clipping->SetClippingData(items);
  };
  int serial = 0;
  const auto fresh_name = [&](const char* prefix) {
    return prefix + std::to_string(seed % 1000003) + "-" + std::to_string(++serial);
  };

  try {
    progress.op = kOpen;
    read.GetFolder(kRootFolder, details);
    const char ready = 'R';
    if (ready_fd >= 0 && ::write(ready_fd, &ready, 1) != 1) return 4;
    for (long done = 0; max_ops == 0 || done < max_ops; ++done) {
      std::discrete_distribution<int> choose({0, 30, 12, 6, 6, 10, 5, 2, 10, 5, 5, 3});
      int op = choose(rng);
      if (state.active.size() + state.deleted.size() > kManyClippings && rng() % 2 == 0) {
        op = kDeleteForGood;
      }
      if (state.active.empty() && op != kAddCategory) op = kAdd;
      if (state.categories.empty() && GroupOf(op) == kGroupCategory) op = kAddCategory;
      progress.op = op;
      switch (op) {
        case kAdd: {
          auto clipping = Clipping::Create();
          clipping->SetName(fresh_name("c"));
          new_items(clipping);
          state.active.push_back(write.AddClipping(clipping, kRootFolder, details)->ID());
          break;
        }
        case kUpdateData: {
          auto clipping = read.GetClipping(pick(state.active), details, false);
          new_items(clipping);
          write.UpdateClipping(clipping, details, true);
          break;
        }
        case kRename: {
          auto clipping = read.GetClipping(pick(state.active), details, false);
          clipping->SetName(fresh_name("r"));
          write.UpdateClipping(clipping, details, false);
          break;
        }
        case kMarkDeleted: {
          const std::string id = pick(state.active);
          write.DeleteClipping(id, details, false);
          remove(state.active, id);
          state.deleted.push_back(id);
          std::erase_if(state.memberships, [&](const auto& m) { return m.first == id; });
          break;
        }
        case kDeleteForGood: {
          const bool marked = !state.deleted.empty() && rng() % 3 == 0;
          const std::string id = pick(marked ? state.deleted : state.active);
          write.DeleteClipping(id, details, true);
          remove(marked ? state.deleted : state.active, id);
          std::erase_if(state.memberships, [&](const auto& m) { return m.first == id; });
          break;
        }
        case kAddCategory: {
          auto category = Category::Create();
          category->SetName(fresh_name("k"));
          state.categories.push_back(write.AddCategory(category, kRootFolder, details)->ID());
          break;
        }
        case kDeleteCategory: {
          const std::string id = pick(state.categories);
          write.DeleteCategory(id, details);
          remove(state.categories, id);
          std::erase_if(state.memberships, [&](const auto& m) { return m.second == id; });
          break;
        }
        case kTag: {
          const std::string clipping = pick(state.active);
          const std::string category = pick(state.categories);
          if (state.memberships.count({clipping, category})) break;
          write.AddClippingToCategory(clipping, category, details);
          state.memberships.emplace(clipping, category);
          break;
        }
        case kTagMany: {
          const std::string clipping = pick(state.active);
          auto categories = Categories::Create();
          std::set<std::string> chosen;
          for (int i = 0; i < 3; ++i) {
            const std::string category = pick(state.categories);
            if (state.memberships.count({clipping, category}) || !chosen.insert(category).second) {
              continue;
            }
            auto member = Category::Create();
            member->SetID(category);
            categories->AddCategory(member);
          }
          write.AddClippingToCategories(clipping, categories, details);
          for (const std::string& category : chosen) state.memberships.emplace(clipping, category);
          break;
        }
        case kUntag: {
          if (state.memberships.empty()) break;
          auto it = state.memberships.begin();
          std::advance(it, static_cast<long>(rng() % state.memberships.size()));
          const auto membership = *it;
          write.DeleteClippingFromCategory(membership.first, membership.second, details);
          state.memberships.erase(membership);
          break;
        }
        case kUntagAll: {
          const std::string id = pick(state.active);
          write.DeleteAllCategoriesFromClipping(id, details);
          std::erase_if(state.memberships, [&](const auto& m) { return m.first == id; });
          break;
        }
        default:
          break;
      }
      ++progress.ops_done;
    }
    return 0;
  } catch (const AutomationError& e) {
    std::snprintf(progress.failure, sizeof progress.failure, "%s failed: %s",
                  kOpNames[progress.op.load()], e.what());
    return 3;
  }
}

// Everything a kill must not break, checked past the library first and then through it. Adds
// failures to the running test.
void CheckCatalogAfterKill(const std::string& path) {
  std::map<std::string, std::pair<uint64_t, std::vector<ItemSpec>>> written;
  {
    RawCatalog raw(path);  // the first connection after the kill: recovers the log
    ASSERT_EQ(raw.Scalar("PRAGMA integrity_check"), "ok");
    for (const char* generator :
         {"FolderIDGenerator", "GroupClippingIDGenerator", "ExternalCatalogIDGenerator"}) {
      EXPECT_EQ(raw.Count(std::string("SELECT count(*) FROM ") + generator), 0)
          << "rows left in " << generator;
    }
    EXPECT_EQ(raw.Count("SELECT count(*) FROM ClippingGroupClipping m WHERE NOT EXISTS (SELECT 1 "
                        "FROM Clipping c WHERE c.lClippingID = m.lClippingId) OR NOT EXISTS "
                        "(SELECT 1 FROM GroupClipping g WHERE g.lGroupClippingID = "
                        "m.lGroupClippingId)"),
              0)
        << "memberships of clippings or categories that are gone";
    EXPECT_EQ(raw.Count("SELECT count(*) FROM ClippingGroupClipping m JOIN Clipping c ON "
                        "c.lClippingID = m.lClippingId WHERE c.iClippingStatus = 4"),
              0)
        << "memberships of clippings marked deleted";
    EXPECT_EQ(raw.Count("SELECT count(*) FROM ClippingDataType d WHERE NOT EXISTS (SELECT 1 "
                        "FROM Clipping c WHERE c.lClippingID = d.lClippingID)"),
              0)
        << "data items of clippings that are gone";
    std::map<std::string, int64_t> stored_items;
    for (const auto& row :
         raw.Rows("SELECT lClippingID, count(*) FROM ClippingDataType GROUP BY lClippingID")) {
      stored_items[row[0]] = std::stoll(row[1]);
    }
    for (const auto& row : raw.Rows("SELECT lClippingID, sDescription FROM Clipping")) {
      uint64_t token = 0;
      std::vector<ItemSpec> specs;
      ASSERT_TRUE(ParseDescription(row[1], token, specs))
          << "clipping " << row[0] << " has the description " << Printable(row[1]);
      EXPECT_EQ(stored_items[row[0]], static_cast<int64_t>(specs.size()))
          << "clipping " << row[0] << " has other data items than it was written with";
      written[row[0]] = {token, specs};
    }
  }

  // The next writer: opens the catalog, reads every item back and draws new keys.
  const auto details = FileDetails(path);
  {
    ClippingDataRead read;
    const auto clippings = read.GetClippingsForFolderAndChildFolders(kRootFolder, "True", details);
    EXPECT_EQ(static_cast<size_t>(clippings->Items()->Count()), written.size());
    for (const auto& clipping : clippings->Items()->Snapshot()) {
      const auto found = written.find(clipping->ID());
      ASSERT_NE(found, written.end()) << clipping->ID();
      ItemSet items;
      for (const auto& item : clipping->ClippingData()->Snapshot()) {
        items.emplace_back(item->ClippingDataType(), item->RawData());
      }
      std::sort(items.begin(), items.end());
      EXPECT_TRUE(items == ExpectedItems(found->second.first, found->second.second))
          << "clipping " << clipping->ID() << " does not hold the content it was written with";
    }
    ClippingDataWrite write;
    auto probe = Clipping::Create();
    probe->SetName("probe");
    probe->SetDescription(Describe(0, {}));
    auto category = Category::Create();
    category->SetName("probe");
    try {
      const std::string id = write.AddClipping(probe, kRootFolder, details)->ID();
      const std::string category_id = write.AddCategory(category, kRootFolder, details)->ID();
      write.AddClippingToCategory(id, category_id, details);
      write.DeleteCategory(category_id, details);
      write.DeleteClipping(id, details, true);
    } catch (const AutomationError& e) {
      ADD_FAILURE() << "the next writer failed: " << e.what();
    }
  }
  ReleaseAccessManager();
}

uint64_t TestSeed() {
  const char* text = std::getenv("CLIPCAT_ROBUSTNESS_SEED");
  return text != nullptr ? std::strtoull(text, nullptr, 0) : kDefaultSeed;
}

TEST(CrashSafety, WriterKilledAtRandomMomentsLeavesACatalogTheNextWriterCanUse) {
  const uint64_t seed = TestSeed();
  SCOPED_TRACE("seed " + std::to_string(seed) + " (set CLIPCAT_ROBUSTNESS_SEED to repeat)");
  ScratchDir dir;
  const std::string path = dir.File("catalog.db");
  CreateCatalog(path, "Personal");

  // A first writer, not killed, fills the catalog so that every kind of operation has something
  // to work on from the start, and tells how long one operation takes on this machine.
  std::mt19937_64 rng(seed);
  double operation_us = 0;
  {
    Progress calibration{};
    const auto begun = std::chrono::steady_clock::now();
    ASSERT_EQ(RunWriter(path, CatalogState(), rng(), -1, calibration, kCalibrationOps), 0)
        << calibration.failure;
    operation_us = SecondsSince(begun) * 1e6 / kCalibrationOps;
    ReleaseAccessManager();
    CheckCatalogAfterKill(path);
  }
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
    const CatalogState state = ReadState(path);
    progress->op = kOpen;
    progress->ops_done = 0;
    progress->failure[0] = '\0';
    Pipe ready;
    const pid_t writer = StartChild([&] {
      ready.CloseRead();
      return RunWriter(path, state, writer_seed, ready.write_end(), *progress);
    });
    ready.CloseWrite();
    char byte = 0;
    const bool opened = ReadByte(ready.read_end(), 10'000, byte);
    if (opened) std::this_thread::sleep_for(delay);
    kill(writer, SIGKILL);
    const int status = WaitChild(writer);
    SCOPED_TRACE("kill " + std::to_string(kill_number) + " after " + std::to_string(delay.count()) +
                 " us, during " + kOpNames[progress->op.load()]);
    ASSERT_TRUE(opened) << "the writer did not open the catalog: " << DescribeStatus(status) << " "
                        << progress->failure;
    ASSERT_EQ(DescribeStatus(status), "killed by signal 9") << progress->failure;
    ++kills_during[progress->op.load()];
    ops_done += progress->ops_done.load();
    CheckCatalogAfterKill(path);
  }
  const double seconds = SecondsSince(started);
  munmap(progress, sizeof(Progress));

  std::array<int, kGroups> kills_in_group{};
  std::string figures;
  for (int op = 0; op < kOpCount; ++op) {
    kills_in_group[GroupOf(op)] += kills_during[op];
    figures += std::string(" ") + kOpNames[op] + "=" + std::to_string(kills_during[op]);
  }
  for (int group = 0; group < kGroupOther; ++group) {
    EXPECT_GT(kills_in_group[group], 0) << "no kill landed during " << kGroupNames[group];
  }
  std::printf(
      "[ measured ] %d kills in %.2f s (one operation takes %.0f us here), %ld "
      "operations completed between them; kills during:%s\n",
      kKills, seconds, operation_us, ops_done, figures.c_str());
}

}  // namespace
}  // namespace clipcat::robustness
