#include "automation/entity_objects.h"
#include "automation/entity_objects_internal.h"

namespace clipcat {

template <>
const MemberTable& EntityObject<Category>::Members() const {
  static const MemberTable table =
      internal::EntityTableBuilder<Category>()
          .ReadWrite("ID", &Category::ID, &Category::SetID)
          .ReadWrite("Name", &Category::Name, &Category::SetName)
          .ReadWrite("Description", &Category::Description, &Category::SetDescription)
          .ReadWrite("Updated", &Category::Updated, &Category::SetUpdated)
          .Xml()
          .Build();
  return table;
}

template <>
const MemberTable& EntityObject<Categories>::Members() const {
  static const MemberTable table =
      internal::EntityTableBuilder<Categories>()
          .List("Categories", &Categories::Items)
          .Xml()
          .Action("ClearCategories", &Categories::ClearCategories)
          .Take<Categories>("AddCategories", "colCategories", &Categories::AddCategories)
          .Take<Category>("AddCategory", "oCategory", &Categories::AddCategory)
          .Build();
  return table;
}

}  // namespace clipcat
