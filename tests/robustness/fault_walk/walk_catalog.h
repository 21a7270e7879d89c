// The catalog a fault walk runs on, on either engine, and what the walk needs of it: the items
// the writes work on, a way to put the catalog back as it was, a dump of every table read past
// clipcat, and the engine's checks for an open transaction and for damage.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "entities/connection_details.h"
#include "library/catalog.h"
#include "library/catalog_document.h"
#include "robustness/fault_walk/fault_injection.h"
#include "robustness/robustness_support.h"
#include "support/postgres_test_server.h"

namespace clipcat::robustness {

// The items of the walk's catalog: folders Letters and Old under the top folder; clippings Dear
// (in Letters, two items, one spanning pages, tagged Red, with a history entry and a version),
// Reply (in Letters, tagged Red) and Note (at the top); Gone (from Old) in the trash; categories
// Red and Blue; and an export of Letters to import.
struct Items {
  std::string letters, old, dear, note, gone, red, blue;
  std::shared_ptr<CatalogDocument> letters_document;
};

// One write: `prepare` reads what the write needs through the open catalog, with no failure
// armed, and answers the write itself. The catalog is opened before the failure is armed, except
// for a `cold` write, whose walk covers opening the catalog too.
struct Write {
  std::string name;
  std::function<std::function<void()>(Catalog&, const Items&)> prepare;
  bool cold = false;
};

// The catalog a walk runs on, on one engine, with the checks that depend on the engine.
class WalkCatalog {
 public:
  virtual ~WalkCatalog() = default;
  const Items& items() const { return items_; }
  virtual std::shared_ptr<ConnectionDetails> Details() const = 0;
  // What may fail on this engine.
  virtual std::vector<FaultKind> Kinds() const = 0;
  // Puts the saved catalog back; no connection may be open.
  virtual void Restore() = 0;
  // Every table, read past clipcat.
  virtual CatalogDump Dump() = 0;
  // True when no transaction is left open: run while the write's handle is still open.
  virtual bool NoTransactionOpen() = 0;
  // What the engine's own integrity check finds wrong; "" when nothing.
  virtual std::string Damage() = 0;

 protected:
  Items items_;
};

// A catalog file, put back byte for byte for each step. It lives in memory-backed storage where
// there is one (TMPDIR is pointed there): every step puts it back and SQLite syncs it many times.
class FileWalkCatalog final : public WalkCatalog {
 public:
  FileWalkCatalog();
  const std::string& path() const { return path_; }
  std::shared_ptr<ConnectionDetails> Details() const override;
  std::vector<FaultKind> Kinds() const override;
  void Restore() override;
  CatalogDump Dump() override;
  bool NoTransactionOpen() override;
  std::string Damage() override;

 private:
  std::unique_ptr<ScratchDir> dir_;
  std::string path_;
  std::string saved_;
};

// A catalog on the test server, in a database of its own, whose rows are put back for each step
// from a copy of every table kept in another schema, and its sequences where they were. The
// engine has no integrity check of its own to run.
class ServerWalkCatalog final : public WalkCatalog {
 public:
  explicit ServerWalkCatalog(testing::PostgresTestServer& server);
  std::shared_ptr<ConnectionDetails> Details() const override;
  std::vector<FaultKind> Kinds() const override;
  void Restore() override;
  CatalogDump Dump() override;
  // A session whose connection was shut down ends on the server a moment later: waits for that
  // (up to 10 seconds), not for a session that is alive and inside a transaction.
  bool NoTransactionOpen() override;
  std::string Damage() override { return ""; }

 private:
  testing::PostgresTestServer& server_;
  std::string database_;
  std::vector<std::string> tables_;
  std::vector<std::string> sequences_;  // a statement per sequence that puts it back
};

}  // namespace clipcat::robustness
