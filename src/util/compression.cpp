#include "util/compression.h"

#include <zstd.h>

#include <algorithm>

#include "util/errors.h"

namespace clipcat {
namespace {

constexpr char kMagic[4] = {'C', 'L', 'P', 'Z'};
constexpr uint8_t kCodecZstd = 1;
constexpr size_t kHeaderBytes = 5;
// Fast and near the ratio of the higher levels on short texts; clipping writes are interactive.
constexpr int kLevel = 3;
// The first output buffer of a read when the declared size is larger.
constexpr size_t kFirstOutputBytes = size_t{64} << 10;

[[noreturn]] void Corrupt(const std::string& why) {
  throw AutomationError(err::kDataCorrupt, kComponentSource, "The stored data is damaged: " + why);
}

}  // namespace

struct Compression::Contexts {
  ZSTD_CCtx* compress = nullptr;
  ZSTD_DCtx* decompress = nullptr;
  ~Contexts() {
    ZSTD_freeCCtx(compress);
    ZSTD_freeDCtx(decompress);
  }
  ZSTD_CCtx* Compressor() {
    if (compress == nullptr) {
      compress = ZSTD_createCCtx();
      // The checksum makes any damage to a stored item an error instead of wrong text.
      ZSTD_CCtx_setParameter(compress, ZSTD_c_compressionLevel, kLevel);
      ZSTD_CCtx_setParameter(compress, ZSTD_c_checksumFlag, 1);
    }
    return compress;
  }
  ZSTD_DCtx* Decompressor() {
    if (decompress == nullptr) decompress = ZSTD_createDCtx();
    return decompress;
  }
};

thread_local std::unique_ptr<Compression::Contexts> Compression::spare_;

Compression::Compression() : contexts_(std::move(spare_)) {}

Compression::~Compression() {
  if (contexts_ && !spare_) spare_ = std::move(contexts_);
}

Compression::Contexts& Compression::contexts() {
  if (!contexts_) contexts_ = std::make_unique<Contexts>();
  return *contexts_;
}

bool Compression::LooksLikeFrame(std::string_view bytes) {
  return bytes.size() >= kHeaderBytes && bytes.substr(0, 4) == std::string_view(kMagic, 4);
}

std::string Compression::Compress(std::string_view text) {
  std::string frame(kHeaderBytes + ZSTD_compressBound(text.size()), '\0');
  frame.replace(0, 4, kMagic, 4);
  frame[4] = static_cast<char>(kCodecZstd);
  const size_t written = ZSTD_compress2(contexts().Compressor(), frame.data() + kHeaderBytes,
                                        frame.size() - kHeaderBytes, text.data(), text.size());
  if (ZSTD_isError(written)) {
    throw AutomationError(err::kDataCorrupt, kComponentSource,
                          std::string("Compression failed: ") + ZSTD_getErrorName(written));
  }
  frame.resize(kHeaderBytes + written);
  return frame;
}

std::string Compression::DecompressString(std::string_view frame) {
  if (!LooksLikeFrame(frame)) Corrupt("no frame header");
  if (static_cast<uint8_t>(frame[4]) != kCodecZstd) Corrupt("unknown codec");
  const std::string_view payload = frame.substr(kHeaderBytes);
  const unsigned long long size = ZSTD_getFrameContentSize(payload.data(), payload.size());
  if (size == ZSTD_CONTENTSIZE_ERROR || size == ZSTD_CONTENTSIZE_UNKNOWN) {
    Corrupt("unreadable payload");
  }
  if (size > kMaxContentBytes) Corrupt("content too large");
  // The output grows as the payload yields content, so that a few damaged bytes declaring a huge
  // size cost no more memory than the content they really hold.
  const size_t declared = static_cast<size_t>(size);
  std::string text(std::min(declared, std::max(payload.size() * 8, kFirstOutputBytes)), '\0');
  ZSTD_DCtx* const decompressor = contexts().Decompressor();
  ZSTD_DCtx_reset(decompressor, ZSTD_reset_session_only);
  ZSTD_inBuffer in{payload.data(), payload.size(), 0};
  ZSTD_outBuffer out{text.data(), text.size(), 0};
  while (true) {
    const size_t consumed = in.pos;
    const size_t produced = out.pos;
    const size_t more = ZSTD_decompressStream(decompressor, &out, &in);
    if (ZSTD_isError(more)) Corrupt(ZSTD_getErrorName(more));
    if (more == 0) break;  // the frame is complete and its checksum verified
    if (out.pos == out.size && text.size() < declared) {
      text.resize(std::min(declared, text.size() * 2));
      out = {text.data(), text.size(), out.pos};
    } else if (in.pos == consumed && out.pos == produced) {
      Corrupt("truncated payload");
    }
  }
  if (out.pos != declared) Corrupt("truncated payload");
  if (in.pos != in.size) Corrupt("bytes after the payload");
  return text;
}

}  // namespace clipcat
