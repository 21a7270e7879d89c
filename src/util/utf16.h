// UTF-8 and UTF-16LE: long text fields of catalogs written by other programs hold UTF-16LE, two
// bytes per code unit, characters outside the Basic Multilingual Plane as surrogate pairs.
#pragma once

#include <string>
#include <string_view>

namespace clipcat {

// The UTF-16LE bytes of UTF-8 text. Invalid UTF-8 sequences become U+FFFD.
std::string Utf8ToUtf16LE(std::string_view utf8);

// The UTF-8 text of UTF-16LE bytes. Unpaired surrogates become U+FFFD; an odd last byte is
// dropped.
std::string Utf16LEToUtf8(std::string_view utf16le);

}  // namespace clipcat
