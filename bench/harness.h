// The benchmark harness: figures and their targets, medians, the peak-memory probe, and the
// runner that executes each scenario in a child process of its own so that one scenario's heap
// and page cache never count against another's. Single-threaded.
#pragma once

#include <chrono>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace clipcat_bench {

// How much work one run does. `scale` shrinks every count (1.0 is the full benchmark); `reps`
// is the number of timed repetitions of each measurement whose median is reported.
struct Options {
  double scale = 1.0;
  int reps = 5;
  std::string only;        // run only the scenario of this name, when not empty
  bool cpu_clock = false;  // time with the process's CPU clock (see g_cpu_clock)

  // `count` scaled, at least `minimum`.
  int Scaled(int count, int minimum = 1) const;
};

// One measured figure. With a floor, `ours` and `floor` are in `unit` and the target (when there
// is one) applies to ours/floor, unless `absolute`; without one it applies to `ours` itself.
struct Figure {
  enum class Goal { kNone, kAtMost, kAtLeast };

  std::string scenario;
  std::string measure;
  std::string unit;
  double ours = 0;
  double floor = NAN;  // NAN: no floor for this figure
  Goal goal = Goal::kNone;
  double limit = 0;
  std::string note;
  bool absolute = false;  // the target applies to `ours` even with a floor

  bool HasFloor() const { return !std::isnan(floor); }
  double Ratio() const { return HasFloor() && floor > 0 ? ours / floor : NAN; }
  // True when the target applies to ours/floor.
  bool TargetOnRatio() const { return HasFloor() && !absolute; }
  // 1 met, 0 missed, -1 no target.
  int Met() const;
  std::string TargetText() const;
};

// The figures one scenario reports.
class Report {
 public:
  explicit Report(std::string scenario) : scenario_(std::move(scenario)) {}

  // A time per operation against its floor; `max_ratio` <= 0 for none.
  void Ratio(const std::string& measure, const std::string& unit, double ours, double floor,
             double max_ratio, const std::string& note = "");
  void AtLeast(const std::string& measure, const std::string& unit, double value, double limit,
               const std::string& note = "");
  void AtMost(const std::string& measure, const std::string& unit, double value, double limit,
              const std::string& note = "");
  // A time against its floor whose target (at most `limit`) applies to ours itself.
  void AtMostBeside(const std::string& measure, const std::string& unit, double ours, double floor,
                    double limit, const std::string& note = "");
  void Info(const std::string& measure, const std::string& unit, double value,
            const std::string& note = "");
  // Peak memory of one run of ours beyond the data it returns, in MB; the target is 64 MB.
  void Memory(const std::string& measure, double peak_mb, double returned_mb, double floor_peak_mb);

  const std::vector<Figure>& figures() const { return figures_; }

 private:
  std::string scenario_;
  std::vector<Figure> figures_;
};

// The CPU time the process has used so far.
double CpuSeconds();

// The median of `samples` (which it sorts).
double Median(std::vector<double> samples);

// When set, Seconds measures the CPU time of the process (user and system) instead of wall-clock
// time: steadier on a machine shared with other work, blind to waits for the disk.
extern bool g_cpu_clock;

// Seconds that `body` takes.
template <typename Body>
double Seconds(Body&& body) {
  if (g_cpu_clock) {
    const double start = CpuSeconds();
    body();
    return CpuSeconds() - start;
  }
  const auto start = std::chrono::steady_clock::now();
  body();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Peak resident memory of a stretch of work: Start resets the kernel's high-water mark of this
// process and notes the resident size; PeakMB answers how far the high-water mark rose above it.
class MemoryProbe {
 public:
  void Start();
  double PeakMB() const;

 private:
  double baseline_kb_ = 0;
};

// Runs `body` in a child process and answers the figures it reported; a scenario that throws or
// crashes is reported as one missed figure naming the failure.
std::vector<Figure> RunIsolated(const std::string& scenario,
                                const std::function<void(Report&)>& body);

// Prints one scenario's figures as table rows.
void PrintFigures(const std::vector<Figure>& figures);

// Writes every figure, the commit and the settings to `path` as JSON.
void WriteResults(const std::string& path, const std::vector<Figure>& figures,
                  const Options& options, double total_seconds);

}  // namespace clipcat_bench
