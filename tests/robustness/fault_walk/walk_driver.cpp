#include "robustness/fault_walk/walk_driver.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>

#include "library/catalog.h"
#include "robustness/robustness_support.h"
#include "service/connection_handler.h"
#include "util/errors.h"

namespace clipcat::robustness {
namespace {

// Above this many calls of one kind a walk is taken to be running away.
constexpr int64_t kMostCallsOfOneKind = 200'000;

}  // namespace

void FaultWalk::SetUp() { InstallFaultInjection(); }

void FaultWalk::TearDown() {
  DisarmFault();
  ReleaseAccessManager();
}

std::string FaultWalk::RunOnce(WalkCatalog& target, const Write& write, FaultKind kind, int64_t nth,
                               bool& injected, const std::function<void()>& check_open) {
  std::string error;
  {
    Catalog catalog(target.Details());
    if (!write.cold) catalog.read().GetFolder("1", catalog.details());
    auto action = write.prepare(catalog, target.items());
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

WalkFigures FaultWalk::Walk(WalkCatalog& target, const Write& write, std::vector<FaultKind> kinds) {
  if (kinds.empty()) kinds = target.Kinds();
  WalkFigures figures;
  // What the catalog holds before and what the write does with no failure.
  target.Restore();
  const CatalogDump before = target.Dump();
  bool injected = false;
  const std::string clean_error = RunOnce(target, write, FaultKind::kRead, 0, injected);
  if (!clean_error.empty()) {
    ADD_FAILURE() << write.name << " fails with no failure injected: " << clean_error;
    return figures;
  }
  const CatalogDump done = target.Dump();

  for (FaultKind kind : kinds) {
    const std::string where = write.name + ", " + FaultKindName(kind) + " ";
    for (int64_t nth = 1;; ++nth) {
      if (nth > kMostCallsOfOneKind) {
        ADD_FAILURE() << where << "never ran without a failure";
        break;
      }
      target.Restore();
      bool no_transaction = true;
      const std::string error = RunOnce(target, write, kind, nth, injected,
                                        [&] { no_transaction = target.NoTransactionOpen(); });
      const std::string at = where + std::to_string(nth) + ": ";
      if (error.empty()) {
        EXPECT_EQ(target.Damage(), "") << at;
        const std::string difference = DescribeDifference(done, target.Dump());
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
      if (!no_transaction) {
        ADD_FAILURE() << at << "left a transaction open after: " << error;
        ok = false;
      }
      const std::string difference = DescribeDifference(before, target.Dump());
      if (!difference.empty()) {
        ADD_FAILURE() << at << "changed the catalog although it failed with " << error << "\n"
                      << difference;
        ok = false;
      }
      const std::string again = RunOnce(target, write, kind, 0, injected);
      if (!again.empty()) {
        ADD_FAILURE() << at << "a fresh connection then fails: " << again;
        ok = false;
      }
      if (!ok) break;  // one report per write and kind
    }
  }
  return figures;
}

void FaultWalk::WalkAll(WalkCatalog& target, const std::vector<Write>& writes,
                        const std::vector<std::string>& names,
                        const std::vector<FaultKind>& chosen) {
  int64_t total = 0, total_absorbed = 0, walked = 0;
  const std::vector<FaultKind> kinds = chosen.empty() ? target.Kinds() : chosen;
  const auto all_start = std::chrono::steady_clock::now();
  for (const Write& write : writes) {
    if (!names.empty() && std::find(names.begin(), names.end(), write.name) == names.end()) {
      continue;
    }
    ++walked;
    const auto start = std::chrono::steady_clock::now();
    const WalkFigures figures = Walk(target, write, kinds);
    std::string line;
    int64_t sum = 0, absorbed = 0;
    for (FaultKind kind : kinds) {
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
  std::printf(
      "[ figures ] %lld writes, %lld injected faults failed cleanly, %lld absorbed; %.1f s\n",
      static_cast<long long>(walked), static_cast<long long>(total),
      static_cast<long long>(total_absorbed), SecondsSince(all_start));
  std::fflush(stdout);
}

}  // namespace clipcat::robustness
