// import: a catalog document of 50,000 clippings (a ~1 KB RTF item and a text item each) in 200
// folders with 10 categories, written by the library's export, then imported into a new catalog
// as `clipcat import` does it: the file read as a stream and checked, then read again and written.
// The floor reads the same file with pugixml and inserts the same rows (folders, clippings,
// compressed items, content index rows, categories and memberships) on prepared statements in one
// transaction. Also the export itself, its rate and its memory at a fifth of the size against the
// full size.
#include <fstream>
#include <map>
#include <pugixml.hpp>
#include <stdexcept>

#include "entities/plain_text.h"
#include "library/catalog.h"
#include "library/catalog_export.h"
#include "library/catalog_import.h"
#include "library/catalog_sources.h"
#include "scenario_common.h"
#include "scenarios.h"
#include "service/connection_handler.h"
#include "store/content_index.h"
#include "util/base64.h"
#include "workload.h"

namespace clipcat_bench {
namespace {

constexpr int kFolders = 200;
constexpr int kCategories = 10;

// A catalog of `clippings` clippings spread over kFolders folders, each member of one of
// kCategories categories.
void FillSource(const std::string& path, int clippings) {
  NewCatalog(path);
  const std::vector<Content> contents = MakeContents(256, 1024, 200, 11);
  CatalogFiller filler(path);
  std::vector<int64_t> folders;
  for (int i = 0; i < kFolders; ++i) {
    folders.push_back(filler.AddFolder(1, "Folder " + std::to_string(i), "Imported folder"));
  }
  std::vector<int64_t> categories;
  for (int i = 0; i < kCategories; ++i) {
    categories.push_back(filler.AddCategory("Category " + std::to_string(i)));
  }
  for (int i = 0; i < clippings; ++i) {
    const Content& c = contents[static_cast<size_t>(i) % contents.size()];
    const int64_t key = filler.AddClipping(
        folders[static_cast<size_t>(i) % folders.size()], "Clipping " + std::to_string(i),
        "Imported clipping " + std::to_string(i), {{1, c.rtf}, {2, c.text}});
    filler.AddMember(key, categories[static_cast<size_t>(i) % categories.size()]);
  }
  filler.Finish();
}

// The file read straight into one string of its size, as the command line reads a document.
std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  std::string text(static_cast<size_t>(in.tellg()), '\0');
  in.seekg(0);
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  return text;
}

// The export of the catalog at `path` into the file `document`, as `clipcat export` makes it;
// answers seconds and peak memory in MB.
std::pair<double, double> Export(const std::string& path, const std::string& document) {
  clipcat::ReleaseAccessManager();
  MemoryProbe probe;
  probe.Start();
  const double seconds = Seconds([&] {
    clipcat::Catalog catalog(FileDetails(path));
    clipcat::ExportCatalogToFile(catalog, document);
  });
  const double peak = probe.PeakMB();
  clipcat::ReleaseAccessManager();
  return {seconds, peak};
}

// The floor's import: the document read whole with pugixml and its rows inserted directly.
class FloorImporter {
 public:
  explicit FloorImporter(const std::string& path) : db_(path) {}

  void Run(const std::string& file) {
    const std::string text = ReadFile(file);
    pugi::xml_document xml;
    if (!xml.load_buffer(text.data(), text.size())) throw std::runtime_error("bad document");
    const pugi::xml_node root = xml.child("clipcat-catalog");
    now_ = IsoNow();
    db_.Exec("BEGIN IMMEDIATE");
    Statement& next = db_.Prepare("SELECT max(lFolderID) FROM Folder");
    next.Step();
    next_key_ = next.ColumnInt(0) + 1;
    next.Reset();
    for (pugi::xml_node child : root.child("folder").children()) {
      if (std::string(child.name()) == "folder") AddFolder(child, 1);
      if (std::string(child.name()) == "clipping") AddClipping(child, 1);
    }
    int64_t category_key = 1;
    for (pugi::xml_node category : root.children("category")) {
      db_.Prepare(
             "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName, "
             "sDescription, iSortOrder, iStatus, tUpdated) VALUES (?, 1, ?, ?, 0, 1, ?)")
          .Int(1, category_key)
          .Text(2, category.attribute("name").value())
          .Text(3, category.attribute("description").value())
          .Text(4, now_)
          .Run();
      for (pugi::xml_node member : category.children("member")) {
        db_.Prepare(
               "INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId, iSortOrder, "
               "tActiveStart, tActiveEnd) VALUES (?, ?, 0, ?, ?)")
            .Int(1, keys_.at(member.attribute("clipping").value()))
            .Int(2, category_key)
            .Text(3, now_)
            .Text(4, now_)
            .Run();
      }
      ++category_key;
    }
    db_.Prepare("UPDATE sqlite_sequence SET seq = ? WHERE name = 'FolderIDGenerator'")
        .Int(1, next_key_ - 1)
        .Run();
    db_.Exec("COMMIT");
  }

 private:
  void AddFolder(pugi::xml_node element, int64_t parent) {
    const int64_t key = next_key_++;
    db_.Prepare(
           "INSERT INTO Folder (lFolderID, sGUID, lParentID, sName, sDescription, "
           "lExternalCatalogId, bIsLeaf, bIsOffline, iStatus, tUpdated) "
           "VALUES (?, ?, ?, ?, ?, 0, 1, 0, 1, ?)")
        .Int(1, key)
        .Text(2, guids_.Next())
        .Int(3, parent)
        .Text(4, element.attribute("name").value())
        .Text(5, element.attribute("description").value())
        .Text(6, now_)
        .Run();
    for (pugi::xml_node child : element.children()) {
      if (std::string(child.name()) == "clipping") AddClipping(child, key);
      if (std::string(child.name()) == "folder") AddFolder(child, key);
    }
  }

  void AddClipping(pugi::xml_node element, int64_t folder) {
    const int64_t key = next_key_++;
    keys_[element.attribute("id").value()] = key;
    const std::string name = element.attribute("name").value();
    const std::string description = element.attribute("description").value();
    db_.Prepare(
           "INSERT INTO Clipping (lClippingID, lFolderID, sGUID, sName, sDescription, "
           "iClippingStatus, tUpdated) VALUES (?, ?, ?, ?, ?, 1, ?)")
        .Int(1, key)
        .Int(2, folder)
        .Text(3, guids_.Next())
        .Text(4, name)
        .Text(5, description)
        .Text(6, now_)
        .Run();
    clipcat::ClippingDataCollection items;
    for (pugi::xml_node data : element.children("data")) {
      std::string raw = data.text().get();
      if (std::string(data.attribute("encoding").value()) == "base64") {
        raw = clipcat::DecodeBase64(raw).value();
      }
      const int type = data.attribute("type").as_int();
      db_.Prepare(
             "INSERT INTO ClippingDataType (lClippingID, lDataTypeId, bIsCompressed, "
             "ClippingData) VALUES (?, ?, 1, ?)")
          .Int(1, key)
          .Int(2, type)
          .Blob(3, codec_.Compress(raw))
          .Run();
      auto item = clipcat::ClippingData::Create();
      item->SetClippingDataType(type);
      item->SetRawData(std::move(raw));
      items.Add(item);
    }
    db_.Prepare(
           "INSERT INTO ClippingText (lClippingID, sName, sDescription, sText) VALUES (?, ?, ?, "
           "?)")
        .Int(1, key)
        .Text(2, name)
        .Text(3, description)
        .Text(4, clipcat::PlainTextOfItems(items, clipcat::kContentTextLimit))
        .Run();
  }

  FloorDb db_;
  FrameCodec codec_;
  GuidMaker guids_;
  std::string now_;
  int64_t next_key_ = 2;
  std::map<std::string, int64_t> keys_;  // document id -> clipping key
};

}  // namespace

void RunImport(const Options& options, Report& report) {
  TempDir dir;
  const int clippings = options.Scaled(50'000, 100);
  const std::string source = dir.File("source.catalog");
  const std::string document = dir.File("catalog.xml");
  FillSource(source, clippings);

  // The export, whole and at a fifth of the size: its memory must not grow with the catalog.
  const auto [export_s, export_peak] = Export(source, document);
  const std::string small_source = dir.File("small.catalog");
  FillSource(small_source, clippings / 5);
  const double small_export_peak = Export(small_source, dir.File("small.xml")).second;
  const double document_mb = static_cast<double>(ReadFile(document).size()) / (1 << 20);

  const std::string ours_path = dir.File("ours.catalog");
  const std::string floor_path = dir.File("floor.catalog");
  NewCatalog(ours_path);
  NewCatalog(floor_path);

  clipcat::ReleaseAccessManager();
  MemoryProbe probe;
  probe.Start();
  const double ours_s = Seconds([&] {
    const clipcat::CatalogDocument parsed = clipcat::OpenDocumentFile(document);
    clipcat::Catalog catalog(FileDetails(ours_path));
    clipcat::ImportDocument(catalog, parsed);
  });
  const double ours_peak = probe.PeakMB();
  clipcat::ReleaseAccessManager();

  probe.Start();
  const double floor_s = Seconds([&] { FloorImporter(floor_path).Run(document); });
  const double floor_peak = probe.PeakMB();

  for (const char* table :
       {"Folder", "Clipping", "ClippingDataType", "ClippingText", "ClippingGroupClipping"}) {
    RequireSameCount(ours_path, floor_path, std::string("SELECT count(*) FROM ") + table);
  }
  Require(Count(ours_path, "SELECT count(*) FROM Clipping") == clippings, "clippings imported");

  const std::string size = std::to_string(clippings) + " clippings, " +
                           std::to_string(static_cast<int>(document_mb)) + " MB document";
  report.Ratio("import, time per clipping", "us", ours_s * 1e6 / clippings,
               floor_s * 1e6 / clippings, 1.5, size);
  report.AtLeast("import, clippings per second", "/s", clippings / ours_s, 20'000,
                 "floor: " + std::to_string(static_cast<int>(clippings / floor_s)) + "/s");
  report.AtMost("import, peak memory", "MB", ours_peak, 100,
                "floor (whole DOM): " + std::to_string(static_cast<int>(floor_peak)) + " MB");
  report.AtLeast("export, clippings per second", "/s", clippings / export_s, 50'000, size);
  report.AtMost("export, peak memory against a fifth of the catalog", "x",
                export_peak / std::max(small_export_peak, 1.0), 1.5,
                std::to_string(static_cast<int>(export_peak)) + " MB against " +
                    std::to_string(static_cast<int>(small_export_peak)) + " MB");
}

}  // namespace clipcat_bench
