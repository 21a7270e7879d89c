#include "library/access_times.h"

#include <limits>

namespace clipcat {

AccessTimes LastAccessTimes(Catalog& catalog) {
  AccessTimes times;
  const auto history =
      catalog.read().GetClippingsHistroy(std::numeric_limits<int32_t>::max(), catalog.details());
  for (const auto& clipping : *history->Items()) times[clipping->ID()] = clipping->Accessed();
  return times;
}

}  // namespace clipcat
