// A catalog made on either engine, new or upgraded from the first format, has exactly the tables,
// columns and indexes of the schema description, as the engine itself reports them: every one of
// them with the engine's type, collation and default for its kind, and nothing else.
#include "store/schema_description.h"

#include <gtest/gtest.h>
#include <libpq-fe.h>
#include <sqlite3.h>

#include <algorithm>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "engine/db_connection.h"
#include "store/catalog_schema.h"
#include "store/data_access.h"
#include "support/postgres_test_server.h"
#include "temp_catalog.h"
#include "util/error_of.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat::testing {
namespace {

using Row = std::vector<std::string>;

// One fact a line ("table Folder", "column Folder#2 sGUID TEXT collate NOCASE default NULL",
// "unique index AccessHistory.ixAccessHistory_sClippingId (sClippingId)"), sorted, so that a
// difference shows as the lines that differ.
using Facts = std::vector<std::string>;

Facts Sorted(Facts facts) {
  std::sort(facts.begin(), facts.end());
  return facts;
}

// The facts `expected` has and `actual` lacks, each led by "missing: ", then those `actual` has
// besides, by "unexpected: "; empty when they agree. Both sorted.
Facts Difference(const Facts& actual, const Facts& expected) {
  Facts missing, unexpected, all;
  std::set_difference(expected.begin(), expected.end(), actual.begin(), actual.end(),
                      std::back_inserter(missing));
  std::set_difference(actual.begin(), actual.end(), expected.begin(), expected.end(),
                      std::back_inserter(unexpected));
  for (const std::string& fact : missing) all.push_back("missing: " + fact);
  for (const std::string& fact : unexpected) all.push_back("unexpected: " + fact);
  return all;
}

// What each engine is expected to report for a column of `kind`: its type and collation, and
// the clause that says how it is numbered. Written out here rather than taken from the code
// that makes the statements, so that a wrong mapping there shows.
struct EngineColumn {
  std::string type;
  std::string collation;
  std::string numbering;
};

EngineColumn SqliteColumn(ColumnKind kind) {
  switch (kind) {
    case ColumnKind::kLong:
      return {"INTEGER", "BINARY", ""};
    case ColumnKind::kInteger:
      return {"SMALLINT", "BINARY", ""};
    case ColumnKind::kBoolean:
      return {"BOOLEAN", "BINARY", ""};
    case ColumnKind::kText:
      return {"TEXT", "NOCASE", ""};
    case ColumnKind::kCaseSensitiveText:
      return {"TEXT", "BINARY", ""};
    case ColumnKind::kDateTime:
      return {"DATETIME", "BINARY", ""};
    case ColumnKind::kBinary:
      return {"BLOB", "BINARY", ""};
    case ColumnKind::kIdentity:
      return {"INTEGER", "BINARY", " autoincrement"};
    case ColumnKind::kServerSearchDocument:
      return {};  // not a column on SQLite
  }
  return {};
}

EngineColumn PostgresColumn(ColumnKind kind) {
  switch (kind) {
    case ColumnKind::kLong:
      return {"integer", "NULL", ""};
    case ColumnKind::kInteger:
      return {"smallint", "NULL", ""};
    case ColumnKind::kBoolean:
      return {"boolean", "NULL", ""};
    case ColumnKind::kText:
      return {"citext", "C", ""};
    case ColumnKind::kCaseSensitiveText:
      return {"text", "NULL", ""};
    case ColumnKind::kDateTime:
      return {"timestamp without time zone(0)", "NULL", ""};
    case ColumnKind::kBinary:
      return {"bytea", "NULL", ""};
    case ColumnKind::kIdentity:
      return {"integer", "NULL", " identity BY DEFAULT"};
    case ColumnKind::kServerSearchDocument:
      return {"tsvector", "NULL", ""};
  }
  return {};
}

std::string Joined(const std::vector<std::string>& items) {
  std::string text;
  for (const std::string& item : items) text += (text.empty() ? "" : ", ") + item;
  return text;
}

// The facts the description gives for `engine`. PostgreSQL reports names in lower case.
Facts DescribedFacts(SchemaEngine engine) {
  const bool sqlite = engine == SchemaEngine::kSqlite;
  const auto name = [&](std::string_view text) {
    return sqlite ? std::string(text) : ToLowerAscii(text);
  };
  Facts facts;
  for (const TableDescription& table : CatalogSchema().tables) {
    const std::string t = name(table.name);
    facts.push_back("table " + t);
    for (size_t i = 0; i < table.columns.size(); ++i) {
      const ColumnDescription& column = table.columns[i];
      const EngineColumn expected =
          sqlite ? SqliteColumn(column.kind) : PostgresColumn(column.kind);
      if (expected.type.empty()) continue;
      std::string default_value = "NULL";
      if (column.default_value) {
        default_value = std::to_string(*column.default_value);
        if (!sqlite && column.kind == ColumnKind::kBoolean) {
          default_value = *column.default_value != 0 ? "true" : "false";
        }
      }
      const bool key = column.name == table.primary_key;
      facts.push_back("column " + t + "#" + std::to_string(i + 1) + " " + name(column.name) + " " +
                      expected.type + " collate " + expected.collation + " default " +
                      default_value + (key ? " primary key" : "") + expected.numbering);
    }
    // SQLite keeps an integer primary key as the row id, without an index; any other primary
    // key, and every one on PostgreSQL, has an index of its own.
    const ColumnDescription* key = nullptr;
    for (const ColumnDescription& column : table.columns) {
      if (column.name == table.primary_key) key = &column;
    }
    if (key != nullptr && (!sqlite || SqliteColumn(key->kind).type != "INTEGER")) {
      facts.push_back("primary key index " + t + " (" + name(key->name) + ")");
    }
    for (const IndexDescription& index : table.indexes) {
      if ((index.folded || index.inverted) && sqlite) continue;
      std::vector<std::string> columns;
      for (std::string_view column : index.columns) {
        columns.push_back(index.folded ? "clipcat_fold(" + name(column) + ")" : name(column));
      }
      facts.push_back(std::string(index.unique ? "unique " : "") + "index " + t + "." +
                      name(index.name) + " (" + Joined(columns) + ")");
    }
  }
  if (sqlite) {
    // The content index: an FTS5 table over ClippingText with the tables FTS5 keeps its index
    // in, and the triggers that keep it in step.
    for (const char* table :
         {"ClippingTextIndex", "ClippingTextIndex_data", "ClippingTextIndex_idx",
          "ClippingTextIndex_docsize", "ClippingTextIndex_config"}) {
      facts.push_back(std::string("table ") + table);
    }
    for (const char* trigger :
         {"ClippingText_Insert", "ClippingText_Delete", "ClippingText_Update"}) {
      facts.push_back(std::string("trigger ") + trigger);
    }
  }
  return Sorted(facts);
}

// The rows of `sql` on the plain SQLite connection `db`, Null as "NULL".
std::vector<Row> SqliteRows(sqlite3* db, const std::string& sql) {
  sqlite3_stmt* stmt = nullptr;
  EXPECT_EQ(sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr), SQLITE_OK)
      << sql << ": " << sqlite3_errmsg(db);
  std::vector<Row> rows;
  while (stmt != nullptr && sqlite3_step(stmt) == SQLITE_ROW) {
    Row row;
    for (int i = 0; i < sqlite3_column_count(stmt); ++i) {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, i));
      row.emplace_back(text != nullptr ? text : "NULL");
    }
    rows.push_back(row);
  }
  sqlite3_finalize(stmt);
  return rows;
}

std::string Quoted(const std::string& name) { return "'" + ReplaceAll(name, "'", "''") + "'"; }

// The facts SQLite reports about the catalog file at `path`, read as the stock shell would.
Facts SqliteFacts(const std::string& path) {
  sqlite3* db = nullptr;
  EXPECT_EQ(sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  Facts facts;
  // Views and triggers have no place in a catalog; SQLite's own tables are left out.
  for (const Row& object :
       SqliteRows(db,
                  "SELECT type, name FROM sqlite_schema WHERE type NOT IN ('table', 'index')"
                  " OR (type = 'table' AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\')")) {
    const std::string& table = object[1];
    facts.push_back(object[0] + " " + table);
    // The content index's own tables are FTS5's business; their presence is the fact.
    if (object[0] != "table" || table.rfind("ClippingTextIndex", 0) == 0) continue;
    for (const Row& column :
         SqliteRows(db, "SELECT cid, name, type, dflt_value, pk FROM pragma_table_info(" +
                            Quoted(table) + ") ORDER BY cid")) {
      const char* collation = nullptr;
      int autoincrement = 0;
      EXPECT_EQ(sqlite3_table_column_metadata(db, "main", table.c_str(), column[1].c_str(), nullptr,
                                              &collation, nullptr, nullptr, &autoincrement),
                SQLITE_OK);
      facts.push_back("column " + table + "#" + std::to_string(std::stoi(column[0]) + 1) + " " +
                      column[1] + " " + column[2] + " collate " +
                      (collation != nullptr ? collation : "NULL") + " default " + column[3] +
                      (column[4] != "0" ? " primary key" : "") +
                      (autoincrement != 0 ? " autoincrement" : ""));
    }
    for (const Row& index : SqliteRows(db,
                                       "SELECT name, \"unique\", origin, partial FROM"
                                       " pragma_index_list(" +
                                           Quoted(table) + ")")) {
      std::vector<std::string> columns;
      for (const Row& key : SqliteRows(
               db, "SELECT name FROM pragma_index_info(" + Quoted(index[0]) + ") ORDER BY seqno")) {
        columns.push_back(key[0]);
      }
      std::string what;
      if (index[2] == "pk") {
        what = "primary key index " + table;
      } else {
        what = std::string(index[1] != "0" ? "unique " : "") +
               (index[2] == "c" ? "index " : "constraint " + index[2] + " ") + table + "." +
               index[0];
      }
      if (index[3] != "0") what += " partial";
      facts.push_back(what + " (" + Joined(columns) + ")");
    }
  }
  sqlite3_close(db);
  return Sorted(facts);
}

// The rows of `sql` on the PostgreSQL connection `conn`, Null as "NULL".
std::vector<Row> PostgresRows(PGconn* conn, const std::string& sql) {
  PGresult* result = PQexec(conn, sql.c_str());
  EXPECT_EQ(PQresultStatus(result), PGRES_TUPLES_OK) << sql << ": " << PQerrorMessage(conn);
  std::vector<Row> rows;
  for (int r = 0; r < PQntuples(result); ++r) {
    Row row;
    for (int c = 0; c < PQnfields(result); ++c) {
      row.emplace_back(PQgetisnull(result, r, c) != 0 ? "NULL" : PQgetvalue(result, r, c));
    }
    rows.push_back(row);
  }
  PQclear(result);
  return rows;
}

// The facts the server reports about the catalog in the current schema of `conninfo`.
Facts PostgresFacts(const std::string& conninfo) {
  PGconn* conn = PQconnectdb(conninfo.c_str());
  EXPECT_EQ(PQstatus(conn), CONNECTION_OK) << PQerrorMessage(conn);
  Facts facts;
  for (const Row& table :
       PostgresRows(conn,
                    "SELECT table_type, table_name FROM information_schema.tables"
                    " WHERE table_schema = current_schema()")) {
    facts.push_back((table[0] == "BASE TABLE" ? "table" : ToLowerAscii(table[0])) + " " + table[1]);
  }
  const std::set<std::string> keys = [&] {
    std::set<std::string> found;
    for (const Row& key : PostgresRows(
             conn,
             "SELECT k.table_name || '.' || k.column_name FROM"
             " information_schema.table_constraints AS c JOIN information_schema.key_column_usage"
             " AS k ON k.constraint_schema = c.constraint_schema AND k.constraint_name ="
             " c.constraint_name WHERE c.constraint_type = 'PRIMARY KEY'"
             " AND c.table_schema = current_schema()")) {
      found.insert(key[0]);
    }
    return found;
  }();
  for (const Row& column :
       PostgresRows(conn,
                    "SELECT table_name, ordinal_position, column_name, data_type, udt_name,"
                    " datetime_precision, collation_name, column_default, is_identity,"
                    " identity_generation FROM information_schema.columns"
                    " WHERE table_schema = current_schema()")) {
    std::string type = column[3] == "USER-DEFINED" ? column[4] : column[3];
    if (column[3].rfind("timestamp", 0) == 0) type += "(" + column[5] + ")";
    facts.push_back("column " + column[0] + "#" + column[1] + " " + column[2] + " " + type +
                    " collate " + column[6] + " default " + column[7] +
                    (keys.count(column[0] + "." + column[2]) > 0 ? " primary key" : "") +
                    (column[8] == "YES" ? " identity " + column[9] : ""));
  }
  // The key of "CREATE [UNIQUE] INDEX name ON table USING btree (key)", without the casts to
  // text that the server adds where a citext column goes into clipcat_fold.
  const std::regex definition(
      R"(^CREATE (UNIQUE )?INDEX \S+ ON \S+ USING (?:btree|gin) \((.*)\)$)");
  const std::regex cast(R"(\((\w+)\)::text)");
  for (const Row& index : PostgresRows(
           conn,
           "SELECT i.tablename, i.indexname, i.indexdef, x.indisprimary, x.indpred IS NOT NULL"
           " FROM pg_catalog.pg_indexes AS i JOIN pg_catalog.pg_namespace AS n"
           " ON n.nspname = i.schemaname JOIN pg_catalog.pg_class AS c"
           " ON c.relname = i.indexname AND c.relnamespace = n.oid"
           " JOIN pg_catalog.pg_index AS x ON x.indexrelid = c.oid"
           " WHERE i.schemaname = current_schema()")) {
    std::smatch parts;
    if (!std::regex_match(index[2], parts, definition)) {
      facts.push_back("index of another form: " + index[2]);
      continue;
    }
    std::string what = index[3] == "t" ? "primary key index " + index[0]
                                       : std::string(parts[1].matched ? "unique " : "") + "index " +
                                             index[0] + "." + index[1];
    if (index[4] == "t") what += " partial";
    facts.push_back(what + " (" + std::regex_replace(parts[2].str(), cast, "$1") + ")");
  }
  PQfinish(conn);
  return Sorted(facts);
}

bool IsPlainIdentifier(std::string_view name) {
  static const std::regex identifier("[A-Za-z_][A-Za-z0-9_]*");
  return std::regex_match(name.begin(), name.end(), identifier);
}

TEST(SchemaDescription, NamesArePlainAndUniqueAndIndexesKeyColumnsOfTheirTable) {
  const SchemaDescription& schema = CatalogSchema();
  EXPECT_EQ(schema.format_version, kCatalogFormatVersion);
  std::set<std::string> tables, indexes;
  size_t index_count = 0;
  for (const TableDescription& table : schema.tables) {
    SCOPED_TRACE(table.name);
    // The statements are made by pasting the names in: nothing but plain identifiers may go.
    EXPECT_TRUE(IsPlainIdentifier(table.name));
    EXPECT_TRUE(tables.insert(ToLowerAscii(table.name)).second) << "twice";
    EXPECT_EQ(schema.FindTable(ToUpperAscii(table.name)), &table);
    std::set<std::string> columns;
    for (const ColumnDescription& column : table.columns) {
      EXPECT_TRUE(IsPlainIdentifier(column.name)) << column.name;
      EXPECT_TRUE(columns.insert(ToLowerAscii(column.name)).second) << column.name;
      // An engine numbers a column only as the table's key.
      EXPECT_EQ(column.kind == ColumnKind::kIdentity && column.name != table.primary_key, false)
          << column.name;
      if (column.kind == ColumnKind::kBoolean && column.default_value) {
        EXPECT_TRUE(*column.default_value == 0 || *column.default_value == 1) << column.name;
      }
    }
    EXPECT_TRUE(table.primary_key.empty() || columns.count(ToLowerAscii(table.primary_key)) > 0);
    for (const IndexDescription& index : table.indexes) {
      ++index_count;
      EXPECT_TRUE(IsPlainIdentifier(index.name)) << index.name;
      EXPECT_TRUE(indexes.insert(ToLowerAscii(index.name)).second) << index.name;
      EXPECT_FALSE(index.columns.empty()) << index.name;
      for (std::string_view column : index.columns) {
        EXPECT_TRUE(columns.count(ToLowerAscii(column)) > 0) << index.name << " " << column;
      }
    }
  }
  EXPECT_EQ(schema.FindTable("NoSuchTable"), nullptr);
  EXPECT_EQ(schema.tables.size(), 15u);
  EXPECT_EQ(index_count, 30u);
  EXPECT_EQ(FoldedIndexNames(),
            (std::vector<std::string_view>{"ixFolder_sName_Folded", "ixClipping_sName_Folded",
                                           "ixClipping_sDescription_Folded",
                                           "ixGroupClipping_sName_Folded"}));
}

TEST(SchemaDescription, IndexesByNameAreOnlyThoseTheEngineHas) {
  for (SchemaEngine engine : {SchemaEngine::kSqlite, SchemaEngine::kPostgres}) {
    EXPECT_EQ(CreateIndexStatement("ixAccessHistory_sClippingId", engine),
              "CREATE UNIQUE INDEX ixAccessHistory_sClippingId ON AccessHistory (sClippingId)");
    EXPECT_EQ(ErrorOf([&] { CreateIndexStatement("ixNoSuchIndex", engine); }).number(),
              err::kInvalidProcedureCall);
    // Index names are matched exactly, as the statement spells them.
    EXPECT_EQ(
        ErrorOf([&] { CreateIndexStatement("ixaccesshistory_sclippingid; --", engine); }).number(),
        err::kInvalidProcedureCall);
  }
  EXPECT_EQ(CreateIndexStatement("ixClipping_sDescription_Folded", SchemaEngine::kPostgres),
            "CREATE INDEX ixClipping_sDescription_Folded ON Clipping"
            " (clipcat_fold(sDescription))");
  // SQLite has no clipcat_fold: its NOCASE collation folds in the plain indexes.
  EXPECT_EQ(ErrorOf([] {
              CreateIndexStatement("ixClipping_sDescription_Folded", SchemaEngine::kSqlite);
            }).number(),
            err::kInvalidProcedureCall);
  // Every index of a new catalog but the folded ones comes right after its table.
  for (SchemaEngine engine : {SchemaEngine::kSqlite, SchemaEngine::kPostgres}) {
    const std::vector<std::string> statements = CreateTablesStatements(engine);
    // The inverted index over the search document is PostgreSQL's alone.
    EXPECT_EQ(statements.size(), 15u + 30u - 4u - (engine == SchemaEngine::kSqlite ? 1u : 0u));
    EXPECT_EQ(statements.front().rfind("CREATE TABLE Folder (", 0), 0u);
    EXPECT_EQ(statements.back(),
              "CREATE INDEX ixDeletedItem_lDeletionRootID ON DeletedItem (lDeletionRootID)");
  }
}

// Turns a new catalog back into one of the first format: a plain index over the history's
// clipping ids, on a server no folding function and no folded indexes, and version 1.
void MakeFirstFormat(DBConnection& db, bool on_server) {
  db.ExecuteSQL("DROP INDEX ixAccessHistory_sClippingId");
  db.ExecuteSQL("CREATE INDEX ixAccessHistory_sClippingId ON AccessHistory (sClippingId)");
  db.ExecuteSQL("UPDATE CatalogProperties SET sValue='1' WHERE sCatalogProperty='FormatVersion'");
  if (on_server) {
    db.ExecuteSQL("DROP FUNCTION clipcat_fold CASCADE");
  } else {
    db.ExecuteSQL("PRAGMA user_version = 1");
  }
}

// The store's first open of the catalog, which upgrades it.
void OpenThroughTheStore(const std::string& connection_string) {
  DataAccessSQL access;
  access.SetConnectionString(connection_string);
  access.GetClippingsHistroy(1);
}

// A new catalog has exactly the described schema; one of the first format differs where the
// formats differ, and has it again once the store has upgraded it.
TEST(SchemaDescription, FileCatalogNewAndUpgradedHasExactlyTheDescribedSchema) {
  TempCatalog catalog;
  EXPECT_EQ(Difference(SqliteFacts(catalog.path()), DescribedFacts(SchemaEngine::kSqlite)),
            Facts{});
  {
    DBConnection db;
    db.OpenConnection(catalog.connection_string(), "", "");
    MakeFirstFormat(db, false);
  }
  // The first format's history index is not unique.
  EXPECT_EQ(Difference(SqliteFacts(catalog.path()), DescribedFacts(SchemaEngine::kSqlite)),
            (Facts{"missing: unique index AccessHistory.ixAccessHistory_sClippingId (sClippingId)",
                   "unexpected: index AccessHistory.ixAccessHistory_sClippingId (sClippingId)"}));
  OpenThroughTheStore(catalog.connection_string());
  EXPECT_EQ(Difference(SqliteFacts(catalog.path()), DescribedFacts(SchemaEngine::kSqlite)),
            Facts{});
}

TEST(SchemaDescription, ServerCatalogNewAndUpgradedHasExactlyTheDescribedSchema) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  const std::string database = server->CreateDatabase();
  const std::string connection_string = server->ConnectionString(database);
  CreateServerCatalog(connection_string, "Team");
  const Facts described = DescribedFacts(SchemaEngine::kPostgres);
  EXPECT_EQ(Difference(PostgresFacts(server->Conninfo(database)), described), Facts{});
  {
    DBConnection db;
    db.OpenConnection(connection_string, "", "");
    MakeFirstFormat(db, true);
  }
  // The first format lacks the folded indexes, and its history index is not unique.
  EXPECT_EQ(
      Difference(PostgresFacts(server->Conninfo(database)), described),
      (Facts{"missing: index clipping.ixclipping_sdescription_folded (clipcat_fold(sdescription))",
             "missing: index clipping.ixclipping_sname_folded (clipcat_fold(sname))",
             "missing: index folder.ixfolder_sname_folded (clipcat_fold(sname))",
             "missing: index groupclipping.ixgroupclipping_sname_folded (clipcat_fold(sname))",
             "missing: unique index accesshistory.ixaccesshistory_sclippingid (sclippingid)",
             "unexpected: index accesshistory.ixaccesshistory_sclippingid (sclippingid)"}));
  OpenThroughTheStore(connection_string);
  EXPECT_EQ(Difference(PostgresFacts(server->Conninfo(database)), described), Facts{});
}

}  // namespace
}  // namespace clipcat::testing
