// The portable form of a catalog document: no ids, and everything in the order of its names, so
// that two exports of equal catalogs are equal byte for byte and `diff` shows what changed.
// Stateless; thread-safe.
#pragma once

#include "library/catalog_document.h"

namespace clipcat {

// `document` without clipping ids, its members naming clippings by path instead
// (<member path="Letters/Greeting"/>, see ClippingReferences), memberships of clippings in the
// trash left out (an import never restores them), and ordered by name: in each folder its
// clippings, then its child folders; categories and links; the members of each category by path.
// Items of one name keep their order (the trash may hold a clipping of a live one's name: the
// live one comes first). Names are ordered by their bytes (UTF-8), whatever the locale.
CatalogDocument PortableDocument(const CatalogDocument& document);

}  // namespace clipcat
