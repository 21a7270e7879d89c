#include "cli/item_arguments.h"

#include "library/catalog.h"
#include "library/item_lookup.h"

namespace clipcat::cli {

std::string Resolved(const Context& context, const std::string& text, ItemKind kind) {
  if (text.empty() || IsItemIdForm(text)) return text;
  Catalog catalog = Catalog::Open(context.location);
  return ResolveItem(catalog, text, kind);
}

std::vector<std::string> Resolved(const Context& context, const std::vector<std::string>& texts,
                                  ItemKind kind) {
  std::vector<std::string> ids;
  ids.reserve(texts.size());
  for (const std::string& text : texts) ids.push_back(Resolved(context, text, kind));
  return ids;
}

}  // namespace clipcat::cli
