#include "automation/member_table.h"

#include <gtest/gtest.h>

#include "automation/progid_registry.h"
#include "util/errors.h"

namespace clipcat {
namespace {

// A small late-bound class: Add(lA, lB, optional bNegate = false) and a Name property.
class Calculator : public Dispatch {
 public:
  std::string TypeName() const override { return "Calculator"; }
  Variant Invoke(std::string_view member, InvokeKind kind, std::vector<Variant>& args) override {
    return InvokeFromTable(Table(), *this, member, kind, args);
  }
  std::string name = "calc";
  std::vector<Variant> last_args;

 private:
  const MemberTable& Table() {
    if (!table_) {
      table_ = std::make_unique<MemberTable>("Calculator", "Test.Calculator");
      table_->Add(Method("Add",
                         {Param("lA", ParamType::kLong), Param("lB", ParamType::kLong),
                          Optional("bNegate", ParamType::kBoolean, Variant(false))},
                         ParamType::kLong, [this](Dispatch&, std::vector<Variant>& a) {
                           last_args = a;
                           const int32_t sum = a[0].ToLong() + a[1].ToLong();
                           return Variant(a[2].AsBoolean() ? -sum : sum);
                         }));
      table_->Add(PropertyGet("Name", ParamType::kString,
                              [this](Dispatch&, std::vector<Variant>&) { return Variant(name); }));
      table_->Add(PropertyPut("Name", Param("sNewValue", ParamType::kString),
                              [this](Dispatch&, std::vector<Variant>& a) {
                                name = a[0].AsString();
                                return Variant();
                              }));
      table_->Add(Method(
          "Use", {Param("oOther", ParamType::kObject, "Calculator")}, ParamType::kBoolean,
          [](Dispatch&, std::vector<Variant>& a) { return Variant(a[0].AsObject() != nullptr); }));
    }
    return *table_;
  }
  std::unique_ptr<MemberTable> table_;
};

class Other : public Dispatch {
 public:
  std::string TypeName() const override { return "Other"; }
  Variant Invoke(std::string_view, InvokeKind, std::vector<Variant>&) override { return {}; }
};

int32_t ErrorOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const AutomationError& e) {
    return e.number();
  }
  return 0;
}

TEST(MemberTable, CoercesArgumentsAndFillsOptionalDefaults) {
  auto calc = std::make_shared<Calculator>();
  std::vector<Variant> args = {Variant("2"), Variant(3.5)};
  EXPECT_EQ(calc->Invoke("add", InvokeKind::kMethod, args), Variant(int32_t{6}));  // 3.5 -> 4
  EXPECT_EQ(calc->last_args.size(), 3u);
  EXPECT_EQ(calc->last_args[0], Variant(int32_t{2}));
  EXPECT_EQ(calc->last_args[2], Variant(false));
  args = {Variant("2"), Variant("3"), Variant("TRUE")};
  EXPECT_EQ(calc->Invoke("ADD", InvokeKind::kMethod, args), Variant(int32_t{-5}));
}

TEST(MemberTable, RefusesUnknownNamesWrongCountsAndBadValues) {
  auto calc = std::make_shared<Calculator>();
  std::vector<Variant> one = {Variant(int32_t{1})};
  std::vector<Variant> four(4, Variant(int32_t{1}));
  std::vector<Variant> bad = {Variant("x"), Variant(int32_t{1})};
  std::vector<Variant> big = {Variant(3e9), Variant(int32_t{1})};
  std::vector<Variant> null = {Variant::Null(), Variant(int32_t{1})};
  EXPECT_EQ(ErrorOf([&] { calc->Invoke("Subtract", InvokeKind::kMethod, one); }),
            err::kUnknownName);
  EXPECT_EQ(ErrorOf([&] { calc->Invoke("Add", InvokeKind::kMethod, one); }), err::kBadParamCount);
  EXPECT_EQ(ErrorOf([&] { calc->Invoke("Add", InvokeKind::kMethod, four); }), err::kBadParamCount);
  for (auto* args : {&bad, &big, &null}) {
    try {
      calc->Invoke("Add", InvokeKind::kMethod, *args);
      ADD_FAILURE() << "coerced a value that does not fit";
    } catch (const AutomationError& e) {
      EXPECT_EQ(e.number(), err::kArgumentTypeMismatch);
      EXPECT_EQ(e.source(), "Test.Calculator");
      EXPECT_EQ(e.description(), "Type mismatch.");
    }
  }
  EXPECT_TRUE(calc->last_args.empty());  // nothing was called
}

TEST(MemberTable, PropertiesAndObjectParameters) {
  auto calc = std::make_shared<Calculator>();
  std::vector<Variant> none;
  std::vector<Variant> value = {Variant(int32_t{42})};
  calc->Invoke("Name", InvokeKind::kPropertyPut, value);
  EXPECT_EQ(calc->Invoke("name", InvokeKind::kPropertyGet, none), Variant("42"));
  std::vector<Variant> same = {Variant(std::shared_ptr<Dispatch>(std::make_shared<Calculator>()))};
  std::vector<Variant> nothing = {Variant()};
  std::vector<Variant> other = {Variant(std::shared_ptr<Dispatch>(std::make_shared<Other>()))};
  std::vector<Variant> text = {Variant("<Calculator/>")};
  EXPECT_EQ(calc->Invoke("Use", InvokeKind::kMethod, same), Variant(true));
  EXPECT_EQ(calc->Invoke("Use", InvokeKind::kMethod, nothing), Variant(false));
  EXPECT_EQ(ErrorOf([&] { calc->Invoke("Use", InvokeKind::kMethod, other); }),
            err::kArgumentTypeMismatch);
  EXPECT_EQ(ErrorOf([&] { calc->Invoke("Use", InvokeKind::kMethod, text); }),
            err::kArgumentTypeMismatch);
}

TEST(ProgIDRegistry, CreatesRegisteredClassesOnly) {
  RegisterProgID("Test.Calculator", [] { return std::make_shared<Calculator>(); });
  auto object = CreateObject("test.CALCULATOR");
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->TypeName(), "Calculator");
  EXPECT_NE(CreateObject("Test.Calculator"), object);  // a new object every time
  EXPECT_EQ(ErrorOf([] { CreateObject("Test.Nothing"); }), err::kCannotCreateObject);
}

}  // namespace
}  // namespace clipcat
