// The one exception type that crosses clipcat's public interface, the error numbers the component
// raises, and the raise routine the store uses. Stateless; safe to use from any thread.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace clipcat {

// An automation error: a 32-bit number, the source that raised it and a description. Every
// failure a client sees is one of these.
class AutomationError : public std::exception {
 public:
  AutomationError(int32_t number, std::string source, std::string description);

  int32_t number() const { return number_; }
  const std::string& source() const { return source_; }
  const std::string& description() const { return description_; }

  // "number (source): description", for logs and the command line.
  const char* what() const noexcept override { return what_.c_str(); }

 private:
  int32_t number_;
  std::string source_;
  std::string description_;
  std::string what_;
};

// Error numbers. These values reach clients and scripts: never change one.
namespace err {
// Runtime errors, raised by value conversions and object handling.
inline constexpr int32_t kInvalidProcedureCall = 5;
inline constexpr int32_t kOverflow = 6;
inline constexpr int32_t kSubscriptOutOfRange = 9;
inline constexpr int32_t kTypeMismatch = 13;
inline constexpr int32_t kFileNotFound = 53;
inline constexpr int32_t kObjectVariableNotSet = 91;
inline constexpr int32_t kInvalidUseOfNull = 94;
inline constexpr int32_t kObjectRequired = 424;
inline constexpr int32_t kCannotCreateObject = 429;
// An unknown provider named in a connection string.
inline constexpr int32_t kProviderNotFound = 3706;
// The component's own errors: the object-error base 0x80040000 plus 507 ... 510.
inline constexpr int32_t kFolderNameNotUnique = -2147220997;    // 0x800401FB
inline constexpr int32_t kClippingNameNotUnique = -2147220996;  // 0x800401FC
inline constexpr int32_t kCategoryNameNotUnique = -2147220995;  // 0x800401FD
inline constexpr int32_t kCatalogCannotBeOpened = -2147220994;  // 0x800401FE
// Refusals of the library layer that keep one slip from destroying data: deleting the top folder
// of a catalog (511) and unlinking a folder that links no catalog (512).
inline constexpr int32_t kTopFolderNotDeletable = -2147220993;  // 0x800401FF
inline constexpr int32_t kNotALinkedFolder = -2147220992;       // 0x80040200
// A catalog file found damaged: its header does not agree with the file, the engine reports
// corruption, or stored content fails its checksum (513). The description names the file.
inline constexpr int32_t kCatalogDamaged = -2147220991;  // 0x80040201
inline constexpr int32_t kNotYetImplemented = -999999;
// Stored content that cannot be read back (0x8007000D, "The data is invalid").
inline constexpr int32_t kDataCorrupt = -2147024883;
// A failure reported by the database engine (0x80004005).
inline constexpr int32_t kDatabaseError = -2147467259;
// Late binding: the member name is unknown (DISP_E_UNKNOWNNAME) or the argument count is wrong
// (DISP_E_BADPARAMCOUNT).
inline constexpr int32_t kUnknownName = -2147352570;
inline constexpr int32_t kBadParamCount = -2147352562;
// Late binding: an argument does not coerce to its parameter's type (DISP_E_TYPEMISMATCH).
inline constexpr int32_t kArgumentTypeMismatch = -2147352571;
}  // namespace err

// Sources of the errors the component raises itself.
inline constexpr const char* kComponentSource = "clipcat";
inline constexpr const char* kDataServicesSource = "Data Services";

// The runtime's description of a runtime error number, e.g. 13 gives "Type mismatch". Unknown
// numbers give "Application-defined or object-defined error".
std::string RuntimeErrorDescription(int32_t number);

// Raises a runtime error (5, 6, 9, 13, 91, 94, 424 ...) with source "clipcat" and the runtime's
// description.
[[noreturn]] void RaiseRuntimeError(int32_t number);

// The store's raise routine. A number of 0 takes the number of `current`, an empty description
// takes its description; an empty source names the component ("clipcat"). `ignored` is accepted
// for the callers that pass a fourth argument and has no effect. Never returns.
// REQUIRES: `current` is non-null when number is 0 or description is empty.
[[noreturn]] void RaiseError(int32_t number, const std::string& source,
                             const std::string& description,
                             const AutomationError* current = nullptr,
                             const std::string& ignored = {});

// The description of err::kCatalogDamaged: "catalog damaged: FILE (REASON); run ..." with the
// command that tells what is wrong (clipcat check).
std::string CatalogDamagedDescription(const std::string& file, const std::string& reason);

// Raises -999999 "Not yet implemented!!" with the member's name as the source.
[[noreturn]] void RaiseNotImplemented(const std::string& member_name);

// Runs `step` and swallows any AutomationError it raises: for members that must not fail and go
// on with their next step. Answers true when the step completed.
template <typename Step>
bool IgnoreErrors(Step&& step) {
  try {
    step();
    return true;
  } catch (const AutomationError&) {
    return false;
  }
}

}  // namespace clipcat
