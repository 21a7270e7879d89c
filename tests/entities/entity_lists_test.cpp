// Folders, Clippings and Categories share one contract; each is checked against it here.
#include <cctype>

#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/entity_test_helpers.h"
#include "entities/folder.h"

namespace clipcat {
namespace {

using test::ReadBack;
using test::ReadError;

// A list class, its member class, its root element and its members' root element.
template <typename L, typename M, const char* kRoot, const char* kMemberRoot>
struct ListOf {
  using List = L;
  using Member = M;
  static std::shared_ptr<M> Add(L& list, const std::string& name) {
    auto member = M::Create();
    member->SetName(name);
    list.Items()->Add(member);
    return member;
  }
  static std::string Open() { return "<" + std::string(kRoot) + ">"; }
  static std::string Close() { return "</" + std::string(kRoot) + ">"; }
  // The list's and the member's elements with the case of their first letter turned: what
  // readers must refuse.
  static std::string OtherRoot() { return Turned(kRoot); }
  static std::string OtherMember() { return Turned(kMemberRoot); }
  static std::string Turned(std::string name) {
    name[0] =
        static_cast<char>(std::isupper(name[0]) ? std::tolower(name[0]) : std::toupper(name[0]));
    return "<" + name + "/>";
  }
};
constexpr char kFolders[] = "Folders", kFolder[] = "Folder", kClippings[] = "clippings",
               kClipping[] = "clipping", kCategories[] = "Categories", kCategory[] = "category";
using ListTypes = ::testing::Types<ListOf<Folders, Folder, kFolders, kFolder>,
                                   ListOf<Clippings, Clipping, kClippings, kClipping>,
                                   ListOf<Categories, Category, kCategories, kCategory>>;

template <typename Of>
class EntityList : public ::testing::Test {};
TYPED_TEST_SUITE(EntityList, ListTypes);

TYPED_TEST(EntityList, TextIsTheMembersTextsInOrderReadBackAsNewObjectsOrRefused) {
  ScopedDateLocale locale(test::EnglishDates());
  auto list = TypeParam::List::Create();
  EXPECT_EQ(list->XML(), TypeParam::Open() + TypeParam::Close());
  auto a = TypeParam::Add(*list, "a");
  auto b = TypeParam::Add(*list, "b");
  list->Items()->Add(a);
  const std::string text = list->XML();
  EXPECT_EQ(text, TypeParam::Open() + a->XML() + b->XML() + a->XML() + TypeParam::Close());
  auto read = ReadBack(*list);
  ASSERT_EQ(read->Items()->Count(), 3);
  EXPECT_NE(read->Items()->Item(1), read->Items()->Item(3)) << "read members are new objects";
  EXPECT_EQ(read->XML(), text);
  // Positions run from 1; removing one closes the gap; positions outside the list raise 9.
  list->Items()->Remove(1);
  EXPECT_EQ(list->Items()->Item(1), b);
  for (int32_t outside : {std::numeric_limits<int32_t>::min(), 0, 3}) {
    EXPECT_EQ(test::RaisedNumber([&] { list->Items()->Item(outside); }), err::kSubscriptOutOfRange);
    EXPECT_EQ(test::RaisedNumber([&] { list->Items()->Remove(outside); }),
              err::kSubscriptOutOfRange);
  }
  list->SetXML(TypeParam::Open() + "\n" + TypeParam::Close());
  EXPECT_EQ(list->Items()->Count(), 0);
  list->Items()->Add(nullptr);
  EXPECT_EQ(test::WriteError(*list), err::kObjectVariableNotSet);
  // Refused text empties the list, and keeps members read before a bad one.
  const std::string member = TypeParam::Member::Create()->XML();
  for (const std::string& text : {TypeParam::OtherRoot(), member, TypeParam::Open()}) {
    TypeParam::Add(*list, "old");
    auto old_items = list->Items();
    EXPECT_EQ(ReadError(*list, text), err::kObjectRequired) << text;
    EXPECT_EQ(list->Items()->Count(), 0) << text;
    EXPECT_NE(old_items->Count(), 0) << "the dropped collection is not touched";
  }
  for (const std::string& bad : {std::string("<!-- note -->"), TypeParam::OtherMember()}) {
    const std::string text =
        TypeParam::Open() + "\n  " + member + "\n  " + bad + member + TypeParam::Close();
    EXPECT_EQ(ReadError(*list, text), err::kObjectRequired) << text;
    EXPECT_EQ(list->Items()->Count(), 1) << text;
  }
}

}  // namespace
}  // namespace clipcat
