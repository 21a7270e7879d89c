// The values of the late-bound call route in JSON: the arguments a request gives as a JSON array,
// and the member's result. Single-threaded, like the objects it reads.
#pragma once

#include <nlohmann/json.hpp>
#include <vector>

#include "util/dispatch.h"

namespace clipcat::gateway {

// The arguments of a call: text, numbers (whole numbers that fit 32 bits as Long, others as
// Double), true/false, and null for no object. Refuses (400) lists and objects.
std::vector<Variant> CallArguments(const nlohmann::json& array);

// A result as JSON: null for Null and for no object, booleans, numbers, text, dates as ISO 8601
// UTC; an entity as {"type": class name, "xml": its XML text, "object": its JSON form}; a list as
// a JSON array of its items so converted; an external catalog as its properties.
nlohmann::json ResultJson(const Variant& value);

}  // namespace clipcat::gateway
