// Names that differ only in case are the same name in every script, alike on a SQLite and a
// PostgreSQL catalog: the name checks refuse them, lookups and searches find the other case, and
// listings sort the same. Catalogs of the first format are upgraded to it without losing a row,
// and the names that clash from then on are reported.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

#include "catalog_fixture.h"
#include "engine/case_folding.h"
#include "engine/db_connection.h"
#include "engine/sql_tokenizer.h"
#include "engine_catalog.h"
#include "store/case_fold_upgrade.h"
#include "store/catalog_schema.h"
#include "store/data_access.h"
#include "support/postgres_test_server.h"
#include "temp_catalog.h"
#include "util/error_of.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

// Pairs of names, and whether the second is the first in another case.
struct NamePair {
  std::string first;
  std::string second;
  bool same;
};

const std::vector<NamePair> kPairs = {
    {"\xC3\x84rger", "\xC3\xA4rger", true},                          // Ärger, ärger
    {"\xCE\xA3", "\xCF\x83", true},                                  // Σ, σ
    {"\xCF\x82", "\xCE\xA3", true},                                  // final ς, Σ
    {"\xC3\x89", "\xC3\xA9", true},                                  // É, é
    {"\xD0\x96\xD1\x83\xD0\xBA", "\xD0\xB6\xD0\xA3\xD0\x9A", true},  // Жук, жУК
    {"STRA\xE1\xBA\x9E"
     "E",
     "stra\xC3\x9F"
     "e",
     true},                       // capital sharp s folds to ß
    {"\xE2\x84\xAA", "k", true},  // the Kelvin sign
    {"Stra\xC3\x9F"
     "e",
     "STRASSE", false},        // ß is not "ss" to simple folding
    {"\xC4\xB0", "i", false},  // İ has no simple folding
    {"\xC3\x89"
     "cole",
     "Ecole", false},  // accents are not case
};

class CaseFoldingCatalogTest : public EngineCatalogTest {
 protected:
  void SetUp() override {
    EngineCatalogTest::SetUp();
    if (IsSkipped()) return;
    access_->SetConnectionString(connection_string_);
    root_ = access_->GetPersonalCatalogRootFolder()->ID();
  }

  std::shared_ptr<Folder> AddFolder(const std::string& name, const std::string& parent) {
    auto folder = Folder::Create();
    folder->SetName(name);
    return access_->AddFolder(folder, parent, true);
  }

  std::shared_ptr<Category> AddCategory(const std::string& name) {
    auto category = Category::Create();
    category->SetName(name);
    return access_->AddCategory(category, "");
  }

  std::shared_ptr<DataAccess> access_ = DataAccessSQL::Create();
  std::string root_;
};

template <typename List>
std::string NamesOf(const std::shared_ptr<List>& list) {
  std::string names;
  for (const auto& item : *list->Items()) names += (names.empty() ? "" : ",") + item->Name();
  return names;
}

TEST_P(CaseFoldingCatalogTest, SiblingFoldersWithNamesInAnotherCaseClash) {
  int n = 0;
  for (const NamePair& pair : kPairs) {
    const auto parent = AddFolder("pair " + std::to_string(++n), root_);
    const auto first = AddFolder(pair.first, parent->ID());
    EXPECT_EQ(RaisedNumber([&] { AddFolder(pair.second, parent->ID()); }),
              pair.same ? err::kFolderNameNotUnique : 0)
        << pair.first << " " << pair.second;
    EXPECT_TRUE(access_->FolderNameExists(pair.second, parent->ID()));
    const auto found = access_->GetFolderByName(pair.second, parent->ID());
    if (pair.same) {
      ASSERT_NE(found, nullptr) << pair.second;
      EXPECT_EQ(found->ID(), first->ID());
    } else {
      ASSERT_NE(found, nullptr) << pair.second;  // the folder of that very name
      EXPECT_NE(found->ID(), first->ID());
    }
  }
  // A rename onto another case of a sibling's name clashes as well; a cousin may have it.
  const auto other = AddFolder("other", root_);
  const auto cousin = AddFolder("\xC3\xA4RGER", other->ID());
  const auto sibling = AddFolder("sibling", access_->GetFolderByName("pair 1", root_)->ID());
  sibling->SetName("\xC3\x84RGER");
  EXPECT_EQ(RaisedNumber([&] { access_->UpdateFolder(sibling, true); }), err::kFolderNameNotUnique);
  EXPECT_NE(cousin, nullptr);
}

TEST_P(CaseFoldingCatalogTest, ClippingsOfOneFolderAndCategoriesClashAlike) {
  const auto folder = AddFolder("clips", root_);
  int n = 0;
  for (const NamePair& pair : kPairs) {
    const auto here = AddFolder("pair " + std::to_string(++n), folder->ID());
    const auto elsewhere = AddFolder("elsewhere " + std::to_string(n), folder->ID());
    const auto first = NewClipping(pair.first);
    access_->AddClipping(first, here->ID());
    EXPECT_EQ(RaisedNumber([&] { access_->AddClipping(NewClipping(pair.second), here->ID()); }),
              pair.same ? err::kClippingNameNotUnique : 0)
        << pair.first << " " << pair.second;
    EXPECT_EQ(access_->ClippingNameExists(pair.second, here->ID()), true);
    const auto found = access_->GetClippingByName(pair.second, here->ID(), false);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->ID() == first->ID(), pair.same) << pair.second;
    // Elsewhere the name is free.
    EXPECT_NO_THROW(access_->AddClipping(NewClipping(pair.second), elsewhere->ID()));

    AddCategory(pair.first);
    EXPECT_EQ(RaisedNumber([&] { AddCategory(pair.second); }),
              pair.same ? err::kCategoryNameNotUnique : 0)
        << pair.first << " " << pair.second;
    EXPECT_TRUE(access_->CategoryNameExists(pair.second, ""));
    // Make room for the next pair, which may share a name with this one.
    const auto categories = access_->GetCategoriesFromFolder("");
    for (const auto& category : *categories->Items()) access_->DeleteCategory(category->ID());
  }
}

TEST_P(CaseFoldingCatalogTest, NameSearchesFindTheOtherCases) {
  const auto folder = AddFolder("clips", root_);
  const auto anger = NewClipping("viel \xC3\xA4rger", "x", "im B\xC3\xBCro");
  const auto wisdom = NewClipping("\xCF\x83\xCE\xBF\xCF\x86\xCE\xAF\xCE\xB1");  // σοφία
  const auto street = NewClipping(
      "Stra\xC3\x9F"
      "e",
      "x", "50% \xC3\x89t\xC3\xA9");
  const auto plain = NewClipping("plain", "x", "nothing here");
  for (const auto& clipping : {anger, wisdom, street, plain}) {
    access_->AddClipping(clipping, folder->ID());
  }
  const auto study = AddCategory("\xC3\xA9tude");  // étude
  access_->AddClippingToCategory(plain->ID(), study->ID());

  const auto find = [&](const std::string& text) {
    return NamesOf(access_->FindClippings(NewSearch(text)));
  };
  EXPECT_EQ(find("\xC3\x84RGER"), "viel \xC3\xA4rger");                     // ÄRGER
  EXPECT_EQ(find("B\xC3\x9CRO"), "viel \xC3\xA4rger");                      // BÜRO
  EXPECT_EQ(find("\xCE\xA3"), "\xCF\x83\xCE\xBF\xCF\x86\xCE\xAF\xCE\xB1");  // Σ
  EXPECT_EQ(find("STRASSE"), "");
  EXPECT_EQ(find("% \xC3\xA9T\xC3\x89"),
            "Stra\xC3\x9F"
            "e");  // with an escaped wildcard

  const auto search = [&](const std::string& text, const std::vector<std::string>& categories) {
    return NamesOf(access_->SearchForClippings(NewSearch(text, {}, categories)));
  };
  EXPECT_EQ(search("*\xC3\x84RGER", {}), "viel \xC3\xA4rger");
  EXPECT_EQ(search("\xCE\xA3\xCE\x9F\xCE\xA6\xCE\x8A\xCE\x91", {}),  // ΣΟΦΊΑ, the whole name
            "\xCF\x83\xCE\xBF\xCF\x86\xCE\xAF\xCE\xB1");
  EXPECT_EQ(search("*", {"\xC3\x89TUDE"}), "plain");
  EXPECT_EQ(search("*", {"\xC3\x89T*"}), "plain");
  EXPECT_EQ(search("STRA\xE1\xBA\x9E"
                   "E",
                   {}),
            "Stra\xC3\x9F"
            "e");  // capital sharp s
}

TEST_P(CaseFoldingCatalogTest, ListingsSortByFoldedCodePoints) {
  // Each name's folded form sorts apart; upper and lower case mixed in every script.
  const std::vector<std::string> names = {"Zebra",
                                          "\xC3\xA4pfel",
                                          "Apple",
                                          "\xC3\x89"
                                          "clair",
                                          "eagle",
                                          "\xCE\xA9mega",
                                          "\xCE\xB6"
                                          "eta",
                                          "Mango",
                                          "\xC3\x84rmel",
                                          "_under",
                                          "[bracket",
                                          "\xD0\xAF\xD0\xBA"};
  const std::string expected =
      "[bracket,_under,Apple,eagle,Mango,Zebra,\xC3\xA4pfel,\xC3\x84rmel,\xC3\x89"
      "clair,"
      "\xCE\xB6"
      "eta,\xCE\xA9mega,\xD0\xAF\xD0\xBA";
  const auto parent = AddFolder("sorted", root_);
  for (const std::string& name : names) {
    AddFolder(name, parent->ID());
    access_->AddClipping(NewClipping(name), parent->ID());
    AddCategory(name);
  }
  EXPECT_EQ(NamesOf(access_->GetChildrenFolders(parent->ID(), false, false)), expected);
  EXPECT_EQ(NamesOf(access_->GetClippingsFromFolder(parent->ID(), false, nullptr, false)),
            expected);
  EXPECT_EQ(NamesOf(access_->GetCategoriesFromFolder("")), expected);
}

INSTANTIATE_TEST_SUITE_P(BothEngines, CaseFoldingCatalogTest, ::testing::Bool(), EngineName);

// Catalogs of the first format, holding names that the folding makes clash, brought up to it.
class CaseFoldingUpgradeTest : public EngineCatalogTest {
 protected:
  void SetUp() override {
    EngineCatalogTest::SetUp();
    if (IsSkipped()) return;
    db_.OpenConnection(connection_string_, "", "");
    MakeFirstFormat();
  }

  // The catalog as the first format left it: the server without the folding function and its
  // indexes, the file with indexes that SQLite's own NOCASE ordered (the rows written by a
  // connection without clipcat's collation), and names that compared apart by ASCII case only.
  void MakeFirstFormat() {
    const std::vector<std::string> rows = {
        "INSERT INTO Folder (lFolderID, lParentID, sName, iStatus) VALUES"
        " (2, 1, '\xC3\x84rger', 1), (3, 1, '\xC3\xA4rger', 1), (4, 1, '\xC3\x84RGER', 3),"
        " (5, 1, 'Stra\xC3\x9F"
        "e', 1), (6, 1, 'STRASSE', 1), (7, 2, '\xC3\x84rger', 1)",
        "INSERT INTO Clipping (lClippingID, lFolderID, sName, iClippingStatus) VALUES"
        " (8, 2, '\xCE\xA3', 1), (9, 2, '\xCF\x83', 1), (10, 2, '\xCF\x82', 1),"
        " (11, 3, '\xCE\xA3', 1), (12, 2, '\xCE\xA3', 4)",
        "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName) VALUES"
        " (1, 1, '\xC3\x89tude'), (2, 1, '\xC3\xA9TUDE'), (3, 2, '\xC3\xA9tude')",
    };
    if (OnServer()) {
      db_.ExecuteSQL("DROP FUNCTION clipcat_fold CASCADE");
      for (const std::string& sql : rows) db_.ExecuteSQL(sql);
      return;
    }
    // Enough rows that an index in the other order misleads a lookup.
    sqlite3* stock = nullptr;
    ASSERT_EQ(sqlite3_open(file_.path().c_str(), &stock), SQLITE_OK);
    std::string more = "INSERT INTO Folder (lFolderID, lParentID, sName, iStatus) VALUES";
    for (int i = 0; i < 200; ++i) {
      more += std::string(i == 0 ? " " : ", ") + "(" + std::to_string(100 + i) + ", 99, '" +
              (i % 2 == 0 ? "\xC3\x89" : "\xC3\xA9") +
              std::string(1, static_cast<char>('a' + i % 26)) + std::to_string(i) + "', 1)";
    }
    for (const std::string& sql : rows) {
      ASSERT_EQ(sqlite3_exec(stock, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql;
    }
    ASSERT_EQ(sqlite3_exec(stock, more.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(stock);
  }

  std::vector<std::string> Upgrade() {
    std::vector<std::string> notes;
    db_.BeginTrans();
    UpgradeCaseFolding(db_, notes);
    db_.CommitTrans();
    return notes;
  }

  int32_t Count(const std::string& from_where) {
    return db_.GetRecordsetRO("SELECT COUNT(*) AS n FROM " + from_where).Value("n").ToLong();
  }

  DBConnection db_;
};

TEST_P(CaseFoldingUpgradeTest, ClashesAreReportedAndEveryRowIsKept) {
  const std::vector<std::string> notes = Upgrade();
  const std::vector<std::string> expected = {
      "Folders under folder 1 whose names differ only in case: \"\xC3\x84rger\" (2), "
      "\"\xC3\xA4rger\" (3).",
      "Clippings in folder 2 whose names differ only in case: \"\xCE\xA3\" (8), \"\xCF\x83\" (9), "
      "\"\xCF\x82\" (10).",
      "Categories whose names differ only in case: \"\xC3\x89tude\" (1), \"\xC3\xA9TUDE\" (2).",
  };
  EXPECT_EQ(notes, expected);
  EXPECT_EQ(Count("Folder"), OnServer() ? 7 : 207);
  EXPECT_EQ(Count("Clipping"), 5);
  EXPECT_EQ(Count("GroupClipping"), 3);
  // From now on the store compares by folded case, through indexes in the collation's order.
  EXPECT_EQ(Count("Folder WHERE sName='\xC3\x84RGER' AND lParentID=1 AND iStatus<>3"), 2);
  EXPECT_EQ(Count("Clipping WHERE sName LIKE '\xCF\x83' AND lFolderID=2"), 4);
  if (!OnServer()) {
    EXPECT_EQ(db_.GetRecordsetRO("PRAGMA integrity_check").Value("integrity_check").ToText(), "ok");
    for (int i = 0; i < 200; ++i) {
      const std::string name = std::string(i % 2 == 0 ? "\xC3\xA9" : "\xC3\x89") +
                               static_cast<char>('A' + i % 26) + std::to_string(i);
      ASSERT_EQ(Count("Folder WHERE sName=" + SqlText(Variant(name))), 1) << name;
    }
  } else {
    EXPECT_EQ(Count("pg_catalog.pg_indexes WHERE indexname = 'ixfolder_sname_folded'"), 1);
  }
}

TEST_P(CaseFoldingUpgradeTest, BeforeTheUpgradeOnlyAsciiCaseFolds) {
  // What the test above changes: the first format compares names by ASCII case only.
  if (!OnServer()) {
    // An index ordered by SQLite's own NOCASE is out of order for clipcat's until rebuilt.
    EXPECT_NE(db_.GetRecordsetRO("PRAGMA integrity_check").Value("integrity_check").ToText(), "ok");
    return;
  }
  EXPECT_EQ(Count("Folder WHERE sName='\xC3\x84RGER' AND lParentID=1 AND iStatus<>3"), 1);
}

TEST_P(CaseFoldingUpgradeTest, AnUpgradeRolledBackLeavesTheCatalogUsableAsItWas) {
  std::vector<std::string> notes;
  db_.BeginTrans();
  UpgradeCaseFolding(db_, notes);
  EXPECT_EQ(notes.size(), 3u);
  db_.RollbackTrans();
  // The server's connection no longer calls the function the rollback took away.
  if (OnServer()) {
    EXPECT_EQ(Count("Folder WHERE sName='\xC3\x84RGER' AND lParentID=1 AND iStatus<>3"), 1);
  }
  EXPECT_EQ(db_.GetRecordsetRO("SELECT sName FROM Folder WHERE lParentID=1 AND iStatus<>3"
                               " ORDER BY sName")
                .RecordCount(),
            4);
  // And the upgrade can run again.
  EXPECT_EQ(Upgrade().size(), 3u);
}

INSTANTIATE_TEST_SUITE_P(BothEngines, CaseFoldingUpgradeTest, ::testing::Bool(), EngineName);

std::string Utf8(char32_t c) {
  std::string utf8;
  if (c < 0x80) {
    utf8 += static_cast<char>(c);
  } else if (c < 0x800) {
    utf8 += static_cast<char>(0xC0 | (c >> 6));
    utf8 += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    utf8 += static_cast<char>(0xE0 | (c >> 12));
    utf8 += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    utf8 += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    utf8 += static_cast<char>(0xF0 | (c >> 18));
    utf8 += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    utf8 += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    utf8 += static_cast<char>(0x80 | (c & 0x3F));
  }
  return utf8;
}

// `points` as texts of about 4,000 bytes, each beginning with `lead`.
void AddTexts(const std::vector<char32_t>& points, const std::string& lead,
              std::vector<std::string>& texts) {
  std::string text = lead;
  for (char32_t c : points) {
    text += Utf8(c);
    if (text.size() > 4000) {
      texts.push_back(text);
      text = lead;
    }
  }
  texts.push_back(text);
}

TEST(PostgresFoldFunction, FoldsEveryCodePointAsThisProcessDoes) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  const std::string connection_string = server->ConnectionString(server->CreateDatabase());
  CreateServerCatalog(connection_string, "Personal");
  DBConnection db;
  db.OpenConnection(connection_string, "", "");
  // Texts that take each way through the function: ASCII, nothing that folds, one script's map
  // (every code point of the script), the map for any text (every code point that folds or is
  // folded to, and a sample of the others).
  std::vector<std::string> texts = {"",
                                    "ASCII Only 123",
                                    "\xC3\xA9"
                                    "COLE",
                                    "\xC3\x89"
                                    "cole",
                                    "\xE4\xB8\xAD\xE6\x96\x87 ABC",
                                    "\xE2\x84\xAA"
                                    "K"};
  std::vector<char32_t> any;
  for (char32_t c = 1; c <= 0x10FFFF; ++c) {
    if ((c >= 0xD800 && c <= 0xDFFF) || (c >= 0x80 && IsCaseInert(c) && c % 251 != 0)) continue;
    any.push_back(c);
  }
  AddTexts(any, "", texts);
  for (const auto& script : NonAsciiCaseFoldingMap().scripts) {
    std::vector<char32_t> points;
    size_t at = 0;
    std::vector<char32_t> ranges;
    while (at < script.ranges.size()) ranges.push_back(NextCodePoint(script.ranges, &at));
    for (size_t i = 0; i < ranges.size(); ++i) {
      const bool range = i + 2 < ranges.size() && ranges[i + 1] == '-';
      for (char32_t c = ranges[i]; c <= (range ? ranges[i + 2] : ranges[i]); ++c) {
        points.push_back(c);
      }
      if (range) i += 2;
    }
    ASSERT_GT(points.size(), 100u);
    AddTexts(points, "ABC xyz 0123 ", texts);
  }
  for (const std::string& text : texts) {
    Recordset rs =
        db.GetRecordsetRO("SELECT clipcat_fold(" + QuoteStringLiteral(text) + ") AS sFolded");
    ASSERT_EQ(rs.Value("sFolded").ToText(), FoldCase(text)) << text;
  }
}

}  // namespace
}  // namespace clipcat::testing
