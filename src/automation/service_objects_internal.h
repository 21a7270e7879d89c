// Shorthands that keep the two service member tables one readable line per parameter: declared
// parameters by prefix and the C++ values of arguments that InvokeFromTable has already coerced.
// Only the service object sources include this.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "automation/entity_objects.h"
#include "automation/member_table.h"

namespace clipcat::internal {

// A text parameter ("s" prefix, and the few the interface declares as strings whatever their
// prefix says).
inline ParamInfo TextParam(std::string name) { return Param(std::move(name), ParamType::kString); }

inline ParamInfo FlagParam(std::string name) { return Param(std::move(name), ParamType::kBoolean); }

// An optional boolean that takes `default_value` when left out.
inline ParamInfo OptionalFlag(std::string name, bool default_value) {
  return Optional(std::move(name), ParamType::kBoolean, Variant(default_value));
}

// An object parameter of entity class `class_name` ("Folder", "Search" ...).
inline ParamInfo EntityParam(std::string name, std::string class_name) {
  return Param(std::move(name), ParamType::kObject, std::move(class_name));
}

// The client's default ConnectionDetails, under whichever spelling the member uses.
inline ParamInfo ConnectionParam(std::string name = "oDefaultConnection") {
  return EntityParam(std::move(name), "ConnectionDetails");
}

// Arguments after coercion: texts are Strings, flags Booleans, objects Objects or nothing.
inline const std::string& TextArg(const Variant& arg) { return arg.AsString(); }
inline bool FlagArg(const Variant& arg) { return arg.AsBoolean(); }
inline std::shared_ptr<ConnectionDetails> ConnectionArg(const Variant& arg) {
  return Unwrap<ConnectionDetails>(arg);
}

}  // namespace clipcat::internal
