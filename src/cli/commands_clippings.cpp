// ls, show, add, mkdir, rename, rm, search and tag: working with folders and clippings.
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <ostream>
#include <sstream>

#include "cli/call_command.h"
#include "cli/commands.h"
#include "cli/printing.h"
#include "cli/progress.h"
#include "cli/prompt.h"
#include "entities/plain_text.h"
#include "library/access_times.h"
#include "library/catalog.h"
#include "library/clipping_details.h"
#include "library/clipping_search.h"
#include "library/content_index.h"
#include "library/item_edits.h"
#include "library/item_lookup.h"
#include "library/item_paths.h"
#include "library/trash_and_versions.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat::cli {
namespace {

std::string ReadStandardInput() {
  std::ostringstream content;
  content << std::cin.rdbuf();
  // An empty clipping made by a slip (a pipe that gave nothing) would look like a saved one.
  if (content.str().empty()) Refuse("standard input was empty: there is no content to add");
  return content.str();
}

std::string ReadContent(const AddOptions& options) {
  if (options.text) return *options.text;
  std::ostringstream content;
  if (options.file && *options.file == "-") return ReadStandardInput();
  if (options.file) {
    std::ifstream in(*options.file, std::ios::binary);
    if (!in) {
      throw AutomationError(err::kFileNotFound, kComponentSource,
                            "File not found: " + *options.file);
    }
    content << in.rdbuf();
    return content.str();
  }
  if (isatty(STDIN_FILENO)) Refuse("add needs --text, --file or content on standard input");
  return ReadStandardInput();
}

// "2 folders and 5 clippings".
std::string Below(const RemovalScope& scope) {
  const auto count = [](size_t n, const char* one, const char* many) {
    return std::to_string(n) + " " + (n == 1 ? one : many);
  };
  return count(scope.folders, "folder", "folders") + " and " +
         count(scope.clippings, "clipping", "clippings");
}

// "folder 7 (Letters) with 2 folders and 5 clippings below it", "clipping 9 (Greeting)".
std::string DescribeRemovalScope(const std::string& id, const RemovalScope& scope) {
  if (!scope.folder) return "clipping " + id + " (" + scope.name + ")";
  return "folder " + id + " (" + scope.name + ") with " + Below(scope) + " below it";
}

}  // namespace

void ListCommand(const Context& context, const std::string& folder) {
  Catalog catalog = Catalog::Open(context.location);
  RequireFolder(catalog, folder);
  const auto clippings = catalog.read().GetClippingsFromFolder(folder, catalog.details());
  // Listings are read without their last use; JSON has a place for it.
  AccessTimes used;
  if (context.json) {
    AddPathsAndCategories(catalog, clippings->Items()->Snapshot());
    used = LastAccessTimes(catalog);
  }
  PrintClippings(*clippings, context, false, &used);
}

void ShowCommand(const Context& context, const std::string& id, int raw_type, bool record_access,
                 std::optional<int> version) {
  Catalog catalog = Catalog::Open(context.location);
  // An earlier version is looked at, not used: it does not count in the history.
  const auto clipping =
      version ? ClippingAtVersion(catalog, id, *version) : RequireClipping(catalog, id, true);
  // The use is counted once everything shown has been read: a show that fails counts none.
  const auto count_use = [&] {
    if (record_access && !version) CountUse(catalog, clipping);
  };
  if (raw_type > 0) {
    for (const auto& item : *clipping->ClippingData()) {
      if (item->ClippingDataType() == raw_type) {
        count_use();
        context.out << item->RawData();
        return;
      }
    }
    Refuse("clipping " + id + " has no data item of type " + std::to_string(raw_type));
  }
  if (context.xml) {
    count_use();
    context.out << clipping->XML() << "\n";
    return;
  }
  FolderPaths paths(catalog);
  const std::string path = paths.Of(clipping->FolderID());
  const std::string categories =
      catalog.read().GetCategoriesNamesForClipping(id, catalog.details());
  count_use();
  if (context.json) {
    clipping->SetPathName(path);
    clipping->SetCategories(categories);
    const AccessTimes used = LastAccessTimes(catalog);
    nlohmann::json shown = ClippingJson(*clipping, true, &used);
    if (version) shown["version"] = *version;
    PrintJson(context, shown);
    return;
  }
  Table table({"FIELD", "VALUE"});
  table.Add({"id", clipping->ID()});
  table.Add({"name", clipping->Name()});
  table.Add({"description", clipping->Description()});
  table.Add({"path", paths.Below(clipping->FolderID(), clipping->Name())});
  table.Add({"folder", clipping->FolderID() + "  " + PathCell(path)});
  table.Add({"guid", clipping->GUID()});
  table.Add({version ? "replaced" : "updated",
             context.tsv ? TsvDate(clipping->Updated()) : FormatCatalogDate(clipping->Updated())});
  if (version) table.Add({"version", std::to_string(*version)});
  table.Add({"categories", categories});
  for (const auto& item : *clipping->ClippingData()) {
    table.Add({"data", DataTypeName(item->ClippingDataType()) + " (type " +
                           std::to_string(item->ClippingDataType()) + "), " +
                           std::to_string(item->RawData().size()) + " bytes"});
  }
  table.Print(context);
  // A table for scripts is the table alone.
  if (context.tsv) return;
  for (const auto& item : *clipping->ClippingData()) {
    if (item->ClippingDataType() == 2) context.out << "\n" << item->RawData() << "\n";
  }
}

void AddCommand(const Context& context, const AddOptions& options) {
  if (options.type < 1 || options.type > 5) Refuse("--type must be 1 to 5");
  const std::string content = ReadContent(options);
  Catalog catalog = Catalog::Open(context.location);
  const auto clipping = Clipping::Create();
  clipping->SetName(options.name);
  clipping->SetDescription(options.description);
  const auto item = ClippingData::Create();
  item->SetClippingDataType(options.type);
  item->SetRawData(content);
  clipping->ClippingData()->Add(item);
  const auto added = AddClippingTo(catalog, options.folder, clipping);
  if (context.json) {
    AddPathsAndCategories(catalog, {added});
  }
  PrintClipping(*added, context);
}

void MakeFolderCommand(const Context& context, const std::string& parent, const std::string& name) {
  Catalog catalog = Catalog::Open(context.location);
  const auto added = AddFolderNamed(catalog, parent, name);
  PrintFolder(*added, context);
}

void RenameCommand(const Context& context, const std::string& id, const std::string& name) {
  Catalog catalog = Catalog::Open(context.location);
  RenameItem(catalog, id, name);
}

void RemoveCommand(const Context& context, const std::string& id, const RemoveOptions& options) {
  Catalog catalog = Catalog::Open(context.location);
  const RemovalScope scope = DescribeRemoval(catalog, id);
  const std::string what = DescribeRemovalScope(id, scope);
  if (options.dry_run && context.json) {
    PrintJson(context, {{"id", id},
                        {"kind", scope.folder ? "folder" : "clipping"},
                        {"name", scope.name},
                        {"folders_below", scope.folders},
                        {"clippings_below", scope.clippings},
                        {"permanently", options.permanently}});
    return;
  }
  if (options.dry_run) {
    // What a dry run exists to say: printed even with -q.
    context.out << "would delete " << what << (options.permanently ? " for good" : "") << "\n";
    return;
  }
  if (scope.folder && scope.folders + scope.clippings > 0 && !options.force) {
    if (!isatty(STDIN_FILENO)) {
      Refuse("folder " + id + " is not empty (" + Below(scope) +
             " below it): give --force to delete it with everything below it");
    }
    if (!Confirm("delete " + what + (options.permanently ? " for good" : "") + "?")) {
      Refuse("nothing was deleted");
    }
  }
  RemoveItem(catalog, id, options.permanently);
}

void SearchCommand(const Context& context, const SearchOptions& options) {
  Catalog catalog = Catalog::Open(context.location);
  for (const std::string& folder : options.query.folders) RequireFolder(catalog, folder);
  std::vector<std::string> offline;
  if (options.names_only) {
    const auto clippings = SearchClippings(catalog, options.query, &offline);
    NoteOffline(context, offline);
    if (!context.xml) AddPaths(catalog, clippings->Items()->Snapshot());
    if (context.xml) {
      context.out << clippings->XML() << "\n";
    } else if (context.json) {
      nlohmann::json list = nlohmann::json::array();
      const AccessTimes used = LastAccessTimes(catalog);
      for (const auto& clipping : *clippings->Items()) {
        list.push_back(ClippingJson(*clipping, false, &used));
      }
      PrintJson(context, list);
    } else {
      Table table({"ID", "NAME", "FOLDER", "CATEGORIES"});
      for (const auto& clipping : *clippings->Items()) {
        table.Add({clipping->ID(), clipping->Name(), PathCell(clipping->PathName()),
                   clipping->Categories()});
      }
      table.Print(context);
    }
    if (clippings->Items()->Count() == 0) throw NothingFound();
    return;
  }
  const ClippingQuery& query = options.query;
  if (query.folders.size() > 1 || query.categories.size() > 1 || query.any_category) {
    throw UsageError(
        "a search by words takes at most one --folder and one --category (with --names-only: "
        "several)");
  }
  ContentQueryOptions content;
  content.text = query.text;
  content.linked = query.linked;
  if (!query.folders.empty()) content.folder = query.folders.front();
  if (!query.categories.empty()) content.category = query.categories.front();
  content.data_type = options.type;
  content.limit = options.limit;
  const std::vector<FoundClipping> found = SearchContent(catalog, content, &offline);
  NoteOffline(context, offline);
  std::vector<std::shared_ptr<Clipping>> hits;
  for (const FoundClipping& hit : found) hits.push_back(hit.clipping);
  if (context.json) {
    AddPathsAndCategories(catalog, hits);
  } else if (!context.xml) {
    AddPaths(catalog, hits);
  }
  if (context.xml) {
    const auto clippings = Clippings::Create();
    for (const FoundClipping& hit : found) clippings->AddClipping(hit.clipping);
    context.out << clippings->XML() << "\n";
  } else if (context.json) {
    nlohmann::json list = nlohmann::json::array();
    const AccessTimes used = LastAccessTimes(catalog);
    for (const FoundClipping& hit : found) list.push_back(FoundClippingJson(hit, &used));
    PrintJson(context, list);
  } else {
    Table table({"ID", "NAME", "FOLDER", "MATCH"});
    for (const FoundClipping& hit : found) {
      table.Add({hit.clipping->ID(), hit.clipping->Name(), PathCell(hit.clipping->PathName()),
                 hit.snippet});
    }
    table.Print(context);
  }
  if (found.empty()) throw NothingFound();
}

void ReindexCommand(const Context& context, const std::string& folder) {
  Catalog catalog = Catalog::Open(context.location);
  ProgressBar progress("reindex");
  RebuildContentIndex(catalog, folder, progress.Reporter());
}

void TagCommand(const Context& context, const std::vector<std::string>& clippings,
                const std::string& category, bool untag) {
  Catalog catalog = Catalog::Open(context.location);
  if (untag) {
    UntagClippings(catalog, clippings, category);
    return;
  }
  TagClippings(catalog, clippings, category);
}

}  // namespace clipcat::cli
