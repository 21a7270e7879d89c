// history: 10,000 UpdateClippingHistory calls through the write service over 2,000 clippings
// (2,000 first accesses, then further ones), and GetClippingsHistroy of 100 through the read
// service. The floor runs the same statements prepared once: the history row looked up by id,
// then updated by GUID or inserted, each on its own as the library runs them; for the listing the
// newest rows, then each clipping read by key inside one read transaction, as the library reads
// them.
#include <sqlite3.h>

#include "entities/clipping.h"
#include "floor_rows.h"
#include "scenario_common.h"
#include "scenarios.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "workload.h"

namespace clipcat_bench {
namespace {

constexpr int kDistinct = 2'000;

struct Known {
  std::string id;
  std::string guid;
  std::string name;
};

std::vector<Known> FillHistoryCatalog(const std::string& path, int clippings) {
  CatalogFiller filler(path);
  const int64_t folder = filler.AddFolder(1, "History", "");
  std::vector<Known> known;
  for (int i = 0; i < clippings; ++i) {
    const std::string name = "Clipping " + std::to_string(i);
    const int64_t key = filler.AddClipping(folder, name, "", {});
    known.push_back({std::to_string(key), filler.GuidOf(key), name});
  }
  filler.Finish();
  return known;
}

void FloorUpdateHistory(FloorDb& db, const Known& c) {
  Statement& find = db.Prepare("Select * From AccessHistory Where sClippingID=?");
  find.Text(1, c.id);
  const bool found = find.Step();
  const int64_t count = found ? find.ColumnInt(5) : 0;
  find.Reset();
  const std::string now = IsoNow();
  if (found) {
    db.Prepare(
          "Update AccessHistory Set sName=?, lAccessCount=?, tDateLastAccessed=? Where "
          "sClippingGUID=?")
        .Text(1, c.name)
        .Int(2, count < INT32_MAX ? count + 1 : count)
        .Text(3, now)
        .Text(4, c.guid)
        .Run();
  } else {
    db.Prepare(
          "Insert Into AccessHistory (sClippingGUID, lExternalCatalogId, sClippingId, sName, "
          "bIsFavorite, lAccessCount, tDateLastAccessed) Values( ?, 0, ?, ?, 0, 1, ? )")
        .Text(1, c.guid)
        .Text(2, c.id)
        .Text(3, c.name)
        .Text(4, now)
        .Run();
  }
}

std::vector<FloorClipping> FloorHistory(FloorDb& db, FrameCodec& codec, int maximum) {
  Statement& s = db.Prepare(
      "SELECT sClippingID, tDateLastAccessed FROM AccessHistory ORDER BY tDateLastAccessed DESC");
  std::vector<std::pair<std::string, double>> entries;
  while (static_cast<int>(entries.size()) < maximum && s.Step()) {
    entries.emplace_back(s.ColumnText(0), IsoToSerial(s.ColumnText(1)));
  }
  s.Reset();
  std::vector<FloorClipping> clippings;
  db.Prepare("BEGIN").Run();
  for (const auto& [id, accessed] : entries) {
    std::optional<FloorClipping> c = GetClipping(db, codec, std::stoll(id), false);
    if (!c) continue;
    c->accessed = accessed;
    clippings.push_back(std::move(*c));
  }
  db.Prepare("COMMIT").Run();
  return clippings;
}

std::shared_ptr<clipcat::Clipping> AsClipping(const Known& k) {
  auto c = clipcat::Clipping::Create();
  c->SetID(k.id);
  c->SetGUID(k.guid);
  c->SetName(k.name);
  return c;
}

}  // namespace

void MeasureHistoryUpdates(const Options& options, Report& report, bool with_targets) {
  TempDir dir;
  const std::string ours_path = dir.File("ours.catalog");
  const std::string floor_path = dir.File("floor.catalog");
  NewCatalog(ours_path);
  NewCatalog(floor_path);
  const int distinct = options.Scaled(kDistinct, 10);
  const std::vector<Known> ours_known = FillHistoryCatalog(ours_path, distinct);
  const std::vector<Known> floor_known = FillHistoryCatalog(floor_path, distinct);
  std::vector<std::shared_ptr<clipcat::Clipping>> ours_clippings;
  for (const Known& k : ours_known) ours_clippings.push_back(AsClipping(k));

  const auto details = FileDetails(ours_path);
  clipcat::ClippingDataWrite writer;
  clipcat::ClippingDataRead reader;
  FloorDb db(floor_path);
  FrameCodec codec;

  const int total = options.Scaled(10'000, options.reps);
  const int batch = total / options.reps;
  std::vector<double> ours_us, floor_us;
  double ours_peak = 0, floor_peak = 0;
  int next = 0;
  for (int b = 0; b < options.reps; ++b) {
    MemoryProbe probe;
    probe.Start();
    const double ours_s = Seconds([&] {
      for (int i = next; i < next + batch; ++i) {
        writer.UpdateClippingHistory(ours_clippings[static_cast<size_t>(i) % ours_clippings.size()],
                                     details);
      }
    });
    if (b == 0) ours_peak = probe.PeakMB();
    probe.Start();
    const double floor_s = Seconds([&] {
      for (int i = next; i < next + batch; ++i) {
        FloorUpdateHistory(db, floor_known[static_cast<size_t>(i) % floor_known.size()]);
      }
    });
    if (b == 0) floor_peak = probe.PeakMB();
    next += batch;
    ours_us.push_back(ours_s * 1e6 / batch);
    floor_us.push_back(floor_s * 1e6 / batch);
  }
  RequireSameCount(ours_path, floor_path, "SELECT sum(lAccessCount) FROM AccessHistory");
  report.Ratio("UpdateClippingHistory, time per call", "us", Median(ours_us), Median(floor_us),
               with_targets ? 1.3 : 0,
               std::to_string(options.reps) + " batches of " + std::to_string(batch) +
                   " calls over " + std::to_string(distinct) + " clippings, median");
  if (!with_targets) return;
  report.Memory("UpdateClippingHistory batch, peak memory", ours_peak, 0, floor_peak);

  const int maximum = 100;
  const int calls = 20;
  std::vector<double> ours_ms, floor_ms;
  reader.GetClippingsHistroy(maximum, details);
  FloorHistory(db, codec, maximum);
  for (int rep = 0; rep < options.reps; ++rep) {
    MemoryProbe probe;
    probe.Start();
    size_t ours_count = 0;
    ours_ms.push_back(Seconds([&] {
                        for (int i = 0; i < calls; ++i) {
                          ours_count = static_cast<size_t>(
                              reader.GetClippingsHistroy(maximum, details)->Items()->Count());
                        }
                      }) *
                      1e3 / calls);
    if (rep == 0) ours_peak = probe.PeakMB();
    probe.Start();
    size_t floor_count = 0;
    floor_ms.push_back(Seconds([&] {
                         for (int i = 0; i < calls; ++i) {
                           floor_count = FloorHistory(db, codec, maximum).size();
                         }
                       }) *
                       1e3 / calls);
    if (rep == 0) floor_peak = probe.PeakMB();
    Require(
        ours_count == floor_count && ours_count == static_cast<size_t>(std::min(maximum, distinct)),
        "history entries listed");
  }
  report.Ratio("GetClippingsHistroy(100), time per call", "ms", Median(ours_ms), Median(floor_ms),
               1.3,
               std::to_string(distinct) + " history rows, median of " +
                   std::to_string(options.reps) + " runs of " + std::to_string(calls) + " calls");
  report.Memory("GetClippingsHistroy, peak memory", ours_peak, 0, floor_peak);
}

void RunHistory(const Options& options, Report& report) {
  MeasureHistoryUpdates(options, report, true);
}

namespace {

int RelaxSync(sqlite3* db, char** /*error*/, const sqlite3_api_routines* /*api*/) {
  return sqlite3_exec(db, "PRAGMA synchronous = NORMAL", nullptr, nullptr, nullptr);
}

}  // namespace

void RunWritesRelaxedSync(const Options& options, Report& report) {
  // Every connection opened in this process from here on, the library's included.
  sqlite3_auto_extension(reinterpret_cast<void (*)()>(&RelaxSync));
  report.Info("every connection with synchronous=NORMAL", "", NAN,
              "what the write figures would be with the proposed setting; not counted");
  MeasureAdd(options, report, false);
  MeasureHistoryUpdates(options, report, false);
}

}  // namespace clipcat_bench
