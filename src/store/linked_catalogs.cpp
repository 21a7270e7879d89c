// The linked-catalog operations of DataAccess: the rows of the external catalog table, which say
// how to reach each catalog linked into this one, and the folders at the top of the tree that
// stand for them.
#include <cstdint>
#include <string>

#include "store/data_access.h"
#include "store/transaction_internal.h"
#include "util/errors.h"
#include "util/guid.h"
#include "util/item_id.h"
#include "util/values.h"

namespace clipcat {

std::shared_ptr<ExternalCatalog> DataAccess::ReadExternalCatalogRow(const Recordset& rs) {
  auto catalog = ExternalCatalog::Create();
  catalog->SetID(ToLongOr(rs.Value("lExternalCatalogID"), 0));
  catalog->SetGUID(ToTextOr(rs.Value("sGUID"), ""));
  catalog->SetConnectionStringXML(ToTextOr(rs.Value("sConnectString"), ""));
  catalog->SetIsOnline(ToBooleanOr(rs.Value("bIsOnline"), false));
  // A speed outside the 16-bit range cannot be a speed class; it reads as not measured.
  const int32_t speed = ToLongOr(rs.Value("iConnectionSpeed"), 0);
  catalog->SetConnectionSpeed(speed >= INT16_MIN && speed <= INT16_MAX ? static_cast<int16_t>(speed)
                                                                       : int16_t{0});
  return catalog;
}

std::shared_ptr<Folder> DataAccess::AddLinkedFolder(
    const std::shared_ptr<ConnectionDetails>& oConnectionDetails, const std::string& sFolderName) {
  if (oConnectionDetails == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  EnsureCatalogOpen();
  auto catalog = ExternalCatalog::Create();
  catalog->SetConnectionStringXML(oConnectionDetails->XML());
  catalog->SetGUID(CreateGUIDString());

  // The catalog row and its folder go in together: a failure leaves neither behind.
  std::shared_ptr<Folder> added;
  InTransaction(Connection(), [&] {
    catalog->SetID(GetNextID("ExternalCatalog", catalog->GUID()));
    catalog->SetIsOnline(true);
    // True is -1 to the automation runtime; the catalog stores its absolute value, 1.
    const int online = catalog->IsOnline() ? 1 : 0;
    Connection().ExecuteSQL(
        "Insert Into ExternalCatalog (lExternalCatalogID, sGuid, sConnectString, bIsOnline) " +
        std::string(" Values (") + std::to_string(catalog->ID()) + ", " +
        SqlText(Variant(catalog->GUID())) + ", " +
        SqlText(Variant(catalog->ConnectionStringXML())) + ", " + std::to_string(online) + ")");

    auto folder = Folder::Create();
    folder->SetExternalCatalogID(StoreKey(), catalog->ID());
    folder->SetName(sFolderName);
    added = AddFolder(folder, "0", false);
  });
  return added;
}

std::shared_ptr<Folders> DataAccess::GetLinkedFolders() {
  EnsureCatalogOpen();
  Recordset rs =
      Connection().GetRecordsetRO("Select * From Folder Where lParentID=0 ORDER BY sName ASC ");
  auto folders = Folders::Create();
  while (!rs.Eof()) {
    folders->AddFolder(ReadFolderRow(rs));
    rs.MoveNext();
  }
  rs.Close();
  return folders;
}

bool DataAccess::IsLinkedFolder(const std::string& sFolderID) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO(
      "Select lExternalCatalogId From Folder Where lFolderId=" +
      SqlNumber(Variant(GetLocalItemID(sFolderID, ExternalCatalogID()))) +
      " AND (lExternalCatalogId <> 0 OR lParentID = 0 )");
  const bool linked = !IsEmpty(rs);
  rs.Close();
  return linked;
}

std::shared_ptr<Folder> DataAccess::GetFolderWithExternalCatalog(int32_t lExternalCatalogID) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO("Select * From Folder Where lExternalCatalogID=" +
                                             SqlNumber(Variant(lExternalCatalogID)));
  std::shared_ptr<Folder> folder;
  if (!IsEmpty(rs)) {
    rs.MoveFirst();
    folder = ReadFolderRow(rs);
  }
  rs.Close();
  return folder;
}

std::shared_ptr<ExternalCatalogCollection> DataAccess::GetExternalCatalogs() {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO("Select * From ExternalCatalog ");
  auto catalogs = ExternalCatalogCollection::Create();
  if (!IsEmpty(rs)) {
    rs.MoveFirst();
    while (!rs.Eof()) {
      catalogs->Add(ReadExternalCatalogRow(rs));
      rs.MoveNext();
    }
  }
  rs.Close();
  return catalogs;
}

std::shared_ptr<ExternalCatalog> DataAccess::GetExternalCatalog(int32_t lExternalCatalogID) {
  EnsureCatalogOpen();
  Recordset rs =
      Connection().GetRecordsetRO("Select * From ExternalCatalog Where lExternalCatalogId=" +
                                  SqlNumber(Variant(lExternalCatalogID)));
  rs.MoveFirst();  // raises 3021 "no current record" when there is no such catalog
  std::shared_ptr<ExternalCatalog> catalog = ReadExternalCatalogRow(rs);
  rs.Close();
  return catalog;
}

void DataAccess::DeleteExternalCatalog(int32_t lExternalCatalogID) {
  EnsureCatalogOpen();
  Connection().ExecuteSQL("Delete From ExternalCatalog Where lExternalCatalogID=" +
                          SqlNumber(Variant(lExternalCatalogID)));
}

}  // namespace clipcat
