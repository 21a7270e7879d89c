// Probes that decide, before a catalog is opened, whether the machine holding it can be reached
// and whether its link is fast enough. Stateless; safe to call from any thread.
#pragma once

#include <cstdint>
#include <string>

namespace clipcat {

// Reachability codes answered by HostReachability. Frozen: callers compare against the numbers.
inline constexpr int16_t kHostLocalOrFast = 1;
inline constexpr int16_t kHostUnreachable = 2;
inline constexpr int16_t kHostSlow = 3;

// True when the catalog at `location` must be treated as off line. When `location_is_file` the
// location is a catalog file path (trimmed of spaces and of one trailing ";"): it is unavailable
// when its host answers slowly or not at all, when the file is missing, or when it is a
// directory. Otherwise the location is a connection string: only one naming an ODBC data source
// ("DSN=") whose host cannot be reached quickly is unavailable; any other connection string is
// available. A catalog whose host is this computer never waits on the network.
// Raises runtime error 5 for a UNC path without a share ("\\server").
bool IsCatalogUnavailable(const std::string& location, bool location_is_file);

// The host that holds `path` as "\\host", or "" when the path is local. UNC text ("\\server\share
// \x.mdb") answers everything before the first "\" after the leading two ("\\server"); any other
// path is looked up in the mount table (see RemoteNameOfDrive). The file system itself is not
// touched, so a dead network mount cannot block the call.
// Raises runtime error 5 when text containing "\\" has no "\" after the host name.
std::string ServerFromPath(const std::string& path);

// The host behind the ODBC data source that `connection_string` names, as "\\HOST", or "".
// The name is everything after the first "DSN=" (case-sensitive) to the end of the string. It is
// looked up in $ODBCINI, ~/.odbc.ini and /etc/odbc.ini, in that order; the first file whose
// definition of the name holds a database file path ("DBQ", or a "Database" value that is a
// path), a host ("Server", "Servername") or a "DefaultDir" decides. Missing files, names and
// values are not errors: the answer is then "".
std::string ServerFromDsn(const std::string& connection_string);

// 1 (kHostLocalOrFast) when `host` is this computer or answers quickly, 2 (kHostUnreachable) when
// it cannot be resolved or does not answer within about 1.5 seconds, 3 (kHostSlow) when it
// answers a TCP connection attempt (port 5432 or 445; a refusal is an answer) only after 500
// milliseconds or more. "localhost", "127.0.0.1" and this computer's name (ignoring case) answer 1
// without any network traffic; "\\" pairs are removed before the probe. Never blocks longer than
// the time-out.
int16_t HostReachability(const std::string& host);

// The network host of the mount that holds `local_device` (a mount point or any path below one,
// relative paths taken from the current directory) as "\\host", or "" for a local file system
// or an empty argument. SMB (cifs, smb3, smbfs), NFS (nfs, nfs4) and sshfs mounts have hosts.
std::string RemoteNameOfDrive(const std::string& local_device);

// This computer's host name, or "" when the system cannot tell.
std::string LocalComputerName();

}  // namespace clipcat
