#include "util/mount_table.h"

#include <array>
#include <fstream>
#include <sstream>

namespace clipcat {
namespace {

// File system types whose source names another machine.
constexpr std::array<std::string_view, 3> kSmbTypes = {"cifs", "smb3", "smbfs"};
constexpr std::array<std::string_view, 3> kHostColonTypes = {"nfs", "nfs4", "fuse.sshfs"};

template <size_t N>
bool IsOneOf(std::string_view value, const std::array<std::string_view, N>& set) {
  for (std::string_view item : set) {
    if (value == item) return true;
  }
  return false;
}

bool IsOctalDigit(char c) { return c >= '0' && c <= '7'; }

// The kernel writes space, tab, newline and backslash in mount fields as "\ooo".
std::string Unescape(std::string_view field) {
  std::string out;
  out.reserve(field.size());
  for (size_t i = 0; i < field.size(); ++i) {
    if (field[i] == '\\' && i + 3 < field.size() && IsOctalDigit(field[i + 1]) &&
        IsOctalDigit(field[i + 2]) && IsOctalDigit(field[i + 3])) {
      out.push_back(static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 +
                                      (field[i + 3] - '0')));
      i += 3;
    } else {
      out.push_back(field[i]);
    }
  }
  return out;
}

std::vector<std::string_view> SplitSpaces(std::string_view line) {
  std::vector<std::string_view> fields;
  size_t start = 0;
  while (start < line.size()) {
    size_t end = line.find(' ', start);
    if (end == std::string_view::npos) end = line.size();
    if (end > start) fields.push_back(line.substr(start, end - start));
    start = end + 1;
  }
  return fields;
}

// "user@host" -> "host", "[fe80::1]" -> "fe80::1".
std::string BareHost(std::string_view authority) {
  const size_t at = authority.rfind('@');
  if (at != std::string_view::npos) authority.remove_prefix(at + 1);
  if (authority.size() >= 2 && authority.front() == '[' && authority.back() == ']') {
    authority = authority.substr(1, authority.size() - 2);
  }
  return std::string(authority);
}

// "//host/share" or "\\host\share".
std::string SmbHost(std::string_view source) {
  if (source.size() < 3 || (source.substr(0, 2) != "//" && source.substr(0, 2) != "\\\\")) {
    return "";
  }
  source.remove_prefix(2);
  return BareHost(source.substr(0, source.find_first_of("/\\")));
}

// "host:/export", "user@host:path", "[::1]:/export": the host ends at the first ":" outside
// brackets. A source without that ":" names no host.
std::string ColonHost(std::string_view source) {
  bool in_brackets = false;
  for (size_t i = 0; i < source.size(); ++i) {
    if (source[i] == '[') in_brackets = true;
    if (source[i] == ']') in_brackets = false;
    if (source[i] == ':' && !in_brackets) return BareHost(source.substr(0, i));
  }
  return "";
}

}  // namespace

std::vector<MountEntry> ParseMountInfo(std::string_view mountinfo_text) {
  std::vector<MountEntry> mounts;
  size_t start = 0;
  while (start < mountinfo_text.size()) {
    size_t end = mountinfo_text.find('\n', start);
    if (end == std::string_view::npos) end = mountinfo_text.size();
    const std::vector<std::string_view> fields =
        SplitSpaces(mountinfo_text.substr(start, end - start));
    start = end + 1;
    // id parent major:minor root mount-point options [optional...] - type source super-options
    size_t separator = 6;
    while (separator < fields.size() && fields[separator] != "-") ++separator;
    if (separator + 2 >= fields.size()) continue;
    mounts.push_back(MountEntry{Unescape(fields[4]), Unescape(fields[separator + 1]),
                                Unescape(fields[separator + 2])});
  }
  return mounts;
}

std::string ReadMountInfo() {
  std::ifstream in("/proc/self/mountinfo");
  if (!in) return "";
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string NetworkHostOfMount(const MountEntry& mount) {
  if (IsOneOf(mount.fs_type, kSmbTypes)) return SmbHost(mount.source);
  if (IsOneOf(mount.fs_type, kHostColonTypes)) return ColonHost(mount.source);
  return "";
}

const MountEntry* FindMount(const std::vector<MountEntry>& mounts, std::string_view absolute_path) {
  const MountEntry* best = nullptr;
  size_t best_length = 0;
  for (const MountEntry& mount : mounts) {
    std::string_view point = mount.mount_point;
    while (point.size() > 1 && point.back() == '/') point.remove_suffix(1);
    if (point.empty() || absolute_path.substr(0, point.size()) != point) continue;
    const bool whole_component =
        point == "/" || absolute_path.size() == point.size() || absolute_path[point.size()] == '/';
    if (!whole_component) continue;
    if (best == nullptr || point.size() >= best_length) {
      best = &mount;
      best_length = point.size();
    }
  }
  return best;
}

std::string LexicalAbsolutePath(std::string_view path, std::string_view cwd) {
  std::vector<std::string_view> parts;
  auto add = [&parts](std::string_view text) {
    size_t start = 0;
    while (start <= text.size()) {
      size_t end = text.find('/', start);
      if (end == std::string_view::npos) end = text.size();
      const std::string_view part = text.substr(start, end - start);
      if (part == "..") {
        if (!parts.empty()) parts.pop_back();
      } else if (!part.empty() && part != ".") {
        parts.push_back(part);
      }
      start = end + 1;
    }
  };
  if (path.empty() || path.front() != '/') add(cwd);
  add(path);
  std::string out;
  for (std::string_view part : parts) {
    out += '/';
    out += part;
  }
  return out.empty() ? "/" : out;
}

}  // namespace clipcat
