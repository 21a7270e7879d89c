// The step counter behind a library operation's progress reports, for the library's own use:
// work that runs in stages (a move is an export and an import) shares one counter, so that its
// reports run from the first stage to the last without going back.
#pragma once

#include <cstddef>

#include "util/progress.h"

namespace clipcat::internal {

class ProgressCounter {
 public:
  // Counts toward `total` steps and reports to `report`, which must outlive the counter.
  ProgressCounter(const ProgressCallback& report, size_t total) : report_(report), total_(total) {}
  ProgressCounter(const ProgressCounter&) = delete;
  ProgressCounter& operator=(const ProgressCounter&) = delete;

  // Counts `steps` more steps done and reports.
  void Advance(size_t steps = 1) {
    done_ += steps;
    if (report_) report_(done_, total_);
  }

  // Raises the expected total, for work that learns its size as it goes; reported with the next
  // step.
  void AddToTotal(size_t steps) { total_ += steps; }

 private:
  const ProgressCallback& report_;
  size_t total_;
  size_t done_ = 0;
};

}  // namespace clipcat::internal
