// The status marks of folders and clippings and the name clashes of the store's writes, shared
// by the files that write folders and clippings.
#pragma once

#include <cstdint>
#include <string>

#include "util/errors.h"
#include "util/messages.h"

namespace clipcat {

// The status a deleted clipping carries. Frozen: catalogs shared with other programs use it.
inline constexpr const char* kDeletedClippingStatus = "4";
// The status a deleted folder carries. Frozen as above.
inline constexpr int32_t kFolderStatusDeleted = 3;

[[noreturn]] inline void RaiseClippingNameNotUnique(const std::string& name) {
  RaiseError(err::kClippingNameNotUnique, kDataServicesSource,
             FormatResourceMessage(kMessageNameNotUnique, {name}));
}

[[noreturn]] inline void RaiseFolderNameNotUnique(const std::string& name) {
  RaiseError(err::kFolderNameNotUnique, kDataServicesSource,
             FormatResourceMessage(kMessageNameNotUnique, {name}));
}

}  // namespace clipcat
