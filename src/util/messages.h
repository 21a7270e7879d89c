// The component's message table (compiled in) and the substitution of values into a message.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace clipcat {

// Message ids. Frozen: clients may match on the texts these produce.
inline constexpr int32_t kMessageNameNotUnique = 116;

// The text of message `id`, or the empty text when the table has no such message.
std::string LoadMessage(int32_t id);

// Message `id` with every "%s" replaced by the first value, then, for each value at position p
// (from 1), every "%p" replaced by it, in that order. With ten or more values "%10" has already
// been hit by the replacement of "%1"; callers rely on nothing past "%9".
std::string FormatResourceMessage(int32_t id, const std::vector<std::string>& values);

// The same substitution on a given text.
std::string SubstituteMessage(const std::string& text, const std::vector<std::string>& values);

}  // namespace clipcat
