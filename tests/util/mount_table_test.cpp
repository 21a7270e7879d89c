// Mount table parsing, the mount that holds a path and the host behind a network mount.
#include "util/mount_table.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace clipcat {
namespace {

// Lines as the kernel writes them, with optional fields of varying number, escaped blanks,
// incomplete escapes (kept as text) and lines that are not mounts.
constexpr const char* kMountInfo =
    "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
    "\n"
    "40 22 0:35 / /mnt/share\\040one rw,relatime shared:7 master:2 - cifs //fs1/share rw,vers=3\n"
    "41 22 0:36 / /mnt/nfs rw - nfs nas:/export/home rw,vers=3\n"
    "42 22 0:37 / /srv/v6 rw - nfs4 [2001:db8::5]:/vol rw\n"
    "43 22 0:38 / /home/me/remote rw,nosuid - fuse.sshfs alice@[::1]:/home/alice rw\n"
    "44 22 0:39 / /tmp\\011tab\\134x rw - tmpfs tmp\\040fs rw\n"
    "garbage line without the separator field at all\n"
    "45 22 0:40 / /short rw -\n"
    "46 22 0:41 / /mnt/smb3 rw - smb3 \\\\Files\\Docs rw\n"
    "47 22 0:42 / /a\\04 rw - ext4 /dev/x\\ rw\n"
    "48 22 0:43 / /mnt/a rw - nfs nas rw\n"
    "49 48 0:44 / /mnt/a/b rw - overlay host:/looks/remote rw\n"
    "50 22 0:45 / /mnt/ab rw - fuse.other //fs1/share rw\n"
    "51 22 0:46 / /mnt/a rw - cifs //FS1.corp.example/share/sub rw";

TEST(FindMount, TakesTheLongestWholeComponentPrefixAndTheTopmostMountWithItsHost) {
  const std::vector<MountEntry> mounts = ParseMountInfo(kMountInfo);
  ASSERT_EQ(mounts.size(), 12u);
  EXPECT_EQ(mounts[5].source + "|" + mounts[7].source, "tmp fs|/dev/x\\");
  // The path, then the mount point that holds it and the network host behind that mount.
  const std::pair<const char*, const char*> cases[] = {
      {"/mnt", "/|"},
      {"/mnt/share one/cat.db", "/mnt/share one|fs1"},
      {"/mnt/share", "/|"},
      {"/mnt/nfs/", "/mnt/nfs|nas"},
      {"/srv/v6/x", "/srv/v6|2001:db8::5"},
      {"/home/me/remote", "/home/me/remote|::1"},
      {"/mnt/smb3/x", "/mnt/smb3|Files"},
      {"/tmp\ttab\\x/y", "/tmp\ttab\\x|"},
      {"/a\\04", "/a\\04|"},
      {"/mnt/a", "/mnt/a|FS1.corp.example"},
      {"/mnt/a/bc", "/mnt/a|FS1.corp.example"},
      {"/mnt/a/b/c", "/mnt/a/b|"},
      {"/mnt/ab/c", "/mnt/ab|"},
      {"/mnt/abc", "/|"},
  };
  for (const auto& [path, expected] : cases) {
    const MountEntry* mount = FindMount(mounts, path);
    ASSERT_NE(mount, nullptr) << path;
    EXPECT_EQ(mount->mount_point + "|" + NetworkHostOfMount(*mount), expected) << path;
  }
  EXPECT_EQ(NetworkHostOfMount(MountEntry{"/m", "nfs", "nas"}), "");
  EXPECT_EQ(FindMount({{"/mnt/a", "nfs", "1"}}, "/mnt/b"), nullptr);
  // This process's own table has /proc.
  const std::vector<MountEntry> own = ParseMountInfo(ReadMountInfo());
  const MountEntry* proc = FindMount(own, "/proc/version");
  ASSERT_NE(proc, nullptr);
  EXPECT_EQ(proc->fs_type, "proc");
}

}  // namespace
}  // namespace clipcat
