// Builds the member table of an entity class from the entity's own getters and setters, so that
// each class's table is one readable list of its properties. Only the entity object sources
// include this.
#pragma once

#include <functional>
#include <string>
#include <type_traits>
#include <utility>

#include "automation/entity_objects.h"

namespace clipcat::internal {

// The declared type of a property of C++ type R.
template <typename R>
constexpr ParamType TypeOfProperty() {
  if constexpr (std::is_same_v<R, std::string>) {
    return ParamType::kString;
  } else if constexpr (std::is_same_v<R, int32_t>) {
    return ParamType::kLong;
  } else if constexpr (std::is_same_v<R, int16_t>) {
    return ParamType::kInteger;
  } else if constexpr (std::is_same_v<R, bool>) {
    return ParamType::kBoolean;
  } else {
    static_assert(std::is_same_v<R, Date>, "no automation type for this property");
    return ParamType::kDate;
  }
}

// The setter parameter of a property of C++ type R, named with the type prefix clients know.
template <typename R>
ParamInfo SetterParam() {
  constexpr ParamType type = TypeOfProperty<R>();
  const char* name = type == ParamType::kString    ? "sNewValue"
                     : type == ParamType::kLong    ? "lNewValue"
                     : type == ParamType::kInteger ? "iNewValue"
                     : type == ParamType::kBoolean ? "bNewValue"
                                                   : "tNewValue";
  return Param(name, type);
}

// The C++ value of an argument already coerced to TypeOfProperty<R>().
template <typename R>
R FromCoerced(const Variant& value) {
  if constexpr (std::is_same_v<R, std::string>) {
    return value.AsString();
  } else if constexpr (std::is_same_v<R, int32_t>) {
    return value.ToLong();
  } else if constexpr (std::is_same_v<R, int16_t>) {
    return value.ToInteger();
  } else if constexpr (std::is_same_v<R, bool>) {
    return value.AsBoolean();
  } else {
    return value.ToDate();
  }
}

// Builds the table of EntityObject<T>. Getters and setters are the entity's member functions;
// the calls reach the entity of the object whose member is running.
template <typename T>
class EntityTableBuilder {
 public:
  EntityTableBuilder()
      : table_(EntityClassName<T>::value, std::string("TORVEL.") + EntityClassName<T>::value) {}

  // A property clients may only read.
  template <typename Getter>
  EntityTableBuilder& ReadOnly(std::string name, Getter get) {
    using R = std::remove_cvref_t<std::invoke_result_t<Getter, T&>>;
    table_.Add(PropertyGet(std::move(name), TypeOfProperty<R>(),
                           [get](Dispatch& self, std::vector<Variant>&) {
                             return Variant(R(std::invoke(get, Entity(self))));
                           }));
    return *this;
  }

  // A property clients may read and set.
  template <typename Getter, typename Setter>
  EntityTableBuilder& ReadWrite(std::string name, Getter get, Setter set) {
    using R = std::remove_cvref_t<std::invoke_result_t<Getter, T&>>;
    ReadOnly(name, get);
    table_.Add(PropertyPut(std::move(name), SetterParam<R>(),
                           [set](Dispatch& self, std::vector<Variant>& args) {
                             std::invoke(set, Entity(self), FromCoerced<R>(args[0]));
                             return Variant();
                           }));
    return *this;
  }

  // The XML property: the entity serialised, and replaced from text.
  EntityTableBuilder& Xml() { return ReadWrite("XML", &T::XML, &T::SetXML); }

  // A list property answered as a Collection object over the entity's own list; `set` (may be
  // nullptr for a read-only list) takes another Collection object of the same item type.
  template <typename Getter, typename Setter = std::nullptr_t>
  EntityTableBuilder& List(std::string name, Getter get, Setter set = nullptr) {
    using Items = typename std::remove_cvref_t<std::invoke_result_t<Getter, T&>>::element_type;
    table_.Add(PropertyGet(
        name, ParamType::kObject,
        [get](Dispatch& self, std::vector<Variant>&) {
          return Wrap(std::invoke(get, Entity(self)));
        },
        kCollectionClassName));
    if constexpr (!std::is_same_v<Setter, std::nullptr_t>) {
      table_.Add(PropertyPut(std::move(name),
                             Param("vNewValue", ParamType::kObject, kCollectionClassName),
                             [set](Dispatch& self, std::vector<Variant>& args) {
                               std::invoke(set, Entity(self), Unwrap<Items>(args[0]));
                               return Variant();
                             }));
    }
    return *this;
  }

  // A method without parameters or result (ClearFolders ...).
  EntityTableBuilder& Action(std::string name, void (T::*action)()) {
    table_.Add(Sub(std::move(name), {}, [action](Dispatch& self, std::vector<Variant>&) {
      (Entity(self).*action)();
      return Variant();
    }));
    return *this;
  }

  // A method taking one entity of class Arg (AddFolder, AddFolders ...).
  template <typename Arg, typename Fn>
  EntityTableBuilder& Take(std::string name, std::string param, Fn fn) {
    table_.Add(Sub(std::move(name),
                   {Param(std::move(param), ParamType::kObject, EntityClassName<Arg>::value)},
                   [fn](Dispatch& self, std::vector<Variant>& args) {
                     std::invoke(fn, Entity(self), Unwrap<Arg>(args[0]));
                     return Variant();
                   }));
    return *this;
  }

  MemberTable Build() { return std::move(table_); }

 private:
  static T& Entity(Dispatch& self) { return *EntityObject<T>::Current(self).entity(); }

  MemberTable table_;
};

}  // namespace clipcat::internal
