// The data link (.udl) file reader on arbitrary file content.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "engine/connection_string.h"
#include "fuzz_check.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using clipcat::fuzz::Require;
  const std::string_view content(reinterpret_cast<const char*>(data), size);
  const auto connection_string = clipcat::DataLinkConnectionString(content);
  if (connection_string) {
    Require(!connection_string->empty() && connection_string->front() != ';',
            "a data link answers a line that is neither blank nor a comment");
  }
  return 0;
}
