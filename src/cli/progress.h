// A progress bar on standard error for work that may take a while (export, import, moving a
// folder tree). It is drawn only when standard error is a terminal, and only once the work has
// run longer than a moment, so that quick commands and scripts never see it. Not thread-safe:
// one bar belongs to the thread doing the work.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace clipcat::cli {

class ProgressBar {
 public:
  // A bar labelled `label` for `total` steps. Nothing is drawn yet. The delay before the bar
  // appears is one second, or $CLIPCAT_PROGRESS_DELAY seconds (a decimal number, 0 for at once).
  ProgressBar(std::string label, size_t total);
  // Clears the bar's line when it was drawn.
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  // Counts `steps` more steps done and redraws the bar when it is due (at most ten times a
  // second). Steps past the total show as the total.
  void Advance(size_t steps = 1);

  // Raises the number of steps the work is expected to take, for work that learns its size as
  // it goes.
  void AddToTotal(size_t steps) { total_ += steps; }

 private:
  using Clock = std::chrono::steady_clock;

  void Draw();

  std::string label_;
  size_t total_;
  size_t done_ = 0;
  bool enabled_;  // standard error is a terminal
  bool drawn_ = false;
  Clock::time_point start_;
  Clock::duration delay_;
  Clock::time_point last_draw_;
};

}  // namespace clipcat::cli
