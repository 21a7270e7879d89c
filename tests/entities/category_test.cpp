#include "entities/category.h"

#include "entities/entity_test_helpers.h"

namespace clipcat {
namespace {

using test::ReadError;

const char kFilledCategory[] =
    "<category Name=\"Tax &amp; &lt;Law> &quot;EU&quot; '\xE2\x82\xAC'\" "
    "Description=\"a&#13;&#10;b&#09;c\" ClippingID=\"P3C12\" Updated=\"23:59:59 29 Feb 2000\"/>";

TEST(Category, WritesItsAttributesInOrderReadsThemBackAndRefusesOtherText) {
  ScopedDateLocale locale(test::EnglishDates());
  auto category = Category::Create();
  EXPECT_EQ(category->XML(), "<category Name=\"\" Description=\"\" ClippingID=\"\" Updated=\"" +
                                 FormatCatalogDate(category->Updated()) + "\"/>");
  category->SetXML(kFilledCategory);
  EXPECT_EQ(category->Name() + "|" + category->Description() + "|" + category->ID(),
            "Tax & <Law> \"EU\" '\xE2\x82\xAC'|a\r\nb\tc|P3C12");
  EXPECT_EQ(category->Updated(), *Date::FromParts({2000, 2, 29, 23, 59, 59}));
  EXPECT_EQ(category->XML(), kFilledCategory);
  test::ExpectTextPropertiesCarried<Category>({{&Category::SetName, &Category::Name},
                                               {&Category::SetDescription, &Category::Description},
                                               {&Category::SetID, &Category::ID}});
  // Reading resets what the text lacks (the date, named here in another case, to now); refused
  // text changes nothing.
  const Date read_at = Date::Now();
  category->SetXML("<category Name=\"n\" updated=\"14:05:09 3 Mar 2002\" x=\"y\"/>");
  EXPECT_EQ(category->Name() + "|" + category->Description() + "|" + category->ID(), "n||");
  EXPECT_TRUE(test::StampedSince(read_at, category->Updated()));
  for (const char* text : {"<Category Name=\"x\"/>", "<category Name=\"x\""}) {
    EXPECT_EQ(ReadError(*category, text), err::kObjectRequired) << text;
    EXPECT_EQ(category->Name(), "n");
  }
}

}  // namespace
}  // namespace clipcat
