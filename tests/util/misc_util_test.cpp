// Messages, errors, GUIDs and UTF-16 conversion.
#include <gtest/gtest.h>

#include <set>

#include "util/error_of.h"
#include "util/errors.h"
#include "util/guid.h"
#include "util/messages.h"
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
  EXPECT_EQ(filled.number(), err::kTypeMismatch);
  EXPECT_EQ(filled.source(), "clipcat");
  EXPECT_EQ(filled.description(), "Type mismatch");
  const AutomationError own = ErrorOf([&] {
    RaiseError(err::kFolderNameNotUnique, kDataServicesSource, "dup", &current, "ignored");
  });
  EXPECT_EQ(own.number(), -2147220997);
  EXPECT_EQ(own.source(), "Data Services");
  EXPECT_EQ(own.description(), "dup");
  EXPECT_EQ(ErrorOf([] { RaiseNotImplemented("ClippingExists"); }).number(), -999999);
}

TEST(CreateGUIDString, IsThirtyTwoUpperHexDigitsAndUnique) {
  std::set<std::string> seen;
  for (int i = 0; i < 100; ++i) {
    const std::string guid = CreateGUIDString();
    ASSERT_EQ(guid.size(), 32u);
    for (char c : guid) EXPECT_TRUE((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F')) << guid;
    EXPECT_EQ(guid[14], '4') << guid;  // version nibble: high byte of Data3 at offset 7
    EXPECT_TRUE(seen.insert(guid).second);
  }
}

TEST(Utf16, RoundTripsEveryPlane) {
  for (const std::string& s :
       {std::string(""), std::string("caf\xC3\xA9 \xE2\x82\xAC"),
        std::string("\xF0\x9F\x98\x80 \xF4\x8F\xBF\xBF"), std::string("nul\0inside", 10)}) {
    EXPECT_EQ(Utf16LEToUtf8(Utf8ToUtf16LE(s)), s);
  }
  // U+1F600 is the surrogate pair D83D DE00, little-endian.
  EXPECT_EQ(Utf8ToUtf16LE("\xF0\x9F\x98\x80"), std::string("\x3D\xD8\x00\xDE", 4));
  // Broken input becomes U+FFFD rather than garbage or a crash.
  EXPECT_EQ(Utf16LEToUtf8(std::string("\x3D\xD8", 2)), "\xEF\xBF\xBD");
  EXPECT_EQ(Utf16LEToUtf8(std::string("A\0B", 3)), "A");
  EXPECT_EQ(Utf8ToUtf16LE("\xED\xA0\x80"), std::string("\xFD\xFF\xFD\xFF\xFD\xFF", 6));
}

}  // namespace
}  // namespace clipcat::testing
