// The everyday commands of clipcat, for people: each works on the selected catalog through the
// library and prints plain, aligned text (or, for scripts, the entities' XML with --xml, their
// JSON with --json, tab-separated tables with --tsv).
#pragma once

#include <exception>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "library/catalog_location.h"
#include "library/clipping_search.h"

namespace clipcat::cli {

// Raised by a search that found nothing, after its (empty) result is printed: the command exits
// with status 1 and no error line, as grep does, so scripts can tell.
class NothingFound : public std::exception {
 public:
  const char* what() const noexcept override { return "nothing found"; }
};

struct Context {
  CatalogLocation location;
  std::ostream& out;
  bool xml = false;    // print the entities' XML instead of text for people
  bool json = false;   // print one JSON document (see library/entity_json.h)
  bool tsv = false;    // print tables as a header line and tab-separated rows
  bool quiet = false;  // print only what the command exists to produce, no messages
};

struct AddOptions {
  std::string folder;
  std::string name;
  std::string description;
  int type = 2;                     // plain text
  std::optional<std::string> file;  // content from a file
  std::optional<std::string> text;  // content given on the command line
};

// Creates the selected catalog with its top folder named `name` (see CreateCatalogAt).
void InitCommand(const Context& context, const std::string& name);
void TreeCommand(const Context& context);
void ListCommand(const Context& context, const std::string& folder);
// `raw_type` > 0 writes only that data item's content, exactly. With `record_access` the showing
// counts as a use of the clipping in the access history.
void ShowCommand(const Context& context, const std::string& id, int raw_type,
                 bool record_access = true, std::optional<int> version = std::nullopt);
void AddCommand(const Context& context, const AddOptions& options);
// Writes the best content of clipping `id` (BestContent; `type` a data type name or number)
// byte for byte to standard output; not counted as a use.
void CatCommand(const Context& context, const std::string& id, const std::string& type);
// Puts that content on the clipboard (CopyToClipboard) and counts a use in the history.
void CopyCommand(const Context& context, const std::string& id, const std::string& type);
void MakeFolderCommand(const Context& context, const std::string& parent, const std::string& name);
void RenameCommand(const Context& context, const std::string& id, const std::string& name);
// Moves a folder (with everything below it) or a clipping under folder `parent` and prints the
// moved item's new id (see MoveItem).
void MoveCommand(const Context& context, const std::string& id, const std::string& parent);
struct RemoveOptions {
  bool permanently = false;  // remove the rows for good instead of marking them deleted
  bool force = false;        // a folder with something below it goes without a question
  bool dry_run = false;      // say what would go and change nothing
};
// Deletes a folder or clipping. A folder with folders or clippings below it is deleted only with
// `force` or after a yes on a terminal (standard input); without a terminal it is refused.
void RemoveCommand(const Context& context, const std::string& id, const RemoveOptions& options);
struct SearchOptions {
  ClippingQuery query;      // text, folders, categories (and, by names, the rest)
  bool names_only = false;  // search some of names and descriptions, not words
  int type = 0;             // words: only clippings with an item of this data type
  int limit = 50;           // words: at most this many results
};

// Prints the clippings whose words match (content search, best first, with a snippet), or with
// `names_only` those whose names or descriptions hold the text. Raises NothingFound when none
// does.
void SearchCommand(const Context& context, const SearchOptions& options);
// Makes the content index of the catalog (or of the linked catalog `folder` stands for) anew.
void ReindexCommand(const Context& context, const std::string& folder);
// Puts each clipping in the category (see TagClippings), or takes each out of it.
void TagCommand(const Context& context, const std::vector<std::string>& clippings,
                const std::string& category, bool untag);
// The categories (with a CATALOG column: "" for the selected catalog, else the linked folder's
// path) and the recently used clippings, of the linked catalogs too with `with_linked`; each
// linked catalog left out because it did not answer is named on standard error (not with -q).
void CategoriesCommand(const Context& context, bool with_linked);
void HistoryCommand(const Context& context, int maximum, bool with_linked);
// Links the catalog that `target` (a file or a postgresql:// URI) or else `connection` (connection
// details as XML) names as the top-level folder `name`; checks first that it can be reached,
// unless `offline`.
void LinkCommand(const Context& context, const std::string& name, const std::string& target,
                 const std::string& connection, bool offline);
// Makes a team catalog on the server `uri` names, with its roles (CreateTeamCatalog).
void TeamInitCommand(const Context& context, const std::string& uri, const std::string& name);
// Lets the server's role `user` into the selected team catalog (GrantTeamMember).
void TeamGrantCommand(const Context& context, const std::string& user, bool read_only);
void UnlinkCommand(const Context& context, const std::string& folder);

// The trash: its entries; what was deleted more than `older_than` ago ("30d", "2w"; all of it
// when empty) removed for good; one entry brought back (with `rename` under a free name when
// its name is taken).
void TrashCommand(const Context& context, const std::string& folder);
void EmptyTrashCommand(const Context& context, const std::string& older_than,
                       const std::string& folder);
void RestoreCommand(const Context& context, const std::string& id, bool rename);
// The versions of clipping `id` (with `keep`, first sets how many each clipping keeps; `id` may
// then be empty), a line diff of two of its states, and one made current again.
void VersionsCommand(const Context& context, const std::string& id, std::optional<int> keep);
void DiffCommand(const Context& context, const std::string& id, std::optional<int> from,
                 std::optional<int> to);
void RevertCommand(const Context& context, const std::string& id, int version);
// What the catalog's versions and trash hold.
void InfoCommand(const Context& context);

// Writes the whole catalog as one catalog document to `file` (standard output for "" or "-"),
// with the trash and the versions when `with_history`, in portable form (catalog_portable.h) when
// `portable`. With `skip_damaged` the clippings a damaged catalog cannot give are left out and
// listed (on standard error when the document goes to standard output); the document is written
// and the command then fails with the catalog-damaged error.
void ExportCommand(const Context& context, const std::string& file, bool with_history,
                   bool portable, bool skip_damaged = false);
// Checks the catalog (CheckCatalogAt) and prints what was checked and each problem found; fails
// with the catalog-damaged error when there is one. Never writes to the catalog.
void CheckCommand(const Context& context);
// Copies the file catalog into `file` as one consistent state (BackupCatalog).
void BackupCommand(const Context& context, const std::string& file);
// Adds what `file` holds to folder `into` (the catalog's top folder when empty): a directory of
// files, a JSON document or a catalog document ("-" for standard input, JSON or XML by its
// content), with its trash and versions when `with_history`, names already taken dealt with as
// `on_conflict` ("fail", "skip", "replace" or "rename") says; see ImportDocument.
void ImportCommand(const Context& context, const std::string& file, const std::string& into,
                   bool with_history, const std::string& on_conflict);

struct ServeOptions {
  std::string listen = "127.0.0.1:8640";  // ADDR:PORT
  std::string token_file;                 // the bearer token every request must carry
  std::string allow_origin;               // the origin CORS lets in; none by default
};

// Serves the catalog over HTTP (the JSON API and the page) until SIGINT or SIGTERM; requests in
// flight finish and the catalogs close before it returns.
void ServeCommand(const Context& context, const ServeOptions& options);

// The tour `make run` shows: on a new default catalog it first seeds the sample library, then
// shows the tree, a search and a clipping. An existing catalog is only read.
void TourCommand(const Context& context);

}  // namespace clipcat::cli
