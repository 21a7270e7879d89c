#include "cli/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace clipcat::cli {
namespace {

constexpr int kBarWidth = 30;
constexpr auto kRedrawInterval = std::chrono::milliseconds(100);

std::chrono::steady_clock::duration DelayFromEnvironment() {
  const char* text = std::getenv("CLIPCAT_PROGRESS_DELAY");
  double seconds = 1.0;
  if (text != nullptr && *text != '\0') {
    char* end = nullptr;
    const double value = std::strtod(text, &end);
    // Text that is not a plain, non-negative number keeps the default rather than failing the
    // command over a cosmetic setting.
    if (end != text && *end == '\0' && value >= 0 && value < 86400) seconds = value;
  }
  return std::chrono::duration_cast<std::chrono::steady_clock::duration>(
      std::chrono::duration<double>(seconds));
}

}  // namespace

ProgressBar::ProgressBar(std::string label)
    : label_(std::move(label)),
      enabled_(isatty(STDERR_FILENO) == 1),
      start_(Clock::now()),
      delay_(DelayFromEnvironment()) {}

ProgressBar::~ProgressBar() {
  if (!drawn_) return;
  std::fprintf(stderr, "\r%*s\r", static_cast<int>(label_.size()) + kBarWidth + 52, "");
  std::fflush(stderr);
}

void ProgressBar::Update(size_t done, size_t total) {
  done_ = done;
  total_ = total;
  if (!enabled_) return;
  const Clock::time_point now = Clock::now();
  if (now - start_ < delay_) return;
  if (drawn_ && now - last_draw_ < kRedrawInterval && done_ < total_) return;
  last_draw_ = now;
  Draw();
}

void ProgressBar::Draw() {
  const size_t shown = std::min(done_, total_);
  const int filled =
      total_ == 0 ? kBarWidth : static_cast<int>(shown * kBarWidth / std::max<size_t>(total_, 1));
  const int percent = total_ == 0 ? 100 : static_cast<int>(shown * 100 / total_);
  const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
  const double rate = seconds > 0 ? static_cast<double>(shown) / seconds : 0;
  std::fprintf(stderr, "\r%s [%s%s] %3d%% %zu/%zu %.0f items/s ", label_.c_str(),
               std::string(static_cast<size_t>(filled), '#').c_str(),
               std::string(static_cast<size_t>(kBarWidth - filled), ' ').c_str(), percent, shown,
               total_, rate);
  std::fflush(stderr);
  drawn_ = true;
}

}  // namespace clipcat::cli
