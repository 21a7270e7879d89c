#include "util/item_id.h"

#include "util/values.h"

namespace clipcat {

std::string ComposeItemID(const std::string& local_id, int32_t catalog_id) {
  if (catalog_id == 0) return local_id;
  const std::string prefix = "P" + std::to_string(catalog_id);
  if (!local_id.empty() && (local_id[0] == 'P' || local_id[0] == 'C')) return prefix + local_id;
  return prefix + "C" + local_id;
}

std::string GetLocalItemID(const std::string& item_id, int32_t catalog_id) {
  if (catalog_id == 0 || item_id.empty() || item_id[0] != 'P') return item_id;
  std::string rest = item_id;
  const std::string prefix = "P" + std::to_string(catalog_id);
  const size_t at = rest.find(prefix);
  if (at != std::string::npos) rest.erase(at, prefix.size());
  if (!rest.empty() && (rest[0] == 'C' || rest[0] == 'c')) {
    const size_t c = rest.find('C');
    if (c != std::string::npos) rest.erase(c, 1);
  }
  return rest;
}

bool IsExternalItemID(const std::string& item_id) { return item_id.find('P') != std::string::npos; }

std::string GetCatalogIDFromItemID(const std::string& item_id) {
  if (!IsExternalItemID(item_id)) return "0";
  const size_t c = item_id.find('C', 1);
  if (c == std::string::npos) return "0";
  const std::string digits = item_id.substr(1, c - 1);
  // Text that is not a number, or does not fit, reads as catalog 0.
  double ignored = 0;
  if (!ParseNumberText(digits, ignored)) return "0";
  return std::to_string(ToLongOr(Variant(digits), 0));
}

bool ItemsInSameCatalog(const std::string& item_id1, const std::string& item_id2) {
  return GetCatalogIDFromItemID(item_id1) == GetCatalogIDFromItemID(item_id2);
}

}  // namespace clipcat
