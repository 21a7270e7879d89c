// What a catalog keeps of an earlier state of a clipping, without its data items.
#pragma once

#include <cstdint>
#include <string>

#include "util/date.h"

namespace clipcat {

struct ClippingVersion {
  int32_t version = 0;   // 1 for the oldest state kept, counting up
  Date saved;            // when the change that replaced this state was made
  std::string saved_by;  // who made it: the login name, or the role on a server catalog
  std::string name;
  std::string description;
  int64_t bytes = 0;  // the stored (compressed) size of its data items
};

// How many versions a catalog keeps and what they take.
struct VersionSpace {
  int32_t maximum_per_clipping = 0;
  int64_t versions = 0;
  int64_t clippings = 0;  // clippings that have at least one version
  int64_t bytes = 0;      // stored size of their data items
};

}  // namespace clipcat
