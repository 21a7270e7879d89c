#include "service/clipping_data_read.h"

#include <vector>

#include "service/connection_handler.h"
#include "service/service_routing.h"
#include "util/errors.h"
#include "util/item_id.h"
#include "util/values.h"

namespace clipcat {

using service_internal::CatalogIDOf;
using service_internal::DefaultDataAccess;
using service_internal::ItemDataAccess;
using service_internal::LinkedDataAccess;
using service_internal::LinkedItemID;
using service_internal::Require;

namespace {

// The folder's id and the ids of every folder below it, depth first.
void CollectFolderIDs(const std::shared_ptr<Folder>& top, TextCollection& ids) {
  std::vector<std::shared_ptr<Folder>> pending = {top};
  while (!pending.empty()) {
    const auto folder = pending.back();
    pending.pop_back();
    ids.Add(folder->ID());
    const auto children = folder->ChildFolders()->Snapshot();
    for (auto it = children.rbegin(); it != children.rend(); ++it) pending.push_back(*it);
  }
}

bool HasFolders(const std::shared_ptr<Folders>& folders) {
  return folders && folders->Items()->Count() > 0;
}

}  // namespace

ClippingDataRead::~ClippingDataRead() { ReleaseAccessManager(); }

std::string ClippingDataRead::GetClippingPathName(const std::string& sClippingID,
                                                  const Connection& oDefualtConnection) {
  return ItemDataAccess(oDefualtConnection, sClippingID)->GetClippingPathName(sClippingID);
}

std::string ClippingDataRead::GetFolderPathName(const std::string& sFolderId,
                                                const Connection& oDefualtConnection) {
  return ItemDataAccess(oDefualtConnection, sFolderId)->GetFolderPathName(sFolderId);
}

std::shared_ptr<Folder> ClippingDataRead::GetCatalogsRootFolder(
    const std::string& sItemID, const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sItemID)->GetCatalogsRootFolder(sItemID);
}

bool ClippingDataRead::CatalogsConnectionOK(const std::string& sItemID,
                                            const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sItemID)->CatalogsConnectionOK(sItemID);
}

std::shared_ptr<Folder> ClippingDataRead::GetPersonalCatalogRootFolder(
    const Connection& oDefaultConnection) {
  return DefaultDataAccess(oDefaultConnection)->GetPersonalCatalogRootFolder();
}

std::shared_ptr<Clippings> ClippingDataRead::SearchForClippings(
    const std::shared_ptr<Search>& oSearch, const Connection& oDefaultConnection) {
  Require(oSearch);
  const auto result = Clippings::Create();
  for (const std::string& folder_id : oSearch->FolderIDs()->Snapshot()) {
    const auto data_access = ItemDataAccess(oDefaultConnection, folder_id);
    const auto criteria = Search::Create();
    criteria->SetCategoryNames(oSearch->CategoryNames());
    criteria->SetSearchSubFolders(oSearch->SearchSubFolders());
    criteria->SetSearchText(oSearch->SearchText());
    criteria->SetOrClippingBelongsToCategory(oSearch->OrClippingBelongsToCategory());

    auto folder = data_access->GetFolder(folder_id);
    if (!folder) continue;
    if (folder->ExternalCatalogID() != 0) {
      const auto linked = GetFoldersForLinkedFolder(folder, oDefaultConnection);
      if (HasFolders(linked)) folder = linked->Items()->Item(1);
      if (!oSearch->SearchSubFolders()) folder->SetChildFolders(FolderCollection::Create());
    } else if (oSearch->SearchSubFolders()) {
      folder = GetChildFolders(folder->ID(), oDefaultConnection);
    }
    const auto catalog = ItemDataAccess(oDefaultConnection, folder->ID());
    CollectFolderIDs(folder, *criteria->FolderIDs());
    result->AddClippings(catalog->SearchForClippings(criteria));
  }
  return result;
}

std::shared_ptr<Categories> ClippingDataRead::GetCategoriesFromLinkedFolders(
    const std::shared_ptr<Folders>& oFolders, const Connection& oDefaultConnection) {
  const auto result = Categories::Create();
  for (const auto& folder : Require(oFolders)->Items()->Snapshot()) {
    const std::string& id = Require(folder)->ID();
    result->AddCategories(
        ItemDataAccess(oDefaultConnection, id)->GetCategoriesFromLinkedFolder(id));
  }
  return result;
}

bool ClippingDataRead::PruneUnlinkedCatalogs(const std::shared_ptr<Folders>& linked,
                                             const Connection& oDefaultConnection) {
  bool removed = false;
  const auto manager = GetAccessManager(oDefaultConnection);
  const int32_t count = manager->Count();
  // Positions are not adjusted after a removal, so the entry moving into a freed position is
  // skipped, and the walk ends at the first error (a position past the shrunken end).
  IgnoreErrors([&] {
    for (int32_t position = 2; position <= count; ++position) {
      const int32_t catalog_id = Require(manager->Item(Variant(position)))->ExternalCatalogID();
      bool still_linked = false;
      for (const auto& folder : linked->Items()->Snapshot()) {
        if (folder && CatalogIDOf(folder->ID()) == catalog_id) still_linked = true;
      }
      if (!still_linked) {
        manager->Remove(Variant(position));
        removed = true;
      }
    }
  });
  return removed;
}

bool ClippingDataRead::HaveCategoriesChanged(const Date& tDateTimeCategoriesChecked,
                                             const Connection& oDefaultConnection) {
  const auto linked = GetLinkedFolders(oDefaultConnection);
  if (PruneUnlinkedCatalogs(linked, oDefaultConnection)) return true;
  for (const auto& folder : linked->Items()->Snapshot()) {
    bool changed = false;
    IgnoreErrors([&] {
      changed = LinkedDataAccess(oDefaultConnection, folder->ID())
                    ->HaveCategoriesChanged(tDateTimeCategoriesChecked);
    });
    if (changed) return true;
  }
  return false;
}

bool ClippingDataRead::HaveFoldersChanged(const Date& tDateTimeFoldersChecked,
                                          const Connection& oDefaultConnection) {
  return DefaultDataAccess(oDefaultConnection)->HaveFoldersChanged(tDateTimeFoldersChecked);
}

bool ClippingDataRead::CategoryNameExists(const std::string& sName,
                                          const std::string& sLinkedCatalogID,
                                          const Connection& oDefaultConnection) {
  return LinkedDataAccess(oDefaultConnection, sLinkedCatalogID)
      ->CategoryNameExists(sName, sLinkedCatalogID);
}

bool ClippingDataRead::FolderNameExists(const std::string& sName,
                                        const std::string& sParentFolderID,
                                        const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sParentFolderID)
      ->FolderNameExists(sName, sParentFolderID);
}

std::shared_ptr<Folder> ClippingDataRead::GetFolderByName(const std::string& sName,
                                                          const std::string& sParentFolderID,
                                                          const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sParentFolderID)
      ->GetFolderByName(sName, sParentFolderID);
}

bool ClippingDataRead::ClippingNameExists(const std::string& sName, const std::string& sFolderId,
                                          const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sFolderId)->ClippingNameExists(sName, sFolderId);
}

bool ClippingDataRead::ClippingExists(const std::string& /*sSearchDataXML*/,
                                      const std::string& /*oDefaultConnection*/) {
  RaiseNotImplemented("ClippingExists");
}

std::shared_ptr<Category> ClippingDataRead::GetCategory(const std::string& sCategoryID,
                                                        const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sCategoryID)->GetCategory(sCategoryID);
}

bool ClippingDataRead::IsLinkedFolder(const std::string& sFolderId,
                                      const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sFolderId)->IsLinkedFolder(sFolderId);
}

bool ClippingDataRead::ConnectionOK(const Connection& oDefaultConnection,
                                    const std::string& sItemID, bool bItemIDIsLinkedFolder) {
  bool ok = false;
  IgnoreErrors([&] {
    std::shared_ptr<DataAccess> data_access;
    if (sItemID.empty()) {
      data_access = DefaultDataAccess(oDefaultConnection);
    } else if (bItemIDIsLinkedFolder) {
      data_access = LinkedDataAccess(oDefaultConnection, sItemID);
    } else {
      data_access = ItemDataAccess(oDefaultConnection, sItemID);
    }
    data_access->OpenCatalog("", "", "");
    ok = data_access->CatalogsConnectionOK(sItemID);
  });
  return ok;
}

std::shared_ptr<Categories> ClippingDataRead::GetCategoriesFromLinkedFolder(
    const std::string& sFolderId, const Connection& oDefaultConnection) {
  return LinkedDataAccess(oDefaultConnection, sFolderId)->GetCategoriesFromLinkedFolder(sFolderId);
}

std::shared_ptr<Categories> ClippingDataRead::GetCategoriesFromFolder(
    const std::string& sFolderId, const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sFolderId)->GetCategoriesFromFolder(sFolderId);
}

std::shared_ptr<Categories> ClippingDataRead::GetCategoriesForClipping(
    const std::string& sClippingID, const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sClippingID)->GetCategoriesForClipping(sClippingID);
}

std::string ClippingDataRead::GetCategoriesNamesForClipping(const std::string& sClippingID,
                                                            const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sClippingID)
      ->GetCategoriesNamesForClipping(sClippingID);
}

bool ClippingDataRead::InSameCatalog(const std::string& sItemID1, const std::string& sItemID2,
                                     const Connection& /*oDefaultConnection*/) {
  return ItemsInSameCatalog(sItemID1, sItemID2);
}

std::shared_ptr<Clippings> ClippingDataRead::GetClippingsForFolderAndChildFolders(
    const std::string& sFolderId, const std::string& bGetData,
    const Connection& oDefaultConnection) {
  // The catalog operation works on a folder with its subtree loaded; the id is turned into one.
  const auto data_access = ItemDataAccess(oDefaultConnection, sFolderId);
  const auto folder = Require(data_access->GetFolder(sFolderId));
  data_access->GetChildFolders(folder, false, false);
  return data_access->GetClippingsForFolderAndChildFolders(folder,
                                                           ToBooleanOr(Variant(bGetData), false));
}

std::shared_ptr<Clippings> ClippingDataRead::GetClippingsFromCategory(
    const std::string& sCategoryID, bool bGetData, const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sCategoryID)
      ->GetClippingsFromCategory(sCategoryID, bGetData);
}

std::shared_ptr<Clippings> ClippingDataRead::GetClippingsWithoutCategory(
    const std::string& sLinkedFolderID, bool bGetData, const Connection& oDefaultConnection) {
  return LinkedDataAccess(oDefaultConnection, sLinkedFolderID)
      ->GetClippingsWithoutCategory(sLinkedFolderID, bGetData);
}

std::shared_ptr<Clippings> ClippingDataRead::GetClippingsHistroy(
    int32_t lMaximumItems, const Connection& oDefaultConnection) {
  const auto result = Clippings::Create();
  std::shared_ptr<DataAccess> catalog;
  std::shared_ptr<Clippings> history;
  IgnoreErrors([&] {
    catalog = DefaultDataAccess(oDefaultConnection);
    history = catalog->GetClippingsHistroy(lMaximumItems);
  });
  if (!history) return result;
  // The entries' clippings read in one view of the catalog, its read locks taken once; the
  // entries of clippings that are gone are dropped once the reading is done.
  std::vector<std::string> gone;
  const auto read_entries = [&] {
    for (const auto& entry : history->Items()->Snapshot()) {
      IgnoreErrors([&] {
        const auto clipping = GetClipping(entry->ID(), oDefaultConnection, false);
        if (!clipping) {
          gone.push_back(entry->ID());
          return;
        }
        clipping->SetAccessed(StoreKey(), entry->Accessed());
        result->AddClipping(clipping);
      });
    }
  };
  try {
    catalog->ReadConsistently(read_entries);
  } catch (const AutomationError&) {
    // The read view could not be had: each entry is read on its own, as it comes.
    result->ClearClippings();
    gone.clear();
    read_entries();
  }
  for (const std::string& id : gone) IgnoreErrors([&] { catalog->DeleteClippingHistory(id); });
  return result;
}

std::shared_ptr<Clippings> ClippingDataRead::GetDeletedClippingsForCatalog(
    const std::string& sLinkedFolderID, bool bGetData, const Connection& oDefaultConnection) {
  return LinkedDataAccess(oDefaultConnection, sLinkedFolderID)
      ->GetDeletedClippingsForCatalog(sLinkedFolderID, bGetData);
}

std::shared_ptr<Folders> ClippingDataRead::GetLinkedFolders(const Connection& oDefaultConnection) {
  const auto result = Folders::Create();
  std::shared_ptr<Folders> linked;
  IgnoreErrors([&] { linked = DefaultDataAccess(oDefaultConnection)->GetLinkedFolders(); });
  if (!linked) return result;
  for (const auto& folder : linked->Items()->Snapshot()) {
    IgnoreErrors([&] {
      const std::string id = LinkedItemID(*folder);
      std::shared_ptr<Folder> root;
      if (ConnectionOK(oDefaultConnection, id, false)) {
        IgnoreErrors(
            [&] { root = ItemDataAccess(oDefaultConnection, id)->GetCatalogsRootFolder(id); });
      }
      if (root) {
        root->SetName(folder->Name());
        result->AddFolder(root);
      } else {
        folder->SetStatus(StoreKey(), kFolderStatusOffline);
        result->AddFolder(folder);
      }
    });
  }
  return result;
}

std::shared_ptr<Folders> ClippingDataRead::GetLinkingFolders(const Connection& oDefaultConnection) {
  const auto result = Folders::Create();
  for (const auto& folder :
       DefaultDataAccess(oDefaultConnection)->GetLinkedFolders()->Items()->Snapshot()) {
    if (folder->ExternalCatalogID() != 0) result->AddFolder(folder);
  }
  return result;
}

std::shared_ptr<ConnectionDetails> ClippingDataRead::GetConnectionDetails(
    const std::string& sFolderId, const Connection& oDefaultConnection) {
  const auto catalog = DefaultDataAccess(oDefaultConnection);
  int32_t catalog_id = CatalogIDOf(sFolderId);
  if (catalog_id == 0) catalog_id = Require(catalog->GetFolder(sFolderId))->ExternalCatalogID();
  if (catalog_id == 0) return nullptr;  // a folder of the default catalog links no catalog
  const auto external = catalog->GetExternalCatalog(catalog_id);  // raises 3021 for none
  const auto details = ConnectionDetails::Create();
  details->SetXML(external->ConnectionStringXML());
  return details;
}

std::shared_ptr<ExternalCatalogCollection> ClippingDataRead::GetExternalCatalogs(
    const Connection& oDefaultConnection) {
  return DefaultDataAccess(oDefaultConnection)->GetExternalCatalogs();
}

std::shared_ptr<Clippings> ClippingDataRead::FindClippings(const std::shared_ptr<Search>& oSearch,
                                                           const Connection& oDefaultConnection) {
  return DefaultDataAccess(oDefaultConnection)->FindClippings(oSearch);
}

std::shared_ptr<Folder> ClippingDataRead::GetFolder(const std::string& sFolderId,
                                                    const Connection& oDefaultConnection) {
  const int32_t catalog_id = CatalogIDOf(sFolderId);
  std::shared_ptr<Folder> folder;
  try {
    folder = ItemDataAccess(oDefaultConnection, sFolderId)->GetFolder(sFolderId);
    if (!folder) RaiseRuntimeError(err::kObjectVariableNotSet);
  } catch (const AutomationError&) {
    // The root of a linked catalog that cannot be read shows as the linking folder, marked.
    if (catalog_id == 0 || GetLocalItemID(sFolderId, catalog_id) != "1") throw;
    folder =
        Require(DefaultDataAccess(oDefaultConnection)->GetFolderWithExternalCatalog(catalog_id));
    folder->SetStatus(StoreKey(), kFolderStatusOffline);
    folder->SetID(sFolderId);
    return folder;
  }
  if (catalog_id != 0 && GetLocalItemID(folder->ParentID(), catalog_id) == "0") {
    const auto linking =
        DefaultDataAccess(oDefaultConnection)->GetFolderWithExternalCatalog(catalog_id);
    if (linking) {
      folder->SetName(linking->Name());
      folder->SetDescription(linking->Description());
      folder->SetUpdated(StoreKey(), linking->Updated());
    }
  }
  return folder;
}

std::shared_ptr<Folders> ClippingDataRead::GetFolders(const Connection& oDefaultConnection,
                                                      bool bGetExternalFolders) {
  auto all = Folders::Create();
  IgnoreErrors(
      [&] { all = DefaultDataAccess(oDefaultConnection)->GetFolders(bGetExternalFolders, false); });
  if (!bGetExternalFolders || !all) return all;
  const auto result = Folders::Create();
  for (const auto& folder : all->Items()->Snapshot()) {
    IgnoreErrors([&] {
      if (folder->ExternalCatalogID() == 0) {
        result->AddFolder(folder);
        return;
      }
      std::shared_ptr<Folders> linked;
      IgnoreErrors([&] { linked = GetFoldersForLinkedFolder(folder, oDefaultConnection); });
      if (!HasFolders(linked)) {
        folder->SetStatus(StoreKey(), kFolderStatusOffline);
        result->AddFolder(folder);
        return;
      }
      const auto& root = linked->Items()->Item(1);
      root->SetName(folder->Name());
      root->SetUpdated(StoreKey(), folder->Updated());
      result->AddFolders(linked);
    });
  }
  return result;
}

std::shared_ptr<Folders> ClippingDataRead::GetFoldersForLinkedFolder(
    const std::shared_ptr<Folder>& oFolder, const Connection& oDefualtConnection) {
  const std::string id = LinkedItemID(*Require(oFolder));
  return ItemDataAccess(oDefualtConnection, id)->GetFolders(false, false);
}

std::shared_ptr<Folder> ClippingDataRead::GetChildFolders(const std::string& sFolderId,
                                                          const Connection& oDefaultConnection,
                                                          bool bGetExternalFolders) {
  const auto data_access = ItemDataAccess(oDefaultConnection, sFolderId);
  const auto folder = Require(data_access->GetFolder(sFolderId));
  data_access->GetChildFolders(folder, bGetExternalFolders, false);
  return folder;
}

std::shared_ptr<Folders> ClippingDataRead::GetChildrenFolders(const std::string& sFolderId,
                                                              const Connection& oDefaultConnection,
                                                              bool bGetExternalFolders) {
  const auto children = ItemDataAccess(oDefaultConnection, sFolderId)
                            ->GetChildrenFolders(sFolderId, bGetExternalFolders, false);
  for (const auto& folder : children->Items()->Snapshot()) {
    // A linked folder stands for its catalog's root folder.
    if (folder->ExternalCatalogID() != 0) {
      folder->SetID(ComposeItemID("1", folder->ExternalCatalogID()));
    }
  }
  return children;
}

std::shared_ptr<Category> ClippingDataRead::GetCategoryByName(
    const std::string& sName, const std::string& sItemID, const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sItemID)->GetCategoryByName(sName);
}

std::shared_ptr<Clipping> ClippingDataRead::GetClippingByName(
    const std::string& sName, const std::string& sFolderId, bool bGetData,
    const Connection& oDefaultConnection) {
  return ItemDataAccess(oDefaultConnection, sFolderId)
      ->GetClippingByName(sName, sFolderId, bGetData);
}

std::shared_ptr<Clipping> ClippingDataRead::GetClipping(const std::string& sClippingID,
                                                        const Connection& oDefaultConnection,
                                                        bool bGetData) {
  return ItemDataAccess(oDefaultConnection, sClippingID)->GetClipping(sClippingID, bGetData);
}

std::shared_ptr<Clipping> ClippingDataRead::FindClippingWithGUID(
    const std::string& sClippingGUID, const Connection& oDefaultConnection, bool bGetData) {
  for (const auto& folder : GetLinkedFolders(oDefaultConnection)->Items()->Snapshot()) {
    const auto clipping = ItemDataAccess(oDefaultConnection, folder->ID())
                              ->FindClippingWithGUID(sClippingGUID, bGetData);
    if (clipping) return clipping;
  }
  return nullptr;
}

std::shared_ptr<Clippings> ClippingDataRead::GetClippingsFromFolder(
    const std::string& sFolderId, const Connection& oDefaultConnection, bool bGetData,
    const std::shared_ptr<Clippings>& /*oClippings*/) {
  return ItemDataAccess(oDefaultConnection, sFolderId)
      ->GetClippingsFromFolder(sFolderId, bGetData, Clippings::Create(), false);
}

}  // namespace clipcat
