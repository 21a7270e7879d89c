// mv: a folder or clipping into another folder (see MoveItem).
#include <iostream>
#include <ostream>

#include "cli/commands.h"
#include "cli/printing.h"
#include "cli/progress.h"
#include "library/catalog.h"
#include "library/clipping_details.h"
#include "library/item_transfer.h"

namespace clipcat::cli {

void MoveCommand(const Context& context, const std::string& id, const std::string& parent) {
  Catalog catalog = Catalog::Open(context.location);
  TransferredItem moved;
  {
    ProgressBar progress("mv");
    moved = MoveItem(catalog, id, parent, progress.Reporter());
  }
  // Into another catalog the item is a copy with a new id: said on standard error, so that
  // standard output stays the id alone.
  if (moved.moved_across && !context.quiet) {
    std::cerr << "moved into another catalog as a copy with a new id\n";
  }
  // The moved item's XML only when asked for: data that XML cannot carry must not fail a move
  // that has already been made.
  if (moved.folder) {
    PrintFolder(*moved.folder, context);
    return;
  }
  if (context.json) {
    AddPathsAndCategories(catalog, {moved.clipping});
  }
  PrintClipping(*moved.clipping, context);
}

}  // namespace clipcat::cli
