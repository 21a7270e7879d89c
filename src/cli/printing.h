// Plain, aligned output for people: tables with a header row and the folder tree.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "entities/clipping.h"
#include "entities/folder.h"
#include "library/catalog_document.h"

namespace clipcat::cli {

// Columns padded to their widest cell (in characters, not bytes); the last column is not padded.
class Table {
 public:
  explicit Table(std::vector<std::string> header) { rows_.push_back(std::move(header)); }
  void Add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
  void Print(std::ostream& out) const;

 private:
  std::vector<std::vector<std::string>> rows_;
};

// One line per folder, children indented under their parent: "Name  [ID]", with " (offline)"
// for a linked catalog that does not answer.
void PrintFolderTree(const Folders& folders, std::ostream& out);

// A table of clippings (ID, NAME, UPDATED, and ACCESSED when asked), or their XML with --xml.
void PrintClippings(const Clippings& clippings, const Context& context, bool with_accessed);

// "3 folders, 12 clippings, 2 categories, 5 memberships" (and ", 1 link" when there are any).
std::string DescribeCounts(const DocumentCounts& counts);

}  // namespace clipcat::cli
