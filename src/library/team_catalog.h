// Team catalogs on a PostgreSQL server from a front end's side: making one with the roles its
// members need, and letting a member in. Not thread-safe: works through a Catalog.
#pragma once

#include <string>

#include "library/catalog.h"
#include "library/catalog_location.h"
#include "store/team_roles.h"

namespace clipcat {

// Makes the catalog on the server `uri` names (a postgresql:// URI), its top folder named `name`
// ("Shared" when empty), and its two roles (ClippingDataWrite::SetUpTeamRoles); answers the roles.
// Refuses (5) anything but a server URI; raises the store's and the server's errors.
TeamRoles CreateTeamCatalog(const std::string& uri, const std::string& name);

// Makes the server's role `user` a member of the selected team catalog: one that writes, or with
// `read_only` one that only reads. Refuses (5) an empty user name.
void GrantTeamMember(Catalog& catalog, const std::string& user, bool read_only);

}  // namespace clipcat
