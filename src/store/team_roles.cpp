// The roles of a team catalog on a server: one that may read the catalog and one that may also
// write it, named after the database, so that a member needs one GRANT of a role and nothing
// else. The catalog's owner sets them up; the roles carry no login of their own.
#include <string>

#include "engine/sqlite_session.h"
#include "store/data_access.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat {
namespace {

// A name as a PostgreSQL identifier: in double quotes, a double quote doubled. NUL cannot be in
// an identifier and is refused with everything empty.
std::string Identifier(const std::string& name) {
  if (name.empty() || name.find('\0') != std::string::npos) {
    RaiseError(err::kInvalidProcedureCall, kDataServicesSource,
               "\"" + name + "\" cannot be a role's name.");
  }
  std::string quoted = "\"";
  for (const char c : name) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

}  // namespace

TeamRoles DataAccess::TeamRoleNames() {
  EnsureCatalogOpen();
  if (Connection().EngineName() == kSqliteSource) {
    RaiseError(err::kInvalidProcedureCall, kDataServicesSource,
               "A catalog in a file has no roles: team roles are for a catalog on a server.");
  }
  Recordset rs = Connection().GetRecordsetRO(
      "SELECT current_database() AS sDatabase, current_schema() AS sSchema");
  const std::string database = ToTextOr(rs.Value("sDatabase"), "");
  TeamRoles roles;
  roles.schema = ToTextOr(rs.Value("sSchema"), "public");
  rs.Close();
  roles.readers = "clipcat_" + database + "_readers";
  roles.writers = "clipcat_" + database + "_writers";
  return roles;
}

TeamRoles DataAccess::SetUpTeamRoles() {
  const TeamRoles roles = TeamRoleNames();
  for (const std::string& role : {roles.readers, roles.writers}) {
    Recordset rs = Connection().GetRecordsetRO("SELECT COUNT(*) AS n FROM pg_roles WHERE rolname=" +
                                               SqlText(Variant(role)));
    const bool exists = ToLongOr(rs.Value("n"), 0) > 0;
    rs.Close();
    if (!exists) Connection().ExecuteSQL("CREATE ROLE " + Identifier(role) + " NOLOGIN");
  }
  const std::string schema = Identifier(roles.schema);
  const std::string readers = Identifier(roles.readers);
  const std::string writers = Identifier(roles.writers);
  for (const std::string& statement : {
           "GRANT USAGE ON SCHEMA " + schema + " TO " + readers,
           "GRANT SELECT ON ALL TABLES IN SCHEMA " + schema + " TO " + readers,
           "GRANT SELECT ON ALL SEQUENCES IN SCHEMA " + schema + " TO " + readers,
           "GRANT EXECUTE ON ALL FUNCTIONS IN SCHEMA " + schema + " TO " + readers,
           "GRANT " + readers + " TO " + writers,
           "GRANT INSERT, UPDATE, DELETE ON ALL TABLES IN SCHEMA " + schema + " TO " + writers,
           "GRANT USAGE, UPDATE ON ALL SEQUENCES IN SCHEMA " + schema + " TO " + writers,
           // Tables a later format adds, made by the owner, come with the same rights.
           "ALTER DEFAULT PRIVILEGES IN SCHEMA " + schema + " GRANT SELECT ON TABLES TO " + readers,
           "ALTER DEFAULT PRIVILEGES IN SCHEMA " + schema +
               " GRANT INSERT, UPDATE, DELETE ON TABLES TO " + writers,
           "ALTER DEFAULT PRIVILEGES IN SCHEMA " + schema +
               " GRANT USAGE, SELECT, UPDATE ON SEQUENCES TO " + writers,
       }) {
    Connection().ExecuteSQL(statement);
  }
  return roles;
}

void DataAccess::GrantTeamAccess(const std::string& sUser, bool bReadOnly) {
  const TeamRoles roles = TeamRoleNames();
  Connection().ExecuteSQL("GRANT " + Identifier(bReadOnly ? roles.readers : roles.writers) +
                          " TO " + Identifier(sUser));
  if (bReadOnly) {
    Connection().ExecuteSQL("REVOKE " + Identifier(roles.writers) + " FROM " + Identifier(sUser));
  }
}

}  // namespace clipcat
