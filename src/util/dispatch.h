// The late-binding interface of automation objects: members are called by name with Variant
// arguments. Implementations live in the automation layer; a Variant can hold any of them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "util/variant.h"

namespace clipcat {

enum class InvokeKind { kMethod, kPropertyGet, kPropertyPut };

class Dispatch {
 public:
  virtual ~Dispatch() = default;

  // The class name clients see, e.g. "Folder" or "ClippingDataRead".
  virtual std::string TypeName() const = 0;

  // Calls `member` (matched without regard to case) with `args` in declared order; optional
  // parameters left out at the end take their defaults. Raises err::kUnknownName for an unknown
  // member and err::kBadParamCount for a wrong number of arguments.
  virtual Variant Invoke(std::string_view member, InvokeKind kind, std::vector<Variant>& args) = 0;
};

}  // namespace clipcat
