// The benchmark scenarios. Each builds its own catalogs in a temporary directory, times the
// library's public services (ours) against the floor doing the same work directly on the engine,
// and reports its figures. Each is run in a child process of its own by main.
#pragma once

#include "harness.h"

namespace clipcat_bench {

// 10,000 AddClipping calls, a 2 KB RTF and a 200-byte text item each, into 100 folders.
void RunAdd(const Options& options, Report& report);
// GetClipping with data for 10,000 random keys, and one clipping with a 5 MB item.
void RunRead(const Options& options, Report& report);
// GetFolders over a tree of 5,000 folders, 6 levels deep.
void RunTree(const Options& options, Report& report);
// SearchForClippings and FindClippings over 100,000 clippings.
void RunSearch(const Options& options, Report& report);
// Content search (FindContent) for rare and common words over 100,000 clippings, the index build,
// and AddClipping and the file size with the content index against without it.
void RunContent(const Options& options, Report& report);
// Clippings XML of 1,000 clippings written and read back; one clipping with a 10 MB item.
void RunXml(const Options& options, Report& report);
// AddClipping and UpdateClipping on a catalog keeping 50 versions against one keeping none.
void RunVersions(const Options& options, Report& report);
// `clipcat serve` under load from wrk: reads by id and content searches on 10,000 clippings.
void RunGateway(const Options& options, Report& report);
// A catalog document of 50,000 clippings in 200 folders imported into a new catalog, and the
// export that wrote it.
void RunImport(const Options& options, Report& report);
// 10,000 UpdateClippingHistory calls and GetClippingsHistroy of 100.
void RunHistory(const Options& options, Report& report);

// AddClipping and GetClipping with data, GetFolders, SearchForClippings and FindClippings on
// catalogs on a throwaway PostgreSQL server, against a floor on libpq, with round trips per call;
// skipped, with the reason, without a server.
void RunPostgres(const Options& options, Report& report);

// What-if runs of the write scenarios with every connection of the process switched to
// synchronous=NORMAL (an auto-extension of the engine; the library itself is unchanged): the
// figures the proposed durability setting would give.
void RunWritesRelaxedSync(const Options& options, Report& report);

}  // namespace clipcat_bench
