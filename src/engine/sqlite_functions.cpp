#include "engine/sqlite_functions.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <queue>
#include <string>
#include <vector>

#include "engine/case_folding.h"
#include "util/date_text.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat {
namespace {

// Days since 1970-01-01 of a civil date (proleptic Gregorian calendar).
int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d) {
  y -= m <= 2 ? 1 : 0;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const int64_t yoe = y - era * 400;
  const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

std::optional<Date> DateArgument(sqlite3_value* value) {
  switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
      return Date(sqlite3_value_double(value));
    case SQLITE_TEXT: {
      const std::string text(reinterpret_cast<const char*>(sqlite3_value_text(value)),
                             static_cast<size_t>(sqlite3_value_bytes(value)));
      if (auto iso = ParseIsoDate(text)) return iso;
      return ParseDateText(text);
    }
    default:
      return std::nullopt;
  }
}

void DateDiffFunction(sqlite3_context* context, int argc, sqlite3_value** argv) {
  if (argc != 3) return;
  for (int i = 0; i < 3; ++i) {
    if (sqlite3_value_type(argv[i]) == SQLITE_NULL) {
      sqlite3_result_null(context);
      return;
    }
  }
  const auto* interval = reinterpret_cast<const char*>(sqlite3_value_text(argv[0]));
  const auto date1 = DateArgument(argv[1]);
  const auto date2 = DateArgument(argv[2]);
  if (!date1 || !date2) {
    sqlite3_result_error(context, "Data type mismatch in criteria expression.", -1);
    return;
  }
  const auto result = DateDiff(interval != nullptr ? interval : "", *date1, *date2);
  if (!result) {
    sqlite3_result_error(context, "Invalid procedure call or argument", -1);
    return;
  }
  sqlite3_result_int64(context, *result);
}

// NOCASE: the catalog's text columns compare by folded code points (case_folding.h), so that a
// name clashes with its other cases in every script. For ASCII text this is the order of SQLite's
// own NOCASE, so the stock shell still reads a catalog's ASCII names through its indexes.
int CompareNoCase(void* /*unused*/, int size_a, const void* a, int size_b, const void* b) {
  return CompareFoldedCase(
      std::string_view(static_cast<const char*>(a), static_cast<size_t>(size_a)),
      std::string_view(static_cast<const char*>(b), static_cast<size_t>(size_b)));
}

// like(pattern, text [, escape]): the LIKE operator with the folding NOCASE compares by, so that
// LIKE and "=" agree on which cases are the same. Errors, Null and the limit on the pattern's
// length are those of SQLite's own like().
void LikeFunction(sqlite3_context* context, int argc, sqlite3_value** argv) {
  const int pattern_bytes = sqlite3_value_bytes(argv[0]);
  if (pattern_bytes >
      sqlite3_limit(sqlite3_context_db_handle(context), SQLITE_LIMIT_LIKE_PATTERN_LENGTH, -1)) {
    sqlite3_result_error(context, "LIKE or GLOB pattern too complex", -1);
    return;
  }
  std::optional<char32_t> escape;
  if (argc == 3) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(argv[2]));
    if (text == nullptr) return;
    const std::string_view escape_text(text, static_cast<size_t>(sqlite3_value_bytes(argv[2])));
    size_t at = 0;
    if (!escape_text.empty()) escape = NextCodePoint(escape_text, &at);
    if (escape_text.empty() || at != escape_text.size()) {
      sqlite3_result_error(context, "ESCAPE expression must be a single character", -1);
      return;
    }
  }
  const auto* pattern_text = reinterpret_cast<const char*>(sqlite3_value_text(argv[0]));
  const auto* text_bytes = reinterpret_cast<const char*>(sqlite3_value_text(argv[1]));
  if (pattern_text == nullptr || text_bytes == nullptr) return;
  const std::string_view pattern(pattern_text, static_cast<size_t>(sqlite3_value_bytes(argv[0])));
  const std::string_view text(text_bytes, static_cast<size_t>(sqlite3_value_bytes(argv[1])));
  // A pattern that stays the same for the whole statement (a literal or a bound value) is
  // folded once and kept with the statement.
  const auto* kept = static_cast<const FoldedLikePattern*>(sqlite3_get_auxdata(context, 0));
  if (kept != nullptr && kept->pattern() == pattern && kept->escape() == escape) {
    sqlite3_result_int(context, kept->Matches(text) ? 1 : 0);
    return;
  }
  auto made = std::make_unique<FoldedLikePattern>(pattern, escape);
  sqlite3_result_int(context, made->Matches(text) ? 1 : 0);
  // Last: SQLite may free what it is given at once, when it keeps nothing for the argument.
  sqlite3_set_auxdata(context, 0, made.release(),
                      [](void* pattern) { delete static_cast<FoldedLikePattern*>(pattern); });
}

// bm25_best: the state of one full-text query, kept by FTS5 with the query. The constants and the
// formula are those of FTS5's bm25(), step for step, so that both give the same doubles.
class BestBm25 {
 public:
  static constexpr double kK1 = 1.2;
  static constexpr double kB = 0.75;

  // Reads what every row of the query shares: the average row length and each phrase's IDF.
  int Prepare(const Fts5ExtensionApi* api, Fts5Context* fts) {
    const int phrases = api->xPhraseCount(fts);
    sqlite3_int64 rows = 0;
    sqlite3_int64 tokens = 0;
    int rc = api->xRowCount(fts, &rows);
    if (rc == SQLITE_OK) rc = api->xColumnTotalSize(fts, -1, &tokens);
    if (rc != SQLITE_OK) return rc;
    avgdl_ = static_cast<double>(tokens) / static_cast<double>(rows);
    idf_.assign(static_cast<size_t>(phrases), 0);
    freq_.assign(static_cast<size_t>(phrases), 0);
    for (int i = 0; i < phrases; ++i) {
      sqlite3_int64 hits = 0;
      rc = api->xQueryPhrase(fts, i, &hits, [](const Fts5ExtensionApi*, Fts5Context*, void* count) {
        ++*static_cast<sqlite3_int64*>(count);
        return SQLITE_OK;
      });
      if (rc != SQLITE_OK) return rc;
      double idf = std::log((static_cast<double>(rows) - static_cast<double>(hits) + 0.5) /
                            (static_cast<double>(hits) + 0.5));
      if (idf <= 0.0) idf = 1e-6;
      idf_[static_cast<size_t>(i)] = idf;
    }
    columns_ = api->xColumnCount(fts);
    return SQLITE_OK;
  }

  // The row's value as described in the header, or an SQLite error code.
  int Score(const Fts5ExtensionApi* api, Fts5Context* fts, sqlite3_context* context, int argc,
            sqlite3_value** argv) {
    const sqlite3_int64 rowid = api->xRowid(fts);
    if (answered_ && rowid == last_rowid_) {
      if (last_score_) {
        sqlite3_result_double(context, *last_score_);
      } else {
        sqlite3_result_null(context);
      }
      return SQLITE_OK;
    }
    const sqlite3_int64 best = argc > 0 ? sqlite3_value_int64(argv[0]) : 0;
    // The columns' weights, read once: the same for every row of the query.
    if (weights_.empty()) {
      weights_.assign(static_cast<size_t>(std::max(columns_, 0)), 1.0);
      for (int column = 0; column < columns_ && column + 1 < argc; ++column) {
        weights_[static_cast<size_t>(column)] = sqlite3_value_double(argv[column + 1]);
      }
    }
    std::fill(freq_.begin(), freq_.end(), 0.0);
    // Each column holds at least as many tokens as its last hit's place says.
    std::vector<int>& least_size = least_size_;
    least_size.assign(static_cast<size_t>(std::max(columns_, 0)), 0);
    // The hits of each phrase in turn: the same as xInst's, without the merged list of all
    // phrases' hits that xInstCount makes for every row.
    int rc = SQLITE_OK;
    for (size_t phrase = 0; phrase < freq_.size(); ++phrase) {
      Fts5PhraseIter hits;
      int column = -1;
      int offset = 0;
      rc = api->xPhraseFirst(fts, static_cast<int>(phrase), &hits, &column, &offset);
      if (rc != SQLITE_OK) return rc;
      for (; column >= 0; api->xPhraseNext(fts, &hits, &column, &offset)) {
        if (column >= columns_) continue;
        freq_[phrase] += weights_[static_cast<size_t>(column)];
        int& size = least_size[static_cast<size_t>(column)];
        size = std::max(size, offset + 1);
      }
    }
    answered_ = true;
    last_rowid_ = rowid;
    if (best > 0 && static_cast<sqlite3_int64>(best_.size()) >= best) {
      double least = 0;
      for (int size : least_size) least += size;
      // The score falls as the row grows: at its least size it is the most the row can score.
      if (Value(least) < best_.top()) {
        last_score_.reset();
        sqlite3_result_null(context);
        return SQLITE_OK;
      }
    }
    int tokens = 0;
    rc = api->xColumnSize(fts, -1, &tokens);
    if (rc != SQLITE_OK) return rc;
    const double score = Value(static_cast<double>(tokens));
    if (best > 0) {
      best_.push(score);
      if (static_cast<sqlite3_int64>(best_.size()) > best) best_.pop();
    }
    last_score_ = -1.0 * score;
    sqlite3_result_double(context, *last_score_);
    return SQLITE_OK;
  }

 private:
  // bm25 of the current row's phrase frequencies for a row of `tokens` tokens, higher better.
  double Value(double tokens) const {
    double score = 0.0;
    for (size_t i = 0; i < idf_.size(); ++i) {
      score +=
          idf_[i] * ((freq_[i] * (kK1 + 1.0)) / (freq_[i] + kK1 * (1 - kB + kB * tokens / avgdl_)));
    }
    return score;
  }

  double avgdl_ = 0;
  int columns_ = 0;
  std::vector<double> idf_;
  std::vector<double> freq_;
  std::vector<int> least_size_;  // of the current row, by column
  std::vector<double> weights_;  // by column
  // The scores of the best rows so far, the worst of them on top.
  std::priority_queue<double, std::vector<double>, std::greater<>> best_;
  bool answered_ = false;
  sqlite3_int64 last_rowid_ = 0;
  std::optional<double> last_score_;
};

void BestBm25Function(const Fts5ExtensionApi* api, Fts5Context* fts, sqlite3_context* context,
                      int argc, sqlite3_value** argv) {
  auto* state = static_cast<BestBm25*>(api->xGetAuxdata(fts, 0));
  int rc = SQLITE_OK;
  if (state == nullptr) {
    auto made = std::make_unique<BestBm25>();
    rc = made->Prepare(api, fts);
    if (rc == SQLITE_OK) {
      state = made.get();
      rc = api->xSetAuxdata(fts, made.release(),
                            [](void* kept) { delete static_cast<BestBm25*>(kept); });
      if (rc != SQLITE_OK) state = nullptr;
    }
  }
  if (rc == SQLITE_OK && state != nullptr) rc = state->Score(api, fts, context, argc, argv);
  if (rc != SQLITE_OK) sqlite3_result_error_code(context, rc);
}

// FTS5's extension interface on `db`; none when SQLite was built without FTS5.
fts5_api* Fts5Api(sqlite3* db) {
  fts5_api* api = nullptr;
  sqlite3_stmt* stmt = nullptr;
  if (sqlite3_prepare_v2(db, "SELECT fts5(?1)", -1, &stmt, nullptr) != SQLITE_OK) {
    return nullptr;
  }
  sqlite3_bind_pointer(stmt, 1, static_cast<void*>(&api), "fts5_api_ptr", nullptr);
  sqlite3_step(stmt);
  sqlite3_finalize(stmt);
  return api;
}

void Check(sqlite3* db, int rc) {
  if (rc != SQLITE_OK) throw AutomationError(err::kDatabaseError, "SQLite", sqlite3_errmsg(db));
}

}  // namespace

std::optional<int64_t> DateDiff(std::string_view interval, const Date& date1, const Date& date2) {
  const DateParts a = date1.Parts();
  const DateParts b = date2.Parts();
  const int64_t day_a = DaysFromCivil(a.year, a.month, a.day);
  const int64_t day_b = DaysFromCivil(b.year, b.month, b.day);
  const std::string unit = ToLowerAscii(interval);
  if (unit == "yyyy") return int64_t{b.year} - a.year;
  if (unit == "q")
    return (int64_t{b.year} * 4 + (b.month - 1) / 3) - (int64_t{a.year} * 4 + (a.month - 1) / 3);
  if (unit == "m") return (int64_t{b.year} * 12 + b.month) - (int64_t{a.year} * 12 + a.month);
  if (unit == "y" || unit == "d") return day_b - day_a;
  if (unit == "w") return (day_b - day_a) / 7;
  // 1970-01-04 was a Sunday: calendar weeks are counted from there.
  if (unit == "ww") return FloorDiv(day_b - 3, 7) - FloorDiv(day_a - 3, 7);
  const int64_t hours_a = day_a * 24 + a.hour;
  const int64_t hours_b = day_b * 24 + b.hour;
  if (unit == "h") return hours_b - hours_a;
  const int64_t minutes_a = hours_a * 60 + a.minute;
  const int64_t minutes_b = hours_b * 60 + b.minute;
  if (unit == "n") return minutes_b - minutes_a;
  if (unit == "s") return (minutes_b * 60 + b.second) - (minutes_a * 60 + a.second);
  return std::nullopt;
}

void RegisterSqlFunctions(sqlite3* db) {
  constexpr int kFlags = SQLITE_UTF8 | SQLITE_DETERMINISTIC;
  Check(db, sqlite3_create_function_v2(db, "Datediff", 3, kFlags, nullptr, &DateDiffFunction,
                                       nullptr, nullptr, nullptr));
  Check(db,
        sqlite3_create_collation_v2(db, "NOCASE", SQLITE_UTF8, nullptr, &CompareNoCase, nullptr));
  for (int arguments : {2, 3}) {
    Check(db, sqlite3_create_function_v2(db, "like", arguments, kFlags, nullptr, &LikeFunction,
                                         nullptr, nullptr, nullptr));
  }
  if (fts5_api* fts5 = Fts5Api(db)) {
    Check(db, fts5->xCreateFunction(fts5, "bm25_best", nullptr, &BestBm25Function, nullptr));
  }
}

}  // namespace clipcat
