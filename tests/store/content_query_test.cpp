#include "store/content_query.h"

#include <gtest/gtest.h>

#include <cctype>
#include <random>
#include <string>

#include "util/error_of.h"
#include "util/errors.h"

namespace clipcat::testing {
namespace {

std::string Fts(std::string_view text) { return Fts5MatchExpression(ParseContentQuery(text)); }
std::string Ts(std::string_view text) { return TsQueryText(ParseContentQuery(text)); }

TEST(ParseContentQuery, ReadsWordsPhrasesPrefixesExclusionsAndAlternatives) {
  EXPECT_EQ(Fts("Late PAYMENT"), "\"late\" AND \"payment\"");
  EXPECT_EQ(Ts("Late PAYMENT"), "'late' & 'payment'");
  EXPECT_EQ(Fts("\"Late Payment\" fee"), "\"late payment\" AND \"fee\"");
  EXPECT_EQ(Ts("\"Late Payment\" fee"), "('late' <-> 'payment') & 'fee'");
  EXPECT_EQ(Fts("fee \"late  payment"), "\"fee\" AND \"late payment\"") << "unclosed quote";
  EXPECT_EQ(Fts("e-mail"), "\"e mail\"");
  EXPECT_EQ(Fts("Caf\u00c9 \u00fcber"), "\"cafe\" AND \"uber\"");
  EXPECT_EQ(Fts("pay* \"new yo\"*"), "\"pay\"* AND \"new yo\"*");
  EXPECT_EQ(Ts("pay* \"new yo\"*"), "'pay':* & ('new' <-> 'yo':*)");
  EXPECT_EQ(Fts("pa*y"), "\"pa y\"") << "a star inside a word is no prefix";
  EXPECT_EQ(Fts("invoice -draft -\"old copy\""), "(\"invoice\") NOT \"draft\" NOT \"old copy\"");
  EXPECT_EQ(Ts("invoice -draft -\"old copy\""), "('invoice') & !'draft' & !('old' <-> 'copy')");
  EXPECT_EQ(Fts("red OR blue car"), "(\"red\" OR \"blue\") AND \"car\"");
  EXPECT_EQ(Ts("red OR blue OR \"dark green\" car"),
            "('red' | 'blue' | ('dark' <-> 'green')) & 'car'");
  EXPECT_EQ(Fts("red or blue"), "\"red\" AND \"or\" AND \"blue\"") << "only capitals join";
  EXPECT_EQ(Fts("OR red OR"), "\"red\"");
  EXPECT_EQ(Fts("a - b -"), "\"a\" AND \"b\"") << "a lone minus is no word";

  const ContentQuery query = ParseContentQuery("\"late fee\"* OR paid -draft");
  ASSERT_EQ(query.required.size(), 1u);
  ASSERT_EQ(query.required[0].size(), 2u);
  EXPECT_TRUE(query.required[0][0].prefix);
  ASSERT_EQ(query.excluded.size(), 1u);
  const std::vector<SnippetTerm> terms = query.SnippetTerms();
  ASSERT_EQ(terms.size(), 3u) << "excluded words are not shown";
  EXPECT_EQ(terms[0].folded + (terms[0].prefix ? "*" : ""), "late");
  EXPECT_EQ(terms[1].folded + (terms[1].prefix ? "*" : ""), "fee*");
  EXPECT_EQ(terms[2].folded + (terms[2].prefix ? "*" : ""), "paid");
}

TEST(ParseContentQuery, TakesEngineSyntaxAsWords) {
  EXPECT_EQ(Fts("NEAR(a b) ^c d:e (f) {g} +h AND NOT sName:x"),
            "\"near a\" AND \"b\" AND \"c\" AND \"d e\" AND \"f\" AND \"g\" AND \"h\" AND \"and\" "
            "AND \"not\" AND \"sname x\"");
  EXPECT_EQ(Ts("a&b !c <-> d:* 'e'"), "('a' <-> 'b') & 'c' & 'd' & 'e'");
  EXPECT_EQ(Fts(std::string("nul\0byte", 8)), "\"nul byte\"");
  EXPECT_EQ(Fts("it's \\\"x"), "\"it s\" AND \"x\"");
}

TEST(ParseContentQuery, RefusesSearchesWithoutWordsOrWithTooMany) {
  std::string many;
  for (int i = 0; i < 10000; ++i) many += "w" + std::to_string(i) + " ";
  for (const std::string& text : {many, std::string("-draft -\"old copy\""), std::string(""),
                                  std::string("  * - \" \" ... OR")}) {
    const AutomationError error = ErrorOf([&] { ParseContentQuery(text); });
    EXPECT_EQ(error.number(), err::kInvalidProcedureCall) << text.substr(0, 40);
    EXPECT_STREQ(error.source().c_str(), kDataServicesSource);
    EXPECT_FALSE(error.description().empty());
  }
  std::string most;
  for (size_t i = 0; i < kMaxQueryWords; ++i) most += "w ";
  EXPECT_NO_THROW(ParseContentQuery(most));
  EXPECT_EQ(RaisedNumber([&] { ParseContentQuery(most + "\"one more\""); }),
            err::kInvalidProcedureCall);
}

// Outside its quoted strings an expression holds only the engine's operators; inside them, only
// words and the spaces between them.
void ExpectOnlyQuotedWords(const std::string& expression, char quote, const std::string& syntax) {
  bool quoted = false;
  for (size_t i = 0; i < expression.size(); ++i) {
    const char c = expression[i];
    if (c == quote) {
      quoted = !quoted;
    } else if (quoted) {
      EXPECT_FALSE(c == '\\' || c == '\'' || c == '"' || c == '\0') << expression;
    } else {
      EXPECT_TRUE(syntax.find(c) != std::string::npos ||
                  std::isupper(static_cast<unsigned char>(c)))
          << expression;
    }
  }
  EXPECT_FALSE(quoted) << "unbalanced quote: " << expression;
}

TEST(ParseContentQuery, NoSearchTextMakesAnExpressionWithAnOpenQuote) {
  const std::string alphabet[] = {
      "\"",   "'",  "\\", "*",  "-",   "(",    ")", ":",      "^",      "{",
      "}",    "+",  " ",  "OR", "AND", "NEAR", "a", "\u00e9", "\u03c3", std::string(1, '\0'),
      "\xff", "\t", "&",  "|",  "!",   "<->"};
  std::mt19937 random(20240611);
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    const int length = static_cast<int>(random() % 12);
    for (int i = 0; i < length; ++i) text += alphabet[random() % std::size(alphabet)];
    ContentQuery query;
    try {
      query = ParseContentQuery(text);
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), err::kInvalidProcedureCall);
      continue;
    }
    ExpectOnlyQuotedWords(Fts5MatchExpression(query), '"', " ()*");
    ExpectOnlyQuotedWords(TsQueryText(query), '\'', " ()&|!<->:*");
  }
}

}  // namespace
}  // namespace clipcat::testing
