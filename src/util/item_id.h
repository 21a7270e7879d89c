// Item identifiers: "15" names item 15 of the default catalog, "P7C15" item 15 of external
// catalog 7. Only these functions build or read the tagged form; their textual quirks are part of
// the identifiers that clients have stored, so they are kept exactly.
#pragma once

#include <cstdint>
#include <string>

namespace clipcat {

// Catalog 0: `local_id` unchanged. Otherwise "P<catalog>C<id>", or "P<catalog><id>" when the id
// already begins with "P" or "C" (C15 with catalog 7 gives P7C15; P3C15 gives P7P3C15).
std::string ComposeItemID(const std::string& local_id, int32_t catalog_id);

// Catalog 0, or an id not beginning with "P": unchanged. Otherwise the first "P<catalog>" is
// removed and then, if what is left begins with "C" or "c", the first upper-case "C" anywhere.
// (P12C5 with catalog 1 gives 2C5: the prefix is removed as text.)
std::string GetLocalItemID(const std::string& item_id, int32_t catalog_id);

// True when the id contains "P" anywhere.
bool IsExternalItemID(const std::string& item_id);

// The decimal catalog id between a leading "P" and the first "C" after it, or "0" when the id has
// no "P" or that part cannot be read as a 32-bit number.
std::string GetCatalogIDFromItemID(const std::string& item_id);

// True when both ids give the same GetCatalogIDFromItemID.
bool ItemsInSameCatalog(const std::string& item_id1, const std::string& item_id2);

}  // namespace clipcat
