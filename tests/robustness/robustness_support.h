// Support for the robustness tests: scratch directories, raw SQL access to catalogs (SQLite files
// and PostgreSQL databases) that does not go through clipcat (so that what a test checks does not
// rest on the code under test), dumps of every table, and child processes that a test starts, kills
// and reaps. Single-threaded.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

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

// Connection details of the file catalog at `path`, as a client builds them.
std::shared_ptr<ConnectionDetails> FileDetails(const std::string& path);

// SQL run on a catalog past clipcat. Raises std::runtime_error with the engine's message on any
// failure.
class RawSql {
 public:
  virtual ~RawSql() = default;
  // Every row of `sql`, each value as text; Null reads as "<null>".
  virtual std::vector<std::vector<std::string>> Rows(const std::string& sql) = 0;
  // The first value of the first row, "" when there is none.
  std::string Scalar(const std::string& sql);
  int64_t Count(const std::string& sql) { return std::stoll(Scalar(sql)); }
};

// One SQLite connection to a catalog file, opened read-write so that a connection that finds a
// crashed writer's log recovers it. Waits up to 10 seconds for locks. A blob reads as its bytes.
class RawCatalog : public RawSql {
 public:
  explicit RawCatalog(const std::string& path);
  ~RawCatalog() override;
  RawCatalog(const RawCatalog&) = delete;
  RawCatalog& operator=(const RawCatalog&) = delete;

  std::vector<std::vector<std::string>> Rows(const std::string& sql) override;

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
  RawServerCatalog(const RawServerCatalog&) = delete;
  RawServerCatalog& operator=(const RawServerCatalog&) = delete;

  std::vector<std::vector<std::string>> Rows(const std::string& sql) override;

 private:
  pg_conn* conn_ = nullptr;
};

// Connection details of the catalog on a PostgreSQL server that `connection_string` names.
std::shared_ptr<ConnectionDetails> ServerDetails(const std::string& connection_string);

// The contents of one table: its column names and its rows in a canonical (sorted) order. Each
// value is a kind letter and its text: "n" Null, "i:42", "r:1.5", "t:text", "b:bytes", and
// "z:text" for a blob holding a clipping content frame, decoded.
struct TableDump {
  std::vector<std::string> columns;
  std::vector<std::vector<std::string>> rows;

  friend bool operator==(const TableDump&, const TableDump&) = default;
};

// Every table of a catalog file by name, the schema itself as "sqlite_schema".
using CatalogDump = std::map<std::string, TableDump>;

CatalogDump DumpCatalog(const std::string& path);

// A readable account of how `after` differs from `before` (at most a few rows per table), or ""
// when they are equal.
std::string DescribeDifference(const CatalogDump& before, const CatalogDump& after);

// Text with bytes outside printable ASCII escaped and long runs shortened, for messages.
std::string Printable(const std::string& text, size_t limit = 120);

// Forks a child that runs `body` and ends with its answer as exit status, without running the
// parent's exit handlers. A body that throws ends the child with status 99 after writing the
// error to standard error.
pid_t StartChild(const std::function<int()>& body);

// Waits for the child and answers its raw wait status.
int WaitChild(pid_t pid);

// "exit 0", "killed by signal 9" and the like.
std::string DescribeStatus(int status);

// A pipe whose ends close with the object (or one at a time).
class Pipe {
 public:
  Pipe();
  ~Pipe();
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int read_end() const { return fds_[0]; }
  int write_end() const { return fds_[1]; }
  void CloseRead();
  void CloseWrite();

 private:
  int fds_[2] = {-1, -1};
};

// Reads one byte from `fd`, waiting up to `timeout_ms`; false on time-out or end of file.
bool ReadByte(int fd, int timeout_ms, char& byte);

// Seconds since `start` as a steady-clock reading, for the figures the tests report.
double SecondsSince(std::chrono::steady_clock::time_point start);

}  // namespace clipcat::robustness
