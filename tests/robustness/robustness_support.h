// Support for the robustness tests: scratch directories, raw SQL access to catalogs (SQLite files
// and PostgreSQL databases) that does not go through clipcat (so that what a test checks does not
// rest on the code under test), dumps of every table, the checks every writing scenario shares,
// and child processes that a test starts, kills and reaps. Single-threaded.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/connection_details.h"

struct sqlite3;
struct pg_conn;

namespace clipcat::robustness {

// A fresh directory under the system's temporary directory, removed with everything in it when
// the object goes. Only the process that made it removes it: a forked child leaves it alone.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  std::string File(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
  pid_t owner_;
};

// Connection details of the file catalog at `path`, and of the server catalog that
// `connection_string` names, as a client builds them.
std::shared_ptr<ConnectionDetails> FileDetails(const std::string& path);
std::shared_ptr<ConnectionDetails> ServerDetails(const std::string& connection_string);

// Every table of a catalog file by name (the schema itself as "sqlite_schema"; the content index's
// FTS5 tables left out), its rows sorted,
// each value a kind letter and its text: "n" Null, "i:42", "r:1.5", "t:text", "b:bytes", and
// "z:text" for a blob holding a clipping content frame, decoded. What differs from one write to
// the next reads "<time>" (any value of a column named "t" and a capital) and "<guid>".
using CatalogDump = std::map<std::string, std::vector<std::vector<std::string>>>;

// SQL run on a catalog past clipcat. Raises std::runtime_error with the engine's message on any
// failure.
class RawSql {
 public:
  RawSql() = default;
  RawSql(const RawSql&) = delete;
  RawSql& operator=(const RawSql&) = delete;
  virtual ~RawSql() = default;
  // Every row of `sql`, each value as text; Null reads as "<null>".
  virtual std::vector<std::vector<std::string>> Rows(const std::string& sql) = 0;
  // The first value of the first row, as a number.
  int64_t Count(const std::string& sql) { return std::stoll(Rows(sql).at(0).at(0)); }
};

// One SQLite connection to a catalog file. Read-write unless `read_only`, so that a connection
// that finds a crashed writer's log recovers it. Waits up to 10 seconds for locks. A blob reads
// as its bytes.
class RawCatalog : public RawSql {
 public:
  explicit RawCatalog(const std::string& path, bool read_only = false);
  ~RawCatalog() override;

  std::vector<std::vector<std::string>> Rows(const std::string& sql) override;
  CatalogDump Dump();

  // True when the write lock can be taken at once, without waiting: no other connection holds a
  // write transaction open. The lock is released again before returning.
  bool WriteLockIsFree();

 private:
  sqlite3* db_ = nullptr;
};

// One libpq connection to a catalog on a PostgreSQL server, by a libpq connection string.
class RawServerCatalog : public RawSql {
 public:
  explicit RawServerCatalog(const std::string& conninfo);
  ~RawServerCatalog() override;

  std::vector<std::vector<std::string>> Rows(const std::string& sql) override;

  // Every table of the catalog's schema (the first of the search path) by name, and the schema
  // itself (its tables' columns and types) as "columns", as RawCatalog::Dump gives them: rows
  // sorted, a value "n" for Null, else its text tagged by type ("i:42", "t:text", "b:\\x..."
  // for bytes), "<time>" for any date or time and "<guid>" for a GUID. Sequences are left out:
  // the server does not take back the numbers a failed transaction drew.
  CatalogDump Dump();

 private:
  pg_conn* conn_ = nullptr;
};

// Adds a test failure for every trace of a write left half done: rows in a key generator table,
// data items or category memberships of clippings that are gone, memberships of categories that
// are gone or of clippings marked deleted.
void ExpectNoLeftovers(RawSql& raw);

// Data items as (type, content) pairs, sorted: the store does not promise an order.
using ItemSet = std::vector<std::pair<int32_t, std::string>>;
ItemSet ItemsOf(const Clipping& clipping);

// A new clipping with one data item per pair of `items`, and a new category.
std::shared_ptr<Clipping> NewClipping(const std::string& name, const std::string& description,
                                      const ItemSet& items);
std::shared_ptr<Category> NewCategory(const std::string& name, const std::string& id = "");

// `size` letters that do not compress, the same for the same seed.
std::string Letters(uint64_t seed, size_t size);

// A readable account of how `after` differs from `before` (at most a few rows per table), or ""
// when they are equal.
std::string DescribeDifference(const CatalogDump& before, const CatalogDump& after);

// Text with bytes outside printable ASCII escaped and long runs shortened, for messages.
std::string Printable(const std::string& text, size_t limit = 120);

// Forks a child that runs `body` and ends with its answer as exit status, without running the
// parent's exit handlers. A body that throws a std::exception ends the child with status 99 after
// writing the error to standard error.
pid_t StartChild(const std::function<int()>& body);

// Waits for the child and describes how it ended: "exit 0", "killed by signal 9" and the like.
std::string WaitChild(pid_t pid);

// Runs `body(0)` ... `body(count - 1)` in child processes that all start at the same moment, each
// writing lines to its stream, and waits for them. Adds a test failure for each child that does
// not exit 0 and for each line that starts with "error"; answers every child's lines and sets
// `seconds` to the time from the start to the last child's end.
std::vector<std::vector<std::string>> RunTogether(
    int count, const std::function<void(int, std::ostream&)>& body, double& seconds);

// A pipe whose ends close with the object, or sooner by Close(0) (read end) and Close(1).
struct Pipe {
  Pipe() {
    if (pipe(fds) != 0) throw std::runtime_error("pipe failed");
  }
  ~Pipe() {
    Close(0);
    Close(1);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  void Close(int end) {
    if (fds[end] >= 0) close(fds[end]);
    fds[end] = -1;
  }

  int fds[2] = {-1, -1};
};

// Seconds since `start` as a steady-clock reading, for the figures the tests report.
double SecondsSince(std::chrono::steady_clock::time_point start);

}  // namespace clipcat::robustness
