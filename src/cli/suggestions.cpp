#include "cli/suggestions.h"

#include <algorithm>

namespace clipcat::cli {

size_t EditDistance(const std::string& a, const std::string& b) {
  // d[i][j]: the distance between the first i characters of a and the first j of b.
  std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
  for (size_t j = 0; j <= b.size(); ++j) d[0][j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t substitution = d[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, substitution});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
      }
    }
  }
  return d[a.size()][b.size()];
}

std::string ClosestName(const std::string& typed, const std::vector<std::string>& known) {
  std::string best;
  // A candidate must come strictly closer than this.
  size_t best_distance = std::min<size_t>(2, typed.size() / 2) + 1;
  for (const std::string& name : known) {
    const size_t distance = EditDistance(typed, name);
    if (distance < best_distance) {
      best = name;
      best_distance = distance;
    }
  }
  return best;
}

}  // namespace clipcat::cli
