#include <string>

#include "automation/entity_objects.h"

namespace clipcat {
namespace {

// How the items of a list travel through late binding: entities as their objects, texts as text.
template <typename U>
struct ItemTraits;

template <typename E>
struct ItemTraits<std::shared_ptr<E>> {
  static ParamInfo ItemParam() {
    return Param("vItem", ParamType::kObject, EntityClassName<E>::value);
  }
  static ParamType Type() { return ParamType::kObject; }
  static const char* ObjectType() { return EntityClassName<E>::value; }
  static Variant ToVariant(const std::shared_ptr<E>& item) { return Wrap(item); }
  static std::shared_ptr<E> FromVariant(const Variant& value) { return Unwrap<E>(value); }
};

template <>
struct ItemTraits<std::string> {
  static ParamInfo ItemParam() { return Param("vItem", ParamType::kString); }
  static ParamType Type() { return ParamType::kString; }
  static const char* ObjectType() { return ""; }
  static Variant ToVariant(const std::string& item) { return Variant(item); }
  static std::string FromVariant(const Variant& value) { return value.AsString(); }
};

}  // namespace

// The errors of a list come from the component itself, as it has no ProgID of its own.
template <typename U>
const MemberTable& CollectionObject<U>::Members() const {
  using Traits = ItemTraits<U>;
  static const MemberTable table = [] {
    MemberTable t(kCollectionClassName, kComponentSource);
    t.Add(PropertyGet("Count", ParamType::kLong, [](Dispatch& self, std::vector<Variant>&) {
      return Variant(CollectionObject::Current(self).collection()->Count());
    }));
    MemberInfo item = PropertyGet(
        "Item", Traits::Type(),
        [](Dispatch& self, std::vector<Variant>& args) {
          return Traits::ToVariant(
              CollectionObject::Current(self).collection()->Item(args[0].ToLong()));
        },
        Traits::ObjectType());
    item.params = {Param("vIndex", ParamType::kLong)};
    t.Add(std::move(item));
    t.Add(Sub("Add", {Traits::ItemParam()}, [](Dispatch& self, std::vector<Variant>& args) {
      CollectionObject::Current(self).collection()->Add(Traits::FromVariant(args[0]));
      return Variant();
    }));
    t.Add(Sub("Remove", {Param("vIndex", ParamType::kLong)},
              [](Dispatch& self, std::vector<Variant>& args) {
                CollectionObject::Current(self).collection()->Remove(args[0].ToLong());
                return Variant();
              }));
    return t;
  }();
  return table;
}

template class CollectionObject<std::shared_ptr<Folder>>;
template class CollectionObject<std::shared_ptr<Clipping>>;
template class CollectionObject<std::shared_ptr<ClippingData>>;
template class CollectionObject<std::shared_ptr<Category>>;
template class CollectionObject<std::shared_ptr<ExternalCatalog>>;
template class CollectionObject<std::string>;

}  // namespace clipcat
