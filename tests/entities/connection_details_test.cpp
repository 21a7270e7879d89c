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

TEST(ConnectionDetails, ReadingTakesEverythingButTheServerName) {
  auto details = Filled();
  auto read = ReadBack(*details);
  EXPECT_EQ(test::Join({read->ClippingSourceName(), read->ConnectionString(),
                        std::to_string(read->DataSourceType()), Flag(*read)}),
            test::Join({details->ClippingSourceName(), details->ConnectionString(), "2", "true"}));
  EXPECT_EQ(read->ClippingManagerServerName(), "");
  read->SetClippingManagerServerName("mine");
  read->SetXML("<connectiondetails other=\"1\"/>");
  EXPECT_EQ(read->ClippingManagerServerName(), "mine") << "reading leaves the server alone";
  EXPECT_EQ(test::Join({read->ClippingSourceName(), read->ConnectionString(),
                        std::to_string(read->DataSourceType()), Flag(*read)}),
            "||0|false");
}

TEST(ConnectionDetails, ReadingIsPersonalCatalogAnswersFalseAndResetsTheFlag) {
  auto details = Filled();
  EXPECT_EQ(Flag(*details), "true");
  EXPECT_EQ(Flag(*details), "true") << "writing the text does not reset it";
  EXPECT_FALSE(details->IsPersonalCatalog());
  EXPECT_EQ(Flag(*details), "false");
  details->SetXML("<connectiondetails ispersonalcatalog=\"Yes\"/>");
  EXPECT_EQ(Flag(*details), "true");
  EXPECT_FALSE(details->IsPersonalCatalog());
  details->SetIsPersonalCatalog(true);
  details->SetXML("<connectiondetails ispersonalcatalog=\"yes\"/>");
  EXPECT_EQ(Flag(*details), "false");
}

TEST(ConnectionDetails, RefusedTextChangesNothingAndABadTypeStopsReading) {
  auto details = Filled();
  const std::string before = details->XML();
  for (const char* text : {"<ConnectionDetails/>", "<connectiondetails clippingsourcename=\"x\""}) {
    EXPECT_EQ(ReadError(*details, text), err::kObjectRequired) << text;
    EXPECT_EQ(details->XML(), before);
  }
  EXPECT_EQ(
      ReadError(*details,
                "<connectiondetails clippingsourcename=\"s\" servername=\"v\" "
                "connectionstring=\"c\" datasourcetype=\"sql\" ispersonalcatalog=\"false\"/>"),
      err::kTypeMismatch);
  EXPECT_EQ(
      test::Join({details->ClippingSourceName(), details->ConnectionString(),
                  details->ClippingManagerServerName(), std::to_string(details->DataSourceType())}),
      "s|c|server01|2");
  EXPECT_EQ(Flag(*details), "true") << "the flag comes after the failing type and is not read";
}

}  // namespace
}  // namespace clipcat
