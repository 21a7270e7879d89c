#include "automation/member_table.h"

#include "automation/automation_test_helpers.h"

namespace clipcat {
namespace {

using test::ErrorNumber;

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

Variant Call(Dispatch& object, std::string_view member, std::vector<Variant> args,
             InvokeKind kind = InvokeKind::kMethod) {
  return object.Invoke(member, kind, args);
}

TEST(MemberTable, CoercesArgumentsAndFillsOptionalDefaults) {
  Calculator calc;
  EXPECT_EQ(Call(calc, "add", {"2", 3.5}), Variant(int32_t{6}));  // 3.5 rounds to 4
  EXPECT_EQ(calc.last_args, (std::vector<Variant>{int32_t{2}, int32_t{4}, false}));
  EXPECT_EQ(Call(calc, "ADD", {"2", "3", "TRUE"}), Variant(int32_t{-5}));
  Call(calc, "Name", {int32_t{42}}, InvokeKind::kPropertyPut);
  EXPECT_EQ(Call(calc, "name", {}, InvokeKind::kPropertyGet), Variant("42"));
}

TEST(MemberTable, RefusesUnknownNamesWrongCountsAndBadValuesBeforeCalling) {
  Calculator calc;
  EXPECT_EQ(ErrorNumber([&] { Call(calc, "Subtract", {1}); }), err::kUnknownName);
  EXPECT_EQ(ErrorNumber([&] { Call(calc, "Add", {1}); }), err::kBadParamCount);
  EXPECT_EQ(ErrorNumber([&] { Call(calc, "Add", {1, 1, 1, 1}); }), err::kBadParamCount);
  for (const Variant& bad : {Variant("x"), Variant(3e9), Variant::Null()}) {
    const AutomationError e = test::ErrorOf([&] { Call(calc, "Add", {bad, 1}); });
    EXPECT_EQ(e.number(), err::kArgumentTypeMismatch);
    EXPECT_EQ(e.source(), "Test.Calculator");
    EXPECT_EQ(e.description(), "Type mismatch.");
  }
  EXPECT_TRUE(calc.last_args.empty());  // nothing was called
  // An object parameter takes its class or nothing; another class or text is refused.
  EXPECT_EQ(Call(calc, "Use", {std::shared_ptr<Dispatch>(std::make_shared<Calculator>())}),
            Variant(true));
  EXPECT_EQ(Call(calc, "Use", {Variant()}), Variant(false));
  for (const Variant& bad :
       {Variant(std::shared_ptr<Dispatch>(std::make_shared<Other>())), Variant("<Calculator/>")}) {
    EXPECT_EQ(ErrorNumber([&] { Call(calc, "Use", {bad}); }), err::kArgumentTypeMismatch);
  }
}

TEST(ProgIDRegistry, CreatesRegisteredClassesOnly) {
  RegisterProgID("Test.Calculator", [] { return std::make_shared<Calculator>(); });
  auto object = CreateObject("test.CALCULATOR");
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->TypeName(), "Calculator");
  EXPECT_NE(CreateObject("Test.Calculator"), object);  // a new object every time
  EXPECT_EQ(ErrorNumber([] { CreateObject("Test.Nothing"); }), err::kCannotCreateObject);
}

}  // namespace
}  // namespace clipcat
