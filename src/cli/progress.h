// A progress bar on standard error for work that may take a while (export, import, moving a
// folder tree), fed by a library operation's progress reports: a bar, the percentage, the steps
// (folders, clippings, members: items) done out of all, and items per second since the start. It is
// drawn only when standard error is a terminal, and only once the work has run longer than a
// moment, so that quick commands and scripts never see it. Not thread-safe: one bar belongs to the
// thread doing the work.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "util/progress.h"

namespace clipcat::cli {

class ProgressBar {
 public:
  // A bar labelled `label`. Nothing is drawn yet. The delay before the bar appears is one second,
  // or $CLIPCAT_PROGRESS_DELAY seconds (a decimal number, 0 for at once).
  explicit ProgressBar(std::string label);
  // Clears the bar's line when it was drawn.
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  // Takes a report of `done` steps out of `total` and redraws the bar when it is due (at most ten
  // times a second, and always when the work is complete). Steps past the total show as the
  // total.
  void Update(size_t done, size_t total);

  // Reports for a library operation, drawn on this bar; valid while the bar lives.
  ProgressCallback Reporter() {
    return [this](size_t done, size_t total) { Update(done, total); };
  }

 private:
  using Clock = std::chrono::steady_clock;

  void Draw();

  std::string label_;
  size_t total_ = 0;
  size_t done_ = 0;
  bool enabled_;  // standard error is a terminal
  bool drawn_ = false;
  Clock::time_point start_;
  Clock::duration delay_;
  Clock::time_point last_draw_;
};

}  // namespace clipcat::cli
