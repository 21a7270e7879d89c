// Helpers shared by the entity tests: XML round trips, "now" checks and the texts that break naive
// escaping. Stateless; safe from any thread.
#pragma once

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "util/date_locale.h"
#include "util/error_of.h"
#include "util/values.h"

namespace clipcat::test {

using testing::RaisedNumber;
using Texts = std::vector<std::string>;

// The error number reading `text` into `object` raises, and the one writing its XML raises.
template <typename T>
int32_t ReadError(T& object, const std::string& text) {
  return RaisedNumber([&] { object.SetXML(text); });
}
template <typename T>
int32_t WriteError(const T& object) {
  return RaisedNumber([&] { object.XML(); });
}

// A new T read from the XML that `from` writes: what a client handed the text receives.
template <typename T>
std::shared_ptr<T> ReadBack(const T& from) {
  auto read = T::Create();
  read->SetXML(from.XML());
  return read;
}

// True when `value` lies between `before` and now: a date stamped "now".
inline bool StampedSince(const Date& before, const Date& value) {
  return before.serial() <= value.serial() && value.serial() <= Date::Now().serial();
}

// The catalog date text of the tests ("14:05:09 3 Mar 2002") whatever the machine's locale.
inline DateLocale EnglishDates() { return DateLocale::English(DateOrder::kDayMonthYear); }

// Texts XML can carry only when escaped exactly: markup characters, entity look-alikes, line
// ends that parsers normalise, layout whitespace and characters beyond ASCII.
inline const Texts kHardTexts = {"",
                                 "< & > \" '",
                                 "&amp; &lt; &#13; &unknown;",
                                 "a\r\nb\rc\nd\te",
                                 " \t\r\n ",
                                 "]]>",
                                 "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80 \xE6\x97\xA5"};

// A text property that clients set: its setter and its getter.
template <typename T>
struct TextProperty {
  void (T::*set)(std::string);
  const std::string& (T::*get)() const;
};

// Checks that each property carries every hard text through the object's XML, and that writing
// text XML cannot carry (control, lone byte, non-character, surrogate, NUL) raises 5 instead.
template <typename T>
void ExpectTextPropertiesCarried(const std::vector<TextProperty<T>>& properties) {
  for (const std::string& value : kHardTexts) {
    auto object = T::Create();
    for (const TextProperty<T>& p : properties) (object.get()->*p.set)(value);
    auto read = ReadBack(*object);
    for (const TextProperty<T>& p : properties) EXPECT_EQ((read.get()->*p.get)(), value);
  }
  for (const TextProperty<T>& p : properties) {
    for (const std::string& bad :
         {std::string("a\x01"), std::string("\xC3"), std::string("\xEF\xBF\xBF"),
          std::string("\xED\xA0\x80"), std::string("nul\0", 4)}) {
      auto object = T::Create();
      (object.get()->*p.set)(bad);
      EXPECT_EQ(WriteError(*object), err::kInvalidProcedureCall) << bad;
    }
  }
}

}  // namespace clipcat::test
