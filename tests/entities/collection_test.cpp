#include "entities/collection.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "entities/raises.h"

namespace clipcat {
namespace {

using test::RaisedNumber;

std::vector<std::string> Contents(const Collection<std::string>& list) {
  std::vector<std::string> items;
  for (const std::string& item : list) items.push_back(item);
  return items;
}

TEST(Collection, ItemsArePositionedFromOneInInsertionOrder) {
  Collection<std::string> list;
  EXPECT_EQ(list.Count(), 0);
  for (int i = 1; i <= 17; ++i) {
    list.Add("item" + std::to_string(i));
    ASSERT_EQ(list.Count(), i);
  }
  for (int i = 1; i <= 17; ++i) EXPECT_EQ(list.Item(i), "item" + std::to_string(i));
}

TEST(Collection, PositionsOutsideTheListRaiseSubscriptOutOfRange) {
  for (int size = 0; size <= 3; ++size) {
    Collection<int> list;
    for (int i = 0; i < size; ++i) list.Add(i);
    for (int32_t index : {std::numeric_limits<int32_t>::min(), -1, 0, size + 1, size + 2,
                          std::numeric_limits<int32_t>::max()}) {
      EXPECT_EQ(RaisedNumber([&] { list.Item(index); }), err::kSubscriptOutOfRange)
          << "size " << size << " index " << index;
      EXPECT_EQ(RaisedNumber([&] { list.Remove(index); }), err::kSubscriptOutOfRange)
          << "size " << size << " index " << index;
      EXPECT_EQ(list.Count(), size);
    }
  }
}

TEST(Collection, RemoveClosesTheGapAtEveryPosition) {
  for (int removed = 1; removed <= 4; ++removed) {
    Collection<std::string> list;
    for (const char* item : {"a", "b", "c", "d"}) list.Add(item);
    list.Remove(removed);
    std::vector<std::string> expected = {"a", "b", "c", "d"};
    expected.erase(expected.begin() + (removed - 1));
    EXPECT_EQ(Contents(list), expected) << "removed " << removed;
  }
}

TEST(Collection, KeepsDuplicatesAndTheSameObjects) {
  Collection<std::shared_ptr<int>> list;
  auto shared = std::make_shared<int>(7);
  list.Add(shared);
  list.Add(shared);
  list.Add(nullptr);
  ASSERT_EQ(list.Count(), 3);
  EXPECT_EQ(list.Item(1), shared);
  EXPECT_EQ(list.Item(2), shared);
  EXPECT_EQ(list.Item(3), nullptr);
}

TEST(Collection, SnapshotIsIndependentOfLaterChanges) {
  Collection<std::string> list;
  list.Add("a");
  list.Add("b");
  // Appending a list to itself through a snapshot doubles it once instead of looping.
  for (const std::string& item : list.Snapshot()) list.Add(item);
  EXPECT_EQ(Contents(list), (std::vector<std::string>{"a", "b", "a", "b"}));
  const std::vector<std::string> before = list.Snapshot();
  list.Clear();
  EXPECT_EQ(list.Count(), 0);
  EXPECT_EQ(before.size(), 4u);
}

}  // namespace
}  // namespace clipcat
