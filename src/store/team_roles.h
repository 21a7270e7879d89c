// The roles of a team catalog on a server (DataAccess::TeamRoleNames).
#pragma once

#include <string>

namespace clipcat {

struct TeamRoles {
  std::string readers;  // may read the catalog
  std::string writers;  // readers that may also write it
  std::string schema;   // the schema that holds the catalog
};

}  // namespace clipcat
