// A line diff of two texts: the lines of the first that the second drops, the lines it adds, and
// the lines both keep, in order, with as few changes as the longest common run of lines allows.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace clipcat {

struct DiffLine {
  enum class Kind { kKept, kRemoved, kAdded };
  Kind kind;
  std::string text;  // the line without its line end
};

// The lines of `text`, split at LF (a CR before it is dropped); a last line without its line end
// is a line, an empty text has none.
std::vector<std::string> SplitLines(std::string_view text);

// The lines of `before` and `after`, each marked kept, removed or added. Lines common to both
// ends are matched first; the rest by a longest common subsequence, or, when both rests are
// longer than a few thousand lines, all removed then all added.
std::vector<DiffLine> DiffLines(std::string_view before, std::string_view after);

}  // namespace clipcat
