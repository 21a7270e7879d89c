#include "engine/postgres_statement_cache.h"

namespace clipcat {

std::optional<std::string> PostgresStatementCache::Find(const std::string& key) {
  const auto found = by_key_.find(key);
  if (found == by_key_.end()) return std::nullopt;
  entries_.splice(entries_.begin(), entries_, found->second);
  return found->second->name;
}

std::string PostgresStatementCache::NewName() {
  return "clipcat_s" + std::to_string(++next_number_);
}

void PostgresStatementCache::Keep(const std::string& key, const std::string& name) {
  if (by_key_.count(key) != 0) return;
  entries_.push_front(Entry{key, name});
  by_key_.emplace(key, entries_.begin());
  while (entries_.size() > capacity_) {
    evicted_.push_back(entries_.back().name);
    by_key_.erase(entries_.back().key);
    entries_.pop_back();
  }
}

std::vector<std::string> PostgresStatementCache::TakeEvicted() {
  std::vector<std::string> out;
  out.swap(evicted_);
  return out;
}

void PostgresStatementCache::Clear() {
  entries_.clear();
  by_key_.clear();
  evicted_.clear();
}

}  // namespace clipcat
