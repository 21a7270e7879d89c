// The curve: how the cost of one operation grows with the catalog. For each engine and each size
// (clippings in the catalog) a catalog is filled directly in the rows (untimed), and a sample of
// adds, reads, folder listings, searches and an import is timed on it through the library. The
// table is printed and written as CSV and JSON; whether each operation stays flat is judged from
// 10,000 clippings to the largest size measured.
#pragma once

#include <string>
#include <vector>

#include "harness.h"

namespace clipcat_bench {

struct CurveOptions {
  std::vector<int> sizes = {1'000, 10'000, 100'000, 1'000'000};
  bool sqlite = true;
  bool postgres = true;
  int postgres_max = 1'000'000;  // larger PostgreSQL catalogs are skipped
  std::string out = std::string(CLIPCAT_SOURCE_DIR) + "/bench/curve";  // .csv and .json
};

// One timed operation at one size: microseconds per operation, over `samples` operations.
struct CurvePoint {
  std::string engine;  // "sqlite" or "postgresql"
  int size = 0;        // clippings in the catalog when the operation ran
  std::string operation;
  double us = 0;
  int samples = 0;
  std::string note;
};

// Fills a catalog of `size` clippings on `engine` and times each operation on it; the points are
// reported as Info figures (measure: operation; unit: "us"; note: samples and details).
void MeasureCurveAt(const std::string& engine, int size, Report& report);

// Runs the whole curve as `options` say; answers the process's exit status.
int RunCurve(const CurveOptions& options);

}  // namespace clipcat_bench
