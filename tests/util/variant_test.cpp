#include "util/variant.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "util/date_locale.h"
#include "util/error_of.h"
#include "util/errors.h"

namespace clipcat::testing {
namespace {

TEST(Variant, NullRaisesInvalidUseOfNullAndObjectsTypeMismatchInEveryConversion) {
  const Variant nothing{std::shared_ptr<Dispatch>()};
  for (const auto& [held, number] : {std::pair{Variant::Null(), err::kInvalidUseOfNull},
                                     std::pair{nothing, err::kTypeMismatch}}) {
    const Variant& value = held;  // lambdas capture a variable, not a structured binding
    EXPECT_EQ(RaisedNumber([&] { value.ToText(); }), number);
    EXPECT_EQ(RaisedNumber([&] { value.ToLong(); }), number);
    EXPECT_EQ(RaisedNumber([&] { value.ToInteger(); }), number);
    EXPECT_EQ(RaisedNumber([&] { value.ToDouble(); }), number);
    EXPECT_EQ(RaisedNumber([&] { value.ToBoolean(); }), number);
    EXPECT_EQ(RaisedNumber([&] { value.ToDate(); }), number);
  }
}

TEST(Variant, IntegerConversionsOverflowAtTheirBounds) {
  // Every power of two around the 16- and 32-bit limits.
  for (int bits = 1; bits <= 40; ++bits) {
    for (double delta : {-1.0, 0.0, 1.0}) {
      for (double sign : {1.0, -1.0}) {
        const double v = sign * (std::ldexp(1.0, bits) + delta);
        const bool fits32 = v >= -2147483648.0 && v <= 2147483647.0;
        const bool fits16 = v >= -32768.0 && v <= 32767.0;
        EXPECT_EQ(RaisedNumber([&] { Variant(v).ToLong(); }), fits32 ? 0 : err::kOverflow) << v;
        EXPECT_EQ(RaisedNumber([&] { Variant(v).ToInteger(); }), fits16 ? 0 : err::kOverflow) << v;
        if (fits32) {
          EXPECT_EQ(Variant(v).ToLong(), static_cast<int32_t>(v));
        }
      }
    }
  }
  EXPECT_EQ(Variant(32767.5).ToLong(), 32768);
  EXPECT_EQ(RaisedNumber([] { Variant(32767.5).ToInteger(); }), err::kOverflow);
  EXPECT_EQ(Variant(-32768.5).ToInteger(), -32768);
}

TEST(Variant, TextConvertsOnlyWhenItIsANumber) {
  EXPECT_EQ(Variant(" 12 ").ToLong() + Variant("+3.5").ToLong() + Variant("-4.5").ToLong(), 12);
  EXPECT_EQ(Variant("1e3").ToDouble() + Variant(".5").ToDouble(), 1000.5);
  for (const char* bad : {"", " ", "12x", "x12", "1,000", "--1", "1e", ".", "+", "0x1F", "1 1"}) {
    EXPECT_EQ(RaisedNumber([&] { Variant(bad).ToDouble(); }), err::kTypeMismatch) << bad;
  }
}

TEST(Variant, BooleanAcceptsNumbersAndWordsInAnyCase) {
  for (const Variant& yes : {Variant("TRUE"), Variant("true"), Variant("-1"), Variant(0.001)})
    EXPECT_TRUE(yes.ToBoolean());
  for (const Variant& no : {Variant("fAlSe"), Variant("0"), Variant()})
    EXPECT_FALSE(no.ToBoolean());
  EXPECT_EQ(RaisedNumber([] { Variant("Yes").ToBoolean(); }), err::kTypeMismatch);
  EXPECT_EQ(Variant(true).ToText(), "True");
  EXPECT_EQ(Variant(true).ToLong(), -1);
}

TEST(Variant, DatesConvertFromTextAndSerials) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  EXPECT_EQ(Variant("3/4/2002").ToDate(), *Date::FromParts({2002, 4, 3, 0, 0, 0}));
  EXPECT_EQ(Variant(int32_t{2}).ToDate(), *Date::FromParts({1900, 1, 1, 0, 0, 0}));
  EXPECT_EQ(Variant(Date(36526.5)).ToText(), "1/1/2000 12:00:00");
  EXPECT_EQ(Variant(Date(36526.5)).ToDouble(), 36526.5);
  EXPECT_EQ(RaisedNumber([] { Variant("31/2/2002").ToDate(); }), err::kTypeMismatch);
  EXPECT_EQ(RaisedNumber([] { Variant(1e12).ToDate(); }), err::kOverflow);
}

}  // namespace
}  // namespace clipcat::testing
