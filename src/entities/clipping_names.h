// The element and attribute names of the clipping XML form. Constants only.
#pragma once

namespace clipcat::clipping_xml {

// Frozen: clients and stored texts depend on these exact names and their case (capitalised
// attributes except "lastaccessed", lower-case elements). Never change one.
inline constexpr char kClippingElement[] = "clipping";
inline constexpr char kClippingsElement[] = "clippings";
inline constexpr char kDataElement[] = "clippingdata";
inline constexpr char kDataItemElement[] = "clippingdataitem";
inline constexpr char kDataTypeAttribute[] = "datatype";
inline constexpr char kIDAttribute[] = "ClippingID";
inline constexpr char kGUIDAttribute[] = "GUID";
inline constexpr char kFolderIDAttribute[] = "FolderID";
inline constexpr char kNameAttribute[] = "Name";
inline constexpr char kDescriptionAttribute[] = "Description";
inline constexpr char kStatusAttribute[] = "Status";
inline constexpr char kUpdatedAttribute[] = "Updated";
inline constexpr char kAccessedAttribute[] = "lastaccessed";
inline constexpr char kCategoriesAttribute[] = "Categories";
inline constexpr char kPathNameAttribute[] = "PathName";

}  // namespace clipcat::clipping_xml
