// The rich-text reader on arbitrary bytes: whatever the input, the text is valid UTF-8 and stays
// within a few bytes per input byte, and reading never crashes or runs away.
#include <unicode/utf8.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz_check.h"
#include "util/rtf_text.h"

namespace {

bool IsValidUtf8(std::string_view text) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  const auto length = static_cast<int64_t>(text.size());
  for (int64_t i = 0; i < length;) {
    UChar32 c = 0;
    U8_NEXT(bytes, i, length, c);
    if (c < 0) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using clipcat::fuzz::Require;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::string text = clipcat::RtfToText(bytes);
  Require(IsValidUtf8(text), "the text is valid UTF-8");
  Require(text.size() <= 4 * size + 16, "the text is at most four bytes per input byte");
  // The same bytes as a document body: the reader itself, not the plain-text way out.
  const std::string document = "{\\rtf1 " + std::string(bytes);
  const std::string body = clipcat::RtfToText(document);
  Require(IsValidUtf8(body), "the text of a document is valid UTF-8");
  Require(body.size() <= 4 * document.size() + 16,
          "the text of a document is at most four bytes per input byte");
  return 0;
}
