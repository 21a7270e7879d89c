#include "store/schema_description.h"

#include <utility>

#include "store/postgres_schema.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat {
namespace {

constexpr ColumnKind kLong = ColumnKind::kLong;
constexpr ColumnKind kInteger = ColumnKind::kInteger;
constexpr ColumnKind kBoolean = ColumnKind::kBoolean;
constexpr ColumnKind kText = ColumnKind::kText;
constexpr ColumnKind kCaseSensitiveText = ColumnKind::kCaseSensitiveText;
constexpr ColumnKind kDateTime = ColumnKind::kDateTime;
constexpr ColumnKind kBinary = ColumnKind::kBinary;
constexpr ColumnKind kIdentity = ColumnKind::kIdentity;
constexpr ColumnKind kServerSearchDocument = ColumnKind::kServerSearchDocument;

IndexDescription Index(std::string_view name, std::vector<std::string_view> columns) {
  return {name, std::move(columns)};
}

IndexDescription UniqueIndex(std::string_view name, std::vector<std::string_view> columns) {
  return {name, std::move(columns), true};
}

IndexDescription InvertedIndex(std::string_view name, std::string_view column) {
  return {name, {column}, false, false, true};
}

IndexDescription FoldedIndex(std::string_view name, std::string_view column) {
  return {name, {column}, false, true};
}

// A key generator: a new key is drawn by adding a row with a fresh GUID, reading its lID back by
// that GUID and deleting the row, so that the table is empty between draws. The identity column
// never hands a key out twice, even to concurrent sessions.
TableDescription KeyGenerator(std::string_view name, std::string_view guid_index) {
  return {name, {{"lID", kIdentity}, {"sGUID", kText}}, "lID", {Index(guid_index, {"sGUID"})}};
}

SchemaDescription* MakeCatalogSchema() {
  return new SchemaDescription{
      kCatalogFormatVersion,
      {
          {"Folder",
           {{"lFolderID", kLong},
            {"sGUID", kText},
            {"lParentID", kLong, 0},
            {"sName", kText},
            {"sDescription", kText},
            {"lExternalCatalogId", kLong, 0},
            {"bIsLeaf", kBoolean, 1},
            {"bIsOffline", kBoolean, 0},
            {"iStatus", kInteger, 1},
            {"tUpdated", kDateTime}},
           "lFolderID",
           {Index("ixFolder_lParentID", {"lParentID"}),
            Index("ixFolder_lExternalCatalogId", {"lExternalCatalogId"}),
            // A name under its parent: the name checks of every add and rename.
            Index("ixFolder_sName_lParentID", {"sName", "lParentID"}),
            Index("ixFolder_iStatus", {"iStatus"}), Index("ixFolder_tUpdated", {"tUpdated"}),
            FoldedIndex("ixFolder_sName_Folded", "sName")}},

          {"Clipping",
           {{"lClippingID", kLong},
            {"lFolderID", kLong},
            {"sGUID", kText},
            {"sName", kText},
            {"sDescription", kText},
            {"iClippingStatus", kInteger, 1},
            {"tUpdated", kDateTime}},
           "lClippingID",
           {Index("ixClipping_lFolderID", {"lFolderID"}), Index("ixClipping_sGUID", {"sGUID"}),
            Index("ixClipping_sName_lFolderID", {"sName", "lFolderID"}),
            Index("ixClipping_sDescription", {"sDescription"}),
            Index("ixClipping_iClippingStatus", {"iClippingStatus"}),
            FoldedIndex("ixClipping_sName_Folded", "sName"),
            FoldedIndex("ixClipping_sDescription_Folded", "sDescription")}},

          {"ClippingDataType",
           {{"lClippingID", kLong},
            {"lDataTypeId", kLong},
            {"bIsCompressed", kBoolean, 0},
            {"ClippingData", kBinary}},
           "",
           {Index("ixClippingDataType_lClippingID", {"lClippingID"})}},

          {"GroupClipping",
           {{"lGroupClippingID", kLong},
            {"lGroupCategoryID", kLong, 1},
            {"sName", kText},
            {"sDescription", kText},
            {"iSortOrder", kInteger, 0},
            {"iStatus", kInteger, 1},
            {"tUpdated", kDateTime}},
           "lGroupClippingID",
           {Index("ixGroupClipping_lGroupCategoryID", {"lGroupCategoryID"}),
            Index("ixGroupClipping_sName", {"sName"}),
            Index("ixGroupClipping_tUpdated", {"tUpdated"}),
            FoldedIndex("ixGroupClipping_sName_Folded", "sName")}},

          // A clipping belongs to a category at most once.
          {"ClippingGroupClipping",
           {{"lClippingId", kLong},
            {"lGroupClippingId", kLong},
            {"iSortOrder", kInteger, 0},
            {"tActiveStart", kDateTime},
            {"tActiveEnd", kDateTime}},
           "",
           {UniqueIndex("ixClippingGroupClipping_Member", {"lClippingId", "lGroupClippingId"}),
            Index("ixClippingGroupClipping_lGroupClippingId", {"lGroupClippingId"})}},

          // One row per clipping id (format 2).
          {"AccessHistory",
           {{"sClippingGUID", kText},
            {"lExternalCatalogId", kLong, 0},
            {"sClippingId", kText},
            {"sName", kText},
            {"bIsFavorite", kBoolean, 0},
            {"lAccessCount", kLong, 0},
            {"tDateLastAccessed", kDateTime}},
           "",
           {Index("ixAccessHistory_sClippingGUID", {"sClippingGUID"}),
            UniqueIndex("ixAccessHistory_sClippingId", {"sClippingId"}),
            Index("ixAccessHistory_tDateLastAccessed", {"tDateLastAccessed"})}},

          // The content index's text, one row per clipping, whatever its status (format 4).
          {"ClippingText",
           {{"lClippingID", kLong},
            {"sName", kCaseSensitiveText},
            {"sDescription", kCaseSensitiveText},
            {"sText", kCaseSensitiveText},
            {"vDocument", kServerSearchDocument}},
           "lClippingID",
           {InvertedIndex("ixClippingText_vDocument", "vDocument")}},
          {"ExternalCatalog",
           {{"lExternalCatalogID", kLong},
            {"sGUID", kText},
            {"sConnectString", kText},
            {"bIsOnline", kBoolean, 1},
            {"iConnectionSpeed", kInteger, 0}},
           "lExternalCatalogID",
           {}},

          {"CatalogProperties",
           {{"sCatalogProperty", kText}, {"sValue", kCaseSensitiveText}},
           "sCatalogProperty",
           {}},

          // Folders and clippings draw their keys from one generator.
          KeyGenerator("FolderIDGenerator", "ixFolderIDGenerator_sGUID"),
          KeyGenerator("GroupClippingIDGenerator", "ixGroupClippingIDGenerator_sGUID"),
          KeyGenerator("ExternalCatalogIDGenerator", "ixExternalCatalogIDGenerator_sGUID"),

          // Earlier states of clippings (format 5): version lVersion of clipping lClippingID is
          // the name, description and items it had before the change saved at tSaved by
          // sSavedBy. The items are ClippingDataType rows as they were, compressed alike.
          {"ClippingVersion",
           {{"lClippingID", kLong},
            {"lVersion", kLong},
            {"tSaved", kDateTime},
            {"sSavedBy", kCaseSensitiveText},
            {"sName", kCaseSensitiveText},
            {"sDescription", kCaseSensitiveText}},
           "",
           {UniqueIndex("ixClippingVersion_Version", {"lClippingID", "lVersion"})}},
          {"ClippingVersionData",
           {{"lClippingID", kLong},
            {"lVersion", kLong},
            {"lDataTypeId", kLong},
            {"bIsCompressed", kBoolean, 0},
            {"ClippingData", kBinary}},
           "",
           {Index("ixClippingVersionData_Version", {"lClippingID", "lVersion"})}},

          // The trash (format 5): one row per folder or clipping marked deleted, saying which
          // delete took it (lDeletionRootID, the item that delete was asked for), when, by whom,
          // its status before, and a clipping's categories (their keys, comma-separated), so that
          // a restore gives back what the delete took.
          {"DeletedItem",
           {{"lItemID", kLong},
            {"bIsFolder", kBoolean, 0},
            {"lDeletionRootID", kLong},
            {"tDeleted", kDateTime},
            {"sDeletedBy", kCaseSensitiveText},
            {"iPreviousStatus", kInteger, 1},
            {"sCategoryIDs", kCaseSensitiveText}},
           "lItemID",
           {Index("ixDeletedItem_lDeletionRootID", {"lDeletionRootID"})}},
      }};
}

std::string DefaultClause(const ColumnDescription& column, SchemaEngine engine) {
  if (!column.default_value) return "";
  const int32_t value = *column.default_value;
  if (column.kind == ColumnKind::kBoolean && engine == SchemaEngine::kPostgres) {
    return value != 0 ? " DEFAULT TRUE" : " DEFAULT FALSE";
  }
  return " DEFAULT " + std::to_string(value);
}

}  // namespace

const TableDescription* SchemaDescription::FindTable(std::string_view name) const {
  for (const TableDescription& table : tables) {
    if (EqualsIgnoreCase(table.name, name)) return &table;
  }
  return nullptr;
}

const SchemaDescription& CatalogSchema() {
  static const SchemaDescription* const schema = MakeCatalogSchema();
  return *schema;
}

std::string ColumnType(ColumnKind kind, SchemaEngine engine) {
  const bool sqlite = engine == SchemaEngine::kSqlite;
  switch (kind) {
    case ColumnKind::kLong:
      return sqlite ? "INTEGER" : "integer";
    case ColumnKind::kInteger:
      return sqlite ? "SMALLINT" : "smallint";
    case ColumnKind::kBoolean:
      return sqlite ? "BOOLEAN" : "boolean";
    case ColumnKind::kText:
      // citext with the "C" collation compares ASCII letters without regard to case even in
      // statements the backend does not rewrite; the dialect folds the rest (postgres_dialect.h),
      // as the catalog connection's NOCASE does on SQLite (sqlite_functions.h).
      return sqlite ? "TEXT COLLATE NOCASE" : "citext COLLATE \"C\"";
    case ColumnKind::kCaseSensitiveText:
      return sqlite ? "TEXT" : "text";
    case ColumnKind::kDateTime:
      // SQLite has no date type: the backend stores ISO text, which sorts in time order, in the
      // columns declared so.
      return sqlite ? "DATETIME" : "timestamp(0)";
    case ColumnKind::kBinary:
      return sqlite ? "BLOB" : "bytea";
    case ColumnKind::kServerSearchDocument:
      return sqlite ? "" : "tsvector";
    case ColumnKind::kIdentity:
      // AUTOINCREMENT makes SQLite remember the highest key in sqlite_sequence (it follows the
      // PRIMARY KEY clause); a sequence never goes back either.
      return sqlite ? "INTEGER" : "integer GENERATED BY DEFAULT AS IDENTITY";
  }
  return {};
}

std::string CreateTableStatement(const TableDescription& table, SchemaEngine engine) {
  std::string sql = "CREATE TABLE " + std::string(table.name) + " (";
  for (size_t i = 0; i < table.columns.size(); ++i) {
    const ColumnDescription& column = table.columns[i];
    if (ColumnType(column.kind, engine).empty()) continue;
    sql += (i == 0 ? " " : ", ") + std::string(column.name) + " " +
           ColumnType(column.kind, engine) + DefaultClause(column, engine);
    if (column.name == table.primary_key) {
      sql += " PRIMARY KEY";
      if (column.kind == ColumnKind::kIdentity && engine == SchemaEngine::kSqlite) {
        sql += " AUTOINCREMENT";
      }
    }
  }
  return sql + ")";
}

std::string CreateIndexStatement(const TableDescription& table, const IndexDescription& index) {
  std::string sql = std::string(index.unique ? "CREATE UNIQUE INDEX " : "CREATE INDEX ") +
                    std::string(index.name) + " ON " + std::string(table.name) +
                    (index.inverted ? " USING gin (" : " (");
  for (size_t i = 0; i < index.columns.size(); ++i) {
    const std::string column(index.columns[i]);
    sql += (i == 0 ? "" : ", ") +
           (index.folded ? std::string(kPostgresFoldFunction) + "(" + column + ")" : column);
  }
  return sql + ")";
}

std::string CreateIndexStatement(std::string_view name, SchemaEngine engine) {
  for (const TableDescription& table : CatalogSchema().tables) {
    for (const IndexDescription& index : table.indexes) {
      if (index.name != name) continue;
      if ((index.folded || index.inverted) && engine != SchemaEngine::kPostgres) break;
      return CreateIndexStatement(table, index);
    }
  }
  throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                        "A catalog on this engine has no index named " + std::string(name) + ".");
}

std::vector<std::string> CreateTablesStatements(SchemaEngine engine) {
  std::vector<std::string> statements;
  for (const TableDescription& table : CatalogSchema().tables) {
    statements.push_back(CreateTableStatement(table, engine));
    for (const IndexDescription& index : table.indexes) {
      if (index.folded) continue;
      if (index.inverted && engine != SchemaEngine::kPostgres) continue;
      statements.push_back(CreateIndexStatement(table, index));
    }
  }
  return statements;
}

std::vector<std::string> CreateContentIndexStatements(SchemaEngine engine) {
  if (engine != SchemaEngine::kSqlite) return {};
  const std::string index(kContentIndexTable);
  const std::string text(kContentTextTable);
  // Words are runs of letters and digits, case and diacritics ignored; prefixes of two and three
  // characters have index entries of their own, so that short prefix searches stay fast. The
  // triggers hand the index the old row's values to remove, which FTS5 needs for a table whose
  // text lives elsewhere.
  const std::string remove_old = "INSERT INTO " + index + " (" + index +
                                 ", rowid, sName, sDescription, sText) VALUES ('delete', "
                                 "old.lClippingID, old.sName, old.sDescription, old.sText);";
  const std::string add_new = "INSERT INTO " + index +
                              " (rowid, sName, sDescription, sText) VALUES (new.lClippingID, "
                              "new.sName, new.sDescription, new.sText);";
  return {
      "CREATE VIRTUAL TABLE " + index + " USING fts5(sName, sDescription, sText, content='" + text +
          "', content_rowid='lClippingID', tokenize='unicode61 remove_diacritics 2', "
          "prefix='2 3')",
      "CREATE TRIGGER " + text + "_Insert AFTER INSERT ON " + text + " BEGIN " + add_new + " END",
      "CREATE TRIGGER " + text + "_Delete AFTER DELETE ON " + text + " BEGIN " + remove_old +
          " END",
      "CREATE TRIGGER " + text + "_Update AFTER UPDATE ON " + text + " BEGIN " + remove_old + " " +
          add_new + " END"};
}

std::vector<std::string> DropContentIndexStatements(SchemaEngine engine) {
  if (engine != SchemaEngine::kSqlite) return {};
  const std::string text(kContentTextTable);
  return {"DROP TRIGGER IF EXISTS " + text + "_Insert",
          "DROP TRIGGER IF EXISTS " + text + "_Delete",
          "DROP TRIGGER IF EXISTS " + text + "_Update",
          "DROP TABLE IF EXISTS " + std::string(kContentIndexTable)};
}

std::vector<std::string_view> FoldedIndexNames() {
  std::vector<std::string_view> names;
  for (const TableDescription& table : CatalogSchema().tables) {
    for (const IndexDescription& index : table.indexes) {
      if (index.folded) names.push_back(index.name);
    }
  }
  return names;
}

}  // namespace clipcat
