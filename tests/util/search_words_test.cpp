#include "util/search_words.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace clipcat::testing {
namespace {

// The words of `text`, joined by "|".
std::string Words(std::string_view text) {
  std::string words;
  for (const WordSpan& span : SplitWords(text)) {
    words +=
        (words.empty() ? "" : "|") + std::string(text.substr(span.begin, span.end - span.begin));
  }
  return words;
}

// "w0 w1 ... w<count - 1>".
std::string Numbered(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += (i == 0 ? "w" : " w") + std::to_string(i);
  return text;
}

TEST(SplitWords, RunsOfLettersDigitsAndMarksBetweenEverythingElse) {
  EXPECT_EQ(Words("Hello, world! e-mail (x)"), "Hello|world|e|mail|x");
  const std::vector<WordSpan> spans = SplitWords("  ab\t\ncd.");
  ASSERT_EQ(spans.size(), 2u);
  EXPECT_EQ(spans[0].begin * 1000 + spans[0].end * 100 + spans[1].begin * 10 + spans[1].end, 2468u);
  EXPECT_EQ(Words("Caf\u00e9 na\u00efve \u00c6r\u00f8 \u0416\u0443\u043a"),
            "Caf\u00e9|na\u00efve|\u00c6r\u00f8|\u0416\u0443\u043a");
  // Ideographs are letters; the ideographic comma separates.
  EXPECT_EQ(Words("\u65e5\u672c\u8a9e\u3001\u4e2d\u6587"), "\u65e5\u672c\u8a9e|\u4e2d\u6587");
  EXPECT_EQ(Words("abc123 4.5 \u0661\u0662\u0663 x\u00b2"),
            "abc123|4|5|\u0661\u0662\u0663|x\u00b2");
  // A combining accent and a Devanagari vowel sign stay inside their words.
  EXPECT_EQ(Words("cafe\u0301 \u0939\u093f\u0928\u094d\u0926\u0940!"),
            "cafe\u0301|\u0939\u093f\u0928\u094d\u0926\u0940");
  EXPECT_EQ(Words(" ,.;-\u2014 "), "");
  EXPECT_EQ(Words(""), "");
  // Bytes that are not UTF-8: stray, an overlong form, an encoded surrogate, a sequence cut short.
  EXPECT_EQ(Words("caf\xe9 ok\x80x \xff\xfe:a\xc0\xaf"
                  "b \xed\xa0\x80"
                  "c tail\xc3"),
            "caf|ok|x|a|b|c|tail");
  EXPECT_EQ(Words(std::string("a\0b", 3)), "a|b");
}

TEST(FoldWord, IgnoresCaseAndDiacritics) {
  // Capital, small and final sigma are one letter; the dot of "İ" is a diacritic; simple folding
  // keeps one letter one letter ("ß", the "ﬁ" ligature), as the file catalog's index folds it.
  const std::pair<std::string, std::string> cases[] = {
      {"Caf\u00e9", "cafe"},
      {"\u00c4RGER", "arger"},
      {"CAFE\u0301", "cafe"},
      {"\u00c9COLE", "ecole"},
      {"\u03a3\u039f\u03a6\u039f\u03a3", "\u03c3\u03bf\u03c6\u03bf\u03c3"},
      {"\u03c2", "\u03c3"},
      {"\u01c4", "\u01c6"},
      {"\u212a", "k"},
      {"\u0130", "i"},
      {"STRA\u1e9eE", "stra\u00dfe"},
      {"\ufb01sh", "\ufb01sh"},
      {"\u65e5\u672c", "\u65e5\u672c"},
      {"2024", "2024"},
      {"MiXeD09zZ", "mixed09zz"},
      {"a-B_c@[`{", "a-b_c@[`{"},
      {"", ""}};
  for (const auto& [word, folded] : cases) EXPECT_EQ(FoldWord(word), folded) << word;
  EXPECT_EQ(FoldedWordsText("Hello, CAF\u00c9!\n\u00fcber"), "hello cafe uber ");
  EXPECT_EQ(FoldedWordsText(" - "), "");
}

TEST(MakeSnippet, MarksMatchedWordsAndTheirPrefixes) {
  EXPECT_EQ(MakeSnippet("The quick brown fox", {{"quick", false}}), "The [quick] brown fox");
  EXPECT_EQ(MakeSnippet("Un CAF\u00c9 noir, un caf\u00e9.", {{"cafe", false}}),
            "Un [CAF\u00c9] noir, un [caf\u00e9]");
  EXPECT_EQ(MakeSnippet("payment paid pay repay", {{"pay", true}}), "[payment] paid [pay] repay");
  EXPECT_EQ(MakeSnippet("payment paid pay repay", {{"pay", false}}), "payment paid [pay] repay");
  EXPECT_EQ(MakeSnippet("late fee, paid late", {{"late", false}, {"fee", false}}),
            "[late] [fee], paid [late]");
  EXPECT_EQ(MakeSnippet("one\ntwo\tthree", {{"two", false}}), "one [two] three");
  const std::string crlf = MakeSnippet("one\r\ntwo", {{"one", false}});
  EXPECT_EQ(crlf.find_first_of("\r\n\t"), std::string::npos) << crlf;
  EXPECT_EQ(MakeSnippet("", {{"a", false}}), "");
  EXPECT_EQ(MakeSnippet("... !!", {{"a", false}}), "");
  EXPECT_EQ(MakeSnippet("a b", {{"a", false}}, 0), "");
}

TEST(MakeSnippet, ShowsTheBestWindowWithEllipsesWhereTextIsLeftOut) {
  const std::string text = Numbered(30);
  EXPECT_EQ(MakeSnippet(text, {{"w20", false}}, 5), "\u2026w18 w19 [w20] w21 w22\u2026");
  EXPECT_EQ(MakeSnippet(text, {{"w1", false}}, 5), "w0 [w1] w2 w3 w4\u2026");
  EXPECT_EQ(MakeSnippet(text, {{"w29", false}}, 5), "\u2026w25 w26 w27 w28 [w29]")
      << "a window at the end starts early enough to be full";
  EXPECT_EQ(MakeSnippet("a b c d e f g h", {{"g", false}}), "a b c d e f [g] h");
  EXPECT_EQ(MakeSnippet(text, {{"nothing", false}}, 5), "w0 w1 w2 w3 w4\u2026");
  EXPECT_EQ(MakeSnippet(text, {}, 3), "w0 w1 w2\u2026");
  EXPECT_EQ(MakeSnippet("w0 w1", {{"nothing", false}}, 5), "w0 w1");
  EXPECT_EQ(MakeSnippet("x, y; z!", {{"z", false}}, 2), "\u2026y; [z]");
  EXPECT_EQ(MakeSnippet("x, y; z!", {{"x", false}}, 2), "[x], y\u2026");
  EXPECT_EQ(MakeSnippet(" ,; - ", {{"x", false}}), "");
  // The window holding both words wins over the earlier one holding one of them.
  EXPECT_EQ(
      MakeSnippet("alpha " + Numbered(10) + " alpha beta", {{"alpha", false}, {"beta", false}}, 4),
      "\u2026w8 w9 [alpha] [beta]");
  // Context before the first match never pushes a counted match out of the window.
  EXPECT_EQ(MakeSnippet("x x x x a y b z z z", {{"a", false}, {"b", false}}, 3),
            "\u2026[a] y [b]\u2026");
  EXPECT_EQ(MakeSnippet("x x x x a y b z z z", {{"a", false}, {"b", false}}, 4),
            "\u2026x [a] y [b]\u2026");
  // Plain ASCII and accented spellings of one word are marked alike, wherever the window ends up.
  EXPECT_EQ(
      MakeSnippet("Caf\u00e9 " + Numbered(20) + " CAFE and caf\u00c9s cafe", {{"cafe", false}}, 6),
      "[Caf\u00e9] w0 w1 w2 w3 w4\u2026");
  EXPECT_EQ(MakeSnippet(Numbered(20) + " CAFE and caf\u00c9s cafe", {{"cafe", true}}, 6),
            "\u2026w18 w19 [CAFE] and [caf\u00c9s] [cafe]");
}

}  // namespace
}  // namespace clipcat::testing
