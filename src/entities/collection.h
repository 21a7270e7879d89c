// Collection<T> is the plain ordered list that every entity list is built on: positions from 1,
// no keys, duplicates allowed. It is a reference object (held by std::shared_ptr) so that a list
// handed out by one object and changed by a client is the same list. Not thread-safe.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "util/errors.h"

namespace clipcat {

template <typename T>
class Collection {
 public:
  Collection() = default;
  Collection(const Collection&) = delete;
  Collection& operator=(const Collection&) = delete;

  static std::shared_ptr<Collection> Create() { return std::make_shared<Collection>(); }

  // The number of items.
  int32_t Count() const { return static_cast<int32_t>(items_.size()); }

  // The item at 1-based position `index`. Raises 9 "Subscript out of range" for any position
  // outside 1 ... Count().
  const T& Item(int32_t index) const {
    CheckIndex(index);
    return items_[static_cast<size_t>(index - 1)];
  }

  // Appends `item` at the end. Duplicates (the same object twice) are kept.
  void Add(T item) { items_.push_back(std::move(item)); }

  // Removes the item at 1-based position `index`; later items move up one place. Raises 9
  // "Subscript out of range" for any position outside 1 ... Count().
  void Remove(int32_t index) {
    CheckIndex(index);
    items_.erase(items_.begin() + (index - 1));
  }

  // Removes every item.
  void Clear() { items_.clear(); }

  // A copy of the items as they are now. Enumerate this instead of the collection when the loop
  // may add to the collection it reads (appending a list to itself).
  std::vector<T> Snapshot() const { return items_; }

  // Range-for over the items. Adding or removing items while iterating invalidates the loop.
  typename std::vector<T>::const_iterator begin() const { return items_.begin(); }
  typename std::vector<T>::const_iterator end() const { return items_.end(); }

 private:
  void CheckIndex(int32_t index) const {
    if (index < 1 || index > Count()) RaiseRuntimeError(err::kSubscriptOutOfRange);
  }

  std::vector<T> items_;
};

}  // namespace clipcat
