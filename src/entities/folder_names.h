// The element and attribute names of the folder XML form. Constants only.
#pragma once

namespace clipcat::folder_xml {

// Frozen: clients and stored texts depend on these exact names, their case included ("Folderid"
// with a capital F; "isleaf" carries the external catalog id). Never change one.
inline constexpr char kFolderElement[] = "Folder";
inline constexpr char kFoldersElement[] = "Folders";
inline constexpr char kIDAttribute[] = "Folderid";
inline constexpr char kGUIDAttribute[] = "guid";
inline constexpr char kParentIDAttribute[] = "parentid";
inline constexpr char kNameAttribute[] = "name";
inline constexpr char kDescriptionAttribute[] = "description";
inline constexpr char kStatusAttribute[] = "status";
inline constexpr char kUpdatedAttribute[] = "updated";
inline constexpr char kExternalCatalogIDAttribute[] = "isleaf";

}  // namespace clipcat::folder_xml
