// Helpers the scenarios share: the cross-check that ours and the floor left the same rows, and
// the write measurements that the what-if run repeats under another durability setting.
#pragma once

#include <cstdint>
#include <string>

#include "harness.h"

namespace clipcat_bench {

// The single number `sql` answers in the catalog at `path` (-1 for no row).
int64_t Count(const std::string& path, const std::string& sql);

// Throws unless the single number `sql` answers is the same in both catalogs: the floor must
// have done the same work as ours.
void RequireSameCount(const std::string& ours_path, const std::string& floor_path,
                      const std::string& sql);

// Throws with `what` unless `ok`.
void Require(bool ok, const std::string& what);

// The add and history write measurements; without targets for the what-if run.
void MeasureAdd(const Options& options, Report& report, bool with_targets);
void MeasureHistoryUpdates(const Options& options, Report& report, bool with_targets);

}  // namespace clipcat_bench
