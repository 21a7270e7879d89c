// export and import: a whole catalog as one catalog document, and imports from a directory of
// files or a JSON document.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "cli/commands.h"
#include "cli/printing.h"
#include "cli/progress.h"
#include "library/catalog.h"
#include "library/catalog_export.h"
#include "library/catalog_import.h"
#include "library/catalog_portable.h"
#include "library/catalog_sources.h"
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

CatalogDocument ReadSource(const std::string& file) {
  std::error_code error;
  if (!IsStandardStream(file) && std::filesystem::is_directory(file, error)) {
    return DocumentFromDirectory(file);
  }
  return ParseDocumentText(ReadDocumentText(file), IsStandardStream(file) ? "" : file);
}

OnConflict ConflictPolicy(const std::string& name) {
  if (name == "skip") return OnConflict::kSkip;
  if (name == "replace") return OnConflict::kReplace;
  if (name == "rename") return OnConflict::kRename;
  return OnConflict::kFail;  // the parser admits only these four
}

// "; 1 skipped, 2 renamed" for the notes of an import, "" when there are none.
std::string DescribeNotes(const std::vector<ImportNote>& notes) {
  struct Tally {
    ImportNote::Kind kind;
    const char* words;
  };
  static const Tally kTallies[] = {{ImportNote::Kind::kSkipped, "skipped"},
                                   {ImportNote::Kind::kMerged, "merged"},
                                   {ImportNote::Kind::kReplaced, "replaced"},
                                   {ImportNote::Kind::kRenamed, "renamed"},
                                   {ImportNote::Kind::kNameFixed, "with a name fixed"}};
  std::string text;
  for (const Tally& tally : kTallies) {
    size_t n = 0;
    for (const ImportNote& note : notes) n += note.kind == tally.kind ? 1 : 0;
    if (n > 0) text += (text.empty() ? "; " : ", ") + std::to_string(n) + " " + tally.words;
  }
  return text;
}

// One line for a note: "renamed clipping Letters/Greeting to "Greeting (2)": the name is taken".
std::string NoteLine(const ImportNote& note) {
  const std::string item =
      note.what + " " + (note.folder.empty() ? "" : note.folder + "/") + note.name;
  switch (note.kind) {
    case ImportNote::Kind::kSkipped:
      return "skipped " + item + ": the name is taken";
    case ImportNote::Kind::kMerged:
      return "merged " + item + " into the folder of that name";
    case ImportNote::Kind::kReplaced:
      return "replaced " + item + " (its old content is kept as a version)";
    case ImportNote::Kind::kRenamed:
      return "renamed " + item + " to \"" + note.new_name + "\": the name is taken";
    case ImportNote::Kind::kNameFixed:
      // The old name may hold control characters: it is not shown.
      return "named a " + note.what + (note.folder.empty() ? "" : " in " + note.folder) + " \"" +
             note.new_name + "\": its name was empty, blank or held control characters";
  }
  return item;
}

}  // namespace

void ExportCommand(const Context& context, const std::string& file, bool with_history,
                   bool portable, bool skip_damaged) {
  Catalog catalog = Catalog::Open(context.location);
  CatalogDocument document;
  std::vector<std::string> unreadable;
  {
    ProgressBar progress("export");
    document = ExportCatalog(catalog, progress.Reporter(), with_history,
                             skip_damaged ? &unreadable : nullptr);
  }
  if (portable) document = PortableDocument(document);
  if (IsStandardStream(file)) {
    document.Write(context.out);
  } else {
    document.WriteFile(file);
    context.out << "exported " << DescribeCounts(document.counts()) << " to " << file << "\n";
  }
  if (unreadable.empty()) return;
  std::ostream& list = IsStandardStream(file) ? std::cerr : context.out;
  for (const std::string& item : unreadable) list << "left out, unreadable: " << item << "\n";
  throw AutomationError(err::kCatalogDamaged, kComponentSource,
                        CatalogDamagedDescription(
                            context.location.path.empty() ? "the catalog" : context.location.path,
                            std::to_string(unreadable.size()) +
                                " clippings or folders could not be read and were left out"));
}

void ImportCommand(const Context& context, const std::string& file, const std::string& into,
                   bool with_history, const std::string& on_conflict) {
  const CatalogDocument document = ReadSource(file);
  Catalog catalog = Catalog::Open(context.location);
  ImportResult result;
  {
    ProgressBar progress("import");
    ImportOptions options;
    options.with_history = with_history;
    options.on_conflict = ConflictPolicy(on_conflict);
    result = ImportDocument(catalog, document, into, progress.Reporter(), options);
  }
  context.out << "imported " << DescribeCounts(result.counts) << DescribeNotes(result.notes)
              << "\n";
  for (const ImportNote& note : result.notes) context.out << NoteLine(note) << "\n";
}

}  // namespace clipcat::cli
