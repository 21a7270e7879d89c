#include "engine/connection_string.h"

#include <fstream>
#include <sstream>

#include "util/errors.h"
#include "util/text.h"
#include "util/utf16.h"

namespace clipcat {
namespace {

std::string_view Trim(std::string_view text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return text;
}

[[noreturn]] void RaiseDataLinkError(const std::string& path, const std::string& problem) {
  throw AutomationError(err::kDatabaseError, kComponentSource,
                        "The data link file \"" + path + "\" " + problem);
}

}  // namespace

std::string FileCatalogConnectionString(const std::string& path) {
  return "Provider=" + std::string(kFileCatalogProvider) + ";Data Source=" + path;
}

std::vector<std::pair<std::string, std::string>> ConnectionStringItems(
    std::string_view connection_string) {
  std::vector<std::pair<std::string, std::string>> items;
  size_t i = 0;
  const size_t n = connection_string.size();
  while (i < n) {
    const size_t equals = connection_string.find('=', i);
    const size_t semicolon = connection_string.find(';', i);
    if (equals == std::string_view::npos ||
        (semicolon != std::string_view::npos && semicolon < equals)) {
      if (semicolon == std::string_view::npos) break;
      i = semicolon + 1;  // an item without "=" names nothing
      continue;
    }
    const std::string_view item_key = Trim(connection_string.substr(i, equals - i));
    size_t j = equals + 1;
    while (j < n && (connection_string[j] == ' ' || connection_string[j] == '\t')) ++j;
    std::string value;
    if (j < n && (connection_string[j] == '"' || connection_string[j] == '\'')) {
      const char quote = connection_string[j++];
      while (j < n) {
        if (connection_string[j] == quote) {
          if (j + 1 < n && connection_string[j + 1] == quote) {
            value += quote;
            j += 2;
            continue;
          }
          ++j;
          break;
        }
        value += connection_string[j++];
      }
      const size_t end = connection_string.find(';', j);
      i = end == std::string_view::npos ? n : end + 1;
    } else {
      const size_t end = connection_string.find(';', j);
      const size_t stop = end == std::string_view::npos ? n : end;
      value = std::string(Trim(connection_string.substr(j, stop - j)));
      i = end == std::string_view::npos ? n : end + 1;
    }
    items.emplace_back(std::string(item_key), std::move(value));
  }
  return items;
}

std::optional<std::string> ConnectionStringValue(std::string_view connection_string,
                                                 std::string_view key) {
  std::optional<std::string> found;
  for (auto& [item_key, value] : ConnectionStringItems(connection_string)) {
    if (EqualsIgnoreCase(item_key, key)) found = std::move(value);
  }
  return found;
}

std::optional<std::string> DataLinkConnectionString(std::string_view file_content) {
  std::string text;
  if (file_content.size() >= 2 && static_cast<unsigned char>(file_content[0]) == 0xFF &&
      static_cast<unsigned char>(file_content[1]) == 0xFE) {
    text = Utf16LEToUtf8(file_content.substr(2));
  } else if (file_content.rfind("\xEF\xBB\xBF", 0) == 0) {
    text = std::string(file_content.substr(3));
  } else {
    text = std::string(file_content);
  }
  bool in_section = false;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    const std::string_view trimmed = Trim(line);
    if (!in_section) {
      in_section = EqualsIgnoreCase(trimmed, "[oledb]");
      continue;
    }
    if (trimmed.empty() || trimmed.front() == ';') continue;
    return std::string(trimmed);
  }
  return std::nullopt;
}

std::string ReadDataLinkFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) RaiseDataLinkError(path, "cannot be read.");
  std::ostringstream content;
  content << file.rdbuf();
  if (auto connection_string = DataLinkConnectionString(content.str())) {
    return std::move(*connection_string);
  }
  RaiseDataLinkError(path, "holds no connection string.");
}

}  // namespace clipcat
