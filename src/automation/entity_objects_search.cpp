#include "automation/entity_objects.h"
#include "automation/entity_objects_internal.h"

namespace clipcat {

// Clients add folder ids and category names through the two lists themselves.
template <>
const MemberTable& EntityObject<Search>::Members() const {
  static const MemberTable table =
      internal::EntityTableBuilder<Search>()
          .ReadWrite("SearchText", &Search::SearchText, &Search::SetSearchText)
          .List("FolderIDs", &Search::FolderIDs, &Search::SetFolderIDs)
          .List("CategoryNames", &Search::CategoryNames, &Search::SetCategoryNames)
          .ReadWrite("SearchSubFolders", &Search::SearchSubFolders, &Search::SetSearchSubFolders)
          .ReadWrite("OrClippingBelongsToCategory", &Search::OrClippingBelongsToCategory,
                     &Search::SetOrClippingBelongsToCategory)
          .Xml()
          .Action("ClearFolderIDs", &Search::ClearFolderIDs)
          .Action("ClearCategoryNames", &Search::ClearCategoryNames)
          .Build();
  return table;
}

}  // namespace clipcat
