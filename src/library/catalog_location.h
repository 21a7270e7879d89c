// Which catalog a front end works on, and making it. A catalog is named by full connection details
// (any kind of catalog, file or server), else by a file path, else by $CLIPCAT_CATALOG, else it is
// the default personal catalog under the user's data directory. Only the default catalog is made
// on first use; a named file that does not exist stays unreachable, so that a mistyped name never
// makes a new, empty catalog. Reads the process environment: not safe against threads that change
// it.
#pragma once

#include <memory>
#include <string>

#include "entities/connection_details.h"

namespace clipcat {

struct CatalogLocation {
  std::string path;            // absolute path of a file catalog; empty with connection_xml
  std::string connection_xml;  // full connection details, as given
  bool is_default = false;     // the default personal catalog, made on first use
};

// The catalog that `connection_xml` (connection details as XML) or else `catalog_path` names; when
// both are empty, $CLIPCAT_CATALOG, else the default catalog. A path may be a server's URI
// ("postgresql://ann@db.example/team"), which stands for its connection details. A relative path
// is made absolute against the current directory. Touches no file.
CatalogLocation SelectCatalog(const std::string& catalog_path, const std::string& connection_xml);

// True for "postgresql://..." and "postgres://...": a catalog on a PostgreSQL server.
bool IsServerUri(const std::string& text);

// The connection details of the catalog a path or server URI names: data source type 2 with the
// URI as its connection string, or type 1 with the file's connection string (a relative path
// made absolute). Touches no file and no server.
std::shared_ptr<ConnectionDetails> ConnectionDetailsForTarget(const std::string& path_or_uri);

// The default catalog's path: ${XDG_DATA_HOME:-$HOME/.local/share}/clipcat/catalog.db.
std::string DefaultCatalogPath();

// Makes the default catalog (and the directories above it) with a top folder named "Personal" when
// `location` is the default catalog and its file does not exist yet. Answers true when it made it;
// any other location is left alone.
bool EnsureDefaultCatalog(const CatalogLocation& location);

// The connection details a client hands the services for `location`: for a file, data source type
// 1, the personal-catalog flag and the file's connection string; otherwise the details read from
// its XML (raising the entity's error, 424, for text that is not connection details).
std::shared_ptr<ConnectionDetails> ConnectionDetailsFor(const CatalogLocation& location);

// What CreateCatalogAt made: a file catalog, or a catalog on a server.
struct CreatedCatalog {
  std::string file;        // the new file's absolute path; empty for a server catalog
  std::string server_top;  // the server catalog's top folder name; empty for a file
};

// Makes the catalog `location` names with its top folder named `name`. A file catalog is named by
// a path, or by connection details whose connection string uses the file provider (directly or
// through a "File Name=" data link file); its top folder is by default named after the file
// without its extension, and the directories above it are made. Other connection details name a
// catalog on a PostgreSQL server, whose top folder is by default the details' ClippingSourceName,
// else "Shared". Raises the store's errors: an existing file or a database that holds a catalog
// already is refused; 5 for connection details naming the file provider but no file.
CreatedCatalog CreateCatalogAt(const CatalogLocation& location, const std::string& name);

}  // namespace clipcat
