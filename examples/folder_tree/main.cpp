// folder_tree CATALOG: prints the folder tree of a file catalog. The smallest client of
// libclipcat: it creates the read service by its ProgID and calls it by member name, as any
// late-bound client does, handing it the catalog's connection details on every call.
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "automation/automation_object.h"
#include "automation/progid_registry.h"
#include "automation/register_classes.h"
#include "util/errors.h"
#include "util/variant.h"

namespace {

using clipcat::Dispatch;
using clipcat::Variant;

// The connection details of the file catalog at `path`.
std::shared_ptr<Dispatch> FileCatalog(const std::string& path) {
  auto details = clipcat::CreateObject("TORVEL.ConnectionDetails");
  clipcat::SetProperty(details, "DataSourceType", Variant(int32_t{1}));
  clipcat::SetProperty(details, "IsPersonalCatalog", Variant(true));
  clipcat::SetProperty(details, "ConnectionString",
                       Variant("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" +
                               std::filesystem::absolute(path).string()));
  return details;
}

// One line per folder, "Name  [ID]", children indented under their parent.
void PrintTree(const std::shared_ptr<Dispatch>& top) {
  struct Pending {
    std::shared_ptr<Dispatch> folder;
    int depth;
  };
  std::vector<Pending> pending = {{top, 0}};
  while (!pending.empty()) {
    const Pending next = pending.back();
    pending.pop_back();
    std::cout << std::string(static_cast<size_t>(next.depth) * 2, ' ')
              << clipcat::GetProperty(next.folder, "Name").ToText() << "  ["
              << clipcat::GetProperty(next.folder, "ID").ToText() << "]\n";
    const auto children = clipcat::GetProperty(next.folder, "ChildFolders").AsObject();
    for (int32_t i = clipcat::GetProperty(children, "Count").ToLong(); i >= 1; --i) {
      pending.push_back(
          {clipcat::CallMember(children, "Item", {Variant(i)}).AsObject(), next.depth + 1});
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: folder_tree CATALOG\n";
    return 64;
  }
  try {
    clipcat::RegisterClasses();
    const auto catalog = FileCatalog(argv[1]);
    const auto read = clipcat::CreateObject("TORVEL.ClippingDataRead");
    const Variant top =
        clipcat::CallMember(read, "GetPersonalCatalogRootFolder", {Variant(catalog)});
    // The top folder again, now with every folder below it loaded into its ChildFolders.
    const Variant tree = clipcat::CallMember(
        read, "GetChildFolders",
        {Variant(clipcat::GetProperty(top.AsObject(), "ID").ToText()), Variant(catalog)});
    PrintTree(tree.AsObject());
    return 0;
  } catch (const clipcat::AutomationError& e) {
    std::cerr << "error " << e.number() << " (" << e.source() << "): " << e.description() << "\n";
    return 1;
  }
}
