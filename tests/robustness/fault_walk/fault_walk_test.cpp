// The fault walk: every write of the public write service, and the library's copy and import, is
// run with the Nth SQLite call of one kind failing (read, write, sync, truncate and lock through a
// VFS over the default one, allocations through an allocator in front of SQLite's), for N = 1, 2,
// 3 ... until the write runs with no failure injected. After each failure
//   - the call raised an AutomationError with a number, a source and a description (nothing else
//     escaped, the process did not die);
//   - no transaction is left open on the catalog (the write lock is free at once);
//   - every table holds exactly the rows it held before the call, read through a raw connection;
//   - the same write on a fresh connection, with no failure, succeeds.
// A write that succeeds although a failure was injected (SQLite retried or did without) must have
// done exactly what it does with none: the same rows, a catalog that passes the integrity check.
//
// Every step starts from the same catalog file, put back byte for byte. The write's arguments are
// read (and the catalog opened) before the failure is armed, so the walk covers the write itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "library/catalog.h"
#include "library/catalog_document.h"
#include "library/catalog_export.h"
#include "library/catalog_import.h"
#include "library/item_transfer.h"
#include "robustness/fault_walk/fault_injection.h"
#include "robustness/robustness_support.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"
#include "util/errors.h"

namespace clipcat::robustness {
namespace {

// Above this many calls of one kind a walk is taken to be running away.
constexpr int64_t kMostCallsOfOneKind = 200'000;

// The items of the walk's catalog: folders Letters and Old under the top folder; clippings Dear
// (in Letters, two items, one spanning pages, tagged Red, with a history entry and a version),
// Reply (in Letters, tagged Red) and Note (at the top); Gone (from Old) in the trash; categories
// Red and Blue; and an export of Letters to import.
struct Items {
  std::string letters, old, dear, note, gone, red, blue;
  std::shared_ptr<CatalogDocument> letters_document;
};

// One write: `prepare` reads what the write needs through the open catalog, with no failure
// armed, and answers the write itself. The catalog is opened before the failure is armed, except
// for a `cold` write, whose walk covers opening the catalog too.
struct Write {
  std::string name;
  std::function<std::function<void()>(Catalog&, const Items&)> prepare;
  bool cold = false;
};

std::shared_ptr<Folder> NewFolder(const std::string& name) {
  auto folder = Folder::Create();
  folder->SetName(name);
  return folder;
}

std::vector<Write> AllWrites() {
  using F = std::function<void()>;
  return {
      {"AddFolder",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().AddFolder(NewFolder("New"), i.letters, c.details()); };
       }},
      {"AddClipping",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] {
           c.write().AddClipping(NewClipping("Fresh", "d", {{1, "x"}, {3, Letters(2, 20'000)}}),
                                 i.letters, c.details());
         };
       }},
      {"AddClipping (opening the catalog)",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] {
           c.write().AddClipping(NewClipping("Fresh", "d", {{1, "x"}, {3, Letters(2, 20'000)}}),
                                 i.letters, c.details());
         };
       },
       true},
      {"UpdateFolder",
       [](Catalog& c, const Items& i) -> F {
         auto folder = c.read().GetFolder(i.letters, c.details());
         folder->SetName("Mail");
         return [&c, folder] { c.write().UpdateFolder(folder, c.details()); };
       }},
      {"UpdateClippingWithData",
       [](Catalog& c, const Items& i) -> F {
         auto clipping = c.read().GetClipping(i.dear, c.details(), true);
         clipping->SetDescription("rewritten");
         clipping->SetClippingData(
             NewClipping("", "", {{2, Letters(3, 12'000)}, {5, "five"}})->ClippingData());
         return [&c, clipping] { c.write().UpdateClipping(clipping, c.details(), true); };
       }},
      {"MoveFolder",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().MoveFolder(i.old, i.letters, c.details()); };
       }},
      {"MoveClipping",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().MoveClipping(i.note, i.letters, c.details()); };
       }},
      {"CopyFolder (library)",
       [](Catalog& c, const Items& i) -> F { return [&c, &i] { CopyItem(c, i.letters, i.old); }; }},
      {"MoveFolder (library)",
       [](Catalog& c, const Items& i) -> F { return [&c, &i] { MoveItem(c, i.old, i.letters); }; }},
      {"MoveClipping (library)",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { MoveItem(c, i.note, i.letters); };
       }},
      {"DeleteClipping (marked)",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteClipping(i.note, c.details(), false); };
       }},
      {"DeleteClipping (for good)",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteClipping(i.dear, c.details(), true); };
       }},
      {"DeleteFolder (marked)",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteFolder(i.letters, c.details(), false); };
       }},
      {"DeleteFolder (for good)",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteFolder(i.letters, c.details(), true); };
       }},
      {"RestoreItem",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().RestoreItem(i.gone, c.details()); };
       }},
      {"EmptyTrash",
       [](Catalog& c, const Items&) -> F { return [&c] { c.write().EmptyTrash(c.details()); }; }},
      {"AddCategory",
       [](Catalog& c, const Items&) -> F {
         return [&c] { c.write().AddCategory(NewCategory("Green"), "1", c.details()); };
       }},
      {"UpdateCategory",
       [](Catalog& c, const Items& i) -> F {
         auto category = c.read().GetCategory(i.red, c.details());
         category->SetName("Crimson");
         return [&c, category] { c.write().UpdateCategory(category, c.details()); };
       }},
      {"DeleteCategory",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteCategory(i.red, c.details()); };
       }},
      {"AddClippingToCategory",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().AddClippingToCategory(i.note, i.blue, c.details()); };
       }},
      {"AddClippingToCategories",
       [](Catalog& c, const Items& i) -> F {
         auto categories = Categories::Create();
         categories->AddCategory(NewCategory("", i.red));
         categories->AddCategory(NewCategory("", i.blue));
         return [&c, &i, categories] {
           c.write().AddClippingToCategories(i.note, categories, c.details());
         };
       }},
      {"DeleteClippingFromCategory",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteClippingFromCategory(i.dear, i.red, c.details()); };
       }},
      {"DeleteAllCategoriesFromClipping",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteAllCategoriesFromClipping(i.dear, c.details()); };
       }},
      {"AddFolderToCategory",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().AddFolderToCategory(i.letters, i.blue, c.details()); };
       }},
      {"DeleteAllCategoriesFromFolder",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteAllCategoriesFromFolder(i.letters, c.details()); };
       }},
      {"UpdateClippingHistory",
       [](Catalog& c, const Items& i) -> F {
         auto clipping = c.read().GetClipping(i.note, c.details());
         return [&c, clipping] { c.write().UpdateClippingHistory(clipping, c.details()); };
       }},
      {"RevertClipping",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().RevertClipping(i.dear, 1, c.details()); };
       }},
      {"SetMaximumVersions",
       [](Catalog& c, const Items&) -> F {
         return [&c] { c.write().SetMaximumVersions(3, c.details()); };
       }},
      {"ImportDocument (library)",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] {
           ImportOptions options;
           options.on_conflict = OnConflict::kRename;
           ImportDocument(c, *i.letters_document, i.old, {}, options);
         };
       }},
  };
}

std::string BytesOf(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// What one write's walk found.
struct WalkFigures {
  std::map<FaultKind, int64_t> failed;    // injected faults the write failed on, by kind
  std::map<FaultKind, int64_t> absorbed;  // injected faults the write succeeded despite
};

class FaultWalk : public ::testing::Test {
 protected:
  void SetUp() override {
    InstallFaultInjection();
    // Every step puts the catalog back and SQLite syncs it many times: in memory-backed storage,
    // where there is one, that costs nothing.
    if (std::filesystem::is_directory("/dev/shm")) setenv("TMPDIR", "/dev/shm", 1);
    dir_ = std::make_unique<ScratchDir>();
    path_ = dir_->File("walk.db");
    CreateCatalog(path_, "Walk");
    {
      Catalog c(FileDetails(path_));
      auto& w = c.write();
      const auto& d = c.details();
      items_.letters = w.AddFolder(NewFolder("Letters"), "1", d)->ID();
      items_.old = w.AddFolder(NewFolder("Old"), "1", d)->ID();
      items_.dear =
          w.AddClipping(NewClipping("Dear", "a letter", {{1, "Dear John"}, {2, Letters(1, 9'000)}}),
                        items_.letters, d)
              ->ID();
      const std::string reply =
          w.AddClipping(NewClipping("Reply", "", {{1, "Dear Jane"}}), items_.letters, d)->ID();
      items_.note = w.AddClipping(NewClipping("Note", "", {{1, "note"}}), "1", d)->ID();
      items_.gone = w.AddClipping(NewClipping("Gone", "", {{1, "gone"}}), items_.old, d)->ID();
      w.DeleteClipping(items_.gone, d, false);
      items_.red = w.AddCategory(NewCategory("Red"), "1", d)->ID();
      items_.blue = w.AddCategory(NewCategory("Blue"), "1", d)->ID();
      w.AddClippingToCategory(items_.dear, items_.red, d);
      w.AddClippingToCategory(reply, items_.red, d);
      auto dear = c.read().GetClipping(items_.dear, d, true);
      w.UpdateClippingHistory(dear, d);
      dear->SetDescription("a longer letter");
      w.UpdateClipping(dear, d, true);
      items_.letters_document = std::make_shared<CatalogDocument>(ExportFolder(c, items_.letters));
    }
    ReleaseAccessManager();
    for (const char* log : {"-wal", "-shm"}) std::filesystem::remove(path_ + log);
    saved_ = BytesOf(path_);
    before_ = RawCatalog(path_).Dump();
  }

  void TearDown() override {
    DisarmFault();
    ReleaseAccessManager();
  }

  // Puts the saved catalog back; no connection may be open.
  void Restore() {
    for (const char* log : {"-wal", "-shm", "-journal"}) std::filesystem::remove(path_ + log);
    std::ofstream(path_, std::ios::binary | std::ios::trunc) << saved_;
  }

  // Runs `write` on a fresh catalog handle with the `nth` call of `kind` failing (nth 0: none).
  // Answers the error it raised ("" when it succeeded) and sets `injected`; `check_open` runs
  // while the handle is still open, after the call.
  std::string RunOnce(const Write& write, FaultKind kind, int64_t nth, bool& injected,
                      const std::function<void()>& check_open = {}) {
    std::string error;
    {
      Catalog catalog(FileDetails(path_));
      if (!write.cold) catalog.read().GetFolder("1", catalog.details());
      auto action = write.prepare(catalog, items_);
      if (nth > 0) ArmFault(kind, nth);
      try {
        action();
      } catch (const AutomationError& e) {
        if (e.number() == 0 || e.source().empty() || e.description().empty()) {
          ADD_FAILURE() << write.name << ", " << FaultKindName(kind) << " " << nth
                        << ": an error without number, source or description: " << e.what();
        }
        error = e.what();
        if (error.empty()) error = "(empty)";
      } catch (const std::exception& e) {
        ADD_FAILURE() << write.name << ", " << FaultKindName(kind) << " " << nth
                      << ": not an AutomationError: " << e.what();
        error = e.what();
      }
      injected = DisarmFault();
      if (check_open) check_open();
    }
    ReleaseAccessManager();
    return error;
  }

  // Walks one write over every kind in `kinds`; adds a failure for everything found wrong.
  WalkFigures Walk(const Write& write, const std::vector<FaultKind>& kinds) {
    WalkFigures figures;
    // What the write does with no failure.
    Restore();
    bool injected = false;
    const std::string clean_error = RunOnce(write, FaultKind::kRead, 0, injected);
    if (!clean_error.empty()) {
      ADD_FAILURE() << write.name << " fails with no failure injected: " << clean_error;
      return figures;
    }
    const CatalogDump done = RawCatalog(path_).Dump();

    for (FaultKind kind : kinds) {
      const std::string where = write.name + ", " + FaultKindName(kind) + " ";
      for (int64_t nth = 1;; ++nth) {
        if (nth > kMostCallsOfOneKind) {
          ADD_FAILURE() << where << "never ran without a failure";
          break;
        }
        Restore();
        bool lock_free = true;
        const std::string error = RunOnce(write, kind, nth, injected,
                                          [&] { lock_free = RawCatalog(path_).WriteLockIsFree(); });
        const std::string at = where + std::to_string(nth) + ": ";
        if (error.empty()) {
          RawCatalog raw(path_);
          EXPECT_EQ(raw.Rows("PRAGMA integrity_check").at(0).at(0), "ok") << at;
          const std::string difference = DescribeDifference(done, raw.Dump());
          EXPECT_EQ(difference, "") << at << "succeeded but did something else";
          if (!injected || !difference.empty()) break;
          ++figures.absorbed[kind];
          continue;
        }
        ++figures.failed[kind];
        bool ok = true;
        if (!injected) {
          ADD_FAILURE() << at << "failed with no failure injected: " << error;
          ok = false;
        }
        if (!lock_free) {
          ADD_FAILURE() << at << "left a transaction open after: " << error;
          ok = false;
        }
        const std::string difference = DescribeDifference(before_, RawCatalog(path_).Dump());
        if (!difference.empty()) {
          ADD_FAILURE() << at << "changed the catalog although it failed with " << error << "\n"
                        << difference;
          ok = false;
        }
        const std::string again = RunOnce(write, kind, 0, injected);
        if (!again.empty()) {
          ADD_FAILURE() << at << "a fresh connection then fails: " << again;
          ok = false;
        }
        if (!ok) break;  // one report per write and kind
      }
    }
    return figures;
  }

  // Walks each write of `names` (all when empty) over every kind and prints the figures.
  void WalkAll(const std::vector<std::string>& names) {
    int64_t total = 0, total_absorbed = 0, writes = 0;
    for (const Write& write : AllWrites()) {
      if (!names.empty() && std::find(names.begin(), names.end(), write.name) == names.end()) {
        continue;
      }
      ++writes;
      const auto start = std::chrono::steady_clock::now();
      const WalkFigures figures = Walk(write, {kAllFaultKinds.begin(), kAllFaultKinds.end()});
      std::string line;
      int64_t sum = 0, absorbed = 0;
      for (FaultKind kind : kAllFaultKinds) {
        const int64_t n = figures.failed.count(kind) ? figures.failed.at(kind) : 0;
        const int64_t a = figures.absorbed.count(kind) ? figures.absorbed.at(kind) : 0;
        line += (line.empty() ? "" : ", ") + FaultKindName(kind) + " " + std::to_string(n);
        if (a > 0) line += " (+" + std::to_string(a) + " absorbed)";
        sum += n;
        absorbed += a;
      }
      total += sum;
      total_absorbed += absorbed;
      std::printf("[ figures ] %-32s %6lld faults: %s; %.1f s\n", write.name.c_str(),
                  static_cast<long long>(sum), line.c_str(), SecondsSince(start));
    }
    std::printf("[ figures ] %lld writes, %lld injected faults failed cleanly, %lld absorbed\n",
                static_cast<long long>(writes), static_cast<long long>(total),
                static_cast<long long>(total_absorbed));
    std::fflush(stdout);
  }

  std::unique_ptr<ScratchDir> dir_;
  std::string path_;
  std::string saved_;
  Items items_;
  CatalogDump before_;
};

// One write of each kind of work (add, update, move, delete, restore, category work, tagging,
// history), the opening of the catalog included; the copy and the import, the longest walks, are
// left to the complete walk.
TEST_F(FaultWalk, RepresentativeWritesFailCleanlyAtEveryInjectedFault) {
  WalkAll({"AddClipping (opening the catalog)", "UpdateClippingWithData", "MoveFolder (library)",
           "DeleteFolder (for good)", "RestoreItem", "DeleteCategory", "AddClippingToCategories",
           "AddFolderToCategory", "UpdateClippingHistory"});
}

TEST_F(FaultWalk, EveryWriteFailsCleanlyAtEveryInjectedFault) { WalkAll({}); }

}  // namespace
}  // namespace clipcat::robustness
