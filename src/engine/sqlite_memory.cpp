#include "engine/sqlite_memory.h"

#include <sqlite3.h>

namespace clipcat {

void LimitSqliteCacheMemory(int64_t bytes) {
  // The soft limit: SQLite's page caches recycle their own least recently used pages once the
  // process's SQLite memory is over it, and nothing fails for it (the hard limit would).
  sqlite3_soft_heap_limit64(bytes);
}

}  // namespace clipcat
