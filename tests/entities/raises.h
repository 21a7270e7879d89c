// Test helper: the number of the AutomationError a call raises, or 0 when it raises none.
#pragma once

#include <cstdint>
#include <utility>

#include "util/errors.h"

namespace clipcat::test {

template <typename Call>
int32_t RaisedNumber(Call&& call) {
  try {
    std::forward<Call>(call)();
  } catch (const AutomationError& error) {
    return error.number();
  }
  return 0;
}

}  // namespace clipcat::test
