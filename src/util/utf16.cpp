#include "util/utf16.h"

#include <unicode/ustring.h>
#include <unicode/utf8.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace clipcat {
namespace {

constexpr UChar32 kReplacement = 0xFFFD;

}  // namespace

std::string Utf8ToUtf16LE(std::string_view utf8) {
  // A UTF-8 text never needs more UTF-16 units than it has bytes.
  std::vector<UChar> units(utf8.size() + 1);
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8WithSub(units.data(), static_cast<int32_t>(units.size()), &length, utf8.data(),
                       static_cast<int32_t>(utf8.size()), kReplacement, nullptr, &status);
  std::string out;
  if (U_FAILURE(status)) return out;
  out.reserve(static_cast<size_t>(length) * 2);
  for (int32_t i = 0; i < length; ++i) {
    out.push_back(static_cast<char>(units[i] & 0xFF));
    out.push_back(static_cast<char>(units[i] >> 8));
  }
  return out;
}

std::string Utf16LEToUtf8(std::string_view utf16le) {
  std::vector<UChar> units(utf16le.size() / 2);
  for (size_t i = 0; i < units.size(); ++i) {
    units[i] = static_cast<UChar>(static_cast<uint8_t>(utf16le[2 * i]) |
                                  static_cast<uint8_t>(utf16le[2 * i + 1]) << 8);
  }
  // Each unit becomes at most three bytes (a pair of units four).
  std::string out(units.size() * 3 + 1, '\0');
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8WithSub(out.data(), static_cast<int32_t>(out.size()), &length, units.data(),
                     static_cast<int32_t>(units.size()), kReplacement, nullptr, &status);
  if (U_FAILURE(status)) return {};
  out.resize(static_cast<size_t>(length));
  return out;
}

bool IsWellFormedUtf8(std::string_view text) {
  if (text.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) return false;
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  const auto length = static_cast<int32_t>(text.size());
  for (int32_t i = 0; i < length;) {
    if (bytes[i] < 0x80) {
      ++i;
      continue;
    }
    // The same test of a sequence as ICU's conversion, which replaces what fails it.
    UChar32 c = 0;
    U8_NEXT(bytes, i, length, c);
    if (c < 0) return false;
  }
  return true;
}

}  // namespace clipcat
