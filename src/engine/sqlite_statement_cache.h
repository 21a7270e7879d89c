// Internal to the SQLite backend: the prepared statements of one connection kept for reuse,
// keyed by their text, the least recently used dropped first. Used by one thread at a time.
#pragma once

#include <sqlite3.h>

#include <cstddef>
#include <list>
#include <string>
#include <unordered_map>

namespace clipcat {

class SqliteStatementCache {
 public:
  // Keeps at most `capacity` idle statements (statements in use are never dropped).
  explicit SqliteStatementCache(size_t capacity);
  // Finalizes every statement. REQUIRES: none is in use.
  ~SqliteStatementCache();
  SqliteStatementCache(const SqliteStatementCache&) = delete;
  SqliteStatementCache& operator=(const SqliteStatementCache&) = delete;

  // The idle statement kept for `text`, now in use; nullptr when there is none (never kept, or
  // in use by an enclosing call).
  sqlite3_stmt* Take(const std::string& text);

  // Keeps `stmt`, prepared from `text`, as in use. Answers false, keeping nothing, when a
  // statement for `text` is already kept: the caller still owns `stmt` and finalizes it.
  bool Put(const std::string& text, sqlite3_stmt* stmt);

  // Ends the use of `stmt` (from Take or a successful Put): resets it and clears its bindings.
  void Release(sqlite3_stmt* stmt);

  // Finalizes every idle statement; those in use are finalized when released. For a changed
  // schema and before the connection closes.
  void Clear();

  // The number of statements kept, in use or not.
  size_t size() const { return entries_.size(); }

 private:
  struct Entry {
    std::string text;
    sqlite3_stmt* stmt;
    bool in_use;
    bool dropped;  // cleared while in use: finalize on release
  };
  void Trim();
  // Forgets and finalizes the idle statement at `it`; answers the entry after it.
  std::list<Entry>::iterator Finalize(std::list<Entry>::iterator it);

  size_t capacity_;
  std::list<Entry> entries_;  // most recently used first
  std::unordered_map<std::string, std::list<Entry>::iterator> by_text_;
  std::unordered_map<sqlite3_stmt*, std::list<Entry>::iterator> by_stmt_;
};

}  // namespace clipcat
