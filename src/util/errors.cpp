#include "util/errors.h"

#include <utility>

namespace clipcat {

AutomationError::AutomationError(int32_t number, std::string source, std::string description)
    : number_(number), source_(std::move(source)), description_(std::move(description)) {
  what_ = std::to_string(number_) + " (" + source_ + "): " + description_;
}

std::string RuntimeErrorDescription(int32_t number) {
  switch (number) {
    case err::kInvalidProcedureCall:
      return "Invalid procedure call or argument";
    case err::kOverflow:
      return "Overflow";
    case err::kSubscriptOutOfRange:
      return "Subscript out of range";
    case err::kTypeMismatch:
      return "Type mismatch";
    case err::kFileNotFound:
      return "File not found";
    case err::kObjectVariableNotSet:
      return "Object variable or With block variable not set";
    case err::kInvalidUseOfNull:
      return "Invalid use of Null";
    case err::kObjectRequired:
      return "Object required";
    case err::kCannotCreateObject:
      return "ActiveX component can't create object";
    case err::kProviderNotFound:
      return "Provider cannot be found. It may not be properly installed.";
    case err::kUnknownName:
      return "Unknown name.";
    case err::kBadParamCount:
      return "Invalid number of parameters.";
    default:
      return "Application-defined or object-defined error";
  }
}

void RaiseRuntimeError(int32_t number) {
  throw AutomationError(number, kComponentSource, RuntimeErrorDescription(number));
}

void RaiseError(int32_t number, const std::string& source, const std::string& description,
                const AutomationError* current, const std::string& /*ignored*/) {
  int32_t n = number;
  std::string d = description;
  if (n == 0 && current != nullptr) n = current->number();
  if (d.empty() && current != nullptr) d = current->description();
  throw AutomationError(n, source.empty() ? std::string(kComponentSource) : source, d);
}

std::string CatalogDamagedDescription(const std::string& file, const std::string& reason) {
  return "catalog damaged: " + file + " (" + reason +
         "); run \"clipcat check\" on it to see what is wrong";
}

void RaiseNotImplemented(const std::string& member_name) {
  throw AutomationError(err::kNotYetImplemented, member_name, "Not yet implemented!!");
}

}  // namespace clipcat
