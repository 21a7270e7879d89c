// Servers that did not answer, remembered for a short while per process, so that a command or a
// request that meets one silent server several times (a tree of linked catalogs, a search across
// them) waits for it once. Only "no answer" failures are remembered; a server that answered with
// a refusal (authentication, unknown database) answers quickly and is asked again. Thread-safe.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "util/errors.h"

namespace clipcat {

// How long a failure is remembered.
inline constexpr std::chrono::seconds kServerFailureMemory{10};

// The error a connection to the server `key` names failed with less than kServerFailureMemory
// ago, if any.
std::optional<AutomationError> RememberedServerFailure(const std::string& key);

// Remembers that a connection to `key` failed with `error` now.
void RememberServerFailure(const std::string& key, const AutomationError& error);

// Forgets `key`'s failure: a connection to it succeeded.
void ForgetServerFailure(const std::string& key);

}  // namespace clipcat
