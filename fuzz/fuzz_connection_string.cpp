// The connection string readers on arbitrary strings: the OLE DB item reader and the reading of
// a PostgreSQL catalog's parameters from it.
#include <cstddef>
#include <cstdint>
#include <string>

#include "engine/connection_string.h"
#include "engine/postgres_connect.h"
#include "fuzz_check.h"
#include "util/errors.h"
#include "util/text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using clipcat::fuzz::Require;
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto items = clipcat::ConnectionStringItems(text);
  for (const auto& [key, value] : items) {
    const auto found = clipcat::ConnectionStringValue(text, key);
    Require(found.has_value(), "every item's key is found again");
  }
  // A path without ";" and without a leading quote or blank is the file catalog's data source.
  if (text.find(';') == std::string::npos && !text.empty() && text.front() != '"' &&
      text.front() != '\'' && text.front() > ' ' && text.back() > ' ') {
    const auto source =
        clipcat::ConnectionStringValue(clipcat::FileCatalogConnectionString(text), "Data Source");
    Require(source == text, "a file catalog's string names its path");
  }
  try {
    (void)clipcat::PostgresParametersFor(text, "", "");
  } catch (const clipcat::AutomationError&) {
    // a data source that no odbc.ini defines
  }
  return 0;
}
