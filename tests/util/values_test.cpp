#include "util/values.h"

#include <gtest/gtest.h>

#include "util/date_locale.h"
#include "util/error_of.h"
#include "util/errors.h"

namespace clipcat::testing {
namespace {

class ValuesTest : public ::testing::Test {
 protected:
  ScopedDateLocale locale_{DateLocale::English(DateOrder::kDayMonthYear)};
};

TEST_F(ValuesTest, SqlTextQuotesTrimsAndNulls) {
  EXPECT_EQ(SqlText("O'Brien"), "'O''Brien'");
  EXPECT_EQ(SqlText("  x  "), "'x'");
  EXPECT_EQ(SqlText("\tx"), "'\tx'");  // only spaces are trimmed
  for (const Variant& nothing : {Variant(""), Variant("    "), Variant::Null()})
    EXPECT_EQ(SqlText(nothing), "Null");
  EXPECT_EQ(SqlText(int32_t{42}), "'42'");
  EXPECT_EQ(SqlText(true), "'True'");
  EXPECT_EQ(SqlText("1' OR '1'='1"), "'1'' OR ''1''=''1'");
}

TEST_F(ValuesTest, SqlNumberSplicesOnlyNumbers) {
  EXPECT_EQ(SqlNumber(int32_t{42}), "42");
  EXPECT_EQ(SqlNumber(" -7 "), "-7");
  EXPECT_EQ(SqlNumber("1.5e3"), "1.5e3");
  EXPECT_EQ(SqlNumber(2.5), "2.5");
  EXPECT_EQ(SqlNumber(true), "-1");
  EXPECT_EQ(SqlNumber(Variant::Null()) + SqlNumber(""), "NullNull");
  for (const char* hostile : {"abc", "1 OR 1=1", "1; DROP TABLE Folder", "0) OR (1=1", "1e", "--1",
                              "1.2.3", "P7C15", "0x10", "1 2"}) {
    SCOPED_TRACE(hostile);
    const AutomationError e = ErrorOf([&] { SqlNumber(hostile); });
    EXPECT_EQ(e.number(), err::kTypeMismatch);
    EXPECT_EQ(e.source(), "clipcat");
    EXPECT_EQ(e.description(), "Type mismatch");
  }
}

TEST_F(ValuesTest, SqlDateNormalisesAndQuotes) {
  EXPECT_EQ(SqlDate("Monday, 3.4.2002 2:05:09 p.m."), "'14:05:09 3 Apr 2002'");
  EXPECT_EQ(SqlDate("2002-04-03 14:05:09"), "'14:05:09 3 Apr 2002'");
  EXPECT_EQ(SqlDate(*Date::FromParts({2002, 4, 3, 14, 5, 9})), "'14:05:09 3 Apr 2002'");
  EXPECT_EQ(SqlDate("no date"), "Null");
  EXPECT_EQ(SqlDate("'; DROP TABLE Folder; --"), "Null");
  EXPECT_EQ(RaisedNumber([] { SqlDate(Variant::Null()); }), err::kInvalidUseOfNull);
  EXPECT_EQ(SqlDate("Wed 3 Apr 2002 9:15 a.m"), "'09:15:00 3 Apr 2002'");
  EXPECT_EQ(SqlDate("3.4.2002 11:59:59 P.M."), "'23:59:59 3 Apr 2002'");
  ScopedDateLocale month_first(DateLocale::English(DateOrder::kMonthDayYear));
  EXPECT_EQ(SqlDate("Thursday, 3.4.2002 2:05:09 p.m."), "'14:05:09 4 Mar 2002'");
}

TEST_F(ValuesTest, ToDateOrReadsTheCatalogFormAndItsLooseVariantsAlike) {
  EXPECT_EQ(FormatCatalogDate(Date()), "00:00:00 30 Dec 1899");
  EXPECT_EQ(FormatCatalogDate(*Date::FromParts({2002, 3, 3, 14, 5, 9})), "14:05:09 3 Mar 2002");
  EXPECT_EQ(FormatCatalogDate(Date(1e9)), "");
  // Dates across the whole range read back from their catalog text, whether the text is in the
  // exact form or loosened so that it takes the general reader.
  for (double serial = -657434.0; serial < 2958465.0; serial += 7919.123456) {
    const Date date(serial);
    const Date expected = *Date::FromParts(date.Parts());
    const std::string text = FormatCatalogDate(date);
    EXPECT_EQ(ToDateOr(text, Date()), expected) << text;
    EXPECT_EQ(ToDateOr(" " + text, Date()), expected) << text;
    EXPECT_EQ(ToDateOr(date, Date()), expected) << text;
  }
  EXPECT_EQ(ToDateOr("14:05:09  3 apr 2002", Date()), *Date::FromParts({2002, 4, 3, 14, 5, 9}));
  EXPECT_EQ(ToDateOr("14:5:9 3 Apr 2002", Date()), *Date::FromParts({2002, 4, 3, 14, 5, 9}));
  for (const Variant& bad :
       {Variant("14:05:09 31 Apr 2002"), Variant("14:05:09 3 Apx 2002"), Variant("not a date"),
        Variant::Null(), Variant(Date(2958465.999999))}) {  // the last rounds past 9999
    EXPECT_EQ(ToDateOr(bad, Date(5.0)), Date(5.0));
  }
  // Text written under one day order reads back under the other: the month is a name.
  const std::string text = FormatCatalogDate(*Date::FromParts({2002, 4, 3, 0, 0, 0}));
  ScopedDateLocale month_first(DateLocale::English(DateOrder::kMonthDayYear));
  EXPECT_EQ(ToDateOr(text, Date()), *Date::FromParts({2002, 4, 3, 0, 0, 0}));
}

TEST_F(ValuesTest, ToLongOrRoundsHalvesToEvenAndFallsBackOnOverflow) {
  const struct {
    double in;
    int32_t out;
  } halves[] = {{0.5, 0},   {1.5, 2},   {2.5, 2},    {3.5, 4},    {-0.5, 0},
                {-1.5, -2}, {-2.5, -2}, {2.4999, 2}, {2.5001, 3}, {1e9 + 0.5, 1000000000}};
  for (const auto& h : halves) {
    EXPECT_EQ(ToLongOr(h.in, -99), h.out) << h.in;
    EXPECT_EQ(ToLongOr(std::to_string(h.in), -99), h.out) << h.in;
  }
  EXPECT_EQ(ToLongOr(2147483647.0, 0), 2147483647);
  EXPECT_EQ(ToLongOr(2147483647.5, 0), 0);  // rounds to 2^31: overflow
  EXPECT_EQ(ToLongOr(-2147483648.0, 0), -2147483647 - 1);
  EXPECT_EQ(ToLongOr(-2147483648.6, 7), 7);
  EXPECT_EQ(ToLongOr("12x", 0), 0);
  EXPECT_EQ(ToLongOr(Variant::Null(), -1), -1);
  EXPECT_EQ(ToLongOr(Variant(), 5), 0);  // Empty converts to 0
  EXPECT_EQ(ToLongOr(true, 0), -1);
}

TEST_F(ValuesTest, ToBooleanOrAcceptsYesNoNumbersAndWords) {
  for (const Variant& t : {Variant("Yes"), Variant("-1"), Variant("2.5"), Variant(" tRuE "),
                           Variant("TRUE"), Variant(int32_t{3})}) {
    EXPECT_TRUE(ToBooleanOr(t, false)) << t.ToText();
  }
  for (const char* f : {"No", "0", "False", "false"}) EXPECT_FALSE(ToBooleanOr(f, true)) << f;
  // Not "Yes", and Null: the conversion fails and the fallback is answered.
  EXPECT_TRUE(ToBooleanOr("yes", true) && !ToBooleanOr("yes", false));
  EXPECT_TRUE(ToBooleanOr(Variant::Null(), true));
}

TEST_F(ValuesTest, ToTextOrAndToDecimalOrFallBackOnNullAndNonNumbers) {
  EXPECT_EQ(ToTextOr(Variant::Null(), "fb") + "|" + ToTextOr(1.5, "") + "|" + ToTextOr(1e20, "") +
                "|" + ToTextOr(false, ""),
            "fb|1.5|1E+20|False");
  EXPECT_EQ(ToDecimalOr("2.75", 0), 2.75);
  EXPECT_EQ(ToDecimalOr("2,75", -1), -1);
  EXPECT_EQ(ToDecimalOr("1e999", -1), -1);
}

}  // namespace
}  // namespace clipcat::testing
