// Small text helpers shared by every layer: ASCII case folding, trimming and plain replacement.
// Case-insensitive here means ASCII letters only; other bytes compare exactly.
#pragma once

#include <string>
#include <string_view>

namespace clipcat {

std::string ToLowerAscii(std::string_view text);
std::string ToUpperAscii(std::string_view text);
bool EqualsIgnoreCase(std::string_view a, std::string_view b);
bool StartsWithIgnoreCase(std::string_view text, std::string_view prefix);

// Position of the first occurrence of `needle` at or after `from` ignoring ASCII case, or npos.
size_t FindIgnoreCase(std::string_view haystack, std::string_view needle, size_t from = 0);

// Removes leading and trailing spaces (only " ", as the automation runtime's Trim does).
std::string TrimSpaces(std::string_view text);

// Replaces every occurrence of `from` (non-empty) with `to`, scanning left to right.
std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to);
std::string ReplaceAllIgnoreCase(std::string_view text, std::string_view from, std::string_view to);

}  // namespace clipcat
