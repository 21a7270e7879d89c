#include "util/utf16.h"

#include <cstdint>

namespace clipcat {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Decodes one code point at `i`, advancing `i`; invalid sequences give U+FFFD and skip one byte.
char32_t DecodeUtf8(std::string_view s, size_t& i) {
  const auto byte = [&](size_t k) { return static_cast<uint8_t>(s[k]); };
  const uint8_t lead = byte(i);
  size_t length;
  char32_t cp;
  if (lead < 0x80) {
    ++i;
    return lead;
  } else if ((lead & 0xE0) == 0xC0) {
    length = 2, cp = lead & 0x1F;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3, cp = lead & 0x0F;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4, cp = lead & 0x07;
  } else {
    ++i;
    return kReplacement;
  }
  if (i + length > s.size()) {
    ++i;
    return kReplacement;
  }
  for (size_t k = 1; k < length; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) {
      ++i;
      return kReplacement;
    }
    cp = (cp << 6) | (byte(i + k) & 0x3F);
  }
  static const char32_t kMinimum[] = {0, 0, 0x80, 0x800, 0x10000};
  if (cp < kMinimum[length] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
    ++i;
    return kReplacement;
  }
  i += length;
  return cp;
}

void AppendUtf8(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

void AppendUnit(std::string& out, uint16_t unit) {
  out.push_back(static_cast<char>(unit & 0xFF));
  out.push_back(static_cast<char>(unit >> 8));
}

}  // namespace

std::string Utf8ToUtf16LE(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size() * 2);
  size_t i = 0;
  while (i < utf8.size()) {
    const char32_t cp = DecodeUtf8(utf8, i);
    if (cp >= 0x10000) {
      const char32_t v = cp - 0x10000;
      AppendUnit(out, static_cast<uint16_t>(0xD800 | (v >> 10)));
      AppendUnit(out, static_cast<uint16_t>(0xDC00 | (v & 0x3FF)));
    } else {
      AppendUnit(out, static_cast<uint16_t>(cp));
    }
  }
  return out;
}

std::string Utf16LEToUtf8(std::string_view utf16le) {
  std::string out;
  out.reserve(utf16le.size());
  const size_t units = utf16le.size() / 2;
  const auto unit = [&](size_t k) {
    return static_cast<uint16_t>(static_cast<uint8_t>(utf16le[2 * k]) |
                                 (static_cast<uint8_t>(utf16le[2 * k + 1]) << 8));
  };
  for (size_t k = 0; k < units; ++k) {
    const uint16_t u = unit(k);
    if (u >= 0xD800 && u <= 0xDBFF && k + 1 < units && unit(k + 1) >= 0xDC00 &&
        unit(k + 1) <= 0xDFFF) {
      AppendUtf8(out,
                 0x10000 + ((static_cast<char32_t>(u - 0xD800) << 10) | (unit(k + 1) - 0xDC00)));
      ++k;
    } else if (u >= 0xD800 && u <= 0xDFFF) {
      AppendUtf8(out, kReplacement);
    } else {
      AppendUtf8(out, u);
    }
  }
  return out;
}

}  // namespace clipcat
