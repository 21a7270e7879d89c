// The clipcat library's C++ interface: #include <clipcat/clipcat.h> and link libclipcat
// (find_package(clipcat) gives clipcat::clipcat; pkg-config --cflags --libs clipcat).
//
//   auto catalog = clipcat::Catalog::Open("notes.db");
//   for (const auto& hit : catalog.Search("late payment")) std::cout << hit.name << "\n";
//
// The C interface is <clipcat/clipcat_c.h>; docs/library.md introduces both and the Python module.
#pragma once

#include "clipcat/catalog.h"
#include "clipcat/error.h"
#include "clipcat/items.h"
#include "clipcat/version.h"
