// Reading the elements of a catalog document, for the library's own use: the checks of
// CatalogDocument::Parse and the import share them, so that an import reads exactly what the check
// accepted.
#pragma once

#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <map>
#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "entities/clipping.h"
#include "entities/folder.h"
#include "library/catalog_document.h"
#include "store/clipping_version.h"
#include "util/date.h"

namespace clipcat {

// A document made by an export, holding `counts`.
CatalogDocument MakeCatalogDocument(pugi::xml_document xml, DocumentCounts counts);

namespace internal {

// Writes the file `path` with `write`: into PATH.partial, then renamed into place, so that a
// failure never leaves half a document where a complete one was. Refuses to write onto a SQLite
// file (a catalog), and raises 75 "Cannot write FILE" (source "clipcat") when the file cannot be
// written; the partial file is removed again, and whatever `write` raises passes on.
void WriteFileInPlace(const std::string& path, const std::function<void(std::ostream&)>& write);

// Raises 5 "Invalid procedure call or argument: not a clipcat catalog document: " and `what`.
[[noreturn]] void InvalidDocument(const std::string& what);

// The attribute's value; refuses an element without it.
std::string RequiredAttribute(pugi::xml_node element, const char* name);

// The text of attribute `name`: its value, decoded when the element marks it as written in base64
// (NAME-encoding="base64"); "" when the element has no such attribute. Refuses an unknown
// encoding and base64 that does not decode.
std::string TextAttribute(pugi::xml_node element, const char* name);

// Sets attribute `name` to `value`: as it is when XML can carry it, otherwise in base64 with
// NAME-encoding="base64" beside it, so that any name or description an old catalog holds travels.
void SetTextAttribute(pugi::xml_node element, const char* name, const std::string& value);

// The element's name attribute, decoded; refuses an element without one. Names that the library
// would refuse (blank, control characters) are read as they are: the import fixes them up.
std::string RequiredName(pugi::xml_node element);

// The element children of `element`, each checked to be one of `allowed`; blank text between
// them is layout, anything else is refused ("unexpected element <x> in <y>", "unexpected text in
// <y>").
std::vector<pugi::xml_node> Children(pugi::xml_node element,
                                     std::initializer_list<const char*> allowed);

// Checks the root element: its name and version.
void CheckRoot(pugi::xml_node root);

// What a walk over a catalog document meets, in document order: each folder with its attributes
// (what it holds is not to be read from it: that follows, until its FolderEnd), each clipping,
// category and link whole. The elements given are valid only during the call.
class DocumentVisitor {
 public:
  virtual ~DocumentVisitor() = default;
  virtual void FolderStart(pugi::xml_node folder) = 0;
  virtual void FolderEnd() = 0;
  virtual void Clipping(pugi::xml_node clipping) = 0;
  virtual void Category(pugi::xml_node) {}
  virtual void Link(pugi::xml_node) {}
};

// Walks the document under `root` (already checked with CheckRoot), without recursion, giving
// each folder's children marked deleted before the others. Refuses what the root and the folders
// may not hold, and a document without exactly one top folder.
void WalkDocument(pugi::xml_node root, DocumentVisitor& visitor);

// Walks the document in the file `path` as WalkDocument walks a held one, but in document order
// (see CheckedDocument::marked_after_live), reading the file as a
// stream (libxml2's reader, no DTD, no entities, no network) and making each clipping, category
// and link, one at a time, into a small tree of its own: memory follows the largest of them, not
// the document. Checks the root too. Answers false, possibly part-way through the walk, for a file
// that it does not stream: one that cannot be opened or that the reader refuses (not well-formed,
// too deep, too long a text), one with a document type declaration or an entity reference, and
// one holding a raw carriage return (which the reader would turn into a line feed). Such a file
// is for Parse, which reads it as it always has.
bool StreamDocument(const std::string& path, DocumentVisitor& visitor);

// The clippings of a document that its <member>s can name, numbered from 0 in document order:
// every clipping by its id, and the live ones (not marked deleted, nor below a folder that is) by
// their path from the top folder, "Folder/Sub/Name" with each step as PathStep writes it. Made as
// a walk meets the folders and clippings, or from a held document's root.
class ClippingReferences {
 public:
  ClippingReferences() = default;
  explicit ClippingReferences(pugi::xml_node root);

  void EnterFolder(pugi::xml_node folder);
  void LeaveFolder();
  void AddClipping(pugi::xml_node clipping);

  // The number of the clipping that `member` names by its "clipping" id or its "path"; refuses a
  // member with neither or both, and one that names no clipping (or a path two clippings share).
  size_t Find(pugi::xml_node member) const;

  // The path of a live clipping; nullopt for one in the trash.
  std::optional<std::string> LivePath(size_t clipping) const;

 private:
  static constexpr size_t kShared = static_cast<size_t>(-1);  // a path two clippings share
  struct OpenFolder {
    std::string path;  // "" for the top folder, else "A/B/"
    bool live;
  };
  std::vector<OpenFolder> open_;
  std::map<std::string, size_t> by_id_;
  std::map<std::string, size_t> by_path_;
  std::vector<std::optional<std::string>> paths_;  // by number
};

// What a check of a document keeps for its import: the counts, the clipping references, and the
// categories and links (small: names and members), in document order.
struct CheckedDocument {
  DocumentCounts counts;
  // Whether a folder holds an item marked deleted after a live one of the same kind and name:
  // the store refuses that order, so an import with history must not stream such a document.
  bool marked_after_live = false;
  ClippingReferences references;
  pugi::xml_document kept;  // a copy of each category and link element
};

// The checks of Parse as a walk's visitor: every folder, clipping, version and deletion mark
// readable, no clipping id twice; at Finish, the categories' members and the links.
class DocumentChecker : public DocumentVisitor {
 public:
  void FolderStart(pugi::xml_node folder) override;
  void FolderEnd() override;
  void Clipping(pugi::xml_node clipping) override;
  void Category(pugi::xml_node category) override;
  void Link(pugi::xml_node link) override;
  // Checks what could only be checked with the whole document seen; answers what the check kept.
  std::unique_ptr<CheckedDocument> Finish();

 private:
  // Notes, for the folder open at the end of `live_names_`, a child and whether it is marked.
  void Child(pugi::xml_node child, char kind);

  std::unique_ptr<CheckedDocument> checked_ = std::make_unique<CheckedDocument>();
  std::set<std::string> clipping_ids_;
  // For each open folder, its live children so far: kind ('c' or 'f') and name, folded.
  std::vector<std::set<std::string>> live_names_;
};

// A new folder with the element's name and description, or a new clipping with its name,
// description and data items; refuses what is not right in them.
std::shared_ptr<Folder> ReadFolder(pugi::xml_node element);
std::shared_ptr<Clipping> ReadClipping(pugi::xml_node element);

// A <version> element of a clipping: the version's number, time, user, name and description, and
// a clipping holding its data items; refuses what is not right in them.
std::pair<ClippingVersion, std::shared_ptr<Clipping>> ReadVersion(pugi::xml_node element);

// Whether a folder or clipping element is marked deleted, and when and by whom it was, as far as
// the document knows; refuses a mark that is not right.
bool IsMarkedDeleted(pugi::xml_node element);
std::optional<Date> DeletedAt(pugi::xml_node element);

// The steps an import of a document with these counts takes.
inline size_t ImportSteps(const DocumentCounts& counts, bool with_history) {
  return counts.folders + counts.clippings + counts.categories + counts.memberships + counts.links +
         (with_history ? counts.versions + counts.deleted : 0);
}

}  // namespace internal
}  // namespace clipcat
