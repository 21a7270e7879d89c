#include "library/trash_and_versions.h"

#include <limits>

#include "entities/plain_text.h"
#include "library/item_lookup.h"
#include "util/values.h"

namespace clipcat {
namespace {

// Whole texts are compared: a diff is read by a person, so no item is cut short.
constexpr size_t kWholeText = std::numeric_limits<size_t>::max();

std::string TextOf(const Clipping& clipping) {
  return PlainTextOfItems(*clipping.ClippingData(), kWholeText);
}

}  // namespace

std::vector<TrashEntry> ListTrash(Catalog& catalog, const std::string& catalog_folder) {
  return catalog.write().GetTrash(catalog_folder, catalog.details());
}

std::string RestoreFromTrash(Catalog& catalog, const std::string& id, bool rename) {
  return catalog.write().RestoreItem(id, catalog.details(), rename);
}

int32_t EmptyTrash(Catalog& catalog, std::optional<int32_t> older_than_days,
                   const std::string& catalog_folder) {
  return catalog.write().EmptyTrash(catalog.details(), older_than_days.value_or(-1),
                                    catalog_folder);
}

int32_t ParseDays(const std::string& text) {
  size_t digits = 0;
  while (digits < text.size() && text[digits] >= '0' && text[digits] <= '9') ++digits;
  const std::string unit = text.substr(digits);
  if (digits == 0 || digits > 6 || (unit != "" && unit != "d" && unit != "w" && unit != "h")) {
    Refuse("a duration is a number with d (days), w (weeks) or h (hours), such as 30d: \"" + text +
           "\"");
  }
  const int32_t number = std::stoi(text.substr(0, digits));
  if (unit == "w") return number * 7;
  if (unit == "h") return number / 24;
  return number;
}

std::vector<ClippingVersion> ListVersions(Catalog& catalog, const std::string& id) {
  RequireClipping(catalog, id, false);
  return catalog.read().GetClippingVersions(id, catalog.details());
}

std::shared_ptr<Clipping> ClippingAtVersion(Catalog& catalog, const std::string& id,
                                            int32_t version) {
  RequireClipping(catalog, id, false);
  auto clipping = catalog.read().GetClippingVersion(id, version, catalog.details());
  if (clipping == nullptr) {
    Refuse("clipping " + id + " has no version " + std::to_string(version));
  }
  return clipping;
}

std::shared_ptr<Clipping> RevertToVersion(Catalog& catalog, const std::string& id,
                                          int32_t version) {
  ClippingAtVersion(catalog, id, version);  // the refusals people are shown
  return catalog.write().RevertClipping(id, version, catalog.details());
}

std::vector<DiffLine> DiffVersions(Catalog& catalog, const std::string& id,
                                   std::optional<int32_t> from, std::optional<int32_t> to) {
  if (!from) {
    const std::vector<ClippingVersion> versions = ListVersions(catalog, id);
    if (versions.empty()) Refuse("clipping " + id + " has no versions yet");
    from = versions.back().version;
  }
  const auto before = ClippingAtVersion(catalog, id, *from);
  const auto after = to ? ClippingAtVersion(catalog, id, *to) : RequireClipping(catalog, id, true);
  return DiffLines(TextOf(*before), TextOf(*after));
}

void KeepVersions(Catalog& catalog, int32_t maximum) {
  catalog.write().SetMaximumVersions(maximum, catalog.details());
}

VersionSpace VersionsSpace(Catalog& catalog) {
  return catalog.read().GetVersionSpace(catalog.details());
}

}  // namespace clipcat
