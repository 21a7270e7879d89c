// The rows a query returned, held in memory and detached from the connection that read them.
// A RowSet is plain data; once built it is only read, so several readers may share one.
#pragma once

#include <string>
#include <vector>

#include "util/variant.h"

namespace clipcat {

// One stored value. A long binary value keeps its bytes as stored; every other value is the
// Variant that readers see (Null for a binary value, whose bytes are in `bytes`).
struct StoredValue {
  Variant value;
  std::string bytes;
  bool is_binary = false;
};

struct RowSet {
  std::vector<std::string> columns;            // result column names as the engine reports them
  std::vector<std::vector<StoredValue>> rows;  // each as long as `columns`
};

}  // namespace clipcat
