// The trash: what deletes took, listed, brought back and removed for good. Deletes note each
// folder and clipping they mark in DeletedItem, with the item the delete was asked for (its
// root), so that a restore takes back exactly what that delete took and nothing deleted apart.
#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "engine/sqlite_session.h"
#include "store/content_index.h"
#include "store/data_access.h"
#include "store/item_status_internal.h"
#include "store/transaction_internal.h"
#include "util/date.h"
#include "util/errors.h"
#include "util/item_id.h"
#include "util/login_name.h"
#include "util/values.h"

namespace clipcat {
namespace {

// A deleted folder or clipping as the trash sees it.
struct DeletedRow {
  std::string key;
  bool is_folder = false;
  std::string name;
  std::string description;
  std::string parent_key;  // the folder it is in
  bool noted = false;      // it has a DeletedItem row (deleted since the trash is kept)
  std::string root_key;    // of that row
  std::optional<Date> deleted;
  std::string deleted_by;
  int32_t previous_status = 1;
  std::string category_keys;
};

std::vector<std::string> SplitKeys(const std::string& list) {
  std::vector<std::string> keys;
  size_t start = 0;
  while (start < list.size()) {
    size_t comma = list.find(',', start);
    if (comma == std::string::npos) comma = list.size();
    if (comma > start) keys.push_back(list.substr(start, comma - start));
    start = comma + 1;
  }
  return keys;
}

}  // namespace

const std::string& DataAccess::ActingUser() {
  if (!acting_user_.empty()) return acting_user_;
  if (Connection().EngineName() == kSqliteSource) {
    acting_user_ = CurrentLoginName();
  } else {
    Recordset rs = Connection().GetRecordsetRO("SELECT current_user AS sUser");
    acting_user_ = ToTextOr(rs.Value("sUser"), "");
    rs.Close();
  }
  if (acting_user_.empty()) acting_user_ = "?";
  return acting_user_;
}

void DataAccess::RecordDeletion(const std::string& key, bool is_folder) {
  if (!has_history_tables_) return;
  Recordset item = Connection().GetRecordsetRO(
      is_folder ? "SELECT iStatus AS iStatus FROM Folder WHERE lFolderID=" + key
                : "SELECT iClippingStatus AS iStatus FROM Clipping WHERE lClippingID=" + key);
  if (item.Eof()) return;
  const int32_t status = ToLongOr(item.Value("iStatus"), 1);
  item.Close();
  const bool already_deleted =
      is_folder ? status == kFolderStatusDeleted : std::to_string(status) == kDeletedClippingStatus;
  if (already_deleted) return;  // its first delete keeps its entry
  std::string categories;
  if (!is_folder) {
    Recordset members = Connection().GetRecordsetRO(
        "SELECT lGroupClippingId FROM ClippingGroupClipping WHERE lClippingId=" + key +
        " ORDER BY lGroupClippingId");
    for (; !members.Eof(); members.MoveNext()) {
      categories +=
          (categories.empty() ? "" : ",") + ToTextOr(members.Value("lGroupClippingId"), "");
    }
    members.Close();
  }
  const std::string root = deletion_root_.empty() ? key : deletion_root_;
  Connection().ExecuteSQL("DELETE FROM DeletedItem WHERE lItemID=" + key);
  Connection().ExecuteSQL(
      "INSERT INTO DeletedItem (lItemID, bIsFolder, lDeletionRootID, tDeleted, sDeletedBy,"
      " iPreviousStatus, sCategoryIDs) VALUES (" +
      key + ", " + (is_folder ? "1" : "0") + ", " + root + ", " + SqlDate(Variant(Date::Now())) +
      ", " + SqlText(Variant(ActingUser())) + ", " + std::to_string(status) + ", " +
      SqlText(Variant(categories)) + ")");
}

void DataAccess::ForgetClippingHistoryRows(const std::string& key) {
  if (!has_history_tables_) return;
  Connection().ExecuteSQL("DELETE FROM ClippingVersionData WHERE lClippingID=" + key);
  Connection().ExecuteSQL("DELETE FROM ClippingVersion WHERE lClippingID=" + key);
  Connection().ExecuteSQL("DELETE FROM DeletedItem WHERE lItemID=" + key);
}

namespace {

// Every deleted folder and clipping of the catalog with what the trash noted of it.
std::map<std::string, DeletedRow> ReadDeletedRows(DBConnection& connection, bool noted_rows) {
  const std::string noted_columns =
      noted_rows ? ", d.lItemID AS lNoted, d.lDeletionRootID, d.tDeleted, d.sDeletedBy,"
                   " d.iPreviousStatus, d.sCategoryIDs"
                 : "";
  const auto join = [&](const char* key_column) {
    return noted_rows ? std::string(" LEFT JOIN DeletedItem AS d ON d.lItemID = i.") + key_column
                      : std::string();
  };
  std::map<std::string, DeletedRow> rows;
  const auto read = [&](const std::string& sql, bool is_folder) {
    Recordset rs = connection.GetRecordsetRO(sql);
    for (; !rs.Eof(); rs.MoveNext()) {
      DeletedRow row;
      row.key = ToTextOr(rs.Value("lKey"), "");
      row.is_folder = is_folder;
      row.name = ToTextOr(rs.Value("sName"), "");
      row.description = ToTextOr(rs.Value("sDescription"), "");
      row.parent_key = ToTextOr(rs.Value("lParent"), "0");
      if (noted_rows && !rs.Value("lNoted").IsNull()) {
        row.noted = true;
        row.root_key = ToTextOr(rs.Value("lDeletionRootID"), "");
        if (!rs.Value("tDeleted").IsNull()) row.deleted = ToDateOr(rs.Value("tDeleted"), Date());
        row.deleted_by = ToTextOr(rs.Value("sDeletedBy"), "");
        row.previous_status = ToLongOr(rs.Value("iPreviousStatus"), 1);
        row.category_keys = ToTextOr(rs.Value("sCategoryIDs"), "");
      }
      rows[row.key] = std::move(row);
    }
    rs.Close();
  };
  read("SELECT i.lFolderID AS lKey, i.sName, i.sDescription, i.lParentID AS lParent" +
           noted_columns + " FROM Folder AS i" + join("lFolderID") +
           " WHERE i.iStatus = " + std::to_string(kFolderStatusDeleted),
       true);
  read("SELECT i.lClippingID AS lKey, i.sName, i.sDescription, i.lFolderID AS lParent" +
           noted_columns + " FROM Clipping AS i" + join("lClippingID") +
           " WHERE i.iClippingStatus = " + kDeletedClippingStatus,
       false);
  return rows;
}

// Whether `row` is an entry of its own: a delete was asked for it, or it went with a delete
// whose item is no longer in the trash. Items deleted before the trash was kept are entries when
// the folder they are in is not deleted itself.
bool IsEntry(const DeletedRow& row, const std::map<std::string, DeletedRow>& rows) {
  if (row.noted) return row.root_key == row.key || rows.count(row.root_key) == 0;
  const auto parent = rows.find(row.parent_key);
  return parent == rows.end() || !parent->second.is_folder;
}

// Whether `row` went with the delete of entry `entry`.
bool WentWith(const DeletedRow& row, const DeletedRow& entry) {
  if (entry.noted) return row.noted && row.root_key == entry.root_key;
  return !row.noted;
}

}  // namespace

std::vector<TrashEntry> DataAccess::GetTrash() {
  EnsureCatalogOpen();
  const std::map<std::string, DeletedRow> rows = ReadDeletedRows(Connection(), has_history_tables_);
  std::map<std::string, int32_t> inside;  // items that went with each entry's delete
  for (const auto& [key, row] : rows) {
    if (IsEntry(row, rows)) continue;
    // The nearest entry above it that it went with.
    std::set<std::string> seen{key};
    for (auto up = rows.find(row.parent_key); up != rows.end() && seen.insert(up->first).second;
         up = rows.find(up->second.parent_key)) {
      if (IsEntry(up->second, rows) && WentWith(row, up->second)) {
        ++inside[up->first];
        break;
      }
    }
  }
  std::vector<TrashEntry> entries;
  for (const auto& [key, row] : rows) {
    if (!IsEntry(row, rows)) continue;
    TrashEntry entry;
    entry.id = ComposeItemID(key, ExternalCatalogID());
    entry.is_folder = row.is_folder;
    entry.name = row.name;
    entry.folder_id =
        row.parent_key == "0" ? "0" : ComposeItemID(row.parent_key, ExternalCatalogID());
    if (row.parent_key != "0") {
      IgnoreErrors([&] { entry.path = GetFolderPathName(entry.folder_id); });
    }
    entry.deleted = row.deleted;
    entry.deleted_by = row.deleted_by;
    entry.items_inside = inside[key];
    entries.push_back(std::move(entry));
  }
  std::stable_sort(entries.begin(), entries.end(), [](const TrashEntry& a, const TrashEntry& b) {
    if (a.deleted.has_value() != b.deleted.has_value()) return a.deleted.has_value();
    return a.deleted.has_value() && a.deleted->serial() > b.deleted->serial();
  });
  return entries;
}

namespace {

// The first of "NAME (restored)", "NAME (restored 2)", ... for which `taken` is false.
template <typename Taken>
std::string FreeName(const std::string& name, Taken&& taken) {
  for (int n = 1;; ++n) {
    const std::string candidate =
        name + (n == 1 ? " (restored)" : " (restored " + std::to_string(n) + ")");
    if (!taken(candidate)) return candidate;
  }
}

}  // namespace

std::string DataAccess::RestoreItem(const std::string& sItemID, bool bRename) {
  EnsureCatalogOpen();
  const std::string key = SqlNumber(Variant(GetLocalItemID(sItemID, ExternalCatalogID())));
  std::string restored_name;
  InTransaction(Connection(), [&] {
    const std::map<std::string, DeletedRow> rows =
        ReadDeletedRows(Connection(), has_history_tables_);
    const auto found = rows.find(key);
    if (found == rows.end()) {
      RaiseError(err::kInvalidProcedureCall, kDataServicesSource,
                 "The item " + sItemID + " is not in the trash.");
    }
    const DeletedRow& item = found->second;

    // Takes one item out of the trash; `check_name` for the items whose name may clash.
    const auto bring_back = [&](const DeletedRow& row, bool check_name) {
      std::string name = row.name;
      if (row.is_folder) {
        const int32_t status =
            row.previous_status == kFolderStatusDeleted ? 1 : row.previous_status;
        Connection().ExecuteSQL("UPDATE Folder SET iStatus=" + std::to_string(status) +
                                " WHERE lFolderID=" + row.key);
        if (check_name && !FolderNameIsUnique(name, row.parent_key)) {
          if (!bRename) RaiseFolderNameNotUnique(name);
          name = FreeName(name, [&](const std::string& candidate) {
            return FolderNameExists(candidate, ComposeItemID(row.parent_key, ExternalCatalogID()));
          });
          Connection().ExecuteSQL("UPDATE Folder SET sName=" + SqlText(Variant(name)) +
                                  " WHERE lFolderID=" + row.key);
        }
        if (row.parent_key != "0") UpdateParentFolder(row.parent_key, false);
      } else {
        const int32_t status =
            std::to_string(row.previous_status) == kDeletedClippingStatus ? 1 : row.previous_status;
        Connection().ExecuteSQL("UPDATE Clipping SET iClippingStatus=" + std::to_string(status) +
                                " WHERE lClippingID=" + row.key);
        if (check_name && !ClippingNameIsUnique(name, row.parent_key)) {
          if (!bRename) RaiseClippingNameNotUnique(name);
          name = FreeName(name, [&](const std::string& candidate) {
            return ClippingNameExists(candidate,
                                      ComposeItemID(row.parent_key, ExternalCatalogID()));
          });
          Connection().ExecuteSQL("UPDATE Clipping SET sName=" + SqlText(Variant(name)) +
                                  " WHERE lClippingID=" + row.key);
          if (has_content_index_) WriteContentNames(Connection(), row.key, name, row.description);
        }
        for (const std::string& category : SplitKeys(row.category_keys)) {
          // Only categories that still exist, and never a second membership.
          Connection().ExecuteSQL(
              "INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId)"
              " SELECT " +
              row.key +
              ", lGroupClippingID FROM GroupClipping"
              " WHERE lGroupClippingID=" +
              SqlNumber(Variant(category)) +
              " AND NOT EXISTS (SELECT 1 FROM ClippingGroupClipping WHERE lClippingId=" + row.key +
              " AND lGroupClippingId=" + SqlNumber(Variant(category)) + ")");
        }
      }
      if (has_history_tables_) {
        Connection().ExecuteSQL("DELETE FROM DeletedItem WHERE lItemID=" + row.key);
      }
      return name;
    };

    // The deleted folders above it come back first, top down; only themselves.
    std::vector<const DeletedRow*> above;
    std::set<std::string> seen{key};
    for (auto up = rows.find(item.parent_key);
         up != rows.end() && up->second.is_folder && seen.insert(up->first).second;
         up = rows.find(up->second.parent_key)) {
      above.push_back(&up->second);
    }
    for (auto it = above.rbegin(); it != above.rend(); ++it) bring_back(**it, true);
    restored_name = bring_back(item, true);
    if (!item.is_folder) return;

    // What went with the folder: walked down through the folders that come back.
    std::multimap<std::string, const DeletedRow*> children;
    for (const auto& [child_key, row] : rows) children.emplace(row.parent_key, &row);
    std::vector<std::string> folders{item.key};
    while (!folders.empty()) {
      const std::string folder = folders.back();
      folders.pop_back();
      const auto [first, last] = children.equal_range(folder);
      for (auto it = first; it != last; ++it) {
        const DeletedRow& row = *it->second;
        if (row.key == item.key || !WentWith(row, item)) continue;
        bring_back(row, false);
        if (row.is_folder) folders.push_back(row.key);
      }
    }
  });
  return restored_name;
}

void DataAccess::NoteDeletion(const std::string& sItemID, const Date& tDeleted,
                              const std::string& sDeletedBy) {
  EnsureCatalogOpen();
  const std::string key = SqlNumber(Variant(GetLocalItemID(sItemID, ExternalCatalogID())));
  InTransaction(Connection(), [&] {
    bool noted = false;
    if (has_history_tables_) {
      Recordset rs = Connection().GetRecordsetRO(
          "SELECT lDeletionRootID FROM DeletedItem WHERE lItemID=" + key);
      noted = !rs.Eof() && ToTextOr(rs.Value("lDeletionRootID"), "") == key;
      rs.Close();
    }
    if (!noted) {
      RaiseError(err::kInvalidProcedureCall, kDataServicesSource,
                 "The item " + sItemID + " is not an entry of the trash.");
    }
    Connection().ExecuteSQL("UPDATE DeletedItem SET tDeleted=" + SqlDate(Variant(tDeleted)) +
                            ", sDeletedBy=" + SqlText(Variant(sDeletedBy)) +
                            " WHERE lItemID=" + key);
  });
}

int32_t DataAccess::EmptyTrash(const std::optional<Date>& before) {
  EnsureCatalogOpen();
  int32_t removed = 0;
  InTransaction(Connection(), [&] {
    const std::map<std::string, DeletedRow> rows =
        ReadDeletedRows(Connection(), has_history_tables_);
    std::vector<std::string> folders;
    std::vector<std::string> clippings;
    for (const auto& [key, row] : rows) {
      if (!IsEntry(row, rows)) continue;
      if (before && row.deleted && row.deleted->serial() >= before->serial()) continue;
      (row.is_folder ? folders : clippings).push_back(key);
    }
    // Everything below a folder that goes, whatever its status: nothing may stay without it.
    for (size_t i = 0; i < folders.size(); ++i) {
      Recordset below =
          Connection().GetRecordsetRO("SELECT lFolderID FROM Folder WHERE lParentID=" + folders[i]);
      for (; !below.Eof(); below.MoveNext())
        folders.push_back(ToTextOr(below.Value("lFolderID"), ""));
      below.Close();
      Recordset held = Connection().GetRecordsetRO(
          "SELECT lClippingID FROM Clipping WHERE lFolderID=" + folders[i]);
      for (; !held.Eof(); held.MoveNext())
        clippings.push_back(ToTextOr(held.Value("lClippingID"), ""));
      held.Close();
    }
    // A clipping or folder deleted on its own inside a folder that goes is met twice.
    std::sort(clippings.begin(), clippings.end());
    clippings.erase(std::unique(clippings.begin(), clippings.end()), clippings.end());
    std::sort(folders.begin(), folders.end());
    folders.erase(std::unique(folders.begin(), folders.end()), folders.end());
    for (const std::string& clipping : clippings) {
      const std::string id = ComposeItemID(clipping, ExternalCatalogID());
      DeleteClipping(id, true);
      DeleteClippingHistory(id);
    }
    for (const std::string& folder : folders) {
      RemoveFolderRow(ComposeItemID(folder, ExternalCatalogID()), true);
    }
    removed = static_cast<int32_t>(folders.size() + clippings.size());
  });
  return removed;
}

}  // namespace clipcat
