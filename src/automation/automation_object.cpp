#include "automation/automation_object.h"

#include "util/errors.h"

namespace clipcat {

std::shared_ptr<AutomationObject> AsAutomationObject(const Variant& value) {
  if (value.IsEmpty()) return nullptr;
  if (!value.IsObject()) RaiseRuntimeError(err::kTypeMismatch);
  if (!value.AsObject()) return nullptr;
  auto object = std::dynamic_pointer_cast<AutomationObject>(value.AsObject());
  if (!object) RaiseRuntimeError(err::kTypeMismatch);
  return object;
}

namespace {

void RequireObject(const std::shared_ptr<Dispatch>& object) {
  if (!object) RaiseRuntimeError(err::kObjectVariableNotSet);
}

}  // namespace

Variant CallMember(const std::shared_ptr<Dispatch>& object, std::string_view member,
                   std::vector<Variant> args) {
  RequireObject(object);
  return object->Invoke(member, InvokeKind::kMethod, args);
}

Variant GetProperty(const std::shared_ptr<Dispatch>& object, std::string_view property) {
  RequireObject(object);
  std::vector<Variant> none;
  return object->Invoke(property, InvokeKind::kPropertyGet, none);
}

void SetProperty(const std::shared_ptr<Dispatch>& object, std::string_view property,
                 Variant value) {
  RequireObject(object);
  std::vector<Variant> args = {std::move(value)};
  object->Invoke(property, InvokeKind::kPropertyPut, args);
}

}  // namespace clipcat
