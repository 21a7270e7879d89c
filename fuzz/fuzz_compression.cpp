// The compression frame reader on arbitrary bytes: it answers text or raises the data-corrupt
// error, never garbage; and any text survives a round trip through a frame.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz_check.h"
#include "util/compression.h"
#include "util/errors.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using clipcat::fuzz::Require;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  clipcat::Compression compression;
  try {
    const std::string text = compression.DecompressString(bytes);
    Require(clipcat::Compression::LooksLikeFrame(bytes), "only a frame gives text");
  } catch (const clipcat::AutomationError& e) {
    Require(e.number() == clipcat::err::kDataCorrupt, "a bad frame raises the data-corrupt error");
  }
  const std::string frame = compression.Compress(bytes);
  Require(compression.DecompressString(frame) == bytes, "a frame gives back its text");
  return 0;
}
