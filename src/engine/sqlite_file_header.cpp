#include "engine/sqlite_file_header.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace clipcat {
namespace {

// Offsets of the header fields. Frozen by the SQLite file format.
constexpr size_t kHeaderSize = 100;
constexpr char kMagic[] = "SQLite format 3";  // with its terminating NUL: 16 bytes
constexpr size_t kWalHeaderSize = 32;

uint32_t BigEndian(const unsigned char* bytes, size_t size) {
  uint32_t value = 0;
  for (size_t i = 0; i < size; ++i) value = (value << 8) | bytes[i];
  return value;
}

bool IsPowerOfTwo(uint32_t value) { return value != 0 && (value & (value - 1)) == 0; }

}  // namespace

SqliteFileHeader ParseSqliteFileHeader(const unsigned char* bytes, size_t size,
                                       uint64_t file_size) {
  SqliteFileHeader header;
  header.file_size = file_size;
  const size_t read = std::min(size, kHeaderSize);
  header.magic_differences = 0;
  for (size_t i = 0; i < sizeof kMagic && i < read; ++i) {
    header.magic_differences += bytes[i] != static_cast<unsigned char>(kMagic[i]);
  }
  if (read < kHeaderSize) return header;
  header.complete = true;
  const uint32_t page_size = BigEndian(bytes + 16, 2);
  header.page_size = page_size == 1 ? 65536 : page_size;
  header.write_version = bytes[18];
  header.read_version = bytes[19];
  header.reserved_bytes = bytes[20];
  header.max_payload_fraction = bytes[21];
  header.min_payload_fraction = bytes[22];
  header.leaf_payload_fraction = bytes[23];
  header.change_counter = BigEndian(bytes + 24, 4);
  header.page_count = BigEndian(bytes + 28, 4);
  header.schema_format = BigEndian(bytes + 44, 4);
  header.text_encoding = BigEndian(bytes + 56, 4);
  header.user_version = BigEndian(bytes + 60, 4);
  header.application_id = BigEndian(bytes + 68, 4);
  header.expansion_is_zero = true;
  for (size_t i = 72; i < 92; ++i) header.expansion_is_zero &= bytes[i] == 0;
  header.version_valid_for = BigEndian(bytes + 92, 4);
  return header;
}

std::optional<SqliteFileHeader> ReadSqliteFileHeader(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  if (error) return std::nullopt;
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  unsigned char bytes[kHeaderSize] = {};
  file.read(reinterpret_cast<char*>(bytes), kHeaderSize);
  return ParseSqliteFileHeader(bytes, static_cast<size_t>(file.gcount()), size);
}

std::optional<SqliteFileHeader> ReadSqliteFileHeaderOf(sqlite3* db) {
  sqlite3_file* file = nullptr;
  if (sqlite3_file_control(db, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK ||
      file == nullptr || file->pMethods == nullptr) {
    return std::nullopt;
  }
  sqlite3_int64 size = 0;
  if (file->pMethods->xFileSize(file, &size) != SQLITE_OK || size < 0) return std::nullopt;
  unsigned char bytes[kHeaderSize] = {};
  const auto wanted = static_cast<size_t>(std::min<sqlite3_int64>(size, kHeaderSize));
  if (wanted > 0 && file->pMethods->xRead(file, bytes, static_cast<int>(wanted), 0) != SQLITE_OK) {
    return std::nullopt;
  }
  return ParseSqliteFileHeader(bytes, wanted, static_cast<uint64_t>(size));
}

bool IsForeignFile(const SqliteFileHeader& header) {
  return header.file_size > 0 && header.magic_differences > 2;
}

bool SqliteLogHoldsFrames(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path + "-wal", error);
  return !error && size > kWalHeaderSize;
}

std::vector<std::string> SqliteHeaderProblems(const SqliteFileHeader& header,
                                              bool log_holds_frames) {
  if (header.file_size == 0 || IsForeignFile(header)) return {};
  if (!header.complete) {
    return {"the file is " + std::to_string(header.file_size) +
            " bytes long, shorter than a database header"};
  }
  if (header.magic_differences > 0) return {"the file's SQLite header is damaged"};
  std::vector<std::string> problems;
  const uint32_t page_size = header.page_size;
  if (!IsPowerOfTwo(page_size) || page_size < 512 || page_size > 65536) {
    problems.push_back("the header's page size " + std::to_string(page_size) + " is impossible");
  }
  if (header.write_version < 1 || header.write_version > 2 || header.read_version < 1 ||
      header.read_version > 2) {
    problems.push_back("the header's format versions are impossible");
  }
  if (header.max_payload_fraction != 64 || header.min_payload_fraction != 32 ||
      header.leaf_payload_fraction != 32) {
    problems.push_back("the header's payload fractions are not 64, 32 and 32");
  }
  if (header.schema_format < 1 || header.schema_format > 4) {
    problems.push_back("the header's schema format " + std::to_string(header.schema_format) +
                       " is impossible");
  }
  if (header.text_encoding < 1 || header.text_encoding > 3) {
    problems.push_back("the header's text encoding " + std::to_string(header.text_encoding) +
                       " is impossible");
  }
  // The engine's catalogs never reserve bytes at the end of their pages.
  if (header.reserved_bytes != 0) {
    problems.push_back("the header reserves " + std::to_string(header.reserved_bytes) +
                       " bytes at the end of each page");
  }
  if (!header.expansion_is_zero) {
    problems.push_back("the header's bytes reserved for expansion are not zero");
  }
  const bool count_valid =
      header.version_valid_for == header.change_counter && header.page_count > 0;
  if (problems.empty() && count_valid && !log_holds_frames) {
    const uint64_t needed = uint64_t{header.page_count} * page_size;
    if (header.file_size < needed) {
      problems.push_back("the file is " + std::to_string(header.file_size) +
                         " bytes long, but its header counts " + std::to_string(header.page_count) +
                         " pages of " + std::to_string(page_size) +
                         " bytes: the end of the file is missing");
    }
  }
  return problems;
}

}  // namespace clipcat
