// Internal to the PostgreSQL backend: how a connection string becomes libpq connection
// parameters, and opening a libpq connection without ever waiting long for a server that is not
// there. Stateless; thread-safe.
#pragma once

#include <libpq-fe.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace clipcat {

// The provider that names a catalog on a PostgreSQL server ("Provider=PostgreSQL;Host=...").
// Frozen: stored connection strings name it.
inline constexpr std::string_view kPostgresProvider = "PostgreSQL";

// The engine name, and the source of every error the server reports.
inline constexpr const char* kPostgresSource = "PostgreSQL";

// How to reach one PostgreSQL database.
struct PostgresParameters {
  // libpq keywords and values in the order libpq reads them: a later non-empty value overrides
  // an earlier one. Values are handed to libpq one by one, never parsed as a connection string.
  std::vector<std::pair<std::string, std::string>> keywords;
  // True when the first "dbname" value is a "postgresql://" URI that libpq reads as parameters.
  bool expand_dbname = false;
  // The schemas to search for the catalog's tables ("Search Path"); empty keeps the server's.
  std::string search_path;
};

// The parameters for `connection_string` when it names a PostgreSQL database:
//   "Provider=PostgreSQL;Host=...;Port=...;Database=...;User ID=...;Password=..." (also Server,
//   Data Source, Initial Catalog, UID, User, Username, PWD, SSL Mode, Application Name, Connect
//   Timeout, Timeout and Search Path; other items are ignored);
//   a "postgresql://" or "postgres://" URI;
//   "DSN=NAME" (with no provider or the ODBC provider MSDASQL), the data source read from the
//   odbc.ini files the probes read (Servername or Server, Port, Database, Username or UID,
//   Password, SSLmode); items of the string itself override the data source's.
// `user_name` and `password`, when not empty, override the string's. Answers nothing for a
// string that names no PostgreSQL database. Raises err::kDatabaseError, source "clipcat", for a
// data source that no odbc.ini file defines.
std::optional<PostgresParameters> PostgresParametersFor(const std::string& connection_string,
                                                        const std::string& user_name,
                                                        const std::string& password);

// Opens a connection with `parameters` and answers it (the caller owns it: PQfinish). Raises
// err::kCatalogCannotBeOpened, source "clipcat", when no server answers: a host that the network
// probe cannot reach, a refused connection or a missing socket, no answer within the probe's
// time-out, or a handshake not finished within the connect time-out ("connect_timeout" seconds,
// 2 by default). Such a failure is remembered for a short while (server_failures.h): another
// connection with the same parameters in that time fails at once with the same error. Raises
// err::kDatabaseError, source "PostgreSQL", with libpq's message on one line when a server
// answered but refused the connection (authentication, unknown database).
PGconn* ConnectPostgres(const PostgresParameters& parameters);

}  // namespace clipcat
