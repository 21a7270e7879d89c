// Damaged catalog files: a catalog cut off at any page boundary, or with a byte flipped in its
// header, in the structure of its pages or in a stored content frame, makes every read command
// end with one clear "catalog damaged" error naming the file (or, where the flip hit bytes that
// mean nothing, answer exactly as before), never a crash or garbage; no command writes to it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "robustness/cli_runner.h"
#include "robustness/robustness_support.h"
#include "robustness/small_catalog.h"

namespace clipcat::robustness {
namespace {

using Command = std::vector<std::string>;

constexpr size_t kSqliteHeaderBytes = 100;

// How many flips: a few hundred by default, a few thousand for the long variant (ctest label
// "long", which sets CLIPCAT_LONG_RUN).
int FlipCount() { return std::getenv("CLIPCAT_LONG_RUN") != nullptr ? 3000 : 300; }

void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

uint32_t BigEndian(const std::string& bytes, size_t at, size_t size) {
  uint32_t value = 0;
  for (size_t i = 0; i < size; ++i)
    value = (value << 8) | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

// A byte range of the file and what it is.
struct Region {
  size_t begin, end;
};

// The b-tree page headers and cell pointer arrays of the file: the bytes that say where rows
// are.
std::vector<Region> PageStructures(const std::string& file) {
  const uint32_t stored = BigEndian(file, 16, 2);
  const size_t page_size = stored == 1 ? 65536 : stored;
  std::vector<Region> regions;
  for (size_t base = 0; base + page_size <= file.size(); base += page_size) {
    const size_t header = base + (base == 0 ? kSqliteHeaderBytes : 0);
    const auto type = static_cast<unsigned char>(file[header]);
    if (type != 2 && type != 5 && type != 10 && type != 13) continue;  // not a b-tree page
    const size_t header_size = type == 2 || type == 5 ? 12 : 8;
    const size_t cells = BigEndian(file, header + 3, 2);
    regions.push_back({header, std::min(base + page_size, header + header_size + 2 * cells)});
  }
  return regions;
}

// Where each stored content frame lies in the file.
std::vector<Region> Frames(const std::string& path, const std::string& file) {
  std::vector<Region> regions;
  RawCatalog raw(path, true);
  for (const auto& row : raw.Rows("SELECT ClippingData FROM ClippingDataType")) {
    const size_t at = file.find(row.at(0));
    if (at != std::string::npos) regions.push_back({at, at + row.at(0).size()});
  }
  return regions;
}

class DamagedCatalog : public ::testing::Test {
 protected:
  void SetUp() override {
    catalog_ = MakeSmallCatalog(dir_.File("catalog.db"), dir_.File(""));
    pristine_ = FileBytes(catalog_.path);
    ASSERT_FALSE(std::filesystem::exists(catalog_.path + "-wal")) << "closed cleanly";
    for (const Command& command : ReadCommands(catalog_)) {
      const CliResult result = RunClipcat(command, dir_.File(""));
      ASSERT_EQ(result.status, 0) << command.at(2) << ": " << result.Describe();
      expected_[command] = result.out;
    }
    ASSERT_EQ(FileBytes(catalog_.path), pristine_) << "reading wrote to the catalog";
  }

  // Runs `command` on the damaged file now at the catalog's path. Answers "damaged" for the
  // clear error, "unaffected" for the answer the intact catalog gave; anything else fails the
  // test with `what` in the message.
  std::string Judge(const Command& command, const std::string& what) {
    const std::string before = FileBytes(catalog_.path);
    const CliResult result = RunClipcat(command, dir_.File(""));
    EXPECT_EQ(FileBytes(catalog_.path), before) << what << ": " << command.at(2) << " wrote";
    if (result.signal != 0 || result.status < 0) {
      ADD_FAILURE() << what << ": " << command.at(2) << " " << result.Describe();
      return "crash";
    }
    if (result.status == 0) {
      if (result.out == expected_[command]) return "unaffected";
      ADD_FAILURE() << what << ": " << command.at(2) << " succeeded with a different answer:\n"
                    << Printable(result.out, 400) << "\ninstead of\n"
                    << Printable(expected_[command], 400);
      return "garbage";
    }
    const std::string& err = result.err;
    const bool clear = err.rfind("error: catalog damaged: " + catalog_.path + " (", 0) == 0 &&
                       err.find("clipcat check") != std::string::npos &&
                       err.find("(error 513, ") != std::string::npos &&
                       err.find('\n') == err.size() - 1;
    EXPECT_TRUE(clear) << what << ": " << command.at(2) << " " << result.Describe();
    return clear ? "damaged" : "unclear";
  }

  ScratchDir dir_;
  SmallCatalog catalog_;
  std::string pristine_;
  std::map<Command, std::string> expected_;
};

TEST_F(DamagedCatalog, CutAtEveryPageBoundaryEveryCommandFailsClearlyAndNothingWrites) {
  const size_t page_size = BigEndian(pristine_, 16, 2);
  const size_t pages = pristine_.size() / page_size;
  ASSERT_GE(pages, 10u) << "the catalog should span a few pages";
  int damaged = 0;
  for (size_t kept = 0; kept < pages; ++kept) {
    const std::string cut = pristine_.substr(0, kept * page_size);
    WriteBytes(catalog_.path, cut);
    const std::string what = "cut after page " + std::to_string(kept);
    for (const Command& command : ReadCommands(catalog_)) {
      EXPECT_EQ(Judge(command, what), "damaged") << what << ": " << command.at(2);
      ++damaged;
    }
    // A writer refuses it too, and leaves it as it was.
    const CliResult add = RunOn(catalog_.path, {"add", "1", "New", "--text", "x"}, dir_.File(""));
    EXPECT_NE(add.status, 0) << what;
    EXPECT_EQ(add.err.rfind("error: catalog damaged: " + catalog_.path, 0), 0u) << add.err;
    EXPECT_EQ(FileBytes(catalog_.path), cut) << what << ": add wrote";
    // The check names the damage and fails.
    const CliResult check = RunOn(catalog_.path, {"check"}, dir_.File(""));
    EXPECT_EQ(check.status, 1) << what << ": " << check.out;
    EXPECT_NE(check.out.find("problem: "), std::string::npos) << what << ": " << check.out;
    EXPECT_EQ(FileBytes(catalog_.path), cut) << what << ": check wrote";
  }
  std::cout << "[ figures  ] " << pages << " cuts, " << damaged << " commands refused clearly\n";
}

TEST_F(DamagedCatalog, RandomByteFlipsInHeaderPagesAndFramesFailClearlyOrChangeNothing) {
  const std::vector<Region> structures = PageStructures(pristine_);
  const std::vector<Region> frames = Frames(catalog_.path, pristine_);
  ASSERT_EQ(FileBytes(catalog_.path), pristine_);
  ASSERT_GE(structures.size(), 5u);
  ASSERT_EQ(frames.size(), catalog_.clippings.size()) << "every frame found in the file";
  // Each flip is judged by the commands that read all of the catalog or one clipping's content.
  std::vector<Command> commands;
  for (const Command& command : ReadCommands(catalog_)) {
    const std::string& name = command.at(2);
    if (name == "tree" || name == "export" || name == "search" || name == "cat") {
      commands.push_back(command);
    }
  }
  std::mt19937_64 random(20261126);
  const int flips = FlipCount();
  std::map<std::string, std::map<std::string, int>> outcomes;  // by where, by outcome
  for (int i = 0; i < flips && !HasFatalFailure(); ++i) {
    std::string damaged = pristine_;
    size_t at = 0;
    std::string where;
    switch (i % 3) {
      case 0:
        where = "header";
        at = random() % kSqliteHeaderBytes;
        break;
      case 1: {
        where = "page structure";
        const Region& region = structures[random() % structures.size()];
        at = region.begin + random() % (region.end - region.begin);
        break;
      }
      default: {
        where = "frame";
        const Region& region = frames[random() % frames.size()];
        at = region.begin + random() % (region.end - region.begin);
        break;
      }
    }
    const auto bit = static_cast<unsigned char>(1u << (random() % 8));
    damaged[at] = static_cast<char>(static_cast<unsigned char>(damaged[at]) ^ bit);
    WriteBytes(catalog_.path, damaged);
    const std::string what = where + " byte " + std::to_string(at) + " bit " + std::to_string(bit) +
                             " (flip " + std::to_string(i) + ")";
    for (const Command& command : commands) ++outcomes[where][Judge(command, what)];
  }
  for (const auto& [where, counts] : outcomes) {
    std::cout << "[ figures  ] " << where << ":";
    for (const auto& [outcome, count] : counts) std::cout << " " << outcome << " " << count;
    std::cout << "\n";
  }
}

}  // namespace
}  // namespace clipcat::robustness
