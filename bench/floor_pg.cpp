#include "floor_pg.h"

#include <stdexcept>

#include "util/search_words.h"

namespace clipcat_bench {
namespace {

constexpr Oid kByteaType = 17;
// Rows buffered before they are sent.
constexpr size_t kFlushRows = 20'000;

// `value` as a field of COPY's text format.
void AppendField(std::string& row, const std::string& value) {
  for (const char c : value) {
    switch (c) {
      case '\\':
        row += "\\\\";
        break;
      case '\t':
        row += "\\t";
        break;
      case '\n':
        row += "\\n";
        break;
      case '\r':
        row += "\\r";
        break;
      default:
        row += c;
    }
  }
}

// Bytes as a bytea field of COPY's text format ("\\x" and hex digits).
void AppendBytes(std::string& row, const std::string& bytes) {
  static const char kHex[] = "0123456789abcdef";
  row += "\\\\x";
  for (const char c : bytes) {
    const auto b = static_cast<unsigned char>(c);
    row += kHex[b >> 4];
    row += kHex[b & 15];
  }
}

// One row of COPY text from already formatted fields.
void AppendRow(std::string& rows, std::initializer_list<std::string> fields) {
  bool first = true;
  for (const std::string& field : fields) {
    if (!first) rows += '\t';
    first = false;
    rows += field;
  }
  rows += '\n';
}

std::string Field(const std::string& value) {
  std::string out;
  AppendField(out, value);
  return out;
}

}  // namespace

FloorPg::FloorPg(const std::string& conninfo) : conn_(PQconnectdb(conninfo.c_str())) {
  if (PQstatus(conn_) != CONNECTION_OK) {
    const std::string message = PQerrorMessage(conn_);
    PQfinish(conn_);
    throw std::runtime_error(message);
  }
}

FloorPg::~FloorPg() { PQfinish(conn_); }

PGresult* FloorPg::Run(const std::string& sql, const std::vector<std::string>& values,
                       size_t binary_at) {
  auto found = names_.find(sql);
  if (found == names_.end()) {
    const std::string name = "floor" + std::to_string(names_.size());
    std::vector<Oid> types(values.size(), 0);
    if (binary_at > 0) types[binary_at - 1] = kByteaType;
    PQclear(Check(
        PQprepare(conn_, name.c_str(), sql.c_str(), static_cast<int>(types.size()), types.data())));
    ++round_trips;
    found = names_.emplace(sql, name).first;
  }
  std::vector<const char*> data;
  std::vector<int> lengths;
  std::vector<int> formats;
  for (size_t i = 0; i < values.size(); ++i) {
    data.push_back(values[i].data());
    lengths.push_back(static_cast<int>(values[i].size()));
    formats.push_back(i + 1 == binary_at ? 1 : 0);
  }
  ++round_trips;
  return Check(PQexecPrepared(conn_, found->second.c_str(), static_cast<int>(values.size()),
                              data.data(), lengths.data(), formats.data(), 1));
}

void FloorPg::Exec(const std::string& sql) {
  ++round_trips;
  PQclear(Check(PQexec(conn_, sql.c_str())));
}

PGresult* FloorPg::Check(PGresult* result) {
  const ExecStatusType status = PQresultStatus(result);
  if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) {
    const std::string message = PQerrorMessage(conn_);
    PQclear(result);
    throw std::runtime_error("floor: " + message);
  }
  return result;
}

int64_t BinaryInt(const PGresult* result, int row, int column) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(PQgetvalue(result, row, column));
  int64_t value = 0;
  for (int i = 0; i < PQgetlength(result, row, column); ++i) value = (value << 8) | bytes[i];
  return value;
}

PgCatalogFiller::PgCatalogFiller(const std::string& conninfo, bool with_text)
    : db_(conninfo), with_text_(with_text), now_(IsoNow()) {
  db_.Exec("BEGIN");
  if (with_text_) {
    db_.Exec(
        "CREATE TEMPORARY TABLE FillerText (lClippingID integer, sName text, sDescription text, "
        "sText text, sNameWords text, sDescriptionWords text, sTextWords text) ON COMMIT DROP");
  }
}

int64_t PgCatalogFiller::AddFolder(int64_t parent, const std::string& name,
                                   const std::string& description) {
  const int64_t key = next_key_++;
  AppendRow(folders_, {std::to_string(key), guids_.Next(), std::to_string(parent), Field(name),
                       Field(description), "0", "t", "f", "1", now_});
  if (++buffered_ >= kFlushRows) Flush();
  return key;
}

int64_t PgCatalogFiller::AddClipping(int64_t folder, const std::string& name,
                                     const std::string& description,
                                     const std::vector<std::pair<int, std::string>>& frames,
                                     const std::string& text, const std::string& folded_text) {
  const int64_t key = next_key_++;
  AppendRow(clippings_, {std::to_string(key), std::to_string(folder), guids_.Next(), Field(name),
                         Field(description), "1", now_});
  for (const auto& [type, frame] : frames) {
    std::string bytes;
    AppendBytes(bytes, frame);
    AppendRow(items_, {std::to_string(key), std::to_string(type), "t", bytes});
  }
  if (with_text_) {
    AppendRow(texts_, {std::to_string(key), Field(name), Field(description), Field(text),
                       Field(clipcat::FoldedWordsText(name)),
                       Field(clipcat::FoldedWordsText(description)), Field(folded_text)});
  }
  buffered_ += 1 + frames.size();
  if (buffered_ >= kFlushRows) Flush();
  return key;
}

int64_t PgCatalogFiller::AddCategory(const std::string& name) {
  const int64_t key = next_category_++;
  AppendRow(categories_, {std::to_string(key), "1", Field(name), "", "0", "1", now_});
  return key;
}

void PgCatalogFiller::AddMember(int64_t clipping, int64_t category) {
  AppendRow(members_, {std::to_string(clipping), std::to_string(category), "0", now_, now_});
  if (++buffered_ >= kFlushRows) Flush();
}

void PgCatalogFiller::Copy(const std::string& table_and_columns, std::string& rows) {
  if (rows.empty()) return;
  PGconn* conn = db_.conn();
  PGresult* start = PQexec(conn, ("COPY " + table_and_columns + " FROM STDIN").c_str());
  const bool ready = PQresultStatus(start) == PGRES_COPY_IN;
  PQclear(start);
  if (!ready || PQputCopyData(conn, rows.data(), static_cast<int>(rows.size())) != 1 ||
      PQputCopyEnd(conn, nullptr) != 1) {
    throw std::runtime_error(std::string("filler: COPY failed: ") + PQerrorMessage(conn));
  }
  std::string failure;
  while (PGresult* result = PQgetResult(conn)) {
    if (PQresultStatus(result) != PGRES_COMMAND_OK) failure = PQerrorMessage(conn);
    PQclear(result);
  }
  if (!failure.empty()) throw std::runtime_error("filler: COPY failed: " + failure);
  rows.clear();
}

void PgCatalogFiller::Flush() {
  // Parents before children, clippings before what refers to them.
  Copy(
      "Folder (lFolderID, sGUID, lParentID, sName, sDescription, lExternalCatalogId, bIsLeaf, "
      "bIsOffline, iStatus, tUpdated)",
      folders_);
  Copy(
      "GroupClipping (lGroupClippingID, lGroupCategoryID, sName, sDescription, iSortOrder, "
      "iStatus, tUpdated)",
      categories_);
  Copy("Clipping (lClippingID, lFolderID, sGUID, sName, sDescription, iClippingStatus, tUpdated)",
       clippings_);
  Copy("ClippingDataType (lClippingID, lDataTypeId, bIsCompressed, ClippingData)", items_);
  Copy("FillerText", texts_);
  Copy(
      "ClippingGroupClipping (lClippingId, lGroupClippingId, iSortOrder, tActiveStart, "
      "tActiveEnd)",
      members_);
  buffered_ = 0;
}

void PgCatalogFiller::Finish() {
  Flush();
  if (with_text_) {
    // The document as the catalog builds it for a clipping (see the add's floor).
    db_.Exec(
        "INSERT INTO ClippingText (lClippingID, sName, sDescription, sText, vDocument) SELECT "
        "lClippingID, sName, sDescription, sText, ts_delete(setweight(to_tsvector('simple', "
        "coalesce(sNameWords, '')), 'A') || to_tsvector('simple', '1.5') || "
        "setweight(to_tsvector('simple', coalesce(sDescriptionWords, '')), 'B') || "
        "to_tsvector('simple', '1.5') || to_tsvector('simple', coalesce(sTextWords, '')), '1.5') "
        "FROM FillerText");
  }
  db_.Exec("UPDATE Folder SET bIsLeaf = FALSE WHERE lFolderID IN (SELECT lParentID FROM Folder)");
  db_.Exec("ALTER TABLE FolderIDGenerator ALTER COLUMN lID RESTART WITH " +
           std::to_string(next_key_));
  db_.Exec("ALTER TABLE GroupClippingIDGenerator ALTER COLUMN lID RESTART WITH " +
           std::to_string(next_category_));
  db_.Exec("COMMIT");
  db_.Exec("ANALYZE");
}

}  // namespace clipcat_bench
