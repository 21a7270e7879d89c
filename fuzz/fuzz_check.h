// What every fuzz target shares: a property that must hold stops the run with the input's story.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace clipcat::fuzz {

// Aborts (so that libFuzzer keeps the input as a crash) when `holds` is false.
inline void Require(bool holds, std::string_view what) {
  if (holds) return;
  std::fprintf(stderr, "property broken: %.*s\n", static_cast<int>(what.size()), what.data());
  std::abort();
}

}  // namespace clipcat::fuzz
