// Every entity's XML reader on arbitrary text. The first byte picks the entity, the rest is its
// XML. A reader either takes the text or raises an AutomationError; what it took writes XML that
// reads back to the same XML.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/connection_details.h"
#include "entities/folder.h"
#include "entities/search.h"
#include "fuzz_check.h"
#include "util/date_locale.h"
#include "util/errors.h"

namespace {

using clipcat::fuzz::Require;

template <typename Entity>
void RoundTrip(const std::string& xml) {
  std::string written;
  try {
    auto entity = Entity::Create();
    entity->SetXML(xml);
    written = entity->XML();
  } catch (const clipcat::AutomationError&) {
    return;  // refused with a clear error: what the reader is for
  }
  auto again = Entity::Create();
  again->SetXML(written);
  Require(again->XML() == written, "an entity's own XML reads back to the same XML");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  static const clipcat::ScopedDateLocale* const locale = new clipcat::ScopedDateLocale(
      clipcat::DateLocale::English(clipcat::DateOrder::kDayMonthYear));
  (void)locale;
  const std::string xml(reinterpret_cast<const char*>(data) + 1, size - 1);
  switch (data[0] % 9) {
    case 0:
      RoundTrip<clipcat::Folder>(xml);
      break;
    case 1:
      RoundTrip<clipcat::Folders>(xml);
      break;
    case 2:
      RoundTrip<clipcat::Clipping>(xml);
      break;
    case 3:
      RoundTrip<clipcat::Clippings>(xml);
      break;
    case 4:
      RoundTrip<clipcat::ClippingData>(xml);
      break;
    case 5:
      RoundTrip<clipcat::Category>(xml);
      break;
    case 6:
      RoundTrip<clipcat::Categories>(xml);
      break;
    case 7:
      RoundTrip<clipcat::ConnectionDetails>(xml);
      break;
    default:
      RoundTrip<clipcat::Search>(xml);
      break;
  }
  return 0;
}
