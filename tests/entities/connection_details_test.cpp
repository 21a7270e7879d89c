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

// The properties reading sets, the flag as the text shows it.
std::string ReadProperties(const ConnectionDetails& d) {
  return d.ClippingSourceName() + "|" + d.ConnectionString() + "|" +
         std::to_string(d.DataSourceType()) + "|" + Flag(d);
}

TEST(ConnectionDetails, ReadingTakesEverythingButTheServerNameAndABadTypeStopsIt) {
  auto read = ReadBack(*Filled());
  EXPECT_EQ(ReadProperties(*read), ReadProperties(*Filled()));
  EXPECT_EQ(read->ClippingManagerServerName(), "");
  read->SetClippingManagerServerName("mine");
  read->SetXML("<connectiondetails other=\"1\"/>");
  EXPECT_EQ(ReadProperties(*read) + "|" + read->ClippingManagerServerName(), "||0|false|mine");
  const std::string before = read->XML();
  for (const char* text : {"<ConnectionDetails/>", "<connectiondetails clippingsourcename=\"x\""}) {
    EXPECT_EQ(ReadError(*read, text), err::kObjectRequired) << text;
    EXPECT_EQ(read->XML(), before);
  }
  // The flag comes after the failing type and is not read.
  read->SetDataSourceType(2);
  read->SetIsPersonalCatalog(true);
  EXPECT_EQ(
      ReadError(*read,
                "<connectiondetails clippingsourcename=\"s\" servername=\"v\" "
                "connectionstring=\"c\" datasourcetype=\"sql\" ispersonalcatalog=\"false\"/>"),
      err::kTypeMismatch);
  EXPECT_EQ(ReadProperties(*read) + "|" + read->ClippingManagerServerName(), "s|c|2|true|mine");
}

TEST(ConnectionDetails, ReadingIsPersonalCatalogAnswersFalseAndResetsTheFlag) {
  auto details = Filled();
  EXPECT_EQ(Flag(*details), "true");
  EXPECT_EQ(Flag(*details), "true") << "writing the text does not reset it";
  EXPECT_FALSE(details->IsPersonalCatalog());
  EXPECT_EQ(Flag(*details), "false");
  details->SetXML("<connectiondetails ispersonalcatalog=\"Yes\"/>");
  EXPECT_EQ(Flag(*details), "true");
  details->SetXML("<connectiondetails ispersonalcatalog=\"yes\"/>");
  EXPECT_EQ(Flag(*details), "false");
}

}  // namespace
}  // namespace clipcat
