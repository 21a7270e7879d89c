// Versions: the states a clipping had before each change, kept in ClippingVersion and
// ClippingVersionData in the transaction of the change. The data items are copied as stored,
// compressed, by the engine itself: nothing is read back or compressed again.
#include <string>
#include <vector>

#include "entities/clipping.h"
#include "store/clipping_data_row.h"
#include "store/data_access.h"
#include "store/transaction_internal.h"
#include "util/compression.h"
#include "util/date.h"
#include "util/errors.h"
#include "util/item_id.h"
#include "util/text.h"
#include "util/values.h"

namespace clipcat {
namespace {

// The catalog property that holds how many versions are kept per clipping.
constexpr const char* kMaximumVersionsProperty = "MaximumVersions";
constexpr int32_t kDefaultMaximumVersions = 50;

[[noreturn]] void RaiseNoSuchVersion(const std::string& clipping_id, int32_t version) {
  RaiseError(err::kInvalidProcedureCall, kDataServicesSource,
             "The clipping " + clipping_id + " has no version " + std::to_string(version) + ".");
}

[[noreturn]] void RaiseNoHistoryTables() {
  RaiseError(err::kInvalidProcedureCall, kDataServicesSource,
             "This catalog's format keeps no versions; open it with a writer to upgrade it.");
}

}  // namespace

int32_t DataAccess::MaximumVersions() {
  EnsureCatalogOpen();
  if (!has_history_tables_) return 0;
  if (!maximum_versions_) {
    Recordset rs = Connection().GetRecordsetRO(
        std::string("SELECT sValue FROM CatalogProperties WHERE sCatalogProperty='") +
        kMaximumVersionsProperty + "'");
    maximum_versions_ =
        rs.Eof() ? kDefaultMaximumVersions : ToLongOr(rs.Value("sValue"), kDefaultMaximumVersions);
    rs.Close();
    if (*maximum_versions_ < 0) maximum_versions_ = 0;
  }
  return *maximum_versions_;
}

void DataAccess::SetMaximumVersions(int32_t lMaximum) {
  EnsureCatalogOpen();
  if (lMaximum < 0 || !has_history_tables_) {
    if (!has_history_tables_) RaiseNoHistoryTables();
    RaiseError(err::kInvalidProcedureCall, kDataServicesSource,
               "The number of versions to keep cannot be negative.");
  }
  InTransaction(Connection(), [&] {
    const std::string property = std::string("'") + kMaximumVersionsProperty + "'";
    Connection().ExecuteSQL("DELETE FROM CatalogProperties WHERE sCatalogProperty=" + property);
    Connection().ExecuteSQL("INSERT INTO CatalogProperties (sCatalogProperty, sValue) VALUES (" +
                            property + ", '" + std::to_string(lMaximum) + "')");
    // Every clipping keeps its newest `lMaximum` versions.
    const std::string beyond =
        " AS v WHERE lVersion <= (SELECT MAX(w.lVersion) FROM ClippingVersion AS w"
        " WHERE w.lClippingID = v.lClippingID) - " +
        std::to_string(lMaximum);
    Connection().ExecuteSQL("DELETE FROM ClippingVersionData" + beyond);
    Connection().ExecuteSQL("DELETE FROM ClippingVersion" + beyond);
  });
  maximum_versions_ = lMaximum;
}

void DataAccess::RecordVersion(const std::string& key, bool writes_data, const std::string& name,
                               const std::string& description) {
  if (MaximumVersions() <= 0) return;
  // The row is locked first, so that of two writers changing one clipping on a server the second
  // waits and then keeps the first one's state as the next version: neither change is lost.
  Connection().ExecuteSQL("UPDATE Clipping SET lFolderID = lFolderID WHERE lClippingID=" + key);
  if (!writes_data) {
    Recordset current = Connection().GetRecordsetRO(
        "SELECT sName, sDescription FROM Clipping WHERE lClippingID=" + key);
    // Compared as the update will store them: without the spaces around them.
    const bool unchanged =
        current.Eof() || (ToTextOr(current.Value("sName"), "") == TrimSpaces(name) &&
                          ToTextOr(current.Value("sDescription"), "") == TrimSpaces(description));
    current.Close();
    if (unchanged) return;
  }
  Recordset last = Connection().GetRecordsetRO(
      "SELECT MAX(lVersion) AS lLast FROM ClippingVersion WHERE lClippingID=" + key);
  const int32_t version = ToLongOr(last.Value("lLast"), 0) + 1;  // MAX of no rows: Null
  last.Close();
  const std::string number = std::to_string(version);
  Connection().ExecuteSQL(
      "INSERT INTO ClippingVersion (lClippingID, lVersion, tSaved, sSavedBy, sName, sDescription)"
      " SELECT lClippingID, " +
      number + ", " + SqlDate(Variant(Date::Now())) + ", " + SqlText(Variant(ActingUser())) +
      ", sName, sDescription FROM Clipping WHERE lClippingID=" + key);
  Connection().ExecuteSQL(
      "INSERT INTO ClippingVersionData (lClippingID, lVersion, lDataTypeId, bIsCompressed,"
      " ClippingData) SELECT lClippingID, " +
      number +
      ", lDataTypeId, bIsCompressed, ClippingData FROM ClippingDataType"
      " WHERE lClippingID=" +
      key);
  if (version > MaximumVersions()) PruneVersions(key);
}

void DataAccess::PruneVersions(const std::string& key) {
  const std::string beyond =
      " WHERE lClippingID=" + key +
      " AND lVersion <= (SELECT MAX(w.lVersion) FROM ClippingVersion AS w WHERE w.lClippingID=" +
      key + ") - " + std::to_string(MaximumVersions());
  Connection().ExecuteSQL("DELETE FROM ClippingVersionData" + beyond);
  Connection().ExecuteSQL("DELETE FROM ClippingVersion" + beyond);
}

void DataAccess::AddClippingVersion(
    const std::string& sClippingID, const ClippingVersion& version,
    const std::shared_ptr<ClippingDataCollection>& colClippingData) {
  EnsureCatalogOpen();
  if (colClippingData == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  if (!has_history_tables_) RaiseNoHistoryTables();
  if (version.version < 1) {
    RaiseError(err::kInvalidProcedureCall, kDataServicesSource,
               "A version number must be 1 or more.");
  }
  const std::string key = SqlNumber(Variant(GetLocalItemID(sClippingID, ExternalCatalogID())));
  InTransaction(Connection(), [&] {
    if (GetClipping(sClippingID, false) == nullptr) {
      RaiseError(err::kInvalidProcedureCall, kDataServicesSource,
                 "There is no clipping " + sClippingID + ".");
    }
    const std::string number = std::to_string(version.version);
    Recordset taken = Connection().GetRecordsetRO(
        "SELECT lVersion FROM ClippingVersion WHERE lClippingID=" + key +
        " AND lVersion=" + number);
    const bool exists = !taken.Eof();
    taken.Close();
    if (exists) {
      RaiseError(err::kInvalidProcedureCall, kDataServicesSource,
                 "The clipping " + sClippingID + " already has a version " + number + ".");
    }
    Connection().ExecuteSQL(
        "INSERT INTO ClippingVersion (lClippingID, lVersion, tSaved, sSavedBy, sName,"
        " sDescription) VALUES (" +
        key + ", " + number + ", " + SqlDate(Variant(version.saved)) + ", " +
        SqlText(Variant(version.saved_by)) + ", " + SqlText(Variant(version.name)) + ", " +
        SqlText(Variant(version.description)) + ")");
    InsertDataRows("ClippingVersionData",
                   {{"lClippingID", Variant(ToLongOr(Variant(key), 0))},
                    {"lVersion", Variant(version.version)}},
                   colClippingData);
    PruneVersions(key);
  });
}

std::vector<ClippingVersion> DataAccess::GetClippingVersions(const std::string& sClippingID) {
  EnsureCatalogOpen();
  std::vector<ClippingVersion> versions;
  if (!has_history_tables_) return versions;
  const std::string key = SqlNumber(Variant(GetLocalItemID(sClippingID, ExternalCatalogID())));
  Recordset rs = Connection().GetRecordsetRO(
      "SELECT v.lVersion, v.tSaved, v.sSavedBy, v.sName, v.sDescription,"
      " (SELECT SUM(LENGTH(d.ClippingData)) FROM ClippingVersionData AS d"
      " WHERE d.lClippingID = v.lClippingID AND d.lVersion = v.lVersion) AS lBytes"
      " FROM ClippingVersion AS v WHERE v.lClippingID=" +
      key + " ORDER BY v.lVersion");
  for (; !rs.Eof(); rs.MoveNext()) {
    ClippingVersion version;
    version.version = ToLongOr(rs.Value("lVersion"), 0);
    version.saved = ToDateOr(rs.Value("tSaved"), Date());
    version.saved_by = ToTextOr(rs.Value("sSavedBy"), "");
    version.name = ToTextOr(rs.Value("sName"), "");
    version.description = ToTextOr(rs.Value("sDescription"), "");
    version.bytes = static_cast<int64_t>(ToDecimalOr(rs.Value("lBytes"), 0));
    versions.push_back(std::move(version));
  }
  rs.Close();
  return versions;
}

std::shared_ptr<Clipping> DataAccess::GetClippingVersion(const std::string& sClippingID,
                                                         int32_t lVersion) {
  EnsureCatalogOpen();
  if (!has_history_tables_) return nullptr;
  const std::shared_ptr<Clipping> clipping = GetClipping(sClippingID, false);
  if (clipping == nullptr) return nullptr;
  const std::string key = SqlNumber(Variant(GetLocalItemID(sClippingID, ExternalCatalogID())));
  const std::string which =
      " WHERE lClippingID=" + key + " AND lVersion=" + std::to_string(lVersion);
  Recordset head = Connection().GetRecordsetRO(
      "SELECT tSaved, sName, sDescription FROM ClippingVersion" + which);
  if (head.Eof()) return nullptr;
  clipping->SetName(ToTextOr(head.Value("sName"), ""));
  clipping->SetDescription(ToTextOr(head.Value("sDescription"), ""));
  clipping->SetUpdated(StoreKey(), ToDateOr(head.Value("tSaved"), Date()));
  head.Close();
  auto items = std::make_shared<ClippingDataCollection>();
  Recordset rs = Connection().GetRecordsetRO("SELECT * FROM ClippingVersionData" + which);
  Compression compression;
  for (; !rs.Eof(); rs.MoveNext()) {
    StoredItem stored = ReadClippingDataRow(rs, compression);
    auto item = ClippingData::Create();
    item->SetClippingDataType(stored.type);
    item->SetIsCompressed(StoreKey(), stored.compressed);
    item->SetRawData(std::move(stored.content));
    items->Add(std::move(item));
  }
  rs.Close();
  clipping->SetClippingData(items);
  return clipping;
}

std::shared_ptr<Clipping> DataAccess::RevertClipping(const std::string& sClippingID,
                                                     int32_t lVersion) {
  EnsureCatalogOpen();
  std::shared_ptr<Clipping> clipping;
  InTransaction(Connection(), [&] {
    clipping = GetClippingVersion(sClippingID, lVersion);
    if (clipping == nullptr) RaiseNoSuchVersion(sClippingID, lVersion);
    UpdateClipping(clipping, true);
  });
  return clipping;
}

VersionSpace DataAccess::GetVersionSpace() {
  EnsureCatalogOpen();
  VersionSpace space;
  space.maximum_per_clipping = MaximumVersions();
  if (!has_history_tables_) return space;
  Recordset counts = Connection().GetRecordsetRO(
      "SELECT COUNT(*) AS lVersions, COUNT(DISTINCT lClippingID) AS lClippings"
      " FROM ClippingVersion");
  if (!counts.Eof()) {
    space.versions = static_cast<int64_t>(ToDecimalOr(counts.Value("lVersions"), 0));
    space.clippings = static_cast<int64_t>(ToDecimalOr(counts.Value("lClippings"), 0));
  }
  counts.Close();
  Recordset bytes = Connection().GetRecordsetRO(
      "SELECT SUM(LENGTH(ClippingData)) AS lBytes FROM ClippingVersionData");
  if (!bytes.Eof()) space.bytes = static_cast<int64_t>(ToDecimalOr(bytes.Value("lBytes"), 0));
  bytes.Close();
  return space;
}

}  // namespace clipcat
