// The folder operations of DataAccess: reading folders and whole subtrees, adding, renaming and
// deleting folders, keeping each folder's leaf mark in step with its children, and the trial
// operations that try a change inside a transaction and roll it back.
#include <set>
#include <utility>
#include <vector>

#include "store/data_access.h"
#include "store/item_status_internal.h"
#include "store/transaction_internal.h"
#include "util/errors.h"
#include "util/guid.h"
#include "util/item_id.h"
#include "util/messages.h"
#include "util/values.h"

namespace clipcat {
namespace {

// Folder status codes. Frozen: catalogs store them.
constexpr int32_t kFolderStatusActive = 1;

// Leaves deleted folders out of a listing.
std::string DeletedFilter(bool bGetDeletedItems) {
  return bGetDeletedItems ? std::string()
                          : " AND iStatus <> " + std::to_string(kFolderStatusDeleted) + " ";
}

// One level of children of the folder whose local key is the statement's one value. Status-4
// rows are never listed: the read service hands them out for linked catalogs that cannot be
// reached. The text is the same for every parent, so the engine prepares it once per tree.
std::string ChildFoldersQuery(bool bIncludeExternalFolders, bool bGetDeletedItems) {
  std::string sql = "SELECT * From  Folder WHERE lParentId=? AND NOT iStatus=" +
                    SqlNumber(Variant(kFolderStatusOffline));
  if (!bIncludeExternalFolders) sql += " AND lExternalCatalogId=0 ";
  sql += DeletedFilter(bGetDeletedItems);
  sql += " ORDER BY sName ASC ";
  return sql;
}

// The non-deleted folders named `name` under the folder with local key `parent_key`.
std::string FolderNameQuery(const std::string& select_where, const std::string& name,
                            const std::string& parent_key) {
  return select_where + SqlText(Variant(name)) + " " +
         "AND lParentId=" + SqlNumber(Variant(parent_key)) + " AND iStatus <>" +
         std::to_string(kFolderStatusDeleted);
}

// True when the local key `key` is the number 0, the parent of the folders at the top.
bool IsTopKey(const std::string& key) { return ToDecimalOr(Variant(key), -1) == 0; }

// The properties that adding or updating a folder writes into the caller's object, so that a
// failed or trial write can give the caller its object back as it was.
class FolderSnapshot {
 public:
  explicit FolderSnapshot(const Folder& folder)
      : id_(folder.ID()),
        guid_(folder.GUID()),
        parent_id_(folder.ParentID()),
        status_(folder.Status()),
        updated_(folder.Updated()) {}

  void Restore(Folder& folder, StoreKey key) const {
    folder.SetID(id_);
    folder.SetGUID(key, guid_);
    folder.SetParentID(key, parent_id_);
    folder.SetStatus(key, status_);
    folder.SetUpdated(key, updated_);
  }

 private:
  std::string id_;
  std::string guid_;
  std::string parent_id_;
  int32_t status_;
  Date updated_;
};

// Writes the row of a new folder under the folder with local key `parent_key` and fills the
// folder's parent, GUID, key, time and status as the row has them; answers the new local key. A
// new folder is always an active leaf and never offline. `next_id` draws the key for a GUID.
template <typename NextId>
std::string InsertNewFolder(DBConnection& connection, Folder& folder, StoreKey store_key,
                            const std::string& parent_key, NextId&& next_id) {
  folder.SetParentID(store_key, parent_key);
  folder.SetGUID(store_key, CreateGUIDString());
  const std::string key = std::to_string(next_id(folder.GUID()));
  folder.SetID(key);
  folder.SetUpdated(store_key, Date::Now());
  folder.SetStatus(store_key, kFolderStatusActive);
  connection.ExecuteSQL(
      "INSERT INTO Folder ( lFolderID, sGuid, lParentID, sName, sDescription, "
      "lExternalCatalogId, " +
      std::string("bIsLeaf, bIsOffline, iStatus, tUpdated ) Values ( ") + SqlNumber(Variant(key)) +
      ", " + SqlText(Variant(folder.GUID())) + ", " + SqlNumber(Variant(parent_key)) + ", " +
      SqlText(Variant(folder.Name())) + ", " + SqlText(Variant(folder.Description())) + ", " +
      SqlNumber(Variant(folder.ExternalCatalogID())) + ", 1, 0, " +
      SqlNumber(Variant(folder.Status())) + ", " + SqlDate(Variant(folder.Updated())) + " )");
  return key;
}

// Runs `body` as InTransaction does; when it fails, `folder` gets back what a write changes of it
// before the error leaves.
template <typename Body>
void WriteFolder(DBConnection& connection, Folder& folder, StoreKey key, Body&& body) {
  const FolderSnapshot before(folder);
  try {
    InTransaction(connection, std::forward<Body>(body));
  } catch (...) {
    before.Restore(folder, key);
    throw;
  }
}

}  // namespace

std::shared_ptr<Folder> DataAccess::ReadFolderRow(const Recordset& rs) {
  auto folder = Folder::Create();
  folder->SetID(ComposeItemID(ToTextOr(rs.Value("lFolderID"), ""), external_catalog_id_));
  folder->SetGUID(StoreKey(), ToTextOr(rs.Value("sGUID"), ""));
  folder->SetParentID(StoreKey(),
                      ComposeItemID(ToTextOr(rs.Value("lParentID"), "0"), external_catalog_id_));
  folder->SetName(ToTextOr(rs.Value("sName"), ""));
  folder->SetDescription(ToTextOr(rs.Value("sDescription"), ""));
  folder->SetUpdated(StoreKey(), ToDateOr(rs.Value("tUpdated"), folder->Updated()));
  folder->SetExternalCatalogID(StoreKey(), ToLongOr(rs.Value("lExternalCatalogID"), 0));
  folder->SetStatus(StoreKey(), ToLongOr(rs.Value("iStatus"), 0));
  return folder;
}

std::shared_ptr<Folder> DataAccess::GetCatalogsRootFolder(const std::string& /*sCatalogID*/) {
  return GetPersonalCatalogRootFolder();
}

std::shared_ptr<Folder> DataAccess::GetPersonalCatalogRootFolder() {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO(
      "SELECT * From Folder Where lExternalCatalogId=0 AND lParentId=0");
  return FirstRow(rs, [this](const Recordset& row) { return ReadFolderRow(row); });
}

bool DataAccess::HaveFoldersChanged(const Date& tDateTimeFoldersChecked) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO("Select lFolderId From Folder Where tUpdated >= " +
                                             SqlDate(Variant(tDateTimeFoldersChecked)));
  const bool changed = !(rs.Bof() && rs.Eof());
  rs.Close();
  return changed;
}

bool DataAccess::FolderNameExists(const std::string& sFolderName,
                                  const std::string& sParentFolderID) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO(
      FolderNameQuery("Select * From Folder WHERE sName=", sFolderName,
                      GetLocalItemID(sParentFolderID, external_catalog_id_)));
  const bool exists = !(rs.Bof() && rs.Eof());
  rs.Close();
  return exists;
}

std::shared_ptr<Folder> DataAccess::GetFolderByName(const std::string& sFolderName,
                                                    const std::string& sParentFolderID) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO(
      FolderNameQuery("Select * From Folder WHERE sName=", sFolderName,
                      GetLocalItemID(sParentFolderID, external_catalog_id_)));
  return FirstRow(rs, [this](const Recordset& row) { return ReadFolderRow(row); });
}

bool DataAccess::FolderNameIsUnique(const std::string& sFolderName,
                                    const std::string& sParentFolderID) {
  Recordset rs = Connection().GetRecordsetRO(
      FolderNameQuery("Select * From Folder Where sName=", sFolderName,
                      GetLocalItemID(sParentFolderID, external_catalog_id_)));
  // The folder just written must be among the rows: none means its name or parent did not
  // match (an empty name, a deleted status), which is refused as well.
  const int32_t count = rs.RecordCount();
  rs.Close();
  return count > 0 && count < 2;
}

std::shared_ptr<Folders> DataAccess::GetFolders(bool bIncludeExternalFolders,
                                                bool bGetDeletedItems) {
  EnsureCatalogOpen();
  const std::string base = bIncludeExternalFolders
                               ? "SELECT * FROM Folder WHERE lParentId=0  "
                               : "Select * FROM Folder WHERE lParentID=0 AND lExternalCatalogID=0 ";
  auto folders = Folders::Create();
  // One view of the whole tree, and the engine's read locks taken once instead of per statement.
  Connection().ReadConsistently([&] {
    Recordset rs = Connection().GetRecordsetRO(base + DeletedFilter(bGetDeletedItems) +
                                               " ORDER BY sName ASC ");
    while (!rs.Eof()) {
      std::shared_ptr<Folder> folder = ReadFolderRow(rs);
      GetChildFolders(folder, bIncludeExternalFolders, bGetDeletedItems);
      folders->AddFolder(folder);
      rs.MoveNext();
    }
    rs.Close();
  });
  return folders;
}

std::shared_ptr<Folder> DataAccess::GetChildFolders(const std::shared_ptr<Folder>& oFolder,
                                                    bool bIncludeExternalFolders,
                                                    bool bGetDeletedItems) {
  if (oFolder == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  EnsureCatalogOpen();
  // Depth first in the order a recursive walk would query, but with a stack of our own so that a
  // deep tree cannot exhaust the call stack. Each row has one parent, so a key met twice can only
  // be a folder that is its own ancestor: refused rather than walked for ever.
  struct Pending {
    std::shared_ptr<Folder> folder;
    std::string key;
  };
  const std::string top_key =
      SqlNumber(Variant(GetLocalItemID(oFolder->ID(), external_catalog_id_)));
  std::vector<Pending> pending{{oFolder, top_key}};
  std::set<std::string> seen{top_key};
  const std::string query = ChildFoldersQuery(bIncludeExternalFolders, bGetDeletedItems);
  // One view of the subtree, as GetFolders reads the whole tree.
  Connection().ReadConsistently([&] {
    while (!pending.empty()) {
      Pending current = std::move(pending.back());
      pending.pop_back();
      Recordset rs = Connection().GetRecordsetRO(query, {SqlValue::Number(Variant(current.key))});
      auto children = std::make_shared<FolderCollection>();
      std::vector<Pending> found;
      while (!rs.Eof()) {
        std::shared_ptr<Folder> child = ReadFolderRow(rs);
        std::string key = ToTextOr(rs.Value("lFolderID"), "");
        if (!seen.insert(key).second) {
          throw AutomationError(err::kDatabaseError, kComponentSource,
                                "The parents of folder " + key + " run in a circle.");
        }
        children->Add(child);
        found.push_back({std::move(child), std::move(key)});
        rs.MoveNext();
      }
      rs.Close();
      current.folder->SetChildFolders(children);
      for (auto it = found.rbegin(); it != found.rend(); ++it) pending.push_back(std::move(*it));
    }
  });
  return oFolder;
}

std::shared_ptr<Folders> DataAccess::GetChildrenFolders(const std::string& sParentFolderID,
                                                        bool bIncludeExternalFolders,
                                                        bool bGetDeletedItems) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO(
      ChildFoldersQuery(bIncludeExternalFolders, bGetDeletedItems),
      {SqlValue::Number(Variant(GetLocalItemID(sParentFolderID, external_catalog_id_)))});
  auto folders = Folders::Create();
  while (!rs.Eof()) {
    folders->AddFolder(ReadFolderRow(rs));
    rs.MoveNext();
  }
  rs.Close();
  return folders;
}

std::shared_ptr<Folder> DataAccess::GetFolder(const std::string& sFolderId) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO(
      "SELECT * From Folder WHERE lFolderId=?",
      {SqlValue::Number(Variant(GetLocalItemID(sFolderId, external_catalog_id_)))});
  return FirstRow(rs, [this](const Recordset& row) { return ReadFolderRow(row); });
}

void DataAccess::UpdateParentFolder(const std::string& sFolderId, bool bIsLeaf) {
  EnsureCatalogOpen();
  const std::string key = GetLocalItemID(sFolderId, external_catalog_id_);
  if (IsTopKey(key)) return;
  Connection().ExecuteSQL(std::string("UPDATE Folder Set bIsLeaf=") + (bIsLeaf ? "1" : "0") +
                          " WHERE lFolderID=" + SqlNumber(Variant(key)));
}

std::shared_ptr<Folder> DataAccess::AddFolder(const std::shared_ptr<Folder>& oFolder,
                                              const std::string& sParentFolderID,
                                              bool bCheckNameUnique) {
  if (oFolder == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  EnsureCatalogOpen();
  // One transaction even without the name check, so that a failure never leaves a folder row
  // whose parent still reads as a leaf.
  WriteFolder(Connection(), *oFolder, StoreKey(), [&] {
    const std::string parent_key = GetLocalItemID(sParentFolderID, external_catalog_id_);
    const std::string key =
        InsertNewFolder(Connection(), *oFolder, StoreKey(), parent_key,
                        [this](const std::string& guid) { return GetNextID("Folder", guid); });
    if (bCheckNameUnique && !FolderNameIsUnique(oFolder->Name(), parent_key)) {
      RaiseFolderNameNotUnique(oFolder->Name());
    }
    UpdateParentFolder(parent_key, false);
    oFolder->SetID(ComposeItemID(key, external_catalog_id_));
    oFolder->SetParentID(StoreKey(), ComposeItemID(parent_key, external_catalog_id_));
  });
  return oFolder;
}

std::shared_ptr<Folder> DataAccess::UpdateFolder(const std::shared_ptr<Folder>& oFolder,
                                                 bool bCheckNameUnique) {
  if (oFolder == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  EnsureCatalogOpen();
  WriteFolder(Connection(), *oFolder, StoreKey(), [&] {
    const std::string key = GetLocalItemID(oFolder->ID(), external_catalog_id_);
    oFolder->SetUpdated(StoreKey(), Date::Now());
    // The external catalog id is written as a text literal here; the column's numeric type
    // turns it back into a number.
    Connection().ExecuteSQL("UPDATE Folder Set sName=" + SqlText(Variant(oFolder->Name())) + ", " +
                            "sDescription=" + SqlText(Variant(oFolder->Description())) + ", " +
                            "lExternalCatalogId=" + SqlText(Variant(oFolder->ExternalCatalogID())) +
                            ", " + "iStatus=" + SqlNumber(Variant(oFolder->Status())) + ", " +
                            "tUpdated=" + SqlDate(Variant(oFolder->Updated())) + " " +
                            "WHERE lFolderID=" + SqlNumber(Variant(key)));
    if (bCheckNameUnique && !FolderNameIsUnique(oFolder->Name(), oFolder->ParentID())) {
      RaiseFolderNameNotUnique(oFolder->Name());
    }
    oFolder->SetID(ComposeItemID(key, external_catalog_id_));
  });
  return oFolder;
}

void DataAccess::RemoveFolderRow(const std::string& sFolderId, bool bDeletePermenantly) {
  const std::string key = SqlNumber(Variant(GetLocalItemID(sFolderId, external_catalog_id_)));
  if (bDeletePermenantly) {
    Connection().ExecuteSQL("Delete From Folder Where lFolderID=" + key);
    if (has_history_tables_)
      Connection().ExecuteSQL("DELETE FROM DeletedItem WHERE lItemID=" + key);
  } else {
    RecordDeletion(key, true);
    Connection().ExecuteSQL("Update Folder Set iStatus=" + std::to_string(kFolderStatusDeleted) +
                            " Where lFolderID=" + key);
  }
}

void DataAccess::DeleteFolderTree(const std::shared_ptr<Folder>& oFolder, bool bDeletePermenantly) {
  // Every folder below `oFolder` goes as DeleteFolder takes a folder, its children first, in the
  // order a recursive walk would take them; `oFolder` itself loses its clippings and its row. The
  // tree is the one loaded already: walked with a stack of our own, not loaded again per level
  // and not through the call stack, so that deep trees cost neither time nor stack.
  struct Frame {
    std::shared_ptr<Folder> folder;
    std::vector<std::shared_ptr<Folder>> children;
    size_t next;
  };
  std::vector<Frame> path{{oFolder, oFolder->ChildFolders()->Snapshot(), 0}};
  while (!path.empty()) {
    Frame& top = path.back();
    if (top.next < top.children.size()) {
      std::shared_ptr<Folder> child = top.children[top.next++];
      std::vector<std::shared_ptr<Folder>> grandchildren = child->ChildFolders()->Snapshot();
      path.push_back({std::move(child), std::move(grandchildren), 0});  // may move `top`
      continue;
    }
    const std::shared_ptr<Folder> done = std::move(top.folder);
    path.pop_back();
    DeleteClippingsFromFolder(done->ID(), bDeletePermenantly);
    RemoveFolderRow(done->ID(), bDeletePermenantly);
    if (!path.empty()) FinishFolderDelete(done, bDeletePermenantly);
  }
}

void DataAccess::FinishFolderDelete(const std::shared_ptr<Folder>& oFolder,
                                    bool bDeletePermenantly) {
  RemoveFolderRow(oFolder->ID(), bDeletePermenantly);
  DeleteClippingsFromFolder(oFolder->ID(), bDeletePermenantly);
  // Only the deleted folder's own remaining children are looked at, not its siblings: the
  // parent is marked a leaf even when other children are left. Clients rely on the mark as it
  // has always been set.
  GetChildFolders(oFolder, true, false);
  if (oFolder->ChildFolders()->Count() == 0) UpdateParentFolder(oFolder->ParentID(), true);
}

void DataAccess::DeleteFolder(const std::string& sFolderId, bool bDeletePermenantly) {
  EnsureCatalogOpen();
  // The whole tree goes in one transaction, so that a failure halfway leaves the tree as it was.
  InTransaction(Connection(), [&] {
    std::shared_ptr<Folder> folder = GetFolder(sFolderId);
    if (folder == nullptr) return;
    // Everything this delete marks belongs to the folder's entry in the trash.
    const std::string outer_root = std::exchange(
        deletion_root_, SqlNumber(Variant(GetLocalItemID(sFolderId, external_catalog_id_))));
    struct RootReset {
      std::string& root;
      std::string previous;
      ~RootReset() { root = std::move(previous); }
    } reset{deletion_root_, outer_root};
    GetChildFolders(folder, true, false);
    DeleteFolderTree(folder, bDeletePermenantly);
    FinishFolderDelete(folder, bDeletePermenantly);
  });
}

bool DataAccess::CanAddFolder(const std::shared_ptr<Folder>& oFolder,
                              const std::string& sParentFolderID) {
  if (oFolder == nullptr) return false;
  if (!IgnoreErrors([&] { EnsureCatalogOpen(); })) return false;
  const FolderSnapshot before(*oFolder);
  const bool ok = Trial(Connection(), [&] {
    InsertNewFolder(Connection(), *oFolder, StoreKey(),
                    GetLocalItemID(sParentFolderID, external_catalog_id_),
                    [this](const std::string& guid) { return GetNextID("Folder", guid); });
  });
  before.Restore(*oFolder, StoreKey());
  return ok;
}

bool DataAccess::CanDeleteFolder(const std::string& sFolderId, bool bDeletePermenantly) {
  if (!IgnoreErrors([&] { EnsureCatalogOpen(); })) return false;
  return Trial(Connection(), [&] {
    std::shared_ptr<Folder> folder = GetFolder(sFolderId);
    if (folder == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
    DeleteClippingsFromFolder(folder->ID(), bDeletePermenantly);
    RemoveFolderRow(folder->ID(), bDeletePermenantly);
  });
}

bool DataAccess::CanUpdateFolder(const Variant& /*vFolder*/) {
  RaiseNotImplemented("CanUpdateFolder");
}

std::string DataAccess::BuildFolderIdList(const std::shared_ptr<Folder>& oFolder) {
  if (oFolder == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  // Depth first, each folder before its children, without recursion. `path` holds the folders
  // from `oFolder` down to the current one, so that a folder placed among its own descendants is
  // refused (as its XML refuses it) instead of listed for ever.
  struct Frame {
    const Folder* folder;
    std::vector<std::shared_ptr<Folder>> children;
    size_t next;
  };
  std::string list;
  std::vector<Frame> path;
  std::set<const Folder*> on_path;
  const auto enter = [&](const std::shared_ptr<Folder>& folder) {
    if (folder == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
    if (!on_path.insert(folder.get()).second) RaiseRuntimeError(err::kInvalidProcedureCall);
    list +=
        " OR lFolderID=" + SqlNumber(Variant(GetLocalItemID(folder->ID(), external_catalog_id_)));
    path.push_back({folder.get(), folder->ChildFolders()->Snapshot(), 0});
  };
  enter(oFolder);
  while (!path.empty()) {
    Frame& top = path.back();
    if (top.next < top.children.size()) {
      const std::shared_ptr<Folder> child = top.children[top.next++];
      enter(child);  // may move `top`
    } else {
      on_path.erase(top.folder);
      path.pop_back();
    }
  }
  return list;
}

}  // namespace clipcat
