// Content search on both engines: what the index finds and leaves out, how it ranks and narrows,
// that every write keeps it exact (checked against a scan of the catalog after random edits), how
// an older catalog gets it, and that no search text reaches an engine as its own syntax.
#include <gtest/gtest.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "catalog_fixture.h"
#include "engine/db_connection.h"
#include "engine_catalog.h"
#include "entities/plain_text.h"
#include "store/catalog_schema.h"
#include "store/content_index.h"
#include "store/content_query.h"
#include "store/data_access.h"
#include "store/schema_description.h"
#include "util/error_of.h"
#include "util/errors.h"
#include "util/search_words.h"

namespace clipcat::testing {
namespace {

using IdSet = std::set<std::string>;

std::vector<std::string> SpaceSeparated(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
}

class ContentSearchTest : public EngineAccessTest {
 protected:
  std::string Add(const std::string& name, const std::string& content, int32_t type = 2,
                  const std::string& description = "", const std::string& folder = "") {
    const auto clipping = NewClipping(name, content, description, type);
    return access_->AddClipping(clipping, folder.empty() ? root_ : folder)->ID();
  }

  std::vector<FoundClipping> Search(const std::string& text, int32_t max = 100000,
                                    const std::string& folder = "",
                                    const std::string& category = "", int32_t type = 0) {
    return access_->SearchContent(ParseContentQuery(text), folder, category, type, max);
  }

  IdSet Found(const std::string& text, const std::string& folder = "",
              const std::string& category = "", int32_t type = 0) {
    IdSet ids;
    for (const FoundClipping& found : Search(text, 100000, folder, category, type)) {
      ids.insert(found.clipping->ID());
    }
    return ids;
  }

  // Writes the name, description and status of clipping `id`, keeping its content.
  void Rewrite(const std::string& id, const std::string& name, const std::string& description,
               int status) {
    auto clipping = Clipping::Create();
    clipping->SetXML("<clipping Status=\"" + std::to_string(status) +
                     "\"><clippingdata/></clipping>");
    clipping->SetID(id);
    clipping->SetFolderID(access_->GetClipping(id, false)->FolderID());
    clipping->SetName(name);
    clipping->SetDescription(description);
    access_->UpdateClipping(clipping, false);
  }

  int32_t Count(const std::string& from_where) {
    return db_.GetRecordsetRO("SELECT COUNT(*) AS n FROM " + from_where).Value("n").ToLong();
  }
};

INSTANTIATE_TEST_SUITE_P(BothEngines, ContentSearchTest, ::testing::Bool(), EngineName);

TEST_P(ContentSearchTest, FindsTheVisibleWordsOfEveryTextTypeNameAndDescription) {
  const std::string rtf =
      Add("R",
          "{\\rtf1\\ansi{\\fonttbl{\\f0\\fswiss Helvetica;}}{\\colortbl;\\red255"
          "\\green0\\blue0;}{\\*\\generator Riched20;}\\f0 Quarterly \\b "
          "report\\b0\\par}",
          1);
  const std::string sheet =
      Add("S", "<Book><Cell ss:StyleID=\"hidden\"><Data>Spreadsheet total</Data></Cell></Book>", 3);
  const std::string word =
      Add("W", "<w:doc xmlns:w=\"urn:w\"><w:p><w:t>Wordprocessor paragraph</w:t></w:p></w:doc>", 4);
  const std::string plain = Add("P", "Meeting notes about the budget");
  const std::string opaque = Add("O", "opaque bytes of an image", 7);
  const std::string named = Add("Zebra crossing", "xyz", 2, "Giraffe description");
  const std::string accented = Add("A", "Cr\u00e8me BR\u00dbL\u00c9E at the caf\u00e9");
  EXPECT_EQ(Found("quarterly report"), IdSet{rtf});
  EXPECT_EQ(Found("spreadsheet"), IdSet{sheet});
  EXPECT_EQ(Found("Wordprocessor paragraph"), IdSet{word});
  EXPECT_EQ(Found("budget"), IdSet{plain});
  EXPECT_EQ(Found("zebra GIRAFFE"), IdSet{named});
  EXPECT_EQ(Found("o"), IdSet{opaque}) << "the name of a clipping without text";
  for (const std::string& absent : SpaceSeparated(
           "helvetica fswiss colortbl red255 riched20 rtf1 hidden styleid book urn opaque")) {
    EXPECT_TRUE(Found(absent).empty()) << absent;
  }
  EXPECT_EQ(Found("CREME brulee caf\u00c9 cafe\u0301"), IdSet{accented});
  // Words of every kind are found alike on both engines.
  const std::string mixed = Add("M",
                                "abc123 123abc x\u00b2 \u65e5\u672c\u8a9e \u01c4 STRA\u00dfE "
                                "\u03a3\u039f\u03a6\u039f\u03a3 2024 \u0130stanbul");
  for (const std::string& text :
       SpaceSeparated("ABC123 123abc x\u00b2 \u65e5\u672c\u8a9e \u01c6 stra\u00dfe "
                      "\u03c3\u03bf\u03c6\u03bf\u03c2 2024 istanbul")) {
    EXPECT_EQ(Found(text), IdSet{mixed}) << text;
  }
  EXPECT_TRUE(Found("x OR strasse").empty());
  // Bytes that are no text keep no clipping out of the index.
  std::string damaged;
  ASSERT_NO_THROW(damaged = Add("Bytes", std::string("caf\xe9 latin \0 nul\xff", 17)));
  EXPECT_EQ(Found("latin nul"), IdSet{damaged});
}

TEST_P(ContentSearchTest, PhrasesPrefixesExclusionsAndAlternatives) {
  const std::string a = Add("A", "the late payment fee");
  const std::string b = Add("B", "payment was late");
  const std::string c = Add("C", "early payment discount");
  EXPECT_EQ(Found("late payment"), (IdSet{a, b}));
  EXPECT_EQ(Found("\"late payment\""), IdSet{a});
  EXPECT_TRUE(Found("\"payment late\"").empty()) << "a phrase's words occur in order";
  EXPECT_TRUE(Found("\"late fee\"").empty()) << "and next to each other";
  EXPECT_EQ(Found("\"late pay\"*"), IdSet{a});
  EXPECT_EQ(Found("pay*"), (IdSet{a, b, c}));
  EXPECT_EQ(Found("d*"), IdSet{c});
  EXPECT_TRUE(Found("pay").empty());
  EXPECT_EQ(Found("payment -late"), IdSet{c});
  EXPECT_EQ(Found("payment -\"late payment\""), (IdSet{b, c}));
  EXPECT_EQ(Found("payment -ear*"), (IdSet{a, b}));
  EXPECT_EQ(Found("fee OR discount"), (IdSet{a, c}));
  EXPECT_EQ(Found("fee OR discount -early"), IdSet{a});
  EXPECT_EQ(Found("\"was late\" OR fee"), (IdSet{a, b}));
  EXPECT_TRUE(Found("late or fee").empty()) << "\"or\" is a word";
  // A phrase stays within the name, the description or the content, on both engines.
  const std::string parts = Add("Overdue", "notice sent", 2, "reminder letter");
  EXPECT_EQ(Found("overdue \"reminder letter\" \"notice sent\""), IdSet{parts});
  EXPECT_TRUE(Found("\"overdue reminder\"").empty());
  EXPECT_TRUE(Found("\"letter notice\"").empty());
}

TEST_P(ContentSearchTest, RanksNamesFirstAndMarksTheWordsInSnippets) {
  // Added in the reverse of their rank, so that key order cannot pass for a ranking.
  const std::string body = Add("Notes", "we sailed out of the harbour at dawn");
  const std::string described = Add("Trip", "", 2, "harbour trip");
  const std::string named = Add("Harbour", "unrelated words only");
  const std::vector<FoundClipping> found = Search("harbour");
  ASSERT_EQ(found.size(), 3u);
  EXPECT_EQ(found[0].clipping->ID() + " " + found[1].clipping->ID() + " " + found[2].clipping->ID(),
            named + " " + described + " " + body);
  EXPECT_GT(found[0].score, found[1].score);
  EXPECT_GT(found[1].score, found[2].score);
  EXPECT_EQ(found[0].clipping->Name(), "Harbour");
  EXPECT_EQ(found[0].clipping->ClippingData()->Count(), 0) << "found without content";
  EXPECT_EQ(found[0].snippet, "unrelated words only");
  EXPECT_EQ(found[1].snippet, "[harbour] trip") << "a clipping without text shows its description";
  EXPECT_EQ(found[2].snippet, "we sailed out of the [harbour] at dawn");
  const std::vector<FoundClipping> best = Search("harbour", 1);
  ASSERT_EQ(best.size(), 1u);
  EXPECT_EQ(best[0].clipping->ID(), named);
  EXPECT_TRUE(Search("harbour", 0).empty());
  EXPECT_TRUE(Search("harbour", -1).empty());
}

TEST_P(ContentSearchTest, DeletedClippingsAreLeftOutAndEveryWriteKeepsTheIndex) {
  const std::string id = Add("Note", "marmalade recipe", 2, "breakfast");
  const std::string other = Add("Other", "marmalade jar");
  // Status 4 is deleted: the row stays, the search leaves it out until another status returns.
  access_->DeleteClipping(id, false);
  EXPECT_EQ(Found("marmalade"), IdSet{other});
  EXPECT_TRUE(Found("breakfast").empty());
  EXPECT_EQ(Count("ClippingText WHERE lClippingID=" + id), 1);
  Rewrite(id, "Note", "breakfast", 1);
  EXPECT_EQ(Found("marmalade"), (IdSet{id, other}));
  // Name and description alone: the content's words stay.
  Rewrite(id, "Jam", "lunch", 1);
  EXPECT_EQ(Found("jam lunch \"marmalade recipe\""), IdSet{id});
  EXPECT_TRUE(Found("note OR breakfast").empty());
  // New content replaces the old words.
  const auto clipping = access_->GetClipping(id, false);
  clipping->SetClippingData(NewClipping("", "{\\rtf1 orange\\par curd}", "", 1)->ClippingData());
  access_->UpdateClipping(clipping, true);
  EXPECT_TRUE(Found("recipe").empty());
  EXPECT_EQ(Found("jam curd orange"), IdSet{id});
  access_->DeleteClipping(id, true);
  EXPECT_EQ(Count("ClippingText WHERE lClippingID=" + id), 0);
  EXPECT_TRUE(Found("curd").empty());
  // Folder deletes, for the clippings of the whole tree: a soft one keeps the rows, one for good
  // takes them.
  const std::string box = AddFolder("Box", root_);
  const std::string boxed = Add("Boxed", "marmalade in a box", 2, "", AddFolder("Inner", box));
  access_->DeleteFolder(box, false);
  EXPECT_TRUE(Found("box").empty());
  EXPECT_EQ(Count("ClippingText WHERE lClippingID=" + boxed), 1);
  const std::string crate = AddFolder("Crate", root_);
  const std::string crated = Add("Crated", "in a crate", 2, "", AddFolder("Inner", crate));
  EXPECT_EQ(Found("crate"), IdSet{crated});
  access_->DeleteFolder(crate, true);
  EXPECT_EQ(Count("ClippingText WHERE lClippingID=" + crated), 0);
  EXPECT_EQ(Found("marmalade"), IdSet{other});
}

TEST_P(ContentSearchTest, ALimitedSearchLooksPastBestMatchesThatWereDeleted) {
  // The word in the name ranks the deleted clippings above every live one.
  for (int i = 0; i < 30; ++i)
    access_->DeleteClipping(Add("Heron " + std::to_string(i), ""), false);
  IdSet live;
  for (int i = 0; i < 4; ++i) live.insert(Add("Bird " + std::to_string(i), "a grey heron"));
  IdSet found;
  for (const FoundClipping& match : Search("heron", 3)) found.insert(match.clipping->ID());
  EXPECT_EQ(found.size(), 3u);
  EXPECT_TRUE(std::includes(live.begin(), live.end(), found.begin(), found.end()));
  EXPECT_EQ(Search("heron", 10).size(), 4u);
}

TEST_P(ContentSearchTest, FiltersNarrowToAFolderTreeACategoryAndADataType) {
  const std::string top = AddFolder("Top", root_);
  const std::string grand = AddFolder("Grand", AddFolder("Child", top));
  const std::string sibling = AddFolder("Sibling", root_);
  const std::string deep = Add("Deep", "walnut tree", 2, "", grand);
  const std::string near = Add("Near", "walnut shell", 2, "", sibling);
  const std::string rich = Add("Rich", "{\\rtf1 walnut oil}", 1);
  EXPECT_EQ(Found("walnut", top), IdSet{deep});
  EXPECT_EQ(Found("walnut", sibling), IdSet{near});
  EXPECT_EQ(Found("walnut", root_), (IdSet{deep, near, rich}));
  auto category = Category::Create();
  category->SetName("Nuts");
  const std::string nuts = access_->AddCategory(category, "")->ID();
  access_->AddClippingToCategory(near, nuts);
  access_->AddClippingToCategory(rich, nuts);
  EXPECT_EQ(Found("walnut", "", nuts), (IdSet{near, rich}));
  EXPECT_EQ(Found("walnut", sibling, nuts), IdSet{near});
  EXPECT_TRUE(Found("walnut", top, nuts).empty());
  EXPECT_EQ(Found("walnut", "", "", 1), IdSet{rich});
  EXPECT_EQ(Found("walnut", "", "", 2), (IdSet{deep, near}));
  EXPECT_TRUE(Found("walnut", "", nuts, 3).empty());
  EXPECT_EQ(RaisedNumber([&] { Found("walnut", "abc"); }), err::kTypeMismatch);
  EXPECT_EQ(RaisedNumber([&] { Found("walnut", "", "1 OR 1=1"); }), err::kTypeMismatch);
}

// `text` as a rich-text document: line breaks are paragraphs, letters beyond ASCII \u escapes.
std::string RichText(const std::string& text) {
  std::string body;
  const icu::UnicodeString units = icu::UnicodeString::fromUTF8(text);
  for (int32_t i = 0; i < units.length(); ++i) {
    const char16_t unit = units[i];
    body += unit == u'\n' ? std::string("\\par ")
            : unit < 0x80 ? std::string(1, static_cast<char>(unit))
                          : "\\u" + std::to_string(static_cast<int16_t>(unit)) + "?";
  }
  return "{\\rtf1\\ansi{\\fonttbl{\\f0\\fswiss Arial;}}{\\colortbl;\\red0\\green0\\blue255;}\\f0 " +
         body + "}";
}

// The folded words of every live clipping of `ids`, read back one by one.
std::map<std::string, std::set<std::string>> LiveWords(DataAccess& access, const IdSet& ids) {
  std::map<std::string, std::set<std::string>> live;
  for (const std::string& id : ids) {
    const auto clipping = access.GetClipping(id, true);
    if (clipping == nullptr || clipping->ClippingStatus() == 4) continue;
    const std::string text = clipping->Name() + "\n" + clipping->Description() + "\n" +
                             PlainTextOfItems(*clipping->ClippingData(), kContentTextLimit);
    for (const WordSpan& span : SplitWords(text)) {
      live[id].insert(FoldWord(std::string_view(text).substr(span.begin, span.end - span.begin)));
    }
  }
  return live;
}

TEST_P(ContentSearchTest, RandomEditsKeepTheIndexExact) {
  // Accented words, other scripts and cases; the first twenty make the prefixes.
  const std::vector<std::string> vocabulary = SpaceSeparated(
      "apple banana cherry damson elder fig grape honey iris jade kiwi lemon mango nectar olive "
      "peach quince rhubarb sage thyme x42 2024 caf\u00e9 CR\u00c8ME na\u00efve \u00dcBER "
      "\u00c9cole \u00e4rger stra\u00dfe \u65e5\u672c\u8a9e \u03a3\u039f\u03a6\u039f\u03a3 "
      "\u03c3\u03bf\u03c6\u03bf\u03c2");
  std::mt19937 random(OnServer() ? 4711 : 1147);
  auto below = [&](size_t n) { return static_cast<size_t>(random() % n); };
  auto words = [&](size_t least, size_t most) {
    static const char* separators[] = {" ", ", ", "\n", " - ", "; "};
    std::string text;
    for (size_t n = least + below(most - least + 1); n > 0; --n) {
      text += vocabulary[below(vocabulary.size())] + (n > 1 ? separators[below(5)] : "");
    }
    return text;
  };
  auto items = [&] {
    auto list = std::make_shared<ClippingDataCollection>();
    for (size_t n = 1 + below(3); n > 0; --n) {
      const std::string text = words(1, 10);
      std::string cells;
      for (const std::string& cell : SpaceSeparated(text)) cells += "<c>" + cell + "</c>";
      const size_t kind = below(5);  // rich text, spreadsheet XML, no text, plain text
      list->Add(NewClipping("",
                            kind == 0   ? RichText(text)
                            : kind == 1 ? "<r>" + cells + "</r>"
                                        : text,
                            "",
                            kind == 0   ? 1
                            : kind == 1 ? 3
                            : kind == 2 ? 7
                                        : 2)
                    ->ClippingData()
                    ->Item(1));
    }
    return list;
  };
  IdSet ids;  // every clipping not deleted for good
  std::vector<std::pair<std::string, std::string>> folders = {{root_, ""}};  // id, parent
  for (const char* name : {"One", "Two"}) folders.emplace_back(AddFolder(name, root_), root_);
  auto any_id = [&] { return *std::next(ids.begin(), static_cast<long>(below(ids.size()))); };
  auto any_folder = [&] { return folders[below(folders.size())].first; };
  int serial = 0;
  auto check = [&](const std::string& when) {
    const auto live = LiveWords(*access_, ids);
    auto expect = [&](const std::string& text, auto matches) {
      IdSet expected;
      for (const auto& [id, words] : live) {
        if (matches(words)) expected.insert(id);
      }
      EXPECT_EQ(Found(text), expected) << text << " " << when;
    };
    for (int i = 0; i < 3; ++i) {
      const std::string word = FoldWord(vocabulary[below(vocabulary.size())]);
      expect(word, [&](const auto& words) { return words.count(word) > 0; });
    }
    const std::string prefix = vocabulary[below(20)].substr(0, 2);
    expect(prefix + "*", [&](const auto& words) {
      return std::any_of(words.begin(), words.end(),
                         [&](const std::string& w) { return w.rfind(prefix, 0) == 0; });
    });
    const std::string one = FoldWord(vocabulary[below(vocabulary.size())]);
    const std::string two = FoldWord(vocabulary[below(vocabulary.size())]);
    expect(one + " -" + two, [&](const auto& w) { return w.count(one) && !w.count(two); });
    expect(one + " OR " + two, [&](const auto& w) { return w.count(one) || w.count(two); });
  };
  for (int step = 1; step <= 150; ++step) {
    const size_t kind = ids.empty() ? 0 : below(20);
    const std::shared_ptr<Clipping> clipping =
        kind < 6 ? Clipping::Create() : access_->GetClipping(any_id(), kind >= 16);
    if (kind < 9) {  // a new clipping, or new name and description whatever the status
      clipping->SetName("n" + std::to_string(++serial) + " " + words(0, 2));
      clipping->SetDescription(words(0, 3));
    }
    if (kind < 6) {
      clipping->SetClippingData(items());
      ids.insert(access_->AddClipping(clipping, any_folder())->ID());
    } else if (kind < 9) {
      access_->UpdateClipping(clipping, false);
    } else if (kind < 12) {
      clipping->SetClippingData(items());
      access_->UpdateClipping(clipping, true);
    } else if (kind < 14) {
      access_->DeleteClipping(clipping->ID(), kind == 13);
      if (kind == 13) ids.erase(clipping->ID());
    } else if (kind < 16) {
      Rewrite(clipping->ID(), clipping->Name(), clipping->Description(), 1);
    } else if (kind < 18) {
      // A move, as the library makes one: a copy in another folder, the original deleted.
      const std::string target = any_folder();
      if (clipping->ClippingStatus() == 4 || target == clipping->FolderID()) continue;
      const std::string original = clipping->ID();
      ids.insert(access_->AddClipping(clipping, target)->ID());
      access_->DeleteClipping(original, true);
      ids.erase(original);
    } else if (folders.size() > 1) {  // a folder and its tree, soft or for good
      const size_t doomed = 1 + below(folders.size() - 1);
      access_->DeleteFolder(folders[doomed].first, kind == 19);
      IdSet gone = {folders[doomed].first};
      for (size_t before = 0; before != gone.size();) {
        before = gone.size();
        for (const auto& [folder, parent] : folders) {
          if (gone.count(parent) > 0) gone.insert(folder);
        }
      }
      std::erase_if(folders, [&](const auto& folder) { return gone.count(folder.first) > 0; });
      std::erase_if(ids, [&](const std::string& id) { return !access_->GetClipping(id, false); });
      const std::string parent = any_folder();
      folders.emplace_back(AddFolder("f" + std::to_string(++serial), parent), parent);
    }
    if (step % 10 == 0) check("after step " + std::to_string(step));
  }
  ASSERT_GT(ids.size(), 10u);
  access_->RebuildContentIndex(nullptr);
  check("after a rebuild");
}

TEST_P(ContentSearchTest, AnOlderCatalogGetsTheIndexAndARebuildRepairsIt) {
  const std::string kept = Add("Before", "pelican brief");
  access_->DeleteClipping(Add("Gone", "pelican gone"), false);
  access_->CloseCatalog();
  // Back to the third format, which had no content index.
  if (!OnServer()) {
    for (const std::string& sql : DropContentIndexStatements(SchemaEngine::kSqlite)) {
      db_.ExecuteSQL(sql);
    }
    db_.ExecuteSQL("PRAGMA user_version = 3");
  }
  db_.ExecuteSQL("DROP TABLE ClippingText");
  db_.ExecuteSQL("UPDATE CatalogProperties SET sValue='3' WHERE sCatalogProperty='FormatVersion'");
  access_ = DataAccessSQL::Create();
  access_->SetConnectionString(connection_string_);
  EXPECT_TRUE(access_->HasContentIndex());
  EXPECT_EQ(Count("CatalogProperties WHERE sCatalogProperty='FormatVersion' AND sValue='" +
                  std::to_string(kCatalogFormatVersion) + "'"),
            1);
  EXPECT_EQ(Found("pelican"), IdSet{kept});
  EXPECT_EQ(Count("ClippingText"), 2) << "every clipping has its row, whatever its status";
  const std::string added = Add("After", "pelican crossing");
  EXPECT_EQ(Found("pelican"), (IdSet{kept, added}));
  // Rows changed behind the store's back; a rebuild makes the index exact again.
  db_.ExecuteSQL("DELETE FROM ClippingText WHERE lClippingID=" + kept);
  db_.ExecuteSQL(std::string("UPDATE ClippingText SET sText='stale words'") +
                 (OnServer() ? ", vDocument=to_tsvector('simple', 'stale words')" : "") +
                 " WHERE lClippingID=" + added);
  EXPECT_EQ(Found("stale OR pelican"), IdSet{added});
  std::vector<std::pair<size_t, size_t>> progress;
  access_->RebuildContentIndex(
      [&](size_t done, size_t total) { progress.emplace_back(done, total); });
  EXPECT_EQ(Found("pelican"), (IdSet{kept, added}));
  EXPECT_TRUE(Found("stale").empty());
  EXPECT_EQ(Count("ClippingText"), 3);
  ASSERT_FALSE(progress.empty());
  EXPECT_EQ(progress.back(), (std::pair<size_t, size_t>{3, 3}));
}

TEST_P(ContentSearchTest, HostileSearchTextsGiveResultsOrAClearError) {
  const std::string id =
      Add("Quotes", "it's a \"quoted\" back\\slash NEAR(x) sName:x -minus 100% \u00e9t\u00e9");
  std::vector<std::string> texts = SpaceSeparated(
      "\" \"\"\" ' '' \\ \\\" a\\'b NEAR( NEAR(x * - : x:* sName:x ^x ( ) {x} AND OR NOT % -- ;");
  std::string many;
  for (int i = 0; i < 10000; ++i) many += "w" + std::to_string(i) + " ";
  for (const std::string& text :
       {many, std::string("a\0b", 3), std::string(1, '\0'), std::string("x\xff\xfe"),
        std::string("a & b | !c <-> 'y'"), std::string("'); DROP TABLE ClippingText; --")}) {
    texts.push_back(text);
  }
  for (const std::string& text : texts) {
    try {
      Search(text);
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), err::kInvalidProcedureCall) << text.substr(0, 20);
      EXPECT_EQ(error.source(), kDataServicesSource) << error.description();
      EXPECT_FALSE(error.description().empty());
    }
  }
  EXPECT_EQ(Found("it's \"quoted\" back\\slash NEAR(x sName:x 100%"), IdSet{id});
  EXPECT_EQ(Found("\u00c9T\u00c9"), IdSet{id});
  EXPECT_TRUE(Found("\u00c9T\u00c9 -minus*").empty());
  EXPECT_EQ(Count("ClippingText"), 1);
}

}  // namespace
}  // namespace clipcat::testing
