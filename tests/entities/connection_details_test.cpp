#include "entities/connection_details.h"

#include "entities/entity_test_helpers.h"

namespace clipcat {
namespace {

using test::ReadBack;
using test::ReadError;

std::shared_ptr<ConnectionDetails> Filled() {
  auto details = ConnectionDetails::Create();
  details->SetClippingSourceName("Team \"A\" & <B>");
  details->SetClippingManagerServerName("server01");
  details->SetConnectionString(
      "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=C:\\Clips\\it's.mdb\r\n\t");
  details->SetDataSourceType(2);
  details->SetIsPersonalCatalog(true);
  return details;
}

// The flag as the text shows it; reading the property itself would reset it.
std::string Flag(const ConnectionDetails& details) {
  const std::string text = details.XML();
  const size_t at = text.find("ispersonalcatalog=\"") + 19;
  return text.substr(at, text.find('"', at) - at);
}

TEST(ConnectionDetails, WritesItsFiveAttributesInOrderAndCarriesHardText) {
  EXPECT_EQ(ConnectionDetails::Create()->XML(),
            "<connectiondetails clippingsourcename=\"\" servername=\"\" connectionstring=\"\" "
            "datasourcetype=\"0\" ispersonalcatalog=\"false\"/>");
  EXPECT_EQ(Filled()->XML(),
            "<connectiondetails clippingsourcename=\"Team &quot;A&quot; &amp; &lt;B>\" "
            "servername=\"server01\" connectionstring=\"Provider=Microsoft.Jet.OLEDB.4.0;Data "
            "Source=C:\\Clips\\it's.mdb&#13;&#10;&#09;\" datasourcetype=\"2\" "
            "ispersonalcatalog=\"true\"/>");
  test::ExpectTextPropertiesCarried<ConnectionDetails>(
      {{&ConnectionDetails::SetClippingSourceName, &ConnectionDetails::ClippingSourceName},
       {&ConnectionDetails::SetConnectionString, &ConnectionDetails::ConnectionString}});
}

TEST(ConnectionDetails, ReadingTakesAllButTheServerNameAndReadingTheFlagResetsIt) {
  auto read = ReadBack(*Filled());
  auto expected = Filled();
  expected->SetClippingManagerServerName("");
  EXPECT_EQ(read->XML(), expected->XML());
  read->SetClippingManagerServerName("mine");
  read->SetXML("<connectiondetails other=\"1\"/>");
  EXPECT_EQ(read->XML(),
            "<connectiondetails clippingsourcename=\"\" servername=\"mine\" connectionstring=\"\" "
            "datasourcetype=\"0\" ispersonalcatalog=\"false\"/>");
  const std::string before = read->XML();
  EXPECT_EQ(ReadError(*read, "<ConnectionDetails/>"), err::kObjectRequired);
  EXPECT_EQ(read->XML(), before);
  // Reading the flag answers false and resets it; writing the text does not.
  auto details = Filled();
  EXPECT_EQ(Flag(*details) + Flag(*details), "truetrue");
  EXPECT_FALSE(details->IsPersonalCatalog());
  EXPECT_EQ(Flag(*details), "false");
  for (const auto& [text, flag] : {std::pair{"Yes", "true"}, std::pair{"yes", "false"}}) {
    details->SetXML(std::string("<connectiondetails ispersonalcatalog=\"") + text + "\"/>");
    EXPECT_EQ(Flag(*details), flag) << text;
  }
}

}  // namespace
}  // namespace clipcat
