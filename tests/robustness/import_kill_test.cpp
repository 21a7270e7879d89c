// An import is one transaction: a process killed part-way through one, or an import that fails
// part-way, leaves the catalog exactly as it was (every table, row for row), with no lock or
// half-written row behind, and the same import then succeeds.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "library/catalog.h"
#include "library/catalog_document_internal.h"
#include "library/catalog_export.h"
#include "library/catalog_import.h"
#include "robustness/robustness_support.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"
#include "support/postgres_test_server.h"

namespace clipcat::robustness {
namespace {

constexpr int kClippings = 40;

// A catalog to export from: three folders, kClippings clippings with one or two items, and two
// categories the clippings are spread over.
CatalogDocument SourceDocument(const std::string& path) {
  CreateCatalog(path, "Source");
  Catalog catalog(FileDetails(path));
  auto& write = catalog.write();
  const auto& details = catalog.details();
  std::vector<std::string> folders;
  for (const char* name : {"Letters", "Notes"}) {
    auto folder = Folder::Create();
    folder->SetName(name);
    folders.push_back(write.AddFolder(folder, "1", details)->ID());
  }
  auto inner = Folder::Create();
  inner->SetName("Inner");
  folders.push_back(write.AddFolder(inner, folders[0], details)->ID());
  const std::string red = write.AddCategory(NewCategory("Red"), "1", details)->ID();
  const std::string blue = write.AddCategory(NewCategory("Blue"), "1", details)->ID();
  for (int i = 0; i < kClippings; ++i) {
    ItemSet items{{2, "text of clipping " + std::to_string(i)}};
    if (i % 2 == 0) items.push_back({1, "{\\rtf1 " + Letters(static_cast<uint64_t>(i), 300) + "}"});
    const auto clipping = write.AddClipping(
        NewClipping("Clipping " + std::to_string(i), "about " + std::to_string(i), items),
        folders[static_cast<size_t>(i) % folders.size()], details);
    write.AddClippingToCategory(clipping->ID(), i % 3 == 0 ? red : blue, details);
  }
  CatalogDocument document = ExportCatalog(catalog);
  ReleaseAccessManager();
  return document;
}

// Imports `document` into the catalog `details` select, as `clipcat import` does.
ImportResult Import(const std::shared_ptr<ConnectionDetails>& details,
                    const CatalogDocument& document, const ProgressCallback& progress = {}) {
  Catalog catalog(details);
  return ImportDocument(catalog, document, "", progress);
}

// A target catalog that already holds a folder with a clipping and a category, so that a kill
// has something to damage; `empty` leaves it new, so that the import also renames its top folder.
std::string TargetCatalog(const ScratchDir& dir, const std::string& name, bool empty) {
  const std::string path = dir.File(name);
  CreateCatalog(path, "Target");
  if (empty) return path;
  ClippingDataWrite write;
  const auto details = FileDetails(path);
  auto folder = Folder::Create();
  folder->SetName("Kept");
  const std::string kept = write.AddFolder(folder, "1", details)->ID();
  write.AddClipping(NewClipping("Already here", "", {{2, "kept text"}}), kept, details);
  write.AddCategory(NewCategory("red"), "1", details);  // the document's "Red" joins it
  ReleaseAccessManager();
  return path;
}

TEST(ImportKill, AKilledImportLeavesTheCatalogAsItWasAndTheSameImportThenSucceeds) {
  ScratchDir dir;
  const CatalogDocument document = SourceDocument(dir.File("source.db"));
  const size_t steps = internal::ImportSteps(document.counts(), false);
  ASSERT_GT(steps, static_cast<size_t>(kClippings));
  for (const bool empty : {false, true}) {
    SCOPED_TRACE(empty ? "into a new catalog" : "into a catalog holding items");
    const std::string path = TargetCatalog(dir, empty ? "new.db" : "kept.db", empty);
    const CatalogDump before = RawCatalog(path).Dump();
    // The first step, one inside the folders and clippings, and the memberships at the end.
    for (const size_t kill_at : {size_t{1}, size_t{kClippings / 2}, steps - 1}) {
      SCOPED_TRACE("killed after step " + std::to_string(kill_at));
      const pid_t child = StartChild([&] {
        Import(FileDetails(path), document, [&](size_t done, size_t) {
          if (done >= kill_at) raise(SIGKILL);
        });
        return 0;
      });
      ASSERT_EQ(WaitChild(child), "killed by signal 9");
      RawCatalog raw(path);
      EXPECT_EQ(DescribeDifference(before, raw.Dump()), "");
      ExpectNoLeftovers(raw);
      EXPECT_TRUE(raw.WriteLockIsFree());
    }
    const ImportResult result = Import(FileDetails(path), document);
    ReleaseAccessManager();
    EXPECT_EQ(result.counts.clippings, static_cast<size_t>(kClippings));
    RawCatalog raw(path);
    EXPECT_EQ(raw.Count("SELECT count(*) FROM Clipping"), kClippings + (empty ? 0 : 1));
    EXPECT_EQ(raw.Count("SELECT count(*) FROM ClippingText"), kClippings + (empty ? 0 : 1));
    EXPECT_EQ(raw.Count("SELECT count(*) FROM ClippingGroupClipping"), kClippings);
    EXPECT_EQ(raw.Count("SELECT count(*) FROM GroupClipping"), 2);
    ExpectNoLeftovers(raw);
  }
}

// Every row of every table of the server catalog's schema, as text, in a stable order.
std::vector<std::string> ServerRows(RawServerCatalog& raw) {
  std::vector<std::string> rows;
  for (const auto& table :
       raw.Rows("SELECT table_name FROM information_schema.tables WHERE table_schema = "
                "current_schema() AND table_type = 'BASE TABLE' ORDER BY 1")) {
    for (const auto& row : raw.Rows("SELECT * FROM \"" + table.at(0) + "\"")) {
      std::ostringstream line;
      line << table.at(0);
      for (const auto& value : row) line << '|' << value;
      rows.push_back(line.str());
    }
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

TEST(ImportKill, AFailingImportOnAServerCatalogLeavesNothing) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  ScratchDir dir;
  const CatalogDocument document = SourceDocument(dir.File("source.db"));
  const std::string database = server->CreateDatabase();
  CreateServerCatalog(server->ConnectionString(database), "Team");
  const auto team = ServerDetails(server->ConnectionString(database));
  {
    ClippingDataWrite write;
    write.AddClipping(NewClipping("Already here", "", {{2, "kept text"}}), "1", team);
    ReleaseAccessManager();
  }
  RawServerCatalog raw(server->Conninfo(database));
  const std::vector<std::string> before = ServerRows(raw);
  const size_t steps = internal::ImportSteps(document.counts(), false);
  // A fault at a step inside the clippings and one among the memberships, raised from the
  // progress report as any failure of a write would be.
  for (const size_t fail_at : {size_t{kClippings / 2}, steps - 1}) {
    SCOPED_TRACE("failed at step " + std::to_string(fail_at));
    const auto error = [&] {
      try {
        Import(team, document, [&](size_t done, size_t) {
          if (done >= fail_at) RaiseError(err::kInvalidProcedureCall, "test", "injected fault");
        });
      } catch (const AutomationError& raised) {
        return std::string(raised.description());
      }
      return std::string("no error");
    }();
    ReleaseAccessManager();
    EXPECT_EQ(error, "injected fault");
    EXPECT_EQ(ServerRows(raw), before);
    ExpectNoLeftovers(raw);
  }
  const ImportResult result = Import(team, document);
  ReleaseAccessManager();
  EXPECT_EQ(result.counts.clippings, static_cast<size_t>(kClippings));
  EXPECT_EQ(raw.Count("SELECT count(*) FROM Clipping"), kClippings + 1);
}

}  // namespace
}  // namespace clipcat::robustness
