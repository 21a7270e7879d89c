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
                                                       {"ab\\\\c", "ab"},
                                                       {"/mnt\\\\x", "/mnt"},
                                                       {"/proc/self/../version", ""}};
  for (const auto& [path, server] : cases) EXPECT_EQ(ServerFromPath(path), server) << path;
  for (const char* path : {"\\\\server", "\\\\"})
    EXPECT_EQ(RaisedNumber([&] { ServerFromPath(path); }), err::kInvalidProcedureCall) << path;
}

TEST(RemoteNameOfDrive, NamesTheHostOfTheMountHoldingThePathFromTheWorkingDirectory) {
  const char* mounts =
      "22 1 8:1 / / rw - ext4 /dev/sda1 rw\n41 22 0:36 / /mnt/nfs rw - nfs nas:/export rw\n"
      "42 22 0:37 / /home/me/remote rw - fuse.sshfs alice@build:/home/alice rw\n";
  const std::pair<const char*, const char*> cases[] = {{"cat.db", "\\\\nas"},
                                                       {"../../home/me/remote/x.db", "\\\\build"},
                                                       {"/mnt/nfs/../cat.db", ""},
                                                       {"H:", "\\\\nas"}};
  for (const auto& [device, host] : cases)
    EXPECT_EQ(RemoteNameOfDrive(device, mounts, "/mnt/nfs"), host) << device;
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
