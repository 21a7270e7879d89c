// The floor's tools on PostgreSQL: one libpq connection with its statements prepared once and run
// with bound values (binary where a value is bytes, binary results), counting its round trips;
// and the filler that writes large server catalogs directly in the rows with COPY. Nothing here
// uses the library. One thread at a time.
#pragma once

#include <libpq-fe.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "floor_engine.h"

namespace clipcat_bench {

// One libpq connection with its statements prepared on first use.
class FloorPg {
 public:
  explicit FloorPg(const std::string& conninfo);
  ~FloorPg();
  FloorPg(const FloorPg&) = delete;
  FloorPg& operator=(const FloorPg&) = delete;

  PGconn* conn() const { return conn_; }

  // Runs `sql` prepared, with `values` (a value of `binary_at`, 1-based, goes as bytes); the
  // result is binary. The caller clears it.
  PGresult* Run(const std::string& sql, const std::vector<std::string>& values,
                size_t binary_at = 0);
  void Exec(const std::string& sql);

  uint64_t round_trips = 0;

 private:
  PGresult* Check(PGresult* result);

  PGconn* conn_;
  std::map<std::string, std::string> names_;
};

// A value of a binary result: an int4 or int8 column as a number.
int64_t BinaryInt(const PGresult* result, int row, int column);

// Writes rows into a server catalog inside one transaction, the way CatalogFiller does for a
// file (keys from 2 on for folders and clippings, the generators moved past them at the end),
// but buffered and sent with COPY. With `with_text`, each clipping also gets its content index
// row, its document built on the server as the catalog builds it. Setup only: never timed.
class PgCatalogFiller {
 public:
  PgCatalogFiller(const std::string& conninfo, bool with_text);

  int64_t AddFolder(int64_t parent, const std::string& name, const std::string& description);
  // `frames` are (data type, compressed frame); `text` is the content index's plain text and
  // `folded_text` its words folded (FoldedWordsText), both unused without the index rows.
  int64_t AddClipping(int64_t folder, const std::string& name, const std::string& description,
                      const std::vector<std::pair<int, std::string>>& frames,
                      const std::string& text = "", const std::string& folded_text = "");
  int64_t AddCategory(const std::string& name);
  void AddMember(int64_t clipping, int64_t category);

  // Sends every buffered row, marks parents as non-leaves, moves the generators on and commits.
  void Finish();

 private:
  void Flush();
  void Copy(const std::string& table_and_columns, std::string& rows);

  FloorPg db_;
  GuidMaker guids_;
  bool with_text_;
  std::string now_;
  int64_t next_key_ = 2;
  int64_t next_category_ = 1;
  std::string folders_, clippings_, items_, texts_, categories_, members_;
  size_t buffered_ = 0;
};

}  // namespace clipcat_bench
