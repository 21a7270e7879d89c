// check and backup: the soundness of the whole catalog, and a consistent copy of a file catalog.
#include <filesystem>

#include "cli/commands.h"
#include "library/catalog_care.h"
#include "util/errors.h"

namespace clipcat::cli {

void CheckCommand(const Context& context) {
  const CatalogCheckReport report = CheckCatalogAt(context.location);
  if (!context.quiet) {
    context.out << "checked " << report.catalog << "\n";
    for (const std::string& line : report.checked) context.out << "  " << line << "\n";
  }
  for (const std::string& problem : report.problems) context.out << "problem: " << problem << "\n";
  if (report.problems.empty()) {
    if (!context.quiet) context.out << "no problems found\n";
    return;
  }
  throw AutomationError(err::kCatalogDamaged, kComponentSource,
                        "catalog damaged: " + report.catalog + " (" +
                            std::to_string(report.problems.size()) + " problems found)");
}

void BackupCommand(const Context& context, const std::string& file) {
  BackupCatalog(context.location, file);
  std::error_code error;
  const auto size = std::filesystem::file_size(file, error);
  if (!context.quiet) {
    context.out << "backed up " << context.location.path << " to " << file;
    if (!error) context.out << " (" << size << " bytes)";
    context.out << "\n";
  }
}

}  // namespace clipcat::cli
