// The base of every late-bound class clipcat publishes: an object whose members are described by
// a MemberTable, so that callers (the command line, scripting bindings) can both call members by
// name and see their declared parameters. Single-threaded, like the objects it wraps.
#pragma once

#include <memory>
#include <string>

#include "automation/member_table.h"
#include "util/dispatch.h"

namespace clipcat {

class AutomationObject : public Dispatch {
 public:
  // The member table of this object's class; it lives as long as the program.
  virtual const MemberTable& Members() const = 0;

  std::string TypeName() const override { return Members().type_name(); }

  Variant Invoke(std::string_view member, InvokeKind kind, std::vector<Variant>& args) override {
    return InvokeFromTable(Members(), *this, member, kind, args);
  }
};

// Helpers for member tables and the callers of late-bound members.

// The object a Variant holds as an AutomationObject, or nullptr for nothing. Raises 13 for a value
// that is not an object or an object of another kind.
std::shared_ptr<AutomationObject> AsAutomationObject(const Variant& value);

// Calls a member by name with the given arguments.
Variant CallMember(const std::shared_ptr<Dispatch>& object, std::string_view member,
                   std::vector<Variant> args = {});
Variant GetProperty(const std::shared_ptr<Dispatch>& object, std::string_view property);
void SetProperty(const std::shared_ptr<Dispatch>& object, std::string_view property, Variant value);

}  // namespace clipcat
