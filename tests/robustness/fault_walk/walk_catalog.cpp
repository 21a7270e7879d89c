#include "robustness/fault_walk/walk_catalog.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

#include "library/catalog_export.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"

namespace clipcat::robustness {
namespace {

// Where a walk on the server keeps the saved rows: a schema beside the catalog's, which the
// catalog does not see.
constexpr const char* kSavedSchema = "clipcat_walk_saved";

std::shared_ptr<Folder> NewFolder(const std::string& name) {
  auto folder = Folder::Create();
  folder->SetName(name);
  return folder;
}

std::string BytesOf(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// Fills a new catalog with the walk's items (see Items).
Items Populate(const std::shared_ptr<ConnectionDetails>& details) {
  Items items;
  {
    Catalog c(details);
    auto& w = c.write();
    const auto& d = c.details();
    items.letters = w.AddFolder(NewFolder("Letters"), "1", d)->ID();
    items.old = w.AddFolder(NewFolder("Old"), "1", d)->ID();
    items.dear =
        w.AddClipping(NewClipping("Dear", "a letter", {{1, "Dear John"}, {2, Letters(1, 9'000)}}),
                      items.letters, d)
            ->ID();
    const std::string reply =
        w.AddClipping(NewClipping("Reply", "", {{1, "Dear Jane"}}), items.letters, d)->ID();
    items.note = w.AddClipping(NewClipping("Note", "", {{1, "note"}}), "1", d)->ID();
    items.gone = w.AddClipping(NewClipping("Gone", "", {{1, "gone"}}), items.old, d)->ID();
    w.DeleteClipping(items.gone, d, false);
    items.red = w.AddCategory(NewCategory("Red"), "1", d)->ID();
    items.blue = w.AddCategory(NewCategory("Blue"), "1", d)->ID();
    w.AddClippingToCategory(items.dear, items.red, d);
    w.AddClippingToCategory(reply, items.red, d);
    auto dear = c.read().GetClipping(items.dear, d, true);
    w.UpdateClippingHistory(dear, d);
    dear->SetDescription("a longer letter");
    w.UpdateClipping(dear, d, true);
    items.letters_document = std::make_shared<CatalogDocument>(ExportFolder(c, items.letters));
  }
  ReleaseAccessManager();
  return items;
}

}  // namespace

FileWalkCatalog::FileWalkCatalog() {
  if (std::filesystem::is_directory("/dev/shm")) setenv("TMPDIR", "/dev/shm", 1);
  dir_ = std::make_unique<ScratchDir>();
  path_ = dir_->File("walk.db");
  CreateCatalog(path_, "Walk");
  items_ = Populate(Details());
  for (const char* log : {"-wal", "-shm"}) std::filesystem::remove(path_ + log);
  saved_ = BytesOf(path_);
}

std::shared_ptr<ConnectionDetails> FileWalkCatalog::Details() const { return FileDetails(path_); }

std::vector<FaultKind> FileWalkCatalog::Kinds() const {
  return {kSqliteFaultKinds.begin(), kSqliteFaultKinds.end()};
}

void FileWalkCatalog::Restore() {
  for (const char* log : {"-wal", "-shm", "-journal"}) std::filesystem::remove(path_ + log);
  std::ofstream(path_, std::ios::binary | std::ios::trunc) << saved_;
}

CatalogDump FileWalkCatalog::Dump() { return RawCatalog(path_).Dump(); }

bool FileWalkCatalog::NoTransactionOpen() { return RawCatalog(path_).WriteLockIsFree(); }

std::string FileWalkCatalog::Damage() {
  const std::string result = RawCatalog(path_).Rows("PRAGMA integrity_check").at(0).at(0);
  return result == "ok" ? "" : result;
}

ServerWalkCatalog::ServerWalkCatalog(testing::PostgresTestServer& server) : server_(server) {
  database_ = server.CreateDatabase();
  CreateServerCatalog(server.ConnectionString(database_), "Walk");
  items_ = Populate(Details());
  // A copy of every table in a schema of its own, and the sequences' positions, to put back.
  RawServerCatalog raw(server.Conninfo(database_));
  raw.Rows(std::string("CREATE SCHEMA ") + kSavedSchema);
  for (const auto& table : raw.Rows("SELECT table_name FROM information_schema.tables"
                                    " WHERE table_schema = current_schema()"
                                    " AND table_type = 'BASE TABLE'")) {
    tables_.push_back(table.at(0));
    raw.Rows(std::string("CREATE TABLE ") + kSavedSchema + ".\"" + table.at(0) +
             "\" AS SELECT * FROM \"" + table.at(0) + "\"");
  }
  for (const auto& sequence : raw.Rows("SELECT sequencename FROM pg_catalog.pg_sequences"
                                       " WHERE schemaname = current_schema()")) {
    const auto position =
        raw.Rows("SELECT last_value, is_called FROM \"" + sequence.at(0) + "\"").at(0);
    sequences_.push_back("SELECT pg_catalog.setval('\"" + sequence.at(0) + "\"', " +
                         position.at(0) + ", " + (position.at(1) == "t" ? "true" : "false") + ")");
  }
}

std::shared_ptr<ConnectionDetails> ServerWalkCatalog::Details() const {
  return ServerDetails(server_.ConnectionString(database_));
}

std::vector<FaultKind> ServerWalkCatalog::Kinds() const {
  return {kServerFaultKinds.begin(), kServerFaultKinds.end()};
}

// One transaction, with triggers and foreign key checks off (the rows put back are consistent).
void ServerWalkCatalog::Restore() {
  RawServerCatalog raw(server_.Conninfo(database_));
  raw.Rows("BEGIN");
  raw.Rows("SET LOCAL session_replication_role = replica");
  // DELETE rather than TRUNCATE: the tables are small, and TRUNCATE makes new files for each.
  for (const std::string& table : tables_) raw.Rows("DELETE FROM \"" + table + "\"");
  for (const std::string& table : tables_) {
    raw.Rows("INSERT INTO \"" + table + "\" OVERRIDING SYSTEM VALUE SELECT * FROM " + kSavedSchema +
             ".\"" + table + "\"");
  }
  for (const std::string& sequence : sequences_) raw.Rows(sequence);
  raw.Rows("COMMIT");
}

CatalogDump ServerWalkCatalog::Dump() {
  return RawServerCatalog(server_.Conninfo(database_)).Dump();
}

bool ServerWalkCatalog::NoTransactionOpen() {
  RawServerCatalog raw(server_.Conninfo(database_));
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  for (;;) {
    const int64_t open =
        raw.Count("SELECT count(*) FROM pg_catalog.pg_stat_activity WHERE datname = '" + database_ +
                  "' AND pid <> pg_catalog.pg_backend_pid() AND backend_type = 'client backend' "
                  "AND xact_start IS NOT NULL");
    if (open == 0) return true;
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

}  // namespace clipcat::robustness
