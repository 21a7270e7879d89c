#include "entities/connection_details.h"

#include <gtest/gtest.h>

#include <string>

#include "entities/raises.h"

namespace clipcat {
namespace {

using test::RaisedNumber;

std::shared_ptr<ConnectionDetails> Filled() {
  auto details = ConnectionDetails::Create();
  details->SetClippingSourceName("Team \"A\" & <B>");
  details->SetClippingManagerServerName("server01");
  details->SetConnectionString(
      "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=C:\\Clips\\it's.mdb\r\n\t");
  details->SetDataSourceType(2);
  return details;
}

TEST(ConnectionDetails, NewObjectWritesEmptyTextsZeroAndFalse) {
  auto details = ConnectionDetails::Create();
  EXPECT_EQ(details->DataSourceType(), 0);
  EXPECT_EQ(details->XML(),
            "<connectiondetails clippingsourcename=\"\" servername=\"\" connectionstring=\"\" "
            "datasourcetype=\"0\" ispersonalcatalog=\"false\"/>");
}

TEST(ConnectionDetails, FilledObjectWritesItsAttributesInOrder) {
  auto details = Filled();
  details->SetIsPersonalCatalog(true);
  EXPECT_EQ(details->XML(),
            "<connectiondetails clippingsourcename=\"Team &quot;A&quot; &amp; &lt;B>\" "
            "servername=\"server01\" connectionstring=\"Provider=Microsoft.Jet.OLEDB.4.0;Data "
            "Source=C:\\Clips\\it's.mdb&#13;&#10;&#09;\" datasourcetype=\"2\" "
            "ispersonalcatalog=\"true\"/>");
}

TEST(ConnectionDetails, ReadingBackKeepsEverythingButTheServerName) {
  auto details = Filled();
  details->SetIsPersonalCatalog(true);
  auto read = ConnectionDetails::Create();
  read->SetXML(details->XML());
  EXPECT_EQ(read->ClippingSourceName(), details->ClippingSourceName());
  EXPECT_EQ(read->ConnectionString(), details->ConnectionString());
  EXPECT_EQ(read->DataSourceType(), 2);
  EXPECT_EQ(read->ClippingManagerServerName(), "");
  EXPECT_NE(read->XML().find("ispersonalcatalog=\"true\""), std::string::npos);

  auto named = ConnectionDetails::Create();
  named->SetClippingManagerServerName("mine");
  named->SetXML(details->XML());
  EXPECT_EQ(named->ClippingManagerServerName(), "mine");
}

TEST(ConnectionDetails, ReadingIsPersonalCatalogAnswersFalseAndResetsTheFlag) {
  auto details = ConnectionDetails::Create();
  details->SetIsPersonalCatalog(true);
  EXPECT_NE(details->XML().find("ispersonalcatalog=\"true\""), std::string::npos);
  EXPECT_NE(details->XML().find("ispersonalcatalog=\"true\""), std::string::npos)
      << "writing the text does not reset it";
  EXPECT_FALSE(details->IsPersonalCatalog());
  EXPECT_NE(details->XML().find("ispersonalcatalog=\"false\""), std::string::npos);

  details->SetXML("<connectiondetails ispersonalcatalog=\"true\"/>");
  EXPECT_NE(details->XML().find("ispersonalcatalog=\"true\""), std::string::npos);
  EXPECT_FALSE(details->IsPersonalCatalog());
  EXPECT_NE(details->XML().find("ispersonalcatalog=\"false\""), std::string::npos);
}

TEST(ConnectionDetails, PersonalCatalogFlagAcceptsTheUsualBooleanTexts) {
  struct Case {
    const char* text;
    bool expected;
  };
  for (const Case& c : {Case{"true", true}, Case{"True", true}, Case{"Yes", true}, Case{"-1", true},
                        Case{"1", true}, Case{"false", false}, Case{"No", false}, Case{"0", false},
                        Case{"yes", false}, Case{"Ja", false}, Case{"", false}}) {
    auto details = ConnectionDetails::Create();
    details->SetXML(std::string("<connectiondetails ispersonalcatalog=\"") + c.text + "\"/>");
    const std::string expected = c.expected ? "\"true\"" : "\"false\"";
    EXPECT_NE(details->XML().find("ispersonalcatalog=" + expected), std::string::npos) << c.text;
  }
}

TEST(ConnectionDetails, RefusedTextChangesNothing) {
  for (const std::string& text : {std::string(""), std::string("<ConnectionDetails/>"),
                                  std::string("<connectiondetails clippingsourcename=\"x\"")}) {
    auto details = Filled();
    const std::string before = details->XML();
    EXPECT_EQ(RaisedNumber([&] { details->SetXML(text); }), err::kObjectRequired) << text;
    EXPECT_EQ(details->XML(), before);
  }
}

TEST(ConnectionDetails, NonNumericTypeRaisesAfterTheTextsAreReplaced) {
  auto details = Filled();
  details->SetIsPersonalCatalog(true);
  EXPECT_EQ(RaisedNumber([&] {
              details->SetXML(
                  "<connectiondetails clippingsourcename=\"s\" servername=\"v\" "
                  "connectionstring=\"c\" datasourcetype=\"sql\" ispersonalcatalog=\"false\"/>");
            }),
            err::kTypeMismatch);
  EXPECT_EQ(details->ClippingSourceName(), "s");
  EXPECT_EQ(details->ConnectionString(), "c");
  EXPECT_EQ(details->ClippingManagerServerName(), "server01");
  EXPECT_EQ(details->DataSourceType(), 2);
  EXPECT_NE(details->XML().find("ispersonalcatalog=\"true\""), std::string::npos)
      << "the flag comes after the failing type and is not read";
}

TEST(ConnectionDetails, MissingAttributesTakeFallbacks) {
  auto details = Filled();
  details->SetIsPersonalCatalog(true);
  details->SetXML("<connectiondetails other=\"1\"/>");
  EXPECT_EQ(details->ClippingSourceName(), "");
  EXPECT_EQ(details->ConnectionString(), "");
  EXPECT_EQ(details->DataSourceType(), 0);
  EXPECT_NE(details->XML().find("ispersonalcatalog=\"false\""), std::string::npos);
}

TEST(ConnectionDetails, TextXmlCannotCarryRaisesInvalidProcedureCall) {
  auto details = ConnectionDetails::Create();
  details->SetConnectionString(std::string("Data Source=a\x00b", 15));
  EXPECT_EQ(RaisedNumber([&] { details->XML(); }), err::kInvalidProcedureCall);
}

}  // namespace
}  // namespace clipcat
