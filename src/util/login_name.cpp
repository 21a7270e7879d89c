#include "util/login_name.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace clipcat {

std::string CurrentLoginName() {
  long size = sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(size > 0 ? static_cast<size_t>(size) : 16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
      found != nullptr && found->pw_name != nullptr && *found->pw_name != '\0') {
    return found->pw_name;
  }
  for (const char* name : {"USER", "LOGNAME"}) {
    if (const char* value = std::getenv(name); value != nullptr && *value != '\0') return value;
  }
  return "";
}

}  // namespace clipcat
