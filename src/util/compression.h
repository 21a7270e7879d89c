// The compressor of clipping content. A stored item is a small self-describing frame:
//   bytes 0-3  magic "CLPZ"
//   byte  4    codec: 1 = zstd
//   bytes 5-   the zstd frame of the content's UTF-8 text (which records the content size)
// The frame layout and codec numbers are frozen: changing one breaks every catalog.
// One Compression object serves one pass over many items; it is not safe for concurrent use.
// Its engine contexts are made when first needed and handed to the thread's next Compression.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace clipcat {

class Compression {
 public:
  Compression();
  ~Compression();
  Compression(const Compression&) = delete;
  Compression& operator=(const Compression&) = delete;

  // The frame holding `text`.
  std::string Compress(std::string_view text);

  // The text a frame holds. A frame that is damaged, truncated, of an unknown codec or claiming
  // more than kMaxContentBytes raises err::kDataCorrupt with the reason; garbage is never
  // answered.
  std::string DecompressString(std::string_view frame);

  // True when the bytes begin with the frame's magic.
  static bool LooksLikeFrame(std::string_view bytes);

  static constexpr size_t kMaxContentBytes = size_t{1} << 30;

 private:
  struct Contexts;
  Contexts& contexts();

  std::unique_ptr<Contexts> contexts_;
  // The contexts of the thread's last finished pass, kept for the next one: making them costs
  // more than compressing a short clipping.
  static thread_local std::unique_ptr<Contexts> spare_;
};

}  // namespace clipcat
