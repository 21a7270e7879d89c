// Several processes writing one catalog (a SQLite file, a PostgreSQL database) at once through the
// write service: nothing any of them wrote is lost or mixed up, keys never collide, and no call
// fails because another process held a lock.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "robustness/robustness_support.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"
#include "support/postgres_test_server.h"
#include "util/errors.h"

namespace clipcat::robustness {
namespace {

constexpr int kWriters = 4;
constexpr int kClippingsPerWriter = 500;
// Every writer also tries to add each of these names; exactly one of the writers may win each.
constexpr int kContestedNames = 10;
constexpr int kDataTypeText = 2;
constexpr int kDataTypeXmlWord = 4;
constexpr int16_t kDeletedClippingStatus = 4;
const char* const kRootFolder = "1";

// Deleted clippings: every tenth, half of them for good and half marked deleted.
bool DeletedForGood(int i) { return i % 20 == 0; }
bool MarkedDeleted(int i) { return i % 20 == 10; }

std::string ClippingName(int writer, int i) {
  return "w" + std::to_string(writer) + "-" + std::to_string(i);
}

// The content of item `item` of clipping `i` of `writer`: letters that do not compress, of sizes
// on both sides of the 4096-byte pieces long values are written in.
std::string ItemText(int writer, int i, int item) {
  const size_t size = static_cast<size_t>((i * 7919 + item * 1013 + writer * 131) % 9000 + 1);
  uint64_t state = static_cast<uint64_t>(writer * 1'000'003 + i * 17 + item + 1);
  std::string text;
  text.reserve(size);
  while (text.size() < size) {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    text += static_cast<char>('a' + (state >> 59) % 26);
  }
  if (item == 1) return "<doc writer=\"" + std::to_string(writer) + "\">" + text + "</doc>";
  return text;
}

// The shared categories a clipping joins: one or two of the three, by its number.
std::vector<int> SharedCategoriesOf(int i) {
  if (i % 2 == 0) return {i % 3, (i + 1) % 3};
  return {i % 3};
}

std::string WriterCategoryName(int writer) { return "Writer " + std::to_string(writer); }

const char* const kSharedCategoryNames[] = {"Red", "Green", "Blue"};

struct WriterSetup {
  std::shared_ptr<ConnectionDetails> details;
  std::string results_dir;
  std::vector<std::string> shared_category_ids;
  int start_fd = -1;  // read end of the start signal: end of file means "go"
};

// One writer process: adds its clippings with two data items each, tags them with its own
// category and with shared ones, deletes every tenth, and races the other writers for the
// contested names. Writes "<name> <key>" per clipping, "contested <k> won|lost" per contested
// name and "error ..." per failed call to its results file; answers 0 when no call failed.
int RunWriter(const WriterSetup& setup, int writer) {
  std::ofstream out(setup.results_dir + "/writer-" + std::to_string(writer) + ".txt");
  char go = 0;
  while (read(setup.start_fd, &go, 1) > 0) {
  }
  const auto& details = setup.details;
  int errors = 0;
  const auto attempt = [&](const std::string& what, auto&& call) {
    try {
      call();
      return true;
    } catch (const AutomationError& e) {
      out << "error " << what << ": " << e.what() << "\n";
      ++errors;
      return false;
    }
  };

  ClippingDataWrite write;
  auto own = Category::Create();
  own->SetName(WriterCategoryName(writer));
  attempt("AddCategory", [&] { write.AddCategory(own, kRootFolder, details); });

  std::vector<std::string> keys(kClippingsPerWriter);
  for (int i = 0; i < kClippingsPerWriter; ++i) {
    auto clipping = Clipping::Create();
    clipping->SetName(ClippingName(writer, i));
    clipping->SetDescription("writer " + std::to_string(writer) + " item " + std::to_string(i));
    for (int item = 0; item < 2; ++item) {
      auto data = ClippingData::Create();
      data->SetClippingDataType(item == 0 ? kDataTypeText : kDataTypeXmlWord);
      data->SetRawData(ItemText(writer, i, item));
      clipping->ClippingData()->Add(data);
    }
    if (!attempt("AddClipping " + clipping->Name(),
                 [&] { keys[i] = write.AddClipping(clipping, kRootFolder, details)->ID(); })) {
      continue;
    }
    out << clipping->Name() << " " << keys[i] << "\n";

    const std::vector<int> shared = SharedCategoriesOf(i);
    attempt("AddClippingToCategory", [&] {
      write.AddClippingToCategory(keys[i], setup.shared_category_ids[shared[0]], details);
    });
    attempt("AddClippingToCategories", [&] {
      auto categories = Categories::Create();
      categories->AddCategory(own);
      for (size_t s = 1; s < shared.size(); ++s) {
        auto category = Category::Create();
        category->SetID(setup.shared_category_ids[shared[s]]);
        categories->AddCategory(category);
      }
      write.AddClippingToCategories(keys[i], categories, details);
    });

    // Deletes trail the adds, so that they interleave with the other writers' adds.
    const int doomed = i - 9;
    if (doomed >= 0 && (DeletedForGood(doomed) || MarkedDeleted(doomed)) && !keys[doomed].empty()) {
      attempt("DeleteClipping " + keys[doomed],
              [&] { write.DeleteClipping(keys[doomed], details, DeletedForGood(doomed)); });
    }

    if (i % (kClippingsPerWriter / kContestedNames) == 0) {
      const int contest = i / (kClippingsPerWriter / kContestedNames);
      auto contested = Clipping::Create();
      contested->SetName("contested-" + std::to_string(contest));
      try {
        write.AddClipping(contested, kRootFolder, details);
        out << "contested " << contest << " won\n";
      } catch (const AutomationError& e) {
        if (e.number() == err::kClippingNameNotUnique) {
          out << "contested " << contest << " lost\n";
        } else {
          out << "error contested AddClipping: " << e.what() << "\n";
          ++errors;
        }
      }
    }
  }
  out.flush();
  return errors == 0 ? 0 : 1;
}

struct WriterResults {
  std::map<std::string, std::string> keys;  // clipping name -> key
  std::map<int, int> contests_won;          // contested name number -> wins
  std::vector<std::string> errors;
};

void ReadResults(const std::string& file, WriterResults& results) {
  std::ifstream in(file);
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream words(line);
    std::string first;
    words >> first;
    if (first == "error") {
      results.errors.push_back(line);
    } else if (first == "contested") {
      int contest = 0;
      std::string outcome;
      words >> contest >> outcome;
      results.contests_won[contest] += outcome == "won" ? 1 : 0;
    } else {
      std::string key;
      words >> key;
      if (!results.keys.emplace(first, key).second) results.errors.push_back("twice: " + line);
    }
  }
}

// Runs the writers on the catalog of `setup.details` (made, with its root folder, by the caller)
// and checks through `raw` what they left there.
void RunWritersAndCheck(WriterSetup& setup, const std::string& results_dir,
                        const std::function<std::unique_ptr<RawSql>()>& open_raw) {
  setup.results_dir = results_dir;
  const auto& details = setup.details;
  {
    ClippingDataWrite write;
    for (const char* name : kSharedCategoryNames) {
      auto category = Category::Create();
      category->SetName(name);
      setup.shared_category_ids.push_back(write.AddCategory(category, kRootFolder, details)->ID());
    }
  }
  // No open catalog may cross the fork.
  ReleaseAccessManager();

  Pipe start;
  setup.start_fd = start.read_end();
  std::vector<pid_t> writers;
  for (int writer = 0; writer < kWriters; ++writer) {
    writers.push_back(StartChild([&] {
      start.CloseWrite();
      return RunWriter(setup, writer);
    }));
  }
  const auto started = std::chrono::steady_clock::now();
  start.CloseWrite();
  for (int writer = 0; writer < kWriters; ++writer) {
    EXPECT_EQ(DescribeStatus(WaitChild(writers[writer])), "exit 0") << "writer " << writer;
  }
  const double seconds = SecondsSince(started);

  WriterResults results;
  for (int writer = 0; writer < kWriters; ++writer) {
    ReadResults(results_dir + "/writer-" + std::to_string(writer) + ".txt", results);
  }
  for (const std::string& error : results.errors) ADD_FAILURE() << error;

  // Keys: every add answered one, no two alike, none a folder's.
  std::set<std::string> answered;
  for (const auto& [name, key] : results.keys) {
    EXPECT_TRUE(answered.insert(key).second) << "key " << key << " answered twice";
  }
  EXPECT_EQ(results.keys.size(), size_t{kWriters * kClippingsPerWriter});

  // Exactly one writer won each contested name, and the catalog holds it once.
  for (int contest = 0; contest < kContestedNames; ++contest) {
    EXPECT_EQ(results.contests_won[contest], 1) << "contested-" << contest;
  }

  const std::unique_ptr<RawSql> opened = open_raw();
  RawSql& raw = *opened;
  for (const char* generator :
       {"FolderIDGenerator", "GroupClippingIDGenerator", "ExternalCatalogIDGenerator"}) {
    EXPECT_EQ(raw.Count(std::string("SELECT count(*) FROM ") + generator), 0) << generator;
  }
  EXPECT_EQ(raw.Count("SELECT count(*) FROM Clipping c JOIN Folder f ON f.lFolderID = "
                      "c.lClippingID"),
            0)
      << "a clipping has a folder's key";
  for (int contest = 0; contest < kContestedNames; ++contest) {
    EXPECT_EQ(raw.Count("SELECT count(*) FROM Clipping WHERE sName = 'contested-" +
                        std::to_string(contest) + "'"),
              1);
  }
  // Memberships by clipping name, and stored items by clipping key.
  std::map<std::string, std::set<std::string>> categories_of;
  for (const auto& row : raw.Rows("SELECT c.sName, g.sName FROM ClippingGroupClipping m JOIN "
                                  "Clipping c ON c.lClippingID = m.lClippingId JOIN GroupClipping "
                                  "g ON g.lGroupClippingID = m.lGroupClippingId")) {
    categories_of[row[0]].insert(row[1]);
  }
  EXPECT_EQ(raw.Count("SELECT count(*) FROM ClippingGroupClipping m WHERE NOT EXISTS (SELECT 1 "
                      "FROM Clipping c WHERE c.lClippingID = m.lClippingId)"),
            0)
      << "memberships of clippings that are gone";
  EXPECT_EQ(raw.Count("SELECT count(*) FROM ClippingDataType d WHERE NOT EXISTS (SELECT 1 "
                      "FROM Clipping c WHERE c.lClippingID = d.lClippingID)"),
            0)
      << "data items of clippings that are gone";

  // Every clipping through the read service, with its content.
  ClippingDataRead read;
  std::map<std::string, std::shared_ptr<Clipping>> stored;
  for (const auto& clipping :
       read.GetClippingsForFolderAndChildFolders(kRootFolder, "True", details)
           ->Items()
           ->Snapshot()) {
    EXPECT_TRUE(stored.emplace(clipping->Name(), clipping).second) << clipping->Name();
  }
  int checked = 0;
  for (int writer = 0; writer < kWriters; ++writer) {
    for (int i = 0; i < kClippingsPerWriter; ++i) {
      const std::string name = ClippingName(writer, i);
      SCOPED_TRACE(name);
      const auto found = stored.find(name);
      if (DeletedForGood(i)) {
        EXPECT_EQ(found, stored.end()) << "deleted for good, still there";
        EXPECT_EQ(categories_of.count(name), 0u);
        continue;
      }
      ASSERT_NE(found, stored.end()) << "lost";
      const auto& clipping = found->second;
      EXPECT_EQ(clipping->ID(), results.keys[name]);
      EXPECT_EQ(clipping->Description(),
                "writer " + std::to_string(writer) + " item " + std::to_string(i));
      const auto items = clipping->ClippingData()->Snapshot();
      ASSERT_EQ(items.size(), 2u);
      EXPECT_EQ(items[0]->ClippingDataType() + items[1]->ClippingDataType(),
                kDataTypeText + kDataTypeXmlWord);
      for (const auto& item : items) {
        const int index = item->ClippingDataType() == kDataTypeText ? 0 : 1;
        EXPECT_TRUE(item->RawData() == ItemText(writer, i, index)) << "item " << index;
      }
      std::set<std::string> expected;
      if (MarkedDeleted(i)) {
        EXPECT_EQ(clipping->ClippingStatus(), kDeletedClippingStatus);
      } else {
        EXPECT_NE(clipping->ClippingStatus(), kDeletedClippingStatus);
        expected.insert(WriterCategoryName(writer));
        for (int shared : SharedCategoriesOf(i)) expected.insert(kSharedCategoryNames[shared]);
      }
      EXPECT_EQ(categories_of[name], expected);
      ++checked;
    }
  }
  EXPECT_EQ(checked, kWriters * (kClippingsPerWriter - kClippingsPerWriter / 20));
  std::printf(
      "[ measured ] %d writers x %d clippings (2 items, 2-3 categories each, 1 in 10 "
      "deleted) in %.2f s\n",
      kWriters, kClippingsPerWriter, seconds);
}

TEST(ConcurrentWriters, FourProcessesOnOneFileCatalogLoseNothing) {
  ScratchDir dir;
  WriterSetup setup;
  const std::string path = dir.File("catalog.db");
  CreateCatalog(path, "Personal");
  setup.details = FileDetails(path);
  RunWritersAndCheck(setup, dir.File(""), [&] { return std::make_unique<RawCatalog>(path); });
  EXPECT_EQ(RawCatalog(path).Scalar("PRAGMA integrity_check"), "ok");
}

TEST(ConcurrentWriters, FourProcessesOnOneServerCatalogLoseNothing) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  ScratchDir dir;
  WriterSetup setup;
  const std::string database = server->CreateDatabase();
  CreateServerCatalog(server->ConnectionString(database), "Team");
  setup.details = ServerDetails(server->ConnectionString(database));
  RunWritersAndCheck(setup, dir.File(""), [&] {
    return std::make_unique<RawServerCatalog>(server->Conninfo(database));
  });
}

}  // namespace
}  // namespace clipcat::robustness
