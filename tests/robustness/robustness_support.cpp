#include "robustness/robustness_support.h"

#include <libpq-fe.h>
#include <poll.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

#include "store/connection_string.h"
#include "util/compression.h"

namespace clipcat::robustness {
namespace {

// The data source types of file and server catalogs in connection details.
constexpr int32_t kFileCatalog = 1;
constexpr int32_t kServerDataSource = 2;

[[noreturn]] void Fail(sqlite3* db, const std::string& what) {
  throw std::runtime_error(what + ": " + (db != nullptr ? sqlite3_errmsg(db) : "no connection"));
}

std::string CellText(sqlite3_stmt* stmt, int column) {
  switch (sqlite3_column_type(stmt, column)) {
    case SQLITE_NULL:
      return "<null>";
    case SQLITE_BLOB: {
      const auto* data = static_cast<const char*>(sqlite3_column_blob(stmt, column));
      return std::string(data, static_cast<size_t>(sqlite3_column_bytes(stmt, column)));
    }
    default: {
      const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
      return std::string(data, static_cast<size_t>(sqlite3_column_bytes(stmt, column)));
    }
  }
}

std::string TaggedCell(sqlite3_stmt* stmt, int column) {
  switch (sqlite3_column_type(stmt, column)) {
    case SQLITE_NULL:
      return "n";
    case SQLITE_INTEGER:
      return "i:" + std::to_string(sqlite3_column_int64(stmt, column));
    case SQLITE_FLOAT: {
      char text[64];
      std::snprintf(text, sizeof text, "r:%.17g", sqlite3_column_double(stmt, column));
      return text;
    }
    case SQLITE_BLOB: {
      const std::string bytes = CellText(stmt, column);
      if (Compression::LooksLikeFrame(bytes)) {
        try {
          Compression compression;
          return "z:" + compression.DecompressString(bytes);
        } catch (...) {
          // A frame that does not decode is shown as the bytes it is.
        }
      }
      return "b:" + bytes;
    }
    default:
      return "t:" + CellText(stmt, column);
  }
}

// Runs `sql` on `db` and hands each row to `row`.
template <typename Row>
void ForEachRow(sqlite3* db, const std::string& sql, Row&& row) {
  sqlite3_stmt* stmt = nullptr;
  if (sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()), &stmt, nullptr) !=
      SQLITE_OK) {
    Fail(db, "prepare " + sql);
  }
  int rc = SQLITE_OK;
  while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) row(stmt);
  sqlite3_finalize(stmt);
  if (rc != SQLITE_DONE) Fail(db, "step " + sql);
}

std::string JoinRow(const std::vector<std::string>& row) {
  std::string text = "(";
  for (size_t i = 0; i < row.size(); ++i) {
    if (i > 0) text += ", ";
    text += Printable(row[i], 60);
  }
  return text + ")";
}

}  // namespace

ScratchDir::ScratchDir() : owner_(getpid()) {
  std::string pattern =
      (std::filesystem::temp_directory_path() / "clipcat-robustness-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

ScratchDir::~ScratchDir() {
  if (getpid() != owner_) return;
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::shared_ptr<ConnectionDetails> FileDetails(const std::string& path) {
  auto details = ConnectionDetails::Create();
  details->SetDataSourceType(kFileCatalog);
  details->SetConnectionString(FileCatalogConnectionString(path));
  return details;
}

RawCatalog::RawCatalog(const std::string& path) {
  if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
    const std::string message = db_ != nullptr ? sqlite3_errmsg(db_) : "out of memory";
    sqlite3_close_v2(db_);
    throw std::runtime_error("open " + path + ": " + message);
  }
  sqlite3_busy_timeout(db_, 10'000);
}

RawCatalog::~RawCatalog() { sqlite3_close_v2(db_); }

std::vector<std::vector<std::string>> RawCatalog::Rows(const std::string& sql) {
  std::vector<std::vector<std::string>> rows;
  ForEachRow(db_, sql, [&](sqlite3_stmt* stmt) {
    std::vector<std::string> row;
    for (int i = 0; i < sqlite3_column_count(stmt); ++i) row.push_back(CellText(stmt, i));
    rows.push_back(std::move(row));
  });
  return rows;
}

std::string RawSql::Scalar(const std::string& sql) {
  const auto rows = Rows(sql);
  return rows.empty() || rows[0].empty() ? std::string() : rows[0][0];
}

RawServerCatalog::RawServerCatalog(const std::string& conninfo)
    : conn_(PQconnectdb(conninfo.c_str())) {
  if (PQstatus(conn_) != CONNECTION_OK) {
    const std::string message = conn_ != nullptr ? PQerrorMessage(conn_) : "out of memory";
    PQfinish(conn_);
    throw std::runtime_error("connect " + conninfo + ": " + message);
  }
}

RawServerCatalog::~RawServerCatalog() { PQfinish(conn_); }

std::vector<std::vector<std::string>> RawServerCatalog::Rows(const std::string& sql) {
  PGresult* result = PQexec(conn_, sql.c_str());
  const ExecStatusType status = PQresultStatus(result);
  if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) {
    const std::string message = PQresultErrorMessage(result);
    PQclear(result);
    throw std::runtime_error(sql + ": " + message);
  }
  std::vector<std::vector<std::string>> rows;
  for (int r = 0; r < PQntuples(result); ++r) {
    std::vector<std::string> row;
    for (int c = 0; c < PQnfields(result); ++c) {
      row.push_back(PQgetisnull(result, r, c) ? "<null>" : PQgetvalue(result, r, c));
    }
    rows.push_back(std::move(row));
  }
  PQclear(result);
  return rows;
}

std::shared_ptr<ConnectionDetails> ServerDetails(const std::string& connection_string) {
  auto details = ConnectionDetails::Create();
  details->SetConnectionString(connection_string);
  details->SetDataSourceType(kServerDataSource);
  return details;
}

bool RawCatalog::WriteLockIsFree() {
  sqlite3_busy_timeout(db_, 0);
  const int rc = sqlite3_exec(db_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
  sqlite3_busy_timeout(db_, 10'000);
  if (rc == SQLITE_OK) {
    if (sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr) != SQLITE_OK) {
      Fail(db_, "ROLLBACK");
    }
    return true;
  }
  if ((rc & 0xff) == SQLITE_BUSY || (rc & 0xff) == SQLITE_LOCKED) return false;
  Fail(db_, "BEGIN IMMEDIATE");
}

CatalogDump DumpCatalog(const std::string& path) {
  // Read-only and without recovery side effects on the file's contents: the rows are what any
  // reader sees.
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
    const std::string message = db != nullptr ? sqlite3_errmsg(db) : "out of memory";
    sqlite3_close_v2(db);
    throw std::runtime_error("open " + path + ": " + message);
  }
  sqlite3_busy_timeout(db, 10'000);
  CatalogDump dump;
  try {
    std::vector<std::string> tables;
    ForEachRow(db, "SELECT name FROM sqlite_schema WHERE type = 'table' ORDER BY name",
               [&](sqlite3_stmt* stmt) { tables.push_back(CellText(stmt, 0)); });
    tables.push_back("sqlite_schema");
    for (const std::string& table : tables) {
      TableDump& out = dump[table];
      ForEachRow(db, "SELECT * FROM \"" + table + "\"", [&](sqlite3_stmt* stmt) {
        const int count = sqlite3_column_count(stmt);
        if (out.columns.empty()) {
          for (int i = 0; i < count; ++i) out.columns.emplace_back(sqlite3_column_name(stmt, i));
        }
        std::vector<std::string> row;
        for (int i = 0; i < count; ++i) row.push_back(TaggedCell(stmt, i));
        out.rows.push_back(std::move(row));
      });
      std::sort(out.rows.begin(), out.rows.end());
    }
  } catch (...) {
    sqlite3_close_v2(db);
    throw;
  }
  sqlite3_close_v2(db);
  return dump;
}

std::string DescribeDifference(const CatalogDump& before, const CatalogDump& after) {
  std::string text;
  std::map<std::string, const TableDump*> empty_side;
  for (const auto& [name, table] : before) {
    if (!after.count(name)) text += "table " + name + " is gone; ";
  }
  for (const auto& [name, table] : after) {
    const auto old = before.find(name);
    if (old == before.end()) {
      text += "table " + name + " is new; ";
      continue;
    }
    std::vector<std::vector<std::string>> removed;
    std::vector<std::vector<std::string>> added;
    std::set_difference(old->second.rows.begin(), old->second.rows.end(), table.rows.begin(),
                        table.rows.end(), std::back_inserter(removed));
    std::set_difference(table.rows.begin(), table.rows.end(), old->second.rows.begin(),
                        old->second.rows.end(), std::back_inserter(added));
    if (removed.empty() && added.empty()) continue;
    text += name + ": " + std::to_string(removed.size()) + " rows gone, " +
            std::to_string(added.size()) + " rows new";
    for (size_t i = 0; i < removed.size() && i < 3; ++i) text += " -" + JoinRow(removed[i]);
    for (size_t i = 0; i < added.size() && i < 3; ++i) text += " +" + JoinRow(added[i]);
    text += "; ";
  }
  return text;
}

std::string Printable(const std::string& text, size_t limit) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (out.size() >= limit) {
      out += "...(" + std::to_string(text.size()) + " bytes)";
      break;
    }
    const auto c = static_cast<unsigned char>(text[i]);
    if (c >= 0x20 && c < 0x7f) {
      out += static_cast<char>(c);
    } else {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
      out += escaped;
    }
  }
  return out;
}

pid_t StartChild(const std::function<int()>& body) {
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("fork failed");
  if (pid > 0) return pid;
  int code = 99;
  try {
    code = body();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "child %d: %s\n", static_cast<int>(getpid()), e.what());
  } catch (...) {
    std::fprintf(stderr, "child %d: unknown exception\n", static_cast<int>(getpid()));
  }
  std::fflush(nullptr);
  _exit(code);
}

int WaitChild(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) throw std::runtime_error("waitpid failed");
  }
  return status;
}

std::string DescribeStatus(int status) {
  if (WIFEXITED(status)) return "exit " + std::to_string(WEXITSTATUS(status));
  if (WIFSIGNALED(status)) return "killed by signal " + std::to_string(WTERMSIG(status));
  return "status " + std::to_string(status);
}

Pipe::Pipe() {
  if (pipe(fds_) != 0) throw std::runtime_error("pipe failed");
}

Pipe::~Pipe() {
  CloseRead();
  CloseWrite();
}

void Pipe::CloseRead() {
  if (fds_[0] >= 0) close(fds_[0]);
  fds_[0] = -1;
}

void Pipe::CloseWrite() {
  if (fds_[1] >= 0) close(fds_[1]);
  fds_[1] = -1;
}

bool ReadByte(int fd, int timeout_ms, char& byte) {
  pollfd waiting{fd, POLLIN, 0};
  int ready = 0;
  do {
    ready = poll(&waiting, 1, timeout_ms);
  } while (ready < 0 && errno == EINTR);
  if (ready <= 0) return false;
  return read(fd, &byte, 1) == 1;
}

double SecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace clipcat::robustness
