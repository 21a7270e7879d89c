// versions: what keeping versions costs the write paths. Two catalogs alike but for the number of
// versions they keep, the default 50 and none, take the same calls in alternating batches:
// AddClipping (which keeps no version), then UpdateClipping with new data, 60 times for each of
// 100 clippings, so that every clipping passes the limit and its oldest versions are dropped.
// The catalog that keeps none stands where other scenarios put the floor. Each catalog is written
// through a store object of its own: the services keep one catalog per thread.
#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "engine/connection_string.h"
#include "entities/clipping.h"
#include "scenario_common.h"
#include "scenarios.h"
#include "store/data_access.h"
#include "workload.h"

namespace clipcat_bench {
namespace {

constexpr int kUpdatedClippings = 100;

class Writer {
 public:
  Writer(const std::string& path, int32_t keep, const std::vector<Content>& contents)
      : catalog_(clipcat::DataAccessSQL::Create()), contents_(contents) {
    catalog_->SetConnectionString(clipcat::FileCatalogConnectionString(path));
    catalog_->SetMaximumVersions(keep);
  }

  std::shared_ptr<clipcat::Clipping> Add(int i) {
    const Content& content = contents_[static_cast<size_t>(i) % contents_.size()];
    auto clipping = MakeClipping("Clipping " + std::to_string(i),
                                 "Benchmark clipping " + std::to_string(i), content);
    return catalog_->AddClipping(clipping, "1");
  }

  // The clipping's items replaced by another content, as an editor saving it would.
  void Update(const std::shared_ptr<clipcat::Clipping>& clipping, int i) {
    const Content& content = contents_[static_cast<size_t>(i) % contents_.size()];
    clipping->ClippingData()->Item(1)->SetRawData(content.rtf);
    clipping->ClippingData()->Item(2)->SetRawData(content.text + std::to_string(i));
    catalog_->UpdateClipping(clipping, true);
  }

 private:
  std::shared_ptr<clipcat::DataAccessSQL> catalog_;
  const std::vector<Content>& contents_;
};

}  // namespace

void RunVersions(const Options& options, Report& report) {
  TempDir dir;
  const std::string on_path = dir.File("versions.catalog");
  const std::string off_path = dir.File("none.catalog");
  NewCatalog(on_path);
  NewCatalog(off_path);
  const std::vector<Content> contents = MakeContents(64, 2048, 200, 11);
  Writer on(on_path, 50, contents);
  Writer off(off_path, 0, contents);

  const int adds = options.Scaled(5'000, options.reps) / options.reps;
  std::vector<double> add_on_us, add_off_us;
  std::vector<std::shared_ptr<clipcat::Clipping>> on_clippings, off_clippings;
  int next = 0;
  for (int b = 0; b < options.reps; ++b) {
    add_on_us.push_back(Seconds([&] {
                          for (int i = next; i < next + adds; ++i) {
                            auto added = on.Add(i);
                            if (on_clippings.size() < kUpdatedClippings) {
                              on_clippings.push_back(added);
                            }
                          }
                        }) *
                        1e6 / adds);
    add_off_us.push_back(Seconds([&] {
                           for (int i = next; i < next + adds; ++i) {
                             auto added = off.Add(i);
                             if (off_clippings.size() < kUpdatedClippings) {
                               off_clippings.push_back(added);
                             }
                           }
                         }) *
                         1e6 / adds);
    next += adds;
  }
  if (on_clippings.size() < kUpdatedClippings) throw std::runtime_error("too few clippings");

  // Rounds over all 100 clippings, 60 in all split into the repetitions. The two catalogs take
  // turns round by round, each going first every other round, so that neither meets the disk
  // after the other more often.
  const int rounds = std::max(options.Scaled(60, options.reps) / options.reps, 1);
  const auto round_of = [&](Writer& writer, std::vector<std::shared_ptr<clipcat::Clipping>>& list,
                            int r) {
    return Seconds([&] {
      for (size_t c = 0; c < list.size(); ++c) {
        writer.Update(list[c], r * kUpdatedClippings + static_cast<int>(c));
      }
    });
  };
  std::vector<double> update_on_us, update_off_us;
  int round = 0;
  for (int b = 0; b < options.reps; ++b) {
    double on_s = 0;
    double off_s = 0;
    for (int r = round; r < round + rounds; ++r) {
      if (r % 2 == 0) {
        on_s += round_of(on, on_clippings, r);
        off_s += round_of(off, off_clippings, r);
      } else {
        off_s += round_of(off, off_clippings, r);
        on_s += round_of(on, on_clippings, r);
      }
    }
    update_on_us.push_back(on_s * 1e6 / (rounds * kUpdatedClippings));
    update_off_us.push_back(off_s * 1e6 / (rounds * kUpdatedClippings));
    round += rounds;
  }
  RequireSameCount(on_path, off_path, "SELECT count(*) FROM ClippingDataType");
  const int64_t kept = Count(on_path, "SELECT count(*) FROM ClippingVersion");
  Require(Count(off_path, "SELECT count(*) FROM ClippingVersion") == 0, "no versions kept");
  const std::string per_clipping = std::to_string(round) + " updates of each of " +
                                   std::to_string(kUpdatedClippings) + " clippings; " +
                                   std::to_string(kept) + " versions kept";

  report.Ratio("AddClipping, versions kept / none", "us", Median(add_on_us), Median(add_off_us),
               1.15, std::to_string(options.reps) + " batches of " + std::to_string(adds));
  report.Ratio("UpdateClipping with data, versions kept / none", "us", Median(update_on_us),
               Median(update_off_us), 1.15, per_clipping);
}

}  // namespace clipcat_bench
