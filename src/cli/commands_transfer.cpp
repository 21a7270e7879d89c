// export and import: a whole catalog as one catalog document.
#include <fstream>
#include <iostream>
#include <sstream>

#include "cli/commands.h"
#include "cli/printing.h"
#include "cli/progress.h"
#include "library/catalog.h"
#include "library/catalog_export.h"
#include "library/catalog_import.h"
#include "util/errors.h"

namespace clipcat::cli {
namespace {

bool IsStandardStream(const std::string& file) { return file.empty() || file == "-"; }

std::string ReadDocumentText(const std::string& file) {
  std::ostringstream content;
  if (IsStandardStream(file)) {
    content << std::cin.rdbuf();
    return content.str();
  }
  std::ifstream in(file, std::ios::binary);
  if (!in) throw AutomationError(err::kFileNotFound, kComponentSource, "File not found: " + file);
  content << in.rdbuf();
  return content.str();
}

}  // namespace

void ExportCommand(const Context& context, const std::string& file, bool with_history) {
  Catalog catalog = Catalog::Open(context.location);
  CatalogDocument document;
  {
    ProgressBar progress("export");
    document = ExportCatalog(catalog, progress.Reporter(), with_history);
  }
  if (IsStandardStream(file)) {
    document.Write(context.out);
    return;
  }
  document.WriteFile(file);
  context.out << "exported " << DescribeCounts(document.counts()) << " to " << file << "\n";
}

void ImportCommand(const Context& context, const std::string& file, const std::string& into,
                   bool with_history) {
  const CatalogDocument document = CatalogDocument::Parse(ReadDocumentText(file));
  Catalog catalog = Catalog::Open(context.location);
  ImportResult result;
  {
    ProgressBar progress("import");
    result = ImportDocument(catalog, document, into, progress.Reporter(), with_history);
  }
  context.out << "imported " << DescribeCounts(result.counts) << "\n";
}

}  // namespace clipcat::cli
