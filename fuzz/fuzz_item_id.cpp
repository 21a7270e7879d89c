// The item identifier functions on arbitrary ids and catalog numbers.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz_check.h"
#include "util/item_id.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using clipcat::fuzz::Require;
  if (size < 4) return 0;
  int32_t catalog = 0;
  std::memcpy(&catalog, data, sizeof catalog);
  const std::string text(reinterpret_cast<const char*>(data) + 4, size - 4);
  const size_t split = text.find('\n');
  const std::string id = text.substr(0, split);
  const std::string other = split == std::string::npos ? std::string() : text.substr(split + 1);

  const std::string composed = clipcat::ComposeItemID(id, catalog);
  if (catalog == 0) Require(composed == id, "catalog 0 leaves an id as it is");
  (void)clipcat::GetLocalItemID(id, catalog);
  (void)clipcat::GetLocalItemID(composed, catalog);
  Require(clipcat::IsExternalItemID(id) == (id.find('P') != std::string::npos),
          "an id is external when it holds a P");
  const std::string catalog_id = clipcat::GetCatalogIDFromItemID(id);
  Require(!catalog_id.empty(), "a catalog id is never empty");
  Require(clipcat::ItemsInSameCatalog(id, id), "an id is in its own catalog");
  Require(clipcat::ItemsInSameCatalog(id, other) == clipcat::ItemsInSameCatalog(other, id),
          "being in the same catalog is symmetric");
  return 0;
}
