// Mount table parsing, the host behind a network mount, and the mount that holds a path.
#include "util/mount_table.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace clipcat {
namespace {

// Lines as the kernel writes them, with optional fields of varying number and escaped blanks.
constexpr const char* kMountInfo =
    "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
    "\n"
    "40 22 0:35 / /mnt/share\\040one rw,relatime shared:7 master:2 - cifs //fs1/share rw,vers=3\n"
    "41 22 0:36 / /mnt/nfs rw - nfs nas:/export/home rw,vers=3\n"
    "42 22 0:37 / /srv/v6 rw - nfs4 [2001:db8::5]:/vol rw\n"
    "43 22 0:38 / /home/me/remote rw,nosuid - fuse.sshfs alice@build:/home/alice rw\n"
    "44 22 0:39 / /tmp\\011tab\\134x rw - tmpfs tmp\\040fs rw\n"
    "garbage line without the separator field at all\n"
    "45 22 0:40 / /short rw -\n"
    "46 22 0:41 / /mnt/smb3 rw - smb3 \\\\Files\\Docs rw\n"
    "47 22 0:42 / /a\\04 rw - ext4 /dev/x rw\n"  // incomplete escapes stay text
    "48 22 0:43 / /b\\08x rw - ext4 /dev/y\\ rw";

TEST(ParseMountInfo, ReadsEveryWellFormedLineAndUnescapesFields) {
  const std::vector<MountEntry> mounts = ParseMountInfo(kMountInfo);
  const std::vector<MountEntry> expected = {
      {"/", "ext4", "/dev/sda1"},
      {"/mnt/share one", "cifs", "//fs1/share"},
      {"/mnt/nfs", "nfs", "nas:/export/home"},
      {"/srv/v6", "nfs4", "[2001:db8::5]:/vol"},
      {"/home/me/remote", "fuse.sshfs", "alice@build:/home/alice"},
      {"/tmp\ttab\\x", "tmpfs", "tmp fs"},
      {"/mnt/smb3", "smb3", "\\\\Files\\Docs"},
      {"/a\\04", "ext4", "/dev/x"},
      {"/b\\08x", "ext4", "/dev/y\\"},
  };
  ASSERT_EQ(mounts.size(), expected.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(mounts[i].mount_point + "|" + mounts[i].fs_type + "|" + mounts[i].source,
              expected[i].mount_point + "|" + expected[i].fs_type + "|" + expected[i].source);
  }
}

TEST(ReadMountInfo, DescribesThisProcessWithARootMount) {
  const std::vector<MountEntry> mounts = ParseMountInfo(ReadMountInfo());
  const MountEntry* proc = FindMount(mounts, "/proc/version");
  ASSERT_NE(proc, nullptr);
  EXPECT_EQ(proc->fs_type, "proc");
}

TEST(NetworkHostOfMount, TakesTheHostFromEachKindOfSource) {
  const MountEntry cases[] = {
      // the host in the mount point's place
      {"FS1.corp.example", "cifs", "//FS1.corp.example/share/sub"},
      {"Files", "smb3", "\\\\Files\\Docs"},
      {"", "nfs", "nas"},
      {"2001:db8::5", "nfs4", "[2001:db8::5]:/vol"},
      {"::1", "fuse.sshfs", "u@[::1]:/p"},
      {"", "ext4", "/dev/sda1"},
      {"", "overlay", "host:/looks/remote"},
      {"", "fuse.other", "//fs1/share"},
  };
  for (const MountEntry& c : cases) {
    EXPECT_EQ(NetworkHostOfMount(MountEntry{"/m", c.fs_type, c.source}), c.mount_point) << c.source;
  }
}

TEST(FindMount, TakesTheLongestWholeComponentPrefixAndTheTopmostMount) {
  const std::vector<MountEntry> mounts = {
      {"/", "ext4", "0"},      {"/mnt/a", "nfs", "1"},  {"/mnt/a/b", "cifs", "2"},
      {"/mnt/ab", "nfs", "3"}, {"/mnt/a", "cifs", "4"}, {"/data/", "nfs", "5"},
  };
  const std::pair<const char*, const char*> cases[] = {
      {"/", "0"},         {"/x", "0"},           {"/mnt", "0"},     {"/mnt/", "0"},
      {"/mnt/a", "4"},    {"/mnt/a/", "4"},      {"/mnt/a/c", "4"}, {"/mnt/a/b", "2"},
      {"/mnt/a/bc", "4"}, {"/mnt/a/b/c/d", "2"}, {"/mnt/ab", "3"},  {"/mnt/ab/c", "3"},
      {"/mnt/abc", "0"},  {"/data", "5"},        {"/data/x", "5"},  {"/database", "0"},
  };
  for (const auto& [path, source] : cases) {
    const MountEntry* mount = FindMount(mounts, path);
    ASSERT_NE(mount, nullptr) << path;
    EXPECT_EQ(mount->source, source) << path;
  }
  EXPECT_EQ(FindMount({{"/mnt/a", "nfs", "1"}}, "/mnt/b"), nullptr);
}

}  // namespace
}  // namespace clipcat
