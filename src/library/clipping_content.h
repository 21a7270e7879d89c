// What a clipping gives to be read or pasted: its best item as bytes, and the names people use
// for data types. Stateless; thread-safe.
#pragma once

#include <cstdint>
#include <string>

#include "entities/clipping.h"

namespace clipcat {

// The content `cat` and `copy` give, and where it came from.
struct ClippingContent {
  std::string bytes;
  int32_t type = 0;        // the data type of the item it came from
  bool converted = false;  // rich text or XML given as its text
};

// The best content of `clipping`: without `type` (0) the plain text item byte for byte, else
// the first item that holds text (rich text, the XML kinds) as its text; with `type` that item's
// bytes exactly as stored. Refuses (5, "clipcat") a clipping without such an item, naming the
// types it has.
ClippingContent BestContent(const Clipping& clipping, int32_t type = 0);

// "rtf", "text", "excel-xml", "word-xml", "catalog-xml", or "type-N" for other numbers.
std::string DataTypeName(int32_t type);

// The data type a name or number stands for (DataTypeName's names, any case, or 1 and up);
// refuses anything else, listing the names.
int32_t DataTypeNamed(const std::string& name);

}  // namespace clipcat
