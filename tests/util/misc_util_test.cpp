// Messages, errors and UTF-16 text.
#include <gtest/gtest.h>

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
