#include "library/access_times.h"

#include <limits>
#include <string>

#include "util/errors.h"

namespace clipcat {

AccessTimes LastAccessTimes(Catalog& catalog) {
  AccessTimes times;
  const auto history =
      catalog.read().GetClippingsHistroy(std::numeric_limits<int32_t>::max(), catalog.details());
  for (const auto& clipping : *history->Items()) times[clipping->ID()] = clipping->Accessed();
  return times;
}

void CountUse(Catalog& catalog, const std::shared_ptr<Clipping>& clipping) {
  try {
    catalog.write().UpdateClippingHistory(clipping, catalog.details());
  } catch (const AutomationError& e) {
    // SQLite's words for a connection that storage allows only to read.
    if (e.description().find("attempt to write a readonly database") == std::string::npos) throw;
  }
}

}  // namespace clipcat
