// The entities' JSON: dates read as local time and written in UTC under several zones and across
// a summer-time change, the zero date as null, content that is not UTF-8.
#include "library/entity_json.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <string>

namespace clipcat {
namespace {

// Sets $TZ for the life of the object (POSIX rules, which need no zone files).
class Zone {
 public:
  explicit Zone(const char* rule) {
    const char* old = getenv("TZ");
    if (old != nullptr) saved_ = old;
    had_ = old != nullptr;
    setenv("TZ", rule, 1);
    tzset();
  }
  ~Zone() {
    if (had_) {
      setenv("TZ", saved_.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

 private:
  std::string saved_;
  bool had_ = false;
};

Date At(int year, int month, int day, int hour, int minute, int second) {
  return *Date::FromParts({year, month, day, hour, minute, second});
}

TEST(EntityJson, DatesAreLocalTimesWrittenInUtc) {
  {
    Zone utc("UTC0");
    EXPECT_EQ(DateJson(At(2026, 11, 26, 1, 40, 0)), "2026-11-26T01:40:00Z");
    // Midnight, the last second of a year and a leap day keep their calendar.
    EXPECT_EQ(DateJson(At(2024, 2, 29, 0, 0, 0)), "2024-02-29T00:00:00Z");
    EXPECT_EQ(DateJson(At(1999, 12, 31, 23, 59, 59)), "1999-12-31T23:59:59Z");
  }
  {
    Zone east("EAST-9");  // nine hours ahead: the day before in UTC
    EXPECT_EQ(DateJson(At(2026, 1, 1, 3, 0, 0)), "2025-12-31T18:00:00Z");
  }
  {
    // Central European rules: +1 in winter, +2 from the last Sunday of March.
    Zone europe("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(DateJson(At(2026, 1, 15, 12, 0, 0)), "2026-01-15T11:00:00Z");
    EXPECT_EQ(DateJson(At(2026, 7, 15, 12, 0, 0)), "2026-07-15T10:00:00Z");
  }
}

TEST(EntityJson, TheZeroDateIsNullAndOnlyIt) {
  Zone utc("UTC0");
  EXPECT_TRUE(DateJson(Date()).is_null());
  EXPECT_TRUE(DateJson(At(1899, 12, 30, 0, 0, 0)).is_null());
  EXPECT_EQ(DateJson(At(1899, 12, 30, 0, 0, 1)), "1899-12-30T00:00:01Z");
  EXPECT_EQ(DateJson(At(1899, 12, 29, 0, 0, 0)), "1899-12-29T00:00:00Z");
}

TEST(EntityJson, ClippingsCarryTheirKeysAndContentThatIsNotUtf8AsBase64) {
  Zone utc("UTC0");
  Clipping clipping;
  clipping.SetID("P7C15");
  clipping.SetName("Signature");
  clipping.SetFolderID("P7C3");
  clipping.SetPathName("Team/Mail");
  clipping.SetCategories("Work, Home");
  for (const auto& [type, content] : {std::pair<int, std::string>{2, "Regards,\nAnn"},
                                      {1, std::string("\xff\xfe", 2)},
                                      {9, std::string("\xc3\xa9t\xc3\xa9")}}) {
    auto item = ClippingData::Create();
    item->SetClippingDataType(type);
    item->SetRawData(content);
    clipping.ClippingData()->Add(item);
  }
  const nlohmann::json listed = ClippingJson(clipping, false);
  EXPECT_EQ(listed["id"], "P7C15");
  EXPECT_EQ(listed["folder_id"], "P7C3");
  EXPECT_EQ(listed["path"], "Team/Mail");
  EXPECT_EQ(listed["categories"], nlohmann::json::array({"Work", "Home"}));
  EXPECT_TRUE(listed["accessed"].is_null());
  EXPECT_EQ(listed["data"][1], (nlohmann::json{{"type", 1}, {"type_name", "rtf"}, {"bytes", 2}}));
  EXPECT_EQ(listed["data"][2]["type_name"], "type-9");

  const nlohmann::json shown = ClippingJson(clipping, true);
  EXPECT_EQ(shown["data"][0]["content"], "Regards,\nAnn");
  EXPECT_FALSE(shown["data"][0].contains("content_base64"));
  EXPECT_TRUE(shown["data"][1]["content"].is_null());
  EXPECT_EQ(shown["data"][1]["content_base64"], "//4=");
  EXPECT_EQ(shown["data"][2]["content"], "\xc3\xa9t\xc3\xa9");

  // The last use from the access history, when given, is the one written.
  const std::map<std::string, Date> used = {{"P7C15", At(2026, 3, 1, 8, 0, 0)}};
  EXPECT_EQ(ClippingJson(clipping, false, &used)["accessed"], "2026-03-01T08:00:00Z");
  const std::map<std::string, Date> others = {{"15", At(2026, 3, 1, 8, 0, 0)}};
  EXPECT_TRUE(ClippingJson(clipping, false, &others)["accessed"].is_null());
}

}  // namespace
}  // namespace clipcat
