// How much memory a process that keeps many catalogs open lets their cached pages take in all.
#pragma once

#include <cstdint>

namespace clipcat {

// Caps the pages the process's file catalogs cache, over all of its threads' connections
// together, at about `bytes` (0: each connection's own cache size only). Server catalogs are not
// affected: their pages are cached by the server.
void LimitCatalogCacheMemory(int64_t bytes);

}  // namespace clipcat
