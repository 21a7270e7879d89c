// What a clipping gives to be read or pasted: its best item as bytes, and the names people use
// for data types. Stateless; thread-safe.
#pragma once

#include <cstdint>
#include <string>

#include "entities/clipping.h"
#include "entities/plain_text.h"

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

// The data type a name (DataTypeName's, any case) or a number of 1 and up stands for; refuses
// anything else, listing the names.
int32_t RequireDataType(const std::string& name);

}  // namespace clipcat
