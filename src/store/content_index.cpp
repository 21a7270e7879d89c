#include "store/content_index.h"

#include <algorithm>
#include <climits>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "engine/db_connection.h"
#include "engine/sqlite_session.h"
#include "entities/plain_text.h"
#include "store/clipping_data_row.h"
#include "store/schema_description.h"
#include "util/compression.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat {
namespace {

// The status a deleted clipping carries.
constexpr const char* kDeletedClippingStatus = "4";

// The weights of bm25 on SQLite: name, description, text.
constexpr const char* kColumnWeights = "4.0, 2.0, 1.0";

// How many clippings the index build reads at a time, so that memory holds one batch's content.
constexpr int32_t kBuildBatch = 500;

bool OnServer(DBConnection& connection) { return connection.EngineName() != kSqliteSource; }

std::string Text(const std::string& text) { return SqlText(Variant(text)); }

// The words of the next value for a server's search document. An empty text is written as
// Null, and a Null part would make the whole document Null: it is the empty vector instead.
constexpr const char* kWordVector = "to_tsvector('simple', coalesce(?, ''))";

// A token of the server's parser that no folded word is (folded words hold no "."). It stands
// between the parts of a document and is taken out again, leaving a gap in the positions: a
// phrase does not run from the name into the description or on into the text, as it does not
// on SQLite, whose index keeps the three in columns of their own.
constexpr const char* kPartGap = "'1.5'";

// The search document of a server's index row, whose values are the folded words of the name,
// the description and the text: the name's weighing most.
std::string ServerDocument() {
  const std::string gap = std::string(" || to_tsvector('simple', ") + kPartGap + ") || ";
  return "ts_delete(setweight(" + std::string(kWordVector) + ", 'A')" + gap + "setweight(" +
         kWordVector + ", 'B')" + gap + kWordVector + ", " + kPartGap + ")";
}

// Writes the index row of clipping `key`. The text goes in as a value of the statement, which
// the engine binds rather than reads back out of the statement's text.
void InsertContentRow(DBConnection& connection, int32_t key, const std::string& name,
                      const std::string& description, const std::string& text) {
  const bool server = OnServer(connection);
  SqlValues values{SqlValue::Number(Variant(key)), SqlValue::Text(Variant(name)),
                   SqlValue::Text(Variant(description)), SqlValue::Text(Variant(text))};
  if (server) {
    for (const std::string* part : {&name, &description, &text}) {
      values.push_back(SqlValue::Text(Variant(FoldedWordsText(*part))));
    }
  }
  connection.ExecuteSQL(std::string("INSERT INTO ClippingText (lClippingID, sName, sDescription, "
                                    "sText") +
                            (server ? ", vDocument" : "") + ") VALUES (?, ?, ?, ?" +
                            (server ? ", " + ServerDocument() : "") + ")",
                        values);
}

std::string FilterClause(const ContentFilter& filter) {
  std::string clause;
  if (filter.folder_key) {
    // UNION rather than UNION ALL: a damaged tree whose parents run in a circle still ends.
    clause += " AND c.lFolderID IN (WITH RECURSIVE tree (lID) AS (SELECT " +
              std::to_string(*filter.folder_key) +
              " UNION SELECT f.lFolderID FROM Folder AS f JOIN tree ON f.lParentID = tree.lID)"
              " SELECT lID FROM tree)";
  }
  if (filter.category_key) {
    clause +=
        " AND c.lClippingID IN (SELECT lClippingId FROM ClippingGroupClipping"
        " WHERE lGroupClippingId = " +
        std::to_string(*filter.category_key) + ")";
  }
  if (filter.data_type) {
    clause +=
        " AND c.lClippingID IN (SELECT lClippingID FROM ClippingDataType"
        " WHERE lDataTypeId = " +
        std::to_string(*filter.data_type) + ")";
  }
  return clause;
}

// The keys and scores of the matches, best first. The engine ranks every match; only the text
// of the best is read afterwards.
std::string MatchQuery(DBConnection& connection, const ContentQuery& query,
                       const ContentFilter& filter, size_t max_items) {
  std::string matches;
  if (OnServer(connection)) {
    const std::string tsquery = "to_tsquery('simple', " + Text(TsQueryText(query)) + ")";
    matches = "SELECT t.lClippingID AS lMatchID, ts_rank_cd(t.vDocument, " + tsquery +
              ") AS dScore FROM ClippingText AS t WHERE t.vDocument @@ " + tsquery;
  } else {
    // bm25 is lower for better matches; the name weighs most, then the description.
    matches = "SELECT rowid AS lMatchID, -bm25(ClippingTextIndex, " + std::string(kColumnWeights) +
              ") AS dScore FROM ClippingTextIndex WHERE ClippingTextIndex MATCH " +
              Text(Fts5MatchExpression(query));
  }
  return "SELECT s.lMatchID, s.dScore FROM (" + matches +
         ") AS s JOIN Clipping AS c ON c.lClippingID = s.lMatchID WHERE c.iClippingStatus <> " +
         kDeletedClippingStatus + FilterClause(filter) +
         " ORDER BY s.dScore DESC, s.lMatchID LIMIT " + std::to_string(max_items);
}

// SQLite: the best `count` matches of the index alone, whatever their clippings' status, best
// first. bm25_best (engine/sqlite_functions.h) spares most matches of a common word their
// length lookup; the values are bm25's own.
std::string BestIndexMatchesQuery(const ContentQuery& query, size_t count) {
  const std::string n = std::to_string(count);
  return "SELECT lMatchID, -dRank AS dScore FROM (SELECT rowid AS lMatchID, bm25_best("
         "ClippingTextIndex, " +
         n + ", " + kColumnWeights +
         ") AS dRank FROM ClippingTextIndex WHERE ClippingTextIndex MATCH " +
         Text(Fts5MatchExpression(query)) + ") WHERE dRank IS NOT NULL ORDER BY dRank, lMatchID" +
         " LIMIT " + n;
}

// The keys and scores of the matches, best first: up to `max_items`.
std::vector<ContentMatch> RankedMatches(DBConnection& connection, const ContentQuery& query,
                                        const ContentFilter& filter, size_t max_items) {
  std::vector<ContentMatch> matches;
  const auto read = [&](const std::string& sql, std::vector<ContentMatch>& into) {
    Recordset rs = connection.GetRecordsetRO(sql);
    for (; !rs.Eof(); rs.MoveNext()) {
      ContentMatch match;
      match.key = ToLongOr(rs.Value("lMatchID"), 0);
      match.score = rs.Value("dScore").ToDouble();
      into.push_back(std::move(match));
    }
    rs.Close();
  };
  const bool filtered = filter.folder_key || filter.category_key || filter.data_type;
  if (OnServer(connection) || filtered) {
    read(MatchQuery(connection, query, filter, max_items), matches);
    return matches;
  }
  // The best matches of the index first, a few more than wanted for deleted clippings among
  // them; more only when too many of those were deleted.
  for (size_t count = max_items + max_items / 4 + 8;; count *= 8) {
    std::vector<ContentMatch> best;
    read(BestIndexMatchesQuery(query, count), best);
    std::string keys;
    for (const ContentMatch& match : best) {
      keys += (keys.empty() ? "" : ", ") + std::to_string(match.key);
    }
    std::set<int32_t> live;
    if (!best.empty()) {
      Recordset rs =
          connection.GetRecordsetRO("SELECT lClippingID FROM Clipping WHERE lClippingID IN (" +
                                    keys + ") AND iClippingStatus <> " + kDeletedClippingStatus);
      for (; !rs.Eof(); rs.MoveNext()) live.insert(ToLongOr(rs.Value("lClippingID"), 0));
      rs.Close();
    }
    matches.clear();
    for (ContentMatch& match : best) {
      if (matches.size() == max_items) break;
      if (live.count(match.key) != 0) matches.push_back(std::move(match));
    }
    if (matches.size() == max_items || best.size() < count) return matches;
  }
}

// The name, description and text of every clipping keyed from `first` to `last` (with `only`,
// of those of its keys that have no index row), content read from its items; an item that cannot
// be read adds no text.
void IndexBatch(DBConnection& connection, int32_t first, int32_t last, Compression& compression,
                const std::vector<int32_t>* only = nullptr) {
  std::string keys;
  if (only != nullptr) {
    for (const int32_t key : *only) keys += (keys.empty() ? "" : ", ") + std::to_string(key);
  }
  // A clipping without index row is found by one probe of the index's key (NOT IN over a
  // subquery would read the whole index for every batch).
  const auto range = [&](const std::string& table) {
    return " FROM " + table + " WHERE lClippingID >= " + std::to_string(first) +
           " AND lClippingID <= " + std::to_string(last) +
           (only != nullptr ? " AND lClippingID IN (" + keys +
                                  ") AND NOT EXISTS (SELECT 1 FROM ClippingText AS t WHERE "
                                  "t.lClippingID = " +
                                  table + ".lClippingID)"
                            : "") +
           " ORDER BY lClippingID";
  };
  std::map<int32_t, ClippingDataCollection> items;
  Recordset data = connection.GetRecordsetRO(
      "SELECT lClippingID, lDataTypeId, bIsCompressed, ClippingData" + range("ClippingDataType"));
  for (; !data.Eof(); data.MoveNext()) {
    const int32_t key = ToLongOr(data.Value("lClippingID"), 0);
    IgnoreErrors([&] {
      StoredItem stored = ReadClippingDataRow(data, compression);
      auto item = ClippingData::Create();
      item->SetClippingDataType(stored.type);
      item->SetRawData(std::move(stored.content));
      items[key].Add(std::move(item));
    });
  }
  data.Close();
  Recordset clippings =
      connection.GetRecordsetRO("SELECT lClippingID, sName, sDescription" + range("Clipping"));
  for (; !clippings.Eof(); clippings.MoveNext()) {
    const int32_t key = ToLongOr(clippings.Value("lClippingID"), 0);
    const auto found = items.find(key);
    const std::string text =
        found == items.end() ? std::string() : PlainTextOfItems(found->second, kContentTextLimit);
    InsertContentRow(connection, key, ToTextOr(clippings.Value("sName"), ""),
                     ToTextOr(clippings.Value("sDescription"), ""), text);
  }
  clippings.Close();
}

// The number in column lValue of the first row of `sql`; none for no row or Null.
std::optional<int32_t> ScalarLong(DBConnection& connection, const std::string& sql) {
  Recordset rs = connection.GetRecordsetRO(sql);
  std::optional<int32_t> value;
  if (!rs.Eof() && !rs.IsNull("lValue")) value = ToLongOr(rs.Value("lValue"), 0);
  rs.Close();
  return value;
}

}  // namespace

bool HasContentIndex(DBConnection& connection) {
  const std::string query =
      OnServer(connection)
          ? "SELECT c.relname FROM pg_catalog.pg_class AS c JOIN pg_catalog.pg_namespace AS n"
            " ON n.oid = c.relnamespace WHERE n.nspname = pg_catalog.current_schema()"
            " AND c.relname = 'clippingtext'"
          : "SELECT name FROM sqlite_schema WHERE type = 'table' AND name = 'ClippingTextIndex'"
            " COLLATE NOCASE";
  Recordset rs = connection.GetRecordsetRO(query);
  const bool found = !rs.Eof();
  rs.Close();
  return found;
}

void WriteContentText(DBConnection& connection, int32_t key, const std::string& name,
                      const std::string& description, const std::string& text) {
  connection.ExecuteSQL("DELETE FROM ClippingText WHERE lClippingID = ?",
                        {SqlValue::Number(Variant(key))});
  InsertContentRow(connection, key, name, description, text);
}

void WriteContentNames(DBConnection& connection, const std::string& key_sql,
                       const std::string& name, const std::string& description) {
  Recordset rs = connection.GetRecordsetRO(
      "SELECT lClippingID, sText FROM ClippingText WHERE lClippingID = " + key_sql);
  if (rs.Eof()) return;
  const int32_t key = ToLongOr(rs.Value("lClippingID"), 0);
  const std::string text = ToTextOr(rs.Value("sText"), "");
  rs.Close();
  WriteContentText(connection, key, name, description, text);
}

void RemoveContentText(DBConnection& connection, const std::string& key_sql) {
  connection.ExecuteSQL("DELETE FROM ClippingText WHERE lClippingID = " + key_sql);
}

void IndexClippingsWithoutText(DBConnection& connection, std::vector<int32_t> keys) {
  std::sort(keys.begin(), keys.end());
  keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
  Compression compression;
  const auto batch = static_cast<size_t>(kBuildBatch);
  for (size_t at = 0; at < keys.size(); at += batch) {
    const size_t end = std::min(at + batch, keys.size());
    const std::vector<int32_t> part(keys.begin() + static_cast<std::ptrdiff_t>(at),
                                    keys.begin() + static_cast<std::ptrdiff_t>(end));
    IndexBatch(connection, part.front(), part.back(), compression, &part);
  }
}

void BuildContentIndex(DBConnection& connection, const ProgressCallback& progress) {
  const SchemaEngine engine =
      OnServer(connection) ? SchemaEngine::kPostgres : SchemaEngine::kSqlite;
  for (const std::string& statement : DropContentIndexStatements(engine)) {
    connection.ExecuteSQL(statement);
  }
  if (engine == SchemaEngine::kSqlite || !HasContentIndex(connection)) {
    connection.ExecuteSQL("DROP TABLE IF EXISTS ClippingText");
    const TableDescription& table = *CatalogSchema().FindTable(kContentTextTable);
    connection.ExecuteSQL(CreateTableStatement(table, engine));
    for (const IndexDescription& index : table.indexes) {
      if (!index.inverted || engine == SchemaEngine::kPostgres) {
        connection.ExecuteSQL(CreateIndexStatement(table, index));
      }
    }
  } else {
    connection.ExecuteSQL("DELETE FROM ClippingText");
  }
  // The FTS5 table and its triggers first: each batch's rows are indexed as they are written, so
  // that no one statement has to index the whole catalog.
  for (const std::string& statement : CreateContentIndexStatements(engine)) {
    connection.ExecuteSQL(statement);
  }
  const auto total = static_cast<size_t>(
      ScalarLong(connection, "SELECT COUNT(*) AS lValue FROM Clipping").value_or(0));
  Compression compression;
  size_t done = 0;
  // Batches of clippings in key order, each ending at the highest key of its next kBuildBatch.
  for (int32_t after = INT32_MIN;;) {
    const std::optional<int32_t> last =
        ScalarLong(connection,
                   "SELECT MAX(lClippingID) AS lValue FROM (SELECT lClippingID FROM Clipping"
                   " WHERE lClippingID > " +
                       std::to_string(after) + " ORDER BY lClippingID LIMIT " +
                       std::to_string(kBuildBatch) + ") AS b");
    if (!last) break;
    IndexBatch(connection, after + 1, *last, compression);
    done = std::min(total, done + static_cast<size_t>(kBuildBatch));
    if (progress) progress(done, total);
    after = *last;
  }
}

std::vector<ContentMatch> SearchContentIndex(DBConnection& connection, const ContentQuery& query,
                                             const ContentFilter& filter, size_t max_items) {
  std::vector<ContentMatch> matches;
  if (max_items == 0) return matches;
  matches = RankedMatches(connection, query, filter, max_items);
  if (matches.empty()) return matches;
  std::string keys;
  for (const ContentMatch& match : matches) {
    keys += (keys.empty() ? "" : ", ") + std::to_string(match.key);
  }
  Recordset texts = connection.GetRecordsetRO(
      "SELECT lClippingID, sDescription, sText FROM ClippingText WHERE lClippingID IN (" + keys +
      ")");
  std::map<int32_t, std::string> snippets;
  const std::vector<SnippetTerm> terms = query.SnippetTerms();
  for (; !texts.Eof(); texts.MoveNext()) {
    std::string text = ToTextOr(texts.Value("sText"), "");
    if (text.empty()) text = ToTextOr(texts.Value("sDescription"), "");
    snippets[ToLongOr(texts.Value("lClippingID"), 0)] = MakeSnippet(text, terms);
  }
  texts.Close();
  for (ContentMatch& match : matches) match.snippet = snippets[match.key];
  return matches;
}

}  // namespace clipcat
