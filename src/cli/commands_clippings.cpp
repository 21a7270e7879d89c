// ls, show, add, mkdir, rename, rm, search and tag: working with folders and clippings.
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <ostream>
#include <sstream>

#include "automation/entity_objects.h"
#include "cli/commands.h"
#include "cli/item_lookup.h"
#include "cli/printing.h"
#include "cli/session.h"
#include "util/errors.h"
#include "util/text.h"
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
  Session session(context.selection);
  const auto clippings =
      Unwrap<Clippings>(session.Read("GetClippingsFromFolder", {Variant(folder)}));
  PrintClippings(*clippings, context, false);
}

void ShowCommand(const Context& context, const std::string& id, int raw_type, bool record_access) {
  Session session(context.selection);
  const auto clipping = RequireClipping(session, id, true);
  if (record_access) session.Write("UpdateClippingHistory", {Wrap(clipping)});
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
  const std::string path = session.Read("GetClippingPathName", {Variant(id)}).ToText();
  const std::string categories =
      session.Read("GetCategoriesNamesForClipping", {Variant(id)}).ToText();
  Table table({"FIELD", "VALUE"});
  table.Add({"id", clipping->ID()});
  table.Add({"name", clipping->Name()});
  table.Add({"description", clipping->Description()});
  table.Add({"folder", clipping->FolderID() + "  " + path});
  table.Add({"guid", clipping->GUID()});
  table.Add({"updated", FormatCatalogDate(clipping->Updated())});
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
  Session session(context.selection);
  const auto clipping = Clipping::Create();
  clipping->SetName(options.name);
  clipping->SetDescription(options.description);
  const auto item = ClippingData::Create();
  item->SetClippingDataType(options.type);
  item->SetRawData(content);
  clipping->ClippingData()->Add(item);
  const auto added = Unwrap<Clipping>(
      session.Write("AddClipping", {Wrap(clipping), Variant(options.folder), Variant(true)}));
  context.out << (context.xml ? added->XML() : added->ID()) << "\n";
}

void MakeFolderCommand(const Context& context, const std::string& parent, const std::string& name) {
  Session session(context.selection);
  const auto folder = Folder::Create();
  folder->SetName(name);
  const auto added =
      Unwrap<Folder>(session.Write("AddFolder", {Wrap(folder), Variant(parent), Variant(true)}));
  context.out << (context.xml ? added->XML() : added->ID()) << "\n";
}

void RenameCommand(const Context& context, const std::string& id, const std::string& name) {
  Session session(context.selection);
  if (const auto folder = FolderOrNothing(session, id)) {
    folder->SetName(name);
    session.Write("UpdateFolder", {Wrap(folder), Variant(true)});
    return;
  }
  const auto clipping = RequireClipping(session, id, false);
  clipping->SetName(name);
  session.Write("UpdateClipping", {Wrap(clipping), Variant(false), Variant(true)});
}

void RemoveCommand(const Context& context, const std::string& id, bool permanently) {
  Session session(context.selection);
  if (FolderOrNothing(session, id)) {
    session.Write("DeleteFolder", {Variant(id), Variant(permanently)});
    return;
  }
  RequireClipping(session, id, false);
  session.Write("DeleteClipping", {Variant(id), Variant(permanently)});
}

void SearchCommand(const Context& context, const SearchOptions& options) {
  Session session(context.selection);
  const auto search = Search::Create();
  // People type a part of a name; the service matches whole names unless "*" says otherwise.
  search->SetSearchText(options.text.find('*') == std::string::npos ? "*" + options.text + "*"
                                                                    : options.text);
  std::vector<std::string> folders = options.folders;
  bool subfolders = options.subfolders;
  if (folders.empty()) {
    // The whole catalog: its top folder and everything below it.
    folders.push_back(Unwrap<Folder>(session.Read("GetPersonalCatalogRootFolder"))->ID());
    subfolders = true;
  }
  for (const auto& folder : folders) search->FolderIDs()->Add(folder);
  for (const auto& category : options.categories) search->CategoryNames()->Add(category);
  search->SetSearchSubFolders(subfolders);
  search->SetOrClippingBelongsToCategory(options.any_category);
  const auto clippings = Unwrap<Clippings>(session.Read("SearchForClippings", {Wrap(search)}));
  if (context.xml) {
    context.out << clippings->XML() << "\n";
    return;
  }
  Table table({"ID", "NAME", "FOLDER", "CATEGORIES"});
  for (const auto& clipping : *clippings->Items()) {
    table.Add({clipping->ID(), clipping->Name(), clipping->PathName(), clipping->Categories()});
  }
  table.Print(context.out);
}

void TagCommand(const Context& context, const std::string& clipping, const std::string& category,
                bool untag) {
  Session session(context.selection);
  const auto tagged = RequireClipping(session, clipping, false);
  auto existing = CategoryNamed(session, clipping, category);
  if (untag) {
    if (!existing) Refuse("no category is named " + category);
    session.Write("DeleteClippingFromCategory", {Variant(clipping), Variant(existing->ID())});
    return;
  }
  if (!existing) {
    const auto created = Category::Create();
    created->SetName(category);
    existing = Unwrap<Category>(
        session.Write("AddCategory", {Wrap(created), Variant(tagged->FolderID())}));
  }
  session.Write("AddClippingToCategory", {Variant(clipping), Variant(existing->ID())});
}

}  // namespace clipcat::cli
