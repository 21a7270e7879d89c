// ClippingDataRead is the public read service ("TORVEL.ClippingDataRead"). Every member takes the
// client's default ConnectionDetails, routes to the catalog that holds the item it names (the
// default catalog or a linked one) and answers entities whose ids route back to the same catalog.
// Linked catalogs are merged into the default catalog's tree. Stateless; destroying any service
// object drops the thread's open catalogs. Use an object from one thread only.
//
// Unless a member says otherwise it calls the catalog operation of the same name and lets its
// errors reach the caller unchanged.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/connection_details.h"
#include "entities/folder.h"
#include "entities/search.h"
#include "store/data_access.h"
#include "util/date.h"

namespace clipcat {

// What a content search may be narrowed to (ClippingDataRead::FindContent).
struct ContentSearchOptions {
  std::string folder_id;    // this folder and those below it; none: every catalog
  std::string category_id;  // members of this category only (in its catalog)
  int32_t data_type = 0;    // clippings with an item of this data type; 0: any
  int32_t max_items = 50;   // at most this many results
};

class ClippingDataRead {
 public:
  using Connection = std::shared_ptr<ConnectionDetails>;

  // ---- Content search ----
  // The clippings whose name, description or content match the search text `sQuery` (the
  // language of store/content_query.h), best first, each with its score and a snippet. Without
  // a folder or category the default catalog and every linked catalog that answers are
  // searched, each on its own engine, and their results merged by score; a linked catalog that
  // does not answer is left out. A folder that links a catalog stands for that whole catalog.
  // Raises 5 for a search text without a word to look for, and what the default catalog (or
  // the catalog of the folder or category named) raises.
  std::vector<FoundClipping> FindContent(const std::string& sQuery,
                                         const ContentSearchOptions& options,
                                         const Connection& oDefaultConnection);
  // FindContent for late-bound clients: the clippings alone, in rank order. An empty
  // sFolderID, sCategoryID or a zero lDataType leaves that narrowing out.
  std::shared_ptr<Clippings> SearchContent(const std::string& sQuery, int32_t lMaximumItems,
                                           const Connection& oDefaultConnection,
                                           const std::string& sFolderID = "",
                                           const std::string& sCategoryID = "",
                                           int32_t lDataType = 0);

  // ---- Versions (trash_and_versions.cpp) ----
  // The versions kept of the clipping, oldest first.
  std::vector<ClippingVersion> GetClippingVersions(const std::string& sClippingID,
                                                   const Connection& oDefaultConnection);
  // The clipping as version lVersion left it, with its data; nothing when there is no such
  // version.
  std::shared_ptr<Clipping> GetClippingVersion(const std::string& sClippingID, int32_t lVersion,
                                               const Connection& oDefaultConnection);
  // The folder with its ChildFolders tree loaded, deleted folders included (no linked folders),
  // and the clippings of one folder, deleted ones included: what an export of the trash reads.
  std::shared_ptr<Folder> GetChildFoldersWithTrash(const std::string& sFolderId,
                                                   const Connection& oDefaultConnection);
  std::shared_ptr<Clippings> GetClippingsFromFolderWithTrash(const std::string& sFolderId,
                                                             const Connection& oDefaultConnection,
                                                             bool bGetData);
  // What the versions of the selected catalog (as ClippingDataWrite::GetTrash selects it) take.
  VersionSpace GetVersionSpace(const Connection& oDefaultConnection,
                               const std::string& sCatalogFolderID = "");

  ClippingDataRead() = default;
  ~ClippingDataRead();
  ClippingDataRead(const ClippingDataRead&) = delete;
  ClippingDataRead& operator=(const ClippingDataRead&) = delete;

  std::string GetClippingPathName(const std::string& sClippingID,
                                  const Connection& oDefualtConnection);
  std::string GetFolderPathName(const std::string& sFolderId, const Connection& oDefualtConnection);
  std::shared_ptr<Folder> GetCatalogsRootFolder(const std::string& sItemID,
                                                const Connection& oDefaultConnection);
  bool CatalogsConnectionOK(const std::string& sItemID, const Connection& oDefaultConnection);
  std::shared_ptr<Folder> GetPersonalCatalogRootFolder(const Connection& oDefaultConnection);

  // Searches each folder of oSearch's FolderIDs in its own catalog (a linked folder through its
  // catalog's root) and appends the results in order.
  std::shared_ptr<Clippings> SearchForClippings(const std::shared_ptr<Search>& oSearch,
                                                const Connection& oDefaultConnection);

  // The categories of every folder's catalog, appended in order.
  std::shared_ptr<Categories> GetCategoriesFromLinkedFolders(
      const std::shared_ptr<Folders>& oFolders, const Connection& oDefaultConnection);

  // True when the thread held a catalog that is no longer linked, else when any linked catalog's
  // categories changed after the given time. The default catalog is not asked.
  bool HaveCategoriesChanged(const Date& tDateTimeCategoriesChecked,
                             const Connection& oDefaultConnection);
  bool HaveFoldersChanged(const Date& tDateTimeFoldersChecked,
                          const Connection& oDefaultConnection);
  bool CategoryNameExists(const std::string& sName, const std::string& sLinkedCatalogID,
                          const Connection& oDefaultConnection);
  bool FolderNameExists(const std::string& sName, const std::string& sParentFolderID,
                        const Connection& oDefaultConnection);
  std::shared_ptr<Folder> GetFolderByName(const std::string& sName,
                                          const std::string& sParentFolderID,
                                          const Connection& oDefaultConnection);
  bool ClippingNameExists(const std::string& sName, const std::string& sFolderId,
                          const Connection& oDefaultConnection);

  // Not provided: always raises -999999 "Not yet implemented!!" with source "ClippingExists".
  bool ClippingExists(const std::string& sSearchDataXML, const std::string& oDefaultConnection);

  std::shared_ptr<Category> GetCategory(const std::string& sCategoryID,
                                        const Connection& oDefaultConnection);
  bool IsLinkedFolder(const std::string& sFolderId, const Connection& oDefaultConnection);

  // Whether the catalog of sItemID (the default catalog when empty; the catalog a linked folder
  // points to when bItemIDIsLinkedFolder) opens and answers. Never raises.
  bool ConnectionOK(const Connection& oDefaultConnection, const std::string& sItemID = "",
                    bool bItemIDIsLinkedFolder = false);

  std::shared_ptr<Categories> GetCategoriesFromLinkedFolder(const std::string& sFolderId,
                                                            const Connection& oDefaultConnection);
  std::shared_ptr<Categories> GetCategoriesFromFolder(const std::string& sFolderId,
                                                      const Connection& oDefaultConnection);
  std::shared_ptr<Categories> GetCategoriesForClipping(const std::string& sClippingID,
                                                       const Connection& oDefaultConnection);
  std::string GetCategoriesNamesForClipping(const std::string& sClippingID,
                                            const Connection& oDefaultConnection);

  // Whether two item ids belong to one catalog; touches no catalog.
  bool InSameCatalog(const std::string& sItemID1, const std::string& sItemID2,
                     const Connection& oDefaultConnection);

  // Every clipping, deleted ones included, of the folder and the folders below it.
  std::shared_ptr<Clippings> GetClippingsForFolderAndChildFolders(
      const std::string& sFolderId, const std::string& bGetData,
      const Connection& oDefaultConnection);
  std::shared_ptr<Clippings> GetClippingsFromCategory(const std::string& sCategoryID, bool bGetData,
                                                      const Connection& oDefaultConnection);
  std::shared_ptr<Clippings> GetClippingsWithoutCategory(const std::string& sLinkedFolderID,
                                                         bool bGetData,
                                                         const Connection& oDefaultConnection);

  // The most recently used clippings of the default catalog, most recent first, each with its
  // access time; history of clippings that no longer exist is removed. Never raises.
  std::shared_ptr<Clippings> GetClippingsHistroy(int32_t lMaximumItems,
                                                 const Connection& oDefaultConnection);
  std::shared_ptr<Clippings> GetDeletedClippingsForCatalog(const std::string& sLinkedFolderID,
                                                           bool bGetData,
                                                           const Connection& oDefaultConnection);

  // Each linked folder as the root folder of its catalog under the linked folder's name, or the
  // linked folder itself with status 4 when its catalog does not answer. Never raises.
  std::shared_ptr<Folders> GetLinkedFolders(const Connection& oDefaultConnection);

  // The folders of the default catalog that link other catalogs, as stored, in the order of
  // their names; no linked catalog is opened. C++ only. Raises the default catalog's errors.
  std::shared_ptr<Folders> GetLinkingFolders(const Connection& oDefaultConnection);

  // The connection details of the catalog that holds sFolderId (for a linked folder of the
  // default catalog, the catalog it links); nullptr for a folder of the default catalog that
  // links none. Raises 3021 for an id of a catalog that is not linked.
  std::shared_ptr<ConnectionDetails> GetConnectionDetails(const std::string& sFolderId,
                                                          const Connection& oDefaultConnection);
  std::shared_ptr<ExternalCatalogCollection> GetExternalCatalogs(
      const Connection& oDefaultConnection);
  std::shared_ptr<Clippings> FindClippings(const std::shared_ptr<Search>& oSearch,
                                           const Connection& oDefaultConnection);

  // The folder; the root of a linked catalog shows under the linking folder's name, and when that
  // catalog does not answer the linking folder comes back with status 4.
  std::shared_ptr<Folder> GetFolder(const std::string& sFolderId,
                                    const Connection& oDefaultConnection);

  // The default catalog's folder tree; with bGetExternalFolders each linked folder is replaced by
  // its catalog's tree (or kept with status 4 when the catalog does not answer). Never raises.
  std::shared_ptr<Folders> GetFolders(const Connection& oDefaultConnection,
                                      bool bGetExternalFolders = true);
  std::shared_ptr<Folders> GetFoldersForLinkedFolder(const std::shared_ptr<Folder>& oFolder,
                                                     const Connection& oDefualtConnection);

  // The folder with its ChildFolders tree loaded.
  std::shared_ptr<Folder> GetChildFolders(const std::string& sFolderId,
                                          const Connection& oDefaultConnection,
                                          bool bGetExternalFolders = true);
  // The folder's children, one level; linked folders among them carry their catalog root's id.
  std::shared_ptr<Folders> GetChildrenFolders(const std::string& sFolderId,
                                              const Connection& oDefaultConnection,
                                              bool bGetExternalFolders = true);
  std::shared_ptr<Category> GetCategoryByName(const std::string& sName, const std::string& sItemID,
                                              const Connection& oDefaultConnection);
  std::shared_ptr<Clipping> GetClippingByName(const std::string& sName,
                                              const std::string& sFolderId, bool bGetData,
                                              const Connection& oDefaultConnection);
  std::shared_ptr<Clipping> GetClipping(const std::string& sClippingID,
                                        const Connection& oDefaultConnection,
                                        bool bGetData = false);

  // The first clipping with that GUID in the catalogs of the linked folders, in their order; the
  // default catalog itself is not searched. nullptr when none has it.
  std::shared_ptr<Clipping> FindClippingWithGUID(const std::string& sClippingGUID,
                                                 const Connection& oDefaultConnection,
                                                 bool bGetData = false);

  // A new list of the folder's clippings; oClippings is not used.
  std::shared_ptr<Clippings> GetClippingsFromFolder(
      const std::string& sFolderId, const Connection& oDefaultConnection, bool bGetData = false,
      const std::shared_ptr<Clippings>& oClippings = nullptr);

 private:
  bool PruneUnlinkedCatalogs(const std::shared_ptr<Folders>& linked,
                             const Connection& oDefaultConnection);
};

}  // namespace clipcat
