#include "util/probes.h"

#include <unistd.h>

#include <climits>

#include "util/errors.h"
#include "util/mount_table.h"
#include "util/odbc_ini.h"
#include "util/paths.h"
#include "util/probes_internal.h"
#include "util/text.h"

namespace clipcat {
namespace {

std::string CurrentDirectory() {
  std::string buffer(PATH_MAX, '\0');
  if (getcwd(buffer.data(), buffer.size()) == nullptr) return "/";
  buffer.resize(buffer.find('\0'));
  return buffer;
}

}  // namespace

bool IsCatalogUnavailable(const std::string& location, bool location_is_file) {
  std::string target = location;
  std::string host;
  if (location_is_file) {
    target = TrimSpaces(target);
    if (!target.empty() && target.back() == ';') target.pop_back();
    host = ServerFromPath(target);
  } else {
    host = ServerFromDsn(target);
  }
  if (!host.empty()) {
    const int16_t reachability = HostReachability(host);
    // A slow link is as good as none: the driver would hang in its own time-out.
    if (reachability == kHostUnreachable || reachability == kHostSlow) return true;
  }
  return location_is_file && !FileExists(target);
}

std::string ServerFromPath(const std::string& path) {
  if (path.find("\\\\") != std::string::npos) {
    // The host ends at the first "\" after the leading pair; text without one is no catalog path.
    const size_t cut = path.find('\\', 2);
    if (cut == std::string::npos) RaiseRuntimeError(err::kInvalidProcedureCall);
    return path.substr(0, cut);
  }
  return RemoteNameOfDrive(path);
}

std::string ServerFromDsn(const std::string& connection_string) {
  return ServerFromDsn(connection_string, DefaultOdbcIniPaths());
}

std::string ServerFromDsn(const std::string& connection_string,
                          const std::vector<std::string>& odbc_ini_paths) {
  static constexpr std::string_view kDsn = "DSN=";
  const size_t at = connection_string.find(kDsn);
  if (at == std::string::npos) return "";
  // The name runs to the end of the string: a data source is expected to be its last item.
  const std::string location =
      DataSourceLocation(connection_string.substr(at + kDsn.size()), odbc_ini_paths);
  return location.empty() ? "" : ServerFromPath(location);
}

std::string RemoteNameOfDrive(const std::string& local_device) {
  if (local_device.empty()) return "";
  return RemoteNameOfDrive(local_device, ReadMountInfo(), CurrentDirectory());
}

std::string RemoteNameOfDrive(const std::string& local_device, std::string_view mountinfo_text,
                              std::string_view cwd) {
  if (local_device.empty()) return "";
  const std::vector<MountEntry> mounts = ParseMountInfo(mountinfo_text);
  const MountEntry* mount = FindMount(mounts, LexicalAbsolutePath(local_device, cwd));
  if (mount == nullptr) return "";
  const std::string host = NetworkHostOfMount(*mount);
  return host.empty() ? "" : "\\\\" + host;
}

int16_t HostReachability(const std::string& host) {
  const std::string lower = ToLowerAscii(host);
  if (lower == "localhost" || lower == "127.0.0.1") return kHostLocalOrFast;
  // Both the full name and its first label name this computer: hosts often report a dotted name.
  const std::string computer = ToLowerAscii(LocalComputerName());
  if (lower == computer) return kHostLocalOrFast;
  const size_t dot = computer.find('.');
  if (dot != std::string::npos && lower == computer.substr(0, dot)) return kHostLocalOrFast;
  return ProbeHost(ReplaceAll(host, "\\\\", ""), ProbeOptions{});
}

std::string LocalComputerName() {
  char name[HOST_NAME_MAX + 1] = {};
  if (gethostname(name, sizeof name - 1) != 0) return "";
  return name;
}

}  // namespace clipcat
