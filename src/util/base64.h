// Base64 (RFC 4648, with padding) for data items that XML text cannot carry. Stateless;
// thread-safe.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace clipcat {

// `bytes` in base64, without line breaks.
std::string EncodeBase64(std::string_view bytes);

// The bytes `text` encodes. Blanks (space, tab, CR, LF) anywhere are skipped; answers nothing
// for any other character outside the alphabet, a length that is not a multiple of four, or
// padding anywhere but at the end.
std::optional<std::string> DecodeBase64(std::string_view text);

}  // namespace clipcat
