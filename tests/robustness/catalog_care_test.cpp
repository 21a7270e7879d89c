// Looking after a whole catalog from the command line: `check` names each kind of damage and
// never writes, `backup` takes a consistent copy while another process writes and refuses to
// overwrite what it must not, and `export --skip-damaged` saves every clipping a damaged catalog
// can still give.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "robustness/cli_runner.h"
#include "robustness/robustness_support.h"
#include "robustness/small_catalog.h"

namespace clipcat::robustness {
namespace {

bool StartsWith(const std::string& text, const std::string& prefix) {
  return text.rfind(prefix, 0) == 0;
}

class CatalogCare : public ::testing::Test {
 protected:
  void SetUp() override { catalog_ = MakeSmallCatalog(dir_.File("catalog.db"), scratch_); }

  CliResult Run(const std::string& path, const std::vector<std::string>& args) {
    return RunOn(path, args, scratch_);
  }

  // Changes the catalog past clipcat, the way damage would.
  void Damage(const std::string& path, const std::string& sql) {
    RawCatalog raw(path);
    raw.Rows(sql);
  }

  ScratchDir dir_;
  std::string scratch_ = dir_.File("");
  SmallCatalog catalog_;
};

TEST_F(CatalogCare, CheckPassesASoundCatalogAndNamesEachKindOfDamageWithoutWriting) {
  const CliResult sound = Run(catalog_.path, {"check"});
  EXPECT_EQ(sound.status, 0) << sound.Describe();
  EXPECT_NE(sound.out.find("no problems found"), std::string::npos) << sound.out;
  EXPECT_NE(sound.out.find("ClippingDataType: 8 stored items read"), std::string::npos)
      << sound.out;

  const std::string first = catalog_.clippings.front();
  struct Case {
    std::string damage;    // SQL run past clipcat
    std::string expected;  // in the problem the check reports
  };
  // The findings of the schema, the file and its header are checked in the store's tests
  // (tests/store/catalog_check_test.cpp); here, those of rows and stored content, as printed.
  const std::vector<Case> cases = {
      {"INSERT INTO ClippingDataType (lClippingID, lDataTypeId, bIsCompressed, ClippingData)"
       " VALUES (9999, 2, 0, X'41')",
       "problem: 1 data items whose clipping is missing"},
      {"UPDATE Clipping SET lFolderID = 9999 WHERE lClippingID = " + first,
       "problem: 1 clippings whose folder is missing"},
      {"DELETE FROM GroupClipping", "problem: 2 category memberships whose category is missing"},
      {"UPDATE ClippingDataType SET ClippingData = substr(ClippingData, 1, 20)"
       " WHERE lClippingID = " +
           first,
       "of clipping " + first + " cannot be read"},
  };
  const std::string pristine = FileBytes(catalog_.path);
  for (const Case& c : cases) {
    const std::string path = dir_.File("damaged.db");
    std::ofstream(path, std::ios::binary | std::ios::trunc) << pristine;
    Damage(path, c.damage);
    const std::string before = FileBytes(path);
    const CliResult check = Run(path, {"check"});
    EXPECT_EQ(check.status, 1) << c.damage;
    EXPECT_NE(check.out.find(c.expected), std::string::npos) << c.damage << "\n" << check.out;
    EXPECT_TRUE(StartsWith(check.err, "error: catalog damaged: " + path + " ("))
        << check.Describe();
    EXPECT_EQ(FileBytes(path), before) << c.damage << ": check wrote";
  }
}

TEST_F(CatalogCare, BackupWhileAnotherProcessAddsIsOneConsistentStateThatPassesTheCheck) {
  const int before = static_cast<int>(catalog_.clippings.size());
  constexpr int kAdds = 40;
  const pid_t writer = StartChild([&] {
    for (int i = 0; i < kAdds; ++i) {
      const CliResult add =
          RunClipcat({"--catalog", catalog_.path, "add", "1", "Busy " + std::to_string(i), "--text",
                      SmallCatalogText(100 + i, 3000)},
                     dir_.File("writer-"));
      if (add.status != 0) return 1;
    }
    return 0;
  });
  std::vector<int64_t> counts;
  for (int i = 0; i < 6; ++i) {
    const std::string copy = dir_.File("copy" + std::to_string(i) + ".db");
    const CliResult backup = Run(catalog_.path, {"backup", copy});
    ASSERT_EQ(backup.status, 0) << backup.Describe();
    EXPECT_FALSE(std::filesystem::exists(copy + ".partial-" + std::to_string(getpid())));
    const CliResult check = Run(copy, {"check"});
    EXPECT_EQ(check.status, 0) << check.out;
    RawCatalog raw(copy, true);
    // Every clipping in the copy came with its data item: no add was caught half done.
    EXPECT_EQ(raw.Count("SELECT COUNT(*) FROM Clipping AS c WHERE NOT EXISTS (SELECT 1 FROM "
                        "ClippingDataType AS d WHERE d.lClippingID = c.lClippingID)"),
              0);
    counts.push_back(raw.Count("SELECT COUNT(*) FROM Clipping"));
  }
  EXPECT_EQ(WaitChild(writer), "exit 0");
  for (const int64_t count : counts) {
    EXPECT_GE(count, before);
    EXPECT_LE(count, before + kAdds);
  }
  EXPECT_TRUE(std::is_sorted(counts.begin(), counts.end()));
  std::cout << "[ figures  ] copies held " << counts.front() << " ... " << counts.back()
            << " clippings while " << kAdds << " were added\n";

  // The last copy, taken with the writer done, restores the catalog as it is.
  const std::string last = dir_.File("last.db");
  ASSERT_EQ(Run(catalog_.path, {"backup", last}).status, 0);
  EXPECT_EQ(Run(last, {"export", "--portable"}).out,
            Run(catalog_.path, {"export", "--portable"}).out);
}

TEST_F(CatalogCare, BackupRefusesTheCatalogItselfAForeignFileAndACatalogInUse) {
  const std::string pristine = FileBytes(catalog_.path);
  const CliResult itself = Run(catalog_.path, {"backup", catalog_.path});
  EXPECT_EQ(itself.status, 1);
  EXPECT_NE(itself.err.find("onto the catalog itself"), std::string::npos) << itself.err;
  EXPECT_EQ(FileBytes(catalog_.path), pristine);

  const std::string notes = dir_.File("notes.txt");
  std::ofstream(notes) << "my notes\n";
  const CliResult foreign = Run(catalog_.path, {"backup", notes});
  EXPECT_EQ(foreign.status, 1);
  EXPECT_NE(foreign.err.find("is not a catalog"), std::string::npos) << foreign.err;
  EXPECT_EQ(FileBytes(notes), "my notes\n");

  const std::string in_use = dir_.File("in-use.db");
  ASSERT_EQ(Run(catalog_.path, {"backup", in_use}).status, 0);
  const std::string copy = FileBytes(in_use);
  {
    // Another process has the copy open (this one, past clipcat).
    RawCatalog user(in_use);
    ASSERT_EQ(user.Count("SELECT COUNT(*) FROM Folder"), 3);
    const CliResult busy = Run(catalog_.path, {"backup", in_use});
    EXPECT_EQ(busy.status, 1);
    EXPECT_NE(busy.err.find("is a catalog in use"), std::string::npos) << busy.err;
  }
  // Read only now: closing a descriptor of the file would drop the connection's locks.
  EXPECT_EQ(FileBytes(in_use), copy);

  // Restoring: a backup written back over a catalog nobody uses replaces it whole.
  ASSERT_EQ(Run(in_use, {"add", "1", "Only in the copy", "--text", "x"}).status, 0);
  const CliResult restore = Run(catalog_.path, {"backup", in_use});
  EXPECT_EQ(restore.status, 0) << restore.Describe();
  EXPECT_EQ(Run(in_use, {"export", "--portable"}).out,
            Run(catalog_.path, {"export", "--portable"}).out);
}

TEST_F(CatalogCare, ExportSkippingDamagedClippingsSavesEveryReadableOneAndListsTheOthers) {
  const std::string& broken = catalog_.clippings[2];
  Damage(catalog_.path,
         "UPDATE ClippingDataType SET ClippingData = substr(ClippingData, 1, 30)"
         " WHERE lClippingID = " +
             broken);
  const std::string document = dir_.File("saved.xml");
  const CliResult plain = Run(catalog_.path, {"export", document});
  EXPECT_EQ(plain.status, 1);
  EXPECT_TRUE(StartsWith(plain.err, "error: catalog damaged: " + catalog_.path)) << plain.err;
  EXPECT_NE(plain.err.find("clipping " + broken + " "), std::string::npos) << plain.err;
  EXPECT_FALSE(std::filesystem::exists(document));

  const CliResult skipping = Run(catalog_.path, {"export", "--skip-damaged", document});
  EXPECT_EQ(skipping.status, 1) << "the damage is still reported";
  EXPECT_NE(
      skipping.out.find("left out, unreadable: " + broken + " Clipping 2 (in Personal\\Letters)\n"),
      std::string::npos)
      << skipping.out;
  EXPECT_TRUE(StartsWith(skipping.err, "error: catalog damaged: " + catalog_.path)) << skipping.err;
  const std::string saved = FileBytes(document);
  for (size_t i = 0; i < catalog_.clippings.size(); ++i) {
    const bool present = saved.find(catalog_.contents[i]) != std::string::npos;
    EXPECT_EQ(present, catalog_.clippings[i] != broken) << "clipping " << catalog_.clippings[i];
  }
  // What was saved reads back into a new catalog.
  const std::string fresh = dir_.File("fresh.db");
  ASSERT_EQ(Run(fresh, {"init"}).status, 0);
  const CliResult import = Run(fresh, {"import", document});
  EXPECT_EQ(import.status, 0) << import.Describe();
  EXPECT_NE(import.out.find("7 clippings"), std::string::npos) << import.out;
}

}  // namespace
}  // namespace clipcat::robustness
