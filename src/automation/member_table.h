// Describes the members of a late-bound class: their names, kinds, declared parameters and how to
// call them. A table is built once per class and shared, read-only, by every object of it.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "util/dispatch.h"
#include "util/variant.h"

namespace clipcat {

// Declared type of a parameter or result. Arguments are coerced to it as late binding does.
enum class ParamType { kString, kLong, kInteger, kBoolean, kDate, kDouble, kVariant, kObject };

struct ParamInfo {
  std::string name;  // with its type prefix, e.g. "sFolderId", "oDefaultConnection"
  ParamType type = ParamType::kVariant;
  std::string object_type;  // for kObject: the class expected, e.g. "Folder"; empty for any
  bool optional = false;
  Variant default_value;  // what an omitted optional parameter receives
};

struct MemberInfo {
  // `self` is the object whose member runs: tables are shared by every object of a class.
  using Call = std::function<Variant(Dispatch& self, std::vector<Variant>& args)>;

  std::string name;
  InvokeKind kind = InvokeKind::kMethod;
  std::vector<ParamInfo> params;
  ParamType result = ParamType::kVariant;  // kVariant with no value for members returning nothing
  std::string result_object_type;
  bool returns_value = true;
  Call call;  // receives exactly params.size() arguments, each coerced to its declared type

  size_t RequiredCount() const;
};

// Builders that keep member tables short and readable.
ParamInfo Param(std::string name, ParamType type, std::string object_type = {});
ParamInfo Optional(std::string name, ParamType type, Variant default_value,
                   std::string object_type = {});
MemberInfo Method(std::string name, std::vector<ParamInfo> params, ParamType result,
                  MemberInfo::Call call, std::string result_object_type = {});
MemberInfo Sub(std::string name, std::vector<ParamInfo> params, MemberInfo::Call call);
MemberInfo PropertyGet(std::string name, ParamType result, MemberInfo::Call call,
                       std::string result_object_type = {});
MemberInfo PropertyPut(std::string name, ParamInfo value, MemberInfo::Call call);

// The members of one class, looked up by name without regard to case. A property with both a
// getter and a setter has two entries of the same name and different kinds.
class MemberTable {
 public:
  // `source` names the class in errors of late binding: its ProgID, e.g. "TORVEL.Folder".
  MemberTable(std::string type_name, std::string source)
      : type_name_(std::move(type_name)), source_(std::move(source)) {}

  const std::string& type_name() const { return type_name_; }
  const std::string& source() const { return source_; }

  // Adds a member. REQUIRES: no member of the same name and kind yet.
  MemberTable& Add(MemberInfo member);

  // The member of that name and kind, or nullptr. A method call of a name that only has a getter
  // finds the getter (late binding does not tell the two apart for calls with arguments).
  const MemberInfo* Find(std::string_view name, InvokeKind kind) const;

  // Every member in the order added.
  const std::vector<MemberInfo>& members() const { return members_; }

 private:
  std::string type_name_;
  std::string source_;
  std::vector<MemberInfo> members_;
};

// Coerces `value` to `type` with the runtime's conversion rules (CStr, CLng, CInt, CBool, CDate,
// CDbl). Objects must be objects (or nothing); raises 13 otherwise.
Variant CoerceArgument(const Variant& value, const ParamInfo& param);

// Calls a member of `table` on behalf of a Dispatch: finds it (err::kUnknownName "Unknown name."
// if absent), checks the argument count (err::kBadParamCount "Invalid number of parameters."),
// fills omitted optional parameters with their defaults and coerces every argument (a value that
// does not coerce raises err::kArgumentTypeMismatch "Type mismatch."). These three errors carry
// the table's source. Errors raised by the member itself pass through unchanged.
Variant InvokeFromTable(const MemberTable& table, Dispatch& self, std::string_view member,
                        InvokeKind kind, std::vector<Variant>& args);

}  // namespace clipcat
