// Words as content search sees them: runs of letters and numbers of every kind (with the marks
// that combine with them), compared after simple case folding with diacritics removed, so that
// "Café", "CAFE" and "cafe" are one word. Also the snippet that shows where a search's words occur
// in a text. Stateless; thread-safe.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace clipcat {

// Where one word lies in a text: bytes [begin, end).
struct WordSpan {
  size_t begin = 0;
  size_t end = 0;
};

// The words of `text` in order. Every other character separates words, and so does every byte
// that is not UTF-8.
std::vector<WordSpan> SplitWords(std::string_view text);

// `word` as search compares it: the diacritics (non-spacing marks after canonical decomposition)
// removed, then each code point's simple case folding ("ß" stays "ß", as SQLite's index keeps it).
std::string FoldWord(std::string_view word);

// The folded words of `text`, each followed by one space: the text a server's index is made of.
std::string FoldedWordsText(std::string_view text);

// A word of a search, folded, and whether it also matches the longer words it begins.
struct SnippetTerm {
  std::string folded;
  bool prefix = false;
};

// The marks around a matched word in a snippet, and the sign for text left out at either end.
inline constexpr std::string_view kSnippetMatchStart = "[";
inline constexpr std::string_view kSnippetMatchEnd = "]";
inline constexpr std::string_view kSnippetEllipsis = "\xE2\x80\xA6";  // "…"

// The stretch of at most `max_words` words of `text` that holds the most of the distinct
// `terms`, with each matching word marked; line breaks and tabs become spaces, and text cut off
// at either end is shown by the ellipsis. Without a match, the text's first words; the empty
// text for a text without words.
std::string MakeSnippet(std::string_view text, const std::vector<SnippetTerm>& terms,
                        size_t max_words = 16);

}  // namespace clipcat
