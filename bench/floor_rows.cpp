#include "floor_rows.h"

#include <set>
#include <stdexcept>

namespace clipcat_bench {

FloorClipping ReadClippingRow(const Statement& row) {
  FloorClipping c;
  c.id = row.ColumnText(0);
  c.folder_id = row.ColumnText(1);
  c.guid = row.ColumnText(2);
  c.name = row.ColumnText(3);
  c.description = row.ColumnText(4);
  c.status = static_cast<int>(row.ColumnInt(5));
  c.updated = IsoToSerial(row.ColumnText(6));
  return c;
}

FloorFolder ReadFolderRow(const Statement& row) {
  FloorFolder f;
  f.id = row.ColumnText(0);
  f.guid = row.ColumnText(1);
  f.parent_id = row.ColumnText(2);
  f.name = row.ColumnText(3);
  f.description = row.ColumnText(4);
  f.external_catalog = static_cast<int>(row.ColumnInt(5));
  f.status = static_cast<int>(row.ColumnInt(8));
  f.updated = IsoToSerial(row.ColumnText(9));
  return f;
}

std::vector<FloorItem> ReadItems(FloorDb& db, FrameCodec& codec, int64_t key) {
  std::vector<FloorItem> items;
  Statement& s = db.Prepare("SELECT * FROM ClippingDataType WHERE lClippingID=?");
  s.Int(1, key);
  while (s.Step()) {
    FloorItem item;
    item.type = static_cast<int>(s.ColumnInt(1));
    const std::string_view bytes = s.ColumnBytes(3);
    if (s.ColumnInt(2) != 0 && !bytes.empty()) item.raw = codec.Decompress(bytes);
    items.push_back(std::move(item));
  }
  s.Reset();
  return items;
}

std::optional<FloorClipping> GetClipping(FloorDb& db, FrameCodec& codec, int64_t key,
                                         bool with_data) {
  Statement& s = db.Prepare("SELECT * FROM Clipping WHERE lClippingID=?");
  s.Int(1, key);
  std::optional<FloorClipping> clipping;
  if (s.Step()) clipping = ReadClippingRow(s);
  s.Reset();
  if (clipping && with_data) clipping->items = ReadItems(db, codec, key);
  return clipping;
}

std::string FolderPath(FloorDb& db, int64_t key) {
  Statement& s = db.Prepare("Select sName, lParentID From Folder Where lFolderID =?");
  std::string path;
  std::set<int64_t> seen;
  while (key != 0) {
    if (!seen.insert(key).second) throw std::runtime_error("folder parents run in a circle");
    s.Int(1, key);
    if (!s.Step()) throw std::runtime_error("missing folder");
    std::string name = s.ColumnText(0);
    key = s.ColumnInt(1);
    s.Reset();
    path = path.empty() ? std::move(name) : name + "\\" + path;
  }
  return path;
}

std::string CategoryNames(FloorDb& db, int64_t clipping_key) {
  Statement& s = db.Prepare(
      "Select GroupClipping.lGroupClippingID, GroupClipping.sName, GroupClipping.tUpdated "
      "From GroupClipping INNER JOIN ClippingGroupClipping ON  GroupClipping.lGroupClippingID= "
      "ClippingGroupClipping.lGroupClippingID Where ClippingGroupClipping.lClippingId=? "
      "AND GroupClipping.lGroupCategoryId=1 ORDER BY GroupClipping.sName ASC ");
  s.Int(1, clipping_key);
  std::string names;
  while (s.Step()) {
    if (!names.empty()) names += ", ";
    names += s.ColumnText(1);
  }
  s.Reset();
  return names;
}

size_t ContentBytes(const FloorClipping& clipping) {
  size_t bytes = 0;
  for (const FloorItem& item : clipping.items) bytes += item.raw.size();
  return bytes;
}

}  // namespace clipcat_bench
