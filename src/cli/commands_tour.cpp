// The tour that `make run` shows on the default catalog.
#include <ostream>

#include "cli/commands.h"
#include "library/catalog.h"
#include "library/sample_library.h"

namespace clipcat::cli {

void TourCommand(const Context& context) {
  const bool created = EnsureDefaultCatalog(context.location);
  {
    Catalog catalog = Catalog::Open(context.location);
    if (created) {
      AddSampleLibrary(catalog);
      context.out << "Created a new catalog with a sample library: " << context.location.path
                  << "\n\n";
    } else {
      // Connection details may hold a password: they are not repeated.
      context.out << "Catalog: "
                  << (context.location.path.empty() ? "(server)" : context.location.path) << "\n\n";
    }
  }
  context.out << "== Folders ==\n";
  TreeCommand(context);
  context.out << "\n== Search: \"letter\" ==\n";
  SearchOptions search;
  search.query.text = "letter";
  try {
    SearchCommand(context, search);
  } catch (const NothingFound&) {
    // The tour shows what there is; an empty result is part of it.
  }

  std::shared_ptr<Clipping> example;
  {
    Catalog catalog = Catalog::Open(context.location);
    example = ExampleClipping(catalog);
  }
  if (example) {
    context.out << "\n== Clipping " << example->ID() << " ==\n";
    ShowCommand(context, example->ID(), 0, false);
  }
  context.out << "\nTry: clipcat --help\n";
}

}  // namespace clipcat::cli
