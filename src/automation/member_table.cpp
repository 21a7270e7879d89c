#include "automation/member_table.h"

#include "util/errors.h"
#include "util/text.h"

namespace clipcat {

size_t MemberInfo::RequiredCount() const {
  size_t required = 0;
  for (size_t i = 0; i < params.size(); ++i) {
    if (!params[i].optional) required = i + 1;
  }
  return required;
}

ParamInfo Param(std::string name, ParamType type, std::string object_type) {
  ParamInfo p;
  p.name = std::move(name);
  p.type = type;
  p.object_type = std::move(object_type);
  return p;
}

ParamInfo Optional(std::string name, ParamType type, Variant default_value,
                   std::string object_type) {
  ParamInfo p = Param(std::move(name), type, std::move(object_type));
  p.optional = true;
  p.default_value = std::move(default_value);
  return p;
}

MemberInfo Method(std::string name, std::vector<ParamInfo> params, ParamType result,
                  MemberInfo::Call call, std::string result_object_type) {
  MemberInfo m;
  m.name = std::move(name);
  m.params = std::move(params);
  m.result = result;
  m.result_object_type = std::move(result_object_type);
  m.call = std::move(call);
  return m;
}

MemberInfo Sub(std::string name, std::vector<ParamInfo> params, MemberInfo::Call call) {
  MemberInfo m = Method(std::move(name), std::move(params), ParamType::kVariant, std::move(call));
  m.returns_value = false;
  return m;
}

MemberInfo PropertyGet(std::string name, ParamType result, MemberInfo::Call call,
                       std::string result_object_type) {
  MemberInfo m =
      Method(std::move(name), {}, result, std::move(call), std::move(result_object_type));
  m.kind = InvokeKind::kPropertyGet;
  return m;
}

MemberInfo PropertyPut(std::string name, ParamInfo value, MemberInfo::Call call) {
  MemberInfo m = Sub(std::move(name), {std::move(value)}, std::move(call));
  m.kind = InvokeKind::kPropertyPut;
  return m;
}

MemberTable& MemberTable::Add(MemberInfo member) {
  members_.push_back(std::move(member));
  return *this;
}

const MemberInfo* MemberTable::Find(std::string_view name, InvokeKind kind) const {
  const MemberInfo* fallback = nullptr;
  for (const MemberInfo& m : members_) {
    if (!EqualsIgnoreCase(m.name, name)) continue;
    if (m.kind == kind) return &m;
    if (kind == InvokeKind::kMethod && m.kind == InvokeKind::kPropertyGet) fallback = &m;
    if (kind == InvokeKind::kPropertyGet && m.kind == InvokeKind::kMethod) fallback = &m;
  }
  return fallback;
}

Variant CoerceArgument(const Variant& value, const ParamInfo& param) {
  switch (param.type) {
    case ParamType::kString:
      return Variant(value.ToText());
    case ParamType::kLong:
      return Variant(value.ToLong());
    case ParamType::kInteger:
      return Variant(value.ToInteger());
    case ParamType::kBoolean:
      return Variant(value.ToBoolean());
    case ParamType::kDate:
      return Variant(value.ToDate());
    case ParamType::kDouble:
      return Variant(value.ToDouble());
    case ParamType::kObject:
      if (value.IsObject()) {
        const auto& object = value.AsObject();
        if (object && !param.object_type.empty() &&
            !EqualsIgnoreCase(object->TypeName(), param.object_type)) {
          RaiseRuntimeError(err::kTypeMismatch);
        }
        return value;
      }
      if (value.IsEmpty()) return Variant(std::shared_ptr<Dispatch>());
      RaiseRuntimeError(err::kTypeMismatch);
    case ParamType::kVariant:
      break;
  }
  return value;
}

Variant InvokeFromTable(const MemberTable& table, Dispatch& self, std::string_view member,
                        InvokeKind kind, std::vector<Variant>& args) {
  const MemberInfo* info = table.Find(member, kind);
  if (info == nullptr) {
    throw AutomationError(err::kUnknownName, table.source(), "Unknown name.");
  }
  if (args.size() < info->RequiredCount() || args.size() > info->params.size()) {
    throw AutomationError(err::kBadParamCount, table.source(), "Invalid number of parameters.");
  }
  std::vector<Variant> coerced;
  coerced.reserve(info->params.size());
  for (size_t i = 0; i < info->params.size(); ++i) {
    const ParamInfo& param = info->params[i];
    if (i >= args.size()) {
      coerced.push_back(param.default_value);
      continue;
    }
    try {
      coerced.push_back(CoerceArgument(args[i], param));
    } catch (const AutomationError&) {
      throw AutomationError(err::kArgumentTypeMismatch, table.source(), "Type mismatch.");
    }
  }
  return info->call(self, coerced);
}

}  // namespace clipcat
