#include "cli/prompt.h"

#include <iostream>

#include "util/text.h"

namespace clipcat::cli {

bool Confirm(const std::string& question) {
  std::cerr << question << " [y/N] " << std::flush;
  std::string answer;
  if (!std::getline(std::cin, answer)) return false;
  while (!answer.empty() && (answer.back() == ' ' || answer.back() == '\r')) answer.pop_back();
  return EqualsIgnoreCase(answer, "y") || EqualsIgnoreCase(answer, "yes");
}

}  // namespace clipcat::cli
