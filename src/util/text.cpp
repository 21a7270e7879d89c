#include "util/text.h"

namespace clipcat {
namespace {

char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
char UpperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

template <typename Find>
std::string Replace(std::string_view text, std::string_view from, std::string_view to, Find find) {
  std::string out;
  if (from.empty()) return std::string(text);
  size_t start = 0;
  for (size_t hit = find(text, from, 0); hit != std::string_view::npos;
       hit = find(text, from, start)) {
    out.append(text.substr(start, hit - start));
    out.append(to);
    start = hit + from.size();
  }
  out.append(text.substr(start));
  return out;
}

}  // namespace

std::string ToLowerAscii(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = LowerAscii(c);
  return out;
}

std::string ToUpperAscii(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = UpperAscii(c);
  return out;
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
  }
  return true;
}

bool StartsWithIgnoreCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && EqualsIgnoreCase(text.substr(0, prefix.size()), prefix);
}

size_t FindIgnoreCase(std::string_view haystack, std::string_view needle, size_t from) {
  if (needle.size() > haystack.size()) return std::string_view::npos;
  for (size_t i = from; i + needle.size() <= haystack.size(); ++i) {
    if (EqualsIgnoreCase(haystack.substr(i, needle.size()), needle)) return i;
  }
  return std::string_view::npos;
}

std::string TrimSpaces(std::string_view text) {
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  const size_t last = text.find_last_not_of(' ');
  return std::string(text.substr(first, last - first + 1));
}

std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to) {
  return Replace(text, from, to,
                 [](std::string_view h, std::string_view n, size_t f) { return h.find(n, f); });
}

std::string ReplaceAllIgnoreCase(std::string_view text, std::string_view from,
                                 std::string_view to) {
  return Replace(text, from, to, FindIgnoreCase);
}

}  // namespace clipcat
