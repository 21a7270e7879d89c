// The floor's catalog reads: plain structs filled straight from prepared statements, and the
// single-row lookups several scenarios share (a clipping by key with or without its content, a
// folder's path, a clipping's category names). Each runs the same statement the library's
// operation runs, with its values bound. Single-threaded.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "floor_engine.h"

namespace clipcat_bench {

struct FloorItem {
  int type = 0;
  std::string raw;
};

struct FloorClipping {
  std::string id;
  std::string folder_id;
  std::string guid;
  std::string name;
  std::string description;
  int status = 0;
  double updated = 0;
  double accessed = 0;
  std::string path;
  std::string categories;
  std::vector<FloorItem> items;
};

struct FloorFolder {
  std::string id;
  std::string guid;
  std::string parent_id;
  std::string name;
  std::string description;
  int external_catalog = 0;
  int status = 0;
  double updated = 0;
  std::vector<FloorFolder> children;
};

// The current row of a "SELECT * FROM Clipping ..." statement.
FloorClipping ReadClippingRow(const Statement& row);

// The current row of a "SELECT * From Folder ..." statement.
FloorFolder ReadFolderRow(const Statement& row);

// The content items of clipping `key`, decompressed.
std::vector<FloorItem> ReadItems(FloorDb& db, FrameCodec& codec, int64_t key);

// The clipping `key`, with its items when `with_data`; nothing when there is none.
std::optional<FloorClipping> GetClipping(FloorDb& db, FrameCodec& codec, int64_t key,
                                         bool with_data);

// The names of folder `key` and its ancestors joined with "\", as the library builds a path.
std::string FolderPath(FloorDb& db, int64_t key);

// The clipping's category names in name order joined with ", ".
std::string CategoryNames(FloorDb& db, int64_t clipping_key);

// The number of content bytes a result holds (what a scenario "returns").
size_t ContentBytes(const FloorClipping& clipping);

}  // namespace clipcat_bench
