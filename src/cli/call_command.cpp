#include "cli/call_command.h"

#include <fstream>
#include <ostream>
#include <sstream>

#include "automation/automation_object.h"
#include "automation/entity_objects.h"
#include "automation/progid_registry.h"
#include "util/errors.h"
#include "util/text.h"
#include "util/values.h"

namespace clipcat::cli {
namespace {

bool IsDefaultConnectionParam(const std::string& name) {
  return name == "oDefaultConnection" || name == "oDefualtConnection";
}

std::string ReadWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    throw AutomationError(err::kFileNotFound, kComponentSource, "File not found: " + path);
  }
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

void PrintObject(const std::shared_ptr<Dispatch>& object, std::ostream& out) {
  if (!object) {
    out << "Nothing\n";
    return;
  }
  if (object->TypeName() != "Collection") {
    out << GetProperty(object, "XML").ToText() << "\n";
    return;
  }
  const int32_t count = GetProperty(object, "Count").ToLong();
  for (int32_t i = 1; i <= count; ++i) {
    const Variant item = CallMember(object, "Item", {Variant(i)});
    const auto element = item.IsObject() ? item.AsObject() : nullptr;
    if (element && element->TypeName() == "ExternalCatalog") {
      out << GetProperty(element, "ID").ToText() << '\t' << GetProperty(element, "GUID").ToText()
          << '\t' << GetProperty(element, "IsOnline").ToText() << '\t'
          << GetProperty(element, "ConnectionSpeed").ToText() << '\t'
          << GetProperty(element, "ConnectionStringXML").ToText() << "\n";
    } else {
      PrintResult(item, true, out);
    }
  }
}

}  // namespace

Variant ArgumentValue(const std::string& arg) {
  if (arg == "@nothing") return Variant(std::shared_ptr<Dispatch>());
  if (arg.rfind("@file:", 0) == 0) return Variant(ReadWholeFile(arg.substr(6)));
  if (arg.rfind("@@", 0) == 0) return Variant(arg.substr(1));
  if (arg.rfind("@", 0) == 0) {
    throw UsageError("unknown argument form " + arg + " (use @nothing, @file:PATH or @@...)");
  }
  return Variant(arg);
}

void PrintResult(const Variant& result, bool has_result, std::ostream& out) {
  if (!has_result) return;
  switch (result.type()) {
    case Variant::Type::kObject:
      PrintObject(result.AsObject(), out);
      return;
    case Variant::Type::kDate:
      out << FormatCatalogDate(result.ToDate()) << "\n";
      return;
    case Variant::Type::kNull:
      out << "Null\n";
      return;
    default:
      out << result.ToText() << "\n";
      return;
  }
}

std::pair<Variant, bool> CallWithConnection(const std::shared_ptr<Dispatch>& object,
                                            const std::string& progid, const std::string& member,
                                            std::vector<Variant> args,
                                            const std::shared_ptr<Dispatch>& connection) {
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

void RunCall(const std::shared_ptr<Dispatch>& connection, const std::string& progid,
             const std::string& member, const std::vector<std::string>& args, std::ostream& out) {
  std::vector<Variant> values;
  for (const std::string& arg : args) values.push_back(ArgumentValue(arg));
  const auto [result, has_result] =
      CallWithConnection(CreateObject(progid), progid, member, std::move(values), connection);
  PrintResult(result, has_result, out);
}

}  // namespace clipcat::cli
