#include "library/entity_json.h"

#include <time.h>

#include <cstdio>

#include "util/base64.h"

namespace clipcat {
namespace {

using nlohmann::json;

// True when `text` is well-formed UTF-8, which a JSON string must be.
bool IsUtf8(const std::string& text) {
  try {
    (void)json(text).dump();
    return true;
  } catch (const json::type_error&) {
    return false;
  }
}

json NamesList(const std::string& composed) {
  json names = json::array();
  if (composed.empty()) return names;
  for (size_t start = 0;;) {
    const size_t comma = composed.find(", ", start);
    names.push_back(composed.substr(start, comma - start));
    if (comma == std::string::npos) break;
    start = comma + 2;
  }
  return names;
}

json Accessed(const Clipping& clipping, const std::map<std::string, Date>* last_access) {
  if (last_access == nullptr) return DateJson(clipping.Accessed());
  const auto found = last_access->find(clipping.ID());
  return found == last_access->end() ? json(nullptr) : DateJson(found->second);
}

}  // namespace

json DateJson(const Date& date) {
  if (date.serial() == 0.0) return nullptr;
  return FormatIsoUtc(date);
}

json FolderJson(const Folder& folder, bool with_children) {
  json out = {{"id", folder.ID()},
              {"name", folder.Name()},
              {"description", folder.Description()},
              {"guid", folder.GUID()},
              {"parent_id", folder.ParentID()},
              {"updated", DateJson(folder.Updated())},
              {"offline", folder.Status() == kFolderStatusOffline}};
  if (with_children) {
    json children = json::array();
    for (const auto& child : folder.ChildFolders()->Snapshot()) {
      children.push_back(FolderJson(*child, true));
    }
    out["folders"] = std::move(children);
  }
  return out;
}

json ClippingJson(const Clipping& clipping, bool with_content,
                  const std::map<std::string, Date>* last_access) {
  json data = json::array();
  for (const auto& item : *clipping.ClippingData()) {
    json entry = {{"type", item->ClippingDataType()},
                  {"type_name", DataTypeName(item->ClippingDataType())},
                  {"bytes", item->RawData().size()}};
    if (with_content) {
      if (IsUtf8(item->RawData())) {
        entry["content"] = item->RawData();
      } else {
        entry["content"] = nullptr;
        entry["content_base64"] = EncodeBase64(item->RawData());
      }
    }
    data.push_back(std::move(entry));
  }
  return {{"id", clipping.ID()},
          {"name", clipping.Name()},
          {"description", clipping.Description()},
          {"guid", clipping.GUID()},
          {"folder_id", clipping.FolderID()},
          {"path", clipping.PathName()},
          {"categories", NamesList(clipping.Categories())},
          {"updated", DateJson(clipping.Updated())},
          {"accessed", Accessed(clipping, last_access)},
          {"data", std::move(data)}};
}

json CategoryJson(const Category& category) {
  return {{"id", category.ID()},
          {"name", category.Name()},
          {"description", category.Description()},
          {"updated", DateJson(category.Updated())}};
}

json TrashEntryJson(const TrashEntry& entry) {
  return {{"id", entry.id},
          {"kind", entry.is_folder ? "folder" : "clipping"},
          {"name", entry.name},
          {"folder_id", entry.folder_id},
          {"path", entry.path},
          {"deleted", entry.deleted ? DateJson(*entry.deleted) : json(nullptr)},
          {"deleted_by", entry.deleted_by},
          {"items_inside", entry.items_inside}};
}

json VersionJson(const ClippingVersion& version) {
  return {{"version", version.version},
          {"replaced", DateJson(version.saved)},
          {"by", version.saved_by},
          {"name", version.name},
          {"description", version.description},
          {"bytes", version.bytes}};
}

json FoundClippingJson(const FoundClipping& found, const std::map<std::string, Date>* last_access) {
  json out = ClippingJson(*found.clipping, false, last_access);
  out["score"] = found.score;
  out["snippet"] = found.snippet;
  return out;
}

}  // namespace clipcat
