// tree: GetFolders through the read service on a catalog of 5,000 folders six levels deep (the
// root, then up to six children per folder, filled breadth first). The floor runs the same
// statements, the top-level query and one children query per folder, prepared once, inside one
// read transaction as the store does, and builds a tree of plain structs.
#include "catalog_shapes.h"
#include "entities/folder.h"
#include "floor_rows.h"
#include "scenario_common.h"
#include "scenarios.h"
#include "service/clipping_data_read.h"
#include "workload.h"

namespace clipcat_bench {
namespace {

void FloorChildren(FloorDb& db, FloorFolder& folder) {
  Statement& s = db.Prepare(
      "SELECT * From  Folder WHERE lParentId=? AND NOT iStatus=4 AND iStatus <> 3 "
      "ORDER BY sName ASC ");
  s.Int(1, std::stoll(folder.id));
  while (s.Step()) folder.children.push_back(ReadFolderRow(s));
  s.Reset();
  for (FloorFolder& child : folder.children) FloorChildren(db, child);
}

std::vector<FloorFolder> FloorGetFolders(FloorDb& db) {
  std::vector<FloorFolder> top;
  db.Prepare("BEGIN").Run();
  Statement& s =
      db.Prepare("SELECT * FROM Folder WHERE lParentId=0   AND iStatus <> 3  ORDER BY sName ASC ");
  while (s.Step()) top.push_back(ReadFolderRow(s));
  s.Reset();
  for (FloorFolder& folder : top) FloorChildren(db, folder);
  db.Prepare("COMMIT").Run();
  return top;
}

size_t CountFloor(const std::vector<FloorFolder>& folders, size_t& name_bytes) {
  size_t n = 0;
  for (const FloorFolder& f : folders) {
    name_bytes += f.name.size() + f.description.size() + f.guid.size() + f.id.size();
    n += 1 + CountFloor(f.children, name_bytes);
  }
  return n;
}

size_t CountOurs(const clipcat::FolderCollection& folders) {
  size_t n = 0;
  for (const auto& f : folders) n += 1 + CountOurs(*f->ChildFolders());
  return n;
}

}  // namespace

void RunTree(const Options& options, Report& report) {
  TempDir dir;
  const std::string path = dir.File("tree.catalog");
  NewCatalog(path);
  const int total = options.Scaled(5'000, 50);
  {
    CatalogFiller filler(path);
    FillFolderTree(filler, total);
    filler.Finish();
  }

  const auto details = FileDetails(path);
  clipcat::ClippingDataRead reader;
  FloorDb db(path);
  reader.GetFolders(details, true);
  FloorGetFolders(db);

  std::vector<double> ours_ms;
  std::vector<double> floor_ms;
  double ours_peak = 0;
  double floor_peak = 0;
  size_t ours_count = 0;
  size_t floor_count = 0;
  size_t returned_bytes = 0;
  for (int rep = 0; rep < options.reps; ++rep) {
    MemoryProbe probe;
    probe.Start();
    std::shared_ptr<clipcat::Folders> folders;
    ours_ms.push_back(Seconds([&] { folders = reader.GetFolders(details, true); }) * 1e3);
    if (rep == 0) ours_peak = probe.PeakMB();
    ours_count = CountOurs(*folders->Items());
    folders.reset();
    probe.Start();
    std::vector<FloorFolder> floor_folders;
    floor_ms.push_back(Seconds([&] { floor_folders = FloorGetFolders(db); }) * 1e3);
    if (rep == 0) floor_peak = probe.PeakMB();
    returned_bytes = 0;
    floor_count = CountFloor(floor_folders, returned_bytes);
  }
  Require(ours_count == floor_count && ours_count == static_cast<size_t>(total), "folder count");
  report.Ratio("GetFolders, " + std::to_string(total) + " folders", "ms", Median(ours_ms),
               Median(floor_ms), 1.2,
               "depth 6, median of " + std::to_string(options.reps) + " runs");
  report.Memory("GetFolders, peak memory", ours_peak, returned_bytes / 1048576.0, floor_peak);
}

}  // namespace clipcat_bench
