// Several processes showing one clipping at the same moment: every use is counted, in one history
// row, on a file catalog and on a server catalog.
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "robustness/robustness_support.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "store/catalog_schema.h"
#include "support/postgres_test_server.h"

namespace clipcat::robustness {
namespace {

constexpr int kProcesses = 8;
constexpr int kShowsEach = 200;

// Adds one clipping, then lets every process show it (read it, count the use) kShowsEach times.
void ShowTogetherAndCount(const std::shared_ptr<ConnectionDetails>& details, RawSql& raw) {
  const std::string id =
      ClippingDataWrite().AddClipping(NewClipping("Shown", "", {{2, "text"}}), "1", details)->ID();
  double seconds = 0;
  RunTogether(
      kProcesses,
      [&](int, std::ostream& out) {
        ClippingDataRead read;
        ClippingDataWrite write;
        for (int i = 0; i < kShowsEach; ++i) {
          write.UpdateClippingHistory(read.GetClipping(id, details, true), details);
        }
        out << "done\n";
      },
      seconds);
  const auto rows =
      raw.Rows("SELECT lAccessCount FROM AccessHistory WHERE sClippingId='" + id + "'");
  ASSERT_EQ(rows.size(), 1u) << "history rows of the clipping";
  EXPECT_EQ(rows[0][0], std::to_string(kProcesses * kShowsEach));
  std::printf("[ figures  ] %d x %d shows in %.2f s\n", kProcesses, kShowsEach, seconds);
}

TEST(HistoryRace, ConcurrentShowsOnAFileCatalogAreAllCountedInOneRow) {
  ScratchDir dir;
  const std::string path = dir.File("catalog.db");
  CreateCatalog(path, "Personal");
  RawCatalog raw(path);
  ShowTogetherAndCount(FileDetails(path), raw);
}

TEST(HistoryRace, ConcurrentShowsOnAServerCatalogAreAllCountedInOneRow) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  const std::string database = server->CreateDatabase();
  CreateServerCatalog(server->ConnectionString(database), "Team");
  RawServerCatalog raw(server->Conninfo(database));
  ShowTogetherAndCount(ServerDetails(server->ConnectionString(database)), raw);
}

}  // namespace
}  // namespace clipcat::robustness
