// Reading the elements of a catalog document, for the library's own use: the checks of
// CatalogDocument::Parse and the import share them, so that an import reads exactly what the check
// accepted.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <utility>

#include "entities/clipping.h"
#include "entities/folder.h"
#include "library/catalog_document.h"
#include "store/clipping_version.h"
#include "util/date.h"

namespace clipcat {

// A document made by an export, holding `counts`.
CatalogDocument MakeCatalogDocument(pugi::xml_document xml, DocumentCounts counts);

namespace internal {

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

// The clippings of a document that its <member>s can name: every clipping by its id, and the live
// ones (not marked deleted, nor below a folder that is) by their path from the top folder,
// "Folder/Sub/Name" with each step as PathStep writes it.
class ClippingReferences {
 public:
  explicit ClippingReferences(pugi::xml_node root);

  // The clipping element that `member` names by its "clipping" id or its "path"; refuses a member
  // with neither or both, and one that names no clipping (or a path two clippings share).
  pugi::xml_node Find(pugi::xml_node member) const;

  // The path of a live clipping element; nullopt for one in the trash.
  std::optional<std::string> LivePath(pugi::xml_node clipping) const;

 private:
  std::map<std::string, pugi::xml_node> by_id_;
  std::map<std::string, pugi::xml_node> by_path_;  // a null node where two clippings share one
  std::map<pugi::xml_node, std::string> paths_;
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
