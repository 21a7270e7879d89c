// The probes with their environment passed in (odbc.ini files, mount table, probe ports and
// times) rather than taken from the process, for the library's own use and its tests. Stateless;
// safe to call from any thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace clipcat {

// ServerFromDsn reading the data source from `odbc_ini_paths`, in order, instead of the
// standard files.
std::string ServerFromDsn(const std::string& connection_string,
                          const std::vector<std::string>& odbc_ini_paths);

// RemoteNameOfDrive against the mount table `mountinfo_text` (the format of
// /proc/self/mountinfo), with relative names taken from `cwd`.
// REQUIRES: `cwd` is absolute.
std::string RemoteNameOfDrive(const std::string& local_device, std::string_view mountinfo_text,
                              std::string_view cwd);

// How the network probe of HostReachability tries a host.
struct ProbeOptions {
  // TCP ports tried, all at once: a catalog server's and a file server's.
  std::vector<uint16_t> ports = {5432, 445};
  // Name resolution and connection attempts together end after this.
  std::chrono::milliseconds time_out{1500};
  // A host whose first answer takes this long or longer is on a slow link.
  std::chrono::milliseconds slow_link{500};
};

// The network part of HostReachability: resolves `host` (a name or a numeric address, "[...]"
// around an IPv6 address allowed) and tries a TCP connection to each of its first few addresses on
// each port at once. 1 when one attempt is answered (connected or refused) in less than
// `slow_link`, 3 when the first answer came later, 2 when none came within `time_out` or the host
// cannot be resolved. Names that cannot be host names and names under the reserved ".invalid"
// domain answer 2 without a lookup. Makes no locality test.
int16_t ProbeHost(const std::string& host, const ProbeOptions& options);

}  // namespace clipcat
