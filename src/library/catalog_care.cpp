#include "library/catalog_care.h"

#include <filesystem>

#include "engine/backend_factory.h"
#include "engine/sqlite_backup.h"
#include "engine/sqlite_file_header.h"
#include "store/catalog_schema.h"
#include "util/errors.h"

namespace clipcat {
namespace {

[[noreturn]] void Refuse(const std::string& why) {
  throw AutomationError(err::kInvalidProcedureCall, kComponentSource, why);
}

bool Exists(const std::string& path) {
  std::error_code error;
  return std::filesystem::exists(path, error);
}

void RequireReplaceable(const std::string& source, const std::string& target) {
  std::error_code error;
  if (std::filesystem::equivalent(source, target, error)) {
    Refuse("the backup cannot be written onto the catalog itself: " + target);
  }
  if (SqliteFileInUse(target)) {
    Refuse(target + " is a catalog in use (a program has it open, or left changes in its " +
           "-wal file); close the programs that use it first");
  }
  if (!Exists(target)) return;
  const auto header = ReadSqliteFileHeader(target);
  if (!header || !header->complete || header->magic_differences != 0 ||
      header->application_id != static_cast<uint32_t>(kCatalogApplicationId)) {
    Refuse(target + " exists and is not a catalog; the backup replaces only a catalog");
  }
}

}  // namespace

CatalogCheckReport CheckCatalogAt(const CatalogLocation& location) {
  const auto details = ConnectionDetailsFor(location);
  return CheckCatalog(details->ConnectionString(), "", "");
}

void BackupCatalog(const CatalogLocation& location, const std::string& target) {
  const auto details = ConnectionDetailsFor(location);
  const auto source = FileCatalogPath(details->ConnectionString());
  if (!source) {
    Refuse("backup copies file catalogs; a server catalog is backed up on its server (pg_dump)");
  }
  const std::string absolute = std::filesystem::absolute(target).string();
  RequireReplaceable(*source, absolute);
  BackupSqliteFile(*source, absolute);
}

}  // namespace clipcat
