// Helpers shared by the automation tests: objects by ProgID, their member tables and the errors
// late-bound calls raise. Stateless; registration runs once.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "automation/automation_object.h"
#include "automation/progid_registry.h"
#include "automation/register_classes.h"
#include "util/errors.h"

namespace clipcat::test {

// A new object of the class registered as `name`; a bare class name means "TORVEL." + name.
inline std::shared_ptr<Dispatch> New(const std::string& name) {
  RegisterClasses();
  return CreateObject(name.find('.') == std::string::npos ? "TORVEL." + name : name);
}

// The member table behind a late-bound object.
inline const MemberTable& TableOf(const std::shared_ptr<Dispatch>& object) {
  auto automation = std::dynamic_pointer_cast<AutomationObject>(object);
  if (automation == nullptr) throw std::logic_error("not an automation object");
  return automation->Members();
}

// The error `call` raises; an error numbered 0 when it raises none.
inline AutomationError ErrorOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const AutomationError& e) {
    return e;
  }
  return AutomationError(0, "", "");
}
inline int32_t ErrorNumber(const std::function<void()>& call) { return ErrorOf(call).number(); }

}  // namespace clipcat::test
