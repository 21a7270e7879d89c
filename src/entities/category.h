// Category is a named tag that clippings can belong to; Categories is a list of categories. Both
// are reference objects (std::shared_ptr) without any tie to the store. Not thread-safe: use an
// object from one thread at a time.
#pragma once

#include <memory>
#include <string>

#include "entities/collection.h"
#include "util/date.h"

namespace clipcat {

class Category;
using CategoryCollection = Collection<std::shared_ptr<Category>>;

namespace internal {
struct CategoryXml;
}

class Category {
 public:
  // A category with empty texts and `Updated` the moment of construction.
  Category();
  Category(const Category&) = delete;
  Category& operator=(const Category&) = delete;

  static std::shared_ptr<Category> Create() { return std::make_shared<Category>(); }

  const std::string& ID() const { return id_; }
  void SetID(std::string sNewValue) { id_ = std::move(sNewValue); }

  const std::string& Name() const { return name_; }
  void SetName(std::string sNewValue) { name_ = std::move(sNewValue); }

  const std::string& Description() const { return description_; }
  void SetDescription(std::string sNewValue) { description_ = std::move(sNewValue); }

  Date Updated() const { return updated_; }
  void SetUpdated(Date tNewValue) { updated_ = tNewValue; }

  // The category as one "category" element, e.g.
  // <category Name="Legal" Description="" ClippingID="4" Updated="14:05:09 3 Mar 2002"/>
  // (the id travels in "ClippingID"). Raises 5 when a text holds a character XML cannot carry.
  std::string XML() const;

  // Replaces every property from `sNewValue`; missing attributes take empty texts and the
  // current time, unknown ones are ignored. Raises 424 "Object required", changing nothing, for
  // text that is not well formed or whose root is not "category".
  void SetXML(const std::string& sNewValue);

 private:
  friend struct internal::CategoryXml;

  std::string id_;
  std::string name_;
  std::string description_;
  Date updated_;
};

// An ordered list of categories (positions from 1, no keys, duplicates allowed).
class Categories {
 public:
  Categories();
  Categories(const Categories&) = delete;
  Categories& operator=(const Categories&) = delete;

  static std::shared_ptr<Categories> Create() { return std::make_shared<Categories>(); }

  // The underlying collection (the interface's "Categories" property). Never null;
  // ClearCategories and SetXML replace it with a new one.
  const std::shared_ptr<CategoryCollection>& Items() const { return categories_; }

  // "<Categories>", each member's XML in order, "</Categories>". Raises as Category::XML does,
  // and 91 for a member that is nullptr.
  std::string XML() const;

  // Clears the list, then appends a category for each "category" element under the root
  // "Categories". Raises 424 "Object required" for text that is not well formed, another root,
  // or a member that is not a "category" element (members read before it stay).
  void SetXML(const std::string& sNewValue);

  // Drops the collection and starts a new empty one.
  void ClearCategories();

  // Appends each category of `colCategories`, in its order: the same objects, not copies.
  // Appending a list to itself doubles it. Raises 91 for nullptr.
  void AddCategories(const std::shared_ptr<Categories>& colCategories);

  // Appends `oCategory` (nullptr included, which then makes XML raise 91).
  void AddCategory(std::shared_ptr<Category> oCategory);

 private:
  std::shared_ptr<CategoryCollection> categories_;
};

}  // namespace clipcat
