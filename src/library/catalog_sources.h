// Catalog documents made from what people already have: a directory of files, or a JSON document
// of the shape `--json` prints a folder tree in. Each becomes a checked catalog document
// (catalog_document.h) whose top folder has an empty name, so that ImportDocument merges it into
// its target without renaming anything, with the categories naming their members by path.
// Stateless; thread-safe.
#pragma once

#include <string>

#include "library/catalog_document.h"

namespace clipcat {

// The data type a file's extension gives: ".rtf" 1 (RTF), ".xml" 5 (catalog XML), ".txt" and
// every other extension 2 (text). The extension is compared without regard to case.
int32_t DataTypeOfFile(const std::string& file_name);

// The directory as a folder tree: each subdirectory a folder, each regular file a clipping with one
// data item holding the file's bytes as they are (text that is not UTF-8 too: the item keeps
// bytes, and an export carries them in base64). A clipping is named after its file, without the
// extension when it is .txt, .rtf or .xml (any case); "notes.md" stays "notes.md". Entries whose
// names start with "." are left out, and so are symbolic links to directories (no loops) and
// anything that is not a file or directory. Entries are read in the order of their names (bytes).
// Raises 53 "File not found: PATH" (source "clipcat") for a directory that does not exist and
// 75 "Cannot read PATH" for one that cannot be read.
CatalogDocument DocumentFromDirectory(const std::string& directory);

// The JSON document `text`:
//
//   {"clippings": [...], "folders": [...], "categories": [...]}
//
// at the top, all three optional. A folder is {"name", "description", "clippings", "folders"}; a
// clipping {"name", "description", "items"}; an item {"type", "text"} or {"type", "base64"},
// "type" being a data type name ("rtf" 1, "text" 2, "excel-xml" 3, "word-xml" 4, "catalog-xml"
// 5) or number; a category {"name",
// "description", "members"} with each member the path of a clipping of the document,
// "Folder/Sub/Name" (a "/" or "\" in a name written "\/" or "\\"). "description" is optional
// everywhere, "name" is required. Raises 5 "Invalid procedure call or argument: not a clipcat
// JSON document: " and what is wrong (where, for JSON that does not parse), and whatever
// CatalogDocument::Parse refuses.
CatalogDocument DocumentFromJson(const std::string& text);

// A document read from `text`: JSON when `file_name` ends in ".json" or the text starts (after
// white space) with "{", the catalog document's XML otherwise (parsed in place in `text`).
CatalogDocument ParseDocumentText(std::string text, const std::string& file_name = "");

// The document in the file `path`, told apart as ParseDocumentText tells a text: JSON read whole,
// the catalog document's XML opened as a stream (CatalogDocument::Open), so that an import of a
// large file does not hold it. Raises 53 "File not found: PATH" (source "clipcat") for a file that
// cannot be opened, and the errors of the document's reader.
CatalogDocument OpenDocumentFile(const std::string& path);

}  // namespace clipcat
