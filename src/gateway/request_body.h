// Reading what a request sends: its JSON body, its fields, and the data items of a clipping in
// the two forms the API takes ("text", or "items" of {"type", "text" | "base64"}). Every refusal
// is an ApiError 400 saying what is wrong. Stateless; thread-safe.
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "entities/clipping.h"

namespace clipcat::gateway {

// The JSON object `body` holds; refuses text that is not JSON or not an object.
nlohmann::json ParseObject(const std::string& body);

// The JSON array `body` holds; refuses text that is not JSON or not an array.
nlohmann::json ParseArray(const std::string& body);

// The text of field `name`, nothing when the object does not have it; refuses a value that is not
// text.
std::optional<std::string> TextField(const nlohmann::json& object, const char* name);

// TextField, refusing an object without the field.
std::string RequiredText(const nlohmann::json& object, const char* name);

// The data items a body gives: "items" (a list of {"type": "rtf" | "text" | ... | number,
// "text": ... | "base64": ...}), else "text" as one plain-text item; nothing when it gives
// neither. Refuses a body with both, an item without content or with an unknown type, and base64
// that does not decode.
std::optional<std::shared_ptr<ClippingDataCollection>> DataItemsOf(const nlohmann::json& object);

// Whether query parameter `value` is set: "1", "true" or "yes".
bool IsTrue(const std::string& value);

}  // namespace clipcat::gateway
