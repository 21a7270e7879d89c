#include "util/compression.h"

#include <gtest/gtest.h>

#include <random>

#include "util/error_of.h"
#include "util/errors.h"

namespace clipcat::testing {
namespace {

TEST(Compression, RoundTripsEveryLengthAroundPowersOfTwo) {
  Compression compression;  // one compressor for the whole pass
  std::mt19937 rng(7);
  for (int bits = 0; bits <= 20; ++bits) {
    for (long n : {(1L << bits) - 1, 1L << bits, (1L << bits) + 1}) {
      std::string text(static_cast<size_t>(n), '\0');
      for (char& c : text) c = static_cast<char>(rng() & 0xFF);
      const std::string frame = compression.Compress(text);
      ASSERT_EQ(frame.substr(0, 5), std::string("CLPZ\x01", 5));
      ASSERT_EQ(compression.DecompressString(frame), text) << n;
    }
  }
  // Content far larger than its frame reads whole; trailing bytes after a frame are damage.
  const std::string text(12 << 20, 'a');
  const std::string frame = compression.Compress(text);
  ASSERT_LT(frame.size(), size_t{4096});
  EXPECT_EQ(compression.DecompressString(frame), text);
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
