// The benchmark's workload: a temporary directory for its catalogs, deterministic clipping
// content (RTF and plain text made of ordinary words, so that it compresses as real text does),
// and the filler that writes large catalogs for the read-side scenarios directly, in the rows,
// dates and compression frames the library itself writes. Single-threaded.
#pragma once

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "entities/clipping.h"
#include "entities/connection_details.h"
#include "floor_engine.h"

namespace clipcat_bench {

// A fresh directory under $TMPDIR (or /tmp), removed with everything in it on destruction.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  // A path for a new file in the directory.
  std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// Words separated by blanks, about `bytes` long.
std::string MakeWords(std::mt19937& random, size_t bytes);

// An RTF document of about `bytes` whose body is words, with paragraph and bold controls.
std::string MakeRtf(std::mt19937& random, size_t bytes);

// Plain text of about `bytes` with characters XML must escape ("&", "<", ">", quotes) and line
// breaks.
std::string MakePlainText(std::mt19937& random, size_t bytes);

// The two items of a benchmark clipping: RTF (data type 1) and plain text (data type 2).
struct Content {
  std::string rtf;
  std::string text;
};

// A new clipping (not stored) with `content`'s two items.
std::shared_ptr<clipcat::Clipping> MakeClipping(const std::string& name,
                                                const std::string& description,
                                                const Content& content);

// `variants` different contents of the given sizes, the same for the same seed.
std::vector<Content> MakeContents(int variants, size_t rtf_bytes, size_t text_bytes, uint32_t seed);

// A new, empty catalog at `path`, made by the library, as `clipcat init` makes one.
void NewCatalog(const std::string& path);

// Connection details of the file catalog at `path`.
std::shared_ptr<clipcat::ConnectionDetails> FileDetails(const std::string& path);

// Writes rows into a catalog inside one transaction, drawing keys as the catalog's generator
// would (root folder 1, then one counter for folders and clippings) and leaving the generators
// past the keys used. Setup only: it is never timed.
class CatalogFiller {
 public:
  explicit CatalogFiller(const std::string& path);
  ~CatalogFiller();

  int64_t AddFolder(int64_t parent, const std::string& name, const std::string& description);
  // Items are (data type, content); each is stored compressed.
  int64_t AddClipping(int64_t folder, const std::string& name, const std::string& description,
                      const std::vector<std::pair<int, std::string>>& items);
  // The same with each item given as (data type, compressed frame).
  int64_t AddClippingFrames(int64_t folder, const std::string& name, const std::string& description,
                            const std::vector<std::pair<int, std::string>>& frames);
  // The content index's row of clipping `key` (its plain text as the catalog extracts it).
  void AddContentText(int64_t key, const std::string& name, const std::string& description,
                      const std::string& text);
  int64_t AddCategory(const std::string& name);
  void AddMember(int64_t clipping, int64_t category);
  const std::string& GuidOf(int64_t clipping) const { return guids_.at(clipping); }

  // Marks parents as non-leaves, moves the generators on and commits.
  void Finish();

 private:
  FloorDb db_;
  FrameCodec codec_;
  GuidMaker guids_maker_;
  std::string now_;
  int64_t next_key_ = 2;
  int64_t next_category_ = 1;
  std::vector<std::string> guids_;  // by clipping key; empty for other keys
  bool finished_ = false;
};

// Adds 100 folders "F0".."F99" under the top folder and `clippings` clippings spread over them
// ("Clipping N", a 2 KB RTF and a 200-byte text item each, drawn from `contents` in turn);
// answers the clippings' keys in order. The filler is not finished.
std::vector<int64_t> AddSpreadClippings(CatalogFiller& filler, const std::vector<Content>& contents,
                                        int clippings);

}  // namespace clipcat_bench
