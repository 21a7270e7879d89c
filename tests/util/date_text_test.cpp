#include "util/date_text.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>

#include "util/date.h"
#include "util/values.h"

namespace clipcat {
namespace {

std::string Iso(std::string_view text, DateOrder order) {
  const auto date = ParseDateText(text, DateLocale::English(order));
  return date ? FormatIsoDate(*date) : "none";
}

TEST(ParseDateText, ReadsEveryFormInBothDayOrders) {
  struct Case {
    const char* text;
    const char* day_first;
    const char* month_first;
  };
  const Case cases[] = {
      {"2002-04-03 14:05:09", "2002-04-03 14:05:09", "2002-04-03 14:05:09"},
      {"2002-04-03", "2002-04-03 00:00:00", "2002-04-03 00:00:00"},
      {"14:05:09 3 Apr 2002", "2002-04-03 14:05:09", "2002-04-03 14:05:09"},
      {"3 APR 2002 2:05 pm", "2002-04-03 14:05:00", "2002-04-03 14:05:00"},
      {"April 3 2002", "2002-04-03 00:00:00", "2002-04-03 00:00:00"},
      {"3-Apr-2002", "2002-04-03 00:00:00", "2002-04-03 00:00:00"},
      {"3/4/2002", "2002-04-03 00:00:00", "2002-03-04 00:00:00"},
      {"3.4.2002", "2002-04-03 00:00:00", "2002-03-04 00:00:00"},
      {"3/4/02 2:05:09 pm", "2002-04-03 14:05:09", "2002-03-04 14:05:09"},
      {"3/4/99 12:00:00 am", "1999-04-03 00:00:00", "1999-03-04 00:00:00"},
      {"3/4/2002 12:30 PM", "2002-04-03 12:30:00", "2002-03-04 12:30:00"},
      {"13/4/2002", "2002-04-13 00:00:00", "none"},
      {"4/13/2002", "none", "2002-04-13 00:00:00"},
      {"31/12/9999 23:59:59", "9999-12-31 23:59:59", "none"},
      {"1/1/100", "0100-01-01 00:00:00", "0100-01-01 00:00:00"},
      {"29/2/2000", "2000-02-29 00:00:00", "none"},
      {"29/2/1900", "none", "none"},
      {"14:05:09", "1899-12-30 14:05:09", "1899-12-30 14:05:09"},
      {"25:00:00", "none", "none"},
      {"13:00 pm", "none", "none"},
      {"0:30 am", "none", "none"},
      {"3 Apr 2002 Apr", "none", "none"},
      {"1/1/10000", "none", "none"},
      {"3/4/2002 1:2:3:4", "none", "none"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Iso(c.text, DateOrder::kDayMonthYear), c.day_first) << c.text;
    EXPECT_EQ(Iso(c.text, DateOrder::kMonthDayYear), c.month_first) << c.text;
  }
}

TEST(ParseDateText, TwoDigitYearsPivotAt1930) {
  const DateLocale en = DateLocale::English(DateOrder::kDayMonthYear);
  for (int yy = 0; yy < 100; ++yy) {
    const auto date = ParseDateText("1/1/" + std::to_string(yy), en);
    ASSERT_TRUE(date) << yy;
    EXPECT_EQ(date->Parts().year, yy < 30 ? 2000 + yy : 1900 + yy);
  }
}

TEST(ParseDateText, UsesTheLocalesMonthNames) {
  DateLocale german = DateLocale::English(DateOrder::kDayMonthYear);
  german.month_abbreviations[2] = "Mär";
  german.month_names[2] = "März";
  EXPECT_EQ(FormatIsoDate(*ParseDateText("3 März 2002", german)), "2002-03-03 00:00:00");
  EXPECT_EQ(FormatIsoDate(*ParseDateText("10:00:00 3 mär 2002", german)), "2002-03-03 10:00:00");
  EXPECT_FALSE(ParseDateText("3 Mar 2002", german));
  EXPECT_EQ(FormatCatalogDateText(*Date::FromParts({2002, 3, 3, 14, 5, 9}), german),
            "14:05:09 3 Mär 2002");
}

TEST(Date, SerialsMatchTheAutomationCalendar) {
  EXPECT_EQ(Date::FromParts({1899, 12, 30, 0, 0, 0})->serial(), 0.0);
  EXPECT_EQ(Date::FromParts({1900, 1, 1, 0, 0, 0})->serial(), 2.0);
  EXPECT_EQ(Date::FromParts({2000, 1, 1, 12, 0, 0})->serial(), 36526.5);
  // Before day zero the fraction still counts forwards from midnight.
  EXPECT_EQ(Date::FromParts({1899, 12, 29, 6, 0, 0})->serial(), -1.25);
  EXPECT_EQ(FormatIsoDate(Date(-1.25)), "1899-12-29 06:00:00");
  // Rounding to the second carries into the next day.
  EXPECT_EQ(FormatIsoDate(Date(1.0 - 1e-9)), "1899-12-31 00:00:00");
  EXPECT_FALSE(Date::FromParts({99, 12, 31, 0, 0, 0}));
  EXPECT_FALSE(Date(1e9).IsValid());
}

// The stored forms, and what else the ISO reading accepts or refuses.
TEST(ParseIsoDate, ReadsTheStoredFormsAndRefusesOtherText) {
  const auto iso = [](const std::string& text) {
    const auto date = ParseIsoDate(text);
    return date ? FormatIsoDate(*date) : "none";
  };
  EXPECT_EQ(iso("2024-02-29"), "2024-02-29 00:00:00");
  EXPECT_EQ(iso("2024-02-29 23:05"), "2024-02-29 23:05:00");
  EXPECT_EQ(iso("0100-01-01 00:00:01"), "0100-01-01 00:00:01");
  EXPECT_EQ(iso("9999-12-31 23:59:59"), "9999-12-31 23:59:59");
  // Looser spacing and digit counts read as before.
  EXPECT_EQ(iso("2024-02-29  7:05:09"), "2024-02-29 07:05:09");
  EXPECT_EQ(iso("2024-02-29 07:05:9"), "2024-02-29 07:05:09");
  for (const char* text : {"2023-02-29", "2024-13-01", "2024-02-29 24:00:00", "2024-02-29 10:60",
                           "2024-02-2x", "2024/02/29", "2024-02-29T10:00:00", "2024-02-29 10",
                           "2024-02-29 10:00:00 x", "", "99-01-01"}) {
    EXPECT_EQ(iso(text), "none") << text;
  }
}

TEST(Date, EveryTimeOfTheFirstAndTheLastDayIsValid) {
  // Before day zero a later time lies further from zero: 0100-01-01 12:00 is -657434.5.
  for (const DateParts& parts : std::initializer_list<DateParts>{{100, 1, 1, 0, 0, 0},
                                                                 {100, 1, 1, 12, 0, 0},
                                                                 {100, 1, 1, 23, 59, 59},
                                                                 {9999, 12, 31, 0, 0, 0},
                                                                 {9999, 12, 31, 23, 59, 59}}) {
    const Date date = *Date::FromParts(parts);
    EXPECT_TRUE(date.IsValid()) << FormatIsoDate(date);
    EXPECT_EQ(*Date::FromParts(date.Parts()), date) << FormatIsoDate(date);
  }
  EXPECT_EQ(Date::FromParts({100, 1, 1, 12, 0, 0})->serial(), -657434.5);
  // The days on either side, at any time, are not.
  for (double serial : {-657435.0, -657435.5, -657435.999, 2958466.0, 2958466.5, -1e300,
                        std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_FALSE(Date(serial).IsValid()) << serial;
  }
  // A time that rounds to midnight is the next day's start, before day zero as after it.
  EXPECT_EQ(FormatIsoDate(Date(-1.0 - (1.0 - 1e-9))), "1899-12-30 00:00:00");
  EXPECT_EQ(FormatIsoDate(Date(-657434.0 - (1.0 - 1e-9))), "0100-01-02 00:00:00");
  EXPECT_TRUE(Date(-657435.0 - (1.0 - 1e-9)).IsValid());   // 0100-01-01 00:00:00
  EXPECT_FALSE(Date(2958465.0 + (1.0 - 1e-9)).IsValid());  // 10000-01-01 00:00:00
}

}  // namespace
}  // namespace clipcat
