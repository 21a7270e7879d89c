// Typed member binding: a service member is published by naming it and its parameters; the
// declared parameter types, the conversions of the arguments and of the result all follow from
// the C++ signature. Only the service object sources include this.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "automation/entity_objects.h"
#include "automation/member_table.h"
#include "util/date.h"

namespace clipcat::internal {

// A declared parameter's name (with its type prefix, as clients see it) and, for an optional
// parameter, the value it takes when left out.
struct ParamName {
  ParamName(const char* name) : name(name) {}  // NOLINT: the common case reads as a plain name
  ParamName(std::string name, Variant fallback)
      : name(std::move(name)), fallback(std::move(fallback)) {}

  std::string name;
  std::optional<Variant> fallback;
};

// An optional parameter; "nothing" for an optional object.
inline ParamName Opt(std::string name, Variant fallback) {
  return ParamName(std::move(name), std::move(fallback));
}
inline ParamName OptNothing(std::string name) {
  return ParamName(std::move(name), Variant(std::shared_ptr<Dispatch>()));
}

// How a C++ parameter or result type appears to late binding, and how an argument that
// InvokeFromTable has already coerced to that type becomes the C++ value.
template <typename T>
struct Bound;

template <>
struct Bound<std::string> {
  static constexpr ParamType kType = ParamType::kString;
  static std::string ClassName() { return {}; }
  static const std::string& From(const Variant& arg) { return arg.AsString(); }
};
template <>
struct Bound<bool> {
  static constexpr ParamType kType = ParamType::kBoolean;
  static std::string ClassName() { return {}; }
  static bool From(const Variant& arg) { return arg.AsBoolean(); }
};
template <>
struct Bound<int32_t> {
  static constexpr ParamType kType = ParamType::kLong;
  static std::string ClassName() { return {}; }
  static int32_t From(const Variant& arg) { return arg.ToLong(); }
};
template <>
struct Bound<Date> {
  static constexpr ParamType kType = ParamType::kDate;
  static std::string ClassName() { return {}; }
  static Date From(const Variant& arg) { return arg.ToDate(); }
};
template <typename T>
struct Bound<std::shared_ptr<T>> {
  static constexpr ParamType kType = ParamType::kObject;
  static std::string ClassName() {
    if constexpr (std::is_same_v<typename WrapperOf<T>::type, EntityObject<T>>) {
      return EntityClassName<T>::value;
    } else {
      return kCollectionClassName;
    }
  }
  static std::shared_ptr<T> From(const Variant& arg) { return Unwrap<T>(arg); }
};

template <typename T>
using BoundOf = Bound<std::remove_cv_t<std::remove_reference_t<T>>>;

template <auto Member>
struct MemberBinder;

template <typename Service, typename Result, typename... Args, Result (Service::*Member)(Args...)>
struct MemberBinder<Member> {
  using ServiceOf = Service& (*)(Dispatch&);

  static MemberInfo Make(std::string name, std::vector<ParamName> names, ServiceOf service_of) {
    if (names.size() != sizeof...(Args)) {
      throw std::logic_error("member " + name + " is bound with a wrong number of names");
    }
    std::vector<ParamInfo> params;
    size_t i = 0;
    ((params.push_back(Declare<Args>(names[i++]))), ...);
    auto call = [service_of](Dispatch& self, std::vector<Variant>& args) {
      return Invoke(service_of(self), args, std::index_sequence_for<Args...>());
    };
    if constexpr (std::is_void_v<Result>) {
      return Sub(std::move(name), std::move(params), std::move(call));
    } else {
      using R = BoundOf<Result>;
      return Method(std::move(name), std::move(params), R::kType, std::move(call), R::ClassName());
    }
  }

 private:
  template <typename Arg>
  static ParamInfo Declare(const ParamName& name) {
    using B = BoundOf<Arg>;
    if (name.fallback) return Optional(name.name, B::kType, *name.fallback, B::ClassName());
    return Param(name.name, B::kType, B::ClassName());
  }

  template <size_t... I>
  static Variant Invoke(Service& service, std::vector<Variant>& args, std::index_sequence<I...>) {
    if constexpr (std::is_void_v<Result>) {
      (service.*Member)(BoundOf<Args>::From(args[I])...);
      return Variant();
    } else {
      auto result = (service.*Member)(BoundOf<Args>::From(args[I])...);
      if constexpr (BoundOf<Result>::kType == ParamType::kObject) {
        return Wrap(std::move(result));
      } else {
        return Variant(std::move(result));
      }
    }
  }
};

}  // namespace clipcat::internal
