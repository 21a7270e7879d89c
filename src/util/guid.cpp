#include "util/guid.h"

#include <sys/random.h>

#include <array>
#include <cstdint>
#include <cstring>

namespace clipcat {

std::string CreateGUIDString() {
  std::array<uint8_t, 16> bytes{};
  size_t filled = 0;
  while (filled < bytes.size()) {
    const ssize_t n = getrandom(bytes.data() + filled, bytes.size() - filled, 0);
    if (n > 0) filled += static_cast<size_t>(n);
  }
  // In memory the GUID is Data1 (little-endian 32 bits), Data2 and Data3 (little-endian 16 bits),
  // then Data4. The version nibble is the top of Data3, whose high byte sits at offset 7; the
  // variant bits are the top of Data4[0].
  bytes[7] = static_cast<uint8_t>((bytes[7] & 0x0F) | 0x40);
  bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3F) | 0x80);
  static const char kHex[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(32);
  for (uint8_t b : bytes) {
    text.push_back(kHex[b >> 4]);
    text.push_back(kHex[b & 0x0F]);
  }
  return text;
}

}  // namespace clipcat
