#include "automation/entity_objects.h"
#include "automation/entity_objects_internal.h"

namespace clipcat {

// The data item's XML is the "clippingdataitem" element of the clipping form; it is offered so
// that a single item can travel as text like every other parameter object.
template <>
const MemberTable& EntityObject<ClippingData>::Members() const {
  static const MemberTable table =
      internal::EntityTableBuilder<ClippingData>()
          .ReadWrite("RawData", &ClippingData::RawData, &ClippingData::SetRawData)
          .ReadOnly("IsCompressed", &ClippingData::IsCompressed)
          .ReadWrite("ClippingDataType", &ClippingData::ClippingDataType,
                     &ClippingData::SetClippingDataType)
          .Xml()
          .Build();
  return table;
}

// ClippingStatus, Updated and Accessed come from the clipping's row: clients read them only.
template <>
const MemberTable& EntityObject<Clipping>::Members() const {
  static const MemberTable table =
      internal::EntityTableBuilder<Clipping>()
          .ReadWrite("ID", &Clipping::ID, &Clipping::SetID)
          .ReadWrite("GUID", &Clipping::GUID, &Clipping::SetGUID)
          .ReadWrite("FolderID", &Clipping::FolderID, &Clipping::SetFolderID)
          .ReadWrite("Name", &Clipping::Name, &Clipping::SetName)
          .ReadWrite("Description", &Clipping::Description, &Clipping::SetDescription)
          .ReadOnly("ClippingStatus", &Clipping::ClippingStatus)
          .ReadWrite("Keywords", &Clipping::Keywords, &Clipping::SetKeywords)
          .ReadOnly("Updated", &Clipping::Updated)
          .ReadOnly("Accessed", &Clipping::Accessed)
          .Xml()
          .List("ClippingData", &Clipping::ClippingData, &Clipping::SetClippingData)
          .ReadWrite("PathName", &Clipping::PathName, &Clipping::SetPathName)
          .ReadWrite("Categories", &Clipping::Categories, &Clipping::SetCategories)
          .Build();
  return table;
}

template <>
const MemberTable& EntityObject<Clippings>::Members() const {
  static const MemberTable table =
      internal::EntityTableBuilder<Clippings>()
          .List("Clippings", &Clippings::Items)
          .Xml()
          .Action("ClearClippings", &Clippings::ClearClippings)
          .Take<Clippings>("AddClippings", "colClippings", &Clippings::AddClippings)
          .Take<Clipping>("AddClipping", "oClipping", &Clippings::AddClipping)
          .Build();
  return table;
}

}  // namespace clipcat
