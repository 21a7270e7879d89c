// The mount table of this process and the network host, if any, behind a path. Internal to the
// probes. Stateless; safe to call from any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace clipcat {

// One line of /proc/self/mountinfo, with the kernel's octal escapes ("\040" for a space) undone.
struct MountEntry {
  std::string mount_point;
  std::string fs_type;
  std::string source;
};

// The mounts described by `mountinfo_text` (the format of /proc/self/mountinfo), in the order of
// the text. Malformed lines are skipped.
std::vector<MountEntry> ParseMountInfo(std::string_view mountinfo_text);

// The text of /proc/self/mountinfo, or "" when it cannot be read.
std::string ReadMountInfo();

// The host name of a network mount's source ("//host/share" for SMB, "host:/export" for NFS,
// "user@host:/path" for sshfs; IPv6 literals lose their brackets), or "" for a local file system
// type or a source without a host.
std::string NetworkHostOfMount(const MountEntry& mount);

// The mount that holds `absolute_path`: the one with the longest mount point that equals the path
// or is a leading run of whole components of it. Of mounts on the same point the last one in the
// table (the one on top) is taken. Null when none matches. The pointer is into `mounts`.
const MountEntry* FindMount(const std::vector<MountEntry>& mounts, std::string_view absolute_path);

// `path` made absolute against `cwd` (when relative) and normalised without touching the file
// system: repeated "/", "." and ".." components are resolved as text; symbolic links are not.
// REQUIRES: `cwd` is absolute.
std::string LexicalAbsolutePath(std::string_view path, std::string_view cwd);

}  // namespace clipcat
