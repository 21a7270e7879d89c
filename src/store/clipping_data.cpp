// Clipping data storage: the content items of a clipping, one ClippingDataType row each. Items
// this store writes hold a compression frame; items written uncompressed by other programs hold
// UTF-16LE text and are answered as stored.
#include <string>
#include <string_view>

#include "engine/backend_factory.h"
#include "engine/blob_field.h"
#include "entities/clipping.h"
#include "store/clipping_data_row.h"
#include "store/data_access.h"
#include "util/compression.h"
#include "util/errors.h"
#include "util/item_id.h"
#include "util/values.h"

namespace clipcat {
namespace {

// The field that holds an item's content. Frozen: other programs read the same column.
constexpr std::string_view kContentField = "ClippingData";

}  // namespace

StoredItem ReadClippingDataRow(const Recordset& rs, Compression& compression) {
  StoredItem item;
  item.type = ToLongOr(rs.Value("lDataTypeId"), 0);
  item.compressed = ToBooleanOr(rs.Value("bIsCompressed"), false);
  if (!item.compressed) {
    item.content = ReadBlobField(rs, kContentField);
  } else if (!rs.Bytes(kContentField).empty()) {
    item.content = compression.DecompressString(rs.Bytes(kContentField));
  }
  return item;
}

void DataAccess::WriteClippingDataItems(
    const std::shared_ptr<ClippingDataCollection>& colClippingData, int32_t lClippingID) {
  EnsureCatalogOpen();
  if (colClippingData == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  // The old items go even when no new one follows: the collection replaces them all.
  Connection().ExecuteSQL("Delete From ClippingDataType Where lClippingId=?",
                          {SqlValue::Number(Variant(lClippingID))});
  InsertDataRows("ClippingDataType", {{"lClippingID", Variant(lClippingID)}}, colClippingData);
}

void DataAccess::InsertDataRows(const std::string& table,
                                const std::vector<std::pair<std::string, Variant>>& keys,
                                const std::shared_ptr<ClippingDataCollection>& items) {
  Compression compression;
  // The condition never holds: the recordset only serves to add rows.
  UpdatableRecordset rs =
      Connection().GetRecordsetRW("SELECT * FROM " + table + " WHERE lClippingID=NULL");
  for (const std::shared_ptr<ClippingData>& item : *items) {
    if (item == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
    if (item->RawData().empty()) continue;
    item->SetIsCompressed(StoreKey(), true);
    const std::string frame = compression.Compress(item->RawData());
    rs.AddNew();
    for (const auto& [column, value] : keys) rs.SetValue(column, value);
    rs.SetValue("bIsCompressed", Variant(item->IsCompressed()));
    rs.SetValue("lDataTypeId", Variant(item->ClippingDataType()));
    // The frame is stored as its bytes: a text encoding of it would double its size.
    WriteBlobBytes(frame, rs, kContentField);
    rs.Update();
  }
  rs.Close();
}

std::shared_ptr<ClippingDataCollection> DataAccess::ReadClippingDataItems(int32_t lClippingID) {
  EnsureCatalogOpen();
  auto items = std::make_shared<ClippingDataCollection>();
  Recordset rs = Connection().GetRecordsetRO("SELECT * FROM ClippingDataType WHERE lClippingID=?",
                                             {SqlValue::Number(Variant(lClippingID))});
  if (rs.Bof() && rs.Eof()) return items;
  Compression compression;
  for (rs.MoveFirst(); !rs.Eof(); rs.MoveNext()) {
    StoredItem stored;
    try {
      stored = ReadClippingDataRow(rs, compression);
    } catch (const AutomationError& e) {
      // Without the clipping's id the damage could not be traced to a row.
      const auto file = FileCatalogPath(connection_string_);
      throw AutomationError(err::kCatalogDamaged, e.source(),
                            CatalogDamagedDescription(file.value_or("the server catalog"),
                                                      "the content of clipping " +
                                                          ComposeItemID(std::to_string(lClippingID),
                                                                        ExternalCatalogID()) +
                                                          " cannot be read: " + e.description()));
    }
    auto item = ClippingData::Create();
    item->SetClippingDataType(stored.type);
    item->SetIsCompressed(StoreKey(), stored.compressed);
    item->SetRawData(std::move(stored.content));
    items->Add(std::move(item));
  }
  rs.Close();
  return items;
}

}  // namespace clipcat
