#include "util/base64.h"

#include <cstdint>

namespace clipcat {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int DigitValue(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

}  // namespace

std::string EncodeBase64(std::string_view bytes) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    const uint32_t group = static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])) << 16 |
                           static_cast<uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8 |
                           static_cast<uint32_t>(static_cast<unsigned char>(bytes[i + 2]));
    out += kAlphabet[group >> 18 & 63];
    out += kAlphabet[group >> 12 & 63];
    out += kAlphabet[group >> 6 & 63];
    out += kAlphabet[group & 63];
  }
  const size_t rest = bytes.size() - i;
  if (rest > 0) {
    uint32_t group = static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])) << 16;
    if (rest == 2) group |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8;
    out += kAlphabet[group >> 18 & 63];
    out += kAlphabet[group >> 12 & 63];
    out += rest == 2 ? kAlphabet[group >> 6 & 63] : '=';
    out += '=';
  }
  return out;
}

std::optional<std::string> DecodeBase64(std::string_view text) {
  std::string digits;
  digits.reserve(text.size());
  for (char c : text) {
    if (!IsBlank(c)) digits += c;
  }
  if (digits.size() % 4 != 0) return std::nullopt;
  std::string out;
  out.reserve(digits.size() / 4 * 3);
  for (size_t i = 0; i < digits.size(); i += 4) {
    const bool last = i + 4 == digits.size();
    int values[4];
    int padding = 0;
    for (int k = 0; k < 4; ++k) {
      const char c = digits[i + k];
      if (c == '=' && last && k >= 2) {
        values[k] = 0;
        ++padding;
        continue;
      }
      // A digit after padding, or padding before the last group, is not base64.
      if (padding > 0) return std::nullopt;
      values[k] = DigitValue(c);
      if (values[k] < 0) return std::nullopt;
    }
    const uint32_t group = static_cast<uint32_t>(values[0]) << 18 |
                           static_cast<uint32_t>(values[1]) << 12 |
                           static_cast<uint32_t>(values[2]) << 6 | static_cast<uint32_t>(values[3]);
    out += static_cast<char>(group >> 16 & 0xFF);
    if (padding < 2) out += static_cast<char>(group >> 8 & 0xFF);
    if (padding < 1) out += static_cast<char>(group & 0xFF);
  }
  return out;
}

}  // namespace clipcat
