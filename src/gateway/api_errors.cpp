#include "gateway/api_errors.h"

#include <map>

namespace clipcat::gateway {

int StatusForErrorNumber(int32_t number) {
  // The one table from the library's error numbers to statuses; a number not in it is a failure
  // of the server's side.
  static const std::map<int32_t, int> kStatuses = {
      {err::kInvalidProcedureCall, kStatusBadRequest},
      {err::kOverflow, kStatusBadRequest},
      {err::kSubscriptOutOfRange, kStatusBadRequest},
      {err::kTypeMismatch, kStatusBadRequest},
      {err::kObjectVariableNotSet, kStatusBadRequest},
      {err::kInvalidUseOfNull, kStatusBadRequest},
      {err::kObjectRequired, kStatusBadRequest},
      {err::kProviderNotFound, kStatusBadRequest},
      {err::kBadParamCount, kStatusBadRequest},
      {err::kArgumentTypeMismatch, kStatusBadRequest},
      {err::kCannotCreateObject, kStatusNotFound},
      {err::kUnknownName, kStatusNotFound},
      {err::kFolderNameNotUnique, kStatusConflict},
      {err::kClippingNameNotUnique, kStatusConflict},
      {err::kCategoryNameNotUnique, kStatusConflict},
      {err::kCatalogCannotBeOpened, kStatusUnavailable},
  };
  const auto found = kStatuses.find(number);
  return found == kStatuses.end() ? kStatusInternalError : found->second;
}

int StatusForError(const AutomationError& error) {
  if (const auto* own = dynamic_cast<const ApiError*>(&error)) return own->status();
  return StatusForErrorNumber(error.number());
}

nlohmann::json ErrorBody(const AutomationError& error) {
  return {{"error",
           {{"number", error.number()},
            {"source", error.source()},
            {"description", error.description()}}}};
}

void RaiseNotFound(const std::string& what, const std::string& id) {
  throw ApiError(kStatusNotFound, "no " + what + " has the id " + id);
}

void RaiseBadRequest(const std::string& description) {
  throw ApiError(kStatusBadRequest, description);
}

}  // namespace clipcat::gateway
