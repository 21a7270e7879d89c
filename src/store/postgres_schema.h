// What a catalog on a PostgreSQL server has besides its tables and indexes (those are
// generated from schema_description.h): the functions clipcat_fold and Datediff, and the
// deployment of a catalog into an empty database or schema. Stateless; thread-safe.
#pragma once

#include <string>
#include <string_view>

namespace clipcat {

class PostgresSession;

// The name of the catalog's function that folds text: clipcat_fold(text) gives the text with
// Unicode simple case folding (case_folding.h), NULL for NULL. Frozen.
inline constexpr std::string_view kPostgresFoldFunction = "clipcat_fold";

// The statement that creates clipcat_fold in the first schema of the search path, or replaces
// it (indexes on its results must then be made again). The server cannot run clipcat's code, so
// the function carries the folding of every code point, as this process's ICU has it, as a
// character map. Immutable and inlined by the planner; ASCII text costs about what citext's
// lower-casing does.
std::string PostgresFoldFunctionStatement();

// Raises err::kDatabaseError, source "clipcat", unless `encoding` (the server's name of a
// database's encoding) is UTF8: the folding function and the text of other clients need it.
void RequireUtf8Database(std::string_view encoding);

// The catalog's own spelling of column `column` of table `table` when the server reports them
// folded to lower case ("clippinggroupclipping", "lclippingid" gives "lClippingId"), so that
// results name their columns as a SQLite catalog's do; any other column name as it is.
std::string CanonicalColumnName(std::string_view table, std::string_view column);

// Makes PostgreSQL sessions name result columns of catalog tables by CanonicalColumnName. The
// store calls it before it opens or creates a catalog; calling it again does nothing new.
void UseCatalogColumnSpellings();

// Deploys a catalog into the first schema of the session's search path, in one transaction:
// the citext extension (when missing), clipcat_fold, every table and index of the description
// (those on folded text too), the Datediff function, the root folder with key 1 named `name`,
// the folder key generator continuing at 2 and the catalog properties. Raises
// err::kDatabaseError, source "clipcat", when the schema already holds a table of a catalog, and
// the server's error when it refuses a statement; on failure nothing stays. Raises as
// RequireUtf8Database for a database whose encoding is not UTF8.
// REQUIRES: `name` is trimmed and not empty; no transaction is open on `session`.
void DeployPostgresCatalog(PostgresSession& session, const std::string& name);

}  // namespace clipcat
