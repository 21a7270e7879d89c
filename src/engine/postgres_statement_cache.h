// Internal to the PostgreSQL backend: the names of the statements prepared on one connection,
// keyed by their text and parameter types, the least recently used given up first. The server
// holds the statements; this only remembers them and says which to deallocate. Used by one
// thread at a time.
#pragma once

#include <cstddef>
#include <list>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace clipcat {

class PostgresStatementCache {
 public:
  // Remembers at most `capacity` statements.
  explicit PostgresStatementCache(size_t capacity) : capacity_(capacity) {}

  // The name of the statement prepared for `key`, now the most recently used; nothing when none
  // is.
  std::optional<std::string> Find(const std::string& key);

  // A name no statement of the connection has had.
  std::string NewName();

  // Remembers that `name` was prepared for `key`. A statement given up to make room is named by
  // TakeEvicted.
  void Keep(const std::string& key, const std::string& name);

  // The names of the statements given up since the last call, for the caller to deallocate.
  std::vector<std::string> TakeEvicted();

  // Forgets every statement, for a changed schema (the server deallocates them).
  void Clear();

  size_t size() const { return entries_.size(); }

 private:
  struct Entry {
    std::string key;
    std::string name;
  };

  size_t capacity_;
  size_t next_number_ = 0;
  std::list<Entry> entries_;  // most recently used first
  std::unordered_map<std::string, std::list<Entry>::iterator> by_key_;
  std::vector<std::string> evicted_;
};

}  // namespace clipcat
