// search: SearchForClippings and FindClippings through the read service over 100,000 clippings in
// 408 folders (8 top folders of 50 each) tagged with 10 categories. SearchForClippings asks for
// "*invoice*" in one top folder with its subfolders and in the categories "Work" or "Personal";
// FindClippings for "invoice" in the same 51 folders. The floor runs the statements the services
// run: the folder and its subtree, the search itself, and for each hit its path and category
// names, all prepared once (the search once per call, as its folder list varies).

#include "catalog_shapes.h"
#include "entities/clipping.h"
#include "entities/search.h"
#include "floor_rows.h"
#include "scenario_common.h"
#include "scenarios.h"
#include "service/clipping_data_read.h"
#include "workload.h"

namespace clipcat_bench {
namespace {

void FloorSubtree(FloorDb& db, int64_t key, std::vector<int64_t>& ids) {
  ids.push_back(key);
  Statement& s = db.Prepare(
      "SELECT * From  Folder WHERE lParentId=? AND NOT iStatus=4 AND iStatus <> 3 "
      "ORDER BY sName ASC ");
  s.Int(1, key);
  std::vector<int64_t> children;
  while (s.Step()) children.push_back(s.ColumnInt(0));
  s.Reset();
  for (int64_t child : children) FloorSubtree(db, child, ids);
}

std::string FolderAlternatives(size_t count) {
  std::string terms;
  for (size_t i = 0; i < count; ++i) terms += i == 0 ? "lFolderID=? " : "OR lFolderID=? ";
  return terms;
}

std::vector<FloorClipping> FloorSearchForClippings(FloorDb& db, int64_t top) {
  // The service reads the folder, then (for its subfolders) reads it again with its subtree.
  Statement& folder = db.Prepare("SELECT * From Folder WHERE lFolderId=?");
  for (int i = 0; i < 2; ++i) {
    folder.Int(1, top);
    if (!folder.Step()) return {};
    folder.Reset();
  }
  std::vector<int64_t> ids;
  FloorSubtree(db, top, ids);

  const std::string sql =
      "SELECT * FROM Clipping WHERE iClippingStatus <>4 AND ( sName LIKE ? OR sDescription LIKE "
      "? )  AND  ( " +
      FolderAlternatives(ids.size()) +
      " )  AND lClippingID IN ( Select ClippingGroupClipping.lClippingID FROM Clipping INNER JOIN "
      "(GroupClipping INNER JOIN ClippingGroupClipping ON GroupClipping.lGroupClippingId = "
      "ClippingGroupClipping.lGroupClippingId) ON Clipping.lClippingId = "
      "ClippingGroupClipping.lClippingId WHERE (((Clipping.iClippingStatus)<> 4) AND "
      "((GroupClipping.lGroupCategoryId)=1)AND ( GroupClipping.sName LIKE ? OR "
      "GroupClipping.sName LIKE ? )))";
  Statement search(db.db(), sql);
  int index = 1;
  search.Text(1, "%invoice%").Text(2, "%invoice%");
  index = 3;
  for (int64_t id : ids) search.Int(index++, id);
  search.Text(index, "Work").Text(index + 1, "Personal");
  std::vector<FloorClipping> rows;
  while (search.Step()) rows.push_back(ReadClippingRow(search));
  FrameCodec unused;
  for (FloorClipping& c : rows) {
    const int64_t key = std::stoll(c.id);
    const std::optional<FloorClipping> again = GetClipping(db, unused, key, false);
    c.path = FolderPath(db, std::stoll(again->folder_id));
    c.categories = CategoryNames(db, key);
  }
  return rows;
}

std::vector<FloorClipping> FloorFindClippings(FloorDb& db, const std::vector<int64_t>& folders) {
  const std::string sql =
      "SELECT * FROM Clipping WHERE ( sName LIKE ? OR sDescription LIKE ?) AND NOT "
      "iClippingStatus=4 AND ( " +
      FolderAlternatives(folders.size()) + " ) ";
  Statement find(db.db(), sql);
  int index = 1;
  find.Text(1, "%invoice%").Text(2, "%invoice%");
  index = 3;
  for (int64_t id : folders) find.Int(index++, id);
  std::vector<FloorClipping> rows;
  while (find.Step()) rows.push_back(ReadClippingRow(find));
  return rows;
}

void RequireSame(const clipcat::Clippings& ours, const std::vector<FloorClipping>& floor,
                 bool with_paths) {
  Require(static_cast<size_t>(ours.Items()->Count()) == floor.size(), "number of clippings found");
  size_t i = 0;
  for (const auto& c : *ours.Items()) {
    Require(c->ID() == floor[i].id, "clipping found at " + std::to_string(i));
    if (with_paths) {
      Require(c->PathName() == floor[i].path && c->Categories() == floor[i].categories,
              "path and categories of clipping " + c->ID());
    }
    ++i;
  }
}

}  // namespace

void RunSearch(const Options& options, Report& report) {
  TempDir dir;
  const std::string path = dir.File("search.catalog");
  NewCatalog(path);
  const int clippings = options.Scaled(100'000, 1'000);
  SearchCatalog catalog;
  {
    CatalogFiller filler(path);
    catalog = FillSearchCatalog(filler, clippings);
    filler.Finish();
  }

  const auto details = FileDetails(path);
  clipcat::ClippingDataRead reader;
  FloorDb db(path);

  const SearchQueries queries = MakeSearchQueries(catalog);
  const auto& search = queries.search;
  const auto& find = queries.find;

  std::vector<double> ours_search, floor_search, ours_find, floor_find;
  double ours_peak = 0, floor_peak = 0, find_peak = 0, find_floor_peak = 0;
  size_t hits = 0, found = 0;
  for (int rep = 0; rep < options.reps; ++rep) {
    MemoryProbe probe;
    probe.Start();
    std::shared_ptr<clipcat::Clippings> ours;
    ours_search.push_back(Seconds([&] { ours = reader.SearchForClippings(search, details); }) *
                          1e3);
    if (rep == 0) ours_peak = probe.PeakMB();
    probe.Start();
    std::vector<FloorClipping> floor;
    floor_search.push_back(
        Seconds([&] { floor = FloorSearchForClippings(db, catalog.subtree_top); }) * 1e3);
    if (rep == 0) floor_peak = probe.PeakMB();
    RequireSame(*ours, floor, true);
    hits = floor.size();

    probe.Start();
    ours_find.push_back(Seconds([&] { ours = reader.FindClippings(find, details); }) * 1e3);
    if (rep == 0) find_peak = probe.PeakMB();
    probe.Start();
    floor_find.push_back(Seconds([&] { floor = FloorFindClippings(db, catalog.subtree); }) * 1e3);
    if (rep == 0) find_floor_peak = probe.PeakMB();
    RequireSame(*ours, floor, false);
    found = floor.size();
  }
  const std::string of = " of " + std::to_string(clippings) + " clippings, median of " +
                         std::to_string(options.reps) + " runs";
  report.Ratio("SearchForClippings", "ms", Median(ours_search), Median(floor_search), 1.2,
               "text, 51-folder subtree, 2 categories: " + std::to_string(hits) + " hits" + of);
  report.Ratio("FindClippings", "ms", Median(ours_find), Median(floor_find), 1.2,
               "text in 51 folders: " + std::to_string(found) + " hits" + of);
  report.Memory("SearchForClippings, peak memory", ours_peak, 0, floor_peak);
  report.Memory("FindClippings, peak memory", find_peak, 0, find_floor_peak);
}

}  // namespace clipcat_bench
