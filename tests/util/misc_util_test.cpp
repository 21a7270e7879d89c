// Messages, errors and UTF-16 text.
#include <gtest/gtest.h>

#include <vector>

#include "util/error_of.h"
#include "util/errors.h"
#include "util/messages.h"
#include "util/text.h"
#include "util/utf16.h"

namespace clipcat::testing {
namespace {

TEST(FormatResourceMessage, SubstitutesInOrderWithTheKnownTenthValueQuirk) {
  EXPECT_EQ(SubstituteMessage("%s and %2", {"a", "b"}), "a and b");
  EXPECT_EQ(SubstituteMessage("%1%1 %3", {"x", "y", "z"}), "xx z");
  std::vector<std::string> values;
  for (int i = 1; i <= 11; ++i) values.push_back("v" + std::to_string(i));
  // "%10" is hit by the replacement of "%1" first and becomes "v10".
  EXPECT_EQ(SubstituteMessage("%10|%9|%11", values), "v10|v9|v11");
  EXPECT_EQ(SubstituteMessage("%1", {}), "%1");
  const std::string text = FormatResourceMessage(kMessageNameNotUnique, {"Letters"});
  EXPECT_NE(text.find("\"Letters\""), std::string::npos);
  EXPECT_EQ(text.find('%'), std::string::npos);
  EXPECT_EQ(FormatResourceMessage(999, {"x"}), "");
}

TEST(RaiseError, TakesMissingPartsFromTheCurrentError) {
  const AutomationError current(err::kTypeMismatch, "Inner", "Type mismatch");
  const AutomationError filled = ErrorOf([&] { RaiseError(0, "", "", &current); });
  EXPECT_EQ(std::to_string(filled.number()) + "|" + filled.source() + "|" + filled.description(),
            "13|clipcat|Type mismatch");
  const AutomationError own = ErrorOf([&] {
    RaiseError(err::kFolderNameNotUnique, kDataServicesSource, "dup", &current, "ignored");
  });
  EXPECT_EQ(std::to_string(own.number()) + "|" + own.source() + "|" + own.description(),
            "-2147220997|Data Services|dup");
  EXPECT_EQ(ErrorOf([] { RaiseNotImplemented("ClippingExists"); }).number(), -999999);
}

TEST(Utf16, PairsSurrogatesAndMakesBrokenInputTheReplacementCharacter) {
  // "a", e-acute, the euro sign and a clef outside the Basic Multilingual Plane.
  const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E";
  const std::string utf16 = Utf8ToUtf16LE(text);
  EXPECT_EQ(utf16, std::string("a\0\xE9\0\xAC\x20\x34\xD8\x1E\xDD", 10));
  EXPECT_EQ(Utf16LEToUtf8(utf16), text);
  const std::string replacement = "\xEF\xBF\xBD";
  EXPECT_EQ(Utf16LEToUtf8(std::string("\x34\xD8x\0", 4)), replacement + "x");   // lone high
  EXPECT_EQ(Utf16LEToUtf8(std::string("\x1E\xDDx\0y", 5)), replacement + "x");  // lone low, odd
  EXPECT_EQ(Utf8ToUtf16LE("\xFFz"), std::string("\xFD\xFFz\0", 4));
  // A sequence cut short is one replacement, not one per byte; the next character survives.
  EXPECT_EQ(Utf8ToUtf16LE("\xE2\x82z"), std::string("\xFD\xFFz\0", 4));
  EXPECT_EQ(Utf8ToUtf16LE("\xED\xA0\x80"), std::string("\xFD\xFF\xFD\xFF\xFD\xFF", 6));
}

TEST(Utf16, WellFormedUtf8IsWhatTheRoundTripLeavesUnchanged) {
  // Every text of up to three bytes drawn from bytes at the edges of UTF-8's ranges, and four-byte
  // forms around the last code point: the check agrees with the round trip on each.
  const std::vector<uint8_t> edges = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0,
                                      0xC1, 0xC2, 0xDF, 0xE0, 0xED, 0xEF, 0xF0, 0xF4, 0xF5, 0xFF};
  size_t well_formed = 0;
  size_t checked = 0;
  const auto check = [&](const std::string& text) {
    const bool unchanged = Utf16LEToUtf8(Utf8ToUtf16LE(text)) == text;
    EXPECT_EQ(IsWellFormedUtf8(text), unchanged) << ::testing::PrintToString(text);
    well_formed += unchanged ? 1 : 0;
    ++checked;
  };
  check("");
  for (uint8_t a : edges) {
    check(std::string(1, static_cast<char>(a)));
    for (uint8_t b : edges) {
      check(std::string{static_cast<char>(a), static_cast<char>(b)});
      for (uint8_t c : edges) {
        check(std::string{static_cast<char>(a), static_cast<char>(b), static_cast<char>(c)});
      }
    }
  }
  for (const char* text : {"\xF0\x9D\x84\x9E", "\xF4\x8F\xBF\xBF", "\xF4\x90\x80\x80",
                           "\xF0\x8F\xBF\xBF", "\xEF\xBF\xBE", "\xED\x9F\xBF"}) {
    check(text);
  }
  // Both answers occur many times, so neither a check that always says yes nor one that always
  // says no passes.
  EXPECT_GT(well_formed, 100u);
  EXPECT_GT(checked - well_formed, 1000u);
  // Long text: one bad byte anywhere is found.
  std::string long_text(100000, 'x');
  EXPECT_TRUE(IsWellFormedUtf8(long_text));
  long_text[99999] = '\xC3';
  EXPECT_FALSE(IsWellFormedUtf8(long_text));
}

}  // namespace
}  // namespace clipcat::testing

// Declared column types and keywords are matched without ASCII case; other bytes compare exactly
// and nothing reads past either end.
TEST(TextIgnoringCase, MatchesAsciiLettersOnlyAndStaysInsideTheText) {
  EXPECT_TRUE(clipcat::StartsWithIgnoreCase("timestamp with time zone", "TIMESTAMP"));
  EXPECT_TRUE(clipcat::StartsWithIgnoreCase("Bool", "BOOL"));
  EXPECT_FALSE(clipcat::StartsWithIgnoreCase("BOO", "BOOL"));
  EXPECT_FALSE(clipcat::StartsWithIgnoreCase(" DATE", "DATE"));
  EXPECT_FALSE(clipcat::StartsWithIgnoreCase("\xC3\xA9t\xC3\xA9", "\xC3\x89T"));
  EXPECT_EQ(clipcat::FindIgnoreCase("unsigned smallint", "SMALLINT"), 9u);
  EXPECT_EQ(clipcat::FindIgnoreCase("INT", "SMALLINT"), std::string_view::npos);
  EXPECT_EQ(clipcat::ReplaceAllIgnoreCase("Select * FROM t where x", "WHERE", "AND"),
            "Select * FROM t AND x");
}
