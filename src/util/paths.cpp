#include "util/paths.h"

#include <sys/stat.h>

namespace clipcat {

std::string AppendPath(const std::string& path, const std::string& name) {
  if (!path.empty() && path.back() == '\\') return path + name;
  return path + "\\" + name;
}

bool FileExists(const std::string& path) {
  struct stat info {};
  if (path.empty() || stat(path.c_str(), &info) != 0) return false;
  return !S_ISDIR(info.st_mode);
}

}  // namespace clipcat
