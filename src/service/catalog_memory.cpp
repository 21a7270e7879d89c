#include "service/catalog_memory.h"

#include "engine/sqlite_memory.h"

namespace clipcat {

void LimitCatalogCacheMemory(int64_t bytes) { LimitSqliteCacheMemory(bytes); }

}  // namespace clipcat
