#include "store/catalog_upgrade.h"

#include <iterator>
#include <string_view>
#include <utility>

#include "engine/db_connection.h"
#include "engine/sqlite_session.h"
#include "store/case_fold_upgrade.h"
#include "store/catalog_schema.h"
#include "store/content_index.h"
#include "store/schema_description.h"
#include "store/transaction_internal.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat {
namespace {

using Notes = std::vector<std::string>;

bool IsSqlite(DBConnection& connection) { return connection.EngineName() == kSqliteSource; }

// Format 2: one history row per clipping id. Rows that concurrent writers of earlier versions
// added twice for one clipping are merged (counts summed, the latest access kept) before the
// index that keeps it so is made unique.
void MergeHistoryRows(DBConnection& connection, Notes& notes) {
  Recordset twice = connection.GetRecordsetRO(
      "SELECT sClippingID, COUNT(*) AS lRows FROM AccessHistory WHERE sClippingID IS NOT NULL"
      " GROUP BY sClippingID HAVING COUNT(*) > 1");
  for (; !twice.Eof(); twice.MoveNext()) {
    notes.push_back("The access history held " + ToTextOr(twice.Value("lRows"), "?") +
                    " rows for clipping " + ToTextOr(twice.Value("sClippingID"), "?") +
                    "; they were merged into one.");
  }
  twice.Close();
  if (IsSqlite(connection)) {
    connection.ExecuteSQL(
        "UPDATE AccessHistory SET"
        " lAccessCount = (SELECT MIN(SUM(h.lAccessCount), 2147483647) FROM AccessHistory AS h"
        " WHERE h.sClippingID = AccessHistory.sClippingID),"
        " tDateLastAccessed = (SELECT MAX(h.tDateLastAccessed) FROM AccessHistory AS h"
        " WHERE h.sClippingID = AccessHistory.sClippingID)"
        " WHERE sClippingID IN (SELECT sClippingID FROM AccessHistory"
        " GROUP BY sClippingID HAVING COUNT(*) > 1)");
    connection.ExecuteSQL(
        "DELETE FROM AccessHistory WHERE sClippingID IS NOT NULL AND rowid NOT IN"
        " (SELECT MIN(rowid) FROM AccessHistory WHERE sClippingID IS NOT NULL"
        " GROUP BY sClippingID)");
  } else {
    connection.ExecuteSQL(
        "UPDATE AccessHistory AS a SET lAccessCount = m.lTotal, tDateLastAccessed = m.tLast"
        " FROM (SELECT sClippingID AS sID, LEAST(SUM(lAccessCount), 2147483647) AS lTotal,"
        " MAX(tDateLastAccessed) AS tLast FROM AccessHistory"
        " GROUP BY sClippingID HAVING COUNT(*) > 1) AS m"
        " WHERE a.sClippingID = m.sID");
    connection.ExecuteSQL(
        "DELETE FROM AccessHistory AS a USING AccessHistory AS b"
        " WHERE a.sClippingID = b.sClippingID AND a.ctid > b.ctid");
  }
  connection.ExecuteSQL("DROP INDEX IF EXISTS ixAccessHistory_sClippingId");
  connection.ExecuteSQL(
      CreateIndexStatement("ixAccessHistory_sClippingId",
                           IsSqlite(connection) ? SchemaEngine::kSqlite : SchemaEngine::kPostgres));
}

ProgressCallback& UpgradeProgress() {
  static ProgressCallback progress;
  return progress;
}

// Format 4: the content index, made from every clipping.
void MakeContentIndex(DBConnection& connection, Notes& /*notes*/) {
  BuildContentIndex(connection, UpgradeProgress());
}

bool HasTable(DBConnection& connection, std::string_view name);

// Format 5: the tables of clipping versions and of the trash, empty. Clippings deleted before
// have no trash row; the trash shows them with their time unknown (store/trash.cpp).
void MakeHistoryTables(DBConnection& connection, Notes& /*notes*/) {
  const SchemaEngine engine =
      IsSqlite(connection) ? SchemaEngine::kSqlite : SchemaEngine::kPostgres;
  for (const std::string_view name : {"ClippingVersion", "ClippingVersionData", "DeletedItem"}) {
    if (HasTable(connection, name)) continue;  // a step run once already left it
    const TableDescription* table = CatalogSchema().FindTable(name);
    connection.ExecuteSQL(CreateTableStatement(*table, engine));
    for (const IndexDescription& index : table->indexes) {
      connection.ExecuteSQL(CreateIndexStatement(*table, index));
    }
  }
}

// Format 6: names are indexed under their parent, so that the name check of an add or a rename
// is one probe however many items share a folder (with the name alone, or the folder alone, the
// engine may read every clipping of the folder).
void IndexNamesUnderParents(DBConnection& connection, Notes& /*notes*/) {
  const SchemaEngine engine =
      IsSqlite(connection) ? SchemaEngine::kSqlite : SchemaEngine::kPostgres;
  connection.ExecuteSQL("DROP INDEX IF EXISTS ixFolder_sName");
  connection.ExecuteSQL("DROP INDEX IF EXISTS ixClipping_sName");
  for (const std::string_view name : {"ixFolder_sName_lParentID", "ixClipping_sName_lFolderID"}) {
    connection.ExecuteSQL("DROP INDEX IF EXISTS " + std::string(name));  // a step run once
    connection.ExecuteSQL(CreateIndexStatement(name, engine));
  }
}

struct UpgradeStep {
  int version;  // the format the catalog has after the step
  void (*run)(DBConnection&, Notes&);
};

constexpr UpgradeStep kSteps[] = {
    {2, MergeHistoryRows}, {3, UpgradeCaseFolding},  // names compare by Unicode simple case folding
    {4, MakeContentIndex}, {5, MakeHistoryTables},  {6, IndexNamesUnderParents},
};

static_assert(kSteps[std::size(kSteps) - 1].version == kCatalogFormatVersion,
              "every format version has its upgrade step");

void WriteProperty(DBConnection& connection, std::string_view name, const std::string& value) {
  const std::string key = SqlText(Variant(std::string(name)));
  connection.ExecuteSQL("DELETE FROM CatalogProperties WHERE sCatalogProperty=" + key);
  connection.ExecuteSQL("INSERT INTO CatalogProperties (sCatalogProperty, sValue) VALUES (" + key +
                        ", " + SqlText(Variant(value)) + ")");
}

std::string ReadProperty(DBConnection& connection, std::string_view name) {
  Recordset rs =
      connection.GetRecordsetRO("SELECT sValue FROM CatalogProperties WHERE sCatalogProperty=" +
                                SqlText(Variant(std::string(name))));
  std::string value = rs.Eof() ? "" : ToTextOr(rs.Value("sValue"), "");
  rs.Close();
  return value;
}

bool HasTable(DBConnection& connection, std::string_view name) {
  const std::string text = SqlText(Variant(std::string(name)));
  const std::string query =
      IsSqlite(connection)
          ? "SELECT name FROM sqlite_schema WHERE type = 'table' AND name = " + text +
                " COLLATE NOCASE"
          : "SELECT c.relname FROM pg_catalog.pg_class AS c JOIN pg_catalog.pg_namespace AS n"
            " ON n.oid = c.relnamespace WHERE n.nspname = pg_catalog.current_schema()"
            " AND c.relname = lower(" +
                text + ")";
  Recordset rs = connection.GetRecordsetRO(query);
  const bool found = !rs.Eof();
  rs.Close();
  return found;
}

}  // namespace

void SetUpgradeProgress(ProgressCallback progress) { UpgradeProgress() = std::move(progress); }

int CatalogFormatVersion(DBConnection& connection) {
  // Every open of a catalog asks this, so the common case is one query; only a failing one asks
  // whether the connection holds a catalog at all.
  std::string text;
  try {
    text = ReadProperty(connection, kCatalogPropertyFormatVersion);
  } catch (const AutomationError&) {
    if (!HasTable(connection, "CatalogProperties")) return 0;
    throw;
  }
  const int32_t version = ToLongOr(Variant(text), 1);
  return version >= 1 ? version : 1;
}

std::vector<std::string> UpgradeCatalog(DBConnection& connection) {
  const int found = CatalogFormatVersion(connection);
  if (found == 0 || found >= kCatalogFormatVersion) return {};
  Notes notes;
  try {
    InTransaction(connection, [&] {
      // Another process may have upgraded the catalog while this one waited for the lock.
      const int version = CatalogFormatVersion(connection);
      for (const UpgradeStep& step : kSteps) {
        if (step.version > version) step.run(connection, notes);
      }
      if (version >= kCatalogFormatVersion) return;
      WriteProperty(connection, kCatalogPropertyFormatVersion,
                    std::to_string(kCatalogFormatVersion));
      if (IsSqlite(connection)) {
        connection.ExecuteSQL("PRAGMA user_version = " + std::to_string(kCatalogFormatVersion));
      }
      if (!notes.empty()) {
        std::string all = ReadProperty(connection, kCatalogPropertyUpgradeNotes);
        for (const std::string& note : notes) all += (all.empty() ? "" : "\n") + note;
        WriteProperty(connection, kCatalogPropertyUpgradeNotes, all);
      }
    });
  } catch (const AutomationError&) {
    // The catalog stays as it was, readable as before; see the header.
    return {};
  }
  return notes;
}

}  // namespace clipcat
