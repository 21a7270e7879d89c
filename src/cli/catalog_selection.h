// Which catalog a clipcat command works on: --connection XML, else --catalog PATH, else
// $CLIPCAT_CATALOG, else the default personal catalog under the user's data directory. Only the
// default catalog is created on first use; a named file that does not exist stays unreachable.
#pragma once

#include <memory>
#include <string>

#include "util/dispatch.h"

namespace clipcat::cli {

struct CatalogSelection {
  std::string path;            // absolute path of a file catalog; empty with connection_xml
  std::string connection_xml;  // full connection details given by --connection
  bool is_default = false;     // the default personal catalog, created on first use
};

// Resolves the selection from the command's options and the environment. A relative path is made
// absolute against the current directory.
CatalogSelection SelectCatalog(const std::string& catalog_option,
                               const std::string& connection_option);

// The default catalog's path: ${XDG_DATA_HOME:-$HOME/.local/share}/clipcat/catalog.db.
std::string DefaultCatalogPath();

// Creates the default catalog (and its folder) with its root folder when the selection is the
// default catalog and the file does not exist yet. Answers true when it created it.
bool EnsureDefaultCatalog(const CatalogSelection& selection);

// The connection string of a file catalog at `path`.
std::string FileConnectionString(const std::string& path);

// The selection as a ConnectionDetails automation object: for a file, data source type 1, the
// personal-catalog flag and the file's connection string; otherwise the --connection XML.
std::shared_ptr<Dispatch> ConnectionObject(const CatalogSelection& selection);

}  // namespace clipcat::cli
