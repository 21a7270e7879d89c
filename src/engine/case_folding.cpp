#include "engine/case_folding.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <array>
#include <functional>

namespace clipcat {
namespace {

// Pattern items that are not code points (nor kNotUtf8Base plus a byte).
constexpr char32_t kAnyOne = 0xFFFFFFFE;  // "_"
constexpr char32_t kAnyRun = 0xFFFFFFFF;  // "%"

constexpr char32_t kLastCodePoint = 0x10FFFF;

bool IsSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDFFF; }

constexpr std::array<unsigned char, 128> kAsciiLower = [] {
  std::array<unsigned char, 128> table{};
  for (int c = 0; c < 128; ++c) {
    table[c] = static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
  }
  return table;
}();

void AppendUtf8(char32_t c, std::string& out) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// A code point as NextCodePoint answers it, back to its bytes.
void AppendUnit(char32_t c, std::string& out) {
  if (c >= kNotUtf8Base) {
    out += static_cast<char>(c - kNotUtf8Base);
  } else {
    AppendUtf8(c, out);
  }
}

char32_t FoldWithIcu(char32_t c) {
  if (c > kLastCodePoint) return c;
  return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(c), U_FOLD_CASE_DEFAULT));
}

// The foldings of the code points written with one or two bytes (Latin, Greek, Cyrillic ...),
// looked up rather than asked of ICU, since most text outside ASCII is made of them.
constexpr char32_t kTwoByteEnd = 0x800;
const std::array<char32_t, kTwoByteEnd>& TwoByteFolding() {
  static const std::array<char32_t, kTwoByteEnd> table = [] {
    std::array<char32_t, kTwoByteEnd> folded{};
    for (char32_t c = 0; c < kTwoByteEnd; ++c) folded[c] = FoldWithIcu(c);
    return folded;
  }();
  return table;
}

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// The folded next code point of `text` from `*at`, the ASCII case inline.
inline char32_t NextFolded(std::string_view text, size_t* at) {
  const auto byte = static_cast<unsigned char>(text[*at]);
  if (byte < 0x80) {
    ++*at;
    return kAsciiLower[byte];
  }
  return FoldCodePoint(NextCodePoint(text, at));
}

// Every code point that another one folds to, sorted.
const std::vector<char32_t>& FoldTargets() {
  static const std::vector<char32_t> targets = [] {
    std::vector<char32_t> found;
    for (char32_t c = 0; c <= kLastCodePoint; ++c) {
      if (IsSurrogate(c)) continue;
      const char32_t folded = FoldCodePoint(c);
      if (folded != c) found.push_back(folded);
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
  }();
  return targets;
}

bool IsFoldTarget(char32_t c) {
  const auto& targets = FoldTargets();
  return std::binary_search(targets.begin(), targets.end(), c);
}

// The ASCII characters that a character outside ASCII folds to, in both cases.
const std::array<bool, 128>& AsciiFoldTargets() {
  static const std::array<bool, 128> targets = [] {
    std::array<bool, 128> found{};
    for (char32_t c = 0x80; c <= kLastCodePoint; ++c) {
      if (IsSurrogate(c)) continue;
      const char32_t folded = FoldCodePoint(c);
      if (folded >= 0x80) continue;
      for (int ascii = 0; ascii < 128; ++ascii) {
        if (kAsciiLower[ascii] == folded) found[ascii] = true;
      }
    }
    return found;
  }();
  return targets;
}

}  // namespace

char32_t NextCodePoint(std::string_view text, size_t* at) {
  const size_t start = *at;
  const auto lead = static_cast<unsigned char>(text[start]);
  if (lead < 0x80) {
    ++*at;
    return lead;
  }
  // The sequence's length, the lead byte's bits and the smallest code point it may write.
  struct Lead {
    size_t length;
    unsigned char mask;
    char32_t smallest;
  };
  const Lead form = lead >= 0xC2 && lead <= 0xDF   ? Lead{2, 0x1F, 0x80}
                    : lead >= 0xE0 && lead <= 0xEF ? Lead{3, 0x0F, 0x800}
                    : lead >= 0xF0 && lead <= 0xF4 ? Lead{4, 0x07, 0x10000}
                                                   : Lead{0, 0, 0};
  const size_t length = form.length;
  const char32_t smallest = form.smallest;
  char32_t c = lead & form.mask;
  if (length != 0 && start + length <= text.size()) {
    size_t k = 1;
    for (; k < length; ++k) {
      const auto next = static_cast<unsigned char>(text[start + k]);
      if ((next & 0xC0) != 0x80) break;
      c = (c << 6) | (next & 0x3F);
    }
    if (k == length && c >= smallest && c <= kLastCodePoint && !IsSurrogate(c)) {
      *at = start + length;
      return c;
    }
  }
  ++*at;
  return kNotUtf8Base + lead;
}

char32_t FoldCodePoint(char32_t c) {
  if (c < 0x80) return kAsciiLower[c];
  if (c < kTwoByteEnd) return TwoByteFolding()[c];
  return FoldWithIcu(c);
}

std::string FoldCase(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  size_t at = 0;
  while (at < text.size()) AppendUnit(NextFolded(text, &at), out);
  return out;
}

int CompareFoldedCase(std::string_view a, std::string_view b) {
  // Equal bytes fold alike: skip them, back to where a code point starts in both texts (a byte
  // that continues no sequence always starts one), and fold from there on.
  const size_t common = std::min(a.size(), b.size());
  size_t i = static_cast<size_t>(std::mismatch(a.begin(), a.begin() + common, b.begin()).first -
                                 a.begin());
  if (i == a.size() && i == b.size()) return 0;
  while (i > 0 &&
         ((i < a.size() && IsContinuation(a[i])) || (i < b.size() && IsContinuation(b[i])))) {
    --i;
  }
  size_t j = i;
  while (i < a.size() && j < b.size()) {
    const char32_t x = NextFolded(a, &i);
    const char32_t y = NextFolded(b, &j);
    if (x != y) return x < y ? -1 : 1;
  }
  if (i < a.size()) return 1;
  return j < b.size() ? -1 : 0;
}

bool AsciiCaseSuffices(std::string_view text) {
  const auto& targets = AsciiFoldTargets();
  for (char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x80 || targets[byte]) return false;
  }
  return true;
}

bool IsCaseInert(char32_t c) { return FoldCodePoint(c) == c && !IsFoldTarget(c); }

FoldedLikePattern::FoldedLikePattern(std::string_view pattern, std::optional<char32_t> escape)
    : pattern_(pattern), escape_(escape) {
  size_t at = 0;
  while (at < pattern.size()) {
    const char32_t c = NextCodePoint(pattern, &at);
    if (escape && c == *escape) {
      if (at == pattern.size()) {
        matches_nothing_ = true;
        return;
      }
      items_.push_back(FoldCodePoint(NextCodePoint(pattern, &at)));
    } else if (c == '%') {
      if (items_.empty() || items_.back() != kAnyRun) items_.push_back(kAnyRun);
    } else if (c == '_') {
      items_.push_back(kAnyOne);
    } else {
      items_.push_back(FoldCodePoint(c));
    }
  }
}

bool FoldedLikePattern::Matches(std::string_view text) const {
  if (matches_nothing_) return false;
  const size_t m = items_.size();
  const size_t n = text.size();
  // The classic wildcard walk: on a mismatch, the last "%" takes one more character and the rest
  // of the pattern is tried again from there. Earlier "%"s never need to take more, since
  // everything between two "%"s matches a run of fixed length.
  size_t p = 0;
  size_t t = 0;
  size_t run_p = std::string_view::npos;  // the item after the last "%" passed
  size_t run_t = 0;                       // where the text after that "%" is being tried
  // Moves `from` to the first place where the item after the last "%" may match: an ASCII
  // letter can only match itself in either case or a character outside ASCII.
  const auto skip = [&](size_t from) {
    if (run_p >= m || items_[run_p] >= 0x80) return from;
    const auto lower = static_cast<unsigned char>(items_[run_p]);
    const unsigned char upper = lower >= 'a' && lower <= 'z' ? lower - ('a' - 'A') : lower;
    while (from < n) {
      const auto byte = static_cast<unsigned char>(text[from]);
      if (byte == lower || byte == upper || byte >= 0x80) break;
      ++from;
    }
    return from;
  };
  while (true) {
    if (p < m && items_[p] == kAnyRun) {
      run_p = ++p;
      if (p == m) return true;  // a "%" at the end takes whatever is left
      run_t = t = skip(t);
      continue;
    }
    if (t < n) {
      size_t next = t;
      const char32_t c = NextFolded(text, &next);
      if (p < m && (items_[p] == kAnyOne || items_[p] == c)) {
        ++p;
        t = next;
        continue;
      }
    } else if (p == m) {
      return true;
    }
    if (run_p == std::string_view::npos || run_t >= n) return false;
    NextCodePoint(text, &run_t);
    run_t = skip(run_t);
    t = run_t;
    p = run_p;
  }
}

std::string FoldLikePattern(std::string_view pattern, std::optional<char32_t> escape) {
  const bool inert_escape = !escape || IsCaseInert(*escape);
  std::string out;
  size_t at = 0;
  while (at < pattern.size()) {
    const char32_t c = NextCodePoint(pattern, &at);
    if (escape && c == *escape) {
      AppendUnit(c, out);
      if (at < pattern.size()) AppendUnit(FoldCodePoint(NextCodePoint(pattern, &at)), out);
    } else if (c == '%' || c == '_') {
      AppendUnit(c, out);
    } else {
      const char32_t folded = FoldCodePoint(c);
      if (!inert_escape && (folded == *escape || folded == '%' || folded == '_')) {
        AppendUnit(*escape, out);
      }
      AppendUnit(folded, out);
    }
  }
  return out;
}

const CaseFoldingMap& NonAsciiCaseFoldingMap() {
  static const CaseFoldingMap map = [] {
    const auto cased = [](char32_t c) { return FoldCodePoint(c) != c || IsFoldTarget(c); };
    const auto folds = [](char32_t c) { return FoldCodePoint(c) != c; };
    // Bracket ranges of the code points of [first, end) that `take` accepts.
    const auto ranges_of = [](char32_t first, char32_t end, const auto& take) {
      std::string ranges;
      char32_t range_first = 0;
      char32_t range_last = 0;
      const auto close = [&] {
        if (range_first == 0) return;
        AppendUtf8(range_first, ranges);
        if (range_last != range_first) {
          if (range_last != range_first + 1) ranges += '-';
          AppendUtf8(range_last, ranges);
        }
      };
      for (char32_t c = first; c < end; ++c) {
        if (IsSurrogate(c) || !take(c)) continue;
        if (range_first != 0 && c == range_last + 1) {
          range_last = c;
        } else {
          close();
          range_first = range_last = c;
        }
      }
      close();
      return ranges;
    };
    // Builds a map entry by entry, each code point once.
    struct Builder {
      CharacterMap map;
      std::vector<bool> added = std::vector<bool>(kLastCodePoint + 1);
      void Add(char32_t c) {
        if (added[c]) return;
        added[c] = true;
        AppendUtf8(c, map.from);
        AppendUtf8(FoldCodePoint(c), map.to);
      }
      void AddAll(char32_t first, char32_t end, const std::function<bool(char32_t)>& take) {
        for (char32_t c = first; c < end; ++c) {
          if (!IsSurrogate(c) && take(c)) Add(c);
        }
      }
      void AddText(std::string_view text) {
        for (char c : text) Add(static_cast<unsigned char>(c));
      }
    };
    const auto ascii_rest = [](char32_t c) { return c < 'A' || c > 'Z'; };
    constexpr std::string_view kBlank = " ";
    constexpr std::string_view kDigits = "0123456789";
    constexpr std::string_view kLetters = "etaoinsrhldcumfpgwybvkxjqz";
    constexpr std::string_view kPunctuation = ".,-'\"/()&:;!?_%*+#@";

    // A script: its main letters (small first), then its other code points that fold.
    struct ScriptSpec {
      std::pair<char32_t, char32_t> main;
      std::vector<std::pair<char32_t, char32_t>> blocks;
    };
    const ScriptSpec kScripts[] = {
        {{0xC0, 0x100}, {{0x80, 0x250}, {0x1E00, 0x1F00}}},    // Latin
        {{0x386, 0x3D0}, {{0x370, 0x400}, {0x1F00, 0x2000}}},  // Greek
        {{0x400, 0x460}, {{0x400, 0x530}, {0x1C80, 0x1C90}, {0x2DE0, 0x2E00}, {0xA640, 0xA6A0}}},
    };
    CaseFoldingMap built;
    built.folded_ranges = ranges_of(0x80, kLastCodePoint + 1, folds);
    for (const ScriptSpec& spec : kScripts) {
      Builder b;
      const auto small = [&](char32_t c) { return cased(c) && !folds(c); };
      b.AddText(kBlank);
      b.AddText(spec.main.first == 0xC0 ? kLetters : "");
      b.AddAll(spec.main.first, spec.main.second, small);
      b.AddText(kDigits);
      b.AddText(kLetters);
      b.AddAll(spec.main.first, spec.main.second, cased);
      b.AddText(kPunctuation);
      for (const auto& [first, end] : spec.blocks) b.AddAll(first, end, cased);
      b.AddAll(1, 0x80, ascii_rest);
      std::string ranges;
      for (const auto& [first, end] : spec.blocks) {
        ranges += ranges_of(first, end, [](char32_t) { return true; });
      }
      built.scripts.push_back({std::move(ranges), std::move(b.map)});
    }
    Builder any;
    any.AddText(kBlank);
    any.AddText(kLetters);
    any.AddText(kDigits);
    any.AddAll(0x80, 0x100, cased);
    any.AddText(kPunctuation);
    any.AddAll(1, 0x80, ascii_rest);
    for (const ScriptSpec& spec : kScripts) {
      for (const auto& [first, end] : spec.blocks) any.AddAll(first, end, cased);
    }
    any.AddAll(0x80, kLastCodePoint + 1, folds);
    built.any = std::move(any.map);
    return built;
  }();
  return map;
}

}  // namespace clipcat
