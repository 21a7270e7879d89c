#include "library/content_index.h"

#include <utility>

#include "store/catalog_upgrade.h"

namespace clipcat {

void RebuildContentIndex(Catalog& catalog, const std::string& item_id,
                         const ProgressCallback& progress) {
  catalog.write().RebuildContentIndex(item_id, catalog.details(), progress);
}

void ReportIndexBuilds(ProgressCallback progress) { SetUpgradeProgress(std::move(progress)); }

}  // namespace clipcat
