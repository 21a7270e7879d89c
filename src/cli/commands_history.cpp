// The trash and the versions of clippings: trash, restore, versions, diff, revert and info.
#include <ostream>
#include <string>

#include "cli/commands.h"
#include "cli/printing.h"
#include "library/catalog.h"
#include "library/item_paths.h"
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
  std::vector<TrashEntry> entries = ListTrash(catalog, folder);
  // Where each was, as a path the command line takes back; a folder that is gone (the store
  // gave no path) is shown by its id in the table.
  FolderPaths paths(catalog);
  std::vector<bool> gone;
  for (TrashEntry& entry : entries) {
    gone.push_back(entry.path.empty());
    if (!entry.path.empty()) entry.path = paths.Of(entry.folder_id);
  }
  if (context.json) {
    nlohmann::json list = nlohmann::json::array();
    for (const TrashEntry& entry : entries) list.push_back(TrashEntryJson(entry));
    PrintJson(context, list);
    return;
  }
  if (entries.empty() && !context.tsv) {
    context.out << "The trash is empty.\n";
    return;
  }
  Table table({"ID", "KIND", "NAME", "WAS IN", "DELETED", "BY", "WITH IT"});
  for (size_t i = 0; i < entries.size(); ++i) {
    const TrashEntry& entry = entries[i];
    table.Add({entry.id, entry.is_folder ? "folder" : "clipping", entry.name,
               gone[i] ? entry.folder_id : PathCell(entry.path),
               !entry.deleted ? (context.tsv ? "" : "(before the trash was kept)")
               : context.tsv  ? TsvDate(*entry.deleted)
                              : FormatIsoDate(*entry.deleted),
               entry.deleted_by,
               entry.items_inside == 0   ? ""
               : entry.items_inside == 1 ? "1 item"
                                         : std::to_string(entry.items_inside) + " items"});
  }
  table.Print(context);
}

void EmptyTrashCommand(const Context& context, const std::string& older_than,
                       const std::string& folder) {
  Catalog catalog = Catalog::Open(context.location);
  std::optional<int32_t> days;
  if (!older_than.empty()) days = ParseDays(older_than);
  const int32_t removed = EmptyTrash(catalog, days, folder);
  if (context.json) {
    PrintJson(context, {{"removed", removed}});
    return;
  }
  if (context.quiet) return;
  context.out << "Removed " << removed << (removed == 1 ? " item" : " items") << " for good.\n";
}

void RestoreCommand(const Context& context, const std::string& id, bool rename) {
  Catalog catalog = Catalog::Open(context.location);
  const std::string name = RestoreFromTrash(catalog, id, rename);
  if (context.json) {
    PrintJson(context, {{"id", id}, {"name", name}});
    return;
  }
  if (context.quiet) return;
  context.out << "Restored " << id << " as \"" << name << "\".\n";
}

void VersionsCommand(const Context& context, const std::string& id, std::optional<int> keep) {
  Catalog catalog = Catalog::Open(context.location);
  if (keep) {
    KeepVersions(catalog, *keep);
    // With an id the document is that clipping's versions; alone, what was set.
    if (context.json && id.empty()) PrintJson(context, {{"versions_kept", *keep}});
    if (!context.quiet && !context.json) {
      context.out << "Keeping at most " << *keep << " versions per clipping.\n";
    }
    if (id.empty()) return;
  }
  const std::vector<ClippingVersion> versions = ListVersions(catalog, id);
  if (context.json) {
    nlohmann::json list = nlohmann::json::array();
    for (const ClippingVersion& version : versions) list.push_back(VersionJson(version));
    PrintJson(context, list);
    return;
  }
  if (versions.empty() && !context.tsv) {
    context.out << "Clipping " << id << " has no earlier versions.\n";
    return;
  }
  Table table({"VERSION", "REPLACED", "BY", "SIZE", "NAME"});
  for (const ClippingVersion& version : versions) {
    table.Add({std::to_string(version.version),
               context.tsv ? TsvDate(version.saved) : FormatIsoDate(version.saved),
               version.saved_by, context.tsv ? std::to_string(version.bytes) : Bytes(version.bytes),
               version.name});
  }
  table.Print(context);
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
  if (context.json) {
    PrintJson(context, {{"id", id}, {"version", version}});
    return;
  }
  if (context.quiet) return;
  context.out << "Clipping " << id << " is version " << version
              << " again; the state it replaced is kept as a version.\n";
}

void InfoCommand(const Context& context) {
  Catalog catalog = Catalog::Open(context.location);
  const VersionSpace space = VersionsSpace(catalog);
  const size_t trash = ListTrash(catalog).size();
  if (context.json) {
    PrintJson(context, {{"versions", space.versions},
                        {"clippings_with_versions", space.clippings},
                        {"version_bytes", space.bytes},
                        {"versions_kept", space.maximum_per_clipping},
                        {"trash", trash}});
    return;
  }
  Table table({"FIELD", "VALUE"});
  table.Add({"versions", std::to_string(space.versions) + " of " + std::to_string(space.clippings) +
                             " clippings, " + Bytes(space.bytes)});
  table.Add(
      {"versions kept", "at most " + std::to_string(space.maximum_per_clipping) + " per clipping"});
  table.Add({"trash", std::to_string(trash) + (trash == 1 ? " entry" : " entries")});
  table.Print(context);
}

}  // namespace clipcat::cli
