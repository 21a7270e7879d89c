#include "entities/collection.h"

#include "entities/entity_test_helpers.h"

namespace clipcat {
namespace {

using test::RaisedNumber;
using test::Texts;

TEST(Collection, PositionsRunFromOneAndPositionsOutsideTheListRaise) {
  for (int removed = 1; removed <= 4; ++removed) {
    Collection<std::string> list;
    for (const char* item : {"a", "b", "c", "d"}) list.Add(item);
    EXPECT_EQ(list.Item(removed), std::string(1, static_cast<char>('a' + removed - 1)));
    list.Remove(removed);
    Texts expected = {"a", "b", "c", "d"};
    expected.erase(expected.begin() + (removed - 1));
    EXPECT_EQ(Texts(list.begin(), list.end()), expected) << "removed " << removed;
    for (int32_t index : {std::numeric_limits<int32_t>::min(), 0, 4}) {
      EXPECT_EQ(RaisedNumber([&] { list.Item(index); }), err::kSubscriptOutOfRange) << index;
      EXPECT_EQ(RaisedNumber([&] { list.Remove(index); }), err::kSubscriptOutOfRange) << index;
    }
    EXPECT_EQ(list.Count(), 3);
  }
}

}  // namespace
}  // namespace clipcat
