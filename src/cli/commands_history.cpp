// The trash and the versions of clippings: trash, restore, versions, diff, revert and info.
#include <ostream>
#include <string>

#include "cli/commands.h"
#include "cli/printing.h"
#include "library/catalog.h"
#include "library/trash_and_versions.h"
#include "util/date.h"

namespace clipcat::cli {
namespace {

std::string Bytes(int64_t bytes) {
  if (bytes < 10 * 1024) return std::to_string(bytes) + " B";
  if (bytes < 10 * 1024 * 1024) return std::to_string(bytes / 1024) + " kB";
  return std::to_string(bytes / (1024 * 1024)) + " MB";
}

}  // namespace

void TrashCommand(const Context& context, const std::string& folder) {
  Catalog catalog = Catalog::Open(context.location);
  const std::vector<TrashEntry> entries = ListTrash(catalog, folder);
  if (entries.empty()) {
    context.out << "The trash is empty.\n";
    return;
  }
  Table table({"ID", "KIND", "NAME", "WAS IN", "DELETED", "BY", "WITH IT"});
  for (const TrashEntry& entry : entries) {
    table.Add({entry.id, entry.is_folder ? "folder" : "clipping", entry.name,
               entry.path.empty() ? entry.folder_id : entry.path,
               entry.deleted ? FormatIsoDate(*entry.deleted) : "(before the trash was kept)",
               entry.deleted_by,
               entry.items_inside == 0   ? ""
               : entry.items_inside == 1 ? "1 item"
                                         : std::to_string(entry.items_inside) + " items"});
  }
  table.Print(context.out);
}

void EmptyTrashCommand(const Context& context, const std::string& older_than,
                       const std::string& folder) {
  Catalog catalog = Catalog::Open(context.location);
  std::optional<int32_t> days;
  if (!older_than.empty()) days = ParseDays(older_than);
  const int32_t removed = EmptyTrash(catalog, days, folder);
  context.out << "Removed " << removed << (removed == 1 ? " item" : " items") << " for good.\n";
}

void RestoreCommand(const Context& context, const std::string& id, bool rename) {
  Catalog catalog = Catalog::Open(context.location);
  const std::string name = RestoreFromTrash(catalog, id, rename);
  context.out << "Restored " << id << " as \"" << name << "\".\n";
}

void VersionsCommand(const Context& context, const std::string& id, std::optional<int> keep) {
  Catalog catalog = Catalog::Open(context.location);
  if (keep) {
    KeepVersions(catalog, *keep);
    context.out << "Keeping at most " << *keep << " versions per clipping.\n";
    if (id.empty()) return;
  }
  const std::vector<ClippingVersion> versions = ListVersions(catalog, id);
  if (versions.empty()) {
    context.out << "Clipping " << id << " has no earlier versions.\n";
    return;
  }
  Table table({"VERSION", "REPLACED", "BY", "SIZE", "NAME"});
  for (const ClippingVersion& version : versions) {
    table.Add({std::to_string(version.version), FormatIsoDate(version.saved), version.saved_by,
               Bytes(version.bytes), version.name});
  }
  table.Print(context.out);
}

void DiffCommand(const Context& context, const std::string& id, std::optional<int> from,
                 std::optional<int> to) {
  Catalog catalog = Catalog::Open(context.location);
  const std::vector<DiffLine> diff = DiffVersions(catalog, id, from, to);
  context.out << "--- " << id << (from ? " version " + std::to_string(*from) : " newest version")
              << "\n+++ " << id << (to ? " version " + std::to_string(*to) : " now") << "\n";
  for (const DiffLine& line : diff) {
    const char mark = line.kind == DiffLine::Kind::kAdded     ? '+'
                      : line.kind == DiffLine::Kind::kRemoved ? '-'
                                                              : ' ';
    context.out << mark << line.text << "\n";
  }
}

void RevertCommand(const Context& context, const std::string& id, int version) {
  Catalog catalog = Catalog::Open(context.location);
  RevertToVersion(catalog, id, version);
  context.out << "Clipping " << id << " is version " << version
              << " again; the state it replaced is kept as a version.\n";
}

void InfoCommand(const Context& context) {
  Catalog catalog = Catalog::Open(context.location);
  const VersionSpace space = VersionsSpace(catalog);
  const size_t trash = ListTrash(catalog).size();
  Table table({"FIELD", "VALUE"});
  table.Add({"versions", std::to_string(space.versions) + " of " + std::to_string(space.clippings) +
                             " clippings, " + Bytes(space.bytes)});
  table.Add(
      {"versions kept", "at most " + std::to_string(space.maximum_per_clipping) + " per clipping"});
  table.Add({"trash", std::to_string(trash) + (trash == 1 ? " entry" : " entries")});
  table.Print(context.out);
}

}  // namespace clipcat::cli
