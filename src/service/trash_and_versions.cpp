// The trash and the versions of clippings, routed to the catalog that holds the item.
#include <utility>

#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "service/service_routing.h"
#include "util/date.h"

namespace clipcat {
namespace {

using service_internal::DefaultDataAccess;
using service_internal::ItemDataAccess;
using service_internal::LinkedItemID;
using service_internal::Require;

// The catalog `folder_id` selects: the default one for the empty text, the linked catalog for a
// folder that links one, else the catalog that holds the item.
std::shared_ptr<DataAccess> SelectedCatalog(const std::shared_ptr<ConnectionDetails>& connection,
                                            const std::string& folder_id) {
  if (folder_id.empty()) return DefaultDataAccess(connection);
  const auto catalog = ItemDataAccess(connection, folder_id);
  const auto folder = catalog->GetFolder(folder_id);
  if (folder != nullptr && folder->ExternalCatalogID() != 0) {
    return ItemDataAccess(connection, LinkedItemID(*folder));
  }
  return catalog;
}

}  // namespace

std::vector<TrashEntry> ClippingDataWrite::GetTrash(const std::string& sCatalogFolderID,
                                                    const Connection& oDefaultConnection) {
  return SelectedCatalog(oDefaultConnection, sCatalogFolderID)->GetTrash();
}

std::string ClippingDataWrite::RestoreItem(const std::string& sItemID,
                                           const Connection& oDefaultConnection, bool bRename) {
  return ItemDataAccess(oDefaultConnection, sItemID)->RestoreItem(sItemID, bRename);
}

int32_t ClippingDataWrite::EmptyTrash(const Connection& oDefaultConnection, int32_t lOlderThanDays,
                                      const std::string& sCatalogFolderID) {
  std::optional<Date> before;
  if (lOlderThanDays >= 0) {
    before =
        Date(Date::Now().serial() - static_cast<double>(lOlderThanDays));  // serials count days
  }
  return SelectedCatalog(oDefaultConnection, sCatalogFolderID)->EmptyTrash(before);
}

void ClippingDataWrite::NoteDeletion(const std::string& sItemID, const Date& tDeleted,
                                     const std::string& sDeletedBy,
                                     const Connection& oDefaultConnection) {
  ItemDataAccess(oDefaultConnection, sItemID)->NoteDeletion(sItemID, tDeleted, sDeletedBy);
}

void ClippingDataWrite::AddClippingVersion(const std::string& sClippingID,
                                           const ClippingVersion& version,
                                           const std::shared_ptr<Clipping>& oClipping,
                                           const Connection& oDefaultConnection) {
  ItemDataAccess(oDefaultConnection, sClippingID)
      ->AddClippingVersion(sClippingID, version, Require(oClipping)->ClippingData());
}

std::shared_ptr<Clipping> ClippingDataWrite::RevertClipping(const std::string& sClippingID,
                                                            int32_t lVersion,
                                                            const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sClippingID)->RevertClipping(sClippingID, lVersion);
}

void ClippingDataWrite::SetMaximumVersions(int32_t lMaximum, const Connection& oDefaultConnection,
                                           const std::string& sCatalogFolderID) {
  SelectedCatalog(oDefaultConnection, sCatalogFolderID)->SetMaximumVersions(lMaximum);
}

std::vector<ClippingVersion> ClippingDataRead::GetClippingVersions(
    const std::string& sClippingID, const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sClippingID)->GetClippingVersions(sClippingID);
}

std::shared_ptr<Clipping> ClippingDataRead::GetClippingVersion(
    const std::string& sClippingID, int32_t lVersion, const Connection& oDefaultConnection) {
  auto clipping =
      ItemDataAccess(oDefaultConnection, sClippingID)->GetClippingVersion(sClippingID, lVersion);
  if (clipping != nullptr) clipping->SetID(sClippingID);
  return clipping;
}

std::shared_ptr<Folder> ClippingDataRead::GetChildFoldersWithTrash(
    const std::string& sFolderId, const Connection& oDefaultConnection) {
  const auto data_access = ItemDataAccess(oDefaultConnection, sFolderId);
  const auto folder = Require(data_access->GetFolder(sFolderId));
  data_access->GetChildFolders(folder, false, true);
  return folder;
}

std::shared_ptr<Clippings> ClippingDataRead::GetClippingsFromFolderWithTrash(
    const std::string& sFolderId, const Connection& oDefaultConnection, bool bGetData) {
  return ItemDataAccess(oDefaultConnection, sFolderId)
      ->GetClippingsFromFolder(sFolderId, bGetData, Clippings::Create(), true);
}

VersionSpace ClippingDataRead::GetVersionSpace(const Connection& oDefaultConnection,
                                               const std::string& sCatalogFolderID) {
  return SelectedCatalog(oDefaultConnection, sCatalogFolderID)->GetVersionSpace();
}

}  // namespace clipcat
