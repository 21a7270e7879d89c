// The JSON form's dates: the catalog's local wall-clock times as UTC, daylight saving time of
// the day included, and "never" as null.
#include "gateway/json_form.h"

#include <time.h>

#include "util/temp_dir.h"

namespace clipcat::gateway_test {
namespace {

Date Local(int year, int month, int day, int hour, int minute, int second) {
  return *Date::FromParts({year, month, day, hour, minute, second});
}

TEST(GatewayJsonForm, DatesAreUtcWithTheZoneOfTheirDay) {
  // A POSIX zone rule, which needs no time zone database: US Eastern with daylight saving time.
  testing::ScopedEnv zone("TZ", "EST5EDT,M3.2.0,M11.1.0");
  tzset();
  EXPECT_EQ(FormatIsoUtc(Local(2026, 1, 15, 12, 0, 0)), "2026-01-15T17:00:00Z");
  EXPECT_EQ(FormatIsoUtc(Local(2026, 7, 15, 12, 0, 0)), "2026-07-15T16:00:00Z");
  // Across midnight and the end of a year.
  EXPECT_EQ(FormatIsoUtc(Local(2025, 12, 31, 22, 30, 5)), "2026-01-01T03:30:05Z");
  {
    testing::ScopedEnv utc("TZ", "UTC0");
    tzset();
    EXPECT_EQ(FormatIsoUtc(Local(2002, 3, 3, 14, 5, 9)), "2002-03-03T14:05:09Z");
  }
  tzset();
}

TEST(GatewayJsonForm, DayZeroIsNever) {
  // A clipping never used has day zero as its last use.
  const nlohmann::json clipping = gateway::ClippingJson(*Clipping::Create(), false);
  EXPECT_TRUE(clipping.at("accessed").is_null());
  EXPECT_TRUE(clipping.at("updated").is_string());
}

TEST(GatewayJsonForm, InvalidUtf8IsReplacedNotRefused) {
  const std::string dumped = gateway::DumpJson({{"text", std::string("a\xff"
                                                                     "b")}});
  EXPECT_EQ(dumped,
            "{\"text\":\"a\xEF\xBF\xBD"
            "b\"}");
}

}  // namespace
}  // namespace clipcat::gateway_test
