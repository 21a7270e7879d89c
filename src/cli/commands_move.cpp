// mv: a folder or clipping into another folder (see MoveItem).
#include <iostream>
#include <ostream>

#include "cli/commands.h"
#include "cli/progress.h"
#include "library/catalog.h"
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
  if (moved.moved_across) {
    std::cerr << "moved into another catalog as a copy with a new id\n";
  }
  // The moved item's XML only when asked for: data that XML cannot carry must not fail a move
  // that has already been made.
  if (moved.folder) {
    context.out << (context.xml ? moved.folder->XML() : moved.folder->ID()) << "\n";
    return;
  }
  context.out << (context.xml ? moved.clipping->XML() : moved.clipping->ID()) << "\n";
}

}  // namespace clipcat::cli
