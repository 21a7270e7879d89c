// The catalog's storage at its limits: on a read-only file, folder or file system every read
// command answers as before and every write fails with a clear error and changes nothing; on a
// full disk adds and imports fail with a clear "disk full" error, lose nothing reported as added,
// leave a catalog that passes the check, and work again once there is room.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "robustness/cli_runner.h"
#include "robustness/robustness_support.h"
#include "robustness/small_catalog.h"

namespace clipcat::robustness {
namespace {

using Command = std::vector<std::string>;

// The user the read-only file and folder cases run as when the tests run as root, who may write
// anything: nobody.
constexpr uid_t kNobody = 65534;

std::map<Command, std::string> Answers(const SmallCatalog& catalog, const std::string& scratch,
                                       std::optional<uid_t> as_user = std::nullopt) {
  std::map<Command, std::string> answers;
  for (const Command& command : ReadCommands(catalog)) {
    const CliResult result = RunClipcat(command, scratch, as_user);
    EXPECT_EQ(result.status, 0) << command.at(2) << ": " << result.Describe();
    answers[command] = result.out;
  }
  return answers;
}

// Reads answer as they did before the storage became read-only; writes fail clearly and the
// file stays as it was.
void ExpectReadOnlyBehaviour(const SmallCatalog& catalog, const std::string& scratch,
                             const std::map<Command, std::string>& expected,
                             std::optional<uid_t> as_user, const std::string& what) {
  const std::string before = FileBytes(catalog.path);
  EXPECT_EQ(Answers(catalog, scratch, as_user), expected) << what;
  for (const Command& write :
       {Command{"add", "1", "New", "--text", "x"}, Command{"rename", catalog.clippings[0], "Z"},
        Command{"rm", "--force", catalog.clippings[1]}, Command{"show", catalog.clippings[0]}}) {
    Command args = {"--catalog", catalog.path};
    args.insert(args.end(), write.begin(), write.end());
    const CliResult result = RunClipcat(args, scratch, as_user);
    if (write[0] == "show") {
      // Showing counts a use; where nothing may be written it shows all the same.
      EXPECT_EQ(result.status, 0) << what << ": show " << result.Describe();
      continue;
    }
    EXPECT_EQ(result.status, 1) << what << ": " << write[0];
    EXPECT_EQ(result.err,
              "error: the catalog cannot be written: its file or folder is read-only (error "
              "-2147467259, SQLite)\n")
        << what << ": " << write[0];
  }
  EXPECT_EQ(FileBytes(catalog.path), before) << what;
}

TEST(ReadOnlyStorage, AReadOnlyFileSystemIsReadAsBeforeAndRefusesWritesChangingNothing) {
  ScratchDir dir;
  auto mount = ScratchMount::Make(dir.File("mnt"), 16 << 20);
  if (!mount) GTEST_SKIP() << ScratchMount::Reason();
  const SmallCatalog catalog = MakeSmallCatalog(mount->File("catalog.db"), dir.File(""));
  const auto expected = Answers(catalog, dir.File(""));
  ASSERT_TRUE(mount->SetReadOnly(true));
  ExpectReadOnlyBehaviour(catalog, dir.File(""), expected, std::nullopt, "read-only mount");
  ASSERT_TRUE(mount->SetReadOnly(false));
  EXPECT_EQ(RunOn(catalog.path, {"add", "1", "New", "--text", "x"}, dir.File("")).status, 0);
}

TEST(ReadOnlyStorage, AReadOnlyFileOrFolderIsReadAsBeforeAndRefusesWritesChangingNothing) {
  ScratchDir dir;
  const std::optional<uid_t> as_user = getuid() == 0 ? std::optional<uid_t>(kNobody) : std::nullopt;
  // The other user must reach the scratch directory and write the commands' output there.
  std::filesystem::permissions(dir.File(""), std::filesystem::perms::all);
  for (const bool folder_read_only : {false, true}) {
    const std::string what = folder_read_only ? "read-only folder" : "read-only file";
    const std::string folder = dir.File(folder_read_only ? "locked" : "open");
    std::filesystem::create_directories(folder);
    const SmallCatalog catalog = MakeSmallCatalog(folder + "/catalog.db", dir.File(""));
    const auto expected = Answers(catalog, dir.File(""));
    using std::filesystem::perms;
    std::filesystem::permissions(catalog.path,
                                 perms::owner_read | perms::group_read | perms::others_read);
    std::filesystem::permissions(
        folder, folder_read_only ? perms::owner_read | perms::owner_exec | perms::group_read |
                                       perms::group_exec | perms::others_read | perms::others_exec
                                 : perms::all);
    ExpectReadOnlyBehaviour(catalog, dir.File(""), expected, as_user, what);
    std::filesystem::permissions(folder, perms::all);
  }
}

// Bytes free on the file system that holds `path`.
uint64_t FreeBytes(const std::string& path) {
  struct statvfs info {};
  if (statvfs(path.c_str(), &info) != 0) return 0;
  return uint64_t{info.f_bavail} * info.f_frsize;
}

// Fills the file system of `path` up to `leave` free bytes with one file.
void Fill(const std::string& path, uint64_t leave) {
  const uint64_t free = FreeBytes(std::filesystem::path(path).parent_path().string());
  if (free <= leave) return;
  std::ofstream filler(path, std::ios::binary);
  const std::string block(4096, 'f');
  for (uint64_t written = 0; written + block.size() <= free - leave; written += block.size()) {
    filler << block;
  }
}

TEST(DiskFull, AddsAndAnImportThatFillTheDiskFailClearlyLoseNothingAndWorkAgainWithRoom) {
  ScratchDir dir;
  auto mount = ScratchMount::Make(dir.File("mnt"), 12 << 20);
  if (!mount) GTEST_SKIP() << ScratchMount::Reason();
  SmallCatalog catalog = MakeSmallCatalog(mount->File("catalog.db"), dir.File(""), 2);
  const std::string filler = mount->File("filler");
  Fill(filler, 400 << 10);

  // Adds until the disk is full; every one reported as added must be there afterwards.
  int failures = 0;
  std::string error;
  for (int i = 0; i < 400 && failures < 3; ++i) {
    const std::string text = SmallCatalogText(1000 + i, 20000);
    const CliResult add =
        RunOn(catalog.path, {"-q", "add", "1", "Fill " + std::to_string(i), "--text", text},
              dir.File(""));
    ASSERT_EQ(add.signal, 0) << add.Describe();
    if (add.status == 0) {
      catalog.clippings.push_back(add.out.substr(0, add.out.find('\n')));
      catalog.contents.push_back(text);
    } else {
      ++failures;
      error = add.err;
      EXPECT_EQ(add.err.rfind("error: disk full: ", 0), 0u) << add.Describe();
    }
  }
  ASSERT_EQ(failures, 3) << "the disk never filled";
  const size_t added = catalog.clippings.size();

  // An import larger than what is left fails the same way.
  const std::string files = dir.File("to-import");
  std::filesystem::create_directories(files);
  for (int i = 0; i < 40; ++i) {
    std::ofstream(files + "/file" + std::to_string(i) + ".txt")
        << SmallCatalogText(5000 + i, 20000);
  }
  const CliResult import = RunOn(catalog.path, {"import", files}, dir.File(""));
  EXPECT_EQ(import.status, 1);
  EXPECT_EQ(import.err.rfind("error: disk full: ", 0), 0u) << import.Describe();

  auto expect_all_there = [&](const std::string& when) {
    const CliResult check = RunOn(catalog.path, {"check"}, dir.File(""));
    EXPECT_EQ(check.status, 0) << when << ": " << check.out << check.err;
    for (size_t i = 0; i < catalog.clippings.size(); ++i) {
      const CliResult cat = RunOn(catalog.path, {"cat", catalog.clippings[i]}, dir.File(""));
      EXPECT_EQ(cat.out, catalog.contents[i]) << when << ": clipping " << catalog.clippings[i];
    }
  };
  expect_all_there("with the disk full");

  // With room again, writing works again.
  std::filesystem::remove(filler);
  const CliResult add =
      RunOn(catalog.path, {"-q", "add", "1", "After", "--text", "room"}, dir.File(""));
  EXPECT_EQ(add.status, 0) << add.Describe();
  const CliResult retried = RunOn(catalog.path, {"import", files}, dir.File(""));
  EXPECT_EQ(retried.status, 0) << retried.Describe();
  expect_all_there("after freeing space");
  std::cout << "[ figures  ] " << added << " clippings added before the disk was full; "
            << "first error: " << error;
}

}  // namespace
}  // namespace clipcat::robustness
