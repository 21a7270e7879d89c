#include "cli/call_command.h"

#include <fstream>
#include <ostream>
#include <sstream>

#include "automation/automation_object.h"
#include "automation/late_call.h"
#include "util/errors.h"
#include "util/text.h"
#include "util/values.h"

namespace clipcat::cli {
namespace {

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

void RunCall(const std::shared_ptr<Dispatch>& connection, const std::string& progid,
             const std::string& member, const std::vector<std::string>& args, std::ostream& out) {
  std::vector<Variant> values;
  for (const std::string& arg : args) values.push_back(ArgumentValue(arg));
  const LateCallResult result = CallLateBound(progid, member, std::move(values), connection);
  PrintResult(result.value, result.has_value, out);
}

}  // namespace clipcat::cli
