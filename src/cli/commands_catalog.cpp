// init, tree, categories, history, link, unlink and the tour.
#include <filesystem>
#include <optional>
#include <ostream>

#include "automation/automation_object.h"
#include "automation/entity_objects.h"
#include "cli/commands.h"
#include "cli/printing.h"
#include "cli/session.h"
#include "entities/connection_details.h"
#include "store/catalog_schema.h"
#include "store/connection_string.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat::cli {

namespace {

// The name of a server catalog's top folder when init is given none.
constexpr const char* kServerCatalogName = "Shared";

struct InitTarget {
  std::string file;         // a file catalog's absolute path, or empty
  std::string connection;   // a server catalog's connection string
  std::string source_name;  // the connection details' ClippingSourceName
};

// Where the connection details of --connection point: a file catalog (the Jet provider,
// directly or through a data link file) or a server catalog.
InitTarget TargetOfConnection(const std::string& connection_xml) {
  const auto details = ConnectionDetails::Create();
  details->SetXML(connection_xml);
  InitTarget target;
  target.source_name = details->ClippingSourceName();
  std::string connection = details->ConnectionString();
  if (const auto link = ConnectionStringValue(connection, "File Name")) {
    connection = ReadDataLinkFile(*link);
  }
  const auto provider = ConnectionStringValue(connection, "Provider");
  if (!provider || !EqualsIgnoreCase(*provider, kFileCatalogProvider)) {
    target.connection = details->ConnectionString();
    return target;
  }
  const auto source = ConnectionStringValue(connection, "Data Source");
  if (!source || source->empty()) {
    throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                          "the connection string names no Data Source file");
  }
  target.file = std::filesystem::absolute(*source).lexically_normal().string();
  return target;
}

}  // namespace

void InitCommand(const Context& context, const std::string& name) {
  InitTarget target{context.selection.path, "", ""};
  if (!context.selection.connection_xml.empty()) {
    target = TargetOfConnection(context.selection.connection_xml);
  }
  if (!target.connection.empty()) {
    const std::string top = !name.empty()                 ? name
                            : !target.source_name.empty() ? target.source_name
                                                          : kServerCatalogName;
    CreateServerCatalog(target.connection, top);
    // The connection string may hold a password: it is not repeated.
    context.out << "created server catalog " << top << "\n";
    return;
  }
  const std::filesystem::path path(target.file);
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
