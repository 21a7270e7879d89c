// Catalog host discovery and reachability. Network checks touch loopback addresses only.
#include "util/probes.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "util/error_of.h"
#include "util/errors.h"
#include "util/probes_internal.h"
#include "util/temp_dir.h"

namespace clipcat::testing {
namespace {

TEST(ServerFromPath, CutsUncTextAfterTheHostAndAnswersEmptyForLocalPaths) {
  // Two backslashes anywhere make UNC text; the cut is the first "\\" from the third character.
  const std::pair<const char*, const char*> cases[] = {{"\\\\server\\share\\x.mdb", "\\\\server"},
                                                       {"\\\\a\\b", "\\\\a"},
                                                       {"ab\\\\c", "ab"},
                                                       {"/mnt\\\\x", "/mnt"},
                                                       {"/proc/version", ""},
                                                       {"/proc/self/../version", ""}};
  for (const auto& [path, server] : cases) EXPECT_EQ(ServerFromPath(path), server) << path;
  for (const char* path : {"\\\\server", "\\\\"})
    EXPECT_EQ(RaisedNumber([&] { ServerFromPath(path); }), err::kInvalidProcedureCall) << path;
}

constexpr const char* kMounts =
    "22 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
    "40 22 0:35 / /mnt/share\\040one rw shared:7 - cifs //fs1/share rw\n"
    "41 22 0:36 / /mnt/nfs rw - nfs nas:/export rw\n"
    "42 22 0:37 / /home/me/remote rw - fuse.sshfs alice@build:/home/alice rw\n"
    "43 41 0:38 / /mnt/nfs/local rw - tmpfs tmpfs rw\n";

TEST(RemoteNameOfDrive, NamesTheHostOfTheMountHoldingThePath) {
  const struct {
    const char* device;
    const char* cwd;
    const char* host;
  } cases[] = {
      {"/mnt/share one/cat.db", "/", "\\\\fs1"},
      {"cat.db", "/mnt/nfs/dir", "\\\\nas"},
      {"../../home/me/remote/x.db", "/mnt/nfs", "\\\\build"},
      {"/mnt/nfs/local/../cat.db", "/", "\\\\nas"},
      {"H:", "/mnt/nfs", "\\\\nas"},
      {"", "/mnt/nfs", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(RemoteNameOfDrive(c.device, kMounts, c.cwd), c.host) << c.device << " in " << c.cwd;
  }
}

TEST(IsCatalogUnavailable, DecidesFilesByTheirFileAndDataSourcesByTheirHost) {
  TempDir dir;
  const std::string file = dir.Write("cat.db", "x");
  EXPECT_FALSE(IsCatalogUnavailable("  " + file + ";  ", true)) << "trimmed, then one \";\"";
  for (const std::string& missing :
       {file + " ;", file + ";;", file + "x", dir.path(), std::string()})
    EXPECT_TRUE(IsCatalogUnavailable(missing, true)) << missing;
  EXPECT_THROW(IsCatalogUnavailable("\\\\server", true), AutomationError);
  // The catalog host is probed first.
  EXPECT_TRUE(IsCatalogUnavailable("\\\\no-such-host.invalid\\share\\cat.db", true));

  ScopedEnv home("HOME", dir.path());
  ScopedEnv odbcini("ODBCINI", dir.Write("odbc.ini",
                                         "[here]\nServer=127.0.0.2\n"
                                         "[gone]\nServer=no-such-host.invalid\n"
                                         "[nohost]\nDriver=PostgreSQL\n"));
  for (const char* reachable : {"Provider=PostgreSQL;Host=anything", "DSN=nohost", "DSN=here"})
    EXPECT_FALSE(IsCatalogUnavailable(reachable, false)) << reachable;
  EXPECT_TRUE(IsCatalogUnavailable("DSN=gone", false));
}

}  // namespace
}  // namespace clipcat::testing
