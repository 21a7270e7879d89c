// One point of the curve: a catalog of a given size on one engine, filled directly in the rows
// (100 folders, the clippings spread over them, a 2 KB RTF and a 200-byte text item each with
// their content index rows, ten of them about a reconciliation whatever the size), then timed:
//   add     AddClipping through the write service, 4 batches of 50, median batch;
//   read    GetClipping with data for 1,000 random keys, median of 3 runs;
//   tree    GetFolders, median of 5 runs;
//   search  SearchForClippings "*reconciliation*" in the top folder and its subfolders, the
//           whole catalog (LIKE on names and descriptions), median of 3 runs;
//   content FindContent "reconciliation" (the content index), median of 5 runs;
//   import  a document of 1,000 clippings in 10 folders imported into the catalog, per clipping.
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

#include "curve.h"
#include "entities/clipping.h"
#include "entities/folder.h"
#include "entities/plain_text.h"
#include "entities/search.h"
#include "floor_pg.h"
#include "library/catalog.h"
#include "library/catalog_export.h"
#include "library/catalog_import.h"
#include "library/catalog_location.h"
#include "library/catalog_sources.h"
#include "scenario_common.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "service/connection_handler.h"
#include "store/content_index.h"
#include "support/postgres_test_server.h"
#include "util/search_words.h"
#include "workload.h"

namespace clipcat_bench {
namespace {

using clipcat::testing::PostgresTestServer;

constexpr int kFolders = 100;
constexpr int kInvoices = 10;
constexpr int kImported = 1'000;

// A content variant as the filler writes it: compressed frames, and the index's plain text.
struct StoredContent {
  std::vector<std::pair<int, std::string>> frames;
  std::string text;
  std::string folded;
};

std::vector<StoredContent> StoredContents() {
  FrameCodec codec;
  std::vector<StoredContent> stored;
  for (const Content& c : MakeContents(256, 2048, 200, 7)) {
    StoredContent s;
    s.frames = {{1, codec.Compress(c.rtf)}, {2, codec.Compress(c.text)}};
    s.text = clipcat::PlainTextOfItems(*MakeClipping("", "", c)->ClippingData(),
                                       clipcat::kContentTextLimit);
    s.folded = clipcat::FoldedWordsText(s.text);
    stored.push_back(std::move(s));
  }
  return stored;
}

// The name of clipping `i` of `size`: ten of them, spread evenly, are about a reconciliation.
std::string ClippingName(int i, int size) {
  const int every = std::max(1, size / kInvoices);
  return "Clipping " + std::to_string(i) + (i % every == every / 2 ? " reconciliation" : "");
}

// Fills `filler` with the curve's catalog; answers the folders' and clippings' keys.
template <typename Filler, typename AddOne>
std::pair<std::vector<int64_t>, std::vector<int64_t>> Fill(Filler& filler, int size,
                                                           AddOne&& add_one) {
  std::vector<int64_t> folders;
  for (int i = 0; i < kFolders; ++i)
    folders.push_back(filler.AddFolder(1, "F" + std::to_string(i), ""));
  const std::vector<StoredContent> contents = StoredContents();
  std::vector<int64_t> keys;
  keys.reserve(static_cast<size_t>(size));
  for (int i = 0; i < size; ++i) {
    keys.push_back(add_one(folders[static_cast<size_t>(i) % kFolders], ClippingName(i, size),
                           contents[static_cast<size_t>(i) % contents.size()]));
  }
  filler.Finish();
  return {folders, keys};
}

// A catalog ready to measure, on either engine.
struct CurveCatalog {
  std::shared_ptr<clipcat::ConnectionDetails> details;
  std::vector<int64_t> folders;
  std::vector<int64_t> keys;
  double bytes = 0;  // its size on disk
};

CurveCatalog FillFile(const std::string& path, int size) {
  NewCatalog(path);
  CatalogFiller filler(path);
  CurveCatalog catalog;
  std::tie(catalog.folders, catalog.keys) = Fill(
      filler, size, [&](int64_t folder, const std::string& name, const StoredContent& content) {
        const int64_t key =
            filler.AddClippingFrames(folder, name, "Benchmark clipping", content.frames);
        filler.AddContentText(key, name, "Benchmark clipping", content.text);
        return key;
      });
  Count(path, "PRAGMA wal_checkpoint(TRUNCATE)");
  catalog.details = FileDetails(path);
  catalog.bytes = static_cast<double>(std::filesystem::file_size(path));
  return catalog;
}

CurveCatalog FillServer(PostgresTestServer& server, int size) {
  const std::string error = server.Admin("CREATE DATABASE curve");
  if (!error.empty()) throw std::runtime_error(error);
  clipcat::CreateCatalogAt(clipcat::SelectCatalog(server.Uri("curve"), ""), "Curve");
  PgCatalogFiller filler(server.Conninfo("curve"), true);
  CurveCatalog catalog;
  std::tie(catalog.folders, catalog.keys) = Fill(
      filler, size, [&](int64_t folder, const std::string& name, const StoredContent& content) {
        return filler.AddClipping(folder, name, "Benchmark clipping", content.frames, content.text,
                                  content.folded);
      });
  catalog.details = clipcat::ConnectionDetailsForTarget(server.Uri("curve"));
  std::string bytes;
  server.Admin("SELECT pg_database_size('curve')", "postgres", false, &bytes);
  catalog.bytes = std::atof(bytes.c_str());
  return catalog;
}

// The document imported at every size: 1,000 clippings in 10 folders, exported by the library.
std::string MakeImportDocument(const TempDir& dir) {
  const std::string source = dir.File("import-source.catalog");
  NewCatalog(source);
  {
    CatalogFiller filler(source);
    const std::vector<Content> contents = MakeContents(64, 1024, 200, 11);
    std::vector<int64_t> folders;
    for (int i = 0; i < 10; ++i) {
      folders.push_back(filler.AddFolder(1, "Imported " + std::to_string(i), "Imported folder"));
    }
    for (int i = 0; i < kImported; ++i) {
      const Content& c = contents[static_cast<size_t>(i) % contents.size()];
      filler.AddClipping(folders[static_cast<size_t>(i) % folders.size()],
                         "Imported clipping " + std::to_string(i), "Imported",
                         {{1, c.rtf}, {2, c.text}});
    }
    filler.Finish();
  }
  const std::string document = dir.File("import.xml");
  clipcat::Catalog catalog(FileDetails(source));
  clipcat::ExportCatalogToFile(catalog, document);
  clipcat::ReleaseAccessManager();
  return document;
}

void Point(Report& report, const std::string& operation, double us, int samples,
           const std::string& note = "") {
  report.Info(operation, "us", us, std::to_string(samples) + (note.empty() ? "" : " " + note));
}

void MeasureOn(const CurveCatalog& catalog, const std::string& document, int size, Report& report) {
  const auto& details = catalog.details;
  clipcat::ClippingDataWrite writer;
  clipcat::ClippingDataRead reader;
  const std::vector<Content> contents = MakeContents(16, 2048, 200, 5);

  // Reads first, on the catalog as filled.
  std::mt19937 random(static_cast<uint32_t>(size));
  std::vector<std::string> picks;
  for (int i = 0; i < 1'000; ++i) {
    picks.push_back(std::to_string(catalog.keys[random() % catalog.keys.size()]));
  }
  reader.GetClipping(picks[0], details, true);
  std::vector<double> samples;
  for (int rep = 0; rep < 3; ++rep) {
    samples.push_back(Seconds([&] {
                        for (const std::string& id : picks) {
                          Require(reader.GetClipping(id, details, true) != nullptr, "read");
                        }
                      }) *
                      1e6 / static_cast<double>(picks.size()));
  }
  Point(report, "read", Median(samples), static_cast<int>(picks.size()) * 3,
        "GetClipping with data, random keys");

  samples.clear();
  size_t folders = 0;
  for (int rep = 0; rep < 5; ++rep) {
    samples.push_back(Seconds([&] {
                        folders =
                            static_cast<size_t>(reader.GetFolders(details, true)->Items()->Count());
                      }) *
                      1e6);
  }
  Require(folders == 1, "one top folder");
  Point(report, "tree", Median(samples), 5, "GetFolders, 101 folders");

  auto search = clipcat::Search::Create();
  search->SetSearchText("*reconciliation*");
  search->FolderIDs()->Add("1");  // the top folder and every folder below it
  search->SetSearchSubFolders(true);
  samples.clear();
  int64_t hits = 0;
  for (int rep = 0; rep < 3; ++rep) {
    samples.push_back(
        Seconds([&] { hits = reader.SearchForClippings(search, details)->Items()->Count(); }) *
        1e6);
  }
  Require(hits == std::min(size, kInvoices), "search hits: " + std::to_string(hits));
  Point(
      report, "search", Median(samples), 3,
      "SearchForClippings *reconciliation* in all 101 folders, " + std::to_string(hits) + " hits");

  clipcat::ContentSearchOptions options;
  reader.FindContent("reconciliation", options, details);
  samples.clear();
  size_t found = 0;
  for (int rep = 0; rep < 5; ++rep) {
    samples.push_back(
        Seconds([&] { found = reader.FindContent("reconciliation", options, details).size(); }) *
        1e6);
  }
  Require(found == static_cast<size_t>(std::min(size, kInvoices)),
          "content hits: " + std::to_string(found));
  Point(report, "content", Median(samples), 5,
        "FindContent reconciliation, " + std::to_string(found) + " hits");

  // Then the writes.
  samples.clear();
  int serial = 0;
  for (int batch = 0; batch < 4; ++batch) {
    samples.push_back(
        Seconds([&] {
          for (int i = 0; i < 50; ++i, ++serial) {
            const Content& c = contents[static_cast<size_t>(serial) % contents.size()];
            writer.AddClipping(
                MakeClipping("Added " + std::to_string(serial), "Benchmark clipping", c),
                std::to_string(catalog.folders[static_cast<size_t>(serial % kFolders)]), details);
          }
        }) *
        1e6 / 50);
  }
  Point(report, "add", Median(samples), 200, "AddClipping, 2 KB RTF + 200 B text");

  clipcat::ReleaseAccessManager();
  const double import_s = Seconds([&] {
    const clipcat::CatalogDocument parsed = clipcat::OpenDocumentFile(document);
    clipcat::Catalog target(details);
    clipcat::ImportDocument(target, parsed);
  });
  Point(report, "import", import_s * 1e6 / kImported, kImported,
        "a 1,000-clipping document, per clipping");
}

}  // namespace

void MeasureCurveAt(const std::string& engine, int size, Report& report) {
  TempDir dir;
  const std::string document = MakeImportDocument(dir);
  CurveCatalog catalog;
  PostgresTestServer* server = nullptr;
  if (engine == "postgresql") {
    std::string why_not;
    server = PostgresTestServer::Instance(&why_not);
    if (server == nullptr) throw std::runtime_error("no PostgreSQL server: " + why_not);
  }
  const double fill_s = Seconds([&] {
    catalog =
        server != nullptr ? FillServer(*server, size) : FillFile(dir.File("curve.catalog"), size);
  });
  report.Info("fill", "s", fill_s, "untimed setup");
  report.Info("bytes per clipping", "B", catalog.bytes / size, "catalog size on disk / clippings");
  MeasureOn(catalog, document, size, report);
}

}  // namespace clipcat_bench
