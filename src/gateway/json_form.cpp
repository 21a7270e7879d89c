#include "gateway/json_form.h"

#include <cstdio>
#include <ctime>

#include "entities/plain_text.h"
#include "util/item_id.h"

namespace clipcat::gateway {
namespace {

using nlohmann::json;

// The zero date stands for never.
json NeverOrIsoUtc(const Date& date) {
  return date.serial() == 0.0 ? json(nullptr) : json(FormatIsoUtc(date));
}

}  // namespace

json FolderJson(const Folder& folder, bool children, bool in_linked_catalog) {
  const bool external = IsExternalItemID(folder.ID());
  const bool linked = folder.ExternalCatalogID() != 0 || (external && !in_linked_catalog);
  json form = {{"id", folder.ID()},
               {"name", folder.Name()},
               {"description", folder.Description()},
               {"parent", folder.ParentID()},
               {"status", folder.Status()},
               {"updated", FormatIsoUtc(folder.Updated())},
               {"linked", linked},
               {"online", folder.Status() != kFolderStatusOffline}};
  if (children) {
    json list = json::array();
    for (const auto& child : *folder.ChildFolders()) {
      list.push_back(FolderJson(*child, true, in_linked_catalog || external));
    }
    form["children"] = std::move(list);
  }
  return form;
}

json FolderTreeJson(const Folders& folders) {
  json list = json::array();
  for (const auto& folder : *folders.Items()) list.push_back(FolderJson(*folder, true));
  return list;
}

json ClippingJson(const Clipping& clipping, bool items) {
  json form = {{"id", clipping.ID()},
               {"name", clipping.Name()},
               {"description", clipping.Description()},
               {"folder", clipping.FolderID()},
               {"status", clipping.ClippingStatus()},
               {"updated", FormatIsoUtc(clipping.Updated())},
               {"accessed", NeverOrIsoUtc(clipping.Accessed())}};
  if (!clipping.PathName().empty()) form["path"] = clipping.PathName();
  if (items) {
    json list = json::array();
    for (const auto& item : *clipping.ClippingData()) {
      const int32_t type = item->ClippingDataType();
      const bool has_text = type >= kRichTextDataType && type <= kCatalogXmlDataType;
      list.push_back({{"type", type},
                      {"typename", DataTypeName(type)},
                      {"bytes", item->RawData().size()},
                      {"text", has_text ? json(PlainTextOf(type, item->RawData())) : json()}});
    }
    form["items"] = std::move(list);
  }
  return form;
}

json ClippingListJson(const Clippings& clippings) {
  json list = json::array();
  for (const auto& clipping : *clippings.Items()) list.push_back(ClippingJson(*clipping, false));
  return list;
}

json CategoryJson(const Category& category) {
  return {
      {"id", category.ID()}, {"name", category.Name()}, {"description", category.Description()}};
}

json CategoryListJson(const Categories& categories) {
  json list = json::array();
  for (const auto& category : *categories.Items()) list.push_back(CategoryJson(*category));
  return list;
}

json FoundClippingJson(const FoundClipping& found) {
  json form = ClippingJson(*found.clipping, false);
  form["score"] = found.score;
  form["snippet"] = found.snippet;
  return form;
}

json TrashEntryJson(const TrashEntry& entry) {
  return {{"id", entry.id},
          {"kind", entry.is_folder ? "folder" : "clipping"},
          {"name", entry.name},
          {"folder", entry.folder_id},
          {"path", entry.path},
          {"deleted", entry.deleted ? json(FormatIsoUtc(*entry.deleted)) : json()},
          {"deletedby", entry.deleted_by},
          {"itemsinside", entry.items_inside}};
}

json VersionJson(const ClippingVersion& version) {
  return {{"version", version.version},         {"saved", FormatIsoUtc(version.saved)},
          {"savedby", version.saved_by},        {"name", version.name},
          {"description", version.description}, {"bytes", version.bytes}};
}

std::string DumpJson(const json& body) {
  return body.dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace clipcat::gateway
