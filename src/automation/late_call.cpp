#include "automation/late_call.h"

#include "automation/automation_object.h"
#include "automation/entity_objects.h"
#include "automation/progid_registry.h"
#include "util/errors.h"

namespace clipcat {
namespace {

bool IsDefaultConnectionParam(const std::string& name) {
  return name == "oDefaultConnection" || name == "oDefualtConnection";
}

}  // namespace

LateCallResult CallWithConnection(const std::shared_ptr<Dispatch>& object,
                                  const std::string& progid, const std::string& member,
                                  std::vector<Variant> args,
                                  const std::shared_ptr<Dispatch>& connection,
                                  const ArgumentCheck& check) {
  const auto automation = std::dynamic_pointer_cast<AutomationObject>(object);
  if (!automation) RaiseRuntimeError(err::kObjectRequired);
  const MemberInfo* info = automation->Members().Find(member, InvokeKind::kMethod);
  if (info == nullptr) throw AutomationError(err::kUnknownName, progid, "Unknown name.");

  std::vector<Variant> values;
  size_t next = 0;
  for (const ParamInfo& param : info->params) {
    if (IsDefaultConnectionParam(param.name)) {
      values.push_back(param.type == ParamType::kString ? GetProperty(connection, "XML")
                                                        : Variant(connection));
      continue;
    }
    if (next >= args.size()) break;
    Variant value = std::move(args[next++]);
    if (check) check(param, value);
    if (param.type == ParamType::kObject && value.type() == Variant::Type::kString) {
      value = Variant(CreateEntityFromXML(param.object_type, value.AsString()));
    }
    values.push_back(std::move(value));
  }
  if (next < args.size()) {
    throw AutomationError(err::kBadParamCount, progid, "Invalid number of parameters.");
  }
  return {automation->Invoke(member, info->kind, values), info->returns_value};
}

LateCallResult CallLateBound(const std::string& progid, const std::string& member,
                             std::vector<Variant> args, const std::shared_ptr<Dispatch>& connection,
                             const ArgumentCheck& check) {
  return CallWithConnection(CreateObject(progid), progid, member, std::move(args), connection,
                            check);
}

}  // namespace clipcat
