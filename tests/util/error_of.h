// The error a call raises, for tests that check number, source and description. Stateless.
#pragma once

#include <gtest/gtest.h>

#include "util/errors.h"

namespace clipcat::testing {

// The AutomationError `call` raises. When it raises none the test fails and the answer is an
// error numbered 0, so that checks of the number fail as well.
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

}  // namespace clipcat::testing
