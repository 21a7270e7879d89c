// Reading the elements of a catalog document, for the library's own use: the checks of
// CatalogDocument::Parse and the import share them, so that an import reads exactly what the check
// accepted.
#pragma once

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

// The element's name attribute; refuses one that is missing or blank.
std::string RequiredName(pugi::xml_node element);

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
