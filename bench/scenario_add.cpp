// add: AddClipping through the write service, each clipping with a 2 KB RTF item and a 200-byte
// text item, spread over 100 folders. The floor runs the statements of the same operation on
// prepared statements: the parent folder looked up, then in one transaction the key drawn from
// the generator, the clipping row, its old items removed and both items inserted compressed, and
// the name check.
#include <stdexcept>

#include "entities/clipping.h"
#include "scenario_common.h"
#include "scenarios.h"
#include "service/clipping_data_write.h"
#include "workload.h"

namespace clipcat_bench {
namespace {

constexpr int kFolders = 100;

std::vector<int64_t> MakeFolders(const std::string& path) {
  CatalogFiller filler(path);
  std::vector<int64_t> folders;
  for (int i = 0; i < kFolders; ++i) {
    folders.push_back(filler.AddFolder(1, "Folder " + std::to_string(i), "Benchmark folder"));
  }
  filler.Finish();
  return folders;
}

class OursAdder {
 public:
  OursAdder(const std::string& path, const std::vector<int64_t>& folders,
            const std::vector<Content>& contents)
      : details_(FileDetails(path)), contents_(contents) {
    for (int64_t key : folders) folder_ids_.push_back(std::to_string(key));
  }

  void Add(int i) {
    const Content& content = contents_[static_cast<size_t>(i) % contents_.size()];
    auto clipping = MakeClipping("Clipping " + std::to_string(i),
                                 "Benchmark clipping " + std::to_string(i), content);
    writer_.AddClipping(clipping, folder_ids_[static_cast<size_t>(i) % folder_ids_.size()],
                        details_);
  }

 private:
  std::shared_ptr<clipcat::ConnectionDetails> details_;
  const std::vector<Content>& contents_;
  std::vector<std::string> folder_ids_;
  clipcat::ClippingDataWrite writer_;
};

class FloorAdder {
 public:
  FloorAdder(const std::string& path, const std::vector<int64_t>& folders,
             const std::vector<Content>& contents)
      : db_(path), folders_(folders), contents_(contents) {}

  void Add(int i) {
    const Content& content = contents_[static_cast<size_t>(i) % contents_.size()];
    const int64_t folder = folders_[static_cast<size_t>(i) % folders_.size()];
    const std::string name = "Clipping " + std::to_string(i);
    const std::string description = "Benchmark clipping " + std::to_string(i);

    // The parent is read first: a linked folder would send the clipping to another catalog.
    Statement& parent = db_.Prepare("SELECT * From Folder WHERE lFolderId=?");
    parent.Int(1, folder);
    if (!parent.Step() || parent.ColumnInt(5) != 0) throw std::runtime_error("bad parent");
    parent.Reset();

    db_.Prepare("BEGIN IMMEDIATE").Run();
    const std::string guid = guids_.Next();
    db_.Prepare("Insert Into FolderIDGenerator (sGUID) Values (?)").Text(1, guid).Run();
    Statement& draw = db_.Prepare("Select lID From FolderIDGenerator Where sGUID=?");
    draw.Text(1, guid);
    if (!draw.Step()) throw std::runtime_error("no key drawn");
    const int64_t key = draw.ColumnInt(0);
    draw.Reset();
    db_.Prepare("Delete From FolderIDGenerator Where sGUID=?").Text(1, guid).Run();

    const std::string now = IsoNow();
    db_.Prepare(
           "Insert Into Clipping (lClippingID, lFolderID, sGUID, sName, sDescription, "
           "iClippingStatus, tUpdated) Values (?, ?, ?, ?, ?, 0, ?)")
        .Int(1, key)
        .Int(2, folder)
        .Text(3, guid)
        .Text(4, name)
        .Text(5, description)
        .Text(6, now)
        .Run();
    db_.Prepare("Delete From ClippingDataType Where lClippingId=?").Int(1, key).Run();
    const std::pair<int, const std::string*> items[] = {{1, &content.rtf}, {2, &content.text}};
    for (const auto& [type, raw] : items) {
      const std::string frame = codec_.Compress(*raw);
      db_.Prepare(
             "INSERT INTO ClippingDataType (lClippingID, lDataTypeId, bIsCompressed, "
             "ClippingData) VALUES (?, ?, 1, ?)")
          .Int(1, key)
          .Int(2, type)
          .Blob(3, frame)
          .Run();
    }
    Statement& check =
        db_.Prepare("Select * From Clipping Where sName=? AND lFolderId=? AND iClippingStatus <>4");
    check.Text(1, name).Int(2, folder);
    int rows = 0;
    while (check.Step()) ++rows;
    check.Reset();
    if (rows >= 2) throw std::runtime_error("name not unique");
    db_.Prepare("COMMIT").Run();
  }

 private:
  FloorDb db_;
  FrameCodec codec_;
  GuidMaker guids_;
  const std::vector<int64_t>& folders_;
  const std::vector<Content>& contents_;
};

}  // namespace

void MeasureAdd(const Options& options, Report& report, bool with_targets) {
  TempDir dir;
  const std::string ours_path = dir.File("ours.catalog");
  const std::string floor_path = dir.File("floor.catalog");
  NewCatalog(ours_path);
  NewCatalog(floor_path);
  const std::vector<int64_t> ours_folders = MakeFolders(ours_path);
  const std::vector<int64_t> floor_folders = MakeFolders(floor_path);
  const std::vector<Content> contents = MakeContents(256, 2048, 200, 7);

  OursAdder ours(ours_path, ours_folders, contents);
  FloorAdder floor(floor_path, floor_folders, contents);

  const int total = options.Scaled(10'000, options.reps);
  const int batch = total / options.reps;
  std::vector<double> ours_us;
  std::vector<double> floor_us;
  double ours_peak = 0;
  double floor_peak = 0;
  int next = 0;
  // Batches alternate between ours and the floor so that both meet the disk in the same state.
  for (int b = 0; b < options.reps; ++b) {
    MemoryProbe probe;
    probe.Start();
    const double ours_s = Seconds([&] {
      for (int i = next; i < next + batch; ++i) ours.Add(i);
    });
    if (b == 0) ours_peak = probe.PeakMB();
    probe.Start();
    const double floor_s = Seconds([&] {
      for (int i = next; i < next + batch; ++i) floor.Add(i);
    });
    if (b == 0) floor_peak = probe.PeakMB();
    next += batch;
    ours_us.push_back(ours_s * 1e6 / batch);
    floor_us.push_back(floor_s * 1e6 / batch);
  }
  RequireSameCount(ours_path, floor_path, "SELECT count(*) FROM ClippingDataType");

  const double ours_median = Median(ours_us);
  const double floor_median = Median(floor_us);
  const std::string runs =
      std::to_string(options.reps) + " batches of " + std::to_string(batch) + " calls, median";
  report.Ratio("AddClipping, time per call", "us", ours_median, floor_median,
               with_targets ? 1.3 : 0, runs);
  report.AtLeast("AddClipping, clippings per second", "/s", 1e6 / ours_median, 2000,
                 "floor: " + std::to_string(static_cast<int>(1e6 / floor_median)) + "/s");
  if (with_targets) report.Memory("AddClipping batch, peak memory", ours_peak, 0, floor_peak);
}

void RunAdd(const Options& options, Report& report) { MeasureAdd(options, report, true); }

}  // namespace clipcat_bench
