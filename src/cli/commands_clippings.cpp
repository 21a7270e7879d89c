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
#include "entities/plain_text.h"
#include "library/catalog.h"
#include "library/clipping_search.h"
#include "library/content_index.h"
#include "library/item_edits.h"
#include "library/item_lookup.h"
#include "library/trash_and_versions.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat::cli {
namespace {

std::string ReadContent(const AddOptions& options) {
  if (options.text) return *options.text;
  std::ostringstream content;
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
  content << std::cin.rdbuf();
  return content.str();
}

}  // namespace

void ListCommand(const Context& context, const std::string& folder) {
  Catalog catalog = Catalog::Open(context.location);
  const auto clippings = catalog.read().GetClippingsFromFolder(folder, catalog.details());
  PrintClippings(*clippings, context, false);
}

void ShowCommand(const Context& context, const std::string& id, int raw_type, bool record_access,
                 std::optional<int> version) {
  Catalog catalog = Catalog::Open(context.location);
  // An earlier version is looked at, not used: it does not count in the history.
  const auto clipping =
      version ? ClippingAtVersion(catalog, id, *version) : RequireClipping(catalog, id, true);
  if (record_access && !version) {
    catalog.write().UpdateClippingHistory(clipping, catalog.details());
  }
  if (raw_type > 0) {
    for (const auto& item : *clipping->ClippingData()) {
      if (item->ClippingDataType() == raw_type) {
        context.out << item->RawData();
        return;
      }
    }
    Refuse("clipping " + id + " has no data item of type " + std::to_string(raw_type));
  }
  if (context.xml) {
    context.out << clipping->XML() << "\n";
    return;
  }
  const std::string path = catalog.read().GetClippingPathName(id, catalog.details());
  const std::string categories =
      catalog.read().GetCategoriesNamesForClipping(id, catalog.details());
  Table table({"FIELD", "VALUE"});
  table.Add({"id", clipping->ID()});
  table.Add({"name", clipping->Name()});
  table.Add({"description", clipping->Description()});
  table.Add({"folder", clipping->FolderID() + "  " + path});
  table.Add({"guid", clipping->GUID()});
  table.Add({version ? "replaced" : "updated", FormatCatalogDate(clipping->Updated())});
  if (version) table.Add({"version", std::to_string(*version)});
  table.Add({"categories", categories});
  for (const auto& item : *clipping->ClippingData()) {
    table.Add({"data", DataTypeName(item->ClippingDataType()) + " (type " +
                           std::to_string(item->ClippingDataType()) + "), " +
                           std::to_string(item->RawData().size()) + " bytes"});
  }
  table.Print(context.out);
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
  const auto added = catalog.write().AddClipping(clipping, options.folder, catalog.details(), true);
  context.out << (context.xml ? added->XML() : added->ID()) << "\n";
}

void MakeFolderCommand(const Context& context, const std::string& parent, const std::string& name) {
  Catalog catalog = Catalog::Open(context.location);
  const auto folder = Folder::Create();
  folder->SetName(name);
  const auto added = catalog.write().AddFolder(folder, parent, catalog.details(), true);
  context.out << (context.xml ? added->XML() : added->ID()) << "\n";
}

void RenameCommand(const Context& context, const std::string& id, const std::string& name) {
  Catalog catalog = Catalog::Open(context.location);
  RenameItem(catalog, id, name);
}

void RemoveCommand(const Context& context, const std::string& id, bool permanently) {
  Catalog catalog = Catalog::Open(context.location);
  RemoveItem(catalog, id, permanently);
}

void SearchCommand(const Context& context, const SearchOptions& options) {
  Catalog catalog = Catalog::Open(context.location);
  if (options.names_only) {
    const auto clippings = SearchClippings(catalog, options.query);
    if (context.xml) {
      context.out << clippings->XML() << "\n";
      return;
    }
    Table table({"ID", "NAME", "FOLDER", "CATEGORIES"});
    for (const auto& clipping : *clippings->Items()) {
      table.Add({clipping->ID(), clipping->Name(), clipping->PathName(), clipping->Categories()});
    }
    table.Print(context.out);
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
  if (!query.folders.empty()) content.folder = query.folders.front();
  if (!query.categories.empty()) content.category = query.categories.front();
  content.data_type = options.type;
  content.limit = options.limit;
  const std::vector<FoundClipping> found = SearchContent(catalog, content);
  if (context.xml) {
    const auto clippings = Clippings::Create();
    for (const FoundClipping& hit : found) clippings->AddClipping(hit.clipping);
    context.out << clippings->XML() << "\n";
    return;
  }
  Table table({"ID", "NAME", "FOLDER", "MATCH"});
  for (const FoundClipping& hit : found) {
    table.Add({hit.clipping->ID(), hit.clipping->Name(), hit.clipping->PathName(), hit.snippet});
  }
  table.Print(context.out);
}

void ReindexCommand(const Context& context, const std::string& folder) {
  Catalog catalog = Catalog::Open(context.location);
  ProgressBar progress("reindex");
  RebuildContentIndex(catalog, folder, progress.Reporter());
}

void TagCommand(const Context& context, const std::string& clipping, const std::string& category,
                bool untag) {
  Catalog catalog = Catalog::Open(context.location);
  if (untag) {
    UntagClipping(catalog, clipping, category);
    return;
  }
  TagClipping(catalog, clipping, category);
}

}  // namespace clipcat::cli
