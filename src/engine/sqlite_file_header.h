// What the first 100 bytes of a SQLite database file say about it, read without the engine, and
// what can be checked cheaply against them (the file's size against the page count, the fixed
// fields that every SQLite file holds). Stateless; thread-safe.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct sqlite3;

namespace clipcat {

// The fields of a SQLite file header (https://sqlite.org/fileformat.html, "The Database Header").
struct SqliteFileHeader {
  uint64_t file_size = 0;  // of the whole file, in bytes
  bool complete = false;   // the file holds at least the 100 header bytes
  // How many of the first 16 bytes (as far as the file has them) differ from "SQLite format 3\0".
  int magic_differences = 16;
  uint32_t page_size = 0;      // in bytes (the stored 1 read as 65536)
  uint8_t write_version = 0;   // 1 rollback journal, 2 WAL
  uint8_t read_version = 0;    // 1 rollback journal, 2 WAL
  uint8_t reserved_bytes = 0;  // unused bytes at the end of each page
  uint8_t max_payload_fraction = 0;
  uint8_t min_payload_fraction = 0;
  uint8_t leaf_payload_fraction = 0;
  uint32_t change_counter = 0;
  uint32_t page_count = 0;  // valid only when version_valid_for == change_counter
  uint32_t version_valid_for = 0;
  uint32_t schema_format = 0;
  uint32_t text_encoding = 0;  // 1 UTF-8, 2 UTF-16le, 3 UTF-16be
  uint32_t user_version = 0;
  uint32_t application_id = 0;
  bool expansion_is_zero = false;  // the 20 bytes reserved for expansion
};

// The fields of `bytes` (the first bytes of a file, at most 100 of them taken) of a file of
// `file_size` bytes.
SqliteFileHeader ParseSqliteFileHeader(const unsigned char* bytes, size_t size, uint64_t file_size);

// The header of the file at `path`; nothing when the file cannot be opened or read.
// Opens and closes the file: never call it for a file this process has open through the engine,
// because closing any descriptor of a file drops every POSIX lock the process holds on it (the
// engine's included), and another process may then take the database for unused and remove
// its log. Use ReadSqliteFileHeaderOf for such a file.
std::optional<SqliteFileHeader> ReadSqliteFileHeader(const std::string& path);

// The header of the main database of the open connection `db`, read through the engine's own
// file handle (no descriptor opened or closed, no lock taken); nothing when it cannot be read.
std::optional<SqliteFileHeader> ReadSqliteFileHeaderOf(sqlite3* db);

// True for a file that is no SQLite database at all, rather than a damaged one: it is not empty
// and more than two bytes of its first 16 differ from the SQLite header's.
bool IsForeignFile(const SqliteFileHeader& header);

// True when a write-ahead log beside the database file `path` ("PATH-wal") holds frames: pages
// newer than the file's own, which may make the file's header ahead of its size for a moment.
bool SqliteLogHoldsFrames(const std::string& path);

// What is wrong with a file whose header is `header`, one sentence each; empty for a well-formed
// file. An empty file is a new database and well-formed; a foreign file (IsForeignFile) is left
// to the engine, which says it is not a database. The size is held against the page count
// only when `log_holds_frames` is false: a checkpoint in progress writes page 1 before the pages
// that extend the file.
std::vector<std::string> SqliteHeaderProblems(const SqliteFileHeader& header,
                                              bool log_holds_frames);

}  // namespace clipcat
