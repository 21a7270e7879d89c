// One stored content item read back from its ClippingDataType row. Internal to the store.
#pragma once

#include <cstdint>
#include <string>

#include "engine/recordset.h"
#include "util/compression.h"

namespace clipcat {

struct StoredItem {
  int32_t type = 0;
  bool compressed = false;
  std::string content;  // decompressed
};

// The item of the current row of `rs` (columns lDataTypeId, bIsCompressed, ClippingData):
// compressed content decompressed with `compression`, other content as stored. Raises what
// decompression raises for a damaged frame.
StoredItem ReadClippingDataRow(const Recordset& rs, Compression& compression);

}  // namespace clipcat
