// The tables, indexes and helper function of a catalog on a PostgreSQL server, and their
// deployment into an empty database or schema. Stateless; thread-safe.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace clipcat {

class PostgresSession;

// The statements that create the tables, indexes and the Datediff function of a catalog, in
// order, one statement each. Text columns are citext with the "C" collation, so that "=", LIKE
// and ORDER BY treat ASCII letters without regard to case, as a SQLite catalog's NOCASE columns
// do; the citext extension must be installed first.
const std::vector<std::string_view>& PostgresSchemaStatements();

// The catalog's own spelling of column `column` of table `table` when the server reports them
// folded to lower case ("clippinggroupclipping", "lclippingid" gives "lClippingId"), so that
// results name their columns as a SQLite catalog's do; any other column name as it is.
std::string CanonicalColumnName(std::string_view table, std::string_view column);

// Deploys a catalog into the first schema of the session's search path, in one transaction:
// the citext extension (when missing), every table and index, the Datediff function, the root
// folder with key 1 named `name`, the folder key generator continuing at 2 and the catalog
// properties. Raises err::kDatabaseError, source "clipcat", when the schema already holds a table
// of a catalog, and the server's error when it refuses a statement; on failure nothing stays.
// REQUIRES: `name` is trimmed and not empty; no transaction is open on `session`.
void DeployPostgresCatalog(PostgresSession& session, const std::string& name);

}  // namespace clipcat
