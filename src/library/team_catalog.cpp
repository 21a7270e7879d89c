#include "library/team_catalog.h"

#include "library/item_lookup.h"

namespace clipcat {

TeamRoles CreateTeamCatalog(const std::string& uri, const std::string& name) {
  if (!IsServerUri(uri)) {
    Refuse("a team catalog lives on a server: give its postgresql://USER@HOST/DATABASE URI");
  }
  const CatalogLocation location = SelectCatalog(uri, "");
  CreateCatalogAt(location, name);
  Catalog catalog(ConnectionDetailsFor(location));
  return catalog.write().SetUpTeamRoles(catalog.details());
}

void GrantTeamMember(Catalog& catalog, const std::string& user, bool read_only) {
  if (user.empty()) Refuse("a member is a role of the server: give its name");
  catalog.write().GrantTeamAccess(user, read_only, catalog.details());
}

}  // namespace clipcat
