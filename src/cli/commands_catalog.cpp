// init, tree, categories, history, link and unlink.
#include <map>
#include <ostream>
#include <string>
#include <utility>

#include "cli/commands.h"
#include "cli/printing.h"
#include "library/catalog.h"
#include "library/catalog_location.h"
#include "library/clipping_details.h"
#include "library/item_edits.h"
#include "library/item_lookup.h"
#include "library/linked_catalog_status.h"
#include "library/linked_listings.h"
#include "library/team_catalog.h"

namespace clipcat::cli {

void InitCommand(const Context& context, const std::string& name) {
  const CreatedCatalog created = CreateCatalogAt(context.location, name);
  // A server's connection string may hold a password: it is not repeated.
  if (context.json) {
    PrintJson(context, created.file.empty()
                           ? nlohmann::json{{"file", nullptr}, {"top_folder", created.server_top}}
                           : nlohmann::json{{"file", created.file}, {"top_folder", nullptr}});
    return;
  }
  if (context.quiet) return;
  if (created.file.empty()) {
    context.out << "created server catalog " << created.server_top << "\n";
    return;
  }
  context.out << "created " << created.file << "\n";
}

void TreeCommand(const Context& context) {
  Catalog catalog = Catalog::Open(context.location);
  RequireReachable(catalog);
  // All linked catalogs at once: a silent server is waited for once, and then remembered.
  std::map<std::string, std::string> offline_reasons;
  for (const auto& linked : ProbeLinkedCatalogs(catalog)) {
    if (!linked.online) offline_reasons[linked.folder_id] = linked.reason;
  }
  const auto folders = catalog.read().GetFolders(catalog.details(), true);
  if (context.xml) {
    context.out << folders->XML() << "\n";
    return;
  }
  if (context.json) {
    nlohmann::json tops = nlohmann::json::array();
    for (const auto& folder : *folders->Items()) {
      nlohmann::json top = FolderJson(*folder, true);
      const auto reason = offline_reasons.find(folder->ID());
      if (top["offline"] == true && reason != offline_reasons.end()) {
        top["offline_reason"] = reason->second;
      }
      tops.push_back(std::move(top));
    }
    PrintJson(context, tops);
    return;
  }
  if (context.tsv) {
    PrintFolderTable(*folders, context);
    return;
  }
  PrintFolderTree(*folders, context.out, offline_reasons);
}

void CategoriesCommand(const Context& context, bool with_linked) {
  Catalog catalog = Catalog::Open(context.location);
  std::vector<std::string> offline;
  const std::vector<CatalogCategory> listed = ListCategories(catalog, with_linked, &offline);
  NoteOffline(context, offline);
  if (context.xml) {
    const auto categories = Categories::Create();
    for (const CatalogCategory& entry : listed) categories->AddCategory(entry.category);
    context.out << categories->XML() << "\n";
    return;
  }
  if (context.json) {
    nlohmann::json list = nlohmann::json::array();
    for (const CatalogCategory& entry : listed) {
      nlohmann::json category = CategoryJson(*entry.category);
      category["catalog"] = entry.catalog;
      list.push_back(std::move(category));
    }
    PrintJson(context, list);
    return;
  }
  Table table({"ID", "NAME", "CATALOG", "DESCRIPTION"});
  for (const CatalogCategory& entry : listed) {
    table.Add({entry.category->ID(), entry.category->Name(), PathCell(entry.catalog),
               entry.category->Description()});
  }
  table.Print(context);
}

void HistoryCommand(const Context& context, int maximum, bool with_linked) {
  Catalog catalog = Catalog::Open(context.location);
  std::vector<std::string> offline;
  const auto used = RecentlyUsed(catalog, maximum, with_linked, &offline);
  NoteOffline(context, offline);
  const auto clippings = Clippings::Create();
  for (const auto& clipping : used) clippings->AddClipping(clipping);
  if (context.json) {
    AddPathsAndCategories(catalog, used);
  } else if (!context.xml) {
    AddPaths(catalog, used);
  }
  PrintClippings(*clippings, context, true);
}

void LinkCommand(const Context& context, const std::string& name, const std::string& target,
                 const std::string& connection, bool offline) {
  Catalog catalog = Catalog::Open(context.location);
  std::shared_ptr<ConnectionDetails> linked;
  if (connection.empty()) {
    linked = ConnectionDetailsForTarget(target);
  } else {
    linked = ConnectionDetails::Create();
    linked->SetXML(connection);
  }
  const auto folder = LinkCatalog(catalog, name, linked, !offline);
  PrintFolder(*folder, context);
}

void TeamInitCommand(const Context& context, const std::string& uri, const std::string& name) {
  const TeamRoles roles = CreateTeamCatalog(uri, name);
  context.out << "created the team catalog with the roles " << roles.writers << " and "
              << roles.readers << "; let members in with: clipcat --catalog URI team grant USER\n";
}

void TeamGrantCommand(const Context& context, const std::string& user, bool read_only) {
  Catalog catalog = Catalog::Open(context.location);
  GrantTeamMember(catalog, user, read_only);
  context.out << user << " may now " << (read_only ? "read" : "read and change")
              << " the catalog\n";
}

void UnlinkCommand(const Context& context, const std::string& folder) {
  Catalog catalog = Catalog::Open(context.location);
  UnlinkFolder(catalog, folder);
}

}  // namespace clipcat::cli
