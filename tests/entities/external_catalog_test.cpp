#include "entities/external_catalog.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace clipcat {
namespace {

TEST(ExternalCatalog, StartsEmptyAndKeepsWhatIsSet) {
  auto catalog = ExternalCatalog::Create();
  EXPECT_EQ(catalog->ID(), 0);
  EXPECT_EQ(catalog->GUID(), "");
  EXPECT_EQ(catalog->ConnectionStringXML(), "");
  EXPECT_FALSE(catalog->IsOnline());
  EXPECT_EQ(catalog->ConnectionSpeed(), 0);
  for (int32_t id :
       {std::numeric_limits<int32_t>::min(), -1, 7, std::numeric_limits<int32_t>::max()}) {
    catalog->SetID(id);
    EXPECT_EQ(catalog->ID(), id);
  }
  for (int16_t speed :
       {std::numeric_limits<int16_t>::min(), int16_t{3}, std::numeric_limits<int16_t>::max()}) {
    catalog->SetConnectionSpeed(speed);
    EXPECT_EQ(catalog->ConnectionSpeed(), speed);
  }
  catalog->SetGUID("00FF");
  catalog->SetConnectionStringXML("<connectiondetails datasourcetype=\"2\"/>");
  catalog->SetIsOnline(true);
  EXPECT_EQ(catalog->GUID(), "00FF");
  EXPECT_EQ(catalog->ConnectionStringXML(), "<connectiondetails datasourcetype=\"2\"/>");
  EXPECT_TRUE(catalog->IsOnline());
}

}  // namespace
}  // namespace clipcat
