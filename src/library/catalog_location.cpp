#include "library/catalog_location.h"

#include <cstdlib>
#include <filesystem>

#include "engine/connection_string.h"
#include "store/catalog_schema.h"
#include "util/errors.h"
#include "util/paths.h"
#include "util/text.h"

namespace clipcat {
namespace fs = std::filesystem;

namespace {

// The top folder of a new default catalog, and of a server catalog given no name at all.
constexpr const char* kDefaultCatalogName = "Personal";
constexpr const char* kServerCatalogName = "Shared";

std::string EnvOrEmpty(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

std::string AbsolutePath(const std::string& path) {
  return fs::absolute(path).lexically_normal().string();
}

struct CreationTarget {
  std::string file;         // a file catalog's absolute path, or empty
  std::string connection;   // a server catalog's connection string
  std::string source_name;  // the connection details' ClippingSourceName
};

// Where connection details point: a file catalog (the file provider, directly or through a data
// link file) or a server catalog.
CreationTarget TargetOfConnection(const std::string& connection_xml) {
  const auto details = ConnectionDetails::Create();
  details->SetXML(connection_xml);
  CreationTarget target;
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
  target.file = AbsolutePath(*source);
  return target;
}

}  // namespace

std::string DefaultCatalogPath() {
  std::string base = EnvOrEmpty("XDG_DATA_HOME");
  if (base.empty()) base = EnvOrEmpty("HOME") + "/.local/share";
  return base + "/clipcat/catalog.db";
}

bool IsServerUri(const std::string& text) {
  return text.rfind("postgresql://", 0) == 0 || text.rfind("postgres://", 0) == 0;
}

std::shared_ptr<ConnectionDetails> ConnectionDetailsForTarget(const std::string& path_or_uri) {
  auto details = ConnectionDetails::Create();
  if (IsServerUri(path_or_uri)) {
    details->SetDataSourceType(2);
    details->SetConnectionString(path_or_uri);
    return details;
  }
  details->SetDataSourceType(1);
  details->SetConnectionString(FileCatalogConnectionString(AbsolutePath(path_or_uri)));
  return details;
}

CatalogLocation SelectCatalog(const std::string& catalog_path, const std::string& connection_xml) {
  CatalogLocation location;
  if (!connection_xml.empty()) {
    location.connection_xml = connection_xml;
    return location;
  }
  std::string path = catalog_path;
  if (path.empty()) path = EnvOrEmpty("CLIPCAT_CATALOG");
  if (IsServerUri(path)) {
    location.connection_xml = ConnectionDetailsForTarget(path)->XML();
    return location;
  }
  if (path.empty()) {
    path = DefaultCatalogPath();
    location.is_default = true;
  }
  location.path = AbsolutePath(path);
  return location;
}

bool EnsureDefaultCatalog(const CatalogLocation& location) {
  if (!location.is_default || FileExists(location.path)) return false;
  fs::create_directories(fs::path(location.path).parent_path());
  CreateCatalog(location.path, kDefaultCatalogName);
  return true;
}

std::shared_ptr<ConnectionDetails> ConnectionDetailsFor(const CatalogLocation& location) {
  auto details = ConnectionDetails::Create();
  if (!location.connection_xml.empty()) {
    details->SetXML(location.connection_xml);
    return details;
  }
  details->SetDataSourceType(1);
  details->SetIsPersonalCatalog(true);
  details->SetConnectionString(FileCatalogConnectionString(location.path));
  return details;
}

CreatedCatalog CreateCatalogAt(const CatalogLocation& location, const std::string& name) {
  CreationTarget target{location.path, "", ""};
  if (!location.connection_xml.empty()) target = TargetOfConnection(location.connection_xml);
  CreatedCatalog created;
  if (!target.connection.empty()) {
    created.server_top = !name.empty()                 ? name
                         : !target.source_name.empty() ? target.source_name
                                                       : kServerCatalogName;
    CreateServerCatalog(target.connection, created.server_top);
    return created;
  }
  const fs::path path(target.file);
  fs::create_directories(path.parent_path());
  CreateCatalog(path.string(), name.empty() ? path.stem().string() : name);
  created.file = path.string();
  return created;
}

}  // namespace clipcat
