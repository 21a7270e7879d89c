// export and import: a whole catalog as one catalog document.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "automation/entity_objects.h"
#include "cli/catalog_document.h"
#include "cli/commands.h"
#include "cli/item_lookup.h"
#include "cli/progress.h"
#include "cli/session.h"
#include "entities/xml_io.h"
#include "util/errors.h"

namespace clipcat::cli {
namespace {

// The runtime's "Path/File access error": a file that cannot be written.
constexpr int32_t kPathFileAccessError = 75;

bool IsStandardStream(const std::string& file) { return file.empty() || file == "-"; }

[[noreturn]] void CannotWrite(const std::string& file) {
  throw AutomationError(kPathFileAccessError, kComponentSource, "Cannot write " + file);
}

void WriteFile(const pugi::xml_document& document, const std::string& file) {
  // Written beside the final name and renamed into place, so that a failed export never leaves
  // a truncated document where an older, complete one was.
  const std::string partial = file + ".partial";
  {
    std::ofstream out(partial, std::ios::binary | std::ios::trunc);
    if (!out) CannotWrite(partial);
    xml::SaveIndented(document, out);
    out.flush();
    if (!out) {
      std::remove(partial.c_str());
      CannotWrite(partial);
    }
  }
  std::error_code error;
  std::filesystem::rename(partial, file, error);
  if (error) {
    std::remove(partial.c_str());
    CannotWrite(file);
  }
}

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

void ExportCommand(const Context& context, const std::string& file) {
  Session session(context.selection);
  const auto top = Unwrap<Folder>(session.Read("GetPersonalCatalogRootFolder"));
  if (!top) Refuse("the catalog has no top folder");
  pugi::xml_document document;
  DocumentCounts counts;
  {
    ProgressBar progress("export", 0);
    counts = ExportFolderTree(session, top->ID(), true, document, progress);
  }
  if (IsStandardStream(file)) {
    xml::SaveIndented(document, context.out);
    return;
  }
  WriteFile(document, file);
  context.out << "exported " << DescribeCounts(counts) << " to " << file << "\n";
}

void ImportCommand(const Context& context, const std::string& file, const std::string& into) {
  const std::string text = ReadDocumentText(file);
  pugi::xml_document document;
  const DocumentCounts counts = LoadDocument(text, document);
  Session session(context.selection);
  std::string target = into;
  if (target.empty()) {
    const auto top = Unwrap<Folder>(session.Read("GetPersonalCatalogRootFolder"));
    if (!top) Refuse("the catalog has no top folder");
    target = top->ID();
  }
  RequireFolder(session, target);
  ImportResult result;
  {
    ProgressBar progress("import", ImportSteps(counts));
    result = ImportDocument(session, document, target, false, progress);
  }
  context.out << "imported " << DescribeCounts(result.counts) << "\n";
}

}  // namespace clipcat::cli
