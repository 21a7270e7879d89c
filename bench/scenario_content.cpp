// content: content search over 100,000 clippings in 100 folders, each with a 2 KB RTF item (font
// and colour tables, bold and italic runs, paragraphs, a few accented letters and euro signs) and
// a 200-byte text item, made of words drawn from 3,000 generated words with a Zipf distribution,
// so that a few words are in most clippings and most words in few. Each clipping also holds one
// word of its own kind, planted in about four clippings: the rare words searched for.
//
// First, AddClipping into a catalog with the content index against one whose index was dropped,
// and the two files' sizes. Then the large catalog is filled directly and its index made by
// DataAccess::RebuildContentIndex (timed; should it fail, the index rows are written as
// AddClipping writes them so that the searches can still be measured). Ours is
// ClippingDataRead::FindContent (top 50 with snippets); the floor is the engine's own FTS5 query
// on the same index, prepared once: for a rare word the keys of the best 50 by bm25, for a common
// one the same with FTS5's snippet(). Beside them, what finding a rare word costs without the
// index: every item read, decompressed and searched without regard to case.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <set>
#include <stdexcept>

#include "engine/connection_string.h"
#include "entities/clipping.h"
#include "entities/plain_text.h"
#include "scenario_common.h"
#include "scenarios.h"
#include "service/clipping_data_read.h"
#include "store/content_index.h"
#include "store/data_access.h"
#include "store/schema_description.h"
#include "util/compression.h"
#include "workload.h"

namespace clipcat_bench {
namespace {

constexpr int kFolders = 100;
constexpr int kVocabulary = 3000;
constexpr int kResults = 50;
constexpr int kRareRuns = 200;
constexpr size_t kRtfBytes = 2048;
constexpr size_t kTextBytes = 200;
// How many clippings share one planted word, on average.
constexpr int kClippingsPerRareWord = 4;

const char* const kAccented[] = {"caf\\'e9",      "r\\'e9sum\\'e9", "na\\'efve",   "d\\'e9j\\'e0",
                                 "fa\\'e7ade",    "pr\\'e9cis",     "\\'e9t\\'e9", "cr\\'e8me",
                                 "soup\\'e7on",   "M\\'fcller",     "Z\\'fcrich",  "se\\'f1or",
                                 "co\\'f6perate", "entr\\'e9e",     "fianc\\'e9e", "d\\'e9cor"};
constexpr size_t kAccentedCount = sizeof(kAccented) / sizeof(kAccented[0]);

const char* const kRtfHeader =
    "{\\rtf1\\ansi\\ansicpg1252\\deff0\\nouicompat\\deflang2057{\\fonttbl{\\f0\\fswiss\\fcharset0 "
    "Calibri;}{\\f1\\froman\\fcharset0 Times New Roman;}{\\f2\\fmodern\\fcharset0 Courier "
    "New;}}\r\n{\\colortbl ;\\red31\\green73\\blue125;\\red192\\green0\\blue0;\\red0\\green128"
    "\\blue0;}\r\n{\\*\\generator Riched20 10.0.19041}\\viewkind4\\uc1 \r\n\\pard\\sa200\\sl276"
    "\\slmult1\\f0\\fs22\\lang9 ";

// The words of the benchmark's clippings and how many clippings hold each.
class Corpus {
 public:
  explicit Corpus(int clippings) : random_(11) {
    std::set<std::string> seen;
    vocabulary_ = MakeWordList(kVocabulary, false, seen);
    rare_ = MakeWordList(static_cast<size_t>(std::max(1, clippings / kClippingsPerRareWord)), true,
                         seen);
    std::vector<double> weights;
    for (int rank = 1; rank <= kVocabulary; ++rank) weights.push_back(1.0 / rank);
    zipf_ = std::discrete_distribution<int>(weights.begin(), weights.end());
    documents_with_.assign(vocabulary_.size(), 0);
    last_document_.assign(vocabulary_.size(), -1);
    rare_count_.assign(rare_.size(), 0);
  }

  // The name, description and items of clipping number `document`, each a new draw.
  struct Clipping {
    std::string name;
    std::string description;
    Content content;
  };
  Clipping Next(int document) {
    document_ = document;
    Clipping c;
    c.name = Capitalized(Word()) + " " + Word() + " " + Word() + " " + std::to_string(document);
    c.description = random_() % 2 == 0 ? "" : Capitalized(Word()) + " " + Word() + " " + Word();
    const size_t planted = random_() % rare_.size();
    ++rare_count_[planted];
    c.content.rtf = Rtf(rare_[planted]);
    c.content.text = Text();
    return c;
  }

  // Planted words that `Next` put in 1 to 10 clippings, up to `count` of them, in random order.
  std::vector<std::string> RareWords(size_t count) const {
    std::vector<std::string> words;
    for (size_t i = 0; i < rare_.size(); ++i) {
      if (rare_count_[i] >= 1 && rare_count_[i] <= 10) words.push_back(rare_[i]);
    }
    std::mt19937 shuffle(5);
    std::shuffle(words.begin(), words.end(), shuffle);
    if (words.size() > count) words.resize(count);
    return words;
  }

  // Vocabulary words in `low` to `high` of the `documents` made, most common first.
  std::vector<std::string> CommonWords(int documents, double low, double high) const {
    std::vector<std::string> words;
    for (size_t i = 0; i < vocabulary_.size(); ++i) {
      const double share = static_cast<double>(documents_with_[i]) / documents;
      if (share >= low && share <= high) words.push_back(vocabulary_[i]);
    }
    return words;
  }

  int DocumentsWith(const std::string& word) const {
    const auto at = std::find(vocabulary_.begin(), vocabulary_.end(), word);
    return at == vocabulary_.end() ? 0
                                   : documents_with_[static_cast<size_t>(at - vocabulary_.begin())];
  }

 private:
  // Unique words of syllables; the first (most common) words are the shortest.
  std::vector<std::string> MakeWordList(size_t count, bool rare, std::set<std::string>& seen) {
    static const char kOnsets[] = "bcdfghjklmnprstvwz";
    static const char kVowels[] = "aeiou";
    static const char kCodas[] = "nrslkt";
    std::vector<std::string> words;
    while (words.size() < count) {
      const size_t n = words.size();
      const unsigned syllables =
          rare ? 3 + random_() % 2 : 1 + (n > 40) + (n > 600) + random_() % 2;
      std::string word;
      for (unsigned s = 0; s < syllables; ++s) {
        word += kOnsets[random_() % (sizeof kOnsets - 1)];
        word += kVowels[random_() % (sizeof kVowels - 1)];
      }
      if (random_() % 3 == 0) word += kCodas[random_() % (sizeof kCodas - 1)];
      if (seen.insert(word).second) words.push_back(word);
    }
    return words;
  }

  const std::string& Word() {
    const auto rank = static_cast<size_t>(zipf_(random_));
    if (last_document_[rank] != document_) {
      last_document_[rank] = document_;
      ++documents_with_[rank];
    }
    return vocabulary_[rank];
  }

  static std::string Capitalized(std::string word) {
    if (!word.empty()) {
      word[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(word[0])));
    }
    return word;
  }

  std::string Rtf(const std::string& planted) {
    std::string rtf = kRtfHeader;
    const std::string tail = "\\par\r\n}\r\n";
    const size_t plant_at = random_() % 120;
    bool planted_in = false;
    bool sentence_start = true;
    size_t line_start = 0;
    for (size_t token = 0; rtf.size() + tail.size() < kRtfBytes; ++token) {
      const bool plant = token == plant_at;
      planted_in = planted_in || plant;
      const unsigned pick = random_() % 100;
      if (!plant && pick == 9) {
        rtf += std::string(kAccented[random_() % kAccentedCount]) + " ";
      } else if (!plant && pick == 10) {
        rtf += std::to_string(10 + random_() % 990) + " \\u8364? ";
      } else {
        std::string word = plant ? planted : Word();
        if (sentence_start || (plant && random_() % 2 == 0)) word = Capitalized(word);
        sentence_start = false;
        if (pick < 3) {
          rtf += word + ".\\par\r\n";
          line_start = rtf.size();
          sentence_start = true;
        } else if (pick < 6) {
          rtf += "{\\b " + word + "} ";
        } else if (pick < 7) {
          rtf += "\\b " + word + "\\b0  ";
        } else if (pick < 8) {
          rtf += "\\cf2 " + word + "\\cf0  ";
        } else if (pick < 9) {
          rtf += "\\i " + word + "\\i0  ";
        } else if (pick < 16) {
          rtf += word + (random_() % 2 == 0 ? ". " : ", ");
          sentence_start = rtf[rtf.size() - 2] == '.';
        } else {
          rtf += word + " ";
        }
      }
      // Lines of RTF end at about 80 characters, as editors write them.
      if (rtf.size() - line_start > 80) {
        rtf += "\r\n";
        line_start = rtf.size();
      }
    }
    if (!planted_in) rtf += planted + " ";
    return rtf + tail;
  }

  std::string Text() {
    std::string text;
    bool sentence_start = true;
    while (text.size() < kTextBytes) {
      text += sentence_start ? Capitalized(Word()) : Word();
      sentence_start = random_() % 8 == 0;
      text += sentence_start ? ". " : " ";
    }
    return text + "\r\n";
  }

  std::mt19937 random_;
  std::vector<std::string> vocabulary_;  // by rank, the most common first
  std::vector<std::string> rare_;
  std::discrete_distribution<int> zipf_;
  std::vector<int> documents_with_;  // by rank
  std::vector<int> last_document_;   // by rank: the last document that drew it
  std::vector<int> rare_count_;
  int document_ = 0;
};

std::vector<int64_t> FillFolders(CatalogFiller& filler) {
  std::vector<int64_t> folders;
  for (int i = 0; i < kFolders; ++i) {
    folders.push_back(filler.AddFolder(1, "Folder " + std::to_string(i), "Benchmark folder"));
  }
  return folders;
}

// The catalog's size in MB: its pages, wherever they are (the file or the write-ahead log).
double CatalogMB(const std::string& path) {
  FloorDb db(path);
  Statement& pages = db.Prepare("PRAGMA page_count");
  Statement& size = db.Prepare("PRAGMA page_size");
  if (!pages.Step() || !size.Step()) throw std::runtime_error("no page count");
  const double mb = static_cast<double>(pages.ColumnInt(0)) *
                    static_cast<double>(size.ColumnInt(0)) / (1024.0 * 1024.0);
  pages.Reset();
  size.Reset();
  return mb;
}

std::string Quoted(const std::string& word) { return "\"" + word + "\""; }

// The floor of a rare word: the keys of the best matches by the index's own ranking, with the
// column weights the store gives (name, description, text).
std::vector<int64_t> FloorRare(FloorDb& db, const std::string& word) {
  Statement& s = db.Prepare(
      "SELECT rowid FROM ClippingTextIndex WHERE ClippingTextIndex MATCH ? ORDER BY "
      "bm25(ClippingTextIndex, 4.0, 2.0, 1.0) LIMIT " +
      std::to_string(kResults));
  s.Text(1, Quoted(word));
  std::vector<int64_t> keys;
  while (s.Step()) keys.push_back(s.ColumnInt(0));
  s.Reset();
  return keys;
}

struct FloorHit {
  int64_t key;
  std::string snippet;
};

// The floor of a common word: the same query with FTS5's own snippets (the engine makes them
// for the rows it answers only).
std::vector<FloorHit> FloorCommon(FloorDb& db, const std::string& word) {
  Statement& s = db.Prepare(
      "SELECT rowid, snippet(ClippingTextIndex, -1, '[', ']', '\xE2\x80\xA6', 16) FROM "
      "ClippingTextIndex WHERE ClippingTextIndex MATCH ? ORDER BY bm25(ClippingTextIndex, 4.0, "
      "2.0, 1.0), rowid LIMIT " +
      std::to_string(kResults));
  s.Text(1, Quoted(word));
  std::vector<FloorHit> hits;
  while (s.Step()) hits.push_back({s.ColumnInt(0), s.ColumnText(1)});
  s.Reset();
  return hits;
}

// Finding a word without the index: every item read, decompressed and searched for the word
// without regard to case (as LIKE '%word%' would), the keys of the clippings that hold it.
std::set<int64_t> ScanContent(FloorDb& db, clipcat::Compression& compression,
                              const std::string& word) {
  std::string needle = word;
  for (char& c : needle) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  Statement& s =
      db.Prepare("SELECT lClippingID, bIsCompressed, ClippingData FROM ClippingDataType");
  std::set<int64_t> keys;
  std::string text;
  while (s.Step()) {
    const std::string_view stored = s.ColumnBytes(2);
    text = s.ColumnInt(1) != 0 ? compression.DecompressString(stored) : std::string(stored);
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (text.find(needle) != std::string::npos) keys.insert(s.ColumnInt(0));
  }
  s.Reset();
  return keys;
}

std::vector<int64_t> KeysOf(const std::vector<clipcat::FoundClipping>& found) {
  std::vector<int64_t> keys;
  for (const clipcat::FoundClipping& f : found) keys.push_back(std::stoll(f.clipping->ID()));
  return keys;
}

std::vector<int64_t> Sorted(std::vector<int64_t> keys) {
  std::sort(keys.begin(), keys.end());
  return keys;
}

// AddClipping on the store of one catalog. The write service serves one default catalog per
// thread, so the two catalogs compared are written through their stores directly.
class Adder {
 public:
  Adder(const std::string& path, const std::vector<int64_t>& folders,
        const std::vector<Corpus::Clipping>& clippings)
      : store_(clipcat::DataAccessMDB::Create()), clippings_(clippings) {
    store_->SetConnectionString(clipcat::FileCatalogConnectionString(path));
    store_->OpenCatalog("", "", "");
    for (int64_t key : folders) folder_ids_.push_back(std::to_string(key));
  }
  ~Adder() { store_->CloseCatalog(); }
  Adder(const Adder&) = delete;
  Adder& operator=(const Adder&) = delete;

  bool HasContentIndex() { return store_->HasContentIndex(); }

  void Add(int i) {
    const Corpus::Clipping& c = clippings_[static_cast<size_t>(i)];
    auto clipping = MakeClipping(c.name, c.description, c.content);
    store_->AddClipping(clipping, folder_ids_[static_cast<size_t>(i) % folder_ids_.size()]);
  }

 private:
  std::shared_ptr<clipcat::DataAccessMDB> store_;
  const std::vector<Corpus::Clipping>& clippings_;
  std::vector<std::string> folder_ids_;
};

std::vector<int64_t> MakeAddCatalog(const std::string& path, bool with_index) {
  NewCatalog(path);
  if (!with_index) {
    FloorDb db(path);
    for (const std::string& sql :
         clipcat::DropContentIndexStatements(clipcat::SchemaEngine::kSqlite)) {
      db.Exec(sql.c_str());
    }
    db.Exec("DROP TABLE ClippingText");
  }
  CatalogFiller filler(path);
  std::vector<int64_t> folders = FillFolders(filler);
  filler.Finish();
  return folders;
}

void MeasureAdds(const Options& options, Report& report, const TempDir& dir) {
  const int total = options.Scaled(10'000, options.reps);
  const int batch = total / options.reps;
  Corpus corpus(total);
  std::vector<Corpus::Clipping> clippings;
  for (int i = 0; i < total; ++i) clippings.push_back(corpus.Next(i));

  const std::string indexed_path = dir.File("add-indexed.catalog");
  const std::string plain_path = dir.File("add-plain.catalog");
  Adder indexed(indexed_path, MakeAddCatalog(indexed_path, true), clippings);
  Adder plain(plain_path, MakeAddCatalog(plain_path, false), clippings);
  Require(indexed.HasContentIndex() && !plain.HasContentIndex(), "one catalog without the index");

  std::vector<double> indexed_us;
  std::vector<double> plain_us;
  int next = 0;
  // Batches alternate so that both catalogs meet the disk in the same state.
  for (int b = 0; b < options.reps; ++b) {
    const double indexed_s = Seconds([&] {
      for (int i = next; i < next + batch; ++i) indexed.Add(i);
    });
    const double plain_s = Seconds([&] {
      for (int i = next; i < next + batch; ++i) plain.Add(i);
    });
    next += batch;
    indexed_us.push_back(indexed_s * 1e6 / batch);
    plain_us.push_back(plain_s * 1e6 / batch);
  }
  RequireSameCount(indexed_path, plain_path, "SELECT count(*) FROM ClippingDataType");
  {
    FloorDb db(indexed_path);
    Statement& rows = db.Prepare("SELECT count(*) FROM ClippingText");
    Require(rows.Step() && rows.ColumnInt(0) == next, "an index row for every clipping added");
    rows.Reset();
  }
  report.Ratio(
      "AddClipping with the index, per call", "us", Median(indexed_us), Median(plain_us), 1.25,
      "DataAccess::AddClipping; floor: the same calls into a catalog whose index was dropped; " +
          std::to_string(options.reps) + " batches of " + std::to_string(batch) + " calls, median");
  report.Ratio(
      "catalog size after the adds, with index", "MB", CatalogMB(indexed_path),
      CatalogMB(plain_path), 1.5,
      "floor: the catalog without the index after the same " + std::to_string(next) + " adds");
}

// The content index rows of the `clippings` that Corpus made, keyed `keys`, as AddClipping writes
// them (the triggers index them), in one transaction.
void WriteIndexRows(const std::string& path, int clippings, const std::vector<int64_t>& keys) {
  Corpus corpus(clippings);  // the same draws again
  FloorDb db(path);
  db.Exec("BEGIN IMMEDIATE");
  for (int i = 0; i < clippings; ++i) {
    const Corpus::Clipping c = corpus.Next(i);
    clipcat::ClippingDataCollection items;
    const std::pair<int, const std::string*> contents[] = {{1, &c.content.rtf},
                                                           {2, &c.content.text}};
    for (const auto& [type, raw] : contents) {
      auto item = clipcat::ClippingData::Create();
      item->SetClippingDataType(type);
      item->SetRawData(*raw);
      items.Add(item);
    }
    db.Prepare(
          "INSERT INTO ClippingText (lClippingID, sName, sDescription, sText) VALUES (?, ?, ?, ?)")
        .Int(1, keys[static_cast<size_t>(i)])
        .Text(2, c.name)
        .Text(3, c.description)
        .Text(4, clipcat::PlainTextOfItems(items, clipcat::kContentTextLimit))
        .Run();
  }
  db.Exec("COMMIT");
}

}  // namespace

void RunContent(const Options& options, Report& report) {
  TempDir dir;
  // The adds come first, so that their commits do not wait for the large catalog's pages to
  // reach the disk.
  MeasureAdds(options, report, dir);

  const std::string path = dir.File("content.catalog");
  NewCatalog(path);
  const int clippings = options.Scaled(100'000, 1'000);
  Corpus corpus(clippings);
  std::vector<int64_t> keys;
  {
    CatalogFiller filler(path);
    const std::vector<int64_t> folders = FillFolders(filler);
    for (int i = 0; i < clippings; ++i) {
      Corpus::Clipping c = corpus.Next(i);
      keys.push_back(filler.AddClipping(
          folders[static_cast<size_t>(i) % folders.size()], c.name, c.description,
          {{1, std::move(c.content.rtf)}, {2, std::move(c.content.text)}}));
    }
    filler.Finish();
  }
  const double plain_mb = CatalogMB(path);

  std::string failure;
  const double build_s = Seconds([&] {
    try {
      auto store = clipcat::DataAccessMDB::Create();
      store->SetConnectionString(clipcat::FileCatalogConnectionString(path));
      store->OpenCatalog("", "", "");
      store->RebuildContentIndex(nullptr);
      store->CloseCatalog();
    } catch (const std::exception& e) {
      failure = e.what();
    }
  });
  const std::string of = std::to_string(clippings) + " clippings";
  if (failure.empty()) {
    report.Info("index build (RebuildContentIndex)", "s", build_s,
                of + ", " + std::to_string(static_cast<int>(clippings / build_s)) + " clippings/s");
  } else {
    // The rest still measures the index the library keeps: its rows written as AddClipping writes
    // them, in one transaction.
    char after[32];
    std::snprintf(after, sizeof after, "%.1f", build_s);
    report.AtMost("index build (RebuildContentIndex)", "s", NAN, 0,
                  "failed after " + std::string(after) + " s on " + of + ": " + failure +
                      "; the index below was written row by row by the benchmark");
    WriteIndexRows(path, clippings, keys);
  }
  const double indexed_mb = CatalogMB(path);

  report.Ratio("catalog size with the index", "MB", indexed_mb, plain_mb, 1.5,
               "floor: the same " + of + " before the index was made");

  const auto details = FileDetails(path);
  clipcat::ClippingDataRead reader;
  FloorDb db(path);
  clipcat::ContentSearchOptions search;
  search.max_items = kResults;

  const std::vector<std::string> rare = corpus.RareWords(kRareRuns);
  Require(!rare.empty(), "rare words");
  // One untimed search each first: both connections open and the index's pages in memory.
  reader.FindContent(rare[0], search, details);
  FloorRare(db, rare[0]);
  std::vector<double> ours_rare;
  std::vector<double> floor_rare;
  size_t rare_hits = 0;
  for (const std::string& word : rare) {
    std::vector<clipcat::FoundClipping> ours;
    ours_rare.push_back(Seconds([&] { ours = reader.FindContent(word, search, details); }) * 1e3);
    std::vector<int64_t> floor;
    floor_rare.push_back(Seconds([&] { floor = FloorRare(db, word); }) * 1e3);
    Require(Sorted(KeysOf(ours)) == Sorted(floor), "clippings found for \"" + word + "\"");
    rare_hits += floor.size();
  }
  char hits[64];
  std::snprintf(hits, sizeof hits, "%.1f", static_cast<double>(rare_hits) / rare.size());
  report.AtMostBeside(
      "rare word, FindContent top 50", "ms", Median(ours_rare), Median(floor_rare), 5,
      "median of " + std::to_string(rare.size()) + " words in 1-10 clippings (" + hits +
          " hits on average) of " + of + "; floor: FTS5 MATCH ... ORDER BY bm25 LIMIT 50");

  const std::vector<std::string> common = corpus.CommonWords(clippings, 0.3, 0.6);
  Require(!common.empty(), "common words");
  const size_t common_runs = std::max<size_t>(static_cast<size_t>(options.reps) * 4, 12);
  std::vector<double> ours_common;
  std::vector<double> floor_common;
  int lowest = clippings;
  int highest = 0;
  for (size_t run = 0; run < common_runs; ++run) {
    const std::string& word = common[run % common.size()];
    std::vector<clipcat::FoundClipping> ours;
    ours_common.push_back(Seconds([&] { ours = reader.FindContent(word, search, details); }) * 1e3);
    std::vector<FloorHit> floor;
    floor_common.push_back(Seconds([&] { floor = FloorCommon(db, word); }) * 1e3);
    Require(ours.size() == static_cast<size_t>(kResults) && floor.size() == ours.size(),
            "50 clippings found for \"" + word + "\"");
    Require(!ours.front().snippet.empty() && !floor.front().snippet.empty(), "snippets");
    std::vector<int64_t> floor_keys;
    for (const FloorHit& hit : floor) floor_keys.push_back(hit.key);
    Require(KeysOf(ours) == floor_keys, "the best 50 by bm25 for \"" + word + "\", in order");
    lowest = std::min(lowest, corpus.DocumentsWith(word));
    highest = std::max(highest, corpus.DocumentsWith(word));
  }
  report.AtMostBeside("common word, FindContent top 50 + snippets", "ms", Median(ours_common),
                      Median(floor_common), 25,
                      "median of " + std::to_string(common_runs) + " runs over " +
                          std::to_string(std::min(common.size(), common_runs)) + " words in " +
                          std::to_string(lowest) + "-" + std::to_string(highest) + " of " + of +
                          "; floor: the same FTS5 query with snippet()");

  clipcat::Compression compression;
  std::vector<double> scan;
  for (int run = 0; run < options.reps; ++run) {
    const std::string& word = rare[static_cast<size_t>(run) % rare.size()];
    std::set<int64_t> found;
    scan.push_back(Seconds([&] { found = ScanContent(db, compression, word); }) * 1e3);
    for (int64_t key : FloorRare(db, word)) {
      Require(found.count(key) == 1, "the scan finds what the index finds");
    }
  }
  report.Info("rare word, scan of decompressed content", "ms", Median(scan),
              "no index: every item of " + of + " read, decompressed and searched ignoring case; " +
                  std::to_string(static_cast<int>(Median(scan) / Median(ours_rare))) +
                  " times FindContent");
}

}  // namespace clipcat_bench
