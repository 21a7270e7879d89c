#include "api/public_values.h"

#include "entities/plain_text.h"

namespace clipcat::api {

std::chrono::sys_seconds MomentOf(const Date& date) {
  return std::chrono::sys_seconds(std::chrono::seconds(UnixSeconds(date)));
}

std::optional<std::chrono::sys_seconds> MomentOrNothing(const Date& date) {
  if (date.serial() == 0.0) return std::nullopt;
  return MomentOf(date);
}

std::string JoinPath(const std::string& folder_path, const std::string& name) {
  return folder_path.empty() ? name : folder_path + "/" + name;
}

v0::Folder PublicFolder(const Folder& folder, const std::string& path, bool children) {
  v0::Folder result;
  result.id = folder.ID();
  result.name = folder.Name();
  result.description = folder.Description();
  result.parent_id = folder.ParentID();
  result.path = path;
  result.linked = folder.ExternalCatalogID() != 0;
  result.offline = folder.Status() == kFolderStatusOffline;
  result.updated = MomentOf(folder.Updated());
  if (children) {
    for (const auto& child : *folder.ChildFolders()) {
      result.children.push_back(PublicFolder(*child, JoinPath(path, child->Name()), true));
    }
  }
  return result;
}

v0::Clipping PublicClipping(const Clipping& clipping, const std::string& folder_path, bool items) {
  v0::Clipping result;
  result.id = clipping.ID();
  result.folder_id = clipping.FolderID();
  result.name = clipping.Name();
  result.description = clipping.Description();
  result.path = JoinPath(folder_path, clipping.Name());
  result.updated = MomentOf(clipping.Updated());
  result.accessed = MomentOrNothing(clipping.Accessed());
  if (items) {
    for (const auto& item : *clipping.ClippingData()) {
      result.items.push_back(
          {item->ClippingDataType(), DataTypeName(item->ClippingDataType()), item->RawData()});
    }
  }
  return result;
}

v0::SearchHit PublicHit(const FoundClipping& found, const std::string& folder_path) {
  return {found.clipping->ID(), found.clipping->Name(),
          JoinPath(folder_path, found.clipping->Name()), found.snippet, found.score};
}

}  // namespace clipcat::api
