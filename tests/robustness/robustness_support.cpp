#include "robustness/robustness_support.h"

#include <gtest/gtest.h>
#include <libpq-fe.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>

#include "engine/connection_string.h"
#include "util/compression.h"

namespace clipcat::robustness {
namespace {

[[noreturn]] void Fail(sqlite3* db, const std::string& what) {
  throw std::runtime_error(what + ": " + (db != nullptr ? sqlite3_errmsg(db) : "no connection"));
}

std::string CellText(sqlite3_stmt* stmt, int column) {
  if (sqlite3_column_type(stmt, column) == SQLITE_NULL) return "<null>";
  const void* data = sqlite3_column_type(stmt, column) == SQLITE_BLOB
                         ? sqlite3_column_blob(stmt, column)
                         : sqlite3_column_text(stmt, column);
  return std::string(static_cast<const char*>(data),
                     static_cast<size_t>(sqlite3_column_bytes(stmt, column)));
}

std::string TaggedCell(sqlite3_stmt* stmt, int column) {
  const std::string name = sqlite3_column_name(stmt, column);
  const int type = sqlite3_column_type(stmt, column);
  if (type != SQLITE_NULL && name.size() > 1 && name[0] == 't' && std::isupper(name[1])) {
    return "<time>";
  }
  switch (type) {
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
          return "z:" + Compression().DecompressString(bytes);
        } catch (...) {
          // A frame that does not decode is shown as the bytes it is.
        }
      }
      return "b:" + bytes;
    }
  }
  const std::string text = CellText(stmt, column);
  const bool guid =
      text.size() == 32 && text.find_first_not_of("0123456789ABCDEF") == std::string::npos;
  return guid ? "<guid>" : "t:" + text;
}

// One value of a server's result, tagged as TaggedCell tags a SQLite value.
std::string ServerCell(const PGresult* result, int row, int column) {
  if (PQgetisnull(result, row, column) != 0) return "n";
  const std::string text = PQgetvalue(result, row, column);
  switch (PQftype(result, column)) {
    case 1082:  // date
    case 1114:  // timestamp
    case 1184:  // timestamptz
      return "<time>";
    case 16:  // boolean
    case 20:  // bigint
    case 21:  // smallint
    case 23:  // integer
      return "i:" + text;
    case 17:  // bytea, as hex
      return "b:" + text;
    default:
      break;
  }
  const bool guid =
      text.size() == 32 && text.find_first_not_of("0123456789ABCDEF") == std::string::npos;
  return guid ? "<guid>" : "t:" + text;
}

// Every row of `sql` on `db`, each value as `cell` gives it.
template <typename Cell>
std::vector<std::vector<std::string>> Query(sqlite3* db, const std::string& sql, Cell cell) {
  sqlite3_stmt* stmt = nullptr;
  if (sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()), &stmt, nullptr) !=
      SQLITE_OK) {
    Fail(db, "prepare " + sql);
  }
  const int count = sqlite3_column_count(stmt);
  std::vector<std::vector<std::string>> rows;
  int rc = SQLITE_OK;
  while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
    rows.emplace_back();
    for (int i = 0; i < count; ++i) rows.back().push_back(cell(stmt, i));
  }
  sqlite3_finalize(stmt);
  if (rc != SQLITE_DONE) Fail(db, "step " + sql);
  return rows;
}

std::string JoinRow(const std::vector<std::string>& row) {
  std::string text = "(";
  for (size_t i = 0; i < row.size(); ++i) text += (i > 0 ? ", " : "") + Printable(row[i], 60);
  return text + ")";
}

std::shared_ptr<ConnectionDetails> Details(int32_t data_source_type, const std::string& text) {
  auto details = ConnectionDetails::Create();
  details->SetDataSourceType(data_source_type);
  details->SetConnectionString(text);
  return details;
}

}  // namespace

ScratchDir::ScratchDir() : owner_(getpid()) {
  std::string pattern =
      (std::filesystem::temp_directory_path() / "clipcat-robustness-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

ScratchDir::~ScratchDir() {
  std::error_code ignored;
  if (getpid() == owner_) std::filesystem::remove_all(path_, ignored);
}

// Data source types 1 (file) and 2 (server).
std::shared_ptr<ConnectionDetails> FileDetails(const std::string& path) {
  return Details(1, FileCatalogConnectionString(path));
}

std::shared_ptr<ConnectionDetails> ServerDetails(const std::string& connection_string) {
  return Details(2, connection_string);
}

RawCatalog::RawCatalog(const std::string& path, bool read_only) {
  const int flags = read_only ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
  if (sqlite3_open_v2(path.c_str(), &db_, flags, nullptr) != SQLITE_OK) {
    const std::string message = db_ != nullptr ? sqlite3_errmsg(db_) : "out of memory";
    sqlite3_close_v2(db_);
    throw std::runtime_error("open " + path + ": " + message);
  }
  sqlite3_busy_timeout(db_, 10'000);
}

RawCatalog::~RawCatalog() { sqlite3_close_v2(db_); }

std::vector<std::vector<std::string>> RawCatalog::Rows(const std::string& sql) {
  return Query(db_, sql, CellText);
}

CatalogDump RawCatalog::Dump() {
  CatalogDump dump;
  std::vector<std::string> tables = {"sqlite_schema"};
  // The content index's FTS5 tables are worked out from ClippingText, which is dumped: their bytes
  // change with any text written anywhere.
  for (const auto& row : Rows("SELECT name FROM sqlite_schema WHERE type = 'table'"
                              " AND name NOT LIKE 'ClippingTextIndex%'")) {
    tables.push_back(row[0]);
  }
  for (const std::string& table : tables) {
    auto& rows = dump[table] = Query(db_, "SELECT * FROM \"" + table + "\"", TaggedCell);
    std::sort(rows.begin(), rows.end());
  }
  return dump;
}

bool RawCatalog::WriteLockIsFree() {
  sqlite3_busy_timeout(db_, 0);
  const int rc = sqlite3_exec(db_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) & 0xff;
  sqlite3_busy_timeout(db_, 10'000);
  if (rc != SQLITE_OK && rc != SQLITE_BUSY && rc != SQLITE_LOCKED) Fail(db_, "BEGIN IMMEDIATE");
  if (rc == SQLITE_OK) Rows("ROLLBACK");
  return rc == SQLITE_OK;
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
  std::vector<std::vector<std::string>> rows(static_cast<size_t>(PQntuples(result)));
  for (int r = 0; r < PQntuples(result); ++r) {
    for (int c = 0; c < PQnfields(result); ++c) {
      rows[r].push_back(PQgetisnull(result, r, c) ? "<null>" : PQgetvalue(result, r, c));
    }
  }
  PQclear(result);
  return rows;
}

CatalogDump RawServerCatalog::Dump() {
  CatalogDump dump;
  dump["columns"] = Rows(
      "SELECT table_name, column_name, data_type, is_nullable, column_default"
      " FROM information_schema.columns WHERE table_schema = current_schema()"
      " ORDER BY 1, 2");
  for (const auto& table : Rows("SELECT table_name FROM information_schema.tables"
                                " WHERE table_schema = current_schema()"
                                " AND table_type = 'BASE TABLE' ORDER BY 1")) {
    const std::string sql = "SELECT * FROM \"" + table.at(0) + "\" ORDER BY 1";
    PGresult* result = PQexec(conn_, sql.c_str());
    if (PQresultStatus(result) != PGRES_TUPLES_OK) {
      const std::string message = PQresultErrorMessage(result);
      PQclear(result);
      throw std::runtime_error(sql + ": " + message);
    }
    auto& rows = dump[table.at(0)];
    for (int r = 0; r < PQntuples(result); ++r) {
      rows.emplace_back();
      for (int c = 0; c < PQnfields(result); ++c) {
        rows.back().push_back(ServerCell(result, r, c));
      }
    }
    PQclear(result);
    std::sort(rows.begin(), rows.end());
  }
  return dump;
}

void ExpectNoLeftovers(RawSql& raw) {
  for (const char* generator :
       {"FolderIDGenerator", "GroupClippingIDGenerator", "ExternalCatalogIDGenerator"}) {
    EXPECT_EQ(raw.Count(std::string("SELECT count(*) FROM ") + generator), 0) << generator;
  }
  const std::pair<const char*, const char*> orphans[] = {
      {"ClippingDataType d WHERE NOT EXISTS (SELECT 1 FROM Clipping c WHERE c.lClippingID = "
       "d.lClippingID)",
       "data items of clippings that are gone"},
      {"ClippingGroupClipping m WHERE NOT EXISTS (SELECT 1 FROM Clipping c WHERE c.lClippingID = "
       "m.lClippingId AND c.iClippingStatus <> 4) OR NOT EXISTS (SELECT 1 FROM GroupClipping g "
       "WHERE g.lGroupClippingID = m.lGroupClippingId)",
       "memberships of clippings or categories that are gone or deleted"}};
  for (const auto& [rows, what] : orphans) {
    EXPECT_EQ(raw.Count(std::string("SELECT count(*) FROM ") + rows), 0) << what;
  }
}

ItemSet ItemsOf(const Clipping& clipping) {
  ItemSet items;
  for (const auto& item : clipping.ClippingData()->Snapshot()) {
    items.emplace_back(item->ClippingDataType(), item->RawData());
  }
  std::sort(items.begin(), items.end());
  return items;
}

std::shared_ptr<Clipping> NewClipping(const std::string& name, const std::string& description,
                                      const ItemSet& items) {
  auto clipping = Clipping::Create();
  clipping->SetName(name);
  clipping->SetDescription(description);
  for (const auto& [type, content] : items) {
    auto data = ClippingData::Create();
    data->SetClippingDataType(type);
    data->SetRawData(content);
    clipping->ClippingData()->Add(data);
  }
  return clipping;
}

std::shared_ptr<Category> NewCategory(const std::string& name, const std::string& id) {
  auto category = Category::Create();
  category->SetName(name);
  category->SetID(id);
  return category;
}

std::string Letters(uint64_t seed, size_t size) {
  uint64_t state = seed * 0x9e3779b97f4a7c15ULL + 1;
  std::string text(size, ' ');
  for (char& c : text) {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    c = static_cast<char>('a' + (state >> 59) % 26);
  }
  return text;
}

std::string DescribeDifference(const CatalogDump& before, const CatalogDump& after) {
  // A table made or dropped shows in the rows of "sqlite_schema".
  std::string text;
  for (const auto& [name, was] : before) {
    const auto now = after.find(name);
    const auto& rows = now != after.end() ? now->second : decltype(was){};
    std::vector<std::vector<std::string>> removed;
    std::vector<std::vector<std::string>> added;
    std::set_difference(was.begin(), was.end(), rows.begin(), rows.end(),
                        std::back_inserter(removed));
    std::set_difference(rows.begin(), rows.end(), was.begin(), was.end(),
                        std::back_inserter(added));
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
  for (const char c : text) {
    if (out.size() >= limit) return out + "...(" + std::to_string(text.size()) + " bytes)";
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, c >= 0x20 && c < 0x7f ? "%c" : "\\x%02x",
                  static_cast<unsigned char>(c));
    out += escaped;
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
  }
  std::fflush(nullptr);
  _exit(code);
}

std::string WaitChild(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) throw std::runtime_error("waitpid failed");
  }
  if (WIFEXITED(status)) return "exit " + std::to_string(WEXITSTATUS(status));
  if (WIFSIGNALED(status)) return "killed by signal " + std::to_string(WTERMSIG(status));
  return "status " + std::to_string(status);
}

std::vector<std::vector<std::string>> RunTogether(
    int count, const std::function<void(int, std::ostream&)>& body, double& seconds) {
  ScratchDir dir;
  Pipe start;  // end of file on the read end means "go"
  std::vector<pid_t> children;
  for (int i = 0; i < count; ++i) {
    children.push_back(StartChild([&] {
      start.Close(1);
      std::ofstream out(dir.File(std::to_string(i)));
      char go = 0;
      while (read(start.fds[0], &go, 1) > 0) {
      }
      body(i, out);
      return out.flush() ? 0 : 98;
    }));
  }
  const auto started = std::chrono::steady_clock::now();
  start.Close(1);
  std::vector<std::vector<std::string>> lines(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) EXPECT_EQ(WaitChild(children[i]), "exit 0") << "child " << i;
  seconds = SecondsSince(started);
  for (int i = 0; i < count; ++i) {
    std::ifstream in(dir.File(std::to_string(i)));
    for (std::string line; std::getline(in, line);) {
      if (line.rfind("error", 0) == 0) ADD_FAILURE() << "child " << i << ": " << line;
      lines[i].push_back(line);
    }
  }
  return lines;
}

double SecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace clipcat::robustness
