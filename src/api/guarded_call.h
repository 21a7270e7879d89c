// How every call of the C++ interface runs: as one request (library/request_scope.h), so that
// nothing a failed call left open outlives it, with the catalog's errors turned into the
// interface's one exception type.
#pragma once

#include <clipcat/error.h>

#include <utility>

#include "library/request_scope.h"
#include "util/errors.h"

namespace clipcat::api {

template <typename Request>
decltype(auto) GuardedCall(Request&& request) {
  try {
    return RunRequest(std::forward<Request>(request));
  } catch (const AutomationError& error) {
    throw v0::Error(error.number(), error.source(), error.description());
  }
}

}  // namespace clipcat::api
