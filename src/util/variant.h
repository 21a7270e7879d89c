// clipcat::Variant, the value of late-bound calls and loosely typed fields, with the automation
// runtime's conversions (CStr, CLng, CInt, CDbl, CBool, CDate). A Variant is a plain value: copies
// share only an Object's referent.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "util/date.h"

namespace clipcat {

class Dispatch;

class Variant {
 public:
  enum class Type { kEmpty, kNull, kBoolean, kInteger, kLong, kDouble, kDate, kString, kObject };

  Variant() = default;  // Empty
  static Variant Null();
  Variant(bool value) : value_(value) {}
  Variant(int16_t value) : value_(value) {}
  Variant(int32_t value) : value_(value) {}
  Variant(double value) : value_(value) {}
  Variant(Date value) : value_(value) {}
  Variant(std::string value) : value_(std::move(value)) {}
  Variant(const char* value) : value_(std::string(value)) {}
  Variant(std::shared_ptr<Dispatch> value) : value_(std::move(value)) {}

  Type type() const { return static_cast<Type>(value_.index()); }
  bool IsEmpty() const { return type() == Type::kEmpty; }
  bool IsNull() const { return type() == Type::kNull; }
  bool IsObject() const { return type() == Type::kObject; }
  bool IsNumeric() const;

  // Raw access. REQUIRES: type() is the matching type.
  bool AsBoolean() const { return std::get<bool>(value_); }
  const std::string& AsString() const { return std::get<std::string>(value_); }
  const std::shared_ptr<Dispatch>& AsObject() const {
    return std::get<std::shared_ptr<Dispatch>>(value_);
  }

  // Conversions with the runtime's rules. Null raises 94; values that do not convert raise 13;
  // numbers outside the target's range raise 6. Text converts after trimming spaces.
  std::string ToText() const;  // CStr: booleans "True"/"False", dates in the locale's short form
  int32_t ToLong() const;      // CLng: halves round to the even neighbour
  int16_t ToInteger() const;   // CInt
  double ToDouble() const;     // CDbl
  bool ToBoolean() const;      // CBool: numbers (0 is false) and "True"/"False" in any case
  Date ToDate() const;         // CDate: dates, numbers as serials, and date text

  friend bool operator==(const Variant& a, const Variant& b) { return a.value_ == b.value_; }

 private:
  struct NullTag {
    friend bool operator==(NullTag, NullTag) { return true; }
  };
  std::variant<std::monostate, NullTag, bool, int16_t, int32_t, double, Date, std::string,
               std::shared_ptr<Dispatch>>
      value_;
};

// Reads a decimal number as automation text conversion does: optional sign, digits, an optional
// fraction and an optional exponent, with spaces around. Answers false for anything else.
bool ParseNumberText(const std::string& text, double& value);

// Rounds halves to the even neighbour, as the runtime's integer conversions do.
double RoundHalfEven(double value);

}  // namespace clipcat
