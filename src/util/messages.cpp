#include "util/messages.h"

#include "util/text.h"

namespace clipcat {

std::string LoadMessage(int32_t id) {
  switch (id) {
    case kMessageNameNotUnique:
      return "The name \"%1\" is already in use here. Choose a unique name.";
    default:
      return {};
  }
}

std::string SubstituteMessage(const std::string& text, const std::vector<std::string>& values) {
  std::string out = text;
  if (!values.empty()) out = ReplaceAll(out, "%s", values.front());
  for (size_t p = 0; p < values.size(); ++p) {
    out = ReplaceAll(out, "%" + std::to_string(p + 1), values[p]);
  }
  return out;
}

std::string FormatResourceMessage(int32_t id, const std::vector<std::string>& values) {
  return SubstituteMessage(LoadMessage(id), values);
}

}  // namespace clipcat
