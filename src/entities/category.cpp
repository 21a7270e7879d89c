#include "entities/category.h"

#include <utility>

#include "entities/entity_xml_internal.h"
#include "entities/xml_io.h"
#include "util/errors.h"

namespace clipcat {
namespace {

// Frozen: clients and stored texts depend on these exact names and their case; the category's
// id travels in "ClippingID". Never change one.
constexpr char kCategoryElement[] = "category";
constexpr char kCategoriesElement[] = "Categories";
constexpr char kNameAttribute[] = "Name";
constexpr char kDescriptionAttribute[] = "Description";
constexpr char kIDAttribute[] = "ClippingID";
constexpr char kUpdatedAttribute[] = "Updated";

}  // namespace

Category::Category() : updated_(Date::Now()) {}

std::string Category::XML() const {
  pugi::xml_document document;
  internal::CategoryXml::Append(*this, document);
  return xml::Print(document.first_child());
}

void Category::SetXML(const std::string& sNewValue) {
  pugi::xml_document document;
  internal::CategoryXml::Read(*this, xml::LoadRoot(document, sNewValue, kCategoryElement));
}

Categories::Categories() : categories_(std::make_shared<CategoryCollection>()) {}

std::string Categories::XML() const {
  return internal::ListXml<Category, internal::CategoryXml>(kCategoriesElement, *categories_);
}

void Categories::SetXML(const std::string& sNewValue) {
  ClearCategories();
  internal::ReadList<Category, internal::CategoryXml>(sNewValue, kCategoriesElement,
                                                      kCategoryElement, *categories_);
}

void Categories::ClearCategories() { categories_ = std::make_shared<CategoryCollection>(); }

void Categories::AddCategories(const std::shared_ptr<Categories>& colCategories) {
  if (!colCategories) RaiseRuntimeError(err::kObjectVariableNotSet);
  for (std::shared_ptr<Category>& category : colCategories->categories_->Snapshot()) {
    categories_->Add(std::move(category));
  }
}

void Categories::AddCategory(std::shared_ptr<Category> oCategory) {
  categories_->Add(std::move(oCategory));
}

namespace internal {

void CategoryXml::Append(const Category& category, pugi::xml_node parent) {
  pugi::xml_node element = parent.append_child(kCategoryElement);
  xml::SetTextAttribute(element, kNameAttribute, category.name_);
  xml::SetTextAttribute(element, kDescriptionAttribute, category.description_);
  xml::SetTextAttribute(element, kIDAttribute, category.id_);
  xml::SetDateAttribute(element, kUpdatedAttribute, category.updated_);
}

void CategoryXml::Read(Category& category, pugi::xml_node element) {
  category.name_ = xml::ReadText(element, kNameAttribute);
  category.description_ = xml::ReadText(element, kDescriptionAttribute);
  category.id_ = xml::ReadText(element, kIDAttribute);
  category.updated_ = xml::ReadDate(element, kUpdatedAttribute);
}

}  // namespace internal
}  // namespace clipcat
