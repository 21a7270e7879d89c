// postgres, tree and search: GetFolders over a folder tree, and SearchForClippings and
// FindClippings as the search scenario asks them, on server catalogs filled directly in the rows
// (the shapes of catalog_shapes.h), against a floor on libpq that runs the statements the
// services send, as the server receives them (see engine/postgres_dialect.h), each prepared once,
// reading into plain structs. Round trips per call as for add and read.
#include <map>
#include <set>
#include <stdexcept>

#include "catalog_shapes.h"
#include "engine/postgres_session.h"
#include "entities/clipping.h"
#include "entities/folder.h"
#include "entities/search.h"
#include "floor_pg.h"
#include "floor_rows.h"
#include "library/catalog_location.h"
#include "postgres_queries.h"
#include "scenario_common.h"
#include "service/clipping_data_read.h"
#include "service/connection_handler.h"
#include "workload.h"

namespace clipcat_bench {
namespace {

using clipcat::testing::PostgresTestServer;

// How the server catalog orders by a case-folded name (see engine/postgres_dialect.h).
#define BY_NAME "ORDER BY clipcat_fold(sName) COLLATE \"C\" ASC"

// A text column of a binary result.
std::string Text(const PGresult* result, int row, int column) {
  return {PQgetvalue(result, row, column), static_cast<size_t>(PQgetlength(result, row, column))};
}

// A timestamp column of a binary result (microseconds since 2000-01-01) as an automation date.
double Serial(const PGresult* result, int row, int column) {
  if (PQgetisnull(result, row, column)) return 0;
  return 36526.0 + static_cast<double>(BinaryInt(result, row, column)) / 86'400e6;
}

FloorFolder FolderRow(const PGresult* result, int row) {
  FloorFolder f;
  f.id = std::to_string(BinaryInt(result, row, 0));
  f.guid = Text(result, row, 1);
  f.parent_id = std::to_string(BinaryInt(result, row, 2));
  f.name = Text(result, row, 3);
  f.description = Text(result, row, 4);
  f.external_catalog = static_cast<int>(BinaryInt(result, row, 5));
  f.status = static_cast<int>(BinaryInt(result, row, 8));
  f.updated = Serial(result, row, 9);
  return f;
}

FloorClipping ClippingRow(const PGresult* result, int row) {
  FloorClipping c;
  c.id = std::to_string(BinaryInt(result, row, 0));
  c.folder_id = std::to_string(BinaryInt(result, row, 1));
  c.guid = Text(result, row, 2);
  c.name = Text(result, row, 3);
  c.description = Text(result, row, 4);
  c.status = static_cast<int>(BinaryInt(result, row, 5));
  c.updated = Serial(result, row, 6);
  return c;
}

std::vector<FloorFolder> Children(FloorPg& db, const std::string& parent) {
  PGresult* rows =
      db.Run("SELECT * From  Folder WHERE lParentId=$1 AND NOT iStatus=4 AND iStatus <> 3 " BY_NAME,
             {parent});
  std::vector<FloorFolder> children;
  for (int i = 0; i < PQntuples(rows); ++i) children.push_back(FolderRow(rows, i));
  PQclear(rows);
  return children;
}

void FillChildren(FloorPg& db, FloorFolder& folder) {
  folder.children = Children(db, folder.id);
  for (FloorFolder& child : folder.children) FillChildren(db, child);
}

std::vector<FloorFolder> FloorGetFolders(FloorPg& db) {
  PGresult* rows = db.Run("SELECT * FROM Folder WHERE lParentId=0 AND iStatus <> 3 " BY_NAME, {});
  std::vector<FloorFolder> top;
  for (int i = 0; i < PQntuples(rows); ++i) top.push_back(FolderRow(rows, i));
  PQclear(rows);
  for (FloorFolder& folder : top) FillChildren(db, folder);
  return top;
}

size_t CountFloor(const std::vector<FloorFolder>& folders) {
  size_t n = 0;
  for (const FloorFolder& f : folders) n += 1 + CountFloor(f.children);
  return n;
}

size_t CountOurs(const clipcat::FolderCollection& folders) {
  size_t n = 0;
  for (const auto& f : folders) n += 1 + CountOurs(*f->ChildFolders());
  return n;
}

void Subtree(FloorPg& db, const std::string& key, std::vector<std::string>& ids) {
  ids.push_back(key);
  for (const FloorFolder& child : Children(db, key)) Subtree(db, child.id, ids);
}

// "lFolderID IN ($first, ..." for `count` folders: the server catalog sends a list of folder
// alternatives as one IN list.
std::string FolderList(size_t count, int first) {
  std::string list = "lFolderID IN (";
  for (size_t i = 0; i < count; ++i) list += (i == 0 ? "$" : ",$") + std::to_string(first++);
  return list + ")";
}

std::string FolderPath(FloorPg& db, std::string key) {
  std::string path;
  std::set<std::string> seen;
  while (key != "0") {
    if (!seen.insert(key).second) throw std::runtime_error("folder parents run in a circle");
    PGresult* row = db.Run("Select sName, lParentID From Folder Where lFolderID =$1", {key});
    if (PQntuples(row) != 1) throw std::runtime_error("missing folder");
    std::string name = Text(row, 0, 0);
    key = std::to_string(BinaryInt(row, 0, 1));
    PQclear(row);
    path = path.empty() ? std::move(name) : name + "\\" + path;
  }
  return path;
}

std::string CategoryNames(FloorPg& db, const std::string& clipping) {
  PGresult* rows = db.Run(
      "Select GroupClipping.lGroupClippingID, GroupClipping.sName, GroupClipping.tUpdated "
      "From GroupClipping INNER JOIN ClippingGroupClipping ON  GroupClipping.lGroupClippingID= "
      "ClippingGroupClipping.lGroupClippingID Where ClippingGroupClipping.lClippingId=$1 "
      "AND GroupClipping.lGroupCategoryId=1 ORDER BY clipcat_fold(GroupClipping.sName) COLLATE "
      "\"C\" ASC ",
      {clipping});
  std::string names;
  for (int i = 0; i < PQntuples(rows); ++i) {
    if (!names.empty()) names += ", ";
    names += Text(rows, i, 1);
  }
  PQclear(rows);
  return names;
}

std::vector<FloorClipping> Clippings(PGresult* rows) {
  std::vector<FloorClipping> clippings;
  for (int i = 0; i < PQntuples(rows); ++i) clippings.push_back(ClippingRow(rows, i));
  PQclear(rows);
  return clippings;
}

std::vector<FloorClipping> FloorSearchForClippings(FloorPg& db, const std::string& top) {
  // The service reads the folder, then (for its subfolders) reads it again with its subtree.
  for (int i = 0; i < 2; ++i) {
    PGresult* folder = db.Run("SELECT * From Folder WHERE lFolderId=$1", {top});
    const bool found = PQntuples(folder) == 1;
    PQclear(folder);
    if (!found) return {};
  }
  std::vector<std::string> values = {"%invoice%", "%invoice%"};
  Subtree(db, top, values);
  const size_t folders = values.size() - 2;
  // The category names as the server catalog matches them by folded case: a sieve with "_" for
  // the letters whose other cases fold outside ASCII ("k", "s"), then the folded comparison.
  for (const char* value : {"Wor_", "Work", "Per_onal", "Personal"}) values.push_back(value);
  const int at = static_cast<int>(folders) + 3;
  auto p = [&](int i) { return "$" + std::to_string(at + i); };
  const std::string sql =
      "SELECT * FROM Clipping WHERE iClippingStatus <>4 AND ( sName LIKE $1 ESCAPE '' OR "
      "sDescription LIKE $2 ESCAPE '' )  AND  (  " +
      FolderList(folders, 3) +
      "  )  AND lClippingID IN ( Select ClippingGroupClipping.lClippingID FROM Clipping INNER "
      "JOIN (GroupClipping INNER JOIN ClippingGroupClipping ON GroupClipping.lGroupClippingId = "
      "ClippingGroupClipping.lGroupClippingId) ON Clipping.lClippingId = "
      "ClippingGroupClipping.lClippingId WHERE (((Clipping.iClippingStatus)<> 4) AND "
      "((GroupClipping.lGroupCategoryId)=1)AND (  (GroupClipping.sName LIKE " +
      p(0) + " ESCAPE '' AND clipcat_fold(GroupClipping.sName) LIKE clipcat_fold(" + p(1) +
      ") ESCAPE '') OR (GroupClipping.sName LIKE " + p(2) +
      " ESCAPE '' AND clipcat_fold(GroupClipping.sName) LIKE clipcat_fold(" + p(3) +
      ") ESCAPE '')  )))";
  std::vector<FloorClipping> hits = Clippings(db.Run(sql, values));
  for (FloorClipping& c : hits) {
    std::vector<FloorClipping> again =
        Clippings(db.Run("SELECT * FROM Clipping WHERE lClippingID=$1", {c.id}));
    if (again.size() != 1) throw std::runtime_error("hit gone");
    c.path = FolderPath(db, again[0].folder_id);
    c.categories = CategoryNames(db, c.id);
  }
  return hits;
}

std::vector<FloorClipping> FloorFindClippings(FloorPg& db, const std::vector<int64_t>& folders) {
  std::vector<std::string> values = {"%invoice%", "%invoice%"};
  for (int64_t id : folders) values.push_back(std::to_string(id));
  const std::string sql =
      "SELECT * FROM Clipping WHERE ( sName LIKE $1 ESCAPE '' OR sDescription LIKE $2 ESCAPE '') "
      "AND NOT iClippingStatus=4 AND (  " +
      FolderList(folders.size(), 3) + " ) ";
  return Clippings(db.Run(sql, values));
}

// The same clippings with the same paths and categories. As a set: the statements have no ORDER
// BY, and the server may answer in a different order each time (a parallel scan).
void RequireSame(const clipcat::Clippings& ours, std::vector<FloorClipping> floor,
                 bool with_paths) {
  Require(static_cast<size_t>(ours.Items()->Count()) == floor.size(), "number of clippings found");
  std::map<std::string, const FloorClipping*> by_id;
  for (const FloorClipping& c : floor) by_id[c.id] = &c;
  for (const auto& c : *ours.Items()) {
    const auto found = by_id.find(c->ID());
    Require(found != by_id.end(), "clipping " + c->ID() + " found");
    if (with_paths) {
      Require(c->PathName() == found->second->path && c->Categories() == found->second->categories,
              "path and categories of clipping " + c->ID());
    }
  }
}

// A new catalog on `server` in database `name`; answers its connection details.
std::shared_ptr<clipcat::ConnectionDetails> NewServerCatalog(PostgresTestServer& server,
                                                             const std::string& name) {
  const std::string error = server.Admin("CREATE DATABASE " + name);
  if (!error.empty()) throw std::runtime_error(error);
  clipcat::CreateCatalogAt(clipcat::SelectCatalog(server.Uri(name), ""), name);
  clipcat::ReleaseAccessManager();
  return clipcat::ConnectionDetailsForTarget(server.Uri(name));
}

// Times `ours` and `floor` alternately `reps` times; answers the medians in ms and the round
// trips per call of each.
struct Timed {
  double ours_ms = 0, floor_ms = 0, ours_trips = 0, floor_trips = 0;
};

template <typename Ours, typename Floor>
Timed Alternate(int reps, FloorPg& db, Ours&& ours, Floor&& floor) {
  std::vector<double> ours_ms, floor_ms;
  Timed timed;
  for (int rep = 0; rep < reps; ++rep) {
    const uint64_t before = clipcat::PostgresRoundTripsSoFar();
    ours_ms.push_back(Seconds(ours) * 1e3);
    timed.ours_trips += static_cast<double>(clipcat::PostgresRoundTripsSoFar() - before) / reps;
    const uint64_t floor_before = db.round_trips;
    floor_ms.push_back(Seconds(floor) * 1e3);
    timed.floor_trips += static_cast<double>(db.round_trips - floor_before) / reps;
  }
  timed.ours_ms = Median(ours_ms);
  timed.floor_ms = Median(floor_ms);
  return timed;
}

void ReportTimed(Report& report, const std::string& measure, const Timed& timed,
                 const std::string& note) {
  report.Ratio("PostgreSQL " + measure + ", time per call", "ms", timed.ours_ms, timed.floor_ms,
               1.5, note);
  report.Info("PostgreSQL " + measure + ", round trips per call", "", timed.ours_trips,
              "floor: " + std::to_string(timed.floor_trips).substr(0, 6) +
                  " (the first run prepares each statement)");
}

void MeasureTree(PostgresTestServer& server, const Options& options, Report& report) {
  const auto details = NewServerCatalog(server, "bench_tree");
  const int total = options.Scaled(2'000, 50);
  {
    PgCatalogFiller filler(server.Conninfo("bench_tree"), false);
    FillFolderTree(filler, total);
    filler.Finish();
  }
  clipcat::ClippingDataRead reader;
  FloorPg db(server.Conninfo("bench_tree"));
  reader.GetFolders(details, true);
  FloorGetFolders(db);
  size_t ours_count = 0, floor_count = 0;
  const Timed timed = Alternate(
      options.reps, db, [&] { ours_count = CountOurs(*reader.GetFolders(details, true)->Items()); },
      [&] { floor_count = CountFloor(FloorGetFolders(db)); });
  Require(ours_count == floor_count && ours_count == static_cast<size_t>(total), "folder count");
  ReportTimed(report, "GetFolders", timed,
              std::to_string(total) + " folders, depth 6, median of " +
                  std::to_string(options.reps) + " runs");
}

void MeasureSearch(PostgresTestServer& server, const Options& options, Report& report) {
  const auto details = NewServerCatalog(server, "bench_search");
  const int clippings = options.Scaled(100'000, 1'000);
  SearchCatalog catalog;
  {
    PgCatalogFiller filler(server.Conninfo("bench_search"), false);
    catalog = FillSearchCatalog(filler, clippings);
    filler.Finish();
  }
  clipcat::ClippingDataRead reader;
  FloorPg db(server.Conninfo("bench_search"));
  const SearchQueries queries = MakeSearchQueries(catalog);
  const auto& search = queries.search;
  const auto& find = queries.find;
  const std::string top = std::to_string(catalog.subtree_top);

  // Warm both: connections open, column types and the folder statements prepared.
  reader.SearchForClippings(search, details);
  FloorSearchForClippings(db, top);
  std::shared_ptr<clipcat::Clippings> ours;
  std::vector<FloorClipping> floor;
  const Timed searched = Alternate(
      options.reps, db, [&] { ours = reader.SearchForClippings(search, details); },
      [&] { floor = FloorSearchForClippings(db, top); });
  RequireSame(*ours, floor, true);
  const size_t hits = floor.size();
  const Timed found = Alternate(
      options.reps, db, [&] { ours = reader.FindClippings(find, details); },
      [&] { floor = FloorFindClippings(db, catalog.subtree); });
  RequireSame(*ours, floor, false);
  const std::string of = " of " + std::to_string(clippings) + " clippings, median of " +
                         std::to_string(options.reps) + " runs";
  ReportTimed(report, "SearchForClippings", searched,
              "text, 51-folder subtree, 2 categories: " + std::to_string(hits) + " hits" + of);
  ReportTimed(report, "FindClippings", found,
              "text in 51 folders: " + std::to_string(floor.size()) + " hits" + of);
}

}  // namespace

void MeasurePostgresTreeAndSearch(PostgresTestServer& server, const Options& options,
                                  Report& report) {
  MeasureTree(server, options, report);
  MeasureSearch(server, options, report);
}

}  // namespace clipcat_bench
