// DataAccess is the catalog store's face for one catalog: it keeps the catalog's connection
// settings, opens the catalog on first use and keeps it open until CloseCatalog, and offers every
// store operation on folders, clippings, clipping data, categories, linked catalogs, the access
// history and searches. Ids it takes and answers are item ids (a plain key for the default
// catalog, "P<catalog>C<key>" for an external one); it strips and adds its own catalog's tag.
// DataAccessSQL (server catalogs) and DataAccessMDB (file catalogs) are its two kinds and behave
// identically; the engine is chosen by the connection string. A DataAccess owns its connection:
// not copyable, and used by one thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/db_connection.h"
#include "engine/recordset.h"
#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/collection.h"
#include "entities/connection_details.h"
#include "entities/external_catalog.h"
#include "entities/folder.h"
#include "entities/search.h"
#include "store/clipping_version.h"
#include "store/content_query.h"
#include "store/team_roles.h"
#include "store/trash_entry.h"
#include "util/date.h"
#include "util/progress.h"
#include "util/variant.h"

namespace clipcat {

// One clipping a content search found, with its score (higher is better; comparable among the
// results of one engine) and a snippet of its text with the search's words marked.
struct FoundClipping {
  std::shared_ptr<Clipping> clipping;
  double score = 0;
  std::string snippet;
};

// A plain list of external catalogs (positions from 1, no keys).
using ExternalCatalogCollection = Collection<std::shared_ptr<ExternalCatalog>>;

class DataAccess {
 public:
  virtual ~DataAccess();

  DataAccess(const DataAccess&) = delete;
  DataAccess& operator=(const DataAccess&) = delete;

  // ---- Properties ----

  // The catalog's id in the personal catalog's external catalog table; 0 for the personal
  // catalog. Every id this object takes is stripped of this catalog's tag, every id it answers
  // tagged with it. The setter converts any value as CLng does (raising 13, 6 or 94).
  int32_t ExternalCatalogID() const { return external_catalog_id_; }
  void SetExternalCatalogID(const Variant& vNewValue);

  bool IsPersonalCatalog() const { return is_personal_catalog_; }
  void SetIsPersonalCatalog(bool bNewValue) { is_personal_catalog_ = bNewValue; }

  // Display name of the catalog; kept, not used by the store.
  const std::string& Name() const { return name_; }
  void SetName(std::string sNewValue) { name_ = std::move(sNewValue); }

  // Kept and answered; no operation consults it.
  bool IsTransactional() const { return is_transactional_; }
  void SetIsTransactional(bool bNewValue) { is_transactional_ = bNewValue; }

  // The connection string the catalog is (re)opened with.
  const std::string& ConnectionString() const { return connection_string_; }
  void SetConnectionString(std::string sNewValue) { connection_string_ = std::move(sNewValue); }

  // Kept and answered; no operation consults it.
  bool AutoConnect() const { return auto_connect_; }
  void SetAutoConnect(bool bNewValue) { auto_connect_ = bNewValue; }

  // ---- Catalog ----

  // Opens the catalog. Each non-empty argument replaces the kept setting, an empty one keeps it;
  // the catalog is opened with the kept settings. Raises what DBConnection::OpenConnection raises
  // (-2147220994 for an unreachable catalog); on failure the object stays as it was (a catalog
  // that was open stays open on its old connection).
  void OpenCatalog(const std::string& sConnectionString, const std::string& sUserName,
                   const std::string& sPassword);

  // Closes the catalog; the next store operation reopens it with the kept settings. Not an error
  // when the catalog is not open.
  void CloseCatalog();

  // True while the catalog is open.
  bool IsOpen() const { return is_open_; }

  // The path of the folder that holds the clipping `sClippingID` (see GetFolderPathName), without
  // the clipping's own name.
  std::string GetClippingPathName(const std::string& sClippingID);

  // The names of the folder `sFolderID` and its ancestors from the top of the catalog down,
  // joined with "\" ("Projects\2002\Letters"); a top-level folder answers its name alone, key 0
  // the empty text without a query. Raises 13 for an id that is not a number, and
  // err::kDatabaseError when the chain of parents breaks (a parent that names no folder) or
  // runs in a circle.
  std::string GetFolderPathName(const std::string& sFolderID);

  // True when the catalog answers: an open catalog is probed and queried, a closed one opened.
  // `sItemID` is not used. Never raises.
  bool CatalogsConnectionOK(const std::string& sItemID);

  // ---- Store operations ----
  // Each opens the catalog first when it is closed (raising -2147220994 when it cannot be
  // reached) and passes the errors of the database on unchanged unless its own contract says
  // otherwise.

  // ---- Folders ----
  // The folder at the top of this catalog that stands for no other catalog (parent 0, external
  // catalog 0), or nullptr when there is none. `sCatalogID` is not used.
  std::shared_ptr<Folder> GetCatalogsRootFolder(const std::string& sCatalogID);
  std::shared_ptr<Folder> GetPersonalCatalogRootFolder();
  // The folders at the top in name order, each with its whole subtree in ChildFolders. Linked
  // folders (and folders naming another catalog below the top) only with
  // `bIncludeExternalFolders`, deleted ones (status 3) only with `bGetDeletedItems`; status-4
  // folders are never among the children. Raises err::kDatabaseError, naming the folder, when a
  // folder is among its own ancestors.
  std::shared_ptr<Folders> GetFolders(bool bIncludeExternalFolders, bool bGetDeletedItems);
  // The folder `sFolderId`, whatever its status, without children; nullptr when there is none.
  // Raises 13 for an id that is not a key.
  std::shared_ptr<Folder> GetFolder(const std::string& sFolderId);
  // The first non-deleted folder named `sFolderName` (compared as the catalog compares names,
  // without regard to case) under `sParentFolderID`, or nullptr.
  std::shared_ptr<Folder> GetFolderByName(const std::string& sFolderName,
                                          const std::string& sParentFolderID);
  // True when GetFolderByName would find a folder.
  bool FolderNameExists(const std::string& sFolderName, const std::string& sParentFolderID);
  // Replaces the ChildFolders of `oFolder` (and of each child, down to the leaves) with the
  // folders listed as GetFolders lists them, and answers `oFolder`. Raises as GetFolders does,
  // and 91 for nullptr.
  std::shared_ptr<Folder> GetChildFolders(const std::shared_ptr<Folder>& oFolder,
                                          bool bIncludeExternalFolders, bool bGetDeletedItems);
  // The children of `sParentFolderID` one level down, in name order, without their children.
  std::shared_ptr<Folders> GetChildrenFolders(const std::string& sParentFolderID,
                                              bool bIncludeExternalFolders, bool bGetDeletedItems);
  // True when any folder, deleted ones included, was written at or after the given time.
  bool HaveFoldersChanged(const Date& tDateTimeFoldersChecked);
  // Stores `oFolder` as a new active leaf under `sParentFolderID` (0 for the top), clears the
  // parent's leaf mark, and answers the same object with a new ID, GUID, Updated time, status 1
  // and ParentID. With `bCheckNameUnique` raises -2147220997 (source "Data Services", message
  // 116 with the name) when a non-deleted sibling has the name, or when the name is empty. On
  // any error nothing is stored, no transaction stays open and `oFolder` is as it was.
  std::shared_ptr<Folder> AddFolder(const std::shared_ptr<Folder>& oFolder,
                                    const std::string& sParentFolderID, bool bCheckNameUnique);
  // Writes the name, description, external catalog and status of `oFolder` and a new Updated
  // time; the parent and the leaf mark are not changed. Checks and raises as AddFolder does,
  // against the siblings under `oFolder`'s ParentID; on any error the row stays as it was.
  std::shared_ptr<Folder> UpdateFolder(const std::shared_ptr<Folder>& oFolder,
                                       bool bCheckNameUnique);
  // Sets the leaf mark of `sFolderId`; does nothing for key 0.
  void UpdateParentFolder(const std::string& sFolderId, bool bIsLeaf);
  // Marks the folder, its non-deleted subfolders and their clippings deleted, or with
  // `bDeletePermenantly` removes their rows; subfolders already marked deleted are left as they
  // are. Then marks the parent a leaf when the folder has no children left, whatever other
  // children the parent has. An unknown id is not an error. All or nothing: on an error the tree
  // stays as it was.
  void DeleteFolder(const std::string& sFolderId, bool bDeletePermenantly);
  void DeleteClippingsFromFolder(const std::string& sFolderId, bool bDeletePermenantly);
  // Whether the insert of AddFolder (without the name check) would succeed; nothing is kept and
  // `oFolder` is not changed. Never raises.
  bool CanAddFolder(const std::shared_ptr<Folder>& oFolder, const std::string& sParentFolderID);
  // Whether the folder exists and its clippings and row could be deleted (subfolders are not
  // tried); nothing is kept. Never raises.
  bool CanDeleteFolder(const std::string& sFolderId, bool bDeletePermenantly);
  // Raises -999999 "Not yet implemented!!" with source "CanUpdateFolder".
  bool CanUpdateFolder(const Variant& vFolder);

  // ---- Clippings ----
  // The clipping `sClippingID`, its content items too when `bGetData`; nullptr when there is
  // none. Deleted clippings (status 4) are found as well. Raises 13 for an id that is not a key.
  std::shared_ptr<Clipping> GetClipping(const std::string& sClippingID, bool bGetData);
  // As GetClipping, for the clipping whose GUID is `sClippingGUID`.
  std::shared_ptr<Clipping> FindClippingWithGUID(const std::string& sClippingGUID, bool bGetData);
  // The live clipping named `sClippingName` (without regard to case) in folder `sFolderId`, or
  // nullptr. Deleted clippings are not found.
  std::shared_ptr<Clipping> GetClippingByName(const std::string& sClippingName,
                                              const std::string& sFolderId, bool bGetData);
  // True when folder `sFolderId` holds a live clipping of that name.
  bool ClippingNameExists(const std::string& sClippingName, const std::string& sFolderId);
  std::shared_ptr<Clippings> GetDeletedClippingsForCatalog(const std::string& sCatalogID,
                                                           bool bGetData);
  // Stores `oClipping` with its non-empty content items in folder `sFolderId` and answers the
  // same object with a new ID, GUID and Updated time; FolderID becomes the folder's local key.
  // Raises -2147220996 (source "Data Services") when the folder holds a live clipping of that
  // name. On any error nothing is stored, no transaction stays open and `oClipping` keeps its
  // ID, GUID, FolderID and Updated.
  std::shared_ptr<Clipping> AddClipping(const std::shared_ptr<Clipping>& oClipping,
                                        const std::string& sFolderId);
  // Writes the name, description and status of `oClipping` and a new Updated time; when
  // `bWriteData` its content items replace all stored ones. The folder is never changed. Raises
  // -2147220996 as AddClipping does; on any error the stored clipping stays as it was.
  std::shared_ptr<Clipping> UpdateClipping(const std::shared_ptr<Clipping>& oClipping,
                                           bool bWriteData);
  // Takes the clipping out of its categories and marks it deleted (status 4, row and content
  // kept), or with `bDeletePermenantly` removes its rows. An unknown key is not an error.
  void DeleteClipping(const std::string& sClippingID, bool bDeletePermenantly);
  // Whether the insert of AddClipping (without content or name check) or DeleteClipping would
  // succeed; nothing is kept and `oClipping` is not changed. Never raises.
  bool CanAddClipping(const std::shared_ptr<Clipping>& oClipping, const std::string& sFolderId);
  bool CanDeleteClipping(const std::string& sClippingID, bool bDeletePermenantly);
  // Raises -999999 "Not yet implemented!!".
  bool CanUpdateClipping(const Variant& vClipping);
  bool ClippingsExist(const Variant& vArgument);

  // ---- Clipping queries and search ----
  // Searches match text as the catalog compares it, without regard to case in any script
  // (Unicode simple case folding, store/case_folding.h). In a search text only "*" is a wildcard
  // (any run of characters), and only where a member says so; "%", "_" and every other character
  // stand for themselves.

  // The clippings of folder `sFolderId` in name order, deleted ones (status 4) only with
  // `bGetDeletedItems`, each with its content when `bGetData`. With `oClippings` nullptr the
  // answer is a new list; otherwise it is `oClippings` itself, and when it holds clippings only
  // the rows among their ids (keys of this catalog as they are, untagged) are read and appended
  // after them. Raises 13 for a folder id or a held id that is not a key, 91 for a held nullptr;
  // the list is unchanged when anything raises.
  std::shared_ptr<Clippings> GetClippingsFromFolder(const std::string& sFolderId, bool bGetData,
                                                    std::shared_ptr<Clippings> oClippings,
                                                    bool bGetDeletedItems);
  // The clippings of `oFolder` and of every folder in its loaded ChildFolders tree (children not
  // loaded are not searched), deleted ones included, in the catalog's order. Raises 91 for
  // nullptr and 13 when a folder's id is not a key.
  std::shared_ptr<Clippings> GetClippingsForFolderAndChildFolders(
      const std::shared_ptr<Folder>& oFolder, bool bGetData);
  // The non-deleted members of category `sCategoryID`, in name order. Raises 13 for an id that
  // is not a key.
  std::shared_ptr<Clippings> GetClippingsFromCategory(const std::string& sCategoryID,
                                                      bool bGetData);
  // Every non-deleted clipping of the catalog that belongs to no category, in name order.
  // `sCatalogID` is not used.
  std::shared_ptr<Clippings> GetClippingsWithoutCategory(const std::string& sCatalogID,
                                                         bool bGetData);
  // The non-deleted clippings whose name or description contains `oSearch`'s SearchText ("*"
  // included, literally; an empty text matches all), without content and in the catalog's
  // order. Its FolderIDs, when there are any, narrow the search to exactly those folders: they
  // are keys of this catalog as they are (not item ids), and one that is not a number raises 13.
  // CategoryNames and the switches are not read. Raises 91 for nullptr.
  std::shared_ptr<Clippings> FindClippings(const std::shared_ptr<Search>& oSearch);
  // The non-deleted clippings whose whole name or description matches `oSearch`'s SearchText,
  // "*" a wildcard (an empty text matches nothing); each without content, with its PathName and
  // its category names (as GetCategoriesNamesForClipping gives them), in the catalog's order.
  // FolderIDs (item ids; subfolders only when listed) narrow the search. CategoryNames (with
  // "*" wildcards) narrow it to members of a named category, or, with
  // OrClippingBelongsToCategory, add every non-deleted member of one whatever the text and the
  // folders. SearchSubFolders is not read, and `oSearch` is not changed. Raises 13 for a folder
  // id that is not a key, 91 for nullptr.
  std::shared_ptr<Clippings> SearchForClippings(const std::shared_ptr<Search>& oSearch);

  // ---- Content search (content_index.h) ----
  // True when the catalog has a content index: every catalog once a writer has opened it.
  bool HasContentIndex();
  // The best `lMaximumItems` non-deleted clippings whose name, description or content match
  // `query`, best first, without content, each with its score and snippet. Narrowed, when given,
  // to the folder `sFolderID` and every folder below it, to members of category `sCategoryID`,
  // and to clippings with an item of data type `lDataType` (0: any). Raises 13 for an id that is
  // not a key, and 5 (source "Data Services") when the catalog has no content index yet.
  std::vector<FoundClipping> SearchContent(const ContentQuery& query, const std::string& sFolderID,
                                           const std::string& sCategoryID, int32_t lDataType,
                                           int32_t lMaximumItems);
  // Makes the content index anew from every clipping, in one transaction; `progress` hears of
  // the clippings done.
  void RebuildContentIndex(const ProgressCallback& progress);

  // ---- Team roles on a server catalog (team_roles.cpp) ----
  // The roles of this catalog: "clipcat_DATABASE_readers" and "clipcat_DATABASE_writers" in the
  // catalog's schema. Raises 5 (source "Data Services") on a catalog in a file.
  TeamRoles TeamRoleNames();
  // Makes both roles when missing (NOLOGIN) and grants them what reading and writing the catalog
  // take: the readers use the schema and read its tables, sequences and functions; the writers
  // are readers that also insert, update and delete, and move the sequences on. Needs the rights
  // of the catalog's owner; raises the server's error otherwise.
  TeamRoles SetUpTeamRoles();
  // Makes `sUser` (a role of the server) a member of the writers, or with `bReadOnly` of the
  // readers only (and no longer of the writers). The name is passed as an identifier, quoted.
  void GrantTeamAccess(const std::string& sUser, bool bReadOnly);

  // ---- Moves within the catalog (item_moves.cpp) ----
  // Gives the live folder `sFolderID` the parent `sNewParentID`, or the live clipping
  // `sClippingID` the folder `sNewFolderID`, keeping its id, GUID, categories, versions and
  // history; a move to where it is changes nothing. Raises 5 (source "Data Services") for an
  // item or target that is not there or deleted, a target that links a catalog, a top folder,
  // and a folder moved into itself or below itself; -2147220997 or -2147220996 when a live item
  // there has the name. All or nothing.
  void MoveFolder(const std::string& sFolderID, const std::string& sNewParentID);
  void MoveClipping(const std::string& sClippingID, const std::string& sNewFolderID);

  // ---- Trash (trash.cpp) ----
  // Deleting marks folders and clippings deleted (status 3 and 4); from format 5 each delete also
  // notes what it took, so that a restore gives it back. Catalogs of older formats answer an
  // empty trash and restore nothing but the marks.

  // The trash of this catalog: every deleted folder or clipping that a delete was asked for
  // (not the items that went with a folder), most recently deleted first, unknown times last.
  std::vector<TrashEntry> GetTrash();
  // Brings the deleted folder or clipping `sItemID` back where it was, with the folders above
  // it when they are deleted too, the items a folder's delete took with it, its status and a
  // clipping's categories that still exist. A name taken meanwhile raises -2147220997 (folder)
  // or -2147220996 (clipping) unless `bRename`, which gives it the first free name of the form
  // "NAME (restored)", "NAME (restored 2)", ... Answers the name it has now. Raises 5 (source
  // "Data Services") for an item that is not deleted. All or nothing.
  std::string RestoreItem(const std::string& sItemID, bool bRename);
  // Removes for good every trash entry deleted before `before` (all of them without it; unknown
  // times count as old) with everything below it: rows, data items, versions, category
  // memberships, access history and content text. Answers the number of folders and clippings
  // removed. All or nothing.
  int32_t EmptyTrash(const std::optional<Date>& before);
  // Sets when and by whom the trash entry `sItemID` was deleted, for an import that carries the
  // trash of another catalog. Raises 5 (source "Data Services") for an item that is not an entry
  // of the trash.
  void NoteDeletion(const std::string& sItemID, const Date& tDeleted,
                    const std::string& sDeletedBy);

  // ---- Versions (versions.cpp) ----
  // From format 5 every UpdateClipping that writes the data, or changes the name or the
  // description, first keeps the clipping's state as a version, in the same transaction.

  // The versions kept of `sClippingID`, oldest first; none on catalogs of older formats.
  std::vector<ClippingVersion> GetClippingVersions(const std::string& sClippingID);
  // The clipping as version `lVersion` left it: the current clipping's id, folder and GUID with
  // the version's name, description, items and time. nullptr when there is no such version.
  std::shared_ptr<Clipping> GetClippingVersion(const std::string& sClippingID, int32_t lVersion);
  // Makes version `lVersion` the clipping's current state (the state it replaces becomes a
  // version itself). Raises 5 (source "Data Services") when there is no such version, and what
  // UpdateClipping raises.
  std::shared_ptr<Clipping> RevertClipping(const std::string& sClippingID, int32_t lVersion);
  // Adds a version kept elsewhere (an import of another catalog's history) to clipping
  // `sClippingID`: its number, time, user, name and description as `version` says, with the
  // items of `colClippingData` stored compressed. Only the newest MaximumVersions stay. Raises 5
  // (source "Data Services") for a number below 1 or one the clipping has, an unknown clipping,
  // or a catalog of an older format. All or nothing.
  void AddClippingVersion(const std::string& sClippingID, const ClippingVersion& version,
                          const std::shared_ptr<ClippingDataCollection>& colClippingData);
  // How many versions are kept per clipping (0: none; the oldest go first). Default 50.
  int32_t MaximumVersions();
  // Sets it for this catalog (a catalog property) and drops the versions beyond it. Raises 5 for
  // a negative number or a catalog of an older format.
  void SetMaximumVersions(int32_t lMaximum);
  // The versions kept in this catalog and their size.
  VersionSpace GetVersionSpace();

  // ---- Categories ----
  // Categories are kept in category group 1; rows of other groups are neither listed nor
  // compared. Ids that are not keys raise 13 before anything is written.

  // True when a category was written after the given time (to the second).
  bool HaveCategoriesChanged(const Date& tDateTimeCategoriesChecked);
  // True when a category is named `sCategoryName` (without regard to case). `sFolderID` is not
  // used.
  bool CategoryNameExists(const std::string& sCategoryName, const std::string& sFolderID);
  // Stores `oCategory` as a new category and answers the same object with its new ID and
  // Updated time. Raises -2147220995 (source "Data Services", message 116 with the name) when
  // another category has the name; on any error nothing is stored, no transaction stays open
  // and `oCategory` is as it was. `sFolderID` is not used.
  std::shared_ptr<Category> AddCategory(const std::shared_ptr<Category>& oCategory,
                                        const std::string& sFolderID);
  // Writes the name and description of `oCategory` with a new Updated time. When another
  // category has the name, raises -2147220995 as AddCategory does but leaves the update pending
  // in a transaction that stays open: the connection's next commit keeps it, its next rollback
  // or CloseCatalog drops it. Other errors roll back.
  std::shared_ptr<Category> UpdateCategory(const std::shared_ptr<Category>& oCategory);
  // Makes every clipping now in folder `sFolderID` or below it (deleted ones included) a member
  // of `sCategoryID`, as AddClippingsToCategory does; clippings added later do not join. An
  // unknown folder is not an error.
  void AddFolderToCategory(const std::string& sFolderID, const std::string& sCategoryID);
  // Removes the clippings now in folder `sFolderID` or below it from all their categories. An
  // unknown folder is not an error.
  void DeleteAllCategoriesFromFolder(const std::string& sFolderID);
  // Makes `sClippingID` a member of `sCategoryID`. Raises the database's error when it is a
  // member already.
  void AddClippingToCategory(const std::string& sClippingID, const std::string& sCategoryID);
  // Adds each clipping of `colClippings` in turn; one that cannot join (a member already, an id
  // that is not a key, nullptr) is skipped and the others still join. Raises 13 for a category
  // id that is not a key and 91 for nullptr, before anything is added.
  void AddClippingsToCategory(const std::shared_ptr<Clippings>& colClippings,
                              const std::string& sCategoryID);
  // Adds `sClippingID` to each category of `colCategories` in turn; the first failure raises,
  // and the memberships added before it stay.
  void AddClippingToCategories(const std::string& sClippingID,
                               const std::shared_ptr<Categories>& colCategories);
  // Ends one membership; not an error when there is none.
  void DeleteClippingFromCategory(const std::string& sClippingID, const std::string& sCategoryID);
  // Removes the category's memberships, then the category itself. An unknown id is not an error.
  void DeleteCategory(const std::string& sCategoryID);
  // The category `sCategoryID`, or nullptr when there is none.
  std::shared_ptr<Category> GetCategory(const std::string& sCategoryID);
  // Always raises the database's error (err::kDatabaseError): its statement names a column that
  // catalogs do not have, and callers have always received that error.
  std::shared_ptr<Category> GetCategoryByName(const std::string& sCategoryName);
  // Every category of the catalog in name order; `sFolderID` does not narrow the list.
  std::shared_ptr<Categories> GetCategoriesFromLinkedFolder(const std::string& sFolderID);
  std::shared_ptr<Categories> GetCategoriesFromFolder(const std::string& sFolderID);
  // The categories of `sClippingID` in name order, with ID, Name and Updated (Description is
  // left empty).
  std::shared_ptr<Categories> GetCategoriesForClipping(const std::string& sClippingID);
  // The names of GetCategoriesForClipping joined with ", "; the empty text for none.
  std::string GetCategoriesNamesForClipping(const std::string& sClippingID);
  // Ends every membership of `sClippingID`; not an error when there is none.
  void DeleteAllCategoriesFromClipping(const std::string& sClippingID);

  // ---- Linked folders and external catalogs ----
  // External catalog ids here are plain keys of this catalog's external catalog table.

  // Links the catalog `oConnectionDetails` describes: a new external catalog row (online, the
  // details' XML as its connection string) and a folder named `sFolderName` at the top that
  // stands for it, added without the name check. Answers the folder. Raises 91 for nullptr and 5
  // for details that XML cannot carry; on any error neither row is kept.
  std::shared_ptr<Folder> AddLinkedFolder(
      const std::shared_ptr<ConnectionDetails>& oConnectionDetails, const std::string& sFolderName);
  // Every folder at the top of this catalog, in name order and without children, whatever its
  // external catalog and status.
  std::shared_ptr<Folders> GetLinkedFolders();
  // True when the folder names an external catalog or is at the top of the tree; false for an
  // unknown id.
  bool IsLinkedFolder(const std::string& sFolderID);
  // The first folder that stands for external catalog `lExternalCatalogID`, or nullptr.
  std::shared_ptr<Folder> GetFolderWithExternalCatalog(int32_t lExternalCatalogID);
  // Every external catalog row; an empty list when there is none.
  std::shared_ptr<ExternalCatalogCollection> GetExternalCatalogs();
  // The external catalog row `lExternalCatalogID`. Raises err::kNoCurrentRecord (3021) when
  // there is none.
  std::shared_ptr<ExternalCatalog> GetExternalCatalog(int32_t lExternalCatalogID);
  // Removes the external catalog row; its linked folder stays. An unknown id is not an error.
  void DeleteExternalCatalog(int32_t lExternalCatalogID);

  // ---- Access history ----
  // At most `lMaximumItems` clippings (none for 0 or less), the most recently accessed first,
  // with only their ID (as recorded) and Accessed time filled.
  std::shared_ptr<Clippings> GetClippingsHistroy(int32_t lMaximumItems);
  // Records an access of `oClipping` now: a first access adds a row with count 1, a further one
  // raises the count and renames the row. The row is looked up by ID but changed by GUID.
  void UpdateClippingHistory(const std::shared_ptr<Clipping>& oClipping);
  // Forgets the accesses of clipping `sClippingID`; not an error when there are none.
  void DeleteClippingHistory(const std::string& sClippingID);

  // Rolls back every transaction level an operation left open on this catalog (UpdateCategory
  // leaves a refused rename pending), so that a kept connection starts its next request clean.
  // A connection whose rollback fails is closed; the next operation opens it anew. Never raises;
  // nothing happens when the catalog is closed or no transaction is open.
  void RollbackLeftoverTransaction();

  // Runs `body` as one transaction of this catalog: the operations it calls here write into that
  // transaction (their own transactions nest inside it), so that everything they wrote is
  // committed together when `body` returns and nothing of it stays when `body` raises, when the
  // commit fails or when the process dies before the commit. The error `body` raises passes
  // unchanged. The content index rows of the clippings `body` writes are written once it is
  // done, still inside the transaction: the full-text index then takes them in one go rather
  // than as many small pieces as the operations have nested transactions.
  void RunAsOneTransaction(const std::function<void()>& body);

  // Runs `body`, a series of reads of this catalog, so that they see one state of it and, on
  // SQLite, take the engine's read locks once for all of them (one read transaction, unless a
  // transaction is open already). For reads only; what `body` raises reaches the caller.
  void ReadConsistently(const std::function<void()>& body);

 protected:
  DataAccess();

 private:
  friend class DataAccessInternal;

  // Opens the catalog with the kept settings unless it is open.
  void EnsureCatalogOpen();

  // The open connection. REQUIRES: the catalog is open.
  DBConnection& Connection();

  // A new key for a row of the table `sTableBaseName` ("Folder" for folders and clippings,
  // "GroupClipping", "ExternalCatalog"), drawn through its generator table with the caller's
  // fresh `sGUID`, so that writers sharing the catalog never get the same key. Raises
  // err::kInvalidProcedureCall for any other base name.
  int32_t GetNextID(const std::string& sTableBaseName, const std::string& sGUID);

  // Trash and versions (trash.cpp, versions.cpp).
  // Notes a folder or clipping a delete is about to mark deleted, unless it is deleted already.
  void RecordDeletion(const std::string& key, bool is_folder);
  // Removes the rows only the trash and the versions keep of clipping `key`.
  void ForgetClippingHistoryRows(const std::string& key);
  // Keeps the state of clipping `key` as its next version before UpdateClipping changes it.
  void RecordVersion(const std::string& key, bool writes_data, const std::string& name,
                     const std::string& description);
  // The login name, or the server role, that versions and the trash record.
  const std::string& ActingUser();

  // Row readers and helpers of the store operations.
  std::shared_ptr<Folder> ReadFolderRow(const Recordset& rs);
  std::shared_ptr<Clipping> ReadClippingRow(const Recordset& rs, bool bGetData);
  std::shared_ptr<Category> ReadCategoryRow(const Recordset& rs);
  std::shared_ptr<ExternalCatalog> ReadExternalCatalogRow(const Recordset& rs);
  std::string BuildFolderIdList(const std::shared_ptr<Folder>& oFolder);
  void RemoveFolderRow(const std::string& sFolderId, bool bDeletePermenantly);
  void DeleteFolderTree(const std::shared_ptr<Folder>& oFolder, bool bDeletePermenantly);
  // What deleting a folder does once everything below it is gone: its row and clippings once
  // more, and its parent marked a leaf when it has no children left.
  void FinishFolderDelete(const std::shared_ptr<Folder>& oFolder, bool bDeletePermenantly);
  bool FolderNameIsUnique(const std::string& sFolderName, const std::string& sParentFolderID);
  bool ClippingNameIsUnique(const std::string& sClippingName, const std::string& sFolderId);
  // The same check in the folder that clipping `key` is in now.
  bool ClippingNameIsUniqueWhereItIs(const std::string& sClippingName, const std::string& key);
  bool CategoryNameIsUnique(const std::shared_ptr<Category>& oCategory);
  void WriteClippingDataItems(const std::shared_ptr<ClippingDataCollection>& colClippingData,
                              int32_t lClippingID);
  // Writes the content index row of clipping `key` when the catalog has the index. Inside
  // RunAsOneTransaction it only removes the old row: the new one is written from the clipping as
  // it then is when the transaction's body is done.
  void WriteClippingText(int32_t key, const std::string& name, const std::string& description,
                         const ClippingDataCollection& items);
  // Appends one row of `table` per item of `items` that holds data, compressed, with the key
  // columns `keys` (ClippingDataType, ClippingVersionData).
  void InsertDataRows(const std::string& table,
                      const std::vector<std::pair<std::string, Variant>>& keys,
                      const std::shared_ptr<ClippingDataCollection>& items);
  // The local key of the live folder `sFolderID` that an item moves into; refuses one that is
  // not there, deleted, or links a catalog.
  std::string MoveTargetKey(const std::string& sFolderID);
  // Drops the versions of clipping `key` older than the newest MaximumVersions.
  void PruneVersions(const std::string& key);
  std::shared_ptr<ClippingDataCollection> ReadClippingDataItems(int32_t lClippingID);

  std::unique_ptr<DBConnection> connection_;  // present while the catalog is open
  std::string name_;
  std::string connection_string_;
  std::string user_name_;
  std::string password_;
  bool is_open_ = false;
  bool auto_connect_ = false;
  bool is_transactional_ = false;
  bool is_personal_catalog_ = false;
  bool has_content_index_ = false;           // of the open catalog
  bool content_text_deferred_ = false;       // inside RunAsOneTransaction: see WriteClippingText
  std::vector<int32_t> deferred_text_keys_;  // the clippings whose index rows wait for its end
  bool has_history_tables_ = false;          // versions and trash rows: format 5 and later
  std::optional<int32_t> maximum_versions_;  // read once per open
  std::string acting_user_;                  // asked once per open
  std::string deletion_root_;  // the key of the item whose delete is under way, if any
  int32_t external_catalog_id_ = 0;
};

// A catalog on a database server.
class DataAccessSQL final : public DataAccess {
 public:
  DataAccessSQL() = default;
  static std::shared_ptr<DataAccessSQL> Create() { return std::make_shared<DataAccessSQL>(); }
};

// A catalog in a database file.
class DataAccessMDB final : public DataAccess {
 public:
  DataAccessMDB() = default;
  static std::shared_ptr<DataAccessMDB> Create() { return std::make_shared<DataAccessMDB>(); }

 private:
  // The text after `sKey` + "=" (matched with case) up to the next ";"; the empty text when the
  // key is absent. Raises err::kInvalidProcedureCall when no ";" follows the value.
  static std::string GetConnectionStringValue(const std::string& sConnectionString,
                                              const std::string& sKey);
};

// The kind of catalog that the clipping manager data source names; it has no members and takes
// no part in the store.
class DataAccessClippingManger {};

}  // namespace clipcat
