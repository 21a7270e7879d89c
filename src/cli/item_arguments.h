// Folders and clippings named on the command line by id or by path ("Mail/Replies/Signature"):
// paths are turned into ids before a command runs, so every command takes both.
#pragma once

#include <string>
#include <vector>

#include "cli/commands.h"
#include "library/item_paths.h"

namespace clipcat::cli {

// The id `text` names in the selected catalog (see ResolveItem); an id is answered as it is,
// without opening the catalog. "" stays "" (an option not given).
std::string Resolved(const Context& context, const std::string& text, ItemKind kind);

// Each of `texts` resolved as Resolved does.
std::vector<std::string> Resolved(const Context& context, const std::vector<std::string>& texts,
                                  ItemKind kind);

}  // namespace clipcat::cli
