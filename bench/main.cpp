// clipcat_bench: times the library's services against the floor of the same work done directly
// on the engine, prints each scenario's figures with their targets, and writes them with the
// commit to bench/results.json.
//
//   clipcat_bench [--quick] [--cpu] [--scale X] [--reps N] [--only SCENARIO] [--out PATH]
//
// --quick is --scale 0.1 --reps 3. --cpu times with the process's CPU clock instead of the wall
// clock (for a machine busy with other work). Results are written to bench/results.json only by a
// full run (scale 1, every scenario) unless --out names a file.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "harness.h"
#include "scenarios.h"

namespace {

using clipcat_bench::Figure;
using clipcat_bench::Options;
using clipcat_bench::Report;

struct Scenario {
  const char* name;
  void (*run)(const Options&, Report&);
};

constexpr Scenario kScenarios[] = {
    {"add", clipcat_bench::RunAdd},
    {"read", clipcat_bench::RunRead},
    {"tree", clipcat_bench::RunTree},
    {"search", clipcat_bench::RunSearch},
    {"content", clipcat_bench::RunContent},  // content search
    {"xml", clipcat_bench::RunXml},
    {"history", clipcat_bench::RunHistory},
    {"import", clipcat_bench::RunImport},      // import and export of a 50,000-clipping document
    {"versions", clipcat_bench::RunVersions},  // trash and versions
    {"gateway", clipcat_bench::RunGateway},    // clipcat serve under wrk
    {"postgres", clipcat_bench::RunPostgres},  // add and read on a PostgreSQL server
    {"whatif", clipcat_bench::RunWritesRelaxedSync},
};

int Usage() {
  std::fprintf(stderr,
               "usage: clipcat_bench [--quick] [--cpu] [--scale X] [--reps N] [--only SCENARIO] "
               "[--out PATH]\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  std::string out;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool has_value = i + 1 < argc;
    if (arg == "--quick") {
      options.scale = 0.1;
      options.reps = 3;
    } else if (arg == "--scale" && has_value) {
      options.scale = std::atof(argv[++i]);
    } else if (arg == "--reps" && has_value) {
      options.reps = std::atoi(argv[++i]);
    } else if (arg == "--cpu") {
      options.cpu_clock = true;
    } else if (arg == "--only" && has_value) {
      options.only = argv[++i];
    } else if (arg == "--out" && has_value) {
      out = argv[++i];
    } else {
      return Usage();
    }
  }
  if (options.scale <= 0 || options.reps < 1) return Usage();
  clipcat_bench::g_cpu_clock = options.cpu_clock;
  if (out.empty() && options.only.empty() && options.scale == 1.0) {
    out = std::string(CLIPCAT_SOURCE_DIR) + "/bench/results.json";
  }

  std::printf(
      "clipcat_bench: scale %g, %d repetitions, %s clock; times are medians. Ratio = ours "
      "/ floor.\n",
      options.scale, options.reps, options.cpu_clock ? "CPU" : "wall");
  std::printf("%-8s %-44s %10s %-5s %10s %7s  %-16s %s\n", "scenario", "measure", "ours", "unit",
              "floor", "ratio", "target", "verdict");
  std::vector<Figure> all;
  const double total = clipcat_bench::Seconds([&] {
    for (const Scenario& scenario : kScenarios) {
      if (!options.only.empty() && options.only != scenario.name) continue;
      std::vector<Figure> figures = clipcat_bench::RunIsolated(
          scenario.name, [&](Report& report) { scenario.run(options, report); });
      clipcat_bench::PrintFigures(figures);
      all.insert(all.end(), figures.begin(), figures.end());
    }
  });

  int met = 0;
  int missed = 0;
  for (const Figure& f : all) {
    if (f.scenario == "whatif") continue;
    if (f.Met() == 1) ++met;
    if (f.Met() == 0) ++missed;
  }
  std::printf("\n%d targets met, %d missed (what-if rows not counted); %.0f s in all.\n", met,
              missed, total);
  if (!out.empty()) {
    clipcat_bench::WriteResults(out, all, options, total);
    std::printf("results written to %s\n", out.c_str());
  }
  return 0;
}
