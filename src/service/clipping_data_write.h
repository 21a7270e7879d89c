// ClippingDataWrite is the public write service ("TORVEL.ClippingDataWrite"). Like the read
// service it holds no state: every member takes the client's default ConnectionDetails, routes to
// the catalog that holds the item and calls the catalog operation of the same name. New folders
// and clippings under a linked folder go into the linked catalog's root; a linked folder is
// removed together with its catalog record; changes to a linked catalog's root are made to the
// folder that links it. Use an object from one thread only.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/connection_details.h"
#include "entities/folder.h"
#include "store/clipping_version.h"
#include "store/team_roles.h"
#include "store/trash_entry.h"
#include "util/progress.h"

namespace clipcat {

class DataAccess;

class ClippingDataWrite {
 public:
  using Connection = std::shared_ptr<ConnectionDetails>;

  ClippingDataWrite() = default;
  ~ClippingDataWrite();
  ClippingDataWrite(const ClippingDataWrite&) = delete;
  ClippingDataWrite& operator=(const ClippingDataWrite&) = delete;

  // Makes the content index of the catalog holding `sItemID` (the default catalog for the empty
  // text) anew from its clippings, in one transaction; `progress` hears of the clippings done.
  void RebuildContentIndex(const std::string& sItemID, const Connection& oDefaultConnection,
                           const ProgressCallback& progress);

  // Runs `body` as one transaction of the catalog that new items under the folder sFolderID go
  // into (the catalog it links, for a folder that links one), and of the default catalog as well
  // when that is another one, since linked folders are recorded there. What `body` writes to them
  // through the services is committed when it returns; when it raises, or the process dies first,
  // none of it stays, and its error passes unchanged. Calls nest: an inner one on a catalog that
  // an outer one holds writes into the outer transaction. Two catalogs commit one after the
  // other, the folder's first. For C++ callers only; it has no late-bound member.
  void WriteAsOneTransaction(const std::string& sFolderID, const Connection& oDefaultConnection,
                             const std::function<void()>& body);

  // ---- Trash and versions (trash_and_versions.cpp) ----
  // sCatalogFolderID selects a catalog: empty for the default catalog, a folder that links a
  // catalog for that catalog, any other item id for the catalog that holds it.

  // The trash of the selected catalog (DataAccess::GetTrash).
  std::vector<TrashEntry> GetTrash(const std::string& sCatalogFolderID,
                                   const Connection& oDefaultConnection);
  // Brings a deleted folder or clipping back where it was (DataAccess::RestoreItem) and answers
  // the name it has now.
  std::string RestoreItem(const std::string& sItemID, const Connection& oDefaultConnection,
                          bool bRename = false);
  // Removes for good what the selected catalog's trash holds that was deleted more than
  // lOlderThanDays days ago (everything for a negative number); answers how many folders and
  // clippings went.
  int32_t EmptyTrash(const Connection& oDefaultConnection, int32_t lOlderThanDays = -1,
                     const std::string& sCatalogFolderID = "");
  // Sets up the roles of the default catalog, a team catalog on a server, and answers them; makes
  // sUser a member that may write, or with bReadOnly only read (DataAccess::SetUpTeamRoles,
  // GrantTeamAccess).
  TeamRoles SetUpTeamRoles(const Connection& oDefaultConnection);
  void GrantTeamAccess(const std::string& sUser, bool bReadOnly,
                       const Connection& oDefaultConnection);
  // Moves the folder sFolderID, or the clipping sClippingID, into the folder sNewParentID of the
  // same catalog, keeping its id, GUID, categories, versions and history (DataAccess::MoveFolder
  // and MoveClipping). Raises 5 (source "Data Services") when the two are in different catalogs.
  void MoveFolder(const std::string& sFolderID, const std::string& sNewParentID,
                  const Connection& oDefaultConnection);
  void MoveClipping(const std::string& sClippingID, const std::string& sNewParentID,
                    const Connection& oDefaultConnection);
  // Sets when and by whom the trash entry sItemID was deleted (DataAccess::NoteDeletion).
  void NoteDeletion(const std::string& sItemID, const Date& tDeleted, const std::string& sDeletedBy,
                    const Connection& oDefaultConnection);
  // Adds a version kept elsewhere to the clipping (DataAccess::AddClippingVersion): its number,
  // time, user, name and description as `version` says, with the items of oClipping.
  void AddClippingVersion(const std::string& sClippingID, const ClippingVersion& version,
                          const std::shared_ptr<Clipping>& oClipping,
                          const Connection& oDefaultConnection);
  // Makes version lVersion of the clipping its current state; answers the clipping.
  std::shared_ptr<Clipping> RevertClipping(const std::string& sClippingID, int32_t lVersion,
                                           const Connection& oDefaultConnection);
  // How many versions the selected catalog keeps per clipping from now on.
  void SetMaximumVersions(int32_t lMaximum, const Connection& oDefaultConnection,
                          const std::string& sCatalogFolderID = "");

  // Removes every category of the clipping named by the (misnamed) sCategoryID.
  void DeleteAllCategoriesFromClipping(const std::string& sCategoryID,
                                       const Connection& oDefaultConnection);

  // Removes a linked folder and its external catalog record from the default catalog and closes
  // that catalog. The id of a catalog's root folder changes nothing.
  void DeleteLinkedFolder(const std::string& sFolderId, const Connection& oDefaultConnection);

  // Tags every clipping of the folder; answers the empty text.
  std::string AddFolderToCategory(const std::string& sFolderId, const std::string& sCategoryID,
                                  const Connection& oDefaultConnection);
  // Answers the empty text.
  std::string DeleteAllCategoriesFromFolder(const std::string& sFolderId,
                                            const Connection& oDefaultConnection);

  // Records the catalog and a linked folder for it in the default catalog.
  std::shared_ptr<Folder> AddLinkedFolder(const Connection& oNewConnectionDetails,
                                          const std::string& sFolderName,
                                          const Connection& oDefaultConnection);

  // Adds a folder named sDefaultFolderName under the root of the catalog oLinkedFolder links.
  std::shared_ptr<Folder> AddDefaultFolderToLinkedCatalog(
      const std::shared_ptr<Folder>& oLinkedFolder, const std::string& sDefaultFolderName,
      const Connection& oDefaultConnection);

  // The category is added to the catalog the folder sFolderId links (its own catalog for an
  // ordinary folder). Names are always checked: bCheckNameUnique is accepted for clients.
  std::shared_ptr<Category> AddCategory(const std::shared_ptr<Category>& oCategory,
                                        const std::string& sFolderId,
                                        const Connection& oDefaultConnection,
                                        bool bCheckNameUnique = false);
  void DeleteCategory(const std::string& sCategoryID, const Connection& oDefaultConnection);
  std::shared_ptr<Category> UpdateCategory(const std::shared_ptr<Category>& oCategory,
                                           const Connection& oDefaultConnection,
                                           bool bCheckNameUnique = false);
  void AddClippingToCategory(const std::string& sClippingID, const std::string& sCategoryID,
                             const Connection& oDefaultConnection);
  // History is kept in the default catalog only.
  void UpdateClippingHistory(const std::shared_ptr<Clipping>& oClipping,
                             const Connection& oDefaultConnection);
  void AddClippingToCategories(const std::string& sClippingID,
                               const std::shared_ptr<Categories>& oCategories,
                               const Connection& oDefaultConnection);
  void DeleteClippingFromCategory(const std::string& sClippingID, const std::string& sCategoryID,
                                  const Connection& oDefaultConnection);

  // Adds the folder under sParentFolderID; under a linked folder it goes into the linked
  // catalog's root. Answers the folder with its new id, tagged with its catalog.
  std::shared_ptr<Folder> AddFolder(const std::shared_ptr<Folder>& oFolder,
                                    const std::string& sParentFolderID,
                                    const Connection& oDefaultConnection,
                                    bool bCheckNameUnique = false);
  // As AddFolder. Clipping names are always checked: bCheckNameUnique is accepted for clients.
  std::shared_ptr<Clipping> AddClipping(const std::shared_ptr<Clipping>& oClipping,
                                        const std::string& sParentFolderID,
                                        const Connection& oDefaultConnection,
                                        bool bCheckNameUnique = false);
  bool CanAddFolder(const std::shared_ptr<Folder>& oFolder, const std::string& sParentFolderID,
                    const Connection& oDefaultConnection);
  bool CanAddClipping(const std::shared_ptr<Clipping>& oClipping,
                      const std::string& sParentFolderID, const Connection& oDefaultConnection);
  bool CanDeleteClipping(const std::string& sClippingID, const Connection& oDefaultConnection,
                         bool bDeletePermanently = false);
  bool CanDeleteFolder(const std::string& sFolderId, const Connection& oDefaultConnection,
                       bool bDeletePermanently = false);

  // Not provided: always raise -999999 "Not yet implemented!!" with the member's name as source.
  bool CanUpdateFolder(const std::shared_ptr<Folder>& oFolder,
                       const Connection& oDefaultConnection);
  bool CanUpdateClipping(const std::shared_ptr<Clipping>& oClipping,
                         const Connection& oDefaultConnection, bool bUpdateData = false);

  void DeleteClipping(const std::string& sClippingID, const Connection& oDefaultConnection,
                      bool bDeletePermanently = false);
  void DeleteFolder(const std::string& sFolderId, const Connection& oDefaultConnection,
                    bool bDeletePermanently = false);

  // Updates the folder in its catalog; the root of a linked catalog is renamed through the
  // linking folder, whose Updated the folder then carries.
  std::shared_ptr<Folder> UpdateFolder(const std::shared_ptr<Folder>& oFolder,
                                       const Connection& oDefaultConnection,
                                       bool bCheckNameUnique = false);
  std::shared_ptr<Clipping> UpdateClipping(const std::shared_ptr<Clipping>& oClipping,
                                           const Connection& oDefaultConnection, bool bUpdateData,
                                           bool bCheckNameUnique = false);

 private:
  // The catalog and parent id where a new item under sParentFolderID goes.
  std::pair<std::shared_ptr<DataAccess>, std::string> NewItemTarget(
      const std::string& sParentFolderID, const Connection& oDefaultConnection);
};

}  // namespace clipcat
