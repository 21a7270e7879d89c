#include "util/odbc_ini.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "util/text.h"

namespace clipcat {
namespace {

// odbc.ini files are a few kilobytes; anything far larger is not one.
constexpr size_t kMaxIniBytes = 1 << 20;

std::string_view TrimBlanks(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  const size_t last = text.find_last_not_of(" \t\r");
  return text.substr(first, last - first + 1);
}

bool ReadIniFile(const std::string& path, std::string* text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  char chunk[4096];
  text->clear();
  while (text->size() < kMaxIniBytes) {
    in.read(chunk, sizeof chunk);
    if (in.gcount() <= 0) break;
    text->append(chunk, static_cast<size_t>(in.gcount()));
  }
  return true;
}

std::string HomeDirectory() {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') return home;
  if (const passwd* entry = getpwuid(getuid()); entry != nullptr && entry->pw_dir != nullptr) {
    return entry->pw_dir;
  }
  return "";
}

std::string Value(const std::map<std::string, std::string>& section, const char* key) {
  const auto found = section.find(key);
  return found == section.end() ? std::string() : found->second;
}

// Host names and UNC text are compared without regard to case; a local path is not.
std::string FoldIfUnc(const std::string& value) {
  return value.find("\\\\") != std::string::npos ? ToUpperAscii(value) : value;
}

}  // namespace

std::map<std::string, std::string> OdbcIniSection(std::string_view ini_text,
                                                  std::string_view section) {
  std::map<std::string, std::string> values;
  bool inside = false;
  size_t start = 0;
  while (start < ini_text.size()) {
    size_t end = ini_text.find('\n', start);
    if (end == std::string_view::npos) end = ini_text.size();
    const std::string_view line = TrimBlanks(ini_text.substr(start, end - start));
    start = end + 1;
    if (line.empty() || line.front() == ';' || line.front() == '#') continue;
    if (line.front() == '[') {
      const size_t close = line.find(']');
      inside = close != std::string_view::npos &&
               EqualsIgnoreCase(TrimBlanks(line.substr(1, close - 1)), section);
      continue;
    }
    const size_t equals = line.find('=');
    if (!inside || equals == std::string_view::npos) continue;
    const std::string key = ToLowerAscii(TrimBlanks(line.substr(0, equals)));
    if (!key.empty()) values.emplace(key, TrimBlanks(line.substr(equals + 1)));
  }
  return values;
}

std::vector<std::string> DefaultOdbcIniPaths() {
  std::vector<std::string> paths;
  if (const char* odbcini = std::getenv("ODBCINI"); odbcini != nullptr && *odbcini != '\0') {
    paths.emplace_back(odbcini);
  }
  if (const std::string home = HomeDirectory(); !home.empty()) paths.push_back(home + "/.odbc.ini");
  paths.emplace_back("/etc/odbc.ini");
  return paths;
}

std::string DataSourceLocation(std::string_view data_source,
                               const std::vector<std::string>& ini_paths) {
  for (const std::string& path : ini_paths) {
    std::string text;
    if (!ReadIniFile(path, &text)) continue;
    const std::map<std::string, std::string> section = OdbcIniSection(text, data_source);
    if (section.empty()) continue;
    if (std::string file = Value(section, "dbq"); !file.empty()) return FoldIfUnc(file);
    if (std::string file = Value(section, "database");
        file.find_first_of("/\\") != std::string::npos) {
      return FoldIfUnc(file);
    }
    for (const char* key : {"server", "servername"}) {
      if (std::string host = Value(section, key); !host.empty()) {
        // A PostgreSQL server named by its socket directory is on this machine.
        if (host.front() == '/') return host;
        return "\\\\" + ToUpperAscii(host) + "\\";
      }
    }
    if (std::string directory = Value(section, "defaultdir"); !directory.empty()) {
      return FoldIfUnc(directory);
    }
  }
  return "";
}

}  // namespace clipcat
