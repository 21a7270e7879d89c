// What "the same name in another case" means in a catalog, on every engine: two texts are the same
// when their code points are the same after Unicode simple case folding (ICU's u_foldCase with
// the default options), one code point for one code point. "Ärger" and "ärger", "Σ", "σ" and "ς"
// are the same; "Straße" and "STRASSE" are not (only full folding turns "ß" into "ss"). Texts
// sort by their folded code points, which for ASCII text is the order of SQLite's own NOCASE.
// Bytes that are not UTF-8 each stand for themselves, after every code point. Stateless;
// thread-safe.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace clipcat {

// The simple case folding of code point `c`; `c` itself when it has none.
char32_t FoldCodePoint(char32_t c);

// `text` with every code point folded. Bytes that are not UTF-8 are kept as they are.
std::string FoldCase(std::string_view text);

// Negative, zero or positive as `a` sorts before, with or after `b` by folded code points; a text
// that is the beginning of the other sorts first. Zero exactly when FoldCase(a) == FoldCase(b).
int CompareFoldedCase(std::string_view a, std::string_view b);

// True when `c` folds to itself and no other code point folds to it, so that folding a text never
// makes or removes one: "\\", "%" and "_" are, "k" is not (the Kelvin sign folds to it).
bool IsCaseInert(char32_t c);

// True when comparing `text` with any other text without regard to ASCII case gives the same
// answers (for "=", "<" ... and as a LIKE pattern) as comparing their folded forms: `text` is
// ASCII and holds no letter that a character outside ASCII folds to (the Kelvin sign folds to
// "k", the long s to "s").
bool AsciiCaseSuffices(std::string_view text);

// A LIKE pattern matched without regard to case: "%" stands for any run of code points, "_" for
// exactly one, and the escape character, when there is one, makes the character after it stand
// for itself. Everything else matches what folds to the same code point. A pattern that ends in
// the escape character matches nothing. Immutable once made; thread-safe.
class FoldedLikePattern {
 public:
  // REQUIRES: `escape`, when given, is a code point.
  FoldedLikePattern(std::string_view pattern, std::optional<char32_t> escape);

  bool Matches(std::string_view text) const;

  // The pattern and escape this was made from.
  const std::string& pattern() const { return pattern_; }
  std::optional<char32_t> escape() const { return escape_; }

 private:
  std::string pattern_;
  std::optional<char32_t> escape_;
  // The pattern's folded code points; "%" and "_" are kept as values no code point has.
  std::vector<char32_t> items_;
  bool matches_nothing_ = false;
};

// The code point that starts at `text[*at]`, moving `*at` past it. A byte that starts no UTF-8
// sequence (or a sequence that is cut short, overlong, a surrogate or beyond U+10FFFF) is answered
// as kNotUtf8Base plus the byte and moves `*at` by one.
// REQUIRES: *at < text.size().
char32_t NextCodePoint(std::string_view text, size_t* at);
inline constexpr char32_t kNotUtf8Base = 0x110000;

// `pattern` folded as a LIKE pattern with escape character `escape` (none when not given) so that
// matching it literally against folded text answers what the pattern answers against the text
// without regard to case. An escape character that IsCaseInert keeps its place; otherwise folded
// characters that would read as the escape character or a wildcard are escaped.
std::string FoldLikePattern(std::string_view pattern, std::optional<char32_t> escape);

// The simple case folding of the code points outside ASCII, for engines that fold text
// themselves with a character map (PostgreSQL's translate), which costs for every character of a
// text the number of map entries searched before it is found (all of them when it is not there).
// Each map is a `from` and a `to` of the same number of code points, the n-th of `to` being the
// folding of the n-th of `from`; text is meant to have its ASCII capitals lowered first.
struct CharacterMap {
  std::string from;
  std::string to;
};
struct CaseFoldingMap {
  // Every code point outside ASCII that folds to another one, as the ranges of a regular
  // expression bracket ("À-ÖØ-Þ..."), without the brackets: text without any needs no map.
  std::string folded_ranges;
  // Maps for text of one script (Latin, Greek, Cyrillic) with ASCII: `ranges` (bracket ranges
  // as above) are the code points outside ASCII such text may hold, and the map folds every one
  // of them that folds. The script's small letters, blank and digits come first, mapped to
  // themselves, so that the characters frequent in such text are found among the first entries.
  struct Script {
    std::string ranges;
    CharacterMap map;
  };
  std::vector<Script> scripts;
  // The map for any other text: every folding, ASCII and the frequent scripts first.
  CharacterMap any;
};
const CaseFoldingMap& NonAsciiCaseFoldingMap();

}  // namespace clipcat
