#include "store/case_fold_upgrade.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <string_view>
#include <utility>

#include "engine/case_folding.h"
#include "engine/db_connection.h"
#include "engine/sqlite_session.h"
#include "store/postgres_schema.h"
#include "store/schema_description.h"
#include "util/values.h"

namespace clipcat {
namespace {

struct NamedRow {
  int32_t key;
  std::string name;
};

// The rows of `sql` (columns lKey, lParent, sName) with a name, by parent key and folded name.
std::map<std::pair<int32_t, std::string>, std::vector<NamedRow>> RowsByFoldedName(
    DBConnection& connection, const std::string& sql) {
  std::map<std::pair<int32_t, std::string>, std::vector<NamedRow>> groups;
  Recordset rs = connection.GetRecordsetRO(sql);
  for (; !rs.Eof(); rs.MoveNext()) {
    if (rs.IsNull("sName")) continue;
    std::string name = rs.Value("sName").ToText();
    const int32_t parent = ToLongOr(rs.Value("lParent"), 0);
    groups[{parent, FoldCase(name)}].push_back({ToLongOr(rs.Value("lKey"), 0), std::move(name)});
  }
  rs.Close();
  return groups;
}

// One note for each group of more than one row, `lead` saying where they are.
void ReportGroups(const std::map<std::pair<int32_t, std::string>, std::vector<NamedRow>>& groups,
                  const std::function<std::string(int32_t parent)>& lead,
                  std::vector<std::string>& notes) {
  std::vector<std::pair<std::pair<int32_t, int32_t>, std::string>> found;
  for (const auto& [where, rows] : groups) {
    if (rows.size() < 2) continue;
    std::vector<NamedRow> sorted = rows;
    std::sort(sorted.begin(), sorted.end(),
              [](const NamedRow& a, const NamedRow& b) { return a.key < b.key; });
    std::string note = lead(where.first) + " whose names differ only in case: ";
    for (size_t i = 0; i < sorted.size(); ++i) {
      note +=
          (i == 0 ? "\"" : ", \"") + sorted[i].name + "\" (" + std::to_string(sorted[i].key) + ")";
    }
    found.push_back({{where.first, sorted.front().key}, note + "."});
  }
  std::sort(found.begin(), found.end());
  for (auto& [order, note] : found) notes.push_back(std::move(note));
}

}  // namespace

void ReportCaseFoldingClashes(DBConnection& connection, std::vector<std::string>& notes) {
  // The deleted statuses are those the name checks leave out (folder_ops.cpp, clipping_ops.cpp);
  // categories have none.
  ReportGroups(
      RowsByFoldedName(connection,
                       "SELECT lFolderID AS lKey, lParentID AS lParent, sName FROM Folder"
                       " WHERE iStatus <> 3"),
      [](int32_t parent) {
        return parent == 0 ? std::string("Folders at the top")
                           : "Folders under folder " + std::to_string(parent);
      },
      notes);
  ReportGroups(
      RowsByFoldedName(connection,
                       "SELECT lClippingID AS lKey, lFolderID AS lParent, sName"
                       " FROM Clipping WHERE iClippingStatus <> 4"),
      [](int32_t parent) { return "Clippings in folder " + std::to_string(parent); }, notes);
  ReportGroups(
      RowsByFoldedName(connection,
                       "SELECT lGroupClippingID AS lKey, 0 AS lParent, sName"
                       " FROM GroupClipping WHERE lGroupCategoryId = 1"),
      [](int32_t) { return std::string("Categories"); }, notes);
}

void UpgradeCaseFolding(DBConnection& connection, std::vector<std::string>& notes) {
  if (connection.EngineName() == kSqliteSource) {
    UpgradeSqliteCaseFolding(connection, notes);
  } else {
    UpgradePostgresCaseFolding(connection, notes);
  }
}

void UpgradeSqliteCaseFolding(DBConnection& connection, std::vector<std::string>& notes) {
  // Every index whose key is a NOCASE column, the unique ones included.
  connection.ExecuteSQL("REINDEX NOCASE");
  ReportCaseFoldingClashes(connection, notes);
}

void UpgradePostgresCaseFolding(DBConnection& connection, std::vector<std::string>& notes) {
  Recordset encoding =
      connection.GetRecordsetRO("SELECT pg_catalog.getdatabaseencoding() AS sEncoding");
  RequireUtf8Database(encoding.Value("sEncoding").ToText());
  encoding.Close();
  connection.ExecuteSQL(PostgresFoldFunctionStatement());
  for (std::string_view index : FoldedIndexNames()) {
    connection.ExecuteSQL("DROP INDEX IF EXISTS " + std::string(index));
    connection.ExecuteSQL(CreateIndexStatement(index, SchemaEngine::kPostgres));
  }
  ReportCaseFoldingClashes(connection, notes);
}

}  // namespace clipcat
