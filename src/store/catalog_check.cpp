#include "store/catalog_check.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <utility>

#include "engine/backend_factory.h"
#include "engine/db_connection.h"
#include "engine/sqlite_backend.h"
#include "engine/sqlite_file_header.h"
#include "store/catalog_schema.h"
#include "store/catalog_upgrade.h"
#include "store/clipping_data_row.h"
#include "store/schema_description.h"
#include "util/compression.h"
#include "util/errors.h"
#include "util/text.h"
#include "util/values.h"

namespace clipcat {
namespace {

using Problems = std::vector<std::string>;

// A catalog's text is UTF-8: CreateCatalog never asks otherwise.
constexpr uint32_t kUtf8Encoding = 1;

Problems CatalogHeaderProblems(const SqliteFileHeader& header) {
  Problems problems;
  if (header.text_encoding != kUtf8Encoding) {
    problems.push_back("the header's text encoding " + std::to_string(header.text_encoding) +
                       " is not a catalog's (UTF-8)");
  }
  return problems;
}

// The value of the column named n in the one row of `sql` (a count or a pragma's value).
int64_t Number(DBConnection& connection, const std::string& sql) {
  Recordset rs = connection.GetRecordsetRO(sql);
  const int64_t value = static_cast<int64_t>(rs.Value("n").ToDouble());
  rs.Close();
  return value;
}

// The schema version and application id of the open file, as the engine sees them (the log's
// newest page 1 included).
int64_t UserVersion(DBConnection& connection) {
  return Number(connection, "SELECT user_version AS n FROM pragma_user_version");
}
int64_t ApplicationId(DBConnection& connection) {
  return Number(connection, "SELECT application_id AS n FROM pragma_application_id");
}

Problems IdentityProblems(DBConnection& connection) {
  Problems problems;
  const int64_t application_id = ApplicationId(connection);
  if (application_id != 0 && application_id != kCatalogApplicationId) {
    problems.push_back("the header's application id " + std::to_string(application_id) +
                       " is not a catalog's");
  }
  const int64_t user_version = UserVersion(connection);
  if (user_version != 0) {
    const int format = CatalogFormatVersion(connection);
    if (format != 0 && format != user_version) {
      problems.push_back("the header's schema version " + std::to_string(user_version) +
                         " disagrees with the catalog's format version " + std::to_string(format));
    }
  }
  return problems;
}

// Files up to this size are checked whole on open (the engine's quick check: every page's
// structure, no row's content): a damaged pointer inside a page can lead to another row, which
// reads as a valid one and only a walk over the whole file reveals. It costs a few milliseconds
// per megabyte, so personal catalogs are covered and large ones keep their open time.
constexpr uint64_t kWholeCheckBytes = uint64_t{32} << 20;

// The findings of the engine's integrity or quick check (`pragma` names it; at most `limit`),
// one line each, without the line that names the database.
Problems EngineCheckProblems(DBConnection& connection, const std::string& pragma, int limit) {
  Problems problems;
  Recordset rs = connection.GetRecordsetRO("SELECT " + pragma + " AS finding FROM pragma_" +
                                           pragma + "(" + std::to_string(limit) + ")");
  for (; !rs.Eof(); rs.MoveNext()) {
    std::string text = ToTextOr(rs.Value("finding"), "");
    if (text == "ok") continue;
    for (size_t start = 0; start < text.size();) {
      const size_t end = std::min(text.find('\n', start), text.size());
      const std::string line = text.substr(start, end - start);
      if (!line.empty() && line.rfind("*** in database", 0) != 0) {
        problems.push_back("the engine's check of its pages: " + line);
      }
      start = end + 1;
    }
  }
  rs.Close();
  return problems;
}

Problems QuickCheckProblems(DBConnection& connection) {
  return EngineCheckProblems(connection, "quick_check", 1);
}

// The text encoding of the open file, as the engine reads it from the header.
Problems EncodingProblems(DBConnection& connection) {
  Recordset rs = connection.GetRecordsetRO("SELECT encoding AS e FROM pragma_encoding");
  const std::string encoding = ToTextOr(rs.Value("e"), "");
  rs.Close();
  if (encoding == "UTF-8") return {};
  return {"the header's text encoding " + encoding + " is not a catalog's (UTF-8)"};
}

[[noreturn]] void RaiseDamaged(const std::string& path, const std::string& reason) {
  throw AutomationError(err::kCatalogDamaged, kComponentSource,
                        CatalogDamagedDescription(path, reason));
}

// Runs one part of the check; a part that cannot finish is itself a finding.
void Part(CatalogCheckReport& report, const std::string& what, const std::function<void()>& run) {
  try {
    run();
  } catch (const AutomationError& e) {
    report.problems.push_back("the " + what + " could not finish: " + e.description());
  }
}

// Rows that something they name no longer holds, and what each kind means.
struct OrphanQuery {
  const char* what;
  const char* sql;  // counts them
};

constexpr OrphanQuery kOrphanQueries[] = {
    {"folders whose parent folder is missing",
     "SELECT COUNT(*) AS n FROM Folder AS f WHERE f.lParentID <> 0 AND NOT EXISTS"
     " (SELECT 1 FROM Folder AS p WHERE p.lFolderID = f.lParentID)"},
    {"clippings whose folder is missing",
     "SELECT COUNT(*) AS n FROM Clipping AS c WHERE NOT EXISTS"
     " (SELECT 1 FROM Folder AS f WHERE f.lFolderID = c.lFolderID)"},
    {"data items whose clipping is missing",
     "SELECT COUNT(*) AS n FROM ClippingDataType AS d WHERE NOT EXISTS"
     " (SELECT 1 FROM Clipping AS c WHERE c.lClippingID = d.lClippingID)"},
    {"category memberships whose clipping is missing",
     "SELECT COUNT(*) AS n FROM ClippingGroupClipping AS m WHERE NOT EXISTS"
     " (SELECT 1 FROM Clipping AS c WHERE c.lClippingID = m.lClippingId)"},
    {"category memberships whose category is missing",
     "SELECT COUNT(*) AS n FROM ClippingGroupClipping AS m WHERE NOT EXISTS"
     " (SELECT 1 FROM GroupClipping AS g WHERE g.lGroupClippingID = m.lGroupClippingId)"},
    {"versions whose clipping is missing",
     "SELECT COUNT(*) AS n FROM ClippingVersion AS v WHERE NOT EXISTS"
     " (SELECT 1 FROM Clipping AS c WHERE c.lClippingID = v.lClippingID)"},
    {"version data items whose version is missing",
     "SELECT COUNT(*) AS n FROM ClippingVersionData AS d WHERE NOT EXISTS"
     " (SELECT 1 FROM ClippingVersion AS v WHERE v.lClippingID = d.lClippingID"
     " AND v.lVersion = d.lVersion)"},
};

void CheckOrphans(DBConnection& connection, CatalogCheckReport& report, int format) {
  for (const OrphanQuery& query : kOrphanQueries) {
    // The version tables came with format 5.
    if (format < 5 && std::string(query.what).find("version") != std::string::npos) continue;
    Part(report, "search for " + std::string(query.what), [&] {
      const int64_t count = Number(connection, query.sql);
      if (count > 0) report.problems.push_back(std::to_string(count) + " " + query.what);
    });
  }
  report.checked.push_back(
      "rows that belong to nothing: " + std::to_string(std::size(kOrphanQueries)) + " kinds");
}

// Reads every stored item of `table` a clipping at a time, so that a large catalog is never
// held in memory at once.
void CheckFrames(DBConnection& connection, CatalogCheckReport& report, const std::string& table) {
  size_t items = 0;
  Part(report, "check of the content in " + table, [&] {
    std::vector<std::string> clippings;
    Recordset ids =
        connection.GetRecordsetRO("SELECT DISTINCT lClippingID FROM " + table + " ORDER BY 1");
    for (; !ids.Eof(); ids.MoveNext()) clippings.push_back(ToTextOr(ids.Value("lClippingID"), ""));
    ids.Close();
    Compression compression;
    for (const std::string& id : clippings) {
      const std::string key = SqlNumber(Variant(id));
      Part(report, "check of the content of clipping " + id, [&] {
        Recordset rs =
            connection.GetRecordsetRO("SELECT * FROM " + table + " WHERE lClippingID=" + key);
        for (; !rs.Eof(); rs.MoveNext()) {
          ++items;
          try {
            ReadClippingDataRow(rs, compression);
          } catch (const AutomationError& e) {
            report.problems.push_back(table + ": an item (type " +
                                      ToTextOr(rs.Value("lDataTypeId"), "?") + ") of clipping " +
                                      id + " cannot be read: " + e.description());
          }
        }
        rs.Close();
      });
    }
  });
  report.checked.push_back(table + ": " + std::to_string(items) + " stored items read");
}

// The declared type a column of `kind` reads back with from SQLite's table_info: the type
// without its collation and key clauses.
std::string DeclaredSqliteType(ColumnKind kind) {
  std::string type = ColumnType(kind, SchemaEngine::kSqlite);
  for (const char* clause : {" COLLATE", " PRIMARY"}) {
    const auto at = type.find(clause);
    if (at != std::string::npos) type.resize(at);
  }
  return type;
}

void CheckSchema(DBConnection& connection, CatalogCheckReport& report, bool sqlite) {
  Part(report, "comparison of the schema with its description", [&] {
    std::map<std::string, std::map<std::string, std::string>> found;  // table -> column -> type
    std::set<std::string> indexes;
    const std::string columns_query =
        sqlite ? "SELECT lower(m.name) AS t, lower(p.name) AS c, upper(p.type) AS y"
                 " FROM sqlite_schema AS m JOIN pragma_table_info(m.name) AS p"
                 " WHERE m.type = 'table'"
               : "SELECT lower(table_name) AS t, lower(column_name) AS c, '' AS y"
                 " FROM information_schema.columns WHERE table_schema = current_schema()";
    Recordset rs = connection.GetRecordsetRO(columns_query);
    for (; !rs.Eof(); rs.MoveNext()) {
      found[ToTextOr(rs.Value("t"), "")][ToTextOr(rs.Value("c"), "")] = ToTextOr(rs.Value("y"), "");
    }
    rs.Close();
    const std::string index_query =
        sqlite ? "SELECT lower(name) AS n FROM sqlite_schema WHERE type = 'index'"
               : "SELECT lower(indexname) AS n FROM pg_catalog.pg_indexes"
                 " WHERE schemaname = current_schema()";
    Recordset ix = connection.GetRecordsetRO(index_query);
    for (; !ix.Eof(); ix.MoveNext()) indexes.insert(ToTextOr(ix.Value("n"), ""));
    ix.Close();
    size_t columns = 0;
    for (const TableDescription& table : CatalogSchema().tables) {
      const auto has = found.find(ToLowerAscii(std::string(table.name)));
      if (has == found.end()) {
        report.problems.push_back("the table " + std::string(table.name) + " is missing");
        continue;
      }
      for (const ColumnDescription& column : table.columns) {
        if (sqlite && column.kind == ColumnKind::kServerSearchDocument) continue;
        ++columns;
        const auto type = has->second.find(ToLowerAscii(std::string(column.name)));
        const std::string where = std::string(table.name) + "." + std::string(column.name);
        if (type == has->second.end()) {
          report.problems.push_back("the column " + where + " is missing");
        } else if (sqlite && type->second != DeclaredSqliteType(column.kind)) {
          report.problems.push_back("the column " + where + " is declared " + type->second +
                                    ", not " + DeclaredSqliteType(column.kind));
        }
      }
      for (const IndexDescription& index : table.indexes) {
        if (sqlite && (index.folded || index.inverted)) continue;
        if (indexes.count(ToLowerAscii(std::string(index.name))) == 0) {
          report.problems.push_back("the index " + std::string(index.name) + " is missing");
        }
      }
    }
    report.checked.push_back("schema: " + std::to_string(CatalogSchema().tables.size()) +
                             " tables, " + std::to_string(columns) +
                             " columns against their description");
  });
}

// Answers false when there is nothing the engine could open.
bool CheckFile(const std::string& path, CatalogCheckReport& report) {
  const auto header = ReadSqliteFileHeader(path);
  if (!header) {
    report.problems.push_back("the file cannot be read");
    return false;
  }
  if (header->file_size == 0) {
    report.problems.push_back("the file is empty");
    return false;
  }
  if (IsForeignFile(*header)) {
    report.problems.push_back("the file is not a SQLite database");
    return false;
  }
  for (std::string& problem : SqliteHeaderProblems(*header, SqliteLogHoldsFrames(path))) {
    report.problems.push_back(std::move(problem));
  }
  for (std::string& problem : CatalogHeaderProblems(*header)) {
    report.problems.push_back(std::move(problem));
  }
  report.checked.push_back("file header: " + std::to_string(header->file_size) + " bytes, " +
                           std::to_string(header->page_count) + " pages of " +
                           std::to_string(header->page_size) + " bytes");
  return true;
}

void CheckIntegrity(DBConnection& connection, CatalogCheckReport& report) {
  Part(report, "engine's integrity check", [&] {
    for (std::string& problem : EngineCheckProblems(connection, "integrity_check", 100)) {
      report.problems.push_back(std::move(problem));
    }
    report.checked.push_back("the engine's integrity check of every page and index");
  });
}

}  // namespace

void RequireSoundCatalogFile(DBConnection& connection, const std::string& path) {
  // The file's size by its name, and the rest through the engine: reading the header by opening
  // the file would drop the engine's locks on it (sqlite_file_header.h).
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  if (error) return;  // the engine opened it; what it reads decides
  if (size == 0) RaiseDamaged(path, "the file is empty");
  Problems problems = EncodingProblems(connection);
  if (problems.empty()) problems = IdentityProblems(connection);
  if (problems.empty() && size <= kWholeCheckBytes) problems = QuickCheckProblems(connection);
  if (!problems.empty()) RaiseDamaged(path, problems.front());
}

CatalogCheckReport CheckCatalog(const std::string& connection_string, const std::string& user_name,
                                const std::string& password) {
  CatalogCheckReport report;
  const auto path = FileCatalogPath(connection_string);
  report.catalog = path ? *path : "the server catalog";
  if (path && !CheckFile(*path, report)) return report;
  DBConnection connection([&](const std::string& text, const std::string& user,
                              const std::string& secret) -> std::unique_ptr<DatabaseBackend> {
    if (path) {
      return std::make_unique<SqliteBackend>(
          *path, SqliteOpenOptions{.read_only = true, .check_header = false});
    }
    return OpenBackend(text, user, secret);
  });
  try {
    connection.OpenConnection(connection_string, user_name, password);
  } catch (const AutomationError& e) {
    report.problems.push_back("the catalog cannot be opened: " + e.description());
    return report;
  }
  const bool sqlite = path.has_value();
  if (sqlite) {
    CheckIntegrity(connection, report);
    Part(report, "check of the header's identity", [&] {
      for (std::string& problem : IdentityProblems(connection)) {
        report.problems.push_back(std::move(problem));
      }
    });
  }
  int format = 0;
  Part(report, "reading of the format version", [&] { format = CatalogFormatVersion(connection); });
  if (format == 0) {
    report.problems.push_back("the database holds no catalog");
    return report;
  }
  report.checked.push_back("format version " + std::to_string(format));
  if (format == kCatalogFormatVersion) {
    CheckSchema(connection, report, sqlite);
  } else {
    report.checked.push_back("schema not compared: format " + std::to_string(format) +
                             " is upgraded to " + std::to_string(kCatalogFormatVersion) +
                             " by the next writer");
  }
  CheckOrphans(connection, report, format);
  CheckFrames(connection, report, "ClippingDataType");
  if (format >= 5) CheckFrames(connection, report, "ClippingVersionData");
  return report;
}

}  // namespace clipcat
