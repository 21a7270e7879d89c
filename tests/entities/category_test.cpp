#include "entities/category.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "entities/raises.h"
#include "util/date_locale.h"
#include "util/values.h"

namespace clipcat {
namespace {

using test::RaisedNumber;

const char kFilledCategory[] =
    "<category Name=\"Tax &amp; &lt;Law> &quot;EU&quot; '\xE2\x82\xAC'\" "
    "Description=\"a&#13;&#10;b&#09;c\" ClippingID=\"P3C12\" Updated=\"23:59:59 29 Feb 2000\"/>";

std::shared_ptr<Category> NamedCategory(const std::string& name) {
  auto category = Category::Create();
  category->SetName(name);
  return category;
}

TEST(Category, NewCategoryWritesEmptyTextsAndTheCreationTimeInOrder) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  const Date before = Date::Now();
  auto category = Category::Create();
  const Date after = Date::Now();
  EXPECT_LE(before.serial(), category->Updated().serial());
  EXPECT_LE(category->Updated().serial(), after.serial());
  EXPECT_EQ(category->XML(), "<category Name=\"\" Description=\"\" ClippingID=\"\" Updated=\"" +
                                 FormatCatalogDate(category->Updated()) + "\"/>");
}

TEST(Category, FilledCategoryReadsEveryPropertyAndWritesTheSameText) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  auto category = Category::Create();
  category->SetXML(kFilledCategory);
  EXPECT_EQ(category->Name(), "Tax & <Law> \"EU\" '\xE2\x82\xAC'");
  EXPECT_EQ(category->Description(), "a\r\nb\tc");
  EXPECT_EQ(category->ID(), "P3C12");
  EXPECT_EQ(category->Updated(), *Date::FromParts({2000, 2, 29, 23, 59, 59}));
  EXPECT_EQ(category->XML(), kFilledCategory);

  auto set = Category::Create();
  set->SetName(category->Name());
  set->SetDescription(category->Description());
  set->SetID(category->ID());
  set->SetUpdated(category->Updated());
  EXPECT_EQ(set->XML(), kFilledCategory) << "every property is writable by clients";
}

TEST(Category, TextPropertiesRoundTripAnythingXmlCanCarry) {
  for (const std::string& value :
       {std::string("&amp;"), std::string("&lt;"), std::string("< & > \" '"), std::string("\r"),
        std::string("\r\n\t "), std::string("\xF0\x9F\x98\x80")}) {
    auto category = Category::Create();
    category->SetName(value);
    category->SetDescription(value);
    category->SetID(value);
    auto read = Category::Create();
    read->SetXML(category->XML());
    EXPECT_EQ(read->Name(), value);
    EXPECT_EQ(read->Description(), value);
    EXPECT_EQ(read->ID(), value);
  }
  auto bad = NamedCategory("bell\x07");
  EXPECT_EQ(RaisedNumber([&] { bad->XML(); }), err::kInvalidProcedureCall);
}

TEST(Category, MissingUpdatedIsTheMomentOfReading) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  auto category = Category::Create();
  category->SetXML(kFilledCategory);
  for (const char* text : {"<category Name=\"n\"/>", "<category Name=\"n\" Updated=\"never\"/>",
                           "<category Name=\"n\" updated=\"14:05:09 3 Mar 2002\" x=\"y\"/>"}) {
    const Date before = Date::Now();
    category->SetXML(text);
    const Date after = Date::Now();
    EXPECT_EQ(category->Name(), "n");
    EXPECT_EQ(category->ID(), "");
    EXPECT_EQ(category->Description(), "");
    EXPECT_LE(before.serial(), category->Updated().serial()) << text;
    EXPECT_LE(category->Updated().serial(), after.serial()) << text;
  }
}

TEST(Category, RefusedTextRaisesObjectRequiredAndChangesNothing) {
  for (const std::string& text :
       {std::string(""), std::string("<Category Name=\"x\"/>"), std::string("<Categories/>"),
        std::string("<category Name=\"x\"")}) {
    auto category = NamedCategory("before");
    EXPECT_EQ(RaisedNumber([&] { category->SetXML(text); }), err::kObjectRequired) << text;
    EXPECT_EQ(category->Name(), "before");
  }
}

TEST(Categories, EmptyListWritesTwoTagsAndReadsBackEmpty) {
  auto categories = Categories::Create();
  EXPECT_EQ(categories->XML(), "<Categories></Categories>");
  categories->AddCategory(NamedCategory("x"));
  categories->SetXML("<Categories></Categories>");
  EXPECT_EQ(categories->Items()->Count(), 0);
}

TEST(Categories, FilledListHoldsLowerCaseMembersInOrder) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  auto a = Category::Create();
  a->SetXML(kFilledCategory);
  auto b = NamedCategory("b");
  auto categories = Categories::Create();
  categories->AddCategory(a);
  categories->AddCategory(b);
  const std::string text = categories->XML();
  EXPECT_EQ(text, "<Categories>" + a->XML() + b->XML() + "</Categories>");
  EXPECT_NE(text.find("<category Name=\"b\""), std::string::npos);
  EXPECT_EQ(text.find("<Category"), std::string::npos);
  auto read = Categories::Create();
  read->SetXML(text);
  ASSERT_EQ(read->Items()->Count(), 2);
  EXPECT_EQ(read->Items()->Item(1)->XML(), kFilledCategory);
  EXPECT_EQ(read->Items()->Item(2)->Name(), "b");
}

TEST(Categories, RefusedTextEmptiesTheListAndKeepsMembersReadBeforeABadOne) {
  for (const std::string& text : {std::string("<categories></categories>"),
                                  std::string("<Categories><Category/></Categories>")}) {
    auto categories = Categories::Create();
    categories->AddCategory(NamedCategory("old"));
    EXPECT_EQ(RaisedNumber([&] { categories->SetXML(text); }), err::kObjectRequired) << text;
    EXPECT_EQ(categories->Items()->Count(), 0) << text;
  }
  auto categories = Categories::Create();
  EXPECT_EQ(RaisedNumber([&] {
              categories->SetXML(
                  "<Categories>\n  <category Name=\"a\"/>\n  <Category Name=\"b\"/>\n"
                  "</Categories>");
            }),
            err::kObjectRequired);
  ASSERT_EQ(categories->Items()->Count(), 1);
  EXPECT_EQ(categories->Items()->Item(1)->Name(), "a");
}

TEST(Categories, AddCategoriesAppendsTheSameObjectsAndClearStartsANewCollection) {
  auto a = NamedCategory("a");
  auto categories = Categories::Create();
  categories->AddCategory(a);
  auto other = Categories::Create();
  other->AddCategories(categories);
  other->AddCategories(other);
  ASSERT_EQ(other->Items()->Count(), 2);
  EXPECT_EQ(other->Items()->Item(1), a);
  EXPECT_EQ(other->Items()->Item(2), a);
  EXPECT_EQ(RaisedNumber([&] { other->AddCategories(nullptr); }), err::kObjectVariableNotSet);
  auto held = other->Items();
  other->ClearCategories();
  EXPECT_NE(other->Items(), held);
  EXPECT_EQ(other->Items()->Count(), 0);
  EXPECT_EQ(held->Count(), 2);
  other->AddCategory(nullptr);
  EXPECT_EQ(RaisedNumber([&] { other->XML(); }), err::kObjectVariableNotSet);
}

}  // namespace
}  // namespace clipcat
