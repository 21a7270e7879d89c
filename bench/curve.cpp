#include "curve.h"

#include <sys/statvfs.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

namespace clipcat_bench {
namespace {

constexpr const char* kOperations[] = {"add", "read", "tree", "search", "content", "import"};
// Disk a size needs beyond the catalog itself estimated from the last size measured.
constexpr double kSpareBytes = 2e9;
// Bytes per clipping assumed before any size was measured.
constexpr double kFirstGuessBytes = 10'000;

// Free bytes where the catalogs are made.
double FreeBytes() {
  const char* tmp = std::getenv("TMPDIR");
  struct statvfs fs {};
  if (statvfs(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp", &fs) != 0) return 0;
  return static_cast<double>(fs.f_bavail) * static_cast<double>(fs.f_frsize);
}

std::string FirstLine(const std::string& command) {
  std::string out;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char buffer[256];
    if (fgets(buffer, sizeof buffer, pipe) != nullptr) out = buffer;
    pclose(pipe);
  }
  while (!out.empty() && (out.back() == '\n' || out.back() == ' ')) out.pop_back();
  return out;
}

// Whether `operation` held to its rule from 10,000 clippings to the largest size measured.
struct Verdict {
  std::string engine, operation;
  int from = 0, to = 0;
  double growth = 0;
  std::string rule, verdict;
};

Verdict Judge(const std::vector<CurvePoint>& points, const std::string& engine,
              const std::string& operation) {
  Verdict v;
  v.engine = engine;
  v.operation = operation;
  double base = 0, last = 0;
  for (const CurvePoint& p : points) {
    if (p.engine != engine || p.operation != operation) continue;
    if (p.size == 10'000) base = p.us;
    if (p.size > 10'000 && p.size > v.to) {
      v.to = p.size;
      last = p.us;
    }
  }
  if (base <= 0 || v.to == 0) {
    v.verdict = "not judged (needs 10000 and a larger size)";
    return v;
  }
  v.from = 10'000;
  v.growth = last / base;
  const double size_growth = static_cast<double>(v.to) / v.from;
  if (operation == "search") {
    v.rule = "may grow linearly (LIKE scan)";
    v.verdict = v.growth > size_growth / 4 ? "grows with the catalog" : "grows less than linearly";
  } else {
    v.rule = "within 2x";
    v.verdict = v.growth <= 2 ? "holds" : "MISSED";
  }
  return v;
}

}  // namespace

int RunCurve(const CurveOptions& options) {
  const std::string load = FirstLine("uptime");
  std::printf("clipcat_bench --curve: wall clock; load at start: %s\n", load.c_str());
  std::vector<CurvePoint> points;
  std::vector<std::string> skipped;
  nlohmann::json setup = nlohmann::json::array();
  std::vector<std::string> engines;
  if (options.sqlite) engines.push_back("sqlite");
  if (options.postgres) engines.push_back("postgresql");
  const auto run_start = std::chrono::steady_clock::now();
  for (const std::string& engine : engines) {
    double bytes_per_clipping = kFirstGuessBytes;
    for (const int size : options.sizes) {
      if (engine == "postgresql" && size > options.postgres_max) {
        skipped.push_back(engine + " " + std::to_string(size) + ": above --postgres-max " +
                          std::to_string(options.postgres_max));
        std::printf("%-10s %8d  skipped: %s\n", engine.c_str(), size, skipped.back().c_str());
        continue;
      }
      const double need = bytes_per_clipping * size * 1.5 + kSpareBytes;
      const double free = FreeBytes();
      if (free < need) {
        skipped.push_back(engine + " " + std::to_string(size) + ": needs about " +
                          std::to_string(static_cast<int64_t>(need / 1e9)) + " GB, " +
                          std::to_string(static_cast<int64_t>(free / 1e9)) + " GB free");
        std::printf("%-10s %8d  skipped: %s\n", engine.c_str(), size, skipped.back().c_str());
        continue;
      }
      const std::vector<Figure> figures =
          RunIsolated(engine + " " + std::to_string(size),
                      [&](Report& report) { MeasureCurveAt(engine, size, report); });
      for (const Figure& f : figures) {
        if (f.measure == "scenario failed") {
          std::printf("%-10s %8d  FAILED: %s\n", engine.c_str(), size, f.note.c_str());
          skipped.push_back(engine + " " + std::to_string(size) + ": failed: " + f.note);
        } else if (f.measure == "bytes per clipping") {
          bytes_per_clipping = f.ours;
          setup.push_back({{"engine", engine}, {"size", size}, {"bytes_per_clipping", f.ours}});
        } else if (f.measure == "fill") {
          std::printf("%-10s %8d  filled in %.1f s\n", engine.c_str(), size, f.ours);
        } else {
          const int samples = std::atoi(f.note.c_str());
          const size_t space = f.note.find(' ');
          points.push_back({engine, size, f.measure, f.ours, samples,
                            space == std::string::npos ? "" : f.note.substr(space + 1)});
          std::printf("%-10s %8d  %-8s %12.1f us  (%d samples; %s)\n", engine.c_str(), size,
                      f.measure.c_str(), f.ours, samples, points.back().note.c_str());
        }
      }
      std::fflush(stdout);
    }
  }
  const double total_s =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - run_start).count();

  // The table: one row per engine and operation, one column per size.
  std::printf("\nmicroseconds per operation\n%-10s %-8s", "engine", "op");
  for (int size : options.sizes) std::printf(" %12d", size);
  std::printf("\n");
  for (const std::string& engine : engines) {
    for (const char* operation : kOperations) {
      std::printf("%-10s %-8s", engine.c_str(), operation);
      for (int size : options.sizes) {
        const CurvePoint* found = nullptr;
        for (const CurvePoint& p : points) {
          if (p.engine == engine && p.operation == operation && p.size == size) found = &p;
        }
        if (found != nullptr) {
          std::printf(" %12.1f", found->us);
        } else {
          std::printf(" %12s", "-");
        }
      }
      std::printf("\n");
    }
  }
  std::vector<Verdict> verdicts;
  std::printf("\nfrom 10000 clippings to the largest size measured:\n");
  for (const std::string& engine : engines) {
    for (const char* operation : kOperations) {
      verdicts.push_back(Judge(points, engine, operation));
      const Verdict& v = verdicts.back();
      if (v.to == 0) {
        std::printf("%-10s %-8s %s\n", engine.c_str(), operation, v.verdict.c_str());
      } else {
        std::printf("%-10s %-8s %6.2fx at %d (%s): %s\n", engine.c_str(), operation, v.growth, v.to,
                    v.rule.c_str(), v.verdict.c_str());
      }
    }
  }
  for (const std::string& s : skipped) std::printf("skipped %s\n", s.c_str());
  const std::string end_load = FirstLine("uptime");
  std::printf("load at end: %s; %.0f s in all\n", end_load.c_str(), total_s);

  std::ofstream csv(options.out + ".csv");
  csv << "engine,clippings,operation,us_per_operation,samples\n";
  for (const CurvePoint& p : points) {
    csv << p.engine << ',' << p.size << ',' << p.operation << ',' << p.us << ',' << p.samples
        << '\n';
  }
  nlohmann::json json;
  json["commit"] = FirstLine("git -C '" CLIPCAT_SOURCE_DIR "' rev-parse HEAD 2>/dev/null");
  char when[32];
  const std::time_t now = std::time(nullptr);
  std::strftime(when, sizeof when, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&now));
  json["date"] = when;
  json["clock"] = "wall";
  json["load_at_start"] = load;
  json["load_at_end"] = end_load;
  json["total_seconds"] = total_s;
  json["catalogs"] = setup;
  json["skipped"] = skipped;
  for (const CurvePoint& p : points) {
    json["points"].push_back({{"engine", p.engine},
                              {"clippings", p.size},
                              {"operation", p.operation},
                              {"us_per_operation", p.us},
                              {"samples", p.samples},
                              {"what", p.note}});
  }
  for (const Verdict& v : verdicts) {
    json["verdicts"].push_back({{"engine", v.engine},
                                {"operation", v.operation},
                                {"from", v.from},
                                {"to", v.to},
                                {"growth", v.growth},
                                {"rule", v.rule},
                                {"verdict", v.verdict}});
  }
  std::ofstream(options.out + ".json") << json.dump(2) << '\n';
  std::printf("written to %s.csv and %s.json\n", options.out.c_str(), options.out.c_str());
  return 0;
}

}  // namespace clipcat_bench
