#include "cli/catalog_selection.h"

#include <cstdlib>
#include <filesystem>

#include "automation/automation_object.h"
#include "automation/progid_registry.h"
#include "store/catalog_schema.h"
#include "util/paths.h"

namespace clipcat::cli {
namespace fs = std::filesystem;

namespace {

std::string EnvOrEmpty(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

}  // namespace

std::string DefaultCatalogPath() {
  std::string base = EnvOrEmpty("XDG_DATA_HOME");
  if (base.empty()) base = EnvOrEmpty("HOME") + "/.local/share";
  return base + "/clipcat/catalog.db";
}

CatalogSelection SelectCatalog(const std::string& catalog_option,
                               const std::string& connection_option) {
  CatalogSelection selection;
  if (!connection_option.empty()) {
    selection.connection_xml = connection_option;
    return selection;
  }
  std::string path = catalog_option;
  if (path.empty()) path = EnvOrEmpty("CLIPCAT_CATALOG");
  if (path.empty()) {
    path = DefaultCatalogPath();
    selection.is_default = true;
  }
  selection.path = fs::absolute(path).lexically_normal().string();
  return selection;
}

bool EnsureDefaultCatalog(const CatalogSelection& selection) {
  if (!selection.is_default || FileExists(selection.path)) return false;
  fs::create_directories(fs::path(selection.path).parent_path());
  CreateCatalog(selection.path, "Personal");
  return true;
}

std::string FileConnectionString(const std::string& path) {
  return "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + path;
}

std::shared_ptr<Dispatch> ConnectionObject(const CatalogSelection& selection) {
  auto details = CreateObject("TORVEL.ConnectionDetails");
  if (!selection.connection_xml.empty()) {
    SetProperty(details, "XML", Variant(selection.connection_xml));
    return details;
  }
  SetProperty(details, "DataSourceType", Variant(int32_t{1}));
  SetProperty(details, "IsPersonalCatalog", Variant(true));
  SetProperty(details, "ConnectionString", Variant(FileConnectionString(selection.path)));
  return details;
}

}  // namespace clipcat::cli
