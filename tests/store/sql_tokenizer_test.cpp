#include "store/sql_tokenizer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace clipcat {
namespace {

TEST(SqlTokenizer, JoiningTheTokensGivesTheTextBack) {
  for (const std::string sql :
       {"", "Insert Into Folder (sName) Values ( 'O''Brien; DROP TABLE Folder' ) ",
        "SELECT 'unterminated", "SELECT /* unterminated comment",
        "SELECT [odd name], \"quoted \"\" id\", `tick` FROM t -- trailing\n;",
        "x<=y>=z<>w!=v==u||t 1.5e+3 .25 0x1F ?1 :name @p $v",
        "\xC3\xA9t\xC3\xA9 = 'caf\xC3\xA9'"}) {
    std::string joined;
    for (const SqlToken& token : TokenizeSql(sql)) joined += token.text;
    EXPECT_EQ(joined, sql);
  }
  for (std::string op : {"<=", ">=", "<>", "!=", "==", "||"}) {
    const std::string sql = "a" + op + "b";  // tokens view into the text: keep it alive
    const auto tokens = TokenizeSql(sql);
    ASSERT_EQ(tokens.size(), 3u) << op;
    EXPECT_EQ(tokens[1].text, op);
    EXPECT_EQ(tokens[1].kind, SqlTokenKind::kOperator);
  }
}

TEST(SqlTokenizer, LiteralsHideEverythingInsideAndQuotesRoundTrip) {
  const auto tokens = TokenizeSql("a='x; -- /* '' \" [ y' ; [a b] \"c\"\"d\" `e`");
  std::vector<SqlTokenKind> kinds;
  std::vector<std::string> names;
  for (const SqlToken& token : tokens) {
    if (IsInsignificant(token)) continue;
    kinds.push_back(token.kind);
    if (token.kind != SqlTokenKind::kString && token.kind != SqlTokenKind::kOperator) {
      names.push_back(IdentifierName(token));
    }
  }
  EXPECT_EQ(kinds, (std::vector<SqlTokenKind>{
                       SqlTokenKind::kIdentifier, SqlTokenKind::kOperator, SqlTokenKind::kString,
                       SqlTokenKind::kOperator, SqlTokenKind::kQuotedIdentifier,
                       SqlTokenKind::kQuotedIdentifier, SqlTokenKind::kQuotedIdentifier}));
  EXPECT_EQ(StringLiteralValue(tokens[2]), "x; -- /* ' \" [ y");
  EXPECT_EQ(names, (std::vector<std::string>{"a", "a b", "c\"d", "e"}));
  for (const std::string value : {"", "'", "''", "O'Brien", "a''b", "x'", "'y", "; --"}) {
    const std::string literal = QuoteStringLiteral(value);
    const auto quoted = TokenizeSql(literal);
    ASSERT_EQ(quoted.size(), 1u) << literal;
    EXPECT_EQ(quoted[0].kind, SqlTokenKind::kString);
    EXPECT_EQ(StringLiteralValue(quoted[0]), value);
  }
  EXPECT_EQ(StringLiteralValue(TokenizeSql("'open ended")[0]), "open ended");
}

}  // namespace
}  // namespace clipcat
