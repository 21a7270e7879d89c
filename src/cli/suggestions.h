// "Did you mean": the known name closest to one that was mistyped, by edit distance.
#pragma once

#include <string>
#include <vector>

namespace clipcat::cli {

// The number of single-character insertions, deletions, substitutions and swaps of two
// neighbours that turn `a` into `b` (the restricted Damerau-Levenshtein distance).
size_t EditDistance(const std::string& a, const std::string& b);

// The name among `known` closest to `typed`, when it is close enough to be what was meant (at
// most two edits, and at most half as many as the typed characters); "" when none is. The first of
// equally close names wins.
std::string ClosestName(const std::string& typed, const std::vector<std::string>& known);

}  // namespace clipcat::cli
