#include "util/compression.h"

#include <gtest/gtest.h>

#include <random>

#include "util/error_of.h"
#include "util/errors.h"

namespace clipcat::testing {
namespace {

std::string RandomText(size_t n, uint32_t seed) {
  std::mt19937 rng(seed);
  std::string s(n, '\0');
  for (char& c : s) c = static_cast<char>(rng() & 0xFF);
  return s;
}

TEST(Compression, RoundTripsEveryLengthAroundPowersOfTwo) {
  Compression compression;  // one compressor for the whole pass
  for (int bits = 0; bits <= 20; ++bits) {
    for (int delta : {-1, 0, 1}) {
      const long n = (1L << bits) + delta;
      if (n < 0) continue;
      const std::string text = RandomText(static_cast<size_t>(n), static_cast<uint32_t>(n));
      const std::string frame = compression.Compress(text);
      ASSERT_TRUE(Compression::LooksLikeFrame(frame));
      ASSERT_EQ(compression.DecompressString(frame), text) << n;
    }
  }
}

TEST(Compression, FrameIsCompressedSizePlusHeader) {
  Compression compression;
  std::string rtf;
  for (int i = 0; i < 5000; ++i) rtf += "{\\rtf1\\ansi Dear customer,\\par}";
  const std::string frame = compression.Compress(rtf);
  EXPECT_LT(frame.size(), rtf.size() / 20);
  EXPECT_EQ(frame.substr(0, 5), std::string("CLPZ\x01", 5));
  EXPECT_EQ(compression.DecompressString(frame), rtf);
}

TEST(Compression, ContentFarLargerThanItsFrameReadsWhole) {
  Compression compression;
  const std::string text(12 << 20, 'a');  // a few hundred bytes of frame
  const std::string frame = compression.Compress(text);
  ASSERT_LT(frame.size(), size_t{4096});
  EXPECT_EQ(compression.DecompressString(frame), text);
  // Trailing bytes after a whole frame are damage too.
  EXPECT_EQ(ErrorOf([&] { compression.DecompressString(frame + "x"); }).number(),
            err::kDataCorrupt);
}

TEST(Compression, DamagedFramesRaiseInsteadOfAnsweringGarbage) {
  Compression compression;
  const std::string text = "The quick brown fox jumps over the lazy dog, again and again.";
  const std::string frame = compression.Compress(text);
  std::vector<std::string> damaged = {"", "CLPZ", "CLPY\x01" + frame.substr(5),
                                      std::string("CLPZ\x02", 5) + frame.substr(5),
                                      text};  // uncompressed bytes are not a frame
  for (size_t cut = 5; cut < frame.size(); cut += 3) damaged.push_back(frame.substr(0, cut));
  for (size_t i = 5; i < frame.size(); ++i) {
    std::string flipped = frame;
    flipped[i] = static_cast<char>(flipped[i] ^ 0x5A);
    damaged.push_back(flipped);
  }
  for (const std::string& bad : damaged) {
    SCOPED_TRACE(::testing::Message() << "damaged frame of " << bad.size() << " bytes");
    const AutomationError e = ErrorOf([&] { compression.DecompressString(bad); });
    EXPECT_EQ(e.number(), err::kDataCorrupt);
    EXPECT_NE(e.description().find("damaged"), std::string::npos);
  }
}

}  // namespace
}  // namespace clipcat::testing
