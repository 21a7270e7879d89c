#include "floor_engine.h"

#include <ctime>
#include <stdexcept>

namespace clipcat_bench {
namespace {

[[noreturn]] void Fail(sqlite3* db, const char* what) {
  throw std::runtime_error(std::string(what) + ": " + sqlite3_errmsg(db));
}

constexpr char kMagic[4] = {'C', 'L', 'P', 'Z'};
constexpr size_t kHeaderBytes = 5;

// Days from 1970-01-01 to the civil date (proleptic Gregorian).
int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

int Digits(std::string_view text, size_t at, size_t count) {
  int value = 0;
  for (size_t i = at; i < at + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return -1;
    value = value * 10 + (text[i] - '0');
  }
  return value;
}

}  // namespace

Statement::Statement(sqlite3* db, std::string_view sql) : db_(db) {
  if (sqlite3_prepare_v3(db, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                         &stmt_, nullptr) != SQLITE_OK) {
    Fail(db, "prepare");
  }
}

Statement::~Statement() { sqlite3_finalize(stmt_); }

Statement& Statement::Int(int index, int64_t value) {
  sqlite3_bind_int64(stmt_, index, value);
  return *this;
}

Statement& Statement::Text(int index, std::string_view value) {
  sqlite3_bind_text(stmt_, index, value.data(), static_cast<int>(value.size()), SQLITE_STATIC);
  return *this;
}

Statement& Statement::Blob(int index, std::string_view value) {
  sqlite3_bind_blob(stmt_, index, value.data(), static_cast<int>(value.size()), SQLITE_STATIC);
  return *this;
}

Statement& Statement::Null(int index) {
  sqlite3_bind_null(stmt_, index);
  return *this;
}

bool Statement::Step() {
  const int rc = sqlite3_step(stmt_);
  if (rc == SQLITE_ROW) return true;
  if (rc == SQLITE_DONE) return false;
  Fail(db_, "step");
}

void Statement::Run() {
  while (Step()) {
  }
  Reset();
}

void Statement::Reset() {
  sqlite3_reset(stmt_);
  sqlite3_clear_bindings(stmt_);
}

std::string Statement::ColumnText(int column) const {
  const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(stmt_, column));
  if (data == nullptr) return {};
  return std::string(data, static_cast<size_t>(sqlite3_column_bytes(stmt_, column)));
}

std::string_view Statement::ColumnBytes(int column) const {
  const auto* data = static_cast<const char*>(sqlite3_column_blob(stmt_, column));
  if (data == nullptr) return {};
  return std::string_view(data, static_cast<size_t>(sqlite3_column_bytes(stmt_, column)));
}

FloorDb::FloorDb(const std::string& path) {
  if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) !=
      SQLITE_OK) {
    Fail(db_, "open");
  }
  sqlite3_busy_timeout(db_, 10'000);
}

FloorDb::~FloorDb() {
  cache_.clear();
  sqlite3_close_v2(db_);
}

Statement& FloorDb::Prepare(const std::string& sql) {
  auto& slot = cache_[sql];
  if (!slot) slot = std::make_unique<Statement>(db_, sql);
  return *slot;
}

void FloorDb::Exec(const char* sql) {
  if (sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) Fail(db_, sql);
}

FrameCodec::FrameCodec() : cctx_(ZSTD_createCCtx()), dctx_(ZSTD_createDCtx()) {
  ZSTD_CCtx_setParameter(cctx_, ZSTD_c_compressionLevel, 3);
  ZSTD_CCtx_setParameter(cctx_, ZSTD_c_checksumFlag, 1);
}

FrameCodec::~FrameCodec() {
  ZSTD_freeCCtx(cctx_);
  ZSTD_freeDCtx(dctx_);
}

std::string FrameCodec::Compress(std::string_view text) {
  std::string frame(kHeaderBytes + ZSTD_compressBound(text.size()), '\0');
  frame.replace(0, 4, kMagic, 4);
  frame[4] = 1;
  const size_t n = ZSTD_compress2(cctx_, frame.data() + kHeaderBytes, frame.size() - kHeaderBytes,
                                  text.data(), text.size());
  if (ZSTD_isError(n)) throw std::runtime_error(ZSTD_getErrorName(n));
  frame.resize(kHeaderBytes + n);
  return frame;
}

std::string FrameCodec::Decompress(std::string_view frame) {
  if (frame.size() < kHeaderBytes || frame.substr(0, 4) != std::string_view(kMagic, 4) ||
      frame[4] != 1) {
    throw std::runtime_error("not a frame");
  }
  const std::string_view payload = frame.substr(kHeaderBytes);
  const unsigned long long size = ZSTD_getFrameContentSize(payload.data(), payload.size());
  if (size == ZSTD_CONTENTSIZE_ERROR || size == ZSTD_CONTENTSIZE_UNKNOWN) {
    throw std::runtime_error("unreadable frame");
  }
  std::string text(static_cast<size_t>(size), '\0');
  const size_t n =
      ZSTD_decompressDCtx(dctx_, text.data(), text.size(), payload.data(), payload.size());
  if (ZSTD_isError(n) || n != text.size()) throw std::runtime_error("damaged frame");
  return text;
}

std::string IsoNow() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  localtime_r(&now, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
  return text;
}

double IsoToSerial(std::string_view text) {
  if (text.size() != 19 || text[4] != '-' || text[7] != '-' || text[10] != ' ' || text[13] != ':' ||
      text[16] != ':') {
    return 0;
  }
  const int y = Digits(text, 0, 4), mo = Digits(text, 5, 2), d = Digits(text, 8, 2);
  const int h = Digits(text, 11, 2), mi = Digits(text, 14, 2), s = Digits(text, 17, 2);
  if (y < 0 || mo < 1 || mo > 12 || d < 1 || h < 0 || mi < 0 || s < 0) return 0;
  // 1899-12-30 is 25569 days before 1970-01-01.
  const int64_t days =
      DaysFromCivil(y, static_cast<unsigned>(mo), static_cast<unsigned>(d)) + 25569;
  return static_cast<double>(days) + (h * 3600 + mi * 60 + s) / 86400.0;
}

GuidMaker::GuidMaker() : random_(std::random_device{}()) {}

std::string GuidMaker::Next() {
  uint64_t halves[2] = {random_(), random_()};
  unsigned char bytes[16];
  for (int i = 0; i < 16; ++i)
    bytes[i] = static_cast<unsigned char>(halves[i / 8] >> (8 * (i % 8)));
  bytes[7] = static_cast<unsigned char>((bytes[7] & 0x0F) | 0x40);
  bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
  static const char kHex[] = "0123456789ABCDEF";
  std::string text(32, '0');
  for (int i = 0; i < 16; ++i) {
    text[2 * i] = kHex[bytes[i] >> 4];
    text[2 * i + 1] = kHex[bytes[i] & 0x0F];
  }
  return text;
}

}  // namespace clipcat_bench
