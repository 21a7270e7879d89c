#include "cli/error_text.h"

#include <array>
#include <utility>

namespace clipcat::cli {
namespace {

// The component's errors are the object-error base plus a small number.
constexpr uint32_t kObjectErrorBase = 0x80040000u;
constexpr uint32_t kObjectErrorMask = 0xFFFF0000u;

// Engine messages, found by a piece of their text (SQLite's and PostgreSQL's), and what they
// mean to the person who ran the command.
constexpr std::array<std::pair<const char*, const char*>, 9> kEngineMessages = {{
    {"UNIQUE constraint failed", "the name is already in use there"},
    {"duplicate key value violates unique constraint", "the name is already in use there"},
    {"database is locked", "the catalog is busy: another program is writing to it; try again"},
    {"attempt to write a readonly database",
     "the catalog cannot be written: its file or folder is read-only"},
    {"database or disk is full",
     "disk full: the catalog could not be written; free some space and try again"},
    {"database disk image is malformed", "the catalog file is damaged"},
    {"file is not a database", "the file is not a clipcat catalog"},
    {"unable to open database file", "the catalog file cannot be opened"},
    {"disk I/O error", "the catalog file could not be read or written (disk I/O error)"},
}};

std::string FirstLine(const std::string& text) {
  std::string line = text.substr(0, text.find('\n'));
  while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
  return line;
}

}  // namespace

std::string PlainSentence(const AutomationError& error) {
  switch (error.number()) {
    case err::kTypeMismatch:
      return "an id is a number such as 12 (P1C12 for an item of a linked catalog), and a "
             "value given was not one";
    case err::kObjectVariableNotSet:
      return "the folder, clipping or category named does not exist";
    case err::kInvalidUseOfNull:
      return "a value that is needed is missing";
    case err::kOverflow:
      return "a number given is too large";
    case err::kCatalogDamaged:
      return FirstLine(error.description());
    default:
      break;
  }
  const std::string description = FirstLine(error.description());
  for (const auto& [fragment, sentence] : kEngineMessages) {
    if (description.find(fragment) != std::string::npos) return sentence;
  }
  return description;
}

std::string ShownNumber(int32_t number) {
  const auto bits = static_cast<uint32_t>(number);
  if ((bits & kObjectErrorMask) == kObjectErrorBase) return std::to_string(bits - kObjectErrorBase);
  return std::to_string(number);
}

std::string ErrorLine(const AutomationError& error, bool as_raised) {
  const std::string sentence = as_raised ? FirstLine(error.description()) : PlainSentence(error);
  return "error: " + sentence + " (error " + ShownNumber(error.number()) + ", " + error.source() +
         ")";
}

std::string VerboseDetail(const AutomationError& error, bool as_raised) {
  const std::string& description = error.description();
  const std::string first = FirstLine(description);
  std::string detail;
  if (!as_raised && PlainSentence(error) != first && !first.empty()) detail += "  " + first + "\n";
  size_t start = description.find('\n');
  while (start != std::string::npos) {
    const size_t end = description.find('\n', start + 1);
    std::string line = description.substr(start + 1, end - start - 1);
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    if (!line.empty()) detail += "  " + line + "\n";
    start = end;
  }
  return detail;
}

}  // namespace clipcat::cli
