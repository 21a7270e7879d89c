// The error a call raises, for tests that check its number, source and description. Stateless.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "util/errors.h"

namespace clipcat::testing {

// The AutomationError `call` raises; when none, the test fails and the answer is numbered 0.
template <typename Call>
AutomationError ErrorOf(Call&& call) {
  try {
    call();
  } catch (const AutomationError& e) {
    return e;
  }
  ADD_FAILURE() << "no error raised";
  return AutomationError(0, "", "");
}

// The number of the AutomationError `call` raises, or 0 when it raises none.
template <typename Call>
int32_t RaisedNumber(Call&& call) {
  try {
    call();
  } catch (const AutomationError& e) {
    return e.number();
  }
  return 0;
}

}  // namespace clipcat::testing
