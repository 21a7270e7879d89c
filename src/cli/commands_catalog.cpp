// init, tree, categories, history, link, unlink and the tour.
#include <filesystem>
#include <ostream>

#include "automation/automation_object.h"
#include "automation/entity_objects.h"
#include "cli/commands.h"
#include "cli/printing.h"
#include "cli/session.h"
#include "store/catalog_schema.h"
#include "util/errors.h"

namespace clipcat::cli {

void InitCommand(const Context& context, const std::string& name) {
  if (context.selection.path.empty()) {
    throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                          "init needs a file catalog (--catalog PATH or $CLIPCAT_CATALOG)");
  }
  const std::filesystem::path path(context.selection.path);
  std::filesystem::create_directories(path.parent_path());
  CreateCatalog(path.string(), name.empty() ? path.stem().string() : name);
  context.out << "created " << path.string() << "\n";
}

void TreeCommand(const Context& context) {
  Session session(context.selection);
  session.RequireCatalog();
  const auto folders = Unwrap<Folders>(session.Read("GetFolders", {Variant(true)}));
  if (context.xml) {
    context.out << folders->XML() << "\n";
    return;
  }
  PrintFolderTree(*folders, context.out);
}

void CategoriesCommand(const Context& context) {
  Session session(context.selection);
  const auto root = Unwrap<Folder>(session.Read("GetPersonalCatalogRootFolder"));
  const auto categories =
      Unwrap<Categories>(session.Read("GetCategoriesFromFolder", {Variant(root->ID())}));
  if (context.xml) {
    context.out << categories->XML() << "\n";
    return;
  }
  Table table({"ID", "NAME", "DESCRIPTION"});
  for (const auto& category : *categories->Items()) {
    table.Add({category->ID(), category->Name(), category->Description()});
  }
  table.Print(context.out);
}

void HistoryCommand(const Context& context, int maximum) {
  Session session(context.selection);
  session.RequireCatalog();
  const auto clippings =
      Unwrap<Clippings>(session.Read("GetClippingsHistroy", {Variant(int32_t{maximum})}));
  PrintClippings(*clippings, context, true);
}

void LinkCommand(const Context& context, const std::string& name, const std::string& connection) {
  Session session(context.selection);
  const auto folder =
      Unwrap<Folder>(session.Write("AddLinkedFolder", {Variant(connection), Variant(name)}));
  if (context.xml) {
    context.out << folder->XML() << "\n";
    return;
  }
  context.out << folder->ID() << "\n";
}

void UnlinkCommand(const Context& context, const std::string& folder) {
  Session session(context.selection);
  session.Write("DeleteLinkedFolder", {Variant(folder)});
}

}  // namespace clipcat::cli
