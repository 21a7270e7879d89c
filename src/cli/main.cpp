// The clipcat command: people's and scripts' way into a clipping catalog.
#include <CLI/CLI.hpp>
#include <iostream>

#include "automation/register_classes.h"
#include "cli/call_command.h"
#include "cli/catalog_selection.h"
#include "cli/commands.h"
#include "util/errors.h"

namespace {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 64;

int ReportError(const clipcat::AutomationError& e) {
  std::cerr << "error " << e.number() << " (" << e.source() << "): " << e.description() << "\n";
  return kExitFailure;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace clipcat::cli;
  CLI::App app{"clipcat - a catalog of named, reusable clippings", "clipcat"};
  app.set_version_flag("--version", std::string("clipcat ") + CLIPCAT_VERSION);
  app.require_subcommand(1);
  // The catalog options may also follow the command: clipcat tree --xml.
  app.fallthrough();
  app.footer(
      "The catalog: --connection XML, else --catalog PATH, else $CLIPCAT_CATALOG, else\n"
      "${XDG_DATA_HOME:-$HOME/.local/share}/clipcat/catalog.db (only this default catalog is\n"
      "created on first use; init creates the others).\n"
      "Exit status: 0 done; 1 failed, with \"error NUMBER (SOURCE): DESCRIPTION\" on standard\n"
      "error; 64 the command line is wrong. clipcat COMMAND --help tells more; docs/cli.md has\n"
      "an example of every command.");

  std::string catalog_option, connection_option;
  bool xml = false;
  auto* catalog_flag = app.add_option("--catalog", catalog_option,
                                      "Catalog file (default: $CLIPCAT_CATALOG, then the personal "
                                      "catalog in the data directory)");
  app.add_option("--connection", connection_option,
                 "The catalog's connection details as XML, for any kind of catalog")
      ->excludes(catalog_flag);
  app.add_flag("--xml", xml, "Print the entities' XML instead of text for people");

  auto* call = app.add_subcommand("call",
                                  "Call a member of a public class by name: "
                                  "call PROGID MEMBER [ARG ...]");
  call->prefix_command();
  // Everything after MEMBER is an argument of the member, even text that looks like an option.
  call->fallthrough(false);

  std::string init_name;
  auto* init = app.add_subcommand("init",
                                  "Create the catalog (a file, or a catalog on a server named by "
                                  "--connection) with its top folder");
  init->add_option("--name", init_name, "Name of the top folder (default: the file's name)");

  auto* tour = app.add_subcommand("tour",
                                  "Show the tree, a search and a clipping (seeds a new "
                                  "default catalog with a sample library)");
  auto* tree = app.add_subcommand("tree", "Show the folder tree with ids");

  std::string folder_id, item_id, name, parent;
  auto* ls = app.add_subcommand("ls", "List the clippings of a folder");
  ls->add_option("FOLDER", folder_id, "Folder id")->required();

  int raw_type = 0;
  auto* show = app.add_subcommand(
      "show", "Show a clipping with its data items (counts as a use in the history)");
  show->add_option("ID", item_id, "Clipping id")->required();
  show->add_option("--raw", raw_type, "Write only the content of the data item of this type");

  AddOptions add_options;
  std::string add_file, add_text;
  auto* add = app.add_subcommand("add", "Add a clipping with one data item");
  add->add_option("FOLDER", add_options.folder, "Folder id")->required();
  add->add_option("NAME", add_options.name, "Clipping name")->required();
  add->add_option("--type", add_options.type,
                  "Data type: 1 RTF, 2 text (default), 3 Excel XML, "
                  "4 Word XML, 5 catalog XML");
  auto* add_file_option = add->add_option("--file", add_file, "Content from this file");
  auto* add_text_option = add->add_option("--text", add_text, "Content given here");
  add_file_option->excludes(add_text_option);
  add->add_option("--description", add_options.description, "Description");

  auto* mkdir = app.add_subcommand("mkdir", "Add a folder");
  mkdir->add_option("PARENT", parent, "Parent folder id")->required();
  mkdir->add_option("NAME", name, "Folder name")->required();

  auto* rename = app.add_subcommand("rename", "Rename a folder or clipping");
  rename->add_option("ID", item_id, "Folder or clipping id")->required();
  rename->add_option("NAME", name, "New name")->required();

  auto* mv = app.add_subcommand("mv",
                                "Move a folder (with everything below it) or a clipping into "
                                "another folder; moved items get new ids, which are printed");
  mv->add_option("ID", item_id, "Folder or clipping id")->required();
  mv->add_option("PARENT", parent, "Id of the folder to move it into")->required();

  bool permanently = false;
  auto* rm = app.add_subcommand("rm",
                                "Delete a folder or clipping (marked deleted unless "
                                "--permanently)");
  rm->add_option("ID", item_id, "Folder or clipping id")->required();
  rm->add_flag("--permanently", permanently, "Remove the rows for good");

  SearchOptions search_options;
  auto* search = app.add_subcommand("search", "Search clippings by text, folders and categories");
  search->add_option("TEXT", search_options.text,
                     "Text to find in names and descriptions ('*' "
                     "matches anything)");
  search->add_option("--folder", search_options.folders, "Folder to search (repeatable)");
  search->add_flag("--subfolders", search_options.subfolders, "Search the folders below too");
  search->add_option("--category", search_options.categories,
                     "Only clippings in this category (repeatable: in any of them)");
  search->add_flag("--any-category", search_options.any_category,
                   "A clipping in one of the categories matches whatever its text");

  std::string category;
  auto* tag = app.add_subcommand("tag", "Put a clipping in a category (made if new)");
  tag->add_option("CLIPPING", item_id, "Clipping id")->required();
  tag->add_option("CATEGORY", category, "Category name")->required();
  auto* untag = app.add_subcommand("untag", "Take a clipping out of a category");
  untag->add_option("CLIPPING", item_id, "Clipping id")->required();
  untag->add_option("CATEGORY", category, "Category name")->required();

  auto* categories = app.add_subcommand("categories", "List the categories");

  int history_max = 20;
  auto* history =
      app.add_subcommand("history", "The most recently used clippings (show counts as a use)");
  history->add_option("--max", history_max, "How many (default 20)");

  std::string link_connection;
  auto* link = app.add_subcommand("link", "Link another catalog as a top-level folder");
  link->add_option("NAME", name, "Name of the linked folder")->required();
  link->add_option("--connection", link_connection,
                   "The linked catalog's connection details "
                   "(XML)")
      ->required();
  auto* unlink = app.add_subcommand("unlink", "Remove a linked folder and its catalog record");
  unlink->add_option("FOLDER", folder_id, "Linked folder id")->required();

  std::string export_file;
  auto* export_command = app.add_subcommand(
      "export",
      "Write the whole catalog (folders, clippings with data, categories, links) as one "
      "XML document");
  export_command->add_option("FILE", export_file, "Document to write (default: standard output)");

  std::string import_file, import_into;
  auto* import_command = app.add_subcommand(
      "import",
      "Add everything in a document that export wrote; into a new catalog this gives "
      "the same catalog");
  import_command->add_option("FILE", import_file, "Document to read ('-' for standard input)")
      ->required();
  import_command->add_option("--into", import_into,
                             "Folder to add it to (default: the catalog's top folder)");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int code = app.exit(e);
    return code == 0 ? 0 : kExitUsage;
  }

  try {
    clipcat::RegisterClasses();
    Context context{SelectCatalog(catalog_option, connection_option), std::cout, xml};
    if (call->parsed()) {
      const auto rest = call->remaining();
      if (rest.size() < 2) {
        std::cerr << "usage: clipcat call PROGID MEMBER [ARG ...]\n";
        return kExitUsage;
      }
      EnsureDefaultCatalog(context.selection);
      RunCall(ConnectionObject(context.selection), rest[0], rest[1],
              std::vector<std::string>(rest.begin() + 2, rest.end()), std::cout);
      return 0;
    }
    if (init->parsed()) {
      InitCommand(context, init_name);
      return 0;
    }
    if (tour->parsed()) {
      TourCommand(context);
      return 0;
    }
    EnsureDefaultCatalog(context.selection);
    if (tree->parsed()) TreeCommand(context);
    if (ls->parsed()) ListCommand(context, folder_id);
    if (show->parsed()) ShowCommand(context, item_id, raw_type);
    if (add->parsed()) {
      if (add_file_option->count() > 0) add_options.file = add_file;
      if (add_text_option->count() > 0) add_options.text = add_text;
      AddCommand(context, add_options);
    }
    if (mkdir->parsed()) MakeFolderCommand(context, parent, name);
    if (rename->parsed()) RenameCommand(context, item_id, name);
    if (mv->parsed()) MoveCommand(context, item_id, parent);
    if (rm->parsed()) RemoveCommand(context, item_id, permanently);
    if (search->parsed()) SearchCommand(context, search_options);
    if (tag->parsed()) TagCommand(context, item_id, category, false);
    if (untag->parsed()) TagCommand(context, item_id, category, true);
    if (categories->parsed()) CategoriesCommand(context);
    if (history->parsed()) HistoryCommand(context, history_max);
    if (link->parsed()) LinkCommand(context, name, link_connection);
    if (unlink->parsed()) UnlinkCommand(context, folder_id);
    if (export_command->parsed()) ExportCommand(context, export_file);
    if (import_command->parsed()) ImportCommand(context, import_file, import_into);
    return 0;
  } catch (const UsageError& e) {
    std::cerr << "usage: " << e.what() << "\n";
    return kExitUsage;
  } catch (const clipcat::AutomationError& e) {
    return ReportError(e);
  } catch (const std::exception& e) {
    return ReportError(clipcat::AutomationError(clipcat::err::kInvalidProcedureCall,
                                                clipcat::kComponentSource, e.what()));
  }
}
