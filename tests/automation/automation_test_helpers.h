// Helpers shared by the automation tests: objects by ProgID and their member tables. Stateless.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "automation/automation_object.h"
#include "automation/progid_registry.h"
#include "automation/register_classes.h"
#include "util/error_of.h"
#include "util/errors.h"

namespace clipcat::test {

using testing::ErrorOf;
using testing::RaisedNumber;

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

}  // namespace clipcat::test
