// Plain, aligned output for people: tables with a header row and the folder tree.
#pragma once

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "entities/clipping.h"
#include "entities/folder.h"
#include "library/access_times.h"
#include "library/catalog_document.h"
#include "library/clipping_content.h"
#include "library/entity_json.h"

namespace clipcat::cli {

// Columns padded to their widest cell in display columns (wcwidth: a CJK character takes two);
// the last column is not padded. Needs a UTF-8 LC_CTYPE (main sets one).
class Table {
 public:
  explicit Table(std::vector<std::string> header) { rows_.push_back(std::move(header)); }
  void Add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
  void Print(std::ostream& out) const;
  // As Print does for people; with --tsv the header line and the rows with their cells
  // separated by tabs (see TsvCell).
  void Print(const Context& context) const;

 private:
  std::vector<std::vector<std::string>> rows_;
};

// One line per folder, children indented under their parent: "Name  [ID]", with " (offline)"
// for a linked catalog that does not answer, " (offline: REASON)" when `offline_reasons` has
// one for the folder's id.
void PrintFolderTree(const Folders& folders, std::ostream& out,
                     const std::map<std::string, std::string>& offline_reasons = {});

// With --tsv, the tree as a table: ID, PARENT, NAME, one row per folder in the tree's order.
void PrintFolderTable(const Folders& folders, const Context& context);

// A folder that a command made or moved: its id, or its XML with --xml, or its JSON (see
// FolderJson, without children) with --json.
void PrintFolder(const Folder& folder, const Context& context);

// The same for a clipping (see ClippingJson, without content).
void PrintClipping(const Clipping& clipping, const Context& context);

// A table of clippings (ID, NAME, UPDATED; for `history` ID, NAME, FOLDER (the PathName each
// holds, see AddPaths), UPDATED, ACCESSED), or their XML with --xml, or a JSON array of them
// (see ClippingJson, with `last_access` when given) with --json.
void PrintClippings(const Clippings& clippings, const Context& context, bool history,
                    const AccessTimes* last_access = nullptr);

// A folder path (item_paths.h) in a table cell: "/" for the top folder, whose path is empty.
std::string PathCell(const std::string& path);

// One line on standard error for each linked catalog that a listing left out because it did not
// answer: `note: linked catalog "Team" did not answer: left out`. Nothing with -q.
void NoteOffline(const Context& context, const std::vector<std::string>& offline);

// "3 folders, 12 clippings, 2 categories, 5 memberships" (and ", 1 link" when there are any).
std::string DescribeCounts(const DocumentCounts& counts);

// `document`, indented two spaces a level, followed by one newline. Bytes that are not UTF-8
// in a name are written as U+FFFD rather than failing a command that has done its work.
void PrintJson(const Context& context, const nlohmann::json& document);

// A date in a --tsv cell: as JSON has it (UTC, "2026-11-26T01:40:00Z"), "" for never.
std::string TsvDate(const Date& date);

// A cell of --tsv output: tab, newline, carriage return and backslash written as \t, \n, \r
// and \\, so that a row is one line and its cells split at tabs.
std::string TsvCell(const std::string& text);

}  // namespace clipcat::cli
