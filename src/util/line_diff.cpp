#include "util/line_diff.h"

#include <algorithm>
#include <cstdint>

namespace clipcat {
namespace {

// Above this many cells the table of common lengths is not made.
constexpr size_t kMaximumTableCells = 16u * 1024u * 1024u;

}  // namespace

std::vector<std::string> SplitLines(std::string_view text) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    const bool last = end == std::string_view::npos;
    if (last) end = text.size();
    std::string_view line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.emplace_back(line);
    start = end + 1;
  }
  return lines;
}

std::vector<DiffLine> DiffLines(std::string_view before, std::string_view after) {
  const std::vector<std::string> a = SplitLines(before);
  const std::vector<std::string> b = SplitLines(after);
  size_t head = 0;
  while (head < a.size() && head < b.size() && a[head] == b[head]) ++head;
  size_t tail = 0;
  while (tail < a.size() - head && tail < b.size() - head &&
         a[a.size() - 1 - tail] == b[b.size() - 1 - tail]) {
    ++tail;
  }
  const size_t n = a.size() - head - tail;
  const size_t m = b.size() - head - tail;

  std::vector<DiffLine> diff;
  for (size_t i = 0; i < head; ++i) diff.push_back({DiffLine::Kind::kKept, a[i]});
  if ((n + 1) * (m + 1) > kMaximumTableCells) {
    for (size_t i = 0; i < n; ++i) diff.push_back({DiffLine::Kind::kRemoved, a[head + i]});
    for (size_t j = 0; j < m; ++j) diff.push_back({DiffLine::Kind::kAdded, b[head + j]});
  } else {
    // common[i][j]: the longest common subsequence of a's middle from i and b's middle from j.
    std::vector<uint32_t> common((n + 1) * (m + 1), 0);
    const auto at = [&](size_t i, size_t j) -> uint32_t& { return common[i * (m + 1) + j]; };
    for (size_t i = n; i-- > 0;) {
      for (size_t j = m; j-- > 0;) {
        at(i, j) = a[head + i] == b[head + j] ? at(i + 1, j + 1) + 1
                                              : std::max(at(i + 1, j), at(i, j + 1));
      }
    }
    size_t i = 0;
    size_t j = 0;
    while (i < n || j < m) {
      if (i < n && j < m && a[head + i] == b[head + j]) {
        diff.push_back({DiffLine::Kind::kKept, a[head + i]});
        ++i;
        ++j;
      } else if (j == m || (i < n && at(i + 1, j) >= at(i, j + 1))) {
        diff.push_back({DiffLine::Kind::kRemoved, a[head + i]});
        ++i;
      } else {
        diff.push_back({DiffLine::Kind::kAdded, b[head + j]});
        ++j;
      }
    }
  }
  for (size_t k = a.size() - tail; k < a.size(); ++k) {
    diff.push_back({DiffLine::Kind::kKept, a[k]});
  }
  return diff;
}

}  // namespace clipcat
