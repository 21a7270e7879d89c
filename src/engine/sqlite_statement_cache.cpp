#include "engine/sqlite_statement_cache.h"

namespace clipcat {

SqliteStatementCache::SqliteStatementCache(size_t capacity) : capacity_(capacity) {}

SqliteStatementCache::~SqliteStatementCache() {
  for (Entry& entry : entries_) sqlite3_finalize(entry.stmt);
}

sqlite3_stmt* SqliteStatementCache::Take(const std::string& text) {
  const auto found = by_text_.find(text);
  if (found == by_text_.end() || found->second->in_use) return nullptr;
  const auto entry = found->second;
  entries_.splice(entries_.begin(), entries_, entry);
  entry->in_use = true;
  return entry->stmt;
}

bool SqliteStatementCache::Put(const std::string& text, sqlite3_stmt* stmt) {
  if (by_text_.count(text) != 0) return false;
  entries_.push_front(Entry{text, stmt, true, false});
  by_text_.emplace(text, entries_.begin());
  by_stmt_.emplace(stmt, entries_.begin());
  Trim();
  return true;
}

void SqliteStatementCache::Release(sqlite3_stmt* stmt) {
  const auto found = by_stmt_.find(stmt);
  if (found == by_stmt_.end()) return;
  const auto entry = found->second;
  sqlite3_reset(stmt);
  sqlite3_clear_bindings(stmt);
  entry->in_use = false;
  if (entry->dropped) {
    by_stmt_.erase(found);
    entries_.erase(entry);
    sqlite3_finalize(stmt);
    return;
  }
  Trim();
}

void SqliteStatementCache::Clear() {
  for (auto it = entries_.begin(); it != entries_.end();) {
    if (it->in_use) {
      // Its text no longer names it: a new statement for the text may be kept meanwhile.
      if (!it->dropped) by_text_.erase(it->text);
      it->dropped = true;
      ++it;
      continue;
    }
    it = Finalize(it);
  }
}

std::list<SqliteStatementCache::Entry>::iterator SqliteStatementCache::Finalize(
    std::list<Entry>::iterator it) {
  by_text_.erase(it->text);
  by_stmt_.erase(it->stmt);
  sqlite3_finalize(it->stmt);
  return entries_.erase(it);
}

void SqliteStatementCache::Trim() {
  if (entries_.size() <= capacity_) return;
  size_t idle_allowed = capacity_;
  for (auto it = entries_.begin(); it != entries_.end();) {
    if (it->in_use || it->dropped) {
      ++it;
      continue;
    }
    if (idle_allowed > 0) {
      --idle_allowed;
      ++it;
      continue;
    }
    it = Finalize(it);
  }
}

}  // namespace clipcat
