#include "library/item_names.h"

#include "library/item_lookup.h"

namespace clipcat {
namespace {

// The control character at `at` (one byte, or the two bytes of U+0080 ... U+009F in UTF-8) as
// people know it, or "" when there is none there.
std::string ControlAt(const std::string& name, size_t at) {
  const auto byte = static_cast<unsigned char>(name[at]);
  switch (byte) {
    case '\n':
      return "a newline";
    case '\r':
      return "a carriage return";
    case '\t':
      return "a tab";
    default:
      break;
  }
  if (byte < 0x20 || byte == 0x7F) return "a control character";
  if (byte == 0xC2 && at + 1 < name.size()) {
    const auto next = static_cast<unsigned char>(name[at + 1]);
    if (next >= 0x80 && next <= 0x9F) return "a control character";
  }
  return "";
}

}  // namespace

void RequireUsableName(const std::string& name, const std::string& what) {
  if (name.empty()) Refuse("a " + what + " name cannot be empty");
  for (size_t at = 0; at < name.size(); ++at) {
    const std::string control = ControlAt(name, at);
    if (!control.empty()) Refuse("a " + what + " name cannot hold " + control);
  }
  if (name.find_first_not_of(' ') == std::string::npos) {
    Refuse("a " + what + " name cannot be only spaces");
  }
}

}  // namespace clipcat
