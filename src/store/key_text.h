// The guard for row keys that the store splices into its SQL as they are, not as number literals:
// only the digits of a key may reach a statement that way. Stateless; thread-safe.
#pragma once

#include <string>

#include "util/errors.h"

namespace clipcat {

// Answers `key` unchanged when it is a row key as catalogs hold them: an optional "-" followed by
// decimal digits. Raises 13 "Type mismatch" for anything else (the empty text, blanks, a tagged
// item id such as "P7C15", any other SQL), so that no text but a number reaches a statement in
// place of a key.
inline const std::string& RequireKeyText(const std::string& key) {
  size_t at = (!key.empty() && key[0] == '-') ? 1 : 0;
  if (at == key.size()) RaiseRuntimeError(err::kTypeMismatch);
  for (; at < key.size(); ++at) {
    if (key[at] < '0' || key[at] > '9') RaiseRuntimeError(err::kTypeMismatch);
  }
  return key;
}

}  // namespace clipcat
