// Clipping store operations: one clipping read by key, GUID or name, added, updated and deleted,
// its name checked within its folder, and the trial operations that answer whether an add or a
// delete would succeed.
#include <exception>
#include <string>

#include "entities/clipping.h"
#include "entities/plain_text.h"
#include "store/content_index.h"
#include "store/data_access.h"
#include "store/item_status_internal.h"
#include "store/transaction_internal.h"
#include "util/date.h"
#include "util/errors.h"
#include "util/guid.h"
#include "util/item_id.h"
#include "util/messages.h"
#include "util/values.h"

namespace clipcat {
namespace {

// The table base name whose generator numbers clippings; folders draw from it too, so that no
// clipping has the key of a folder of the same catalog.
constexpr const char* kClippingKeyBase = "Folder";

// The row of a new clipping, as one statement with its values apart.
void InsertClippingRow(DBConnection& connection, const std::string& key,
                       const std::string& folder_key, const std::string& guid,
                       const std::string& name, const std::string& description, int32_t status,
                       Date updated) {
  connection.ExecuteSQL(
      "Insert Into Clipping ( lClippingID, lFolderID, sGUID, sName, sDescription, "
      "iClippingStatus,  tUpdated ) Values ( ?, ?, ?, ?, ?, ?, ?) ",
      {SqlValue::Number(Variant(key)), SqlValue::Number(Variant(folder_key)),
       SqlValue::Text(Variant(guid)), SqlValue::Text(Variant(name)),
       SqlValue::Text(Variant(description)), SqlValue::Number(Variant(status)),
       SqlValue::Date(Variant(updated))});
}

// The clipping key `key` as a number, for the statements that need one. Raises 13 for text that
// is not a whole 32-bit number, so that the rows of no other clipping are touched.
int32_t ClippingKeyNumber(const std::string& key) {
  const Variant value(key);
  const int32_t number = value.ToLong();
  if (static_cast<double>(number) != value.ToDouble()) RaiseRuntimeError(err::kTypeMismatch);
  return number;
}

}  // namespace

std::string DataAccess::GetClippingPathName(const std::string& sClippingID) {
  const std::shared_ptr<Clipping> clipping = GetClipping(sClippingID, false);
  if (clipping == nullptr) {
    RaiseError(err::kObjectVariableNotSet, kComponentSource,
               "The clipping " + sClippingID + " does not exist.");
  }
  return GetFolderPathName(clipping->FolderID());
}

std::shared_ptr<Clipping> DataAccess::ReadClippingRow(const Recordset& rs, bool bGetData) {
  auto clipping = Clipping::Create();
  const std::string key = ToTextOr(rs.Value("lClippingID"), "");
  clipping->SetID(ComposeItemID(key, ExternalCatalogID()));
  clipping->SetFolderID(ComposeItemID(ToTextOr(rs.Value("lFolderID"), ""), ExternalCatalogID()));
  clipping->SetGUID(ToTextOr(rs.Value("sGUID"), ""));
  clipping->SetName(ToTextOr(rs.Value("sName"), ""));
  clipping->SetDescription(ToTextOr(rs.Value("sDescription"), ""));
  clipping->SetClippingStatus(StoreKey(), ToLongOr(rs.Value("iClippingStatus"), 0));
  clipping->SetUpdated(StoreKey(), ToDateOr(rs.Value("tUpdated"), Date()));
  if (bGetData) clipping->SetClippingData(ReadClippingDataItems(ClippingKeyNumber(key)));
  return clipping;
}

std::shared_ptr<Clipping> DataAccess::GetClipping(const std::string& sClippingID, bool bGetData) {
  EnsureCatalogOpen();
  const std::string key = GetLocalItemID(sClippingID, ExternalCatalogID());
  const auto read = [&] {
    Recordset rs = Connection().GetRecordsetRO("SELECT * FROM Clipping WHERE lClippingID=?",
                                               {SqlValue::Number(Variant(key))});
    return FirstRow(rs, [&](const Recordset& row) { return ReadClippingRow(row, bGetData); });
  };
  if (!bGetData) return read();
  // The row and its items in one view, and the engine's read locks taken once for both.
  std::shared_ptr<Clipping> clipping;
  Connection().ReadConsistently([&] { clipping = read(); });
  return clipping;
}

std::shared_ptr<Clipping> DataAccess::FindClippingWithGUID(const std::string& sClippingGUID,
                                                           bool bGetData) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO("SELECT * FROM Clipping WHERE sGUID=" +
                                             SqlText(Variant(sClippingGUID)));
  return FirstRow(rs, [&](const Recordset& row) { return ReadClippingRow(row, bGetData); });
}

std::shared_ptr<Clipping> DataAccess::GetClippingByName(const std::string& sClippingName,
                                                        const std::string& sFolderId,
                                                        bool bGetData) {
  EnsureCatalogOpen();
  const std::string folder_key = GetLocalItemID(sFolderId, ExternalCatalogID());
  Recordset rs = Connection().GetRecordsetRO(
      "Select * From Clipping Where sName=" + SqlText(Variant(sClippingName)) + " " +
      "AND lFolderID=" + SqlNumber(Variant(folder_key)) + " " + "AND iClippingStatus <> " +
      kDeletedClippingStatus);
  return FirstRow(rs, [&](const Recordset& row) { return ReadClippingRow(row, bGetData); });
}

bool DataAccess::ClippingNameExists(const std::string& sClippingName,
                                    const std::string& sFolderId) {
  EnsureCatalogOpen();
  const std::string folder_key = GetLocalItemID(sFolderId, ExternalCatalogID());
  Recordset rs = Connection().GetRecordsetRO(
      "Select * From Clipping WHERE sName=" + SqlText(Variant(sClippingName)) + " " +
      "AND lFolderId=" + SqlNumber(Variant(folder_key)) + " " + "AND iClippingStatus <> " +
      kDeletedClippingStatus);
  const bool exists = !(rs.Bof() && rs.Eof());
  rs.Close();
  return exists;
}

bool DataAccess::ClippingNameIsUnique(const std::string& sClippingName,
                                      const std::string& sFolderId) {
  // Runs after the write, so the clipping itself is one of the rows.
  Recordset rs = Connection().GetRecordsetRO(
      std::string("Select * From Clipping Where sName=? AND lFolderId=? AND iClippingStatus <>") +
          kDeletedClippingStatus,
      {SqlValue::Text(Variant(sClippingName)), SqlValue::Number(Variant(sFolderId))});
  const bool unique = rs.RecordCount() < 2;
  rs.Close();
  return unique;
}

bool DataAccess::ClippingNameIsUniqueWhereItIs(const std::string& sClippingName,
                                               const std::string& key) {
  Recordset rs = Connection().GetRecordsetRO(
      "Select * From Clipping Where sName=" + SqlText(Variant(sClippingName)) +
      " AND lFolderId=(SELECT c.lFolderID FROM Clipping AS c WHERE c.lClippingID=" +
      SqlNumber(Variant(key)) + ") AND iClippingStatus <>" + kDeletedClippingStatus);
  const bool unique = rs.RecordCount() < 2;
  rs.Close();
  return unique;
}

std::shared_ptr<Clipping> DataAccess::AddClipping(const std::shared_ptr<Clipping>& oClipping,
                                                  const std::string& sFolderId) {
  EnsureCatalogOpen();
  if (oClipping == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  const std::string folder_key = GetLocalItemID(sFolderId, ExternalCatalogID());
  // A failed add leaves the caller's clipping as it was.
  const std::string old_id = oClipping->ID();
  const std::string old_guid = oClipping->GUID();
  const std::string old_folder_id = oClipping->FolderID();
  const Date old_updated = oClipping->Updated();
  try {
    InTransaction(Connection(), [&] {
      oClipping->SetFolderID(folder_key);
      oClipping->SetGUID(CreateGUIDString());
      const int32_t key = GetNextID(kClippingKeyBase, oClipping->GUID());
      oClipping->SetID(std::to_string(key));
      oClipping->SetUpdated(StoreKey(), Date::Now());
      InsertClippingRow(Connection(), oClipping->ID(), folder_key, oClipping->GUID(),
                        oClipping->Name(), oClipping->Description(), oClipping->ClippingStatus(),
                        oClipping->Updated());
      WriteClippingDataItems(oClipping->ClippingData(), key);
      WriteClippingText(key, oClipping->Name(), oClipping->Description(),
                        *oClipping->ClippingData());
      if (!ClippingNameIsUnique(oClipping->Name(), folder_key)) {
        RaiseClippingNameNotUnique(oClipping->Name());
      }
    });
  } catch (...) {
    oClipping->SetID(old_id);
    oClipping->SetGUID(old_guid);
    oClipping->SetFolderID(old_folder_id);
    oClipping->SetUpdated(StoreKey(), old_updated);
    throw;
  }
  oClipping->SetID(ComposeItemID(oClipping->ID(), ExternalCatalogID()));
  return oClipping;
}

std::shared_ptr<Clipping> DataAccess::UpdateClipping(const std::shared_ptr<Clipping>& oClipping,
                                                     bool bWriteData) {
  EnsureCatalogOpen();
  if (oClipping == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  const std::string key = GetLocalItemID(oClipping->ID(), ExternalCatalogID());
  const Date old_updated = oClipping->Updated();
  try {
    InTransaction(Connection(), [&] {
      RecordVersion(key, bWriteData, oClipping->Name(), oClipping->Description());
      oClipping->SetUpdated(StoreKey(), Date::Now());
      Connection().ExecuteSQL("Update Clipping Set sName=" + SqlText(Variant(oClipping->Name())) +
                              ", " + "sDescription=" + SqlText(Variant(oClipping->Description())) +
                              ", " +
                              "iClippingStatus=" + SqlNumber(Variant(oClipping->ClippingStatus())) +
                              ", " + "tUpdated=" + SqlDate(Variant(oClipping->Updated())) + " " +
                              "WHERE lClippingID=" + SqlNumber(Variant(key)));
      if (bWriteData) {
        const int32_t key_number = ClippingKeyNumber(key);
        WriteClippingDataItems(oClipping->ClippingData(), key_number);
        WriteClippingText(key_number, oClipping->Name(), oClipping->Description(),
                          *oClipping->ClippingData());
      } else if (has_content_index_) {
        WriteContentNames(Connection(), SqlNumber(Variant(key)), oClipping->Name(),
                          oClipping->Description());
      }
      // Checked where the clipping is now, which a move may have changed since it was read.
      if (!ClippingNameIsUniqueWhereItIs(oClipping->Name(), key)) {
        RaiseClippingNameNotUnique(oClipping->Name());
      }
    });
  } catch (...) {
    oClipping->SetUpdated(StoreKey(), old_updated);
    throw;
  }
  return oClipping;
}

void DataAccess::DeleteClipping(const std::string& sClippingID, bool bDeletePermenantly) {
  EnsureCatalogOpen();
  const std::string key = SqlNumber(Variant(GetLocalItemID(sClippingID, ExternalCatalogID())));
  InTransaction(Connection(), [&] {
    if (!bDeletePermenantly) RecordDeletion(key, false);  // before its categories go
    DeleteAllCategoriesFromClipping(sClippingID);
    if (bDeletePermenantly) {
      Connection().ExecuteSQL("DELETE FROM ClippingDataType WHERE lClippingID=" + key);
      Connection().ExecuteSQL("DELETE FROM Clipping WHERE lClippingID=" + key);
      Connection().ExecuteSQL("DELETE FROM ClippingGroupClipping WHERE lClippingID=" + key);
      if (has_content_index_) RemoveContentText(Connection(), key);
      ForgetClippingHistoryRows(key);
    } else {
      // The row and its content stay, so that the clipping can still be found by key or GUID.
      Connection().ExecuteSQL(std::string("UPDATE Clipping SET iClippingStatus=") +
                              kDeletedClippingStatus + " WHERE lClippingID=" + key);
    }
  });
}

void DataAccess::DeleteClippingsFromFolder(const std::string& sFolderId, bool bDeletePermenantly) {
  EnsureCatalogOpen();
  InTransaction(Connection(), [&] {
    // A permanent delete also removes the clippings that were only marked deleted before.
    const std::shared_ptr<Clippings> clippings =
        GetClippingsFromFolder(sFolderId, false, nullptr, bDeletePermenantly);
    for (const std::shared_ptr<Clipping>& clipping : *clippings->Items()) {
      DeleteClipping(clipping->ID(), bDeletePermenantly);
    }
  });
}

bool DataAccess::CanAddClipping(const std::shared_ptr<Clipping>& oClipping,
                                const std::string& sFolderId) {
  if (!IgnoreErrors([&] { EnsureCatalogOpen(); })) return false;
  return Trial(Connection(), [&] {
    if (oClipping == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
    // The trial draws its own GUID and time: the caller's clipping is not changed.
    const std::string guid = CreateGUIDString();
    const int32_t key = GetNextID(kClippingKeyBase, guid);
    InsertClippingRow(Connection(), std::to_string(key),
                      GetLocalItemID(sFolderId, ExternalCatalogID()), guid, oClipping->Name(),
                      oClipping->Description(), oClipping->ClippingStatus(), Date::Now());
  });
}

bool DataAccess::CanDeleteClipping(const std::string& sClippingID, bool bDeletePermenantly) {
  if (!IgnoreErrors([&] { EnsureCatalogOpen(); })) return false;
  return Trial(Connection(), [&] { DeleteClipping(sClippingID, bDeletePermenantly); });
}

bool DataAccess::CanUpdateClipping(const Variant& /*vClipping*/) {
  RaiseNotImplemented("CanUpdateClipping");
}

}  // namespace clipcat
