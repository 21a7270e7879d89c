// read: GetClipping with data through the read service for random keys of a catalog of 10,000
// clippings (2 KB RTF and 200-byte text each), and for one clipping with a 5 MB RTF item. The
// floor runs the same two statements (the clipping row, its items) prepared once, and
// decompresses the items into plain structs.
#include <random>

#include "entities/clipping.h"
#include "floor_rows.h"
#include "scenario_common.h"
#include "scenarios.h"
#include "service/clipping_data_read.h"
#include "workload.h"

namespace clipcat_bench {
namespace {

constexpr size_t kLargeItemBytes = 5u << 20;

size_t OursContentBytes(const clipcat::Clipping& clipping) {
  size_t bytes = 0;
  for (const auto& item : *clipping.ClippingData()) bytes += item->RawData().size();
  return bytes;
}

}  // namespace

void RunRead(const Options& options, Report& report) {
  TempDir dir;
  const std::string path = dir.File("read.catalog");
  NewCatalog(path);
  const int clippings = options.Scaled(10'000, 100);
  std::vector<int64_t> keys;
  int64_t large_key = 0;
  {
    const std::vector<Content> contents = MakeContents(256, 2048, 200, 11);
    CatalogFiller filler(path);
    keys = AddSpreadClippings(filler, contents, clippings);
    std::mt19937 random(5);
    large_key =
        filler.AddClipping(1, "Large", "5 MB item", {{1, MakeRtf(random, kLargeItemBytes)}});
    filler.Finish();
  }

  const int reads = options.Scaled(10'000, 100);
  std::mt19937 random(99);
  std::vector<int64_t> picks;
  for (int i = 0; i < reads; ++i) picks.push_back(keys[random() % keys.size()]);
  std::vector<std::string> pick_ids;
  for (int64_t key : picks) pick_ids.push_back(std::to_string(key));

  const auto details = FileDetails(path);
  clipcat::ClippingDataRead reader;
  FloorDb db(path);
  FrameCodec codec;

  // Warm both paths (catalog open, statements prepared, pages cached) before timing.
  reader.GetClipping(pick_ids[0], details, true);
  GetClipping(db, codec, picks[0], true);

  std::vector<double> ours_us;
  std::vector<double> floor_us;
  size_t ours_bytes = 0;
  size_t floor_bytes = 0;
  double ours_peak = 0;
  double floor_peak = 0;
  for (int rep = 0; rep < options.reps; ++rep) {
    MemoryProbe probe;
    probe.Start();
    ours_bytes = 0;
    ours_us.push_back(Seconds([&] {
                        for (const std::string& id : pick_ids) {
                          ours_bytes += OursContentBytes(*reader.GetClipping(id, details, true));
                        }
                      }) *
                      1e6 / reads);
    if (rep == 0) ours_peak = probe.PeakMB();
    probe.Start();
    floor_bytes = 0;
    floor_us.push_back(Seconds([&] {
                         for (int64_t key : picks) {
                           floor_bytes += ContentBytes(*GetClipping(db, codec, key, true));
                         }
                       }) *
                       1e6 / reads);
    if (rep == 0) floor_peak = probe.PeakMB();
  }
  Require(ours_bytes == floor_bytes, "content bytes read");
  const double ours_median = Median(ours_us);
  report.Ratio("GetClipping with data, time per call", "us", ours_median, Median(floor_us), 1.3,
               std::to_string(reads) + " random keys of " + std::to_string(clippings) +
                   ", median of " + std::to_string(options.reps) + " runs");
  report.AtLeast("GetClipping with data, calls per second", "/s", 1e6 / ours_median, 20'000);
  report.Memory("GetClipping x" + std::to_string(reads) + ", peak memory", ours_peak, 0,
                floor_peak);

  const std::string large_id = std::to_string(large_key);
  std::vector<double> ours_ms;
  std::vector<double> floor_ms;
  const int large_reps = std::max(options.reps, 5);
  for (int rep = 0; rep < large_reps; ++rep) {
    MemoryProbe probe;
    probe.Start();
    std::shared_ptr<clipcat::Clipping> clipping;
    ours_ms.push_back(Seconds([&] { clipping = reader.GetClipping(large_id, details, true); }) *
                      1e3);
    Require(OursContentBytes(*clipping) == kLargeItemBytes, "5 MB item read");
    if (rep == 0) ours_peak = probe.PeakMB();
    clipping.reset();
    probe.Start();
    std::optional<FloorClipping> floor_clipping;
    floor_ms.push_back(Seconds([&] { floor_clipping = GetClipping(db, codec, large_key, true); }) *
                       1e3);
    Require(ContentBytes(*floor_clipping) == kLargeItemBytes, "5 MB item read by the floor");
    if (rep == 0) floor_peak = probe.PeakMB();
  }
  const double large_median = Median(ours_ms);
  report.Ratio("GetClipping, one 5 MB item", "ms", large_median, Median(floor_ms), 1.3,
               "median of " + std::to_string(large_reps) + " runs");
  report.AtMost("GetClipping, one 5 MB item", "ms", large_median, 30);
  report.Memory("GetClipping 5 MB item, peak memory", ours_peak, kLargeItemBytes / 1048576.0,
                floor_peak);
}

}  // namespace clipcat_bench
