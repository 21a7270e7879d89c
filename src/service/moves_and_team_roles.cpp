// Moves within a catalog, routed to the catalog that holds both the item and its new folder, and
// the roles of a team catalog.
#include <memory>
#include <string>

#include "service/clipping_data_write.h"
#include "service/service_routing.h"
#include "util/errors.h"

namespace clipcat {
namespace {

using service_internal::DefaultDataAccess;
using service_internal::ItemDataAccess;

// The catalog that holds both items; refuses two items of different catalogs.
std::shared_ptr<DataAccess> SameCatalog(const std::shared_ptr<ConnectionDetails>& connection,
                                        const std::string& item_id, const std::string& folder_id) {
  const auto catalog = ItemDataAccess(connection, item_id);
  if (catalog != ItemDataAccess(connection, folder_id)) {
    RaiseError(err::kInvalidProcedureCall, kDataServicesSource,
               "The item " + item_id + " and the folder " + folder_id +
                   " are in different catalogs; only a copy goes from one to the other.");
  }
  return catalog;
}

}  // namespace

void ClippingDataWrite::MoveFolder(const std::string& sFolderID, const std::string& sNewParentID,
                                   const Connection& oDefaultConnection) {
  SameCatalog(oDefaultConnection, sFolderID, sNewParentID)->MoveFolder(sFolderID, sNewParentID);
}

void ClippingDataWrite::MoveClipping(const std::string& sClippingID,
                                     const std::string& sNewParentID,
                                     const Connection& oDefaultConnection) {
  SameCatalog(oDefaultConnection, sClippingID, sNewParentID)
      ->MoveClipping(sClippingID, sNewParentID);
}

TeamRoles ClippingDataWrite::SetUpTeamRoles(const Connection& oDefaultConnection) {
  return DefaultDataAccess(oDefaultConnection)->SetUpTeamRoles();
}

void ClippingDataWrite::GrantTeamAccess(const std::string& sUser, bool bReadOnly,
                                        const Connection& oDefaultConnection) {
  DefaultDataAccess(oDefaultConnection)->GrantTeamAccess(sUser, bReadOnly);
}

}  // namespace clipcat
