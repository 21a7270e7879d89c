#include "workload.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "engine/connection_string.h"
#include "store/catalog_schema.h"

namespace clipcat_bench {
namespace {

const char* const kWords[] = {
    "invoice",  "letter",   "meeting",  "project", "budget",  "report",  "client",  "contract",
    "draft",    "summary",  "review",   "tax",     "policy",  "market",  "travel",  "notes",
    "agenda",   "minutes",  "offer",    "order",   "payment", "receipt", "quote",   "proposal",
    "the",      "of",       "and",      "to",      "in",      "for",     "with",    "on",
    "please",   "find",     "attached", "regards", "kind",    "thank",   "you",     "your",
    "we",       "will",     "have",     "been",    "this",    "that",    "from",    "as",
    "schedule", "delivery", "account",  "balance", "quarter", "annual",  "service", "support",
    "request",  "update",   "status",   "team",    "office",  "address", "phone",   "signature"};
constexpr size_t kWordCount = sizeof(kWords) / sizeof(kWords[0]);

}  // namespace

TempDir::TempDir() {
  const char* base = std::getenv("TMPDIR");
  std::string pattern =
      std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/clipcat-bench-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string MakeWords(std::mt19937& random, size_t bytes) {
  std::string text;
  text.reserve(bytes + 16);
  while (text.size() < bytes) {
    if (!text.empty()) text += ' ';
    text += kWords[random() % kWordCount];
  }
  text.resize(bytes);
  return text;
}

std::string MakeRtf(std::mt19937& random, size_t bytes) {
  std::string rtf =
      "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\froman Times New Roman;}}"
      "\\viewkind4\\uc1\\pard\\f0\\fs24 ";
  const std::string tail = "\\par }";
  while (rtf.size() + tail.size() < bytes) {
    const unsigned pick = random() % 16;
    if (pick == 0) {
      rtf += "\\par ";
    } else if (pick == 1) {
      rtf += "{\\b " + std::string(kWords[random() % kWordCount]) + "} ";
    } else {
      rtf += kWords[random() % kWordCount];
      rtf += ' ';
    }
  }
  rtf.resize(bytes > tail.size() ? bytes - tail.size() : 0);
  return rtf + tail;
}

std::string MakePlainText(std::mt19937& random, size_t bytes) {
  static const char* const kMarks[] = {" & ", " <b> ", " > ", " \"quoted\" ", "\r\n", "\t"};
  std::string text;
  text.reserve(bytes + 16);
  while (text.size() < bytes) {
    if (random() % 8 == 0) {
      text += kMarks[random() % 6];
    } else {
      text += kWords[random() % kWordCount];
      text += ' ';
    }
  }
  text.resize(bytes);
  return text;
}

std::vector<Content> MakeContents(int variants, size_t rtf_bytes, size_t text_bytes,
                                  uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<Content> contents;
  contents.reserve(static_cast<size_t>(variants));
  for (int i = 0; i < variants; ++i) {
    contents.push_back({MakeRtf(random, rtf_bytes), MakePlainText(random, text_bytes)});
  }
  return contents;
}

std::shared_ptr<clipcat::Clipping> MakeClipping(const std::string& name,
                                                const std::string& description,
                                                const Content& content) {
  auto clipping = clipcat::Clipping::Create();
  clipping->SetName(name);
  clipping->SetDescription(description);
  for (const auto& [type, raw] : {std::pair{1, &content.rtf}, std::pair{2, &content.text}}) {
    auto item = clipcat::ClippingData::Create();
    item->SetClippingDataType(type);
    item->SetRawData(*raw);
    clipping->ClippingData()->Add(item);
  }
  return clipping;
}

void NewCatalog(const std::string& path) { clipcat::CreateCatalog(path, "Benchmark"); }

std::shared_ptr<clipcat::ConnectionDetails> FileDetails(const std::string& path) {
  auto details = clipcat::ConnectionDetails::Create();
  details->SetDataSourceType(1);
  details->SetConnectionString(clipcat::FileCatalogConnectionString(path));
  return details;
}

CatalogFiller::CatalogFiller(const std::string& path) : db_(path), now_(IsoNow()) {
  db_.Exec("BEGIN IMMEDIATE");
}

CatalogFiller::~CatalogFiller() {
  if (!finished_) sqlite3_exec(db_.db(), "ROLLBACK", nullptr, nullptr, nullptr);
}

int64_t CatalogFiller::AddFolder(int64_t parent, const std::string& name,
                                 const std::string& description) {
  const int64_t key = next_key_++;
  db_.Prepare(
         "INSERT INTO Folder (lFolderID, sGUID, lParentID, sName, sDescription, "
         "lExternalCatalogId, bIsLeaf, bIsOffline, iStatus, tUpdated) "
         "VALUES (?, ?, ?, ?, ?, 0, 1, 0, 1, ?)")
      .Int(1, key)
      .Text(2, guids_maker_.Next())
      .Int(3, parent)
      .Text(4, name)
      .Text(5, description)
      .Text(6, now_)
      .Run();
  return key;
}

int64_t CatalogFiller::AddClipping(int64_t folder, const std::string& name,
                                   const std::string& description,
                                   const std::vector<std::pair<int, std::string>>& items) {
  std::vector<std::pair<int, std::string>> frames;
  for (const auto& [type, content] : items) frames.emplace_back(type, codec_.Compress(content));
  return AddClippingFrames(folder, name, description, frames);
}

int64_t CatalogFiller::AddClippingFrames(int64_t folder, const std::string& name,
                                         const std::string& description,
                                         const std::vector<std::pair<int, std::string>>& frames) {
  const int64_t key = next_key_++;
  if (guids_.size() <= static_cast<size_t>(key)) guids_.resize(static_cast<size_t>(key) + 1);
  std::string& guid = guids_[static_cast<size_t>(key)];
  guid = guids_maker_.Next();
  db_.Prepare(
         "INSERT INTO Clipping (lClippingID, lFolderID, sGUID, sName, sDescription, "
         "iClippingStatus, tUpdated) VALUES (?, ?, ?, ?, ?, 1, ?)")
      .Int(1, key)
      .Int(2, folder)
      .Text(3, guid)
      .Text(4, name)
      .Text(5, description)
      .Text(6, now_)
      .Run();
  for (const auto& [type, frame] : frames) {
    db_.Prepare(
           "INSERT INTO ClippingDataType (lClippingID, lDataTypeId, bIsCompressed, ClippingData) "
           "VALUES (?, ?, 1, ?)")
        .Int(1, key)
        .Int(2, type)
        .Blob(3, frame)
        .Run();
  }
  return key;
}

void CatalogFiller::AddContentText(int64_t key, const std::string& name,
                                   const std::string& description, const std::string& text) {
  db_.Prepare(
         "INSERT INTO ClippingText (lClippingID, sName, sDescription, sText) VALUES (?, ?, ?, ?)")
      .Int(1, key)
      .Text(2, name)
      .Text(3, description)
      .Text(4, text)
      .Run();
}

int64_t CatalogFiller::AddCategory(const std::string& name) {
  const int64_t key = next_category_++;
  db_.Prepare(
         "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName, sDescription, "
         "iSortOrder, iStatus, tUpdated) VALUES (?, 1, ?, '', 0, 1, ?)")
      .Int(1, key)
      .Text(2, name)
      .Text(3, now_)
      .Run();
  return key;
}

void CatalogFiller::AddMember(int64_t clipping, int64_t category) {
  db_.Prepare(
         "INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId, iSortOrder, "
         "tActiveStart, tActiveEnd) VALUES (?, ?, 0, ?, ?)")
      .Int(1, clipping)
      .Int(2, category)
      .Text(3, now_)
      .Text(4, now_)
      .Run();
}

void CatalogFiller::Finish() {
  db_.Exec("UPDATE Folder SET bIsLeaf = 0 WHERE lFolderID IN (SELECT lParentID FROM Folder)");
  db_.Prepare(
         "DELETE FROM sqlite_sequence WHERE name IN ('FolderIDGenerator', "
         "'GroupClippingIDGenerator')")
      .Run();
  db_.Prepare("INSERT INTO sqlite_sequence (name, seq) VALUES (?, ?)")
      .Text(1, "FolderIDGenerator")
      .Int(2, next_key_ - 1)
      .Run();
  db_.Prepare("INSERT INTO sqlite_sequence (name, seq) VALUES (?, ?)")
      .Text(1, "GroupClippingIDGenerator")
      .Int(2, next_category_ - 1)
      .Run();
  db_.Exec("COMMIT");
  finished_ = true;
}

std::vector<int64_t> AddSpreadClippings(CatalogFiller& filler, const std::vector<Content>& contents,
                                        int clippings) {
  std::vector<int64_t> folders;
  for (int i = 0; i < 100; ++i) folders.push_back(filler.AddFolder(1, "F" + std::to_string(i), ""));
  std::vector<int64_t> keys;
  for (int i = 0; i < clippings; ++i) {
    const Content& c = contents[static_cast<size_t>(i) % contents.size()];
    keys.push_back(filler.AddClipping(folders[static_cast<size_t>(i) % folders.size()],
                                      "Clipping " + std::to_string(i), "Benchmark clipping",
                                      {{1, c.rtf}, {2, c.text}}));
  }
  return keys;
}

}  // namespace clipcat_bench
