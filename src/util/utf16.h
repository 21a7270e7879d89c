// UTF-8 and UTF-16LE: long text fields of catalogs written by other programs hold UTF-16LE, two
// bytes per code unit, characters outside the Basic Multilingual Plane as surrogate pairs.
#pragma once

#include <string>
#include <string_view>

namespace clipcat {

// The UTF-16LE bytes of UTF-8 text. Each maximal run of bytes that starts no valid sequence (a
// stray byte, a sequence cut short, an overlong form, a surrogate) becomes one U+FFFD, the rule
// Unicode recommends and ICU follows.
std::string Utf8ToUtf16LE(std::string_view utf8);

// The UTF-8 text of UTF-16LE bytes. Unpaired surrogates become U+FFFD; an odd last byte is
// dropped.
std::string Utf16LEToUtf8(std::string_view utf16le);

// Whether `text` is well-formed UTF-8 throughout: exactly the texts that come back unchanged from
// Utf8ToUtf16LE and Utf16LEToUtf8, so a caller can skip that round trip for them.
bool IsWellFormedUtf8(std::string_view text);

}  // namespace clipcat
