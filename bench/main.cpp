// clipcat_bench: times the library's services against the floor of the same work done directly
// on the engine, prints each scenario's figures with their targets, and writes them with the
// commit to bench/results.json.
//
//   clipcat_bench [--quick] [--cpu] [--scale X] [--reps N] [--only SCENARIO] [--out PATH]
//   clipcat_bench --curve [--sizes N,N,...] [--engines sqlite,postgresql] [--postgres-max N]
//                 [--out PATH]
//
// --quick is --scale 0.1 --reps 3. --cpu times with the process's CPU clock instead of the wall
// clock (for a machine busy with other work). Results are written to bench/results.json only by a
// full run (scale 1, every scenario) unless --out names a file.
//
// --curve times add, read, tree, search, content search and import at each size (clippings in
// the catalog; 1,000 to 1,000,000 by default) on each engine (curve.h) and writes PATH.csv and
// PATH.json (bench/curve.csv and .json by default).
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "curve.h"
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
               "[--out PATH]\n"
               "       clipcat_bench --curve [--sizes N,N,...] [--engines sqlite,postgresql] "
               "[--postgres-max N] [--out PATH]\n");
  return 2;
}

// "1000,10000" as numbers; empty for anything else.
std::vector<int> Sizes(const std::string& list) {
  std::vector<int> sizes;
  size_t start = 0;
  while (start <= list.size()) {
    const size_t comma = std::min(list.find(',', start), list.size());
    const int size = std::atoi(list.substr(start, comma - start).c_str());
    if (size <= 0) return {};
    sizes.push_back(size);
    start = comma + 1;
  }
  return sizes;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  std::string out;
  bool curve = false;
  clipcat_bench::CurveOptions curve_options;
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
    } else if (arg == "--curve") {
      curve = true;
    } else if (arg == "--sizes" && has_value) {
      curve_options.sizes = Sizes(argv[++i]);
      if (curve_options.sizes.empty()) return Usage();
    } else if (arg == "--engines" && has_value) {
      const std::string engines = argv[++i];
      curve_options.sqlite = engines.find("sqlite") != std::string::npos;
      curve_options.postgres = engines.find("postgresql") != std::string::npos;
      if (!curve_options.sqlite && !curve_options.postgres) return Usage();
    } else if (arg == "--postgres-max" && has_value) {
      curve_options.postgres_max = std::atoi(argv[++i]);
    } else {
      return Usage();
    }
  }
  if (options.scale <= 0 || options.reps < 1) return Usage();
  clipcat_bench::g_cpu_clock = options.cpu_clock;
  if (curve) {
    if (!out.empty()) curve_options.out = out;
    return clipcat_bench::RunCurve(curve_options);
  }
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
