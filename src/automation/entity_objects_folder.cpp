#include "automation/entity_objects.h"
#include "automation/entity_objects_internal.h"

namespace clipcat {

// GUID, ParentID, Status, ExternalCatalogID and Updated come from the folder's row: clients read
// them only.
template <>
const MemberTable& EntityObject<Folder>::Members() const {
  static const MemberTable table =
      internal::EntityTableBuilder<Folder>()
          .ReadWrite("ID", &Folder::ID, &Folder::SetID)
          .ReadOnly("GUID", &Folder::GUID)
          .ReadOnly("ParentID", &Folder::ParentID)
          .ReadOnly("Status", &Folder::Status)
          .ReadOnly("ExternalCatalogID", &Folder::ExternalCatalogID)
          .ReadWrite("Name", &Folder::Name, &Folder::SetName)
          .ReadWrite("Description", &Folder::Description, &Folder::SetDescription)
          .ReadOnly("Updated", &Folder::Updated)
          .Xml()
          .List("ChildFolders", &Folder::ChildFolders, &Folder::SetChildFolders)
          .Build();
  return table;
}

template <>
const MemberTable& EntityObject<Folders>::Members() const {
  static const MemberTable table =
      internal::EntityTableBuilder<Folders>()
          .List("Folders", &Folders::Items)
          .Xml()
          .Action("ClearFolders", &Folders::ClearFolders)
          .Take<Folders>("AddFolders", "colFolders", &Folders::AddFolders)
          .Take<Folder>("AddFolder", "oFolder", &Folders::AddFolder)
          .Build();
  return table;
}

}  // namespace clipcat
