// A command's working session: the selected catalog's connection details and the two public
// services, created late-bound by ProgID as any client creates them. Everyday commands call the
// services through it by member name; the default-connection parameters are filled in.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/catalog_selection.h"
#include "util/dispatch.h"

namespace clipcat::cli {

class Session {
 public:
  explicit Session(const CatalogSelection& selection);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Calls a member of the read or write service with the arguments of its declared parameters
  // other than the default connection.
  Variant Read(const std::string& member, std::vector<Variant> args = {});
  Variant Write(const std::string& member, std::vector<Variant> args = {});

  // Raises the catalog's own error (-2147220994 for one that cannot be reached) when the default
  // catalog does not open: for commands built on members that never fail.
  void RequireCatalog();

  const std::shared_ptr<Dispatch>& connection() const { return connection_; }

 private:
  std::shared_ptr<Dispatch> connection_;
  std::shared_ptr<Dispatch> read_;
  std::shared_ptr<Dispatch> write_;
};

}  // namespace clipcat::cli
