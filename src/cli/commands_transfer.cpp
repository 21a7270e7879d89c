// export and import: a whole catalog as one catalog document, and imports from a directory of
// files or a JSON document.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "cli/call_command.h"
#include "cli/commands.h"
#include "cli/printing.h"
#include "cli/progress.h"
#include "library/catalog.h"
#include "library/catalog_export.h"
#include "library/catalog_import.h"
#include "library/catalog_portable.h"
#include "library/catalog_sources.h"
#include "library/item_paths.h"
#include "util/errors.h"

namespace clipcat::cli {
namespace {

bool IsStandardStream(const std::string& file) { return file.empty() || file == "-"; }

// Everything `in` holds, read straight into the text: a large document is held once, never as a
// stream's buffer and a copy of it.
std::string ReadAll(std::istream& in) {
  std::string text;
  char buffer[1 << 16];
  while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
    text.append(buffer, static_cast<size_t>(in.gcount()));
  }
  return text;
}

// A file is read as a stream (twice: checked, then imported); standard input, which cannot be
// read twice, is held whole.
CatalogDocument ReadSource(const std::string& file) {
  if (IsStandardStream(file)) return ParseDocumentText(ReadAll(std::cin));
  std::error_code error;
  if (std::filesystem::is_directory(file, error)) return DocumentFromDirectory(file);
  return OpenDocumentFile(file);
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

// The counts of a document or an import as JSON: every kind, zeros included.
nlohmann::json CountsJson(const DocumentCounts& counts) {
  return {{"folders", counts.folders},       {"clippings", counts.clippings},
          {"categories", counts.categories}, {"memberships", counts.memberships},
          {"links", counts.links},           {"versions", counts.versions},
          {"in_trash", counts.deleted}};
}

const char* NoteKind(ImportNote::Kind kind) {
  switch (kind) {
    case ImportNote::Kind::kSkipped:
      return "skipped";
    case ImportNote::Kind::kMerged:
      return "merged";
    case ImportNote::Kind::kReplaced:
      return "replaced";
    case ImportNote::Kind::kRenamed:
      return "renamed";
    case ImportNote::Kind::kNameFixed:
      return "name_fixed";
  }
  return "";
}

// {"kind", "what", "folder", "name", "new_name"}: "folder" is the document's folder path; the
// old name of an item whose name was fixed is not repeated (it may hold control characters).
nlohmann::json NoteJson(const ImportNote& note) {
  const bool fixed = note.kind == ImportNote::Kind::kNameFixed;
  return {{"kind", NoteKind(note.kind)},
          {"what", note.what},
          {"folder", note.folder},
          {"name", fixed ? nlohmann::json(nullptr) : nlohmann::json(note.name)},
          {"new_name",
           note.new_name.empty() ? nlohmann::json(nullptr) : nlohmann::json(note.new_name)}};
}

}  // namespace

void ExportCommand(const Context& context, const std::string& file, bool with_history,
                   bool portable, bool skip_damaged) {
  // The document is what standard output holds then: a summary beside it would break it.
  if (context.json && IsStandardStream(file)) {
    throw UsageError("export --json needs FILE: without one the document is the output");
  }
  Catalog catalog = Catalog::Open(context.location);
  std::vector<std::string> unreadable;
  std::vector<std::string>* const left_out = skip_damaged ? &unreadable : nullptr;
  DocumentCounts counts;
  {
    ProgressBar progress("export");
    if (portable) {
      // Members named by path: the document is made whole, then rewritten.
      const CatalogDocument document =
          PortableDocument(ExportCatalog(catalog, progress.Reporter(), with_history, left_out));
      if (IsStandardStream(file)) {
        document.Write(context.out);
      } else {
        document.WriteFile(file);
      }
      counts = document.counts();
    } else if (IsStandardStream(file)) {
      counts =
          WriteCatalogExport(catalog, context.out, progress.Reporter(), with_history, left_out);
    } else {
      counts = ExportCatalogToFile(catalog, file, progress.Reporter(), with_history, left_out);
    }
  }
  if (!IsStandardStream(file)) {
    if (context.json) {
      PrintJson(context, {{"file", file},
                          {"portable", portable},
                          {"with_history", with_history},
                          {"counts", CountsJson(counts)}});
    } else if (!context.quiet) {
      context.out << "exported " << DescribeCounts(counts) << " to " << file << "\n";
    }
  }
  if (unreadable.empty()) return;
  // The list goes beside the document or the JSON summary, never into it.
  std::ostream& list = IsStandardStream(file) || context.json ? std::cerr : context.out;
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
  if (context.json) {
    nlohmann::json notes = nlohmann::json::array();
    for (const ImportNote& note : result.notes) notes.push_back(NoteJson(note));
    PrintJson(context, {{"file", IsStandardStream(file) ? "-" : file},
                        {"into", result.folder_id},
                        {"into_path", FolderPaths(catalog).Of(result.folder_id)},
                        {"counts", CountsJson(result.counts)},
                        {"notes", std::move(notes)}});
    return;
  }
  if (context.quiet) return;
  context.out << "imported " << DescribeCounts(result.counts) << DescribeNotes(result.notes)
              << "\n";
  for (const ImportNote& note : result.notes) context.out << NoteLine(note) << "\n";
}

}  // namespace clipcat::cli
