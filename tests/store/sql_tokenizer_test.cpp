#include "store/sql_tokenizer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace clipcat {
namespace {

std::string Join(const std::vector<SqlToken>& tokens) {
  std::string out;
  for (const SqlToken& token : tokens) out += token.text;
  return out;
}

TEST(SqlTokenizer, JoiningTheTokensGivesTheTextBack) {
  const std::vector<std::string> statements = {
      "",
      "SELECT * From  Folder WHERE lParentId=15 AND NOT iStatus=4 ORDER BY sName ASC ",
      "Insert Into Folder (sName) Values ( 'O''Brien; DROP TABLE Folder' ) ",
      "SELECT 'unterminated",
      "SELECT /* unterminated comment",
      "SELECT [odd name], \"quoted \"\" id\", `tick` FROM t -- trailing\n;",
      "x<=y>=z<>w!=v==u||t 1.5e+3 .25 0x1F ?1 :name @p $v",
      "\xC3\xA9t\xC3\xA9 = 'caf\xC3\xA9'",
  };
  for (const std::string& sql : statements) {
    EXPECT_EQ(Join(TokenizeSql(sql)), sql) << sql;
  }
}

TEST(SqlTokenizer, StringLiteralsHideEverythingInside) {
  const auto tokens = TokenizeSql("a='x; -- /* '' \" [ y' ; b");
  std::vector<SqlTokenKind> kinds;
  for (const SqlToken& token : tokens) {
    if (!IsInsignificant(token)) kinds.push_back(token.kind);
  }
  const std::vector<SqlTokenKind> expected = {SqlTokenKind::kIdentifier, SqlTokenKind::kOperator,
                                              SqlTokenKind::kString, SqlTokenKind::kOperator,
                                              SqlTokenKind::kIdentifier};
  EXPECT_EQ(kinds, expected);
  EXPECT_EQ(StringLiteralValue(tokens[2]), "x; -- /* ' \" [ y");
}

TEST(SqlTokenizer, OperatorsOfTwoCharactersAreOneToken) {
  for (std::string op : {"<=", ">=", "<>", "!=", "==", "||"}) {
    const std::string sql = "a" + op + "b";  // tokens view into the text: keep it alive
    const auto tokens = TokenizeSql(sql);
    ASSERT_EQ(tokens.size(), 3u) << op;
    EXPECT_EQ(tokens[1].text, op);
    EXPECT_EQ(tokens[1].kind, SqlTokenKind::kOperator);
  }
}

TEST(SqlTokenizer, LiteralValuesAndQuotingRoundTrip) {
  const std::vector<std::string> values = {"", "'", "''", "O'Brien", "a''b", "x'", "'y", "; --"};
  for (const std::string& value : values) {
    const std::string literal = QuoteStringLiteral(value);
    const auto tokens = TokenizeSql(literal);
    ASSERT_EQ(tokens.size(), 1u) << literal;
    EXPECT_EQ(tokens[0].kind, SqlTokenKind::kString);
    EXPECT_EQ(StringLiteralValue(tokens[0]), value);
  }
  EXPECT_EQ(StringLiteralValue(TokenizeSql("'open ended")[0]), "open ended");
}

TEST(SqlTokenizer, IdentifierNamesLoseTheirQuotes) {
  const auto tokens = TokenizeSql("[a b] \"c\"\"d\" `e` plain");
  std::vector<std::string> names;
  for (const SqlToken& token : tokens) {
    if (!IsInsignificant(token)) names.push_back(IdentifierName(token));
  }
  EXPECT_EQ(names, (std::vector<std::string>{"a b", "c\"d", "e", "plain"}));
}

}  // namespace
}  // namespace clipcat
