// The memory the process's SQLite connections keep between statements, taken as a whole. Each
// connection caches the pages it has read up to its own cache size; a process that keeps many
// connections open on one file (a server's workers, one each) would hold that many copies of the
// same pages. Process-wide; safe to call from any thread.
#pragma once

#include <cstdint>

namespace clipcat {

// Past `bytes` of memory held by SQLite in the whole process, connections reuse the pages they
// already cache instead of growing their caches, so the total stays about there however many
// connections are open. Statements still run when it is reached: pages are read from the file
// again. 0 lifts the limit.
void LimitSqliteCacheMemory(int64_t bytes);

}  // namespace clipcat
