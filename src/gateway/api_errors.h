// The errors the gateway answers: every failure becomes the library's number, source and
// description as one JSON object, {"error": {"number": N, "source": "...", "description":
// "..."}}, sent with the HTTP status that fits the number. Stateless; thread-safe.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "util/errors.h"

namespace clipcat::gateway {

// The source of the errors the gateway raises itself (a malformed body, an unknown route).
inline constexpr const char* kGatewaySource = "clipcat serve";

// A refusal of the gateway's own, with the status it is answered with: the number is
// 5 "Invalid procedure call or argument", as the library refuses requests it cannot carry out.
class ApiError : public AutomationError {
 public:
  ApiError(int status, const std::string& description)
      : AutomationError(err::kInvalidProcedureCall, kGatewaySource, description), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

// HTTP statuses the gateway answers with. Part of the API: never change one.
inline constexpr int kStatusBadRequest = 400;
inline constexpr int kStatusUnauthorized = 401;
inline constexpr int kStatusNotFound = 404;
inline constexpr int kStatusConflict = 409;
inline constexpr int kStatusPayloadTooLarge = 413;
inline constexpr int kStatusInternalError = 500;
inline constexpr int kStatusUnavailable = 503;

// The HTTP status for a library error number: 400 for input the library refused, 404 for a
// ProgID or member that does not exist, 409 for a name that is not unique, 503 for a catalog that
// cannot be reached, 500 for everything else (engine failures, damaged data).
int StatusForErrorNumber(int32_t number);

// The status for `error`: its own for an ApiError, else StatusForErrorNumber.
int StatusForError(const AutomationError& error);

// {"error": {"number": ..., "source": ..., "description": ...}}.
nlohmann::json ErrorBody(const AutomationError& error);

// Raises ApiError 404 "no ... has the id ID".
[[noreturn]] void RaiseNotFound(const std::string& what, const std::string& id);

// Raises ApiError 400 with `description`.
[[noreturn]] void RaiseBadRequest(const std::string& description);

}  // namespace clipcat::gateway
