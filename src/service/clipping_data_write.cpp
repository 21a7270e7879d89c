#include "service/clipping_data_write.h"

#include "service/connection_handler.h"
#include "service/service_routing.h"
#include "store/data_access.h"
#include "util/errors.h"
#include "util/item_id.h"

namespace clipcat {

using service_internal::CatalogIDOf;
using service_internal::DefaultDataAccess;
using service_internal::ItemDataAccess;
using service_internal::LinkedDataAccess;
using service_internal::LinkedItemID;
using service_internal::Require;

ClippingDataWrite::~ClippingDataWrite() { ReleaseAccessManager(); }

void ClippingDataWrite::DeleteAllCategoriesFromClipping(const std::string& sCategoryID,
                                                        const Connection& oDefaultConnection) {
  ItemDataAccess(oDefaultConnection, sCategoryID)->DeleteAllCategoriesFromClipping(sCategoryID);
}

void ClippingDataWrite::DeleteLinkedFolder(const std::string& sFolderId,
                                           const Connection& oDefaultConnection) {
  const auto catalog = DefaultDataAccess(oDefaultConnection);
  const auto root = catalog->GetCatalogsRootFolder(sFolderId);
  if (root && root->ID() == sFolderId) return;
  const int32_t catalog_id = CatalogIDOf(sFolderId);
  const auto folder = Require(catalog_id != 0 ? catalog->GetFolderWithExternalCatalog(catalog_id)
                                              : catalog->GetFolder(sFolderId));
  catalog->DeleteFolder(folder->ID(), true);
  catalog->DeleteExternalCatalog(folder->ExternalCatalogID());
  GetAccessManager(oDefaultConnection)
      ->ReleaseDataAccessObject(ComposeItemID("1", folder->ExternalCatalogID()));
}

std::string ClippingDataWrite::AddFolderToCategory(const std::string& sFolderId,
                                                   const std::string& sCategoryID,
                                                   const Connection& oDefaultConnection) {
  ItemDataAccess(oDefaultConnection, sFolderId)->AddFolderToCategory(sFolderId, sCategoryID);
  return {};
}

std::string ClippingDataWrite::DeleteAllCategoriesFromFolder(const std::string& sFolderId,
                                                             const Connection& oDefaultConnection) {
  ItemDataAccess(oDefaultConnection, sFolderId)->DeleteAllCategoriesFromFolder(sFolderId);
  return {};
}

std::shared_ptr<Folder> ClippingDataWrite::AddLinkedFolder(const Connection& oNewConnectionDetails,
                                                           const std::string& sFolderName,
                                                           const Connection& oDefaultConnection) {
  return DefaultDataAccess(oDefaultConnection)->AddLinkedFolder(oNewConnectionDetails, sFolderName);
}

std::shared_ptr<Folder> ClippingDataWrite::AddDefaultFolderToLinkedCatalog(
    const std::shared_ptr<Folder>& oLinkedFolder, const std::string& sDefaultFolderName,
    const Connection& oDefaultConnection) {
  const std::string id = LinkedItemID(*Require(oLinkedFolder));
  const auto catalog = ItemDataAccess(oDefaultConnection, id);
  const auto root = Require(catalog->GetCatalogsRootFolder(id));
  const auto folder = Folder::Create();
  folder->SetName(sDefaultFolderName);
  return catalog->AddFolder(folder, root->ID(), true);
}

std::shared_ptr<Category> ClippingDataWrite::AddCategory(const std::shared_ptr<Category>& oCategory,
                                                         const std::string& sFolderId,
                                                         const Connection& oDefaultConnection,
                                                         bool /*bCheckNameUnique*/) {
  return LinkedDataAccess(oDefaultConnection, sFolderId)->AddCategory(oCategory, sFolderId);
}

void ClippingDataWrite::DeleteCategory(const std::string& sCategoryID,
                                       const Connection& oDefaultConnection) {
  ItemDataAccess(oDefaultConnection, sCategoryID)->DeleteCategory(sCategoryID);
}

std::shared_ptr<Category> ClippingDataWrite::UpdateCategory(
    const std::shared_ptr<Category>& oCategory, const Connection& oDefaultConnection,
    bool /*bCheckNameUnique*/) {
  return ItemDataAccess(oDefaultConnection, Require(oCategory)->ID())->UpdateCategory(oCategory);
}

void ClippingDataWrite::AddClippingToCategory(const std::string& sClippingID,
                                              const std::string& sCategoryID,
                                              const Connection& oDefaultConnection) {
  ItemDataAccess(oDefaultConnection, sClippingID)->AddClippingToCategory(sClippingID, sCategoryID);
}

void ClippingDataWrite::UpdateClippingHistory(const std::shared_ptr<Clipping>& oClipping,
                                              const Connection& oDefaultConnection) {
  DefaultDataAccess(oDefaultConnection)->UpdateClippingHistory(oClipping);
}

void ClippingDataWrite::AddClippingToCategories(const std::string& sClippingID,
                                                const std::shared_ptr<Categories>& oCategories,
                                                const Connection& oDefaultConnection) {
  ItemDataAccess(oDefaultConnection, sClippingID)
      ->AddClippingToCategories(sClippingID, oCategories);
}

void ClippingDataWrite::DeleteClippingFromCategory(const std::string& sClippingID,
                                                   const std::string& sCategoryID,
                                                   const Connection& oDefaultConnection) {
  ItemDataAccess(oDefaultConnection, sClippingID)
      ->DeleteClippingFromCategory(sClippingID, sCategoryID);
}

std::pair<std::shared_ptr<DataAccess>, std::string> ClippingDataWrite::NewItemTarget(
    const std::string& sParentFolderID, const Connection& oDefaultConnection) {
  auto catalog = ItemDataAccess(oDefaultConnection, sParentFolderID);
  const auto parent = Require(catalog->GetFolder(sParentFolderID));
  if (parent->ExternalCatalogID() == 0) return {catalog, sParentFolderID};
  // A linked folder: the new item goes into the root folder of the catalog it links.
  const std::string linked_id = LinkedItemID(*parent);
  catalog = ItemDataAccess(oDefaultConnection, linked_id);
  const auto root = Require(catalog->GetCatalogsRootFolder(linked_id));
  return {catalog, root->ID()};
}

void ClippingDataWrite::WriteAsOneTransaction(const std::string& sFolderID,
                                              const Connection& oDefaultConnection,
                                              const std::function<void()>& body) {
  const auto target = NewItemTarget(sFolderID, oDefaultConnection).first;
  const auto default_catalog = DefaultDataAccess(oDefaultConnection);
  if (target == default_catalog) {
    target->RunAsOneTransaction(body);
    return;
  }
  default_catalog->RunAsOneTransaction([&] { target->RunAsOneTransaction(body); });
}

std::shared_ptr<Folder> ClippingDataWrite::AddFolder(const std::shared_ptr<Folder>& oFolder,
                                                     const std::string& sParentFolderID,
                                                     const Connection& oDefaultConnection,
                                                     bool bCheckNameUnique) {
  const auto [catalog, parent_id] = NewItemTarget(sParentFolderID, oDefaultConnection);
  return catalog->AddFolder(oFolder, parent_id, bCheckNameUnique);
}

std::shared_ptr<Clipping> ClippingDataWrite::AddClipping(const std::shared_ptr<Clipping>& oClipping,
                                                         const std::string& sParentFolderID,
                                                         const Connection& oDefaultConnection,
                                                         bool /*bCheckNameUnique*/) {
  const auto [catalog, parent_id] = NewItemTarget(sParentFolderID, oDefaultConnection);
  return catalog->AddClipping(oClipping, parent_id);
}

bool ClippingDataWrite::CanAddFolder(const std::shared_ptr<Folder>& oFolder,
                                     const std::string& sParentFolderID,
                                     const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sParentFolderID)
      ->CanAddFolder(oFolder, sParentFolderID);
}

bool ClippingDataWrite::CanAddClipping(const std::shared_ptr<Clipping>& oClipping,
                                       const std::string& sParentFolderID,
                                       const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sParentFolderID)
      ->CanAddClipping(oClipping, sParentFolderID);
}

bool ClippingDataWrite::CanDeleteClipping(const std::string& sClippingID,
                                          const Connection& oDefaultConnection,
                                          bool bDeletePermanently) {
  return ItemDataAccess(oDefaultConnection, sClippingID)
      ->CanDeleteClipping(sClippingID, bDeletePermanently);
}

bool ClippingDataWrite::CanDeleteFolder(const std::string& sFolderId,
                                        const Connection& oDefaultConnection,
                                        bool bDeletePermanently) {
  return ItemDataAccess(oDefaultConnection, sFolderId)
      ->CanDeleteFolder(sFolderId, bDeletePermanently);
}

bool ClippingDataWrite::CanUpdateFolder(const std::shared_ptr<Folder>& /*oFolder*/,
                                        const Connection& /*oDefaultConnection*/) {
  RaiseNotImplemented("CanUpdateFolder");
}

bool ClippingDataWrite::CanUpdateClipping(const std::shared_ptr<Clipping>& /*oClipping*/,
                                          const Connection& /*oDefaultConnection*/,
                                          bool /*bUpdateData*/) {
  RaiseNotImplemented("CanUpdateClipping");
}

void ClippingDataWrite::DeleteClipping(const std::string& sClippingID,
                                       const Connection& oDefaultConnection,
                                       bool bDeletePermanently) {
  ItemDataAccess(oDefaultConnection, sClippingID)->DeleteClipping(sClippingID, bDeletePermanently);
}

void ClippingDataWrite::DeleteFolder(const std::string& sFolderId,
                                     const Connection& oDefaultConnection,
                                     bool bDeletePermanently) {
  ItemDataAccess(oDefaultConnection, sFolderId)->DeleteFolder(sFolderId, bDeletePermanently);
}

std::shared_ptr<Folder> ClippingDataWrite::UpdateFolder(const std::shared_ptr<Folder>& oFolder,
                                                        const Connection& oDefaultConnection,
                                                        bool bCheckNameUnique) {
  Require(oFolder);
  const int32_t catalog_id = CatalogIDOf(oFolder->ID());
  if (catalog_id != 0 && GetLocalItemID(oFolder->ParentID(), catalog_id) == "0") {
    // The root of a linked catalog is shown under the linking folder: change that folder.
    const auto catalog = DefaultDataAccess(oDefaultConnection);
    const auto linking = Require(catalog->GetFolderWithExternalCatalog(catalog_id));
    linking->SetName(oFolder->Name());
    linking->SetDescription(oFolder->Description());
    catalog->UpdateFolder(linking, bCheckNameUnique);
    oFolder->SetUpdated(StoreKey(), linking->Updated());
    return oFolder;
  }
  return ItemDataAccess(oDefaultConnection, oFolder->ID())->UpdateFolder(oFolder, bCheckNameUnique);
}

std::shared_ptr<Clipping> ClippingDataWrite::UpdateClipping(
    const std::shared_ptr<Clipping>& oClipping, const Connection& oDefaultConnection,
    bool bUpdateData, bool /*bCheckNameUnique*/) {
  return ItemDataAccess(oDefaultConnection, Require(oClipping)->ID())
      ->UpdateClipping(oClipping, bUpdateData);
}

}  // namespace clipcat
