// Folded case: which texts are the same name, how they sort, what LIKE finds, and how each engine
// is made to agree: SQLite's NOCASE and like() replaced on the connection, PostgreSQL's
// statements rewritten around the catalog's folding function.
#include "engine/case_folding.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "engine/postgres_dialect.h"
#include "engine/sqlite_functions.h"

namespace clipcat {
namespace {

int Sign(int value) { return (value > 0) - (value < 0); }

// A connection to an empty in-memory database; with `ours`, with the store's functions.
class Sqlite {
 public:
  explicit Sqlite(bool ours) {
    EXPECT_EQ(sqlite3_open(":memory:", &db_), SQLITE_OK);
    if (ours) RegisterSqlFunctions(db_);
  }
  ~Sqlite() { sqlite3_close(db_); }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  // The integer `sql` answers with `values` bound to its parameters, nullopt for Null or no row;
  // `error` receives the engine's message when it fails, "" when not.
  std::optional<int64_t> Integer(const std::string& sql, const std::vector<std::string>& values,
                                 std::string* error = nullptr) {
    sqlite3_stmt* stmt = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db_, sql.c_str(), -1, &stmt, nullptr), SQLITE_OK) << sql;
    for (size_t i = 0; i < values.size(); ++i) {
      sqlite3_bind_text(stmt, static_cast<int>(i) + 1, values[i].data(),
                        static_cast<int>(values[i].size()), SQLITE_TRANSIENT);
    }
    std::optional<int64_t> answer;
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_ROW && sqlite3_column_type(stmt, 0) != SQLITE_NULL) {
      answer = sqlite3_column_int64(stmt, 0);
    }
    if (error != nullptr) *error = rc == SQLITE_ROW || rc == SQLITE_DONE ? "" : sqlite3_errmsg(db_);
    sqlite3_finalize(stmt);
    return answer;
  }

 private:
  sqlite3* db_ = nullptr;
};

// Random text from `alphabet`, up to `max_length` of its entries.
std::string RandomText(std::mt19937& random, const std::vector<std::string>& alphabet,
                       size_t max_length) {
  std::string text;
  const size_t length = random() % (max_length + 1);
  for (size_t i = 0; i < length; ++i) text += alphabet[random() % alphabet.size()];
  return text;
}

const std::vector<std::string> kMixedAlphabet = {"a",
                                                 "A",
                                                 "k",
                                                 "K",
                                                 "s",
                                                 "S",
                                                 "_",
                                                 "%",
                                                 "\\",
                                                 "z",
                                                 "Z",
                                                 "\xC3\x84" /* Ä */,
                                                 "\xC3\xA4" /* ä */,
                                                 "\xCE\xA3" /* Σ */,
                                                 "\xCF\x83" /* σ */,
                                                 "\xCF\x82" /* ς */,
                                                 "\xE2\x84\xAA" /* Kelvin sign */,
                                                 "\xC5\xBF" /* long s */,
                                                 "\xC3\x9F" /* ß */,
                                                 "\xE1\xBA\x9E" /* capital sharp s */,
                                                 "\xF0\x90\x90\x80" /* Deseret capital long i */,
                                                 "\xF0\x90\x90\xA8" /* its small letter */,
                                                 "\xFF" /* not UTF-8 */,
                                                 "\xC3" /* cut short */};

TEST(CaseFolding, FoldsEveryScriptOneCodePointForOne) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"\xC3\x84rger", "\xC3\xA4rger"},                          // Ärger
      {"\xCE\xA3\xCF\x83\xCF\x82", "\xCF\x83\xCF\x83\xCF\x83"},  // Σσς
      {"\xC3\x89"
       "cole",
       "\xC3\xA9"
       "cole"},  // École
      {"STRA\xC3\x9F"
       "E",
       "stra\xC3\x9F"
       "e"},  // ß stays: simple folding
      {"STRA\xE1\xBA\x9E"
       "E",
       "stra\xC3\x9F"
       "e"},  // capital sharp s folds to ß
      {"\xE2\x84\xAA"
       "elvin",
       "kelvin"},                                // the Kelvin sign is a k
      {"\xC4\xB0", "\xC4\xB0"},                  // İ has no simple folding
      {"\xF0\x90\x90\x80", "\xF0\x90\x90\xA8"},  // beyond the BMP
      {"a\xFF\xC3Z", "a\xFF\xC3z"},              // bytes that are not UTF-8
  };
  for (const auto& [text, folded] : cases) EXPECT_EQ(FoldCase(text), folded) << text;
  EXPECT_NE(FoldCase("Stra\xC3\x9F"
                     "e"),
            FoldCase("STRASSE"));
}

TEST(CaseFolding, AsciiSortsExactlyAsSqliteOwnNocase) {
  // Every pair of texts of up to two ASCII characters, and prefixes of each other.
  std::vector<std::string> texts = {""};
  for (int a = 1; a < 128; ++a) {
    texts.push_back(std::string(1, static_cast<char>(a)));
    for (int b : {1, int{'@'}, int{'A'}, int{'Z'}, int{'['}, int{'_'}, int{'`'}, int{'a'}, int{'z'},
                  int{'{'}, 127}) {
      texts.push_back(std::string(1, static_cast<char>(a)) + static_cast<char>(b));
    }
  }
  Sqlite stock(false);
  const std::string sql = "SELECT (?1 > ?2 COLLATE NOCASE) - (?1 < ?2 COLLATE NOCASE)";
  size_t checked = 0;
  for (size_t i = 0; i < texts.size(); i += 7) {
    for (size_t j = 0; j < texts.size(); ++j) {
      ASSERT_EQ(Sign(CompareFoldedCase(texts[i], texts[j])),
                stock.Integer(sql, {texts[i], texts[j]}).value())
          << "\"" << texts[i] << "\" and \"" << texts[j] << "\"";
      ++checked;
    }
  }
  EXPECT_GT(checked, 100000u);
}

TEST(CaseFolding, OrderIsTheByteOrderOfTheFoldedText) {
  // PostgreSQL sorts clipcat_fold(col) COLLATE "C" by its bytes: the same order.
  std::mt19937 random(7);
  for (int i = 0; i < 20000; ++i) {
    const std::string a = RandomText(random, kMixedAlphabet, 4);
    const std::string b = RandomText(random, kMixedAlphabet, 4);
    const int compared = CompareFoldedCase(a, b);
    ASSERT_EQ(Sign(compared), -Sign(CompareFoldedCase(b, a))) << a << " " << b;
    ASSERT_EQ(compared == 0, FoldCase(a) == FoldCase(b)) << a << " " << b;
    // Bytes that are not UTF-8 sort after every code point instead; the server holds none.
    bool valid = true;
    for (const std::string* text : {&a, &b}) {
      for (size_t at = 0; at < text->size();) valid &= NextCodePoint(*text, &at) < kNotUtf8Base;
    }
    if (valid) {
      ASSERT_EQ(Sign(compared), Sign(FoldCase(a).compare(FoldCase(b)))) << a << " " << b;
    }
  }
}

TEST(CaseFolding, LikeMatchesFoldedCaseWithSqliteWildcardsAndEscapes) {
  struct Case {
    std::string pattern;
    std::optional<char32_t> escape;
    std::string text;
    bool matches;
  };
  const std::vector<Case> cases = {
      {"%\xC3\x84RGER%", {}, "viel \xC3\xA4rger hier", true},  // %ÄRGER% finds ärger
      {"\xCE\xA3", {}, "\xCF\x82", true},                      // Σ finds ς
      {"_rger", {}, "\xC3\xA4rger", true},                     // "_" is one code point
      {"__rger", {}, "\xC3\xA4rger", false},
      {"_", {}, "\xF0\x90\x90\x80", true},
      {"STRASSE",
       {},
       "Stra\xC3\x9F"
       "e",
       false},
      {"a\\%", '\\', "A%", true},
      {"a\\%", '\\', "Ab", false},
      {"a\\_b", '\\', "a_B", true},
      {"a\\\\b", '\\', "a\\b", true},
      {"a\\", '\\', "a", false},  // an escape at the end matches nothing
      {"a\\", {}, "A\\", true},
      {"%%a%%", {}, "xxAxx", true},
      {"%", {}, "", true},
      {"", {}, "", true},
      {"", {}, "a", false},
      {"%ab%ab", {}, "xabab", true},
      {"%aab", {}, "aaab", true},
      {"%abc", {}, "abcab", false},
      {"a%", {}, "b", false},
      {"xKx", 'k', "xkx", true},  // the escape matches only as written
      {"xkK", 'k', "xk", true},
      {"%\xE2\x84\xAA%", {}, "ask", true},  // the Kelvin sign is a k
  };
  for (const Case& c : cases) {
    EXPECT_EQ(FoldedLikePattern(c.pattern, c.escape).Matches(c.text), c.matches)
        << c.pattern << " ~ " << c.text;
  }
}

TEST(CaseFolding, LikeOnAsciiAnswersAsSqliteOwnLike) {
  Sqlite stock(false);
  std::mt19937 random(11);
  const std::vector<std::string> pattern_alphabet = {"a", "B", "c", "%", "_", "\\", "A", "b"};
  const std::vector<std::string> text_alphabet = {"a", "b", "C", "A", "_", "%", "\\"};
  for (int i = 0; i < 30000; ++i) {
    const std::string pattern = RandomText(random, pattern_alphabet, 6);
    const std::string text = RandomText(random, text_alphabet, 7);
    const bool escaped = i % 2 == 1;
    const bool stock_answer =
        escaped ? stock.Integer("SELECT ?2 LIKE ?1 ESCAPE '\\'", {pattern, text}).value() != 0
                : stock.Integer("SELECT ?2 LIKE ?1", {pattern, text}).value() != 0;
    ASSERT_EQ(FoldedLikePattern(pattern, escaped ? std::optional<char32_t>('\\') : std::nullopt)
                  .Matches(text),
              stock_answer)
        << pattern << " ~ " << text << (escaped ? " escaped" : "");
  }
}

TEST(CaseFolding, FoldedPatternsMatchFoldedTextAsThePatternMatchesTheText) {
  // PostgreSQL matches a pattern folded here literally against clipcat_fold of the column.
  std::mt19937 random(5);
  const std::vector<std::optional<char32_t>> escapes = {std::nullopt, U'\\',     U'k',     U'K',
                                                        U'x',         U'\u00E4', U'\u03C3'};
  for (int i = 0; i < 30000; ++i) {
    const std::string pattern = RandomText(random, kMixedAlphabet, 5);
    const std::string text = RandomText(random, kMixedAlphabet, 6);
    const auto escape = escapes[random() % escapes.size()];
    const std::string folded = FoldLikePattern(pattern, escape);
    ASSERT_EQ(FoldedLikePattern(pattern, escape).Matches(text),
              FoldedLikePattern(folded, escape).Matches(FoldCase(text)))
        << pattern << " as " << folded << " ~ " << text;
  }
  EXPECT_EQ(FoldLikePattern("aKk%", U'k'), "akkk%");
  EXPECT_EQ(FoldLikePattern("%\xC3\x84_\\%", U'\\'), "%\xC3\xA4_\\%");
}

TEST(CaseFolding, CaseInertCharactersAndTextsForWhichAsciiCaseSuffices) {
  for (char32_t c : {U'\\', U'%', U'_', U'!', U'1', U'\u4E2D'}) EXPECT_TRUE(IsCaseInert(c));
  for (char32_t c : {U'k', U'K', U's', U'x', U'\u00E9', U'\u03C3', U'\u00DF'}) {
    EXPECT_FALSE(IsCaseInert(c));
  }
  for (const char* text :
       {"", "invoice", "Projects 2024", "{6F9619FF-8B86-D011-B42D-00C04FC964FF}"}) {
    EXPECT_EQ(AsciiCaseSuffices(text), std::string(text).find_first_of("kKsS") == std::string::npos)
        << text;
  }
  for (const char* text : {"task", "S", "\xC3\x84rger", "caf\xC3\xA9"}) {
    EXPECT_FALSE(AsciiCaseSuffices(text)) << text;
  }
}

// The code points of a text.
std::vector<char32_t> CodePoints(const std::string& text) {
  std::vector<char32_t> points;
  for (size_t at = 0; at < text.size();) points.push_back(NextCodePoint(text, &at));
  return points;
}

// The code points that regular expression bracket ranges ("a-cx") name.
std::set<char32_t> RangedCodePoints(const std::string& ranges) {
  const std::vector<char32_t> points = CodePoints(ranges);
  std::set<char32_t> named;
  for (size_t i = 0; i < points.size(); ++i) {
    if (i + 2 < points.size() && points[i + 1] == '-') {
      for (char32_t c = points[i]; c <= points[i + 2]; ++c) named.insert(c);
      i += 2;
    } else {
      named.insert(points[i]);
    }
  }
  return named;
}

// The code points a character map maps, each checked to map to its folding, once.
std::set<char32_t> Mapped(const CharacterMap& map) {
  const std::vector<char32_t> from = CodePoints(map.from);
  const std::vector<char32_t> to = CodePoints(map.to);
  EXPECT_EQ(from.size(), to.size());
  std::set<char32_t> seen;
  for (size_t i = 0; i < from.size() && i < to.size(); ++i) {
    EXPECT_TRUE(seen.insert(from[i]).second) << "twice: U+" << std::hex << uint32_t{from[i]};
    EXPECT_EQ(to[i], FoldCodePoint(from[i])) << "U+" << std::hex << uint32_t{from[i]};
    EXPECT_FALSE(from[i] >= 'A' && from[i] <= 'Z');  // ASCII capitals are lowered first
  }
  return seen;
}

TEST(CaseFolding, TheServerMapsHoldEveryFoldingOfTheirText) {
  const CaseFoldingMap& map = NonAsciiCaseFoldingMap();
  std::set<char32_t> folding;
  for (char32_t c = 0x80; c <= 0x10FFFF; ++c) {
    if ((c < 0xD800 || c > 0xDFFF) && FoldCodePoint(c) != c) folding.insert(c);
  }
  EXPECT_GT(folding.size(), 1000u);
  EXPECT_EQ(RangedCodePoints(map.folded_ranges), folding);
  const std::set<char32_t> any = Mapped(map.any);
  for (char32_t c : folding) ASSERT_EQ(any.count(c), 1u) << "U+" << std::hex << uint32_t{c};
  ASSERT_EQ(map.scripts.size(), 3u);  // Latin, Greek, Cyrillic
  for (const auto& script : map.scripts) {
    const std::set<char32_t> mapped = Mapped(script.map);
    const std::set<char32_t> ranged = RangedCodePoints(script.ranges);
    EXPECT_GT(ranged.size(), 100u);
    for (char32_t c : ranged) {
      ASSERT_TRUE(FoldCodePoint(c) == c || mapped.count(c) == 1) << "U+" << std::hex << uint32_t{c};
    }
    // The script's small letters come early, so that its text finds them among the first.
    const std::vector<char32_t> from = CodePoints(script.map.from);
    size_t early = 0;
    for (size_t i = 0; i < 60 && i < from.size(); ++i) early += ranged.count(from[i]);
    EXPECT_GE(early, 25u);
  }
}

TEST(SqliteCaseFolding, NocaseAndLikeFoldEveryScriptOnTheConnection) {
  Sqlite ours(true);
  EXPECT_EQ(ours.Integer("SELECT ?1 = ?2 COLLATE NOCASE", {"\xC3\x84rger", "\xC3\xA4RGER"}), 1);
  EXPECT_EQ(ours.Integer("SELECT ?1 = ?2 COLLATE NOCASE", {"\xCE\xA3", "\xCF\x82"}), 1);
  EXPECT_EQ(ours.Integer("SELECT ?1 = ?2 COLLATE NOCASE", {"Stra\xC3\x9F"
                                                           "e",
                                                           "STRASSE"}),
            0);
  EXPECT_EQ(ours.Integer("SELECT ?1 < ?2 COLLATE NOCASE", {"\xC3\x89"
                                                           "clair",
                                                           "\xC3\xA4pfel"}),
            0);
  EXPECT_EQ(ours.Integer("SELECT ?2 LIKE ?1", {"%\xC3\x84RGER%", "viel \xC3\xA4rger"}), 1);
  EXPECT_EQ(ours.Integer("SELECT ?2 LIKE ?1 ESCAPE '\\'", {"50\\%", "50%"}), 1);
  EXPECT_EQ(ours.Integer("SELECT ?2 LIKE ?1 ESCAPE '\\'", {"50\\%", "500"}), 0);
  EXPECT_EQ(ours.Integer("SELECT ?2 NOT LIKE ?1", {"\xCE\xA3", "\xCF\x83"}), 0);
  // A pattern kept with the statement is not reused for another one.
  EXPECT_EQ(ours.Integer("SELECT COUNT(*) FROM (SELECT 'b' AS p UNION ALL SELECT 'B')"
                         " WHERE 'B' LIKE p",
                         {}),
            2);
  EXPECT_EQ(ours.Integer("SELECT SUM(t LIKE p) FROM (SELECT 'a%' AS p, 'AB' AS t UNION ALL"
                         " SELECT 'b%', 'AB' UNION ALL SELECT 'a%', 'ab')",
                         {}),
            2);
  // Null and errors as SQLite's own like().
  EXPECT_EQ(ours.Integer("SELECT NULL LIKE 'a'", {}), std::nullopt);
  EXPECT_EQ(ours.Integer("SELECT 'a' LIKE 'a' ESCAPE NULL", {}), std::nullopt);
  std::string error;
  ours.Integer("SELECT 'a' LIKE 'a' ESCAPE 'ab'", {}, &error);
  EXPECT_EQ(error, "ESCAPE expression must be a single character");
  ours.Integer("SELECT 'a' LIKE ?1", {std::string(60000, '%')}, &error);
  EXPECT_EQ(error, "LIKE or GLOB pattern too complex");
}

TEST(SqliteCaseFolding, AnIndexOnANocaseColumnFindsEveryCase) {
  Sqlite ours(true);
  ours.Integer("CREATE TABLE t (s TEXT COLLATE NOCASE)", {});
  ours.Integer("CREATE UNIQUE INDEX ix ON t (s)", {});
  std::string error;
  ours.Integer(
      "INSERT INTO t VALUES ('\xC3\x84rger'), ('\xCE\xA3'), ('Stra\xC3\x9F"
      "e')",
      {}, &error);
  EXPECT_EQ(error, "");
  ours.Integer("INSERT INTO t VALUES ('STRASSE')", {}, &error);
  EXPECT_EQ(error, "");
  ours.Integer("INSERT INTO t VALUES ('\xC3\xA4RGER')", {}, &error);
  EXPECT_EQ(error, "UNIQUE constraint failed: t.s");
  EXPECT_EQ(ours.Integer("SELECT COUNT(*) FROM t WHERE s = ?1", {"\xCF\x82"}), 1);
}

// Statements as the PostgreSQL backend sends them to a catalog with its folding function.
void ExpectServerText(const std::vector<std::pair<std::string, std::string>>& cases) {
  static const PostgresColumnTypes kTypes = {
      {"tupdated"}, {"bisleaf"}, {"sname", "sdescription", "sclippingid", "sguid"}};
  for (const auto& [sql, expected] : cases) {
    EXPECT_EQ(TranslateSqlForPostgres(sql, kTypes), expected.empty() ? sql : expected) << sql;
  }
}

TEST(PostgresCaseFolding, TextComparisonsAndOrderingGoThroughTheFoldingFunction) {
  ExpectServerText({
      {"Select * From Folder WHERE sName='\xC3\x84rger' AND lParentId=1 AND iStatus <>3",
       "Select * From Folder WHERE clipcat_fold(sName)=clipcat_fold('\xC3\x84rger') AND "
       "lParentId=1 AND iStatus <>3"},
      {"SELECT * FROM Clipping WHERE 'Task' = Clipping.sName",
       "SELECT * FROM Clipping WHERE clipcat_fold('Task') = clipcat_fold(Clipping.sName)"},
      // LIKE: the citext sieve first, "_" for what it cannot match without folding.
      {"SELECT * FROM Clipping WHERE ( sName LIKE '%\xCE\xA3%' OR sDescription LIKE "
       "'%\xCE\xA3%') AND NOT iClippingStatus=4",
       "SELECT * FROM Clipping WHERE ( (sName LIKE '%_%' ESCAPE '' AND clipcat_fold(sName) LIKE "
       "clipcat_fold('%\xCE\xA3%') ESCAPE '') OR (sDescription LIKE '%_%' ESCAPE '' AND "
       "clipcat_fold(sDescription) LIKE clipcat_fold('%\xCE\xA3%') ESCAPE '')) AND NOT "
       "iClippingStatus=4"},
      {"SELECT * FROM Clipping WHERE sName NOT LIKE 'Tis\\_%\xC3\x84\\\xC3\x84' ESCAPE '\\'",
       "SELECT * FROM Clipping WHERE (sName NOT LIKE 'Ti_\\_%__' ESCAPE '\\' OR "
       "clipcat_fold(sName) NOT LIKE clipcat_fold('Tis\\_%\xC3\x84\\\xC3\x84') ESCAPE "
       "'\\')"},
      {"SELECT * FROM GroupClipping AS g WHERE g.sName ILIKE 'ask' AND lGroupCategoryId=1",
       "SELECT * FROM GroupClipping AS g WHERE (g.sName ILIKE 'a__' ESCAPE '' AND "
       "clipcat_fold(g.sName) ILIKE clipcat_fold('ask') ESCAPE '') AND lGroupCategoryId=1"},
      // An escape character with other cases: the pattern is folded before it is sent.
      {"SELECT * FROM Clipping WHERE sName LIKE 'aKk%' ESCAPE 'k'",
       "SELECT * FROM Clipping WHERE clipcat_fold(sName) LIKE 'akkk%' ESCAPE 'k'"},
      {"DELETE FROM AccessHistory AS a USING AccessHistory AS b WHERE a.sClippingID = "
       "b.sClippingID",
       "DELETE FROM AccessHistory AS a USING AccessHistory AS b WHERE clipcat_fold(a.sClippingID) "
       "= clipcat_fold(b.sClippingID)"},
      {"SELECT * From  Folder WHERE lParentId=1 ORDER BY sName ASC ",
       "SELECT * From  Folder WHERE lParentId=1 ORDER BY clipcat_fold(sName) COLLATE \"C\" ASC "},
      {"Select g.lGroupClippingID From GroupClipping AS g ORDER BY g.sName, tUpdated DESC",
       "Select g.lGroupClippingID From GroupClipping AS g ORDER BY clipcat_fold(g.sName) COLLATE "
       "\"C\", tUpdated DESC"},
      // An UPDATE assigns; only its condition compares.
      {"UPDATE Folder Set sName='\xC3\x89t\xC3\xA9', bIsLeaf=1 WHERE sName='\xC3\x89T\xC3\x89'",
       "UPDATE Folder Set sName='\xC3\x89t\xC3\xA9', bIsLeaf=TRUE WHERE "
       "clipcat_fold(sName)=clipcat_fold('\xC3\x89T\xC3\x89')"},
  });
}

TEST(PostgresCaseFolding, WhatCitextAnswersAlikeOrCannotBeFoldedStaysAsWritten) {
  ExpectServerText({
      // ASCII without a letter that a character outside ASCII folds to: citext and its index.
      {"SELECT * FROM Clipping WHERE sGUID='{6F9619FF-8B86-D011-B42D-00C04FC964FF}'", ""},
      {"Select * From Folder WHERE sName='alpha'", ""},
      {"SELECT * FROM Clipping WHERE sName LIKE '%invoice%' ESCAPE '\\'", ""},
      // Not a lone column or literal on each side.
      {"SELECT * FROM Folder WHERE sName || 'x' = '\xC3\x84'", ""},
      {"SELECT * FROM Folder WHERE sName = '\xC3\x84' || 'x'", ""},
      {"SELECT * FROM Folder WHERE lower(sName) = '\xC3\x84'", ""},
      {"SELECT * FROM Folder WHERE sName IN ('\xC3\x84')", ""},
      {"SELECT * FROM Folder WHERE 'a' = '\xC3\x84'", ""},
      {"SELECT * FROM Folder WHERE sFolder = '\xC3\x84' ORDER BY sFolder", ""},
      {"SELECT DISTINCT sName FROM Folder ORDER BY sName", ""},
      {"UPDATE Folder SET sName='\xC3\x84', sDescription = sName WHERE lFolderID=2", ""},
  });
  // A catalog without the folding function compares as citext does.
  const PostgresColumnTypes without = {{}, {}, {}};
  const std::string sql = "SELECT * FROM Folder WHERE sName='\xC3\x84' ORDER BY sName";
  EXPECT_EQ(TranslateSqlForPostgres(sql, without), sql);
}

}  // namespace
}  // namespace clipcat
