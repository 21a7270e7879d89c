#include "store/postgres_schema.h"

#include <map>

#include "engine/case_folding.h"
#include "engine/postgres_session.h"
#include "engine/sql_tokenizer.h"
#include "store/catalog_schema.h"
#include "store/schema_description.h"
#include "util/date.h"
#include "util/errors.h"
#include "util/guid.h"
#include "util/text.h"

namespace clipcat {
namespace {

// The tables and indexes come from the catalog's description (schema_description.h): names are
// frozen and the same as a SQLite catalog's. PostgreSQL folds the unquoted names to lower case,
// and so does every unquoted name in the store's SQL, so that names match without regard to case.
// Text is citext with the "C" collation, which compares its ASCII-lower-cased bytes; the backend
// makes the store's comparisons fold every script through clipcat_fold (postgres_dialect.h), as
// SQLite's NOCASE does on a catalog connection. Dates are whole seconds of local wall-clock time.

// Datediff(interval, date1, date2): the number of interval boundaries crossed from date1 to
// date2, as the store's statements and a SQLite catalog's connection function mean it. The
// dates are first rounded to the second; weeks ("ww") start on Sunday, and 1970-01-04 was one.
constexpr std::string_view kDatediffFunction =
    "CREATE FUNCTION Datediff(sInterval text, tDate1 timestamp, tDate2 timestamp)"
    " RETURNS bigint LANGUAGE plpgsql IMMUTABLE STRICT AS $body$\n"
    "DECLARE\n"
    "  unit text := pg_catalog.lower(sInterval);\n"
    "  t1 timestamp := pg_catalog.date_trunc('second', tDate1 + interval '0.5 second');\n"
    "  t2 timestamp := pg_catalog.date_trunc('second', tDate2 + interval '0.5 second');\n"
    "  day1 bigint := t1::date - DATE '1970-01-01';\n"
    "  day2 bigint := t2::date - DATE '1970-01-01';\n"
    "  year1 bigint := extract(year FROM t1);\n"
    "  year2 bigint := extract(year FROM t2);\n"
    "  month1 bigint := extract(month FROM t1);\n"
    "  month2 bigint := extract(month FROM t2);\n"
    "  hour1 bigint := day1 * 24 + extract(hour FROM t1);\n"
    "  hour2 bigint := day2 * 24 + extract(hour FROM t2);\n"
    "  minute1 bigint := hour1 * 60 + extract(minute FROM t1);\n"
    "  minute2 bigint := hour2 * 60 + extract(minute FROM t2);\n"
    "  second1 bigint := minute1 * 60 + pg_catalog.floor(extract(second FROM t1));\n"
    "  second2 bigint := minute2 * 60 + pg_catalog.floor(extract(second FROM t2));\n"
    "BEGIN\n"
    "  CASE unit\n"
    "    WHEN 'yyyy' THEN RETURN year2 - year1;\n"
    "    WHEN 'q' THEN RETURN (year2 * 4 + (month2 - 1) / 3) - (year1 * 4 + (month1 - 1) / 3);\n"
    "    WHEN 'm' THEN RETURN (year2 * 12 + month2) - (year1 * 12 + month1);\n"
    "    WHEN 'y', 'd' THEN RETURN day2 - day1;\n"
    "    WHEN 'w' THEN RETURN (day2 - day1) / 7;\n"
    "    WHEN 'ww' THEN\n"
    "      RETURN pg_catalog.floor((day2 - 3) / 7.0) - pg_catalog.floor((day1 - 3) / 7.0);\n"
    "    WHEN 'h' THEN RETURN hour2 - hour1;\n"
    "    WHEN 'n' THEN RETURN minute2 - minute1;\n"
    "    WHEN 's' THEN RETURN second2 - second1;\n"
    "    ELSE RAISE EXCEPTION 'Invalid procedure call or argument';\n"
    "  END CASE;\n"
    "END\n"
    "$body$";

// "table.column", lower-cased -> the column's spelling, for the columns of the catalog's tables.
const std::map<std::string, std::string, std::less<>>& CanonicalNames() {
  static const auto* names = [] {
    auto* map = new std::map<std::string, std::string, std::less<>>;
    for (const TableDescription& table : CatalogSchema().tables) {
      for (const ColumnDescription& column : table.columns) {
        map->emplace(ToLowerAscii(table.name) + "." + ToLowerAscii(column.name),
                     std::string(column.name));
      }
    }
    return map;
  }();
  return *names;
}

}  // namespace

std::string PostgresFoldFunctionStatement() {
  const CaseFoldingMap& map = NonAsciiCaseFoldingMap();
  // An SQL function of one expression, so that the planner inlines it: into the expressions of
  // the indexes and the statements alike, where a literal's folding is worked out once. Text
  // that is ASCII, or holds nothing outside ASCII that folds, needs only its ASCII letters
  // lowered. Other text goes through a character map, which translate() searches from its start
  // for every character: the map of the text's script when it has one, so that the characters
  // it is made of are found among the first entries. Every name is qualified, since index
  // expressions are also worked out under other search paths.
  const std::string lowered = "pg_catalog.lower(sText COLLATE pg_catalog.\"C\")";
  const auto translated = [&](const CharacterMap& characters) {
    return "pg_catalog.translate(" + lowered + ", " + QuoteStringLiteral(characters.from) + ", " +
           QuoteStringLiteral(characters.to) + ")";
  };
  std::string body =
      "SELECT CASE WHEN pg_catalog.octet_length(sText) = pg_catalog.length(sText) OR sText !~ " +
      QuoteStringLiteral("[" + map.folded_ranges + "]") + " THEN " + lowered;
  for (const CaseFoldingMap::Script& script : map.scripts) {
    // "Nothing but ASCII and the script": no character outside them.
    body += " WHEN sText !~ " + QuoteStringLiteral("[^\x01-\x7F" + script.ranges + "]") + " THEN " +
            translated(script.map);
  }
  body += " ELSE " + translated(map.any) + " END";
  return "CREATE OR REPLACE FUNCTION " + std::string(kPostgresFoldFunction) +
         "(sText text) RETURNS text LANGUAGE sql IMMUTABLE PARALLEL SAFE AS " +
         QuoteStringLiteral(body);
}

void RequireUtf8Database(std::string_view encoding) {
  if (encoding == "UTF8") return;
  throw AutomationError(err::kDatabaseError, kComponentSource,
                        "A catalog needs a database with the UTF8 encoding; this one uses " +
                            std::string(encoding) + ".");
}

std::string CanonicalColumnName(std::string_view table, std::string_view column) {
  const auto found = CanonicalNames().find(std::string(table) + "." + std::string(column));
  return found != CanonicalNames().end() ? found->second : std::string(column);
}

void UseCatalogColumnSpellings() { SetPostgresColumnSpelling(&CanonicalColumnName); }

void DeployPostgresCatalog(PostgresSession& session, const std::string& name) {
  session.Run("BEGIN");
  try {
    const PostgresResult schema = session.Run("SELECT pg_catalog.current_schema()");
    if (PQgetisnull(schema.get(), 0, 0) != 0) {
      throw AutomationError(err::kDatabaseError, kComponentSource,
                            "The search path names no schema that exists to hold the catalog.");
    }
    const std::string schema_name = PQgetvalue(schema.get(), 0, 0);
    std::string tables;
    // A schema holding any table of a catalog holds a catalog already.
    for (const TableDescription& table : CatalogSchema().tables) {
      tables += (tables.empty() ? "{" : ",") + ToLowerAscii(table.name);
    }
    const PostgresResult existing = session.Run(
        "SELECT c.relname FROM pg_catalog.pg_class AS c"
        " JOIN pg_catalog.pg_namespace AS n ON n.oid = c.relnamespace"
        " WHERE n.nspname = pg_catalog.current_schema() AND c.relname = ANY ($1::text[])"
        " AND c.relkind IN ('r', 'p', 'v', 'm', 'f')"
        " ORDER BY 1",
        {{tables + "}"}});
    if (PQntuples(existing.get()) > 0) {
      throw AutomationError(err::kDatabaseError, kComponentSource,
                            "The schema \"" + schema_name + "\" already holds a catalog (table " +
                                PQgetvalue(existing.get(), 0, 0) + ").");
    }
    session.Run("CREATE EXTENSION IF NOT EXISTS citext");
    const PostgresResult hidden = session.Run(
        "SELECT n.nspname FROM pg_catalog.pg_extension AS e"
        " JOIN pg_catalog.pg_namespace AS n ON n.oid = e.extnamespace"
        " WHERE e.extname = 'citext' AND n.nspname <> ALL (pg_catalog.current_schemas(false))");
    if (PQntuples(hidden.get()) > 0) {
      throw AutomationError(err::kDatabaseError, kComponentSource,
                            std::string("The citext extension is in schema \"") +
                                PQgetvalue(hidden.get(), 0, 0) +
                                "\", which the search path does not name.");
    }
    const PostgresResult encoding = session.Run("SELECT pg_catalog.getdatabaseencoding()");
    RequireUtf8Database(PQgetvalue(encoding.get(), 0, 0));
    session.Run(PostgresFoldFunctionStatement());
    for (const std::string& statement : CreateTablesStatements(SchemaEngine::kPostgres)) {
      session.Run(statement);
    }
    session.Run(std::string(kDatediffFunction));
    for (std::string_view index : FoldedIndexNames()) {
      session.Run(CreateIndexStatement(index, SchemaEngine::kPostgres));
    }
    session.Run(
        "INSERT INTO Folder (lFolderID, sGUID, lParentID, sName, sDescription, lExternalCatalogId,"
        " bIsLeaf, bIsOffline, iStatus, tUpdated) VALUES ($1, $2, 0, $3, NULL, 0, TRUE, FALSE, 1,"
        " $4)",
        {{std::to_string(kRootFolderKey)},
         {CreateGUIDString()},
         {name},
         {FormatIsoDate(Date::Now())}});
    // The generator's counter stands at the root folder's key.
    session.Run("ALTER TABLE FolderIDGenerator ALTER COLUMN lID RESTART WITH " +
                std::to_string(kRootFolderKey + 1));
    session.Run(
        "INSERT INTO CatalogProperties (sCatalogProperty, sValue) VALUES ($1, $2), ($3, $4)",
        {{std::string(kCatalogPropertyName)},
         {name},
         {std::string(kCatalogPropertyFormatVersion)},
         {std::to_string(kCatalogFormatVersion)}});
    session.Run("COMMIT");
  } catch (...) {
    IgnoreErrors([&] { session.Run("ROLLBACK"); });
    throw;
  }
}

}  // namespace clipcat
