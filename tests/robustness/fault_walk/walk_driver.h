// The fault walk's driver: a test fixture that installs the fault injection and walks writes over
// a WalkCatalog. Each write runs with the Nth engine call of each kind its engine has failing,
// for N = 1, 2, 3 ... until the write runs with no failure injected. After each failure
//   - the call raised an AutomationError with a number, a source and a description (nothing else
//     escaped, the process did not die);
//   - no transaction is left open on the catalog (WalkCatalog::NoTransactionOpen);
//   - every table holds exactly the rows it held before the call, read past clipcat;
//   - the same write on a fresh connection, with no failure, succeeds.
// A write that succeeds although a failure was injected (SQLite retried or did without) must have
// done exactly what it does with none: the same rows, a catalog that passes the integrity check.
// Every step starts from the catalog as WalkCatalog::Restore puts it back.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "robustness/fault_walk/fault_injection.h"
#include "robustness/fault_walk/walk_catalog.h"

namespace clipcat::robustness {

// What one write's walk found.
struct WalkFigures {
  std::map<FaultKind, int64_t> failed;    // injected faults the write failed on, by kind
  std::map<FaultKind, int64_t> absorbed;  // injected faults the write succeeded despite
};

class FaultWalk : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Runs `write` on a fresh catalog handle with the `nth` call of `kind` failing (nth 0: none).
  // Answers the error it raised ("" when it succeeded) and sets `injected`; `check_open` runs
  // while the handle is still open, after the call.
  std::string RunOnce(WalkCatalog& target, const Write& write, FaultKind kind, int64_t nth,
                      bool& injected, const std::function<void()>& check_open = {});

  // Walks one write over `kinds` (every kind its engine has when empty); adds a failure for
  // everything found wrong.
  WalkFigures Walk(WalkCatalog& target, const Write& write, std::vector<FaultKind> kinds = {});

  // Walks each write of `writes` named in `names` (all when empty) on `target` over `kinds`
  // (every kind its engine has when empty) and prints the figures.
  void WalkAll(WalkCatalog& target, const std::vector<Write>& writes,
               const std::vector<std::string>& names, const std::vector<FaultKind>& kinds = {});
};

}  // namespace clipcat::robustness
