// The late-bound face of the entity and list classes: EntityObject<T> publishes one entity
// (Folder, Clipping, Search ...) by member name, CollectionObject<U> publishes one of their
// ordered lists, and Wrap/Unwrap move entities in and out of Variants. Wrappers share their
// entity or list with C++ code, so changes through either side are seen by both. Single-threaded
// like the entities: use an object from one thread at a time.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "automation/automation_object.h"
#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/collection.h"
#include "entities/connection_details.h"
#include "entities/external_catalog.h"
#include "entities/folder.h"
#include "entities/search.h"
#include "util/errors.h"

namespace clipcat {

// The list of external catalogs the store answers for the linked catalogs.
using ExternalCatalogCollection = Collection<std::shared_ptr<ExternalCatalog>>;

// The class name clients see for an entity type ("Folder" ...); its ProgID is "TORVEL." and the
// name. Frozen: clients create and check classes by these names.
template <typename T>
struct EntityClassName;
#define CLIPCAT_ENTITY_CLASS_NAME(type)         \
  template <>                                   \
  struct EntityClassName<type> {                \
    static constexpr const char* value = #type; \
  }
CLIPCAT_ENTITY_CLASS_NAME(Folder);
CLIPCAT_ENTITY_CLASS_NAME(Folders);
CLIPCAT_ENTITY_CLASS_NAME(Clipping);
CLIPCAT_ENTITY_CLASS_NAME(ClippingData);
CLIPCAT_ENTITY_CLASS_NAME(Clippings);
CLIPCAT_ENTITY_CLASS_NAME(Category);
CLIPCAT_ENTITY_CLASS_NAME(Categories);
CLIPCAT_ENTITY_CLASS_NAME(ConnectionDetails);
CLIPCAT_ENTITY_CLASS_NAME(ExternalCatalog);
CLIPCAT_ENTITY_CLASS_NAME(Search);
#undef CLIPCAT_ENTITY_CLASS_NAME

// The class name of every list wrapper.
inline constexpr const char* kCollectionClassName = "Collection";

template <typename T>
class EntityObject;
template <typename U>
class CollectionObject;

namespace internal {

template <typename T>
class EntityTableBuilder;

// The wrapper class of a C++ type: lists get a CollectionObject, entities an EntityObject.
template <typename T>
struct WrapperOf {
  using type = EntityObject<T>;
};
template <typename U>
struct WrapperOf<Collection<U>> {
  using type = CollectionObject<U>;
};

// The base of the wrappers: a table's call finds the object it runs on in its `self` argument.
template <typename Self>
class BoundObject : public AutomationObject {
 protected:
  // REQUIRES: `self` is the object whose member of Self's table is running.
  static const Self& Current(Dispatch& self) { return static_cast<const Self&>(self); }
};

}  // namespace internal

// One entity published by member name: every property of its class with a getter, a setter
// where clients may set it (properties only the store sets are read-only here), its XML property
// and its list methods. Lists and collection properties are answered as CollectionObjects over
// the entity's own lists.
template <typename T>
class EntityObject final : public internal::BoundObject<EntityObject<T>> {
 public:
  // REQUIRES: entity != nullptr.
  explicit EntityObject(std::shared_ptr<T> entity) : entity_(std::move(entity)) {}

  const std::shared_ptr<T>& entity() const { return entity_; }

  // The class's table ("TORVEL.<Class>" as the source of its errors), built on first use.
  const MemberTable& Members() const override;

 private:
  friend class internal::EntityTableBuilder<T>;

  std::shared_ptr<T> entity_;
};

template <>
const MemberTable& EntityObject<Folder>::Members() const;
template <>
const MemberTable& EntityObject<Folders>::Members() const;
template <>
const MemberTable& EntityObject<Clipping>::Members() const;
template <>
const MemberTable& EntityObject<ClippingData>::Members() const;
template <>
const MemberTable& EntityObject<Clippings>::Members() const;
template <>
const MemberTable& EntityObject<Category>::Members() const;
template <>
const MemberTable& EntityObject<Categories>::Members() const;
template <>
const MemberTable& EntityObject<ConnectionDetails>::Members() const;
template <>
const MemberTable& EntityObject<ExternalCatalog>::Members() const;
template <>
const MemberTable& EntityObject<Search>::Members() const;

// One ordered list published by member name, class "Collection": Count (get), Item(vIndex)
// (1-based; raises 9 outside 1 ... Count), Add(vItem) and Remove(vIndex). Items of entity lists
// travel as entity objects (Add refuses an object of another class with a type mismatch), items
// of text lists as text. The wrapper shares the list: changes through it change the owner's list.
// U is one of the element types of the entity lists: std::shared_ptr<Folder>, <Clipping>,
// <ClippingData>, <Category>, <ExternalCatalog>, and std::string.
template <typename U>
class CollectionObject final : public internal::BoundObject<CollectionObject<U>> {
 public:
  // REQUIRES: items != nullptr.
  explicit CollectionObject(std::shared_ptr<Collection<U>> items) : items_(std::move(items)) {}

  const std::shared_ptr<Collection<U>>& collection() const { return items_; }

  const MemberTable& Members() const override;

 private:
  std::shared_ptr<Collection<U>> items_;
};

// `entity` as a Variant holding its late-bound object: a new EntityObject for an entity, a new
// CollectionObject for a list (std::shared_ptr<FolderCollection>, ...). nullptr gives an Object
// Variant that holds nothing.
template <typename T>
Variant Wrap(std::shared_ptr<T> entity) {
  if (!entity) return Variant(std::shared_ptr<Dispatch>());
  return Variant(std::shared_ptr<Dispatch>(
      std::make_shared<typename internal::WrapperOf<T>::type>(std::move(entity))));
}

// The entity (or list) `value` holds: the very object that was wrapped. Empty and nothing give
// nullptr. Raises 13 "Type mismatch" for any other value, objects of other classes included.
template <typename T>
std::shared_ptr<T> Unwrap(const Variant& value) {
  using Wrapper = typename internal::WrapperOf<T>::type;
  if (value.IsEmpty()) return nullptr;
  if (!value.IsObject()) RaiseRuntimeError(err::kTypeMismatch);
  if (!value.AsObject()) return nullptr;
  auto wrapper = std::dynamic_pointer_cast<Wrapper>(value.AsObject());
  if (!wrapper) RaiseRuntimeError(err::kTypeMismatch);
  if constexpr (std::is_same_v<Wrapper, EntityObject<T>>) {
    return wrapper->entity();
  } else {
    return wrapper->collection();
  }
}

// A new entity of class `class_name` (matched without regard to case, e.g. "folder") whose XML
// property has been set to `xml`: how callers that receive objects as text turn them into
// objects. Raises 13 "Type mismatch" for a name that is no entity class or a class without an
// XML form (ExternalCatalog); otherwise raises as the class's XML property does (424 for text
// that is not its form).
std::shared_ptr<Dispatch> CreateEntityFromXML(const std::string& class_name,
                                              const std::string& xml);

// Registers "TORVEL." plus the class name of every creatable entity and list class (Folder,
// Folders, Clipping, ClippingData, Clippings, Category, Categories, ConnectionDetails,
// ExternalCatalog, Search); each creates a new, default entity.
void RegisterEntityClasses();

}  // namespace clipcat
