// cat and copy: a clipping's best content, to standard output or to the clipboard.
#include <ostream>

#include "cli/clipboard.h"
#include "cli/commands.h"
#include "library/access_times.h"
#include "library/catalog.h"
#include "library/clipping_content.h"
#include "library/item_lookup.h"

namespace clipcat::cli {
namespace {

ClippingContent ContentOf(Catalog& catalog, const std::string& id, const std::string& type,
                          bool record_use) {
  const int32_t wanted = type.empty() ? 0 : RequireDataType(type);
  const auto clipping = RequireClipping(catalog, id, true);
  ClippingContent content = BestContent(*clipping, wanted);
  if (record_use) CountUse(catalog, clipping);
  return content;
}

}  // namespace

void CatCommand(const Context& context, const std::string& id, const std::string& type) {
  Catalog catalog = Catalog::Open(context.location);
  context.out << ContentOf(catalog, id, type, false).bytes;
}

void CopyCommand(const Context& context, const std::string& id, const std::string& type) {
  Catalog catalog = Catalog::Open(context.location);
  const ClippingContent content = ContentOf(catalog, id, type, true);
  const std::string tool = CopyToClipboard(content.bytes);
  context.out << "copied " << content.bytes.size() << " bytes of " << DataTypeName(content.type)
              << (content.converted ? " as text" : "") << " with " << tool << "\n";
}

}  // namespace clipcat::cli
