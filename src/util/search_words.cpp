#include "util/search_words.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <set>

namespace clipcat {
namespace {

bool IsWordCharacter(UChar32 c) {
  // ASCII first: most of most clippings' text.
  if (c < 0x80) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
  }
  // Letters and every kind of number ("x²" is one word, as the file catalog's index reads it).
  if (u_isalpha(c)) return true;
  const int8_t type = u_charType(c);
  return type == U_DECIMAL_DIGIT_NUMBER || type == U_LETTER_NUMBER || type == U_OTHER_NUMBER ||
         type == U_NON_SPACING_MARK || type == U_COMBINING_SPACING_MARK ||
         type == U_ENCLOSING_MARK || type == U_PRIVATE_USE_CHAR;
}

// The code point at `*at`, advancing past it; negative for a byte that is not UTF-8.
UChar32 NextCodePoint(std::string_view text, int32_t* at) {
  UChar32 c = 0;
  U8_NEXT(text.data(), *at, static_cast<int32_t>(text.size()), c);
  return c;
}

bool TermMatches(const SnippetTerm& term, std::string_view folded) {
  return term.prefix ? folded.substr(0, term.folded.size()) == term.folded : folded == term.folded;
}

// `text` with line breaks and tabs as spaces.
std::string OneLine(std::string_view text) {
  std::string line(text);
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
  return line;
}

// The next word of `text` from byte `*at` on, into `word`, moving `*at` past it; false when no
// word is left.
bool NextWord(std::string_view text, size_t* at, WordSpan* word) {
  const auto size = static_cast<int32_t>(text.size());
  auto next = static_cast<int32_t>(*at);
  bool in_word = false;
  while (next < size) {
    const int32_t start = next;
    const UChar32 c = NextCodePoint(text, &next);
    const bool word_character = c >= 0 && IsWordCharacter(c);
    if (word_character && !in_word) word->begin = static_cast<size_t>(start);
    if (!word_character && in_word) {
      word->end = static_cast<size_t>(start);
      *at = static_cast<size_t>(next);
      return true;
    }
    in_word = word_character;
  }
  *at = text.size();
  if (in_word) word->end = text.size();
  return in_word;
}

// The words of a text, split only as far as they are asked for.
class LazyWords {
 public:
  explicit LazyWords(std::string_view text) : text_(text) {}

  // True when the text has a word number `i`.
  bool Has(size_t i) {
    for (WordSpan word; words_.size() <= i && NextWord(text_, &at_, &word);) words_.push_back(word);
    return i < words_.size();
  }
  // Word `i`, which Has(i) said is there.
  const WordSpan& operator[](size_t i) const { return words_[i]; }
  // How many words the text has.
  size_t Count() {
    Has(SIZE_MAX - 1);
    return words_.size();
  }

 private:
  std::string_view text_;
  size_t at_ = 0;
  std::vector<WordSpan> words_;
};

}  // namespace

std::vector<WordSpan> SplitWords(std::string_view text) {
  std::vector<WordSpan> words;
  size_t at = 0;
  for (WordSpan word; NextWord(text, &at, &word);) words.push_back(word);
  return words;
}

std::string FoldWord(std::string_view word) {
  // ASCII has no marks to take off and folds to its lower case: most words of most clippings,
  // folded without ICU's normalizers.
  if (std::all_of(word.begin(), word.end(),
                  [](char c) { return static_cast<signed char>(c) >= 0; })) {
    std::string out(word);
    for (char& c : out) {
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return out;
  }
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
  const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
  if (U_FAILURE(status)) return std::string(word);
  const icu::UnicodeString decomposed =
      nfd->normalize(icu::UnicodeString::fromUTF8(
                         icu::StringPiece(word.data(), static_cast<int32_t>(word.size()))),
                     status);
  // Simple folding, letter by letter ("ß" stays "ß", as the file catalog's index folds it),
  // after the marks are gone: "İ" is "I" with a dot above, so "i".
  icu::UnicodeString bare;
  for (int32_t i = 0; i < decomposed.length();) {
    const UChar32 c = decomposed.char32At(i);
    if (u_charType(c) != U_NON_SPACING_MARK) bare.append(u_foldCase(c, U_FOLD_CASE_DEFAULT));
    i += U16_LENGTH(c);
  }
  const icu::UnicodeString composed = nfc->normalize(bare, status);
  if (U_FAILURE(status)) return std::string(word);
  std::string out;
  composed.toUTF8String(out);
  return out;
}

std::string FoldedWordsText(std::string_view text) {
  std::string out;
  for (const WordSpan& word : SplitWords(text)) {
    out += FoldWord(text.substr(word.begin, word.end - word.begin));
    out += ' ';
  }
  return out;
}

std::string MakeSnippet(std::string_view text, const std::vector<SnippetTerm>& terms,
                        size_t max_words) {
  LazyWords words(text);
  if (!words.Has(0) || max_words == 0) return {};
  // For each word, the term it matches (-1: none), worked out when first asked for: the search
  // below mostly ends within the first few windows, long before the text does.
  constexpr int kNotYetKnown = -2;
  std::vector<int> matches;
  const auto match_of = [&](size_t i) {
    if (i >= matches.size()) matches.resize(i + 1, kNotYetKnown);
    if (matches[i] != kNotYetKnown) return matches[i];
    const std::string folded = FoldWord(text.substr(words[i].begin, words[i].end - words[i].begin));
    matches[i] = -1;
    for (size_t t = 0; t < terms.size(); ++t) {
      if (TermMatches(terms[t], folded)) {
        matches[i] = static_cast<int>(t);
        break;
      }
    }
    return matches[i];
  };
  // The window with the most distinct terms; the earliest of equals.
  size_t best_start = 0;
  size_t best_count = 0;
  for (size_t start = 0; words.Has(start); ++start) {
    if (match_of(start) < 0) continue;
    std::set<int> seen;
    size_t last_match = start;
    for (size_t i = start; i < start + max_words && words.Has(i); ++i) {
      if (match_of(i) < 0) continue;
      seen.insert(match_of(i));
      last_match = i;
    }
    if (seen.size() > best_count) {
      best_count = seen.size();
      // A little context before the first match, when the window has room for it after the
      // last match it counted.
      const size_t room = max_words - 1 - (last_match - start);
      best_start = start - std::min({start, room, size_t{2}});
    }
    if (best_count == terms.size()) break;
  }
  // A window that runs past the last word starts earlier instead, as far as the text allows.
  if (!words.Has(best_start + max_words - 1)) {
    const size_t count = words.Count();
    best_start = count > max_words ? count - max_words : 0;
  }
  const size_t last =
      words.Has(best_start + max_words - 1) ? best_start + max_words - 1 : words.Count() - 1;
  std::string out;
  if (best_start > 0) out += kSnippetEllipsis;
  size_t at = words[best_start].begin;
  for (size_t i = best_start; i <= last; ++i) {
    out += OneLine(text.substr(at, words[i].begin - at));
    const std::string_view word = text.substr(words[i].begin, words[i].end - words[i].begin);
    if (match_of(i) >= 0) {
      out += kSnippetMatchStart;
      out += word;
      out += kSnippetMatchEnd;
    } else {
      out += word;
    }
    at = words[i].end;
  }
  if (words.Has(last + 1)) out += kSnippetEllipsis;
  return out;
}

}  // namespace clipcat
