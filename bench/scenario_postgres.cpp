// postgres: add and read on a catalog on a PostgreSQL server (then tree and search, see
// scenario_postgres_queries.cpp), against a floor on libpq that runs the same statements prepared
// once, with binary parameters. The server is a throwaway one started the way the test suite
// starts its own (tests/support/postgres_test_server.h); without the server binaries the scenario
// reports why it did not run. Round trips per operation come from the backend's counter; the
// floor's are counted by hand.
#include <cstdio>
#include <random>
#include <stdexcept>

#include "engine/postgres_session.h"
#include "entities/clipping.h"
#include "entities/folder.h"
#include "entities/plain_text.h"
#include "floor_pg.h"
#include "library/catalog_location.h"
#include "postgres_queries.h"
#include "scenario_common.h"
#include "scenarios.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "store/content_index.h"
#include "support/postgres_test_server.h"
#include "util/search_words.h"
#include "workload.h"

namespace clipcat_bench {
namespace {

using clipcat::testing::PostgresTestServer;

constexpr int kFolders = 100;

// A catalog of its own on `server`, with 100 folders under the top one; answers its details and
// the folders' ids.
std::pair<std::shared_ptr<clipcat::ConnectionDetails>, std::vector<std::string>> MakeCatalog(
    PostgresTestServer& server, const std::string& database) {
  const std::string error = server.Admin("CREATE DATABASE " + database);
  if (!error.empty()) throw std::runtime_error(error);
  const std::string uri = server.Uri(database);
  clipcat::CreateCatalogAt(clipcat::SelectCatalog(uri, ""), "Shared");
  auto details = clipcat::ConnectionDetailsForTarget(uri);
  clipcat::ClippingDataWrite writer;
  std::vector<std::string> folders;
  for (int i = 0; i < kFolders; ++i) {
    auto folder = clipcat::Folder::Create();
    folder->SetName("Folder " + std::to_string(i));
    const auto added = writer.AddFolder(folder, "1", details);
    Require(added != nullptr, "folder added");
    folders.push_back(added->ID());
  }
  return {details, folders};
}

// The add's statements on libpq: the parent read, then in one transaction with the writer lock
// the key drawn, the clipping row, its old items removed, both items inserted, the content
// index's row replaced and the name check.
void FloorAdd(FloorPg& db, FrameCodec& codec, GuidMaker& guids, const std::string& folder,
              const std::string& name, const Content& content) {
  const std::string description = "Benchmark " + name;
  PGresult* parent = db.Run("SELECT * From Folder WHERE lFolderId=$1", {folder});
  if (PQntuples(parent) != 1) throw std::runtime_error("bad parent");
  PQclear(parent);
  db.Exec("BEGIN");
  PQclear(
      db.Run("SELECT pg_catalog.pg_advisory_xact_lock(1131168628, "
             "pg_catalog.hashtext(pg_catalog.current_schema()))",
             {}));
  const std::string guid = guids.Next();
  PQclear(db.Run("Insert Into FolderIDGenerator (sGUID) Values ($1)", {guid}));
  PGresult* drawn = db.Run("Select lID From FolderIDGenerator Where sGUID=$1", {guid});
  if (PQntuples(drawn) != 1) throw std::runtime_error("no key drawn");
  const std::string key = std::to_string(BinaryInt(drawn, 0, 0));
  PQclear(drawn);
  PQclear(db.Run("Delete From FolderIDGenerator Where sGUID=$1", {guid}));
  PQclear(
      db.Run("Insert Into Clipping (lClippingID, lFolderID, sGUID, sName, sDescription, "
             "iClippingStatus, tUpdated) Values ($1, $2, $3, $4, $5, 0, $6)",
             {key, folder, guid, name, description, IsoNow()}));
  PQclear(db.Run("Delete From ClippingDataType Where lClippingId=$1", {key}));
  const std::pair<const char*, const std::string*> items[] = {{"1", &content.rtf},
                                                              {"2", &content.text}};
  for (const auto& [type, raw] : items) {
    PQclear(
        db.Run("INSERT INTO ClippingDataType (lClippingID, lDataTypeId, bIsCompressed, "
               "ClippingData) VALUES ($1, $2, true, $3)",
               {key, type, codec.Compress(*raw)}, 3));
  }
  // The content index's row, its document made on the server as the catalog makes it.
  const std::string text = clipcat::PlainTextOfItems(
      *MakeClipping(name, description, content)->ClippingData(), clipcat::kContentTextLimit);
  PQclear(db.Run("DELETE FROM ClippingText WHERE lClippingID = $1", {key}));
  PQclear(db.Run(
      "INSERT INTO ClippingText (lClippingID, sName, sDescription, sText, vDocument) VALUES ($1, "
      "$2, $3, $4, ts_delete(setweight(to_tsvector('simple', coalesce($5, '')), 'A') || "
      "to_tsvector('simple', '1.5') || setweight(to_tsvector('simple', coalesce($6, '')), 'B') "
      "|| to_tsvector('simple', '1.5') || to_tsvector('simple', coalesce($7, '')), '1.5'))",
      {key, name, description, text, clipcat::FoldedWordsText(name),
       clipcat::FoldedWordsText(description), clipcat::FoldedWordsText(text)}));
  PGresult* check =
      db.Run("Select * From Clipping Where sName=$1 AND lFolderId=$2 AND iClippingStatus <>4",
             {name, folder});
  const int rows = PQntuples(check);
  PQclear(check);
  if (rows >= 2) throw std::runtime_error("name not unique");
  db.Exec("COMMIT");
}

// The read's statements: the clipping row and its items, decompressed. Answers the bytes read.
size_t FloorRead(FloorPg& db, FrameCodec& codec, const std::string& key) {
  PGresult* row = db.Run("SELECT * FROM Clipping WHERE lClippingID=$1", {key});
  const bool found = PQntuples(row) == 1;
  PQclear(row);
  if (!found) throw std::runtime_error("no clipping " + key);
  PGresult* items = db.Run("SELECT * FROM ClippingDataType WHERE lClippingID=$1", {key});
  const int data = PQfnumber(items, "clippingdata");
  size_t bytes = 0;
  for (int i = 0; i < PQntuples(items); ++i) {
    bytes += codec
                 .Decompress(
                     {PQgetvalue(items, i, data), static_cast<size_t>(PQgetlength(items, i, data))})
                 .size();
  }
  PQclear(items);
  return bytes;
}

uint64_t OursRoundTrips() { return clipcat::PostgresRoundTripsSoFar(); }

}  // namespace

void RunPostgres(const Options& options, Report& report) {
  std::string why_not;
  PostgresTestServer* server = PostgresTestServer::Instance(&why_not);
  if (server == nullptr) {
    std::printf("postgres: skipped, no server could be started: %s\n", why_not.c_str());
    report.Info("PostgreSQL scenarios skipped", "", 0, "no server: " + why_not);
    return;
  }
  // Named variables rather than structured bindings: the timed lambdas capture them.
  const auto ours = MakeCatalog(*server, "bench_ours");
  const auto floor_catalog = MakeCatalog(*server, "bench_floor");
  const auto& ours_details = ours.first;
  const auto& ours_folders = ours.second;
  const auto& floor_folders = floor_catalog.second;
  const std::vector<Content> contents = MakeContents(256, 2048, 200, 7);

  clipcat::ClippingDataWrite writer;
  clipcat::ClippingDataRead reader;
  FloorPg floor(server->Conninfo("bench_floor"));
  FrameCodec codec;
  GuidMaker guids;
  auto ours_add = [&](int i) {
    const Content& content = contents[static_cast<size_t>(i) % contents.size()];
    auto clipping = MakeClipping("Clipping " + std::to_string(i),
                                 "Benchmark Clipping " + std::to_string(i), content);
    return writer
        .AddClipping(clipping, ours_folders[static_cast<size_t>(i) % kFolders], ours_details)
        ->ID();
  };
  auto floor_add = [&](int i) {
    FloorAdd(floor, codec, guids, floor_folders[static_cast<size_t>(i) % kFolders],
             "Clipping " + std::to_string(i), contents[static_cast<size_t>(i) % contents.size()]);
  };
  // Warm both: connections open, statements prepared.
  std::vector<std::string> ours_ids = {ours_add(0)};
  floor_add(0);

  const int total = options.Scaled(2'000, options.reps);
  const int batch = total / options.reps;
  std::vector<double> ours_us;
  std::vector<double> floor_us;
  uint64_t ours_trips = 0;
  uint64_t floor_trips = 0;
  int next = 1;
  for (int b = 0; b < options.reps; ++b) {
    const uint64_t ours_before = OursRoundTrips();
    ours_us.push_back(Seconds([&] {
                        for (int i = next; i < next + batch; ++i) ours_ids.push_back(ours_add(i));
                      }) *
                      1e6 / batch);
    ours_trips += OursRoundTrips() - ours_before;
    const uint64_t floor_before = floor.round_trips;
    floor_us.push_back(Seconds([&] {
                         for (int i = next; i < next + batch; ++i) floor_add(i);
                       }) *
                       1e6 / batch);
    floor_trips += floor.round_trips - floor_before;
    next += batch;
  }
  const double adds = static_cast<double>(batch) * options.reps;
  const double add_median = Median(ours_us);
  report.Ratio(
      "PostgreSQL AddClipping, time per call", "us", add_median, Median(floor_us), 1.5,
      std::to_string(options.reps) + " batches of " + std::to_string(batch) + " calls, median");
  report.AtLeast("PostgreSQL AddClipping, clippings per second", "/s", 1e6 / add_median, 1000);
  report.Info("PostgreSQL AddClipping, round trips per call", "", ours_trips / adds,
              "floor: " + std::to_string(floor_trips / adds));

  // Reads of the clippings just added, ours on its catalog, the floor on the same rows.
  FloorPg floor_reader(server->Conninfo("bench_ours"));
  const int reads = options.Scaled(5'000, 100);
  std::mt19937 random(99);
  std::vector<std::string> picks;
  for (int i = 0; i < reads; ++i) picks.push_back(ours_ids[random() % ours_ids.size()]);
  reader.GetClipping(picks[0], ours_details, true);
  FloorRead(floor_reader, codec, picks[0]);
  ours_us.clear();
  floor_us.clear();
  ours_trips = 0;
  floor_trips = 0;
  size_t ours_bytes = 0;
  size_t floor_bytes = 0;
  for (int rep = 0; rep < options.reps; ++rep) {
    const uint64_t ours_before = OursRoundTrips();
    ours_bytes = 0;
    ours_us.push_back(Seconds([&] {
                        for (const std::string& id : picks) {
                          const auto clipping = reader.GetClipping(id, ours_details, true);
                          Require(clipping != nullptr, "clipping read");
                          for (const auto& item : *clipping->ClippingData()) {
                            ours_bytes += item->RawData().size();
                          }
                        }
                      }) *
                      1e6 / reads);
    ours_trips += OursRoundTrips() - ours_before;
    const uint64_t floor_before = floor_reader.round_trips;
    floor_bytes = 0;
    floor_us.push_back(Seconds([&] {
                         for (const std::string& id : picks) {
                           floor_bytes += FloorRead(floor_reader, codec, id);
                         }
                       }) *
                       1e6 / reads);
    floor_trips += floor_reader.round_trips - floor_before;
  }
  Require(ours_bytes == floor_bytes, "content bytes read");
  const double read_median = Median(ours_us);
  const double calls = static_cast<double>(reads) * options.reps;
  report.Ratio(
      "PostgreSQL GetClipping with data, time per call", "us", read_median, Median(floor_us), 1.5,
      std::to_string(reads) + " random keys, median of " + std::to_string(options.reps) + " runs");
  report.AtLeast("PostgreSQL GetClipping with data, calls per second", "/s", 1e6 / read_median,
                 5000);
  report.Info("PostgreSQL GetClipping, round trips per call", "", ours_trips / calls,
              "floor: " + std::to_string(floor_trips / calls));

  MeasurePostgresTreeAndSearch(*server, options, report);
}

}  // namespace clipcat_bench
