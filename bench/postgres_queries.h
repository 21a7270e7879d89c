// The read-side queries of the PostgreSQL scenario: GetFolders over a folder tree and
// SearchForClippings/FindClippings over a catalog of clippings in categories, each on a server
// catalog filled directly in the rows, against a libpq floor running the same statements.
#pragma once

#include "harness.h"
#include "support/postgres_test_server.h"

namespace clipcat_bench {

void MeasurePostgresTreeAndSearch(clipcat::testing::PostgresTestServer& server,
                                  const Options& options, Report& report);

}  // namespace clipcat_bench
