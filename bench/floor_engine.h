// The floor's tools: what a hand-written program uses to do a catalog's work directly on the
// engine. Prepared statements kept for the whole run, values bound rather than spliced, the
// catalog's compression frame made with zstd itself, and the catalog's ISO dates read and written
// without any detour through text SQL. Nothing here uses the library. One thread at a time.
#pragma once

#include <sqlite3.h>
#include <zstd.h>

#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <string_view>

namespace clipcat_bench {

// One prepared statement, reset and cleared after every use so that it can be run again.
class Statement {
 public:
  Statement(sqlite3* db, std::string_view sql);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  Statement& Int(int index, int64_t value);
  Statement& Text(int index, std::string_view value);
  Statement& Blob(int index, std::string_view value);
  Statement& Null(int index);

  // True while a row is ready; false when done. Throws std::runtime_error on failure.
  bool Step();
  // Steps until done.
  void Run();
  // Resets the statement and clears its bindings.
  void Reset();

  int64_t ColumnInt(int column) const { return sqlite3_column_int64(stmt_, column); }
  bool ColumnIsNull(int column) const { return sqlite3_column_type(stmt_, column) == SQLITE_NULL; }
  std::string ColumnText(int column) const;
  std::string_view ColumnBytes(int column) const;

 private:
  sqlite3* db_;
  sqlite3_stmt* stmt_ = nullptr;
};

// An open catalog file with a cache of prepared statements keyed by their text.
class FloorDb {
 public:
  // Opens the existing file as the library does: read-write, never created, 10 s busy wait.
  explicit FloorDb(const std::string& path);
  ~FloorDb();
  FloorDb(const FloorDb&) = delete;
  FloorDb& operator=(const FloorDb&) = delete;

  sqlite3* db() const { return db_; }

  // The statement for `sql`, prepared on first use. The reference stays valid for the life of
  // this object.
  Statement& Prepare(const std::string& sql);

  // Runs a statement without keeping it (pragmas, transaction control).
  void Exec(const char* sql);

 private:
  sqlite3* db_ = nullptr;
  std::map<std::string, std::unique_ptr<Statement>> cache_;
};

// The catalog's compression frame: "CLPZ", codec 1, then a zstd frame at level 3 with a checksum.
class FrameCodec {
 public:
  FrameCodec();
  ~FrameCodec();
  FrameCodec(const FrameCodec&) = delete;
  FrameCodec& operator=(const FrameCodec&) = delete;

  std::string Compress(std::string_view text);
  std::string Decompress(std::string_view frame);

 private:
  ZSTD_CCtx* cctx_;
  ZSTD_DCtx* dctx_;
};

// The current local time as the catalog stores it, "yyyy-mm-dd hh:nn:ss".
std::string IsoNow();

// "yyyy-mm-dd hh:nn:ss" as an automation date (days since 1899-12-30); 0 for other text.
double IsoToSerial(std::string_view text);

// A GUID as the catalog stores it: 32 upper-case hex digits of a random version-4 GUID.
class GuidMaker {
 public:
  GuidMaker();
  std::string Next();

 private:
  std::mt19937_64 random_;
};

}  // namespace clipcat_bench
