// Moves within one catalog: a folder or clipping gets a new parent and keeps its id, GUID,
// categories, versions and access history. The row is locked first, so that two moves of one
// item on a server run one after the other and the later one finds the item where the earlier
// one put it.
#include <set>
#include <string>

#include "store/data_access.h"
#include "store/item_status_internal.h"
#include "store/transaction_internal.h"
#include "util/date.h"
#include "util/errors.h"
#include "util/item_id.h"
#include "util/values.h"

namespace clipcat {
namespace {

[[noreturn]] void RefuseMove(const std::string& what) {
  RaiseError(err::kInvalidProcedureCall, kDataServicesSource, what);
}

}  // namespace

// The local key of the live folder `sFolderID`, for a move into it; refuses anything else.
std::string DataAccess::MoveTargetKey(const std::string& sFolderID) {
  const auto folder = GetFolder(sFolderID);
  if (folder == nullptr || folder->Status() == kFolderStatusDeleted) {
    RefuseMove("There is no folder " + sFolderID + " to move into.");
  }
  if (folder->ExternalCatalogID() != 0) {
    RefuseMove("The folder " + sFolderID + " links another catalog; items move within one.");
  }
  return SqlNumber(Variant(GetLocalItemID(sFolderID, external_catalog_id_)));
}

void DataAccess::MoveFolder(const std::string& sFolderID, const std::string& sNewParentID) {
  EnsureCatalogOpen();
  const std::string key = SqlNumber(Variant(GetLocalItemID(sFolderID, external_catalog_id_)));
  InTransaction(Connection(), [&] {
    Connection().ExecuteSQL("UPDATE Folder SET lParentID = lParentID WHERE lFolderID=" + key);
    const auto folder = GetFolder(sFolderID);
    if (folder == nullptr || folder->Status() == kFolderStatusDeleted) {
      RefuseMove("There is no folder " + sFolderID + " to move.");
    }
    const std::string old_parent = GetLocalItemID(folder->ParentID(), external_catalog_id_);
    if (folder->ExternalCatalogID() != 0 || old_parent.empty() || old_parent == "0") {
      RefuseMove("The folder " + sFolderID + " is at the top of its catalog and stays there.");
    }
    const std::string parent = MoveTargetKey(sNewParentID);
    // Walked up from the new parent: the folder may not be met on the way to the top.
    std::set<std::string> seen;
    for (std::string up = parent; up != "0";) {
      if (up == key) {
        RefuseMove("The folder " + sFolderID + " cannot move into itself or a folder below it.");
      }
      if (!seen.insert(up).second) RefuseMove("The parents of folder " + up + " run in a circle.");
      Recordset rs =
          Connection().GetRecordsetRO("SELECT lParentID FROM Folder WHERE lFolderID=" + up);
      up = rs.Eof() ? "0" : ToTextOr(rs.Value("lParentID"), "0");
      rs.Close();
    }
    if (old_parent == parent) return;
    Connection().ExecuteSQL("UPDATE Folder SET lParentID=" + parent + ", tUpdated=" +
                            SqlDate(Variant(Date::Now())) + " WHERE lFolderID=" + key);
    if (!FolderNameIsUnique(folder->Name(), parent)) RaiseFolderNameNotUnique(folder->Name());
    UpdateParentFolder(parent, false);
    Recordset left = Connection().GetRecordsetRO(
        "SELECT COUNT(*) AS n FROM Folder WHERE lParentID=" + SqlNumber(Variant(old_parent)));
    const bool leaf = ToLongOr(left.Value("n"), 0) == 0;
    left.Close();
    if (leaf) UpdateParentFolder(old_parent, true);
  });
}

void DataAccess::MoveClipping(const std::string& sClippingID, const std::string& sNewFolderID) {
  EnsureCatalogOpen();
  const std::string key = SqlNumber(Variant(GetLocalItemID(sClippingID, external_catalog_id_)));
  InTransaction(Connection(), [&] {
    Connection().ExecuteSQL("UPDATE Clipping SET lFolderID = lFolderID WHERE lClippingID=" + key);
    const auto clipping = GetClipping(sClippingID, false);
    if (clipping == nullptr ||
        std::to_string(clipping->ClippingStatus()) == kDeletedClippingStatus) {
      RefuseMove("There is no clipping " + sClippingID + " to move.");
    }
    const std::string folder = MoveTargetKey(sNewFolderID);
    if (GetLocalItemID(clipping->FolderID(), external_catalog_id_) == folder) return;
    Connection().ExecuteSQL("UPDATE Clipping SET lFolderID=" + folder + ", tUpdated=" +
                            SqlDate(Variant(Date::Now())) + " WHERE lClippingID=" + key);
    if (!ClippingNameIsUnique(clipping->Name(), folder)) {
      RaiseClippingNameNotUnique(clipping->Name());
    }
  });
}

}  // namespace clipcat
