// The small sample library a new default catalog is seeded with, so that a first look at clipcat
// (the tour) shows something: three folders, four clippings of three data types, one category.
// Runs inside the caller's request (see catalog.h); not thread-safe.
#pragma once

#include <memory>

#include "entities/clipping.h"
#include "library/catalog.h"

namespace clipcat {

// Adds the sample library under the selected catalog's top folder: folders "Letters", "Snippets"
// and "Spreadsheets"; clippings "Greeting" (text) and "Closing" (RTF) in Letters, "Address" (text)
// in Snippets and "Invoice header" (Excel XML) in Spreadsheets; "Greeting" in the new category
// "Correspondence". Meant for a new, empty catalog: raises the services' errors when a name is
// taken.
void AddSampleLibrary(Catalog& catalog);

// A clipping to show as an example: the first clipping of the selected catalog, in the catalog's
// order, that is not deleted, without its data; nullptr when there is none.
std::shared_ptr<Clipping> ExampleClipping(Catalog& catalog);

}  // namespace clipcat
