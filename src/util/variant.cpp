#include "util/variant.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "util/date_text.h"
#include "util/dispatch.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat {
namespace {

std::string FormatDouble(double value) {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%.15G", value);
  std::string text = buffer;
  // Drop trailing zeros of the fraction and the exponent's padding, as CStr writes numbers.
  const size_t exponent = text.find('E');
  std::string mantissa = text.substr(0, exponent);
  std::string tail = exponent == std::string::npos ? "" : text.substr(exponent);
  if (mantissa.find('.') != std::string::npos) {
    while (!mantissa.empty() && mantissa.back() == '0') mantissa.pop_back();
    if (!mantissa.empty() && mantissa.back() == '.') mantissa.pop_back();
  }
  if (!tail.empty()) {
    const char sign = tail[1];
    std::string digits = tail.substr(2);
    while (digits.size() > 1 && digits[0] == '0') digits.erase(0, 1);
    tail = std::string("E") + sign + digits;
  }
  return mantissa + tail;
}

[[noreturn]] void TypeMismatch() { RaiseRuntimeError(err::kTypeMismatch); }

}  // namespace

Variant Variant::Null() {
  Variant v;
  v.value_ = NullTag{};
  return v;
}

bool Variant::IsNumeric() const {
  switch (type()) {
    case Type::kBoolean:
    case Type::kInteger:
    case Type::kLong:
    case Type::kDouble:
      return true;
    default:
      return false;
  }
}

bool ParseNumberText(const std::string& text, double& value) {
  const std::string trimmed = TrimSpaces(text);
  size_t i = 0;
  const size_t n = trimmed.size();
  if (i < n && (trimmed[i] == '+' || trimmed[i] == '-')) ++i;
  size_t digits = 0;
  while (i < n && std::isdigit(static_cast<unsigned char>(trimmed[i]))) ++i, ++digits;
  if (i < n && trimmed[i] == '.') {
    ++i;
    while (i < n && std::isdigit(static_cast<unsigned char>(trimmed[i]))) ++i, ++digits;
  }
  if (digits == 0) return false;
  if (i < n && (trimmed[i] == 'e' || trimmed[i] == 'E')) {
    ++i;
    if (i < n && (trimmed[i] == '+' || trimmed[i] == '-')) ++i;
    size_t exponent_digits = 0;
    while (i < n && std::isdigit(static_cast<unsigned char>(trimmed[i]))) ++i, ++exponent_digits;
    if (exponent_digits == 0) return false;
  }
  if (i != n) return false;
  value = std::strtod(trimmed.c_str(), nullptr);
  return std::isfinite(value);
}

double RoundHalfEven(double value) { return std::nearbyint(value); }

std::string Variant::ToText() const {
  switch (type()) {
    case Type::kEmpty:
      return {};
    case Type::kNull:
      RaiseRuntimeError(err::kInvalidUseOfNull);
    case Type::kBoolean:
      return AsBoolean() ? "True" : "False";
    case Type::kInteger:
      return std::to_string(std::get<int16_t>(value_));
    case Type::kLong:
      return std::to_string(std::get<int32_t>(value_));
    case Type::kDouble:
      return FormatDouble(std::get<double>(value_));
    case Type::kDate:
      return FormatLocaleDate(std::get<Date>(value_));
    case Type::kString:
      return AsString();
    case Type::kObject:
      break;
  }
  TypeMismatch();
}

double Variant::ToDouble() const {
  switch (type()) {
    case Type::kEmpty:
      return 0;
    case Type::kNull:
      RaiseRuntimeError(err::kInvalidUseOfNull);
    case Type::kBoolean:
      return AsBoolean() ? -1 : 0;
    case Type::kInteger:
      return std::get<int16_t>(value_);
    case Type::kLong:
      return std::get<int32_t>(value_);
    case Type::kDouble:
      return std::get<double>(value_);
    case Type::kDate:
      return std::get<Date>(value_).serial();
    case Type::kString: {
      double value = 0;
      if (!ParseNumberText(AsString(), value)) TypeMismatch();
      return value;
    }
    case Type::kObject:
      break;
  }
  TypeMismatch();
}

int32_t Variant::ToLong() const {
  if (type() == Type::kLong) return std::get<int32_t>(value_);
  const double rounded = RoundHalfEven(ToDouble());
  if (!(rounded >= std::numeric_limits<int32_t>::min() &&
        rounded <= std::numeric_limits<int32_t>::max())) {
    RaiseRuntimeError(err::kOverflow);
  }
  return static_cast<int32_t>(rounded);
}

int16_t Variant::ToInteger() const {
  const double rounded = RoundHalfEven(ToDouble());
  if (!(rounded >= std::numeric_limits<int16_t>::min() &&
        rounded <= std::numeric_limits<int16_t>::max())) {
    RaiseRuntimeError(err::kOverflow);
  }
  return static_cast<int16_t>(rounded);
}

bool Variant::ToBoolean() const {
  if (type() == Type::kString) {
    const std::string trimmed = TrimSpaces(AsString());
    if (EqualsIgnoreCase(trimmed, "True")) return true;
    if (EqualsIgnoreCase(trimmed, "False")) return false;
  }
  return ToDouble() != 0;
}

Date Variant::ToDate() const {
  switch (type()) {
    case Type::kNull:
      RaiseRuntimeError(err::kInvalidUseOfNull);
    case Type::kDate:
      return std::get<Date>(value_);
    case Type::kString: {
      const auto date = ParseDateText(AsString());
      if (!date) TypeMismatch();
      return *date;
    }
    case Type::kObject:
      TypeMismatch();
    default: {
      const Date date(ToDouble());
      if (!date.IsValid()) RaiseRuntimeError(err::kOverflow);
      return date;
    }
  }
}

}  // namespace clipcat
